// Saved sets of the PLU import: any text is read without a fault, what is read stays within its
// lists, and a set written and read again is the same set.
#include <cstdint>
#include <string_view>

#include "exchange/import_settings.h"

using namespace brindale::exchange;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const int count = data[0] % 64;
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    const ImportSettings s = readImportSettings(text, count);
    if (!separatorByte(s.separator)) __builtin_trap();
    if (s.barType != 0 && s.barType != 1) __builtin_trap();
    if (s.weightFlag.size() > 4) __builtin_trap();
    for (int f : s.fontPositions)
        if (!fontCodeAt(f)) __builtin_trap();
    for (size_t i = 0; i < s.items.size(); ++i) {
        if (s.items[i] < 0 || s.items[i] >= count) __builtin_trap();
        for (size_t k = 0; k < i; ++k)
            if (s.items[k] == s.items[i]) __builtin_trap();
    }
    if (readImportSettings(writeImportSettings(s), count) != s) __builtin_trap();
    return 0;
}
