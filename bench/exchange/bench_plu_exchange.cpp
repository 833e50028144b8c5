// PLU exchange by text file on a generated chain of 100,000 PLUs (or the count given):
//  - import of a file of as many lines, 13 columns with the three texts, half of the numbers already
//    in the table, imported PLUs replacing them (chkPLU ticked), beside the sqlite3 client's .import
//    of the same file into a table of those 13 columns;
//  - export of every PLU with all 38 columns.
// Each figure is the best of three runs on a fresh copy of the database.
//   bench_plu_exchange [PLU_COUNT]
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "chain_generator.h"
#include "exchange/plu_export.h"
#include "exchange/plu_import.h"
#include "generated_app.h"
#include "shell/program_state.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {
double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

// User and system seconds of this process (`who` RUSAGE_SELF) or of its waited-for children.
double cpuSeconds(int who) {
    struct rusage ru {};
    getrusage(who, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}

const std::vector<std::string> kImportColumns = {
    "PLU_No", "PLU_MG", "PLU_UPrice", "PLU_Cost", "PLU_Tare", "Stat1_Unit", "PLU_EANItemCode", "PLU_EANFlags",
    "PLU_SBDate", "PLU_UBDate", "PLU_Commodity", "PLU_Ingredient", "PLU_SPMessage"};
}  // namespace

