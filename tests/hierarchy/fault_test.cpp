// Faults while the program runs: signals while a modal window is open, errors escaping a window's
// handler, folders that cannot be written, a full disk at the end, and a crash whose work is
// recovered at the next start. The real windows are driven offscreen, with the real signal path.
//
// Each test runs in a process of its own in a private mount namespace, so that the read-only
// folders and the small file systems it mounts vanish with it.
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "gui_support.h"
#include "emulated_scale.h"
#include "shell/guard.h"
#include "shell/paths.h"
#include "shell/settings.h"
#include "store/fatal_error.h"
#include "store/recordset.h"
#include "store/plu_pack.h"
#include "transfer/engine.h"
#include "transfer/ui/main_transfers.h"
#include "transfer/ui/upload_window.h"

using namespace brindale;
using namespace brindale::testing;
namespace fs = std::filesystem;

namespace {

bool mountsAllowed = false;
std::string mountProblem;

// Makes `dir` read-only for this process (root included): a read-only bind mount of itself.
void makeReadOnly(const std::string& dir) {
    ASSERT_EQ(::mount(dir.c_str(), dir.c_str(), nullptr, MS_BIND, nullptr), 0) << dir << ": " << std::strerror(errno);
    ASSERT_EQ(::mount(nullptr, dir.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0)
        << dir << ": " << std::strerror(errno);
}

// Fills the file system of `dir` until a write fails; returns the filler's path.
std::string fillDisk(const std::string& dir) {
    const std::string filler = dir + "/filler";
    std::ofstream f(filler, std::ios::binary);
    std::vector<char> block(64 * 1024, 'x');
    for (int i = 0; i < 4096 && f; ++i) f.write(block.data(), static_cast<std::streamsize>(block.size()));
    f.close();
    // The last partial blocks, byte-wise, so that not even a small file fits.
    std::ofstream g(filler, std::ios::binary | std::ios::app);
    for (int i = 0; i < 70000 && g; ++i) g.put('x'), g.flush();
    return filler;
}

// A fresh application folder on a small file system of its own (16 MB, mounted in this
// process's namespace, so it goes with the process), for a test to fill. `mountPoint` stays
// empty when it cannot be mounted.
GuiApp onSmallDisk(std::string& mountPoint) {
    const std::string small = (fs::temp_directory_path() / ("brindale-small-" + std::to_string(::getpid()))).string();
    fs::create_directories(small);
    if (::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=16m") == 0) mountPoint = small;
    else ADD_FAILURE() << "tmpfs: " << std::strerror(errno);
    ::setenv("TMPDIR", small.c_str(), 1);
    GuiApp g;
    ::unsetenv("TMPDIR");
    return g;
}

std::string slurp(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

bool dbLeft(const GuiApp& g) {
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(g.dir->path("Database"), ec))
        if (e.path().extension() == ".mdb") return true;
    return false;
}

struct RunFaults : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
};

// A chain saved through the windows: store "Main street" with section 1 and machine 10.0.0.1.
void savedChain(GuiApp& g) {
    firstStore(g, "Main street");
    newSection(g, "STORE 1");
    newMachine(g, "SECT 1 1", {"10", "0", "0", "1"}, "Deli");
}

// The command that opens each modal window of the program, with the window's name.
struct Opening {
    const char* name;
    const char* form;
    bool dataView;
    const char* node;
    const char* command;
};

const Opening kOpenings[] = {
    {"StoreProperties", "frmProperties", false, "STORE 1", "menuProperties"},
    {"NewSection", "frmProperties", false, "STORE 1", "menuSection"},
    {"SectionProperties", "frmProperties", false, "SECT 1 1", "menuProperties"},
    {"NewMachine", "frmScProperties", false, "SECT 1 1", "menuMachine"},
    {"NewDepartment", "frmProperties", true, "STORE 1", "menuDept"},
    {"NewMainGroup", "frmProperties", true, "DEPT 1 97", "menuMg"},
    {"NewSearchSet", "frmSearch", true, "STORE 1", "menuSearch"},
    // The windows of the scales' files and of the data exchange.
    {"LabelFormat", "frmLabelFormat", true, "STORE 1", "menuEditLabelFormat"},
    {"ReportExport", "frmExportReportData", true, "STORE 1", "menuExportReport"},
    {"ImportOrExport", "frmImportOrExport", true, "STORE 1", "menuImportOrExport"},
    {"ScrollMessages", "frmScrollMSG", true, "STORE 1", "menuScrollMSG"},
    {"Image", "frmImage", true, "STORE 1", "menuEditImage"},
    {"Logo", "frmLogo", true, "STORE 1", "menuEditLogo"},
    {"OtherFiles", "frmOtherFile", true, "STORE 1", "menuEditOtherFiles"},
    {"FlexiBarcode", "frmFlexiBarcode", true, "STORE 1", "menuEditFlexiBarcode"},
    {"PresetKeys", "frmPresetKey", false, "MACHINE 1 1  10.  0.  0.  1", "menuEditPresetKey"},
};

struct SignalCase {
    const Opening* opening;  // nullptr: see `kind`
    const char* kind;        // "FirstRun", "MessageBox", "Transfer" or the opening's name
    int signal;
};

void PrintTo(const SignalCase& c, std::ostream* os) { *os << c.kind << " with signal " << c.signal; }

std::string caseName(const ::testing::TestParamInfo<SignalCase>& i) {
    const char* sig = i.param.signal == SIGTERM ? "Sigterm" : i.param.signal == SIGINT ? "Sigint" : "Sighup";
    return std::string(i.param.kind) + sig;
}

std::vector<SignalCase> signalCases() {
    std::vector<SignalCase> v;
    for (int sig : {SIGTERM, SIGINT, SIGHUP}) {
        v.push_back({nullptr, "FirstRun", sig});
        v.push_back({nullptr, "MessageBox", sig});
        v.push_back({nullptr, "Transfer", sig});
        v.push_back({nullptr, "DownloadDialog", sig});
        v.push_back({nullptr, "UploadReview", sig});
        for (const auto& o : kOpenings) v.push_back({&o, o.name, sig});
    }
    return v;
}

struct SignalWhileModal : RunFaults, ::testing::WithParamInterface<SignalCase> {};

// Sends the signal to this very process once the modal window `form` is open, as a desktop's
// logout or `kill` would; `typed` is put into it first and is not saved.
QTimer* signalWhenOpen(const QString& form, int sig, bool* seen, QString* title) {
    auto* t = new QTimer;
    auto since = std::make_shared<QElapsedTimer>();
    since->start();
    QObject::connect(t, &QTimer::timeout, t, [t, form, sig, seen, title, since] {
        QWidget* m = QApplication::activeModalWidget();
        if (m && m->objectName() == form && !*seen) {
            *seen = true;
            *title = m->windowTitle();
            if (auto* name = m->findChild<QLineEdit*>("txtName")) name->setText("typed but never saved");
            ::kill(::getpid(), sig);
        }
        if (since->elapsed() > 20000) {
            t->stop();  // bounded: the test fails on `seen` or on the exit below
            QCoreApplication::exit(99);
        }
    });
    t->start(10);
    return t;
}

}  // namespace

TEST_P(SignalWhileModal, EndsWithStatusZeroAndTheMirrorHoldsEverySavedChange) {
    const SignalCase c = GetParam();
    const std::string kind = c.kind;
    GuiApp g;
    g.app->installTerminationHandlers();
    g.app->setMainLoopLevel(1);  // as the program: the end runs from the main event loop
    bool seen = false;
    QString title;
    std::unique_ptr<QTimer> watch;
    std::unique_ptr<scaleemu::EmulatedScale> scale;

    if (kind == "FirstRun") {
        watch.reset(signalWhenOpen("frmProperties", c.signal, &seen, &title));
        ASSERT_EQ(g.start(), 0);  // the form let go: the start goes on without a store
    } else {
        savedChain(g);
        if (kind == "MessageBox") {
            shell::Messages::setResponder({});  // a real message box
            g.state().pluChanged = true;
            watch.reset(signalWhenOpen("msgbox", c.signal, &seen, &title));
            QTimer::singleShot(0, [&] { g.w().menuExit(); });
        } else if (kind == "Transfer") {
            // A scale that greets and then never answers: the transfer runs until it is cancelled.
            scaleemu::ScaleOptions so;
            so.address = "127.0.0.2";
            so.port = 0;
            so.hang = true;
            scale = std::make_unique<scaleemu::EmulatedScale>(so);
            std::string error;
            ASSERT_TRUE(scale->start(error)) << error;
            transfer::TransferOptions to;
            to.port = scale->port();
            to.connectTimeout = std::chrono::milliseconds(2000);
            to.replyTimeout = std::chrono::milliseconds(15000);
            to.scaleTimeout = std::chrono::milliseconds(15000);
            g.w().KVRDataTrans1().setOptions(to);
            store::Recordset sc(*g.state().Conn, "SCALE");
            sc.setValue("SC_IP", "127.  0.  0.  2");
            sc.update();
            watch.reset(signalWhenOpen("frmTransfer", c.signal, &seen, &title));
            QTimer::singleShot(0, [&] { g.w().runTransfer(0, {"20"}, 1, 1); });
        } else if (kind == "DownloadDialog" || kind == "UploadReview") {
            // One marked PLU with its record, and the same record as fetched from a scale.
            g.state().Conn->exec("INSERT INTO KVR_25 (PLU_No, ST_No, SECT_No, PLU_MG, Is_Selected) "
                                 "VALUES (5, 1, 0, 997, 1)");
            const auto packed = store::packPluRows(*g.state().Conn, g.state().codecEnvironment(), "", true);
            ASSERT_EQ(packed.packed, 1);
            g.state().Conn->exec("INSERT INTO RC_25 (KVRBinData) SELECT KVRBinData FROM KVR_25");
            // Loopback only, should a send start against the rule.
            g.state().Conn->exec("UPDATE SCALE SET SC_IP = '127.  0.  0.  2'");
            if (kind == "DownloadDialog") {
                watch.reset(signalWhenOpen("frmDownLoad", c.signal, &seen, &title));
                QTimer::singleShot(0, [&] { transfer::ui::MainTransfers::of(g.w())->cmdSendAll(); });
            } else {
                watch.reset(signalWhenOpen("frmUpload", c.signal, &seen, &title));
                QTimer::singleShot(0, [&] { transfer::ui::reviewUploaded(g.state(), &g.w()); });
            }
        } else {
            const Opening& o = *c.opening;
            if (o.dataView) {
                g.select("STORE 1");
                g.w().button("cmdData")->click();
                ASSERT_EQ(g.state().viewNumber, 0);
            }
            g.select(o.node);
            ASSERT_TRUE(g.enabled(o.command)) << g.dump() << g.tree().selectedKey();
            watch.reset(signalWhenOpen(o.form, c.signal, &seen, &title));
            QTimer::singleShot(0, [&] { g.trigger(o.command); });
        }
    }
    const int status = QApplication::exec();
    EXPECT_TRUE(seen) << kind << ": the window never opened";
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(g.app->ended());
    EXPECT_FALSE(dbLeft(g)) << "a database file was left";
    if (scale) scale->stop();
    // A send that was being prepared when the signal came never started.
    if (kind == "DownloadDialog") EXPECT_TRUE(g.w().KVRDataTrans1().lastSummary().scales.empty());

    // The mirror holds what was saved, and nothing of what was only typed.
    const std::string stores = slurp(g.dir->path("AccessData/tempstore.txt"));
    const std::string sections = slurp(g.dir->path("AccessData/tempsect.txt"));
    const std::string machines = slurp(g.dir->path("AccessData/tempscale.txt"));
    EXPECT_EQ(stores.find("typed but never saved"), std::string::npos);
    EXPECT_EQ(sections.find("typed but never saved"), std::string::npos);
    if (kind == "FirstRun") {
        EXPECT_TRUE(fs::exists(g.dir->path("AccessData/tempstore.txt")));
        EXPECT_TRUE(stores.empty()) << stores;
    } else {
        EXPECT_NE(stores.find("Main street"), std::string::npos) << stores;
        EXPECT_FALSE(sections.empty());
        EXPECT_NE(machines.find("Deli"), std::string::npos) << machines;
    }
}

INSTANTIATE_TEST_SUITE_P(RunFaults, SignalWhileModal, ::testing::ValuesIn(signalCases()), caseName);

// An error that escapes a handler of a window becomes a message; the run goes on, and what was
// saved before is still in the working database and reaches the mirror at the end.
TEST_F(RunFaults, AnErrorInAHandlerIsShownAndTheRunGoesOn) {
    GuiApp g;
    savedChain(g);
    clearMessages();
    QTimer::singleShot(0, [] { throw FatalError("KVR_20", 7, "DP_Name: the value does not fit"); });
    QTimer::singleShot(50, [] { QCoreApplication::exit(0); });
    EXPECT_EQ(QApplication::exec(), 0);
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("KVR_20, line 7: DP_Name: the value does not fit"), std::string::npos);
    EXPECT_NE(messagesShown()[0].find(g.text("msgbox", "eventFault")), std::string::npos);
    EXPECT_FALSE(g.app->ended());
    EXPECT_TRUE(g.state().Conn && g.state().Conn->isOpen());
    EXPECT_EQ(g.count("select * from SECT"), 1);
    g.end();
    EXPECT_NE(slurp(g.dir->path("AccessData/tempstore.txt")).find("Main street"), std::string::npos);
}

