// The transfer engine: reads the request's rows from the working database,
// works the scales of a store (or one section of it) at the same time, each
// on its own connection, and writes fetched records into the RC_ tables.
// No widgets here: progress goes to an observer, from worker threads.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "transfer/language.h"
#include "transfer/protocol.h"

namespace brindale::transfer {

enum class TransferMode : int { Download = 0, Upload = 1, Delete = 2 };

enum class ScaleState { Waiting, Connecting, Sending, Deleting, Receiving, Done, Failed, Cancelled };

enum class FailReason { None, Refused, Timeout, Closed, Protocol, Rejected, NoScale, Database, Cancelled };

// Language keys of the states and reasons ("Sending", "ErrTimeout", ...).
const char* stateKey(ScaleState s);
const char* reasonKey(FailReason r);

struct TransferOptions {
    uint16_t port = proto::kDefaultPort;
    int maxParallel = 16;
    std::chrono::milliseconds connectTimeout{5000};
    std::chrono::milliseconds replyTimeout{15000};
    std::chrono::milliseconds scaleTimeout{10 * 60 * 1000};
    size_t batchBytes = 256 * 1024;
    // Up to this many write batches travel before their acknowledgements.
    int window = 4;
    int busyTimeoutMs = 10000;
    // Fetched records stored together while the rest of their file still arrives (when no other
    // scale's file is being stored meanwhile).
    size_t insertChunk = 20000;
};

struct TransferRequest {
    std::string databasePath;
    int store = 0;
    int section = 0;
    int mode = 0;
    std::vector<std::string> tables;
    // Marked rows of KVR_<code> to leave out, by row id.
    std::map<std::string, std::vector<int64_t>> heldBack;
};

struct ScaleTarget {
    std::string address;        // as used to connect, "127.0.0.2"
    std::string paddedAddress;  // as stored, "127.  0.  0.  2"
    std::string name;           // SC_No
    int section = 0;
};

// Where one scale's time went. Files of different scales are stored one after
// another, so waitDb is the time a scale spent behind another's file.
struct StageTimes {
    std::chrono::nanoseconds connect{0};  // connecting and the greeting
    std::chrono::nanoseconds wire{0};     // records sent and acknowledged, or received and checked
    std::chrono::nanoseconds waitDb{0};   // waiting for the turn to store, behind another scale's file
    std::chrono::nanoseconds insert{0};   // fetched records written into their RC_ table
    std::chrono::nanoseconds total{0};    // from the scale's turn to its end, whatever the outcome
};

struct ScaleOutcome {
    ScaleTarget target;
    ScaleState state = ScaleState::Waiting;
    FailReason reason = FailReason::None;
    std::string detail;  // English, names the file and record where it can
    uint64_t done = 0;
    uint64_t total = 0;
    StageTimes times;
};

struct TransferSummary {
    std::vector<ScaleOutcome> scales;
    // Set when the transfer could not start at all (no database, no scale).
    FailReason reason = FailReason::None;
    Note detail;
    // Things worth telling that did not fail a scale (rows not sent, tables skipped).
    std::vector<Note> notes;
    bool cancelled = false;
    // Reading the scales and the rows to send from the database, and building the frames.
    std::chrono::nanoseconds prepareTime{0};
    // The whole run, preparation included.
    std::chrono::nanoseconds totalTime{0};

    size_t countDone() const;
    size_t countFailed() const;
    size_t countCancelled() const;
};

// Implementations must be thread-safe: the engine calls them from its workers.
class TransferObserver {
public:
    virtual ~TransferObserver() = default;
    virtual void started(const std::vector<ScaleTarget>& scales) {}
    virtual void stateChanged(size_t scale, ScaleState state, FailReason reason, const std::string& detail) {}
    virtual void progress(size_t scale, uint64_t done, uint64_t total) {}
    virtual void finished(const TransferSummary& summary) {}
};

class TransferEngine {
public:
    TransferEngine(TransferRequest request, TransferOptions options);
    ~TransferEngine();
    TransferEngine(const TransferEngine&) = delete;
    TransferEngine& operator=(const TransferEngine&) = delete;

    // Runs the whole transfer and returns when every scale is done, failed
    // or cancelled. Call once.
    TransferSummary run(TransferObserver* observer = nullptr);
    // Safe from any thread; scales in progress stop at their next wait.
    void cancel() { cancel_.store(true); }
    bool cancelRequested() const { return cancel_.load(); }

    struct Plan;  // what to do on each scale, prepared once

private:
    TransferSummary runGuarded(TransferObserver* observer);
    void work(size_t index);
    void runScale(size_t index);

    TransferRequest request_;
    TransferOptions options_;
    std::atomic<bool> cancel_{false};
    TransferObserver* observer_ = nullptr;
    std::vector<ScaleOutcome> outcomes_;
    Plan* plan_ = nullptr;
    std::atomic<size_t> nextScale_{0};
    class WorkingDb* db_ = nullptr;
    std::mutex dbMutex_;
    // The RC_ tables take one scale's file at a time, whole: the scale whose turn it is stores
    // its chunks while the others go on receiving.
    bool tryTakeTurn(size_t scale);
    void takeTurn(size_t scale);
    void releaseTurn(size_t scale);
    std::mutex turnMutex_;
    std::condition_variable turnFree_;
    long turnOwner_ = -1;
};

}  // namespace brindale::transfer
