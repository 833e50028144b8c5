#include "reportformat/report_format.h"

#include <algorithm>
#include <cstdio>

#include "codec/code_page.h"
#include "codec/numbers.h"

namespace brindale::reportformat {

// ---- report types ----

const std::array<ReportType, kTypeCount>& reportTypes() {
    static const std::array<ReportType, kTypeCount> t{{
        {0, 17, "Reportformat_Text", "Reportformat_TextID"},
        {1, 49, "Reportformat_PLUdaily", "Reportformat_PLUdailyID"},
        {2, 51, "Reportformat_PLUterm", "Reportformat_PLUtermID"},
        {3, 52, "Reportformat_PLUPPKdaily", "Reportformat_PLUPPKdailyID"},
        {4, 65, "Reportformat_Deptdaily", "Reportformat_DeptdailyID"},
        {5, 66, "Reportformat_Deptmonthly", "Reportformat_DeptmonthlyID"},
        {6, 67, "Reportformat_Deptterm", "Reportformat_DepttermID"},
        {7, 68, "Reportformat_DeptPPKdaily", "Reportformat_DeptPPKdailyID"},
        {8, 81, "Reportformat_MGdaily", "Reportformat_MGdailyID"},
        {9, 83, "Reportformat_MGterm", "Reportformat_MGtermID"},
        {10, 84, "Reportformat_MGPPKdaily", "Reportformat_MGPPKdailyID"},
        {11, 97, "Reportformat_Clerkdaily", "Reportformat_ClerkdailyID"},
        {12, 113, "Reportformat_Tax", "Reportformat_TaxID"},
        {13, 129, "Reportformat_Salesdaily", "Reportformat_SalesdailyID"},
        {14, 130, "Reportformat_Salesmonthly", "Reportformat_SalesmonthlyID"},
        {15, 131, "Reportformat_Salesterm", "Reportformat_SalestermID"},
    }};
    return t;
}

std::optional<int> typePosition(int64_t code) {
    for (const ReportType& t : reportTypes())
        if (t.code == code) return t.position;
    return std::nullopt;
}

uint8_t typeCode(int position) {
    if (position < 0 || position >= kTypeCount) return reportTypes()[0].code;
    return reportTypes()[static_cast<std::size_t>(position)].code;
}

bool typeHasRange(int position) { return position != 0 && position != 13 && position != 14 && position != 15; }

// ---- fonts ----

namespace {

struct ModelFonts {
    std::vector<FontChoice> fonts;
    int defaultPosition;
};

const ModelFonts& modelFonts(int scaleTypeIndex) {
    static const ModelFonts g{{{"G2", 23}, {"G3", 20}, {"G4", 21}, {"G5", 24}}, 3};
    static const ModelFonts b{{{"B2", 11}, {"B4", 27}, {"B5", 28}, {"B6", 29}}, 2};
    static const ModelFonts t{{{"T1", 30}, {"T2", 31}, {"T3", 32}}, 0};
    static const ModelFonts s{{{"S1", 0}, {"S2", 1}, {"S3", 2}, {"S4", 3}, {"S5", 4},
                               {"M1", 5}, {"M2", 6}, {"M3", 7}, {"M4", 8}, {"M5", 9}},
                              3};
    switch (scaleTypeIndex) {
        case 3: return g;
        case 4:
        case 5: return b;
        case 37: return t;
        default: return s;
    }
}

}  // namespace

const std::vector<FontChoice>& fontsFor(int scaleTypeIndex) { return modelFonts(scaleTypeIndex).fonts; }
int defaultFontPosition(int scaleTypeIndex) { return modelFonts(scaleTypeIndex).defaultPosition; }
uint8_t defaultFontCode(int scaleTypeIndex) {
    const ModelFonts& m = modelFonts(scaleTypeIndex);
    return m.fonts[static_cast<std::size_t>(m.defaultPosition)].code;
}

std::optional<int> fontPosition(int scaleTypeIndex, uint8_t code) {
    const auto& f = fontsFor(scaleTypeIndex);
    for (std::size_t i = 0; i < f.size(); ++i)
        if (f[i].code == code) return static_cast<int>(i);
    return std::nullopt;
}

uint8_t effectiveFont(int scaleTypeIndex, uint8_t code) {
    return fontPosition(scaleTypeIndex, code) ? code : defaultFontCode(scaleTypeIndex);
}

std::optional<int> lineLimit(uint8_t fontCode) {
    switch (fontCode) {
        case 0: case 1: case 2: case 3: case 20: case 24: case 27: case 28: return 48;
        case 4: case 5: case 6: case 7: case 8: case 21: case 29: case 30: case 31: return 24;
        case 9: case 11: case 23: return 16;
        case 32: return 12;
        default: return std::nullopt;
    }
}

// ---- placeholders ----

std::optional<int> ReportCatalogue::parseFourDigits(std::string_view s) {
    if (s.size() != 4) return std::nullopt;
    int n = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return std::nullopt;
        n = n * 10 + (c - '0');
    }
    return n;
}

