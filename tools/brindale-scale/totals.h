// Totals the emulated scale reports: well-formed records of the nine totals
// files, made deterministically from the items it holds.
#pragma once

#include <array>
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
// The same, with one more record (number 99999999) of the decoders' corners when `withCorners`:
// -1 in 2- and 4-byte integers, 255 in one byte, 1,000,000,000, A to F in a packed field, an
// hourly value of 9 digits.
std::vector<Record> makeTotals(const std::string& code, const Files& held, bool withCorners);

// What the totals of PLU n hold: RC_26 UnitPrice, Day_Count, Day_Amount1, Day_Weight, and the
// packed UnitPrice, Quantity, TotalPrice and Weight of its RC_2E record. Department, main group,
// clerk, tax, receipt and trace totals take count, amount and weight of their own number n.
uint64_t totalsUnitPrice(uint64_t n);
uint64_t totalsCount(uint64_t n);
uint64_t totalsAmount(uint64_t n);
uint64_t totalsWeight(uint64_t n);
// The store total's periods: day, week, month, term, as multiples of the day.
inline constexpr uint64_t kPeriodFactor[4] = {1, 3, 7, 13};
// A period's figure spread over the opening hours (8 to 19; none at night), adding up to it.
std::array<uint64_t, 24> hourlyShares(uint64_t total);
// The time (hhmm) of receipt i, within the opening hours.
uint64_t receiptTime(uint64_t i);

// Packs value into width bytes of BCD (two decimal digits a byte, high first).
void putBcd(Record& r, size_t offset, size_t width, uint64_t value);
// Big-endian binary.
void putInt(Record& r, size_t offset, size_t width, uint64_t value);
// True when every half-byte of the range is a decimal digit.
bool isBcd(const uint8_t* p, size_t width);

}  // namespace brindale::scaleemu
