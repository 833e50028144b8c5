#include "messages.h"

#include <QMessageBox>

#include "lifecycle.h"
#include "program_state.h"

namespace brindale::shell {

namespace {
Messages::Responder& responder() {
    static Messages::Responder r;
    return r;
}
std::vector<MessageRecord>& log() {
    static std::vector<MessageRecord> l;
    return l;
}
}  // namespace

void Messages::setResponder(Responder r) { responder() = std::move(r); }
const std::vector<MessageRecord>& Messages::shown() { return log(); }
void Messages::clearShown() { log().clear(); }

MsgResult Messages::show(const QString& text, MsgIcon icon, MsgButtons buttons, QWidget* parent) {
    MessageRecord rec{text, QString::fromUtf8(kMessageTitle), icon, buttons};
    log().push_back(rec);
    if (responder()) return responder()(rec);

    QMessageBox box(parent);
    box.setObjectName("msgbox");
    box.setWindowTitle(rec.title);
    box.setText(text);
    switch (icon) {
        case MsgIcon::Exclamation: box.setIcon(QMessageBox::Warning); break;
        case MsgIcon::Stop: box.setIcon(QMessageBox::Critical); break;
        case MsgIcon::Question: box.setIcon(QMessageBox::Question); break;
        case MsgIcon::Information: box.setIcon(QMessageBox::Information); break;
        case MsgIcon::None: box.setIcon(QMessageBox::NoIcon); break;
    }
    switch (buttons) {
        case MsgButtons::Ok: box.setStandardButtons(QMessageBox::Ok); break;
        case MsgButtons::YesNo: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
        case MsgButtons::YesNoCancel:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
        case MsgButtons::OkCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
        case MsgButtons::RetryCancel: box.setStandardButtons(QMessageBox::Retry | QMessageBox::Cancel); break;
    }
    switch (box.exec()) {
        case QMessageBox::Yes: return MsgResult::Yes;
        case QMessageBox::No: return MsgResult::No;
        case QMessageBox::Cancel: return MsgResult::Cancel;
        case QMessageBox::Retry: return MsgResult::Retry;
        default: return buttons == MsgButtons::OkCancel || buttons == MsgButtons::Ok ? MsgResult::Ok : MsgResult::Cancel;
    }
}

MsgResult Messages::key(const ProgramState& state, const char* key, MsgIcon icon, MsgButtons buttons,
                        QWidget* parent) {
    return show(QString::fromStdString(state.text("msgbox", key)), icon, buttons, parent);
}

}  // namespace brindale::shell
