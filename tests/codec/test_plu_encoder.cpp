#include <gtest/gtest.h>

#include "codec_test_support.h"

namespace brindale::codec {
namespace {

using test::bytes;
using test::Fixture;
using test::minimalRow;

struct Encoder {
  Fixture fx;
  EncoderContext ctx{fx.env()};
  Encoder() { ctx.env = fx.env(); }
  std::vector<uint8_t> encode(PluRow& r, bool inherit = true) {
    Status s = encodePluRecord(ctx, r, inherit);
    EXPECT_TRUE(s.ok()) << s.message();
    return r.KVRBinData.value_or(std::vector<uint8_t>{});
  }
  Status fails(PluRow& r, bool inherit = true) { return encodePluRecord(ctx, r, inherit); }
};

TEST(PluEncoder, MinimalRecordIsSeventeenBytes) {
  Encoder e;
  PluRow r = minimalRow();
  r.BCC = 0x5C;
  EXPECT_EQ(e.encode(r), bytes({0x00, 0x00, 0x00, 0x01, 0x00, 0x11, 0, 0, 0, 0, 0, 0x00, 0x00, 0x01, 0x00, 0xFF, 0x5C}));
}

TEST(PluEncoder, UnitPriceLimit) {
  Encoder e;
  PluRow r = minimalRow();
  r.PLU_UPrice = 12345678;
  auto rec = e.encode(r);
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 11, rec.begin() + 15), bytes({0x12, 0x34, 0x56, 0x78}));
  r.PLU_UPrice = 100000000;
  r.KVRBinData.reset();
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_UPrice");
  EXPECT_EQ(s.message(), "column PLU_UPrice: value 100000000 exceeds limit 99999999");
  EXPECT_FALSE(r.KVRBinData.has_value());
}

TEST(PluEncoder, MainGroupStrictLimit) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_MGCode = 1;
  r.PLU_MG = 9999;
  auto rec = e.encode(r);
  ASSERT_EQ(rec.size(), 19u);
  EXPECT_EQ(rec[16], 0x99);
  EXPECT_EQ(rec[17], 0x99);
  r.PLU_MG = 10000;
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_MG");
  EXPECT_EQ(s.error().limit, 9999);
}

TEST(PluEncoder, NutritionLenientDropsHighDigits) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Nutrition = 1;
  r.PLU_Nutr_Calories = 12345;
  auto rec = e.encode(r);
  ASSERT_EQ(rec.size(), 17u + 80u);
  EXPECT_EQ(rec[16 + 32], 0x23);
  EXPECT_EQ(rec[16 + 33], 0x45);
}

TEST(PluEncoder, OneByteNumberLimit) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_SPMessageNo = 1;
  r.PLU_SPMessageNo = 99;
  auto rec = e.encode(r);
  EXPECT_EQ(rec[16], 0x99);
  r.PLU_SPMessageNo = 100;
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_SPMessageNo");
}

TEST(PluEncoder, BarcodeFlagsHaveASoftCeiling) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_ItemCode = 1;
  r.PLU_EANItemCode = "123";
  r.PLU_EANLastByte = 5;
  for (int64_t flags : {100, 150, 255, 9999}) {
    r.PLU_EANFlags = flags;
    auto rec = e.encode(r);
    EXPECT_EQ(rec[15], 0xFF) << flags;
  }
  r.PLU_EANFlags = 42;
  auto rec = e.encode(r);
  EXPECT_EQ(rec[15], 0x42);
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 16, rec.begin() + 22), bytes({0x12, 0x30, 0x00, 0x00, 0x00, 0x05}));
  EXPECT_EQ(r.PLU_EANData, "123000000005");
}

