// Small POSIX socket layer with time limits and a cancel flag, shared by the
// engine and the emulated scale. Sockets are non-blocking; every wait is a
// poll in short slices so that cancel and the whole-call limit are honoured.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "transfer/protocol.h"

namespace brindale::transfer::net {

using Clock = std::chrono::steady_clock;

enum class Status { Ok, Refused, Timeout, Closed, Cancelled, Protocol, Error };

class Socket {
public:
    Socket() = default;
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() { close(); }
    Socket(Socket&& o) noexcept : fd_(o.fd_) { o.fd_ = -1; }
    Socket& operator=(Socket&& o) noexcept {
        if (this != &o) { close(); fd_ = o.fd_; o.fd_ = -1; }
        return *this;
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int fd() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    void close();
    // Closes with a reset rather than an orderly end (used to cut a link hard).
    void abort();
    int release() { int f = fd_; fd_ = -1; return f; }

private:
    int fd_ = -1;
};

// Limits for one blocking step: idle is the longest silence tolerated,
// deadline the point in time the whole call must end by.
struct Limits {
    std::chrono::milliseconds idle{15000};
    Clock::time_point deadline = Clock::time_point::max();
    const std::atomic<bool>* cancel = nullptr;
};

// Parses a dotted IPv4 address (blanks inside the groups are dropped first).
// Returns false for anything but four groups of 0..255.
bool parseIPv4(const std::string& text, std::string& clean);

Status connectTo(Socket& s, const std::string& host, uint16_t port, std::chrono::milliseconds timeout,
                 const Limits& limits, std::string& detail);
Status sendAll(Socket& s, const uint8_t* data, size_t size, const Limits& limits, std::string& detail);
inline Status sendAll(Socket& s, const std::vector<uint8_t>& v, const Limits& limits, std::string& detail) {
    return sendAll(s, v.data(), v.size(), limits, detail);
}
// Waits for the next whole frame. Protocol when the bytes are not a frame.
Status recvFrame(Socket& s, proto::FrameParser& parser, proto::Frame& out, const Limits& limits,
                 std::string& detail);

// Server side helpers for the emulated scale and the tests.
// Binds (and, unless listen is false, listens) on host:port; port 0 picks one.
Socket bindTcp(const std::string& host, uint16_t port, bool listen, uint16_t& boundPort, std::string& error);
// Waits up to timeout for a connection; invalid socket on timeout or error.
Socket acceptFor(Socket& listener, std::chrono::milliseconds timeout);

void setNonBlocking(int fd);
void setNoDelay(int fd);

}  // namespace brindale::transfer::net
