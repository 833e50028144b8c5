// The real program under two system languages in turn: Chinese names written under a Chinese
// desktop come back intact under an ordinary one, through the program's own start and end.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <filesystem>
#include <fstream>

#include "named_chain.h"
#include "store/recordset.h"

using namespace brindale;
using brindale::testing::MirrorChain;
namespace fs = std::filesystem;

namespace {

using brindale::testing::kCold;
using brindale::testing::kMeat;
const std::string kMeatGbk(brindale::testing::kMeatGbk.begin(), brindale::testing::kMeatGbk.end());

std::string slurp(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
}

bool startComplete(const std::string& db) {
    sqlite3* h = nullptr;
    int mark = 0;
    if (fs::exists(db) && sqlite3_open_v2(db.c_str(), &h, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(h, "PRAGMA user_version", -1, &st, nullptr) == SQLITE_OK && sqlite3_step(st) == SQLITE_ROW)
            mark = sqlite3_column_int(st, 0);
        sqlite3_finalize(st);
    }
    sqlite3_close(h);
    return mark != 0;
}

// Runs the program in the folder under `lang` until its start is complete, then ends it as a
// desktop's logout would (SIGTERM, whatever dialog is open); returns the exit status.
int runUnder(MirrorChain& c, const std::string& lang) {
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.remove("LC_ALL");
    env.remove("LC_CTYPE");
    env.insert("LANG", QString::fromStdString(lang));
    p.setProcessEnvironment(env);
    p.start(QString::fromStdString(c.app.installProgram()), {});
    if (!p.waitForStarted(10000)) return -1;
    QElapsedTimer t;
    t.start();
    while (!startComplete(c.app.path("Database/Brindale1.mdb")) && t.elapsed() < 30000) QThread::msleep(50);
    QThread::msleep(300);  // the main window, and the notice of the page, come up
    ::kill(static_cast<pid_t>(p.processId()), SIGTERM);
    if (!p.waitForFinished(30000)) {
        p.kill();
        return -2;
    }
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -3;
}

}  // namespace

TEST(CodePageOfTheProgram, ChineseNamesSurviveAChineseDesktopThenAnOrdinaryOne) {
    MirrorChain c;
    c.locale = "zh_CN.UTF-8";
    c.start();
    brindale::testing::addDept(c, 12, kMeat);
    brindale::testing::addMainGroup(c, 5, 12, kCold);
    c.end();

    ASSERT_EQ(runUnder(c, "zh_CN.UTF-8"), 0);
    EXPECT_NE(slurp(c.app.path("AccessData/codepage.txt")).find("GBK"), std::string::npos);
    ASSERT_EQ(runUnder(c, "C.UTF-8"), 0);
    // The names are whole in the text files, the records still in the page they were written in.
    EXPECT_NE(slurp(c.app.path("AccessData/tempdept.txt")).find(kMeat), std::string::npos);
    EXPECT_NE(slurp(c.app.path("AccessData/tempmg.txt")).find(kCold), std::string::npos);
    EXPECT_NE(slurp(c.app.path("AccessData/tempdeptkvr.txt")).find(kMeatGbk), std::string::npos);
    EXPECT_NE(slurp(c.app.path("AccessData/codepage.txt")).find("GBK"), std::string::npos);
    EXPECT_FALSE(fs::exists(c.app.path("Database/Brindale1.mdb")));
    // And a third start reads them the same.
    c.locale = "C.UTF-8";
    c.start();
    store::Recordset dp(c.db(), "select * from KVR_20 where DP_No=12");
    EXPECT_EQ(dp.textValue("DP_Name"), kMeat);
    c.end();
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