// Read-only ini/: the start reads it as usual; choosing a language cannot write the settings,
// which a message names; the run goes on and the end writes the mirror.
struct ReadOnlyFolder : RunFaults, ::testing::WithParamInterface<bool> {};  // true: made read-only after the start

TEST_P(ReadOnlyFolder, IniRefusesTheLanguageChangeWithAMessage) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    GuiApp g;
    savedChain(g);
    g.end();
    const std::string settings = slurp(g.dir->path("ini/SETTING1.cfg"));
    GuiApp again(std::move(g.dir));
    if (!GetParam()) makeReadOnly(again.dir->path("ini"));
    ASSERT_EQ(again.start(), 0);
    if (GetParam()) makeReadOnly(again.dir->path("ini"));
    clearMessages();
    again.w().action("menuChinese")->trigger();
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_NE(messagesShown().back().find("SETTING1.cfg"), std::string::npos) << messagesShown().back();
    EXPECT_FALSE(again.app->ended());
    EXPECT_EQ(again.state().settings.LanguageIndex, 0);
    EXPECT_EQ(slurp(again.dir->path("ini/SETTING1.cfg")), settings);
    newSection(again, "STORE 1");  // the run goes on: another section is saved
    again.end();
    EXPECT_TRUE(again.app->ended());
    EXPECT_FALSE(dbLeft(again));
    EXPECT_NE(slurp(again.dir->path("AccessData/tempstore.txt")).find("Main street"), std::string::npos);
}

