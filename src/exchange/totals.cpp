#include "totals.h"

#include <algorithm>
#include <cctype>


namespace brindale::exchange {

namespace {

constexpr Reading D = Reading::Decimal;
constexpr Reading I = Reading::Integer;
constexpr Reading G = Reading::Digits;
constexpr Reading H = Reading::Hourly;
constexpr ExportForm p = ExportForm::Plain;
constexpr ExportForm a = ExportForm::Amount;
constexpr ExportForm w = ExportForm::Weight;
constexpr ExportForm t = ExportForm::Time;

// The store total repeats one period's block (counts, amounts, two hourly pairs) for day, week,
// month and term; only the offsets differ, so they are written out as the scale lays them down.
std::vector<FieldRun> storeTotalRuns() {
    return {
        {0, 0, 0, 4, D, p},        {1, 1, 4, 2, I, p},        {2, 3, 6, 4, I, p},
        {4, 7, 14, 4, I, a},       {8, 8, 30, 4, I, w},       {9, 9, 34, 2, I, p},
        {10, 10, 36, 4, I, a},     {11, 11, 40, 2, I, p},     {12, 12, 42, 4, I, a},
        {13, 14, 46, 2, I, p},     {15, 15, 50, 4, I, a},     {16, 16, 54, 4, I, p},
        {17, 17, 58, 4, I, a},     {18, 18, 62, 4, I, p},     {19, 19, 66, 4, I, a},
        {20, 20, 70, 4, I, p},     {21, 21, 74, 4, I, a},     {22, 22, 78, 4, I, p},
        {23, 23, 82, 4, I, a},     {24, 25, 86, 4, H, p},     {26, 27, 94, 4, H, p},
        {28, 29, 470, 4, I, p},    {30, 31, 478, 4, I, a},    {32, 33, 486, 4, I, p},
        {34, 37, 494, 4, I, a},    {38, 38, 510, 4, I, w},    {39, 39, 514, 2, I, p},
        {40, 40, 516, 4, I, a},    {41, 41, 520, 2, I, p},    {42, 42, 522, 4, I, a},
        {43, 44, 526, 2, I, p},    {45, 45, 530, 4, I, a},    {46, 46, 534, 4, I, p},
        {47, 47, 538, 4, I, a},    {48, 48, 542, 4, I, p},    {49, 49, 546, 4, I, a},
        {50, 50, 550, 4, I, p},    {51, 51, 554, 4, I, a},    {52, 52, 558, 4, I, p},
        {53, 53, 562, 4, I, a},    {54, 55, 566, 4, H, p},    {56, 57, 574, 4, H, p},
        {58, 59, 950, 4, I, p},    {60, 61, 958, 4, I, a},    {62, 63, 966, 4, I, p},
        {64, 67, 974, 4, I, a},    {68, 68, 990, 4, I, w},    {69, 69, 994, 2, I, p},
        {70, 70, 996, 4, I, a},    {71, 71, 1000, 2, I, p},   {72, 72, 1002, 4, I, a},
        {73, 74, 1006, 2, I, p},   {75, 75, 1010, 4, I, a},   {76, 76, 1014, 4, I, p},
        {77, 77, 1018, 4, I, a},   {78, 78, 1022, 4, I, p},   {79, 79, 1026, 4, I, a},
        {80, 80, 1030, 4, I, p},   {81, 81, 1034, 4, I, a},   {82, 82, 1038, 4, I, p},
        {83, 83, 1042, 4, I, a},   {84, 85, 1046, 4, H, p},   {86, 87, 1054, 4, H, p},
        {88, 89, 1430, 4, I, p},   {90, 91, 1438, 4, I, a},   {92, 93, 1446, 4, I, p},
        {94, 97, 1454, 4, I, a},   {98, 98, 1470, 4, I, w},   {99, 99, 1474, 2, I, p},
        {100, 100, 1476, 4, I, a}, {101, 101, 1480, 2, I, p}, {102, 102, 1482, 4, I, a},
        {103, 104, 1486, 2, I, p}, {105, 105, 1490, 4, I, a}, {106, 106, 1494, 4, I, p},
        {107, 107, 1498, 4, I, a}, {108, 108, 1502, 4, I, p}, {109, 109, 1506, 4, I, a},
        {110, 110, 1510, 4, I, p}, {111, 111, 1514, 4, I, a}, {112, 112, 1518, 4, I, p},
        {113, 113, 1522, 4, I, a}, {114, 115, 1526, 4, H, p}, {116, 117, 1534, 4, H, p},
        {118, 119, 1910, 4, I, p}, {120, 121, 1918, 4, I, a}, {122, 123, 1926, 2, I, p},
        {124, 124, 1930, 4, D, p}, {125, 125, 1934, 4, I, a}, {126, 126, 1938, 2, I, p},
        {127, 127, 1940, 4, I, a}, {128, 128, 1944, 2, I, p}, {129, 129, 1946, 4, I, a},
        {130, 130, 1950, 2, I, p}, {131, 131, 1952, 4, I, a}, {132, 132, 1956, 2, I, p},
        {133, 133, 1958, 4, I, a}, {134, 134, 1962, 2, I, p}, {135, 135, 1964, 4, I, a},
        {136, 136, 1968, 2, I, p}, {137, 137, 1970, 4, I, a}, {138, 138, 1974, 2, I, p},
        {139, 153, 1976, 4, I, a}, {154, 154, 2036, 2, I, p}, {155, 155, 2038, 4, I, a},
        {156, 156, 2042, 2, I, p}, {157, 158, 2044, 4, I, a}, {159, 161, 2052, 2, I, p},
        {162, 162, 2058, 4, I, a}, {163, 163, 2062, 2, I, p}, {164, 178, 2064, 4, I, a},
        {179, 179, 2124, 2, I, p}, {180, 180, 2126, 4, I, a}, {181, 181, 2130, 2, I, p},
        {182, 183, 2132, 4, I, a}, {184, 186, 2140, 2, I, p}, {187, 187, 2146, 4, I, a},
        {188, 188, 2150, 2, I, p}, {189, 191, 2152, 4, I, a}, {192, 192, 2164, 2, I, p},
        {193, 193, 2166, 4, I, a}, {194, 194, 2170, 2, I, p}, {195, 195, 2172, 4, I, a},
        {196, 196, 2176, 2, I, p}, {197, 197, 2178, 4, I, a}, {198, 198, 2182, 2, I, p},
    };
}

// The receipt buffer: after the receipt's head, fifteen like groups of count, number, amounts.
std::vector<FieldRun> receiptRuns() {
    std::vector<FieldRun> r = {
        {0, 0, 0, 4, D, p},      {1, 1, 4, 2, I, p},      {2, 3, 6, 1, I, p},      {4, 4, 8, 2, I, p},
        {5, 7, 10, 1, I, p},     {8, 8, 13, 17, G, p},    {9, 9, 30, 1, I, p},     {10, 10, 31, 1, G, p},
        {11, 11, 32, 4, I, w},   {12, 12, 36, 4, I, p},   {13, 23, 40, 4, I, a},   {24, 24, 84, 4, I, t},
        {25, 28, 88, 4, I, a},   {29, 29, 104, 2, I, p},  {30, 30, 106, 4, I, a},  {31, 31, 110, 2, I, p},
        {32, 32, 112, 4, I, a},  {33, 34, 116, 2, I, p},  {35, 35, 120, 4, I, p},  {36, 36, 124, 4, I, a},
        {37, 37, 128, 2, I, p},  {38, 40, 130, 4, I, p},  {41, 41, 142, 2, I, p},  {42, 42, 144, 4, I, p},
        {43, 46, 148, 4, I, a},  {47, 47, 164, 4, I, p},  {48, 48, 168, 8, G, p},  {49, 49, 176, 4, I, a},
        {50, 50, 180, 2, I, p},  {51, 51, 182, 4, I, p},  {52, 54, 186, 4, I, a},  {55, 55, 198, 1, I, p},
        {56, 56, 199, 1, G, p},  {57, 57, 200, 2, I, p},
    };
    // Fields 58 to 135: groups of (4-byte count, two amounts, two 2-byte numbers), 16 bytes each;
    // the last group has no numbers.
    int field = 58;
    size_t offset = 202;
    for (int g = 0; g < 16; ++g) {
        r.push_back({field, field, offset, 4, I, p});
        r.push_back({field + 1, field + 2, offset + 4, 4, I, a});
        if (g == 15) {
            field += 3;
            offset += 12;
            break;
        }
        r.push_back({field + 3, field + 4, offset + 12, 2, I, p});
        field += 5;
        offset += 16;
    }
    r.push_back({136, 136, 454, 2, I, p});
    r.push_back({137, 156, 456, 4, I, a});
    r.push_back({157, 157, 536, 4, I, p});
    return r;
}

std::vector<TotalsLayout> makeLayouts() {
    std::vector<TotalsLayout> l;
    l.push_back({"21", "RC_21", "DEPARTMENT TOTAL FILE", 105, 27,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 3, 6, 4, I, p},     {4, 5, 14, 4, I, a},
                  {6, 6, 22, 4, I, w},    {7, 7, 26, 4, I, a},    {8, 9, 30, 4, I, p},    {10, 11, 38, 4, I, a},
                  {12, 12, 46, 4, I, w},  {13, 13, 50, 4, I, a},  {14, 15, 54, 4, I, p},  {16, 17, 62, 4, I, a},
                  {18, 18, 70, 4, I, w},  {19, 19, 74, 4, I, a},  {20, 21, 78, 4, I, p},  {22, 23, 86, 4, I, a},
                  {24, 24, 94, 4, I, w},  {25, 25, 98, 4, I, a},  {26, 26, 102, 3, G, p}}});
    l.push_back({"24", "RC_24", "MAIN GROUP TOTAL FILE", 83, 23,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 2, 6, 1, D, p},     {3, 3, 7, 1, G, p},
                  {4, 5, 8, 4, I, p},     {6, 7, 16, 4, I, a},    {8, 8, 24, 4, I, w},    {9, 9, 28, 4, I, a},
                  {10, 10, 32, 4, I, p},  {11, 12, 36, 4, I, a},  {13, 14, 44, 4, I, p},  {15, 16, 52, 4, I, a},
                  {17, 17, 60, 4, I, w},  {18, 18, 64, 4, I, a},  {19, 19, 68, 4, I, p},  {20, 21, 72, 4, I, a},
                  {22, 22, 80, 3, G, p}}});
    l.push_back({"26", "RC_26", "PLU TOTAL FILE", 128, 37,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 2, 6, 7, G, p},     {3, 3, 13, 1, G, p},
                  {4, 4, 14, 2, D, p},    {5, 6, 16, 4, I, a},    {7, 7, 24, 2, I, p},    {8, 8, 26, 4, I, w},
                  {9, 11, 30, 4, I, a},   {12, 12, 42, 2, I, p},  {13, 13, 44, 4, I, w},  {14, 16, 48, 4, I, a},
                  {17, 17, 60, 2, I, p},  {18, 18, 62, 4, I, w},  {19, 21, 66, 4, I, a},  {22, 22, 78, 2, I, p},
                  {23, 23, 80, 4, I, w},  {24, 26, 84, 4, I, a},  {27, 27, 96, 2, I, p},  {28, 28, 98, 4, I, w},
                  {29, 29, 102, 4, I, a}, {30, 30, 106, 3, G, p}, {31, 31, 109, 1, G, p}, {32, 33, 110, 4, I, a},
                  {34, 34, 118, 2, I, p}, {35, 35, 120, 4, I, w}, {36, 36, 124, 4, I, a}}});
    l.push_back({"2E", "RC_2E", "PLU TOTAL (TRANSACTION TYPE)  FILE", 105, 16,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 2, 6, 4, D, p},     {3, 3, 10, 4, D, a},
                  {4, 4, 14, 4, D, w},    {5, 5, 18, 2, D, p},    {6, 6, 20, 4, D, a},    {7, 7, 24, 3, G, p},
                  {8, 8, 27, 2, G, p},    {9, 10, 29, 5, G, p},   {11, 11, 39, 1, I, p},  {12, 13, 40, 4, D, a},
                  {14, 14, 48, 7, G, p},  {15, 15, 55, 50, G, p}}});
    l.push_back({"45", "RC_45", "CLERK TOTAL FILE", 174, 47,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 2, 6, 5, G, p},     {3, 3, 11, 4, G, p},
                  {4, 4, 15, 1, I, p},    {5, 6, 16, 4, I, p},    {7, 10, 24, 4, I, a},   {11, 11, 40, 4, I, w},
                  {12, 12, 44, 2, I, p},  {13, 13, 46, 4, I, a},  {14, 14, 50, 2, I, p},  {15, 15, 52, 4, I, a},
                  {16, 17, 56, 2, I, p},  {18, 22, 60, 4, I, a},  {23, 23, 80, 2, I, p},  {24, 26, 82, 4, I, a},
                  {27, 27, 94, 2, I, p},  {28, 33, 96, 4, I, a},  {34, 34, 120, 2, I, p}, {35, 36, 122, 4, I, a},
                  {37, 37, 130, 2, I, p}, {38, 38, 132, 4, I, a}, {39, 39, 136, 2, I, p}, {40, 40, 138, 4, I, a},
                  {41, 41, 142, 2, I, p}, {42, 42, 144, 4, I, a}, {43, 43, 148, 2, I, p}, {44, 44, 150, 4, I, a},
                  {45, 45, 154, 2, I, p}, {46, 46, 156, 4, I, a}}});
    l.push_back({"46", "RC_46", "STORE TOTAL FILE", 2184, 199, storeTotalRuns()});
    {
        std::vector<FieldRun> r = {{0, 0, 0, 4, D, p}, {1, 2, 4, 2, I, p}, {3, 3, 8, 1, I, p}, {4, 4, 9, 1, G, p}};
        for (int f = 5; f <= 28; ++f) r.push_back({f, f, size_t(10 + 4 * (f - 5)), 4, I, (f % 2) ? p : a});
        l.push_back({"4A", "RC_4A", "TAX RATE TOTAL FILE", 106, 29, r});
    }
    l.push_back({"52", "RC_52", "REAL TIME TOTAL RECEIPT BUFFER", 540, 158, receiptRuns()});
    l.push_back({"59", "RC_59", "TRACEABILITY REPORT FILE", 50, 10,
                 {{0, 0, 0, 4, D, p},     {1, 1, 4, 2, I, p},     {2, 2, 6, 20, G, p},    {3, 3, 26, 4, I, p},
                  {4, 4, 30, 4, I, w},    {5, 5, 34, 4, I, p},    {6, 7, 38, 1, I, p},    {8, 8, 40, 4, I, p},
                  {9, 9, 44, 6, G, p}}});
    return l;
}

