// The transfer history: what a transfer leaves in TRANSFER_LOG, that a failed write never fails
// the transfer, the limit on its rows and the window's query.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <time.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "store/rebuild.h"
#include "support/temp_app.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/test_support.h"
#include "transfer/transfer_log.h"

using namespace brindale;
using namespace brindale::transfer;
using brindale::transfer::testing::makePlu;
using brindale::transfer::testing::padAddress;
using brindale::transfer::testing::quickOptions;
using brindale::transfer::testing::ScaleFarm;

namespace {

// A working database made from the shipped schema text, with a raw connection beside it.
class WorkingFile {
public:
    WorkingFile() {
        if (store::rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0) != 0)
            throw std::runtime_error("rebuild failed");
        if (sqlite3_open(app.path("Database/Brindale1.mdb").c_str(), &db) != SQLITE_OK)
            throw std::runtime_error("open failed");
        sqlite3_busy_timeout(db, 5000);
    }
    ~WorkingFile() { sqlite3_close(db); }
    // As callers give it: the Windows way, the folder in lower case.
    std::string givenPath() const { return app.dir() + "\\database\\Brindale1.mdb"; }

    void exec(const std::string& sql) {
        char* msg = nullptr;
        if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &msg) != SQLITE_OK) {
            std::string m = msg ? msg : "?";
            sqlite3_free(msg);
            throw std::runtime_error(sql + ": " + m);
        }
    }
    int64_t count(const std::string& sql) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st, nullptr) != SQLITE_OK) throw std::runtime_error(sql);
        int64_t n = sqlite3_step(st) == SQLITE_ROW ? sqlite3_column_int64(st, 0) : -1;
        sqlite3_finalize(st);
        return n;
    }
    void addScale(const std::string& ip, const std::string& name, int store, int section) {
        exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" + padAddress(ip) + "', '" + name +
             "', 1, " + std::to_string(store) + ", " + std::to_string(section) + ")");
    }
    void addPlu(const std::vector<uint8_t>& rec) {
        sqlite3_stmt* st = nullptr;
        sqlite3_prepare_v2(db, "INSERT INTO KVR_25 (ST_No, KVRBinData, Is_Selected) VALUES (1, ?1, 1)", -1, &st,
                           nullptr);
        if (rec.empty()) sqlite3_bind_null(st, 1);
        else sqlite3_bind_blob(st, 1, rec.data(), int(rec.size()), SQLITE_TRANSIENT);
        const int rc = sqlite3_step(st);
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) throw std::runtime_error("insert into KVR_25");
    }
    // Every row in the order written.
    std::vector<TransferLogRow> logRows() {
        std::vector<TransferLogRow> rows;
        std::string error;
        EXPECT_TRUE(queryTransferLog(db, {}, rows, error)) << error;
        std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
        return rows;
    }

    brindale::testing::TempApp app;
    sqlite3* db = nullptr;
};

std::chrono::system_clock::time_point fixedTime() {
    using namespace std::chrono;
    return sys_days{year{2024} / 5 / 1} + hours{14} + minutes{3} + seconds{22};
}

TransferLogRow row(const std::string& start, const std::string& name, const std::string& address,
                   const std::string& detail = "") {
    TransferLogRow r;
    r.start = start;
    r.scaleName = name;
    r.scaleAddress = address;
    r.state = "Done";
    r.detail = detail;
    r.tables = "25";
    return r;
}

}  // namespace