void ReportCatalogue::index() {
    known_.fill(false);
    for (const List& l : lists)
        for (int n : l.numbers)
            if (n >= 0 && n < 10000) known_[static_cast<std::size_t>(n)] = true;
}

bool ReportCatalogue::known(int number) const {
    return number >= 0 && number < 10000 && known_[static_cast<std::size_t>(number)];
}

const std::string& sampleText(int number) {
    static const std::string counter = "000001", dateTime = "01-01-01     01:01  ", four = "0001",
                             commodity = "COMMODITY NAME                ", date = "01-01-01   ",
                             dept = "DEPTARTMENT NAME", mg = "MAIN GROUP NAME ", clerkNo = "01",
                             clerk = "CLERK NAME      ", taxNo = "1", tax = "TAX TYPE              ",
                             rate = " 99.99", count = "     999999", weight = "    999.999", amount = "    9999.99";
    static const std::array<int, 52> counts{
        1313, 1333, 1343, 1413, 1423, 1433, 1443, 1513, 1533, 1543, 1613, 3103, 3303, 3403, 4103, 4203, 4303, 4403,
        5103, 5303, 5403, 6103, 6105, 8101, 8102, 8111, 8112, 8114, 8116, 8118, 8120, 8122, 8125, 8130, 8201, 8202,
        8211, 8212, 8214, 8216, 8218, 8220, 8230, 8301, 8302, 8311, 8312, 8314, 8316, 8318, 8320, 8330};
    static const std::array<int, 28> weights{1314, 1334, 1344, 1414, 1424, 1434, 1444, 1514, 1534, 1544,
                                             1614, 3104, 3304, 3404, 4104, 4204, 4304, 4404, 5104, 5304,
                                             5404, 6104, 8103, 8131, 8203, 8231, 8303, 8331};
    switch (number) {
        case 1001: case 3001: case 4001: case 5001: return counter;
        case 1002: return dateTime;
        case 1003: case 8100: case 8200: case 8300: return four;
        case 3002: return commodity;
        case 3003: case 4003: case 5003: return date;
        case 4002: return dept;
        case 5002: return mg;
        case 6001: return clerkNo;
        case 6002: return clerk;
        case 7001: return taxNo;
        case 7002: return tax;
        case 7003: return rate;
        default: break;
    }
    if (std::find(counts.begin(), counts.end(), number) != counts.end()) return count;
    if (std::find(weights.begin(), weights.end(), number) != weights.end()) return weight;
    return amount;
}

std::string placeholder(int number) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%%%%(%04d)", number);
    return buf;
}

namespace {

// The number of a known placeholder starting at `i`, if one does.
std::optional<int> placeholderAt(std::string_view text, std::size_t i, const ReportCatalogue& catalogue) {
    if (i + 1 >= text.size() || text[i] != '%' || text[i + 1] != '%') return std::nullopt;
    if (text.size() - (i + 2) < 6) return std::nullopt;
    if (text[i + 2] != '(' || text[i + 7] != ')') return std::nullopt;
    const std::optional<int> n = ReportCatalogue::parseFourDigits(text.substr(i + 3, 4));
    if (!n || !catalogue.known(*n)) return std::nullopt;
    return n;
}

const std::string& nameOf(int number, const ReportCatalogue& catalogue) {
    for (const auto& l : catalogue.lists)
        for (std::size_t k = 0; k < l.numbers.size(); ++k)
            if (l.numbers[k] == number) return l.items[k];
    return sampleText(number);
}

template <class Replace>
std::string decodeWith(std::string_view text, const ReportCatalogue& catalogue, Replace replace) {
    std::string out;
    out.reserve(text.size() + 16);
    std::size_t i = 0;
    while (i < text.size()) {
        if (const std::optional<int> n = placeholderAt(text, i, catalogue)) {
            replace(out, *n);
            i += kPlaceholderLength;
        } else {
            out.push_back(text[i]);
            ++i;
        }
    }
    return out;
}

std::size_t utf8Length(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if ((lead & 0xF8) == 0xF0) return 4;
    return 1;  // a stray byte counts as one character (the page makes it '?')
}

}  // namespace

