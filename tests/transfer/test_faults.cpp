// Faults: scales that refuse, cut, hang or talk garbage, beside good ones.
#include <gtest/gtest.h>

#include <chrono>
#include <set>
#include <thread>

#include "test_support.h"
#include "transfer/kvr_data_trans.h"
#include "transfer/net.h"

#include <sys/socket.h>

using namespace brindale::transfer;
using namespace brindale::transfer::testing;
using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

namespace {

class Faults : public ::testing::Test {
protected:
    void SetUp() override {
        db = std::make_unique<TestDb>(dir.path());
        std::vector<ScaleFarm::Member> members(6);
        members[0].address = "127.0.0.2";  // good
        members[1].address = "127.0.0.3";
        members[1].options.refuse = true;
        members[2].address = "127.0.0.4";
        members[2].options.cutAfter = 25;
        members[2].options.batchBytes = 2048;  // several frames per file, so the cut falls inside it
        members[3].address = "127.0.0.5";
        members[3].options.hang = true;
        members[4].address = "127.0.0.6";
        members[4].options.garbage = true;
        members[5].address = "127.0.0.7";  // good
        farm = std::make_unique<ScaleFarm>(members);
        ASSERT_TRUE(farm->ok()) << farm->error();
        const char* names[] = {"GOOD1", "REFUSE", "CUT", "HANG", "GARBAGE", "GOOD2"};
        for (size_t i = 0; i < members.size(); ++i) db->addScale(members[i].address, names[i], 1, 1);
        for (uint32_t n = 1; n <= 60; ++n) {
            Bytes r = makePlu(n, 60 + (n * 13) % 300);
            db->addRow("KVR_25", r, 1);
            plus.push_back(r);
        }
    }

    KVRDataTrans control(int mode, std::vector<std::string> tables) {
        KVRDataTrans c;
        c.setDatabasePath(db->givenPath());
        c.setStoreNumber(1);
        c.setSectionNumber(1);
        c.setTransferMode(mode);
        c.setTableList(tables);
        auto o = quickOptions(farm->port());
        o.batchBytes = 2048;
        c.setOptions(o);
        return c;
    }

    void expectFailures(const TransferSummary& s) {
        ASSERT_EQ(s.scales.size(), 6u);
        EXPECT_EQ(s.scales[0].state, ScaleState::Done) << s.scales[0].detail;
        EXPECT_EQ(s.scales[5].state, ScaleState::Done) << s.scales[5].detail;
        EXPECT_EQ(s.scales[1].state, ScaleState::Failed);
        EXPECT_EQ(s.scales[1].reason, FailReason::Refused) << s.scales[1].detail;
        EXPECT_EQ(s.scales[2].reason, FailReason::Closed) << s.scales[2].detail;
        EXPECT_NE(s.scales[2].detail.find("file 25"), std::string::npos) << s.scales[2].detail;
        EXPECT_EQ(s.scales[3].reason, FailReason::Timeout) << s.scales[3].detail;
        EXPECT_EQ(s.scales[4].reason, FailReason::Protocol) << s.scales[4].detail;
        EXPECT_EQ(s.countDone(), 2u);
        EXPECT_EQ(s.countFailed(), 4u);
        // The summary names each failure with its reason.
        const std::string text = summaryText(s, LanguageTexts());
        EXPECT_NE(text.find("2 of 6 scales done, 4 failed"), std::string::npos) << text;
        for (const char* name : {"REFUSE", "CUT", "HANG", "GARBAGE"}) EXPECT_NE(text.find(name), std::string::npos);
        for (const char* reason : {"refused the connection", "closed the connection", "did not answer in time",
                                   "not understood"})
            EXPECT_NE(text.find(reason), std::string::npos) << reason << "\n" << text;
    }

    TempDir dir;
    std::unique_ptr<TestDb> db;
    std::unique_ptr<ScaleFarm> farm;
    std::vector<Bytes> plus;
};

TEST_F(Faults, DownloadGoodScalesCompleteOthersNamedWithinLimits) {
    auto c = control(0, {"25"});
    const auto t0 = Clock::now();
    EXPECT_EQ(c.StartTransfer(), 4);
    const auto took = Clock::now() - t0;
    expectFailures(c.lastSummary());
    EXPECT_EQ((*farm)[0].recordCount("25"), 60u);
    EXPECT_EQ((*farm)[5].recordCount("25"), 60u);
    // The hanging scale costs one reply limit (1 s), not more; all run at once.
    EXPECT_LT(took, std::chrono::seconds(4));
}

TEST_F(Faults, UploadKeepsNoHalfOrDuplicatedFile) {
    // Give every scale the same 60 PLUs directly.
    for (size_t i = 0; i < farm->size(); ++i)
        for (auto& r : plus) (*farm)[i].put("25", r);
    auto c = control(1, {"25"});
    const auto t0 = Clock::now();
    c.StartTransfer();
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(4));
    expectFailures(c.lastSummary());
    // Only the two good scales' files, whole; the cut one left nothing.
    auto rows = db->records("RC_25");
    ASSERT_EQ(rows.size(), 120u);
    std::multiset<Bytes> got(rows.begin(), rows.end());
    for (auto& r : plus) EXPECT_EQ(got.count(r), 2u);
    EXPECT_NE(c.lastSummary().scales[2].detail.find("file 25"), std::string::npos);
}

