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
        {"26", 128, {{6, 7}, {13, 1}, {14, 2}, {109, 1}}, {106, 3}, {24, 2}, {16, 4}, {26, 4}},
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

uint64_t countOf(uint64_t n) { return n % 50 + 1; }
uint64_t amountOf(uint64_t n) { return countOf(n) * (100 + n % 900); }
uint64_t weightOf(uint64_t n) { return countOf(n) * 250; }

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
        // The store total adds up the PLU totals the scale would report.
        uint64_t count = 0, amount = 0, weight = 0;
        for (uint64_t n : numbersOf(held, "25")) {
            count += countOf(n);
            amount += amountOf(n);
            weight += weightOf(n);
        }
        Record r = makeOne(*layout, 1, count & 0xFFFFFFFF, amount & 0xFFFFFFFF, weight & 0xFFFFFFFF);
        // Four blocks of 24 hourly rows (four 4-byte figures each).
        for (size_t block : {86u, 566u, 1046u, 1526u})
            for (size_t hour = 0; hour < 24; ++hour)
                for (size_t k = 0; k < 4; ++k)
                    putInt(r, block + 16 * hour + 4 * k, 4, (count * (hour + 1) + k) % 1000);
        out.push_back(std::move(r));
        return out;
    }
    for (uint64_t n : items) {
        Record r = makeOne(*layout, n, countOf(n), amountOf(n), weightOf(n));
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