// Read-only Database/ at the start: the working database cannot be made; the message names the
// file, and nothing is changed.
TEST_F(RunFaults, ReadOnlyDatabaseFolderAtTheStartNamesTheFileAndChangesNothing) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    GuiApp g;
    savedChain(g);
    g.end();
    const std::string before = g.dir->snapshot();
    GuiApp again(std::move(g.dir));
    makeReadOnly(again.dir->path("Database"));
    clearMessages();
    EXPECT_EQ(again.start(), 2);
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("Brindale1"), std::string::npos) << messagesShown()[0];
    EXPECT_NE(messagesShown()[0].find(again.text("msgbox", "fatalEnd")), std::string::npos);
    EXPECT_EQ(again.dir->snapshot(), before);
}

// Read-only Database/ during the run: a save fails with a message, the run goes on, and the end
// still writes every change saved before.
TEST_F(RunFaults, ReadOnlyDatabaseFolderDuringTheRunRefusesSavesAndLosesNothingSaved) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    GuiApp g;
    savedChain(g);
    makeReadOnly(g.dir->path("Database"));
    clearMessages();
    g.select("STORE 1");
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "Second section");
        clickOk(f);
        // The save failed: the form stays with what was typed; the operator cancels.
        EXPECT_TRUE(f->isVisible());
        f->reject();
    });
    g.trigger("menuSection");
    ASSERT_TRUE(d.seen());
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_NE(messagesShown().back().find("Brindale1.mdb"), std::string::npos) << messagesShown().back();
    EXPECT_FALSE(g.app->ended());
    g.end();
    EXPECT_TRUE(g.app->ended());
    const std::string sections = slurp(g.dir->path("AccessData/tempsect.txt"));
    EXPECT_EQ(sections.find("Second section"), std::string::npos);
    EXPECT_NE(slurp(g.dir->path("AccessData/tempscale.txt")).find("Deli"), std::string::npos);
}