TEST(PluEncoder, DiscountsArePlainBinaryBesidePackedPrices) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_PLUStatB2B = 1;
  r.Stat2B_2NDPrice = 1;
  r.PLU_2NDPrice = 1234;
  r.Stat2B_CDiscount = 1;
  r.PLU_CustomerDis = 1234;
  auto rec = e.encode(r);
  // header, 0xFF, 12 status bytes, then the fields
  const std::size_t at = 16 + 12;
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + at, rec.begin() + at + 4), bytes({0x00, 0x00, 0x12, 0x34}));
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + at + 4, rec.begin() + at + 8), bytes({0x00, 0x00, 0x04, 0xD2}));
  EXPECT_EQ(rec[16], 0);           // StatB_Byte1
  EXPECT_EQ(rec[16 + 4], 0x01);    // Stat2B_Byte1: 2NDPrice
  EXPECT_EQ(rec[16 + 5], 0x20);    // Stat2B_Byte2: CDiscount
}

TEST(PluEncoder, DiscountTypeSevenGoesOutAsEleven) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Discount = 1;
  r.PLU_Disc_Type = 7;
  auto rec = e.encode(r);
  ASSERT_EQ(rec.size(), 17u + 30u);
  EXPECT_EQ(rec[16 + 28], 11);
  EXPECT_EQ(r.PLU_Disc_Type, 7);
  // A stored 11 goes out as 11 and the column reads 7 afterwards.
  r.PLU_Disc_Type = 11;
  rec = e.encode(r);
  EXPECT_EQ(rec[16 + 28], 11);
  EXPECT_EQ(r.PLU_Disc_Type, 7);
  r.PLU_Disc_Type = 5;
  rec = e.encode(r);
  EXPECT_EQ(rec[16 + 28], 5);
}

TEST(PluEncoder, DiscountTimesAreLenient) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Discount = 1;
  r.PLU_Disc_SDate = 311299;
  r.PLU_Disc_STime = 123456;
  r.PLU_Disc_Markdown = 3;
  auto rec = e.encode(r);
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 16, rec.begin() + 22), bytes({0x00, 0x31, 0x12, 0x99, 0x34, 0x56}));
  EXPECT_EQ(rec[16 + 29], 0x03);
}

TEST(PluEncoder, StorageTemperatureForm) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_PLUStatB2B = 1;
  r.Stat2B_STEMP1 = 1;
  r.Stat2B_STEMP2 = 1;
  r.PLU_ST1stLimit = 1000;
  r.PLU_ST2ndLimit = 1001;
  auto rec = e.encode(r);
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 28, rec.begin() + 32), bytes({0x0A, 0x00, 0x80, 0x01}));
}

TEST(PluEncoder, NutritionBlockFollowsCountry) {
  const std::pair<int, std::size_t> cases[] = {{0, 80}, {1, 84}, {3, 80}, {26, 164}, {27, 80}, {30, 164}};
  for (auto [country, size] : cases) {
    Encoder e;
    e.ctx.env.settings.CountryIndex = country;
    PluRow r = minimalRow();
    r.Stat2_Nutrition = 1;
    r.PLU_Nutr_TransFat_CU = 12;
    auto rec = e.encode(r);
    EXPECT_EQ(rec.size(), 17u + size) << country;
  }
}

