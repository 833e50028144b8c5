#include <gtest/gtest.h>

#include "codec_test_support.h"

namespace brindale::codec {
namespace {

using test::Fixture;

PluRow barcodeRow(int64_t format, std::string item, int64_t lastByte) {
  PluRow r;
  r.ST_No = 1;
  r.PLU_MG = 5;
  r.PLU_BarFormat = format;
  r.PLU_EANItemCode = std::move(item);
  r.PLU_EANLastByte = lastByte;
  return r;
}

TEST(FormatLine, ItemDigits) {
  int n = -1;
  ASSERT_TRUE(formatLineItemDigits("2,0,6,EAN13", n).ok());
  EXPECT_EQ(n, 6);
  ASSERT_TRUE(formatLineItemDigits("1,1,10,EAN13", n).ok());
  EXPECT_EQ(n, 10);
  ASSERT_TRUE(formatLineItemDigits("2,0,5", n).ok());  // no character 6: two characters, one there
  EXPECT_EQ(n, 5);
  Status s = formatLineItemDigits("2,0,x,", n);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::BadFormatLine);
  EXPECT_FALSE(formatLineItemDigits("2,0", n).ok());
}

// A list whose line Bk gives N = k, behind a REF line that gives 99: any reading one place off
// gives a wrong N for every format.
BarcodeLists countingLists() {
  BarcodeLists l;
  l.EAN_EDIT.push_back("9,9,99,");
  l.ITF_EDIT.push_back("9,9,99,");
  for (int k = 0; k <= 32; ++k) {
    l.EAN_EDIT.push_back("1,0," + std::to_string(k) + ",EAN");
    l.ITF_EDIT.push_back("0,1," + std::to_string(k) + ",ITF");
  }
  return l;
}

TEST(FormatLine, FormatKReadsTheLineKeyedBkOfEitherList) {
  const BarcodeLists l = countingLists();
  for (int64_t kind = 0; kind <= 1; ++kind)
    for (int k = 0; k <= 32; ++k) {
      int n = -1;
      ASSERT_TRUE(builtInFormatItemDigits(&l, k, kind, n).ok()) << k;
      EXPECT_EQ(n, k) << "format " << k << " kind " << kind;
      const std::string* line = builtInFormatLine(kind == 1 ? l.EAN_EDIT : l.ITF_EDIT, k);
      ASSERT_NE(line, nullptr);
      EXPECT_EQ(*line, (kind == 1 ? "1,0," : "0,1,") + std::to_string(k) + (kind == 1 ? ",EAN" : ",ITF"));
    }
}

TEST(FormatLine, NoLineOutsideTheBuiltInFormatsOrBeyondTheList) {
  BarcodeLists l = countingLists();
  EXPECT_EQ(builtInFormatLine(l.EAN_EDIT, -1), nullptr);
  EXPECT_EQ(builtInFormatLine(l.EAN_EDIT, 33), nullptr);
  l.EAN_EDIT.resize(6);  // REF, B00 .. B04
  EXPECT_NE(builtInFormatLine(l.EAN_EDIT, 4), nullptr);
  EXPECT_EQ(builtInFormatLine(l.EAN_EDIT, 5), nullptr);
  int n = -1;
  Status s = builtInFormatItemDigits(&l, 5, 1, n);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::MissingFormatLine);
  EXPECT_EQ(s.error().column, "EAN_EDIT");
  EXPECT_EQ(s.error().value, 6);  // the position, REF counted as 0
  EXPECT_FALSE(builtInFormatItemDigits(nullptr, 0, 1, n).ok());
}

