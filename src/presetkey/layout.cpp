#include "layout.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "shell/ini.h"

namespace brindale::presetkey {

namespace {

std::string describe(LayoutFault f, const std::string& file, const std::string& key, int layout,
                     const std::string& value) {
    std::string what;
    switch (f) {
        case LayoutFault::NoSection: what = "no [PresetKey] section"; break;
        case LayoutFault::NoKey: what = "key missing"; break;
        case LayoutFault::ShortList: what = "fewer than ten values"; break;
        case LayoutFault::NotNumber: what = "not a number: '" + value + "'"; break;
        case LayoutFault::BadSize: what = "not above 0: '" + value + "'"; break;
        case LayoutFault::TooManyKeys: what = "more keys than cells: " + value; break;
        case LayoutFault::Beyond: what = "no such layout"; break;
    }
    return file + ": key " + (key.empty() ? "-" : key) + ", layout " + std::to_string(layout) + ": " + what;
}

std::vector<std::string> splitList(const std::string& s) {
    std::vector<std::string> out;
    size_t from = 0;
    for (;;) {
        size_t comma = s.find(',', from);
        out.push_back(shell::trim(s.substr(from, comma == std::string::npos ? std::string::npos : comma - from)));
        if (comma == std::string::npos) break;
        from = comma + 1;
    }
    return out;
}

bool toInt(const std::string& s, int& v) {
    auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    return ec == std::errc() && p == s.data() + s.size() && !s.empty();
}

bool toReal(const std::string& s, double& v) {
    // The file writes a decimal point whatever the system's locale.
    auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    return ec == std::errc() && p == s.data() + s.size() && !s.empty() && std::isfinite(v);
}

}  // namespace

LayoutError::LayoutError(LayoutFault f, std::string file_, std::string key_, int layout_, std::string value_)
    : std::runtime_error(describe(f, file_, key_, layout_, value_)),
      fault(f), file(std::move(file_)), key(std::move(key_)), layout(layout_), value(std::move(value_)) {}

Layout loadLayout(const std::string& path, const std::string& languageName, int layout) {
    bool found = false;
    auto lines = shell::readSectionLines(path, languageName, "PresetKey", &found);
    if (!found) throw LayoutError(LayoutFault::NoSection, path, "", layout, "");
    auto list = [&](const char* key) {
        for (const auto& line : lines) {
            auto eq = line.text.find('=');
            if (eq == std::string::npos) continue;
            if (!shell::iequals(shell::trim(line.text.substr(0, eq)), key)) continue;
            auto values = splitList(line.text.substr(eq + 1));
            if (values.size() < static_cast<size_t>(kLayoutCount))
                throw LayoutError(LayoutFault::ShortList, path, key, layout, "");
            if (layout < 0 || static_cast<size_t>(layout) >= values.size())
                throw LayoutError(LayoutFault::Beyond, path, key, layout, "");
            return values;
        }
        throw LayoutError(LayoutFault::NoKey, path, key, layout, "");
    };
    auto integer = [&](const char* key, bool positive) {
        auto values = list(key);
        int v = 0;
        for (const auto& s : values)
            if (!toInt(s, v)) throw LayoutError(LayoutFault::NotNumber, path, key, layout, s);
        toInt(values[static_cast<size_t>(layout)], v);
        if (positive && v <= 0)
            throw LayoutError(LayoutFault::BadSize, path, key, layout, values[static_cast<size_t>(layout)]);
        return v;
    };

    Layout l;
    l.number = layout;
    l.name = list("keyType")[static_cast<size_t>(layout)];
    l.keyNum = integer("keyNum", true);
    l.rows = integer("rows", true);
    l.cols = integer("cols", true);
    {
        auto values = list("RowSpacing");
        for (const auto& s : values) {
            double d = 0;
            if (!toReal(s, d)) throw LayoutError(LayoutFault::NotNumber, path, "RowSpacing", layout, s);
        }
        toReal(values[static_cast<size_t>(layout)], l.spacing);
        if (!(l.spacing > 0))
            throw LayoutError(LayoutFault::BadSize, path, "RowSpacing", layout, values[static_cast<size_t>(layout)]);
    }
    l.charNum = integer("CharNum", false);
    l.order = integer("Order", false);
    // A record's key address holds the key number in two packed digits beside the page.
    if (static_cast<long>(l.rows) * l.cols < l.keyNum || l.keyNum > 255)
        throw LayoutError(LayoutFault::TooManyKeys, path, "keyNum", layout,
                          std::to_string(l.keyNum) + " > " + std::to_string(l.rows) + " x " + std::to_string(l.cols));
    return l;
}

int keyAt(const Layout& l, int column, int row) { return (l.rows - 1 - row) * l.cols + column + 1; }

Cell cellOf(const Layout& l, int key) {
    return {l.rows - (key - 1) / l.cols, key - ((key - 1) / l.cols) * l.cols};
}

double cellLeft(const Layout& l, int key) { return (cellOf(l, key).column - 1) * l.spacing + kMargin; }
double cellTop(const Layout& l, int key) { return (cellOf(l, key).row - 1) * l.spacing + kMargin; }

int getKeyNumber(const Layout& l, double x, double y) {
    const double s = l.spacing;
    if (x <= 1 || x >= l.cols * s + 1 || y <= 1 || y >= l.rows * s + 1) return -1;
    return (l.rows - 1 - static_cast<int>(std::floor((y - 1) / s))) * l.cols +
           static_cast<int>(std::floor((x - 1) / s)) + 1;
}

double pictureWidth(const Layout& l) { return l.cols * l.spacing + 1 + 1; }
double pictureHeight(const Layout& l) { return l.rows * l.spacing + 1 + l.spacing / 2 + 1; }

}  // namespace brindale::presetkey
