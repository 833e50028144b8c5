#include "codec/barcode.h"

#include <cstring>

#include "codec/barcode_detail.h"
#include "codec/code_page.h"
#include "codec/detail.h"

namespace brindale::codec {

namespace detail {

int16_t inheritedSetting(InheritanceSource* source, const PluRow& row, int kind) {
  if (row.ST_No == kNullNumber) fail(Fault::Null, "ST_No");
  if (row.PLU_MG == kNullNumber) fail(Fault::Null, "PLU_MG");
  if (!source) return 0;
  auto deciding = [kind](const HierarchySettings& s) { return kind == 0 ? s.LabFormat : s.BarFormat; };
  std::optional<HierarchySettings> src = source->mainGroup(row.ST_No, row.PLU_MG);
  if (!src) return 0;
  if (deciding(*src) == 255) {
    src = source->department(row.ST_No, src->DP_No);
    if (!src) return 0;
    if (deciding(*src) == 255) {
      src = source->store(row.ST_No);
      if (!src) return 0;
    }
  }
  int64_t v;
  const char* what;
  if (kind == 0) {
    v = src->LabFormat;
    what = "LabFormat";
  } else if (kind == 1) {
    v = src->BarFlag * 100 + src->BarFormat;
    what = "BarFlag";
  } else {
    v = src->Flag1 * 10 + src->Flag2;
    what = "Flag1";
  }
  // The result is a 16-bit integer.
  if (v > 32767 || v < -32768) fail(Fault::Overflow, what, v, 32767);
  return static_cast<int16_t>(v);
}

int64_t resolveRemembered(InheritanceSource* source, RememberedSettings& rem, int64_t& slot, const PluRow& row,
                          int kind) {
  if (row.ST_No == rem.lastStore && row.PLU_MG == rem.lastMainGroup) return slot;
  slot = inheritedSetting(source, row, kind);
  return slot;
}

int itemDigitsOfLine(std::string_view line) {
  if (line.size() < 5) failText(Fault::BadFormatLine, "PLU_BarFormat", std::string(line));
  const bool one = line.size() >= 6 && line[5] == ',';
  const std::string_view digits = line.substr(4, one ? 1 : 2);
  int n = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') failText(Fault::BadFormatLine, "PLU_BarFormat", std::string(line));
    n = n * 10 + (c - '0');
  }
  return n;
}

int builtInItemDigits(const BarcodeLists* lists, int64_t format, int64_t kind) {
  const std::string* line = nullptr;
  if (lists) line = builtInFormatLine(kind == 1 ? lists->EAN_EDIT : lists->ITF_EDIT, format);
  // The position counts the REF line as 0, as the key Bk does.
  if (!line) fail(Fault::MissingFormatLine, kind == 1 ? "EAN_EDIT" : "ITF_EDIT", format + 1);
  return itemDigitsOfLine(*line);
}

namespace {

// N of a format: built-in formats from their edit list, flexi formats (33 and above) from their
// KVR_14 row, 10 when that row is missing.
int itemDigits(const CodecEnvironment& env, int64_t format, int64_t kind) {
  if (format >= 33) {
    if (env.flexiBarcodes)
      if (auto n = env.flexiBarcodes->itemDigitNo(format - 32, kind)) {
        if (*n < 0 || *n > 1000) fail(Fault::Overflow, "FBar_ItemDigitNo", *n, 1000);
        return static_cast<int>(*n);
      }
    return 10;
  }
  return builtInItemDigits(env.barcodeLists, format, kind);
}

bool allDigits(std::string_view s) {
  for (char c : s)
    if (c < '0' || c > '9') return false;
  return true;
}

void appendDecimal(std::string& out, int64_t v) {
  char buf[24];
  char* end = buf + sizeof buf;
  char* p = end;
  const bool negative = v < 0;
  uint64_t u = negative ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  do {
    *--p = static_cast<char>('0' + u % 10);
    u /= 10;
  } while (u);
  if (negative) *--p = '-';
  out.append(p, static_cast<std::size_t>(end - p));
}

std::string_view stripLeadingZeros(std::string_view s) {
  while (s.size() > 1 && s.front() == '0') s.remove_prefix(1);
  return s;
}

}  // namespace

void setEANData(const CodecEnvironment& env, RememberedSettings& rem, PluRow& row, bool inherit) {
  int64_t format, lastByte;
  if (row.PLU_BarFormat == kNullNumber) fail(Fault::Null, "PLU_BarFormat");
  if (inherit && row.PLU_BarFormat == 255) {
    int64_t v;
    if (row.ST_No == rem.lastStore && row.PLU_MG == rem.lastMainGroup) {
      v = rem.lastBarFormat;
    } else {
      v = inheritedSetting(env.inheritance, row, 1);
      rem.lastBarFormat = v;
      rem.lastStore = row.ST_No;
      rem.lastMainGroup = row.PLU_MG;
    }
    format = v % 100;
    lastByte = v / 100;
  } else {
    format = row.PLU_BarFormat;
    lastByte = row.PLU_EANLastByte;
    if (lastByte == kNullNumber) fail(Fault::Null, "PLU_EANLastByte");
  }
  const int64_t kind = lastByte < 10 ? 1 : 0;
  const int n = itemDigits(env, format, kind);

  if (!row.PLU_EANItemCode) fail(Fault::Null, "PLU_EANItemCode");
  std::string& item = *row.PLU_EANItemCode;
  if (item.size() > static_cast<std::size_t>(n)) {
    // Keep the first N characters, as a number.
    const std::string_view head(item.data(), static_cast<std::size_t>(n));
    if (!allDigits(head)) failText(Fault::NotDecimal, "PLU_EANItemCode", item);
    const std::string_view num = head.empty() ? std::string_view("0") : stripLeadingZeros(head);
    item.assign(num.data(), num.size());
  }

  if (!row.PLU_EANData) row.PLU_EANData.emplace();
  std::string& d = *row.PLU_EANData;
  d.clear();
  if (format != 0 && item.size() < static_cast<std::size_t>(n)) d.append(static_cast<std::size_t>(n) - item.size(), '0');
  d.append(item);
  if (d.size() < 10) d.append(10 - d.size(), '0');
  if (lastByte >= 0 && lastByte < 10) d.push_back('0');
  appendDecimal(d, lastByte);
}

void splitEANData(const CodecEnvironment& env, PluRow& row) {
  if (!row.PLU_EANData) fail(Fault::Null, "PLU_EANData");
  const std::string& d = *row.PLU_EANData;
  if (d.size() < 12) failText(Fault::TooShort, "PLU_EANData", d, 12);
  const std::string_view last(d.data() + 10, 2);
  if (!allDigits(last)) failText(Fault::NotDecimal, "PLU_EANLastByte", std::string(last));
  const int64_t lastByte = (last[0] - '0') * 10 + (last[1] - '0');
  if (row.PLU_BarFormat == kNullNumber) fail(Fault::Null, "PLU_BarFormat");
  const int64_t format = row.PLU_BarFormat;
  const int n = itemDigits(env, format, lastByte < 10 ? 1 : 0);
  std::string_view digits(d.data(), static_cast<std::size_t>(n < 10 ? n : 10));
  if (format != 0) {
    digits = stripLeadingZeros(digits);
  } else {
    // Left-aligned: the zeros behind the item code are padding.
    while (digits.size() > 1 && digits.back() == '0') digits.remove_suffix(1);
  }
  if (digits.empty() || digits == std::string_view("0")) digits = "0";
  if (!row.PLU_EANItemCode) row.PLU_EANItemCode.emplace();
  row.PLU_EANItemCode->assign(digits.data(), digits.size());
  row.PLU_EANLastByte = lastByte;
}

}  // namespace detail

