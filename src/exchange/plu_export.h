// PLU export: chosen columns of every row of KVR_25 to a delimited text file, in table order.
// Texts go out in the scales' code page; prices and weights with their decimal point; a text
// block as its lines joined by a blank. The file is written aside and put in place when whole.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "store/database.h"

namespace brindale::codec {
class CodePage;
}

namespace brindale::exchange {

// The value with a decimal point before its last `decimals` digits, "0" in front where it has too
// few: 5 with 2 decimals is "0.05". No point for 0 decimals.
std::string decimalForm(int64_t value, int decimals);

// Which number form a column takes on export and import.
enum class NumberForm { Plain, Price, Weight };
NumberForm numberFormOf(const std::string& column);

// The bytes of a text block's lines, joined by a blank (font, length and separator bytes left
// out). A block that breaks off gives the lines up to the break.
std::string joinedBlockText(const uint8_t* block, size_t size);

struct ExportOptions {
    std::vector<std::string> columns;  // names of KVR_25 columns, in file order
    char separator = '\t';
    bool heading = false;
    int priceDecimals = 2;
    int weightDecimals = 3;
    const codec::CodePage* codePage = nullptr;  // texts of text columns; none: written as held (UTF-8)
    // Rows done of rows, a few hundred times over an export; false stops it (nothing is left).
    std::function<bool(long done, long total)> progress;
};

struct ExportResult {
    bool ok = false;
    long rows = 0;
    std::string error;  // names the file or the column
};

ExportResult exportPlus(store::Database& db, const std::string& path, const ExportOptions& options);

}  // namespace brindale::exchange
