#include "transfer/ui/progress_dialog.h"
#include "shell/form_scaling.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMetaObject>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <thread>

namespace brindale::transfer::ui {

namespace {
QString q(const std::string& s) { return QString::fromStdString(s); }
}  // namespace

// Hands the engine's reports (worker threads) to the window's thread.
class DialogObserver : public TransferObserver {
public:
    explicit DialogObserver(ProgressDialog* d) : d_(d) {}
    void started(const std::vector<ScaleTarget>& scales) override {
        post([d = d_, scales] { d->onStarted(scales); });
    }
    void stateChanged(size_t scale, ScaleState state, FailReason reason, const std::string& detail) override {
        post([d = d_, scale, state, reason, detail] { d->onState(scale, state, reason, detail); });
    }
    void progress(size_t scale, uint64_t done, uint64_t total) override {
        post([d = d_, scale, done, total] { d->onProgress(scale, done, total); });
    }
    void finished(const TransferSummary& summary) override {
        post([d = d_, summary] { d->onFinished(summary); });
    }

private:
    template <class F>
    void post(F f) {
        QMetaObject::invokeMethod(d_, std::move(f), Qt::QueuedConnection);
    }
    ProgressDialog* d_;
};

ProgressDialog::ProgressDialog(TransferEngine& engine, const LanguageTexts& texts, QWidget* parent)
    : QDialog(parent), engine_(engine), texts_(texts) {
    setObjectName("frmTransfer");
    setWindowTitle(q(texts_.get("Title")));
    setModal(true);
    auto* layout = new QVBoxLayout(this);
    grid_ = new QTableWidget(0, 4, this);
    grid_->setObjectName("gridScales");
    grid_->setHorizontalHeaderLabels({q(texts_.get("ColScale")), q(texts_.get("ColAddress")),
                                      q(texts_.get("ColState")), q(texts_.get("ColProgress"))});
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid_->setSelectionMode(QAbstractItemView::NoSelection);
    grid_->verticalHeader()->setVisible(false);
    grid_->horizontalHeader()->setSectionResizeMode(2, QHeaderView::Stretch);
    layout->addWidget(grid_);
    summary_ = new QLabel(this);
    summary_->setObjectName("lblSummary");
    summary_->setWordWrap(true);
    summary_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(summary_);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    cancel_ = new QPushButton(q(texts_.get("Cancel")), this);
    cancel_->setObjectName("cmdCancel");
    close_ = new QPushButton(q(texts_.get("Close")), this);
    close_->setObjectName("cmdClose");
    close_->setEnabled(false);
    buttons->addWidget(cancel_);
    buttons->addWidget(close_);
    layout->addLayout(buttons);
    connect(cancel_, &QPushButton::clicked, this, &ProgressDialog::cancelTransfer);
    connect(close_, &QPushButton::clicked, this, [this] {
        if (!running_) accept();
    });
    resize(640, 360);
    // The system language's character set on every control.
    shell::prepareForm(this);
}

TransferSummary ProgressDialog::runModal(bool autoClose) {
    autoClose_ = autoClose;
    running_ = true;
    DialogObserver observer(this);
    std::thread worker([this, &observer] { engine_.run(&observer); });
    // The summary comes back through onFinished, in order after every report.
    exec();
    worker.join();
    return result_;
}

void ProgressDialog::reject() {
    // The window frame's close and Escape cancel a running transfer; the
    // window itself stays until the engine has ended.
    if (running_) {
        cancelTransfer();
        return;
    }
    QDialog::reject();
}

void ProgressDialog::cancelTransfer() {
    if (!running_) return;
    engine_.cancel();
    cancel_->setEnabled(false);
}

void ProgressDialog::onStarted(const std::vector<ScaleTarget>& scales) {
    grid_->setRowCount(int(scales.size()));
    for (size_t i = 0; i < scales.size(); ++i) {
        const int r = int(i);
        grid_->setItem(r, 0, new QTableWidgetItem(q(scales[i].name)));
        grid_->setItem(r, 1, new QTableWidgetItem(q(scales[i].paddedAddress)));
        grid_->setItem(r, 2, new QTableWidgetItem(q(texts_.get("Waiting"))));
        grid_->setItem(r, 3, new QTableWidgetItem(QString()));
    }
}

void ProgressDialog::onState(size_t scale, ScaleState state, FailReason reason, const std::string& detail) {
    if (int(scale) >= grid_->rowCount()) return;
    ScaleOutcome o;
    o.state = state;
    o.reason = reason;
    o.detail = detail;
    grid_->item(int(scale), 2)->setText(q(outcomeText(o, texts_)));
}

void ProgressDialog::onProgress(size_t scale, uint64_t done, uint64_t total) {
    if (int(scale) >= grid_->rowCount()) return;
    grid_->item(int(scale), 3)->setText(
        q(LanguageTexts::format(texts_.get("ProgressText"), {std::to_string(done), std::to_string(total)})));
}

void ProgressDialog::onFinished(const TransferSummary& summary) {
    result_ = summary;
    running_ = false;
    setWindowTitle(q(texts_.get("SummaryTitle")));
    std::string text;
    if (summary.reason != FailReason::None) {
        text = texts_.get(reasonKey(summary.reason));
        if (!summary.detail.empty()) text += " (" + texts_.text(summary.detail) + ")";
    } else {
        text = LanguageTexts::format(texts_.get("SummaryText"),
                                     {std::to_string(summary.countDone()), std::to_string(summary.scales.size()),
                                      std::to_string(summary.countFailed())});
        for (size_t i = 0; i < summary.scales.size() && int(i) < grid_->rowCount(); ++i)
            grid_->item(int(i), 2)->setText(q(outcomeText(summary.scales[i], texts_)));
    }
    for (const auto& n : summary.notes) text += "\n" + texts_.text(n);
    summary_->setText(q(text));
    cancel_->setEnabled(false);
    close_->setEnabled(true);
    close_->setDefault(true);
    close_->setFocus();
    if (autoClose_) accept();
}

KVRDataTrans::Presenter progressWindowPresenter(QWidget* parent, bool autoClose) {
    QPointer<QWidget> p(parent);
    return [p, autoClose](TransferEngine& engine, const LanguageTexts& texts) {
        ProgressDialog dialog(engine, texts, p.data());
        return dialog.runModal(autoClose);
    };
}

void useProgressWindow(KVRDataTrans& control, QWidget* parent) {
    control.setPresenter(progressWindowPresenter(parent));
}

}  // namespace brindale::transfer::ui
