// The rows of a sheet: reading, saving a key with its three pages, clearing, the automatic fill.
#include <gtest/gtest.h>

#include "presetkey/key_value.h"
#include "sheet_support.h"

namespace pk = brindale::presetkey;
using namespace brindale;
using namespace brindale::testing;

namespace {

class Sheet : public ::testing::Test {
protected:
    MirrorChain chain;
    pk::SheetRef sheet{"127.  0.  0.  2", 0, 74};

    void SetUp() override {
        chain.start();
        // Store 1: department 10 of groups 1, 2, 3; department 20 without groups; group 4 alone.
        addDept(chain, 1, 10);
        addDept(chain, 1, 20);
        for (int mg : {1, 2, 3}) addGroup(chain, 1, 10, mg);
        addGroup(chain, 1, 30, 4);
        addGroup(chain, 2, 20, 9);  // another store's group under a department number of store 1
        // PLUs entered out of order, so that the fill has to sort them.
        for (int i = 100; i >= 1; --i) addPlu(chain, 1, i * 7, (i % 4) + 1, "Item " + std::to_string(i * 7));
        addPlu(chain, 2, 3, 1, "Other store");
    }
    store::Database& db() { return chain.db(); }
    const codec::CodePage& page() { return *chain.state->codePage; }

    std::vector<std::pair<int64_t, int64_t>> numbersAndSwitches() {
        auto st = db().prepare("SELECT Number, Key_Switch FROM KVR_41 ORDER BY Number");
        std::vector<std::pair<int64_t, int64_t>> out;
        while (st->step()) out.emplace_back(st->columnInt(0), st->columnInt(1));
        return out;
    }
    store::Bytes recordOf(int64_t number) {
        auto st = db().prepare("SELECT KVRBinData FROM KVR_41 WHERE Number=" + std::to_string(number));
        return st->step() ? st->column(0).bytes() : store::Bytes{};
    }
};

}  // namespace

TEST_F(Sheet, SaveKeyWritesThreePagesWithRecordsAndReadsThemBack) {
    pk::KeyPages pages;
    pages[0] = {1234, "Apples", false};
    pages[1] = {1000012, "Total", false};
    pages[2] = {5000005, "", false};
    pk::saveKey(db(), sheet, 10, pages);
    EXPECT_EQ(numbersAndSwitches(), (std::vector<std::pair<int64_t, int64_t>>{
                                        {10, 1234}, {84, 12}, {158, 83886085}}));
    auto rec = recordOf(158);
    ASSERT_EQ(rec.size(), 45u);
    EXPECT_EQ((std::vector<uint8_t>(rec.begin(), rec.begin() + 4)), (std::vector<uint8_t>{0, 0, 0x05, 0x22}));
    auto back = pk::readKey(db(), sheet, 10);
    EXPECT_EQ(back[0].value, 1234);
    EXPECT_EQ(back[0].name, "Apples");
    EXPECT_EQ(back[1].value, 1000012);
    EXPECT_EQ(back[2].value, 5000005);
    EXPECT_EQ(back[2].name, " ");  // an empty name is stored as one blank
    auto whole = pk::readSheet(db(), sheet);
    ASSERT_EQ(whole.size(), 74u);
    EXPECT_EQ(whole[9][1].value, 1000012);
    EXPECT_EQ(whole[8][0].value, 0);
}

TEST_F(Sheet, AKeyWithOnlyPageTwoHasOneRowAtKeyNumPlusK) {
    pk::KeyPages pages;
    pages[1] = {42, "Pears", false};
    pk::saveKey(db(), sheet, 5, pages);
    EXPECT_EQ(numbersAndSwitches(), (std::vector<std::pair<int64_t, int64_t>>{{79, 42}}));
    auto whole = pk::readSheet(db(), sheet);
    EXPECT_EQ(whole[4][0].value, 0);
    EXPECT_EQ(whole[4][1].name, "Pears");
    EXPECT_EQ(whole[4][2].value, 0);
}

