#pragma once
// The transfer commands of the main window (send, send one, delete, fetch the PLUs; send the
// store's departments or main groups) and the one entry through which every window runs its flow:
// the context from the program's state, the questions and dialogs as hooks, and a message when a
// flow cannot run.
#include <QObject>
#include <functional>

#include "codec/environment.h"
#include "transfer/flows.h"

namespace brindale::shell {
class MainWindow;
}
namespace brindale::plu::ui {
class PluList;
}

namespace brindale::transfer::ui {

class MainTransfers : public QObject {
    Q_OBJECT
public:
    // Becomes a child of the window and installs the commands' handlers.
    MainTransfers(shell::MainWindow& window, plu::ui::PluList& list);
    static MainTransfers* of(const shell::MainWindow& window);

    // Runs a flow with the program's context: database, language text, the tree's store, section
    // and scale, the codec. `extra` brings what the window knows (identifiers, layout, clock);
    // its place and database fields are filled here. Every transfer command is off meanwhile.
    FlowOutcome run(Flow flow, FlowContext extra = {}, FlowHooks hooks = {});
    bool running() const { return running_; }

    // The review of fetched PLUs: frmUpload unless replaced (tests).
    void setReviewer(std::function<void(long rows)> reviewer) { reviewer_ = std::move(reviewer); }
    // The dialog of the PLU flows; tests may replace it. By default frmDownLoad, modal.
    void setDownloadDialog(std::function<void(FlowSession&)> dialog) { dialog_ = std::move(dialog); }

    // The commands.
    void cmdSendAll() { runPluFlow(Flow::SendAll); }
    void cmdDownload();
    void cmdDel() { runPluFlow(Flow::DeletePlu); }
    void cmdUpload() { runPluFlow(Flow::UploadCmd); }
    void menuUpLoad() { runPluFlow(Flow::UploadMenu); }
    void menuDownloadDept() { runPluFlow(Flow::DownloadDept); }
    void menuDownloadMG() { runPluFlow(Flow::DownloadMG); }

    // The commands that start a flow from the main window, by control name.
    static const std::vector<const char*>& commandNames();

private:
    FlowHooks pluHooks();
    FlowOutcome runPluFlow(Flow flow, FlowContext extra = {});
    void showDialog(FlowSession& session);

    shell::MainWindow& w_;
    plu::ui::PluList& list_;
    codec::CodecEnvironment env_;
    std::function<void(long)> reviewer_;
    std::function<void(FlowSession&)> dialog_;
    bool running_ = false;
};

}  // namespace brindale::transfer::ui
