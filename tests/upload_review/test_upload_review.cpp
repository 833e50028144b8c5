// The review of fetched PLUs without the window: decoding RC_25, the review set, the take-over
// into KVR_25.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "codec/codec_test_support.h"
#include "hierarchy/fixture.h"
#include "plu_row_generator.h"
#include "store/codec_sources.h"
#include "store/recordset.h"
#include "store/row_mapper.h"
#include "transfer/upload_review.h"
#include "upload_records.h"

using namespace brindale;
using namespace brindale::transfer;
using brindale::testing::pluRecord;
using brindale::testing::putFetched;

namespace {

struct Review : ::testing::Test {
    std::unique_ptr<brindale::testing::TempApp> app = brindale::testing::makeHierarchyApp(false);
    std::unique_ptr<store::Database> db = brindale::testing::makeDatabase(*app);
    brindale::testing::RecordCodec codec;

    int64_t scalar(const std::string& sql) {
        auto st = db->prepare(sql);
        return st->step() ? st->columnInt(0) : -1;
    }
    std::string text(const std::string& sql) {
        auto st = db->prepare(sql);
        return st->step() ? st->column(0).toText() : std::string("<none>");
    }
    void fetched(int64_t plu, int64_t price, const std::string& name, int64_t mg = 997) {
        auto rec = pluRecord(codec.env(), plu, price, name, mg);
        ASSERT_FALSE(rec.empty());
        putFetched(*db, rec);
    }
    void existing(int64_t store, int64_t plu, int64_t price) {
        db->exec("INSERT INTO KVR_25 (ST_No, PLU_No, PLU_UPrice, PLU_MG) VALUES (" + std::to_string(store) + "," +
                 std::to_string(plu) + "," + std::to_string(price) + ",5)");
    }
    // Decodes RC_25 into the review set and marks every row.
    std::unique_ptr<ReviewSet> reviewAllMarked() {
        auto set = std::make_unique<ReviewSet>(*db, codec.env());
        set->load();
        for (long i = 0; i < set->size(); ++i) set->setMarked(i, true);
        return set;
    }
    // Every column of the rows of a table as text, for "unchanged" checks.
    std::string wholeRow(const std::string& where, const std::string& table = "KVR_25") {
        store::Recordset rs(*db, "select * from " + table + " where " + where);
        std::string out;
        for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
            for (int i = 0; i < rs.fieldCount(); ++i) out += rs.value(i).toText() + "|";
            out += "\n";
        }
        return out;
    }
};

TEST_F(Review, DecodesEveryRecordAndReportsWhatItCannotRead) {
    fetched(30, 1299, "Pears");
    auto bad = pluRecord(codec.env(), 40, 100, "Bad");
    bad[12] = 0x3A;  // a price nibble above 9
    putFetched(*db, bad);
    fetched(10, 250, "Apples");
    auto cut = pluRecord(codec.env(), 50, 100, "Cut");
    cut.pop_back();  // the length field no longer agrees
    putFetched(*db, cut);
    putFetched(*db, {}, false);  // no record at all

    const std::string fetchedRows = wholeRow("1", "RC_25");
    long calls = 0, lastDone = -1, lastTotal = -1, largestSetSeen = 0;
    ReviewSet set(*db, codec.env());
    const DecodeReport r = set.load([&](long done, long total) {
        ++calls;
        lastDone = done;
        lastTotal = total;
        largestSetSeen = std::max(largestSetSeen, set.size());
    });
    // While the window paints during the load the grid has no rows yet.
    EXPECT_EQ(largestSetSeen, 0);
    EXPECT_EQ(r.total, 5);
    EXPECT_EQ(r.decoded, 2);
    ASSERT_EQ(r.unreadable.size(), 3u);
    EXPECT_EQ(r.unreadable[0].position, 2);
    EXPECT_EQ(r.unreadable[0].pluNo, 40);
    EXPECT_NE(r.unreadable[0].reason.find("PLU_UPrice"), std::string::npos) << r.unreadable[0].reason;
    EXPECT_EQ(r.unreadable[1].position, 4);
    EXPECT_NE(r.unreadable[1].reason.find("says it has"), std::string::npos) << r.unreadable[1].reason;
    EXPECT_EQ(r.unreadable[2].position, 5);
    EXPECT_EQ(r.unreadable[2].reason, "no record");
    EXPECT_GE(calls, 1);
    EXPECT_EQ(lastDone, 5);
    EXPECT_EQ(lastTotal, 5);

    // The unreadable ones are not in the review set; the others come by number, decoded.
    ASSERT_EQ(set.size(), 2);
    EXPECT_EQ(set.row(0).pluNo, 10);
    EXPECT_EQ(set.row(0).name, "Apples");
    EXPECT_EQ(set.row(0).price, 250);
    EXPECT_EQ(set.row(1).pluNo, 30);
    EXPECT_EQ(set.row(1).price, 1299);
    // Loading writes nothing: the rows are as fetched.
    EXPECT_EQ(wholeRow("1", "RC_25"), fetchedRows);
}

