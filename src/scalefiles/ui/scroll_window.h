#pragma once
// frmScrollMSG: the scroll messages in gridScrollMsg (number and text, edited in txtGrid) and one
// sequence at a time in the combos of its three steps; saved into KVR_3F and KVR_40 and sent.
#include <QDialog>
#include <array>
#include <functional>

#include "scalefiles/scroll_messages.h"

class QComboBox;
class QTableWidget;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::scalefiles {

class FrmScrollMSG : public QDialog {
    Q_OBJECT
public:
    enum class Command { DownloadMessages, DownloadSequence };
    // Runs the transfer of a command; `save` is the window's save, which the flow runs first
    // (false: the save was refused and nothing goes).
    using Runner = std::function<void(Command, int sequence, const std::function<bool()>& save)>;

    FrmScrollMSG(shell::ProgramState& state, Runner runner, QWidget* parent = nullptr);

    bool cmdSaveM();  // false when the grid was refused (the message says why)
    bool cmdSaveS();
    void showSequence();  // the combos from the row of combSeqNum's sequence
    std::vector<ScrollGridRow> gridRows() const;

private:
    QString text(const char* key) const;
    void fillGrid();
    void fillMessageLists();

    shell::ProgramState& state_;
    Runner runner_;
    QTableWidget* grid_;
    QComboBox* combSeqNum_;
    std::array<QComboBox*, 3> combMSGNo_{}, combPattern_{}, combSpeed_{};
};

}  // namespace brindale::scalefiles
