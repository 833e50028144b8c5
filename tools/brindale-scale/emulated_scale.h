// An emulated scale: listens on an address and port, speaks the scale link
// protocol, keeps its files by file code and record number (in memory and,
// if given a folder, on disk across restarts), serves totals, and can be
// told to misbehave so that the engine's fault handling can be tried.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "totals.h"
#include "transfer/net.h"
#include "transfer/protocol.h"

namespace brindale::scaleemu {

struct ScaleOptions {
    std::string address = "127.0.0.1";
    uint16_t port = transfer::proto::kDefaultPort;  // 0: any free port
    std::string name = "EMU";
    std::string storageDir;  // empty: memory only
    // Misbehaviour for tests.
    bool refuse = false;       // bind the port but never listen: connections are refused
    int64_t cutAfter = -1;     // close the connection after this many records of a file
    bool hang = false;         // answer the greeting, then never answer again
    bool garbage = false;      // answer every frame with bytes that are no frame
    bool totalsCorners = false;  // each totals file ends with a record of the decoders' corners
    std::chrono::milliseconds idleTimeout{60000};  // drop a silent client after this
    size_t maxConnections = 32;
    size_t batchBytes = 256 * 1024;
};

struct ScaleStats {
    std::atomic<uint64_t> connections{0};
    std::atomic<uint64_t> framesRejected{0};  // malformed frames and payloads refused
    std::atomic<uint64_t> recordsWritten{0};
    std::atomic<uint64_t> recordsDeleted{0};
    std::atomic<uint64_t> recordsRead{0};
};

class EmulatedScale {
public:
    explicit EmulatedScale(ScaleOptions options);
    ~EmulatedScale();
    EmulatedScale(const EmulatedScale&) = delete;
    EmulatedScale& operator=(const EmulatedScale&) = delete;

    // Binds, loads the storage folder and starts serving. False with a reason
    // when the address cannot be bound or the folder cannot be used.
    bool start(std::string& error);
    // Stops serving, ends open connections and saves the files.
    void stop();
    uint16_t port() const { return port_; }
    const ScaleOptions& options() const { return options_; }
    const ScaleStats& stats() const { return stats_; }

    // Direct access for tests and tools.
    FileRecords file(const std::string& code) const;
    size_t recordCount(const std::string& code) const;
    void put(const std::string& code, const Record& record);
    // Writes every changed file to the storage folder (when there is one).
    bool save(std::string& error);

private:
    void acceptLoop();
    void serve(transfer::net::Socket sock);
    bool load(std::string& error);

    ScaleOptions options_;
    ScaleStats stats_;
    uint16_t port_ = 0;
    transfer::net::Socket listener_;
    std::atomic<bool> stopping_{false};
    std::thread acceptThread_;
    std::mutex connMutex_;
    struct ConnThread {
        std::thread thread;
        std::shared_ptr<std::atomic<bool>> done;
    };
    std::vector<ConnThread> connThreads_;
    std::atomic<size_t> activeConnections_{0};
    mutable std::mutex filesMutex_;
    Files files_;
    std::vector<std::string> dirty_;
    bool started_ = false;
};

// Starts one scale for each of `each` on one port, as a chain's scales all listen on the same
// port: the first takes the port its options name (0: a free one), the others the first's. Empty,
// with `error` naming the address, when one cannot start (those already started are stopped).
std::vector<std::unique_ptr<EmulatedScale>> startScales(std::vector<ScaleOptions> each, std::string& error);
// The same for plain scales at these addresses, each refusing connections when `refuses` says so.
std::vector<std::unique_ptr<EmulatedScale>> startScales(const std::vector<std::string>& addresses,
                                                        const std::function<bool(const std::string&)>& refuses,
                                                        std::string& error);

}  // namespace brindale::scaleemu
