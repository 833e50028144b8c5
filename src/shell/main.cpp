// Brindale: the entry point. It reads no command line; the environment only tells where the
// per-user application folder of an installed program is.
#include <unistd.h>

#include <QTimer>
#include <cstdlib>
#include <string>

#include "about_form.h"
#include "application.h"
#include "guard.h"

int main(int argc, char** argv) {
    // Only the program's name goes to Qt: no option of the command line is taken.
    int qtArgc = argc > 0 ? 1 : 0;
    brindale::shell::GuardedApplication qapp(qtArgc, argv);
    QApplication::setApplicationName("Brindale");
    QApplication::setWindowIcon(brindale::shell::programIcon());

    std::string folder;
    try {
        folder = brindale::shell::applicationFolder();
    } catch (const std::exception& e) {  // the per-user folder could not be made: named
        return brindale::shell::Application::reportFatal(e);
    }
    if (!brindale::shell::claimApplicationFolder(folder)) return 0;  // touching nothing

    brindale::shell::Application app(folder);
    app.installTerminationHandlers();
    app.setMainLoopLevel(1);
    if (int status = app.start()) return status;
    if (!app.mainWindow() || app.ended()) return 0;  // the start was stopped, or the run already ended
    // For benchmarks and tests only, never configuration: with BRINDALE_READY_FD naming an open
    // descriptor, "ready" is written to it once the main window stands and the event loop has
    // taken up its first round of work.
    if (const char* fd = std::getenv("BRINDALE_READY_FD"))
        QTimer::singleShot(0, [n = std::atoi(fd)] { [[maybe_unused]] auto w = ::write(n, "ready\n", 6); });
    return QApplication::exec();
}
