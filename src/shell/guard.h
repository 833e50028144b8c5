#pragma once
// One guard for everything that runs from the event loop: an error that escapes a handler becomes
// a message naming what it names (file, table, record) and the reason, and the run goes on. The
// working database keeps every change already written; nothing is rolled back or thrown away.
#include <QApplication>
#include <exception>
#include <functional>

namespace brindale::shell {

struct ProgramState;

// The language texts used for the guard's message, once they are loaded (before that, English).
void setGuardState(const ProgramState* state);

// A text of the language table once it is loaded, else the English fallback.
QString guardText(const char* section, const char* key, const char* fallback);

// Shows the message for an error that reached the event loop. Never throws.
void reportEventFault(const std::exception* e) noexcept;

// Runs f; an error is reported as above and false returned.
bool runGuarded(const std::function<void()>& f) noexcept;

// The program's application object: every event, and so every slot, handler and timer, is
// delivered under the guard.
class GuardedApplication : public QApplication {
public:
    GuardedApplication(int& argc, char** argv) : QApplication(argc, argv) {}
    bool notify(QObject* receiver, QEvent* event) override;
};

}  // namespace brindale::shell