int main(int argc, char** argv) {
    const long plus = argc > 1 ? std::atol(argv[1]) : 100000;
    char tmpl[] = "/tmp/brindale-bench-pluexch-XXXXXX";
    if (!mkdtemp(tmpl)) return 1;
    const fs::path dir = tmpl;
    const fs::path root = BRINDALE_SOURCE_ROOT;
    fs::copy(root / "ini", dir / "ini", fs::copy_options::recursive);
    fs::create_directories(dir / "Database");
    fs::create_directories(dir / "AccessData");
    fs::copy_file(root / "Database/ABC1.txt", dir / "Database/ABC1.txt");

    shell::ProgramState st;
    st.appDir = dir.string();
    bench::QuietView quiet;
    if (shell::runStartup(st, quiet) != shell::StartResult::Ok) return 1;
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.plus = plus;
    datagen::generateChain(*st.Conn, st.codecEnvironment(), shape, 7);
    const std::string dbPath = st.databasePath();
    const fs::path pristine = dir / "pristine.mdb";

    // The import file: every other line a number already in the table, the rest new; the texts and
    // figures of the generated PLUs.
    exchange::ExportOptions eo;
    eo.columns = kImportColumns;
    eo.priceDecimals = st.settings.PriceDecimals;
    eo.weightDecimals = st.settings.WeightDecimals;
    eo.codePage = st.codePage.get();
    const std::string source = (dir / "source.txt").string();
    if (!exchange::exportPlus(*st.Conn, source, eo).ok) return 1;
    int64_t maxNo = 0;
    {
        auto q = st.Conn->prepare("SELECT max(PLU_No) FROM KVR_25");
        if (q->step()) maxNo = q->columnInt(0);
    }
    const std::string importFile = (dir / "import.txt").string();
    long lines = 0;
    {
        std::ifstream in(source, std::ios::binary);
        std::ofstream out(importFile, std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            if (lines % 2 == 1) line = std::to_string(maxNo + lines) + line.substr(line.find('\t'));
            out << line << '\n';
            ++lines;
        }
    }
    const auto fileBytes = fs::file_size(importFile);

    st.closeDatabase();
    fs::copy_file(dbPath, pristine, fs::copy_options::overwrite_existing);

    auto fresh = [&] {
        fs::copy_file(pristine, dbPath, fs::copy_options::overwrite_existing);
        return store::Database::open(dbPath);
    };
    codec::CodePage page(st.codePage ? st.codePage->name() : "CP1252");

    double bestImport = 1e9, importCpu = 1e9;
    exchange::ImportResult ir;
    for (int rep = 0; rep < 3; ++rep) {
        auto db = fresh();
        exchange::ImportOptions io;
        io.columns = kImportColumns;
        io.weightFlag = "0";
        io.stNo = 1;
        io.mgNo = 997;
        io.replaceExisting = true;
        io.priceDecimals = st.settings.PriceDecimals;
        io.weightDecimals = st.settings.WeightDecimals;
        io.decimalSign = st.settings.DecimalSign();
        io.codePage = &page;
        io.barcodeLists = &st.barcodeLists;
        const auto t0 = Clock::now();
        const double c0 = cpuSeconds(RUSAGE_SELF);
        ir = exchange::importPlus(*db, importFile, io);
        bestImport = std::min(bestImport, since(t0));
        importCpu = std::min(importCpu, cpuSeconds(RUSAGE_SELF) - c0);
        if (ir.outcome != exchange::ImportOutcome::Ok) {
            std::fprintf(stderr, "import: %s\n", ir.error.c_str());
            return 1;
        }
    }

    // The sqlite3 client: the same file into a table of the same 13 columns.
    double bestPeer = 1e9, peerCpu = 1e9;
    for (int rep = 0; rep < 3; ++rep) {
        fresh().reset();
        std::string create = "CREATE TABLE imp (";
        for (size_t i = 0; i < kImportColumns.size(); ++i) create += (i ? "," : "") + kImportColumns[i];
        create += ");";
        const std::string cmd = "sqlite3 '" + dbPath + "' '" + create + "' && sqlite3 '" + dbPath +
                                "' -cmd '.mode tabs' '.import " + importFile + " imp'";
        const auto t0 = Clock::now();
        const double c0 = cpuSeconds(RUSAGE_CHILDREN);
        if (std::system(cmd.c_str()) != 0) {
            std::fprintf(stderr, "sqlite3 .import failed\n");
            return 1;
        }
        bestPeer = std::min(bestPeer, since(t0));
        peerCpu = std::min(peerCpu, cpuSeconds(RUSAGE_CHILDREN) - c0);
    }

    // Export: every PLU, all 38 columns.
    std::vector<std::string> all;
    if (const auto* items = st.lang.find("ImportOrExportItem"))
        for (size_t i = 0; i < items->size(); ++i) all.push_back(items->valueAt(i));
    double bestExport = 1e9, exportCpu = 1e9;
    long exported = 0;
    {
        auto db = fresh();
        exchange::ExportOptions xo;
        xo.columns = all;
        xo.priceDecimals = st.settings.PriceDecimals;
        xo.weightDecimals = st.settings.WeightDecimals;
        xo.codePage = &page;
        for (int rep = 0; rep < 3; ++rep) {
            const auto t0 = Clock::now();
            const double c0 = cpuSeconds(RUSAGE_SELF);
            const auto r = exchange::exportPlus(*db, (dir / "all.txt").string(), xo);
            bestExport = std::min(bestExport, since(t0));
            exportCpu = std::min(exportCpu, cpuSeconds(RUSAGE_SELF) - c0);
            if (!r.ok) return 1;
            exported = r.rows;
        }
    }
    const auto exportBytes = fs::file_size(dir / "all.txt");

    std::printf("import  %ld lines (%.1f MB, %zu columns with texts) into %ld PLUs, half replaced: %.3f s, cpu %.3f s "
                "(%ld added, %ld replaced)\n",
                lines, static_cast<double>(fileBytes) / 1e6, kImportColumns.size(), plus, bestImport, importCpu,
                ir.added, ir.replaced);
    std::printf("sqlite3 .import of the same file into a table of its columns: %.3f s, cpu %.3f s\n", bestPeer, peerCpu);
    std::printf("export  %ld PLUs, %zu columns (%.1f MB): %.3f s, cpu %.3f s\n", exported, all.size(),
                static_cast<double>(exportBytes) / 1e6, bestExport, exportCpu);
    fs::remove_all(dir);
    return 0;
}
