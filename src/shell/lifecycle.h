#pragma once
// The start-up sequence of the loading screen and the end of the run, without any window:
// the screens pass in what they show.
#include <string>
#include <vector>

#include "program_state.h"
#include "store/mirror.h"

namespace brindale::shell {

class LifecycleView {
public:
    virtual ~LifecycleView() = default;
    virtual void setLabel(const std::string& text) = 0;
    // Let the window repaint; called often, so it must be cheap.
    virtual void repaint() = 0;
    // How far a long step has come; total 0 hides the bar.
    virtual void progress(long done, long total) { (void)done; (void)total; }
    // A whole working database of a run that did not end is there: recover its work into the
    // mirror, delete it, or stop the start and leave it (the run is ending)?
    enum class Recover { Yes, No, Stop };
    virtual Recover askRecover() { return Recover::No; }
    // Some PLUs cannot be packed as they stand: end anyway, each keeping its last good record
    // (true), or go back and correct them (false: the end is cancelled, nothing changes)?
    // Only a view that asks is handed them; otherwise the end goes on and lists them among its
    // warnings.
    virtual bool asksAboutKeptRecords() const { return false; }
    virtual bool confirmKeptRecords(const std::vector<store::PluPackProblem>& problems) {
        (void)problems;
        return true;
    }
};

enum class StartResult {
    Ok,
    MissingSourceFile,  // "Some source file is not exist!": nothing was touched
    LinkFailed,         // the connection could not be opened: message key linkADO
    Stopped,            // asked to end while the recovery question was open: nothing was touched
};

// The literal of the loading screen, before any language table is loaded.
inline constexpr const char* kLoadingSettingText = "Loading Setting ...";
inline constexpr const char* kMissingSourceText = "Some source file is not exist!";
inline constexpr const char* kMessageTitle = "Brindale";

// Tests the three files in their order; false at the first one missing.
bool checkSourceFiles(const std::string& appDir);

// Steps 1 to 11 of the start. A damaged input raises FatalError; the working database this start
// made is removed again, so that no file is changed. A whole working database left by a run that
// did not end is offered for recovery first: its work is written to the mirror by the normal end.
// The mirror's records are read in the code page they were written in; when that is not the
// system language's page, state.startNotices says which page the scales get from now on.
StartResult runStartup(ProgramState& state, LifecycleView& view);

// A language text with %1, %2, ... replaced by the values in turn.
std::string fillIn(std::string text, const std::vector<std::string>& values);

// The end of the run: the mirror is written, everything is closed, the database file deleted.
// Returns what could not be packed as it stood (each such PLU kept its last record). When the
// view declines to keep those records, store::MirrorCancelled is thrown and nothing changes.
std::vector<std::string> endProgram(ProgramState& state, LifecycleView& view);

// Writes the mirror from the working database left by a run that did not end.
void recoverLeftDatabase(ProgramState& state, LifecycleView& view);

}  // namespace brindale::shell