TEST_F(Sheet, AnEmptiedPageIsDeletedOnSaveAndUpdatesKeepOneRow) {
    pk::KeyPages pages;
    pages[0] = {7, "Seven", false};
    pages[2] = {2000001, "Clerk 1", false};
    pk::saveKey(db(), sheet, 1, pages);
    pages[0] = {14, "Fourteen", false};
    pages[2] = {};
    pk::saveKey(db(), sheet, 1, pages);
    EXPECT_EQ(numbersAndSwitches(), (std::vector<std::pair<int64_t, int64_t>>{{1, 14}}));
    EXPECT_EQ(pk::readKey(db(), sheet, 1)[0].name, "Fourteen");
}

TEST_F(Sheet, AValueOfNoKindIsRefusedBeforeAnythingIsWritten) {
    pk::KeyPages pages;
    pages[0] = {7, "Seven", false};
    pages[1] = {6000001, "?", false};
    EXPECT_THROW(pk::saveKey(db(), sheet, 1, pages), std::invalid_argument);
    EXPECT_EQ(count(db(), "1"), 0);
    EXPECT_THROW(pk::saveKey(db(), sheet, 75, {}), std::invalid_argument);
}

TEST_F(Sheet, ARowOfAForeignStatusShowsEmptyAndIsKeptUnlessItsPageIsSaved) {
    chain.add("KVR_41", {{"Scale_IP", store::Value(sheet.scaleIP)}, {"PSK_Layout", store::Value(0)},
                         {"Number", store::Value(2)}, {"Status", store::Value(3)},
                         {"Key_Switch", store::Value(9)}, {"Name", store::Value("odd")}});
    auto pages = pk::readKey(db(), sheet, 2);
    EXPECT_EQ(pages[0].value, 0);
    EXPECT_EQ(pages[0].name, "");
    EXPECT_TRUE(pages[0].foreign);
    EXPECT_EQ(pk::readSheet(db(), sheet)[1][0].value, 0);
    pages[1] = {55, "Page two", false};
    pk::saveKey(db(), sheet, 2, pages);  // page 1 untouched: kept
    EXPECT_EQ(count(db(), "Number=2 AND Status=3"), 1);
    pages[0].foreign = false;  // the operator emptied page 1 and saved
    pk::saveKey(db(), sheet, 2, pages);
    EXPECT_EQ(count(db(), "Number=2"), 0);
    EXPECT_EQ(count(db(), "Number=76"), 1);
}

TEST_F(Sheet, ClearRemovesOnlyThisSheet) {
    pk::KeyPages pages;
    pages[0] = {1, "a", false};
    pk::saveKey(db(), sheet, 3, pages);
    pk::saveKey(db(), {sheet.scaleIP, 8, 120}, 3, pages);
    pk::saveKey(db(), {"127.  0.  0.  3", 0, 74}, 3, pages);
    int steps = 0;
    pk::clearPresetKeys(db(), sheet, [&] { ++steps; });
    EXPECT_EQ(steps, 1);
    EXPECT_EQ(count(db(), "1"), 2);
    EXPECT_EQ(count(db(), "Scale_IP='" + sheet.scaleIP + "' AND PSK_Layout=0"), 0);
}

TEST_F(Sheet, TheFillQueryAsBuilt) {
    EXPECT_EQ(pk::autoFillQuery(1, pk::FillScope::Store, {}), "Select * from KVR_25 Where ST_No =1 ORDER BY PLU_No");
    EXPECT_EQ(pk::autoFillQuery(2, pk::FillScope::MainGroup, {4}),
              "Select * from KVR_25 Where ST_No =2 and PLU_MG=4 ORDER BY PLU_No");
    EXPECT_EQ(pk::autoFillQuery(1, pk::FillScope::Department, {1, 2, 3}),
              "Select * from KVR_25 Where ST_No =1 and (PLU_MG = 1 or PLU_MG = 2 or PLU_MG = 3) ORDER BY PLU_No");
}

