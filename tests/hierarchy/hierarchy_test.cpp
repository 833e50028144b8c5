// The chain's tables and keys without any window.
#include <gtest/gtest.h>

#include <set>

#include "fixture.h"
#include "store/hierarchy.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::store;
using brindale::testing::makeDatabase;
using brindale::testing::makeHierarchyApp;

namespace {

struct Chain : ::testing::Test {
    std::unique_ptr<brindale::testing::TempApp> app = makeHierarchyApp(false);
    std::unique_ptr<Database> db = makeDatabase(*app);
    Hierarchy h{*db};
    EditRecords rec;

    void addStore(int st) {
        rec.store = defaultStore(st, "Store");
        h.saveObject(Kind::Store, {}, rec, 0);
        rec.dept = defaultStoreDept(st, "Dept");
        h.saveObject(Kind::Dept, {}, rec, 0);
        rec.mainGroup = defaultStoreMainGroup(st, "MG");
        h.saveObject(Kind::MainGroup, {}, rec, 0);
    }
    void addSection(int st, int sect) {
        rec.section = defaultSection(st, sect, "Sect");
        h.saveObject(Kind::Section, {}, rec, 0);
    }
    void addMachine(int st, int sect, const std::string& ip) {
        rec.machine = defaultMachine(st, sect);
        rec.machine.SC_IP = padAddress(ip);
        rec.machine.SC_No = "M" + ip;
        h.saveObject(Kind::Machine, {}, rec, 0);
    }
    void addDept(int st, int dp) {
        rec.dept = defaultDept(st, dp, "Dept");
        h.saveObject(Kind::Dept, {}, rec, 0);
    }
    void addMg(int st, int dp, int mg) {
        rec.mainGroup = defaultMainGroup(st, dp, mg, "MG");
        h.saveObject(Kind::MainGroup, {}, rec, 0);
    }
    void addSearch(int st, int sh) {
        rec.search = defaultSearch(st, sh, "Search");
        h.saveObject(Kind::Search, {}, rec, 0);
    }
    int countWhere(const std::string& table, const std::string& where) {
        Recordset rs(*db, "select * from " + table + " where " + where);
        return static_cast<int>(rs.recordCount());
    }
};

}  // namespace

// ---- Keys ---------------------------------------------------------------------------------------

TEST(NodeKeys, AreWrittenWithoutFillAndOneBlankBetweenParts) {
    EXPECT_EQ(storeKey(1), "STORE 1");
    EXPECT_EQ(sectionKey(1, 12), "SECT 1 12");
    EXPECT_EQ(machineKey(1, 2, "192.168.  1. 10"), "MACHINE 1 2 192.168.  1. 10");
    EXPECT_EQ(deptKey(3, 97), "DEPT 3 97");
    EXPECT_EQ(mainGroupKey(3, 97, 997), "MG 3 97 997");
    EXPECT_EQ(searchKey(3, 4), "SEARCH 3 4");
    EXPECT_EQ(rootKey("Chain"), "Chain 1");
}

TEST(NodeKeys, ParseEveryKindAndItsNumbers) {
    auto m = parseKey("MACHINE 12 3 192.168.  1. 10");
    EXPECT_EQ(m.kind, Kind::Machine);
    EXPECT_EQ(m.number(0), 12);
    EXPECT_EQ(m.number(1), 3);
    EXPECT_EQ(m.address, "192.168.  1. 10");
    auto g = parseKey("MG 5 97 997");
    EXPECT_EQ(g.kind, Kind::MainGroup);
    EXPECT_EQ(g.numbers, (std::vector<int>{5, 97, 997}));
    EXPECT_EQ(parseKey("SECT 2 7").numbers, (std::vector<int>{2, 7}));
    EXPECT_EQ(parseKey("SEARCH 2 7").kind, Kind::Search);
    EXPECT_EQ(parseKey("DEPT 2 7").kind, Kind::Dept);
    EXPECT_EQ(parseKey("STORE 31").numbers, (std::vector<int>{31}));
    EXPECT_EQ(parseKey("something").kind, Kind::None);
}

