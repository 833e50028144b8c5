// The scales' 8-bit and double-byte code page. Every text that goes into a record or comes out
// of one passes through here; rows hold UTF-8.
#pragma once

#include <cstddef>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindale::codec {

// Windows font character set of a system language, as the forms use it: 1 (default) for a
// language without an entry.
int charsetForLanguage(uint16_t languageId);

// Character set whose code page the system's 8-bit texts use: the font table above, and where
// it says "default", the language's own ANSI code page (simplified Chinese GB, Central European,
// Cyrillic, Hebrew); 1 for the western default.
int textCharsetForLanguage(uint16_t languageId);

// iconv name of the Windows code page of a character set: 0 and 1 give "CP1252", 134 "GBK",
// 136 "BIG5" and so on; an unknown character set gives "CP1252".
const char* iconvNameForCharset(int charset);

// The canonical name of one of the pages above ("GBK", "CP1252", ...), matched without regard to
// case; nullopt for any other name. A page named in a file is checked against this list.
std::optional<std::string> scalePageName(std::string_view name);

// Windows language identifier of a POSIX locale name such as "zh_CN.UTF-8" or "en_US";
// 1033 (English, United States) when the locale is empty, "C", "POSIX" or unknown.
uint16_t languageIdFromLocale(std::string_view locale);

// The system's language from LC_ALL, LC_CTYPE or LANG, the first that is set.
uint16_t systemLanguageId();

// One conversion pair between UTF-8 and a code page. Not thread-safe: one per thread.
// A character the code page cannot hold becomes '?', and so does a byte sequence that is not
// valid in the source; conversion never fails.
class CodePage {
 public:
  explicit CodePage(std::string iconvName);
  static CodePage forLanguage(uint16_t languageId);
  static CodePage forSystem() { return forLanguage(systemLanguageId()); }
  ~CodePage();
  CodePage(CodePage&& other) noexcept;
  CodePage& operator=(CodePage&&) = delete;
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

  const std::string& name() const { return name_; }
  bool valid() const { return toPage_ != nullptr && fromPage_ != nullptr; }

  // UTF-8 to code page bytes; replaces out's content.
  void encode(std::string_view utf8, std::vector<uint8_t>& out) const;
  // Writes the first `width` bytes of the converted text to field and fills the rest of the
  // field with 0. Returns the number of text bytes written.
  std::size_t encodeField(std::string_view utf8, uint8_t* field, std::size_t width) const;
  // The first character of a UTF-8 text that this page cannot hold (one that would not come back
  // the same after encoding and decoding), as UTF-8; nullopt when the page holds the whole text.
  // A byte that is not valid UTF-8 is such a character.
  std::optional<std::string> firstNotHeld(std::string_view utf8) const;
  bool holds(std::string_view utf8) const { return !firstNotHeld(utf8); }
  // Code page bytes to UTF-8; replaces out's content. Zero bytes stay in the text.
  void decode(const uint8_t* bytes, std::size_t count, std::string& out) const;
  std::string decode(const uint8_t* bytes, std::size_t count) const {
    std::string s;
    decode(bytes, count, s);
    return s;
  }

 private:
  void buildSingleByteTables();

  std::string name_;
  void* toPage_ = nullptr;    // iconv_t UTF-8 -> page
  void* fromPage_ = nullptr;  // iconv_t page -> UTF-8
  mutable std::vector<uint8_t> scratch_;
  // Single-byte pages convert through tables made from iconv once: a byte to its UTF-8 form,
  // and a code point to its byte (0 where the page has none).
  bool singleByte_ = false;
  std::array<std::array<char, 4>, 128> upperUtf8_{};
  std::array<uint8_t, 128> upperUtf8Length_{};
  std::vector<uint8_t> byteOfCodePoint_;
};

}  // namespace brindale::codec
