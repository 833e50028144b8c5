// The engine tells where each scale's time went: connecting, the wire, waiting
// for the database and the insert. Benchmarks break an upload down by these.
#include <gtest/gtest.h>

#include "test_support.h"
#include "transfer/kvr_data_trans.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;
using namespace std::chrono_literals;

namespace {

// Store 1, section 1: two good scales and one that refuses connections.
class StageTimesTest : public ::testing::Test {
protected:
    void SetUp() override {
        db = std::make_unique<TestDb>(dir.path());
        std::vector<ScaleFarm::Member> members;
        members.push_back({"127.0.0.2", {}});
        members.push_back({"127.0.0.3", {}});
        ScaleFarm::Member refusing{"127.0.0.4", {}};
        refusing.options.refuse = true;
        members.push_back(refusing);
        farm = std::make_unique<ScaleFarm>(members);
        ASSERT_TRUE(farm->ok()) << farm->error();
        db->addScale("127.0.0.2", "A", 1, 1);
        db->addScale("127.0.0.3", "B", 1, 1);
        db->addScale("127.0.0.4", "C", 1, 2);
        db->exec("BEGIN");
        for (uint32_t n = 1; n <= 400; ++n) db->addRow("KVR_25", makePlu(n, 60 + (n * 13) % 500), 1);
        db->exec("COMMIT");
    }

    TransferSummary run(int mode, int section) {
        KVRDataTrans c;
        c.setDatabasePath(db->givenPath());
        c.setStoreNumber(1);
        c.setSectionNumber(section);
        c.setTransferMode(mode);
        c.setTableList({"25"});
        c.setOptions(quickOptions(farm->port()));
        c.StartTransfer();
        return c.lastSummary();
    }

    TempDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<ScaleFarm> farm;
};

TEST_F(StageTimesTest, AnUploadTellsTheWireTheWaitAndTheInsertOfEachScale) {
    ASSERT_EQ(run(0, 1).countDone(), 2u);
    const TransferSummary s = run(1, 1);
    ASSERT_EQ(s.countDone(), 2u);
    ASSERT_EQ(db->records("RC_25").size(), 800u);
    EXPECT_GT(s.prepareTime, 0ns);
    EXPECT_GE(s.totalTime, s.prepareTime);
    for (const auto& o : s.scales) {
        const StageTimes& t = o.times;
        EXPECT_GT(t.connect, 0ns) << o.target.name;
        EXPECT_GT(t.wire, 0ns) << o.target.name;
        EXPECT_GT(t.insert, 0ns) << o.target.name;
        EXPECT_GE(t.waitDb, 0ns) << o.target.name;
        // The stages lie inside the scale's time, and the scale's inside the run's.
        EXPECT_GE(t.total, t.connect + t.wire + t.waitDb + t.insert) << o.target.name;
        EXPECT_LE(t.total, s.totalTime) << o.target.name;
    }
}

TEST_F(StageTimesTest, ADownloadHasWireTimeButNoInsert) {
    const TransferSummary s = run(0, 1);
    ASSERT_EQ(s.countDone(), 2u);
    for (const auto& o : s.scales) {
        EXPECT_GT(o.times.connect, 0ns);
        EXPECT_GT(o.times.wire, 0ns);
        EXPECT_EQ(o.times.insert, 0ns);
        EXPECT_EQ(o.times.waitDb, 0ns);
        EXPECT_GE(o.times.total, o.times.connect + o.times.wire);
    }
}

TEST_F(StageTimesTest, AScaleThatFailsStillHasItsTimeButNoStageItDidNotReach) {
    const TransferSummary s = run(1, 2);
    ASSERT_EQ(s.scales.size(), 1u);
    ASSERT_EQ(s.scales[0].state, ScaleState::Failed);
    EXPECT_GT(s.scales[0].times.total, 0ns);
    EXPECT_EQ(s.scales[0].times.connect, 0ns);
    EXPECT_EQ(s.scales[0].times.wire, 0ns);
    EXPECT_EQ(s.scales[0].times.insert, 0ns);
}

}  // namespace