TEST(NodeKeys, RootIsKnownByItsWholeKeyEvenWhenItsNameLooksLikeAWord) {
    EXPECT_EQ(kindOfKey("STORES OF THE NORTH 1", "STORES OF THE NORTH 1"), Kind::Root);
    EXPECT_EQ(kindOfKey("STORE 1", "STORES OF THE NORTH 1"), Kind::Store);
    EXPECT_EQ(kindOfKey("MG Foods 1", "MG Foods 1"), Kind::Root);
}

TEST(MachineAddress, IsPaddedToFifteenCharactersAndSplitBack) {
    EXPECT_EQ(padAddress("192.168.1.5"), "192.168.  1.  5");
    EXPECT_EQ(padAddress("0.0.0.0"), kNoMachineAddress);
    EXPECT_EQ(padAddress(std::vector<std::string>{"10", "0", "0", "7"}), " 10.  0.  0.  7");
    EXPECT_EQ(splitAddress("192.168.  1.  5"), (std::vector<std::string>{"192", "168", "1", "5"}));
    EXPECT_EQ(padAddress("192.168.1.5").size(), 15u);
}

// ---- Barcode field rules ------------------------------------------------------------------------

TEST(BarcodeFields, FlagFIsStoredAs16AndShownAsFAgain) {
    EXPECT_EQ(flagValue("F"), 16);
    EXPECT_EQ(flagText(16), "F");
    EXPECT_EQ(flagText(10), "F");
    EXPECT_EQ(flagText(9), "9");
    EXPECT_EQ(flagValue("7"), 7);
}

TEST(BarcodeFields, BarFlagAddsNinetyForItfAndTakesItOffOnDisplay) {
    EXPECT_EQ(barFlagValue(3, "1"), 93);
    EXPECT_EQ(barFlagValue(3, "0"), 3);
    EXPECT_EQ(barFlagIndex(93), 3);
    EXPECT_EQ(barFlagIndex(90), 0);
    EXPECT_EQ(barFlagIndex(7), 7);
}

TEST(BarcodeFields, LevelAboveIsRowZeroAndStoredAs255ExceptForAStore) {
    EXPECT_EQ(levelValue(Kind::Dept, 0), 255);
    EXPECT_EQ(levelValue(Kind::Dept, 4), 3);
    EXPECT_EQ(levelIndex(Kind::MainGroup, 255), 0);
    EXPECT_EQ(levelIndex(Kind::MainGroup, 3), 4);
    EXPECT_EQ(levelValue(Kind::Store, 0), 0);
    EXPECT_EQ(levelValue(Kind::Store, 4), 4);
    EXPECT_EQ(levelIndex(Kind::Store, 4), 4);
}

TEST(BarcodeFields, ComboRowsPutTheLevelAboveFirstExceptForAStore) {
    SectionRows disp = {{"REF", "above"}, {"E0", "none"}, {"E1", "one"}};
    EXPECT_EQ(barFormatRows(Kind::Store, disp), (std::vector<std::string>{"none", "one"}));
    EXPECT_EQ(barFormatRows(Kind::Section, disp), (std::vector<std::string>{"above", "none", "one"}));
    SectionRows lab = {{"F1L255", "above"}, {"F2L0", "no label"}, {"F3", "a"}, {"F4", "last"}};
    auto store = labelFormatRows(Kind::Store, lab);
    ASSERT_EQ(store.size(), 2u + 99u);
    EXPECT_EQ(store[0], "no label");
    EXPECT_EQ(store[1], "a");
    EXPECT_EQ(store[2], "1F");
    EXPECT_EQ(store.back(), "99F");
    auto dept = labelFormatRows(Kind::Dept, lab);
    ASSERT_EQ(dept.size(), 3u + 99u);
    EXPECT_EQ(dept[0], "above");
    EXPECT_EQ(dept[1], "no label");
}

// ---- Command states -----------------------------------------------------------------------------

