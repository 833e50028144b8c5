#include "transfer/engine.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <system_error>
#include <thread>

#include "transfer/database.h"
#include "transfer/net.h"
#include "transfer/records.h"

namespace brindale::transfer {

using proto::Cmd;

const char* stateKey(ScaleState s) {
    switch (s) {
    case ScaleState::Waiting: return "Waiting";
    case ScaleState::Connecting: return "Connecting";
    case ScaleState::Sending: return "Sending";
    case ScaleState::Deleting: return "Deleting";
    case ScaleState::Receiving: return "Receiving";
    case ScaleState::Done: return "Done";
    case ScaleState::Failed: return "Failed";
    case ScaleState::Cancelled: return "Cancelled";
    }
    return "Waiting";
}

const char* reasonKey(FailReason r) {
    switch (r) {
    case FailReason::None: return "";
    case FailReason::Refused: return "ErrRefused";
    case FailReason::Timeout: return "ErrTimeout";
    case FailReason::Closed: return "ErrClosed";
    case FailReason::Protocol: return "ErrProtocol";
    case FailReason::Rejected: return "ErrRejected";
    case FailReason::NoScale: return "ErrNoScale";
    case FailReason::Database: return "ErrDatabase";
    case FailReason::Cancelled: return "Cancelled";
    }
    return "";
}

size_t TransferSummary::countDone() const {
    return size_t(std::count_if(scales.begin(), scales.end(), [](auto& s) { return s.state == ScaleState::Done; }));
}
size_t TransferSummary::countFailed() const {
    return size_t(std::count_if(scales.begin(), scales.end(), [](auto& s) { return s.state == ScaleState::Failed; }));
}
size_t TransferSummary::countCancelled() const {
    return size_t(
        std::count_if(scales.begin(), scales.end(), [](auto& s) { return s.state == ScaleState::Cancelled; }));
}

// ---- the plan: built once from the database, shared read-only by all workers ----

struct TransferEngine::Plan {
    struct Batch {
        std::vector<uint8_t> frame;  // whole frame, ready to send
        uint32_t count = 0;          // records (or record numbers) in it
        uint64_t first = 0;          // index of its first record within the file
    };
    struct File {
        std::string code;
        std::vector<Batch> batches;
        bool clearWhole = false;  // delete mode with no row marked, on a file deleted as a whole
        uint64_t records = 0;
    };
    TransferMode mode = TransferMode::Download;
    std::vector<File> files;  // download and delete
    std::vector<std::string> fetch;  // upload
    uint64_t total = 0;
};

TransferEngine::TransferEngine(TransferRequest request, TransferOptions options)
    : request_(std::move(request)), options_(options) {
    options_.maxParallel = std::max(1, options_.maxParallel);
    options_.window = std::max(1, options_.window);
    options_.insertChunk = std::max<size_t>(1, options_.insertChunk);
    options_.batchBytes = std::clamp<size_t>(options_.batchBytes, 1024, proto::kMaxPayload);
}

TransferEngine::~TransferEngine() = default;

namespace {

// Files the windows delete as a whole: the image and logo windows mark no
// row when they ask for a delete.
bool deletedAsWhole(const std::string& code) { return code == "36" || code == "37"; }

FailReason reasonOf(net::Status s) {
    switch (s) {
    case net::Status::Ok: return FailReason::None;
    case net::Status::Refused: return FailReason::Refused;
    case net::Status::Timeout: return FailReason::Timeout;
    case net::Status::Closed: return FailReason::Closed;
    case net::Status::Cancelled: return FailReason::Cancelled;
    case net::Status::Protocol: return FailReason::Protocol;
    case net::Status::Error: return FailReason::Closed;
    }
    return FailReason::Closed;
}

}  // namespace

TransferSummary TransferEngine::run(TransferObserver* observer) {
    try {
        return runGuarded(observer);
    } catch (const std::exception& e) {
        // Out of memory or threads: say so rather than end the program.
        TransferSummary summary;
        summary.reason = FailReason::Database;
        summary.detail = {"DetailStopped", {e.what()}};
        summary.scales = outcomes_;
        if (observer_) observer_->finished(summary);
        return summary;
    }
}

TransferSummary TransferEngine::runGuarded(TransferObserver* observer) {
    observer_ = observer;
    TransferSummary summary;
    const auto runStart = std::chrono::steady_clock::now();
    auto giveUp = [&](FailReason r, Note detail) {
        summary.reason = r;
        summary.detail = std::move(detail);
        if (observer_) {
            observer_->started({});
            observer_->finished(summary);
        }
        return summary;
    };

    if (request_.mode < 0 || request_.mode > 2)
        return giveUp(FailReason::Rejected, {"DetailMode", {std::to_string(request_.mode)}});
    if (request_.store < 0 || request_.store > 255 || request_.section < 0 || request_.section > 255)
        return giveUp(FailReason::NoScale, {"DetailRange", {}});

    WorkingDb db;
    std::string error;
    const std::string path = resolveDatabasePath(request_.databasePath);
    if (!db.open(path, options_.busyTimeoutMs, error)) return giveUp(FailReason::Database, Note::raw(error));

    std::vector<ScaleRow> rows;
    if (!db.readScales(request_.store, request_.section, rows, error))
        return giveUp(FailReason::Database, Note::raw(error));
    if (rows.empty())
        return giveUp(FailReason::NoScale,
                      {"DetailNoScale", {std::to_string(request_.store), std::to_string(request_.section)}});

    auto plan = std::make_unique<Plan>();
    plan->mode = static_cast<TransferMode>(request_.mode);
    for (const auto& given : request_.tables) {
        std::string code;
        if (!normaliseFileCode(given, code)) {
            summary.notes.push_back({"NoteNotIdentifier", {given}});
            continue;
        }
        if (plan->mode == TransferMode::Upload) {
            if (!isIncomingFile(code)) {
                summary.notes.push_back({"NoteNotFetched", {code}});
                continue;
            }
            if (!db.tableExists("RC_" + code)) {
                summary.notes.push_back({"NoteNoTable", {code}});
                continue;
            }
            plan->fetch.push_back(code);
            continue;
        }
        if (!isOutgoingFile(code)) {
            summary.notes.push_back({"NoteNotSent", {code}});
            continue;
        }
        std::vector<SelectedRow> selected;
        if (!db.readSelected(code, selected, error)) return giveUp(FailReason::Database, Note::raw(error));
        if (auto held = request_.heldBack.find(code); held != request_.heldBack.end() && !held->second.empty()) {
            std::vector<int64_t> ids = held->second;
            std::sort(ids.begin(), ids.end());
            std::erase_if(selected, [&ids](const SelectedRow& r) { return std::binary_search(ids.begin(), ids.end(), r.rowid); });
        }
        Plan::File file;
        file.code = code;
        const std::string table = "KVR_" + code;
        if (plan->mode == TransferMode::Download) {
            proto::BatchBuilder builder(code, options_.batchBytes);
            uint64_t first = 0;
            auto flush = [&] {
                Plan::Batch b;
                b.count = builder.count();
                b.first = first;
                first += b.count;
                auto payload = builder.take();
                b.frame.reserve(payload.size() + proto::kHeaderSize);
                proto::appendFrame(b.frame, Cmd::Write, payload);
                file.batches.push_back(std::move(b));
            };
            for (const auto& r : selected) {
                if (r.isNull || r.bytes.empty()) {
                    summary.notes.push_back({"NoteNoRecord", {table, std::to_string(r.rowid)}});
                    continue;
                }
                const std::string why = checkRecord(code, r.bytes.data(), r.bytes.size());
                if (!why.empty()) {
                    summary.notes.push_back({"NoteBadRecord", {table, std::to_string(r.rowid), why}});
                    continue;
                }
                if (!builder.add(r.bytes.data(), uint32_t(r.bytes.size()))) {
                    flush();
                    builder.add(r.bytes.data(), uint32_t(r.bytes.size()));
                }
                ++file.records;
            }
            if (!builder.empty()) flush();
        } else {
            std::vector<uint32_t> numbers;
            for (const auto& r : selected) {
                if (r.bytes.size() < 4) {
                    summary.notes.push_back({"NoteNoNumber", {table, std::to_string(r.rowid)}});
                    continue;
                }
                numbers.push_back(recordNumber(r.bytes.data()));
            }
            if (selected.empty()) {
                if (deletedAsWhole(code)) {
                    file.clearWhole = true;
                    auto payload = proto::fileReqPayload(code);
                    Plan::Batch b;
                    b.count = 1;
                    proto::appendFrame(b.frame, Cmd::Clear, payload);
                    file.batches.push_back(std::move(b));
                    file.records = 1;
                } else {
                    summary.notes.push_back({"NoteNothingMarked", {table}});
                }
            }
            const size_t perFrame = (options_.batchBytes - proto::batchOverhead) / 4;
            for (size_t i = 0; i < numbers.size(); i += perFrame) {
                const size_t n = std::min(perFrame, numbers.size() - i);
                std::vector<uint8_t> payload;
                proto::Writer w(payload);
                w.code(code);
                w.u32(uint32_t(n));
                for (size_t k = 0; k < n; ++k) w.u32(numbers[i + k]);
                Plan::Batch b;
                b.count = uint32_t(n);
                b.first = i;
                proto::appendFrame(b.frame, Cmd::Delete, payload);
                file.batches.push_back(std::move(b));
            }
            file.records += numbers.size();
        }
        plan->total += file.records;
        plan->files.push_back(std::move(file));
    }

    std::vector<ScaleTarget> targets;
    for (const auto& r : rows) {
        ScaleTarget t;
        t.paddedAddress = r.paddedAddress;
        t.name = r.name;
        t.section = r.section;
        std::string clean;
        if (net::parseIPv4(r.paddedAddress, clean) && clean != "0.0.0.0") t.address = clean;
        targets.push_back(std::move(t));
    }
    outcomes_.clear();
    for (auto& t : targets) {
        ScaleOutcome o;
        o.target = t;
        o.total = plan->total;
        outcomes_.push_back(std::move(o));
    }
    summary.prepareTime = std::chrono::steady_clock::now() - runStart;
    if (observer_) observer_->started(targets);

    plan_ = plan.get();
    db_ = &db;
    nextScale_ = 0;
    const size_t workers = std::min<size_t>(size_t(options_.maxParallel), outcomes_.size());
    std::vector<std::thread> threads;
    threads.reserve(workers);
    try {
        for (size_t i = 0; i < workers; ++i) threads.emplace_back([this, i] { work(i); });
    } catch (const std::system_error&) {
        // Fewer threads than asked for: those there are share the scales.
    }
    if (threads.empty()) work(0);
    for (auto& t : threads) t.join();
    plan_ = nullptr;
    db_ = nullptr;

    summary.scales = outcomes_;
    summary.cancelled = cancel_.load();
    summary.totalTime = std::chrono::steady_clock::now() - runStart;
    if (observer_) observer_->finished(summary);
    return summary;
}

void TransferEngine::work(size_t) {
    for (;;) {
        const size_t i = nextScale_.fetch_add(1);
        if (i >= outcomes_.size()) return;
        if (cancel_.load()) {
            outcomes_[i].state = ScaleState::Cancelled;
            outcomes_[i].reason = FailReason::Cancelled;
            if (observer_) observer_->stateChanged(i, ScaleState::Cancelled, FailReason::Cancelled, {});
            continue;
        }
        try {
            runScale(i);
        } catch (const std::exception& e) {
            outcomes_[i].state = ScaleState::Failed;
            outcomes_[i].reason = FailReason::Protocol;
            outcomes_[i].detail = std::string("stopped: ") + e.what();
            if (observer_) observer_->stateChanged(i, ScaleState::Failed, FailReason::Protocol, outcomes_[i].detail);
        }
    }
}

bool TransferEngine::tryTakeTurn(size_t scale) {
    std::lock_guard<std::mutex> lock(turnMutex_);
    if (turnOwner_ != -1 && turnOwner_ != long(scale)) return false;
    turnOwner_ = long(scale);
    return true;
}

void TransferEngine::takeTurn(size_t scale) {
    std::unique_lock<std::mutex> lock(turnMutex_);
    turnFree_.wait(lock, [&] { return turnOwner_ == -1 || turnOwner_ == long(scale); });
    turnOwner_ = long(scale);
}

void TransferEngine::releaseTurn(size_t scale) {
    {
        std::lock_guard<std::mutex> lock(turnMutex_);
        if (turnOwner_ != long(scale)) return;
        turnOwner_ = -1;
    }
    turnFree_.notify_all();
}

void TransferEngine::runScale(size_t index) {
    ScaleOutcome& o = outcomes_[index];
    const Plan& plan = *plan_;
    using SteadyClock = std::chrono::steady_clock;
    const auto scaleStart = SteadyClock::now();
    // The scale's whole time is known on every way out, failures included.
    struct TotalTimer {
        StageTimes& t;
        SteadyClock::time_point start;
        ~TotalTimer() { t.total = SteadyClock::now() - start; }
    } totalTimer{o.times, scaleStart};
    auto setState = [&](ScaleState s, FailReason r = FailReason::None, std::string d = {}) {
        o.state = s;
        o.reason = r;
        o.detail = std::move(d);
        if (observer_) observer_->stateChanged(index, s, r, o.detail);
    };
    auto fail = [&](FailReason r, std::string d) {
        setState(r == FailReason::Cancelled ? ScaleState::Cancelled : ScaleState::Failed, r, std::move(d));
    };
    auto report = [&] {
        if (observer_) observer_->progress(index, o.done, o.total);
    };

    if (o.target.address.empty()) {
        fail(FailReason::NoScale, "no usable address in SC_IP \"" + o.target.paddedAddress + "\"");
        return;
    }
    net::Limits lim;
    lim.idle = options_.replyTimeout;
    lim.deadline = net::Clock::now() + options_.scaleTimeout;
    lim.cancel = &cancel_;

    setState(ScaleState::Connecting);
    net::Socket sock;
    std::string detail;
    net::Status st = net::connectTo(sock, o.target.address, options_.port, options_.connectTimeout, lim, detail);
    if (st != net::Status::Ok) {
        fail(st == net::Status::Error ? FailReason::Refused : reasonOf(st), detail);
        return;
    }

    proto::FrameParser parser;
    proto::Frame frame;
    // Receives one frame; an Error frame becomes Rejected with the scale's words.
    auto receive = [&](const std::string& what) -> bool {
        st = net::recvFrame(sock, parser, frame, lim, detail);
        if (st != net::Status::Ok) {
            fail(reasonOf(st), detail + " (" + what + ")");
            return false;
        }
        if (frame.type == uint8_t(Cmd::Error)) {
            proto::ErrorMsg e;
            std::string why;
            if (!proto::parseError(frame.payload, e, why)) {
                fail(FailReason::Protocol, why + " (" + what + ")");
                return false;
            }
            frame.type = 0;
            detail = e.message;
            fail(FailReason::Rejected, what + ": " + e.message);
            return false;
        }
        return true;
    };
    auto send = [&](const std::vector<uint8_t>& bytes, const std::string& what) -> bool {
        st = net::sendAll(sock, bytes, lim, detail);
        if (st != net::Status::Ok) {
            fail(reasonOf(st), detail + " (" + what + ")");
            return false;
        }
        return true;
    };
    auto unexpected = [&](const std::string& what) {
        fail(FailReason::Protocol, std::string("unexpected ") + proto::cmdName(frame.type) + " frame (" + what + ")");
    };

    // Greeting
    if (!send(proto::makeFrame(Cmd::Hello, proto::helloReqPayload("Brindale")), "greeting")) return;
    if (!receive("greeting")) return;
    if (frame.type != uint8_t(Cmd::HelloOk)) return unexpected("greeting");
    proto::HelloOk hello;
    std::string why;
    if (!proto::parseHelloOk(frame.payload, hello, why)) return fail(FailReason::Protocol, why);
    if (hello.version != proto::kVersion)
        return fail(FailReason::Protocol, "scale speaks protocol version " + std::to_string(hello.version));
    o.times.connect = SteadyClock::now() - scaleStart;

    if (plan.mode == TransferMode::Upload) {
        setState(ScaleState::Receiving);
        o.total = 0;
        for (const auto& code : plan.fetch) {
            const std::string what = "file " + code;
            const auto wireStart = SteadyClock::now();
            if (!send(proto::makeFrame(Cmd::Read, proto::fileReqPayload(code)), what)) return;
            if (!receive(what)) return;
            if (frame.type != uint8_t(Cmd::FileBegin)) return unexpected(what);
            proto::FileInfo begin;
            if (!proto::parseFileInfo(frame.payload, begin, why)) return fail(FailReason::Protocol, why);
            if (begin.code != code)
                return fail(FailReason::Protocol, what + ": scale announced file " + begin.code);
            o.total += begin.records;
            report();
            // Records are stored in chunks while the rest of the file still arrives, so that
            // one scale's insert overlaps the others' wire. A file is stored whole and alone: the
            // first scale to fill a chunk takes the turn until its file ends, the others keep
            // theirs in memory meanwhile and wait for the turn only at their file's end. A file
            // that breaks off has its stored rows taken out again.
            std::vector<std::vector<uint8_t>> payloads;  // of the records not stored yet
            std::vector<proto::RecordView> pending;
            pending.reserve(std::min<size_t>(options_.insertChunk, begin.records));
            std::vector<WorkingDb::AddedRows> stored;
            bool whole = false;
            struct TakeOut {
                TransferEngine& e;
                ScaleOutcome& o;
                size_t index;
                const std::string& code;
                const std::vector<WorkingDb::AddedRows>& stored;
                const bool& whole;
                ~TakeOut() {
                    if (!whole && !stored.empty()) {
                        std::lock_guard<std::mutex> lock(e.dbMutex_);
                        const auto t0 = SteadyClock::now();
                        std::string error;
                        if (!e.db_->removeAdded(code, stored, error)) o.detail += "; " + error;
                        o.times.insert += SteadyClock::now() - t0;
                    }
                    e.releaseTurn(index);
                }
            } takeOut{*this, o, index, code, stored, whole};
            uint64_t received = 0, bytes = 0;
            auto wireMark = wireStart;
            auto storePending = [&]() -> bool {
                const auto waitStart = SteadyClock::now();
                o.times.wire += waitStart - wireMark;
                takeTurn(index);
                std::lock_guard<std::mutex> lock(dbMutex_);
                const auto insertStart = SteadyClock::now();
                o.times.waitDb += insertStart - waitStart;
                if (cancel_.load()) {
                    fail(FailReason::Cancelled, what + ": cancelled before it was stored");
                    return false;
                }
                std::string dbError;
                WorkingDb::AddedRows added;
                const bool ok = db_->insertRecords(code, pending, dbError, &added);
                wireMark = SteadyClock::now();
                o.times.insert += wireMark - insertStart;
                if (!ok) {
                    fail(FailReason::Database, dbError);
                    return false;
                }
                stored.push_back(added);
                pending.clear();
                payloads.clear();
                return true;
            };
            for (;;) {
                if (!receive(what)) return;
                if (frame.type == uint8_t(Cmd::Data)) {
                    proto::RecordBatch batch;
                    if (!proto::parseRecordBatch(frame.payload, batch, why))
                        return fail(FailReason::Protocol, what + ": " + why);
                    if (batch.code != code)
                        return fail(FailReason::Protocol, what + ": records of file " + batch.code + " arrived");
                    if (received + batch.records.size() > begin.records)
                        return fail(FailReason::Protocol, what + ": more records than the " +
                                                              std::to_string(begin.records) + " announced");
                    for (const auto& r : batch.records) {
                        const std::string bad = checkRecord(code, r.data, r.size);
                        if (!bad.empty())
                            return fail(FailReason::Protocol,
                                        what + ", record " + std::to_string(received + 1) + ": " + bad);
                        pending.push_back(r);
                        ++received;
                        bytes += r.size;
                    }
                    // The views point into the payload's buffer, which moving keeps.
                    payloads.push_back(std::move(frame.payload));
                    o.done += batch.records.size();
                    report();
                    if (pending.size() >= options_.insertChunk && tryTakeTurn(index) && !storePending()) return;
                } else if (frame.type == uint8_t(Cmd::FileEnd)) {
                    proto::FileInfo end;
                    if (!proto::parseFileInfo(frame.payload, end, why)) return fail(FailReason::Protocol, why);
                    if (end.code != code || end.records != received || end.records != begin.records ||
                        end.bytes != bytes)
                        return fail(FailReason::Protocol,
                                    what + ": received " + std::to_string(received) + " records of " +
                                        std::to_string(bytes) + " bytes, scale says " +
                                        std::to_string(end.records) + " of " + std::to_string(end.bytes));
                    break;
                } else {
                    return unexpected(what);
                }
            }
            if (!pending.empty() || stored.empty()) {
                if (!storePending()) return;
            } else {
                o.times.wire += SteadyClock::now() - wireMark;
            }
            whole = true;
        }
    } else {
        setState(plan.mode == TransferMode::Download ? ScaleState::Sending : ScaleState::Deleting);
        report();
        struct Pending {
            const Plan::File* file;
            const Plan::Batch* batch;
        };
        std::deque<Pending> inflight;
        auto awaitOne = [&]() -> bool {
            const Pending p = inflight.front();
            inflight.pop_front();
            const std::string what = "file " + p.file->code;
            st = net::recvFrame(sock, parser, frame, lim, detail);
            if (st != net::Status::Ok) {
                fail(reasonOf(st), detail + " (" + what + ")");
                return false;
            }
            if (frame.type == uint8_t(Cmd::Error)) {
                proto::ErrorMsg e;
                if (!proto::parseError(frame.payload, e, why)) {
                    fail(FailReason::Protocol, why + " (" + what + ")");
                    return false;
                }
                std::string where = what;
                if (!p.file->clearWhole && e.index < p.batch->count)
                    where += ", record " + std::to_string(p.batch->first + e.index + 1);
                fail(FailReason::Rejected, where + ": " + e.message);
                return false;
            }
            if (frame.type != uint8_t(Cmd::Ack)) {
                unexpected(what);
                return false;
            }
            proto::AckMsg ack;
            if (!proto::parseAck(frame.payload, ack, why)) {
                fail(FailReason::Protocol, what + ": " + why);
                return false;
            }
            if (!p.file->clearWhole && ack.count != p.batch->count) {
                fail(FailReason::Protocol, what + ": scale acknowledged " + std::to_string(ack.count) + " of " +
                                               std::to_string(p.batch->count) + " records");
                return false;
            }
            o.done += p.batch->count;
            report();
            return true;
        };
        const auto wireStart = SteadyClock::now();
        struct WireTimer {
            StageTimes& t;
            SteadyClock::time_point start;
            ~WireTimer() { t.wire = SteadyClock::now() - start; }
        } wireTimer{o.times, wireStart};
        for (const auto& file : plan.files) {
            for (const auto& batch : file.batches) {
                while (inflight.size() >= size_t(options_.window))
                    if (!awaitOne()) return;
                if (!send(batch.frame, "file " + file.code)) return;
                inflight.push_back({&file, &batch});
            }
        }
        while (!inflight.empty())
            if (!awaitOne()) return;
    }

    // Everything is acknowledged or stored by now; a scale that does not
    // answer the goodbye has still got its data.
    std::string ignore;
    if (net::sendAll(sock, proto::makeFrame(Cmd::End, {}), lim, ignore) == net::Status::Ok) {
        lim.idle = std::min(lim.idle, std::chrono::milliseconds(2000));
        net::recvFrame(sock, parser, frame, lim, ignore);
    }
    setState(ScaleState::Done);
}

}  // namespace brindale::transfer
