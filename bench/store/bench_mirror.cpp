// The start and the end of a run on a generated chain of 100,000 PLUs (or the count given):
// seconds for the start (rebuild, import, unpack) and for the end (repack, export), the peak
// memory of each, and the sqlite3 client's .import of the same decoded PLU table from CSV.
//   bench_mirror [PLU_COUNT]
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "generated_app.h"
#include "sqlite_peer.h"
#include "shell/lifecycle.h"
#include "shell/program_state.h"
#include "store/mirror.h"
#include "store/rebuild.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {

using Quiet = bench::QuietView;

struct Measured {
    double seconds = 0;
    double cpu = 0;  // user and system seconds of the measured part
    long peakKb = 0;
};

double cpuSeconds() {
    struct rusage ru {};
    getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}
double cpuAtStart = 0;

// Runs `work` in a child process, so that its peak memory is its own. The child writes the
// seconds of the measured part to the pipe.
template <class F>
Measured inChild(F work) {
    int fds[2];
    if (pipe(fds) != 0) std::exit(1);
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        double s[2] = {-1, 0};
        try {
            s[0] = work();
            s[1] = cpuSeconds() - cpuAtStart;
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
        [[maybe_unused]] auto n = write(fds[1], s, sizeof s);
        _exit(s[0] < 0 ? 1 : 0);
    }
    close(fds[1]);
    Measured m;
    double got[2] = {-1, 0};
    [[maybe_unused]] auto n = read(fds[0], got, sizeof got);
    m.seconds = got[0];
    m.cpu = got[1];
    close(fds[0]);
    int status = 0;
    struct rusage ru {};
    wait4(pid, &status, 0, &ru);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || m.seconds < 0) {
        std::fprintf(stderr, "the measured step failed\n");
        std::exit(1);
    }
    m.peakKb = ru.ru_maxrss;
    return m;
}

double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

}  // namespace

int main(int argc, char** argv) {
    const long plus = argc > 1 ? std::atol(argv[1]) : 100000;
    const std::string app = (fs::temp_directory_path() / ("brindale-bench-" + std::to_string(getpid()))).string();
    fs::create_directories(app + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", app + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", app + "/Database/ABC1.txt");

    // The chain, written once as a mirror.
    {
        auto t0 = Clock::now();
        if (!bench::writeGeneratedChain(app, plus, 4, 42)) return 1;
        std::printf("chain of %ld PLUs generated and written in %.2f s; tempplukvr.txt %.1f MB\n", plus, since(t0),
                    static_cast<double>(fs::file_size(app + "/AccessData/tempplukvr.txt")) / 1e6);
    }

    Measured start = inChild([&] {
        shell::ProgramState st;
        st.appDir = app;
        Quiet q;
        cpuAtStart = cpuSeconds();
        auto t0 = Clock::now();
        if (shell::runStartup(st, q) != shell::StartResult::Ok) return -1.0;
        return since(t0);
    });
    Measured end = inChild([&] {
        shell::ProgramState st;
        st.appDir = app;
        Quiet q;
        if (shell::runStartup(st, q) != shell::StartResult::Ok) return -1.0;
        cpuAtStart = cpuSeconds();
        auto t0 = Clock::now();
        shell::endProgram(st, q);
        return since(t0);
    });
    std::printf("start (rebuild, import, unpack %ld PLUs): %.3f s (cpu %.3f s), peak memory %.0f MB\n", plus,
                start.seconds, start.cpu, start.peakKb / 1024.0);
    std::printf("end (repack %ld PLUs, export, put in place): %.3f s (cpu %.3f s), peak memory %.0f MB (the start included)\n",
                plus, end.seconds, end.cpu, end.peakKb / 1024.0);

    // The same decoded PLU table through the sqlite3 client's CSV import.
    {
        shell::ProgramState st;
        st.appDir = app;
        Quiet q;
        if (shell::runStartup(st, q) != shell::StartResult::Ok) return 1;
        st.closeDatabase();
        bench::PeerFigures peer;
        if (!bench::sqlitePeer(app, peer)) return 1;
        std::printf("sqlite3 .import of the decoded PLU table from CSV (%.1f MB): %.3f s\n", peer.csvMegabytes,
                    peer.importSeconds);
        std::printf("our start / sqlite3 .import: %.2f\n", start.seconds / peer.importSeconds);
    }
    fs::remove_all(app);
    return 0;
}
