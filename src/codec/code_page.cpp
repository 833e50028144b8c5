#include "codec/code_page.h"

#include <iconv.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace brindale::codec {

int charsetForLanguage(uint16_t id) {
  switch (id) {
    case 1025: case 1065: case 3073: case 11265: case 12289: case 14337: return 178;  // Arabic
    case 1028: case 3076: return 136;   // traditional Chinese
    case 1032: return 161;              // Greek
    case 1041: return 128;              // Japanese
    case 1042: return 129;              // Korean
    case 1049: return 204;              // Russian
    case 1054: return 222;              // Thai
    case 1055: case 1091: return 162;   // Turkish, Uzbek
    case 1061: case 1062: case 1063: return 186;  // Baltic
    case 1066: return 163;              // Vietnamese
    default: return 1;
  }
}

int textCharsetForLanguage(uint16_t id) {
  const int font = charsetForLanguage(id);
  if (font != 1) return font;
  switch (id) {
    case 2052: case 4100: return 134;   // simplified Chinese: GBK
    case 5124: return 136;              // Chinese (Macao): Big5
    case 1029: case 1038: case 1045: case 1048: case 1050: case 1051: case 1052: case 1060:
    case 2074: case 5146: return 238;   // Central European
    case 1026: case 1058: case 1059: case 1071: case 1087: case 3098: case 8218: return 204;  // Cyrillic
    case 1037: return 177;              // Hebrew
    default: return 1;
  }
}

const char* iconvNameForCharset(int charset) {
  switch (charset) {
    case 128: return "CP932";
    case 129: return "CP949";
    case 134: return "GBK";
    case 136: return "BIG5";
    case 161: return "CP1253";
    case 162: return "CP1254";
    case 163: return "CP1258";
    case 177: return "CP1255";
    case 178: return "CP1256";
    case 186: return "CP1257";
    case 204: return "CP1251";
    case 222: return "CP874";
    case 238: return "CP1250";
    default: return "CP1252";
  }
}

std::optional<std::string> scalePageName(std::string_view name) {
  static constexpr int kCharsets[] = {1, 128, 129, 134, 136, 161, 162, 163, 177, 178, 186, 204, 222, 238};
  for (int charset : kCharsets) {
    const char* page = iconvNameForCharset(charset);
    const std::string_view p(page);
    if (p.size() != name.size()) continue;
    bool same = true;
    for (std::size_t i = 0; i < p.size() && same; ++i)
      same = std::toupper(static_cast<unsigned char>(p[i])) == std::toupper(static_cast<unsigned char>(name[i]));
    if (same) return std::string(page);
  }
  return std::nullopt;
}

