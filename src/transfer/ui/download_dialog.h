#pragma once
// frmDownLoad: stands between the PLU flows' collection and the transfer. On its first
// activation it packs the marked PLUs (unless a delete flow skips that), lists the PLUs whose
// record cannot be built, and lets the operator add the store's departments and main groups.
#include <QDialog>
#include <functional>

#include "transfer/flows.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QListWidget;
class QPushButton;

namespace brindale::transfer::ui {

class DownloadDialog : public QDialog {
    Q_OBJECT
public:
    // A language text by section and key.
    using Texts = std::function<QString(const char* section, const char* key)>;

    DownloadDialog(FlowSession& session, Texts texts, QWidget* parent = nullptr);

    // The first activation: the refresh, then the buttons.
    void activate();
    bool loading() const { return loading_; }

    void cmdOK();
    void cmdCancel();

protected:
    void showEvent(QShowEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    FlowSession& session_;
    Texts texts_;
    QCheckBox* chkDept_;
    QCheckBox* chkMG_;
    QPushButton* ok_;
    QPushButton* cancel_;
    QLabel* loadingLabel_;
    QGroupBox* frame_;
    QLabel* heldLabel_;
    QListWidget* held_;
    bool activated_ = false;
    bool loading_ = false;
};

}  // namespace brindale::transfer::ui