TEST(PluEncoder, NutritionTextsAndCompactLayout) {
  Encoder e;
  e.ctx.env.settings.CountryIndex = 26;
  PluRow r = minimalRow();
  r.Stat2_Nutrition = 1;
  r.PLU_Nutr_SerSize = "1 cup (250 g) of soup is too long";
  r.PLU_Nutr_SerCont.reset();  // Null: a field of zeros
  r.PLU_Nutr_SerSizeNew_CU = "Caf\xC3\xA9";
  r.PLU_Nutr_SerContNew_CU = "4";
  r.PLU_Nutr_Dummy_CU = 9;
  auto rec = e.encode(r);
  const uint8_t* n = rec.data() + 16;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(n), 20), "1 cup (250 g) of sou");
  for (int i = 21; i < 31; ++i) EXPECT_EQ(n[i], 0) << i;
  EXPECT_EQ(std::vector<uint8_t>(n + 83, n + 88), bytes({'C', 'a', 'f', 0xE9, 0}));
  EXPECT_EQ(n[123], '4');
  EXPECT_EQ(n[163], 9);

  r.PLU_Nutr_SerSizeNew_CU.reset();
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_Nutr_SerSizeNew_CU");
  EXPECT_EQ(s.error().fault, Fault::Null);

  Encoder c;
  c.ctx.env.settings.CountryIndex = 30;
  PluRow b = minimalRow();
  b.Stat2_Nutrition = 1;
  b.PLU_Nutr_SerSize_BZ = "100g";
  b.PLU_Nutr_CaloriesA_BZ = 250;
  b.PLU_Nutr_Fiber_BZ = 7;
  b.PLU_Nutr_Sodium_BZ = 123456;
  b.PLU_Nutr_Calories = 99999;  // not part of this layout
  rec = c.encode(b);
  n = rec.data() + 16;
  EXPECT_EQ(n[20], 0x02);
  EXPECT_EQ(n[21], 0x50);
  for (int i = 22; i < 26; ++i) EXPECT_EQ(n[i], 0) << i;
  EXPECT_EQ(n[45], 0x07);
  EXPECT_EQ(std::vector<uint8_t>(n + 48, n + 52), bytes({0x00, 0x12, 0x34, 0x56}));
  for (int i = 52; i < 164; ++i) EXPECT_EQ(n[i], 0) << i;
}

TEST(PluEncoder, LabelFormatZeroIsOverwrittenByTheNextField) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_LBFormat1 = 1;  // recomputed from the value
  r.PLU_LBFormat1 = 0;
  r.Stat2_LBFormat2 = 1;
  r.PLU_LBFormat2 = 9;
  auto rec = e.encode(r);
  EXPECT_EQ(r.Stat2_LBFormat1, 0);
  ASSERT_EQ(rec.size(), 18u);
  EXPECT_EQ(rec[15], 9);
  EXPECT_EQ(rec[16], 0xFF);
  EXPECT_EQ(rec[8], 0x02);  // Stat2_Byte1: only LBFormat2
}

TEST(PluEncoder, FieldOrderOfTheFixedPart) {
  Encoder e;
  PluRow r = minimalRow();
  r.PLU_No = 4711;
  r.PLU_LBFormat1 = 3;
  r.Stat2_LBFormat2 = 1;
  r.PLU_LBFormat2 = 4;
  r.PLU_BarFormat = 1;
  r.Stat2_ItemCode = 1;
  r.PLU_EANItemCode = "123";
  r.PLU_EANLastByte = 5;
  r.PLU_EANFlags = 21;
  r.Stat2_MGCode = 1;
  r.PLU_MG = 12;
  r.Stat2_SBDate = 1;
  r.PLU_SBDate = 3;
  r.Stat2_PKTime = 1;
  r.PLU_PAKTime = 1230;
  r.Stat2_Cost = 1;
  r.PLU_Cost = 150;
  r.Stat2_PLUTare = 1;
  r.PLU_Tare = 25;
  r.Stat2_QTYSymbol = 1;
  r.PLU_QTYSymbol = 2;
  r.Stat2_ImageNo = 1;
  r.PLU_Image1 = 1;
  r.PLU_Image10 = 10;
  r.Stat2_Commodity = 1;
  r.PLU_Commodity = bytes({0x01, 0x02, 'A', 'B', 0x0C});
  r.Stat1_Unit = 1;
  r.Stat1_NUTPrint = 1;
  r.BCC = 0x77;
  auto rec = e.encode(r);
  const auto expected = bytes({
      0x00, 0x00, 0x47, 0x11,  // PLU_No
      0x00, 0x36,              // length 54
      0x01, 0x08,              // Stat1
      0x7F, 0x21, 0x51,        // Stat2: LB1 LB2 BAR ITEM MG COST TARE, QTYSYM COMM, SBDATE PKTIME IMAGE
      0x00, 0x00, 0x01, 0x00,  // PLU_UPrice
      3, 4, 1,                 // label formats, barcode format
      0x21,                    // PLU_EANFlags
      0x00, 0x01, 0x23, 0x00, 0x00, 0x05,  // PLU_EANData "000123000005"
      0x00, 0x12,              // PLU_MG
      0x00, 0x03,              // PLU_SBDate
      0x12, 0x30,              // PLU_PAKTime
      0x00, 0x00, 0x01, 0x50,  // PLU_Cost
      0x00, 0x25,              // PLU_Tare
      0x02,                    // PLU_QTYSymbol
      0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0x10,  // images
      0x01, 0x02, 'A', 'B', 0x0C,          // commodity block
      0x77,                    // BCC
  });
  EXPECT_EQ(rec, expected);
  EXPECT_EQ(r.Stat2_Byte1, 0x7F);
  EXPECT_EQ(r.Stat2_BARFormat, 1);
}

