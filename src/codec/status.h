// How the codec reports a failure: an error value naming the column, the value and the limit,
// never an exception across the library's boundary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace brindale::codec {

enum class Fault : uint8_t {
  Null,            // the column is Null where a value is needed
  Overflow,        // the value is beyond the limit of its encoding
  Negative,        // a negative value where only digits can stand
  NotHex,          // a text that should hold hexadecimal digits holds something else
  NotDecimal,      // packed digits with a nibble above 9, or a text that is not a number
  TooShort,        // a text or array shorter than its field needs
  TypeMismatch,    // a number column read as a byte array
  BufferOverrun,   // a write beyond the record buffer
  RecordTooShort,  // the record ends before a field it announces
  BadFormatLine,   // a barcode format line whose digit count does not parse
  MissingFormatLine,  // no barcode format line at the format's position
  NoCodePage,      // the caller handed in no code page
};

struct CodecError {
  Fault fault = Fault::Null;
  std::string column;     // the column (or record part) concerned
  int64_t value = 0;      // the offending number, where there is one
  int64_t limit = 0;      // the limit it broke, where there is one
  std::string text;       // the offending text, where there is one
  std::size_t offset = 0; // byte offset in the record, where it matters
  std::size_t row = 0;    // row index for table-wide routines

  // "column PLU_MG: value 10000 exceeds limit 9999" and the like.
  std::string message() const;
};

class Status {
 public:
  Status() = default;
  explicit Status(CodecError error) : error_(std::move(error)) {}
  bool ok() const { return !error_.has_value(); }
  explicit operator bool() const { return ok(); }
  const CodecError& error() const { return *error_; }
  std::string message() const { return ok() ? std::string("ok") : error_->message(); }

 private:
  std::optional<CodecError> error_;
};

}  // namespace brindale::codec
