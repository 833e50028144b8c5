#include "transfer/protocol.h"

#include <cstring>

namespace brindale::transfer::proto {

const char* cmdName(uint8_t type) {
    switch (static_cast<Cmd>(type)) {
    case Cmd::Hello: return "HELLO";
    case Cmd::Write: return "WRITE";
    case Cmd::Delete: return "DELETE";
    case Cmd::Clear: return "CLEAR";
    case Cmd::Read: return "READ";
    case Cmd::End: return "END";
    case Cmd::HelloOk: return "HELLO-OK";
    case Cmd::Ack: return "ACK";
    case Cmd::FileBegin: return "FILE-BEGIN";
    case Cmd::Data: return "DATA";
    case Cmd::FileEnd: return "FILE-END";
    case Cmd::Error: return "ERROR";
    }
    return "unknown";
}

void appendFrame(std::vector<uint8_t>& out, Cmd type, const uint8_t* payload, size_t size) {
    const uint32_t n = static_cast<uint32_t>(size);
    const uint8_t head[kHeaderSize] = {kMagic0, kMagic1, kVersion, static_cast<uint8_t>(type),
                                       static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16),
                                       static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)};
    out.insert(out.end(), head, head + kHeaderSize);
    if (size) out.insert(out.end(), payload, payload + size);
}

std::vector<uint8_t> makeFrame(Cmd type, const std::vector<uint8_t>& payload) {
    std::vector<uint8_t> out;
    out.reserve(kHeaderSize + payload.size());
    appendFrame(out, type, payload);
    return out;
}

// ---- FrameParser ----

void FrameParser::feed(const uint8_t* data, size_t size) {
    if (!error_.empty() || size == 0) return;
    // Drop what was consumed before growing, so the buffer stays near one frame.
    if (pos_ > 0 && (pos_ == buf_.size() || pos_ > (1u << 16))) {
        buf_.erase(buf_.begin(), buf_.begin() + static_cast<std::ptrdiff_t>(pos_));
        pos_ = 0;
    }
    buf_.insert(buf_.end(), data, data + size);
}

FrameParser::Result FrameParser::next(Frame& out) {
    if (!error_.empty()) return Result::Error;
    const size_t avail = buf_.size() - pos_;
    const uint8_t* h = buf_.data() + pos_;
    // Check what we can of the header as soon as it arrives, so garbage is
    // recognised without waiting for a length's worth of it.
    if (avail >= 1 && h[0] != kMagic0) { error_ = "bad frame marker"; return Result::Error; }
    if (avail >= 2 && h[1] != kMagic1) { error_ = "bad frame marker"; return Result::Error; }
    if (avail >= 3 && h[2] != kVersion) {
        error_ = "unsupported protocol version " + std::to_string(h[2]);
        return Result::Error;
    }
    if (avail < kHeaderSize) return Result::NeedMore;
    const uint32_t len = (uint32_t(h[4]) << 24) | (uint32_t(h[5]) << 16) | (uint32_t(h[6]) << 8) | h[7];
    if (len > kMaxPayload) {
        error_ = "frame payload of " + std::to_string(len) + " bytes exceeds the limit";
        return Result::Error;
    }
    if (avail < kHeaderSize + len) return Result::NeedMore;
    out.type = h[3];
    out.payload.assign(h + kHeaderSize, h + kHeaderSize + len);
    pos_ += kHeaderSize + len;
    if (pos_ == buf_.size()) { buf_.clear(); pos_ = 0; }
    return Result::Frame;
}

// ---- Writer ----

