// What the link knows about the scale files: which codes go out, which come
// back, how long their records are, and how a record names itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace brindale::transfer {

// Files the program sends to (and deletes on) the scales.
bool isOutgoingFile(std::string_view code);
// Files the program fetches from the scales.
bool isIncomingFile(std::string_view code);
// The nine totals files: produced by the scale, never written to it.
bool isTotalsFile(std::string_view code);

// Fixed record length of a file, or 0 when the record carries its length
// in bytes 4 and 5 (high byte first).
size_t fixedRecordLength(std::string_view code);

// Checks one record of a file. Empty result means good; otherwise a short
// English reason ("record length field says 300, record has 298 bytes").
std::string checkRecord(std::string_view code, const uint8_t* rec, size_t size);

// The record number: the first four bytes, read big-endian.
inline uint32_t recordNumber(const uint8_t* rec) {
    return (uint32_t(rec[0]) << 24) | (uint32_t(rec[1]) << 16) | (uint32_t(rec[2]) << 8) | rec[3];
}

// Upper-cases a table identifier and checks it is two letters or digits.
bool normaliseFileCode(std::string_view in, std::string& out);

}  // namespace brindale::transfer
