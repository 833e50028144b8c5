#pragma once
// The three text lines of a key on the sheet: each page's name starts a line, a name too wide
// for the cell goes on in the next line, and nothing is printed after the third.
#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace brindale::presetkey {

inline constexpr int kNameLines = 3;
// The tops of the three lines below the cell's top, and the inset, in cm.
inline constexpr double kLineTops[kNameLines] = {0.3, 0.7, 1.1};
inline constexpr double kTextInset = 0.1;

// `width` is the room of a line (s - 0.1 cm); `measure` gives the width of a text in the same
// unit, from the font the painting uses. Names are UTF-8; a break never splits a character.
std::vector<std::string> nameLines(const std::array<std::string, 3>& names, double width,
                                   const std::function<double(std::string_view)>& measure);

}  // namespace brindale::presetkey
