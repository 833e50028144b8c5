#include "codec/bytes.h"

namespace brindale::codec {

void copyBytesReversed(uint8_t* target, const void* source, std::size_t count) {
  const auto* s = static_cast<const uint8_t*>(source);
  for (std::size_t i = 0; i < count; ++i) target[i] = s[count - 1 - i];
}

}  // namespace brindale::codec
