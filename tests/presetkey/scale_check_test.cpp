// The emulated scale refuses preset key records a real keyboard would not take.
#include <gtest/gtest.h>

#include "emulated_scale.h"
#include "presetkey/key_value.h"
#include "transfer/net.h"
#include "transfer/protocol.h"

namespace pk = brindale::presetkey;
using namespace brindale::transfer;
using brindale::scaleemu::EmulatedScale;
using brindale::scaleemu::ScaleOptions;
using Bytes = std::vector<uint8_t>;
using proto::Cmd;

namespace {

class Client {
public:
    bool open(uint16_t port) {
        lim_.idle = std::chrono::milliseconds(2000);
        std::string d;
        if (net::connectTo(sock_, "127.0.0.9", port, std::chrono::milliseconds(1000), lim_, d) != net::Status::Ok)
            return false;
        proto::Frame f;
        return send(Cmd::Hello, proto::helloReqPayload("test")) && receive(f) && f.type == uint8_t(Cmd::HelloOk);
    }
    // The reply to a write of one "41" record: 0 for ACK, else the error code and its message.
    uint16_t write(const Bytes& record, std::string& message) {
        proto::BatchBuilder b("41");
        b.add(record.data(), uint32_t(record.size()));
        proto::Frame f;
        if (!send(Cmd::Write, b.take()) || !receive(f)) return 0xFFFF;
        if (f.type != uint8_t(Cmd::Error)) return 0;
        proto::ErrorMsg e;
        std::string why;
        if (!proto::parseError(f.payload, e, why)) return 0xFFFF;
        message = e.message;
        return e.code;
    }

private:
    bool send(Cmd c, const Bytes& payload) {
        std::string d;
        return net::sendAll(sock_, proto::makeFrame(c, payload), lim_, d) == net::Status::Ok;
    }
    bool receive(proto::Frame& f) {
        std::string d;
        return net::recvFrame(sock_, parser_, f, lim_, d) == net::Status::Ok;
    }
    net::Socket sock_;
    proto::FrameParser parser_;
    net::Limits lim_;
};

Bytes good(int64_t number, int64_t status, int64_t keySwitch) {
    auto r = pk::keyRecord(number, 74, status, keySwitch);
    return Bytes(r->begin(), r->end());
}

}  // namespace

TEST(PresetKeyScale, TakesEveryKindAndRefusesWhatAKeyboardWouldNot) {
    ScaleOptions o;
    o.address = "127.0.0.9";
    o.port = 0;
    EmulatedScale scale(o);
    std::string error;
    ASSERT_TRUE(scale.start(error)) << error;
    Client c;
    ASSERT_TRUE(c.open(scale.port()));
    std::string m;
    EXPECT_EQ(c.write(good(1, 0, 999999), m), 0) << m;
    EXPECT_EQ(c.write(good(75, 1, 12), m), 0) << m;
    EXPECT_EQ(c.write(good(149, 2, 15), m), 0) << m;
    EXPECT_EQ(c.write(good(2, 8, 150), m), 0) << m;
    EXPECT_EQ(c.write(good(3, 128, 10), m), 0) << m;
    EXPECT_EQ(c.write(good(4, 240, pk::kOther3Switch + 5), m), 0) << m;
    EXPECT_EQ(scale.recordCount("41"), 6u);

    struct Bad {
        size_t at;
        uint8_t value;
        const char* reason;
    };
    for (auto b : {Bad{5, 0x2C, "bytes 4 and 5"}, Bad{4, 0x01, "bytes 4 and 5"}, Bad{10, 3, "kind 3"},
                   Bad{11, 1, "byte 11"}, Bad{44, 1, "byte 44"}, Bad{3, 0x1A, "key address"},
                   Bad{9, 0x0C, "key value of kind 0"}}) {
        SCOPED_TRACE(b.reason);
        Bytes r = good(5, 0, 12);
        r[b.at] = b.value;
        m.clear();
        EXPECT_EQ(c.write(r, m), uint16_t(proto::ErrCode::BadRecord));
        EXPECT_NE(m.find(b.reason), std::string::npos) << m;
    }
    Bytes clerk = good(5, 2, 15);
    clerk[9] = 0x0F;
    EXPECT_EQ(c.write(clerk, m), uint16_t(proto::ErrCode::BadRecord));
    EXPECT_NE(m.find("kind 2"), std::string::npos) << m;
    // A function key's value is binary: 0x0C is no fault there.
    EXPECT_EQ(c.write(good(6, 1, 12), m), 0) << m;
    EXPECT_EQ(scale.recordCount("41"), 7u);
    scale.stop();
}
