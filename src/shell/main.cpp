// Brindale: the entry point. It reads no command line and no environment of its own.
#include <QApplication>

#include "application.h"

int main(int argc, char** argv) {
    // Only the program's name goes to Qt: no option of the command line is taken.
    int qtArgc = argc > 0 ? 1 : 0;
    QApplication qapp(qtArgc, argv);
    QApplication::setApplicationName("Brindale");
    if (brindale::shell::anotherInstanceRuns()) return 0;  // silently, touching nothing

    brindale::shell::Application app(brindale::shell::applicationFolder());
    app.installTerminationHandlers();
    if (int status = app.start()) return status;
    return QApplication::exec();
}