TEST_F(Review, RowsOfEqualNumberKeepTheirTableOrderAndAMarkedRowStaysOut) {
    fetched(5, 1, "First five");
    fetched(2, 2, "Two");
    fetched(5, 3, "Second five");
    fetched(1, 4, "Already marked");
    db->exec("UPDATE RC_25 SET Is_Selected=1 WHERE rowid=(SELECT max(rowid) FROM RC_25)");
    ReviewSet set(*db, codec.env());
    const DecodeReport r = set.load();
    EXPECT_EQ(r.decoded, 4);
    EXPECT_TRUE(r.unreadable.empty());
    ASSERT_EQ(set.size(), 3);
    EXPECT_EQ(set.row(0).name, "Two");
    EXPECT_EQ(set.row(1).name, "First five");
    EXPECT_EQ(set.row(2).name, "Second five");
    EXPECT_LT(set.rowIdAt(1), set.rowIdAt(2));
}

TEST_F(Review, ReviewRowShowsItemCodeAndNameOnlyWhenPresent) {
    // A record without a name or an item code keeps what its row holds.
    fetched(7, 99, "");
    db->exec("UPDATE RC_25 SET PLU_EANItemCode='12345', PLU_CommodityFirst='Kept' WHERE rowid=(SELECT max(rowid) FROM RC_25)");
    fetched(3, 5, "Shown");
    ReviewSet set(*db, codec.env());
    set.load();
    ASSERT_EQ(set.size(), 2);
    EXPECT_EQ(set.row(0).pluNo, 3);
    EXPECT_EQ(set.row(0).itemCode, "");
    EXPECT_EQ(set.row(0).name, "Shown");
    EXPECT_EQ(set.row(1).itemCode, "12345");
    EXPECT_EQ(set.row(1).name, "");  // PLU_Commodity is Null
    EXPECT_EQ(set.row(5).pluNo, 0);  // beyond the set: nothing read
    EXPECT_FALSE(set.decoded(5));
}

