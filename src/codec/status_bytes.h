// The yes/no columns of a PLU and the status bytes the scale reads: packing and unpacking.
// Packing reads the flag columns (any non-zero value, Null included, counts as set) and writes
// the byte columns; unpacking reads the byte columns and writes each flag as exactly 0 or 1.
#pragma once

#include <cstdint>
#include <span>

#include "codec/plu_row.h"

namespace brindale::codec {

void encodeStat1(PluRow& row);
void encodeStat2(PluRow& row);
void encodeStatB(PluRow& row);
void encodeStat2B(PluRow& row);

void decodeStat1(PluRow& row);
void decodeStat2(PluRow& row);
void decodeStatB(PluRow& row);
void decodeStat2B(PluRow& row);

// One flag of a status group: its byte (0-based within the group), the mask that sets it and
// the mask that clears it when packing.
struct StatusFlag {
  const char* name;
  int64_t PluRow::*column;
  uint8_t byte;
  uint8_t setMask;
  uint8_t clearMask;
};

// The flags of a group in their visiting order.
std::span<const StatusFlag> stat1Flags();
std::span<const StatusFlag> stat2Flags();
std::span<const StatusFlag> statBFlags();
std::span<const StatusFlag> stat2BFlags();

}  // namespace brindale::codec
