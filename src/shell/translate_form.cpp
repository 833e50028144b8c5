#include "translate_form.h"

#include <QCloseEvent>
#include <cstdio>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>

#include "main_window.h"
#include "messages.h"
#include "paths.h"
#include "form_scaling.h"
#include "program_state.h"

namespace brindale::shell {

namespace {
QString q(const std::string& s) { return QString::fromStdString(s); }
}  // namespace

FrmTranslate::FrmTranslate(ProgramState& state, TranslationFile file, QWidget* parent)
    : QWidget(parent, Qt::Window), state_(state), file_(std::move(file)) {
    setObjectName("frmTranslate");
    setWindowTitle(q(plainCaption(state_.text("frmMain_Menu", "menuLanguageTranslate"))));
    auto* grid = new QGridLayout(this);
    auto label = [this, grid](const char* name, int row, int col) {
        auto* l = new QLabel(q(state_.text("frm_Translate", name)), this);
        l->setObjectName(name);
        grid->addWidget(l, row, col);
        return l;
    };
    label("labOriginalTitle", 0, 0);
    label("labTranslateTitle", 0, 1);
    lstOriginal_ = new QListWidget(this);
    lstOriginal_->setObjectName("lstOriginal");
    lstTranslate_ = new QListWidget(this);
    lstTranslate_->setObjectName("lstTranslate");
    grid->addWidget(lstOriginal_, 1, 0);
    grid->addWidget(lstTranslate_, 1, 1);
    label("labOriginalName", 2, 0);
    label("labTranslateName", 2, 1);
    txtOriginalName_ = new QLineEdit(this);
    txtOriginalName_->setObjectName("txtOriginalName");
    txtOriginalName_->setReadOnly(true);
    txtTranslateName_ = new QLineEdit(this);
    txtTranslateName_->setObjectName("txtTranslateName");
    grid->addWidget(txtOriginalName_, 3, 0);
    grid->addWidget(txtTranslateName_, 3, 1);
    cmdClose_ = new QPushButton(q(state_.text("frm_Translate", "cmdClose")), this);
    cmdClose_->setObjectName("cmdClose");
    grid->addWidget(cmdClose_, 4, 1, Qt::AlignRight);

    for (const auto& p : file_.pairs()) {
        lstOriginal_->addItem(q(p.originalValue));
        lstTranslate_->addItem(q(p.translationValue));
    }

    // The two lists stand together: the same selected row, the same scroll position, whichever
    // of them the operator moves.
    auto pairLists = [this](QListWidget* from, QListWidget* to) {
        connect(from, &QListWidget::currentRowChanged, this, [this, to](int row) {
            if (syncing_) return;
            syncing_ = true;
            to->setCurrentRow(row);
            syncing_ = false;
            showRow(row);
        });
        connect(from->verticalScrollBar(), &QScrollBar::valueChanged, this, [this, to](int v) {
            if (syncing_) return;
            syncing_ = true;
            to->verticalScrollBar()->setValue(v);
            syncing_ = false;
        });
    };
    pairLists(lstOriginal_, lstTranslate_);
    pairLists(lstTranslate_, lstOriginal_);
    connect(txtTranslateName_, &QLineEdit::textEdited, this, [this](const QString& text) {
        const int row = lstOriginal_->currentRow();
        if (row < 0) return;
        file_.setTranslation(static_cast<size_t>(row), text.toStdString());
        edited_ = true;
        lstTranslate_->item(row)->setText(q(file_.pairs()[row].translationValue));
    });
    connect(cmdClose_, &QPushButton::clicked, this, &QWidget::close);
    prepareForm(this);
    resize(760, 520);
}

void FrmTranslate::showRow(int row) {
    if (row < 0 || row >= static_cast<int>(file_.pairs().size())) return;
    const auto& p = file_.pairs()[row];
    txtOriginalName_->setText(q(p.originalValue));
    txtTranslateName_->setText(q(p.translationValue));
    txtTranslateName_->selectAll();
}

FrmTranslate::~FrmTranslate() {
    if (!edited_) return;
    try {
        file_.save();
    } catch (const TranslationError& e) {
        std::fprintf(stderr, "Brindale: %s: the translation was not saved: %s\n", e.file.c_str(), e.reason.c_str());
    }
}

bool FrmTranslate::save() {
    try {
        file_.save();
        edited_ = false;
        return true;
    } catch (const TranslationError& e) {
        Messages::show(q(state_.text("msgbox", "translateSaveFailed")).arg(q(e.file), q(e.reason)),
                       MsgIcon::Stop, MsgButtons::Ok, this);
        return false;
    }
}

void FrmTranslate::closeEvent(QCloseEvent* e) {
    // A file that could not be written keeps the window and its edits.
    if (!save()) {
        e->ignore();
        return;
    }
    e->accept();
    emit closed();
}

FrmTranslate* openTranslate(ProgramState& state, QWidget* mainWindow) {
    const std::string path = state.path(kLanguageFile);
    try {
        auto file = TranslationFile::load(path);
        auto* w = new FrmTranslate(state, std::move(file), mainWindow);
        w->setAttribute(Qt::WA_DeleteOnClose);
        if (mainWindow) {
            QObject::connect(w, &FrmTranslate::closed, mainWindow, [mainWindow] { mainWindow->show(); });
            mainWindow->hide();
        }
        w->show();
        if (auto* screen = w->screen()) w->move(screen->availableGeometry().center() - w->rect().center());
        return w;
    } catch (const TranslationError& e) {
        QString text;
        switch (e.kind) {
            case TranslationError::Kind::TooLong:
                text = q(state.text("msgbox", "translateTooLong")).arg(q(e.file)).arg(e.count);
                break;
            case TranslationError::Kind::KeysDiffer:
                text = q(state.text("msgbox", "translateKeysDiffer")).arg(q(e.file)).arg(e.lineA).arg(e.lineB);
                break;
            default:
                text = q(state.text("msgbox", "translateUnreadable")).arg(q(e.file), q(e.reason));
                break;
        }
        Messages::show(text, MsgIcon::Exclamation, MsgButtons::Ok, mainWindow);
        return nullptr;
    }
}

}  // namespace brindale::shell