TEST_F(Review, TheShownRowGetsItsDecodedColumnsInTheTable) {
    fetched(4, 440, "Shown on the tabs", 12);
    fetched(9, 990, "Not shown");
    ReviewSet set(*db, codec.env());
    set.load();
    const std::string other = "rowid=" + std::to_string(set.rowIdAt(1));
    const std::string otherBefore = wholeRow(other, "RC_25");
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM RC_25 WHERE " + other), 0);
    ASSERT_TRUE(set.storeDecoded(0));
    const std::string id = std::to_string(set.rowIdAt(0));
    EXPECT_EQ(scalar("SELECT PLU_No FROM RC_25 WHERE rowid=" + id), 4);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM RC_25 WHERE rowid=" + id), 440);
    EXPECT_EQ(scalar("SELECT PLU_MG FROM RC_25 WHERE rowid=" + id), 12);
    EXPECT_EQ(text("SELECT PLU_CommodityFirst FROM RC_25 WHERE rowid=" + id), "Shown on the tabs");
    EXPECT_EQ(wholeRow(other, "RC_25"), otherBefore);
    EXPECT_FALSE(set.storeDecoded(2));
    // Shown again: written once is enough, and the row's mark is its own.
    EXPECT_FALSE(set.marked(0));
    EXPECT_EQ(set.markedCount(), 0);
    db->exec("UPDATE RC_25 SET PLU_Tare=3 WHERE rowid=" + id);
    ASSERT_TRUE(set.storeDecoded(0));
    EXPECT_EQ(scalar("SELECT PLU_Tare FROM RC_25 WHERE rowid=" + id), 3);
    set.setMarked(0, true);
    EXPECT_TRUE(set.marked(0));
    EXPECT_EQ(set.markedCount(), 1);
    set.setMarked(0, false);
    EXPECT_FALSE(set.marked(0));
}

TEST_F(Review, MarksAreCountedAndToggled) {
    fetched(1, 1, "A");
    fetched(2, 2, "B");
    ReviewSet set(*db, codec.env());
    set.load();
    EXPECT_EQ(set.markedCount(), 0);
    set.toggleMark(1);
    set.setMarked(1, true);  // twice on counts once
    EXPECT_EQ(set.markedCount(), 1);
    EXPECT_TRUE(set.marked(1));
    set.toggleMark(1);
    EXPECT_EQ(set.markedCount(), 0);
    set.setMarked(9, true);  // outside: ignored
    EXPECT_EQ(set.markedCount(), 0);
}

TEST_F(Review, UntickedSamePluLeavesTheExistingRowUnchangedAndOut) {
    existing(2, 10, 111);
    existing(2, 30, 333);
    const std::string before = wholeRow("ST_No=2 AND PLU_No=10");
    fetched(10, 999, "New ten");
    fetched(20, 200, "Twenty");
    auto set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(*set, {"2", "997", false});
    ASSERT_TRUE(r.ok()) << r.reason;
    EXPECT_EQ(r.added, 1);
    EXPECT_EQ(r.overwritten, 0);
    EXPECT_EQ(r.leftOut, std::vector<int64_t>{10});
    EXPECT_EQ(wholeRow("ST_No=2 AND PLU_No=10"), before);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=2"), 3);
}

TEST_F(Review, PluAboveAllIsAppended) {
    existing(1, 10, 1);
    existing(1, 20, 2);
    fetched(500, 5000, "Top");
    auto set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(*set, {"1", "997", false});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 1);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE ST_No=1 AND PLU_No=500"), 5000);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1"), 3);
}

TEST_F(Review, TwoMarkedRecordsWithTheSameNumberBothCountAsNewWhenAbsentAtTheStart) {
    fetched(77, 100, "First");
    fetched(77, 200, "Second");
    auto set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(*set, {"1", "997", false});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 2);
    EXPECT_TRUE(r.leftOut.empty());
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1 AND PLU_No=77"), 2);
}

TEST_F(Review, OnlyMarkedRowsAreTaken) {
    fetched(1, 1, "A");
    fetched(2, 2, "B");
    fetched(3, 3, "C");
    ReviewSet set(*db, codec.env());
    set.load();
    set.setMarked(1, true);
    const TakeOverResult r = takeOverMarked(set, {"1", "997", false});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 1);
    EXPECT_EQ(text("SELECT group_concat(PLU_No) FROM KVR_25"), "2");
}