namespace {
std::map<std::string, bool> states(const std::string& key, int view, bool children = false, int mode = 0,
                                   const std::string& root = "") {
    CommandInput in;
    in.key = key;
    in.view = view;
    in.hasChildren = children;
    in.storeMode = mode;
    in.scaleTypeIndex = 1;
    in.root = root;
    return commandStates(in);
}
std::set<std::string> onOf(const std::map<std::string, bool>& s, std::initializer_list<const char*> names) {
    std::set<std::string> on;
    for (const char* n : names)
        if (s.at(n)) on.insert(n);
    return on;
}
const std::initializer_list<const char*> kNew = {
    "menuStore", "popmenuNewStore", "menuSection", "popmenuNewSection", "cmdData", "menuMachine", "popmenuNewMachine",
    "menuDept", "menuSearch", "popmenuNewDept", "popmenuNewSearch", "menuMg", "popmenuNewMg", "popmenuProperties"};
}  // namespace

TEST(CommandStates, NewCommandsFollowTheKindAndTheView) {
    EXPECT_EQ(onOf(states("Chain 1", 1, true, 1, "Chain 1"), kNew), (std::set<std::string>{"menuStore", "popmenuNewStore"}));
    EXPECT_EQ(onOf(states("STORE 1", 1, true), kNew),
              (std::set<std::string>{"menuSection", "popmenuNewSection", "cmdData", "popmenuProperties"}));
    EXPECT_EQ(onOf(states("SECT 1 1", 1), kNew),
              (std::set<std::string>{"menuMachine", "popmenuNewMachine", "popmenuProperties"}));
    EXPECT_EQ(onOf(states("MACHINE 1 1   1.  2.  3.  4", 1), kNew), (std::set<std::string>{"popmenuProperties"}));
    EXPECT_EQ(onOf(states("STORE 1", 0, true), kNew),
              (std::set<std::string>{"menuDept", "menuSearch", "popmenuNewDept", "popmenuNewSearch",
                                     "popmenuProperties"}));
    EXPECT_EQ(onOf(states("DEPT 1 5", 0), kNew), (std::set<std::string>{"menuMg", "popmenuNewMg", "popmenuProperties"}));
    EXPECT_EQ(onOf(states("MG 1 5 6", 0), kNew), (std::set<std::string>{"popmenuProperties"}));
    EXPECT_EQ(onOf(states("SEARCH 1 2", 0), kNew), (std::set<std::string>{"popmenuProperties"}));
}

TEST(CommandStates, SingleStoreModeStoreCannotBeDeleted) {
    auto single = states("STORE 1", 1, false, 0);
    EXPECT_FALSE(single.at("menuDelete"));
    EXPECT_FALSE(single.at("popmenuDelete"));
    auto multi = states("STORE 1", 1, false, 1, "Chain 1");
    EXPECT_TRUE(multi.at("menuDelete"));
}

TEST(CommandStates, SectionWithMachinesCannotBeDeletedUntilTheyAreGone) {
    EXPECT_FALSE(states("SECT 1 1", 1, true).at("menuDelete"));
    EXPECT_FALSE(states("SECT 1 1", 1, true).at("popmenuDelete"));
    EXPECT_TRUE(states("SECT 1 1", 1, false).at("menuDelete"));
    EXPECT_TRUE(states("SECT 1 1", 1, false).at("popmenuDelete"));
}

TEST(CommandStates, KeysEndingIn97AreProtectedForDepartmentsAndMainGroups) {
    EXPECT_FALSE(states("DEPT 1 97", 0).at("menuDelete"));
    EXPECT_FALSE(states("MG 1 97 997", 0).at("menuDelete"));
    EXPECT_FALSE(states("MG 1 5 197", 0).at("menuDelete"));  // the tail alone is tested
    EXPECT_FALSE(states("MG 1 5 97", 0).at("popmenuDelete"));
    EXPECT_TRUE(states("MG 1 97 5", 0).at("menuDelete"));
    EXPECT_TRUE(states("DEPT 1 96", 0).at("menuDelete"));
    EXPECT_TRUE(states("SEARCH 1 97", 0).at("menuDelete"));  // only departments and main groups
}

TEST(CommandStates, RootHasNoPropertiesAndNoDelete) {
    auto s = states("Chain 1", 1, false, 1, "Chain 1");
    EXPECT_FALSE(s.at("menuProperties"));
    EXPECT_FALSE(s.at("menuDelete"));
    EXPECT_TRUE(states("MG 1 2 3", 0).at("menuProperties"));
}

