#include "labelformat/tables.h"

#include <cfenv>
#include <cmath>

namespace brindale::labelformat {

const std::array<Slot, kSlotCount>& slotTable() {
    static const std::array<Slot, kSlotCount> t = {{
        // item label 01..90
        {"006", "N1", "06", "1"}, {"007", "N1", "07", "1"}, {"008", "N1", "06", "1"}, {"009", "N1", "05", "1"},
        {"010", "N1", "04", "1"}, {"011", "N1", "08", "0"}, {"012", "N1", "05", "2"}, {"013", "C1", "00", "0"},
        {"014", "N1", "03", "2"}, {"015", "N1", "08", "0"}, {"016", "N1", "05", "0"}, {"017", "B1", "26", "0"},
        {"018", "C2", "00", "0"}, {"019", "N1", "07", "1"}, {"020", "N1", "08", "0"}, {"021", "B2", "00", "0"},
        {"022", "N1", "03", "1"}, {"023", "N1", "02", "1"}, {"024", "N1", "06", "1"}, {"025", "C3", "00", "0"},
        {"026", "C4", "00", "0"}, {"030", "B3", "00", "0"}, {"031", "B3", "00", "0"}, {"040", "N1", "04", "1"},
        {"041", "N1", "04", "1"}, {"078", "C2", "00", "0"}, {"079", "C2", "00", "0"}, {"080", "C2", "00", "0"},
        {"081", "C2", "00", "0"}, {"082", "C2", "00", "0"}, {"083", "C2", "00", "0"}, {"084", "C2", "00", "0"},
        {"085", "C2", "00", "0"}, {"086", "C2", "00", "0"}, {"087", "C2", "00", "0"}, {"088", "C2", "00", "0"},
        {"089", "C2", "00", "0"}, {"090", "C2", "00", "0"}, {"091", "C2", "00", "0"}, {"092", "C2", "00", "0"},
        {"093", "C2", "00", "0"}, {"027", "N1", "07", "1"}, {"028", "N1", "04", "1"}, {"100", "C2", "00", "2"},
        {"052", "N1", "08", "1"}, {"053", "N1", "07", "1"}, {"042", "B4", "00", "0"}, {"043", "B4", "00", "0"},
        {"044", "B4", "00", "0"}, {"045", "B4", "00", "0"}, {"046", "B4", "00", "0"}, {"047", "B4", "00", "0"},
        {"048", "B4", "00", "0"}, {"049", "B4", "00", "0"}, {"050", "B4", "00", "0"}, {"051", "B4", "00", "0"},
        {"106", "N1", "07", "1"}, {"107", "N1", "05", "1"}, {"000", "FF", "05", "1"}, {"054", "N1", "07", "0"},
        {"055", "N1", "08", "0"}, {"000", "FF", "00", "0"}, {"000", "FF", "08", "0"}, {"000", "FF", "07", "0"},
        {"000", "FF", "00", "0"}, {"118", "N1", "31", "0"}, {"119", "N1", "31", "0"}, {"120", "N1", "44", "0"},
        {"121", "N1", "44", "0"}, {"122", "N1", "35", "0"}, {"123", "N1", "31", "0"}, {"135", "N1", "14", "1"},
        {"131", "B5", "30", "0"}, {"132", "B5", "30", "0"}, {"136", "N1", "07", "0"}, {"138", "N1", "06", "0"},
        {"140", "N1", "00", "0"}, {"142", "N1", "31", "0"}, {"143", "N1", "31", "0"}, {"144", "N1", "31", "0"},
        {"145", "N1", "25", "0"}, {"146", "N1", "29", "0"}, {"147", "N1", "30", "0"}, {"148", "N1", "30", "0"},
        {"149", "N1", "30", "0"}, {"150", "N1", "30", "0"}, {"000", "FF", "00", "0"}, {"000", "FF", "00", "0"},
        {"000", "FF", "00", "0"}, {"000", "FF", "00", "0"},
        // total label 01..30
        {"058", "N1", "06", "1"}, {"059", "N1", "08", "0"}, {"060", "N1", "08", "1"}, {"061", "N1", "06", "1"},
        {"062", "N1", "03", "2"}, {"063", "N1", "07", "1"}, {"064", "N1", "05", "0"}, {"065", "N1", "05", "2"},
        {"066", "B1", "26", "0"}, {"067", "N1", "04", "1"}, {"094", "C2", "00", "0"}, {"095", "C2", "00", "0"},
        {"096", "C2", "00", "0"}, {"097", "C2", "00", "0"}, {"029", "N1", "07", "1"}, {"098", "N1", "07", "1"},
        {"099", "N1", "07", "1"}, {"057", "N1", "08", "0"}, {"000", "FF", "08", "0"}, {"125", "N1", "31", "0"},
        {"126", "N1", "31", "0"}, {"127", "N1", "44", "0"}, {"128", "N1", "44", "0"}, {"129", "N1", "35", "0"},
        {"130", "N1", "31", "0"}, {"133", "B5", "30", "0"}, {"134", "B5", "30", "0"}, {"137", "N1", "07", "0"},
        {"000", "FF", "00", "0"}, {"000", "FF", "00", "0"},
    }};
    return t;
}

const std::array<Font, kFontCount>& fonts() {
    static const std::array<Font, kFontCount> t = {{
        {"00", 6, 11},  {"01", 7, 14},  {"02", 8, 16},  {"03", 8, 21},  {"04", 10, 27}, {"05", 12, 22},
        {"06", 14, 28}, {"07", 16, 32}, {"08", 16, 42}, {"09", 20, 54}, {"A", 24, 24},  {"B", 48, 48},
        {"1A", 24, 48}, {"1B", 16, 16}, {"1C", 16, 32}, {"1D", 32, 32}, {"10", 16, 16}, {"11", 16, 32},
        {"12", 32, 32}, {"13", 24, 24}, {"16", 24, 24}, {"17", 48, 48}, {"14", 16, 16}, {"15", 32, 32},
        {"18", 16, 32}, {"19", 24, 48}, {"1E", 16, 32}, {"1F", 16, 64}, {"20", 32, 64}, {"21", 16, 16},
        {"22", 16, 32}, {"23", 32, 32}, {"24", 24, 24}, {"25", 24, 48}, {"26", 48, 48},
    }};
    return t;
}

int slotColumn(int slot) {
    if (slot < 0 || slot >= kSlotCount) return 0;
    return static_cast<int>(leadingDecimal(slotTable()[static_cast<size_t>(slot)].ItemCode));
}

int slotLength(int slot) {
    if (slot < 0 || slot >= kSlotCount) return 0;
    return static_cast<int>(leadingDecimal(slotTable()[static_cast<size_t>(slot)].ItemLength));
}

bool isBarcodeClass(std::string_view cls) { return cls.size() == 2 && cls[0] == 'B' && cls[1] >= '1' && cls[1] <= '5'; }

int fontIndex(std::string_view code) {
    for (int i = 0; i < kFontCount; ++i)
        if (code == fonts()[static_cast<size_t>(i)].FontCode) return i;
    return -1;
}

int classBytes(std::string_view cls) {
    if (cls == "N1") return 8;
    if (cls == "C1") return 14;
    if (cls == "C2") return 12;
    if (cls == "C3") return 26;
    if (cls == "C4") return 18;
    if (isBarcodeClass(cls)) return 12;
    return 0;
}

int64_t roundEven(double v) {
    // nearbyint follows the rounding mode; name the mode so a caller's fesetround cannot change it.
    const int saved = std::fegetround();
    std::fesetround(FE_TONEAREST);
    const double r = std::nearbyint(v);
    std::fesetround(saved);
    return static_cast<int64_t>(r);
}

int64_t mmToDots(double mm) { return roundEven(mm * static_cast<double>(kDotsPerMm)); }
int64_t dotsToMm(double dots) { return roundEven(dots / static_cast<double>(kDotsPerMm)); }

std::string hex(int64_t v, int width) {
    static const char* digits = "0123456789ABCDEF";
    char buf[16];
    size_t n = 0;
    uint64_t u = static_cast<uint64_t>(v);
    do {
        buf[n++] = digits[u & 0xF];
        u >>= 4;
    } while (u);
    std::string s(n < static_cast<size_t>(width) ? static_cast<size_t>(width) - n : 0, '0');
    while (n) s += buf[--n];
    return s;
}

bool parseHex(std::string_view text, int64_t& out) {
    if (text.empty() || text.size() > 15) return false;
    int64_t v = 0;
    for (char c : text) {
        int d;
        if (c >= '0' && c <= '9') d = c - '0';
        else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
        else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
        else return false;
        v = v * 16 + d;
    }
    out = v;
    return true;
}

int64_t leadingDecimal(std::string_view text) {
    int64_t v = 0;
    size_t i = 0;
    while (i < text.size() && text[i] == ' ') ++i;
    for (int n = 0; i < text.size() && text[i] >= '0' && text[i] <= '9' && n < 18; ++i, ++n) v = v * 10 + (text[i] - '0');
    return v;
}

std::string padLeft(std::string_view text, size_t width, char fill) {
    if (text.size() >= width) return std::string(text);
    return std::string(width - text.size(), fill) + std::string(text);
}

}  // namespace brindale::labelformat
