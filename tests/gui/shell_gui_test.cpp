// The whole program, offscreen: start, main window, end; bad inputs; a second instance.
#include <QAction>
#include <QLabel>
#include <QProcess>
#include <QProgressBar>
#include <set>
#include <QPushButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QtTest>
#include <filesystem>
#include <signal.h>
#include <sys/stat.h>

#include "shell/application.h"
#include "shell/ini.h"
#include "shell/lifecycle.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "emulated_scale.h"
#include "store/mirror.h"
#include "store/recordset.h"
#include "store/small_record_builder.h"
#include <QPushButton>
#include <QTimer>
#include "mirror/mirror_fixture.h"
#include "support/temp_app.h"

using namespace brindale::shell;
using brindale::testing::TempApp;
namespace fs = std::filesystem;

namespace {

QString langText(const TempApp& app, const char* language, const char* section, const char* key) {
    LanguageTable t;
    loadSection(app.path("ini/Language1.ini"), language, section, t);
    return QString::fromStdString(t.text(key));
}

// A menu entry's caption without its mnemonic mark ("&File", "文件(&F)").
QString menuText(const QAction* a) {
    QString t = a->text();
    t.remove(QRegularExpression("\\(&[^&]\\)$"));
    return QString::fromStdString(plainCaption(t.toStdString()));
}

// Answers every message with `answer` and keeps them.
struct Answering {
    explicit Answering(MsgResult answer) {
        Messages::clearShown();
        Messages::setResponder([answer](const MessageRecord&) { return answer; });
    }
    ~Answering() { Messages::setResponder({}); }
};

// A chain with one store, so that the start does not open the first store's form.
void seedOneStore(const TempApp& app) {
    app.write("AccessData/tempstore.txt", " 1 \r\nCorner shop\r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\n0\r\n 0 \r\n");
}

// Starts the program on `app` as it stands and reports what happened: the exit status, the
// first message shown, whether a main window came up, and whether every file is as it was. With
// `databaseMayBeMade`, a working database that the start made before it failed does not count:
// the next start deletes it.
struct FailedStart {
    int status = 0;
    QString message;
    bool mainWindow = false;
    bool unchanged = false;
};

FailedStart startOn(const TempApp& app, bool databaseMayBeMade = false) {
    const bool hadDatabase = app.exists("Database/Brindale1.mdb");
    const std::string before = app.snapshot();
    Answering answers(MsgResult::Ok);
    FailedStart r;
    {
        Application a(app.dir());
        r.status = a.start();
        r.mainWindow = a.mainWindow() != nullptr;
    }
    if (!Messages::shown().empty()) r.message = Messages::shown().front().text;
    if (databaseMayBeMade && !hadDatabase) fs::remove(app.path("Database/Brindale1.mdb"));
    r.unchanged = app.snapshot() == before;
    return r;
}

bool waitFor(const std::function<bool()>& cond, int ms) {
    QElapsedTimer t;
    t.start();
    while (!cond()) {
        if (t.elapsed() > ms) return false;
        QTest::qWait(50);
    }
    return true;
}

}  // namespace

class ShellGuiTest : public QObject {
    Q_OBJECT
private slots:
    void startShowsCaptionsAndCleanEndDeletesDatabase();
    void loadingScreenShowsItsThreeTexts();
    void missingSettingsFileShowsLiteralAndTouchesNothing();
    void missingLanguageFilesShowTheSameLiteral();
    void damagedSettingsLineNamesFileAndLine();
    void duplicateKeyNamesFileAndLine();
    void schemaLineWithoutTwoCommasNamesFileAndLine();
    void databaseAndTemporaryLeftTogetherStopTheStart();
    void missingSchemaEndsWithTheLinkMessage();
    void crashLeftDatabaseIsDeletedAndRebuilt();
    void titleBarCloseLosesUnsavedPluWithoutQuestionMenuExitAsks();
    void languageChangeCancelledChangesNothing();
    void languageChangeRewritesSettingsAndCaptions();
    void secondInstanceEndsSilentlyAndTheDatabaseIsOpenToOtherClients();
    void sigtermWritesTheNewMirrorAndEnds();
    void damagedMirrorNamesFileAndLineAndChangesNothing();
    void transferFromTheMainWindowReachesTheScaleOfTheSection();
    void progressBarsMoveFromStartToFinishOnTenThousandPlus();
};

