// Arbitrary bytes as a PLU record: the decoder must never crash nor read past the array, and
// whatever it decoded must go back through the encoder without harm.
#include <cstddef>
#include <cstdint>
#include <optional>

#include "codec/code_page.h"
#include "codec/plu_record.h"

using namespace brindale::codec;

namespace {

class NoFlexi : public FlexiBarcodeSource {
 public:
  std::optional<int64_t> itemDigitNo(int64_t no, int64_t kind) override {
    if (no == 1) return kind ? 4 : 12;
    return std::nullopt;
  }
};

class AllGroups : public InheritanceSource {
 public:
  std::optional<HierarchySettings> mainGroup(int64_t, int64_t mg) override {
    HierarchySettings s;
    s.LabFormat = mg % 256;
    s.BarFormat = mg % 50;
    s.BarFlag = mg % 13;
    s.DP_No = 1;
    return s;
  }
  std::optional<HierarchySettings> department(int64_t, int64_t) override { return std::nullopt; }
  std::optional<HierarchySettings> store(int64_t) override { return std::nullopt; }
};

BarcodeLists lists() {
  BarcodeLists l;
  l.EAN_EDIT = {"0,0,10", "2,0,6,", "1,1,10,", "2,0,x,", "2,0"};
  l.ITF_EDIT = {"0,0,10", "0,0,4,"};
  return l;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const CodePage western("CP1252");
  static const CodePage chinese("GBK");
  static const BarcodeLists barcodeLists = lists();
  static NoFlexi flexi;
  static AllGroups groups;
  if (size < 1) return 0;
  static const int kCountries[] = {0, 1, 26, 27, 30, 3};
  const uint8_t control = data[0];
  CodecEnvironment env;
  env.settings.CountryIndex = kCountries[control % 6];
  env.codePage = (control & 0x40) ? &chinese : &western;
  env.barcodeLists = &barcodeLists;
  env.flexiBarcodes = &flexi;
  env.inheritance = &groups;

  PluRow row;
  row.KVRBinData = std::vector<uint8_t>(data + 1, data + size);
  // Most inputs would stop at the length check; let half of them carry a matching length.
  if ((control & 0x80) && row.KVRBinData->size() >= 6) {
    (*row.KVRBinData)[4] = static_cast<uint8_t>(row.KVRBinData->size() >> 8);
    (*row.KVRBinData)[5] = static_cast<uint8_t>(row.KVRBinData->size());
  }
  const DecodeResult res = decodePluRecord(env, row);
  if (res.outcome == DecodeOutcome::Failed) (void)res.error.message();
  if (res.rowChanged()) {
    EncoderContext ctx(env);
    (void)encodePluRecord(ctx, row, (control & 0x20) != 0);
  }
  return 0;
}
