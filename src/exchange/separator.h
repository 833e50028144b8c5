#pragma once
// The separator lists of both exchange windows (comboSeperator): one byte a position.
#include <optional>

namespace brindale::exchange {

// Position 0 tab, 1 comma, 2 semicolon; nothing for any other position.
inline std::optional<char> separatorByte(int position) {
    switch (position) {
        case 0: return '\t';
        case 1: return ',';
        case 2: return ';';
        default: return std::nullopt;
    }
}

}  // namespace brindale::exchange