// Read-only AccessData/: the end cannot put the new mirror in place. The message names the folder;
// Cancel goes on working with the old mirror untouched and the database open.
TEST_P(ReadOnlyFolder, MirrorKeepsTheRunGoingWithTheOldMirror) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    GuiApp g;
    savedChain(g);
    g.end();
    const std::string mirror = slurp(g.dir->path("AccessData/tempstore.txt"));
    GuiApp again(std::move(g.dir));
    if (!GetParam()) makeReadOnly(again.dir->path("AccessData"));
    ASSERT_EQ(again.start(), 0);
    if (GetParam()) makeReadOnly(again.dir->path("AccessData"));
    newSection(again, "STORE 1");
    std::vector<shell::MessageRecord> asked;
    shell::Messages::setResponder([&](const shell::MessageRecord& r) {
        asked.push_back(r);
        return shell::MsgResult::Cancel;
    });
    again.w().close();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_TRUE(asked[0].buttons == shell::MsgButtons::RetryCancel);
    EXPECT_TRUE(asked[0].text.contains("AccessData")) << asked[0].text.toStdString();
    EXPECT_FALSE(again.app->ended());
    EXPECT_TRUE(again.state().Conn && again.state().Conn->isOpen());
    EXPECT_EQ(slurp(again.dir->path("AccessData/tempstore.txt")), mirror);
    EXPECT_EQ(again.count("select * from SECT"), 2);
    EXPECT_FALSE(fs::exists(again.dir->path("AccessData.new")));
}

