#pragma once
// frmStringEdit: the grid editor of the lines of one text block (a PLU's commodity name,
// ingredient or special message; later the numbered text files). One row a line: its text,
// edited in txtGrid laid over the cell, and its font, chosen in CobFont laid over the cell.
// Nothing leaves the window without OK; OK hands back the block, Null for an empty first line.
#include <QDialog>
#include <optional>
#include <vector>

#include "codec/columns.h"
#include "scalefiles/text_lines.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::scalefiles {

class FrmStringEdit : public QDialog {
    Q_OBJECT
public:
    // `kind` decides the greatest number of lines; the fonts follow CountryIndex. With no lines
    // the grid starts with one empty line in the first font.
    FrmStringEdit(const shell::ProgramState& state, int kind, std::vector<TextLine> lines, QWidget* parent = nullptr);

    // After OK: the block (Null for an empty text). Unset before OK and after Cancel.
    const std::optional<codec::Bytes>& block() const { return block_; }
    const std::vector<TextLine>& lines() const { return lines_; }
    int lineLimit() const { return maxLines_; }

    // The grid's commands, as the buttons and keys run them.
    void cmdAppend();
    void cmdInsert();
    void cmdDelete();
    void cmdOK();
    // Lays the cell editor over the current cell: txtGrid on the text, CobFont on the font.
    void editCurrentCell();

    // The warning shown under the grid while a line cannot go to the scales as typed; empty when
    // there is none.
    QString warningText() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QString text(const char* key) const;
    const codec::CodePage& codePage() const;
    QString fontName(uint8_t code) const;
    void fillRow(int row);
    void refresh();  // buttons, the line count, the warning
    void openText(int row);
    void openFont(int row);
    void commitText();
    void closeText(bool keep);
    void closeFont();
    void placeOver(QWidget* editor, int row, int column);
    int currentRow() const;
    QString problemOf(int row, const TextLine& line) const;
    void focusLine(int row);

    const shell::ProgramState& state_;
    int kind_;
    int maxLines_;
    std::vector<FontChoice> fonts_;
    std::vector<TextLine> lines_;
    std::optional<codec::Bytes> block_;

    QTableWidget* gridString_;
    QLineEdit* txtGrid_;
    QComboBox* cobFont_;
    QPushButton *cmdAppend_, *cmdInsert_, *cmdDelete_, *cmdOK_, *cmdCancel_;
    QLabel* lblLines_;
    QLabel* lblWarning_;
    int editingRow_ = -1;  // the row txtGrid is open on
    int fontRow_ = -1;     // the row CobFont is open on
    bool fillingFont_ = false;
};

// Opens frmStringEdit modally on a block of the given kind. A damaged block opens with the lines
// that could be read, after a message naming the column and the offset. Returns the new block on
// OK (the caller stores it and raises its changed flag), nothing on Cancel.
std::optional<codec::Bytes> editTextBlock(const shell::ProgramState& state, int kind, const codec::Bytes& block,
                                          QWidget* parent = nullptr);

}  // namespace brindale::scalefiles
