// The packing of a send on its own: a started program's 100,000 PLUs (or the count given), every
// record set to NULL, then store::packPluRows over the whole table, as frmDownLoad's first
// activation does. Three rounds; seconds and processor seconds of each.
//   bench_plu_pack [PLU_COUNT]
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "generated_app.h"
#include "shell/lifecycle.h"
#include "shell/program_state.h"
#include "store/database.h"
#include "store/plu_pack.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {
double cpuSeconds() {
    struct rusage ru {};
    getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}
double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }
}  // namespace

int main(int argc, char** argv) {
    const long plus = argc > 1 ? std::atol(argv[1]) : 100000;
    const std::string app = (fs::temp_directory_path() / ("brindale-bench-pack-" + std::to_string(getpid()))).string();
    fs::create_directories(app + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", app + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", app + "/Database/ABC1.txt");
    if (!bench::writeGeneratedChain(app, plus, 1, 42)) return 1;

    shell::ProgramState st;
    st.appDir = app;
    bench::QuietView q;
    if (shell::runStartup(st, q) != shell::StartResult::Ok) return 1;
    store::Database& db = *st.Conn;
    int status = 0;
    for (int round = 1; round <= 3; ++round) {
        // Stale records: by default every price changed (the records keep their size); with
        // BRINDALE_BENCH_NULL_RECORDS=1 every record gone, so that each row grows when packed.
        if (std::getenv("BRINDALE_BENCH_NULL_RECORDS"))
            db.exec("UPDATE KVR_25 SET KVRBinData = NULL");
        else
            db.exec("UPDATE KVR_25 SET PLU_UPrice = (PLU_UPrice + 1) % 1000000");
        const double c0 = cpuSeconds();
        const auto t0 = Clock::now();
        const auto r = store::packPluRows(db, st.codecEnvironment(), "", true, [](long, long) {});
        const double s = since(t0);
        std::printf("round %d: %ld PLUs packed in %.3f s (cpu %.3f s), %zu refused\n", round, r.packed, s,
                    cpuSeconds() - c0, r.problems.size());
        if (r.packed + static_cast<long>(r.problems.size()) != plus) status = 1;
    }
    st.closeDatabase();
    fs::remove_all(app);
    return status;
}
