#include "labelformat/record_codec.h"

#include <algorithm>
#include <stdexcept>

namespace brindale::labelformat {

RecordLayout RecordLayout::fromColumns(const std::vector<store::ColumnDef>& columns) {
    RecordLayout l;
    int at = 0;
    for (size_t i = 0; i < columns.size(); ++i) {
        std::string lower = columns[i].name;
        std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
        if (lower == "kvrbindata") break;
        const int n = i == 1 ? 0 : std::max(0, columns[i].size / 2);
        l.bytes.push_back(n);
        l.defined.push_back(i == 1 ? 0 : std::max(0, columns[i].size));
        l.offset.push_back(at);
        at += n;
    }
    return l;
}

int RecordLayout::lastLoop(int size) {
    if (size == kSize1400) return 140;
    if (size == kSize1664) return 151;
    return 108;
}

int RecordLayout::recordBytes(int size) const {
    int sum = 0;
    const int last = lastColumn(size);
    for (int c = 0; c <= last && c < columnCount(); ++c) sum += bytes[static_cast<size_t>(c)];
    return sum;
}

std::string ByteToString(const Bytes& BinData, size_t first, size_t last) {
    std::string s;
    if (last + 1 == first) return s;
    if (first > last || last >= BinData.size()) throw std::out_of_range("ByteToString beyond the record");
    static const char digits[] = "0123456789ABCDEF";
    s.resize((last - first + 1) * 2);
    for (size_t i = first, k = 0; i <= last; ++i, k += 2) {
        s[k] = digits[BinData[i] >> 4];
        s[k + 1] = digits[BinData[i] & 0xF];
    }
    return s;
}

bool StringToByte(Bytes& BinData, std::string_view text, size_t first, size_t last) {
    if (last + 1 == first) return true;
    if (first > last || last >= BinData.size()) return false;
    for (size_t i = first; i <= last; ++i) {
        const size_t at = (i - first) * 2;
        int64_t v = 0;
        if (at + 2 > text.size() || !parseHex(text.substr(at, 2), v)) return false;
        BinData[i] = static_cast<uint8_t>(v);
    }
    return true;
}

bool packedFormatNumber(const Bytes& record, int& number) {
    if (record.size() < 4) return false;
    int v = 0;
    for (size_t i = 0; i < 4; ++i) {
        const int hi = record[i] >> 4, lo = record[i] & 0xF;
        if (hi > 9 || lo > 9) return false;
        v = v * 100 + hi * 10 + lo;
        if (v > 99) return false;
    }
    if (v < 1) return false;
    number = v;
    return true;
}

bool recordToColumns(const Bytes& b, const RecordLayout& layout, std::vector<std::pair<int, std::string>>& out) {
    out.clear();
    if (b.size() < 6) return false;
    const int size = b[4] * 256 + b[5];
    const int last = RecordLayout::lastLoop(size);
    size_t first = 0;
    for (int i = 0; i <= last; ++i) {
        const int col = i == 0 ? 0 : i + 1;
        if (col >= layout.columnCount()) return false;
        const size_t n = static_cast<size_t>(layout.bytes[static_cast<size_t>(col)]);
        if (first + n > b.size()) return false;
        std::string s = n ? ByteToString(b, first, first + n - 1) : std::string();
        first += n;
        const std::string_view head = std::string_view(s).substr(0, static_cast<size_t>(layout.defined[static_cast<size_t>(col)]));
        if (head.find_first_not_of('0') == std::string_view::npos) s = "0";
        if (col == 0) s = std::to_string(leadingDecimal(s));
        out.emplace_back(col, std::move(s));
    }
    return true;
}

int codedSize(std::string_view sizeText) {
    int64_t size = 0;
    if (!parseHex(sizeText, size)) size = 0;
    return size == kSize1400 || size == kSize1664 ? static_cast<int>(size) : kSize1118;
}

}  // namespace brindale::labelformat
