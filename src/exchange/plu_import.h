// PLU import: a delimited text file into KVR_25. Values are read by the column rules (prices and
// weights to whole numbers, texts into blocks with their font, item codes with a barcode format
// derived), what the file does not say comes from the window's choices, and duplicates against
// the rows already there are settled by `replaceExisting`. One transaction: a database failure
// leaves KVR_25 as it was and names the line. Every line skipped or changed is noted by number.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "codec/environment.h"
#include "store/database.h"
#include "store/value.h"

namespace brindale::codec {
class CodePage;
}

namespace brindale::exchange {

// What happened to a line or a value of it.
enum class ImportAction {
    EmptyLine,           // passed over; marks the run faulty
    TooFewValues,        // the columns after the last value kept their defaults; faulty
    RefusedValue,        // a numeric column refused the value: the rest of the line is dropped; faulty
    TextCut,             // cut to the column's size (50 characters for a text block)
    FractionDropped,     // digits beyond the decimal places dropped
    Modulo256,           // PLU_EANFlags taken modulo 256
    ItemCodeNotNumeric,  // the item code was left out
    PluNoZeroRemoved,    // PLU_No or ST_No 0 or missing: the line was not kept
    DuplicateKept,       // the row already there stays, the line was dropped
    DuplicateReplaced,   // the line replaced the row already there
    ReplacedByLaterLine, // a later line of the file has the same PLU and store
    ExtraValues,         // values beyond the chosen columns were dropped
};
inline constexpr int kImportActionCount = 12;
// A short English name of an action, for files and logs ("empty line", ...).
const char* actionName(ImportAction a);
// Whether an action marks the run as faulty (the separator message).
bool actionIsFault(ImportAction a);

struct ImportNote {
    long line = 0;        // 1-based line of the file
    std::string pluNo;    // as the line gave it (empty when not read)
    std::string column;
    std::string value;    // UTF-8
    ImportAction action = ImportAction::EmptyLine;
};

struct ImportOptions {
    std::vector<std::string> columns;  // KVR_25 columns in file order; PLU_No exactly once
    int separator = 0;                 // position of the separator list; outside 0..2: tab
    bool heading = false;              // the first line is passed over
    std::string weightFlag;            // Stat1_Unit: this value means sold by weight (0)
    int barType = 0;                   // 0 EAN, 1 ITF: the format derived from an item code
    std::array<uint8_t, 3> fontCodes{0, 0, 0};  // commodity, ingredient, special message
    int64_t stNo = 0;                  // for lines without ST_No
    int64_t mgNo = 0;                  // for lines without PLU_MG
    bool replaceExisting = false;      // an imported PLU replaces the one already there
    // The rows this import writes are left marked (Is_Selected 1) for a send, every other row
    // unmarked; otherwise every row is left unmarked.
    bool markImported = false;
    int priceDecimals = 2;
    int weightDecimals = 3;
    std::string decimalSign = ".";     // accepted beside "."
    const codec::CodePage* codePage = nullptr;          // the file's texts (unless it starts with a UTF-8 mark)
    const codec::BarcodeLists* barcodeLists = nullptr;  // item digits of the formats
    // Bytes read of the file's bytes; false stops the import (nothing is kept).
    std::function<bool(long long done, long long total)> progress;
};

enum class ImportOutcome { Ok, Faulty, Refused, Failed };

struct ImportResult {
    ImportOutcome outcome = ImportOutcome::Failed;
    std::string error;     // Refused: "importPLU"; Failed: names the file or line and the reason
    long lines = 0;        // lines of the file read (heading and empty lines included)
    long added = 0;        // rows added (replacements included)
    long replaced = 0;     // rows already there that a line replaced
    std::vector<ImportNote> notes;
    std::array<long, kImportActionCount> counts{};
};

// The row one line makes: a value for each column the import writes.
struct ImportRow {
    std::vector<store::Value> values;  // in the order of ImportLineReader::columns()
    long line = 0;
    int status = 0;  // 0 whole, 1 too few values, 2 a value refused
};

// Reads lines by the column rules. Made once per import from the table and the options.
class ImportLineReader {
public:
    // Throws std::invalid_argument naming a column that is not in the table.
    ImportLineReader(const store::TableDef& table, const ImportOptions& options);

    // Every column a row of this import writes, in value order.
    const std::vector<std::string>& columns() const { return names_; }
    int pluNoIndex() const { return pluNo_; }
    int stNoIndex() const { return stNo_; }

    // One line (bytes, without its line end, in the file's code page or UTF-8 when `utf8`).
    void read(std::string_view line, long lineNo, bool utf8, ImportRow& row, std::vector<ImportNote>& notes);

private:
    struct Chosen {
        int target = -1;   // index in names_
        int rule = 0;
        int size = 0;      // declared size for text
        int font = 0;      // text block: index into fontCodes
    };
    int slot(const store::ColumnDef& c);
    bool readNumber(std::string_view v, int64_t& out) const;

    const ImportOptions& o_;
    std::vector<std::string> names_;
    std::vector<store::Value> defaults_;
    std::vector<Chosen> chosen_;
    int pluNo_ = -1, stNo_ = -1, mg_ = -1;
    int commodityFirst_ = -1, barFormat_ = -1, lastByte_ = -1, statB2B_ = -1;
    int lbFlag_ = -1;
    bool fileHasBarFormat_ = false, fileHasLastByte_ = false;
    std::vector<std::pair<int, std::vector<int>>> statusPairs_;  // value slot, flag slots
    std::vector<int> discountSlots_;
    int discountFlag_ = -1;
    std::vector<std::string_view> fields_;  // the current line's values, kept to spare an allocation a line
    std::vector<uint8_t> page_;
};

// Runs the import. Refused (nothing done) when PLU_No is not chosen exactly once.
ImportResult importPlus(store::Database& db, const std::string& path, const ImportOptions& options);

// The notes as a tab-separated text with a heading line (UTF-8, CR LF), then a blank line and the
// count of each action; `name` gives an action's text.
std::string importReportText(const ImportResult& result, const std::vector<std::string>& headings,
                             const std::function<std::string(ImportAction)>& name);

}  // namespace brindale::exchange
