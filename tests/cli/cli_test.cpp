// brindale-cli's commands in-process, against a generated chain and emulated scales on loopback.
#include <algorithm>
#include <filesystem>
#include <future>
#include <set>
#include <thread>

#include "cli_fixture.h"
#include "exchange/plu_import.h"
#include "shell/folder_lock.h"

namespace fs = std::filesystem;

namespace brindale::testing {
namespace {

using cli::Exit;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) {
        if (!l.empty() && l.back() == '\r') l.pop_back();
        if (!l.empty()) out.push_back(l);
    }
    return out;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// ---- the command line ----

TEST(CliUsage, WrongCommandLinesExitTwoAndNameTheProblem) {
    cli::Environment env;
    env.executableFolder = fs::temp_directory_path().string();
    std::ostringstream out, err;
    EXPECT_EQ(cli::run({}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "no command"));
    err.str("");
    EXPECT_EQ(cli::run({"send", "--tables", "25"}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "send needs --store"));
    err.str("");
    EXPECT_EQ(cli::run({"send", "--store", "1", "--tables", "25,34"}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "\"34\""));
    err.str("");
    EXPECT_EQ(cli::run({"summary", "--frobnicate"}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "unknown option --frobnicate"));
    err.str("");
    EXPECT_EQ(cli::run({"send", "--store", "x1", "--tables", "25"}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "\"x1\""));
    err.str("");
    EXPECT_EQ(cli::run({"summary", "--app-folder", "/nonexistent/brindale"}, out, err, env), Exit::kUsage);
    EXPECT_TRUE(contains(err.str(), "/nonexistent/brindale"));
}

TEST(CliUsage, HelpAndVersionNeedNoFolder) {
    cli::Environment env;
    env.executableFolder = "/nonexistent";
    std::ostringstream out, err;
    EXPECT_EQ(cli::run({"--help"}, out, err, env), Exit::kDone);
    EXPECT_TRUE(contains(out.str(), "import-plu FILE --set SET --store N"));
    EXPECT_TRUE(contains(out.str(), "9 data not saved"));
    out.str("");
    EXPECT_EQ(cli::run({"--version"}, out, err, env), Exit::kDone);
    EXPECT_EQ(out.str().rfind("brindale-cli ", 0), 0u);
    EXPECT_TRUE(err.str().empty());
}

// ---- summary ----

using CliSummary = CliChain;

TEST_F(CliSummary, ListsEveryStoreAndLeavesTheFolderByteIdentical) {
    const auto before = folderBytes(path("AccessData"));
    CliResult r = cli({"summary"});
    ASSERT_EQ(r.code, Exit::kDone) << r.err;
    auto l = lines(r.out);
    ASSERT_EQ(l.size(), 3u) << r.out;
    EXPECT_EQ(l[0], "store\tname\tsections\tscales\tdepartments\tmain groups\tPLUs");
    EXPECT_EQ(l[1].rfind("1\t", 0), 0u);
    // Store 1: two sections, the three scales of the test, its PLUs.
    EXPECT_TRUE(contains(l[1], "\t2\t3\t")) << l[1];
    EXPECT_TRUE(l[1].size() > 2 && l[1].substr(l[1].rfind('\t') + 1) == std::to_string(store1Plus.size())) << l[1];

    r = cli({"summary", "--json"});
    ASSERT_EQ(r.code, Exit::kDone) << r.err;
    EXPECT_EQ(r.out.rfind("{\"stores\":[{\"store\":1,", 0), 0u) << r.out;
    EXPECT_TRUE(contains(r.out, "\"scales\":3,")) << r.out;
    EXPECT_TRUE(contains(r.out, "\"plus\":" + std::to_string(store1Plus.size()) + "}")) << r.out;
    EXPECT_TRUE(contains(r.out, "{\"store\":2,")) << r.out;

    EXPECT_EQ(folderBytes(path("AccessData")), before);
    EXPECT_FALSE(fs::exists(path("Database/Brindale1.mdb")));
}

// Without --app-folder the command works where the program would: a folder of its own that holds
// ini/ is its folder; an installed brindale-cli (bin/ beside share/brindale/) uses the user's
// folder, made from the installed files as the program makes it; with neither, exit 8 names the
// folder it looked in.
TEST_F(CliSummary, WithoutAFolderItFindsTheProgramsOwnAsTheProgramDoes) {
    std::ostringstream out, err;
    env.executableFolder = dir();
    ASSERT_EQ(cli::run({"summary"}, out, err, env), Exit::kDone) << err.str();
    EXPECT_EQ(lines(out.str()).size(), 3u) << out.str();

    const fs::path prefix = fs::path(dir()).parent_path() / (fs::path(dir()).filename().string() + "-installed");
    fs::remove_all(prefix);
    fs::create_directories(prefix / "bin");
    fs::create_directories(prefix / "share/brindale");
    for (const char* sub : {"ini", "Database"})
        fs::copy(path(sub), prefix / "share/brindale" / sub, fs::copy_options::recursive);
    env.executableFolder = (prefix / "bin").string();
    env.dataHome = (prefix / "home").string();
    out.str("");
    err.str("");
    ASSERT_EQ(cli::run({"summary"}, out, err, env), Exit::kDone) << err.str();
    EXPECT_TRUE(fs::is_directory(prefix / "home/Brindale/ini"));
    EXPECT_TRUE(fs::is_directory(prefix / "home/Brindale/AccessData"));
    // The user's folder starts without stores: the header line alone.
    EXPECT_EQ(lines(out.str()).size(), 1u) << out.str();

    fs::remove_all(prefix / "share");
    fs::remove_all(prefix / "home");
    out.str("");
    err.str("");
    EXPECT_EQ(cli::run({"summary"}, out, err, env), Exit::kDamaged);
    EXPECT_TRUE(contains(err.str(), (prefix / "bin").string())) << err.str();
    EXPECT_FALSE(fs::exists(prefix / "home/Brindale"));
    fs::remove_all(prefix);
}

// ---- import-plu ----

class CliImport : public CliChain {
protected:
    std::string file;
    void SetUp() override {
        CliChain::SetUp();
        file = path("prices.txt");
        // A new PLU, an existing one of store 1 with a new price, another new one.
        writeText(file, "PLU\tPrice\tName\r\n900001\t1.25\tApples\r\n" + std::to_string(store1Plus[0]) +
                            "\t7.50\tPears\r\n900002\t2.00\tPlums\r\n");
    }
};

TEST_F(CliImport, SendReachesTwoScalesAndExitsSixNamingTheThird) {
    writeSet("prices.set");
    CliResult r = cli({"import-plu", file, "--set", path("prices.set"), "--store", "1", "--heading", "--replace",
                       "--send"});
    EXPECT_EQ(r.code, Exit::kScalesFailed) << r.out << r.err;
    const auto l = lines(r.out);
    EXPECT_TRUE(contains(r.out, "added 3\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "replaced 1: lines 3\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "dropped 0\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "faulty 0\n")) << r.out;
    // A line per scale: two done, the third named with its failure.
    std::string third;
    int done = 0;
    for (const auto& x : l) {
        if (x.rfind("127.0.0.4 Scale 3: ", 0) == 0) third = x;
        if ((x.rfind("127.0.0.2 ", 0) == 0 || x.rfind("127.0.0.3 ", 0) == 0) && !contains(x, "fail") &&
            !contains(x, "Fail"))
            ++done;
    }
    EXPECT_EQ(done, 2) << r.out;
    EXPECT_FALSE(third.empty()) << r.out;
    // Exactly the file's three PLUs reached each serving scale.
    for (int i : {0, 1}) {
        const auto held = scales[size_t(i)]->file("25");
        EXPECT_EQ(held.size(), 3u) << "scale " << i;
    }
    EXPECT_EQ(scales[2]->stats().recordsWritten.load(), 0u);
    // The data changed: the mirror holds the new PLUs, and no mark is left.
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE PLU_No IN (900001, 900002) AND ST_No = 1"), 2);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 1"), long(store1Plus.size()) + 2);
    EXPECT_FALSE(fs::exists(path("Database/Brindale1.mdb")));
}

TEST_F(CliImport, WithoutSendWritesTheMirrorAndTalksToNoScale) {
    writeSet("prices.set");
    const auto before = readText(path("AccessData/tempplukvr.txt"));
    CliResult r = cli({"import-plu", file, "--set", path("prices.set"), "--store", "1", "--heading"});
    // Without --replace the existing PLU stays and its line is dropped: done with a skipped line.
    EXPECT_EQ(r.code, Exit::kSkipped) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "added 2\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "dropped 1: lines 3\n")) << r.out;
    EXPECT_TRUE(contains(r.err, "prices.txt, line 3: PLU " + std::to_string(store1Plus[0]))) << r.err;
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);
    EXPECT_NE(readText(path("AccessData/tempplukvr.txt")), before);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 1"), long(store1Plus.size()) + 2);
}

