#include <gtest/gtest.h>

#include "codec/code_page.h"

namespace brindale::codec {
namespace {

TEST(CodePage, FontCharsetTable) {
  EXPECT_EQ(charsetForLanguage(1025), 178);
  EXPECT_EQ(charsetForLanguage(1028), 136);
  EXPECT_EQ(charsetForLanguage(1032), 161);
  EXPECT_EQ(charsetForLanguage(1041), 128);
  EXPECT_EQ(charsetForLanguage(1042), 129);
  EXPECT_EQ(charsetForLanguage(1049), 204);
  EXPECT_EQ(charsetForLanguage(1054), 222);
  EXPECT_EQ(charsetForLanguage(1055), 162);
  for (uint16_t id : {1061, 1062, 1063}) EXPECT_EQ(charsetForLanguage(id), 186);
  EXPECT_EQ(charsetForLanguage(1065), 178);
  EXPECT_EQ(charsetForLanguage(1066), 163);
  EXPECT_EQ(charsetForLanguage(1091), 162);
  EXPECT_EQ(charsetForLanguage(3073), 178);
  EXPECT_EQ(charsetForLanguage(3076), 136);
  for (uint16_t id : {11265, 12289, 14337}) EXPECT_EQ(charsetForLanguage(id), 178);
  EXPECT_EQ(charsetForLanguage(1033), 1);
  EXPECT_EQ(charsetForLanguage(2052), 1);
}

TEST(CodePage, CharsetToWindowsCodePage) {
  EXPECT_STREQ(iconvNameForCharset(0), "CP1252");
  EXPECT_STREQ(iconvNameForCharset(1), "CP1252");
  EXPECT_STREQ(iconvNameForCharset(128), "CP932");
  EXPECT_STREQ(iconvNameForCharset(129), "CP949");
  EXPECT_STREQ(iconvNameForCharset(134), "GBK");
  EXPECT_STREQ(iconvNameForCharset(136), "BIG5");
  EXPECT_STREQ(iconvNameForCharset(161), "CP1253");
  EXPECT_STREQ(iconvNameForCharset(162), "CP1254");
  EXPECT_STREQ(iconvNameForCharset(163), "CP1258");
  EXPECT_STREQ(iconvNameForCharset(177), "CP1255");
  EXPECT_STREQ(iconvNameForCharset(178), "CP1256");
  EXPECT_STREQ(iconvNameForCharset(186), "CP1257");
  EXPECT_STREQ(iconvNameForCharset(204), "CP1251");
  EXPECT_STREQ(iconvNameForCharset(222), "CP874");
  EXPECT_STREQ(iconvNameForCharset(238), "CP1250");
  EXPECT_STREQ(iconvNameForCharset(999), "CP1252");
}

TEST(CodePage, LocaleToLanguage) {
  EXPECT_EQ(languageIdFromLocale("zh_CN.UTF-8"), 2052);
  EXPECT_EQ(languageIdFromLocale("zh_TW.UTF-8"), 1028);
  EXPECT_EQ(languageIdFromLocale("en_US.UTF-8"), 1033);
  EXPECT_EQ(languageIdFromLocale("ja_JP.eucJP"), 1041);
  EXPECT_EQ(languageIdFromLocale("ru_RU"), 1049);
  EXPECT_EQ(languageIdFromLocale("de_DE@euro"), 1031);
  EXPECT_EQ(languageIdFromLocale("th"), 1054);
  EXPECT_EQ(languageIdFromLocale("C"), 1033);
  EXPECT_EQ(languageIdFromLocale("POSIX"), 1033);
  EXPECT_EQ(languageIdFromLocale(""), 1033);
  EXPECT_EQ(languageIdFromLocale("xx_YY"), 1033);
}

TEST(CodePage, LanguageChoosesCodePage) {
  EXPECT_EQ(CodePage::forLanguage(2052).name(), "GBK");
  EXPECT_EQ(CodePage::forLanguage(1028).name(), "BIG5");
  EXPECT_EQ(CodePage::forLanguage(1033).name(), "CP1252");
  EXPECT_EQ(CodePage::forLanguage(1049).name(), "CP1251");
  EXPECT_EQ(CodePage::forLanguage(1045).name(), "CP1250");
  EXPECT_EQ(CodePage::forLanguage(1054).name(), "CP874");
}

TEST(CodePage, WesternRoundTrip) {
  CodePage cp("CP1252");
  ASSERT_TRUE(cp.valid());
  std::vector<uint8_t> out;
  cp.encode("Caf\xC3\xA9 \xE2\x82\xAC", out);  // "Café €"
  EXPECT_EQ(out, (std::vector<uint8_t>{'C', 'a', 'f', 0xE9, ' ', 0x80}));
  EXPECT_EQ(cp.decode(out.data(), out.size()), "Caf\xC3\xA9 \xE2\x82\xAC");
}

TEST(CodePage, ChineseDoubleByte) {
  CodePage cp("GBK");
  std::vector<uint8_t> out;
  cp.encode("\xE4\xB8\xAD", out);  // U+4E2D
  EXPECT_EQ(out, (std::vector<uint8_t>{0xD6, 0xD0}));
  EXPECT_EQ(cp.decode(out.data(), out.size()), "\xE4\xB8\xAD");
}

TEST(CodePage, UnmappableBecomesQuestionMark) {
  CodePage cp("CP1252");
  std::vector<uint8_t> out;
  cp.encode("a\xE4\xB8\xAD" "b", out);  // a Chinese character has no place in the western page
  EXPECT_EQ(out, (std::vector<uint8_t>{'a', '?', 'b'}));
  cp.encode("a\xFF" "b", out);  // not UTF-8 at all
  EXPECT_EQ(out, (std::vector<uint8_t>{'a', '?', 'b'}));
  const uint8_t undefined[] = {'x', 0x81, 'y'};  // 0x81 is unassigned in the western page
  EXPECT_EQ(cp.decode(undefined, 3), "x?y");
  CodePage gbk("GBK");
  const uint8_t cut[] = {'x', 0xD6};  // half a double-byte character at the end
  EXPECT_EQ(gbk.decode(cut, 2), "x?");
}

TEST(CodePage, FieldIsCutAndZeroFilled) {
  CodePage cp("CP1252");
  uint8_t field[6];
  memset(field, 0xEE, sizeof field);
  EXPECT_EQ(cp.encodeField("abc", field, 5), 3u);
  EXPECT_EQ(std::vector<uint8_t>(field, field + 6), (std::vector<uint8_t>{'a', 'b', 'c', 0, 0, 0xEE}));
  EXPECT_EQ(cp.encodeField("abcdefgh", field, 5), 5u);
  EXPECT_EQ(std::vector<uint8_t>(field, field + 5), (std::vector<uint8_t>{'a', 'b', 'c', 'd', 'e'}));
}

TEST(CodePage, CyrillicSingleBytePage) {
  CodePage cp("CP1251");
  std::vector<uint8_t> out;
  cp.encode("\xD0\x9F\xD1\x80\xD0\xB8", out);  // "При"
  EXPECT_EQ(out, (std::vector<uint8_t>{0xCF, 0xF0, 0xE8}));
  EXPECT_EQ(cp.decode(out.data(), out.size()), "\xD0\x9F\xD1\x80\xD0\xB8");
  cp.encode("\xC3\xA9", out);  // é has no place in the Cyrillic page
  EXPECT_EQ(out, (std::vector<uint8_t>{'?'}));
}

TEST(CodePage, FieldCutCountsPageBytesNotUtf8Bytes) {
  CodePage cp("CP1252");
  uint8_t field[3];
  EXPECT_EQ(cp.encodeField("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", field, 3), 3u);  // four é, three fit
  EXPECT_EQ(std::vector<uint8_t>(field, field + 3), (std::vector<uint8_t>{0xE9, 0xE9, 0xE9}));
  CodePage gbk("GBK");
  uint8_t cut[3];
  EXPECT_EQ(gbk.encodeField("\xE4\xB8\xAD\xE4\xB8\xAD", cut, 3), 3u);  // the second character is cut in half
  EXPECT_EQ(std::vector<uint8_t>(cut, cut + 3), (std::vector<uint8_t>{0xD6, 0xD0, 0xD6}));
}

TEST(CodePage, MovedPageStillConverts) {
  CodePage a("CP1252");
  CodePage b(std::move(a));
  std::vector<uint8_t> out;
  b.encode("\xE2\x82\xAC", out);
  EXPECT_EQ(out, (std::vector<uint8_t>{0x80}));
  EXPECT_EQ(b.decode(out.data(), 1), "\xE2\x82\xAC");
}

TEST(CodePage, ZeroBytesStayInDecodedText) {
  CodePage cp("CP1252");
  const uint8_t b[] = {'a', 0, 0};
  EXPECT_EQ(cp.decode(b, 3), std::string("a\0\0", 3));
}

TEST(CodePage, UnknownNameFallsBackToWestern) {
  CodePage cp("NO-SUCH-PAGE");
  EXPECT_TRUE(cp.valid());
  EXPECT_EQ(cp.name(), "CP1252");
}

TEST(CodePage, FirstCharacterNotHeldIsNamed) {
  CodePage western("CP1252");
  const std::string meat = "\xE9\xB2\x9C\xE8\x82\x89\xE7\x86\x9F\xE9\xA3\x9F";  // 鲜肉熟食
  EXPECT_EQ(western.firstNotHeld("Fresh " + meat), std::optional<std::string>("\xE9\xB2\x9C"));
  EXPECT_FALSE(western.holds(meat));
  EXPECT_EQ(western.firstNotHeld("Caf\xC3\xA9 \xE2\x82\xAC"), std::nullopt);  // é and € are in the page
  EXPECT_EQ(western.firstNotHeld("plain ? text"), std::nullopt);
  CodePage gbk("GBK");
  EXPECT_EQ(gbk.firstNotHeld(meat), std::nullopt);
  EXPECT_EQ(gbk.firstNotHeld("Pr\xC3\xA6mie"), std::optional<std::string>("\xC3\xA6"));  // æ is not in GBK
  CodePage cyrillic("CP1251");
  EXPECT_EQ(cyrillic.firstNotHeld("\xD0\x9C\xD1\x8F\xD1\x81\xD0\xBE \xC3\xA9"), std::optional<std::string>("\xC3\xA9"));
  // A byte that is no UTF-8 at all is never held.
  EXPECT_EQ(western.firstNotHeld("a\xFF" "b"), std::optional<std::string>("\xFF"));
}

TEST(CodePage, ScalePageNamesAreTheOnesTheProgramChooses) {
  EXPECT_EQ(scalePageName("GBK"), std::optional<std::string>("GBK"));
  EXPECT_EQ(scalePageName("cp1252"), std::optional<std::string>("CP1252"));
  EXPECT_EQ(scalePageName("Big5"), std::optional<std::string>("BIG5"));
  EXPECT_EQ(scalePageName("CP874"), std::optional<std::string>("CP874"));
  EXPECT_EQ(scalePageName("UTF-8"), std::nullopt);
  EXPECT_EQ(scalePageName(""), std::nullopt);
  EXPECT_EQ(scalePageName("GBK "), std::nullopt);
}

}  // namespace
}  // namespace brindale::codec