TEST_F(Review, TakenRowsAreReHomedToStoreAndMainGroup) {
    fetched(5, 50, "Grouped", 12);
    fetched(6, 60, "Loose", 997);
    auto set = reviewAllMarked();
    ASSERT_TRUE(takeOverMarked(*set, {"3", "44", false}).ok());
    EXPECT_EQ(scalar("SELECT ST_No FROM KVR_25 WHERE PLU_No=5"), 3);
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=5"), 44);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=5"), 1);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=6"), 1);  // now in group 44

    // Group 997: the flag stays as the scale sent it.
    db->exec("DELETE FROM KVR_25");
    ASSERT_TRUE(takeOverMarked(*set, {"4", "997", false}).ok());
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=5"), 997);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=5"), 1);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=6"), 0);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=4"), 2);
}

TEST_F(Review, ColumnsTheRecordLeavesAloneComeFromTheFetchedRow) {
    fetched(8, 888, "Copied", 12);
    db->exec("UPDATE RC_25 SET PLU_Tare=17, SECT_No=9, PLU_Image3=4");  // the record carries none of them
    auto set = reviewAllMarked();
    ASSERT_TRUE(takeOverMarked(*set, {"2", "31", false}).ok());
    EXPECT_EQ(scalar("SELECT PLU_Tare FROM KVR_25"), 17);
    EXPECT_EQ(scalar("SELECT SECT_No FROM KVR_25"), 9);
    EXPECT_EQ(scalar("SELECT PLU_Image3 FROM KVR_25"), 4);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25"), 888);
    EXPECT_EQ(text("SELECT PLU_CommodityFirst FROM KVR_25"), "Copied");
    EXPECT_EQ(text("SELECT hex(KVRBinData) FROM KVR_25"), text("SELECT hex(KVRBinData) FROM RC_25"));
}

TEST_F(Review, TickedSamePluOverwritesTheExistingRow) {
    existing(1, 10, 111);
    const int64_t id = scalar("SELECT rowid FROM KVR_25 WHERE PLU_No=10");
    existing(2, 10, 222);  // another store's PLU 10 is not touched
    fetched(10, 999, "Fresh");
    auto set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(*set, {"1", "997", true});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 0);
    EXPECT_EQ(r.overwritten, 1);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1"), 1);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE rowid=" + std::to_string(id)), 999);
    EXPECT_EQ(text("SELECT PLU_CommodityFirst FROM KVR_25 WHERE rowid=" + std::to_string(id)), "Fresh");
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE ST_No=2"), 222);
}

TEST_F(Review, EmptyStoreOrMainGroupNamesTheListAndTakesNothing) {
    existing(1, 1, 1);
    fetched(2, 2, "B");
    auto set = reviewAllMarked();
    const std::string before = wholeRow("1");
    TakeOverResult r = takeOverMarked(*set, {"", "997", false});
    EXPECT_EQ(r.failure, TakeOverResult::Failure::NoStore);
    EXPECT_EQ(r.list, "combST");
    r = takeOverMarked(*set, {"1", "", false});
    EXPECT_EQ(r.failure, TakeOverResult::Failure::NoMainGroup);
    EXPECT_EQ(r.list, "combMG");
    EXPECT_EQ(wholeRow("1"), before);
}

TEST_F(Review, DatabaseFailureMidwayLeavesNothingAndNamesThePlu) {
    existing(1, 1, 1);
    existing(1, 4, 4);
    for (int64_t plu : {2, 3, 4, 5, 6}) fetched(plu, plu * 10, "P");
    db->exec("CREATE TABLE seen(n INTEGER)");
    db->exec("CREATE TRIGGER third AFTER INSERT ON KVR_25 BEGIN INSERT INTO seen VALUES (1); "
             "SELECT RAISE(ABORT, 'refused by the test') WHERE (SELECT count(*) FROM seen) = 3; END");
    auto set = reviewAllMarked();
    const std::string before = wholeRow("1");
    const TakeOverResult r = takeOverMarked(*set, {"1", "997", true});
    ASSERT_EQ(r.failure, TakeOverResult::Failure::Database);
    // Inserts: 2, 3, then 5 (4 is overwritten) is the third.
    EXPECT_EQ(r.failedPlu, 5);
    EXPECT_NE(r.reason.find("refused by the test"), std::string::npos) << r.reason;
    EXPECT_EQ(r.added, 0);
    EXPECT_EQ(wholeRow("1"), before);
    EXPECT_EQ(scalar("SELECT count(*) FROM seen"), 0);
}

