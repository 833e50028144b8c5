// The program as the operator runs it, on generated chains of 1,000 to 300,000 PLUs: the start
// from exec until the main window stands with every table filled and the event loop has taken
// up its work, and the end from SIGTERM until the process has exited with the mirror written,
// with the peak memory of each. Beside each line, the sqlite3 client doing the same work on the
// same decoded PLU table: its CSV import beside our start, its CSV export beside our end.
// With --history=N the chain also holds N rows of transfer history (the kept maximum is 50,000).
//   bench_start_end [--history=N] [PLU_COUNT ...]
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "chain_settings.h"
#include "shell/lifecycle.h"
#include "shell/program_state.h"
#include "store/database.h"
#include "generated_app.h"
#include "sqlite_peer.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {

double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

long statusKb(pid_t pid, const char* field) {
    std::ifstream f("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(f, line))
        if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + std::strlen(field));
    return -1;
}

struct Run {
    double start = -1, end = -1;
    long startPeakKb = -1, peakKb = -1;
};

// One run of the program in `app`: exec, wait for "ready", SIGTERM, wait for the exit.
Run runProgram(const std::string& app) {
    Run r;
    int fds[2];
    if (pipe(fds) != 0) return r;
    const auto t0 = Clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("BRINDALE_READY_FD", std::to_string(fds[1]).c_str(), 1);
        const std::string program = app + "/brindale";
        execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    char buf[16];
    const ssize_t n = read(fds[0], buf, sizeof buf);  // blocks until ready (or the program ended)
    close(fds[0]);
    if (n > 0) {
        r.start = since(t0);
        r.startPeakKb = statusKb(pid, "VmHWM:");
        const auto t1 = Clock::now();
        kill(pid, SIGTERM);
        int status = 0;
        struct rusage ru {};
        wait4(pid, &status, 0, &ru);
        r.end = since(t1);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) r.end = -1;
        r.peakKb = ru.ru_maxrss;
    } else {
        int status = 0;
        waitpid(pid, &status, 0);
    }
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<long> sizes;
    long history = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--history=", 10) == 0) history = std::atol(argv[i] + 10);
        else sizes.push_back(std::atol(argv[i]));
    }
    if (sizes.empty()) sizes = {1000, 10000, 100000, 300000};
    double load[3] = {0, 0, 0};
    getloadavg(load, 3);
    std::printf("load average at the beginning: %.2f %.2f %.2f; transfer history rows: %ld\n", load[0], load[1],
                load[2], history);
    std::printf("%8s | %9s %9s %11s | %9s %9s %11s | %9s %9s | %6s %6s\n", "PLUs", "start s", ".import s", "start/imp",
                "end s", "export s", "end/export", "start MB", "peak MB", "load", "");
    for (long plus : sizes) {
        const std::string app = (fs::temp_directory_path() / ("brindale-bench-app-" + std::to_string(getpid()))).string();
        fs::remove_all(app);
        fs::copy(BRINDALE_APP_DIR, app, fs::copy_options::recursive);
        fs::remove_all(app + "/AccessData");
        fs::remove(app + "/Database/Brindale1.mdb");
        // The chain as brindale-datagen writes it: 4 stores, seed 42, and the settings that show them.
        if (!bench::writeGeneratedChain(app, plus, 4, 42)) return 1;
        datagen::writeChainSettings(app, 4);
        if (history > 0) {
            // A full history: one row per scale of transfers of every kind, as a busy chain leaves it.
            shell::ProgramState st;
            st.appDir = app;
            bench::QuietView q;
            if (shell::runStartup(st, q) != shell::StartResult::Ok) return 1;
            st.Conn->exec("BEGIN");
            auto ins = st.Conn->prepare(
                "INSERT INTO TRANSFER_LOG (TL_Start, TL_Duration, TL_Mode, TL_Tables, TL_Store, TL_Section, "
                "TL_ScaleName, TL_ScaleAddress, TL_State, TL_Reason, TL_Detail, TL_Done, TL_ToDo, TL_Notes) VALUES "
                "(printf('2026-%02d-%02dT%02d:%02d:00', 1 + ?1 % 12, 1 + ?1 % 28, ?1 % 24, ?1 % 60), 1200, ?1 % 3, "
                "'25,20', 1 + ?1 % 4, ?1 % 3, printf('Scale %d', ?1 % 40), printf('10.0.%d.%d', ?1 % 4, ?1 % 40), "
                "CASE WHEN ?1 % 17 = 0 THEN 'Failed' ELSE 'Done' END, CASE WHEN ?1 % 17 = 0 THEN 'ErrTimeout' ELSE '' END, "
                "'', 25000, 25000, '')");
            for (long i = 0; i < history; ++i) {
                ins->bind(1, store::Value(int64_t(i)));
                ins->step();
                ins->reset();
            }
            st.Conn->exec("COMMIT");
            shell::endProgram(st, q);
        }
        const Run run = runProgram(app);
        if (run.start < 0 || run.end < 0) {
            std::fprintf(stderr, "the program did not start and end cleanly at %ld PLUs\n", plus);
            return 1;
        }
        // The peer: the working database of one more start, closed, as the sqlite3 client's input.
        bench::PeerFigures peer;
        {
            shell::ProgramState st;
            st.appDir = app;
            bench::QuietView q;
            if (shell::runStartup(st, q) != shell::StartResult::Ok) return 1;
            st.closeDatabase();
            if (!bench::sqlitePeer(app, peer)) return 1;
        }
        getloadavg(load, 3);
        std::printf("%8ld | %9.3f %9.3f %11.2f | %9.3f %9.3f %11.2f | %9.0f %9.0f | %6.2f\n", plus, run.start,
                    peer.importSeconds, run.start / peer.importSeconds, run.end, peer.exportSeconds,
                    run.end / peer.exportSeconds, run.startPeakKb / 1024.0, run.peakKb / 1024.0, load[0]);
        std::fflush(stdout);
        fs::remove_all(app);
    }
    return 0;
}
