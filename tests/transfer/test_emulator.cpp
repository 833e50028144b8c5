// The emulated scale on its own: what it takes, what it refuses, what it
// keeps across a restart, the totals it serves, and the program itself.
#include <array>
#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "test_support.h"
#include "totals.h"
#include "transfer/net.h"
#include "transfer/records.h"

using namespace brindale::transfer;
using namespace brindale::transfer::testing;
using namespace brindale::scaleemu;
using Bytes = std::vector<uint8_t>;
using proto::Cmd;

extern char** environ;

namespace {

// A hand-driven client for talking to the scale frame by frame.
class RawClient {
public:
    bool connect(const std::string& host, uint16_t port) {
        lim_.idle = std::chrono::milliseconds(2000);
        std::string d;
        return net::connectTo(sock_, host, port, std::chrono::milliseconds(1000), lim_, d) == net::Status::Ok;
    }
    bool sendRaw(const Bytes& b) {
        std::string d;
        return net::sendAll(sock_, b, lim_, d) == net::Status::Ok;
    }
    bool send(Cmd c, const Bytes& payload) { return sendRaw(proto::makeFrame(c, payload)); }
    net::Status receive(proto::Frame& f) {
        std::string d;
        return net::recvFrame(sock_, parser_, f, lim_, d);
    }
    bool greet() {
        proto::Frame f;
        return send(Cmd::Hello, proto::helloReqPayload("test")) && receive(f) == net::Status::Ok &&
               f.type == uint8_t(Cmd::HelloOk);
    }
    // Sends a frame and expects an Error reply; returns its code (0 if none).
    uint16_t expectError(Cmd c, const Bytes& payload, uint32_t* index = nullptr) {
        proto::Frame f;
        if (!send(c, payload) || receive(f) != net::Status::Ok || f.type != uint8_t(Cmd::Error)) return 0;
        proto::ErrorMsg e;
        std::string why;
        if (!proto::parseError(f.payload, e, why)) return 0;
        if (index) *index = e.index;
        return e.code;
    }

private:
    net::Socket sock_;
    proto::FrameParser parser_;
    net::Limits lim_;
};

Bytes batch(const std::string& code, const std::vector<Bytes>& recs) {
    proto::BatchBuilder b(code);
    for (auto& r : recs) b.add(r.data(), uint32_t(r.size()));
    return b.take();
}

std::unique_ptr<EmulatedScale> startScale(ScaleOptions o = {}) {
    o.address = "127.0.0.9";
    o.port = 0;
    auto s = std::make_unique<EmulatedScale>(o);
    std::string error;
    if (!s->start(error)) ADD_FAILURE() << error;
    return s;
}

TEST(EmulatedScale, RefusesUnknownFilesAndMalformedRecordsKeepingNothing) {
    auto scale = startScale();
    RawClient c;
    ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
    ASSERT_TRUE(c.greet());
    EXPECT_EQ(c.expectError(Cmd::Write, batch("ZZ", {makePlu(1, 50)})), uint16_t(proto::ErrCode::UnknownFile));
    EXPECT_EQ(c.expectError(Cmd::Write, batch("21", {Bytes(105, 0)})), uint16_t(proto::ErrCode::UnknownFile));
    Bytes bad = makePlu(3, 60);
    bad[5] = 61;
    uint32_t index = 99;
    EXPECT_EQ(c.expectError(Cmd::Write, batch("25", {makePlu(2, 50), bad}), &index),
              uint16_t(proto::ErrCode::BadRecord));
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(c.expectError(Cmd::Write, batch("20", {Bytes(22, 0)})), uint16_t(proto::ErrCode::BadRecord));
    EXPECT_EQ(c.expectError(Cmd::Read, proto::fileReqPayload("99")), uint16_t(proto::ErrCode::UnknownFile));
    EXPECT_EQ(c.expectError(static_cast<Cmd>(0x42), {}), uint16_t(proto::ErrCode::UnknownCommand));
    // A refused batch is refused whole: the good record before the bad one is not kept.
    EXPECT_EQ(scale->recordCount("25"), 0u);
    EXPECT_EQ(scale->recordCount("20"), 0u);
    // And the same connection still takes good data.
    proto::Frame f;
    ASSERT_TRUE(c.send(Cmd::Write, batch("25", {makePlu(2, 50)})));
    ASSERT_EQ(c.receive(f), net::Status::Ok);
    EXPECT_EQ(f.type, uint8_t(Cmd::Ack));
    EXPECT_EQ(scale->recordCount("25"), 1u);
}

Bytes labelRecord(std::array<uint8_t, 4> number, size_t size) {
    Bytes r(size, 0);
    std::copy(number.begin(), number.end(), r.begin());
    r[4] = uint8_t(size >> 8);
    r[5] = uint8_t(size & 0xFF);
    return r;
}

TEST(EmulatedScale, RefusesLabelFormatsOfOtherSizesOrNumbers) {
    auto scale = startScale();
    RawClient c;
    ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
    ASSERT_TRUE(c.greet());
    const auto bad = uint16_t(proto::ErrCode::BadRecord);
    uint32_t index = 99;
    EXPECT_EQ(c.expectError(Cmd::Write, batch("34", {labelRecord({0, 0, 0, 7}, 1118), labelRecord({0, 0, 0, 8}, 1646)}), &index), bad);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(c.expectError(Cmd::Write, batch("34", {labelRecord({0, 0, 0, 0x0A}, 1118)})), bad);
    EXPECT_EQ(c.expectError(Cmd::Write, batch("34", {labelRecord({0, 0, 0, 0}, 1400)})), bad);
    EXPECT_EQ(c.expectError(Cmd::Write, batch("34", {labelRecord({0, 0, 1, 0}, 1664)})), bad);
    EXPECT_EQ(scale->recordCount("34"), 0u);
    proto::Frame f;
    ASSERT_TRUE(c.send(Cmd::Write, batch("34", {labelRecord({0, 0, 0, 0x99}, 1664), labelRecord({0, 0, 0, 1}, 1400),
                                               labelRecord({0, 0, 0, 0x11}, 1118)})));
    ASSERT_EQ(c.receive(f), net::Status::Ok);
    EXPECT_EQ(f.type, uint8_t(Cmd::Ack));
    EXPECT_EQ(scale->recordCount("34"), 3u);
}

TEST(EmulatedScale, GreetingMustComeFirst) {
    auto scale = startScale();
    RawClient c;
    ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
    EXPECT_EQ(c.expectError(Cmd::Read, proto::fileReqPayload("25")), uint16_t(proto::ErrCode::OutOfOrder));
    proto::Frame f;
    EXPECT_EQ(c.receive(f), net::Status::Closed);
}

TEST(EmulatedScale, SurvivesGarbageAndRandomFrames) {
    auto scale = startScale();
    {
        RawClient c;
        ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
        ASSERT_TRUE(c.sendRaw(Bytes{'G', 'E', 'T', ' ', '/', '\r', '\n'}));
        proto::Frame f;
        ASSERT_EQ(c.receive(f), net::Status::Ok);
        EXPECT_EQ(f.type, uint8_t(Cmd::Error));
        EXPECT_EQ(c.receive(f), net::Status::Closed);
    }
    {
        // A length beyond the limit is refused without waiting for the bytes.
        RawClient c;
        ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
        ASSERT_TRUE(c.sendRaw(Bytes{'B', 'R', 1, 0x02, 0xFF, 0xFF, 0xFF, 0xFF}));
        proto::Frame f;
        ASSERT_EQ(c.receive(f), net::Status::Ok);
        EXPECT_EQ(f.type, uint8_t(Cmd::Error));
    }
    {
        // Well-framed nonsense, 300 frames of it (a fixed seed, so any failure repeats).
        RawClient c;
        ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
        ASSERT_TRUE(c.greet());
        std::mt19937 rng(1234);
        const uint8_t types[] = {0x02, 0x03, 0x04, 0x05, 0x01, 0x81, 0x00, 0xEE, 0x7F};
        for (int i = 0; i < 300; ++i) {
            Bytes p(rng() % 64);
            for (auto& b : p) b = uint8_t(rng());
            if (p.size() >= 2 && i % 2) { p[0] = '2'; p[1] = '5'; }
            const auto t = static_cast<Cmd>(types[rng() % sizeof types]);
            if (t == Cmd::Read && p.size() == 2) continue;  // a valid read would stream records
            proto::Frame f;
            ASSERT_TRUE(c.send(t, p));
            ASSERT_EQ(c.receive(f), net::Status::Ok) << "frame " << i;
            EXPECT_TRUE(f.type == uint8_t(Cmd::Error) || f.type == uint8_t(Cmd::Ack)) << "frame " << i;
        }
    }
    EXPECT_GT(scale->stats().framesRejected.load(), 100u);
    // Still serving.
    RawClient c;
    ASSERT_TRUE(c.connect("127.0.0.9", scale->port()));
    EXPECT_TRUE(c.greet());
}

TEST(EmulatedScale, KeepsItsFilesAcrossARestartInItsFolder) {
    TempDir dir;
    ScaleOptions o;
    o.storageDir = (dir.path() / "scale").string();
    {
        auto scale = startScale(o);
        scale->put("25", makePlu(7, 90));
        scale->put("25", makePlu(8, 95));
        scale->put("20", makeDept(3));
        scale->stop();
    }
    auto again = startScale(o);
    EXPECT_EQ(again->recordCount("25"), 2u);
    EXPECT_EQ(again->file("25").at(0x7), makePlu(7, 90));
    EXPECT_EQ(again->file("20").at(0x3), makeDept(3));
    // Without the folder nothing is kept.
    auto fresh = startScale();
    EXPECT_EQ(fresh->recordCount("25"), 0u);
}

TEST(EmulatedScale, RefuseModeRefusesConnections) {
    ScaleOptions o;
    o.refuse = true;
    auto scale = startScale(o);
    net::Socket s;
    std::string d;
    EXPECT_EQ(net::connectTo(s, "127.0.0.9", scale->port(), std::chrono::milliseconds(1000), {}, d),
              net::Status::Refused)
        << d;
}

TEST(Totals, RecordsAreWellFormedAndFollowTheItemsHeld) {
    Files held;
    for (uint32_t n : {12u, 345u, 6789u}) held["25"][n] = makePlu(n, 80);
    for (uint32_t n : {1u, 2u}) {
        Bytes d = makeDept(n);
        held["20"][recordNumber(d.data())] = d;
    }
    Bytes mg = makeMainGroup(21, 0x02);
    held["23"][recordNumber(mg.data())] = mg;
    const std::map<std::string, size_t> sizes = {{"21", 105}, {"24", 83}, {"26", 128}, {"2E", 105}, {"45", 174},
                                                 {"46", 2184}, {"4A", 106}, {"52", 540}, {"59", 50}};
    for (auto& [code, size] : sizes) {
        auto recs = makeTotals(code, held);
        ASSERT_FALSE(recs.empty()) << code;
        for (auto& r : recs) {
            ASSERT_EQ(r.size(), size) << code;
            EXPECT_TRUE(isBcd(r.data(), 4)) << code;  // the record number is packed decimal
            EXPECT_EQ((size_t(r[4]) << 8) | r[5], size) << code;
            EXPECT_EQ(checkRecord(code, r.data(), r.size()), "") << code;
        }
        // The same holding gives the same records.
        EXPECT_EQ(makeTotals(code, held), recs) << code;
    }
    EXPECT_EQ(makeTotals("21", held).size(), 2u);
    EXPECT_EQ(makeTotals("26", held).size(), 3u);
    // PLU totals carry the PLU number: 6789 packs to 00 00 67 89.
    EXPECT_EQ(makeTotals("26", held)[2][2], 0x67);
    EXPECT_EQ(makeTotals("26", held)[2][3], 0x89);
    // A main group total carries the department of its main group.
    auto mgTotals = makeTotals("24", held);
    ASSERT_EQ(mgTotals.size(), 1u);
    EXPECT_EQ(mgTotals[0][3], 0x21);
    EXPECT_EQ(mgTotals[0][6], 0x02);
    // Digit fields are decimal digits: the date of a department total.
    auto dept = makeTotals("21", held)[0];
    EXPECT_TRUE(isBcd(&dept[102], 3));
    EXPECT_TRUE(makeTotals("26", Files{}).empty());
    EXPECT_TRUE(makeTotals("25", held).empty());
}

#ifdef BRINDALE_SCALE_PROGRAM
// The real program: started, waited for (bounded), used, stopped.
TEST(ScaleProgram, StartsServesAndStopsOnSignal) {
    int out[2];
    ASSERT_EQ(pipe(out), 0);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, out[1], 1);
    posix_spawn_file_actions_addclose(&fa, out[0]);
    const char* argv[] = {BRINDALE_SCALE_PROGRAM, "--address", "127.0.0.9", "--port", "0", "--name", "PROG", nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, BRINDALE_SCALE_PROGRAM, &fa, nullptr, const_cast<char**>(argv), environ), 0);
    posix_spawn_file_actions_destroy(&fa);
    close(out[1]);
    std::string line;
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < until) {
        pollfd p{out[0], POLLIN, 0};
        if (poll(&p, 1, 100) <= 0) continue;
        char buf[256];
        const ssize_t n = read(out[0], buf, sizeof buf);
        if (n <= 0) break;
        line.append(buf, size_t(n));
    }
    close(out[0]);
    ASSERT_NE(line.find("ready on 127.0.0.9:"), std::string::npos) << line;
    const int port = std::stoi(line.substr(line.rfind(':') + 1));

    TempDir dir;
    TestDb db(dir.path());
    db.addScale("127.0.0.9", "PROG", 1, 1);
    for (uint32_t n = 1; n <= 5; ++n) db.addRow("KVR_25", makePlu(n, 100 + n), 1);
    TransferRequest req{db.givenPath(), 1, 1, 0, {"25"}};
    auto o = quickOptions(uint16_t(port));
    EXPECT_EQ(TransferEngine(req, o).run().countDone(), 1u);
    req.mode = 1;
    EXPECT_EQ(TransferEngine(req, o).run().countDone(), 1u);
    EXPECT_EQ(db.records("RC_25").size(), 5u);

    kill(pid, SIGTERM);
    int status = 0;
    pid_t r = 0;
    for (int i = 0; i < 50 && (r = waitpid(pid, &status, WNOHANG)) == 0; ++i) usleep(100000);
    if (r == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        FAIL() << "brindale-scale did not stop on SIGTERM";
    }
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

}  // namespace
