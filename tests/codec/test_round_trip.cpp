#include <gtest/gtest.h>

#include <sstream>

#include "codec_test_support.h"
#include "plu_row_generator.h"

namespace brindale::codec {
namespace {

using test::Fixture;
using test::PluRowGenerator;

void addFlexiRows(Fixture& fx) {
  fx.flexi.rows[{1, 1}] = 4;
  fx.flexi.rows[{1, 0}] = 6;
  fx.flexi.rows[{2, 1}] = 8;
  fx.flexi.rows[{2, 0}] = 3;
}

std::string diff(const PluRow& a, const PluRow& b) {
  std::ostringstream out;
  for (const auto& c : pluColumns()) {
    bool same = true;
    switch (c.kind) {
      case ColumnKind::Number: same = a.*c.number == b.*c.number; break;
      case ColumnKind::Text: same = a.*c.text == b.*c.text; break;
      case ColumnKind::Bytes: same = a.*c.bytes == b.*c.bytes; break;
    }
    if (!same) {
      out << c.name;
      if (c.kind == ColumnKind::Number) out << " (" << a.*c.number << " vs " << b.*c.number << ")";
      if (c.kind == ColumnKind::Text) out << " (\"" << (a.*c.text).value_or("Null") << "\" vs \"" << (b.*c.text).value_or("Null") << "\")";
      out << "; ";
    }
  }
  return out.str();
}

// The decoder reads a nutrition text over its whole field width: the zeros behind the text
// stay in the value.
void dropFieldPadding(PluRow& r) {
  for (auto c : {&PluRow::PLU_Nutr_SerSize, &PluRow::PLU_Nutr_SerCont, &PluRow::PLU_Nutr_SerSizeNew_CU,
                 &PluRow::PLU_Nutr_SerContNew_CU, &PluRow::PLU_Nutr_SerSize_BZ}) {
    if (!(r.*c)) continue;
    std::string& s = *(r.*c);
    while (!s.empty() && s.back() == '\0') s.pop_back();
  }
}

// What the decoder gives back for an encoded row: the row as the encoder left it, but for the
// differences the two directions have by design.
PluRow expectedAfterDecode(const PluRow& encoded) {
  PluRow e = encoded;
  // The preset name field does not carry the column: what comes back is what the record held.
  if (e.Stat2_PLUStatB2B && e.Stat2B_PreName) e.PLU_CPLUPreset = std::vector<uint8_t>(33, 0);
  return e;
}

// A new row as the mirror's text file leaves it before the record is unpacked.
PluRow keysOnly(const PluRow& r) {
  PluRow k;
  k.ST_No = r.ST_No;
  k.SECT_No = r.SECT_No;
  k.KVRBinData = r.KVRBinData;
  return k;
}

class RoundTrip : public ::testing::TestWithParam<int> {};

TEST_P(RoundTrip, EncodeThenDecodeGivesTheSameColumns) {
  const int country = GetParam();
  Fixture fx;
  addFlexiRows(fx);
  EncoderContext ctx(fx.env());
  ctx.env.settings.CountryIndex = country;
  PluRowGenerator gen(1234u + static_cast<uint32_t>(country));
  for (int i = 0; i < 1500; ++i) {
    PluRow row = gen.next(country);
    Status s = encodePluRecord(ctx, row, false);
    ASSERT_TRUE(s.ok()) << "row " << i << ": " << s.message();
    PluRow back = keysOnly(row);
    DecodeResult res = decodePluRecord(ctx.env, back);
    ASSERT_EQ(res.outcome, DecodeOutcome::Decoded) << "row " << i << ": " << res.error.message();
    dropFieldPadding(back);
    PluRow expected = expectedAfterDecode(row);
    ASSERT_EQ(back, expected) << "row " << i << " differs in: " << diff(back, expected);
  }
}

TEST_P(RoundTrip, DecodeThenEncodeGivesTheSameBytes) {
  const int country = GetParam();
  Fixture fx;
  addFlexiRows(fx);
  EncoderContext ctx(fx.env());
  ctx.env.settings.CountryIndex = country;
  PluRowGenerator gen(777u + static_cast<uint32_t>(country));
  for (int i = 0; i < 1500; ++i) {
    PluRow row = gen.next(country);
    ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
    const std::vector<uint8_t> fromScale = *row.KVRBinData;
    PluRow back = keysOnly(row);
    ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
    // Whatever preset name the scale sent is not sent back.
    if (back.Stat2B_PreName) back.PLU_CPLUPreset = std::vector<uint8_t>(33, 'S');
    ASSERT_TRUE(encodePluRecord(ctx, back, false).ok()) << "row " << i;
    ASSERT_EQ(*back.KVRBinData, fromScale) << "row " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Countries, RoundTrip, ::testing::Values(0, 1, 26, 27, 30));

TEST(RoundTripDifferences, FullRowSurvives) {
  Fixture fx;
  addFlexiRows(fx);
  EncoderContext ctx(fx.env());
  PluRowGenerator gen(5);
  PluRow row = gen.full(0);
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  PluRow back = keysOnly(row);
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  dropFieldPadding(back);
  EXPECT_EQ(back, expectedAfterDecode(row)) << diff(back, expectedAfterDecode(row));
  EXPECT_EQ(back.Stat2_Byte1, 0xFF);
}

TEST(RoundTripDifferences, ExtendedFlagsWithoutTheirGroupFlagAreLost) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.StatB_PrintWeight = 1;
  row.Stat2B_TaxNo = 1;
  row.PLU_TAXNo = 5;
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  PluRow back = keysOnly(row);
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(back.StatB_PrintWeight, 0);
  EXPECT_EQ(back.Stat2B_TaxNo, 0);
  EXPECT_EQ(back.PLU_TAXNo, 0);
}

TEST(RoundTripDifferences, BitsWithoutFlagsAreDroppedOnTheWayBack) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.Stat2_PLUStatB2B = 1;
  row.Stat2B_LTrayFile = 1;
  row.PLU_LTray1 = 1;
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  std::vector<uint8_t> rec = *row.KVRBinData;
  // Status bytes at 16..27: StatB 1-4, Stat2B 1-8. Set bits that belong to no flag.
  rec[17] = 0x11;        // StatB_Byte2
  rec[20 + 3] = 0x80;    // Stat2B_Byte4 bit 7
  rec[20 + 4] |= 0xF4;   // Stat2B_Byte5 bits 2, 4 to 7
  rec[20 + 5] = 0xFB;    // Stat2B_Byte6 all but bit 2
  rec[20 + 7] = 0x42;    // Stat2B_Byte8
  PluRow back = keysOnly(row);
  back.KVRBinData = rec;
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(back.Stat2B_Byte5, 0xF5);  // the row keeps the bytes as they came
  ASSERT_TRUE(encodePluRecord(ctx, back, false).ok());
  EXPECT_EQ(*back.KVRBinData, *row.KVRBinData);
}

TEST(RoundTripDifferences, MultiBarcodeOfAnotherLengthShiftsLaterFields) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.Stat2_PLUStatB2B = 1;
  row.Stat2B_MBarcode1 = 1;
  row.PLU_MultiBar1 = std::vector<uint8_t>(50, 0x01);
  row.Stat2B_PLUSCR = 1;
  row.PLU_Scroll = 1234;
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  PluRow back = keysOnly(row);
  const DecodeResult res = decodePluRecord(ctx.env, back);
  // The 51st byte taken for the barcode is the scroll's first; the scroll then takes its
  // second byte and BCC, and nothing is left for BCC.
  EXPECT_EQ(res.outcome, DecodeOutcome::Failed);
  EXPECT_EQ(back.Is_Selected, 1);
  ASSERT_TRUE(back.PLU_MultiBar1.has_value());
  EXPECT_EQ(back.PLU_MultiBar1->size(), 51u);
  EXPECT_EQ(back.PLU_MultiBar1->back(), 0x12);
}