TEST(SetEANData, EveryBuiltInFormatCutsToTheItemDigitsOfItsOwnLine) {
  Fixture fx;
  fx.lists = countingLists();
  // N of the shipped lists is at most 10, the item code space of PLU_EANData.
  const std::string digits = "1234567890";
  for (int64_t lastByte : {5, 15})
    for (int k = 1; k <= 10; ++k) {
      RememberedSettings rem;
      PluRow r = barcodeRow(k, "123456789012", lastByte);
      ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok()) << k;
      const std::string head = digits.substr(0, static_cast<size_t>(k));
      EXPECT_EQ(r.PLU_EANItemCode, head) << k;
      EXPECT_EQ(r.PLU_EANData, head + std::string(static_cast<size_t>(10 - k), '0') +
                                   (lastByte < 10 ? "0" : "") + std::to_string(lastByte))
          << k;
      // And back: the split reads the same line.
      PluRow back = barcodeRow(k, "", 0);
      back.PLU_EANData = r.PLU_EANData;
      ASSERT_TRUE(splitEANData(fx.env(), back).ok()) << k;
      EXPECT_EQ(back.PLU_EANItemCode, head) << k;
      EXPECT_EQ(back.PLU_EANLastByte, lastByte);
    }
}

TEST(SetEANData, FormatZeroIsLeftAligned) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(0, "123", 5);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "123000000005");
}

TEST(SetEANData, BuiltInFormatRightAlignsInItsDigits) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(1, "123", 5);  // EAN line "2,0,6": N 6
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "000123000005");
  EXPECT_EQ(r.PLU_EANItemCode, "123");
}

TEST(SetEANData, LongItemCodeIsCutAndTheColumnChanges) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(1, "123456789", 5);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANItemCode, "123456");
  EXPECT_EQ(r.PLU_EANData, "123456000005");
}

TEST(SetEANData, CutItemCodeIsKeptAsANumber) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(1, "0012345", 5);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANItemCode, "1234");
  EXPECT_EQ(r.PLU_EANData, "001234000005");
}

TEST(SetEANData, LastByteOfTenOrMoreSelectsTheSecondList) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(1, "123", 12);  // ITF line "0,0,4": N 4
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "012300000012");
}

TEST(SetEANData, FlexiFormatWithoutRowUsesTen) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(33, "123", 5);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "000000012305");
  EXPECT_EQ(fx.flexi.lookups, 1);
}

TEST(SetEANData, FlexiFormatUsesItsItemDigits) {
  Fixture fx;
  fx.flexi.rows[{2, 1}] = 4;  // FBar_No 2 of the first kind (FBar_EANorITF 1)
  RememberedSettings rem;
  PluRow r = barcodeRow(34, "123", 5);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "012300000005");
  r = barcodeRow(34, "123", 15);  // second kind: FBar_EANorITF 0, no row
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "000000012315");
}

TEST(SetEANData, BadOrMissingFormatLineFails) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(4, "1", 5);  // "2,0,x,"
  Status s = setEANData(fx.env(), rem, r, true);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::BadFormatLine);
  r = barcodeRow(20, "1", 5);
  s = setEANData(fx.env(), rem, r, true);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::MissingFormatLine);
}

TEST(SetEANData, InheritedFormatIsLookedUpOncePerKey) {
  Fixture fx;
  HierarchySettings mg;
  mg.BarFormat = 1;
  mg.BarFlag = 7;  // last byte 7
  fx.inheritance.mainGroups[{1, 5}] = mg;
  RememberedSettings rem;
  PluRow r = barcodeRow(255, "123", 99);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(r.PLU_EANData, "000123000007");
  EXPECT_EQ(rem.lastStore, 1);
  EXPECT_EQ(rem.lastMainGroup, 5);
  EXPECT_EQ(rem.lastBarFormat, 701);
  ASSERT_TRUE(setEANData(fx.env(), rem, r, true).ok());
  EXPECT_EQ(fx.inheritance.mainGroupLookups, 1);
}

TEST(SetEANData, WithoutInheritanceTheColumnsStand) {
  Fixture fx;
  RememberedSettings rem;
  PluRow r = barcodeRow(255, "123", 5);  // 255 is then a flexi number without a row: N 10
  ASSERT_TRUE(setEANData(fx.env(), rem, r, false).ok());
  EXPECT_EQ(r.PLU_EANData, "000000012305");
  EXPECT_EQ(fx.inheritance.mainGroupLookups, 0);
}

