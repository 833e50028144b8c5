#pragma once
// The loading screen (frmLoading) and the closing screen (frmEnd): a label and a progress bar
// that repaint while the work runs.
#include <QElapsedTimer>
#include <QWidget>
#include <functional>

#include "lifecycle.h"

class QLabel;
class QProgressBar;

namespace brindale::shell {

class StatusScreen : public QWidget, public LifecycleView {
    Q_OBJECT
public:
    StatusScreen(const QString& objectName, const QString& labelName, QWidget* parent = nullptr);

    void setLabel(const std::string& text) override;
    void repaint() override;
    void progress(long done, long total) override;
    Recover askRecover() override { return recoverAsker ? recoverAsker() : Recover::No; }
    std::function<Recover()> recoverAsker;
    bool asksAboutKeptRecords() const override { return static_cast<bool>(keptRecordsAsker); }
    bool confirmKeptRecords(const std::vector<store::PluPackProblem>& problems) override {
        return keptRecordsAsker ? keptRecordsAsker(problems) : true;
    }
    std::function<bool(const std::vector<store::PluPackProblem>&)> keptRecordsAsker;
    QLabel* label() const { return label_; }
    void centre();

private:
    QLabel* label_;
    QProgressBar* bar_;
    QElapsedTimer sincePaint_;
    long shownPermille_ = -1;
};

}  // namespace brindale::shell