bool sameNoCase(const std::string& x, const std::string& y) {
    return x.size() == y.size() &&
           std::equal(x.begin(), x.end(), y.begin(), [](char c, char d) { return std::toupper(c) == std::toupper(d); });
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// The hourly blocks are 24 rows of 16 bytes; the field after a block starts 384 bytes on.
constexpr size_t kHourRows = 24;
constexpr size_t kHourRowBytes = 16;

}  // namespace

const std::vector<TotalsLayout>& totalsLayouts() {
    static const std::vector<TotalsLayout> layouts = makeLayouts();
    return layouts;
}

const TotalsLayout* totalsLayout(const std::string& name) {
    for (const auto& l : totalsLayouts())
        if (sameNoCase(name, l.identifier) || sameNoCase(name, l.table)) return &l;
    return nullptr;
}

std::vector<TotalsField> expandFields(const TotalsLayout& layout) {
    std::vector<TotalsField> out;
    out.reserve(size_t(layout.fieldCount));
    int hourly = 0;
    for (const auto& r : layout.runs) {
        for (int f = r.first; f <= r.last; ++f) {
            const size_t offset = r.offset + r.width * size_t(f - r.first);
            const int place = r.reading == Reading::Hourly ? hourly++ % 4 : 0;
            out.push_back({offset, r.width, r.reading, r.form, place});
        }
    }
    return out;
}

