// frmImportOrExport: PLUs to and from delimited text files, and the import report beside it.
// A thin window over exchange/plu_import.h, plu_export.h and import_settings.h.
#pragma once

#include <QDialog>
#include <QString>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "exchange/import_settings.h"
#include "exchange/plu_import.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QTableWidget;

namespace brindale::shell {
struct ProgramState;
}

namespace brindale::exchange::ui {

// Asks for a file name: `save` for a file to write; empty when the operator cancels. Tests
// answer instead of a person.
using FileChooser = std::function<QString(QWidget* parent, bool save, const QString& filter)>;
void setFileChooser(FileChooser chooser);  // none: the platform's file dialog
QString chooseFile(QWidget* parent, bool save, const QString& filter);

// The text of an action as the report shows it, from the window's language section.
QString actionText(const shell::ProgramState& state, ImportAction action);

class FrmImportReport : public QDialog {
    Q_OBJECT
public:
    FrmImportReport(const shell::ProgramState& state, const ImportResult& result, QWidget* parent = nullptr);
    void commandSave();
    const QTableWidget& grid() const { return *gridReport_; }

private:
    const shell::ProgramState& state_;
    const ImportResult& result_;
    QTableWidget* gridReport_;
};

class FrmImportOrExport : public QDialog {
    Q_OBJECT
public:
    explicit FrmImportOrExport(shell::ProgramState& state, QWidget* parent = nullptr);

    void cmdImport();
    void cmdExport();
    void cmdAdd();
    void cmdDelete();
    void commandSave();
    void commandOpen();
    void cmdImportReport();

    // The window's choices as a saved set holds them, and back.
    ImportSettings settings() const;
    void applySettings(const ImportSettings& s);
    // The chosen columns, in file order.
    std::vector<std::string> chosenColumns() const;

    // An import ran and changed KVR_25: the PLU list must be read again.
    bool imported() const { return imported_; }
    const ImportResult& lastImport() const { return last_; }

private:
    QString caption(const char* key) const;
    void showDirection();
    void showSupplyingControls();
    void showFontFor(int selectRow);
    void fontChosen(int position);
    bool progress(long long done, long long total);
    void setWaiting(bool on);

    shell::ProgramState& state_;
    std::vector<std::string> items_;  // the importable columns, as listItem shows them
    std::array<int, 3> fontPositions_{0, 0, 0};
    bool imported_ = false;
    ImportResult last_;
    long long lastPaint_ = 0;

    QComboBox* comboIorE_;
    QComboBox* comboSeperator_;
    QListWidget* listItem_;
    QListWidget* SelectItem_;
    QPushButton* cmdAdd_;
    QPushButton* cmdDelete_;
    QLabel* labST_No_;
    QComboBox* comboST_No_;
    QLabel* labMG_No_;
    QComboBox* comboMG_No_;
    QLabel* labBarType_;
    QComboBox* comboBarType_;
    QLabel* labWeightFlag_;
    QLineEdit* txtWeightFlag_;
    QLabel* labFontSize_;
    QComboBox* comboFontSize_;
    QCheckBox* chkPLU_;
    QPushButton* commandOpen_;
    QPushButton* commandSave_;
    QPushButton* cmdImport_;
    QPushButton* cmdExport_;
    QPushButton* cmdImportReport_;
    QPushButton* cmdClose_;
    QLabel* labWaiting_;
    QProgressBar* prgWaiting_;
};

}  // namespace brindale::exchange::ui
