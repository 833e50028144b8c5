#pragma once
// The one message-box service of the program: title "Brindale", text by key from section msgbox
// (or a literal where the program has one), the icons and buttons the callers name.
// Tests install a responder that answers instead of a person and see every message shown.
#include <QString>
#include <functional>
#include <vector>

class QWidget;

namespace brindale::shell {

struct ProgramState;

enum class MsgIcon { None, Exclamation, Stop, Question, Information };
enum class MsgButtons { Ok, YesNo, YesNoCancel, OkCancel, RetryCancel };
enum class MsgResult { Ok, Cancel, Yes, No, Retry };

struct MessageRecord {
    QString text;
    QString title;
    MsgIcon icon;
    MsgButtons buttons;
};

class Messages {
public:
    using Responder = std::function<MsgResult(const MessageRecord&)>;

    static MsgResult show(const QString& text, MsgIcon icon, MsgButtons buttons = MsgButtons::Ok,
                          QWidget* parent = nullptr);
    // Text of key `key` in section msgbox.
    static MsgResult key(const ProgramState& state, const char* key, MsgIcon icon,
                         MsgButtons buttons = MsgButtons::Ok, QWidget* parent = nullptr);

    // With a responder set no window opens: the responder answers.
    static void setResponder(Responder r);
    static const std::vector<MessageRecord>& shown();
    static void clearShown();
};

}  // namespace brindale::shell
