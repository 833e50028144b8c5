#pragma once
// The nine kinds of sales totals a scale keeps. An upload leaves one row per scale record in
// RC_xx with the raw record in KVRBinData; the decoder expands each record into the row's other
// columns as text, field n into the column at position n. One decoder walks every table: the
// nine layouts are data (offset, width, reading, export form of each field).
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace brindale::store {
class Database;
}

namespace brindale::exchange {

// How a field's bytes become text.
enum class Reading {
    Decimal,  // packed decimal digits, written without leading zeros
    Integer,  // big-endian binary, signed for 2 and 4 bytes, cut to the column's size
    Digits,   // the hexadecimal digit text as it stands
    Hourly,   // RC_46: 24 four-byte values of one of the four hourly columns
};

// How a column is written to an export file.
enum class ExportForm { Plain, Amount, Weight, Time };

// A run of like fields: fields first..last, the first at `offset`, each `width` bytes.
struct FieldRun {
    int first;
    int last;
    size_t offset;
    size_t width;
    Reading reading;
    ExportForm form;
};

struct TotalsLayout {
    const char* identifier;  // as handed to the transfer control
    const char* table;       // RC_ + identifier
    const char* title;       // the report title, a fixed text
    size_t recordSize;
    int fieldCount;
    std::vector<FieldRun> runs;
};

// One field of a layout, expanded from its run.
struct TotalsField {
    size_t offset;
    size_t width;
    Reading reading;
    ExportForm form;
    int hourlyPlace;  // Hourly only: 0 to 3, the field's place in its block of four
};

// The nine layouts in the order of the report list.
const std::vector<TotalsLayout>& totalsLayouts();
// By identifier ("21") or table name ("RC_21"), case-insensitive; nullptr when unknown.
const TotalsLayout* totalsLayout(const std::string& identifierOrTable);
std::vector<TotalsField> expandFields(const TotalsLayout& layout);
// Export form of a column by position; columns behind the last field are plain.
ExportForm exportFormOf(const TotalsLayout& layout, int column);

// The bytes first..last (inclusive) as uppercase hexadecimal, two digits a byte, first byte first.
std::string readHexField(const uint8_t* record, size_t first, size_t last);

// The readings, on a field's digit text.
std::string readDecimal(const std::string& hex);
// `columnSize` 0: no cut.
std::string readInteger(const std::string& hex, int columnSize);

// Places a decimal sign `places` digits from the right, with a leading "0" where the text is not
// longer than the places; "0" stays "0". The sign is taken as a digit ("-5", 2 places: "0.-5").
std::string placeDecimals(const std::string& s, int places, const std::string& decimalSign);
// hhmm with the decimal sign between: "0" gives "00" sign "00".
std::string formatTime(const std::string& s, const std::string& decimalSign);

struct DecodeSettings {
    int priceDecimals = 2;
    int weightDecimals = 3;
    std::string decimalSign = ".";
};

// A record shorter than its layout: names table, row (1-based, in table order) and lengths.
class TotalsFault : public std::runtime_error {
public:
    TotalsFault(std::string table, long row, size_t length, size_t needed);
    const std::string& table() const { return table_; }
    long row() const { return row_; }
    size_t length() const { return length_; }
    size_t needed() const { return needed_; }

private:
    std::string table_;
    long row_;
    size_t length_;
    size_t needed_;
};

// The field texts of one record. `columnSizes[n]` is the declared size of column n (integers are
// cut to it); a missing entry means no cut. Throws TotalsFault (row `row`) when the record is short.
std::vector<std::string> decodeRecord(const TotalsLayout& layout, const uint8_t* record, size_t length,
                                      const std::vector<int>& columnSizes, const DecodeSettings& settings,
                                      long row = 0);
// The bytes the fields reach to (RC_45 stops before its last 14 bytes).
size_t bytesNeeded(const TotalsLayout& layout);

// The declared sizes of the layout's field columns in this database.
std::vector<int> fieldColumnSizes(store::Database& db, const TotalsLayout& layout);

// Decodes every row of the layout's table in place, in one transaction; a second run gives the
// same columns. On a short record nothing is written and TotalsFault is thrown.
// `progress(done, total)` is called now and then. Returns the rows decoded.
long decodeTable(store::Database& db, const TotalsLayout& layout, const DecodeSettings& settings,
                 const std::function<void(long, long)>& progress = {});

}  // namespace brindale::exchange
