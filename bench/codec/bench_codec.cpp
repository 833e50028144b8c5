// Records per second of the PLU record encoder and decoder on one core, row in memory, and the
// heap allocations each record costs once the buffers have grown.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "codec/code_page.h"
#include "codec/plu_record.h"
#include "codec/small_records.h"
#include "plu_row_generator.h"

namespace {
std::atomic<long> gAllocations{0};
}

// Counting replacement of the global allocator; GCC cannot see that new and free pair up here.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t n) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

using namespace brindale::codec;

namespace {

class Flexi : public FlexiBarcodeSource {
 public:
  std::optional<int64_t> itemDigitNo(int64_t, int64_t) override { return 6; }
};

struct Setup {
  CodePage codePage{"CP1252"};
  BarcodeLists lists;
  Flexi flexi;
  CodecEnvironment env;
  explicit Setup(int country) {
    lists.EAN_EDIT = {"0,0,10", "2,0,6,", "1,1,10,", "2,0,5", "2,0,x,", "2,0,7,"};
    lists.ITF_EDIT = {"0,0,10", "0,0,4,", "2,2,8,"};
    env.codePage = &codePage;
    env.barcodeLists = &lists;
    env.flexiBarcodes = &flexi;
    env.settings.CountryIndex = country;
  }
};

PluRow minimalRow() {
  PluRow r;
  r.PLU_No = 1234;
  r.PLU_UPrice = 599;
  r.PLU_MG = 997;
  r.ST_No = 1;
  return r;
}

PluRow fullRow(int country) {
  brindale::codec::test::PluRowGenerator gen(42);
  return gen.full(country);
}

void reportAllocations(benchmark::State& state, long before) {
  state.counters["allocs/record"] =
      benchmark::Counter(static_cast<double>(gAllocations.load() - before) / static_cast<double>(state.iterations()));
  state.SetItemsProcessed(state.iterations());
}

void encode(benchmark::State& state, PluRow row, int country) {
  Setup s(country);
  EncoderContext ctx(s.env);
  if (!encodePluRecord(ctx, row, true).ok()) state.SkipWithError("row does not encode");
  state.counters["bytes"] = static_cast<double>(row.KVRBinData->size());
  const long before = gAllocations.load();
  for (auto _ : state) {
    benchmark::DoNotOptimize(encodePluRecord(ctx, row, true).ok());
    benchmark::ClobberMemory();
  }
  reportAllocations(state, before);
}

void decode(benchmark::State& state, PluRow row, int country) {
  Setup s(country);
  EncoderContext ctx(s.env);
  if (!encodePluRecord(ctx, row, false).ok()) state.SkipWithError("row does not encode");
  PluRow target;
  target.KVRBinData = row.KVRBinData;
  if (decodePluRecord(s.env, target).outcome != DecodeOutcome::Decoded) state.SkipWithError("record does not decode");
  state.counters["bytes"] = static_cast<double>(row.KVRBinData->size());
  const long before = gAllocations.load();
  for (auto _ : state) {
    benchmark::DoNotOptimize(decodePluRecord(s.env, target).outcome);
    benchmark::ClobberMemory();
  }
  reportAllocations(state, before);
}

void BM_EncodeMinimal(benchmark::State& state) { encode(state, minimalRow(), 0); }
void BM_EncodeFull(benchmark::State& state) { encode(state, fullRow(26), 26); }
void BM_DecodeMinimal(benchmark::State& state) { decode(state, minimalRow(), 0); }
void BM_DecodeFull(benchmark::State& state) { decode(state, fullRow(26), 26); }

// A pass over a table of generated rows, as a download or the mirror runs it.
void BM_EncodeTable(benchmark::State& state) {
  Setup s(0);
  EncoderContext ctx(s.env);
  brindale::codec::test::PluRowGenerator gen(7);
  std::vector<PluRow> rows;
  for (int i = 0; i < 10000; ++i) rows.push_back(gen.next(0));
  for (auto& r : rows) encodePluRecord(ctx, r, false);
  const long before = gAllocations.load();
  for (auto _ : state)
    for (auto& r : rows) benchmark::DoNotOptimize(encodePluRecord(ctx, r, false).ok());
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(rows.size()));
  state.counters["allocs/record"] = benchmark::Counter(
      static_cast<double>(gAllocations.load() - before) / static_cast<double>(state.iterations() * rows.size()));
}

void BM_DecodeTable(benchmark::State& state) {
  Setup s(0);
  EncoderContext ctx(s.env);
  brindale::codec::test::PluRowGenerator gen(7);
  std::vector<PluRow> rows;
  for (int i = 0; i < 10000; ++i) {
    rows.push_back(gen.next(0));
    encodePluRecord(ctx, rows.back(), false);
  }
  for (auto& r : rows) decodePluRecord(s.env, r);
  const long before = gAllocations.load();
  for (auto _ : state)
    for (auto& r : rows) benchmark::DoNotOptimize(decodePluRecord(s.env, r).outcome);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(rows.size()));
  state.counters["allocs/record"] = benchmark::Counter(
      static_cast<double>(gAllocations.load() - before) / static_cast<double>(state.iterations() * rows.size()));
}

void BM_SmallRecordsDepartment(benchmark::State& state) {
  CodePage cp("CP1252");
  DeptRow d;
  d.DP_No = 12;
  d.DP_Name = "Butchery";
  encodeSmallRecord(d, cp);
  std::vector<DeptRow> rows(1, d);
  for (auto _ : state) {
    benchmark::DoNotOptimize(encodeSmallRecord(rows[0], cp).ok());
    benchmark::DoNotOptimize(decodeSmallRecords(std::span<DeptRow>(rows), cp).ok());
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_EncodeMinimal);
BENCHMARK(BM_EncodeFull);
BENCHMARK(BM_DecodeMinimal);
BENCHMARK(BM_DecodeFull);
BENCHMARK(BM_EncodeTable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeTable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SmallRecordsDepartment);

BENCHMARK_MAIN();
