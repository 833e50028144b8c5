#include <gtest/gtest.h>

#include "codec/code_page.h"
#include "codec/small_records.h"
#include "codec_test_support.h"

namespace brindale::codec {
namespace {

using test::bytes;

struct SmallRecords : ::testing::Test {
  CodePage cp{"CP1252"};
};

TEST_F(SmallRecords, DepartmentRecord) {
  DeptRow d;
  d.DP_No = 12;
  d.DP_Name = "Meat";
  ASSERT_TRUE(encodeSmallRecord(d, cp).ok());
  EXPECT_EQ(d.KVRBinData, bytes({0x00, 0x00, 0x00, 0x12, 0x00, 0x17, 'M', 'e', 'a', 't', 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                 0, 0, 0, 0}));
}

TEST_F(SmallRecords, NameIsCutOrZeroFilled) {
  DeptRow d;
  d.DP_No = 1;
  d.DP_Name = "ABCDEFGHIJKLMNOPQRST";
  ASSERT_TRUE(encodeSmallRecord(d, cp).ok());
  ASSERT_EQ(d.KVRBinData->size(), 23u);
  EXPECT_EQ(std::string(d.KVRBinData->begin() + 6, d.KVRBinData->begin() + 22), "ABCDEFGHIJKLMNOP");
  EXPECT_EQ((*d.KVRBinData)[22], 0);

  d.DP_Name = "Fis";
  ASSERT_TRUE(encodeSmallRecord(d, cp).ok());
  for (int i = 9; i < 22; ++i) EXPECT_EQ((*d.KVRBinData)[static_cast<std::size_t>(i)], 0) << i;
  d.DP_Name = "something else";
  std::vector<DeptRow> rows{d};
  ASSERT_TRUE(decodeSmallRecords(std::span<DeptRow>(rows), cp).ok());
  EXPECT_EQ(rows[0].DP_Name, "Fis");
  EXPECT_EQ(rows[0].DP_No, 1);
}

TEST_F(SmallRecords, NameOfSixteenBytesHasNoTerminator) {
  DeptRow d;
  d.DP_No = 1;
  d.DP_Name = "ABCDEFGHIJKLMNOP";
  ASSERT_TRUE(encodeSmallRecord(d, cp).ok());
  std::vector<DeptRow> rows{d};
  ASSERT_TRUE(decodeSmallRecords(std::span<DeptRow>(rows), cp).ok());
  EXPECT_EQ(rows[0].DP_Name, "ABCDEFGHIJKLMNOP");
}

TEST_F(SmallRecords, LengthFieldsAreHexadecimalFromDecimalLiterals) {
  DeptRow d;
  MainGroupRow m;
  FlexiBarcodeRow f;
  ASSERT_TRUE(encodeSmallRecord(d, cp).ok());
  ASSERT_TRUE(encodeSmallRecord(m, cp).ok());
  ASSERT_TRUE(encodeSmallRecord(f, cp).ok());
  EXPECT_EQ((*d.KVRBinData)[4] * 256 + (*d.KVRBinData)[5], 23);
  EXPECT_EQ((*m.KVRBinData)[4] * 256 + (*m.KVRBinData)[5], 25);
  EXPECT_EQ((*f.KVRBinData)[4] * 256 + (*f.KVRBinData)[5], 16);
  EXPECT_EQ(d.KVRBinData->size(), 23u);
  EXPECT_EQ(m.KVRBinData->size(), 25u);
  EXPECT_EQ(f.KVRBinData->size(), 16u);
}

TEST_F(SmallRecords, MainGroupRecord) {
  MainGroupRow m;
  m.MG_No = 4711;
  m.DP_No = 3;
  m.MG_Name = "Veal";
  ASSERT_TRUE(encodeSmallRecord(m, cp).ok());
  EXPECT_EQ(m.KVRBinData, bytes({0x00, 0x00, 0x47, 0x11, 0x00, 0x19, 0x03, 'V', 'e', 'a', 'l', 0, 0, 0, 0, 0, 0, 0,
                                 0, 0, 0, 0, 0, 0, 0}));
  MainGroupRow back;
  back.KVRBinData = m.KVRBinData;
  std::vector<MainGroupRow> rows{back};
  ASSERT_TRUE(decodeSmallRecords(std::span<MainGroupRow>(rows), cp).ok());
  EXPECT_EQ(rows[0].MG_No, 4711);
  EXPECT_EQ(rows[0].DP_No, 3);
  EXPECT_EQ(rows[0].MG_Name, "Veal");
}

TEST_F(SmallRecords, MainGroupDepartmentKeepsItsFirstTwoDigits) {
  MainGroupRow m;
  m.DP_No = 123;
  ASSERT_TRUE(encodeSmallRecord(m, cp).ok());
  EXPECT_EQ((*m.KVRBinData)[6], 0x12);
}

TEST_F(SmallRecords, FlexiBarcodeCheckDigitByte) {
  FlexiBarcodeRow f;
  f.FBar_No = 2;
  // As the flexi barcode editor stores them: the check digit setting and the kind in their own
  // columns; the record combines them in byte 11.
  f.FBar_CD = 5;
  f.FBar_EANorITF = 1;
  ASSERT_TRUE(encodeSmallRecord(f, cp).ok());
  EXPECT_EQ((*f.KVRBinData)[11], 0x85);
  std::vector<FlexiBarcodeRow> rows{f};
  rows[0].FBar_CD = rows[0].FBar_EANorITF = 9;
  ASSERT_TRUE(decodeSmallRecords(std::span<FlexiBarcodeRow>(rows), cp).ok());
  EXPECT_EQ(rows[0].FBar_CD, 5);
  EXPECT_EQ(rows[0].FBar_EANorITF, 1);
  EXPECT_EQ(rows[0].FBar_No, 2);

  f.FBar_EANorITF = 0;
  f.FBar_CD = 127;
  ASSERT_TRUE(encodeSmallRecord(f, cp).ok());
  EXPECT_EQ((*f.KVRBinData)[11], 0x7F);
}

TEST_F(SmallRecords, FlexiBarcodeColumnsThatWouldSpillIntoEachOtherFail) {
  struct Case {
    int64_t cd, kind;
    const char* column;
    Fault fault;
  };
  for (const Case& c : {Case{128, 0, "FBar_CD", Fault::Overflow}, Case{133, 1, "FBar_CD", Fault::Overflow},
                        Case{-1, 0, "FBar_CD", Fault::Negative}, Case{5, 2, "FBar_EANorITF", Fault::Overflow},
                        Case{5, -1, "FBar_EANorITF", Fault::Negative}, Case{5, kNullNumber, "FBar_EANorITF", Fault::Null}}) {
    FlexiBarcodeRow f;
    f.FBar_CD = c.cd;
    f.FBar_EANorITF = c.kind;
    f.KVRBinData = bytes({1, 2, 3});
    Status s = encodeSmallRecord(f, cp);
    ASSERT_FALSE(s.ok()) << c.cd << " " << c.kind;
    EXPECT_EQ(s.error().column, c.column);
    EXPECT_EQ(s.error().fault, c.fault);
    EXPECT_EQ(f.KVRBinData, bytes({1, 2, 3}));  // the old record stays
  }
}

TEST_F(SmallRecords, FlexiBarcodeDigitPairs) {
  FlexiBarcodeRow f;
  f.FBar_No = 1;
  f.FBar_Type = 1;
  f.FBar_ItemDigitNo = 5;
  f.FBar_Data1 = 4;
  f.FBar_Data2 = 0;
  f.FBar_FBarDigitNo = 9;
  f.FBar_Data1Type = 2;
  f.FBar_Data2Type = 3;
  f.FBar_Data1SH = 0;
  f.FBar_Data2SH = 1;
  ASSERT_TRUE(encodeSmallRecord(f, cp).ok());
  EXPECT_EQ(f.KVRBinData, bytes({0x00, 0x00, 0x00, 0x01, 0x00, 0x10, 0x01, 0x05, 0x04, 0x00, 0x09, 0x00, 0x02,
                                 0x03, 0x00, 0x01}));
  FlexiBarcodeRow expected = f;
  std::vector<FlexiBarcodeRow> rows{FlexiBarcodeRow{}};
  rows[0].KVRBinData = f.KVRBinData;
  ASSERT_TRUE(decodeSmallRecords(std::span<FlexiBarcodeRow>(rows), cp).ok());
  EXPECT_EQ(rows[0], expected);
}

TEST_F(SmallRecords, TwoDigitValueShiftsTheDigitsBehindIt) {
  FlexiBarcodeRow f;
  f.FBar_Type = 1;
  f.FBar_ItemDigitNo = 12;
  f.FBar_Data1 = 3;
  f.FBar_Data2 = 4;
  f.FBar_FBarDigitNo = 5;
  f.FBar_Data1Type = 12;
  f.FBar_Data2Type = 3;
  f.FBar_Data1SH = 4;
  f.FBar_Data2SH = 5;
  ASSERT_TRUE(encodeSmallRecord(f, cp).ok());
  const auto& b = *f.KVRBinData;
  EXPECT_EQ(std::vector<uint8_t>(b.begin() + 6, b.begin() + 11), bytes({0x01, 0x01, 0x20, 0x30, 0x40}));
  EXPECT_EQ(std::vector<uint8_t>(b.begin() + 12, b.end()), bytes({0x01, 0x20, 0x30, 0x40}));
}

TEST_F(SmallRecords, PackDigits) {
  uint8_t buf[6] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  ASSERT_TRUE(packDigits("5", buf, 1, 4).ok());
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 6), bytes({0xEE, 0x00, 0x00, 0x00, 0x05, 0xEE}));
  ASSERT_TRUE(packDigits("123456789", buf, 0, 3).ok());  // digits beyond the bytes are ignored
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 4), bytes({0x12, 0x34, 0x56, 0x78}));
  ASSERT_TRUE(packDigits("0017", buf, 4, 5).ok());
  EXPECT_EQ(buf[4], 0x00);
  EXPECT_EQ(buf[5], 0x17);
  Status s = packDigits("-5", buf, 0, 0);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().fault, Fault::NotHex);
}