void ShellGuiTest::startShowsCaptionsAndCleanEndDeletesDatabase() {
    TempApp app;
    seedOneStore(app);
    Answering answers(MsgResult::Ok);
    Application a(app.dir());
    QCOMPARE(a.start(), 0);
    MainWindow* w = a.mainWindow();
    QVERIFY(w && w->isVisible());
    QVERIFY(app.exists("Database/Brindale1.mdb"));
    QCOMPARE(menuText(w->action("menuFile")), langText(app, "Standard", "frmMain_Menu", "menuFile"));
    QCOMPARE(menuText(w->action("menuExit")), langText(app, "Standard", "frmMain_Menu", "menuExit"));
    QCOMPARE(menuText(w->action("menuDownloadMG")), langText(app, "Standard", "frmMain_Menu", "menuDownloadMG"));
    QCOMPARE(w->button("cmdStore")->text(), langText(app, "Standard", "frmMain_cmd", "MainCmdStroe"));
    QCOMPARE(w->button("cmdReflesh")->text(), langText(app, "Standard", "frmMain_cmd", "MainCmdReflesh"));
    QCOMPARE(w->pluGrid()->model()->headerData(1, Qt::Horizontal).toString(), langText(app, "Standard", "frmMain_flexgrid", "MainGrdPLU"));
    QCOMPARE(w->pluTabs()->tabText(0), langText(app, "Standard", "frmMain_sstab", "MainTab0"));
    QVERIFY(w->findChild<QObject*>("treeStoreAndData"));
    QVERIFY(w->action("menuEnglish")->isChecked());
    QVERIFY(!w->action("menuEditLabelFormat")->isEnabled());  // its window comes later
    QVERIFY(w->action("menuExit")->isEnabled());
    QCOMPARE(QString::fromStdString(a.state().helpFile), QString::fromStdString(app.path("help/en/index.html")));

    w->action("menuExit")->trigger();
    QVERIFY(a.ended());
    QVERIFY(!app.exists("Database/Brindale1.mdb"));
    for (const auto& e : fs::directory_iterator(app.path("Database")))
        QVERIFY2(e.path().extension() != ".mdb", e.path().c_str());
    QVERIFY(Messages::shown().empty());
}

namespace {
struct RecordingView : LifecycleView {
    std::vector<std::string> labels;
    void setLabel(const std::string& t) override { labels.push_back(t); }
    void repaint() override {}
};
}  // namespace

void ShellGuiTest::loadingScreenShowsItsThreeTexts() {
    TempApp app;
    ProgramState st;
    st.appDir = app.dir();
    RecordingView v;
    QCOMPARE(int(runStartup(st, v)), int(StartResult::Ok));
    QCOMPARE(v.labels.size(), size_t(3));
    QCOMPARE(v.labels[0], std::string("Loading Setting ..."));
    QCOMPARE(QString::fromStdString(v.labels[1]), langText(app, "Standard", "frm_OTHER", "loadSHOW2"));
    QCOMPARE(QString::fromStdString(v.labels[2]), langText(app, "Standard", "frm_OTHER", "loadSHOW3"));
    endProgram(st, v);
    QVERIFY(!app.exists("Database/Brindale1.mdb"));
}

