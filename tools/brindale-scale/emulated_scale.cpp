#include "emulated_scale.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/socket.h>

#include "reportformat/report_format.h"
#include "totals.h"
#include "transfer/records.h"

namespace brindale::scaleemu {

namespace {

constexpr size_t kImageEndSize = 6;

// Two bytes of packed digits; the record checks have made sure they are digits.
uint32_t packedPair(const uint8_t* p) {
    return ((p[0] >> 4) * 10 + (p[0] & 15)) * 100 + (p[1] >> 4) * 10 + (p[1] & 15);
}

// An image is kept whole: its end record drops the blocks of the same image from its count on and
// any older end record of it, so that a smaller picture sent over a larger one leaves no stale
// blocks behind. Image records are keyed by image and block number (their first four bytes).
void keepImageWhole(FileRecords& f, const uint8_t* end) {
    const uint32_t endKey = transfer::recordNumber(end);
    const uint32_t image = packedPair(end);
    const uint32_t count = packedPair(end + 2);
    for (auto it = f.begin(); it != f.end();) {
        const Record& r = it->second;
        const bool sameImage = it->first != endKey && r.size() >= 4 && packedPair(r.data()) == image;
        const bool stale = sameImage && (r.size() == kImageEndSize || packedPair(r.data() + 2) >= count);
        it = stale ? f.erase(it) : std::next(it);
    }
}

}  // namespace

namespace fs = std::filesystem;
namespace net = transfer::net;
namespace proto = transfer::proto;

namespace {


}  // namespace
using proto::Cmd;
using proto::ErrCode;

namespace {

// What a scale's keyboard refuses of a preset key record (its length is checked before).
std::string presetKeyFault(const uint8_t* r, size_t size) {
    if (size < 45) return {};
    if (r[4] != 0x00 || r[5] != 0x2D) return "preset key: bytes 4 and 5 are not 00 2D";
    const uint8_t status = r[10];
    if (status != 0 && status != 1 && status != 2 && status != 8 && status != 128 && status != 240)
        return "preset key: kind " + std::to_string(status) + " in byte 10 is not known";
    for (size_t i = 11; i < 45; ++i)
        if (r[i] != 0) return "preset key: byte " + std::to_string(i) + " is not zero";
    if (!isBcd(r, 4)) return "preset key: key address is not packed decimal";
    if ((status == 0 || status == 2) && !isBcd(r + 6, 4))
        return "preset key: key value of kind " + std::to_string(status) + " is not packed decimal";
    return {};
}

// What a scale's label format store accepts beyond the length field: one of its three record
// sizes, numbered by a packed format number 1 to 99. The engine does not check this, so a test
// can still place such a record with put() and fetch it.
std::string labelFormatRefusal(const uint8_t* d, size_t n) {
    if (n < 6) return "label format record of " + std::to_string(n) + " bytes";
    const size_t size = size_t(d[4]) * 256 + d[5];
    if (size != 1118 && size != 1400 && size != 1664)
        return "label format size " + std::to_string(size) + " is none of 1118, 1400, 1664";
    if (!isBcd(d, 4)) return "label format number is not a packed number";
    int v = 0;
    for (size_t i = 0; i < 4; ++i) v = v * 100 + (d[i] >> 4) * 10 + (d[i] & 0xF);
    if (v < 1 || v > 99) return "label format number " + std::to_string(v) + " is not 1 to 99";
    return {};
}

// What a scale refuses inside a record whose length is right, file by file: label formats, report
// formats and sequences, preset keys, each read as the scale reads it. Empty when it is taken.
std::string contentRefusal(const std::string& code, const uint8_t* data, size_t size) {
    if (code == "34") return labelFormatRefusal(data, size);
    if (code == "41") return presetKeyFault(data, size);
    if (code == "AA") return reportformat::readFormatRecord(data, size).error;
    if (code == "AB") return reportformat::readSequenceRecord(data, size).error;
    return {};
}

}  // namespace

EmulatedScale::EmulatedScale(ScaleOptions options) : options_(std::move(options)) {}

EmulatedScale::~EmulatedScale() { stop(); }

bool EmulatedScale::start(std::string& error) {
    if (started_) return true;
    if (!load(error)) return false;
    listener_ = net::bindTcp(options_.address, options_.port, !options_.refuse, port_, error);
    if (!listener_.valid()) return false;
    stopping_ = false;
    started_ = true;
    if (!options_.refuse) acceptThread_ = std::thread([this] { acceptLoop(); });
    return true;
}

void EmulatedScale::stop() {
    if (!started_) return;
    stopping_ = true;
    if (acceptThread_.joinable()) acceptThread_.join();
    std::vector<ConnThread> threads;
    {
        std::lock_guard<std::mutex> lock(connMutex_);
        threads.swap(connThreads_);
    }
    for (auto& t : threads)
        if (t.thread.joinable()) t.thread.join();
    listener_.close();
    std::string ignore;
    save(ignore);
    started_ = false;
}

void EmulatedScale::acceptLoop() {
    while (!stopping_) {
        net::Socket s = net::acceptFor(listener_, std::chrono::milliseconds(50));
        if (!s.valid()) continue;
        if (activeConnections_.load() >= options_.maxConnections) {
            s.close();  // busy: the client sees the link closed
            continue;
        }
        ++stats_.connections;
        ++activeConnections_;
        std::lock_guard<std::mutex> lock(connMutex_);
        // Join the connections that have ended, so a long run keeps no husks.
        for (auto it = connThreads_.begin(); it != connThreads_.end();) {
            if (it->done->load()) {
                it->thread.join();
                it = connThreads_.erase(it);
            } else {
                ++it;
            }
        }
        auto done = std::make_shared<std::atomic<bool>>(false);
        connThreads_.push_back({std::thread([this, done, sock = std::move(s)]() mutable {
                                    try {
                                        serve(std::move(sock));
                                    } catch (const std::exception& e) {
                                        // One client's trouble (say, memory) ends only its connection.
                                        std::fprintf(stderr, "brindale-scale: connection ended: %s\n", e.what());
                                    }
                                    --activeConnections_;
                                    done->store(true);
                                }),
                                done});
    }
}

FileRecords EmulatedScale::file(const std::string& code) const {
    std::lock_guard<std::mutex> lock(filesMutex_);
    auto it = files_.find(code);
    return it == files_.end() ? FileRecords{} : it->second;
}

size_t EmulatedScale::recordCount(const std::string& code) const {
    std::lock_guard<std::mutex> lock(filesMutex_);
    auto it = files_.find(code);
    return it == files_.end() ? 0 : it->second.size();
}

void EmulatedScale::put(const std::string& code, const Record& record) {
    if (record.size() < 4) return;
    std::lock_guard<std::mutex> lock(filesMutex_);
    files_[code][transfer::recordNumber(record.data())] = record;
    dirty_.push_back(code);
}

// Storage: one file "<code>.rec" per scale file, each record as a 4-byte
// big-endian length and its bytes, in record-number order.
bool EmulatedScale::load(std::string& error) {
    if (options_.storageDir.empty()) return true;
    std::error_code ec;
    fs::create_directories(options_.storageDir, ec);
    if (!fs::is_directory(options_.storageDir, ec)) {
        error = "storage folder cannot be made: " + options_.storageDir;
        return false;
    }
    std::lock_guard<std::mutex> lock(filesMutex_);
    for (const auto& entry : fs::directory_iterator(options_.storageDir, ec)) {
        const fs::path p = entry.path();
        if (p.extension() != ".rec") continue;
        const std::string code = p.stem().string();
        if (!transfer::isOutgoingFile(code)) continue;
        std::ifstream in(p, std::ios::binary);
        std::vector<uint8_t> all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        size_t pos = 0;
        while (pos + 4 <= all.size()) {
            const uint32_t n = transfer::recordNumber(&all[pos]);
            pos += 4;
            if (n == 0 || n > proto::kMaxRecord || pos + n > all.size()) {
                std::fprintf(stderr, "%s: damaged at byte %zu; rest ignored\n", p.string().c_str(), pos - 4);
                break;
            }
            Record r(all.begin() + std::ptrdiff_t(pos), all.begin() + std::ptrdiff_t(pos + n));
            pos += n;
            if (!transfer::checkRecord(code, r.data(), r.size()).empty() || r.size() < 4) continue;
            files_[code][transfer::recordNumber(r.data())] = std::move(r);
        }
    }
    return true;
}

bool EmulatedScale::save(std::string& error) {
    if (options_.storageDir.empty()) return true;
    std::lock_guard<std::mutex> lock(filesMutex_);
    std::sort(dirty_.begin(), dirty_.end());
    dirty_.erase(std::unique(dirty_.begin(), dirty_.end()), dirty_.end());
    bool ok = true;
    for (const auto& code : dirty_) {
        const fs::path target = fs::path(options_.storageDir) / (code + ".rec");
        const fs::path tmp = fs::path(options_.storageDir) / (code + ".rec.tmp");
        {
            std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
            auto it = files_.find(code);
            if (it != files_.end()) {
                for (const auto& [recno, rec] : it->second) {
                    const uint32_t n = uint32_t(rec.size());
                    const char len[4] = {char(n >> 24), char(n >> 16), char(n >> 8), char(n)};
                    out.write(len, 4);
                    out.write(reinterpret_cast<const char*>(rec.data()), std::streamsize(rec.size()));
                }
            }
            if (!out) {
                error = "cannot write " + tmp.string();
                ok = false;
                continue;
            }
        }
        std::error_code ec;
        fs::rename(tmp, target, ec);
        if (ec) {
            error = "cannot replace " + target.string() + ": " + ec.message();
            ok = false;
        }
    }
    dirty_.clear();
    return ok;
}

void EmulatedScale::serve(net::Socket sock) {
    net::Limits lim;
    lim.idle = options_.idleTimeout;
    lim.cancel = &stopping_;
    proto::FrameParser parser;
    proto::Frame frame;
    std::string detail;
    bool greeted = false;
    int64_t budget = options_.cutAfter;  // records left before the cut; negative: no cut
    std::vector<uint8_t> out;

    auto reply = [&](Cmd type, const std::vector<uint8_t>& payload) {
        out.clear();
        proto::appendFrame(out, type, payload);
        return net::sendAll(sock, out, lim, detail) == net::Status::Ok;
    };
    auto refuse = [&](ErrCode code, uint32_t index, const std::string& msg) {
        ++stats_.framesRejected;
        return reply(Cmd::Error, proto::errorPayload(code, index, msg));
    };

    for (;;) {
        const net::Status st = net::recvFrame(sock, parser, frame, lim, detail);
        if (st == net::Status::Protocol) {
            refuse(ErrCode::BadFrame, 0, detail);
            break;
        }
        if (st != net::Status::Ok) break;

        if (options_.garbage) {
            static const char junk[] = "\x00\xffNOT A FRAME\r\n\x13\x37";
            net::sendAll(sock, reinterpret_cast<const uint8_t*>(junk), sizeof junk - 1, lim, detail);
            continue;
        }
        const auto type = static_cast<Cmd>(frame.type);
        std::string why;
        if (!greeted) {
            proto::HelloReq hello;
            if (type != Cmd::Hello) {
                refuse(ErrCode::OutOfOrder, 0, "greeting expected first");
                break;
            }
            if (!proto::parseHelloReq(frame.payload, hello, why)) {
                refuse(ErrCode::BadFrame, 0, why);
                break;
            }
            if (hello.version != proto::kVersion) {
                refuse(ErrCode::Version, 0, "protocol version " + std::to_string(hello.version) + " not spoken");
                break;
            }
            greeted = true;
            if (!reply(Cmd::HelloOk, proto::helloOkPayload(options_.name, proto::kMaxPayload))) break;
            continue;
        }
        if (options_.hang) continue;  // reads on, answers nothing

        if (type == Cmd::Write) {
            proto::RecordBatch batch;
            if (!proto::parseRecordBatch(frame.payload, batch, why)) {
                if (!refuse(ErrCode::BadFrame, 0, why)) break;
                continue;
            }
            if (!transfer::isOutgoingFile(batch.code) || transfer::isTotalsFile(batch.code)) {
                if (!refuse(ErrCode::UnknownFile, 0, "file " + batch.code + " is not kept by this scale")) break;
                continue;
            }
            // The whole batch is checked before any of it is kept.
            bool bad = false;
            for (size_t i = 0; i < batch.records.size() && !bad; ++i) {
                const auto& r = batch.records[i];
                std::string e = transfer::checkRecord(batch.code, r.data, r.size);
                if (e.empty() && r.size < 4) e = "record too short for a record number";
                if (e.empty()) e = contentRefusal(batch.code, r.data, r.size);
                if (!e.empty()) {
                    bad = true;
                    if (!refuse(ErrCode::BadRecord, uint32_t(i), e)) break;
                }
            }
            if (bad) continue;
            size_t n = batch.records.size();
            const bool cut = budget >= 0 && int64_t(n) >= budget;
            if (cut) n = size_t(budget);
            {
                std::lock_guard<std::mutex> lock(filesMutex_);
                auto& f = files_[batch.code];
                for (size_t i = 0; i < n; ++i) {
                    const auto& r = batch.records[i];
                    f[transfer::recordNumber(r.data)] = Record(r.data, r.data + r.size);
                    if (batch.code == "37" && r.size == kImageEndSize) keepImageWhole(f, r.data);
                }
                dirty_.push_back(batch.code);
            }
            stats_.recordsWritten += n;
            if (cut) break;
            if (budget >= 0) budget -= int64_t(n);
            if (!reply(Cmd::Ack, proto::ackPayload(uint32_t(n), 0))) break;
        } else if (type == Cmd::Delete) {
            proto::DeleteReq req;
            if (!proto::parseDeleteReq(frame.payload, req, why)) {
                if (!refuse(ErrCode::BadFrame, 0, why)) break;
                continue;
            }
            if (!transfer::isOutgoingFile(req.code)) {
                if (!refuse(ErrCode::UnknownFile, 0, "file " + req.code + " is not kept by this scale")) break;
                continue;
            }
            size_t n = req.recordNumbers.size();
            const bool cut = budget >= 0 && int64_t(n) >= budget;
            if (cut) n = size_t(budget);
            uint32_t found = 0;
            {
                std::lock_guard<std::mutex> lock(filesMutex_);
                auto it = files_.find(req.code);
                for (size_t i = 0; i < n && it != files_.end(); ++i) found += uint32_t(it->second.erase(req.recordNumbers[i]));
                dirty_.push_back(req.code);
            }
            stats_.recordsDeleted += found;
            if (cut) break;
            if (budget >= 0) budget -= int64_t(n);
            if (!reply(Cmd::Ack, proto::ackPayload(uint32_t(n), found))) break;
        } else if (type == Cmd::Clear) {
            proto::FileReq req;
            if (!proto::parseFileReq(frame.payload, req, why)) {
                if (!refuse(ErrCode::BadFrame, 0, why)) break;
                continue;
            }
            if (!transfer::isOutgoingFile(req.code)) {
                if (!refuse(ErrCode::UnknownFile, 0, "file " + req.code + " is not kept by this scale")) break;
                continue;
            }
            uint32_t removed = 0;
            {
                std::lock_guard<std::mutex> lock(filesMutex_);
                auto it = files_.find(req.code);
                if (it != files_.end()) {
                    removed = uint32_t(it->second.size());
                    it->second.clear();
                }
                dirty_.push_back(req.code);
            }
            stats_.recordsDeleted += removed;
            if (!reply(Cmd::Ack, proto::ackPayload(removed, removed))) break;
        } else if (type == Cmd::Read) {
            proto::FileReq req;
            if (!proto::parseFileReq(frame.payload, req, why)) {
                if (!refuse(ErrCode::BadFrame, 0, why)) break;
                continue;
            }
            std::vector<Record> records;
            if (transfer::isTotalsFile(req.code)) {
                std::lock_guard<std::mutex> lock(filesMutex_);
                records = makeTotals(req.code, files_, options_.totalsCorners);
            } else if (transfer::isOutgoingFile(req.code)) {
                std::lock_guard<std::mutex> lock(filesMutex_);
                auto it = files_.find(req.code);
                if (it != files_.end())
                    for (const auto& kv : it->second) records.push_back(kv.second);
            } else {
                if (!refuse(ErrCode::UnknownFile, 0, "file " + req.code + " is not kept by this scale")) break;
                continue;
            }
            uint64_t bytes = 0;
            for (const auto& r : records) bytes += r.size();
            if (!reply(Cmd::FileBegin, proto::fileInfoPayload(req.code, uint32_t(records.size()), bytes))) break;
            bool ok = true, cut = false;
            proto::BatchBuilder builder(req.code, options_.batchBytes);
            auto flush = [&] { return reply(Cmd::Data, builder.take()); };
            for (const auto& r : records) {
                if (budget == 0) { cut = true; break; }
                if (!builder.add(r.data(), uint32_t(r.size()))) {
                    if (!(ok = flush())) break;
                    builder.add(r.data(), uint32_t(r.size()));
                }
                if (budget > 0) --budget;
                ++stats_.recordsRead;
            }
            if (ok && !builder.empty()) ok = flush();
            if (!ok || cut) break;
            if (!reply(Cmd::FileEnd, proto::fileInfoPayload(req.code, uint32_t(records.size()), bytes))) break;
        } else if (type == Cmd::End) {
            reply(Cmd::Ack, proto::ackPayload(0, 0));
            break;
        } else if (type == Cmd::Hello) {
            if (!refuse(ErrCode::OutOfOrder, 0, "already greeted")) break;
        } else {
            if (!refuse(ErrCode::UnknownCommand, 0, std::string("command ") + std::to_string(frame.type) + " not known"))
                break;
        }
    }
    // Hand the client what we sent before the close, then close.
    ::shutdown(sock.fd(), SHUT_WR);
    sock.close();
    std::string ignore;
    save(ignore);
}

std::vector<std::unique_ptr<EmulatedScale>> startScales(std::vector<ScaleOptions> each, std::string& error) {
    std::vector<std::unique_ptr<EmulatedScale>> scales;
    for (size_t i = 0; i < each.size(); ++i) {
        if (i > 0) each[i].port = scales.front()->port();
        auto s = std::make_unique<EmulatedScale>(each[i]);
        if (!s->start(error)) {
            error = each[i].address + ": " + error;
            for (auto& started : scales) started->stop();
            return {};
        }
        scales.push_back(std::move(s));
    }
    return scales;
}

std::vector<std::unique_ptr<EmulatedScale>> startScales(const std::vector<std::string>& addresses,
                                                        const std::function<bool(const std::string&)>& refuses,
                                                        std::string& error) {
    std::vector<ScaleOptions> each;
    for (const auto& a : addresses) {
        ScaleOptions so;
        so.address = a;
        so.port = 0;
        so.refuse = refuses && refuses(a);
        each.push_back(so);
    }
    return startScales(each, error);
}

}  // namespace brindale::scaleemu
