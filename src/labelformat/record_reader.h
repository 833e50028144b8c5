#pragma once
// Reads a label format record as the scale does: the head, then for every slot whose column the
// record reaches, the placed item (class, rectangle in dots, angle, status, font, thickness or
// image). The preview draws from this, so it shows what the scale receives.
#include <string>
#include <vector>

#include "labelformat/codec.h"
#include "labelformat/item_string.h"

namespace brindale::labelformat {

struct PlacedItem {
    int slot = 0;
    std::string cls;   // "N1", "C1".."C4", "B1".."B5"
    std::string text;  // the item string as the record holds it (padded to the column)
    ItemFields fields;
};

struct RecordView {
    int number = 0;  // packed bytes 0..3; 0 when they are not a packed number
    int size = 0;    // bytes 4 and 5
    int widthDots = 0, heightDots = 0;
    int level = 0;
    std::vector<PlacedItem> items;
};

// False (with a reason) when the record is shorter than its head or than the loop its size
// chooses; a size none of the three is read with the 1118 loop.
bool readRecord(const Bytes& record, const RecordLayout& layout, RecordView& out, std::string* why = nullptr);

// Whether an item string counts as placed (the test OpenData uses).
bool itemPlaced(int slot, const std::string& s);

}  // namespace brindale::labelformat
