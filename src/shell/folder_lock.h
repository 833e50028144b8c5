#pragma once
// The lock of an application folder: one file in it, flocked by whoever works on the folder (the
// program, brindale-cli), naming the holder and its process. The lock goes with the process
// however it ends; the file stays and is taken over by the next holder. No Qt here: the program
// and the command-line tool both link it.
#include <functional>
#include <optional>
#include <string>

namespace brindale::shell {

inline constexpr const char* kFolderLockFile = "brindale.lock";
// The holder text the program writes; brindale-cli writes its command line.
inline constexpr const char* kProgramHolder = "brindale";

struct LockHolder {
    std::string job;  // what holds the folder: "brindale", or "brindale-cli send --store 1 ..."
    long pid = 0;
};

class FolderLock {
public:
    enum class Result { Acquired, Busy, Failed };

    FolderLock() = default;
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Tries once. Acquired: the file names `job` and this process. Busy: `holder()` says who has
    // it. Failed: `error()` names the file and the reason.
    Result acquire(const std::string& appDir, const std::string& job);
    // Tries every `interval` until acquired, failed, or `keepWaiting` says no (then Busy).
    Result acquireWaiting(const std::string& appDir, const std::string& job, const std::function<bool()>& keepWaiting,
                          int intervalMs = 100);
    void release();

    bool held() const { return fd_ >= 0; }
    const LockHolder& holder() const { return holder_; }
    const std::string& error() const { return error_; }

private:
    int fd_ = -1;
    LockHolder holder_;
    std::string error_;
};

// What the lock file of a folder names ("" and 0 when there is none or it is empty).
LockHolder readLockHolder(const std::string& appDir);

}  // namespace brindale::shell