TEST(CommandStates, MenusFollowTheViewAndDownloadsTheKind) {
    auto store = states("MACHINE 1 1   1.  2.  3.  4", 1);
    EXPECT_TRUE(store.at("menuEditPresetKey"));
    EXPECT_FALSE(store.at("menuEditLabelFormat"));
    EXPECT_FALSE(store.at("menuEditFlexiBarcode"));
    EXPECT_FALSE(states("SECT 1 1", 1).at("menuEditPresetKey"));
    auto data = states("DEPT 1 5", 0);
    EXPECT_TRUE(data.at("menuEditLabelFormat"));
    EXPECT_FALSE(data.at("menuEditPresetKey"));
    EXPECT_TRUE(data.at("menuEditReportFormat"));
    EXPECT_TRUE(data.at("menuDownloadDept"));
    EXPECT_FALSE(data.at("menuDownloadMG"));
    EXPECT_TRUE(states("MG 1 5 6", 0).at("popmenuDownloadMG"));
    CommandInput alder;
    alder.key = "DEPT 1 5";
    alder.view = 0;
    alder.scaleTypeIndex = 0;
    EXPECT_FALSE(commandStates(alder).at("menuEditReportFormat"));
}

// ---- Numbers for new objects --------------------------------------------------------------------

TEST_F(Chain, NewDepartmentNumberFillsOnlyTheFirstGap) {
    for (int dp : {4, 1, 2}) addDept(1, dp);
    Selection sel;
    EXPECT_EQ(h.newNumber(Kind::Dept, "STORE 1", sel), 3);
    EXPECT_EQ(sel.store, 1);
    for (int dp : {2, 3}) addDept(2, dp);
    EXPECT_EQ(h.newNumber(Kind::Dept, "STORE 2", sel), 1);
}

TEST_F(Chain, NewMainGroupNumberWalksTheWholeStore) {
    addMg(1, 5, 1);
    addMg(1, 6, 2);
    Selection sel;
    EXPECT_EQ(h.newNumber(Kind::MainGroup, "DEPT 1 5", sel), 3);
    EXPECT_EQ(sel.store, 1);
    EXPECT_EQ(sel.dept, 5);
}

TEST_F(Chain, NewStoreSectionAndSearchNumbersFollowTheRowAddedLast) {
    Selection sel;
    EXPECT_EQ(h.newNumber(Kind::Store, "", sel), 1);
    addStore(4);
    addStore(2);
    EXPECT_EQ(h.newNumber(Kind::Store, "STORE 2", sel), 3);
    EXPECT_EQ(h.newNumber(Kind::Section, "STORE 2", sel), 1);
    addSection(2, 6);
    addSection(2, 3);
    EXPECT_EQ(h.newNumber(Kind::Section, "STORE 2", sel), 4);
    addSearch(2, 5);
    EXPECT_EQ(h.newNumber(Kind::Search, "STORE 2", sel), 6);
    EXPECT_EQ(h.newNumber(Kind::Machine, "SECT 2 6", sel), 1);
    EXPECT_EQ(sel.section, 6);
    EXPECT_EQ(sel.address, kNoMachineAddress);
}

// ---- Save, read, delete -------------------------------------------------------------------------

TEST_F(Chain, StoreNumberChangedFrom1To5MovesEverythingBelowIt) {
    addStore(1);
    addStore(2);
    addSection(1, 1);
    addMachine(1, 1, "10.0.0.1");
    addMachine(1, 1, "10.0.0.2");
    addDept(1, 3);
    addMg(1, 3, 4);
    addSearch(1, 1);
    ASSERT_TRUE(h.readObject(Kind::Store, Selection{.store = 1}, rec));
    rec.store.ST_No = 5;
    h.saveObject(Kind::Store, Selection{.store = 1}, rec, 1);
    for (const char* t : {"SECT", "SCALE", "KVR_20", "KVR_23"}) {
        EXPECT_EQ(countWhere(t, "ST_No=1"), 0) << t;
        EXPECT_GT(countWhere(t, "ST_No=5"), 0) << t;
    }
    EXPECT_EQ(countWhere("STORE", "ST_No=5"), 1);
    EXPECT_EQ(countWhere("SCALE", "ST_No=5"), 2);
    EXPECT_EQ(countWhere("KVR_20", "ST_No=5"), 2);
    EXPECT_EQ(countWhere("KVR_23", "ST_No=5"), 2);
    // Store 2 keeps its own; search sets are not among the tables that follow.
    EXPECT_EQ(countWhere("KVR_20", "ST_No=2"), 1);
    EXPECT_EQ(countWhere("SEARCH", "ST_No=1"), 1);
}