std::string decodeStr(std::string_view text, const ReportCatalogue& catalogue) {
    return decodeWith(text, catalogue, [](std::string& out, int n) { out += sampleText(n); });
}

std::string decodeNames(std::string_view text, const ReportCatalogue& catalogue) {
    return decodeWith(text, catalogue, [&](std::string& out, int n) {
        out += '[';
        out += nameOf(n, catalogue);
        out += ']';
    });
}

std::size_t lineBytes(std::string_view utf8, const ReportCatalogue& catalogue, const codec::CodePage& page) {
    std::vector<uint8_t> bytes;
    page.encode(decodeStr(utf8, catalogue), bytes);
    return bytes.size();
}

std::string cutLine(std::string_view utf8, std::size_t limit, const ReportCatalogue& catalogue,
                    const codec::CodePage& page) {
    std::size_t used = 0, i = 0;
    std::vector<uint8_t> bytes;
    while (i < utf8.size()) {
        std::size_t unit, cost;
        if (const std::optional<int> n = placeholderAt(utf8, i, catalogue)) {
            unit = kPlaceholderLength;
            cost = sampleText(*n).size();
        } else {
            unit = std::min(utf8Length(static_cast<unsigned char>(utf8[i])), utf8.size() - i);
            page.encode(utf8.substr(i, unit), bytes);
            cost = bytes.size();
        }
        if (used + cost > limit) break;
        used += cost;
        i += unit;
    }
    return std::string(utf8.substr(0, i));
}

// ---- packed numbers ----

std::optional<int64_t> parseNumber(std::string_view decimal) {
    if (decimal.empty() || decimal.size() > 8) return std::nullopt;
    int64_t v = 0;
    for (char c : decimal) {
        if (c < '0' || c > '9') return std::nullopt;
        v = v * 10 + (c - '0');
    }
    return v;
}

std::optional<std::array<uint8_t, 4>> packNumber(int64_t value) {
    std::array<uint8_t, 4> out{};
    if (value < 0 || value > 99999999) return std::nullopt;
    if (!codec::writeNumber(codec::NumberEncoding::Bcd4, value, out.data(), "packed")) return std::nullopt;
    return out;
}

std::optional<std::array<uint8_t, 4>> packNumber(std::string_view decimal) {
    const std::optional<int64_t> v = parseNumber(decimal);
    if (!v) return std::nullopt;
    return packNumber(*v);
}

std::optional<int64_t> unpackNumber(const uint8_t* four) {
    for (int i = 0; i < 4; ++i)
        if ((four[i] >> 4) > 9 || (four[i] & 0x0F) > 9) return std::nullopt;
    int64_t v = 0;
    if (!codec::readNumber(codec::NumberEncoding::Bcd4, four, v, "packed")) return std::nullopt;
    return v;
}

// ---- line stream ----

Bytes buildLineStream(const std::vector<Line>& lines) {
    Bytes out;
    std::size_t size = 0;
    for (const Line& l : lines) size += std::min<std::size_t>(std::max<std::size_t>(l.text.size(), 1), 255) + 3;
    out.reserve(size);
    for (std::size_t k = 0; k < lines.size(); ++k) {
        const Line& l = lines[k];
        const std::string text = l.text.empty() ? std::string(" ") : l.text.substr(0, 255);
        out.push_back(l.font);
        out.push_back(static_cast<uint8_t>(text.size()));
        out.insert(out.end(), text.begin(), text.end());
        out.push_back(k + 1 == lines.size() ? 0x0C : 0x0D);
    }
    return out;
}

Bytes emptyLineStream() { return Bytes{0x03, 0x00, 0x0C}; }

