// Wire format of the scale link (version 1): framing, commands and the
// bounded readers both ends use. Nothing that arrives is trusted: every
// reader checks lengths before it touches a byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brindale::transfer::proto {

inline constexpr uint8_t kMagic0 = 'B';
inline constexpr uint8_t kMagic1 = 'R';
inline constexpr uint8_t kVersion = 1;
inline constexpr size_t kHeaderSize = 8;
// Large enough for a batch of records, small enough that a hostile length
// cannot make either side allocate much.
inline constexpr uint32_t kMaxPayload = 1u << 20;
// A scale record carries its length in two bytes, so no record is longer.
inline constexpr uint32_t kMaxRecord = 65535;
inline constexpr uint16_t kDefaultPort = 7450;

enum class Cmd : uint8_t {
    Hello = 0x01,
    Write = 0x02,
    Delete = 0x03,
    Clear = 0x04,
    Read = 0x05,
    End = 0x06,
    HelloOk = 0x81,
    Ack = 0x82,
    FileBegin = 0x83,
    Data = 0x84,
    FileEnd = 0x85,
    Error = 0xEE,
};

const char* cmdName(uint8_t type);

// Error codes a scale sends in an Error frame.
enum class ErrCode : uint16_t {
    BadFrame = 1,
    UnknownCommand = 2,
    UnknownFile = 3,
    BadRecord = 4,
    NotReadable = 5,
    Version = 6,
    Internal = 7,
    OutOfOrder = 8,
};

struct Frame {
    uint8_t type = 0;
    std::vector<uint8_t> payload;
};

// Appends a whole frame (header and payload) to out.
void appendFrame(std::vector<uint8_t>& out, Cmd type, const uint8_t* payload, size_t size);
inline void appendFrame(std::vector<uint8_t>& out, Cmd type, const std::vector<uint8_t>& payload) {
    appendFrame(out, type, payload.data(), payload.size());
}
std::vector<uint8_t> makeFrame(Cmd type, const std::vector<uint8_t>& payload);

// Incremental frame splitter: feed it bytes as they come, take frames out.
class FrameParser {
public:
    enum class Result { NeedMore, Frame, Error };

    void feed(const uint8_t* data, size_t size);
    // Takes the next complete frame out of the buffer. After Error the parser
    // stays broken: the stream cannot be resynchronised.
    Result next(Frame& out);
    const std::string& error() const { return error_; }
    size_t buffered() const { return buf_.size() - pos_; }

private:
    std::vector<uint8_t> buf_;
    size_t pos_ = 0;
    std::string error_;
};

// Bounded big-endian writer and reader for payloads.
class Writer {
public:
    explicit Writer(std::vector<uint8_t>& out) : out_(out) {}
    void u8(uint8_t v) { out_.push_back(v); }
    void u16(uint16_t v);
    void u32(uint32_t v);
    void u64(uint64_t v);
    void bytes(const uint8_t* p, size_t n) { out_.insert(out_.end(), p, p + n); }
    void code(std::string_view fileCode);  // two ASCII characters
    void str8(std::string_view s);         // cut to 255 bytes
    void str16(std::string_view s);        // cut to 65535 bytes
    size_t size() const { return out_.size(); }
    std::vector<uint8_t>& buffer() { return out_; }

private:
    std::vector<uint8_t>& out_;
};

class Reader {
public:
    Reader(const uint8_t* p, size_t n) : p_(p), n_(n) {}
    explicit Reader(const std::vector<uint8_t>& v) : p_(v.data()), n_(v.size()) {}
    uint8_t u8();
    uint16_t u16();
    uint32_t u32();
    uint64_t u64();
    const uint8_t* bytes(size_t n);  // nullptr when short
    std::string code();              // empty when short or not two printable characters
    std::string str8();
    std::string str16();
    bool ok() const { return ok_; }
    bool atEnd() const { return ok_ && pos_ == n_; }
    size_t remaining() const { return n_ - pos_; }

private:
    const uint8_t* p_;
    size_t n_;
    size_t pos_ = 0;
    bool ok_ = true;
};

// A record inside a received payload; points into the frame's bytes.
struct RecordView {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
};

// Decoded payloads. Each parse function returns false (and says why) when
// the payload is short, long, or inconsistent.
struct HelloReq {
    uint8_t version = 0;
    std::string client;
};
struct HelloOk {
    uint8_t version = 0;
    std::string scaleName;
    uint32_t maxPayload = 0;
};
struct RecordBatch {  // Write and Data
    std::string code;
    std::vector<RecordView> records;
};
struct DeleteReq {
    std::string code;
    std::vector<uint32_t> recordNumbers;
};
struct FileReq {  // Clear and Read
    std::string code;
};
struct AckMsg {
    uint32_t count = 0;
    uint32_t extra = 0;
};
struct FileInfo {  // FileBegin and FileEnd
    std::string code;
    uint32_t records = 0;
    uint64_t bytes = 0;
};
struct ErrorMsg {
    uint16_t code = 0;
    uint32_t index = 0;
    std::string message;
};

bool parseHelloReq(const std::vector<uint8_t>& p, HelloReq& out, std::string& why);
bool parseHelloOk(const std::vector<uint8_t>& p, HelloOk& out, std::string& why);
bool parseRecordBatch(const std::vector<uint8_t>& p, RecordBatch& out, std::string& why);
bool parseDeleteReq(const std::vector<uint8_t>& p, DeleteReq& out, std::string& why);
bool parseFileReq(const std::vector<uint8_t>& p, FileReq& out, std::string& why);
bool parseAck(const std::vector<uint8_t>& p, AckMsg& out, std::string& why);
bool parseFileInfo(const std::vector<uint8_t>& p, FileInfo& out, std::string& why);
bool parseError(const std::vector<uint8_t>& p, ErrorMsg& out, std::string& why);

std::vector<uint8_t> helloReqPayload(std::string_view client);
std::vector<uint8_t> helloOkPayload(std::string_view scaleName, uint32_t maxPayload);
std::vector<uint8_t> fileReqPayload(std::string_view code);
std::vector<uint8_t> ackPayload(uint32_t count, uint32_t extra);
std::vector<uint8_t> fileInfoPayload(std::string_view code, uint32_t records, uint64_t bytes);
std::vector<uint8_t> errorPayload(ErrCode code, uint32_t index, std::string_view message);

// Builds record batches no larger than the payload limit.
class BatchBuilder {
public:
    BatchBuilder(std::string code, size_t maxPayload = kMaxPayload);
    // False when the record does not fit into the current batch (start a new one).
    bool add(const uint8_t* rec, uint32_t size);
    bool empty() const { return count_ == 0; }
    uint32_t count() const { return count_; }
    // The finished payload; the builder starts over.
    std::vector<uint8_t> take();

private:
    void start();
    std::string code_;
    size_t max_;
    std::vector<uint8_t> buf_;
    uint32_t count_ = 0;
};

// Payload size of one record inside a batch.
inline constexpr size_t batchOverhead = 2 + 4;
inline constexpr size_t recordOverhead = 4;

}  // namespace brindale::transfer::proto
