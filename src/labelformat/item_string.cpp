#include "labelformat/item_string.h"

#include <algorithm>

#include "labelformat/tables.h"

namespace brindale::labelformat {

std::string_view mid(std::string_view s, size_t pos, size_t n) {
    if (pos == 0 || pos > s.size()) return {};
    return s.substr(pos - 1, n);
}

namespace {

int hexAt(std::string_view s, size_t pos, size_t n) {
    int64_t v = 0;
    if (!parseHex(mid(s, pos, n), v)) return 0;
    return static_cast<int>(v);
}

}  // namespace

ItemFields readItemString(int slot, std::string_view s) {
    ItemFields f;
    if (slot < 0 || slot >= kSlotCount) return f;
    const std::string_view cls = slotTable()[static_cast<size_t>(slot)].ItemType;
    const int x = hexAt(s, 1, 4), y = hexAt(s, 5, 4);
    f.attr = std::string(mid(s, 9, 4));
    f.angle = std::min(3, hexAt(s, 9, 1) / 4);
    f.status = hexAt(s, 11, 1);
    if (f.status > 7) f.status = 0;
    f.x = x;
    f.y = y;
    if (cls == "N1") {
        f.value = std::string(mid(s, 13, 2));
        f.font = fontIndex(f.value);
        if (f.font < 0) f.font = 2;
        const auto& font = fonts()[static_cast<size_t>(f.font)];
        f.width = font.FontWidth * slotLength(slot);
        f.height = font.FontHeight;
    } else if (cls.size() == 2 && cls[0] == 'C') {
        f.height = hexAt(s, 13, 4);
        f.width = hexAt(s, 17, 4);
        f.value = std::string(mid(s, 21, 2));
        f.font = fontIndex(f.value);
        if (f.font < 0) f.font = 2;
    } else if (cls == "B3") {
        const int ex = hexAt(s, 13, 4), ey = hexAt(s, 17, 4);
        f.x = std::min(x, ex);
        f.y = std::min(y, ey);
        f.width = std::abs(ex - x);
        f.height = std::abs(ey - y);
        f.angle = 0;
        f.value = std::string(mid(s, 21, 4));
    } else {
        f.height = hexAt(s, 13, 4);
        f.width = hexAt(s, 17, 4);
        if (cls == "B4") f.value = std::string(mid(s, 21, 4));
    }
    return f;
}

ItemSizeMm itemSizeMm(int slot, const ItemFields& f) {
    ItemSizeMm m;
    m.x = static_cast<int>(dotsToMm(f.x));
    m.y = static_cast<int>(dotsToMm(f.y));
    m.width = static_cast<int>(dotsToMm(f.width));
    m.height = static_cast<int>(dotsToMm(f.height));
    if (slot >= 0 && slot < kSlotCount && std::string_view(slotTable()[static_cast<size_t>(slot)].ItemType) == "N1")
        m.height = std::max(2, m.height);
    return m;
}

std::string SaveTempItemString(int slot, const ItemEdit& e) {
    if (e.posX.empty() || slot < 0 || slot >= kSlotCount) return {};
    const Slot& sl = slotTable()[static_cast<size_t>(slot)];
    const std::string_view cls = sl.ItemType;
    if (cls == "FF") return {};
    const int64_t x = leadingDecimal(e.posX), y = leadingDecimal(e.posY);
    std::string s = hex(mmToDots(static_cast<double>(x)), 4) + hex(mmToDots(static_cast<double>(y)), 4) + e.ItemAttr;
    const std::string h = hex(mmToDots(e.height), 4), w = hex(mmToDots(e.width), 4);
    if (cls == "N1") {
        s += e.ItemValue;
        s += std::string_view(sl.ItemLengthFlag) == "1" ? std::string(sl.ItemLength) : std::string("00");
    } else if (cls[0] == 'C') {
        s += h + w + e.ItemValue;
        if (cls == "C1") s += "000000";
        else if (cls == "C2") s += "00";
        else if (cls == "C3") s += std::string(30, '0');
        else s += std::string(14, '0');
    } else if (cls == "B3") {
        s += hex(mmToDots(static_cast<double>(x + e.width)), 4) + hex(mmToDots(static_cast<double>(y + e.height)), 4) +
             padLeft(e.ItemValue, 4);
    } else if (cls == "B4") {
        s += h + w + padLeft(e.ItemValue, 4);
    } else {
        s += h + w + "0000";
    }
    return s;
}

}  // namespace brindale::labelformat
