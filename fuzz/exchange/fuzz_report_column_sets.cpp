// Saved column sets of the report export on any text: a set is read without a fault, takes only
// whole numbers below the entry count of listItem (repeats kept, in file order), maps back to the
// same positions through the column names, and a set written and read again is the same set.
// The first byte picks the report (its real column list from the shipped schema) or a small
// count. The file around the text (saveColumnSet, loadColumnSet) is left to the unit tests: opening,
// writing and renaming a file cost many times the reading, whatever the bytes.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/report_export.h"
#include "exchange/totals.h"
#include "store/schema.h"

using namespace brindale;
using namespace brindale::exchange;

namespace {

struct Fixed {
    std::vector<std::vector<std::string>> lists;  // listItem of each report, in table order
    Fixed() {
        const store::Schema schema = store::readSchemaFile(BRINDALE_SOURCE_ROOT "/Database/ABC1.txt");
        for (const auto& layout : totalsLayouts()) {
            const store::TableDef* t = schema.find(layout.table);
            if (!t || t->columns.empty()) std::abort();
            std::vector<std::string> names;
            for (const auto& c : t->columns) names.push_back(c.name);
            lists.push_back(std::move(names));
        }
    }
};

Fixed& fixed() {
    static Fixed f;
    return f;
}

// The reading rule, written a second way: split at line feeds, blanks, tabs and carriage returns
// taken off both ends, then only 1 to 9 decimal digits whose value is below `count`.
std::vector<int> expected(std::string_view text, int count) {
    std::vector<int> out;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
        while (!line.empty() && blank(line.front())) line.remove_prefix(1);
        while (!line.empty() && blank(line.back())) line.remove_suffix(1);
        if (line.empty() || line.size() > 9) continue;
        long v = 0;
        bool digits = true;
        for (char c : line) {
            if (c < '0' || c > '9') digits = false;
            v = v * 10 + (c - '0');
        }
        if (digits && v < count) out.push_back(int(v));
    }
    return out;
}

void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    Fixed& f = fixed();
    const uint8_t pick = data[0] & 0x3F;
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    // Positions 0 to 8: a report's own list; above: a list of 0 to 54 made-up names.
    std::vector<std::string> generated;
    const std::vector<std::string>* columns = nullptr;
    if (pick < f.lists.size()) {
        columns = &f.lists[pick];
    } else {
        for (int i = 0; i < pick - int(f.lists.size()); ++i) generated.push_back("C" + std::to_string(i));
        columns = &generated;
    }
    const int count = int(columns->size());

    const std::vector<int> positions = parseColumnSet(text, count);
    require(positions == expected(text, count));

    std::vector<std::string> chosen;
    for (int p : positions) {
        require(p >= 0 && p < count);
        chosen.push_back((*columns)[size_t(p)]);
    }
    // The names of a list are all different, so each chosen name leads back to its position.
    require(chosenPositions(*columns, chosen) == positions);

    // commandSave writes what commandOpen reads back unchanged.
    const std::string saved = columnSetText(positions);
    require(parseColumnSet(saved, count) == positions);

    // Each chosen column's export form on the text as a value: never a fault, and the forms keep
    // the digits they were given.
    if (pick < f.lists.size()) {
        const TotalsLayout& layout = totalsLayouts()[pick];
        DecodeSettings s;
        s.priceDecimals = data[0] % 4;
        s.weightDecimals = 3;
        s.decimalSign = (data[0] & 0x40) ? "," : ".";
        const std::string value = text.substr(0, 16);
        for (int p : positions) {
            const ExportForm form = exportFormOf(layout, p);
            const std::string out = formatValue(value, form, s);
            switch (form) {
            case ExportForm::Plain: require(out == value); break;
            case ExportForm::Time: require(out.size() == 4 + s.decimalSign.size()); break;
            case ExportForm::Amount:
            case ExportForm::Weight:
                require(value == "0" ? out == "0" : out.size() > value.size() && out.find(s.decimalSign) != std::string::npos);
                break;
            }
        }
    }
    return 0;
}
