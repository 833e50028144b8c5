#include "help_form.h"

#include <QApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

#include "messages.h"
#include "form_scaling.h"
#include "program_state.h"

namespace brindale::shell {

namespace {
QString q(const std::string& s) { return QString::fromStdString(s); }
QPointer<FrmHelp> theHelp;
}  // namespace

FrmHelp::FrmHelp(ProgramState& state, QWidget* parent) : QWidget(parent, Qt::Window), state_(state) {
    setObjectName("frmHelp");
    setWindowTitle(q(state_.text("frm_Help", "frmHelp")));
    contents_ = QString::fromStdString(state_.helpFile);
    auto* box = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout;
    auto button = [this, bar](const char* name) {
        auto* b = new QPushButton(q(state_.text("frm_Help", name)), this);
        b->setObjectName(name);
        bar->addWidget(b);
        return b;
    };
    auto* cmdContents = button("cmdContents");
    auto* cmdBack = button("cmdBack");
    bar->addStretch();
    txtFind_ = new QLineEdit(this);
    txtFind_->setObjectName("txtFind");
    bar->addWidget(txtFind_);
    auto* cmdFind = button("cmdFind");
    lblFindResult_ = new QLabel(this);
    lblFindResult_->setObjectName("lblFindResult");
    bar->addWidget(lblFindResult_);
    box->addLayout(bar);
    txtHelp_ = new QTextBrowser(this);
    txtHelp_->setObjectName("txtHelp");
    txtHelp_->setOpenExternalLinks(false);
    box->addWidget(txtHelp_);

    connect(cmdContents, &QPushButton::clicked, this, [this] { showPage(contents_, {}); });
    connect(cmdBack, &QPushButton::clicked, txtHelp_, &QTextBrowser::backward);
    connect(txtHelp_, &QTextBrowser::backwardAvailable, cmdBack, &QPushButton::setEnabled);
    cmdBack->setEnabled(false);
    connect(cmdFind, &QPushButton::clicked, this, [this] { findNext(); });
    connect(txtFind_, &QLineEdit::returnPressed, this, [this] { findNext(); });
    prepareForm(this);
    resize(720, 560);
}

void FrmHelp::showPage(const QString& file, const QString& anchor) {
    QUrl url = QUrl::fromLocalFile(file);
    if (!anchor.isEmpty()) url.setFragment(anchor);
    txtHelp_->setSource(url);
    lblFindResult_->clear();
}

bool FrmHelp::findNext() {
    const QString what = txtFind_->text();
    if (what.isEmpty()) return false;
    if (txtHelp_->find(what)) {
        lblFindResult_->clear();
        return true;
    }
    // From the top again, once.
    QTextCursor c = txtHelp_->textCursor();
    c.movePosition(QTextCursor::Start);
    txtHelp_->setTextCursor(c);
    if (txtHelp_->find(what)) {
        lblFindResult_->clear();
        return true;
    }
    lblFindResult_->setText(q(state_.text("frm_Help", "lblNotFound")));
    return false;
}

FrmHelp* openHelp(ProgramState& state, const QString& formName, QWidget* over) {
    const QString index = q(state.helpFile);
    if (!QFileInfo(index).isFile()) {
        Messages::show(q(state.text("msgbox", "helpMissing")).arg(index), MsgIcon::Exclamation, MsgButtons::Ok, over);
        return nullptr;
    }
    QString page = QFileInfo(index).absolutePath() + "/" + formName + ".html";
    QString anchor = formName;
    if (formName.isEmpty() || !QFileInfo(page).isFile()) {
        page = index;
        anchor.clear();
    }
    // A modal form blocks every window but its own: the help then opens as a window of that form.
    QWidget* modal = QApplication::activeModalWidget();
    QWidget* parent = modal ? modal : over;
    // An open help window is reused; a closed one, or one under another form, is made anew (in
    // the language of the moment).
    if (theHelp && (!theHelp->isVisible() || theHelp->parentWidget() != parent)) {
        theHelp->setAttribute(Qt::WA_DeleteOnClose, false);
        theHelp->close();
        delete theHelp.data();
    }
    if (!theHelp) {
        theHelp = new FrmHelp(state, parent);
        theHelp->setAttribute(Qt::WA_DeleteOnClose);
        if (auto* s = parent ? parent->screen() : theHelp->screen())
            theHelp->move(s->availableGeometry().center() - theHelp->rect().center());
    }
    theHelp->showPage(page, anchor);
    theHelp->show();
    theHelp->raise();
    theHelp->activateWindow();
    return theHelp;
}

namespace {
class HelpKey : public QObject {
public:
    HelpKey(ProgramState& state, QObject* parent) : QObject(parent), state_(state) {}

protected:
    bool eventFilter(QObject* o, QEvent* e) override {
        if (e->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(e)->key() != Qt::Key_F1) return false;
        auto* w = qobject_cast<QWidget*>(o);
        if (!w) return false;
        QWidget* form = w->window();
        if (form->objectName() == "frmHelp") return true;
        openHelp(state_, form->objectName(), form);
        return true;
    }

private:
    ProgramState& state_;
};
}  // namespace

void installHelpKey(ProgramState& state, QObject* owner) {
    // The filter goes with its owner, and Qt drops a destroyed filter from the application.
    qApp->installEventFilter(new HelpKey(state, owner));
}

}  // namespace brindale::shell
