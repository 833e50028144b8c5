#pragma once
// Writing chosen columns of a totals table to a text file for head office, the saved column
// sets, and the figures of the report window's chart. No widgets: the window is a thin form
// over these.
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "exchange/totals.h"

namespace brindale::store {
class Database;
}

#include "exchange/separator.h"

namespace brindale::exchange {


// listItem: every column of the report's table, in table order, as the database names them.
std::vector<std::string> reportColumns(store::Database& db, const TotalsLayout& layout);

// A value in its export form. Amount and weight place the decimal sign by the settings' places,
// time is hh, sign, mm.
std::string formatValue(const std::string& text, ExportForm form, const DecodeSettings& settings);

// An export that cannot be done: names the file (or table) and what went wrong. Nothing partial
// is left behind.
class ExportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ExportRequest {
    const TotalsLayout* layout = nullptr;
    std::vector<std::string> columns;  // listItem
    std::vector<std::string> chosen;   // SelectItem, in the order they are written
    int separator = 0;                 // comboSeperator's position
    bool heading = false;
    std::string path;
    DecodeSettings settings;
    bool decodeFirst = true;  // false: the caller has just decoded the table
};

struct ExportResult {
    bool written = false;   // false: nothing was chosen, no file
    long rows = 0;          // data lines written
    long stoppedAtRow = 0;  // 1-based row whose first chosen column was Null (0: none)
};

// Decodes the table again, then writes the file aside and renames it into place when complete.
// TotalsFault for a short record, ExportError for a file that cannot be written; in both cases
// no file is left (an earlier file of that name stays as it was).
// `progress(done, total)` is called now and then.
ExportResult exportReport(store::Database& db, const ExportRequest& request,
                          const std::function<void(long, long)>& progress = {});

// Saved column sets: one position of listItem a line.
std::string columnSetText(const std::vector<int>& positions);
// Lines that are a whole number below `count` are taken (repeats too); others are passed over.
std::vector<int> parseColumnSet(const std::string& text, int count);
// Positions of the chosen entries in listItem (the first entry of the same text; -1 when none).
std::vector<int> chosenPositions(const std::vector<std::string>& columns, const std::vector<std::string>& chosen);
// Throws ExportError naming the file.
void saveColumnSet(const std::string& path, const std::vector<int>& positions);
// nullopt when the file does not exist or cannot be read.
std::optional<std::vector<int>> loadColumnSet(const std::string& path, int count);

// Writes bytes to `path` aside and renames into place; ExportError naming the file on failure.
void writeFileAside(const std::string& path, const std::string& bytes);

// ---- the chart ----
struct ChartBar {
    std::string label;
    double value = 0;   // in the column's export form as a number (amounts with their places)
    std::string text;   // the value as the export writes it
};

struct ChartColumn {
    int column;
    std::string name;
};

// The columns the chart can show: the hourly columns of the store total, the integer figures of
// the other reports.
std::vector<ChartColumn> chartColumns(const TotalsLayout& layout, const std::vector<std::string>& columns);

// From the fetched records, decoded in memory (nothing written): the store total gives 24 bars of
// the hourly column summed over the scales; receipts the column summed by the hour of their time;
// the others the column summed per item (column 0), the 20 largest and one bar for the rest.
// Records that are too short are passed over and counted in `skipped`.
std::vector<ChartBar> chartBars(store::Database& db, const TotalsLayout& layout, int column,
                                const DecodeSettings& settings, long* skipped = nullptr);
// The same from records in memory (the benchmark, tests).
std::vector<ChartBar> chartBars(const TotalsLayout& layout, const std::vector<std::vector<uint8_t>>& records,
                                int column, const DecodeSettings& settings, long* skipped = nullptr);

}  // namespace brindale::exchange
