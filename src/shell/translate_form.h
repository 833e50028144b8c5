#pragma once
// frmTranslate: the third language block edited line by line beside the first. Modeless; the
// main window is hidden while it is open.
#include <QWidget>

#include "translation.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace brindale::shell {

struct ProgramState;

class FrmTranslate : public QWidget {
    Q_OBJECT
public:
    FrmTranslate(ProgramState& state, TranslationFile file, QWidget* parent = nullptr);
    // A window that goes with the run (the program ended by a signal or the session) writes its
    // unsaved edits; a failure goes to the error output, as nobody may be at the screen.
    ~FrmTranslate() override;

    const TranslationFile& file() const { return file_; }
    // Writes the file back; false (after the message) when it could not be written.
    bool save();

signals:
    // The window has closed with the file written: the main window is shown again.
    void closed();

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    void showRow(int row);

    ProgramState& state_;
    TranslationFile file_;
    QListWidget* lstOriginal_;
    QListWidget* lstTranslate_;
    QLineEdit* txtOriginalName_;
    QLineEdit* txtTranslateName_;
    QPushButton* cmdClose_;
    bool syncing_ = false;
    bool edited_ = false;  // edits not yet written
};

// Opens frmTranslate over `mainWindow` (which is hidden meanwhile) for the application folder's
// language table. A file that cannot be translated gives a message naming it and no window:
// nullptr.
FrmTranslate* openTranslate(ProgramState& state, QWidget* mainWindow);

}  // namespace brindale::shell
