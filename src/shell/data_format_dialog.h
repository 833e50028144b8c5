#pragma once
// frmScale: the data format dialog of the setting menu. Its rows and its OK come from
// data_format.h; the form shows them, checks the typed unit and writes the settings file.
#include <QDialog>
#include <QString>

#include "data_format.h"
#include "program_state.h"

class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace brindale::shell {

class MainWindow;

// True when a typed character may stand in a price unit: its code in the system's code page
// `pageName` is from 32 to 255 (a character the page lacks has none).
bool priceUnitCharacterAllowed(const QString& character, const std::string& pageName);

class FrmScale : public QDialog {
    Q_OBJECT
public:
    FrmScale(ProgramState& state, QWidget* parent = nullptr);

    // What OK wrote (valid once the form was accepted).
    const Settings& written() const { return written_; }

protected:
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    void load();
    void cmdOK();
    void storeModeChanged(int index);
    QComboBox* addCombo(const char* name, const char* labelName, const char* key);

    ProgramState& state_;
    std::string pageName_;  // the system's code page, for the typed unit
    Settings written_;
    QComboBox *combPPoint = nullptr, *combPPointType = nullptr, *combWPoint = nullptr, *combScaleType = nullptr,
              *combDateType = nullptr, *combPriceUnit = nullptr, *combSYS_Country = nullptr,
              *combSYS_Store = nullptr;
    QLabel* lblSYS_StoreName = nullptr;
    QLineEdit* txtSYS_StoreName = nullptr;
    QPushButton *cmdOK_ = nullptr, *cmdCancel_ = nullptr;
    QFormLayout* form_ = nullptr;
};

// menuDataFormat: askSavePLU, frmScale modal, and after an OK the question DataFormatSet; unless
// the answer is No the run ends as closing the main window ends it.
void openDataFormat(MainWindow& main);

}  // namespace brindale::shell