TEST_F(Chain, SectionAndDepartmentNumbersPassDown) {
    addStore(1);
    addSection(1, 1);
    addSection(1, 2);
    addMachine(1, 1, "10.0.0.1");
    addMachine(1, 2, "10.0.0.2");
    ASSERT_TRUE(h.readObject(Kind::Section, Selection{.store = 1, .section = 1}, rec));
    rec.section.SECT_No = 7;
    h.saveObject(Kind::Section, Selection{.store = 1, .section = 1}, rec, 1);
    EXPECT_EQ(countWhere("SCALE", "SECT_No=7"), 1);
    EXPECT_EQ(countWhere("SCALE", "SECT_No=2"), 1);

    addDept(1, 3);
    addMg(1, 3, 4);
    addMg(1, 3, 5);
    ASSERT_TRUE(h.readObject(Kind::Dept, Selection{.store = 1, .dept = 3}, rec));
    rec.dept.DP_No = 8;
    h.saveObject(Kind::Dept, Selection{.store = 1, .dept = 3}, rec, 1);
    EXPECT_EQ(countWhere("KVR_23", "DP_No=8"), 2);
    EXPECT_EQ(countWhere("KVR_23", "DP_No=3"), 0);
}

TEST_F(Chain, RecordsAreRebuiltForExactlyTheChangedDepartmentAndMainGroupRows) {
    addStore(1);
    addStore(2);
    addDept(1, 3);
    addMg(1, 3, 4);
    addMg(1, 97, 5);
    std::vector<std::string> calls;
    h.setRecordBuilder([&](const std::string& table, Recordset& row) {
        const bool dept = table == "KVR_20";
        int number = static_cast<int>(row.intValue(dept ? "DP_No" : "MG_No"));
        calls.push_back(table + " " + std::to_string(row.intValue("ST_No")) + " " + std::to_string(number));
        row.setValue("KVRBinData", Bytes{static_cast<uint8_t>(number & 0xff)});
    });
    // A department's number: its own row and its main groups.
    ASSERT_TRUE(h.readObject(Kind::Dept, Selection{.store = 1, .dept = 3}, rec));
    rec.dept.DP_No = 6;
    h.saveObject(Kind::Dept, Selection{.store = 1, .dept = 3}, rec, 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"KVR_20 1 6", "KVR_23 1 4"}));
    Recordset mg(*db, "select * from KVR_23 where MG_No=4");
    ASSERT_FALSE(mg.eof());
    EXPECT_EQ(mg.value("KVRBinData").bytes(), Bytes{4});

    // A store's number: every department and main group of the store, nothing of store 2.
    calls.clear();
    ASSERT_TRUE(h.readObject(Kind::Store, Selection{.store = 1}, rec));
    rec.store.ST_No = 9;
    h.saveObject(Kind::Store, Selection{.store = 1}, rec, 1);
    std::multiset<std::string> got(calls.begin(), calls.end());
    EXPECT_EQ(got, (std::multiset<std::string>{"KVR_20 9 97", "KVR_20 9 6", "KVR_23 9 997", "KVR_23 9 4",
                                               "KVR_23 9 5"}));

    // A section or machine change touches no record; a new department builds its own.
    calls.clear();
    addSection(9, 1);
    EXPECT_TRUE(calls.empty());
    addDept(9, 12);
    EXPECT_EQ(calls, (std::vector<std::string>{"KVR_20 9 12"}));
}