INSTANTIATE_TEST_SUITE_P(RunFaults, ReadOnlyFolder, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& i) { return i.param ? "DuringTheRun" : "AtTheStart"; });

// A full disk at the end: the operator is offered to retry; after room is made, Retry writes the
// whole mirror and the run ends.
TEST_F(RunFaults, FullDiskAtTheEndOffersRetryAndNothingIsLost) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    std::string small;
    GuiApp g = onSmallDisk(small);
    ASSERT_FALSE(small.empty()) << "no small file system";
    ASSERT_EQ(g.dir->dir().rfind(small, 0), 0u);
    savedChain(g);
    const std::string filler = fillDisk(small);
    int asked = 0;
    std::string first;
    shell::Messages::setResponder([&](const shell::MessageRecord& r) {
        if (asked++ == 0) {
            first = r.text.toStdString();
            fs::remove(filler);  // the operator makes room, then retries
            return shell::MsgResult::Retry;
        }
        return shell::MsgResult::Cancel;
    });
    const std::string endFailed = g.text("msgbox", "endFailed");
    g.w().close();
    EXPECT_EQ(asked, 1);
    EXPECT_NE(first.find(endFailed), std::string::npos) << first;
    EXPECT_TRUE(g.app->ended());
    EXPECT_FALSE(dbLeft(g));
    EXPECT_NE(slurp(g.dir->path("AccessData/tempscale.txt")).find("Deli"), std::string::npos);
    EXPECT_FALSE(fs::exists(g.dir->path("AccessData.new")));
}

// The same full disk when the run is ended from outside: nobody can be asked, so the working
// database stays for the next start, which recovers every saved change.
TEST_F(RunFaults, FullDiskAtAnEndFromOutsideKeepsTheDatabaseForRecovery) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    std::string small;
    GuiApp g = onSmallDisk(small);
    ASSERT_FALSE(small.empty()) << "no small file system";
    savedChain(g);
    const std::string filler = fillDisk(small);
    g.app->requestTermination();
    EXPECT_TRUE(g.app->ended());
    EXPECT_TRUE(fs::exists(g.dir->path("Database/Brindale1.mdb")));
    EXPECT_TRUE(slurp(g.dir->path("AccessData/tempscale.txt")).empty());  // the old (empty) mirror
    fs::remove(filler);
    GuiApp again(std::move(g.dir));
    clearMessages();
    ASSERT_EQ(again.start(), 0);  // answered Yes: recover
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown()[0], again.text("msgbox", "recoverRun"));
    EXPECT_EQ(again.count("select * from SCALE where SC_No='Deli'"), 1);
    EXPECT_NE(slurp(again.dir->path("AccessData/tempscale.txt")).find("Deli"), std::string::npos);
    again.end();
}

// A full disk when the language is chosen: the settings file cannot be written; it stays whole
// and the language stays as it was.
TEST_F(RunFaults, FullDiskWhenChoosingALanguageKeepsTheSettingsFileWhole) {
    ASSERT_TRUE(mountsAllowed) << mountProblem;
    std::string small;
    GuiApp g = onSmallDisk(small);
    ASSERT_FALSE(small.empty()) << "no small file system";
    savedChain(g);
    const std::string settings = slurp(g.dir->path("ini/SETTING1.cfg"));
    const std::string filler = fillDisk(small);
    clearMessages();
    g.w().action("menuChinese")->trigger();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("SETTING1.cfg"), std::string::npos) << messagesShown()[0];
    EXPECT_EQ(g.state().settings.LanguageIndex, 0);
    EXPECT_TRUE(g.w().action("menuEnglish")->isChecked());
    EXPECT_FALSE(g.w().action("menuChinese")->isChecked());
    EXPECT_EQ(slurp(g.dir->path("ini/SETTING1.cfg")), settings);
    EXPECT_FALSE(fs::exists(g.dir->path("ini/SETTING1.cfg.new")));
    fs::remove(filler);
    g.end();
    EXPECT_TRUE(g.app->ended());
}

