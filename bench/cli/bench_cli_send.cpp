// brindale-cli's nightly price push, start to end, as a script runs it: the executable
//   brindale-cli --port P import-plu prices.txt --set prices.set --store 1 --replace --send
// on a generated chain of 100,000 PLUs in one store whose ten scales are emulated on 127.0.0.2 to
// 127.0.0.11 (one port), the price file giving every PLU a new price. Each run starts on a fresh
// copy of the folder (not timed): lock, start (mirror read, every PLU unpacked), import of
// 100,000 lines, frmDownLoad's packing of the 100,000 rows, the send to ten scales, the end
// (mirror written, every PLU repacked).
//   bench_cli_send [RUNS]
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "emulated_scale.h"
#include "generated_app.h"
#include "shell/program_state.h"
#include "store/hierarchy.h"

extern char** environ;

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {

constexpr long kPlus = 100000;
constexpr int kScales = 10;

double cpuSelf() {
    rusage r{};
    getrusage(RUSAGE_SELF, &r);
    return double(r.ru_utime.tv_sec + r.ru_stime.tv_sec) + double(r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
}

double loadNow() {
    double l[3] = {0, 0, 0};
    getloadavg(l, 3);
    return l[0];
}

std::string makeFolder(const std::string& name) {
    const std::string dir = (fs::temp_directory_path() / name).string();
    fs::remove_all(dir);
    fs::create_directories(dir + "/Database");
    fs::create_directories(dir + "/AccessData");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", dir + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", dir + "/Database/ABC1.txt");
    return dir;
}

}  // namespace

int main(int argc, char** argv) {
    const int runs = argc > 1 ? std::atoi(argv[1]) : 3;
    const std::string cli = std::string(BRINDALE_APP_DIR) + "/brindale-cli";
    const std::string base = makeFolder("brindale-bench-cli-base");
    std::printf("generating %ld PLUs ...\n", kPlus);
    if (!bench::writeGeneratedChain(base, kPlus, 1, 7)) {
        std::fprintf(stderr, "the generated chain could not be started\n");
        return 1;
    }
    // The ten scales of store 1, and the price file of every PLU.
    std::vector<std::string> addresses;
    for (int i = 0; i < kScales; ++i) addresses.push_back("127.0.0." + std::to_string(2 + i));
    {
        shell::ProgramState st;
        st.appDir = base;
        bench::QuietView q;
        if (shell::runStartup(st, q) != shell::StartResult::Ok) return 1;
        st.Conn->exec("DELETE FROM SCALE");
        for (size_t i = 0; i < addresses.size(); ++i) {
            auto ins = st.Conn->prepare("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES (?1, ?2, 1, 1, ?3)");
            ins->bind(1, store::Value(store::padAddress(addresses[i])));
            ins->bind(2, store::Value("Scale " + std::to_string(i + 1)));
            ins->bind(3, store::Value(int64_t(i < 5 ? 1 : 2)));
            ins->step();
        }
        std::ofstream prices(base + "/prices.txt", std::ios::binary);
        auto st2 = st.Conn->prepare("SELECT PLU_No FROM KVR_25 WHERE ST_No = 1 ORDER BY PLU_No");
        long n = 0;
        while (st2->step()) {
            const long long plu = st2->columnInt(0);
            prices << plu << "\t" << (plu % 997 + 1) << "." << (plu % 100 < 10 ? "0" : "") << plu % 100 << "\tPLU " << plu
                   << "\r\n";
            ++n;
        }
        std::printf("price file: %ld lines\n", n);
        shell::endProgram(st, q);
    }
    {
        std::ofstream set(base + "/prices.set", std::ios::binary);
        set << "0\r\n0\r\n0\r\n0\r\n0\r\n0\r\n0\r\n3\r\n35\r\n";  // tab, EAN, mark 0, PLU_No, PLU_UPrice, PLU_Commodity
    }

    std::string error;
    auto scales = scaleemu::startScales(addresses, {}, error);
    if (scales.empty()) {
        std::fprintf(stderr, "scales: %s\n", error.c_str());
        return 1;
    }
    const std::string port = std::to_string(scales[0]->port());

    int worst = 0;
    for (int r = 0; r < runs; ++r) {
        const std::string dir = (fs::temp_directory_path() / "brindale-bench-cli-run").string();
        fs::remove_all(dir);
        fs::copy(base, dir, fs::copy_options::recursive);
        std::vector<std::string> args = {cli,         "--app-folder", dir,       "--port", port,       "import-plu",
                                         dir + "/prices.txt", "--set", dir + "/prices.set", "--store", "1",
                                         "--replace", "--send"};
        std::vector<char*> argp;
        for (auto& a : args) argp.push_back(a.data());
        argp.push_back(nullptr);
        posix_spawn_file_actions_t fa;
        posix_spawn_file_actions_init(&fa);
        const std::string log = dir + "-out.txt";
        posix_spawn_file_actions_addopen(&fa, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_addopen(&fa, 2, (dir + "-err.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        // The child reports its phases (start, import, pack, transfer, rest, end) on its error output.
        std::vector<std::string> envs;
        for (char** e = environ; *e; ++e) envs.push_back(*e);
        envs.push_back("BRINDALE_CLI_TIMES=1");
        std::vector<char*> envp;
        for (auto& e : envs) envp.push_back(e.data());
        envp.push_back(nullptr);
        const double load = loadNow();
        const double scalesCpu0 = cpuSelf();
        const auto t0 = Clock::now();
        pid_t pid = -1;
        if (posix_spawn(&pid, cli.c_str(), &fa, nullptr, argp.data(), envp.data()) != 0) return 1;
        int status = 0;
        rusage ru{};
        ::wait4(pid, &status, 0, &ru);
        const double s = std::chrono::duration<double>(Clock::now() - t0).count();
        const double cliCpu = double(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
                              double(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
        const double scalesCpu = cpuSelf() - scalesCpu0;
        posix_spawn_file_actions_destroy(&fa);
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
        size_t held = 0;
        for (auto& sc : scales) held += sc->recordCount("25");
        std::string phases;
        {
            std::ifstream e(dir + "-err.txt");
            for (std::string line; std::getline(e, line);)
                if (line.rfind("times:", 0) == 0) phases = line;
        }
        std::printf("run %d: %.2f s wall, cpu %.2f s (brindale-cli) + %.2f s (the ten scales), exit %d, records held by "
                    "the %d scales %zu, load before %.1f\n  %s\n",
                    r + 1, s, cliCpu, scalesCpu, code, kScales, held, load, phases.c_str());
        if (code != 0) {
            std::ifstream e(dir + "-err.txt");
            std::string line;
            for (int i = 0; i < 10 && std::getline(e, line); ++i) std::printf("  %s\n", line.c_str());
            worst = code;
        }
        fs::remove_all(dir);
        fs::remove(log);
        fs::remove(dir + "-err.txt");
    }
    for (auto& s : scales) s->stop();
    fs::remove_all(base);
    return worst == 0 ? 0 : 1;
}