TEST_F(SmallRecords, PackText) {
  uint8_t buf[8];
  memset(buf, 0xEE, sizeof buf);
  packText("ab", buf, 2, 5, cp);
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 8), bytes({0xEE, 0xEE, 'a', 'b', 0, 0, 0xEE, 0xEE}));
}

TEST_F(SmallRecords, FailuresAreReportedWithTheirRow) {
  DeptRow negative;
  negative.DP_No = -5;
  Status s = encodeSmallRecord(negative, cp);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().column, "DP_No");

  DeptRow nullName;
  nullName.DP_Name.reset();
  EXPECT_FALSE(encodeSmallRecord(nullName, cp).ok());

  std::vector<DeptRow> rows(3);
  for (auto& r : rows) ASSERT_TRUE(encodeSmallRecord(r, cp).ok());
  (*rows[1].KVRBinData)[3] = 0x1A;  // not a decimal digit
  rows[2].KVRBinData = bytes({0, 0, 0});
  s = decodeSmallRecords(std::span<DeptRow>(rows), cp);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().row, 1u);
  EXPECT_EQ(s.error().column, "DP_No");

  rows.erase(rows.begin() + 1);
  s = decodeSmallRecords(std::span<DeptRow>(rows), cp);
  ASSERT_FALSE(s.ok());
  EXPECT_EQ(s.error().row, 1u);
  EXPECT_EQ(s.error().fault, Fault::RecordTooShort);
}