TEST_F(CliImport, FaultyLinesAreNamedByNumberAndExitFive) {
    writeSet("prices.set");
    writeText(file, "900001\t1.25\tApples\r\n900003\tcheap\tPlums\r\n\r\n900004\t3.00\tFigs\r\n");
    CliResult r = cli({"import-plu", file, "--set", path("prices.set"), "--store", "1"});
    EXPECT_EQ(r.code, Exit::kSkipped) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "faulty 2: lines 2, 3\n")) << r.out;
}

TEST_F(CliImport, ASetWithoutPluNumberIsRefusedAndNothingChanges) {
    writeSet("noplu.set", "3\r\n35\r\n");  // PLU_UPrice, PLU_Commodity
    const auto before = folderBytes(path("AccessData"));
    CliResult r = cli({"import-plu", file, "--set", path("noplu.set"), "--store", "1", "--send"});
    EXPECT_EQ(r.code, Exit::kRefused) << r.out << r.err;
    EXPECT_EQ(folderBytes(path("AccessData")), before);
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);

    r = cli({"import-plu", file, "--set", path("missing.set"), "--store", "1"});
    EXPECT_EQ(r.code, Exit::kRefused);
    EXPECT_TRUE(contains(r.err, "missing.set")) << r.err;
    r = cli({"import-plu", file, "--set", path("noplu.set"), "--store", "77"});
    EXPECT_EQ(r.code, Exit::kRefused);
    EXPECT_EQ(folderBytes(path("AccessData")), before);
}

