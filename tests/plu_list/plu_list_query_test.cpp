// The list's query text for each node kind, the rows it gives, and the keyset access the list
// model reads through.
#include <gtest/gtest.h>

#include "hierarchy/fixture.h"
#include "plu/plu_list_query.h"
#include "plu/ui/plu_list_model.h"
#include "store/recordset.h"

using namespace brindale;
using brindale::plu::pluListQuery;

namespace {

struct Chain : ::testing::Test {
    std::unique_ptr<brindale::testing::TempApp> app = brindale::testing::makeHierarchyApp(false);
    std::unique_ptr<store::Database> db = brindale::testing::makeDatabase(*app);

    void plu(int st, int no, int mg, int64_t price = 100, const std::string& name = "x") {
        auto& s = db->cached(
            "INSERT INTO KVR_25 (ST_No, PLU_No, PLU_MG, PLU_UPrice, PLU_CommodityFirst, Is_Selected) VALUES (?1,?2,?3,?4,?5,0)");
        s.bind(1, store::Value(st));
        s.bind(2, store::Value(no));
        s.bind(3, store::Value(mg));
        s.bind(4, store::Value(price));
        s.bind(5, store::Value(name));
        s.step();
        s.reset();
    }
    void group(int st, int dp, int mg) {
        db->exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No, MG_Name) VALUES (" + std::to_string(st) + "," +
                 std::to_string(dp) + "," + std::to_string(mg) + ",'g')");
    }
    std::vector<int64_t> numbers(const std::string& query) {
        std::vector<int64_t> out;
        store::Recordset rs(*db, query);
        for (rs.moveFirst(); !rs.eof(); rs.moveNext()) out.push_back(rs.intValue("PLU_No"));
        return out;
    }
};

}  // namespace

TEST_F(Chain, StoreListsItsPlusInNumberOrder) {
    plu(1, 30, 1);
    plu(1, 10, 2);
    plu(2, 20, 1);
    plu(1, 20, 0);
    const std::string q = pluListQuery(*db, plu::NodeStore, 1, 0);
    EXPECT_EQ(q, "Select * from KVR_25 Where ST_No =1 ORDER BY PLU_No");
    EXPECT_EQ(numbers(q), (std::vector<int64_t>{10, 20, 30}));
}

TEST_F(Chain, DepartmentWithMainGroupsListsTheirPlus) {
    group(1, 5, 11);
    group(1, 5, 12);
    group(1, 6, 13);
    plu(1, 1, 11);
    plu(1, 2, 13);
    plu(1, 3, 12);
    plu(1, 4, 0);
    const std::string q = pluListQuery(*db, plu::NodeDepartment, 1, 5);
    EXPECT_EQ(q, "Select * from KVR_25 Where ST_No =1 and (PLU_MG = 11 or PLU_MG = 12) ORDER BY PLU_No");
    EXPECT_EQ(numbers(q), (std::vector<int64_t>{1, 3}));
}

TEST_F(Chain, DepartmentWithoutMainGroupsListsOnlyMainGroupZero) {
    group(1, 6, 13);
    plu(1, 1, 13);
    plu(1, 2, 0);
    plu(1, 3, 7);
    plu(2, 4, 0);
    const std::string q = pluListQuery(*db, plu::NodeDepartment, 1, 5);
    EXPECT_EQ(q, "Select * from KVR_25 Where ST_No =1 and PLU_MG = 0 ORDER BY PLU_No");
    // Not all PLUs of the store: main group 0 only.
    EXPECT_EQ(numbers(q), (std::vector<int64_t>{2}));
}

TEST_F(Chain, MainGroupListsItsPlus) {
    plu(1, 1, 13);
    plu(1, 2, 14);
    const std::string q = pluListQuery(*db, plu::NodeMainGroup, 1, 14);
    EXPECT_EQ(q, "Select * from KVR_25 Where ST_No =1 and PLU_MG = 14 ORDER BY PLU_No");
    EXPECT_EQ(numbers(q), (std::vector<int64_t>{2}));
}

