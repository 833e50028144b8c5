#include "transfer/ui/download_dialog.h"
#include "shell/form_scaling.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace brindale::transfer::ui {

DownloadDialog::DownloadDialog(FlowSession& session, Texts texts, QWidget* parent)
    : QDialog(parent), session_(session), texts_(std::move(texts)) {
    setObjectName("frmDownLoad");
    setModal(true);
    const bool del = session.deleteCaptions();
    setWindowTitle(texts_("frm_OTHER", del ? "delTitle" : "downTitle"));

    frame_ = new QGroupBox(texts_("frm_OTHER", del ? "delFrame" : "downFrame"), this);
    frame_->setObjectName("Frame1");
    chkDept_ = new QCheckBox(texts_("frm_OTHER", "downDept"), frame_);
    chkDept_->setObjectName("chkDept");
    chkMG_ = new QCheckBox(texts_("frm_OTHER", "downMG"), frame_);
    chkMG_->setObjectName("chkMG");
    auto* fl = new QVBoxLayout(frame_);
    fl->addWidget(chkDept_);
    fl->addWidget(chkMG_);

    loadingLabel_ = new QLabel(texts_("frm_OTHER", "loading"), this);
    loadingLabel_->setObjectName("lblloading");
    heldLabel_ = new QLabel(texts_("frm_OTHER", "downHeld"), this);
    heldLabel_->setObjectName("lblHeld");
    heldLabel_->setWordWrap(true);
    held_ = new QListWidget(this);
    held_->setObjectName("lstHeld");
    heldLabel_->hide();
    held_->hide();

    ok_ = new QPushButton(texts_("frm_OTHER", "downOK"), this);
    ok_->setObjectName("cmdOK");
    cancel_ = new QPushButton(texts_("frm_OTHER", "setCancel"), this);
    cancel_->setObjectName("cmdCancel");
    ok_->setEnabled(false);
    cancel_->setEnabled(false);
    ok_->setAutoDefault(false);
    cancel_->setAutoDefault(false);
    connect(ok_, &QPushButton::clicked, this, &DownloadDialog::cmdOK);
    connect(cancel_, &QPushButton::clicked, this, &DownloadDialog::cmdCancel);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);
    auto* l = new QVBoxLayout(this);
    l->addWidget(frame_);
    l->addWidget(loadingLabel_);
    l->addWidget(heldLabel_);
    l->addWidget(held_);
    l->addLayout(buttons);
    setMinimumWidth(360);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

void DownloadDialog::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    if (!activated_) {
        activated_ = true;
        // After the window is on screen, so that the loading text shows while the PLUs are packed.
        QTimer::singleShot(0, this, [this] { activate(); });
    }
}

void DownloadDialog::activate() {
    loading_ = true;
    const QString loadingText = texts_("frm_OTHER", "loading");
    const QString progressText = texts_("frm_OTHER", "downProgress");
    const RefreshResult r = session_.firstActivation([&](long done, long total) {
        loadingLabel_->setText(loadingText + "  " + QString(progressText).arg(done).arg(total));
        QApplication::processEvents();
    });
    loading_ = false;
    if (!r.problems.empty()) {
        const QString line = texts_("frm_OTHER", "downHeldLine");
        for (const auto& p : r.problems) {
            // The codec's reason often begins by naming the column again; it is said once.
            std::string reason = p.reason;
            const std::string prefix = "column " + p.column + ": ";
            if (reason.rfind(prefix, 0) == 0) reason.erase(0, prefix.size());
            const QString text =
                QString(line).arg(p.PLU_No).arg(QString::fromStdString(p.column), QString::fromStdString(reason));
            auto* item = new QListWidgetItem(text, held_);
            item->setToolTip(text);
        }
        held_->setWordWrap(true);
        heldLabel_->show();
        held_->show();
        adjustSize();
    }
    ok_->setEnabled(true);
    cancel_->setEnabled(true);
    loadingLabel_->hide();
    ok_->setFocus();
}

void DownloadDialog::cmdOK() {
    session_.ok(chkDept_->isChecked(), chkMG_->isChecked());
    accept();
}

void DownloadDialog::cmdCancel() {
    session_.cancel();
    reject();
}

void DownloadDialog::keyPressEvent(QKeyEvent* e) {
    // Escape is the Cancel button (the frame's close keeps the previous outcome instead).
    if (e->key() == Qt::Key_Escape) {
        if (cancel_->isEnabled()) cancel_->click();
        e->accept();
        return;
    }
    QDialog::keyPressEvent(e);
}

void DownloadDialog::closeEvent(QCloseEvent* e) {
    // While the PLUs are packed the window stays: the packing is one transaction that ends soon.
    if (loading_) {
        e->ignore();
        return;
    }
    QDialog::closeEvent(e);
}

}  // namespace brindale::transfer::ui
