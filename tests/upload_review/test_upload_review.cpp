// The review of fetched PLUs without the window: decoding RC_25 in place, the review set, the
// take-over into KVR_25.
#include <gtest/gtest.h>

#include <algorithm>

#include "hierarchy/fixture.h"
#include "store/recordset.h"
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
    // Decodes RC_25 and loads the review set with every row marked.
    ReviewSet reviewAllMarked() {
        decodeUploadedRecords(*db, codec.env());
        ReviewSet set(*db);
        set.load();
        for (long i = 0; i < set.size(); ++i) set.setMarked(i, true);
        return set;
    }
    // Every column of a KVR_25 row as text, for "unchanged" checks.
    std::string wholeRow(const std::string& where) {
        store::Recordset rs(*db, "select * from KVR_25 where " + where);
        std::string out;
        for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
            for (int i = 0; i < rs.fieldCount(); ++i) out += rs.value(i).toText() + "|";
            out += "\n";
        }
        return out;
    }
};

TEST_F(Review, DecodesEveryRowInPlaceAndReportsWhatItCannotRead) {
    fetched(30, 1299, "Pears");
    auto bad = pluRecord(codec.env(), 40, 100, "Bad");
    bad[12] = 0x3A;  // a price nibble above 9
    putFetched(*db, bad);
    fetched(10, 250, "Apples");
    auto cut = pluRecord(codec.env(), 50, 100, "Cut");
    cut.pop_back();  // the length field no longer agrees
    putFetched(*db, cut);
    putFetched(*db, {}, false);  // no record at all

    long calls = 0, lastDone = -1, lastTotal = -1;
    const DecodeReport r = decodeUploadedRecords(*db, codec.env(), [&](long done, long total) {
        ++calls;
        lastDone = done;
        lastTotal = total;
    });
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

    // The columns were written back in place.
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM RC_25 WHERE PLU_No=30"), 1299);
    EXPECT_EQ(text("SELECT PLU_CommodityFirst FROM RC_25 WHERE PLU_No=10"), "Apples");
    EXPECT_EQ(scalar("SELECT count(*) FROM RC_25 WHERE Is_Selected=1"), 3);

    // The unreadable ones are not in the review set; the others come by number.
    ReviewSet set(*db);
    set.load();
    ASSERT_EQ(set.size(), 2);
    EXPECT_EQ(set.row(0).pluNo, 10);
    EXPECT_EQ(set.row(0).name, "Apples");
    EXPECT_EQ(set.row(0).price, 250);
    EXPECT_EQ(set.row(1).pluNo, 30);
}

TEST_F(Review, ReviewRowShowsItemCodeAndNameOnlyWhenPresent) {
    db->exec("INSERT INTO RC_25 (PLU_No, PLU_UPrice, PLU_EANItemCode, PLU_CommodityFirst, PLU_Commodity) "
             "VALUES (7, 99, '12345', 'Kept', NULL)");
    db->exec("INSERT INTO RC_25 (PLU_No, PLU_UPrice, PLU_EANItemCode, PLU_CommodityFirst, PLU_Commodity) "
             "VALUES (3, 5, NULL, 'Shown', x'0105')");
    db->exec("INSERT INTO RC_25 (PLU_No, Is_Selected) VALUES (1, 1)");
    ReviewSet set(*db);
    set.load();
    ASSERT_EQ(set.size(), 2);
    EXPECT_EQ(set.row(0).pluNo, 3);
    EXPECT_EQ(set.row(0).itemCode, "");
    EXPECT_EQ(set.row(0).name, "Shown");
    EXPECT_EQ(set.row(1).itemCode, "12345");
    EXPECT_EQ(set.row(1).name, "");  // PLU_Commodity is Null
    EXPECT_EQ(set.row(5).pluNo, 0);  // beyond the set: nothing read
}

