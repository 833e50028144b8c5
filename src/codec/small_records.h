// The short fixed records of departments (KVR_20, 23 bytes), main groups (KVR_23, 25 bytes) and
// flexi barcodes (KVR_14, 16 bytes). Every field is always present; names are zero filled.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "codec/columns.h"
#include "codec/status.h"

namespace brindale::codec {

class CodePage;

#define BRINDALE_DEPT_COLUMNS(N, T, B)                                                      \
  N(DP_No) T(DP_Name) N(Flag1) N(Flag2) N(BarFlag) N(barformat) T(BarType) N(LabFormat)    \
  N(ST_No) N(SECT_No) B(KVRBinData) N(Is_Selected)

#define BRINDALE_MAINGROUP_COLUMNS(N, T, B)                                                 \
  N(MG_No) T(MG_Name) N(Flag1) N(Flag2) N(BarFlag) N(barformat) T(BarType) N(LabFormat)    \
  N(ST_No) N(SECT_No) N(DP_No) B(KVRBinData) N(Is_Selected)

#define BRINDALE_FLEXIBARCODE_COLUMNS(N, T, B)                                              \
  N(FBar_No) N(FBar_Type) N(FBar_ItemDigitNo) N(FBar_Data1Type) N(FBar_Data2Type)          \
  N(FBar_FBarDigitNo) N(FBar_CD) N(FBar_Data1) N(FBar_Data2) N(FBar_Data1SH)               \
  N(FBar_Data2SH) N(FBar_EANorITF) B(KVRBinData) N(Is_Selected)

struct DeptRow {
  BRINDALE_DEPT_COLUMNS(BRINDALE_COLUMN_MEMBER_N, BRINDALE_COLUMN_MEMBER_T, BRINDALE_COLUMN_MEMBER_B)
  bool operator==(const DeptRow&) const = default;
};
struct MainGroupRow {
  BRINDALE_MAINGROUP_COLUMNS(BRINDALE_COLUMN_MEMBER_N, BRINDALE_COLUMN_MEMBER_T, BRINDALE_COLUMN_MEMBER_B)
  bool operator==(const MainGroupRow&) const = default;
};
struct FlexiBarcodeRow {
  BRINDALE_FLEXIBARCODE_COLUMNS(BRINDALE_COLUMN_MEMBER_N, BRINDALE_COLUMN_MEMBER_T, BRINDALE_COLUMN_MEMBER_B)
  bool operator==(const FlexiBarcodeRow&) const = default;
};

std::span<const ColumnInfo<DeptRow>> deptColumns();
std::span<const ColumnInfo<MainGroupRow>> mainGroupColumns();
std::span<const ColumnInfo<FlexiBarcodeRow>> flexiBarcodeColumns();

inline constexpr std::size_t kDeptRecordSize = 23;
inline constexpr std::size_t kMainGroupRecordSize = 25;
inline constexpr std::size_t kFlexiBarcodeRecordSize = 16;

enum class SmallTable : uint8_t { Dept, MainGroup, FlexiBarcode };
// "KVR_20", "KVR_23" or "KVR_14", without regard to case; nullopt for any other name, for
// which the routines have nothing to do.
std::optional<SmallTable> smallTableFromName(std::string_view tableName);

// Builds the record of the row into its KVRBinData.
Status encodeSmallRecord(DeptRow& row, const CodePage& codePage);
Status encodeSmallRecord(MainGroupRow& row, const CodePage& codePage);
Status encodeSmallRecord(FlexiBarcodeRow& row, const CodePage& codePage);

// Packs a digit string into buf[first..last]: padded on the left with "0" up to two digits a
// byte, then each pair read as a hexadecimal number, from the left; digits beyond the bytes are
// ignored.
Status packDigits(std::string_view digits, uint8_t* buf, std::size_t first, std::size_t last);
// Converts text to the code page and copies it from buf[first]; bytes up to `last` beyond the
// text become 0, nothing beyond `last` is written.
void packText(std::string_view text, uint8_t* buf, std::size_t first, std::size_t last, const CodePage& codePage);

// Rebuilds each row's columns from its KVRBinData, in table order. Stops at the first record it
// cannot read; the status then names the row (error.row, 0-based) and the field.
Status decodeSmallRecords(std::span<DeptRow> rows, const CodePage& codePage);
Status decodeSmallRecords(std::span<MainGroupRow> rows, const CodePage& codePage);
Status decodeSmallRecords(std::span<FlexiBarcodeRow> rows, const CodePage& codePage);

}  // namespace brindale::codec
