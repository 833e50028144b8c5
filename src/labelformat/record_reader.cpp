#include "labelformat/record_reader.h"

namespace brindale::labelformat {

bool itemPlaced(int slot, const std::string& s) {
    if (s.empty() || slot < 0 || slot >= kSlotCount) return false;
    const size_t j = s.find_first_not_of('0');
    if (j == std::string::npos || j + 1 == s.size()) return false;
    if (j + 3 == s.size() && std::string_view(slotTable()[static_cast<size_t>(slot)].ItemLengthFlag) != "0") return false;
    return true;
}

bool readRecord(const Bytes& record, const RecordLayout& layout, RecordView& out, std::string* why) {
    out = RecordView{};
    auto fail = [&](std::string w) {
        if (why) *why = std::move(w);
        return false;
    };
    if (layout.columnCount() < 6) return fail("the record layout has no head");
    if (record.size() < 6) return fail("a record of " + std::to_string(record.size()) + " bytes has no head");
    out.size = record[4] * 256 + record[5];
    const int lastCol = RecordLayout::lastColumn(out.size);
    if (lastCol >= layout.columnCount()) return fail("the record layout ends before column " + std::to_string(lastCol));
    const size_t need = static_cast<size_t>(layout.offset[static_cast<size_t>(lastCol)] + layout.bytes[static_cast<size_t>(lastCol)]);
    if (record.size() < need)
        return fail("a record of size " + std::to_string(out.size) + " needs " + std::to_string(need) + " bytes, it has " +
                    std::to_string(record.size()));
    int number = 0;
    if (packedFormatNumber(record, number)) out.number = number;
    auto column = [&](int col) {
        const size_t at = static_cast<size_t>(layout.offset[static_cast<size_t>(col)]);
        const size_t n = static_cast<size_t>(layout.bytes[static_cast<size_t>(col)]);
        return n ? ByteToString(record, at, at + n - 1) : std::string();
    };
    int64_t v = 0;
    out.widthDots = parseHex(column(3), v) ? static_cast<int>(v) : 0;
    v = 0;
    out.heightDots = parseHex(column(4), v) ? static_cast<int>(v) : 0;
    v = 0;
    out.level = parseHex(column(5), v) ? static_cast<int>(v) : 0;
    for (int slot = 0; slot < kSlotCount; ++slot) {
        const int col = slotColumn(slot);
        if (col == 0 || col > lastCol) continue;
        std::string s = column(col);
        if (!itemPlaced(slot, s)) continue;
        PlacedItem item;
        item.slot = slot;
        item.cls = slotTable()[static_cast<size_t>(slot)].ItemType;
        item.fields = readItemString(slot, s);
        item.text = std::move(s);
        out.items.push_back(std::move(item));
    }
    return true;
}

}  // namespace brindale::labelformat
