#include <gtest/gtest.h>

#include "transfer/protocol.h"
#include "transfer/records.h"

using namespace brindale::transfer;
using namespace brindale::transfer::proto;

namespace {
std::vector<uint8_t> header(uint8_t type, uint32_t len) {
    return {kMagic0, kMagic1, kVersion, type, uint8_t(len >> 24), uint8_t(len >> 16), uint8_t(len >> 8), uint8_t(len)};
}
}  // namespace

TEST(FrameParser, SplitsFramesFedByteByByte) {
    std::vector<uint8_t> stream;
    appendFrame(stream, Cmd::Hello, helloReqPayload("me"));
    appendFrame(stream, Cmd::End, {});
    FrameParser p;
    std::vector<Frame> got;
    for (uint8_t b : stream) {
        p.feed(&b, 1);
        Frame f;
        while (p.next(f) == FrameParser::Result::Frame) got.push_back(f);
    }
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0].type, uint8_t(Cmd::Hello));
    HelloReq h;
    std::string why;
    ASSERT_TRUE(parseHelloReq(got[0].payload, h, why)) << why;
    EXPECT_EQ(h.version, kVersion);
    EXPECT_EQ(h.client, "me");
    EXPECT_EQ(got[1].type, uint8_t(Cmd::End));
    EXPECT_TRUE(got[1].payload.empty());
    EXPECT_EQ(p.buffered(), 0u);
}

TEST(FrameParser, RejectsBadMarkerAtFirstByte) {
    FrameParser p;
    const uint8_t junk[] = {'G', 'E', 'T'};
    p.feed(junk, 1);
    Frame f;
    EXPECT_EQ(p.next(f), FrameParser::Result::Error);
    EXPECT_NE(p.error().find("marker"), std::string::npos);
    // Stays broken: a good frame after garbage is not taken.
    auto good = makeFrame(Cmd::End, {});
    p.feed(good.data(), good.size());
    EXPECT_EQ(p.next(f), FrameParser::Result::Error);
}

TEST(FrameParser, RejectsOtherVersion) {
    FrameParser p;
    auto h = header(uint8_t(Cmd::End), 0);
    h[2] = 2;
    p.feed(h.data(), h.size());
    Frame f;
    EXPECT_EQ(p.next(f), FrameParser::Result::Error);
    EXPECT_NE(p.error().find("version 2"), std::string::npos);
}

TEST(FrameParser, RejectsOversizeLengthBeforePayloadArrives) {
    FrameParser p;
    auto h = header(uint8_t(Cmd::Data), kMaxPayload + 1);
    p.feed(h.data(), h.size());
    Frame f;
    EXPECT_EQ(p.next(f), FrameParser::Result::Error);
    // The largest allowed length is only waited for, not refused.
    FrameParser q;
    auto h2 = header(uint8_t(Cmd::Data), kMaxPayload);
    q.feed(h2.data(), h2.size());
    EXPECT_EQ(q.next(f), FrameParser::Result::NeedMore);
}

TEST(Payloads, RecordBatchRoundTrip) {
    BatchBuilder b("25", 64);
    const std::vector<uint8_t> r1 = {1, 2, 3, 4, 0, 8, 9, 9};
    const std::vector<uint8_t> r2(40, 7);
    ASSERT_TRUE(b.add(r1.data(), uint32_t(r1.size())));
    ASSERT_TRUE(b.add(r2.data(), uint32_t(r2.size())));
    // A third does not fit the 64-byte limit.
    EXPECT_FALSE(b.add(r1.data(), uint32_t(r1.size())));
    auto payload = b.take();
    EXPECT_LE(payload.size(), 64u);
    RecordBatch batch;
    std::string why;
    ASSERT_TRUE(parseRecordBatch(payload, batch, why)) << why;
    EXPECT_EQ(batch.code, "25");
    ASSERT_EQ(batch.records.size(), 2u);
    EXPECT_EQ(std::vector<uint8_t>(batch.records[0].data, batch.records[0].data + batch.records[0].size), r1);
    EXPECT_EQ(std::vector<uint8_t>(batch.records[1].data, batch.records[1].data + batch.records[1].size), r2);
    EXPECT_TRUE(b.empty());
}

TEST(Payloads, RecordBatchRefusesCountLargerThanPayload) {
    std::vector<uint8_t> p;
    Writer w(p);
    w.code("25");
    w.u32(0xFFFFFFFFu);
    RecordBatch batch;
    std::string why;
    EXPECT_FALSE(parseRecordBatch(p, batch, why));
    EXPECT_NE(why.find("does not fit"), std::string::npos);
}

TEST(Payloads, RecordBatchRefusesZeroLengthAndTruncatedRecord) {
    std::vector<uint8_t> p;
    Writer w(p);
    w.code("25");
    w.u32(1);
    w.u32(0);
    RecordBatch batch;
    std::string why;
    EXPECT_FALSE(parseRecordBatch(p, batch, why));
    p.clear();
    Writer w2(p);
    w2.code("25");
    w2.u32(1);
    w2.u32(10);
    w2.u8(1);
    EXPECT_FALSE(parseRecordBatch(p, batch, why));
}