void Writer::u16(uint16_t v) { out_.push_back(uint8_t(v >> 8)); out_.push_back(uint8_t(v)); }
void Writer::u32(uint32_t v) {
    const uint8_t b[4] = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
    out_.insert(out_.end(), b, b + 4);
}
void Writer::u64(uint64_t v) { u32(uint32_t(v >> 32)); u32(uint32_t(v)); }
void Writer::code(std::string_view c) {
    out_.push_back(c.size() > 0 ? uint8_t(c[0]) : uint8_t(' '));
    out_.push_back(c.size() > 1 ? uint8_t(c[1]) : uint8_t(' '));
}
void Writer::str8(std::string_view s) {
    const size_t n = s.size() > 255 ? 255 : s.size();
    u8(uint8_t(n));
    bytes(reinterpret_cast<const uint8_t*>(s.data()), n);
}
void Writer::str16(std::string_view s) {
    const size_t n = s.size() > 65535 ? 65535 : s.size();
    u16(uint16_t(n));
    bytes(reinterpret_cast<const uint8_t*>(s.data()), n);
}

// ---- Reader ----

const uint8_t* Reader::bytes(size_t n) {
    if (!ok_ || n > n_ - pos_) { ok_ = false; return nullptr; }
    const uint8_t* r = p_ + pos_;
    pos_ += n;
    return r;
}
uint8_t Reader::u8() { const uint8_t* b = bytes(1); return b ? b[0] : 0; }
uint16_t Reader::u16() { const uint8_t* b = bytes(2); return b ? uint16_t((b[0] << 8) | b[1]) : 0; }
uint32_t Reader::u32() {
    const uint8_t* b = bytes(4);
    return b ? (uint32_t(b[0]) << 24) | (uint32_t(b[1]) << 16) | (uint32_t(b[2]) << 8) | b[3] : 0;
}
uint64_t Reader::u64() { const uint64_t hi = u32(); return (hi << 32) | u32(); }
std::string Reader::code() {
    const uint8_t* b = bytes(2);
    if (!b) return {};
    for (int i = 0; i < 2; ++i) {
        const bool alnum = (b[i] >= '0' && b[i] <= '9') || (b[i] >= 'A' && b[i] <= 'Z');
        if (!alnum) { ok_ = false; return {}; }
    }
    return std::string(reinterpret_cast<const char*>(b), 2);
}
std::string Reader::str8() {
    const uint8_t n = u8();
    const uint8_t* b = bytes(n);
    return b ? std::string(reinterpret_cast<const char*>(b), n) : std::string();
}
std::string Reader::str16() {
    const uint16_t n = u16();
    const uint8_t* b = bytes(n);
    return b ? std::string(reinterpret_cast<const char*>(b), n) : std::string();
}

// ---- payloads ----

namespace {
bool finish(Reader& r, std::string& why, const char* what) {
    if (!r.ok()) { why = std::string(what) + ": payload too short or malformed"; return false; }
    if (!r.atEnd()) { why = std::string(what) + ": " + std::to_string(r.remaining()) + " stray bytes"; return false; }
    return true;
}
}  // namespace

bool parseHelloReq(const std::vector<uint8_t>& p, HelloReq& out, std::string& why) {
    Reader r(p);
    out.version = r.u8();
    out.client = r.str8();
    return finish(r, why, "HELLO");
}

bool parseHelloOk(const std::vector<uint8_t>& p, HelloOk& out, std::string& why) {
    Reader r(p);
    out.version = r.u8();
    out.scaleName = r.str8();
    out.maxPayload = r.u32();
    return finish(r, why, "HELLO-OK");
}

bool parseRecordBatch(const std::vector<uint8_t>& p, RecordBatch& out, std::string& why) {
    Reader r(p);
    out.code = r.code();
    const uint32_t count = r.u32();
    out.records.clear();
    // Each record takes at least its length word, so a count larger than
    // that allows is a lie; checking first keeps the reserve bounded.
    if (!r.ok() || count > r.remaining() / recordOverhead) {
        why = "record batch: count " + std::to_string(count) + " does not fit the payload";
        return false;
    }
    out.records.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t n = r.u32();
        if (!r.ok()) break;
        if (n == 0 || n > kMaxRecord) {
            why = "record batch: record " + std::to_string(i) + " has length " + std::to_string(n);
            return false;
        }
        const uint8_t* b = r.bytes(n);
        if (!b) break;
        out.records.push_back({b, n});
    }
    return finish(r, why, "record batch");
}