TEST(PluEncoder, ExtendedPartOrder) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_PLUStatB2B = 1;
  r.StatB_PrintWeight = 1;
  r.Stat2B_PreName = 1;
  r.PLU_CPLUPreset = std::vector<uint8_t>(33, 'Q');  // not carried: the field is ours to fill
  r.Stat2B_TaxNo = 1;
  r.PLU_TAXNo = 5;
  r.Stat2B_TextNoSLT = 1;
  r.PLU_LText1No = 1;
  r.PLU_LText5No = 99;
  r.Stat2B_2ndPrinter = 1;
  r.PLU_UCCEAN_Prefix = 12;
  r.PLU_SerialNo = 34;
  r.Stat2B_Trace_Ke = 1;
  r.PLU_TracePt_Ke = 7;
  r.PLU_Trace_Ke = "0123456789ABC";
  r.Stat2B_SPriceDiscount = 1;
  r.StatB_Byte3 = 0x55;  // lost: no flags
  auto rec = e.encode(r);
  std::vector<uint8_t> expected = bytes({0x08, 0, 0, 0, 0x84, 0, 0, 0x03, 0x08, 0x04, 0, 0});
  expected.insert(expected.end(), 33, 0);                                       // preset name
  expected.push_back(0x05);                                                     // tax
  for (int b : {0x01, 0x00, 0x00, 0x00, 0x99}) expected.push_back(static_cast<uint8_t>(b));  // texts
  for (int b : {0, 0, 0, 0x12, 0, 0, 0, 0x34}) expected.push_back(static_cast<uint8_t>(b));  // printer
  for (int b : {7, 0x01, 0x23, 0x45, 0x67, 0x89}) expected.push_back(static_cast<uint8_t>(b));  // trace
  EXPECT_EQ(std::vector<uint8_t>(rec.begin() + 16, rec.end() - 1), expected);
}

TEST(PluEncoder, ExtendedPartNeedsItsFlag) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2B_TaxNo = 1;
  r.PLU_TAXNo = 5;
  r.StatB_PrintWeight = 1;
  auto rec = e.encode(r);
  EXPECT_EQ(rec.size(), 17u);
  EXPECT_EQ(r.StatB_Byte1, 0x08);  // the bytes are still packed
  EXPECT_EQ(r.Stat2B_Byte1, 0x80);
}

TEST(PluEncoder, SecondMultiBarcodeExtensionCannotBeBuilt) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_PLUStatB2B = 1;
  r.Stat2B_MBarcode2EXP = 1;
  r.PLU_MultiBar2EXP = std::vector<uint8_t>(51, 1);
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::TypeMismatch);
  EXPECT_EQ(s.error().column, "Stat2B_MBarcode2EXP");
}

TEST(PluEncoder, MultiBarcodesGoOutWithTheirColumnLength) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_PLUStatB2B = 1;
  r.Stat2B_MBarcode1 = 1;
  r.PLU_MultiBar1 = std::vector<uint8_t>(40, 3);
  auto rec = e.encode(r);
  EXPECT_EQ(rec.size(), 17u + 12u + 40u);
}

