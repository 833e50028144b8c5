#include "totals.h"

namespace brindale::scaleemu {

void putBcd(Record& r, size_t offset, size_t width, uint64_t value) {
    for (size_t i = 0; i < width; ++i) {
        const uint8_t lo = uint8_t(value % 10);
        value /= 10;
        const uint8_t hi = uint8_t(value % 10);
        value /= 10;
        r[offset + width - 1 - i] = uint8_t((hi << 4) | lo);
    }
}

void putInt(Record& r, size_t offset, size_t width, uint64_t value) {
    for (size_t i = 0; i < width; ++i) {
        r[offset + width - 1 - i] = uint8_t(value & 0xFF);
        value >>= 8;
    }
}

bool isBcd(const uint8_t* p, size_t width) {
    for (size_t i = 0; i < width; ++i)
        if ((p[i] >> 4) > 9 || (p[i] & 0x0F) > 9) return false;
    return true;
}

namespace {

struct Field {
    size_t offset, width;
};

struct Layout {
    const char* code;
    size_t size;
    std::vector<Field> decimals;  // packed decimal and digit fields besides the record number
    Field date;                   // a digit field taken as a date YYMMDD (width 0: none)
    Field count, amount, weight;  // binary figures (width 0: none)
};

const std::vector<Layout>& layouts() {
    static const std::vector<Layout> l = {
        {"21", 105, {}, {102, 3}, {6, 4}, {14, 4}, {22, 4}},
        {"24", 83, {{6, 1}, {7, 1}}, {80, 3}, {8, 4}, {16, 4}, {24, 4}},
        {"26", 128, {{6, 7}, {13, 1}, {14, 2}, {109, 1}}, {106, 3}, {24, 2}, {30, 4}, {26, 4}},
        {"2E", 105, {{6, 4}, {10, 4}, {14, 4}, {18, 2}, {20, 4}, {27, 2}, {29, 5}, {34, 5}, {40, 4}, {44, 4},
                     {48, 7}, {55, 50}}, {24, 3}, {39, 1}, {0, 0}, {0, 0}},
        {"45", 174, {{6, 5}, {11, 4}}, {0, 0}, {16, 4}, {24, 4}, {40, 4}},
        {"46", 2184, {{1930, 4}}, {0, 0}, {6, 4}, {14, 4}, {30, 4}},
        {"4A", 106, {{9, 1}}, {0, 0}, {10, 4}, {14, 4}, {0, 0}},
        {"52", 540, {{13, 17}, {31, 1}, {168, 8}, {199, 1}}, {0, 0}, {36, 4}, {40, 4}, {32, 4}},
        {"59", 50, {{6, 20}}, {44, 6}, {26, 4}, {0, 0}, {30, 4}},
    };
    return l;
}

// The item number a record stands for: its first four bytes read as BCD,
// or, when they are not BCD, their binary value cut to eight digits.
uint64_t itemNumber(uint32_t recno) {
    uint8_t b[4] = {uint8_t(recno >> 24), uint8_t(recno >> 16), uint8_t(recno >> 8), uint8_t(recno)};
    if (!isBcd(b, 4)) return recno % 100000000u;
    uint64_t v = 0;
    for (uint8_t x : b) v = v * 100 + (x >> 4) * 10 + (x & 0x0F);
    return v;
}

uint64_t countOf(uint64_t n) { return totalsCount(n); }
uint64_t amountOf(uint64_t n) { return totalsAmount(n); }
uint64_t weightOf(uint64_t n) { return totalsWeight(n); }

// The transaction record of a PLU: one sale of its whole day, packed as its PLU total says.
Record transactionOf(const Layout& l, uint64_t n) {
    Record r(l.size, 0);
    putBcd(r, 0, 4, n);
    putInt(r, 4, 2, l.size);
    putBcd(r, 6, 4, n);                   // PLU_No
    putBcd(r, 10, 4, totalsUnitPrice(n));  // UnitPrice
    putBcd(r, 14, 4, totalsWeight(n));     // Weight
    putBcd(r, 18, 2, totalsCount(n));      // Quantity
    putBcd(r, 20, 4, totalsAmount(n));     // TotalPrice
    putBcd(r, 24, 3, 240630);              // SaleDate
    putBcd(r, 27, 2, 1200);                // SaleTime
    putBcd(r, 29, 5, n * 7 + 1);
    putBcd(r, 34, 5, n * 7 + 2);
    r[39] = 1;                              // TransType
    putBcd(r, 40, 4, 0);                   // Discount
    putBcd(r, 44, 4, totalsAmount(n));     // NetPrice
    putBcd(r, 48, 7, n * 7 + 3);
    putBcd(r, 55, 50, n * 7 + 4);
    return r;
}

// The decoders' corners: one more record of each file (number 99999999) holding the values at
// the ends of each reading.
struct Corner {
    const char* code;
    size_t offset, width;
    uint64_t value;  // written big-endian, bytes as they are
};
const std::vector<Corner>& corners() {
    static const std::vector<Corner> c = {
        {"21", 6, 4, 0xFFFFFFFFu},  {"21", 14, 4, 1000000000},  {"24", 6, 1, 0xAB},
        {"24", 8, 4, 0xFFFFFFFFu},  {"24", 16, 4, 1000000000},  {"26", 14, 2, 0xABCD},
        {"26", 24, 2, 0xFFFF},      {"26", 30, 4, 1000000000},  {"26", 16, 4, 0xFFFFFFFFu},
        {"2E", 6, 4, 0xA1234567u},  {"2E", 39, 1, 0xFF},        {"45", 15, 1, 0xFF},
        {"45", 44, 2, 0xFFFF},      {"45", 16, 4, 0xFFFFFFFFu}, {"45", 24, 4, 1000000000},
        {"46", 34, 2, 0xFFFF},      {"46", 6, 4, 0xFFFFFFFFu},  {"46", 14, 4, 1000000000},
        {"46", 1930, 4, 0xF0000012u}, {"46", 86 + 16 * 12, 4, 123456789}, {"4A", 8, 1, 0xFF},
        {"4A", 6, 2, 0xFFFF},       {"4A", 10, 4, 0xFFFFFFFFu}, {"4A", 14, 4, 1000000000},
        {"52", 6, 1, 0xFF},         {"52", 8, 2, 0xFFFF},       {"52", 36, 4, 0xFFFFFFFFu},
        {"52", 40, 4, 1000000000},  {"59", 38, 1, 0xFF},        {"59", 26, 4, 0xFFFFFFFFu},
        {"59", 30, 4, 1000000000},
    };
    return c;
}

Record makeOne(const Layout& l, uint64_t number, uint64_t count, uint64_t amount, uint64_t weight) {
    Record r(l.size, 0);
    putBcd(r, 0, 4, number);
    putInt(r, 4, 2, l.size > 0xFFFF ? 0 : l.size);
    uint64_t k = 1;
    for (const auto& f : l.decimals) putBcd(r, f.offset, f.width, number * 7 + k++);
    if (l.date.width == 3) putBcd(r, l.date.offset, 3, 240630);
    if (l.date.width == 6) putBcd(r, l.date.offset, 6, 240630120000ull);
    if (l.count.width) putInt(r, l.count.offset, l.count.width, count);
    if (l.amount.width) putInt(r, l.amount.offset, l.amount.width, amount);
    if (l.weight.width) putInt(r, l.weight.offset, l.weight.width, weight);
    return r;
}

std::vector<uint64_t> numbersOf(const Files& held, const char* code, size_t limit = SIZE_MAX) {
    std::vector<uint64_t> out;
    auto it = held.find(code);
    if (it == held.end()) return out;
    for (const auto& [recno, rec] : it->second) {
        if (out.size() >= limit) break;
        out.push_back(itemNumber(recno));
    }
    return out;
}

std::vector<uint64_t> range(uint64_t first, uint64_t last) {
    std::vector<uint64_t> v;
    for (uint64_t i = first; i <= last; ++i) v.push_back(i);
    return v;
}

}  // namespace

uint64_t totalsUnitPrice(uint64_t n) { return 100 + n % 900; }
uint64_t totalsCount(uint64_t n) { return n % 50 + 1; }
uint64_t totalsAmount(uint64_t n) { return totalsCount(n) * totalsUnitPrice(n); }
uint64_t totalsWeight(uint64_t n) { return totalsCount(n) * 250; }

std::array<uint64_t, 24> hourlyShares(uint64_t total) {
    // Trade from 8:00 to 19:59, a peak at noon and one after work; none at night.
    static const uint64_t weight[24] = {0, 0, 0, 0, 0, 0, 0, 0, 2, 3, 4, 6, 8, 6, 4, 3, 4, 6, 5, 2, 0, 0, 0, 0};
    uint64_t sum = 0;
    for (uint64_t w : weight) sum += w;
    std::array<uint64_t, 24> out{};
    uint64_t given = 0;
    for (size_t h = 0; h < 24; ++h) {
        out[h] = total * weight[h] / sum;
        given += out[h];
    }
    out[19] += total - given;  // what the rounding left goes to the last open hour
    return out;
}

uint64_t receiptTime(uint64_t i) { return (8 + (i * 5) % 12) * 100 + (i * 13) % 60; }

std::vector<Record> makeTotals(const std::string& code, const Files& held, bool withCorners) {
    std::vector<Record> out = makeTotals(code, held);
    if (!withCorners) return out;
    const Layout* layout = nullptr;
    for (const auto& l : layouts())
        if (code == l.code) layout = &l;
    if (!layout) return out;
    Record r(layout->size, 0);
    putBcd(r, 0, 4, 99999999);
    putInt(r, 4, 2, layout->size);
    for (const auto& c : corners())
        if (code == c.code) putInt(r, c.offset, c.width, c.value);
    out.push_back(std::move(r));
    return out;
}

std::vector<Record> makeTotals(const std::string& code, const Files& held) {
    const Layout* layout = nullptr;
    for (const auto& l : layouts())
        if (code == l.code) layout = &l;
    if (!layout) return {};

    std::vector<uint64_t> items;
    if (code == "21") items = numbersOf(held, "20");
    else if (code == "24") items = numbersOf(held, "23");
    else if (code == "26" || code == "2E") items = numbersOf(held, "25");
    else if (code == "52") items = range(1, numbersOf(held, "25", 20).size());
    else if (code == "59") items = range(1, numbersOf(held, "25", 10).size());
    else if (code == "45") items = range(1, 4);
    else if (code == "4A") items = range(1, 4);
    else if (code == "46") items = {1};

    std::vector<Record> out;
    if (code == "46") {
        // The store total adds up the PLU totals the scale would report; week, month and term
        // are the day times 3, 7 and 13.
        uint64_t count = 0, amount = 0, weight = 0;
        for (uint64_t n : numbersOf(held, "25")) {
            count += countOf(n);
            amount += amountOf(n);
            weight += weightOf(n);
        }
        Record r = makeOne(*layout, 1, count & 0xFFFFFFFF, amount & 0xFFFFFFFF, weight & 0xFFFFFFFF);
        // Each period: count 1 and amount 1, then its block of 24 hourly rows (count 1, count 2,
        // amount 1, amount 2) whose count 1 and amount 1 add up to the period's.
        const size_t periods[4][3] = {{6, 14, 86}, {470, 478, 566}, {950, 958, 1046}, {1430, 1438, 1526}};
        for (size_t p = 0; p < 4; ++p) {
            const uint64_t c = (count * kPeriodFactor[p]) & 0x7FFFFFFF, a = (amount * kPeriodFactor[p]) & 0x7FFFFFFF;
            putInt(r, periods[p][0], 4, c);
            putInt(r, periods[p][1], 4, a);
            const auto counts = hourlyShares(c), amounts = hourlyShares(a);
            for (size_t hour = 0; hour < 24; ++hour) {
                putInt(r, periods[p][2] + 16 * hour, 4, counts[hour]);
                putInt(r, periods[p][2] + 16 * hour + 8, 4, amounts[hour]);
            }
        }
        out.push_back(std::move(r));
        return out;
    }
    for (uint64_t n : items) {
        if (code == "2E") {
            out.push_back(transactionOf(*layout, n));
            continue;
        }
        Record r = makeOne(*layout, n, countOf(n), amountOf(n), weightOf(n));
        if (code == "26") putInt(r, 16, 4, totalsUnitPrice(n));
        if (code == "52") putInt(r, 84, 4, receiptTime(n));
        if (code == "24") {
            // The department of the main group, as its record says.
            auto f = held.find("23");
            if (f != held.end()) {
                for (const auto& [recno, rec] : f->second)
                    if (itemNumber(recno) == n && rec.size() > 6 && isBcd(&rec[6], 1)) r[6] = rec[6];
            }
        }
        out.push_back(std::move(r));
    }
    return out;
}

}  // namespace brindale::scaleemu