bool parseDeleteReq(const std::vector<uint8_t>& p, DeleteReq& out, std::string& why) {
    Reader r(p);
    out.code = r.code();
    const uint32_t count = r.u32();
    out.recordNumbers.clear();
    if (!r.ok() || count != r.remaining() / 4 || r.remaining() % 4 != 0) {
        why = "DELETE: count " + std::to_string(count) + " does not match the payload";
        return false;
    }
    out.recordNumbers.reserve(count);
    for (uint32_t i = 0; i < count; ++i) out.recordNumbers.push_back(r.u32());
    return finish(r, why, "DELETE");
}

bool parseFileReq(const std::vector<uint8_t>& p, FileReq& out, std::string& why) {
    Reader r(p);
    out.code = r.code();
    return finish(r, why, "file request");
}

bool parseAck(const std::vector<uint8_t>& p, AckMsg& out, std::string& why) {
    Reader r(p);
    out.count = r.u32();
    out.extra = r.u32();
    return finish(r, why, "ACK");
}

bool parseFileInfo(const std::vector<uint8_t>& p, FileInfo& out, std::string& why) {
    Reader r(p);
    out.code = r.code();
    out.records = r.u32();
    out.bytes = r.u64();
    return finish(r, why, "file info");
}

bool parseError(const std::vector<uint8_t>& p, ErrorMsg& out, std::string& why) {
    Reader r(p);
    out.code = r.u16();
    out.index = r.u32();
    out.message = r.str16();
    return finish(r, why, "ERROR");
}

std::vector<uint8_t> helloReqPayload(std::string_view client) {
    std::vector<uint8_t> v;
    Writer w(v);
    w.u8(kVersion);
    w.str8(client);
    return v;
}

std::vector<uint8_t> helloOkPayload(std::string_view scaleName, uint32_t maxPayload) {
    std::vector<uint8_t> v;
    Writer w(v);
    w.u8(kVersion);
    w.str8(scaleName);
    w.u32(maxPayload);
    return v;
}

std::vector<uint8_t> fileReqPayload(std::string_view code) {
    std::vector<uint8_t> v;
    Writer(v).code(code);
    return v;
}

std::vector<uint8_t> ackPayload(uint32_t count, uint32_t extra) {
    std::vector<uint8_t> v;
    Writer w(v);
    w.u32(count);
    w.u32(extra);
    return v;
}

std::vector<uint8_t> fileInfoPayload(std::string_view code, uint32_t records, uint64_t bytes) {
    std::vector<uint8_t> v;
    Writer w(v);
    w.code(code);
    w.u32(records);
    w.u64(bytes);
    return v;
}

std::vector<uint8_t> errorPayload(ErrCode code, uint32_t index, std::string_view message) {
    std::vector<uint8_t> v;
    Writer w(v);
    w.u16(static_cast<uint16_t>(code));
    w.u32(index);
    w.str16(message);
    return v;
}

// ---- BatchBuilder ----

BatchBuilder::BatchBuilder(std::string code, size_t maxPayload) : code_(std::move(code)), max_(maxPayload) { start(); }

void BatchBuilder::start() {
    buf_.clear();
    Writer w(buf_);
    w.code(code_);
    w.u32(0);
    count_ = 0;
}

bool BatchBuilder::add(const uint8_t* rec, uint32_t size) {
    if (count_ > 0 && buf_.size() + recordOverhead + size > max_) return false;
    Writer w(buf_);
    w.u32(size);
    w.bytes(rec, size);
    ++count_;
    return true;
}

std::vector<uint8_t> BatchBuilder::take() {
    buf_[2] = uint8_t(count_ >> 24);
    buf_[3] = uint8_t(count_ >> 16);
    buf_[4] = uint8_t(count_ >> 8);
    buf_[5] = uint8_t(count_);
    std::vector<uint8_t> out;
    out.swap(buf_);
    start();
    return out;
}

}  // namespace brindale::transfer::proto
