#include "codec/detail.h"

namespace brindale::codec {

std::string CodecError::message() const {
  const std::string v = text.empty() ? std::to_string(value) : "\"" + text + "\"";
  std::string m = "column " + column + ": ";
  switch (fault) {
    case Fault::Null: m += "value is Null"; break;
    case Fault::Overflow: m += "value " + v + " exceeds limit " + std::to_string(limit); break;
    case Fault::Negative: m += "value " + v + " is negative"; break;
    case Fault::NotHex: m += "value " + v + " is not hexadecimal digits"; break;
    case Fault::NotDecimal: m += "value " + v + " is not decimal digits"; break;
    case Fault::TooShort: m += "value " + v + " is shorter than " + std::to_string(limit); break;
    case Fault::TypeMismatch: m += "a number column cannot be read as a byte array"; break;
    case Fault::BufferOverrun:
      m += "position " + std::to_string(value) + " exceeds limit " + std::to_string(limit);
      break;
    case Fault::RecordTooShort:
      m += "record of " + std::to_string(limit) + " bytes ends before offset " +
           std::to_string(value);
      break;
    case Fault::BadFormatLine: m += "format line " + v + " has no digit count"; break;
    case Fault::MissingFormatLine:
      m += "no format line at position " + std::to_string(value);
      break;
    case Fault::NoCodePage: m += "no code page given"; break;
  }
  return m;
}

namespace detail {

void fail(Fault fault, const char* column, int64_t value, int64_t limit) {
  CodecError e;
  e.fault = fault;
  e.column = column;
  e.value = value;
  e.limit = limit;
  throw Failure{std::move(e)};
}

void failText(Fault fault, const char* column, std::string text, int64_t limit) {
  CodecError e;
  e.fault = fault;
  e.column = column;
  e.text = std::move(text);
  e.limit = limit;
  throw Failure{std::move(e)};
}

}  // namespace detail
}  // namespace brindale::codec
