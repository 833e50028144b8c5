// One PLU as a row of KVR_25: one member per column.
#pragma once

#include "codec/columns.h"
#include "codec/plu_columns.h"

namespace brindale::codec {

// Number columns start at 0, text columns at "" and byte columns at Null, as a new database
// row does.
struct PluRow {
  BRINDALE_PLU_COLUMNS(BRINDALE_COLUMN_MEMBER_N, BRINDALE_COLUMN_MEMBER_T, BRINDALE_COLUMN_MEMBER_B)
  bool operator==(const PluRow&) const = default;
};

// All columns of KVR_25 in table order.
std::span<const ColumnInfo<PluRow>> pluColumns();
// Case-insensitive lookup; nullptr for an unknown name.
const ColumnInfo<PluRow>* findPluColumn(std::string_view name);

}  // namespace brindale::codec