ExportForm exportFormOf(const TotalsLayout& layout, int column) {
    for (const auto& r : layout.runs)
        if (column >= r.first && column <= r.last) return r.form;
    return ExportForm::Plain;
}

size_t bytesNeeded(const TotalsLayout& layout) {
    size_t end = 0;
    for (const auto& f : expandFields(layout)) {
        const size_t last = f.reading == Reading::Hourly ? f.offset + kHourRowBytes * (kHourRows - 1) + f.width
                                                         : f.offset + f.width;
        end = std::max(end, last);
    }
    return end;
}

std::string readHexField(const uint8_t* record, size_t first, size_t last) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    if (last < first) return s;
    s.reserve(2 * (last - first + 1));
    for (size_t i = first; i <= last; ++i) {
        s.push_back(digits[record[i] >> 4]);
        s.push_back(digits[record[i] & 0x0F]);
    }
    return s;
}

std::string readDecimal(const std::string& hex) {
    // The number ends at the first character that is no decimal digit.
    size_t i = 0;
    while (i < hex.size() && hex[i] == '0') ++i;
    size_t j = i;
    while (j < hex.size() && hex[j] >= '0' && hex[j] <= '9') ++j;
    if (j == i) return "0";
    return hex.substr(i, j - i);
}

std::string readInteger(const std::string& hex, int columnSize) {
    // Up to four digits are a 16-bit number, up to eight a 32-bit one; the full width is signed.
    uint64_t v = 0;
    for (char c : hex) {
        const int d = hexValue(c);
        v = (v << 4) | uint64_t(d < 0 ? 0 : d);
    }
    int64_t value;
    if (hex.size() == 4) value = int16_t(uint16_t(v));
    else if (hex.size() == 8) value = int32_t(uint32_t(v));
    else value = int64_t(v & 0xFFFFFFFFu);
    std::string s = std::to_string(value);
    if (columnSize > 0 && s.size() > size_t(columnSize)) s = s.substr(s.size() - size_t(columnSize));
    return s;
}