TEST_F(Review, ListsComeFromTheStoreDepartmentsAndMainGroups) {
    db->exec("INSERT INTO STORE (ST_No) VALUES (3)");
    db->exec("INSERT INTO STORE (ST_No) VALUES (1)");
    db->exec("INSERT INTO KVR_20 (ST_No, DP_No) VALUES (1, 2)");
    db->exec("INSERT INTO KVR_20 (ST_No, DP_No) VALUES (3, 9)");
    db->exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No) VALUES (1, 2, 8)");
    db->exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No) VALUES (1, 2, 4)");
    db->exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No) VALUES (1, 3, 5)");
    EXPECT_EQ(storeNumbers(*db), (std::vector<int64_t>{1, 3}));
    EXPECT_EQ(departmentNumbers(*db, 1), (std::vector<int64_t>{2}));
    EXPECT_EQ(mainGroupNumbers(*db, 1, 2), (std::vector<int64_t>{4, 8}));
    EXPECT_EQ(parseNumber("12"), 12);
    EXPECT_FALSE(parseNumber(""));
    EXPECT_FALSE(parseNumber("1a"));
}


// Records of every kind, as the generator of the codec's tests makes them, fetched into RC_25
// (some with columns of their own that the record does not carry, some unreadable), then
// reviewed and all taken over: each taken row equals what decoding its fetched row gives,
// column for column, re-homed. The reference decodes whole rows with the database's own
// lookups, apart from the review's code.
struct ReviewOfGeneratedRecords : Review {
    codec::test::Fixture fx;
    codec::CodecEnvironment reviewEnv;  // settings, code page and lists; lookups from the tables

    void SetUp() override {
        for (auto [no, kind, digits] : {std::tuple{1, 1, 4}, {1, 0, 6}, {2, 1, 8}, {2, 0, 3}}) {
            fx.flexi.rows[{no, kind}] = digits;
            db->exec("INSERT INTO KVR_14 (FBar_No, FBar_EANorITF, FBar_ItemDigitNo) VALUES (" + std::to_string(no) +
                     "," + std::to_string(kind) + "," + std::to_string(digits) + ")");
        }
        reviewEnv = fx.env();
        reviewEnv.inheritance = nullptr;
        reviewEnv.flexiBarcodes = nullptr;
    }

    // `count` generated records (and the fullest shape), every seventh made unreadable, every
    // third with columns of its own.
    void fetchGenerated(int count, uint32_t seed) {
        store::Transaction tx(*db);  // one write to disk, not one a row
        codec::EncoderContext ctx(fx.env());
        codec::test::PluRowGenerator gen(seed);
        for (int i = 0; i <= count; ++i) {
            codec::PluRow row = i == count ? gen.full(0) : gen.next(0);
            if (i % 10 == 5) row.PLU_No = 4242;  // numbers that repeat
            ASSERT_TRUE(codec::encodePluRecord(ctx, row, false).ok()) << i;
            std::vector<uint8_t> rec = *row.KVRBinData;
            if (i % 7 == 3) rec[12] = 0x3A;  // a price nibble above 9
            putFetched(*db, rec);
            if (i % 3 == 1)
                db->exec("UPDATE RC_25 SET PLU_Tare=" + std::to_string(i) + ", SECT_No=5, PLU_EANItemCode='9" +
                         std::to_string(i) + "', PLU_Commodity=x'010141', PLU_CommodityFirst='old', ST_No=8 "
                         "WHERE rowid=(SELECT max(rowid) FROM RC_25)");
        }
        tx.commit();
    }

