#include "transfer/records.h"

#include <array>

namespace brindale::transfer {

namespace {
constexpr std::array<std::string_view, 20> kOutgoing = {
    "14", "20", "23", "25", "34", "36", "37", "38", "39", "3A",
    "3B", "3C", "3D", "3F", "40", "41", "4E", "AA", "AB", "DF"};

struct Totals {
    std::string_view code;
    size_t size;
};
constexpr std::array<Totals, 9> kTotals = {{{"21", 105}, {"24", 83}, {"26", 128}, {"2E", 105}, {"45", 174},
                                           {"46", 2184}, {"4A", 106}, {"52", 540}, {"59", 50}}};

struct Fixed {
    std::string_view code;
    size_t size;
};
constexpr std::array<Fixed, 7> kFixed = {
    {{"20", 23}, {"23", 25}, {"14", 16}, {"41", 45}, {"AB", 68}, {"DF", 10}, {"4E", 14}}};
}  // namespace

bool isOutgoingFile(std::string_view code) {
    for (auto c : kOutgoing)
        if (c == code) return true;
    return false;
}

bool isTotalsFile(std::string_view code) {
    for (auto& t : kTotals)
        if (t.code == code) return true;
    return false;
}

bool isIncomingFile(std::string_view code) { return code == "25" || code == "34" || isTotalsFile(code); }

size_t fixedRecordLength(std::string_view code) {
    for (auto& f : kFixed)
        if (f.code == code) return f.size;
    for (auto& t : kTotals)
        if (t.code == code) return t.size;
    return 0;
}

std::string checkRecord(std::string_view code, const uint8_t* rec, size_t size) {
    if (size == 0 || rec == nullptr) return "empty record";
    if (const size_t fixed = fixedRecordLength(code)) {
        if (size != fixed)
            return "record has " + std::to_string(size) + " bytes, file " + std::string(code) + " takes " +
                   std::to_string(fixed);
        return {};
    }
    if (size < 6) return "record of " + std::to_string(size) + " bytes is too short to carry its length";
    const size_t declared = (size_t(rec[4]) << 8) | rec[5];
    if (declared != size)
        return "record length field says " + std::to_string(declared) + ", record has " + std::to_string(size) +
               " bytes";
    return {};
}

bool normaliseFileCode(std::string_view in, std::string& out) {
    if (in.size() != 2) return false;
    out.clear();
    for (char c : in) {
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
        const bool ok = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
        if (!ok) return false;
        out.push_back(c);
    }
    return true;
}

}  // namespace brindale::transfer
