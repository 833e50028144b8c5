// The totals decoder on any bytes: the first byte picks the layout, the second the column size
// of the integer cut, the third the price decimal places; the rest is the record, of any length.
// A short record must be a TotalsFault, never a read past the end.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "exchange/totals.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace brindale::exchange;
    if (size < 3) return 0;
    const auto& layouts = totalsLayouts();
    const TotalsLayout& layout = layouts[data[0] % layouts.size()];
    const std::vector<int> sizes(size_t(layout.fieldCount), data[1] % 16);  // 0: no cut
    DecodeSettings s;
    s.priceDecimals = data[2] % 6;
    s.decimalSign = (data[2] & 0x80) ? "," : ".";
    std::vector<uint8_t> record(data + 3, data + size);  // its own buffer, so ASan sees its end
    // Inputs with bit 6 of their second byte are stretched to the layout's length by repeating
    // their bytes, so that whole records (2,184 bytes for the store total) come from short inputs.
    // The length the layout needs is worked out once: bytesNeeded expands the layout's fields.
    const size_t needed = bytesNeeded(layout);
    if ((data[1] & 0x40) && !record.empty()) {
        const size_t n = record.size();
        record.reserve(needed);
        while (record.size() < needed) record.push_back(record[record.size() % n]);
    }
    try {
        const auto texts = decodeRecord(layout, record.data(), record.size(), sizes, s);
        if (texts.size() != size_t(layout.fieldCount)) __builtin_trap();
    } catch (const TotalsFault& e) {
        if (record.size() >= needed) __builtin_trap();
    }
    for (const auto& text : {std::string(reinterpret_cast<const char*>(data), size)}) {
        readDecimal(text);
        readInteger(text.substr(0, 8), data[1] % 16);
        placeDecimals(text.substr(0, 12), data[2] % 6, ".");
        formatTime(text.substr(0, 8), ":");
    }
    return 0;
}
