#include "codec/text_block.h"

#include "codec/code_page.h"
#include "codec/detail.h"

namespace brindale::codec {

namespace detail {

std::size_t textBlockLength(const uint8_t* data, std::size_t available, const char* column) {
  // i walks from the length byte of a line to its separator.
  std::size_t i = 1;
  for (;;) {
    if (i >= available) fail(Fault::RecordTooShort, column, static_cast<int64_t>(i), static_cast<int64_t>(available));
    i += static_cast<std::size_t>(data[i]) + 1;
    if (i >= available) fail(Fault::RecordTooShort, column, static_cast<int64_t>(i), static_cast<int64_t>(available));
    if (data[i] != 0x0D) return i + 1;
    i += 2;
  }
}

}  // namespace detail

Status textBlockLength(const uint8_t* data, std::size_t available, std::size_t& length) {
  try {
    length = detail::textBlockLength(data, available, "text block");
  } catch (detail::Failure& f) {
    return Status(std::move(f.error));
  }
  return {};
}

void firstLine(const Bytes& block, FirstLineVariant variant, const CodePage& codePage, std::string& out) {
  out.clear();
  if (!block || block->size() < 4 || (*block)[1] == 0) return;
  std::size_t n = (*block)[1];
  if (n > block->size() - 2) n = block->size() - 2;  // a line that claims more than the block holds
  if (variant == FirstLineVariant::List && n > 100) n = 100;
  codePage.decode(block->data() + 2, n, out);
}

std::string firstLine(const Bytes& block, FirstLineVariant variant, const CodePage& codePage) {
  std::string s;
  firstLine(block, variant, codePage, s);
  return s;
}

}  // namespace brindale::codec
