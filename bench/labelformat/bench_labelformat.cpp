// decodeFormat plus codeFormat over 99 formats of 1664 bytes in a working database made from the
// shipped schema, and the record reader over one full record.
#include <benchmark/benchmark.h>

#include <random>

#include "labelformat/codec.h"
#include "labelformat/record_reader.h"
#include "store/rebuild.h"
#include "store/recordset.h"
#include <filesystem>
#include <unistd.h>

using namespace brindale;
using namespace brindale::labelformat;

namespace {

Bytes fullRecord(int number, std::mt19937& rng) {
    Bytes r(1664);
    for (auto& b : r) b = static_cast<uint8_t>(rng());
    r[0] = r[1] = r[2] = 0;
    r[3] = static_cast<uint8_t>((number / 10) << 4 | (number % 10));
    r[4] = 0x06;
    r[5] = 0x80;
    return r;
}

struct Db {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("bench_labelformat_" + std::to_string(::getpid()));
    std::unique_ptr<store::Database> db;
    ~Db() {
        db.reset();
        std::filesystem::remove_all(dir);
    }
    Db() {
        std::filesystem::create_directories(dir);
        store::rebuildDatabase(BRINDALE_SCHEMA_TEXT, (dir / "Brindale1.mdb").string(), 0);
        db = store::Database::open((dir / "Brindale1.mdb").string());
        std::mt19937 rng(7);
        store::Recordset rs(*db, "KVR_34");
        for (int n = 1; n <= 99; ++n) {
            rs.addNew();
            rs.setValue(0, store::Value(std::to_string(n)));
            rs.setValue("KVRBinData", store::Value(fullRecord(n, rng)));
            rs.update();
        }
    }
};

void BM_DecodeAndCode99Formats(benchmark::State& state) {
    Db d;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decodeFormat(*d.db));
        benchmark::DoNotOptimize(codeFormat(*d.db));
    }
}
BENCHMARK(BM_DecodeAndCode99Formats)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_ReadFullRecord(benchmark::State& state) {
    Db d;
    store::Recordset rs(*d.db, "KVR_34");
    std::vector<store::ColumnDef> cols;
    for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
    const RecordLayout layout = RecordLayout::fromColumns(cols);
    const Bytes rec = rs.value("KVRBinData").bytes();
    RecordView v;
    for (auto _ : state) benchmark::DoNotOptimize(readRecord(rec, layout, v));
}
BENCHMARK(BM_ReadFullRecord)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
