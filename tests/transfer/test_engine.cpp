// End-to-end: the control against emulated scales on loopback addresses.
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <set>

#include "test_support.h"
#include "transfer/kvr_data_trans.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;
using Bytes = std::vector<uint8_t>;

namespace {

// Records the observer calls, to check what the window would show.
class Recorder : public TransferObserver {
public:
    void started(const std::vector<ScaleTarget>& s) override {
        std::lock_guard<std::mutex> l(m);
        targets = s;
    }
    void stateChanged(size_t i, ScaleState s, FailReason, const std::string&) override {
        std::lock_guard<std::mutex> l(m);
        states[i].push_back(s);
    }
    void progress(size_t i, uint64_t done, uint64_t total) override {
        std::lock_guard<std::mutex> l(m);
        last[i] = {done, total};
    }
    void finished(const TransferSummary&) override {
        std::lock_guard<std::mutex> l(m);
        ++finishedCalls;
    }
    std::mutex m;
    std::vector<ScaleTarget> targets;
    std::map<size_t, std::vector<ScaleState>> states;
    std::map<size_t, std::pair<uint64_t, uint64_t>> last;
    int finishedCalls = 0;
};

// Store 1 has scales .2 and .3 in section 1, .4 in section 2, .6 in
// section 1 but not in use; store 2 has .5.
class Chain : public ::testing::Test {
protected:
    void SetUp() override {
        db = std::make_unique<TestDb>(dir.path());
        std::vector<ScaleFarm::Member> members;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.5", "127.0.0.6"}) members.push_back({a, {}});
        farm = std::make_unique<ScaleFarm>(members);
        ASSERT_TRUE(farm->ok()) << farm->error();
        db->addScale("127.0.0.2", "S1-A", 1, 1);
        db->addScale("127.0.0.3", "S1-B", 1, 1);
        db->addScale("127.0.0.4", "S2-A", 1, 2);
        db->addScale("127.0.0.5", "OTHER", 2, 1);
        db->addScale("127.0.0.6", "SPARE", 1, 1, /*used*/ 0);

        // Selected and unselected PLUs of a mix of sizes, departments, main groups.
        for (uint32_t n = 1; n <= 30; ++n) {
            Bytes r = makePlu(n, 40 + (n * 37) % 700);
            db->addRow("KVR_25", r, n % 3 != 0 ? 1 : 0);
            if (n % 3 != 0) selectedPlus.push_back(r);
        }
        for (uint32_t n = 1; n <= 4; ++n) {
            db->addRow("KVR_20", makeDept(n), 1);
            db->addRow("KVR_23", makeMainGroup(10 + n, uint8_t(n)), 1);
        }
        db->addRow("KVR_20", makeDept(9), 0);
    }

    KVRDataTrans control(int mode, int store, int section, std::vector<std::string> tables) {
        KVRDataTrans c;
        c.setDatabasePath(db->givenPath());
        c.setStoreNumber(store);
        c.setSectionNumber(section);
        c.setTransferMode(mode);
        c.setTableList(tables);
        c.setLanguageText("");
        c.setOptions(quickOptions(farm->port()));
        return c;
    }

    static std::set<Bytes> values(const brindale::scaleemu::FileRecords& f) {
        std::set<Bytes> s;
        for (auto& [k, v] : f) s.insert(v);
        return s;
    }

    TempDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<ScaleFarm> farm;
    std::vector<Bytes> selectedPlus;
};

TEST_F(Chain, DownloadReachesExactlyTheScalesOfTheSection) {
    auto c = control(0, 1, 1, {"25", "20", "23"});
    EXPECT_EQ(c.StartTransfer(), 0);
    const auto& s = c.lastSummary();
    ASSERT_EQ(s.reason, FailReason::None) << LanguageTexts().text(s.detail);
    ASSERT_EQ(s.scales.size(), 2u);
    EXPECT_EQ(s.countDone(), 2u);
    const std::set<Bytes> want(selectedPlus.begin(), selectedPlus.end());
    for (size_t i : {0u, 1u}) {
        EXPECT_EQ(values((*farm)[i].file("25")), want) << i;
        EXPECT_EQ((*farm)[i].recordCount("20"), 4u);  // the unselected department stays home
        EXPECT_EQ((*farm)[i].recordCount("23"), 4u);
        EXPECT_EQ((*farm)[i].file("20").count(0x00000009), 0u);
    }
    for (size_t i : {2u, 3u, 4u}) {
        EXPECT_EQ((*farm)[i].recordCount("25"), 0u) << i;
        EXPECT_EQ((*farm)[i].recordCount("20"), 0u) << i;
        EXPECT_EQ((*farm)[i].stats().connections.load(), 0u) << i;
    }
}

TEST_F(Chain, SectionZeroMeansEverySectionOfTheStore) {
    auto c = control(0, 1, 0, {"25"});
    c.StartTransfer();
    const auto& s = c.lastSummary();
    ASSERT_EQ(s.scales.size(), 3u);
    EXPECT_EQ(s.countDone(), 3u);
    for (size_t i : {0u, 1u, 2u}) EXPECT_EQ((*farm)[i].recordCount("25"), selectedPlus.size()) << i;
    EXPECT_EQ((*farm)[3].recordCount("25"), 0u);  // other store
    EXPECT_EQ((*farm)[4].recordCount("25"), 0u);  // not in use
}

TEST_F(Chain, ProgressEndsWithAllRecordsDoneAndNamesEachScale) {
    Recorder rec;
    TransferRequest req{db->givenPath(), 1, 1, 0, {"25", "20"}};
    TransferEngine engine(req, quickOptions(farm->port()));
    auto s = engine.run(&rec);
    ASSERT_EQ(rec.targets.size(), 2u);
    EXPECT_EQ(rec.targets[0].address, "127.0.0.2");
    EXPECT_EQ(rec.targets[0].paddedAddress, "127.  0.  0.  2");
    EXPECT_EQ(rec.targets[0].name, "S1-A");
    const uint64_t total = selectedPlus.size() + 4;
    for (size_t i : {0u, 1u}) {
        EXPECT_EQ(rec.last[i], std::make_pair(total, total));
        ASSERT_FALSE(rec.states[i].empty());
        EXPECT_EQ(rec.states[i].front(), ScaleState::Connecting);
        EXPECT_EQ(rec.states[i].back(), ScaleState::Done);
        EXPECT_NE(std::find(rec.states[i].begin(), rec.states[i].end(), ScaleState::Sending), rec.states[i].end());
    }
    EXPECT_EQ(rec.finishedCalls, 1);
}

TEST_F(Chain, DeleteRemovesTheMarkedRecordsThere) {
    // Everything goes out first, then the marked PLUs are deleted.
    db->exec("UPDATE KVR_25 SET Is_Selected=1");
    ASSERT_EQ(control(0, 1, 1, {"25", "20"}).StartTransfer(), 0);
    ASSERT_EQ((*farm)[0].recordCount("25"), 30u);
    db->exec("UPDATE KVR_25 SET Is_Selected=0");
    db->exec("UPDATE KVR_25 SET Is_Selected=1 WHERE rowid IN (2, 5, 7)");
    db->exec("UPDATE KVR_20 SET Is_Selected=0");
    db->exec("UPDATE KVR_20 SET Is_Selected=1 WHERE rowid=1");
    auto c = control(2, 1, 1, {"25", "20"});
    EXPECT_EQ(c.StartTransfer(), 0);
    for (size_t i : {0u, 1u}) {
        auto f = (*farm)[i].file("25");
        EXPECT_EQ(f.size(), 27u);
        for (uint32_t gone : {0x2u, 0x5u, 0x7u}) EXPECT_EQ(f.count(gone), 0u) << gone;
        EXPECT_EQ(f.count(0x8u), 1u);
        EXPECT_EQ((*farm)[i].recordCount("20"), 3u);
        EXPECT_EQ((*farm)[i].file("20").count(1), 0u);
    }
}

TEST_F(Chain, DeleteWithNoRowMarkedDeletesNothingButImagesAndLogosAsAWhole) {
    db->exec("UPDATE KVR_25 SET Is_Selected=1");
    db->addRow("KVR_37", makePlu(1, 100), 1);
    db->addRow("KVR_37", makePlu(2, 120), 1);
    ASSERT_EQ(control(0, 1, 1, {"25", "37"}).StartTransfer(), 0);
    ASSERT_EQ((*farm)[0].recordCount("37"), 2u);
    db->exec("UPDATE KVR_25 SET Is_Selected=0");
    db->exec("UPDATE KVR_37 SET Is_Selected=0");
    auto c = control(2, 1, 1, {"25", "37"});
    EXPECT_EQ(c.StartTransfer(), 0);
    for (size_t i : {0u, 1u}) {
        EXPECT_EQ((*farm)[i].recordCount("25"), 30u) << "PLUs stay when none is marked";
        EXPECT_EQ((*farm)[i].recordCount("37"), 0u) << "images are deleted as a whole";
    }
    ASSERT_EQ(c.lastSummary().notes.size(), 1u);
    EXPECT_NE(LanguageTexts().text(c.lastSummary().notes[0]).find("KVR_25: no row marked"), std::string::npos);
}

TEST_F(Chain, UploadFillsRc25ByteEqualOneRowPerRecord) {
    ASSERT_EQ(control(0, 1, 1, {"25"}).StartTransfer(), 0);
    auto c = control(1, 1, 1, {"25"});
    EXPECT_EQ(c.StartTransfer(), 0);
    auto rows = db->records("RC_25");
    // Two scales, each with every selected PLU.
    ASSERT_EQ(rows.size(), 2 * selectedPlus.size());
    std::multiset<Bytes> got(rows.begin(), rows.end());
    for (const auto& r : selectedPlus) EXPECT_EQ(got.count(r), 2u);
}

TEST_F(Chain, TotalsUploadFillsItsTableWithRecordsOfTheRightSize) {
    ASSERT_EQ(control(0, 1, 2, {"25", "20", "23"}).StartTransfer(), 0);  // scale .4 only
    const std::map<std::string, size_t> sizes = {{"21", 105}, {"24", 83}, {"26", 128}, {"2E", 105}, {"45", 174},
                                                 {"46", 2184}, {"4A", 106}, {"52", 540}, {"59", 50}};
    std::vector<std::string> codes;
    for (auto& [c, n] : sizes) codes.push_back(c);
    auto c = control(1, 1, 2, codes);
    EXPECT_EQ(c.StartTransfer(), 0) << summaryText(c.lastSummary(), {});
    for (auto& [code, size] : sizes) {
        auto rows = db->records("RC_" + code);
        ASSERT_FALSE(rows.empty()) << code;
        for (auto& r : rows) EXPECT_EQ(r.size(), size) << code;
    }
    // One department total per department the scale holds, named by its number.
    auto dept = db->records("RC_21");
    ASSERT_EQ(dept.size(), 4u);
    for (uint32_t n = 1; n <= 4; ++n) EXPECT_EQ(dept[n - 1][3], n);
    EXPECT_EQ(db->records("RC_26").size(), selectedPlus.size());
    EXPECT_EQ(db->records("RC_46").size(), 1u);
}

TEST_F(Chain, BadRowsAreNotSentAndAreNamed) {
    db->exec("DELETE FROM KVR_25");
    db->addRow("KVR_25", makePlu(1, 50), 1);
    Bytes bad = makePlu(2, 50);
    bad[5] = 49;  // length field off by one
    db->addRow("KVR_25", bad, 1);
    db->addRow("KVR_25", {}, 1);  // no record at all
    auto c = control(0, 1, 1, {"25", "XY", "2"});
    c.StartTransfer();
    const auto& s = c.lastSummary();
    EXPECT_EQ(s.countDone(), 2u);
    EXPECT_EQ((*farm)[0].recordCount("25"), 1u);
    ASSERT_EQ(s.notes.size(), 4u);
    std::vector<std::string> notes;
    for (const auto& n : s.notes) notes.push_back(LanguageTexts().text(n));
    EXPECT_NE(notes[0].find("KVR_25 row 2: record length field says 49"), std::string::npos) << notes[0];
    EXPECT_NE(notes[1].find("KVR_25 row 3: no record"), std::string::npos) << notes[1];
    EXPECT_NE(notes[2].find("XY"), std::string::npos);
    EXPECT_NE(notes[3].find("\"2\""), std::string::npos);
    EXPECT_EQ(s.notes[0].key, "NoteBadRecord");
    EXPECT_EQ(s.notes[1].key, "NoteNoRecord");
}

TEST_F(Chain, EmptyTableListStillGreetsEveryScale) {
    auto c = control(0, 1, 1, {});
    EXPECT_EQ(c.StartTransfer(), 0);
    EXPECT_EQ(c.lastSummary().countDone(), 2u);
    EXPECT_EQ((*farm)[0].stats().connections.load(), 1u);
}

TEST_F(Chain, ScaleWithoutAddressFailsAlone) {
    db->addScale("0.0.0.0", "NOADDR", 1, 1);
    auto c = control(0, 1, 1, {"25"});
    EXPECT_EQ(c.StartTransfer(), 1);
    const auto& s = c.lastSummary();
    ASSERT_EQ(s.scales.size(), 3u);
    EXPECT_EQ(s.countDone(), 2u);
    EXPECT_EQ(s.scales[2].reason, FailReason::NoScale);
    EXPECT_NE(s.scales[2].detail.find("  0.  0.  0.  0"), std::string::npos);
}

TEST_F(Chain, OneScaleAtATimeStillWorksThemAll) {
    auto c = control(0, 1, 0, {"25"});
    auto o = c.options();
    o.maxParallel = 1;
    o.batchBytes = 1024;  // many small batches through the window
    o.window = 2;
    c.setOptions(o);
    EXPECT_EQ(c.StartTransfer(), 0);
    for (size_t i : {0u, 1u, 2u}) EXPECT_EQ((*farm)[i].recordCount("25"), selectedPlus.size());
}

}  // namespace