std::string placeDecimals(const std::string& in, int places, const std::string& decimalSign) {
    if (in == "0") return in;
    std::string s = in;
    if (places < 0) places = 0;
    if (s.size() <= size_t(places)) s.insert(0, size_t(places) + 1 - s.size(), '0');
    return s.substr(0, s.size() - size_t(places)) + decimalSign + s.substr(s.size() - size_t(places));
}

std::string formatTime(const std::string& in, const std::string& decimalSign) {
    std::string s = in;
    if (s.size() < 4) s.insert(0, 4 - s.size(), '0');
    s = s.substr(s.size() - 4);
    return s.substr(0, 2) + decimalSign + s.substr(2);
}

TotalsFault::TotalsFault(std::string table, long row, size_t length, size_t needed)
    : std::runtime_error(table + ", row " + std::to_string(row) + ": the record has " + std::to_string(length) +
                         " bytes, its layout needs " + std::to_string(needed)),
      table_(std::move(table)), row_(row), length_(length), needed_(needed) {}

namespace {

// The expanded fields and the bytes they reach, once per layout.
struct Prepared {
    std::vector<TotalsField> fields;
    size_t needed = 0;
};

const Prepared& prepared(const TotalsLayout& layout) {
    static const std::vector<Prepared> all = [] {
        std::vector<Prepared> v;
        for (const auto& l : totalsLayouts()) v.push_back({expandFields(l), bytesNeeded(l)});
        return v;
    }();
    const size_t i = size_t(&layout - totalsLayouts().data());
    if (i < all.size()) return all[i];
    // A layout of the caller's own (tests): expanded on each call.
    static thread_local Prepared other;
    other = {expandFields(layout), bytesNeeded(layout)};
    return other;
}

// The integer reading straight from the bytes: the same numbers the digit text gives.
std::string integerOf(const uint8_t* p, size_t width, int columnSize) {
    int64_t value;
    switch (width) {
    case 1: value = p[0]; break;
    case 2: value = int16_t(uint16_t(p[0] << 8 | p[1])); break;
    case 4: value = int32_t(uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]); break;
    default: return readInteger(readHexField(p, 0, width - 1), columnSize);
    }
    std::string s = std::to_string(value);
    if (columnSize > 0 && s.size() > size_t(columnSize)) s.erase(0, s.size() - size_t(columnSize));
    return s;
}

