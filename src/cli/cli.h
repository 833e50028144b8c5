#pragma once
// brindale-cli: the program's work without windows, for scripts and timers. The commands are
// calls of this library (tests call them); the executable only hands over its arguments and
// turns SIGTERM, SIGINT and SIGHUP into a request to stop.
//
// A run is the program's run: the same lock of the application folder, the same start (the
// mirror read into a new working database) and the same end (the mirror written, the database
// deleted), except that the mirror is written only when a command changed data.
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "shell/program_state.h"
#include "transfer/engine.h"

namespace brindale::cli {

// Exit codes; when several apply the highest wins.
enum Exit : int {
    kDone = 0,
    kInternal = 1,      // a fault of the tool itself
    kUsage = 2,         // the command line is wrong
    kFolderInUse = 3,   // another program or brindale-cli holds the application folder
    kRefused = 4,       // the input was refused; nothing changed
    kSkipped = 5,       // done, with lines or PLUs skipped
    kScalesFailed = 6,  // one or more scales failed, or the transfer was cancelled
    kNoScale = 7,       // no scale there to talk to
    kDamaged = 8,       // the application folder is damaged (the message names file and line)
    kNotSaved = 9,      // the data could not be written; the old mirror is kept
};

// What a run takes beyond its arguments: where the executable is, and for tests the transfer's
// port and time limits and how long --wait may wait.
struct Environment {
    std::string executableFolder;                    // where brindale-cli lies
    std::string dataHome;                            // the user's data folder (shell::userDataHome)
    std::optional<transfer::TransferOptions> transfer;  // unset: the program's defaults (and --port)
    std::function<bool()> keepWaiting;               // --wait: false gives up (exit 3); unset: forever
};

// Parses, locks, starts, runs one command, ends. Output lines go to `out`, problems to `err`.
int run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, const Environment& env);

// A stop asked from outside (a signal): a transfer under way is cancelled, waiting ends, the run
// ends cleanly. Async-signal-safe.
void requestStop();
bool stopRequested();
void clearStop();

std::string usageText();

// ---- the commands on a started run (the working database open) ----

struct Outcome {
    int exit = kDone;
    bool changed = false;  // data of the working database changed: the end writes the mirror
};

// The scales' port and time limits, and the flow state of the run.
struct Transfers {
    transfer::TransferOptions options;
};

Outcome summary(shell::ProgramState& state, bool json, std::ostream& out);

struct SendArgs {
    int store = 0;
    int section = 0;
    std::vector<std::string> tables;  // "25", "20", "23"
    bool allPlus = true;
    std::vector<long long> plus;  // when !allPlus
    bool remove = false;          // --delete
};
Outcome send(shell::ProgramState& state, const SendArgs& args, const Transfers& t, std::ostream& out,
             std::ostream& err);

struct ImportArgs {
    std::string file;
    std::string set;  // a saved set of the import window
    int store = 0;
    std::optional<long long> mainGroup;
    bool heading = false;
    bool replace = false;
    bool send = false;
    int section = 0;
};
Outcome importPlu(shell::ProgramState& state, const ImportArgs& args, const Transfers& t, std::ostream& out,
                  std::ostream& err);

struct ReportArgs {
    std::string name;  // identifier ("21"), table ("RC_21") or title ("DEPARTMENT TOTAL FILE")
    std::string outFile;
    int store = 1;
    std::string columnSet;  // a saved column set; empty: every column
    int separator = 0;      // 0 tab, 1 comma, 2 semicolon
    bool heading = false;
};
Outcome report(shell::ProgramState& state, const ReportArgs& args, const Transfers& t, std::ostream& out,
               std::ostream& err);

}  // namespace brindale::cli