namespace {
template <class F>
Status guarded(F&& f) {
  try {
    f();
  } catch (detail::Failure& e) {
    return Status(std::move(e.error));
  }
  return {};
}
}  // namespace

Status getInheritedSetting(InheritanceSource* source, const PluRow& row, int kind, int16_t& result) {
  return guarded([&] { result = detail::inheritedSetting(source, row, kind); });
}

Status formatLineItemDigits(std::string_view line, int& digits) {
  return guarded([&] { digits = detail::itemDigitsOfLine(line); });
}

const std::string* builtInFormatLine(const std::vector<std::string>& editList, int64_t format) {
  if (format < 0 || format > kLastBuiltInFormat) return nullptr;
  const std::size_t at = static_cast<std::size_t>(format) + 1;  // past the REF line
  return at < editList.size() ? &editList[at] : nullptr;
}

Status builtInFormatItemDigits(const BarcodeLists* lists, int64_t format, int64_t kind, int& digits) {
  return guarded([&] { digits = detail::builtInItemDigits(lists, format, kind); });
}

Status setEANData(const CodecEnvironment& env, RememberedSettings& remembered, PluRow& row, bool inherit) {
  return guarded([&] { detail::setEANData(env, remembered, row, inherit); });
}

Status splitEANData(const CodecEnvironment& env, PluRow& row) {
  return guarded([&] { detail::splitEANData(env, row); });
}

