#pragma once
// SSTabPLU: the tabbed editor of one PLU. Every control carries its name from plu::pluControls()
// as objectName and is filled and read through plu::PluFields, so the window holds no rules of
// its own beyond the keys the operator may type. The list shows a row with showRow(rowid) and
// learns of a save through rowSaved; the main window's commands cmdNew, cmdEdit, cmdUpdate and
// cmdCancel and askSavePLU's save are installed by attach().
#include <QTabWidget>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/plu_row.h"
#include "plu/plu_editor.h"

class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QLabel;
class QLineEdit;
class QTableWidget;

namespace brindale::shell {
class MainWindow;
struct ProgramState;
}  // namespace brindale::shell

namespace brindale::store {
class Database;
class DbInheritance;
class DbFlexi;
}  // namespace brindale::store

namespace brindale::plu::ui {

class PluEditor : public QTabWidget {
    Q_OBJECT
public:
    explicit PluEditor(shell::ProgramState& state, QWidget* parent = nullptr);
    ~PluEditor() override;

    // Installs the editor's commands and its save into the main window (askSavePLU's Yes).
    void attach(shell::MainWindow& window);
    // Captions, list entries and tooltips in the language of the run.
    void setCaptions();

    // ---- what the list uses -------------------------------------------------------------------
    // Shows the row of KVR_25 with this row id (ShowPluData); the changed flag goes down. The
    // caller has asked askSavePLU before. False when there is no such row (the editor is cleared).
    bool showRow(int64_t rowid);
    // The same for a table of KVR_25's columns (the fetched RC_25 of the upload review); meant for
    // a read-only editor, since a save writes KVR_25.
    bool showRowOf(const std::string& table, int64_t rowid);
    // No row: blank controls, nothing to edit.
    void clear();
    int64_t currentRowId() const { return rowid_; }

    // ---- the commands -----------------------------------------------------------------------------
    void cmdNew();
    // cmdCopy of the list: the source's values as a new row; the operator types its number, and
    // that save skips the overlap test once.
    void startCopy(int64_t sourceRowId);
    bool copying() const { return copying_; }
    void cmdEdit();
    // updatePLU: checkPLUOverlap, savePLU, Update, the row shown again. True when saved.
    bool updatePLU();
    void cmdCancel();
    void enablePLUButtons();
    // Opens frmStringEdit on the block of kind 1 (ingredient), 2 (special message) or 3 (name).
    void editBlock(int kind);

    // For the later upload review: the same editor, nothing can be typed.
    void setReadOnly(bool on);
    bool isReadOnly() const { return readOnly_; }

    bool isNewRow() const { return isNew_; }
    // The controls' values as the save takes them.
    PluFields fields() const;
    const PluEditorContext& context() const { return ctx_; }
    // The control named `name` (an objectName of pluControls(), or a button or label of the editor).
    QWidget* control(const QString& name) const;
    // The documented order of the Tab key on each page, by control name.
    static const std::vector<std::vector<const char*>>& tabOrder();
    // What the barcode preview shows.
    QString barcodePreviewText() const;

signals:
    // A save wrote the row (a new row included): the list refreshes.
    void rowSaved(qint64 rowid);
    // Alt+Down (+1) and Alt+Up (-1), once askSavePLU let the PLU go: the list moves.
    void stepRequested(int step);
    // The new-row flag went up (New, Copy) or down (save, Cancel, a row shown).
    void newRowChanged(bool on);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Caption {
        QWidget* widget;
        const char* section;
        const char* key;
    };
    void build();
    QWidget* page(int index) const;
    void refreshContext();
    void setFields(const PluFields& f);
    void fillCombo(const char* name, const ComboEntries& entries, int index);
    void fillCombosFor(const PluFields& f);
    int64_t lastByteShown() const;
    void applyBarcodeControls();
    void updatePreview();
    void applyDiscountState();
    void onEdited();
    void setPluChanged(bool on);
    void numberFocusOut(QLineEdit* e);
    bool isNumberControl(const QString& name) const;
    bool keyAllowed(const QString& name, const QString& text) const;
    bool showInputError(const InputError& e);
    void focusControl(const QString& name);
    int64_t offeredNumber();
    void blockText(int kind, const codec::Bytes& block);
    void step(int direction);

    shell::ProgramState& state_;
    shell::MainWindow* window_ = nullptr;
    PluEditorContext ctx_;
    std::map<QString, QWidget*> controls_;
    std::vector<Caption> captions_;
    QTableWidget* grid_ = nullptr;
    QLabel* preview_ = nullptr;
    codec::PluRow row_;        // the row as stored (or a fresh one while adding)
    PluFields shown_;          // what showRow or New put into the controls
    PluFields hidden_;         // blocks, multi barcode buffers, the nutrition template
    int64_t rowid_ = 0;
    int mbarIndex_ = 0;
    bool isNew_ = false;
    bool copying_ = false;
    bool newRowTold_ = false;
    bool filling_ = false;
    bool readOnly_ = false;
    bool active_ = false;  // a row or a new row is in the controls
    // The database as the codec's source of inherited settings and flexi rows.
    store::Database* sourcesDb_ = nullptr;
    std::unique_ptr<store::DbInheritance> inheritance_;
    std::unique_ptr<store::DbFlexi> flexi_;
};

}  // namespace brindale::plu::ui