TEST_F(Chain, SearchSetAlwaysGivesItsThreeBrackets) {
    db->exec("INSERT INTO SEARCH (ST_No, SH_No, SH_Name, MG_No1, MG_No2, PLU_No1, PLU_No2, PLU_UPrice1, PLU_UPrice2) "
             "VALUES (1, 2, 's', 10, 20, 100, 200, 50, 500)");
    // A range over every value is still written out.
    db->exec("INSERT INTO SEARCH (ST_No, SH_No, SH_Name, MG_No1, MG_No2, PLU_No1, PLU_No2, PLU_UPrice1, PLU_UPrice2) "
             "VALUES (1, 3, 'all', 0, 999, 0, 999999, 0, 99999999)");
    plu(1, 150, 15, 100);
    plu(1, 160, 15, 600);   // price above the range
    plu(1, 170, 25, 100);   // group above the range
    plu(1, 250, 15, 100);   // number above the range
    plu(1, 120, 10, 50);    // every bound taken inclusively
    const std::string q = pluListQuery(*db, plu::NodeSearchSet, 1, 2);
    EXPECT_EQ(q,
              "Select * from KVR_25 Where ST_No =1 and (PLU_MG >=10 and PLU_MG <=20) and (PLU_No >=100 and PLU_No "
              "<=200) and (PLU_UPrice >=50 and PLU_UPrice <=500) ORDER BY PLU_No");
    EXPECT_EQ(numbers(q), (std::vector<int64_t>{120, 150}));
    const std::string all = pluListQuery(*db, plu::NodeSearchSet, 1, 3);
    EXPECT_EQ(all,
              "Select * from KVR_25 Where ST_No =1 and (PLU_MG >=0 and PLU_MG <=999) and (PLU_No >=0 and PLU_No "
              "<=999999) and (PLU_UPrice >=0 and PLU_UPrice <=99999999) ORDER BY PLU_No");
    EXPECT_EQ(numbers(all), (std::vector<int64_t>{120, 150, 160, 170, 250}));
}

TEST_F(Chain, SearchSetWithoutItsRowListsNothing) {
    plu(1, 1, 0, 0);
    plu(1, 2, 3, 5);
    const std::string q = pluListQuery(*db, plu::NodeSearchSet, 1, 9);
    EXPECT_EQ(q,
              "Select * from KVR_25 Where ST_No =1 and (PLU_MG >=0 and PLU_MG <=0) and (PLU_No >=0 and PLU_No <=0) "
              "and (PLU_UPrice >=0 and PLU_UPrice <=0) ORDER BY PLU_No");
    EXPECT_TRUE(numbers(q).empty());
}

TEST_F(Chain, OtherColumnsAndTheMarkedCountKeepTheRows) {
    group(1, 5, 11);
    plu(1, 2, 11);
    plu(1, 1, 11);
    plu(1, 3, 12);
    db->exec("UPDATE KVR_25 SET Is_Selected=1 WHERE PLU_No IN (2, 3)");
    const std::string q = pluListQuery(*db, plu::NodeDepartment, 1, 5);
    EXPECT_EQ(plu::pluListSelect(q, "PLU_No"),
              "Select PLU_No from KVR_25 Where ST_No =1 and (PLU_MG = 11) ORDER BY PLU_No");
    EXPECT_EQ(plu::pluListMarkedCount(q),
              "Select count(*) from KVR_25 Where ST_No =1 and (PLU_MG = 11) and Is_Selected<>0");
    auto st = db->prepare(plu::pluListMarkedCount(q));
    ASSERT_TRUE(st->step());
    EXPECT_EQ(st->columnInt(0), 1);
}

TEST_F(Chain, TheIndexIsMadeOnceAndKeepsTheOrder) {
    plu(1, 3, 0);
    plu(1, 1, 0);
    plu::ensurePluListIndex(*db);
    plu::ensurePluListIndex(*db);
    auto st = db->prepare("SELECT count(*) FROM sqlite_master WHERE type='index' AND tbl_name='KVR_25'");
    ASSERT_TRUE(st->step());
    EXPECT_EQ(st->columnInt(0), 1);
    EXPECT_EQ(numbers(pluListQuery(*db, plu::NodeStore, 1, 0)), (std::vector<int64_t>{1, 3}));
}

TEST_F(Chain, KeysetGivesRowIdsByPositionAndBack) {
    plu(1, 30, 0);  // row id 1
    plu(1, 10, 0);  // row id 2
    plu(1, 20, 0);  // row id 3
    store::Recordset rs(*db, pluListQuery(*db, plu::NodeStore, 1, 0));
    ASSERT_EQ(rs.recordCount(), 3);
    EXPECT_EQ(rs.rowIdAt(0), 2);
    EXPECT_EQ(rs.rowIdAt(1), 3);
    EXPECT_EQ(rs.rowIdAt(2), 1);
    EXPECT_EQ(rs.rowIdAt(3), 0);
    EXPECT_EQ(rs.rowIdAt(-1), 0);
    EXPECT_EQ(rs.positionOf(1), 2);
    EXPECT_EQ(rs.positionOf(2), 0);
    EXPECT_EQ(rs.positionOf(99), -1);
    rs.setAbsolutePosition(2);
    EXPECT_EQ(rs.intValue("PLU_No"), 30);
    rs.setAbsolutePosition(1);
    EXPECT_EQ(rs.intValue("PLU_No"), 20);
    rs.setAbsolutePosition(7);
    EXPECT_TRUE(rs.eof());
    rs.setAbsolutePosition(-4);
    EXPECT_TRUE(rs.bof());
    // A write that goes around the recordset is seen once the current row is forgotten.
    rs.setAbsolutePosition(0);
    EXPECT_EQ(rs.intValue("Is_Selected"), 0);
    db->exec("UPDATE KVR_25 SET Is_Selected=1 WHERE rowid=2");
    rs.forgetCurrent();
    EXPECT_EQ(rs.intValue("Is_Selected"), 1);
}

