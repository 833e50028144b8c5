#pragma once
// One run of the program: the loading screen and its sequence, the main window, the end.
#include <QObject>
#include <memory>
#include <string>

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
    // window does: the mirror is written.
    void installTerminationHandlers();
    void requestTermination();

    ProgramState& state() { return state_; }
    MainWindow* mainWindow() const { return main_.get(); }
    bool ended() const { return ended_; }

    // Shows a fatal error (file, line, reason) and asks the event loop to end with status 2.
    // Nothing is written: the mirror stays as the last clean end left it.
    static int reportFatal(const std::exception& e);

private:
    ProgramState state_;
    std::unique_ptr<MainWindow> main_;
    bool ended_ = false;
    bool terminationPending_ = false;
};

// The application folder: the folder of the executable.
std::string applicationFolder();

// True when another copy of the program in this application folder is running. The lock is
// held by the process for its whole life and goes with it, however it ends.
bool anotherInstanceRuns();

}  // namespace brindale::shell
