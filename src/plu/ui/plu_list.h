#pragma once
// The PLU list of the main window (MSHFlexGridPLU) and its commands: the node click fills it,
// the operator moves through it, marks rows for the scales, deletes them, looks up a PLU to copy,
// and finds a PLU by number or narrows the list by name (txtFind).
//
// The list's rows are the keyset of RsPLU; the current row of the list is RsPLU's current row and
// is what the editor shows: currentPluChanged tells it.
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "plu_list_model.h"

class QLabel;
class QLineEdit;
class QTableView;

namespace brindale::shell {
class MainWindow;
class TreeController;
struct ProgramState;
}  // namespace brindale::shell

namespace brindale::plu::ui {

class PluEditor;

class PluList : public QObject {
    Q_OBJECT
public:
    // Becomes a child of the window; takes over its grid, installs the list's commands and
    // follows the tree's node click.
    PluList(shell::MainWindow& window, shell::TreeController& tree);
    static PluList* of(const shell::MainWindow& window);

    // The list of a node: the query, RsPLU opened on it, the first row current.
    void fillPLUList(int nodeKind, int storeNo, int nodeNo);
    // The last query again; the current PLU stays current when it is still there.
    void refreshPLUList();

    // The commands, as their buttons run them. Each that leaves the PLU asks askSavePLU first.
    void cmdUp();
    void cmdDown();
    void cmdSelectAll() { walkSelection(1); }
    void cmdClearAll() { walkSelection(0); }
    void cmdDelAll();
    void deletePLU();
    void copyPLU();
    void cmdReflesh();
    // Flips the mark of the current row and saves it.
    void togglePLUSelection();
    // Writes `mode` (1 marked, 0 not) to Is_Selected of every row shown, in one transaction.
    void selectPLURows(int mode);
    // Turns on the commands that send or delete the marked rows when any row of KVR_25 is marked.
    bool checkSelection();
    // The states of the list's commands from the rows shown, the current row and the editor's
    // new-row flag.
    void enablePLUButtons();

    // Find: digits go to the first PLU at or above the number, other text keeps only the PLUs
    // whose name holds it (case-insensitive), empty text shows the whole list again.
    void find(const QString& text);

    // ---- State, for the editor and the tests ----
    PluListModel* model() const { return model_; }
    QTableView* view() const { return view_; }
    QLineEdit* findBox() const { return find_; }
    const std::string& query() const { return query_; }
    int shownCount() const { return model_->rowCount(); }
    long totalCount() const;
    long markedShown() const { return markedShown_; }
    bool narrowed() const { return model_->narrowed(); }
    int currentRow() const { return currentRow_; }
    int64_t currentRowId() const { return model_->rowIdAt(currentRow_); }
    // RsPLU's position of the current row (-1 without one).
    long currentPosition() const { return model_->positionAt(currentRow_); }
    // Makes a list row current (through askSavePLU); false when the operator stayed.
    bool moveTo(int row);

    // The copy lookup leaves the source's row id and raises the flag; the editor's next save adds
    // a new row from the controls and clears it.
    bool copyFlag() const { return copyFlag_; }
    int64_t copySourceRowId() const { return copySource_; }
    void clearCopyFlag() { copyFlag_ = false; copySource_ = 0; }
    // The editor's new-row flag, which turns off the commands that need a saved row.
    void setNewRow(bool on) { newRow_ = on; enablePLUButtons(); }
    // Where cmdCopy reads the number typed; by default the text of the window's meditPLU.
    void setNumberSource(std::function<QString()> f) { numberSource_ = std::move(f); }

    // Reruns the query and makes the row with this id current (a row just saved, a new one too).
    void refreshTo(int64_t rowId);
    // A saved row: when it is the current one and keeps its place in number order, only its line
    // is read again; otherwise the list is refreshed onto it.
    void rowSaved(int64_t rowId);
    // The editor shows the list's current row; its saves refresh the list, its Alt+Down and
    // Alt+Up move it, and cmdCopy hands it the source.
    void attachEditor(PluEditor& editor);

signals:
    // The current row changed: its row id, 0 when the list has none.
    void currentPluChanged(qint64 rowId);
    // The rows were read again (a node, a refresh, the find).
    void listFilled();
    // cmdCopy found the source: the editor shows it as a new row to be numbered.
    void copyStarted(qint64 sourceRowId);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void nodeSelected(bool changed);
    void applyCaptions();
    void walkSelection(int mode);
    void setCurrent(int row, bool notify);
    void showRows(std::vector<long> positions, bool narrowed, int64_t keepRowId, long keepPosition);
    void narrowTo(const QString& text, int64_t keepRowId);
    void countMarked();
    void updateFindState();
    void deleteFailed(int64_t pluNo, const std::exception& e);
    int64_t pluNoOf(int64_t rowId) const;
    QString text(const char* section, const char* key) const;
    template <class F>
    bool walk(const std::vector<int64_t>& rowIds, F&& step, int64_t* failedRowId);
    std::vector<int64_t> shownRowIds() const;

    shell::MainWindow& w_;
    shell::TreeController& tree_;
    shell::ProgramState& state_;
    QTableView* view_;
    PluListModel* model_;
    QLineEdit* find_ = nullptr;
    QLabel* findLabel_ = nullptr;
    QLabel* findState_ = nullptr;
    std::string query_;
    std::tuple<int, int, int> node_{-1, 0, 0};
    bool hasNode_ = false;
    int currentRow_ = -1;
    long markedShown_ = 0;
    bool copyFlag_ = false;
    int64_t copySource_ = 0;
    bool newRow_ = false;
    bool quiet_ = false;  // set while the program moves the view's current row
    QString findText_;
    std::function<QString()> numberSource_;
};

}  // namespace brindale::plu::ui