TEST(RoundTripDifferences, SecondMultiBarcodeExtensionComesInButCannotGoOut) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.Stat2_PLUStatB2B = 1;
  row.Stat2B_MBarcode2 = 1;
  row.PLU_MultiBar2 = std::vector<uint8_t>(51, 0x02);
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  std::vector<uint8_t> rec = *row.KVRBinData;
  rec[20 + 3] |= 0x10;  // Stat2B_MBarcode2EXP
  const std::vector<uint8_t> ext(51, 0x07);
  rec.insert(rec.end() - 1, ext.begin(), ext.end());
  rec[4] = static_cast<uint8_t>(rec.size() >> 8);
  rec[5] = static_cast<uint8_t>(rec.size());
  PluRow back = keysOnly(row);
  back.KVRBinData = rec;
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(back.PLU_MultiBar2EXP, ext);
  const Status s = encodePluRecord(ctx, back, false);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::TypeMismatch);
}

TEST(RoundTripDifferences, DiscountTypesAboveSevenComeBackAsSeven) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  for (int64_t type : {8, 9, 10}) {
    PluRow row = test::minimalRow();
    row.Stat2_Discount = 1;
    row.PLU_Disc_Type = type;
    ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
    PluRow back = keysOnly(row);
    ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
    EXPECT_EQ(back.PLU_Disc_Type, 7);
  }
}

TEST(RoundTripDifferences, OutOfRangeValuesGoOutButComeBackCleared) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.PLU_LBFormat1 = 200;
  row.Stat2_QTYSymbol = 1;
  row.PLU_QTYSymbol = 40;
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  EXPECT_EQ((*row.KVRBinData)[15], 200);
  PluRow back = keysOnly(row);
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(back.PLU_LBFormat1, 0);
  EXPECT_EQ(back.PLU_QTYSymbol, 0);
}

TEST(RoundTripDifferences, BccIsCarriedNotComputed) {
  Fixture fx;
  EncoderContext ctx(fx.env());
  PluRow row = test::minimalRow();
  row.BCC = 0xAB;
  ASSERT_TRUE(encodePluRecord(ctx, row, false).ok());
  EXPECT_EQ(row.KVRBinData->back(), 0xAB);
  PluRow back = keysOnly(row);
  ASSERT_EQ(decodePluRecord(ctx.env, back).outcome, DecodeOutcome::Decoded);
  EXPECT_EQ(back.BCC, 0xAB);
}

}  // namespace
}  // namespace brindale::codec