TEST(TransferLog, ATransferLeavesOneRowPerScaleWithStateReasonAndCounts) {
    WorkingFile w;
    scaleemu::ScaleOptions refusing;
    refusing.refuse = true;
    ScaleFarm farm({{"127.0.0.2", {}}, {"127.0.0.3", refusing}});
    ASSERT_TRUE(farm.ok()) << farm.error();
    w.addScale("127.0.0.2", "1", 1, 1);
    w.addScale("127.0.0.3", "2", 1, 1);
    for (uint32_t n = 1; n <= 3; ++n) w.addPlu(makePlu(n, 120));
    w.addPlu({});  // a marked row without a record: named in the notes

    KVRDataTrans control;
    control.setOptions(quickOptions(farm.port()));
    control.setHistoryClock(fixedTime);
    control.setDatabasePath(w.givenPath());
    control.setStoreNumber(1);
    control.setSectionNumber(0);
    control.setTransferMode(0);
    control.setTableList({"25"});
    EXPECT_EQ(control.StartTransfer(), 1);  // one scale did not finish
    EXPECT_EQ(farm[0].recordCount("25"), 3u);

    const auto rows = w.logRows();
    ASSERT_EQ(rows.size(), 2u);
    const std::string start = isoLocalTime(fixedTime());
    for (const auto& r : rows) {
        EXPECT_EQ(r.start, start);
        EXPECT_EQ(r.mode, 0);
        EXPECT_EQ(r.tables, "25");
        EXPECT_EQ(r.store, 1);
        EXPECT_EQ(r.section, 0);
        EXPECT_EQ(r.toDo, 3);
        EXPECT_GE(r.durationMs, 0);
        EXPECT_EQ(r.notes, "KVR_25 row 4: no record; not sent");
    }
    EXPECT_EQ(rows[0].scaleName, "1");
    EXPECT_EQ(rows[0].scaleAddress, "127.0.0.2");
    EXPECT_EQ(rows[0].state, "Done");
    EXPECT_EQ(rows[0].reason, "");
    EXPECT_EQ(rows[0].done, 3);
    EXPECT_EQ(rows[1].scaleName, "2");
    EXPECT_EQ(rows[1].scaleAddress, "127.0.0.3");
    EXPECT_EQ(rows[1].state, "Failed");
    EXPECT_EQ(rows[1].reason, "ErrRefused");
    EXPECT_EQ(rows[1].done, 0);
}

TEST(TransferLog, NoScaleReachedLeavesOneRowSayingWhy) {
    WorkingFile w;
    KVRDataTrans control;
    control.setHistoryClock(fixedTime);
    control.setDatabasePath(w.givenPath());
    control.setStoreNumber(9);
    control.setSectionNumber(2);
    control.setTransferMode(2);
    control.setTableList({"25", "20"});
    control.StartTransfer();
    const auto rows = w.logRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].state, "Failed");
    EXPECT_EQ(rows[0].reason, "ErrNoScale");
    EXPECT_EQ(rows[0].detail, "store 9, section 2: no scale in use");
    EXPECT_EQ(rows[0].scaleName, "");
    EXPECT_EQ(rows[0].scaleAddress, "");
    EXPECT_EQ(rows[0].mode, 2);
    EXPECT_EQ(rows[0].tables, "25,20");
    EXPECT_EQ(rows[0].store, 9);
    EXPECT_EQ(rows[0].section, 2);
}

TEST(TransferLog, TheReasonTextsFollowTheTransfersLanguage) {
    WorkingFile w;
    KVRDataTrans control;
    control.setDatabasePath(w.givenPath());
    control.setStoreNumber(9);
    control.setLanguageText("DetailNoScale=Laden %1, Abteilung %2: keine Waage\nNoteNotIdentifier=%1?\n");
    control.setTableList({"zz"});
    control.StartTransfer();
    const auto rows = w.logRows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].detail, "Laden 9, Abteilung 0: keine Waage");
}

