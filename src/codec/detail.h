// Inside the codec a failure unwinds to the public routine that started the work, which turns
// it into a Status. Nothing of this leaves the library.
#pragma once

#include "codec/status.h"

namespace brindale::codec::detail {

struct Failure {
  CodecError error;
};

[[noreturn]] void fail(Fault fault, const char* column, int64_t value = 0, int64_t limit = 0);
[[noreturn]] void failText(Fault fault, const char* column, std::string text, int64_t limit = 0);

}  // namespace brindale::codec::detail