    struct Expected {
        int64_t rowid;
        codec::PluRow row;
    };
    // Every row of RC_25 read whole and decoded; the readable ones with Is_Selected 0, by number
    // and then table order.
    std::vector<Expected> reference() {
        store::DbInheritance inheritance(*db);
        store::DbFlexi flexi(*db);
        codec::CodecEnvironment env = reviewEnv;
        env.inheritance = &inheritance;
        env.flexiBarcodes = &flexi;
        store::RowMapper<codec::PluRow> map(*db, "RC_25", codec::pluColumns());
        std::vector<Expected> out;
        auto st = db->prepare(map.selectSql());
        while (st->step()) {
            Expected e{st->columnInt(0), {}};
            map.read(*st, e.row);
            if (codec::decodePluRecord(env, e.row).outcome == codec::DecodeOutcome::Decoded && e.row.Is_Selected == 0)
                out.push_back(std::move(e));
        }
        std::stable_sort(out.begin(), out.end(),
                         [](const Expected& a, const Expected& b) { return a.row.PLU_No < b.row.PLU_No; });
        return out;
    }
    std::vector<codec::PluRow> taken(int64_t store) {
        store::RowMapper<codec::PluRow> map(*db, "KVR_25", codec::pluColumns());
        std::vector<codec::PluRow> out;
        auto st = db->prepare(map.selectSql("ST_No=" + std::to_string(store)));
        while (st->step()) map.read(*st, out.emplace_back());
        return out;
    }
    static std::string diff(const codec::PluRow& a, const codec::PluRow& b) {
        std::ostringstream out;
        for (const auto& c : codec::pluColumns()) {
            const bool same = c.kind == codec::ColumnKind::Number ? a.*c.number == b.*c.number
                              : c.kind == codec::ColumnKind::Text ? a.*c.text == b.*c.text
                                                                  : a.*c.bytes == b.*c.bytes;
            if (!same) out << c.name << " ";
        }
        return out.str();
    }
};

TEST_F(ReviewOfGeneratedRecords, TakeOverIsColumnForColumnWhatDecodingGives) {
    fetchGenerated(300, 2024);
    const std::vector<Expected> expected = reference();
    ASSERT_GT(expected.size(), 200u);

    ReviewSet set(*db, reviewEnv);
    const DecodeReport report = set.load();
    EXPECT_EQ(report.total, 301);
    ASSERT_EQ(set.size(), static_cast<long>(expected.size()));
    EXPECT_EQ(report.decoded, set.size());
    EXPECT_EQ(report.unreadable.size(), static_cast<size_t>(report.total - set.size()));
    for (long i = 0; i < set.size(); ++i) {
        ASSERT_EQ(set.rowIdAt(i), expected[static_cast<size_t>(i)].rowid) << "position " << i;
        set.setMarked(i, true);
    }
    // The tabs of a few rows were looked at: that leaves the result alone.
    for (long i : {0L, 17L, set.size() - 1}) ASSERT_TRUE(set.storeDecoded(i));

    for (auto [store, group] : {std::pair{3, 44}, {4, 997}}) {
        const TakeOverResult r = takeOverMarked(set, {std::to_string(store), std::to_string(group), false});
        ASSERT_TRUE(r.ok()) << r.reason;
        EXPECT_EQ(r.added, set.size());
        const std::vector<codec::PluRow> got = taken(store);
        ASSERT_EQ(got.size(), expected.size());
        for (size_t i = 0; i < got.size(); ++i) {
            codec::PluRow want = expected[i].row;
            want.ST_No = store;
            want.PLU_MG = group;
            if (group != kNoMainGroup) want.Stat2_MGCode = 1;
            ASSERT_EQ(got[i], want) << "row " << i << " differs in: " << diff(got[i], want);
        }
    }
}