// A PLU that cannot be packed at the end: the operator is told which, in which column and why,
// and may go back to correct it (nothing changes) or end anyway (it keeps its last good record).
TEST_F(RunFaults, UnpackablePluAtTheEndIsNamedAndTheOperatorChooses) {
    GuiApp g;
    savedChain(g);
    g.state().Conn->exec("INSERT INTO KVR_25 (PLU_No, ST_No, SECT_No, PLU_UPrice) VALUES (42, 1, 1, 1234)");
    g.end();
    auto dir = std::move(g.dir);
    g.app.reset();
    const std::string records = slurp(dir->path("AccessData/tempplukvr.txt"));
    ASSERT_FALSE(records.empty());

    GuiApp again(std::move(dir));
    ASSERT_EQ(again.start(), 0);
    again.state().Conn->exec("UPDATE KVR_25 SET PLU_MG = 10000, Stat2_MGCode = 1, PLU_UPrice = 555 WHERE PLU_No = 42");
    std::vector<shell::MessageRecord> asked;
    shell::MsgResult answer = shell::MsgResult::Yes;  // first: go back and correct
    shell::Messages::setResponder([&](const shell::MessageRecord& r) {
        asked.push_back(r);
        return answer;
    });
    again.w().close();
    ASSERT_EQ(asked.size(), 1u);
    const std::string text = asked[0].text.toStdString();
    EXPECT_TRUE(asked[0].buttons == shell::MsgButtons::YesNo);
    EXPECT_NE(text.find(again.text("msgbox", "pluUnpackable")), std::string::npos) << text;
    EXPECT_NE(text.find("PLU 42"), std::string::npos) << text;
    EXPECT_NE(text.find("PLU_MG"), std::string::npos) << text;
    EXPECT_NE(text.find("10000"), std::string::npos) << text;
    EXPECT_FALSE(again.app->ended());
    EXPECT_TRUE(again.state().Conn && again.state().Conn->isOpen());
    EXPECT_EQ(again.count("select * from KVR_25 where PLU_No=42 and PLU_UPrice=555"), 1);
    EXPECT_EQ(slurp(again.dir->path("AccessData/tempplukvr.txt")), records);
    EXPECT_FALSE(fs::exists(again.dir->path("AccessData.new")));

    answer = shell::MsgResult::No;  // now: end anyway
    asked.clear();
    again.w().close();
    EXPECT_EQ(asked.size(), 1u);  // the question only: the list is not shown a second time
    EXPECT_TRUE(again.app->ended());
    EXPECT_FALSE(dbLeft(again));
    EXPECT_EQ(slurp(again.dir->path("AccessData/tempplukvr.txt")), records) << "the last good record was not kept";
    auto dir2 = std::move(again.dir);
    again.app.reset();

    answerYes();
    GuiApp third(std::move(dir2));
    ASSERT_EQ(third.start(), 0);
    EXPECT_EQ(third.count("select * from KVR_25 where PLU_No=42 and PLU_UPrice=1234"), 1);
    third.end();
}

// The connection lost during the run (a refresh that could not reopen the file): the end opens
// the database again and writes the mirror before it deletes anything.
TEST_F(RunFaults, AnEndAfterTheConnectionWasLostReopensItAndWritesTheMirror) {
    GuiApp g;
    savedChain(g);
    g.state().closeDatabase();
    g.end();
    EXPECT_TRUE(g.app->ended());
    EXPECT_FALSE(dbLeft(g));
    EXPECT_NE(slurp(g.dir->path("AccessData/tempscale.txt")).find("Deli"), std::string::npos);
}

