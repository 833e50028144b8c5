#include "report_export.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include "store/database.h"
#include "store/schema.h"

namespace brindale::exchange {

namespace {

std::string hexOf(const uint8_t* p, size_t n) {
    return n ? readHexField(p, 0, n - 1) : std::string();
}

double power10(int places) { return std::pow(10.0, places < 0 ? 0 : places); }

// A decoded figure as a whole number: the decimal sign (where the hourly amounts carry one) is
// taken out; what is no number counts 0.
int64_t wholeOf(const std::string& text, const std::string& sign) {
    std::string s = text;
    if (!sign.empty())
        for (size_t at; (at = s.find(sign)) != std::string::npos;) s.erase(at, sign.size());
    return std::strtoll(s.c_str(), nullptr, 10);
}

int placesOf(ExportForm form, const DecodeSettings& s) {
    return form == ExportForm::Amount ? s.priceDecimals : form == ExportForm::Weight ? s.weightDecimals : 0;
}

ChartBar barOf(std::string label, int64_t sum, ExportForm form, const DecodeSettings& s) {
    ChartBar b;
    b.label = std::move(label);
    const int places = placesOf(form, s);
    b.value = double(sum) / power10(places);
    b.text = places ? placeDecimals(std::to_string(sum), places, s.decimalSign) : std::to_string(sum);
    return b;
}

std::string twoDigits(int h) { return (h < 10 ? "0" : "") + std::to_string(h); }

}  // namespace

std::vector<std::string> reportColumns(store::Database& db, const TotalsLayout& layout) {
    std::vector<std::string> out;
    const store::TableDef* def = db.table(layout.table);
    if (!def) return out;
    for (const auto& c : def->columns) out.push_back(c.name);
    return out;
}

std::string formatValue(const std::string& s, ExportForm form, const DecodeSettings& settings) {
    switch (form) {
    case ExportForm::Amount: return placeDecimals(s, settings.priceDecimals, settings.decimalSign);
    case ExportForm::Weight: return placeDecimals(s, settings.weightDecimals, settings.decimalSign);
    case ExportForm::Time: return formatTime(s, settings.decimalSign);
    case ExportForm::Plain: break;
    }
    return s;
}

void writeFileAside(const std::string& path, const std::string& bytes) {
    const std::string aside = path + ".part";
    FILE* f = std::fopen(aside.c_str(), "wb");
    if (!f) throw ExportError(path + ": cannot be written (" + std::strerror(errno) + ")");
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size() && std::fflush(f) == 0;
    const int err = errno;
    if (std::fclose(f) != 0 || !ok) {
        std::remove(aside.c_str());
        throw ExportError(path + ": cannot be written (" + std::strerror(err ? err : EIO) + ")");
    }
    if (std::rename(aside.c_str(), path.c_str()) != 0) {
        const int e = errno;
        std::remove(aside.c_str());
        throw ExportError(path + ": cannot be put in place (" + std::strerror(e) + ")");
    }
}

ExportResult exportReport(store::Database& db, const ExportRequest& req,
                          const std::function<void(long, long)>& progress) {
    ExportResult result;
    if (!req.layout) throw ExportError("no report chosen");
    if (req.decodeFirst) decodeTable(db, *req.layout, req.settings);
    if (req.chosen.empty()) return result;

    const std::vector<int> positions = chosenPositions(req.columns, req.chosen);
    for (size_t i = 0; i < positions.size(); ++i)
        if (positions[i] < 0) throw ExportError(std::string(req.layout->table) + ": no column " + req.chosen[i]);
    const char sep = separatorByte(req.separator).value_or('\t');
    const std::string eol = "\r\n";

    std::string out;
    if (req.heading) {
        for (size_t i = 0; i < req.chosen.size(); ++i) {
            if (i) out += sep;
            out += req.chosen[i];
        }
        out += eol;
    }

    const std::string table = store::quoteIdent(req.layout->table);
    long total = 0;
    {
        auto count = db.prepare("SELECT COUNT(*) FROM " + table);
        if (count->step()) total = long(count->columnInt(0));
    }
    std::string sql = "SELECT ";
    for (size_t i = 0; i < positions.size(); ++i) {
        if (i) sql += ',';
        sql += store::quoteIdent(req.columns[size_t(positions[i])]);
    }
    sql += " FROM " + table + " ORDER BY rowid";
    auto st = db.prepare(sql);
    sqlite3_stmt* h = st->handle();
    std::vector<ExportForm> forms;
    for (int p : positions) forms.push_back(exportFormOf(*req.layout, p));

    long row = 0;
    auto last = std::chrono::steady_clock::now();
    while (st->step()) {
        ++row;
        if (sqlite3_column_type(h, 0) == SQLITE_NULL) {
            // The first chosen column names the line; a line without it ends the file.
            result.stoppedAtRow = row;
            break;
        }
        for (size_t i = 0; i < positions.size(); ++i) {
            if (i) out += sep;
            const int type = sqlite3_column_type(h, int(i));
            if (type == SQLITE_NULL) continue;  // an empty field, and the export goes on
            if (type == SQLITE_BLOB) {
                out += hexOf(static_cast<const uint8_t*>(sqlite3_column_blob(h, int(i))),
                             size_t(sqlite3_column_bytes(h, int(i))));
                continue;
            }
            const char* text = reinterpret_cast<const char*>(sqlite3_column_text(h, int(i)));
            out += formatValue(text ? text : "", forms[i], req.settings);
        }
        out += eol;
        ++result.rows;
        if (progress) {
            const auto now = std::chrono::steady_clock::now();
            if (now - last > std::chrono::milliseconds(100)) {
                progress(row, total);
                last = now;
            }
        }
    }
    writeFileAside(req.path, out);
    result.written = true;
    if (progress) progress(total, total);
    return result;
}

std::string columnSetText(const std::vector<int>& positions) {
    std::string s;
    for (int p : positions) s += std::to_string(p) + "\r\n";
    return s;
}

std::vector<int> parseColumnSet(const std::string& text, int count) {
    std::vector<int> out;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        size_t a = line.find_first_not_of(" \t\r");
        size_t b = line.find_last_not_of(" \t\r");
        if (a == std::string::npos) continue;
        const std::string s = line.substr(a, b - a + 1);
        if (s.size() > 9 || !std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; })) continue;
        const int v = std::stoi(s);
        if (v < count) out.push_back(v);
    }
    return out;
}

