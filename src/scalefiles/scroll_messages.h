// The scroll messages (KVR_3F) and scroll sequences (KVR_40) as frmScrollMSG keeps them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "scalefiles/records.h"

namespace brindale::codec {
class CodePage;
}
namespace brindale::store {
class Database;
}

namespace brindale::scalefiles {

inline constexpr int kScrollGridRows = 10;
inline constexpr int kScrollSequences = 20;

// A row of the grid as typed: the number's digits and the text.
struct ScrollGridRow {
    std::string number;
    std::string text;  // UTF-8
    bool operator==(const ScrollGridRow&) const = default;
};

// The messages by number.
std::vector<ScrollGridRow> loadScrollMessages(store::Database& db);

// Why a grid cannot be saved: the rows concerned (0-based) and the reason; empty reason when it
// can.
struct ScrollGridProblem {
    std::vector<int> rows;
    std::string reason;
};
// Checks the grid: numbers of digits only, at most 8; no number twice; a text of at most 255 bytes
// in the code page, every character held by it. Rows with an empty number are left out.
ScrollGridProblem checkScrollGrid(const std::vector<ScrollGridRow>& rows, const codec::CodePage& codePage);

// Replaces the messages by the grid's rows that have a number, each with its record and
// Is_Selected 0. Nothing is written when the check fails.
ScrollGridProblem saveScrollMessages(store::Database& db, const std::vector<ScrollGridRow>& rows,
                                     const codec::CodePage& codePage);

// The sequence of a number (its steps at position 0 when it has no row).
ScrollSequenceRecord loadScrollSequence(store::Database& db, uint32_t number);
// Writes the sequence's row (added when there is none) with its record; Group and Display stay 0.
// Empty when done, else the reason.
std::string saveScrollSequence(store::Database& db, const ScrollSequenceRecord& sequence);

}  // namespace brindale::scalefiles