// The import's mark for --send: the rows it wrote, and no other (a mark left from before goes).
TEST(CliImportMarks, TheImportLeavesExactlyItsRowsMarked) {
    MirrorChain chain;
    chain.start();
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.plus = 20;
    chain.generate(shape, 5);
    chain.db().exec("UPDATE KVR_25 SET Is_Selected = 1 WHERE rowid % 3 = 0");
    int64_t existing = 0;
    {
        auto st = chain.db().prepare("SELECT PLU_No FROM KVR_25 ORDER BY PLU_No LIMIT 1");
        ASSERT_TRUE(st->step());
        existing = st->columnInt(0);
    }
    const std::string file = chain.app.path("marks.txt");
    writeText(file, "900001\t1.00\r\n" + std::to_string(existing) + "\t2.00\r\n900001\t3.00\r\n900002\t4.00\r\n");
    exchange::ImportOptions o;
    o.columns = {"PLU_No", "PLU_UPrice"};
    o.weightFlag = "0";
    o.stNo = 1;
    o.mgNo = 997;
    o.replaceExisting = true;
    o.markImported = true;
    o.codePage = chain.state->codePage.get();
    o.barcodeLists = &chain.state->barcodeLists;
    const exchange::ImportResult r = exchange::importPlus(chain.db(), file, o);
    ASSERT_EQ(r.outcome, exchange::ImportOutcome::Ok) << r.error;
    std::set<int64_t> marked;
    auto st = chain.db().prepare("SELECT PLU_No FROM KVR_25 WHERE Is_Selected <> 0");
    while (st->step()) marked.insert(st->columnInt(0));
    EXPECT_EQ(marked, (std::set<int64_t>{existing, 900001, 900002}));
    st.reset();
    // Without the option every row is left unmarked, as the window's import leaves them.
    chain.db().exec("UPDATE KVR_25 SET Is_Selected = 1 WHERE rowid % 3 = 0");
    o.markImported = false;
    ASSERT_EQ(exchange::importPlus(chain.db(), file, o).outcome, exchange::ImportOutcome::Ok);
    auto none = chain.db().prepare("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0");
    none->step();
    EXPECT_EQ(none->columnInt(0), 0);
    none.reset();
    chain.state->closeDatabase();
}

// ---- send ----

class CliServing : public CliChain {
protected:
    bool refuse(const std::string&) const override { return false; }
};