TEST_F(SmallRecords, TableNames) {
  EXPECT_EQ(smallTableFromName("KVR_20"), SmallTable::Dept);
  EXPECT_EQ(smallTableFromName("kvr_23"), SmallTable::MainGroup);
  EXPECT_EQ(smallTableFromName("KVR_14"), SmallTable::FlexiBarcode);
  EXPECT_FALSE(smallTableFromName("KVR_25").has_value());
}

TEST_F(SmallRecords, ChineseNameInTheDoubleBytePage) {
  CodePage gbk("GBK");
  DeptRow d;
  d.DP_No = 1;
  d.DP_Name = "\xE4\xB8\xAD\xE6\x96\x87";  // two characters, four bytes
  ASSERT_TRUE(encodeSmallRecord(d, gbk).ok());
  EXPECT_EQ((*d.KVRBinData)[6], 0xD6);
  EXPECT_EQ((*d.KVRBinData)[10], 0);
  std::vector<DeptRow> rows{d};
  rows[0].DP_Name = "";
  ASSERT_TRUE(decodeSmallRecords(std::span<DeptRow>(rows), gbk).ok());
  EXPECT_EQ(rows[0].DP_Name, "\xE4\xB8\xAD\xE6\x96\x87");
}

}  // namespace
}  // namespace brindale::codec