MultiBarcodeBuffer buildMultiBarcode(std::string_view text, int kind, const CodePage& codePage) {
  MultiBarcodeBuffer b{};
  b[0] = text.empty() ? 0 : kMultiBarcodeInUse;
  codePage.encodeField(text, b.data() + 1, 48);
  b[49] = 0;
  b[50] = static_cast<uint8_t>(kind >= 0 && kind <= 2 ? kind : 0);
  return b;
}

MultiBarcode readMultiBarcode(const MultiBarcodeBuffer& b, const CodePage& codePage) {
  MultiBarcode m;
  m.inUse = b[0] != 0;
  std::size_t len = 0;
  while (len < 48 && b[1 + len] != 0) ++len;
  codePage.decode(b.data() + 1, len, m.text);
  m.kind = b[50] > 2 ? 0 : b[50];
  return m;
}

void loadMultiBarcodes(const PluRow& row, int index, MultiBarcodeBuffers& buffers) {
  if (index < 1 || index > 4) return;
  static constexpr int64_t PluRow::*kFlags[] = {&PluRow::Stat2B_MBarcode1, &PluRow::Stat2B_MBarcode2,
                                                &PluRow::Stat2B_TMBarcode1, &PluRow::Stat2B_TMBarcode2};
  static constexpr Bytes PluRow::*kColumns[] = {&PluRow::PLU_MultiBar1, &PluRow::PLU_MultiBar2,
                                                &PluRow::PLU_TMultiBar1, &PluRow::PLU_TMultiBar2};
  MultiBarcodeBuffer& b = buffers.buffers[static_cast<std::size_t>(index - 1)];
  b.fill(0);
  const Bytes& col = row.*kColumns[index - 1];
  if (row.*kFlags[index - 1] != 0 && col) {
    const std::size_t n = col->size() < b.size() ? col->size() : b.size();
    if (n) std::memcpy(b.data(), col->data(), n);
  }
}

void saveMultiBarcode(MultiBarcodeBuffers& buffers, int index, std::string_view text, int kind,
                      const CodePage& codePage) {
  if (index < 1 || index > 4) return;
  buffers.buffers[static_cast<std::size_t>(index - 1)] = buildMultiBarcode(text, kind, codePage);
}

namespace {
constexpr std::string_view kEan128[] = {
    "(00)XXXXXXXXXXXXXXXXCD", "(01)XXXXXXXXXXXXCD", "(02)XXXXXXXXXXXXCD", "(11)XXXXCD", "(13)XXXXCD",
    "(15)XXXXCD", "(17)XXXXCD", "(30)XXXCD", "(37)XXXCD", "(31XX)XXXXCD", "(32XX)XXXXCD",
    "(94)XXXXXXXXXXXXXXXXXXXXXXCD", "(10)XXCD", "(251)XXCD", "(422)XXCD", "(423)XXCD", "(424)XXCD",
    "(425)XXCD", "(426)XXCD", "(7030)XXXXXCD", "(7031)XXXXXCD", "(910)CD", "(392X)XXXXXXCD", "(97)CD",
    "(975)XXXXXXXXXXXXXXXXXXXXCD", "(943)XXXXXXXXXXXXXXXXXXXXXXXXCD", "(915)XXXXXXXXXXXXXXXXXXXXXXXXXXCD",
    "[00]XXXXXXXXXXXXXXCD", "[01]XXXXXXXXXXCD", "[02]XXXXXXXXXXCD", "[11]XXCD", "[13]XXCD", "[15]XXCD",
    "[17]XXCD", "[31XX]XXCD", "[941]XXXCD", "[949]CD", "[97]CD",
};
}  // namespace

std::span<const std::string_view> ean128Templates() { return kEan128; }

int ean128DigitCount(std::size_t index) {
  if (index >= std::size(kEan128)) return -1;
  int n = 0;
  for (char c : kEan128[index])
    if (c == 'X') ++n;
  return n;
}

}  // namespace brindale::codec
