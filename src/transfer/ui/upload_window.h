#pragma once
// frmUpload: the PLUs fetched from a scale, decoded, listed in GridPLUUpload and shown read-only
// on SSTabPLUupload; the marked ones are taken over into KVR_25 of the store and main group
// chosen. The rules are in transfer/upload_review.h; the window only shows them.
#include <QAbstractTableModel>
#include <QDialog>
#include <QHash>
#include <cstdint>
#include <memory>

#include "transfer/upload_review.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QTableView;

namespace brindale::shell {
struct ProgramState;
}
namespace brindale::plu::ui {
class PluEditor;
}

namespace brindale::transfer::ui {

// The seven columns of GridPLUUpload over the review set: 0 the "*" of the row shown, 1 the
// running number, 2 to 5 PLU, item code, name, unit price (read by row id when painted), 6 the
// operator's mark.
class UploadGridModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { ColShown = 0, ColNo, ColPLU, ColItem, ColName, ColPrice, ColMark, ColumnCount };

    UploadGridModel(shell::ProgramState& state, ReviewSet& set, QObject* parent = nullptr);

    // The set was loaded again.
    void reload();
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    int shownRow() const { return shown_; }
    void setShownRow(int row);
    void toggleMark(int row);
    // Rows read from the database since the last reload: what the view has asked for.
    long rowsRead() const { return rowsRead_; }

private:
    const ReviewRow& cachedRow(int row) const;

    shell::ProgramState& state_;
    ReviewSet& set_;
    int shown_ = -1;
    mutable QHash<int, ReviewRow> cache_;
    mutable long rowsRead_ = 0;
};

class UploadWindow : public QDialog {
    Q_OBJECT
public:
    explicit UploadWindow(shell::ProgramState& state, QWidget* parent = nullptr);
    ~UploadWindow() override;

    // Decodes RC_25, fills the grid and shows its first record. Runs once when the window is first
    // shown; tests call it directly.
    void ShowPluData();
    // The record of the row with the "*" in column 0 on the tabs.
    void ShowPluDataUpload();
    // Turns the tabs to `page`; out of range leaves them. The page shown after.
    int chgSSTabPLU(int page);
    // The decimal places and date form of the settings applied again to the record shown.
    void chgByPointUpload();
    // Tab and field captions from the editor's language keys.
    void iniSSTabPLUupload();
    // The barcode format list and the symbol list (by weighing mode) for the record shown; each
    // gives the number of entries.
    int addBarcodeFormatupload();
    int combSymbolChgListUpload();

    // The operator's moves in the grid: a click in a column, Up (-1) and Down (+1).
    void clickGrid(int row, int column);
    void stepGrid(int direction);
    // cmdTransfer.
    void transferMarked();

    const ReviewSet& reviewSet() const { return set_; }
    // The marks, for callers that mark many rows at once (the grid's view is told by reload()).
    ReviewSet& reviewSet() { return set_; }
    const DecodeReport& decodeReport() const { return report_; }
    UploadGridModel* model() const { return model_; }
    plu::ui::PluEditor* editor() const { return editor_; }
    // Records taken over (added or overwritten) by every cmdTransfer of this window.
    long takenOver() const { return takenOver_; }

protected:
    void showEvent(QShowEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setCaptions();
    void fillStores();
    void fillDepartments();
    void fillMainGroups();
    void showRow(int row);
    void updateTransferButton();
    void showUnreadable();
    QString text(const char* section, const char* key) const;

    shell::ProgramState& state_;
    ReviewSet set_;
    DecodeReport report_;
    UploadGridModel* model_ = nullptr;
    plu::ui::PluEditor* editor_ = nullptr;
    QTableView* grid_ = nullptr;
    QLabel* loading_ = nullptr;
    QLabel* unreadable_ = nullptr;
    QListWidget* unreadableList_ = nullptr;
    QProgressBar* bar_ = nullptr;
    QComboBox* combST_ = nullptr;
    QComboBox* combDP_ = nullptr;
    QComboBox* combMG_ = nullptr;
    QCheckBox* chkSamePLU_ = nullptr;
    QPushButton* cmdTransfer_ = nullptr;
    QPushButton* cmdClose_ = nullptr;
    bool filled_ = false;
    bool busy_ = false;
    long takenOver_ = 0;
};

// Opens frmUpload modally over `parent` on the rows of RC_25 and returns once it is closed: the
// number of records taken over into KVR_25. It leaves RC_25 as it is: the caller empties it.
int reviewUploaded(shell::ProgramState& state, QWidget* parent = nullptr);

}  // namespace brindale::transfer::ui
