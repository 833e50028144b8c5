#pragma once
// frmOtherFile: the six numbered text files, the container table, and the commands that send the
// ticked tables and the date and time. A kind's button opens frmStringEdit on the text of the
// number shown; its OK writes the row through the text-file store.
#include <QDialog>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::scalefiles {

class FrmOtherFile : public QDialog {
    Q_OBJECT
public:
    enum class Command { Send, DateTime };
    // The moment the date-and-time record is made of; empty for the computer's clock.
    using Clock = std::function<std::tm()>;
    // cmdSend hands over the names of the ticked boxes in the window's order; cmdDTTM none, and
    // the window's clock.
    using Runner = std::function<void(Command, const std::vector<std::string>& tickedBoxes, const Clock& clock)>;

    FrmOtherFile(shell::ProgramState& state, Runner runner, QWidget* parent = nullptr);

    // The number a kind's text box and button work on (its number box, or its combo's number);
    // 0 when none is given.
    uint32_t numberOf(int kind) const;
    void editText(int kind);  // the kind's button
    void cmdSend();
    void storeContainerRow();  // packs txtCNo / txtPLUNo into KVR_DF
    // A clock in place of the computer's, for a moment that must be known exactly.
    void setClock(Clock clock) { clock_ = std::move(clock); }

private:
    QString text(const char* key) const;
    void fillCombo(int kind);
    void showText(int kind);
    void showContainer();

    shell::ProgramState& state_;
    Runner runner_;
    Clock clock_;
    struct KindControls {
        QPushButton* button = nullptr;
        QLineEdit* text = nullptr;
        QComboBox* combo = nullptr;
        QLineEdit* number = nullptr;
    };
    std::map<int, KindControls> kinds_;
    std::vector<QCheckBox*> checks_;
    QLineEdit *txtCNo_, *txtPLUNo_;
};

}  // namespace brindale::scalefiles