void ShellGuiTest::missingSettingsFileShowsLiteralAndTouchesNothing() {
    TempApp app;
    fs::remove(app.path("ini/SETTING1.cfg"));
    const FailedStart r = startOn(app);
    QCOMPARE(r.status, 1);
    QCOMPARE(Messages::shown().size(), size_t(1));
    QCOMPARE(Messages::shown()[0].text, QString("Some source file is not exist!"));
    QCOMPARE(Messages::shown()[0].title, QString("Brindale"));
    QVERIFY(Messages::shown()[0].icon == MsgIcon::Exclamation);
    QVERIFY(!Messages::shown()[0].text.contains("SETTING1"));  // the message names no file
    QVERIFY(r.unchanged);
    QVERIFY(!r.mainWindow);
}

void ShellGuiTest::missingLanguageFilesShowTheSameLiteral() {
    for (const char* f : {"ini/Language1.ini", "ini/ParameterPLU1.ini"}) {
        TempApp app;
        fs::remove(app.path(f));
        const FailedStart r = startOn(app);
        QCOMPARE(r.status, 1);
        QCOMPARE(r.message, QString("Some source file is not exist!"));
        QVERIFY(r.unchanged);
    }
}

void ShellGuiTest::damagedSettingsLineNamesFileAndLine() {
    TempApp app;
    app.write("ini/SETTING1.cfg", " 0 \r\n 2 \r\n dot \r\n 3 \r\n");
    const FailedStart r = startOn(app);
    QCOMPARE(r.status, 2);
    QCOMPARE(Messages::shown().size(), size_t(1));
    QVERIFY2(r.message.contains("SETTING1.cfg") && r.message.contains("line 3"), qPrintable(r.message));
    QVERIFY(Messages::shown()[0].icon == MsgIcon::Stop);
    QVERIFY(r.unchanged);
}

void ShellGuiTest::duplicateKeyNamesFileAndLine() {
    TempApp app;
    // A second "loadSHOW2" right after the first one of the Standard block.
    std::string text = app.read("ini/Language1.ini");
    size_t at = text.find("loadSHOW2");
    QVERIFY(at != std::string::npos);
    size_t eol = text.find('\n', at);
    long line = 1 + std::count(text.begin(), text.begin() + static_cast<long>(eol), '\n') + 1;
    text.insert(eol + 1, "LOADSHOW2=again\n");
    app.write("ini/Language1.ini", text);
    const FailedStart r = startOn(app);
    QCOMPARE(r.status, 2);
    QVERIFY2(r.message.contains("Language1.ini") && r.message.contains(QString("line %1").arg(line)),
             qPrintable(r.message));
    QVERIFY(r.unchanged);
}

void ShellGuiTest::schemaLineWithoutTwoCommasNamesFileAndLine() {
    TempApp app;
    app.write("Database/ABC1.txt", "[STORE]\nST_No,4,4\nST_Name 10 20\n\n[END]\n");
    app.write("Database/Brindale1.mdb", "left by an earlier run");
    const FailedStart r = startOn(app);
    QCOMPARE(r.status, 2);
    QVERIFY2(r.message.contains("ABC1.txt") && r.message.contains("line 3"), qPrintable(r.message));
    QVERIFY(r.unchanged);
}

void ShellGuiTest::databaseAndTemporaryLeftTogetherStopTheStart() {
    TempApp app;
    app.write("Database/Brindale1.mdb", "old");
    app.write("Database/Brindale1_.mdb", "old temporary");
    const FailedStart r = startOn(app);
    QCOMPARE(r.status, 2);
    QVERIFY(r.message.contains("Brindale1_.mdb"));
    QVERIFY(r.unchanged);
}

void ShellGuiTest::missingSchemaEndsWithTheLinkMessage() {
    TempApp app;
    fs::remove(app.path("Database/ABC1.txt"));
    Answering answers(MsgResult::Ok);
    Application a(app.dir());
    QCOMPARE(a.start(), 1);
    QCOMPARE(Messages::shown().at(0).text, langText(app, "Standard", "msgbox", "linkADO"));
    QVERIFY(Messages::shown().at(0).icon == MsgIcon::Stop);
    QVERIFY(!app.exists("Database/Brindale1.mdb"));
}

