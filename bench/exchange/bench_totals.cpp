// Decoding the sales totals of 100 scales into the nine RC_ tables: each scale holds 1,000 PLUs,
// 20 departments and 50 main groups (210,900 records). The records come from the emulated scale
// and are inserted first (not timed); the measured step is the decode of all nine tables in place.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>

#include "exchange/totals.h"
#include "store/database.h"
#include "store/rebuild.h"
#include "totals.h"

namespace {

using namespace brindale;
namespace emu = brindale::scaleemu;

uint32_t packed(uint64_t n) {
    uint32_t v = 0;
    for (int shift = 0; n; shift += 4, n /= 10) v |= uint32_t(n % 10) << shift;
    return v;
}

struct Fixture {
    std::string dir;
    std::unique_ptr<store::Database> db;
    size_t records = 0;
    size_t bytes = 0;

    Fixture() {
        dir = (std::filesystem::temp_directory_path() / ("bench_totals_" + std::to_string(::getpid()))).string();
        std::filesystem::create_directories(dir);
        const std::string path = dir + "/Brindale1.mdb";
        store::rebuildDatabase(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", path, 0);
        db = store::Database::open(path);
        store::Transaction tx(*db);
        for (int scale = 0; scale < 100; ++scale) {
            emu::Files held;
            for (uint64_t n = 1; n <= 1000; ++n) held["25"][packed(n + 1000 * uint64_t(scale % 7))] = emu::Record(4, 0);
            for (uint64_t n = 1; n <= 20; ++n) held["20"][packed(n)] = emu::Record(4, 0);
            for (uint64_t n = 1; n <= 50; ++n) {
                emu::Record mg(7, 0);
                mg[6] = uint8_t(((n % 20) / 10) << 4 | (n % 20) % 10);
                held["23"][packed(n)] = mg;
            }
            for (const auto& l : exchange::totalsLayouts()) {
                auto& st = db->cached(std::string("INSERT INTO ") + l.table + " (KVRBinData) VALUES (?)");
                for (const auto& r : emu::makeTotals(l.identifier, held)) {
                    st.reset();
                    st.bind(1, store::Value(store::Bytes(r)));
                    st.step();
                    ++records;
                    bytes += r.size();
                }
            }
        }
        tx.commit();
    }
    ~Fixture() {
        db.reset();
        std::filesystem::remove_all(dir);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_DecodeTotalsOf100Scales(benchmark::State& state) {
    Fixture& f = fixture();
    exchange::DecodeSettings s;
    long rows = 0;
    for (auto _ : state) {
        rows = 0;
        for (const auto& l : exchange::totalsLayouts()) rows += exchange::decodeTable(*f.db, l, s);
    }
    state.counters["records"] = double(f.records);
    state.counters["MB"] = double(f.bytes) / 1e6;
    state.counters["rows"] = double(rows);
}
BENCHMARK(BM_DecodeTotalsOf100Scales)->Unit(benchmark::kMillisecond)->Iterations(3);

// The same records decoded in memory only, as the chart does.
void BM_DecodeTotalsInMemory(benchmark::State& state) {
    Fixture& f = fixture();
    exchange::DecodeSettings s;
    std::vector<std::pair<const exchange::TotalsLayout*, std::vector<uint8_t>>> recs;
    for (const auto& l : exchange::totalsLayouts()) {
        auto st = f.db->prepare(std::string("SELECT KVRBinData FROM ") + l.table);
        while (st->step()) recs.push_back({&l, st->column(0).bytes()});
    }
    for (auto _ : state) {
        size_t n = 0;
        for (const auto& [l, r] : recs) n += exchange::decodeRecord(*l, r.data(), r.size(), {}, s).size();
        benchmark::DoNotOptimize(n);
    }
}
BENCHMARK(BM_DecodeTotalsInMemory)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
