// Arbitrary bytes as department, main group and flexi barcode records: decoding must never
// crash nor read past a record, and decoded rows must encode again without harm.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/code_page.h"
#include "codec/small_records.h"

using namespace brindale::codec;

namespace {

template <class Row>
void run(const uint8_t* data, size_t size, size_t recordSize, const CodePage& cp) {
  std::vector<Row> rows;
  // Whole records, then whatever is left as a short one; an empty input gives a Null record.
  for (size_t p = 0; p < size; p += recordSize) {
    Row r;
    const size_t n = size - p < recordSize ? size - p : recordSize;
    r.KVRBinData = std::vector<uint8_t>(data + p, data + p + n);
    rows.push_back(std::move(r));
  }
  if (rows.empty()) rows.emplace_back();
  const Status s = decodeSmallRecords(std::span<Row>(rows), cp);
  if (!s.ok()) (void)s.message();
  for (auto& r : rows) (void)encodeSmallRecord(r, cp);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const CodePage western("CP1252");
  static const CodePage chinese("GBK");
  if (size < 1) return 0;
  const CodePage& cp = (data[0] & 0x40) ? chinese : western;
  switch (data[0] % 3) {
    case 0: run<DeptRow>(data + 1, size - 1, kDeptRecordSize, cp); break;
    case 1: run<MainGroupRow>(data + 1, size - 1, kMainGroupRecordSize, cp); break;
    default: run<FlexiBarcodeRow>(data + 1, size - 1, kFlexiBarcodeRecordSize, cp); break;
  }
  return 0;
}
