#pragma once
// A pass over many rows in batches on two threads: the caller's thread reads a batch and writes
// the batch before, through its database connection, while a second thread runs the codec over
// the batch between. Only the caller's thread touches the database; the second thread sees one
// batch at a time, in order, so whatever the codec remembers from row to row is as in one pass.
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "codec/code_page.h"
#include "codec/environment.h"

namespace brindale::store {

// The codec's environment for another thread: the same settings and sources, and a code page of
// its own, since a code page converts through iconv state that one thread may use at a time.
class ThreadCodecEnvironment {
public:
    explicit ThreadCodecEnvironment(const codec::CodecEnvironment& env) : env_(env) {
        if (env.codePage) {
            codePage_.emplace(env.codePage->name());
            env_.codePage = &*codePage_;
        }
    }
    ThreadCodecEnvironment(const ThreadCodecEnvironment&) = delete;
    ThreadCodecEnvironment& operator=(const ThreadCodecEnvironment&) = delete;
    const codec::CodecEnvironment& env() const { return env_; }

private:
    std::optional<codec::CodePage> codePage_;
    codec::CodecEnvironment env_;
};

// Runs `fill(batch)` and `drain(batch)` on the caller's thread and `work(batch)` on a second one:
// fill returns false when it put nothing into the batch. A fault of `work` is thrown again on the
// caller's thread, after the second thread has let go of every batch.
template <class Batch, class Fill, class Work, class Drain>
void pipelineBatches(Fill fill, Work work, Drain drain) {
    Batch batches[2];  // outlives the worker, which may still hold one when fill or drain throws
    std::mutex m;
    std::condition_variable cv;
    Batch* job = nullptr;
    bool done = true;
    bool stop = false;
    std::exception_ptr fault;
    std::thread worker([&] {
        for (;;) {
            Batch* b = nullptr;
            {
                std::unique_lock lock(m);
                cv.wait(lock, [&] { return stop || job != nullptr; });
                if (stop) return;
                b = job;
            }
            std::exception_ptr f;
            try {
                work(*b);
            } catch (...) {
                f = std::current_exception();
            }
            {
                std::lock_guard lock(m);
                job = nullptr;
                done = true;
                if (f && !fault) fault = f;
            }
            cv.notify_all();
        }
    });
    auto start = [&](Batch& b) {
        std::lock_guard lock(m);
        job = &b;
        done = false;
        cv.notify_all();
    };
    auto wait = [&] {
        std::unique_lock lock(m);
        cv.wait(lock, [&] { return done; });
        if (fault) std::rethrow_exception(fault);
    };
    auto finish = [&] {
        {
            std::unique_lock lock(m);
            cv.wait(lock, [&] { return done; });
            stop = true;
        }
        cv.notify_all();
        worker.join();
    };
    try {
        int at = 0;
        bool more = fill(batches[at]);
        while (more) {
            start(batches[at]);
            more = fill(batches[at ^ 1]);  // read ahead while the worker runs
            wait();
            drain(batches[at]);
            at ^= 1;
        }
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

}  // namespace brindale::store
