#include "guard.h"

#include <cstdio>

#include "messages.h"
#include "program_state.h"

namespace brindale::shell {

namespace {
const ProgramState* guardState = nullptr;
int depth = 0;  // a fault while the fault's own message is open is not shown again

QString faultText(const std::exception* e) {
    const QString what = e ? QString::fromUtf8(e->what()) : QStringLiteral("unknown error");
    return what + "\n\n" +
           guardText("msgbox", "eventFault",
                     "The action was not completed. The program goes on; everything saved so far is kept.");
}
}  // namespace

QString guardText(const char* section, const char* key, const char* fallback) {
    if (guardState)
        if (const LanguageTable* t = guardState->lang.find(section))
            if (const std::string* v = t->find(key)) return QString::fromStdString(*v);
    return QString::fromUtf8(fallback);
}

void setGuardState(const ProgramState* state) { guardState = state; }

void reportEventFault(const std::exception* e) noexcept {
    try {
        const QString text = faultText(e);
        std::fprintf(stderr, "Brindale: %s\n", text.toLocal8Bit().constData());
        if (depth > 0) return;
        ++depth;
        try {
            Messages::show(text, MsgIcon::Stop);
        } catch (...) {
        }
        --depth;
    } catch (...) {
        // Nothing may leave the guard: the message is lost, the program goes on.
    }
}

bool runGuarded(const std::function<void()>& f) noexcept {
    try {
        f();
        return true;
    } catch (const std::exception& e) {
        reportEventFault(&e);
    } catch (...) {
        reportEventFault(nullptr);
    }
    return false;
}

bool GuardedApplication::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& e) {
        reportEventFault(&e);
    } catch (...) {
        reportEventFault(nullptr);
    }
    return false;
}

}  // namespace brindale::shell
