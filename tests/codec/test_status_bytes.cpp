#include <gtest/gtest.h>

#include "codec/status_bytes.h"

namespace brindale::codec {
namespace {

void packAll(PluRow& r) {
  encodeStat1(r);
  encodeStat2(r);
  encodeStatB(r);
  encodeStat2B(r);
}

void setAllFlags(PluRow& r, int64_t v) {
  for (auto flags : {stat1Flags(), stat2Flags(), statBFlags(), stat2BFlags()})
    for (const auto& f : flags) r.*f.column = v;
}

int64_t PluRow::*const kAllBytes[] = {
    &PluRow::Stat1_Byte1,  &PluRow::Stat1_Byte2,  &PluRow::Stat2_Byte1,  &PluRow::Stat2_Byte2,
    &PluRow::Stat2_Byte3,  &PluRow::StatB_Byte1,  &PluRow::StatB_Byte2,  &PluRow::StatB_Byte3,
    &PluRow::StatB_Byte4,  &PluRow::Stat2B_Byte1, &PluRow::Stat2B_Byte2, &PluRow::Stat2B_Byte3,
    &PluRow::Stat2B_Byte4, &PluRow::Stat2B_Byte5, &PluRow::Stat2B_Byte6, &PluRow::Stat2B_Byte7,
    &PluRow::Stat2B_Byte8};

TEST(StatusBytes, AllFlagsZeroPackToZeroBytes) {
  PluRow r;
  for (auto b : kAllBytes) r.*b = 0x5A;  // whatever stood there before
  packAll(r);
  for (auto b : kAllBytes) EXPECT_EQ(r.*b, 0);
}

TEST(StatusBytes, AllFlagsSetPackToTheirMasks) {
  PluRow r;
  setAllFlags(r, 1);
  packAll(r);
  EXPECT_EQ(r.Stat1_Byte1, 0xFF);
  EXPECT_EQ(r.Stat1_Byte2, 0xFF);
  EXPECT_EQ(r.Stat2_Byte1, 0xFF);
  EXPECT_EQ(r.Stat2_Byte2, 0xFF);
  EXPECT_EQ(r.Stat2_Byte3, 0xFF);
  EXPECT_EQ(r.StatB_Byte1, 0xFF);
  EXPECT_EQ(r.Stat2B_Byte1, 0xFF);
  EXPECT_EQ(r.Stat2B_Byte2, 0xFF);
  EXPECT_EQ(r.Stat2B_Byte3, 0xFF);
  EXPECT_EQ(r.Stat2B_Byte4, 0x7F);  // bit 7 carries no flag
  EXPECT_EQ(r.Stat2B_Byte5, 0x0B);  // 0x01, 0x02, 0x08
  EXPECT_EQ(r.Stat2B_Byte6, 0x04);
}

TEST(StatusBytes, NonZeroValuesCountAsSetAndUnpackToOne) {
  for (int64_t v : {int64_t{2}, int64_t{255}, int64_t{-1}, kNullNumber}) {
    PluRow r;
    r.Stat1_Unit = v;
    r.Stat2_Cost = v;
    r.StatB_PrintWeight = v;
    r.Stat2B_TaxNo = v;
    packAll(r);
    EXPECT_EQ(r.Stat1_Byte1, 0x01) << v;
    EXPECT_EQ(r.Stat2_Byte1, 0x20) << v;
    EXPECT_EQ(r.StatB_Byte1, 0x08) << v;
    EXPECT_EQ(r.Stat2B_Byte1, 0x80) << v;
    decodeStat1(r);
    decodeStat2(r);
    decodeStatB(r);
    decodeStat2B(r);
    EXPECT_EQ(r.Stat1_Unit, 1);
    EXPECT_EQ(r.Stat2_Cost, 1);
    EXPECT_EQ(r.StatB_PrintWeight, 1);
    EXPECT_EQ(r.Stat2B_TaxNo, 1);
  }
}

TEST(StatusBytes, SecondPrinterAndTraceGoToTheirOwnBytes) {
  PluRow r;
  r.Stat2B_2ndPrinter = 1;
  r.Stat2B_Trace_Ke = 1;
  encodeStat2B(r);
  EXPECT_EQ(r.Stat2B_Byte5, 0x08);
  EXPECT_EQ(r.Stat2B_Byte6, 0x04);
}

TEST(StatusBytes, SecondPrinterClearMaskClearsBitTwo) {
  const StatusFlag* printer = nullptr;
  for (const auto& f : stat2BFlags())
    if (std::string_view(f.name) == "Stat2B_2ndPrinter") printer = &f;
  ASSERT_NE(printer, nullptr);
  EXPECT_EQ(printer->setMask, 0x08);
  EXPECT_EQ(printer->clearMask, 0xFB);
  // With the flag cleared the byte is still what a matching pair would give.
  PluRow r;
  r.Stat2B_LTrayFile = 1;
  r.Stat2B_2ndPrinter = 0;
  encodeStat2B(r);
  EXPECT_EQ(r.Stat2B_Byte5, 0x01);
}

TEST(StatusBytes, BytesWithoutFlagsComeOutZero) {
  PluRow r;
  r.StatB_Byte2 = 7;
  r.StatB_Byte3 = 8;
  r.StatB_Byte4 = 9;
  r.Stat2B_Byte7 = 10;
  r.Stat2B_Byte8 = 11;
  encodeStatB(r);
  encodeStat2B(r);
  EXPECT_EQ(r.StatB_Byte2, 0);
  EXPECT_EQ(r.StatB_Byte3, 0);
  EXPECT_EQ(r.StatB_Byte4, 0);
  EXPECT_EQ(r.Stat2B_Byte7, 0);
  EXPECT_EQ(r.Stat2B_Byte8, 0);
}

TEST(StatusBytes, BitsWithoutFlagsAreLostThroughDecodeAndEncode) {
  PluRow r;
  r.Stat2B_Byte4 = 0x80 | 0x01;
  r.Stat2B_Byte5 = 0xF4 | 0x02;  // bits 2 and 4 to 7 carry no flag
  r.Stat2B_Byte6 = 0xFB | 0x04;  // all bits but 2 carry no flag
  decodeStat2B(r);
  encodeStat2B(r);
  EXPECT_EQ(r.Stat2B_Byte4, 0x01);
  EXPECT_EQ(r.Stat2B_Byte5, 0x02);
  EXPECT_EQ(r.Stat2B_Byte6, 0x04);
}

TEST(StatusBytes, UnpackReadsOnlyTheBytesThatCarryFlags) {
  PluRow r;
  r.StatB_Byte1 = 0x81;
  r.StatB_Byte2 = 0xFF;
  decodeStatB(r);
  EXPECT_EQ(r.StatB_CoupPLUQTY, 1);
  EXPECT_EQ(r.StatB_AutoPtperPLU, 1);
  EXPECT_EQ(r.StatB_NegativePLU, 0);
  EXPECT_EQ(r.StatB_Byte2, 0xFF);  // unpacking writes flags only
}

TEST(StatusBytes, VisitingOrderFollowsTheBits) {
  // Within each group the flags run from bit 0 of the first byte upward.
  for (auto flags : {stat1Flags(), stat2Flags(), statBFlags(), stat2BFlags()}) {
    int last = -1;
    for (const auto& f : flags) {
      int bit = 0;
      while (!(f.setMask & (1 << bit))) ++bit;
      const int place = f.byte * 8 + bit;
      EXPECT_GT(place, last) << f.name;
      last = place;
    }
  }
  EXPECT_EQ(stat1Flags().size(), 16u);
  EXPECT_EQ(stat2Flags().size(), 24u);
  EXPECT_EQ(statBFlags().size(), 8u);
  EXPECT_EQ(stat2BFlags().size(), 35u);
}

}  // namespace
}  // namespace brindale::codec