TEST(PluEncoder, NullsWhereAFlagCallsForAValueFail) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Cost = 1;
  r.PLU_Cost = kNullNumber;
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.message(), "column PLU_Cost: value is Null");

  r = minimalRow();
  r.Stat2_Commodity = 1;
  s = e.fails(r);  // PLU_Commodity is Null
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_Commodity");

  // A Null flag counts as set.
  r = minimalRow();
  r.Stat2_QTY = kNullNumber;
  r.PLU_QTY = 3;
  auto rec = e.encode(r);
  EXPECT_EQ(rec.size(), 19u);
}

TEST(PluEncoder, BarcodeDataMustBeHexadecimal) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_ItemCode = 1;
  r.PLU_EANItemCode = "12G";
  r.PLU_EANLastByte = 5;
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::NotHex);
  EXPECT_EQ(s.error().column, "PLU_EANData");

  PluRow t = minimalRow();
  t.Stat2_PLUStatB2B = 1;
  t.Stat2B_Trace_Ke = 1;
  t.PLU_Trace_Ke = "12345";
  s = e.fails(t);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::TooShort);
}

TEST(PluEncoder, RecordMayFillTheWholeBuffer) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Commodity = 1;
  r.PLU_Commodity = std::vector<uint8_t>(20464, 1);  // BCC lands on index 20480, the last
  auto rec = e.encode(r);
  ASSERT_EQ(rec.size(), 20481u);
  EXPECT_EQ(rec[4], 0x50);  // 20481 = 0x5001
  EXPECT_EQ(rec[5], 0x01);
}

TEST(PluEncoder, WriteBeyondTheBufferFails) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat2_Commodity = 1;
  r.PLU_Commodity = std::vector<uint8_t>(20465, 1);  // BCC would land on index 20481
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::BufferOverrun);
  EXPECT_EQ(s.error().column, "BCC");
  EXPECT_EQ(s.error().value, 20481);
  // A block that starts inside the buffer but runs past its end is refused as well.
  r.PLU_Commodity = std::vector<uint8_t>(30000, 1);
  s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "PLU_Commodity");
}

TEST(PluEncoder, InheritedLabelFormatOfTheStore) {
  Encoder e;
  HierarchySettings all255;
  all255.LabFormat = 255;
  all255.BarFormat = 255;
  all255.DP_No = 2;
  e.fx.inheritance.mainGroups[{1, 5}] = all255;
  e.fx.inheritance.departments[{1, 2}] = all255;
  e.fx.inheritance.stores[1] = all255;
  PluRow r = minimalRow();
  r.PLU_MG = 5;
  r.PLU_LBFormat1 = 255;
  auto rec = e.encode(r);
  EXPECT_EQ(rec[15], 255);
  EXPECT_EQ(r.Stat2_LBFormat1, 1);
  EXPECT_EQ(r.PLU_LBFormat1, 255);
  EXPECT_EQ(rec.size(), 18u);
}

TEST(PluEncoder, UnknownMainGroupLeavesTheFieldOut) {
  Encoder e;
  PluRow r = minimalRow();
  r.PLU_MG = 42;
  r.PLU_LBFormat1 = 255;
  r.Stat2_LBFormat1 = 1;
  auto rec = e.encode(r);
  EXPECT_EQ(rec.size(), 17u);
  EXPECT_EQ(r.Stat2_LBFormat1, 0);
  EXPECT_EQ(e.fx.inheritance.mainGroupLookups, 1);
}

TEST(PluEncoder, WithoutInheritance255GoesOutAsItIs) {
  Encoder e;
  PluRow r = minimalRow();
  r.PLU_LBFormat1 = 255;
  r.PLU_BarFormat = 255;
  auto rec = e.encode(r, false);
  EXPECT_EQ(rec[15], 255);
  EXPECT_EQ(rec[16], 255);
  EXPECT_EQ(e.fx.inheritance.mainGroupLookups, 0);
}

