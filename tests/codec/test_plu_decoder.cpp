#include <gtest/gtest.h>

#include "codec_test_support.h"
#include "codec/text_block.h"

namespace brindale::codec {
namespace {

using test::bytes;
using test::Fixture;

// A record with PLU_No 1 and PLU_UPrice 100: the three Stat2 bytes, then the bytes from offset
// 15 on (without BCC), then BCC; the length field is filled in.
std::vector<uint8_t> record(uint8_t s2a, uint8_t s2b, uint8_t s2c, std::vector<uint8_t> body, uint8_t bcc = 0x33) {
  std::vector<uint8_t> r = {0x00, 0x00, 0x00, 0x01, 0, 0, 0x00, 0x00, s2a, s2b, s2c, 0x00, 0x00, 0x01, 0x00};
  r.insert(r.end(), body.begin(), body.end());
  r.push_back(bcc);
  r[4] = static_cast<uint8_t>(r.size() >> 8);
  r[5] = static_cast<uint8_t>(r.size());
  return r;
}

DecodeResult decode(Fixture& fx, PluRow& row, std::vector<uint8_t> rec) {
  row.KVRBinData = std::move(rec);
  return decodePluRecord(fx.env(), row);
}

TEST(PluDecoder, ShortOrMismatchedRecordsLeaveTheRowUntouched) {
  Fixture fx;
  PluRow before;
  before.PLU_No = 77;
  before.PLU_MG = 5;

  PluRow r = before;
  EXPECT_EQ(decodePluRecord(fx.env(), r).outcome, DecodeOutcome::NoRecord);
  EXPECT_EQ(r, before);

  std::vector<uint8_t> fourteen(14, 0);
  fourteen[5] = 14;
  r = before;
  r.KVRBinData = fourteen;
  PluRow expected = r;
  DecodeResult res = decodePluRecord(fx.env(), r);
  EXPECT_EQ(res.outcome, DecodeOutcome::TooShort);
  EXPECT_FALSE(res.rowChanged());
  EXPECT_EQ(r, expected);

  auto rec = record(0, 0, 0, {0xFF});
  rec[5] += 1;  // one more than the array holds
  r = before;
  r.KVRBinData = rec;
  expected = r;
  EXPECT_EQ(decodePluRecord(fx.env(), r).outcome, DecodeOutcome::LengthMismatch);
  EXPECT_EQ(r, expected);

  r = before;
  r.KVRBinData = bytes({0, 0, 0, 1, 0});
  expected = r;
  EXPECT_EQ(decodePluRecord(fx.env(), r).outcome, DecodeOutcome::TooShort);
  EXPECT_EQ(r, expected);
}

TEST(PluDecoder, MinimalRecordGetsItsDefaults) {
  Fixture fx;
  PluRow r;
  r.PLU_LBFormat1 = 9;
  r.PLU_BarFormat = 9;
  r.PLU_Cost = 555;  // flag off: left as it is
  r.PLU_CommodityFirst = "old";
  auto res = decode(fx, r, record(0, 0, 0, {0xFF}));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_No, 1);
  EXPECT_EQ(r.PLU_UPrice, 100);
  EXPECT_EQ(r.PLU_LBFormat1, 0);
  EXPECT_EQ(r.PLU_BarFormat, 0);
  EXPECT_EQ(r.PLU_EANFlags, 255);
  EXPECT_EQ(r.PLU_MG, 997);
  EXPECT_EQ(r.PLU_CommodityFirst, " ");
  EXPECT_EQ(r.PLU_Cost, 555);
  EXPECT_EQ(r.BCC, 0x33);
  EXPECT_EQ(r.Is_Selected, 0);
}

TEST(PluDecoder, UnitPriceAndItsFailure) {
  Fixture fx;
  PluRow r;
  auto rec = record(0, 0, 0, {0xFF});
  rec[11] = 0x12;
  rec[12] = 0x34;
  rec[13] = 0x56;
  rec[14] = 0x78;
  ASSERT_EQ(decode(fx, r, rec).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(r.PLU_UPrice, 12345678);

  rec[12] = 0x3A;
  rec[13] = 0;
  rec[14] = 0;
  PluRow f;
  auto res = decode(fx, f, rec);
  EXPECT_EQ(res.outcome, DecodeOutcome::Failed);
  EXPECT_TRUE(res.rowChanged());
  EXPECT_EQ(f.Is_Selected, 1);
  EXPECT_EQ(f.PLU_No, 1);  // what came before stays
  EXPECT_EQ(res.error.column, "PLU_UPrice");
}

TEST(PluDecoder, TextNumbersAboveNinetyNineReadAsZero) {
  Fixture fx;
  // Extended part with only the text numbers.
  std::vector<uint8_t> body = {0xFF, 0, 0, 0, 0, 0, 0, 0, 0x01, 0, 0, 0, 0};
  for (int b : {0xA0, 0x12, 0x99, 0xFF, 0x00}) body.push_back(static_cast<uint8_t>(b));
  PluRow r;
  r.PLU_LText1No = 5;
  auto res = decode(fx, r, record(0, 0, 0x80, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.Stat2B_TextNoSLT, 1);
  EXPECT_EQ(r.PLU_LText1No, 0);
  EXPECT_EQ(r.PLU_LText2No, 12);
  EXPECT_EQ(r.PLU_LText3No, 99);
  EXPECT_EQ(r.PLU_LText4No, 0);

  body[13] = 0x1A;
  PluRow f;
  res = decode(fx, f, record(0, 0, 0x80, body));
  EXPECT_EQ(res.outcome, DecodeOutcome::Failed);
  EXPECT_EQ(f.Is_Selected, 1);
  EXPECT_EQ(res.error.column, "PLU_LText1No");
}

TEST(PluDecoder, StorageTemperatures) {
  Fixture fx;
  std::vector<uint8_t> body = {0xFF, 0, 0, 0, 0, 0, 0, 0x60, 0, 0, 0, 0, 0, 0x80, 0x25, 0x03, 0x25};
  PluRow r;
  auto res = decode(fx, r, record(0, 0, 0x80, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_ST1stLimit, 1025);
  EXPECT_EQ(r.PLU_ST2ndLimit, 325);
}

TEST(PluDecoder, DiscountTypeAndMarkdownAreClamped) {
  Fixture fx;
  std::vector<uint8_t> body = {0xFF};
  body.insert(body.end(), 28, 0);
  body.push_back(11);
  body.push_back(0x04);
  PluRow r;
  auto res = decode(fx, r, record(0, 0x08, 0, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_Disc_Type, 7);
  EXPECT_EQ(r.PLU_Disc_Markdown, 3);
  for (uint8_t t : {8, 9, 10}) {
    body[29] = t;
    decode(fx, r, record(0, 0x08, 0, body));
    EXPECT_EQ(r.PLU_Disc_Type, 7);
  }
  body[29] = 6;
  body[30] = 0x02;
  decode(fx, r, record(0, 0x08, 0, body));
  EXPECT_EQ(r.PLU_Disc_Type, 6);
  EXPECT_EQ(r.PLU_Disc_Markdown, 2);
}

TEST(PluDecoder, TextBlockOfOneLineKeepsItsSeparator) {
  Fixture fx;
  PluRow r;
  auto res = decode(fx, r, record(0, 0x20, 0, {0xFF, 0x01, 0x03, 'A', 'B', 'C', 0x0C}));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_Commodity, bytes({0x01, 0x03, 'A', 'B', 'C', 0x0C}));
  EXPECT_EQ(r.PLU_CommodityFirst, "ABC");
}

TEST(PluDecoder, TextBlockOfSeveralLines) {
  Fixture fx;
  PluRow r;
  const auto block = bytes({0x01, 0x02, 'A', 'B', 0x0D, 0x02, 0x01, 'C', 0x0C});
  std::vector<uint8_t> body = {0xFF};
  body.insert(body.end(), block.begin(), block.end());
  body.insert(body.end(), {0x01, 0x01, 'I', 0x00});  // ingredient: any separator but 0x0D ends it
  auto res = decode(fx, r, record(0, 0xA0, 0, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_Commodity, block);
  EXPECT_EQ(r.PLU_Ingredient, bytes({0x01, 0x01, 'I', 0x00}));
  EXPECT_EQ(r.PLU_CommodityFirst, "AB");
}

TEST(PluDecoder, TextBlockRunningOffTheRecordFails) {
  Fixture fx;
  PluRow r;
  auto res = decode(fx, r, record(0, 0x20, 0, {0xFF, 0x01, 0x09, 'A'}));
  EXPECT_EQ(res.outcome, DecodeOutcome::Failed);
  EXPECT_EQ(r.Is_Selected, 1);
  EXPECT_EQ(r.PLU_CommodityFirst, " ");
}

TEST(PluDecoder, BarcodeDataAsHexText) {
  Fixture fx;
  PluRow r;
  // Stat2_ItemCode and format flag; format 1 of the first list (N 6).
  auto res = decode(fx, r, record(0x0C, 0, 0, {0x01, 0x21, 0x01, 0x0A, 0x00, 0xFF, 0x12, 0x34}));
  EXPECT_EQ(r.PLU_EANData, "010A00FF1234");
  EXPECT_EQ(r.PLU_EANFlags, 21);
  EXPECT_EQ(r.PLU_BarFormat, 1);
  // The item digits hold letters: the split keeps them as text; the last byte is 34.
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_EANLastByte, 34);
  EXPECT_EQ(r.PLU_MG, 997);
}

TEST(PluDecoder, BarcodeSplitAfterTheMainGroup) {
  Fixture fx;
  PluRow r;
  auto res = decode(fx, r, record(0x1C, 0, 0, {0x01, 0x21, 0x00, 0x01, 0x23, 0x00, 0x00, 0x05, 0x00, 0x12}));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_EANData, "000123000005");
  EXPECT_EQ(r.PLU_EANItemCode, "123");
  EXPECT_EQ(r.PLU_EANLastByte, 5);
  EXPECT_EQ(r.PLU_MG, 12);
}

TEST(PluDecoder, FormatsAreClamped) {
  Fixture fx;
  struct Case {
    uint8_t lb1, lb2, bar;
    int64_t wantLb1, wantLb2, wantBar;
  } cases[] = {{115, 99, 41, 115, 99, 41}, {116, 100, 42, 0, 0, 0}, {255, 200, 255, 255, 0, 255}};
  for (const auto& c : cases) {
    PluRow r;
    auto res = decode(fx, r, record(0x07, 0, 0, {c.lb1, c.lb2, c.bar, 0xFF}));
    ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
    EXPECT_EQ(r.PLU_LBFormat1, c.wantLb1);
    EXPECT_EQ(r.PLU_LBFormat2, c.wantLb2);
    EXPECT_EQ(r.PLU_BarFormat, c.wantBar);
  }
  PluRow r;
  decode(fx, r, record(0, 0x01, 0, {0xFF, 13}));
  EXPECT_EQ(r.PLU_QTYSymbol, 0);
  decode(fx, r, record(0, 0x01, 0, {0xFF, 12}));
  EXPECT_EQ(r.PLU_QTYSymbol, 12);
}

TEST(PluDecoder, LabelFormatTwoKeepsItsValueWhenTheFlagIsOff) {
  Fixture fx;
  PluRow r;
  r.PLU_LBFormat2 = 42;
  decode(fx, r, record(0, 0, 0, {0xFF}));
  EXPECT_EQ(r.PLU_LBFormat2, 42);
}

TEST(PluDecoder, MultiBarcodesAreFiftyOneBytes) {
  Fixture fx;
  std::vector<uint8_t> body = {0xFF, 0, 0, 0, 0, 0, 0, 0x02, 0, 0, 0, 0, 0};
  std::vector<uint8_t> mb(51);
  for (int i = 0; i < 51; ++i) mb[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i);
  body.insert(body.end(), mb.begin(), mb.end());
  PluRow r;
  auto res = decode(fx, r, record(0, 0, 0x80, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_MultiBar1, mb);
  EXPECT_EQ(r.Stat2B_MBarcode1, 1);
}

TEST(PluDecoder, ExtendedPartFlagOffKeepsTheExtendedFlags) {
  Fixture fx;
  PluRow r;
  r.Stat2B_TaxNo = 1;
  r.StatB_PrintWeight = 1;
  r.Stat2B_Byte1 = 0x80;
  decode(fx, r, record(0, 0, 0, {0xFF}));
  EXPECT_EQ(r.Stat2B_TaxNo, 1);
  EXPECT_EQ(r.StatB_PrintWeight, 1);
  EXPECT_EQ(r.Stat2B_Byte1, 0x80);
}

TEST(PluDecoder, PresetNameAndTraceability) {
  Fixture fx;
  std::vector<uint8_t> body = {0xFF, 0, 0, 0, 0, 0x04, 0, 0, 0, 0, 0x04, 0, 0};
  for (int i = 0; i < 33; ++i) body.push_back(static_cast<uint8_t>('a' + i % 26));
  for (int b : {9, 0x01, 0x23, 0xAB, 0xCD, 0xEF}) body.push_back(static_cast<uint8_t>(b));
  PluRow r;
  auto res = decode(fx, r, record(0, 0, 0x80, body));
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  ASSERT_TRUE(r.PLU_CPLUPreset.has_value());
  EXPECT_EQ(r.PLU_CPLUPreset->size(), 33u);
  EXPECT_EQ((*r.PLU_CPLUPreset)[0], 'a');
  EXPECT_EQ(r.PLU_TracePt_Ke, 9);
  EXPECT_EQ(r.PLU_Trace_Ke, "0123ABCDEF");
}

TEST(PluDecoder, NutritionByCountryKeepsTrailingZeros) {
  Fixture fx;
  CodecEnvironment env = fx.env();
  env.settings.CountryIndex = 1;
  std::vector<uint8_t> body = {0xFF};
  std::vector<uint8_t> block(84, 0);
  block[0] = 'x';
  block[32] = 0x12;  // calories
  block[33] = 0x34;
  block[80] = 0x00;
  block[81] = 0x07;  // trans fat
  block[83] = 5;
  body.insert(body.end(), block.begin(), block.end());
  PluRow r;
  r.KVRBinData = record(0, 0x10, 0, body);
  auto res = decodePluRecord(env, r);
  ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << res.error.message();
  EXPECT_EQ(r.PLU_Nutr_SerSize, std::string("x") + std::string(19, '\0'));
  EXPECT_EQ(r.PLU_Nutr_SerCont, std::string(10, '\0'));
  EXPECT_EQ(r.PLU_Nutr_Calories, 1234);
  EXPECT_EQ(r.PLU_Nutr_TransFat_CU, 7);
  EXPECT_EQ(r.PLU_Nutr_Dummy_CU, 5);

  // The same record read with the setting of another country is misread: the block is 80
  // bytes there, and what follows no longer fits.
  env.settings.CountryIndex = 0;
  PluRow other;
  other.KVRBinData = record(0, 0x10, 0, body);
  ASSERT_EQ(decodePluRecord(env, other).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(other.BCC, 0);  // byte 80 of the block taken for BCC
  EXPECT_EQ(other.PLU_Nutr_TransFat_CU, 0);
}

TEST(PluDecoder, RecordEndingEarlyFailsWithoutReadingPastIt) {
  Fixture fx;
  PluRow r;
  // Claims a cost (4 bytes) but ends after two.
  auto res = decode(fx, r, record(0x20, 0, 0, {0xFF, 0x00}));
  EXPECT_EQ(res.outcome, DecodeOutcome::Failed);
  EXPECT_EQ(r.Is_Selected, 1);
  EXPECT_EQ(res.error.fault, Fault::RecordTooShort);
  EXPECT_EQ(res.error.column, "PLU_Cost");
}

TEST(FirstLine, ListVariantKeepsOneHundredBytes) {
  CodePage cp("CP1252");
  std::vector<uint8_t> block = {0x01, 150};
  block.insert(block.end(), 150, 'z');
  block.push_back(0x0C);
  Bytes b = block;
  EXPECT_EQ(firstLine(b, FirstLineVariant::List, cp), std::string(100, 'z'));
  EXPECT_EQ(firstLine(b, FirstLineVariant::Editor, cp), std::string(150, 'z'));
  EXPECT_EQ(firstLine(Bytes{}, FirstLineVariant::Editor, cp), "");
  EXPECT_EQ(firstLine(Bytes{bytes({1, 0, 0x0C, 0})}, FirstLineVariant::Editor, cp), "");
  EXPECT_EQ(firstLine(Bytes{bytes({1, 1, 'a'})}, FirstLineVariant::Editor, cp), "");  // under four bytes
}

TEST(TextBlock, WalkLength) {
  const auto block = bytes({0x01, 0x02, 'A', 'B', 0x0D, 0x02, 0x01, 'C', 0x0C, 0xEE});
  std::size_t n = 0;
  ASSERT_TRUE(textBlockLength(block.data(), block.size(), n).ok());
  EXPECT_EQ(n, 9u);
  EXPECT_FALSE(textBlockLength(block.data(), 8, n).ok());
}

}  // namespace
}  // namespace brindale::codec