TEST_F(Faults, WholeCallLimitEndsAScaleThatKeepsTheLineOpen) {
    auto c = control(0, {"25"});
    auto o = c.options();
    o.replyTimeout = std::chrono::milliseconds(20000);
    o.scaleTimeout = std::chrono::milliseconds(800);
    c.setOptions(o);
    const auto t0 = Clock::now();
    c.StartTransfer();
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(3));
    const auto& hang = c.lastSummary().scales[3];
    EXPECT_EQ(hang.reason, FailReason::Timeout);
    EXPECT_NE(hang.detail.find("whole-call"), std::string::npos) << hang.detail;
}

TEST_F(Faults, ConnectLimitEndsAScaleWhoseQueueIsFull) {
    // A listener that never accepts, with its queue filled: further
    // connection attempts go unanswered, as with a scale that is switched off.
    uint16_t port = 0;
    std::string error;
    net::Socket listener = net::bindTcp("127.0.0.8", farm->port(), false, port, error);
    ASSERT_TRUE(listener.valid()) << error;
    ASSERT_EQ(::listen(listener.fd(), 0), 0);
    std::vector<net::Socket> fillers;
    net::Limits lim;
    for (int i = 0; i < 8; ++i) {  // bounded: the queue holds one or two
        net::Socket s;
        std::string d;
        if (net::connectTo(s, "127.0.0.8", port, std::chrono::milliseconds(200), lim, d) != net::Status::Ok) break;
        fillers.push_back(std::move(s));
    }
    TempDir d2;
    TestDb db2(d2.path());
    db2.addScale("127.0.0.2", "GOOD", 1, 1);
    db2.addScale("127.0.0.8", "FULL", 1, 1);
    db2.addRow("KVR_25", makePlu(1, 80), 1);
    KVRDataTrans c;
    c.setDatabasePath(db2.givenPath());
    c.setStoreNumber(1);
    c.setTableList({"25"});
    auto o = quickOptions(farm->port());
    o.connectTimeout = std::chrono::milliseconds(300);
    c.setOptions(o);
    const auto t0 = Clock::now();
    c.StartTransfer();
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(3));
    const auto& s = c.lastSummary();
    EXPECT_EQ(s.scales[0].state, ScaleState::Done);
    EXPECT_EQ(s.scales[1].state, ScaleState::Failed);
    EXPECT_EQ(s.scales[1].reason, FailReason::Timeout) << s.scales[1].detail;
    EXPECT_NE(s.scales[1].detail.find("no connection within 300 ms"), std::string::npos) << s.scales[1].detail;
}

TEST_F(Faults, CancelStopsWaitingScalesAtOnce) {
    auto c = control(0, {"25"});
    auto o = c.options();
    o.replyTimeout = std::chrono::milliseconds(20000);
    o.scaleTimeout = std::chrono::milliseconds(20000);
    c.setOptions(o);
    c.setPresenter([](TransferEngine& engine, const LanguageTexts&) {
        std::thread canceller([&engine] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            engine.cancel();
        });
        auto s = engine.run(nullptr);
        canceller.join();
        return s;
    });
    const auto t0 = Clock::now();
    c.StartTransfer();
    EXPECT_LT(Clock::now() - t0, std::chrono::seconds(3));
    const auto& s = c.lastSummary();
    EXPECT_TRUE(s.cancelled);
    EXPECT_EQ(s.scales[3].state, ScaleState::Cancelled);
    EXPECT_EQ(s.scales[0].state, ScaleState::Done);
}

TEST_F(Faults, CancelledUploadStoresNothingOfTheOpenFile) {
    for (auto& r : plus) (*farm)[3].put("25", r);  // the hanging scale
    auto c = control(1, {"25"});
    auto o = c.options();
    o.replyTimeout = std::chrono::milliseconds(20000);
    c.setOptions(o);
    c.setPresenter([](TransferEngine& engine, const LanguageTexts&) {
        std::thread canceller([&engine] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            engine.cancel();
        });
        auto s = engine.run(nullptr);
        canceller.join();
        return s;
    });
    c.StartTransfer();
    EXPECT_TRUE(db->records("RC_25").empty());
}

}  // namespace