TEST_F(ReviewOfGeneratedRecords, GridRowsAndTabsShowWhatDecodingGives) {
    fetchGenerated(120, 99);
    const std::vector<Expected> expected = reference();
    ReviewSet set(*db, reviewEnv);
    set.load();
    ASSERT_EQ(set.size(), static_cast<long>(expected.size()));
    store::RowMapper<codec::PluRow> map(*db, "RC_25", codec::pluColumns());
    store::Transaction tx(*db);
    for (long i = 0; i < set.size(); ++i) {
        const codec::PluRow& want = expected[static_cast<size_t>(i)].row;
        const ReviewRow r = set.row(i);
        EXPECT_EQ(r.pluNo, want.PLU_No) << i;
        EXPECT_EQ(r.price, want.PLU_UPrice) << i;
        EXPECT_EQ(r.itemCode, want.PLU_EANItemCode.value_or("")) << i;
        EXPECT_EQ(r.name, want.PLU_Commodity ? want.PLU_CommodityFirst.value_or("") : "") << i;
        // What the tabs read.
        ASSERT_TRUE(set.storeDecoded(i));
        auto st = db->prepare(map.selectSql("rowid=" + std::to_string(set.rowIdAt(i))));
        ASSERT_TRUE(st->step());
        codec::PluRow shown;
        map.read(*st, shown);
        ASSERT_EQ(shown, want) << "position " << i << " differs in: " << diff(shown, want);
    }
}


TEST_F(ReviewOfGeneratedRecords, ManyBatchesKeepTableOrderPositionsAndColumns) {
    fetchGenerated(40, 7);
    // 41 rows doubled six times: 2,624 rows, the reading and decoding pass over three batches.
    for (int i = 0; i < 6; ++i) db->exec("INSERT INTO RC_25 SELECT * FROM RC_25");
    const std::vector<Expected> expected = reference();
    std::vector<long> unreadableExpected;
    {
        store::DbFlexi flexi(*db);
        codec::CodecEnvironment env = reviewEnv;
        env.flexiBarcodes = &flexi;
        store::RowMapper<codec::PluRow> map(*db, "RC_25", codec::pluColumns());
        auto st = db->prepare(map.selectSql());
        long position = 0;
        codec::PluRow row;
        while (st->step()) {
            ++position;
            map.read(*st, row);
            if (codec::decodePluRecord(env, row).outcome != codec::DecodeOutcome::Decoded)
                unreadableExpected.push_back(position);
        }
    }
    ReviewSet set(*db, reviewEnv);
    const DecodeReport report = set.load();
    EXPECT_EQ(report.total, 2624);
    std::vector<long> unreadable;
    for (const auto& u : report.unreadable) unreadable.push_back(u.position);
    EXPECT_EQ(unreadable, unreadableExpected);
    ASSERT_EQ(set.size(), static_cast<long>(expected.size()));
    for (long i = 0; i < set.size(); ++i) {
        ASSERT_EQ(set.rowIdAt(i), expected[static_cast<size_t>(i)].rowid) << "position " << i;
        if (i % 3 != 0) set.setMarked(i, true);
    }
    const TakeOverResult r = takeOverMarked(set, {"6", "44", false});
    ASSERT_TRUE(r.ok()) << r.reason;
    EXPECT_EQ(r.added, set.markedCount());
    const std::vector<codec::PluRow> got = taken(6);
    ASSERT_EQ(static_cast<long>(got.size()), set.markedCount());
    size_t k = 0;
    for (long i = 0; i < set.size(); ++i) {
        if (!set.marked(i)) continue;
        codec::PluRow want = expected[static_cast<size_t>(i)].row;
        want.ST_No = 6;
        want.PLU_MG = 44;
        want.Stat2_MGCode = 1;
        ASSERT_EQ(got[k], want) << "position " << i << " differs in: " << diff(got[k], want);
        ++k;
    }
}

}  // namespace
