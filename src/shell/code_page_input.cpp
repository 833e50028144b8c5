#include "code_page_input.h"

#include <QLabel>
#include <QLineEdit>

#include "lifecycle.h"
#include "messages.h"
#include "program_state.h"

namespace brindale::shell {

QString characterNotHeld(const ProgramState& state, const QString& text) {
    if (!state.codePage) return {};
    const auto ch = state.codePage->firstNotHeld(text.toStdString());
    return ch ? QString::fromStdString(*ch) : QString();
}

QString codePageWarning(const ProgramState& state, const QString& text) {
    const QString ch = characterNotHeld(state, text);
    if (ch.isEmpty()) return {};
    return QString::fromStdString(
        fillIn(state.text("msgbox", "codepageNotHeld"), {ch.toStdString(), state.codePage->name()}));
}

CodePageInput::CodePageInput(const ProgramState& state, QLineEdit* edit, QLabel* warning)
    : QObject(edit), state_(state), edit_(edit), warning_(warning) {
    if (warning_) warning_->setWordWrap(true);
    connect(edit_, &QLineEdit::textChanged, this, [this] { refresh(); });
    refresh();
}

QString CodePageInput::warningText() const { return codePageWarning(state_, edit_->text()); }

void CodePageInput::refresh() {
    if (!warning_) return;
    const QString w = warningText();
    warning_->setText(w);
    warning_->setVisible(!w.isEmpty());
}

bool CodePageInput::confirm(QWidget* parent) {
    const QString w = warningText();
    if (w.isEmpty()) return true;
    Messages::show(w, MsgIcon::Exclamation, MsgButtons::Ok, parent);
    edit_->setFocus();
    return false;
}

}  // namespace brindale::shell
