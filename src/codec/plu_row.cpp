#include "codec/plu_row.h"

#include <array>

namespace brindale::codec {

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
    if (x != y) return false;
  }
  return true;
}

namespace {
#define N(name) BRINDALE_COLUMN_INFO_N(PluRow, name)
#define T(name) BRINDALE_COLUMN_INFO_T(PluRow, name)
#define B(name) BRINDALE_COLUMN_INFO_B(PluRow, name)
const ColumnInfo<PluRow> kPluColumns[] = {BRINDALE_PLU_COLUMNS(N, T, B)};
#undef N
#undef T
#undef B
}  // namespace

std::span<const ColumnInfo<PluRow>> pluColumns() { return kPluColumns; }

const ColumnInfo<PluRow>* findPluColumn(std::string_view name) {
  return findColumn<PluRow>(kPluColumns, name);
}

}  // namespace brindale::codec