namespace {

struct LocaleEntry {
  const char* lang;
  const char* region;  // nullptr: the language's default
  uint16_t id;
};

// Language and region of a POSIX locale to the Windows language identifier. The first entry of
// a language is its default when the region is unknown.
constexpr LocaleEntry kLocales[] = {
    {"en", "US", 1033}, {"en", "GB", 2057}, {"en", "AU", 3081}, {"en", "CA", 4105},
    {"zh", "CN", 2052}, {"zh", "TW", 1028}, {"zh", "HK", 3076}, {"zh", "SG", 4100},
    {"zh", "MO", 5124}, {"ja", nullptr, 1041}, {"ko", nullptr, 1042},
    {"ar", "SA", 1025}, {"ar", "EG", 3073}, {"ar", "JO", 11265}, {"ar", "LB", 12289},
    {"ar", "AE", 14337}, {"fa", nullptr, 1065}, {"el", nullptr, 1032}, {"ru", nullptr, 1049},
    {"th", nullptr, 1054}, {"tr", nullptr, 1055}, {"uz", nullptr, 1091}, {"et", nullptr, 1061},
    {"lv", nullptr, 1062}, {"lt", nullptr, 1063}, {"vi", nullptr, 1066}, {"he", nullptr, 1037},
    {"de", "DE", 1031}, {"de", "AT", 3079}, {"de", "CH", 2055}, {"fr", "FR", 1036},
    {"fr", "BE", 2060}, {"fr", "CA", 3084}, {"es", "ES", 3082}, {"es", "MX", 2058},
    {"it", nullptr, 1040}, {"pt", "BR", 1046}, {"pt", "PT", 2070}, {"nl", "NL", 1043},
    {"nl", "BE", 2067}, {"da", nullptr, 1030}, {"sv", nullptr, 1053}, {"nb", nullptr, 1044},
    {"no", nullptr, 1044}, {"fi", nullptr, 1035}, {"is", nullptr, 1039}, {"pl", nullptr, 1045},
    {"cs", nullptr, 1029}, {"sk", nullptr, 1051}, {"hu", nullptr, 1038}, {"ro", nullptr, 1048},
    {"hr", nullptr, 1050}, {"sl", nullptr, 1060}, {"sq", nullptr, 1052}, {"bg", nullptr, 1026},
    {"uk", nullptr, 1058}, {"be", nullptr, 1059}, {"mk", nullptr, 1071}, {"kk", nullptr, 1087},
    {"id", nullptr, 1057}, {"ms", nullptr, 1086},
};

bool isAscii(const uint8_t* p, std::size_t n) {
  uint8_t acc = 0;
  for (std::size_t i = 0; i < n; ++i) acc |= p[i];
  return acc < 0x80;
}

// Length of the UTF-8 sequence at p, or 1 when it is not a valid sequence.
std::size_t utf8Length(const uint8_t* p, std::size_t left) {
  const uint8_t b = p[0];
  std::size_t n = b >= 0xF0 && b <= 0xF4 ? 4 : b >= 0xE0 ? 3 : b >= 0xC2 && b < 0xE0 ? 2 : 1;
  if (b >= 0xF5) n = 1;
  if (n > left) return 1;
  for (std::size_t i = 1; i < n; ++i)
    if ((p[i] & 0xC0) != 0x80) return 1;
  return n;
}

// Converts with '?' in place of whatever cannot be converted. `utf8Source` chooses how far an
// unconvertible input is skipped: a whole UTF-8 character, or one byte of the code page.
void convert(void* handle, const uint8_t* src, std::size_t n, bool utf8Source, std::vector<uint8_t>& out) {
  auto cd = static_cast<iconv_t>(handle);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  out.resize(n * 3 + 16);
  char* in = reinterpret_cast<char*>(const_cast<uint8_t*>(src));
  std::size_t inLeft = n;
  std::size_t used = 0;
  bool flushing = n == 0;
  for (;;) {
    if (out.size() - used < 8) out.resize(out.size() * 2);
    char* o = reinterpret_cast<char*>(out.data() + used);
    std::size_t oLeft = out.size() - used;
    const std::size_t r = flushing ? iconv(cd, nullptr, nullptr, &o, &oLeft) : iconv(cd, &in, &inLeft, &o, &oLeft);
    const int err = errno;
    used = static_cast<std::size_t>(reinterpret_cast<uint8_t*>(o) - out.data());
    if (r != static_cast<std::size_t>(-1)) {
      if (flushing) break;
      flushing = true;  // all input taken: let the converter write what it still holds
      continue;
    }
    if (err == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    if (flushing) break;
    // EILSEQ or EINVAL: one character that cannot be converted.
    const std::size_t skip = utf8Source ? utf8Length(reinterpret_cast<const uint8_t*>(in), inLeft) : 1;
    in += skip;
    inLeft -= skip;
    out[used++] = '?';
    if (inLeft == 0) flushing = true;
  }
  out.resize(used);
}

// Decodes the UTF-8 character at p (utf8Length(p) bytes long, > 1).
uint32_t codePointAt(const uint8_t* p, std::size_t len) {
  if (len == 2) return (p[0] & 0x1Fu) << 6 | (p[1] & 0x3Fu);
  if (len == 3) return (p[0] & 0x0Fu) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu);
  return (p[0] & 0x07u) << 18 | (p[1] & 0x3Fu) << 12 | (p[2] & 0x3Fu) << 6 | (p[3] & 0x3Fu);
}

// Pages whose characters may take more than one byte, or that compose characters, stay with
// iconv for every conversion.
bool isSingleBytePage(const std::string& name) {
  for (const char* multi : {"GBK", "BIG5", "CP932", "CP949", "CP936", "CP950", "CP1258"})
    if (name == multi) return false;
  return true;
}

}  // namespace