TEST_F(Chain, ReadObjectFindsEachKindAndNullDestinationReadsEmpty) {
    addStore(1);
    addSection(1, 2);
    addMachine(1, 2, "10.0.0.9");
    {
        Recordset rs(*db, "SCALE");
        rs.setValue("SC_Dest", "Null");
        rs.update();
    }
    EditRecords r;
    ASSERT_TRUE(h.readObject(Kind::Machine, Selection{.store = 1, .section = 2, .address = padAddress("10.0.0.9")}, r));
    EXPECT_EQ(r.machine.SC_No, "M10.0.0.9");
    EXPECT_EQ(r.machine.SC_Dest, "");
    EXPECT_EQ(r.machine.SC_Used, 1);
    EXPECT_FALSE(h.readObject(Kind::Machine, Selection{.store = 1, .section = 3, .address = padAddress("10.0.0.9")}, r));
    ASSERT_TRUE(h.readObject(Kind::MainGroup, Selection{.store = 1, .dept = 97, .mainGroup = 997}, r));
    EXPECT_EQ(r.mainGroup.bar.barformat, 255);
    EXPECT_EQ(r.mainGroup.bar.LabFormat, 255);
    EXPECT_EQ(r.mainGroup.MG_Name, "MG997");
}

TEST_F(Chain, FlagFRoundTripsThroughTheTable) {
    addStore(1);
    ASSERT_TRUE(h.readObject(Kind::Store, Selection{.store = 1}, rec));
    rec.store.bar.Flag1 = flagValue("F");
    h.saveObject(Kind::Store, Selection{.store = 1}, rec, 1);
    EditRecords back;
    ASSERT_TRUE(h.readObject(Kind::Store, Selection{.store = 1}, back));
    EXPECT_EQ(back.store.bar.Flag1, 16);
    EXPECT_EQ(flagText(back.store.bar.Flag1), "F");
}

TEST_F(Chain, DuplicatesByKind) {
    addStore(1);
    addStore(2);
    addSection(1, 1);
    addSection(2, 1);
    addMachine(2, 1, "10.0.0.1");
    addDept(1, 5);
    addMg(1, 5, 7);
    // Every store has department 97.
    EXPECT_TRUE(h.isDuplicate(Kind::Dept, Selection{.store = 1, .dept = 97}));
    EXPECT_FALSE(h.isDuplicate(Kind::Dept, Selection{.store = 1, .dept = 6}));
    // A machine address is unique in the whole table.
    EXPECT_TRUE(h.isDuplicate(Kind::Machine, Selection{.store = 1, .section = 1, .address = padAddress("10.0.0.1")}));
    EXPECT_FALSE(h.isDuplicate(Kind::Machine, Selection{.address = padAddress("10.0.0.2")}));
    // A main group number is unique in the store, not only in the department.
    EXPECT_TRUE(h.isDuplicate(Kind::MainGroup, Selection{.store = 1, .dept = 97, .mainGroup = 7}));
    EXPECT_FALSE(h.isDuplicate(Kind::MainGroup, Selection{.store = 2, .dept = 5, .mainGroup = 7}));
    EXPECT_TRUE(h.isDuplicate(Kind::Section, Selection{.store = 2, .section = 1}));
    EXPECT_FALSE(h.isDuplicate(Kind::Section, Selection{.store = 2, .section = 2}));
    EXPECT_TRUE(h.isDuplicate(Kind::Store, Selection{.store = 2}));
}

TEST_F(Chain, DeleteTakesMatchingRowsAndAStoreTakesItsDepartments) {
    addStore(1);
    addStore(2);
    addDept(1, 4);
    addMg(1, 4, 8);
    addSearch(1, 1);
    EXPECT_EQ(h.deleteObject(Kind::MainGroup, Selection{.store = 1, .dept = 4, .mainGroup = 8}), 1);
    EXPECT_EQ(countWhere("KVR_23", "ST_No=1"), 1);
    EXPECT_EQ(h.deleteObject(Kind::Store, Selection{.store = 1}), 1);
    EXPECT_EQ(h.deleteObject(Kind::Dept, Selection{.store = 1}, true), 2);
    EXPECT_EQ(h.deleteObject(Kind::MainGroup, Selection{.store = 1}, true), 1);
    EXPECT_EQ(countWhere("KVR_20", "ST_No=2"), 1);
    EXPECT_EQ(countWhere("KVR_23", "ST_No=2"), 1);
    EXPECT_EQ(countWhere("SEARCH", "ST_No=1"), 1);  // search sets of a deleted store stay
}