TEST_F(CliServing, SendsTheListedPlusThenDeletesThem) {
    const std::string list = std::to_string(store1Plus[1]) + "," + std::to_string(store1Plus[2]);
    CliResult r = cli({"send", "--store", "1", "--tables", "25,20,23", "--plu", list});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    EXPECT_EQ(lines(r.out).size(), 3u) << r.out;  // a line per scale
    for (auto& s : scales) {
        const auto held = s->file("25");
        EXPECT_EQ(held.size(), 2u);
        EXPECT_GT(s->recordCount("20"), 0u);
        EXPECT_GT(s->recordCount("23"), 0u);
    }
    r = cli({"send", "--store", "1", "--tables", "25", "--plu", std::to_string(store1Plus[1]), "--delete"});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    for (auto& s : scales) EXPECT_EQ(s->file("25").size(), 1u);
}

TEST_F(CliServing, DepartmentsAndMainGroupsAloneSendNoPlu) {
    CliResult r = cli({"send", "--store", "1", "--section", "1", "--tables", "20,23"});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    EXPECT_EQ(lines(r.out).size(), 6u) << r.out;  // a line per scale for each of the two
    for (auto& s : scales) {
        EXPECT_GT(s->recordCount("20"), 0u);
        EXPECT_GT(s->recordCount("23"), 0u);
        EXPECT_EQ(s->recordCount("25"), 0u);
    }
}

TEST_F(CliServing, UnknownPlusAreSkippedAndTheRestIsSent) {
    CliResult r = cli({"send", "--store", "1", "--tables", "25", "--plu", std::to_string(store1Plus[0]) + ",999999"});
    EXPECT_EQ(r.code, Exit::kSkipped) << r.out << r.err;
    EXPECT_TRUE(contains(r.err, "PLU 999999: not in store 1")) << r.err;
    for (auto& s : scales) EXPECT_EQ(s->file("25").size(), 1u);
}

TEST_F(CliServing, AStoreWithoutScalesExitsSeven) {
    CliResult r = cli({"send", "--store", "2", "--tables", "25"});
    EXPECT_EQ(r.code, Exit::kNoScale) << r.out << r.err;
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);
}

TEST_F(CliServing, ReportExportsTheFetchedTotals) {
    CliResult r = cli({"send", "--store", "1", "--tables", "25"});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    const std::string out = path("plu-totals.txt");
    r = cli({"report", "26", "--out", out, "--heading", "--separator", "semicolon"});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    // The emulated scales report the totals of the PLUs they hold: every scale every PLU.
    size_t expected = 0;
    for (auto& s : scales) {
        scaleemu::Files held;
        held["25"] = s->file("25");
        expected += scaleemu::makeTotals("26", held).size();
    }
    ASSERT_GT(expected, 0u);
    const auto l = lines(readText(out));
    ASSERT_EQ(l.size(), expected + 1) << r.out;
    EXPECT_TRUE(contains(l[0], ";")) << l[0];
    EXPECT_TRUE(contains(r.out, "rows " + std::to_string(expected) + " written to " + out)) << r.out;
    // By title too, with a saved column set of the first two columns.
    writeText(path("two.cols"), "0\r\n1\r\n");
    r = cli({"report", "PLU TOTAL FILE", "--out", out, "--columns", path("two.cols")});
    ASSERT_EQ(r.code, Exit::kDone) << r.out << r.err;
    for (const auto& x : lines(readText(out))) EXPECT_EQ(std::count(x.begin(), x.end(), '\t'), 1) << x;

    r = cli({"report", "99", "--out", out});
    EXPECT_EQ(r.code, Exit::kUsage);
}

// ---- a stop from outside ----

class CliHanging : public CliChain {
protected:
    void SetUp() override {
        CliChain::SetUp();
        hangEveryScale();
    }
};

