// The choices of the PLU import and export window that can be kept in a file: separator, barcode
// type, weighed mark, the three font positions of the text columns and the chosen columns.
// Plain C++: the window reads and writes them through here.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/separator.h"

namespace brindale::exchange {

// The font codes a text column can be given, by position in the font list. Positions 33 and 34
// of the list have no code and are not offered.
inline constexpr int kFontCodeCount = 33;
std::optional<uint8_t> fontCodeAt(int position);


// The three text columns, in the order the window keeps their font positions.
inline constexpr std::array<std::string_view, 3> kTextColumns = {"PLU_Commodity", "PLU_Ingredient", "PLU_SPMessage"};
// 0, 1, 2 for the text columns (without regard to case), -1 for any other.
int textColumnIndex(std::string_view column);

struct ImportSettings {
    int separator = 0;
    int barType = 0;  // 0 EAN, 1 ITF
    std::string weightFlag;
    std::array<int, 3> fontPositions{0, 0, 0};
    std::vector<int> items;  // positions in the list of importable columns, in file order

    bool operator==(const ImportSettings&) const = default;
};

// One value a line, CR LF.
std::string writeImportSettings(const ImportSettings& settings);

// Reads a saved set against a list of `itemCount` columns. A line that is not a number where one
// is asked, a position outside its list, a font position without a code and a column chosen twice
// are passed over: the line's value stays as in `base`, or the column is left out; each is told in
// `passedOver` as "line N". The weighed mark keeps its first character.
ImportSettings readImportSettings(std::string_view text, int itemCount, const ImportSettings& base = {},
                                  std::vector<std::string>* passedOver = nullptr);

// The file forms; false with `error` naming the file and the reason.
bool saveImportSettings(const std::string& path, const ImportSettings& settings, std::string& error);
bool loadImportSettings(const std::string& path, int itemCount, ImportSettings& settings, std::string& error,
                        std::vector<std::string>* passedOver = nullptr);

}  // namespace brindale::exchange
