// Text blocks of a PLU (commodity name, ingredient, special message): a chain of lines, each a
// font code, a length L, L bytes of text and a separator; 0x0D means another line follows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "codec/columns.h"
#include "codec/status.h"

namespace brindale::codec {

class CodePage;

// Length in bytes of the block that starts at `data`, separator of the last line included.
// Fails when the walk leaves the `available` bytes.
Status textBlockLength(const uint8_t* data, std::size_t available, std::size_t& length);

enum class FirstLineVariant : uint8_t {
  List,    // at most the first 100 bytes: the lists and PLU_CommodityFirst
  Editor,  // the whole line
};

// The first line of a block as text; empty for a Null block, a block under four bytes or a
// first length of 0.
void firstLine(const Bytes& block, FirstLineVariant variant, const CodePage& codePage, std::string& out);
std::string firstLine(const Bytes& block, FirstLineVariant variant, const CodePage& codePage);

namespace detail {
std::size_t textBlockLength(const uint8_t* data, std::size_t available, const char* column);
}

}  // namespace brindale::codec