void ShellGuiTest::crashLeftDatabaseIsDeletedAndRebuilt() {
    TempApp app;
    seedOneStore(app);
    // Every row of the chain's tables, to compare one start with the last clean end.
    auto rows = [](brindale::store::Database& db) {
        std::string out;
        for (const char* t : {"STORE", "SECT", "SCALE", "KVR_20", "KVR_23", "KVR_14", "KVR_25"}) {
            auto st = db.prepare(std::string("SELECT * FROM ") + t + " ORDER BY rowid");
            while (st->step()) {
                out += t;
                for (int i = 0; i < st->columnCount(); ++i) out += "|" + brindale::store::printValue(st->column(i));
                out += "\n";
            }
        }
        return out;
    };
    std::string atCleanEnd;
    {
        Answering answers(MsgResult::Ok);
        Application a(app.dir());
        QCOMPARE(a.start(), 0);
        a.state().Conn->exec("UPDATE STORE SET ST_Name='Changed before the clean end' WHERE ST_No=1");
        atCleanEnd = rows(*a.state().Conn);
        a.mainWindow()->close();
        QVERIFY(a.ended());
    }
    QVERIFY(atCleanEnd.find("Changed before the clean end") != std::string::npos);
    // A crash while the database was being made: what is left is no whole database, so there is
    // nothing to recover and no question; it is deleted.
    app.write("Database/Brindale1.mdb", "garbage left by a crash");
    Answering answers(MsgResult::Ok);
    Application a(app.dir());
    QCOMPARE(a.start(), 0);
    QVERIFY(Messages::shown().empty());
    QVERIFY(app.read("Database/Brindale1.mdb").rfind("SQLite format 3", 0) == 0);
    QCOMPARE(QString::fromStdString(rows(*a.state().Conn)), QString::fromStdString(atCleanEnd));
    a.mainWindow()->close();
    QVERIFY(!app.exists("Database/Brindale1.mdb"));
}

void ShellGuiTest::titleBarCloseLosesUnsavedPluWithoutQuestionMenuExitAsks() {
    {
        TempApp app;
        seedOneStore(app);
        Answering answers(MsgResult::Cancel);
        Application a(app.dir());
        QCOMPARE(a.start(), 0);
        a.state().pluChanged = true;
        a.mainWindow()->action("menuExit")->trigger();
        QCOMPARE(Messages::shown().size(), size_t(1));
        QCOMPARE(Messages::shown()[0].text, langText(app, "Standard", "msgbox", "updatePLU"));
        QVERIFY(Messages::shown()[0].buttons == MsgButtons::YesNoCancel);
        QVERIFY(!a.ended());  // Cancel: the run goes on
        QVERIFY(app.exists("Database/Brindale1.mdb"));
        a.mainWindow()->close();  // the title-bar button: no question
        QCOMPARE(Messages::shown().size(), size_t(1));
        QVERIFY(a.ended());
        QVERIFY(!app.exists("Database/Brindale1.mdb"));
    }
    {
        TempApp app;
        seedOneStore(app);
        Answering answers(MsgResult::No);
        Application a(app.dir());
        QCOMPARE(a.start(), 0);
        a.state().pluChanged = true;
        a.mainWindow()->menuExit();
        QCOMPARE(Messages::shown().size(), size_t(1));
        QVERIFY(a.ended());
    }
}

void ShellGuiTest::languageChangeCancelledChangesNothing() {
    TempApp app;
    seedOneStore(app);
    Answering answers(MsgResult::Cancel);
    Application a(app.dir());
    QCOMPARE(a.start(), 0);
    MainWindow* w = a.mainWindow();
    const std::string settings = app.read("ini/SETTING1.cfg");
    const QString caption = w->action("menuFile")->text();
    a.state().pluChanged = true;
    w->action("menuChinese")->trigger();  // the click toggles the check mark first
    QCOMPARE(Messages::shown().size(), size_t(1));
    QVERIFY(!w->action("menuChinese")->isChecked());
    QVERIFY(w->action("menuEnglish")->isChecked());
    QCOMPARE(w->action("menuFile")->text(), caption);
    QCOMPARE(app.read("ini/SETTING1.cfg"), settings);
    QCOMPARE(a.state().settings.LanguageIndex, 0);
    a.state().pluChanged = false;
    w->close();
}

