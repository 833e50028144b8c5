#include "scalefiles/text_lines.h"

#include "codec/code_page.h"

namespace brindale::scalefiles {

namespace {

constexpr uint8_t kNextLine = 0x0D;
constexpr uint8_t kLastLine = 0x0C;

std::vector<FontChoice> named(const char* prefix, int count, const std::vector<uint8_t>& codes, int first = 1) {
    std::vector<FontChoice> v;
    for (int i = 0; i < count; ++i) v.push_back({prefix + std::to_string(first + i), codes[static_cast<std::size_t>(i)]});
    return v;
}

}  // namespace

bool isTextKind(int kind) { return (kind >= 1 && kind <= 3) || (kind >= 11 && kind <= 16); }

std::string textColumnName(int kind) {
    switch (kind) {
        case kIngredientText: return "PLU_Ingredient";
        case kSpecialMessageText: return "PLU_SPMessage";
        case kCommodityText: return "PLU_Commodity";
        case kFreeTextFile: return "KVR_38.Name";
        case kPlaceFile: return "KVR_39.Name";
        case kIngredientFile: return "KVR_3A.Name";
        case kSpecialMessageFile: return "KVR_3B.Name";
        case kAdvertisementFile: return "KVR_3C.Name";
        case kStoreNameFile: return "KVR_3D.Name";
        default: return {};
    }
}

int maxLines(int kind, int scaleTypeIndex, int countryIndex) {
    switch (kind) {
        case kIngredientText:
            return scaleTypeIndex == 0 && countryIndex != 1 && countryIndex != 26 && countryIndex != 27 ? 15 : 99;
        case kSpecialMessageText: return 30;
        case kCommodityText: return 4;
        case kFreeTextFile: return 2;
        case kPlaceFile: return 1;
        case kIngredientFile: return scaleTypeIndex == 0 ? 15 : 99;
        case kSpecialMessageFile: return 8;
        case kAdvertisementFile: return 2;
        case kStoreNameFile: return 3;
        default: return 0;
    }
}

const std::vector<FontChoice>& fontsFor(int countryIndex) {
    static const std::vector<FontChoice> japan = named("J", 4, {0x10, 0x11, 0x12, 0x13});
    static const std::vector<FontChoice> g = named("G", 6, {0x16, 0x17, 0x14, 0x15, 0x18, 0x19});
    static const std::vector<FontChoice> b = named("B", 6, {0x0A, 0x0B, 0x1A, 0x1B, 0x1C, 0x1D});
    static const std::vector<FontChoice> k = named("K", 6, {0x21, 0x22, 0x23, 0x24, 0x25, 0x26});
    static const std::vector<FontChoice> t = named("T", 3, {0x1E, 0x1F, 0x20});
    static const std::vector<FontChoice> other = [] {
        auto v = named("S", 5, {0, 1, 2, 3, 4});
        auto m = named("M", 5, {5, 6, 7, 8, 9});
        v.insert(v.end(), m.begin(), m.end());
        return v;
    }();
    switch (countryIndex) {
        case 0: return japan;
        case 3: return g;
        case 4:
        case 5: return b;
        case 7: return k;
        case 37: return t;
        default: return other;
    }
}

std::optional<std::size_t> fontPosition(const std::vector<FontChoice>& fonts, uint8_t code) {
    for (std::size_t i = 0; i < fonts.size(); ++i)
        if (fonts[i].code == code) return i;
    return std::nullopt;
}

ReadLines linesFromBlock(const codec::Bytes& block, const codec::CodePage& codePage) {
    ReadLines r;
    if (!block || block->empty()) return r;
    const std::vector<uint8_t>& b = *block;
    const std::size_t n = b.size();
    auto addLine = [&](std::size_t from, std::size_t to, uint8_t font) {
        TextLine l;
        l.font = font;
        l.fromBlock = true;
        l.stored.assign(b.begin() + static_cast<std::ptrdiff_t>(from), b.begin() + static_cast<std::ptrdiff_t>(to));
        codePage.decode(l.stored.data(), l.stored.size(), l.storedText);
        l.text = l.storedText;
        r.lines.push_back(std::move(l));
    };
    // The same walk as the codec's: font, length, text, separator; 0x0D goes on to the next line.
    std::size_t pos = 0;
    for (;;) {
        if (pos + 1 >= n) {  // the bytes end before a font and a length: the line is missing
            r.damage = BlockDamage{n};
            return r;
        }
        const std::size_t textStart = pos + 2;
        const std::size_t textEnd = textStart + b[pos + 1];
        if (textEnd > n) {  // the length claims more than is left: keep what is there
            addLine(textStart, n, b[pos]);
            r.damage = BlockDamage{pos + 1};
            return r;
        }
        addLine(textStart, textEnd, b[pos]);
        if (textEnd == n) {  // the separator is missing
            r.damage = BlockDamage{n};
            return r;
        }
        if (b[textEnd] != kNextLine) {
            if (textEnd + 1 < n) r.damage = BlockDamage{textEnd + 1};  // bytes after the end
            return r;
        }
        pos = textEnd + 1;
    }
}

std::vector<uint8_t> lineBytes(const TextLine& line, const codec::CodePage& codePage) {
    if (line.unchanged()) return line.stored;
    std::vector<uint8_t> bytes;
    codePage.encode(line.text, bytes);
    return bytes;
}

JoinedBlock blockFromLines(const std::vector<TextLine>& lines, const codec::CodePage& codePage) {
    JoinedBlock j;
    if (lines.empty() || lines.front().text.empty()) return j;
    std::vector<uint8_t> out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::vector<uint8_t> bytes = lineBytes(lines[i], codePage);
        if (bytes.size() > kMaxLineBytes) {
            j.tooLong = LineTooLong{i, bytes.size()};
            return j;
        }
        out.push_back(lines[i].font);
        out.push_back(static_cast<uint8_t>(bytes.size()));
        out.insert(out.end(), bytes.begin(), bytes.end());
        out.push_back(i + 1 < lines.size() ? kNextLine : kLastLine);
    }
    j.block = std::move(out);
    return j;
}

std::optional<std::string> characterNotHeld(const TextLine& line, const codec::CodePage& codePage) {
    if (line.unchanged()) return std::nullopt;
    return codePage.firstNotHeld(line.text);
}

}  // namespace brindale::scalefiles
