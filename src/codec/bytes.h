// The one store and load of multi-byte numbers for every scale record: big-endian, one to four
// bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace brindale::codec {

// For i in 0..count-1 copies source byte count-1-i to target byte i. Applied to a little-endian
// machine integer this writes its low `count` bytes, most significant first.
void copyBytesReversed(uint8_t* target, const void* source, std::size_t count);

// The same for a number, independent of the machine's byte order: the low `count` bytes of
// `value`, most significant first; higher digits vanish.
inline void copyBytesReversed(uint8_t* target, uint32_t value, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) target[i] = static_cast<uint8_t>(value >> (8 * (count - 1 - i)));
}

// Sets target to 0, then reads `count` (at most 4) big-endian bytes into its low bytes.
inline void readBytesReversed(uint32_t& target, const uint8_t* source, std::size_t count) {
  target = 0;
  for (std::size_t i = 0; i < count && i < 4; ++i) target = (target << 8) | source[i];
}

inline uint32_t readBytesReversed(const uint8_t* source, std::size_t count) {
  uint32_t v;
  readBytesReversed(v, source, count);
  return v;
}

}  // namespace brindale::codec
