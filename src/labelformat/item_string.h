#pragma once
// An item string: the hexadecimal text of one placed item (position, attribute word, then the
// groups of its class). Read into the fields an editor shows, and built back from them.
#include <string>
#include <string_view>

namespace brindale::labelformat {

// What an item string says, in dots. For "N1" the size comes from the font and ItemLength.
struct ItemFields {
    int x = 0, y = 0;           // anchor; for "B3" the smaller of start and end
    int width = 0, height = 0;  // dots
    int angle = 0;              // 0..3 for 0, 90, 180, 270 degrees
    int status = 0;             // 0..7
    int font = -1;              // font index for the classes that carry one, else -1
    std::string attr = "0070";  // the attribute word as stored
    std::string value;          // font code, or thickness / image number digits
};

// Characters `pos` (1-based) to pos + n - 1, shorter or empty beyond the end.
std::string_view mid(std::string_view s, size_t pos, size_t n);

// Reads the item string of a slot. An unknown font code reads as font 2, a status above 7 as 0,
// a "B3" line takes the smaller X and Y as its anchor.
ItemFields readItemString(int slot, std::string_view s);

// The fields of an item being edited, in millimetres as the editor holds them.
struct ItemEdit {
    std::string posX, posY;  // "" while nothing is placed
    int width = 0, height = 0;
    std::string ItemAttr = "0070";
    std::string ItemValue = "02";
};

// Builds the item string of a slot from the fields; "" for an empty ("FF") slot or while posX is
// empty. Thickness and image numbers go in as the typed digits; the one-character font codes
// "A" and "B" are kept as they are, so such a string is one character short.
std::string SaveTempItemString(int slot, const ItemEdit& e);

// The size in millimetres the editor shows for an item read from its string.
struct ItemSizeMm {
    int x = 0, y = 0, width = 0, height = 0;
};
ItemSizeMm itemSizeMm(int slot, const ItemFields& f);

}  // namespace brindale::labelformat