TEST(TransferLog, AFailedHistoryWriteNeverFailsTheTransfer) {
    WorkingFile w;
    ScaleFarm farm(std::vector<ScaleFarm::Member>{{"127.0.0.2", {}}});
    ASSERT_TRUE(farm.ok()) << farm.error();
    w.addScale("127.0.0.2", "1", 1, 1);
    w.addPlu(makePlu(7, 100));
    // The history refuses every row, as a full disk or a locked file would.
    w.exec("CREATE TRIGGER refuse_log BEFORE INSERT ON TRANSFER_LOG BEGIN SELECT RAISE(ABORT, 'refused'); END");
    KVRDataTrans control;
    control.setOptions(quickOptions(farm.port()));
    control.setDatabasePath(w.givenPath());
    control.setStoreNumber(1);
    control.setTableList({"25"});
    EXPECT_EQ(control.StartTransfer(), 0);
    EXPECT_EQ(control.lastSummary().countDone(), 1u);
    EXPECT_EQ(farm[0].recordCount("25"), 1u);
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 0);

    // A database without the table at all (an older one): the transfer is the same.
    w.exec("DROP TABLE TRANSFER_LOG");
    EXPECT_EQ(control.StartTransfer(), 0);
    EXPECT_EQ(control.lastSummary().countDone(), 1u);
}

TEST(TransferLog, TheRowsOfOneTransferGoInTogetherOrNotAtAll) {
    WorkingFile w;
    w.exec("CREATE TRIGGER refuse_bad BEFORE INSERT ON TRANSFER_LOG WHEN NEW.TL_ScaleName = 'bad' "
           "BEGIN SELECT RAISE(ABORT, 'bad row'); END");
    std::string error;
    EXPECT_FALSE(appendTransferLog(w.db, {row("2024-01-01T00:00:00", "1", "127.0.0.2"),
                                          row("2024-01-01T00:00:00", "bad", "127.0.0.3")},
                                   error));
    EXPECT_NE(error.find("bad row"), std::string::npos) << error;
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 0);
    EXPECT_TRUE(appendTransferLog(w.db, {row("2024-01-01T00:00:00", "1", "127.0.0.2")}, error)) << error;
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 1);
}

TEST(TransferLog, KeepsFiftyThousandRowsAndDropsTheOldestFirst) {
    WorkingFile w;
    std::vector<TransferLogRow> rows;
    for (int i = 1; i <= kTransferLogLimit; ++i) rows.push_back(row("2024-01-01T00:00:00", "1", "a", std::to_string(i)));
    std::string error;
    ASSERT_TRUE(appendTransferLog(w.db, rows, error)) << error;
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 50000);
    ASSERT_TRUE(appendTransferLog(w.db, {row("2024-01-02T00:00:00", "1", "a", "50001")}, error)) << error;
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 50000);
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG WHERE TL_Detail = '1'"), 0);
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG WHERE TL_Detail = '2'"), 1);
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG WHERE TL_Detail = '50001'"), 1);
    // Three more at once drop the three oldest.
    ASSERT_TRUE(appendTransferLog(w.db, {row("2024-01-03T00:00:00", "1", "a", "x"), row("2024-01-03T00:00:00", "1", "a", "y"),
                                         row("2024-01-03T00:00:00", "1", "a", "z")},
                                  error));
    EXPECT_EQ(w.count("SELECT count(*) FROM TRANSFER_LOG"), 50000);
    EXPECT_EQ(w.count("SELECT min(CAST(TL_Detail AS INTEGER)) FROM TRANSFER_LOG WHERE TL_Detail GLOB '[0-9]*'"), 5);
}

