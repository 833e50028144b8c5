// Layout of the nutrition block, shared by the record builder and reader. Its shape follows
// CountryIndex: 30 the compact 164 bytes; otherwise the common 80 bytes, plus 4 for 1 and 84
// for 26; 27 adds nothing although the editor treats it like 26.
#pragma once

#include <cstdint>
#include <span>

#include "codec/plu_row.h"

namespace brindale::codec::detail {

enum class NutrEncoding : uint8_t { Text, TextNullFails, Bin1, Bcd1, Bcd2Lenient, Bcd4 };

struct NutrField {
  uint8_t offset;
  uint8_t width;
  NutrEncoding encoding;
  const char* name;
  int64_t PluRow::*number;
  Text PluRow::*text;
};

struct NutrLayout {
  std::size_t size;                         // bytes of the whole block
  std::span<const NutrField> parts[2];      // written in this order; gaps stay 0
};

NutrLayout nutritionLayout(int countryIndex);

}  // namespace brindale::codec::detail