TEST(PluEncoder, InheritedBarcodeUsesTheRemainderAndFlags) {
  Encoder e;
  HierarchySettings mg;
  mg.BarFormat = 1;
  mg.BarFlag = 3;
  mg.Flag1 = 2;
  mg.Flag2 = 1;
  e.fx.inheritance.mainGroups[{1, 5}] = mg;
  PluRow r = minimalRow();
  r.PLU_MG = 5;
  r.PLU_BarFormat = 255;
  r.Stat2_ItemCode = 1;
  r.PLU_EANItemCode = "77";
  r.PLU_EANLastByte = 0;
  auto rec = e.encode(r);
  EXPECT_EQ(rec[15], 1);     // 301 % 100
  EXPECT_EQ(rec[16], 0x21);  // flags 21
  EXPECT_EQ(r.PLU_EANData, "000077000003");
  // Format, flags and the barcode builder: three lookups; the builder then moved the key.
  EXPECT_EQ(e.fx.inheritance.mainGroupLookups, 3);
  EXPECT_EQ(e.ctx.remembered.lastStore, 1);
  EXPECT_EQ(e.ctx.remembered.lastMainGroup, 5);
  PluRow again = r;
  e.encode(again);
  EXPECT_EQ(e.fx.inheritance.mainGroupLookups, 3);  // the key matches: nothing looked up
}

TEST(PluEncoder, RememberedValueOfAnotherGroupIsUsedWhenTheKeyDidNotMove) {
  Encoder e;
  HierarchySettings a, b;
  a.LabFormat = 11;
  a.BarFormat = 1;
  a.BarFlag = 0;
  b.LabFormat = 22;
  b.BarFormat = 1;
  b.BarFlag = 0;
  e.fx.inheritance.mainGroups[{1, 1}] = a;
  e.fx.inheritance.mainGroups[{1, 2}] = b;

  // Row of group 2 with an inherited barcode: the builder moves the key to group 2.
  PluRow first = minimalRow();
  first.PLU_MG = 2;
  first.PLU_LBFormat1 = 255;
  first.PLU_BarFormat = 255;
  first.Stat2_ItemCode = 1;
  first.PLU_EANItemCode = "1";
  EXPECT_EQ(e.encode(first)[15], 22);
  EXPECT_EQ(e.ctx.remembered.lastMainGroup, 2);

  // Row of group 1 with only the label inherited: looked up, remembered, key not moved.
  PluRow second = minimalRow();
  second.PLU_MG = 1;
  second.PLU_LBFormat1 = 255;
  EXPECT_EQ(e.encode(second)[15], 11);
  EXPECT_EQ(e.ctx.remembered.lastMainGroup, 2);

  // Next row of group 2: the key matches, so it gets group 1's label format.
  PluRow third = minimalRow();
  third.PLU_MG = 2;
  third.PLU_LBFormat1 = 255;
  const int lookups = e.fx.inheritance.mainGroupLookups;
  EXPECT_EQ(e.encode(third)[15], 11);
  EXPECT_EQ(e.fx.inheritance.mainGroupLookups, lookups);
}

TEST(PluEncoder, StatusColumnsAreRewritten) {
  Encoder e;
  PluRow r = minimalRow();
  r.Stat1_Byte1 = 0xFF;
  r.Stat2_Byte3 = 0xFF;
  r.Stat2B_Byte8 = 9;
  r.Stat1_SBDate = 1;
  e.encode(r);
  EXPECT_EQ(r.Stat1_Byte1, 0x04);
  EXPECT_EQ(r.Stat2_Byte3, 0);
  EXPECT_EQ(r.Stat2B_Byte8, 0);
}

TEST(PluEncoder, FailureKeepsTheOldRecord) {
  Encoder e;
  PluRow r = minimalRow();
  auto good = e.encode(r);
  r.Stat2_Cost = 1;
  r.PLU_Cost = -5;
  Status s = e.fails(r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::Negative);
  EXPECT_EQ(r.KVRBinData, good);
}

}  // namespace
}  // namespace brindale::codec