uint16_t languageIdFromLocale(std::string_view locale) {
  const auto cut = locale.find_first_of(".@");
  if (cut != std::string_view::npos) locale = locale.substr(0, cut);
  if (locale.empty() || locale == "C" || locale == "POSIX") return 1033;
  std::string_view lang = locale, region;
  const auto sep = locale.find_first_of("_-");
  if (sep != std::string_view::npos) {
    lang = locale.substr(0, sep);
    region = locale.substr(sep + 1);
  }
  const LocaleEntry* byLanguage = nullptr;
  for (const auto& e : kLocales) {
    if (lang != e.lang) continue;
    if (!byLanguage) byLanguage = &e;
    if (e.region && region == e.region) return e.id;
  }
  return byLanguage ? byLanguage->id : 1033;
}

uint16_t systemLanguageId() {
  for (const char* var : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* v = std::getenv(var);
    if (v && *v) return languageIdFromLocale(v);
  }
  return 1033;
}

CodePage::CodePage(std::string iconvName) : name_(std::move(iconvName)) {
  iconv_t to = iconv_open(name_.c_str(), "UTF-8");
  iconv_t from = iconv_open("UTF-8", name_.c_str());
  if (to == reinterpret_cast<iconv_t>(-1) || from == reinterpret_cast<iconv_t>(-1)) {
    if (to != reinterpret_cast<iconv_t>(-1)) iconv_close(to);
    if (from != reinterpret_cast<iconv_t>(-1)) iconv_close(from);
    // Fall back on the western page rather than leave the codec without one.
    name_ = "CP1252";
    to = iconv_open("CP1252", "UTF-8");
    from = iconv_open("UTF-8", "CP1252");
  }
  toPage_ = to == reinterpret_cast<iconv_t>(-1) ? nullptr : to;
  fromPage_ = from == reinterpret_cast<iconv_t>(-1) ? nullptr : from;
  if (valid() && isSingleBytePage(name_)) buildSingleByteTables();
}

void CodePage::buildSingleByteTables() {
  std::vector<uint8_t> utf8;
  for (int b = 0x80; b <= 0xFF; ++b) {
    const uint8_t byte = static_cast<uint8_t>(b);
    convert(fromPage_, &byte, 1, false, utf8);
    const std::size_t i = static_cast<std::size_t>(b - 0x80);
    const std::size_t len = utf8.empty() ? 0 : utf8Length(utf8.data(), utf8.size());
    if (utf8.size() < 2 || len != utf8.size()) {  // '?': the page has no character here
      upperUtf8_[i] = {'?', 0, 0, 0};
      upperUtf8Length_[i] = 1;
      continue;
    }
    for (std::size_t k = 0; k < len; ++k) upperUtf8_[i][k] = static_cast<char>(utf8[k]);
    upperUtf8Length_[i] = static_cast<uint8_t>(len);
    const uint32_t cp = codePointAt(utf8.data(), len);
    if (cp >= byteOfCodePoint_.size()) byteOfCodePoint_.resize(cp + 1, 0);
    byteOfCodePoint_[cp] = byte;
  }
  singleByte_ = true;
}

CodePage CodePage::forLanguage(uint16_t languageId) {
  return CodePage(iconvNameForCharset(textCharsetForLanguage(languageId)));
}

CodePage::~CodePage() {
  if (toPage_) iconv_close(static_cast<iconv_t>(toPage_));
  if (fromPage_) iconv_close(static_cast<iconv_t>(fromPage_));
}

