#include "application.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <signal.h>
#include <sys/socket.h>

#include <cstdio>

#include <QApplication>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QThread>

#include <QDialog>
#include <QTimer>

#include "about_form.h"
#include "data_format_dialog.h"
#include "folder_lock.h"
#include "guard.h"
#include "help_form.h"
#include "lifecycle.h"
#include "paths.h"
#include "translate_form.h"
#include "labelformat/ui/label_format.h"
#include "main_window.h"
#include "plu/ui/plu_editor_window.h"
#include "plu/ui/flexi_barcode_window.h"
#include "messages.h"
#include "paths.h"
#include "screens.h"
#include "store/fatal_error.h"
#include "plu/ui/plu_list.h"
#include "exchange/ui/report_export_window.h"
#include "transfer/ui/main_transfers.h"
#include "scalefiles/ui/other_files_window.h"
#include "scalefiles/ui/picture_window.h"
#include "scalefiles/ui/scroll_window.h"
#include "tree_controller.h"
#include "transfer/ui/transfer_log_window.h"
#include "presetkey/ui/preset_windows.h"
#include "exchange/ui/import_export_window.h"
#include "reportformat/ui/report_format_form.h"

namespace brindale::shell {

Application::Application(std::string appDir) {
    state_.appDir = std::move(appDir);
    setGuardState(&state_);
}

Application::~Application() { setGuardState(nullptr); }

int Application::reportFatal(const std::exception& e) {
    QString text = QString::fromStdString(e.what());
    Messages::show(text + "\n\n" + guardText("msgbox", "fatalEnd", "The program ends. No file was changed."),
                   MsgIcon::Stop);
    return 2;
}

int Application::start() {
    StatusScreen loading("frmLoading", "lblloading");
    loading.centre();
    loading.show();
    loading.recoverAsker = [this, &loading] {
        switch (Messages::key(state_, "recoverRun", MsgIcon::Question, MsgButtons::YesNo, &loading)) {
            case MsgResult::Yes: return LifecycleView::Recover::Yes;
            case MsgResult::No: return LifecycleView::Recover::No;
            default: return LifecycleView::Recover::Stop;  // closed by the end of the run
        }
    };
    StartResult r;
    try {
        r = runStartup(state_, loading);
    } catch (const std::exception& e) {  // FatalError names the file and line
        loading.hide();
        return reportFatal(e);
    }
    if (r == StartResult::Stopped) {
        loading.hide();
        return 0;
    }
    if (r == StartResult::MissingSourceFile) {
        loading.hide();
        Messages::show(kMissingSourceText, MsgIcon::Exclamation);
        return 1;
    }
    if (r == StartResult::LinkFailed) {
        loading.hide();
        Messages::key(state_, "linkADO", MsgIcon::Stop);
        return 1;
    }
    try {
        main_ = std::make_unique<MainWindow>(state_);
        main_->setEndHandler([this] { return end(); });
        main_->loadEvent();
        // The chain's tree: built here, and on empty data the first store is made at once.
        auto* tree = new TreeController(*main_);
        auto* list = new plu::ui::PluList(*main_, *tree);  // the PLU list follows the tree's node click
        if (auto* editor = qobject_cast<plu::ui::PluEditor*>(main_->pluTabs())) list->attachEditor(*editor);
        new transfer::ui::MainTransfers(*main_, *list);  // send, delete and fetch from the main window
        // The data format dialog; an OK may end the run so that the new format applies.
        main_->setHandler("menuDataFormat", [this] { openDataFormat(*main_); });
        main_->setCommandEnabled("menuDataFormat", true);
        // The translation of the third language (the main window hides meanwhile), the version,
        // and the help of the active form (F1 anywhere; the menu opens the main window's page).
        main_->setHandler("menuLanguageTranslate", [this] {
            if (main_->askSavePLU() == 3) return;
            openTranslate(state_, main_.get());
        });
        main_->setHandler("menuSoftwareVersion", [this] {
            FrmAbout w(state_, main_.get());
            w.exec();
        });
        main_->setHandler("menuSoftwareHelp", [this] { openHelp(state_, main_->objectName(), main_.get()); });
        for (const char* m : {"menuLanguageTranslate", "menuSoftwareVersion", "menuSoftwareHelp"})
            main_->setCommandEnabled(m, true);
        installHelpKey(state_, this);
        // Preset key sheets: the sheet of the machine selected in the tree.
        main_->setHandler("menuEditPresetKey", [this] { presetkey::ui::openPresetKeys(*main_); });
        // Sales totals: fetched from the store's scales through the main window's flow, charted
        // and exported.
        main_->setHandler("menuExportReport", [this] {
            exchange::ui::ReportExportWindow w(
                state_,
                [this](const std::string& id, const std::function<void()>& after) {
                    transfer::FlowContext ctx;
                    ctx.identifiers = {id};
                    transfer::FlowHooks hooks;
                    hooks.after = after;
                    transfer::ui::MainTransfers::of(*main_)->run(transfer::Flow::ReportUpload, ctx, hooks);
                },
                main_.get());
            w.exec();
        });
        // The label format editor, modal; its sends and fetches go through the main window's flows.
        main_->setHandler("menuEditLabelFormat", [this] {
            if (!state_.Conn) return;
            labelformat::ui::FrmLabelFormat w(
                state_,
                [this](transfer::Flow f, transfer::FlowHooks h) {
                    return transfer::ui::MainTransfers::of(*main_)->run(f, {}, std::move(h));
                },
                main_.get());
            w.exec();
        });
        // The auxiliary scale files: each window sends through the main window's flows.
        for (auto [menu, table] : {std::pair{"menuEditImage", scalefiles::PictureTable::Image},
                                   std::pair{"menuEditLogo", scalefiles::PictureTable::Logo}}) {
            main_->setHandler(menu, [this, table] {
                if (!state_.Conn) return;
                using Command = scalefiles::FrmPicture::Command;
                scalefiles::FrmPicture w(state_, table, [this, table](Command c) {
                    const auto flow = table == scalefiles::PictureTable::Logo ? transfer::Flow::LogoSend
                                      : c == Command::Send                     ? transfer::Flow::ImageSend
                                                                               : transfer::Flow::ImageDelete;
                    transfer::ui::MainTransfers::of(*main_)->run(flow);
                }, main_.get());
                w.exec();
            });
        }
        main_->setHandler("menuEditFlexiBarcode", [this] {
            if (!state_.Conn) return;
            plu::ui::FrmFlexiBarcode w(state_, [this] {
                transfer::ui::MainTransfers::of(*main_)->run(transfer::Flow::FlexiDownload);
            }, main_.get());
            w.exec();
        });
        main_->setHandler("menuScrollMSG", [this] {
            if (!state_.Conn) return;
            using Command = scalefiles::FrmScrollMSG::Command;
            scalefiles::FrmScrollMSG w(state_, [this](Command c, int sequence, const std::function<bool()>& save) {
                transfer::FlowContext extra;
                extra.scrollSequence = sequence;
                transfer::FlowHooks hooks;
                hooks.saveBefore = save;
                transfer::ui::MainTransfers::of(*main_)->run(
                    c == Command::DownloadMessages ? transfer::Flow::ScrollDownloadM : transfer::Flow::ScrollDownloadS,
                    extra, hooks);
            }, main_.get());
            w.exec();
        });
        main_->setHandler("menuEditOtherFiles", [this] {
            if (!state_.Conn) return;
            using Command = scalefiles::FrmOtherFile::Command;
            scalefiles::FrmOtherFile w(state_, [this](Command c, const std::vector<std::string>& ticked,
                                                      const scalefiles::FrmOtherFile::Clock& clock) {
                transfer::FlowContext extra;
                if (c == Command::Send) extra.identifiers = transfer::otherFileIdentifiers(ticked);
                extra.clock = clock;
                transfer::ui::MainTransfers::of(*main_)->run(
                    c == Command::Send ? transfer::Flow::OtherFileSend : transfer::Flow::DateTime, extra);
            }, main_.get());
            w.exec();
        });
        // The transfer history, modal over the main window, in the language of the moment.
        main_->setHandler("menuTransferLog", [this] {
            if (!state_.Conn) return;
            transfer::ui::FrmTransferLog w(
                state_.Conn->handle(), [this](const char* s, const char* k) { return state_.text(s, k); },
                transfer::LanguageTexts(state_.sectionText("ActX_KVR")), main_.get());
            w.exec();
        });
        main_->setCommandEnabled("menuTransferLog", true);
        // PLUs to and from text files; after an import the list is read again.
        main_->setHandler("menuImportOrExport", [this, list] {
            if (!state_.Conn || main_->askSavePLU() == 3) return;
            exchange::ui::FrmImportOrExport w(state_, main_.get());
            w.exec();
            if (w.imported()) list->refreshPLUList();
        });
        // Report formats and sequences, modal over the main window; their sends run as every
        // window's flows do.
        main_->setHandler("menuEditReportFormat", [this] {
            if (!state_.Conn) return;
            auto* transfers = transfer::ui::MainTransfers::of(*main_);
            reportformat::ui::FrmReportFormat w(
                state_,
                [transfers](transfer::Flow flow, transfer::FlowHooks hooks) {
                    return transfers->run(flow, {}, std::move(hooks));
                },
                main_.get());
            w.exec();
        });
        tree->loadEvent();
    } catch (const std::exception& e) {
        loading.hide();
        return reportFatal(e);
    }
    loading.hide();
    main_->show();
    // What the start found worth telling, such as the code page the scales now get.
    for (const auto& notice : state_.startNotices)
        if (!terminationPending_)
            Messages::show(QString::fromStdString(notice), MsgIcon::Information, MsgButtons::Ok, main_.get());
    started_ = true;
    if (terminationPending_) QTimer::singleShot(0, this, [this] { closeModalsThenEnd(); });
    return 0;
}

namespace {
int signalPipe[2] = {-1, -1};
void onSignal(int) {
    char c = 1;
    // Only async-signal-safe work here: the event loop does the rest.
    [[maybe_unused]] auto n = ::write(signalPipe[1], &c, 1);
}
}  // namespace

void Application::installTerminationHandlers() {
    if (signalPipe[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char buf[16];
        [[maybe_unused]] auto n = ::read(signalPipe[0], buf, sizeof buf);
        requestTermination();
    });
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP}) sigaction(sig, &sa, nullptr);
    if (auto* gui = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        connect(gui, &QGuiApplication::commitDataRequest, this, [this](QSessionManager&) { requestTermination(); },
                Qt::DirectConnection);
    }
}