// The decimal reading straight from the bytes: digits up to the first nibble above 9.
std::string decimalOf(const uint8_t* p, size_t width) {
    std::string s;
    bool leading = true;
    for (size_t i = 0; i < 2 * width; ++i) {
        const int d = (i % 2 == 0) ? p[i / 2] >> 4 : p[i / 2] & 0x0F;
        if (d > 9) break;
        if (leading && d == 0) continue;
        leading = false;
        s.push_back(char('0' + d));
    }
    return s.empty() ? "0" : s;
}

}  // namespace

std::vector<std::string> decodeRecord(const TotalsLayout& layout, const uint8_t* record, size_t length,
                                      const std::vector<int>& columnSizes, const DecodeSettings& settings,
                                      long row) {
    const Prepared& prep = prepared(layout);
    const auto& fields = prep.fields;
    if (length < prep.needed || record == nullptr) throw TotalsFault(layout.table, row, length, prep.needed);

    std::vector<std::string> out;
    out.reserve(fields.size());
    for (size_t n = 0; n < fields.size(); ++n) {
        const TotalsField& f = fields[n];
        const int size = n < columnSizes.size() ? columnSizes[n] : 0;
        switch (f.reading) {
        case Reading::Decimal:
            out.push_back(decimalOf(record + f.offset, f.width));
            break;
        case Reading::Integer:
            out.push_back(integerOf(record + f.offset, f.width, size));
            break;
        case Reading::Digits:
            out.push_back(readHexField(record, f.offset, f.offset + f.width - 1));
            break;
        case Reading::Hourly: {
            std::string text;
            text.reserve(24 * 6);
            for (size_t hour = 0; hour < kHourRows; ++hour) {
                std::string v = integerOf(record + f.offset + kHourRowBytes * hour, 4, 0);
                if (v.size() >= 9) v = v.substr(v.size() - 8);
                if (f.hourlyPlace >= 2) v = placeDecimals(v, settings.priceDecimals, settings.decimalSign);
                text += v;
                text += ' ';
            }
            out.push_back(std::move(text));
            break;
        }
        }
    }
    return out;
}

}  // namespace brindale::exchange