TEST(SplitEANData, InverseOfTheBuilder) {
  Fixture fx;
  PluRow r = barcodeRow(1, "", 0);
  r.PLU_EANData = "000123000005";
  ASSERT_TRUE(splitEANData(fx.env(), r).ok());
  EXPECT_EQ(r.PLU_EANItemCode, "123");
  EXPECT_EQ(r.PLU_EANLastByte, 5);

  r = barcodeRow(0, "", 0);
  r.PLU_EANData = "123000000005";
  ASSERT_TRUE(splitEANData(fx.env(), r).ok());
  EXPECT_EQ(r.PLU_EANItemCode, "123");

  r = barcodeRow(33, "", 0);
  r.PLU_EANData = "000000012315";
  ASSERT_TRUE(splitEANData(fx.env(), r).ok());
  EXPECT_EQ(r.PLU_EANItemCode, "123");
  EXPECT_EQ(r.PLU_EANLastByte, 15);
}

TEST(SplitEANData, LastByteMustBeDigits) {
  Fixture fx;
  PluRow r = barcodeRow(1, "", 0);
  r.PLU_EANData = "0001230000FF";
  Status s = splitEANData(fx.env(), r);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::NotDecimal);
}

TEST(Inheritance, MainGroupDecides) {
  test::CountingInheritance src;
  HierarchySettings mg;
  mg.LabFormat = 12;
  mg.BarFormat = 3;
  mg.BarFlag = 2;
  mg.Flag1 = 4;
  mg.Flag2 = 5;
  src.mainGroups[{1, 5}] = mg;
  PluRow r = barcodeRow(255, "", 0);
  int16_t v = 0;
  ASSERT_TRUE(getInheritedSetting(&src, r, 0, v).ok());
  EXPECT_EQ(v, 12);
  ASSERT_TRUE(getInheritedSetting(&src, r, 1, v).ok());
  EXPECT_EQ(v, 203);
  ASSERT_TRUE(getInheritedSetting(&src, r, 2, v).ok());
  EXPECT_EQ(v, 45);
  EXPECT_EQ(src.departmentLookups, 0);
}

TEST(Inheritance, TwoFiftyFiveGoesUpToDepartmentAndStore) {
  test::CountingInheritance src;
  HierarchySettings mg;
  mg.LabFormat = 255;
  mg.BarFormat = 7;
  mg.DP_No = 3;
  src.mainGroups[{1, 5}] = mg;
  HierarchySettings dp;
  dp.LabFormat = 255;
  src.departments[{1, 3}] = dp;
  HierarchySettings st;
  st.LabFormat = 255;
  src.stores[1] = st;
  PluRow r = barcodeRow(0, "", 0);
  int16_t v = 0;
  ASSERT_TRUE(getInheritedSetting(&src, r, 0, v).ok());
  EXPECT_EQ(v, 255);  // the store decides whatever it holds
  EXPECT_EQ(src.mainGroupLookups, 1);
  EXPECT_EQ(src.departmentLookups, 1);
  EXPECT_EQ(src.storeLookups, 1);
  // The barcode format of the main group is not 255: it decides kinds 1 and 2.
  ASSERT_TRUE(getInheritedSetting(&src, r, 1, v).ok());
  EXPECT_EQ(v, 7);
  EXPECT_EQ(src.departmentLookups, 1);
}

