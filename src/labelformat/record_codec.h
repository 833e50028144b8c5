#pragma once
// The record of a label format and its column texts, one way and the other, without a database:
// the byte width of each column is half its declared text size, taken from the schema.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "labelformat/tables.h"
#include "store/schema.h"
#include "store/value.h"

namespace brindale::labelformat {

using store::Bytes;

inline constexpr int kSize1118 = 1118, kSize1400 = 1400, kSize1664 = 1664;

// Byte widths and offsets of the record's columns, taken from the declared sizes of KVR_34.
struct RecordLayout {
    std::vector<int> bytes;   // per ordinal column; 0 for Is_Selected and beyond the ordinals
    std::vector<int> offset;  // first byte of each ordinal column in the record
    std::vector<int> defined; // declared text size of each ordinal column

    // The ordinal columns are those before KVRBinData.
    static RecordLayout fromColumns(const std::vector<store::ColumnDef>& columns);
    // The last loop number of a record size: 108 unless 1400 (140) or 1664 (151).
    static int lastLoop(int size);
    static int lastColumn(int size) { return lastLoop(size) + 1; }
    // Bytes a record of this size has by the layout (the sum of its columns).
    int recordBytes(int size) const;
    int columnCount() const { return static_cast<int>(bytes.size()); }
};

// Bytes first..last of BinData as uppercase hexadecimal pairs (throws std::out_of_range beyond).
std::string ByteToString(const Bytes& BinData, size_t first, size_t last);
// Fills BinData[first..last] from the leading pairs of text; false when a pair is not hexadecimal.
bool StringToByte(Bytes& BinData, std::string_view text, size_t first, size_t last);

// Whether bytes 0..3 hold a packed format number 1..99.
bool packedFormatNumber(const Bytes& record, int& number);

// The texts decodeFormat stores for a record, (ordinal, text) in column order: "0" for an
// all-zero column, the decimal format number in column 0. False when the record has no size or
// is shorter than the loop its size chooses.
bool recordToColumns(const Bytes& record, const RecordLayout& layout, std::vector<std::pair<int, std::string>>& out);

// The record codeFormat builds from the columns' texts (`textOf(ordinal)`, a Null given as "0").
// False, with the ordinal of the first column whose text is not hexadecimal, when one is not.
template <class TextOf>
bool columnsToRecord(TextOf&& textOf, const RecordLayout& layout, Bytes& out, int& badColumn);

// The record size codeFormat gives a stated size: 1400 and 1664 as they are, all else 1118.
int codedSize(std::string_view sizeText);

template <class TextOf>
bool columnsToRecord(TextOf&& textOf, const RecordLayout& layout, Bytes& out, int& badColumn) {
    const int sz = codedSize(textOf(2));
    out.assign(static_cast<size_t>(sz), 0);
    const int last = RecordLayout::lastLoop(sz);
    size_t first = 0;
    for (int i = 0; i <= last; ++i) {
        const int col = i == 0 ? 0 : i + 1;
        if (col >= layout.columnCount()) break;
        const size_t n = static_cast<size_t>(layout.bytes[static_cast<size_t>(col)]);
        if (!n) continue;
        const std::string padded = padLeft(textOf(col), static_cast<size_t>(layout.defined[static_cast<size_t>(col)]));
        if (!StringToByte(out, padded, first, first + n - 1)) {
            badColumn = col;
            return false;
        }
        first += n;
    }
    return true;
}

}  // namespace brindale::labelformat