ParsedStream parseLineStream(const uint8_t* data, std::size_t size, int maxLines) {
    ParsedStream p;
    std::size_t at = 0;
    auto damage = [&](std::size_t offset, std::string why) { p.damage = StreamDamage{offset, std::move(why)}; };
    if (size == 0) {
        damage(0, "the line stream is empty");
        return p;
    }
    while (true) {
        if (static_cast<int>(p.lines.size()) >= maxLines) {
            damage(at, "more than " + std::to_string(maxLines) + " lines");
            return p;
        }
        if (at + 2 > size) {
            damage(at, "line " + std::to_string(p.lines.size() + 1) + " is cut off before its length byte");
            return p;
        }
        Line l;
        l.font = data[at];
        const std::size_t length = data[at + 1];
        if (at + 2 + length > size) {
            damage(at, "line " + std::to_string(p.lines.size() + 1) + " announces " + std::to_string(length) +
                           " bytes and runs past the end");
            return p;
        }
        l.text.assign(reinterpret_cast<const char*>(data + at + 2), length);
        at += 2 + length;
        if (at >= size) {
            damage(at, "the stream ends without its 0C");
            return p;
        }
        const uint8_t end = data[at];
        p.lines.push_back(std::move(l));
        if (end == 0x0C) {
            p.endedAtLastByte = at + 1 == size;
            return p;
        }
        ++at;
    }
}

// ---- records ----

std::optional<Bytes> buildFormatRecord(const FormatRecordFields& f, std::string* why) {
    const Bytes stream = f.data ? *f.data : emptyLineStream();
    const std::size_t n = stream.size();
    auto fail = [&](std::string w) -> std::optional<Bytes> {
        if (why) *why = std::move(w);
        return std::nullopt;
    };
    if (n + kFormatHeader > 0xFFFF) return fail("the line stream of " + std::to_string(n) + " bytes is too long");
    Bytes r(n + kFormatHeader, 0);
    const struct {
        int64_t v;
        std::size_t at;
        const char* column;
    } packed[] = {{f.code, 0, "Code"}, {f.startNo, 8, "StartNo"}, {f.endNo, 12, "EndNo"}, {f.conditionNo, 16, "ConditionNo"}};
    for (const auto& p : packed) {
        const auto b = packNumber(p.v);
        if (!b) return fail(std::string(p.column) + " " + std::to_string(p.v) + " is not a number of at most 8 digits");
        std::copy(b->begin(), b->end(), r.begin() + static_cast<std::ptrdiff_t>(p.at));
    }
    r[4] = static_cast<uint8_t>((n + kFormatHeader) / 256);
    r[5] = static_cast<uint8_t>((n + kFormatHeader) % 256);
    r[6] = 0;
    r[7] = f.type;
    r[20] = f.status;
    std::copy(stream.begin(), stream.end(), r.begin() + kFormatHeader);
    return r;
}

std::optional<Bytes> buildSequenceRecord(const SequenceRecordFields& s, std::string* why) {
    Bytes r(kSequenceRecordSize, 0);
    auto put = [&](int64_t v, std::size_t at, const std::string& column) {
        const auto b = packNumber(v);
        if (!b) {
            if (why) *why = column + " " + std::to_string(v) + " is not a number of at most 8 digits";
            return false;
        }
        std::copy(b->begin(), b->end(), r.begin() + static_cast<std::ptrdiff_t>(at));
        return true;
    };
    if (!put(s.code, 0, "Code")) return std::nullopt;
    r[4] = 0;
    r[5] = static_cast<uint8_t>(kSequenceRecordSize);
    for (int k = 0; k < kSequenceSlots; ++k)
        if (!put(s.formats[static_cast<std::size_t>(k)], 8 + 4 * static_cast<std::size_t>(k),
                 "Sequence" + std::to_string(k + 1)))
            return std::nullopt;
    r[48] = s.resetReport;
    r[49] = s.status;
    return r;
}

uint8_t sequenceStatus(uint8_t previous, bool password, int printType) {
    uint8_t s = password ? static_cast<uint8_t>(previous & 254) : static_cast<uint8_t>(previous | 1);
    s = printType == 0 ? static_cast<uint8_t>(s & 253) : static_cast<uint8_t>(s | 2);
    return s;
}
bool sequencePassword(uint8_t status) { return (status & 1) == 0; }
int sequencePrintType(uint8_t status) { return (status & 2) ? 1 : 0; }

namespace {

std::string hex2(uint8_t b) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%02X", b);
    return buf;
}

}  // namespace

