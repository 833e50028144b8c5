// The packed and plain number forms of the scale records, as fast inline routines for the
// record builders. They unwind with detail::Failure; the public wrappers are in numbers.h.
#pragma once

#include <cstdint>

#include "codec/bytes.h"
#include "codec/columns.h"
#include "codec/detail.h"

namespace brindale::codec::detail {

inline constexpr int64_t kInt32Max = 2147483647;
inline constexpr int64_t kInt32Min = -2147483647 - 1;

inline void checkNull(int64_t v, const char* column) {
  if (v == kNullNumber) fail(Fault::Null, column);
}

// Value of a hexadecimal digit, -1 for any other character.
inline int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Packs the decimal digits of v, two a byte, into `width` bytes, most significant first.
// Digits above the width vanish (the callers check the limits first).
inline void packBcd(uint8_t* out, uint64_t v, int width) {
  for (int i = width - 1; i >= 0; --i) {
    const uint64_t lo = v % 10;
    v /= 10;
    const uint64_t hi = v % 10;
    v /= 10;
    out[i] = static_cast<uint8_t>((hi << 4) | lo);
  }
}

// bcd1: the column is first read as an unsigned byte, then its digits must fit one byte.
inline void putBcd1(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 99);
  if (v > 99) fail(Fault::Overflow, column, v, 99);
  out[0] = static_cast<uint8_t>(((v / 10) << 4) | (v % 10));
}

// bcd2 strict: at most 4 digits.
inline void putBcd2Strict(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 9999);
  if (v > 9999) fail(Fault::Overflow, column, v, 9999);
  packBcd(out, static_cast<uint64_t>(v), 2);
}

// bcd2 lenient: parsed 32 bits wide, the low two bytes written, so digits above the fourth are
// dropped without complaint; 9 digits or more still fail.
inline void putBcd2Lenient(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 99999999);
  if (v > 99999999) fail(Fault::Overflow, column, v, 99999999);
  packBcd(out, static_cast<uint64_t>(v % 10000), 2);
}

// bcd4: at most 8 digits.
inline void putBcd4(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 99999999);
  if (v > 99999999) fail(Fault::Overflow, column, v, 99999999);
  packBcd(out, static_cast<uint64_t>(v), 4);
}

inline void putBin1(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 255);
  if (v > 255) fail(Fault::Overflow, column, v, 255);
  out[0] = static_cast<uint8_t>(v);
}

// bin2 and bin4 take any 32-bit integer and write its low bytes, as the byte routine does.
inline void putBin(uint8_t* out, int64_t v, int width, const char* column) {
  checkNull(v, column);
  if (v > kInt32Max) fail(Fault::Overflow, column, v, kInt32Max);
  if (v < kInt32Min) fail(Fault::Overflow, column, v, kInt32Min);
  copyBytesReversed(out, static_cast<uint32_t>(v), static_cast<std::size_t>(width));
}

// Storage temperature: values above 1000 stand for negative temperatures.
inline void putStorageTemp(uint8_t* out, int64_t v, const char* column) {
  checkNull(v, column);
  if (v < 0) fail(Fault::Negative, column, v, 13799);
  const bool below = v > 1000;
  const int64_t w = below ? v - 1000 : v;
  const int64_t first = w / 100 + (below ? 0x80 : 0);
  if (first > 255) fail(Fault::Overflow, column, v, 13799);
  out[0] = static_cast<uint8_t>(first);
  const int64_t low = w % 100;
  out[1] = static_cast<uint8_t>(((low / 10) << 4) | (low % 10));
}

// Reads `width` packed bytes as decimal digits; a nibble above 9 fails.
inline int64_t getBcd(const uint8_t* in, int width, const char* column) {
  int64_t v = 0;
  for (int i = 0; i < width; ++i) {
    const uint8_t b = in[i];
    const uint8_t hi = b >> 4, lo = b & 0x0F;
    if (hi > 9 || lo > 9) fail(Fault::NotDecimal, column, readBytesReversed(in, static_cast<std::size_t>(width)));
    v = v * 100 + hi * 10 + lo;
  }
  return v;
}

inline int64_t getStorageTemp(const uint8_t* in, const char* column) {
  const int64_t b1 = in[0];
  const int64_t low = getBcd(in + 1, 1, column);
  return b1 >= 0x80 ? (b1 - 0x80) * 100 + low + 1000 : b1 * 100 + low;
}

inline int64_t getBin4(const uint8_t* in) {
  return static_cast<int32_t>(readBytesReversed(in, 4));
}

}  // namespace brindale::codec::detail
