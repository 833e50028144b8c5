#include "transfer/net.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace brindale::transfer::net {

namespace {
constexpr std::chrono::milliseconds kSlice{50};

std::string errnoText(int e) { return std::strerror(e); }

bool cancelled(const Limits& l) { return l.cancel && l.cancel->load(std::memory_order_relaxed); }

// Waits for fd to become ready for events; honours idle, deadline and cancel.
Status waitFor(int fd, short events, Clock::time_point idleEnd, const Limits& limits, std::string& detail,
               const char* what) {
    for (;;) {
        if (cancelled(limits)) { detail = "cancelled"; return Status::Cancelled; }
        const auto now = Clock::now();
        if (now >= limits.deadline) {
            detail = std::string("whole-call time limit reached while ") + what;
            return Status::Timeout;
        }
        if (now >= idleEnd) {
            detail = std::string("no answer within ") +
                     std::to_string(limits.idle.count()) + " ms while " + what;
            return Status::Timeout;
        }
        const auto until = std::min({idleEnd, limits.deadline, now + kSlice});
        const int ms = int(std::max<long long>(
            1, std::chrono::duration_cast<std::chrono::milliseconds>(until - now).count()));
        pollfd p{fd, events, 0};
        const int r = ::poll(&p, 1, ms);
        if (r < 0) {
            if (errno == EINTR) continue;
            detail = "poll: " + errnoText(errno);
            return Status::Error;
        }
        if (r > 0) return Status::Ok;
    }
}
}  // namespace

void Socket::close() {
    if (fd_ >= 0) { ::close(fd_); fd_ = -1; }
}

void Socket::abort() {
    if (fd_ >= 0) {
        linger l{1, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &l, sizeof l);
        close();
    }
}

void setNonBlocking(int fd) {
    const int fl = ::fcntl(fd, F_GETFL, 0);
    ::fcntl(fd, F_SETFL, fl | O_NONBLOCK);
}

void setNoDelay(int fd) {
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

bool parseIPv4(const std::string& text, std::string& clean) {
    std::string s;
    for (char c : text)
        if (c != ' ' && c != '\t') s.push_back(c);
    int groups = 0;
    size_t i = 0;
    std::string out;
    while (groups < 4) {
        if (i >= s.size() || s[i] < '0' || s[i] > '9') return false;
        int v = 0, digits = 0;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
            v = v * 10 + (s[i] - '0');
            if (++digits > 3) return false;
            ++i;
        }
        if (v > 255) return false;
        out += std::to_string(v);
        ++groups;
        if (groups < 4) {
            if (i >= s.size() || s[i] != '.') return false;
            out.push_back('.');
            ++i;
        }
    }
    if (i != s.size()) return false;
    clean = out;
    return true;
}

Status connectTo(Socket& s, const std::string& host, uint16_t port, std::chrono::milliseconds timeout,
                 const Limits& limits, std::string& detail) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &a.sin_addr) != 1) {
        detail = "not an address: " + host;
        return Status::Error;
    }
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) { detail = "socket: " + errnoText(errno); return Status::Error; }
    s = Socket(fd);
    setNonBlocking(fd);
    setNoDelay(fd);
    const std::string where = host + ":" + std::to_string(port);
    int r = ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    if (r < 0 && errno != EINPROGRESS) {
        const int e = errno;
        detail = where + ": " + errnoText(e);
        return e == ECONNREFUSED ? Status::Refused : Status::Error;
    }
    if (r < 0) {
        Limits l = limits;
        l.idle = timeout;
        const Status w = waitFor(fd, POLLOUT, Clock::now() + timeout, l, detail, "connecting");
        if (w != Status::Ok) {
            if (w == Status::Timeout) detail = where + ": no connection within " + std::to_string(timeout.count()) + " ms";
            return w;
        }
        int err = 0;
        socklen_t len = sizeof err;
        ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len);
        if (err != 0) {
            detail = where + ": " + errnoText(err);
            if (err == ECONNREFUSED) return Status::Refused;
            if (err == ETIMEDOUT || err == EHOSTUNREACH || err == ENETUNREACH) return Status::Timeout;
            return Status::Error;
        }
    }
    return Status::Ok;
}

Status sendAll(Socket& s, const uint8_t* data, size_t size, const Limits& limits, std::string& detail) {
    size_t done = 0;
    auto idleEnd = Clock::now() + limits.idle;
    while (done < size) {
        const ssize_t n = ::send(s.fd(), data + done, size - done, MSG_NOSIGNAL);
        if (n > 0) {
            done += size_t(n);
            idleEnd = Clock::now() + limits.idle;
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            const Status w = waitFor(s.fd(), POLLOUT, idleEnd, limits, detail, "sending");
            if (w != Status::Ok) return w;
            continue;
        }
        const int e = errno;
        detail = "connection lost while sending: " + errnoText(e);
        return (e == EPIPE || e == ECONNRESET) ? Status::Closed : Status::Error;
    }
    return Status::Ok;
}

Status recvFrame(Socket& s, proto::FrameParser& parser, proto::Frame& out, const Limits& limits,
                 std::string& detail) {
    uint8_t buf[64 * 1024];
    auto idleEnd = Clock::now() + limits.idle;
    for (;;) {
        switch (parser.next(out)) {
        case proto::FrameParser::Result::Frame: return Status::Ok;
        case proto::FrameParser::Result::Error: detail = "malformed frame: " + parser.error(); return Status::Protocol;
        case proto::FrameParser::Result::NeedMore: break;
        }
        const ssize_t n = ::recv(s.fd(), buf, sizeof buf, 0);
        if (n > 0) {
            parser.feed(buf, size_t(n));
            idleEnd = Clock::now() + limits.idle;
            continue;
        }
        if (n == 0) {
            detail = parser.buffered() ? "connection closed in the middle of a frame" : "connection closed by the peer";
            return Status::Closed;
        }
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            const Status w = waitFor(s.fd(), POLLIN, idleEnd, limits, detail, "waiting for a reply");
            if (w != Status::Ok) return w;
            continue;
        }
        const int e = errno;
        detail = "connection lost: " + errnoText(e);
        return (e == ECONNRESET || e == EPIPE) ? Status::Closed : Status::Error;
    }
}

Socket bindTcp(const std::string& host, uint16_t port, bool listen, uint16_t& boundPort, std::string& error) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &a.sin_addr) != 1) {
        error = "not an IPv4 address: " + host;
        return {};
    }
    Socket s(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!s.valid()) { error = "socket: " + errnoText(errno); return {}; }
    int one = 1;
    ::setsockopt(s.fd(), SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (::bind(s.fd(), reinterpret_cast<sockaddr*>(&a), sizeof a) < 0) {
        error = "bind " + host + ":" + std::to_string(port) + ": " + errnoText(errno);
        return {};
    }
    if (listen && ::listen(s.fd(), 64) < 0) {
        error = "listen: " + errnoText(errno);
        return {};
    }
    sockaddr_in b{};
    socklen_t len = sizeof b;
    ::getsockname(s.fd(), reinterpret_cast<sockaddr*>(&b), &len);
    boundPort = ntohs(b.sin_port);
    setNonBlocking(s.fd());
    return s;
}

Socket acceptFor(Socket& listener, std::chrono::milliseconds timeout) {
    pollfd p{listener.fd(), POLLIN, 0};
    const int r = ::poll(&p, 1, int(timeout.count()));
    if (r <= 0) return {};
    const int fd = ::accept4(listener.fd(), nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) return {};
    setNonBlocking(fd);
    setNoDelay(fd);
    return Socket(fd);
}

}  // namespace brindale::transfer::net