TEST(Payloads, RecordBatchRefusesStrayBytesAndBadCode) {
    BatchBuilder b("20");
    const std::vector<uint8_t> r(23, 1);
    b.add(r.data(), 23);
    auto p = b.take();
    p.push_back(0);
    RecordBatch batch;
    std::string why;
    EXPECT_FALSE(parseRecordBatch(p, batch, why));
    EXPECT_NE(why.find("stray"), std::string::npos);
    p.pop_back();
    p[0] = '\n';
    EXPECT_FALSE(parseRecordBatch(p, batch, why));
}

TEST(Payloads, DeleteRequestCountMustMatch) {
    std::vector<uint8_t> p;
    Writer w(p);
    w.code("25");
    w.u32(2);
    w.u32(0x00001234);
    DeleteReq d;
    std::string why;
    EXPECT_FALSE(parseDeleteReq(p, d, why));
    w.u32(0x00005678);
    ASSERT_TRUE(parseDeleteReq(p, d, why)) << why;
    EXPECT_EQ(d.recordNumbers, (std::vector<uint32_t>{0x1234, 0x5678}));
}

TEST(Payloads, SmallMessagesRoundTrip) {
    std::string why;
    AckMsg a;
    ASSERT_TRUE(parseAck(ackPayload(7, 9), a, why));
    EXPECT_EQ(a.count, 7u);
    EXPECT_EQ(a.extra, 9u);
    FileInfo fi;
    ASSERT_TRUE(parseFileInfo(fileInfoPayload("2E", 3, 0x100000000ull), fi, why));
    EXPECT_EQ(fi.code, "2E");
    EXPECT_EQ(fi.records, 3u);
    EXPECT_EQ(fi.bytes, 0x100000000ull);
    ErrorMsg e;
    ASSERT_TRUE(parseError(errorPayload(ErrCode::BadRecord, 4, "too short"), e, why));
    EXPECT_EQ(e.code, uint16_t(ErrCode::BadRecord));
    EXPECT_EQ(e.index, 4u);
    EXPECT_EQ(e.message, "too short");
    HelloOk h;
    ASSERT_TRUE(parseHelloOk(helloOkPayload("S1", 1024), h, why));
    EXPECT_EQ(h.scaleName, "S1");
    EXPECT_EQ(h.maxPayload, 1024u);
    // Cut short by one byte, each is refused.
    auto p = ackPayload(1, 2);
    p.pop_back();
    EXPECT_FALSE(parseAck(p, a, why));
    auto q = errorPayload(ErrCode::Internal, 0, "abc");
    q.pop_back();
    EXPECT_FALSE(parseError(q, e, why));
}

TEST(Records, FixedLengthsOfTheSmallFiles) {
    EXPECT_EQ(fixedRecordLength("20"), 23u);
    EXPECT_EQ(fixedRecordLength("23"), 25u);
    EXPECT_EQ(fixedRecordLength("14"), 16u);
    EXPECT_EQ(fixedRecordLength("41"), 45u);
    EXPECT_EQ(fixedRecordLength("AB"), 68u);
    EXPECT_EQ(fixedRecordLength("DF"), 10u);
    EXPECT_EQ(fixedRecordLength("4E"), 14u);
    EXPECT_EQ(fixedRecordLength("25"), 0u);
    EXPECT_EQ(fixedRecordLength("46"), 2184u);
    EXPECT_EQ(fixedRecordLength("59"), 50u);
}

TEST(Records, CheckRecordReadsLengthFromBytesFourAndFive) {
    std::vector<uint8_t> r(300, 0);
    r[4] = 0x01;
    r[5] = 0x2C;  // 300
    EXPECT_EQ(checkRecord("25", r.data(), r.size()), "");
    r[5] = 0x2A;  // 298
    EXPECT_NE(checkRecord("25", r.data(), r.size()).find("says 298"), std::string::npos);
    EXPECT_NE(checkRecord("25", r.data(), 5), "");
    std::vector<uint8_t> d(22, 0);
    EXPECT_NE(checkRecord("20", d.data(), d.size()).find("takes 23"), std::string::npos);
    d.push_back(0);
    EXPECT_EQ(checkRecord("20", d.data(), d.size()), "");
}

TEST(Records, FileCodesByDirection) {
    for (const char* c : {"14", "20", "23", "25", "34", "36", "37", "38", "39", "3A", "3B", "3C", "3D", "3F", "40",
                          "41", "4E", "AA", "AB", "DF"})
        EXPECT_TRUE(isOutgoingFile(c)) << c;
    for (const char* c : {"25", "34", "21", "24", "26", "2E", "45", "46", "4A", "52", "59"})
        EXPECT_TRUE(isIncomingFile(c)) << c;
    EXPECT_FALSE(isOutgoingFile("21"));
    EXPECT_FALSE(isIncomingFile("20"));
    std::string code;
    EXPECT_TRUE(normaliseFileCode("3a", code));
    EXPECT_EQ(code, "3A");
    EXPECT_FALSE(normaliseFileCode("2", code));
    EXPECT_FALSE(normaliseFileCode("2;", code));
    EXPECT_EQ(recordNumber(std::vector<uint8_t>{0x00, 0x12, 0x34, 0x56}.data()), 0x00123456u);
}
