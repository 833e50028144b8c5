#include "codec/small_records.h"

#include <cstdio>
#include <cstring>

#include "codec/code_page.h"
#include "codec/number_codec.h"

namespace brindale::codec {

namespace {

using namespace detail;

#define N(name) BRINDALE_COLUMN_INFO_N(DeptRow, name)
#define T(name) BRINDALE_COLUMN_INFO_T(DeptRow, name)
#define B(name) BRINDALE_COLUMN_INFO_B(DeptRow, name)
const ColumnInfo<DeptRow> kDeptColumns[] = {BRINDALE_DEPT_COLUMNS(N, T, B)};
#undef N
#undef T
#undef B
#define N(name) BRINDALE_COLUMN_INFO_N(MainGroupRow, name)
#define T(name) BRINDALE_COLUMN_INFO_T(MainGroupRow, name)
#define B(name) BRINDALE_COLUMN_INFO_B(MainGroupRow, name)
const ColumnInfo<MainGroupRow> kMainGroupColumns[] = {BRINDALE_MAINGROUP_COLUMNS(N, T, B)};
#undef N
#undef T
#undef B
#define N(name) BRINDALE_COLUMN_INFO_N(FlexiBarcodeRow, name)
#define T(name) BRINDALE_COLUMN_INFO_T(FlexiBarcodeRow, name)
#define B(name) BRINDALE_COLUMN_INFO_B(FlexiBarcodeRow, name)
const ColumnInfo<FlexiBarcodeRow> kFlexiColumns[] = {BRINDALE_FLEXIBARCODE_COLUMNS(N, T, B)};
#undef N
#undef T
#undef B

void pack(std::string_view digits, uint8_t* buf, std::size_t first, std::size_t last, const char* column) {
  const std::size_t bytes = last - first + 1;
  char padded[64];
  std::string_view s = digits;
  if (digits.size() < 2 * bytes && 2 * bytes <= sizeof padded) {
    const std::size_t pad = 2 * bytes - digits.size();
    std::memset(padded, '0', pad);
    std::memcpy(padded + pad, digits.data(), digits.size());
    s = std::string_view(padded, 2 * bytes);
  }
  for (std::size_t i = 0; i < bytes; ++i) {
    const int hi = hexDigit(s[2 * i]), lo = hexDigit(s[2 * i + 1]);
    if (hi < 0 || lo < 0) failText(Fault::NotHex, column, std::string(digits));
    buf[first + i] = static_cast<uint8_t>(hi << 4 | lo);
  }
}

// The decimal text of a number column, as the record builder prints it.
std::string_view decimal(int64_t v, const char* column, char (&buf)[24]) {
  checkNull(v, column);
  const int n = std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(v));
  return {buf, static_cast<std::size_t>(n)};
}

// "0" before each value in turn: a value of two digits pushes the digits behind it along.
std::string_view zeroPrefixed(std::initializer_list<std::pair<int64_t, const char*>> values, char (&buf)[160]) {
  std::size_t len = 0;
  for (const auto& [v, column] : values) {
    char num[24];
    const std::string_view d = decimal(v, column, num);
    buf[len++] = '0';
    std::memcpy(buf + len, d.data(), d.size());
    len += d.size();
  }
  return {buf, len};
}

void text(const Text& t, uint8_t* buf, std::size_t first, std::size_t last, const CodePage& cp, const char* column) {
  if (!t) fail(Fault::Null, column);
  packText(*t, buf, first, last, cp);
}

template <class Row>
Status finish(Row& row, const uint8_t* buf, std::size_t size) {
  if (!row.KVRBinData) row.KVRBinData.emplace();
  row.KVRBinData->assign(buf, buf + size);
  return {};
}

template <class F>
Status guarded(F&& f) {
  try {
    return f();
  } catch (Failure& e) {
    return Status(std::move(e.error));
  }
}

// Name bytes up to the first 0 or the 16th byte, as text.
void readName(Text& col, const uint8_t* p, const CodePage& cp) {
  std::size_t n = 0;
  while (n < 16 && p[n] != 0) ++n;
  if (!col) col.emplace();
  cp.decode(p, n, *col);
}

const uint8_t* record(const Bytes& bin, std::size_t size, const char* table) {
  if (!bin) fail(Fault::Null, table);
  if (bin->size() < size) fail(Fault::RecordTooShort, table, static_cast<int64_t>(size), static_cast<int64_t>(bin->size()));
  return bin->data();
}

template <class Row, class F>
Status decodeRows(std::span<Row> rows, F&& decodeOne) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    try {
      decodeOne(rows[i]);
    } catch (Failure& e) {
      e.error.row = i;
      return Status(std::move(e.error));
    }
  }
  return {};
}

}  // namespace

std::span<const ColumnInfo<DeptRow>> deptColumns() { return kDeptColumns; }
std::span<const ColumnInfo<MainGroupRow>> mainGroupColumns() { return kMainGroupColumns; }
std::span<const ColumnInfo<FlexiBarcodeRow>> flexiBarcodeColumns() { return kFlexiColumns; }

std::optional<SmallTable> smallTableFromName(std::string_view name) {
  if (equalsIgnoreCase(name, "KVR_20")) return SmallTable::Dept;
  if (equalsIgnoreCase(name, "KVR_23")) return SmallTable::MainGroup;
  if (equalsIgnoreCase(name, "KVR_14")) return SmallTable::FlexiBarcode;
  return std::nullopt;
}

Status packDigits(std::string_view digits, uint8_t* buf, std::size_t first, std::size_t last) {
  if (last < first) return {};
  return guarded([&] {
    pack(digits, buf, first, last, "digits");
    return Status();
  });
}

