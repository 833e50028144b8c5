#include "transfer/ui/main_transfers.h"

#include <QAction>
#include <QApplication>
#include <QPushButton>
#include <map>

#include "plu/ui/plu_list.h"
#include "shell/guard.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "transfer/ui/download_dialog.h"
#include "transfer/ui/upload_window.h"

namespace brindale::transfer::ui {

namespace {
QString qs(const std::string& s) { return QString::fromStdString(s); }
}  // namespace

const std::vector<const char*>& MainTransfers::commandNames() {
    static const std::vector<const char*> names = {
        "cmdSendAll",       "menuDownLoad",        "cmdDownload",    "cmdDel",           "menuDeletePlu",
        "cmdUpload",        "menuUpLoad",          "menuDownloadDept", "popmenuDownloadDept", "menuDownloadMG",
        "popmenuDownloadMG"};
    return names;
}

MainTransfers::MainTransfers(shell::MainWindow& window, plu::ui::PluList& list)
    : QObject(&window), w_(window), list_(list) {
    setObjectName("mainTransfers");
    auto on = [this](const char* name, void (MainTransfers::*f)()) {
        w_.setHandler(name, [this, f] { shell::runGuarded([this, f] { (this->*f)(); }); });
    };
    on("cmdSendAll", &MainTransfers::cmdSendAll);
    on("menuDownLoad", &MainTransfers::cmdSendAll);
    on("cmdDownload", &MainTransfers::cmdDownload);
    on("cmdDel", &MainTransfers::cmdDel);
    on("menuDeletePlu", &MainTransfers::cmdDel);
    on("cmdUpload", &MainTransfers::cmdUpload);
    on("menuUpLoad", &MainTransfers::menuUpLoad);
    on("menuDownloadDept", &MainTransfers::menuDownloadDept);
    on("popmenuDownloadDept", &MainTransfers::menuDownloadDept);
    on("menuDownloadMG", &MainTransfers::menuDownloadMG);
    on("popmenuDownloadMG", &MainTransfers::menuDownloadMG);
    reviewer_ = [this](long) { reviewUploaded(w_.state(), &w_); };
    // Fetching needs only the working database; the engine names a store without scales.
    w_.setCommandEnabled("cmdUpload", true);
    w_.setCommandEnabled("menuUpLoad", true);
}

MainTransfers* MainTransfers::of(const shell::MainWindow& window) {
    return window.findChild<MainTransfers*>("mainTransfers", Qt::FindDirectChildrenOnly);
}

void MainTransfers::showDialog(FlowSession& session) {
    if (dialog_) {
        dialog_(session);
    } else {
        auto& st = w_.state();
        DownloadDialog d(session, [&st](const char* section, const char* key) { return qs(st.text(section, key)); },
                         &w_);
        d.exec();
    }
    // The program is ending: whatever the dialog said, nothing starts now.
    if (w_.state().terminating) session.cancel();
}

FlowHooks MainTransfers::pluHooks() {
    FlowHooks h;
    h.askSavePLU = [this] { return w_.askSavePLU(); };
    h.downloadDialog = [this](FlowSession& s) { showDialog(s); };
    h.saveEditor = [this] { return w_.savePLUNow(); };
    h.clearPluEdited = [this] { w_.state().pluChanged = false; };
    h.refreshList = [this] {
        list_.refreshPLUList();
        list_.checkSelection();
    };
    h.review = [this](long rows) {
        if (reviewer_) reviewer_(rows);
    };
    h.mainEnabled = [this](bool on) { w_.setEnabled(on); };
    return h;
}

FlowOutcome MainTransfers::runPluFlow(Flow flow, FlowContext extra) { return run(flow, std::move(extra), pluHooks()); }

void MainTransfers::cmdDownload() {
    FlowContext extra;
    extra.currentPluRowId = list_.currentRowId();
    if (extra.currentPluRowId <= 0) return;  // the command is off without a current row
    runPluFlow(Flow::DownloadOne, extra);
}

FlowOutcome MainTransfers::run(Flow flow, FlowContext ctx, FlowHooks hooks) {
    FlowOutcome out;
    if (running_ || !w_.state().Conn) return out;
    auto& st = w_.state();
    ctx.databasePath = st.databasePath();
    ctx.languageText = st.sectionText("ActX_KVR");
    ctx.currentStore = st.currentStore;
    ctx.currentSection = st.currentSection;
    if (ctx.currentScaleIP.empty()) ctx.currentScaleIP = st.currentScaleIP;
    env_ = st.codecEnvironment();
    if (!ctx.env) ctx.env = &env_;
    if (!hooks.processEvents) hooks.processEvents = [] { QApplication::processEvents(); };

    // Every transfer command is off while a flow runs; each gets its state back after.
    std::map<QString, bool> was;
    for (const char* name : commandNames()) {
        if (QAction* a = w_.action(name)) was[name] = a->isEnabled();
        else if (QPushButton* b = w_.button(name)) was[name] = b->isEnabled();
        w_.setCommandEnabled(name, false);
    }
    running_ = true;
    out = runFlow(flow, *st.Conn, w_.KVRDataTrans1(), w_.flowState(), ctx, hooks);
    running_ = false;
    for (const auto& [name, on] : was) w_.setCommandEnabled(name, on);
    if (flowRow(flow).window == std::string("frmMain")) list_.checkSelection();

    switch (out.end) {
        case FlowEnd::Overflow:
            shell::Messages::show(qs(st.text("msgbox", "storeOverflow")).arg(out.store).arg(out.section),
                                  shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, &w_);
            break;
        case FlowEnd::NoScaleRow:
            shell::Messages::show(qs(st.text("msgbox", "noScaleRow")).arg(qs(ctx.currentScaleIP)),
                                  shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, &w_);
            break;
        case FlowEnd::Failed:
            shell::Messages::show(qs(st.text("msgbox", "flowFailed")).arg(qs(out.message)),
                                  shell::MsgIcon::Exclamation, shell::MsgButtons::Ok, &w_);
            break;
        default: break;
    }
    return out;
}

}  // namespace brindale::transfer::ui