std::vector<int> chosenPositions(const std::vector<std::string>& columns, const std::vector<std::string>& chosen) {
    std::vector<int> out;
    for (const auto& c : chosen) {
        auto it = std::find(columns.begin(), columns.end(), c);
        out.push_back(it == columns.end() ? -1 : int(it - columns.begin()));
    }
    return out;
}

void saveColumnSet(const std::string& path, const std::vector<int>& positions) {
    writeFileAside(path, columnSetText(positions));
}

std::optional<std::vector<int>> loadColumnSet(const std::string& path, int count) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream s;
    s << in.rdbuf();
    return parseColumnSet(s.str(), count);
}

std::vector<ChartColumn> chartColumns(const TotalsLayout& layout, const std::vector<std::string>& columns) {
    std::vector<ChartColumn> out;
    const auto fields = expandFields(layout);
    const bool store = std::string(layout.identifier) == "46";
    for (size_t n = 0; n < fields.size() && n < columns.size(); ++n) {
        const bool take = store ? fields[n].reading == Reading::Hourly
                                : fields[n].reading == Reading::Integer && n != 1 && fields[n].form != ExportForm::Time;
        if (take) out.push_back({int(n), columns[n]});
    }
    return out;
}

std::vector<ChartBar> chartBars(const TotalsLayout& layout, const std::vector<std::vector<uint8_t>>& records,
                                int column, const DecodeSettings& settings, long* skipped) {
    std::vector<ChartBar> bars;
    if (skipped) *skipped = 0;
    const auto fields = expandFields(layout);
    if (column < 0 || size_t(column) >= fields.size()) return bars;
    const TotalsField& field = fields[size_t(column)];
    const ExportForm form = field.reading == Reading::Hourly && field.hourlyPlace >= 2 ? ExportForm::Amount
                                                                                          : exportFormOf(layout, column);
    const std::string id = layout.identifier;
    const std::vector<int> noCut;

    if (id == "46" || id == "52") {
        int64_t sums[24] = {};
        int timeField = -1;
        for (size_t n = 0; n < fields.size(); ++n)
            if (fields[n].form == ExportForm::Time) timeField = int(n);
        for (const auto& r : records) {
            std::vector<std::string> f;
            try {
                f = decodeRecord(layout, r.data(), r.size(), noCut, settings);
            } catch (const TotalsFault&) {
                if (skipped) ++*skipped;
                continue;
            }
            if (id == "46") {
                std::istringstream in(f[size_t(column)]);
                std::string v;
                for (int h = 0; h < 24 && in >> v; ++h) sums[h] += wholeOf(v, settings.decimalSign);
            } else if (timeField >= 0) {
                const int64_t t = wholeOf(f[size_t(timeField)], "");
                if (t >= 0 && t / 100 < 24) sums[t / 100] += wholeOf(f[size_t(column)], "");
            }
        }
        for (int h = 0; h < 24; ++h) bars.push_back(barOf(twoDigits(h), sums[h], form, settings));
        return bars;
    }

    std::map<std::string, int64_t> perItem;
    for (const auto& r : records) {
        std::vector<std::string> f;
        try {
            f = decodeRecord(layout, r.data(), r.size(), noCut, settings);
        } catch (const TotalsFault&) {
            if (skipped) ++*skipped;
            continue;
        }
        perItem[f[0]] += wholeOf(f[size_t(column)], "");
    }
    std::vector<std::pair<std::string, int64_t>> items(perItem.begin(), perItem.end());
    std::stable_sort(items.begin(), items.end(), [](const auto& x, const auto& y) { return x.second > y.second; });
    int64_t rest = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i < 20) bars.push_back(barOf(items[i].first, items[i].second, form, settings));
        else rest += items[i].second;
    }
    if (items.size() > 20) bars.push_back(barOf("", rest, form, settings));  // the label is the window's
    return bars;
}

std::vector<ChartBar> chartBars(store::Database& db, const TotalsLayout& layout, int column,
                                const DecodeSettings& settings, long* skipped) {
    std::vector<std::vector<uint8_t>> records;
    auto st = db.prepare("SELECT KVRBinData FROM " + store::quoteIdent(layout.table) + " ORDER BY rowid");
    sqlite3_stmt* h = st->handle();
    while (st->step()) {
        const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(h, 0));
        records.emplace_back(p, p + sqlite3_column_bytes(h, 0));
    }
    return chartBars(layout, records, column, settings, skipped);
}

}  // namespace brindale::exchange