TEST_F(Review, MarksAreCountedAndToggled) {
    fetched(1, 1, "A");
    fetched(2, 2, "B");
    decodeUploadedRecords(*db, codec.env());
    ReviewSet set(*db);
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
    ReviewSet set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(set, {"2", "997", false});
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
    ReviewSet set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(set, {"1", "997", false});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 1);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE ST_No=1 AND PLU_No=500"), 5000);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1"), 3);
}

TEST_F(Review, TwoMarkedRecordsWithTheSameNumberBothCountAsNewWhenAbsentAtTheStart) {
    fetched(77, 100, "First");
    fetched(77, 200, "Second");
    ReviewSet set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(set, {"1", "997", false});
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.added, 2);
    EXPECT_TRUE(r.leftOut.empty());
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1 AND PLU_No=77"), 2);
}

TEST_F(Review, OnlyMarkedRowsAreTaken) {
    fetched(1, 1, "A");
    fetched(2, 2, "B");
    fetched(3, 3, "C");
    decodeUploadedRecords(*db, codec.env());
    ReviewSet set(*db);
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
    ReviewSet set = reviewAllMarked();
    ASSERT_TRUE(takeOverMarked(set, {"3", "44", false}).ok());
    EXPECT_EQ(scalar("SELECT ST_No FROM KVR_25 WHERE PLU_No=5"), 3);
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=5"), 44);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=5"), 1);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=6"), 1);  // now in group 44

    // Group 997: the flag stays as the scale sent it.
    db->exec("DELETE FROM KVR_25");
    ASSERT_TRUE(takeOverMarked(set, {"4", "997", false}).ok());
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=5"), 997);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=5"), 1);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=6"), 0);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=4"), 2);
}

TEST_F(Review, EveryOtherColumnIsCopiedByPosition) {
    fetched(8, 888, "Copied", 12);
    db->exec("UPDATE RC_25 SET PLU_Tare=17, SECT_No=9");  // as the decode would leave them
    ReviewSet set = reviewAllMarked();
    ASSERT_TRUE(takeOverMarked(set, {"2", "31", false}).ok());
    store::Recordset src(*db, "select * from RC_25");
    store::Recordset dst(*db, "select * from KVR_25");
    src.moveFirst();
    dst.moveFirst();
    ASSERT_EQ(src.fieldCount(), dst.fieldCount());
    for (int i = 0; i < src.fieldCount(); ++i) {
        const std::string name = dst.field(i).name;
        if (name == "ST_No" || name == "PLU_MG" || name == "Stat2_MGCode") continue;
        EXPECT_EQ(dst.value(i).toText(), src.value(i).toText()) << name;
    }
    EXPECT_EQ(scalar("SELECT PLU_Tare FROM KVR_25"), 17);
    EXPECT_EQ(scalar("SELECT SECT_No FROM KVR_25"), 9);
    EXPECT_EQ(text("SELECT hex(KVRBinData) FROM KVR_25"), text("SELECT hex(KVRBinData) FROM RC_25"));
}

TEST_F(Review, TickedSamePluOverwritesTheExistingRow) {
    existing(1, 10, 111);
    const int64_t id = scalar("SELECT rowid FROM KVR_25 WHERE PLU_No=10");
    existing(2, 10, 222);  // another store's PLU 10 is not touched
    fetched(10, 999, "Fresh");
    ReviewSet set = reviewAllMarked();
    const TakeOverResult r = takeOverMarked(set, {"1", "997", true});
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
    ReviewSet set = reviewAllMarked();
    const std::string before = wholeRow("1");
    TakeOverResult r = takeOverMarked(set, {"", "997", false});
    EXPECT_EQ(r.failure, TakeOverResult::Failure::NoStore);
    EXPECT_EQ(r.list, "combST");
    r = takeOverMarked(set, {"1", "", false});
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
    ReviewSet set = reviewAllMarked();
    const std::string before = wholeRow("1");
    const TakeOverResult r = takeOverMarked(set, {"1", "997", true});
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

}  // namespace