namespace {

// Runs the built program in `dir` until its working database stands; returns it running.
std::unique_ptr<QProcess> runProgram(const TempApp& dir) {
    auto p = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    p->setProcessEnvironment(env);
    p->start(QString::fromStdString(dir.installProgram()), {});
    if (!p->waitForStarted(10000)) return nullptr;
    QElapsedTimer t;
    t.start();
    // The start is complete when the database carries its mark.
    while (t.elapsed() < 30000) {
        sqlite3* db = nullptr;
        if (fs::exists(dir.path("Database/Brindale1.mdb")) &&
            sqlite3_open_v2(dir.path("Database/Brindale1.mdb").c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
            sqlite3_stmt* st = nullptr;
            int mark = 0;
            if (sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
                mark = sqlite3_column_int(st, 0);
            sqlite3_finalize(st);
            sqlite3_close(db);
            if (mark != 0) return p;
        } else if (db) {
            sqlite3_close(db);
        }
        QTest::qWait(50);
    }
    return nullptr;
}

void execSql(const std::string& path, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    sqlite3_busy_timeout(db, 5000);
    char* err = nullptr;
    const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &err);
    EXPECT_EQ(rc, SQLITE_OK) << (err ? err : "");
    sqlite3_free(err);
    sqlite3_close(db);
}

// A chain after a clean end, then a run of the real program whose edits are saved in its working
// database, and a SIGKILL.
std::unique_ptr<TempApp> crashedRun(const std::string& moreSql = {}) {
    GuiApp g;
    savedChain(g);
    g.end();
    auto dir = std::move(g.dir);
    g.app.reset();
    std::unique_ptr<QProcess> p = runProgram(*dir);
    EXPECT_TRUE(p) << "the program did not start";
    if (!p) return dir;
    // Saved changes, as the program's own saves leave them: each committed at once.
    execSql(dir->path("Database/Brindale1.mdb"),
            "UPDATE STORE SET ST_Name='Market square' WHERE ST_No=1;"
            "INSERT INTO SECT (ST_No, SECT_No, SECT_Name) VALUES (1, 2, 'Bakery');" + moreSql);
    ::kill(static_cast<pid_t>(p->processId()), SIGKILL);
    EXPECT_TRUE(p->waitForFinished(10000));
    EXPECT_EQ(p->exitStatus(), QProcess::CrashExit);
    EXPECT_TRUE(fs::exists(dir->path("Database/Brindale1.mdb")));
    return dir;
}

}  // namespace

// Beyond the letter of the rules: a crash loses nothing that was saved. Yes recovers the work.
TEST_F(RunFaults, CrashedRunIsRecoveredWhenTheOperatorSaysYes) {
    std::unique_ptr<TempApp> dir = crashedRun();
    ASSERT_FALSE(HasFailure());
    GuiApp again(std::move(dir));
    clearMessages();
    ASSERT_EQ(again.start(), 0);
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown()[0], again.text("msgbox", "recoverRun"));
    EXPECT_EQ(again.count("select * from STORE where ST_Name='Market square'"), 1);
    EXPECT_EQ(again.count("select * from SECT"), 2);
    EXPECT_EQ(again.count("select * from SECT where SECT_Name='Bakery'"), 1);
    EXPECT_EQ(again.count("select * from SCALE where SC_No='Deli'"), 1);
    // The recovered work is in the mirror already, before this run ends.
    EXPECT_NE(slurp(again.dir->path("AccessData/tempstore.txt")).find("Market square"), std::string::npos);
    again.end();
    EXPECT_FALSE(dbLeft(again));
}

// A run of the version before the transfer history crashed: its database has no TRANSFER_LOG.
// Its work is recovered all the same, and the history starts empty.
TEST_F(RunFaults, ACrashedRunOfTheVersionWithoutHistoryIsRecoveredToo) {
    std::unique_ptr<TempApp> dir = crashedRun();
    ASSERT_FALSE(HasFailure());
    std::string left;
    for (const auto& e : fs::directory_iterator(dir->path("Database")))
        if (e.path().extension() == ".mdb") left = e.path().string();
    ASSERT_FALSE(left.empty());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(left.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "DROP TABLE TRANSFER_LOG", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
    GuiApp again(std::move(dir));
    clearMessages();
    ASSERT_EQ(again.start(), 0);
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown()[0], again.text("msgbox", "recoverRun"));
    EXPECT_EQ(again.count("select * from SECT where SECT_Name='Bakery'"), 1);
    EXPECT_EQ(again.count("select * from TRANSFER_LOG"), 0);
    again.end();
    EXPECT_FALSE(dbLeft(again));
}

