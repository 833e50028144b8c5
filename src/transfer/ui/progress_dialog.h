// The modal progress window of a transfer: one row per scale (name,
// address, state, records done of records to do), a cancel button while it
// runs, and a summary with a close button when it has ended. The engine
// runs on its own threads; this window only shows what it reports.
#pragma once

#include <QDialog>

#include <atomic>

#include "transfer/engine.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/language.h"

class QLabel;
class QPushButton;
class QTableWidget;

namespace brindale::transfer::ui {

class ProgressDialog : public QDialog {
    Q_OBJECT
public:
    ProgressDialog(TransferEngine& engine, const LanguageTexts& texts, QWidget* parent = nullptr);

    // Runs the engine on a worker thread, keeps this window responsive in a
    // local event loop, and returns the summary once the engine is done and
    // the operator closed the window (or at once when autoClose is set).
    TransferSummary runModal(bool autoClose = false);

    bool running() const { return running_; }

public slots:
    void reject() override;

private:
    void onStarted(const std::vector<ScaleTarget>& scales);
    void onState(size_t scale, ScaleState state, FailReason reason, const std::string& detail);
    void onProgress(size_t scale, uint64_t done, uint64_t total);
    void onFinished(const TransferSummary& summary);
    void cancelTransfer();

    TransferEngine& engine_;
    LanguageTexts texts_;
    QTableWidget* grid_;
    QLabel* summary_;
    QPushButton* cancel_;
    QPushButton* close_;
    bool running_ = false;
    bool autoClose_ = false;
    TransferSummary result_;

    friend class DialogObserver;
};

// A presenter that shows the progress window over parent.
KVRDataTrans::Presenter progressWindowPresenter(QWidget* parent = nullptr, bool autoClose = false);
// Shorthand: control.setPresenter(progressWindowPresenter(parent)).
void useProgressWindow(KVRDataTrans& control, QWidget* parent = nullptr);

}  // namespace brindale::transfer::ui
