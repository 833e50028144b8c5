#include "folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace brindale::shell {

namespace {

std::string lockPath(const std::string& appDir) {
    if (appDir.empty() || appDir.back() == '/') return appDir + kFolderLockFile;
    return appDir + "/" + kFolderLockFile;
}

LockHolder parseHolder(const std::string& text) {
    LockHolder h;
    const size_t nl = text.find('\n');
    h.job = text.substr(0, nl);
    if (nl != std::string::npos) {
        try {
            h.pid = std::stol(text.substr(nl + 1));
        } catch (...) {
            h.pid = 0;
        }
    }
    return h;
}

std::string readAll(int fd) {
    std::string out;
    char buf[512];
    off_t at = 0;
    for (;;) {
        const ssize_t n = ::pread(fd, buf, sizeof buf, at);
        if (n <= 0) break;
        out.append(buf, size_t(n));
        at += n;
        if (out.size() > 4096) break;  // a holder line is short; anything longer is not ours
    }
    return out;
}

}  // namespace

FolderLock::~FolderLock() { release(); }

void FolderLock::release() {
    if (fd_ >= 0) ::close(fd_);  // closing lets the flock go
    fd_ = -1;
}

FolderLock::Result FolderLock::acquire(const std::string& appDir, const std::string& job) {
    if (fd_ >= 0) return Result::Acquired;
    error_.clear();
    holder_ = {};
    const std::string path = lockPath(appDir);
    // Never truncated on open: a process that does not get the lock must change nothing.
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0 && (errno == EACCES || errno == EROFS)) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error_ = path + ": " + std::strerror(errno);
        return Result::Failed;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int e = errno;
        if (e == EWOULDBLOCK) {
            // The holder writes its name right after taking the lock: a moment's grace for that.
            for (int i = 0; i < 20; ++i) {
                holder_ = parseHolder(readAll(fd));
                if (!holder_.job.empty() && holder_.pid > 0) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            ::close(fd);
            return Result::Busy;
        }
        ::close(fd);
        error_ = path + ": " + std::strerror(e);
        return Result::Failed;
    }
    fd_ = fd;
    holder_ = {job, long(::getpid())};
    const std::string text = job + "\n" + std::to_string(holder_.pid) + "\n";
    // A folder whose lock file cannot be written is still locked; only the name is missing.
    if (::ftruncate(fd, 0) == 0) {
        [[maybe_unused]] ssize_t n = ::pwrite(fd, text.data(), text.size(), 0);
    }
    return Result::Acquired;
}

FolderLock::Result FolderLock::acquireWaiting(const std::string& appDir, const std::string& job,
                                              const std::function<bool()>& keepWaiting, int intervalMs) {
    for (;;) {
        const Result r = acquire(appDir, job);
        if (r != Result::Busy) return r;
        if (keepWaiting && !keepWaiting()) return Result::Busy;
        std::this_thread::sleep_for(std::chrono::milliseconds(intervalMs));
    }
}

LockHolder readLockHolder(const std::string& appDir) {
    const int fd = ::open(lockPath(appDir).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    LockHolder h = parseHolder(readAll(fd));
    ::close(fd);
    return h;
}

}  // namespace brindale::shell
