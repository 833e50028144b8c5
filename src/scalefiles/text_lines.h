// The lines of a text block, as the string editor shows them, and the block they make.
// A block (commodity name, ingredient, special message, and the numbered text files) is a chain of
// lines: font code, length L, L bytes of text in the scales' code page, then 0x0D when another
// line follows or 0x0C after the last. The codec walks a block to find its end
// (codec/text_block.h); this is the editing side: a block into lines and lines back into a block.
// Plain C++ over the codec, no windows and no database.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "codec/columns.h"

namespace brindale::codec {
class CodePage;
}

namespace brindale::scalefiles {

// The kinds of text the string editor opens: 1 to 3 are PLU columns, 11 to 16 the text files.
enum TextKind : int {
    kIngredientText = 1,      // PLU_Ingredient, opened by cmdIngredientFont
    kSpecialMessageText = 2,  // PLU_SPMessage, opened by cmdSpecialMsgFont
    kCommodityText = 3,       // PLU_Commodity, opened by cmdFont
    kFreeTextFile = 11,       // KVR_38
    kPlaceFile = 12,          // KVR_39
    kIngredientFile = 13,     // KVR_3A
    kSpecialMessageFile = 14, // KVR_3B
    kAdvertisementFile = 15,  // KVR_3C
    kStoreNameFile = 16,      // KVR_3D
};

bool isTextKind(int kind);

// The column that holds a kind's block, for messages: "PLU_Ingredient", ..., "KVR_38.Name".
// Empty for a number that is no kind.
std::string textColumnName(int kind);

// The greatest number of lines of a kind under the settings; 0 for a number that is no kind.
int maxLines(int kind, int scaleTypeIndex, int countryIndex);

// The most text bytes one line can hold: its length is a single byte.
inline constexpr std::size_t kMaxLineBytes = 255;

// One entry of the font list: the name offered and the code a line stores.
struct FontChoice {
    std::string name;
    uint8_t code = 0;
};

// The fonts offered for a line under CountryIndex, in the order of the list.
const std::vector<FontChoice>& fontsFor(int countryIndex);
// Position of a font code in a list; nullopt when no entry stands for it.
std::optional<std::size_t> fontPosition(const std::vector<FontChoice>& fonts, uint8_t code);

struct TextLine {
    uint8_t font = 0;
    std::string text;  // UTF-8, as the editor shows it

    // A line read from a block keeps the bytes it was read from. While its text is still what
    // those bytes decode to, the bytes go back as they were, so that opening and confirming a
    // text never changes a byte the code page cannot bring back (an invalid sequence shown as '?').
    bool fromBlock = false;
    std::vector<uint8_t> stored;
    std::string storedText;

    static TextLine typed(uint8_t font, std::string text) {
        TextLine l;
        l.font = font;
        l.text = std::move(text);
        return l;
    }
    bool unchanged() const { return fromBlock && text == storedText; }
};

// Where a block stops making sense.
struct BlockDamage {
    std::size_t offset = 0;  // byte offset in the block of the first byte that cannot be read
};

struct ReadLines {
    std::vector<TextLine> lines;  // every line that could be read, a cut-off line with what is there
    std::optional<BlockDamage> damage;
};

// The lines of a block. A Null or empty block gives no lines. Lines end where the codec's walk
// ends the block (any separator but 0x0D ends it). Damage: a length or separator beyond the end
// of the bytes, or bytes after the end of the block.
ReadLines linesFromBlock(const codec::Bytes& block, const codec::CodePage& codePage);

// The bytes a line takes in the code page (its stored bytes while unchanged).
std::vector<uint8_t> lineBytes(const TextLine& line, const codec::CodePage& codePage);

// A line that cannot go into a block.
struct LineTooLong {
    std::size_t line = 0;  // 0-based
    std::size_t bytes = 0;
};

struct JoinedBlock {
    codec::Bytes block;                 // Null when the first line is empty (or there are none)
    std::optional<LineTooLong> tooLong; // set instead of a block when a line is over 255 bytes
};

// The block of the lines, in order. An empty first line means the text is empty: Null.
JoinedBlock blockFromLines(const std::vector<TextLine>& lines, const codec::CodePage& codePage);

// The first character of a line's text that the code page cannot hold, as UTF-8; nullopt when it
// holds all (a line unchanged from its block is taken as it is).
std::optional<std::string> characterNotHeld(const TextLine& line, const codec::CodePage& codePage);

}  // namespace brindale::scalefiles
