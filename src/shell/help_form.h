#pragma once
// frmHelp: the HTML help of the application folder (help/en, help/zh), a page per form named by
// the form's objectName, with contents, back and find. F1 opens the page of the active form.
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QTextBrowser;

namespace brindale::shell {

struct ProgramState;

class FrmHelp : public QWidget {
    Q_OBJECT
public:
    FrmHelp(ProgramState& state, QWidget* parent = nullptr);

    // Shows `file`, scrolled to `anchor` when one is given.
    void showPage(const QString& file, const QString& anchor);
    QTextBrowser* browser() const { return txtHelp_; }
    // Finds the next place of the find box's text (from the top again after the last); false and
    // "not found" when there is none.
    bool findNext();

private:
    ProgramState& state_;
    QTextBrowser* txtHelp_;
    QLineEdit* txtFind_;
    QLabel* lblFindResult_;
    QString contents_;
};

// The page of the form named `formName` in the help of the current language (the folder of
// state.helpFile). A missing help file gives a message naming it and no window; a form without a
// page of its own gets the contents. The one help window is reused.
FrmHelp* openHelp(ProgramState& state, const QString& formName, QWidget* over = nullptr);

// Makes F1 open the help of the active form, anywhere in the program, for as long as `owner`
// (the run) lives.
void installHelpKey(ProgramState& state, QObject* owner);

}  // namespace brindale::shell