TEST_F(Sheet, FillWholeStoreAscendingPageOneOnlyOldSheetGoneOnAllPages) {
    pk::KeyPages old;
    old[0] = {1, "old1", false};
    old[1] = {2, "old2", false};
    old[2] = {3, "old3", false};
    pk::saveKey(db(), sheet, 74, old);
    auto r = pk::autoFill(db(), sheet, 1, pk::FillScope::Store, 0, page());
    EXPECT_FALSE(r.refused);
    EXPECT_EQ(r.filled, 74);  // 100 PLUs, 74 keys: the rest have no key
    auto rows = numbersAndSwitches();
    ASSERT_EQ(rows.size(), 74u);
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].first, static_cast<int64_t>(i + 1));
        EXPECT_EQ(rows[i].second, static_cast<int64_t>(7 * (i + 1)));
    }
    auto sheetRows = pk::readSheet(db(), sheet);
    EXPECT_EQ(sheetRows[0][0].name, "Item 7");
    EXPECT_EQ(sheetRows[73][0].name, "Item 518");
    EXPECT_EQ(sheetRows[73][1].value, 0);
    EXPECT_EQ(sheetRows[73][2].value, 0);
    auto rec = recordOf(74);
    EXPECT_EQ((std::vector<uint8_t>(rec.begin(), rec.begin() + 11)),
              (std::vector<uint8_t>{0, 0, 0, 0x74, 0, 0x2D, 0, 0, 0x05, 0x18, 0}));
}

TEST_F(Sheet, FillADepartmentOfThreeMainGroups) {
    auto r = pk::autoFill(db(), sheet, 1, pk::FillScope::Department, 10, page());
    EXPECT_FALSE(r.refused);
    // Groups 1..3 are (i % 4) + 1 for i % 4 in 0..2: every PLU of i % 4 != 3, ascending.
    std::vector<std::pair<int64_t, int64_t>> want;
    for (int i = 1; i <= 100 && want.size() < 74; ++i)
        if (i % 4 != 3) want.emplace_back(static_cast<int64_t>(want.size() + 1), i * 7);
    EXPECT_EQ(numbersAndSwitches(), want);
}

TEST_F(Sheet, FillOneMainGroupFewerPlusThanKeys) {
    auto r = pk::autoFill(db(), sheet, 1, pk::FillScope::MainGroup, 4, page());
    EXPECT_EQ(r.filled, 25);
    auto rows = numbersAndSwitches();
    ASSERT_EQ(rows.size(), 25u);
    EXPECT_EQ(rows.front().second, 21);
    EXPECT_EQ(rows.back().second, 693);  // i = 99
}

TEST_F(Sheet, ADepartmentWithoutMainGroupsIsRefusedAndTheSheetKept) {
    pk::KeyPages old;
    old[2] = {3, "kept", false};
    pk::saveKey(db(), sheet, 1, old);
    EXPECT_TRUE(pk::mainGroupsOf(db(), 1, 20).empty());  // store 2's group 9 does not count
    auto r = pk::autoFill(db(), sheet, 1, pk::FillScope::Department, 20, page());
    EXPECT_TRUE(r.refused);
    EXPECT_EQ(numbersAndSwitches(), (std::vector<std::pair<int64_t, int64_t>>{{149, 3}}));
}

TEST_F(Sheet, BrowseIdsInPluOrderAndOneRowByIdWithItsFirstLine) {
    auto ids = pk::storePluIds(db(), 1);
    ASSERT_EQ(ids.size(), 100u);
    auto first = pk::readPlu(db(), ids.front(), page());
    EXPECT_EQ(first.PLU_No, 7);
    EXPECT_EQ(first.name, "Item 7");
    EXPECT_EQ(pk::readPlu(db(), ids.back(), page()).PLU_No, 700);
}
