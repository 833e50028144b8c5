#pragma once
// One run of the program: the loading screen and its sequence, the main window, the end.
#include <QObject>
#include <memory>
#include <string>

#include "folder_lock.h"
#include "program_state.h"

namespace brindale::shell {

class MainWindow;
class StatusScreen;

class Application : public QObject {
    Q_OBJECT
public:
    explicit Application(std::string appDir);
    ~Application() override;

    // Shows the loading screen, runs the start and raises the main window. Returns 0 when the
    // main window is up; otherwise the program's exit status, after the message was shown.
    int start();

    // The closing screen and endProgram; then the event loop is asked to end with status 0.
    // When the mirror cannot be written the run goes on (false), so that nothing is lost.
    bool end();

    // SIGTERM, SIGINT, SIGHUP and the end of the desktop session end the run as closing the main
    // window does: the mirror is written. Open modal windows are closed first (a property form as
    // by Cancel, a question by its Cancel or No, a transfer is cancelled), and the end runs only
    // once control is back in the main event loop, so that no form resumes on a closed database.
    void installTerminationHandlers();
    void requestTermination();
    // The event loop level at which the main loop runs: 1 under QApplication::exec (the program),
    // 0 for tests that drive the windows without it.
    void setMainLoopLevel(int level) { mainLoopLevel_ = level; }
    bool terminationPending() const { return terminationPending_; }

    ProgramState& state() { return state_; }
    MainWindow* mainWindow() const { return main_.get(); }
    bool ended() const { return ended_; }

    // Shows a fatal error (file, line, reason) and returns the exit status 2. Nothing is written:
    // the mirror stays as the last clean end left it.
    static int reportFatal(const std::exception& e);

    // The exit status when the end could not write the mirror while nobody could be asked (the
    // run was ended from outside): the working database is kept for the next start to recover.
    static constexpr int kEndFailedStatus = 3;

private:
    void closeModalsThenEnd();

    ProgramState state_;
    std::unique_ptr<MainWindow> main_;
    bool ended_ = false;
    bool terminationPending_ = false;
    int mainLoopLevel_ = 0;
    bool started_ = false;
    QString endWarningTitle_;  // start() has returned with the main window up
    int terminationTries_ = 0;
};

// The application folder: the executable's folder when it holds ini/ and may be written, else the
// per-user folder made from the installed files (resolveApplicationFolder). Throws FatalError.
std::string applicationFolder();

// Takes the lock of the application folder for the whole run. False when the run must end at
// once: another copy of the program holds the folder (nothing is shown), or brindale-cli does
// (a message names its job and process). Nothing in the folder is changed then.
bool claimApplicationFolder(const std::string& appDir);
// The message naming what holds the folder (msgbox folderInUse, read by itself from the file).
std::string folderInUseText(const std::string& appDir, const LockHolder& holder);

}  // namespace brindale::shell