CodePage::CodePage(CodePage&& other) noexcept
    : name_(std::move(other.name_)),
      toPage_(other.toPage_),
      fromPage_(other.fromPage_),
      singleByte_(other.singleByte_),
      upperUtf8_(other.upperUtf8_),
      upperUtf8Length_(other.upperUtf8Length_),
      byteOfCodePoint_(std::move(other.byteOfCodePoint_)) {
  other.toPage_ = nullptr;
  other.fromPage_ = nullptr;
}

namespace {

// UTF-8 to a single-byte page through its table; stops when `cap` bytes are written.
std::size_t encodeSingleByte(const uint8_t* p, std::size_t n, const std::vector<uint8_t>& table, uint8_t* out,
                             std::size_t cap) {
  std::size_t i = 0, o = 0;
  while (i < n && o < cap) {
    if (p[i] < 0x80) {
      out[o++] = p[i++];
      continue;
    }
    const std::size_t len = utf8Length(p + i, n - i);
    uint8_t b = '?';
    if (len > 1) {
      const uint32_t cp = codePointAt(p + i, len);
      if (cp < table.size() && table[cp] != 0) b = table[cp];
    }
    out[o++] = b;
    i += len;
  }
  return o;
}

}  // namespace

void CodePage::encode(std::string_view utf8, std::vector<uint8_t>& out) const {
  const auto* p = reinterpret_cast<const uint8_t*>(utf8.data());
  if (isAscii(p, utf8.size()) || !toPage_) {
    out.assign(p, p + utf8.size());
    return;
  }
  if (singleByte_) {
    out.resize(utf8.size());
    out.resize(encodeSingleByte(p, utf8.size(), byteOfCodePoint_, out.data(), out.size()));
    return;
  }
  convert(toPage_, p, utf8.size(), true, out);
}

std::size_t CodePage::encodeField(std::string_view utf8, uint8_t* field, std::size_t width) const {
  const auto* p = reinterpret_cast<const uint8_t*>(utf8.data());
  std::size_t n;
  if (isAscii(p, utf8.size()) || !toPage_) {
    n = utf8.size() < width ? utf8.size() : width;
    if (n) std::memcpy(field, p, n);
  } else if (singleByte_) {
    n = encodeSingleByte(p, utf8.size(), byteOfCodePoint_, field, width);
  } else {
    convert(toPage_, p, utf8.size(), true, scratch_);
    n = scratch_.size() < width ? scratch_.size() : width;
    if (n) std::memcpy(field, scratch_.data(), n);
  }
  if (width > n) std::memset(field + n, 0, width - n);
  return n;
}

std::optional<std::string> CodePage::firstNotHeld(std::string_view utf8) const {
  const auto* p = reinterpret_cast<const uint8_t*>(utf8.data());
  const std::size_t n = utf8.size();
  std::vector<uint8_t> bytes;
  std::string back;
  for (std::size_t i = 0; i < n;) {
    if (p[i] < 0x80) {
      ++i;
      continue;
    }
    const std::size_t len = utf8Length(p + i, n - i);
    const std::string_view ch(utf8.data() + i, len);
    // A lone byte that starts no valid sequence cannot be held by any page.
    if (len == 1) return std::string(ch);
    encode(ch, bytes);
    decode(bytes.data(), bytes.size(), back);
    if (back != ch) return std::string(ch);
    i += len;
  }
  return std::nullopt;
}

void CodePage::decode(const uint8_t* bytes, std::size_t count, std::string& out) const {
  if (isAscii(bytes, count) || !fromPage_) {
    out.assign(reinterpret_cast<const char*>(bytes), count);
    return;
  }
  if (singleByte_) {
    out.clear();
    for (std::size_t i = 0; i < count; ++i) {
      const uint8_t b = bytes[i];
      if (b < 0x80)
        out.push_back(static_cast<char>(b));
      else
        out.append(upperUtf8_[b - 0x80].data(), upperUtf8Length_[b - 0x80]);
    }
    return;
  }
  convert(fromPage_, bytes, count, false, scratch_);
  out.assign(reinterpret_cast<const char*>(scratch_.data()), scratch_.size());
}

}  // namespace brindale::codec