void Application::requestTermination() {
    if (ended_) return;
    terminationPending_ = true;
    state_.terminating = true;
    closeModalsThenEnd();
}

void Application::closeModalsThenEnd() {
    if (ended_) return;
    bool modal = false;
    // Stacked modal windows close from the top; one that stays (a transfer still stopping) is
    // tried again on the next round.
    for (int i = 0; i < 16; ++i) {
        QWidget* m = QApplication::activeModalWidget();
        if (!m) break;
        modal = true;
        if (auto* d = qobject_cast<QDialog*>(m)) d->reject();
        else m->close();
        if (QApplication::activeModalWidget() == m) break;
    }
    const int level = QThread::currentThread()->loopLevel();
    // Still loading, or a modal window's loop has not yet returned to its caller: wait. The
    // start closes the main window itself once it stands.
    if (!started_ || modal || level > mainLoopLevel_) {
        // Bounded: a transfer's time limits end it long before this runs out.
        if (++terminationTries_ < 6000) QTimer::singleShot(10, this, [this] { closeModalsThenEnd(); });
        return;
    }
    main_->close();
}

namespace {
// Ends the event loop with `status`; outside a loop (tests that drive the windows directly) there
// is nothing to end, and a pending exit would make every later local loop return at once.
void exitLoop(int status) {
    if (QThread::currentThread()->loopLevel() > 0) QCoreApplication::exit(status);
}
}  // namespace

