#include "codec/numbers.h"

#include "codec/number_codec.h"

namespace brindale::codec {

std::size_t encodingWidth(NumberEncoding encoding) {
  switch (encoding) {
    case NumberEncoding::Bcd1:
    case NumberEncoding::Bin1: return 1;
    case NumberEncoding::Bcd2Strict:
    case NumberEncoding::Bcd2Lenient:
    case NumberEncoding::Bin2:
    case NumberEncoding::StorageTemp: return 2;
    case NumberEncoding::Bcd4:
    case NumberEncoding::Bin4: return 4;
  }
  return 0;
}

Status writeNumber(NumberEncoding encoding, int64_t value, uint8_t* out, const std::string& column) {
  const char* c = column.c_str();
  try {
    switch (encoding) {
      case NumberEncoding::Bcd1: detail::putBcd1(out, value, c); break;
      case NumberEncoding::Bcd2Strict: detail::putBcd2Strict(out, value, c); break;
      case NumberEncoding::Bcd2Lenient: detail::putBcd2Lenient(out, value, c); break;
      case NumberEncoding::Bcd4: detail::putBcd4(out, value, c); break;
      case NumberEncoding::Bin1: detail::putBin1(out, value, c); break;
      case NumberEncoding::Bin2: detail::putBin(out, value, 2, c); break;
      case NumberEncoding::Bin4: detail::putBin(out, value, 4, c); break;
      case NumberEncoding::StorageTemp: detail::putStorageTemp(out, value, c); break;
    }
  } catch (detail::Failure& f) {
    return Status(std::move(f.error));
  }
  return {};
}

Status readNumber(NumberEncoding encoding, const uint8_t* in, int64_t& value, const std::string& column) {
  const char* c = column.c_str();
  try {
    switch (encoding) {
      case NumberEncoding::Bcd1:
      case NumberEncoding::Bcd2Strict:
      case NumberEncoding::Bcd2Lenient:
      case NumberEncoding::Bcd4:
        value = detail::getBcd(in, static_cast<int>(encodingWidth(encoding)), c);
        break;
      case NumberEncoding::Bin1: value = in[0]; break;
      case NumberEncoding::Bin2: value = readBytesReversed(in, 2); break;
      case NumberEncoding::Bin4: value = detail::getBin4(in); break;
      case NumberEncoding::StorageTemp: value = detail::getStorageTemp(in, c); break;
    }
  } catch (detail::Failure& f) {
    return Status(std::move(f.error));
  }
  return {};
}

}  // namespace brindale::codec
