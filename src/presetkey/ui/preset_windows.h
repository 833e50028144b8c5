#pragma once
// frmPresetKey (the sheet of one scale), frmPutPreKey (one key's three pages) and
// frmAutoPresetKey (the sheet filled from the store's PLUs in one go).
#include <QAbstractTableModel>
#include <QDialog>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "presetkey/key_value.h"
#include "presetkey/layout.h"
#include "presetkey/paint.h"
#include "presetkey/sheet.h"

class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPrinter;
class QPushButton;
class QRadioButton;
class QTableView;

namespace brindale::shell {
class MainWindow;
struct ProgramState;
}  // namespace brindale::shell

namespace brindale::presetkey::ui {

// The sheet's state the three windows share, set up when frmPresetKey opens.
struct SheetState {
    Layout layout;
    SheetRef ref;
    int store = 0;    // ST_No of the scale's row (0 without one)
    int section = 0;  // SECT_No of the scale's row
};

// The layout file's fault in the operator's language: file, key, layout and reason.
QString layoutMessage(const shell::ProgramState& state, const LayoutError& e);

// Reads the scale's row and its layout. A fault of the layout file shows its message and gives
// nothing; nothing changes.
std::optional<SheetState> openSheet(shell::ProgramState& state, const std::string& scaleIP, QWidget* parent);

// The picture area: paints the sheet and turns a click into centimetres.
class PresetCanvas : public QWidget {
    Q_OBJECT
public:
    PresetCanvas(const SheetState& sheet, QWidget* parent);
    void setKeys(std::vector<KeyPages> keys);
    const std::vector<KeyPages>& keys() const { return keys_; }
    // The centre of a key's cell in widget pixels, for tests and accessibility.
    QPoint centreOf(int key) const;
    QSize sizeHint() const override;
signals:
    void clickedAt(double xCm, double yCm);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent*) override;

private:
    const SheetState& sheet_;
    std::vector<KeyPages> keys_;
};

class FrmPresetKey : public QDialog {
    Q_OBJECT
public:
    FrmPresetKey(shell::MainWindow& main, SheetState sheet, QWidget* parent = nullptr);

    const SheetState& sheet() const { return sheet_; }
    PresetCanvas* canvas() const { return pic_; }
    int CurrentKey = 0;

    // A click at a position in centimetres: the key opens in frmPutPreKey, modally.
    void clickAt(double xCm, double yCm);
    void redraw();  // DrawPresetKeys: the sheet read again and painted

    void cmdClearAll();
    void cmdUpload();
    void cmdPrint();
    void cmdAuto();
    void cmdExportPdf();
    void cmdExportPng();
    void cmdExportStore();

    // Where a print goes: the default printer unless a test puts another (a PDF file). Nothing
    // means there is no default printer.
    using PrinterSource = std::function<std::unique_ptr<QPrinter>()>;
    static void setPrinterSource(PrinterSource source);
    // The file an export writes to; empty when the operator cancels. Tests answer instead.
    using FileChooser = std::function<QString(QWidget* parent, const QString& suggested, const QString& filter)>;
    static void setFileChooser(FileChooser chooser);

    // The sheets of every scale of a store that has one, each with its line, for the store PDF.
    static std::vector<SheetPage> storeSheets(shell::ProgramState& state, int store);

private:
    QString text(const char* key) const;
    bool printOn(QPrinter& printer);

    shell::MainWindow& main_;
    shell::ProgramState& state_;
    SheetState sheet_;
    PresetCanvas* pic_;
    QLabel* lblScale_;
    std::vector<QPushButton*> buttons_;
};

// The PLUs of a store for GridBrowse: the ids are read at once, a row's number and name only when
// it is shown.
class PluBrowseModel : public QAbstractTableModel {
    Q_OBJECT
public:
    PluBrowseModel(shell::ProgramState& state, int store, QObject* parent);
    int rowCount(const QModelIndex& = {}) const override;
    int columnCount(const QModelIndex& = {}) const override { return 2; }
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;
    PluBrief row(int r) const;
    long rowsRead() const { return rowsRead_; }

private:
    shell::ProgramState& state_;
    std::vector<int64_t> ids_;
    mutable std::vector<std::optional<PluBrief>> cache_;
    mutable long rowsRead_ = 0;
};

inline constexpr int kClerkKeys = 32;  // clerks a keyboard knows: combClerk 1 to 32

class FrmPutPreKey : public QDialog {
    Q_OBJECT
public:
    FrmPutPreKey(shell::ProgramState& state, const SheetState& sheet, int key, QWidget* parent = nullptr);

    int PageNo = 1;
    const KeyPages& pages() const { return pages_; }

    void showPage();
    void cmdNext();
    void cmdPrev();
    void cmdBrowse();
    void cmdDel();
    void cmdOK();
    void browseClicked(int row);
    PluBrowseModel* browseModel() const { return model_; }

private:
    QString text(const char* key) const;
    Page& page() { return pages_[static_cast<size_t>(PageNo - 1)]; }
    void captions(KeyKind kind);
    void funcChosen(int position);
    void clerkChosen(int position);
    void otherChanged();
    int otherDecimals(int entry) const;
    QString formatOther(int entry, long digits) const;
    void showKeyLabel();

    shell::ProgramState& state_;
    const SheetState& sheet_;
    int key_;
    KeyPages pages_;
    bool showing_ = false;
    PluBrowseModel* model_ = nullptr;

    QLabel *lblPresetKey_, *lblPLUNo_, *lblCommodity_, *lblpersymbol_;
    QLineEdit *txtPLUNo_, *txtCommodity_, *meditValue_;
    QComboBox *combFuncKey_, *combClerkKey_, *combOtherKeys_;
    QGroupBox* frameBrowse_;
    QTableView* gridBrowse_;
    QPushButton *cmdPrev_, *cmdNext_;
};

class FrmAutoPresetKey : public QDialog {
    Q_OBJECT
public:
    FrmAutoPresetKey(shell::ProgramState& state, const SheetState& sheet, QWidget* parent = nullptr);
    void cmdOK();

private:
    QString text(const char* key) const;
    void fillGroups();

    shell::ProgramState& state_;
    const SheetState& sheet_;
    QRadioButton *opST_, *opDP_, *opMG_;
    QComboBox *combDept_, *combMG_;
};

// menuEditPresetKey: the sheet of the scale selected in the tree, modal over the main window.
void openPresetKeys(shell::MainWindow& main);

}  // namespace brindale::presetkey::ui