TEST(TransferLog, QueryIsNewestFirstAndFiltersByScaleAndDays) {
    WorkingFile w;
    std::string error;
    ASSERT_TRUE(appendTransferLog(w.db,
                                  {row("2024-03-01T08:00:00", "1", "127.0.0.2", "a"),
                                   row("2024-03-01T08:00:00", "2", "127.0.0.3", "b"),
                                   row("2024-03-02T23:59:59", "1", "127.0.0.2", "c"),
                                   row("2024-03-03T00:00:00", "", "", "d"),
                                   row("2024-03-01T09:00:00", "1", "127.0.0.2", "e")},
                                  error))
        << error;
    auto details = [&](const TransferLogFilter& f) {
        std::vector<TransferLogRow> rows;
        std::string e;
        EXPECT_TRUE(queryTransferLog(w.db, f, rows, e)) << e;
        std::string s;
        for (const auto& r : rows) s += r.detail;
        return s;
    };
    // Newest first; the same start second in the order written, the later first.
    EXPECT_EQ(details({}), "dceba");
    TransferLogFilter one;
    one.scale = {"1", "127.0.0.2"};
    EXPECT_EQ(details(one), "cea");
    TransferLogFilter days;
    days.fromDate = "2024-03-02";
    days.toDate = "2024-03-02";  // the whole day, to its last second
    EXPECT_EQ(details(days), "c");
    days.fromDate = "2024-03-01";
    EXPECT_EQ(details(days), "ceba");
    one.toDate = "2024-03-01";
    EXPECT_EQ(details(one), "ea");

    // The ids alone come in the same order, and each reads back as its row.
    std::vector<TransferLogRow> full;
    ASSERT_TRUE(queryTransferLog(w.db, one, full, error)) << error;
    std::vector<int64_t> ids;
    ASSERT_TRUE(queryTransferLogIds(w.db, one, ids, error)) << error;
    ASSERT_EQ(ids.size(), full.size());
    TransferLogReader reader(w.db);
    for (size_t i = 0; i < ids.size(); ++i) {
        EXPECT_EQ(ids[i], full[i].id);
        TransferLogRow r;
        ASSERT_TRUE(reader.read(ids[i], r, error)) << error;
        EXPECT_EQ(r, full[i]);
    }
    w.exec("DELETE FROM TRANSFER_LOG WHERE rowid = " + std::to_string(ids[0]));
    TransferLogRow gone;
    EXPECT_FALSE(reader.read(ids[0], gone, error));
    EXPECT_NE(error.find("is gone"), std::string::npos) << error;

    std::vector<TransferLogScale> scales;
    ASSERT_TRUE(transferLogScales(w.db, scales, error)) << error;
    EXPECT_EQ(scales, (std::vector<TransferLogScale>{{"1", "127.0.0.2"}, {"2", "127.0.0.3"}}));
    std::string oldest, newest;
    ASSERT_TRUE(transferLogSpan(w.db, oldest, newest, error)) << error;
    EXPECT_EQ(oldest, "2024-03-01T08:00:00");
    EXPECT_EQ(newest, "2024-03-03T00:00:00");
}

TEST(TransferLog, ValuesAreKeptOnOneLine) {
    TransferRequest req;
    req.tables = {"25"};
    TransferSummary s;
    ScaleOutcome o;
    o.target.name = "Deli\r\nfront";
    o.target.paddedAddress = "127.  0.  0.  2";
    o.state = ScaleState::Failed;
    o.reason = FailReason::Protocol;
    o.detail = "line one\nline two";
    s.scales.push_back(o);
    s.notes.push_back(Note::raw("first"));
    s.notes.push_back(Note::raw("second\nhalf"));
    const auto rows = transferLogRows(req, s, LanguageTexts(), "2024-01-01T00:00:00", 5);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].scaleName, "Deli  front");
    EXPECT_EQ(rows[0].scaleAddress, "127.0.0.2");
    EXPECT_EQ(rows[0].detail, "line one line two");
    EXPECT_EQ(rows[0].notes, "first; second half");
    EXPECT_EQ(rows[0].reason, "ErrProtocol");
    EXPECT_EQ(rows[0].durationMs, 5);
}

TEST(TransferLog, StartTimeIsLocalIsoText) {
    const char* old = getenv("TZ");
    const std::string saved = old ? old : "";
    setenv("TZ", "UTC", 1);
    tzset();
    using namespace std::chrono;
    EXPECT_EQ(isoLocalTime(sys_days{year{2009} / 12 / 31} + hours{23} + minutes{59} + seconds{7}), "2009-12-31T23:59:07");
    setenv("TZ", "EST5", 1);
    tzset();
    EXPECT_EQ(isoLocalTime(sys_days{year{2009} / 12 / 31} + hours{23} + minutes{59} + seconds{7}), "2009-12-31T18:59:07");
    if (old) setenv("TZ", saved.c_str(), 1);
    else unsetenv("TZ");
    tzset();
}
