#pragma once
// The fixed vocabulary of a free label format: the 120 item slots, the 35 fonts, the dot pitch
// and the one rounding every millimetre / dot conversion goes through.
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace brindale::labelformat {

// Dots per millimetre of the scales' printers.
inline constexpr float kDotsPerMm = 8.0f;

inline constexpr int kSlotCount = 120;
inline constexpr int kItemSlots = 90;   // slots 0..89: the item label
inline constexpr int kTotalSlots = 30;  // slots 90..119: the total label
inline constexpr int kFontCount = 35;

struct Slot {
    const char* ItemCode;        // ordinal of the slot's column in KVR_34, "000" for none
    const char* ItemType;        // "N1", "C1".."C4", "B1".."B5", "FF"
    const char* ItemLength;      // characters of the item's text
    const char* ItemLengthFlag;  // "1": the item string carries ItemLength
};

struct Font {
    const char* FontCode;
    int FontWidth;   // dots
    int FontHeight;  // dots
};

const std::array<Slot, kSlotCount>& slotTable();
const std::array<Font, kFontCount>& fonts();

// The column ordinal of a slot; 0 for a slot without a column.
int slotColumn(int slot);
int slotLength(int slot);
bool isBarcodeClass(std::string_view cls);  // "B1".."B5"
// The font index of a code; -1 when no font has it.
int fontIndex(std::string_view code);
// Bytes an item of the class takes in the record (0 for "FF" or an unknown class).
int classBytes(std::string_view cls);

// Round to nearest, ties to the even number: every conversion of this subsystem uses it.
int64_t roundEven(double v);
int64_t mmToDots(double mm);
int64_t dotsToMm(double dots);

// Uppercase hexadecimal without prefix; `width` pads on the left with "0".
std::string hex(int64_t v, int width = 0);
// Hexadecimal text to a number; false when empty or a character is not a hex digit.
bool parseHex(std::string_view text, int64_t& out);
// The leading decimal digits of a text as a number (0 when none), like a lenient Val.
int64_t leadingDecimal(std::string_view text);
std::string padLeft(std::string_view text, size_t width, char fill = '0');

}  // namespace brindale::labelformat