// A crashed run that holds a PLU which cannot be packed and has no record yet: its work cannot be
// written out as it stands, so the run goes on in the left database, the operator is told what
// to correct, and the end after the correction writes everything.
TEST_F(RunFaults, ACrashedRunThatCannotBeWrittenOutGoesOnInItsOwnDatabase) {
    std::unique_ptr<TempApp> dir = crashedRun(
        "INSERT INTO KVR_25 (PLU_No, ST_No, SECT_No, PLU_UPrice, PLU_MG, Stat2_MGCode) VALUES (77, 1, 1, 500, 10000, 1);");
    ASSERT_FALSE(HasFailure());
    const std::string mirror = slurp(dir->path("AccessData/tempstore.txt"));
    GuiApp again(std::move(dir));
    clearMessages();
    ASSERT_EQ(again.start(), 0);
    ASSERT_GE(messagesShown().size(), 2u);
    EXPECT_EQ(messagesShown()[0], again.text("msgbox", "recoverRun"));
    EXPECT_NE(messagesShown()[1].find("77"), std::string::npos) << messagesShown()[1];
    EXPECT_NE(messagesShown()[1].find(again.text("msgbox", "recoverOpen")), std::string::npos);
    // Everything of the left run is there, and the mirror is as the last clean end left it.
    EXPECT_EQ(again.count("select * from STORE where ST_Name='Market square'"), 1);
    EXPECT_EQ(again.count("select * from KVR_25 where PLU_No=77"), 1);
    EXPECT_EQ(slurp(again.dir->path("AccessData/tempstore.txt")), mirror);
    again.state().Conn->exec("UPDATE KVR_25 SET PLU_MG=997, Stat2_MGCode=0 WHERE PLU_No=77");
    again.end();
    EXPECT_TRUE(again.app->ended());
    EXPECT_FALSE(dbLeft(again));
    EXPECT_NE(slurp(again.dir->path("AccessData/tempstore.txt")).find("Market square"), std::string::npos);
    auto left = std::move(again.dir);
    again.app.reset();
    GuiApp third(std::move(left));
    ASSERT_EQ(third.start(), 0);
    EXPECT_EQ(third.count("select * from KVR_25 where PLU_No=77 and PLU_UPrice=500"), 1);
    third.end();
}

// No deletes the left database, and the data are those of the last clean end.
TEST_F(RunFaults, CrashedRunIsDroppedWhenTheOperatorSaysNo) {
    std::unique_ptr<TempApp> dir = crashedRun();
    ASSERT_FALSE(HasFailure());
    const std::string mirror = slurp(dir->path("AccessData/tempstore.txt"));
    GuiApp again(std::move(dir));
    int asked = 0;
    shell::Messages::setResponder([&](const shell::MessageRecord&) {
        ++asked;
        return shell::MsgResult::No;
    });
    ASSERT_EQ(again.start(), 0);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(again.count("select * from STORE where ST_Name='Main street'"), 1);
    EXPECT_EQ(again.count("select * from STORE where ST_Name='Market square'"), 0);
    EXPECT_EQ(again.count("select * from SECT"), 1);
    EXPECT_EQ(slurp(again.dir->path("AccessData/tempstore.txt")), mirror);
    again.end();
}

// A database that a crash cut off while the start was filling it carries no mark: it is deleted
// without a question, as is a file that is no database at all.
TEST_F(RunFaults, DatabaseCutOffDuringTheStartIsNotOffered) {
    GuiApp g;
    savedChain(g);
    g.end();
    auto dir = std::move(g.dir);
    g.app.reset();
    {
        GuiApp filling(std::move(dir));
        ASSERT_EQ(filling.start(), 0);
        filling.state().Conn->exec("PRAGMA user_version=0");  // as if the start never completed
        filling.state().closeDatabase();
        dir = std::move(filling.dir);
        filling.app.reset();
    }
    ASSERT_TRUE(fs::exists(dir->path("Database/Brindale1.mdb")));
    GuiApp again(std::move(dir));
    clearMessages();
    ASSERT_EQ(again.start(), 0);
    EXPECT_TRUE(messagesShown().empty()) << messagesShown().front();
    EXPECT_EQ(again.count("select * from STORE where ST_Name='Main street'"), 1);
    again.end();
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // A mount namespace of this process's own: what the tests mount goes with the process.
    if (::unshare(CLONE_NEWNS) != 0) {
        mountProblem = std::string("these tests mount read-only folders and small file systems, which needs root "
                                   "(CAP_SYS_ADMIN): unshare failed: ") + std::strerror(errno);
    } else if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        mountProblem = std::string("cannot make the mounts private: ") + std::strerror(errno);
    } else {
        mountsAllowed = true;
    }
    int qtArgc = 1;
    brindale::shell::GuardedApplication app(qtArgc, argv);
    return RUN_ALL_TESTS();
}
