// Totals the emulated scale reports: well-formed records of the nine totals
// files, made deterministically from the items it holds.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace brindale::scaleemu {

using Record = std::vector<uint8_t>;
using FileRecords = std::map<uint32_t, Record>;  // by record number
using Files = std::map<std::string, FileRecords>;  // by file code

// The records of a totals file ("21", "24", ... "59"), in record-number
// order, given what the scale holds. Empty for other codes.
std::vector<Record> makeTotals(const std::string& code, const Files& held);

// Packs value into width bytes of BCD (two decimal digits a byte, high first).
void putBcd(Record& r, size_t offset, size_t width, uint64_t value);
// Big-endian binary.
void putInt(Record& r, size_t offset, size_t width, uint64_t value);
// True when every half-byte of the range is a decimal digit.
bool isBcd(const uint8_t* p, size_t width);

}  // namespace brindale::scaleemu