void ShellGuiTest::languageChangeRewritesSettingsAndCaptions() {
    TempApp app;
    seedOneStore(app);
    Answering answers(MsgResult::Ok);
    Application a(app.dir());
    QCOMPARE(a.start(), 0);
    MainWindow* w = a.mainWindow();
    w->action("menuChinese")->trigger();
    QCOMPARE(menuText(w->action("menuFile")), langText(app, "Chinese", "frmMain_Menu", "menuFile"));
    QCOMPARE(w->button("cmdData")->text(), langText(app, "Chinese", "frmMain_cmd", "MainCmdData"));
    QVERIFY(w->action("menuChinese")->isChecked() && !w->action("menuEnglish")->isChecked());
    QVERIFY(app.read("ini/SETTING1.cfg").rfind(" 1 \r\n", 0) == 0);
    QCOMPARE(QString::fromStdString(a.state().helpFile), QString::fromStdString(app.path("help/zh/index.html")));
    w->action("menuOthers")->trigger();
    QCOMPARE(menuText(w->action("menuExit")), langText(app, "Other", "frmMain_Menu", "menuExit"));
    QVERIFY(app.read("ini/SETTING1.cfg").rfind(" 2 \r\n", 0) == 0);
    w->action("menuEnglish")->trigger();
    QVERIFY(app.read("ini/SETTING1.cfg").rfind(" 0 \r\n", 0) == 0);
    QVERIFY(Messages::shown().empty());
    w->close();
}