FormatRecordView readFormatRecord(const uint8_t* rec, std::size_t size) {
    FormatRecordView v;
    auto fail = [&](std::string why) {
        if (v.error.empty()) v.error = std::move(why);
    };
    if (size < kFormatHeader + 3) {
        fail("format record of " + std::to_string(size) + " bytes, at least 35 needed");
        return v;
    }
    const std::size_t declared = (std::size_t(rec[4]) << 8) | rec[5];
    if (declared != size)
        fail("bytes 4 and 5 say " + std::to_string(declared) + ", the record has " + std::to_string(size) + " bytes");
    const struct {
        int64_t* to;
        std::size_t at;
    } packed[] = {{&v.fields.code, 0}, {&v.fields.startNo, 8}, {&v.fields.endNo, 12}, {&v.fields.conditionNo, 16}};
    // The scale takes these as they come; a field that is not packed decimal reads as 0 here.
    for (const auto& p : packed)
        if (auto n = unpackNumber(rec + p.at)) *p.to = *n;
    if (rec[6] != 0) fail("byte 6 is " + hex2(rec[6]) + ", not 00");
    v.fields.type = rec[7];
    if (!typePosition(rec[7])) fail("byte 7 (" + hex2(rec[7]) + ") is no report type");
    v.fields.status = rec[20];
    if (rec[20] > 2) fail("byte 20 (condition status " + std::to_string(rec[20]) + ") is above 2");
    for (std::size_t i = 21; i < kFormatHeader; ++i)
        if (rec[i] != 0) {
            fail("byte " + std::to_string(i) + " is " + hex2(rec[i]) + ", bytes 21 to 31 must be zero");
            break;
        }
    // The stream as the scale reads it: no line limit of the editor's, only its shape.
    const ParsedStream p = parseLineStream(rec + kFormatHeader, size - kFormatHeader, 1 << 20);
    v.lines = p.lines;
    if (p.damage)
        fail("line stream at byte " + std::to_string(kFormatHeader + p.damage->offset) + ": " + p.damage->reason);
    else if (!p.endedAtLastByte)
        fail("the line stream's 0C is not the record's last byte");
    v.fields.data = Bytes(rec + kFormatHeader, rec + size);
    return v;
}

SequenceRecordView readSequenceRecord(const uint8_t* rec, std::size_t size) {
    SequenceRecordView v;
    auto fail = [&](std::string why) {
        if (v.error.empty()) v.error = std::move(why);
    };
    if (size != kSequenceRecordSize) {
        fail("sequence record of " + std::to_string(size) + " bytes, 68 needed");
        return v;
    }
    if (auto n = unpackNumber(rec)) v.fields.code = *n;
    else fail("the sequence number (bytes 0 to 3) is not packed decimal");
    if (rec[4] != 0 || rec[5] != 0x44) fail("bytes 4 and 5 are " + hex2(rec[4]) + " " + hex2(rec[5]) + ", not 00 44");
    for (int k = 0; k < kSequenceSlots; ++k) {
        const std::size_t at = 8 + 4 * static_cast<std::size_t>(k);
        if (auto n = unpackNumber(rec + at)) v.fields.formats[static_cast<std::size_t>(k)] = *n;
        else
            fail("format " + std::to_string(k + 1) + " (bytes " + std::to_string(at) + " to " + std::to_string(at + 3) +
                 ") is not packed decimal");
    }
    v.fields.resetReport = rec[48];
    if (rec[48] > 3) fail("byte 48 (reset " + std::to_string(rec[48]) + ") is above 3");
    v.fields.status = rec[49];
    for (std::size_t i = 50; i < kSequenceRecordSize; ++i)
        if (rec[i] != 0) {
            fail("byte " + std::to_string(i) + " is " + hex2(rec[i]) + ", bytes 50 to 67 must be zero");
            break;
        }
    return v;
}

// ---- reset rule ----

bool forbidsReset(int64_t typeCode, int position) {
    switch (typeCode) {
        case 49: case 52: case 65: case 68: case 81: case 84: case 97: case 129:
            return position == 2 || position == 3;
        case 51: case 67: case 83: case 131:
            return position == 1 || position == 2;
        case 66: case 130:
            return position == 1 || position == 3;
        default:
            return false;
    }
}

}  // namespace brindale::reportformat
