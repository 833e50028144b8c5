#include "codec/status_bytes.h"

namespace brindale::codec {

namespace {

#define FLAG(name, byte, mask) {#name, &PluRow::name, byte, mask, static_cast<uint8_t>(~(mask))}

constexpr StatusFlag kStat1[] = {
    FLAG(Stat1_Unit, 0, 0x01),         FLAG(Stat1_UnitPrice, 0, 0x02),
    FLAG(Stat1_SBDate, 0, 0x04),       FLAG(Stat1_UBDate, 0, 0x08),
    FLAG(Stat1_PKDate, 0, 0x10),       FLAG(Stat1_SBTime, 0, 0x20),
    FLAG(Stat1_PKTime, 0, 0x40),       FLAG(Stat1_RTCPKTime, 0, 0x80),
    FLAG(Stat1_RTCSBTime, 1, 0x01),    FLAG(Stat1_PBPreUnit, 1, 0x02),
    FLAG(Stat1_FSHElFLife, 1, 0x04),   FLAG(Stat1_NUTPrint, 1, 0x08),
    FLAG(Stat1_UPriceOV, 1, 0x10),     FLAG(Stat1_SBDateSource, 1, 0x20),
    FLAG(Stat1_SecurityTag, 1, 0x40),  FLAG(Stat1_AppendPLUData, 1, 0x80),
};

constexpr StatusFlag kStat2[] = {
    FLAG(Stat2_LBFormat1, 0, 0x01),    FLAG(Stat2_LBFormat2, 0, 0x02),
    FLAG(Stat2_BARFormat, 0, 0x04),    FLAG(Stat2_ItemCode, 0, 0x08),
    FLAG(Stat2_MGCode, 0, 0x10),       FLAG(Stat2_Cost, 0, 0x20),
    FLAG(Stat2_PLUTare, 0, 0x40),      FLAG(Stat2_QTY, 0, 0x80),
    FLAG(Stat2_QTYSymbol, 1, 0x01),    FLAG(Stat2_SPMessageNo, 1, 0x02),
    FLAG(Stat2_IngredientNo, 1, 0x04), FLAG(Stat2_Discount, 1, 0x08),
    FLAG(Stat2_Nutrition, 1, 0x10),    FLAG(Stat2_Commodity, 1, 0x20),
    FLAG(Stat2_SPMessage, 1, 0x40),    FLAG(Stat2_Ingredient, 1, 0x80),
    FLAG(Stat2_SBDate, 2, 0x01),       FLAG(Stat2_SBTime, 2, 0x02),
    FLAG(Stat2_UBDate, 2, 0x04),       FLAG(Stat2_PKDate, 2, 0x08),
    FLAG(Stat2_PKTime, 2, 0x10),       FLAG(Stat2_PlaceNo, 2, 0x20),
    FLAG(Stat2_ImageNo, 2, 0x40),      FLAG(Stat2_PLUStatB2B, 2, 0x80),
};

constexpr StatusFlag kStatB[] = {
    FLAG(StatB_CoupPLUQTY, 0, 0x01),   FLAG(StatB_NegativePLU, 0, 0x02),
    FLAG(StatB_PLUPriceCH, 0, 0x04),   FLAG(StatB_PrintWeight, 0, 0x08),
    FLAG(StatB_PrintUPrice, 0, 0x10),  FLAG(StatB_PrintTPrice, 0, 0x20),
    FLAG(StatB_PrintGrTare, 0, 0x40),  FLAG(StatB_AutoPtperPLU, 0, 0x80),
};

constexpr StatusFlag kStat2B[] = {
    FLAG(Stat2B_2NDPrice, 0, 0x01),      FLAG(Stat2B_2NDQTY, 0, 0x02),
    FLAG(Stat2B_PreName, 0, 0x04),       FLAG(Stat2B_BonusPoint, 0, 0x08),
    FLAG(Stat2B_RefPLUNo, 0, 0x10),      FLAG(Stat2B_DiscountDW, 0, 0x20),
    FLAG(Stat2B_CoupledPLU, 0, 0x40),    FLAG(Stat2B_TaxNo, 0, 0x80),
    FLAG(Stat2B_2NDQTYSymbol, 1, 0x01),  FLAG(Stat2B_TRBT, 1, 0x02),
    FLAG(Stat2B_TRBTLink, 1, 0x04),      FLAG(Stat2B_GPCode, 1, 0x08),
    FLAG(Stat2B_PrecentTare, 1, 0x10),   FLAG(Stat2B_CDiscount, 1, 0x20),
    FLAG(Stat2B_RDiscount, 1, 0x40),     FLAG(Stat2B_STDiscount, 1, 0x80),
    FLAG(Stat2B_PKIndicator, 2, 0x01),   FLAG(Stat2B_MBarcode1, 2, 0x02),
    FLAG(Stat2B_MBarcode2, 2, 0x04),     FLAG(Stat2B_TMBarcode1, 2, 0x08),
    FLAG(Stat2B_TMBarcode2, 2, 0x10),    FLAG(Stat2B_STEMP1, 2, 0x20),
    FLAG(Stat2B_STEMP2, 2, 0x40),        FLAG(Stat2B_PLUSCR, 2, 0x80),
    FLAG(Stat2B_TextNoSLT, 3, 0x01),     FLAG(Stat2B_SPriceDiscount, 3, 0x02),
    FLAG(Stat2B_TareRange, 3, 0x04),     FLAG(Stat2B_MBarcode1EXP, 3, 0x08),
    FLAG(Stat2B_MBarcode2EXP, 3, 0x10),  FLAG(Stat2B_TTLMBAR1EXP, 3, 0x20),
    FLAG(Stat2B_TTLMBAR2EXP, 3, 0x40),
    FLAG(Stat2B_LTrayFile, 4, 0x01),     FLAG(Stat2B_ExIngrSPMGRecNo, 4, 0x02),
    // Sets bit 3 but clears bit 2: kept as the scales' record has always been built. The byte
    // starts at 0 and bit 2 carries no flag, so the packed byte is the same.
    {"Stat2B_2ndPrinter", &PluRow::Stat2B_2ndPrinter, 4, 0x08, 0xFB},
    FLAG(Stat2B_Trace_Ke, 5, 0x04),
};

#undef FLAG

template <std::size_t NBytes>
void pack(PluRow& row, std::span<const StatusFlag> flags, int64_t PluRow::*const (&bytes)[NBytes]) {
  uint8_t b[NBytes] = {};
  for (const auto& f : flags) {
    if (row.*f.column == 0)
      b[f.byte] &= f.clearMask;
    else
      b[f.byte] |= f.setMask;
  }
  for (std::size_t i = 0; i < NBytes; ++i) row.*bytes[i] = b[i];
}

// Reads `count` byte columns, then writes every flag from its bit.
template <std::size_t NBytes>
void unpack(PluRow& row, std::span<const StatusFlag> flags, int64_t PluRow::*const (&bytes)[NBytes],
            std::size_t count) {
  int64_t b[NBytes] = {};
  for (std::size_t i = 0; i < count; ++i) b[i] = row.*bytes[i];
  for (const auto& f : flags) row.*f.column = (b[f.byte] & f.setMask) ? 1 : 0;
}

constexpr int64_t PluRow::*kStat1Bytes[] = {&PluRow::Stat1_Byte1, &PluRow::Stat1_Byte2};
constexpr int64_t PluRow::*kStat2Bytes[] = {&PluRow::Stat2_Byte1, &PluRow::Stat2_Byte2, &PluRow::Stat2_Byte3};
constexpr int64_t PluRow::*kStatBBytes[] = {&PluRow::StatB_Byte1, &PluRow::StatB_Byte2, &PluRow::StatB_Byte3,
                                            &PluRow::StatB_Byte4};
constexpr int64_t PluRow::*kStat2BBytes[] = {&PluRow::Stat2B_Byte1, &PluRow::Stat2B_Byte2, &PluRow::Stat2B_Byte3,
                                             &PluRow::Stat2B_Byte4, &PluRow::Stat2B_Byte5, &PluRow::Stat2B_Byte6,
                                             &PluRow::Stat2B_Byte7, &PluRow::Stat2B_Byte8};

}  // namespace

std::span<const StatusFlag> stat1Flags() { return kStat1; }
std::span<const StatusFlag> stat2Flags() { return kStat2; }
std::span<const StatusFlag> statBFlags() { return kStatB; }
std::span<const StatusFlag> stat2BFlags() { return kStat2B; }

void encodeStat1(PluRow& row) { pack(row, kStat1, kStat1Bytes); }
void encodeStat2(PluRow& row) { pack(row, kStat2, kStat2Bytes); }
void encodeStatB(PluRow& row) { pack(row, kStatB, kStatBBytes); }
void encodeStat2B(PluRow& row) { pack(row, kStat2B, kStat2BBytes); }

void decodeStat1(PluRow& row) { unpack(row, kStat1, kStat1Bytes, 2); }
void decodeStat2(PluRow& row) { unpack(row, kStat2, kStat2Bytes, 3); }
// Only the first StatB byte and the first six Stat2B bytes carry flags.
void decodeStatB(PluRow& row) { unpack(row, kStatB, kStatBBytes, 1); }
void decodeStat2B(PluRow& row) { unpack(row, kStat2B, kStat2BBytes, 6); }

}  // namespace brindale::codec