void ShellGuiTest::secondInstanceEndsSilentlyAndTheDatabaseIsOpenToOtherClients() {
    TempApp app;
    seedOneStore(app);
    const QString program = QString::fromStdString(app.installProgram());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QProcess first;
    first.setProcessEnvironment(env);
    first.start(program, {});
    QVERIFY(first.waitForStarted(10000));
    QVERIFY(waitFor([&] { return app.exists("Database/Brindale1.mdb") && !app.exists("Database/Brindale1_.mdb"); },
                    20000));
    QTest::qWait(300);

    // Another client reads the working database while the program runs.
    QProcess client;
    client.start("sqlite3", {QString::fromStdString(app.path("Database/Brindale1.mdb")),
                             "SELECT name FROM sqlite_schema WHERE type='table' ORDER BY name;"});
    QVERIFY(client.waitForFinished(20000));
    QCOMPARE(client.exitCode(), 0);
    const QStringList tables = QString::fromUtf8(client.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    for (const char* t : {"STORE", "SECT", "SCALE", "KVR_20", "KVR_23", "KVR_25", "KVR_14", "RC_25", "RC_46", "KVR_DF"})
        QVERIFY2(tables.contains(t), t);

    const std::string before = app.snapshot();
    QProcess second;
    second.setProcessEnvironment(env);
    QElapsedTimer t;
    t.start();
    second.start(program, {});
    QVERIFY(second.waitForFinished(15000));
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(second.readAllStandardOutput().isEmpty());
    QCOMPARE(app.snapshot(), before);
    QCOMPARE(first.state(), QProcess::Running);

    first.kill();
    QVERIFY(first.waitForFinished(10000));
}

void ShellGuiTest::sigtermWritesTheNewMirrorAndEnds() {
    TempApp app;
    app.write("AccessData/tempstore.txt", " 1 \r\nCorner shop\r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\n0\r\n 0 \r\n");
    struct stat before {};
    QCOMPARE(::stat(app.path("AccessData").c_str(), &before), 0);
    const QString program = QString::fromStdString(app.installProgram());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    QProcess p;
    p.setProcessEnvironment(env);
    p.start(program, {});
    QVERIFY(p.waitForStarted(10000));
    QVERIFY(waitFor([&] { return app.exists("Database/Brindale1.mdb") && !app.exists("Database/Brindale1_.mdb"); },
                    20000));
    QTest::qWait(500);
    ::kill(static_cast<pid_t>(p.processId()), SIGTERM);
    QVERIFY(p.waitForFinished(30000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    QVERIFY(!app.exists("Database/Brindale1.mdb"));
    struct stat after {};
    QCOMPARE(::stat(app.path("AccessData").c_str(), &after), 0);
    QVERIFY(after.st_ino != before.st_ino);  // a new set of files took the old one's place
    for (const char* f : {"tempstore.txt", "tempsect.txt", "tempplu.txt", "tempplukvr.txt", "temppesetkeykvr.txt",
                          "tempcontainertablefilekvr.txt"})
        QVERIFY2(app.exists(std::string("AccessData/") + f), f);
    QCOMPARE(app.read("AccessData/tempstore.txt"),
             std::string(" 1 \r\nCorner shop\r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\n0\r\n 0 \r\n"));
    QVERIFY(!app.exists("AccessData.new") && !app.exists("AccessData.old"));
}

void ShellGuiTest::damagedMirrorNamesFileAndLineAndChangesNothing() {
    TempApp app;
    // The store's Flag2 line holds a word: the number column refuses it.
    app.write("AccessData/tempstore.txt", " 1 \r\nCorner shop\r\n 0 \r\n none \r\n 0 \r\n 0 \r\n0\r\n 0 \r\n");
    // Only the working database is made; the mirror stays as it was.
    const FailedStart r = startOn(app);  // the database the start made is removed again
    QCOMPARE(r.status, 2);
    QVERIFY2(r.message.contains("tempstore.txt") && r.message.contains("line 4") && r.message.contains("Flag2"),
             qPrintable(r.message));
    QVERIFY(!r.mainWindow);
    QVERIFY(r.unchanged);
}

void ShellGuiTest::transferFromTheMainWindowReachesTheScaleOfTheSection() {
    TempApp app;
    seedOneStore(app);
    Answering answers(MsgResult::Ok);
    Application a(app.dir());
    QCOMPARE(a.start(), 0);
    MainWindow* w = a.mainWindow();
    auto& db = *a.state().Conn;

    brindale::scaleemu::ScaleOptions so;
    so.address = "127.0.0.2";
    so.port = 0;
    brindale::scaleemu::EmulatedScale scale(so);
    std::string error;
    QVERIFY2(scale.start(error), error.c_str());
    brindale::transfer::TransferOptions to;
    to.port = scale.port();
    to.connectTimeout = std::chrono::milliseconds(2000);
    to.replyTimeout = std::chrono::milliseconds(2000);
    to.scaleTimeout = std::chrono::milliseconds(10000);
    w->KVRDataTrans1().setOptions(to);

    {
        brindale::store::Recordset sc(db, "SCALE");
        sc.addNew();
        sc.setValue("SC_IP", "127.  0.  0.  2");
        sc.setValue("SC_No", "Deli 1");
        sc.setValue("SC_Used", 1);
        sc.setValue("ST_No", 1);
        sc.setValue("SECT_No", 1);
        sc.update();
        brindale::store::Recordset dp(db, "KVR_20");
        for (int n : {3, 4, 5}) {
            dp.addNew();
            dp.setValue("DP_No", n);
            dp.setValue("DP_Name", "Dept " + std::to_string(n));
            dp.setValue("ST_No", 1);
            dp.setValue("Is_Selected", n == 4 ? 0 : 1);
            brindale::store::buildSmallRecord(*a.state().codePage, "KVR_20", dp);
            dp.update();
        }
    }
    // The progress window is modal: close it once the transfer has ended, bounded in time.
    int closed = 0;
    QTimer timer;
    QElapsedTimer since;
    since.start();
    QObject::connect(&timer, &QTimer::timeout, [&] {
        QWidget* m = QApplication::activeModalWidget();
        auto* close = m ? m->findChild<QPushButton*>("cmdClose") : nullptr;
        if ((close && close->isEnabled() && close->isVisible()) ) {
            close->click();
            ++closed;
        } else if (m && since.elapsed() > 20000) {
            m->close();
        }
    });
    timer.start(50);
    QVERIFY(w->runTransfer(0, {"20"}, 1, 1));
    timer.stop();
    const auto& sum = w->KVRDataTrans1().lastSummary();
    QVERIFY2(closed == 1, qPrintable(QString::fromStdString(std::to_string(int(sum.reason)) + " " + brindale::transfer::LanguageTexts().text(sum.detail) + " / scales " + std::to_string(sum.scales.size()) +
                                                            " / " + (sum.scales.empty() ? std::string() : sum.scales[0].detail))));
    QCOMPARE(scale.recordCount("20"), size_t(2));
    QCOMPARE(w->KVRDataTrans1().lastSummary().scales.size(), size_t(1));
    QCOMPARE(w->KVRDataTrans1().lastSummary().countDone(), size_t(1));

    // A store number that does not fit the control: a message, and nothing is sent.
    Messages::clearShown();
    QVERIFY(!w->runTransfer(0, {"20"}, 300, 0));
    QCOMPARE(Messages::shown().size(), size_t(1));
    QVERIFY(Messages::shown()[0].text.contains("300"));
    scale.stop();
    w->close();
}

// The loading and closing screens show how far the start and the end have come: their bars are
// read while they run over a generated chain of 10,000 PLUs.
void ShellGuiTest::progressBarsMoveFromStartToFinishOnTenThousandPlus() {
    brindale::testing::MirrorChain c;
    c.start();
    brindale::datagen::ChainShape shape;
    shape.plus = 10000;
    shape.stores = 2;
    c.generate(shape, 42);
    c.end();

    std::map<QString, std::vector<int>> seen;  // screen -> the bar's values in the order seen
    std::set<QProgressBar*> heard;
    QTimer watch;
    // The first look at a screen's bar starts listening to it: every value it takes is heard.
    QObject::connect(&watch, &QTimer::timeout, [&] {
        for (const char* screen : {"frmLoading", "frmEnd"})
            for (QWidget* w : QApplication::topLevelWidgets())
                if (w->objectName() == screen && w->isVisible())
                    if (auto* bar = w->findChild<QProgressBar*>("progressBar"); bar && !heard.count(bar)) {
                        heard.insert(bar);
                        const QString name = screen;
                        QObject::connect(bar, &QProgressBar::valueChanged, [&seen, name, bar](int value) {
                            if (!bar->isVisible() || bar->maximum() <= 0) return;
                            seen[name].push_back(value * 1000 / bar->maximum());
                        });
                    }
    });
    watch.start(1);
    Answering answers(MsgResult::Ok);
    Application a(c.app.dir());
    QCOMPARE(a.start(), 0);
    a.mainWindow()->close();
    watch.stop();
    QVERIFY(a.ended());
    for (const char* screen : {"frmLoading", "frmEnd"}) {
        const auto& v = seen[screen];
        QVERIFY2(v.size() >= 5, qPrintable(QString("%1: %2 values").arg(screen).arg(v.size())));
        // Forward only, within one long step, and far along at the last look.
        int backs = 0;
        for (size_t i = 1; i < v.size(); ++i) backs += v[i] < v[i - 1];
        QVERIFY2(backs <= 2, qPrintable(QString("%1 went back %2 times").arg(screen).arg(backs)));
        QVERIFY2(*std::max_element(v.begin(), v.end()) >= 800, screen);
    }
}

QTEST_MAIN(ShellGuiTest)
#include "shell_gui_test.moc"
