#pragma once
// The key sheet layouts of ini/PresetKey1.ini and the geometry of a sheet in centimetres.
#include <stdexcept>
#include <string>

namespace brindale::presetkey {

inline constexpr int kLayoutCount = 10;  // the entries of the layout list on the scale's form

struct Layout {
    int number = 0;
    std::string name;    // keyType: shown in front of the scale's address
    int keyNum = 0;      // keys on the sheet
    int rows = 0;
    int cols = 0;
    double spacing = 0;  // width and height of a key's cell, cm
    int charNum = 0;     // kept; nothing uses it
    int order = 0;       // kept; nothing uses it
};

// Why a layout cannot be used. The window turns the reason into a text of its language.
enum class LayoutFault {
    NoSection,    // the file or its [PresetKey] section is missing
    NoKey,        // one of the seven keys is missing
    ShortList,    // a list with fewer than ten values
    NotNumber,    // a value that is no number
    BadSize,      // a spacing, row or column count of 0 or less, or no keys
    TooManyKeys,  // more keys than cells
    Beyond,       // a layout number outside the lists
};

class LayoutError : public std::runtime_error {
public:
    LayoutError(LayoutFault fault, std::string file, std::string key, int layout, std::string value);
    LayoutFault fault;
    std::string file, key;
    int layout;
    std::string value;  // the offending value, where there is one
};

// Reads the seven lists of `[PresetKey]` in the block of `languageName` and takes the value of
// `layout` from each (position layout + 1). Every list must hold the ten layouts, so a damaged
// file is found whichever layout is asked for. Throws LayoutError.
Layout loadLayout(const std::string& path, const std::string& languageName, int layout);

// ---- geometry, in centimetres from the picture's top left corner ----
inline constexpr double kMargin = 1.0;

// Key number of column j and row i (both from 0, i from the top): numbers run from the bottom
// left cell, left to right, then upwards.
int keyAt(const Layout& l, int column, int row);
struct Cell {
    int row;     // from 1 at the top
    int column;  // from 1 at the left
};
Cell cellOf(const Layout& l, int key);
// Top left corner of a key's cell.
double cellLeft(const Layout& l, int key);
double cellTop(const Layout& l, int key);
// The key under a point, or -1 on a border or outside the grid. Cells beyond keyNum give their
// numbers all the same (they are drawn numbered); callers look up keys up to keyNum only.
int getKeyNumber(const Layout& l, double x, double y);
// The picture: the grid, its margins and the mark under it.
double pictureWidth(const Layout& l);
double pictureHeight(const Layout& l);

}  // namespace brindale::presetkey