bool Application::end() {
    if (ended_) return true;
    ended_ = true;
    StatusScreen closing("frmEnd", "labDisplay");
    closing.centre();
    closing.keptRecordsAsker = [this, &closing](const std::vector<store::PluPackProblem>& problems) {
        // Nobody may be at the screen when the session ends: the records are kept as they were,
        // and the list goes to the error output.
        if (terminationPending_) {
            for (const auto& p : problems)
                std::fprintf(stderr, "Brindale: PLU %lld of store %lld: %s; its last record was kept\n",
                             static_cast<long long>(p.PLU_No), static_cast<long long>(p.ST_No), p.reason.c_str());
            return true;
        }
        closing.hide();
        QString text = guardText("msgbox", "pluUnpackable", "These PLUs cannot be packed as they stand:");
        for (size_t i = 0; i < problems.size() && i < 20; ++i) {
            const auto& p = problems[i];
            text += QString("\nPLU %1 (%2 %3): %4")
                        .arg(p.PLU_No)
                        .arg(guardText("frmMain_Menu", "menuStore", "Store"))
                        .arg(p.ST_No)
                        .arg(QString::fromStdString(p.reason));
        }
        if (problems.size() > 20) text += QString("\n… (+%1)").arg(problems.size() - 20);
        text += "\n\n" + guardText("msgbox", "pluUnpackableAsk",
                                    "Yes: go back and correct them. No: end anyway; each of them keeps its last "
                                    "good record, so that nothing is lost.");
        const bool goBack = Messages::show(text, MsgIcon::Exclamation, MsgButtons::YesNo, main_.get()) == MsgResult::Yes;
        if (!goBack) closing.show();
        return !goBack;
    };
    endWarningTitle_ = guardText("msgbox", "endWarnings", "What the end could not write as it stood:");
    std::vector<std::string> warnings;
    for (;;) {
        try {
            closing.setLabel(state_.text("frm_OTHER", "unloadSHOW1"));
            if (main_) main_->setEnabled(false);
            closing.show();
            closing.repaint();
            warnings = endProgram(state_, closing);
            break;
        } catch (const store::MirrorCancelled&) {
            // The operator goes back to correct the PLUs: nothing was changed.
            closing.hide();
            if (main_) main_->setEnabled(true);
            ended_ = false;
            return false;
        } catch (const std::exception& e) {
            closing.hide();
            if (!state_.Conn) {
                // Everything was saved and closed; only the last step failed.
                exitLoop(reportFatal(e));
                return true;
            }
            if (terminationPending_) {
                // Nobody may be at the screen: the working database, with every saved change, stays
                // where it is, and the next start offers to recover it.
                std::fprintf(stderr, "Brindale: %s\nBrindale: the working database %s is kept for the next start.\n",
                             e.what(), state_.databasePath().c_str());
                state_.closeDatabase();
                exitLoop(kEndFailedStatus);
                return true;
            }
            // The old mirror is untouched and the working database still open: the operator mends
            // the cause (a full disk, a write-protected folder) and tries again, or goes on working.
            const QString text = QString::fromStdString(e.what()) + "\n\n" +
                                 guardText("msgbox", "endFailed",
                                           "The data could not be written to the mirror. The old mirror is kept "
                                           "unchanged and the working database stays open: nothing is lost.");
            if (Messages::show(text, MsgIcon::Stop, MsgButtons::RetryCancel, main_.get()) == MsgResult::Retry)
                continue;
            if (main_) main_->setEnabled(true);
            ended_ = false;
            return false;
        }
    }
    closing.hide();
    if (!warnings.empty() && terminationPending_) {
        // Nobody may be at the screen when the session ends: the list goes to the error output.
        for (const auto& w : warnings) std::fprintf(stderr, "Brindale: %s\n", w.c_str());
    } else if (!warnings.empty()) {
        // The language table is closed with the database: the texts were taken before the end.
        QString text = endWarningTitle_;
        for (size_t i = 0; i < warnings.size() && i < 20; ++i) text += "\n" + QString::fromStdString(warnings[i]);
        if (warnings.size() > 20) text += QString("\n… (+%1)").arg(warnings.size() - 20);
        Messages::show(text, MsgIcon::Exclamation);
    }
    exitLoop(0);
    return true;
}

