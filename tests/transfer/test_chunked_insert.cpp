// Fetched files are stored in chunks while they still arrive; a file that breaks off, is cut
// short or is cancelled has its stored chunks taken out again, so that only whole files stay.
#include <gtest/gtest.h>


#include <condition_variable>
#include <mutex>

#include "test_support.h"
#include "transfer/kvr_data_trans.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;
using Bytes = std::vector<uint8_t>;

namespace {

// Store 1: a good scale in section 1, one that cuts the connection after 45 records in section 3,
// another good one in section 2. Every scale keeps the same 60 PLUs and sends them in several
// frames.
class ChunkedInsert : public ::testing::Test {
protected:
    void SetUp() override {
        db = std::make_unique<TestDb>(dir.path());
        std::vector<ScaleFarm::Member> members(3);
        members[0].address = "127.0.0.2";
        members[0].options.batchBytes = 1024;
        members[1].address = "127.0.0.3";
        members[1].options.cutAfter = 45;
        members[1].options.batchBytes = 2048;  // several frames, so that chunks are stored before the cut
        members[2].address = "127.0.0.4";
        members[2].options.batchBytes = 1024;
        farm = std::make_unique<ScaleFarm>(members);
        ASSERT_TRUE(farm->ok()) << farm->error();
        db->addScale("127.0.0.2", "GOOD", 1, 1);
        db->addScale("127.0.0.3", "CUT", 1, 3);
        db->addScale("127.0.0.4", "LATE", 1, 2);
        for (uint32_t n = 1; n <= 60; ++n) plus.push_back(makePlu(n, 60 + (n * 13) % 300));
        for (size_t i = 0; i < farm->size(); ++i)
            for (auto& r : plus) (*farm)[i].put("25", r);
    }

    KVRDataTrans control(int section, size_t chunk) {
        KVRDataTrans c;
        c.setDatabasePath(db->givenPath());
        c.setStoreNumber(1);
        c.setSectionNumber(section);
        c.setTransferMode(1);
        c.setTableList({"25"});
        auto o = quickOptions(farm->port());
        o.insertChunk = chunk;
        c.setOptions(o);
        return c;
    }

    TempDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<ScaleFarm> farm;
    std::vector<Bytes> plus;
};

TEST_F(ChunkedInsert, AWholeFileArrivesInChunksInOrderAndComplete) {
    auto c = control(2, 7);
    c.StartTransfer();
    ASSERT_EQ(c.lastSummary().countDone(), 1u);
    EXPECT_EQ(db->records("RC_25"), plus);
    // 60 records in chunks of 7: nine inserts took time.
    EXPECT_GT(c.lastSummary().scales[0].times.insert, std::chrono::nanoseconds(0));
}

TEST_F(ChunkedInsert, AFileCutShortLeavesNoneOfItsStoredChunks) {
    auto c = control(3, 10);
    c.StartTransfer();
    const auto& s = c.lastSummary();
    ASSERT_EQ(s.scales.size(), 1u);
    EXPECT_EQ(s.scales[0].state, ScaleState::Failed);
    // The scale sent 45 records, four chunks of which were stored before the cut.
    EXPECT_EQ(s.scales[0].done, 45u);
    EXPECT_GT(s.scales[0].times.insert, std::chrono::nanoseconds(0));
    EXPECT_TRUE(db->records("RC_25").empty());
}

TEST_F(ChunkedInsert, FilesOfSeveralScalesStayWholeAndApartAndACutOneLeavesNothing) {
    // The whole store: the two good scales (0 and 1 in the engine's order) and the cut one, chunks
    // of one record, so that every frame would be stored as it arrives if the files were not kept
    // apart. Each good scale's first frame waits (at most 2 s) for the other's: both are in the
    // middle of their files at the same time.
    struct Together : TransferObserver {
        std::mutex m;
        std::condition_variable cv;
        bool seen[2] = {false, false};
        void progress(size_t i, uint64_t done, uint64_t) override {
            if (i > 1 || done == 0) return;
            std::unique_lock<std::mutex> lock(m);
            seen[i] = true;
            cv.notify_all();
            cv.wait_for(lock, std::chrono::seconds(2), [&] { return seen[0] && seen[1]; });
        }
    };
    std::vector<Bytes> twice = plus;
    twice.insert(twice.end(), plus.begin(), plus.end());
    // Three runs: how the frames of the two files fall in time differs from run to run.
    for (int run = 0; run < 3; ++run) {
        db->exec("DELETE FROM RC_25");
        auto c = control(0, 1);
        c.setPresenter([](TransferEngine& engine, const LanguageTexts&) {
            Together together;
            return engine.run(&together);
        });
        c.StartTransfer();
        const auto& s = c.lastSummary();
        ASSERT_EQ(s.scales.size(), 3u);
        EXPECT_EQ(s.countDone(), 2u);
        EXPECT_EQ(s.countFailed(), 1u);
        // One good file after the other, each in its own order, never mixed.
        ASSERT_EQ(db->records("RC_25"), twice) << "run " << run;
    }
}

TEST_F(ChunkedInsert, ACancelledFileLeavesNoneOfItsStoredChunks) {
    // Chunks of one record: every batch is stored as it arrives. The cancel comes from the
    // progress report once 30 records are in, so some chunks are stored before it.
    auto c = control(2, 1);
    struct CancelAt : TransferObserver {
        TransferEngine& engine;
        uint64_t stored = 0;
        explicit CancelAt(TransferEngine& e) : engine(e) {}
        void progress(size_t, uint64_t done, uint64_t) override {
            if (done >= 30 && !engine.cancelRequested()) {
                stored = done;
                engine.cancel();
            }
        }
    };
    uint64_t before = 0;
    c.setPresenter([&before](TransferEngine& engine, const LanguageTexts&) {
        CancelAt watch(engine);
        auto s = engine.run(&watch);
        before = watch.stored;
        return s;
    });
    c.StartTransfer();
    const auto& s = c.lastSummary();
    ASSERT_EQ(s.scales.size(), 1u);
    EXPECT_GE(before, 30u);
    EXPECT_LT(before, plus.size());
    EXPECT_EQ(s.scales[0].state, ScaleState::Cancelled);
    EXPECT_GT(s.scales[0].times.insert, std::chrono::nanoseconds(0));
    EXPECT_TRUE(db->records("RC_25").empty());
}

}  // namespace
