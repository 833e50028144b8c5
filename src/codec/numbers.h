// The number encodings of the scale records, for callers outside the record builders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "codec/status.h"

namespace brindale::codec {

enum class NumberEncoding : uint8_t {
  Bcd1,         // one byte, two digits; the value is first read as an unsigned byte
  Bcd2Strict,   // two bytes, at most 4 digits
  Bcd2Lenient,  // two bytes; digits above the fourth are dropped, 9 digits or more fail
  Bcd4,         // four bytes, at most 8 digits
  Bin1,         // one unsigned byte
  Bin2,         // low two bytes of a 32-bit integer, high byte first
  Bin4,         // a 32-bit integer, high byte first
  StorageTemp,  // two bytes, values above 1000 are negative temperatures
};

std::size_t encodingWidth(NumberEncoding encoding);

// Writes value into out[0..width). On failure nothing useful is in out and the status names
// the column, the value and the limit.
Status writeNumber(NumberEncoding encoding, int64_t value, uint8_t* out, const std::string& column);

// Reads in[0..width) back into a number.
Status readNumber(NumberEncoding encoding, const uint8_t* in, int64_t& value, const std::string& column);

}  // namespace brindale::codec