TEST(Inheritance, MissingRowsGiveZero) {
  test::CountingInheritance src;
  PluRow r = barcodeRow(0, "", 0);
  int16_t v = 99;
  ASSERT_TRUE(getInheritedSetting(&src, r, 0, v).ok());
  EXPECT_EQ(v, 0);
  HierarchySettings mg;
  mg.LabFormat = 255;
  mg.DP_No = 3;
  src.mainGroups[{1, 5}] = mg;
  v = 99;
  ASSERT_TRUE(getInheritedSetting(&src, r, 0, v).ok());
  EXPECT_EQ(v, 0);  // no department
  HierarchySettings dp;
  dp.LabFormat = 255;
  src.departments[{1, 3}] = dp;
  v = 99;
  ASSERT_TRUE(getInheritedSetting(&src, r, 0, v).ok());
  EXPECT_EQ(v, 0);  // no store
}

TEST(Inheritance, ResultIsSixteenBits) {
  test::CountingInheritance src;
  HierarchySettings mg;
  mg.BarFlag = 400;
  src.mainGroups[{1, 5}] = mg;
  PluRow r = barcodeRow(0, "", 0);
  int16_t v = 0;
  Status s = getInheritedSetting(&src, r, 1, v);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::Overflow);
}

TEST(MultiBarcode, BufferLayout) {
  CodePage cp("CP1252");
  MultiBarcodeBuffer b = buildMultiBarcode("12345", 1, cp);
  EXPECT_EQ(b[0], 134);
  EXPECT_EQ(b[1], '1');
  EXPECT_EQ(b[5], '5');
  for (std::size_t i = 6; i < 50; ++i) EXPECT_EQ(b[i], 0) << i;
  EXPECT_EQ(b[50], 1);
  EXPECT_EQ(buildMultiBarcode("", 0, cp)[0], 0);
  MultiBarcode m = readMultiBarcode(b, cp);
  EXPECT_TRUE(m.inUse);
  EXPECT_EQ(m.text, "12345");
  EXPECT_EQ(m.kind, 1);
  const std::string long60(60, '7');
  b = buildMultiBarcode(long60, 2, cp);
  EXPECT_EQ(b[48], '7');
  EXPECT_EQ(b[49], 0);
  EXPECT_EQ(readMultiBarcode(b, cp).text, std::string(48, '7'));
}

TEST(MultiBarcode, KindAboveTwoLoadsAsZero) {
  CodePage cp("CP1252");
  MultiBarcodeBuffer b = buildMultiBarcode("9", 2, cp);
  b[50] = 3;
  EXPECT_EQ(readMultiBarcode(b, cp).kind, 0);
}

TEST(MultiBarcode, LoadFollowsTheFlag) {
  CodePage cp("CP1252");
  PluRow r;
  MultiBarcodeBuffer b = buildMultiBarcode("42", 1, cp);
  r.PLU_MultiBar2 = std::vector<uint8_t>(b.begin(), b.end());
  r.Stat2B_MBarcode2 = 1;
  MultiBarcodeBuffers buffers;
  loadMultiBarcodes(r, 2, buffers);
  EXPECT_EQ(buffers.buffers[1], b);
  r.Stat2B_MBarcode2 = 0;
  loadMultiBarcodes(r, 2, buffers);
  EXPECT_EQ(buffers.buffers[1], MultiBarcodeBuffer{});
  saveMultiBarcode(buffers, 4, "77", 2, cp);
  EXPECT_EQ(buffers.buffers[3][0], 134);
  EXPECT_EQ(buffers.buffers[3][50], 2);
}

TEST(Ean128, Templates) {
  auto t = ean128Templates();
  ASSERT_EQ(t.size(), 38u);
  EXPECT_EQ(t.front(), "(00)XXXXXXXXXXXXXXXXCD");
  EXPECT_EQ(t[21], "(910)CD");
  EXPECT_EQ(t.back(), "[97]CD");
  EXPECT_EQ(ean128DigitCount(1), 12);
  EXPECT_EQ(ean128DigitCount(9), 6);  // (31XX)XXXXCD
  EXPECT_EQ(ean128DigitCount(37), 0);
  EXPECT_EQ(ean128DigitCount(38), -1);
}

}  // namespace
}  // namespace brindale::codec