void packText(std::string_view text, uint8_t* buf, std::size_t first, std::size_t last, const CodePage& cp) {
  if (last < first) return;
  cp.encodeField(text, buf + first, last - first + 1);
}

Status encodeSmallRecord(DeptRow& row, const CodePage& cp) {
  return guarded([&] {
    uint8_t buf[kDeptRecordSize] = {};
    char num[24];
    pack(decimal(row.DP_No, "DP_No", num), buf, 0, 3, "DP_No");
    pack("0017", buf, 4, 5, "KVRBinData");
    text(row.DP_Name, buf, 6, 21, cp, "DP_Name");
    pack("00", buf, 22, 22, "KVRBinData");
    return finish(row, buf, sizeof buf);
  });
}

Status encodeSmallRecord(MainGroupRow& row, const CodePage& cp) {
  return guarded([&] {
    uint8_t buf[kMainGroupRecordSize] = {};
    char num[24];
    pack(decimal(row.MG_No, "MG_No", num), buf, 0, 3, "MG_No");
    pack("0019", buf, 4, 5, "KVRBinData");
    pack(decimal(row.DP_No, "DP_No", num), buf, 6, 6, "DP_No");
    text(row.MG_Name, buf, 7, 22, cp, "MG_Name");
    pack("00", buf, 23, 23, "KVRBinData");
    pack("00", buf, 24, 24, "KVRBinData");
    return finish(row, buf, sizeof buf);
  });
}

Status encodeSmallRecord(FlexiBarcodeRow& row, const CodePage& cp) {
  return guarded([&] {
    uint8_t buf[kFlexiBarcodeRecordSize] = {};
    char num[24];
    char group[160];
    pack(decimal(row.FBar_No, "FBar_No", num), buf, 0, 3, "FBar_No");
    pack("0010", buf, 4, 5, "KVRBinData");
    pack(zeroPrefixed({{row.FBar_Type, "FBar_Type"},
                       {row.FBar_ItemDigitNo, "FBar_ItemDigitNo"},
                       {row.FBar_Data1, "FBar_Data1"},
                       {row.FBar_Data2, "FBar_Data2"},
                       {row.FBar_FBarDigitNo, "FBar_FBarDigitNo"}},
                      group),
         buf, 6, 10, "FBar_Type");
    // Check digit setting (bits 0 to 6) and barcode kind (bit 7) share byte 11. The table keeps
    // them in two columns; a value that would spill into the other's bits cannot be stored.
    checkNull(row.FBar_CD, "FBar_CD");
    checkNull(row.FBar_EANorITF, "FBar_EANorITF");
    if (row.FBar_CD < 0) fail(Fault::Negative, "FBar_CD", row.FBar_CD);
    if (row.FBar_CD > 127) fail(Fault::Overflow, "FBar_CD", row.FBar_CD, 127);
    if (row.FBar_EANorITF < 0) fail(Fault::Negative, "FBar_EANorITF", row.FBar_EANorITF);
    if (row.FBar_EANorITF > 1) fail(Fault::Overflow, "FBar_EANorITF", row.FBar_EANorITF, 1);
    buf[11] = static_cast<uint8_t>(row.FBar_CD + 128 * row.FBar_EANorITF);
    pack(zeroPrefixed({{row.FBar_Data1Type, "FBar_Data1Type"},
                       {row.FBar_Data2Type, "FBar_Data2Type"},
                       {row.FBar_Data1SH, "FBar_Data1SH"},
                       {row.FBar_Data2SH, "FBar_Data2SH"}},
                      group),
         buf, 12, 15, "FBar_Data1Type");
    return finish(row, buf, sizeof buf);
  });
}

Status decodeSmallRecords(std::span<DeptRow> rows, const CodePage& cp) {
  return decodeRows(rows, [&](DeptRow& row) {
    const uint8_t* p = record(row.KVRBinData, kDeptRecordSize, "KVR_20");
    row.DP_No = getBcd(p, 4, "DP_No");
    readName(row.DP_Name, p + 6, cp);
  });
}

Status decodeSmallRecords(std::span<MainGroupRow> rows, const CodePage& cp) {
  return decodeRows(rows, [&](MainGroupRow& row) {
    const uint8_t* p = record(row.KVRBinData, kMainGroupRecordSize, "KVR_23");
    row.MG_No = getBcd(p, 4, "MG_No");
    row.DP_No = getBcd(p + 6, 1, "DP_No");
    readName(row.MG_Name, p + 7, cp);
  });
}

Status decodeSmallRecords(std::span<FlexiBarcodeRow> rows, const CodePage& cp) {
  return decodeRows(rows, [&](FlexiBarcodeRow& row) {
    const uint8_t* p = record(row.KVRBinData, kFlexiBarcodeRecordSize, "KVR_14");
    row.FBar_No = getBcd(p, 4, "FBar_No");
    row.FBar_Type = getBcd(p + 6, 1, "FBar_Type");
    row.FBar_ItemDigitNo = getBcd(p + 7, 1, "FBar_ItemDigitNo");
    row.FBar_Data1 = getBcd(p + 8, 1, "FBar_Data1");
    row.FBar_Data2 = getBcd(p + 9, 1, "FBar_Data2");
    row.FBar_FBarDigitNo = getBcd(p + 10, 1, "FBar_FBarDigitNo");
    row.FBar_CD = p[11] % 128;
    row.FBar_EANorITF = p[11] / 128;
    row.FBar_Data1Type = getBcd(p + 12, 1, "FBar_Data1Type");
    row.FBar_Data2Type = getBcd(p + 13, 1, "FBar_Data2Type");
    row.FBar_Data1SH = getBcd(p + 14, 1, "FBar_Data1SH");
    row.FBar_Data2SH = getBcd(p + 15, 1, "FBar_Data2SH");
  });
}

}  // namespace brindale::codec