// ---- Tree nodes ---------------------------------------------------------------------------------

TEST_F(Chain, StoreViewSingleModeTakesTheLastStoreOnly) {
    addStore(1);
    addStore(2);
    addSection(1, 1);
    addSection(2, 1);
    addMachine(2, 1, "10.0.0.1");
    TreeContext ctx;
    std::vector<std::string> known, problems;
    auto stores = h.buildTree("STORE", ctx, known, problems);
    ASSERT_EQ(stores.size(), 2u);
    EXPECT_EQ(stores[0].key, "STORE 1");
    EXPECT_EQ(stores[0].text, "Store1");
    EXPECT_EQ(stores[0].parentKey, "");
    EXPECT_EQ(ctx.lastStoreRead, 2);
    auto sects = h.buildTree("SECT", ctx, known, problems);
    ASSERT_EQ(sects.size(), 1u);
    EXPECT_EQ(sects[0].key, "SECT 2 1");
    EXPECT_EQ(sects[0].parentKey, "STORE 2");
    auto machines = h.buildTree("SCALE", ctx, known, problems);
    ASSERT_EQ(machines.size(), 1u);
    EXPECT_EQ(machines[0].key, "MACHINE 2 1  10.  0.  0.  1");
    EXPECT_EQ(machines[0].text, "M10.0.0.1");
    EXPECT_TRUE(problems.empty());
}

TEST_F(Chain, StoreViewMultiModeHasTheRootAndReportsOrphans) {
    addStore(1);
    addSection(1, 1);
    addSection(3, 1);  // its store has no row
    TreeContext ctx;
    ctx.storeMode = 1;
    ctx.storeNameSetting = "North";
    std::vector<std::string> known, problems;
    auto stores = h.buildTree("STORE", ctx, known, problems);
    ASSERT_EQ(stores.size(), 2u);
    EXPECT_EQ(stores[0].key, "North 1");
    EXPECT_EQ(stores[0].text, "North");
    EXPECT_EQ(stores[0].kind, Kind::Root);
    EXPECT_EQ(stores[1].parentKey, "North 1");
    auto sects = h.buildTree("SECT", ctx, known, problems);
    ASSERT_EQ(sects.size(), 1u);
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].find("SECT, row 2"), std::string::npos) << problems[0];
    EXPECT_NE(problems[0].find("STORE 3"), std::string::npos) << problems[0];
}

TEST_F(Chain, DataViewShowsTheCurrentStoreOnly) {
    addStore(1);
    addStore(2);
    addDept(1, 4);
    addMg(1, 4, 8);
    addSearch(1, 1);
    addSearch(2, 1);
    TreeContext ctx;
    ctx.view = 0;
    ctx.currentStore = 1;
    std::vector<std::string> known, problems;
    auto depts = h.buildTree("KVR_20", ctx, known, problems);
    ASSERT_EQ(depts.size(), 3u);
    EXPECT_EQ(depts[0].key, "STORE 1");
    EXPECT_EQ(depts[0].text, "Store1");
    EXPECT_EQ(depts[1].key, "DEPT 1 97");
    EXPECT_EQ(depts[2].key, "DEPT 1 4");
    auto mgs = h.buildTree("KVR_23", ctx, known, problems);
    ASSERT_EQ(mgs.size(), 2u);
    EXPECT_EQ(mgs[0].key, "MG 1 97 997");
    EXPECT_EQ(mgs[0].parentKey, "DEPT 1 97");
    EXPECT_EQ(mgs[1].key, "MG 1 4 8");
    auto sets = h.buildTree("SEARCH", ctx, known, problems);
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0].key, "SEARCH 1 1");
    EXPECT_TRUE(problems.empty());
}