std::string applicationFolder() {
    return resolveApplicationFolder(QCoreApplication::applicationDirPath().toStdString(), userDataHome());
}

bool claimApplicationFolder(const std::string& appDir) {
    // Held for the whole run: the lock goes with the process, however it ends.
    static FolderLock lock;
    if (lock.held()) return true;
    switch (lock.acquire(appDir, kProgramHolder)) {
        case FolderLock::Result::Acquired: return true;
        // The start itself tells what is wrong with a folder it cannot use.
        case FolderLock::Result::Failed: return true;
        case FolderLock::Result::Busy: break;
    }
    if (lock.holder().job == kProgramHolder || lock.holder().job.empty()) return false;  // silently
    Messages::show(QString::fromStdString(folderInUseText(appDir, lock.holder())), MsgIcon::Exclamation);
    return false;
}

std::string folderInUseText(const std::string& appDir, const LockHolder& holder) {
    // No language table is loaded yet: the one text is read from the file by itself.
    std::string text;
    try {
        ProgramState st;
        st.appDir = appDir;
        const Settings settings = readSettings(st.path(kSettingsFile));
        st.lang.loadOne(st.path(kLanguageFile), settings.LanguageName(), "msgbox");
        text = st.text("msgbox", "folderInUse");
    } catch (const std::exception&) {
        text.clear();
    }
    if (text.empty()) text = "The application folder is in use by %1 (process %2). Start the program again when it has ended.";
    return fillIn(text, {holder.job, std::to_string(holder.pid)});
}

}  // namespace brindale::shell