TEST_F(CliHanging, AStopCancelsTheTransferAndTheRunEndsCleanly) {
    auto f = std::async(std::launch::async, [this] { return cli({"send", "--store", "1", "--tables", "25"}); });
    // Bounded: the scales hang for 5 s of reply time; the stop comes well before.
    for (int i = 0; i < 100 && scales[0]->stats().connections.load() == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto asked = std::chrono::steady_clock::now();
    cli::requestStop();
    ASSERT_EQ(f.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    const CliResult r = f.get();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(4));
    EXPECT_EQ(r.code, Exit::kScalesFailed) << r.out << r.err;
    EXPECT_EQ(lines(r.out).size(), 3u) << r.out;
    // The end ran: the working database is gone, the mirror whole.
    EXPECT_FALSE(fs::exists(path("Database/Brindale1.mdb")));
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE ST_No = 1"), long(store1Plus.size()));
}

// ---- the folder lock ----

using CliLock = CliChain;

TEST_F(CliLock, AHeldFolderExitsThreeNamingTheHolderAndChangesNothing) {
    shell::FolderLock held;
    ASSERT_EQ(held.acquire(dir(), shell::kProgramHolder), shell::FolderLock::Result::Acquired);
    const auto before = folderBytes(dir());
    CliResult r = cli({"send", "--store", "1", "--tables", "25"});
    EXPECT_EQ(r.code, Exit::kFolderInUse);
    EXPECT_TRUE(contains(r.err, "in use by brindale (process " + std::to_string(::getpid()) + ")")) << r.err;
    EXPECT_EQ(folderBytes(dir()), before);
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);
}

TEST_F(CliLock, WaitRunsOnceTheHolderHasEnded) {
    auto held = std::make_unique<shell::FolderLock>();
    ASSERT_EQ(held->acquire(dir(), shell::kProgramHolder), shell::FolderLock::Result::Acquired);
    int polls = 0;
    env.keepWaiting = [&] { return ++polls < 200; };  // at most about 20 s
    auto f = std::async(std::launch::async, [this] { return cli({"--wait", "summary"}); });
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    EXPECT_EQ(f.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
    held.reset();
    ASSERT_EQ(f.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    const CliResult r = f.get();
    EXPECT_EQ(r.code, Exit::kDone) << r.err;
    EXPECT_TRUE(contains(r.err, "waiting for brindale (process")) << r.err;
    EXPECT_GE(polls, 2);
    EXPECT_EQ(lines(r.out).size(), 3u);
}

TEST_F(CliLock, WaitGivesUpWithThreeWhenToldTo) {
    shell::FolderLock held;
    ASSERT_EQ(held.acquire(dir(), "brindale-cli send --store 1"), shell::FolderLock::Result::Acquired);
    int polls = 0;
    env.keepWaiting = [&] { return ++polls < 3; };
    CliResult r = cli({"--wait", "summary"});
    EXPECT_EQ(r.code, Exit::kFolderInUse);
    EXPECT_EQ(polls, 3);
    EXPECT_TRUE(contains(r.err, "in use by brindale-cli send --store 1")) << r.err;
}

// ---- a damaged folder ----

using CliDamaged = CliChain;

TEST_F(CliDamaged, AMissingSettingsFileExitsEightNamingIt) {
    fs::remove(path("ini/SETTING1.cfg"));
    CliResult r = cli({"summary"});
    EXPECT_EQ(r.code, Exit::kDamaged);
    EXPECT_TRUE(contains(r.err, "ini/SETTING1.cfg")) << r.err;
}

TEST_F(CliDamaged, ALockFileThatCannotBeMadeExitsEightNamingIt) {
    fs::create_directories(path("brindale.lock"));
    const auto before = folderBytes(path("AccessData"));
    CliResult r = cli({"send", "--store", "1", "--tables", "25"});
    EXPECT_EQ(r.code, Exit::kDamaged);
    EXPECT_TRUE(contains(r.err, path("brindale.lock"))) << r.err;
    EXPECT_EQ(folderBytes(path("AccessData")), before);
    for (auto& s : scales) EXPECT_EQ(s->stats().connections.load(), 0u);
}

TEST_F(CliDamaged, ADamagedMirrorFileExitsEightNamingFileAndLine) {
    const auto before = folderBytes(path("AccessData"));
    std::string store = readText(path("AccessData/tempstore.txt"));
    store.replace(0, store.find("\r\n"), " x1 ");
    writeText(path("AccessData/tempstore.txt"), store);
    CliResult r = cli({"send", "--store", "1", "--tables", "25"});
    EXPECT_EQ(r.code, Exit::kDamaged) << r.out << r.err;
    EXPECT_TRUE(contains(r.err, "tempstore.txt")) << r.err;
    EXPECT_TRUE(contains(r.err, "line 1")) << r.err;
    EXPECT_FALSE(fs::exists(path("Database/Brindale1.mdb")));
}

}  // namespace
}  // namespace brindale::testing
