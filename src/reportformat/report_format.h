#pragma once
// Report formats and report sequences as the scales take them: the tables of types, fonts and
// limits, the packed numbers, the format record (n + 32 bytes) and the sequence record (68 bytes),
// the line stream inside a format, the placeholders and their sample texts, the reset rule.
// Plain C++: the editor, the emulated scale, the tests and the fuzz target all use it.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindale::codec {
class CodePage;
}

namespace brindale::reportformat {

using Bytes = std::vector<uint8_t>;

constexpr int kTypeCount = 16;
constexpr int kMaxLines = 50;
constexpr int kMaxNumber = 99;  // formats and sequences are numbered 1 to 99
constexpr int kSequenceSlots = 10;
constexpr std::size_t kFormatHeader = 32;
constexpr std::size_t kSequenceRecordSize = 68;
constexpr std::size_t kPlaceholderLength = 8;  // "%%(nnnn)"

// ---- report types ----

struct ReportType {
    int position;          // list index of comboRptFormatType
    uint8_t code;          // the record's byte 7 and KVR_AA.Type
    const char* itemList;  // parameter section of the captions
    const char* numberList;  // parameter section of the placeholder numbers
};
const std::array<ReportType, kTypeCount>& reportTypes();
// The list position of a type code; nullopt for a code no type has.
std::optional<int> typePosition(int64_t code);
// The type code of a list position (0 to 15); a position outside gives the Text type's code.
uint8_t typeCode(int position);
// Text and sales reports have no number range: txtStartNo and txtEndNo are off for them.
bool typeHasRange(int position);

// ---- fonts ----

struct FontChoice {
    std::string name;  // shown in CobFont and the grid
    uint8_t code;      // stored in the line stream
};
// The font list of a scale model (ScaleTypeIndex) and the position chosen by default.
const std::vector<FontChoice>& fontsFor(int scaleTypeIndex);
int defaultFontPosition(int scaleTypeIndex);
uint8_t defaultFontCode(int scaleTypeIndex);
// The position of a code in the model's list; nullopt when the model has no such font.
std::optional<int> fontPosition(int scaleTypeIndex, uint8_t code);
// The code a stored font code opens as: itself when the model has it, else the default.
uint8_t effectiveFont(int scaleTypeIndex, uint8_t code);
// Line length limit in code-page bytes of the decoded line; nullopt for a code of no list.
std::optional<int> lineLimit(uint8_t fontCode);

// ---- placeholders ----

// The placeholder numbers of the sixteen types, in type order, each with its item captions
// (the number list and item list of the parameter table, row for row).
struct ReportCatalogue {
    struct List {
        std::vector<std::string> items;
        std::vector<int> numbers;
    };
    std::array<List, kTypeCount> lists;

    // Whether any of the sixteen lists holds `number`.
    bool known(int number) const;
    // Fills the lists by section name: `values(section)` gives the section's values in order.
    // A number that is not four digits is left out (it could never be written as a placeholder).
    template <class Getter>
    static ReportCatalogue from(Getter values) {
        ReportCatalogue c;
        for (int t = 0; t < kTypeCount; ++t) {
            const auto& rt = reportTypes()[static_cast<std::size_t>(t)];
            const std::vector<std::string> items = values(rt.itemList);
            const std::vector<std::string> numbers = values(rt.numberList);
            for (std::size_t i = 0; i < numbers.size(); ++i) {
                const std::optional<int> n = parseFourDigits(numbers[i]);
                if (!n) continue;
                c.lists[static_cast<std::size_t>(t)].numbers.push_back(*n);
                c.lists[static_cast<std::size_t>(t)].items.push_back(i < items.size() ? items[i] : numbers[i]);
            }
        }
        c.index();
        return c;
    }
    void index();  // after the lists change
    static std::optional<int> parseFourDigits(std::string_view s);

private:
    std::array<bool, 10000> known_{};
};

// The sample text a placeholder number prints as (the scales' own samples).
const std::string& sampleText(int number);
// "%%(1234)".
std::string placeholder(int number);

// Every known placeholder replaced: by its sample text, or with `names` by the caption of the
// first list that holds it, in brackets (so an operator reads what stands there). Anything else,
// a broken or unknown placeholder included, is copied as it stands. Works on UTF-8 and on the
// scales' 8-bit and double-byte pages alike: the signs it looks for are ASCII and never the
// second byte of a character.
std::string decodeStr(std::string_view text, const ReportCatalogue& catalogue);
std::string decodeNames(std::string_view text, const ReportCatalogue& catalogue);

// The length in code-page bytes of a UTF-8 line after decodeStr.
std::size_t lineBytes(std::string_view utf8, const ReportCatalogue& catalogue, const codec::CodePage& page);
// The longest head of a UTF-8 line whose decoded length is at most `limit` bytes: whole
// characters only, and a known placeholder is kept or dropped whole.
std::string cutLine(std::string_view utf8, std::size_t limit, const ReportCatalogue& catalogue,
                    const codec::CodePage& page);

// ---- packed numbers ----

// The decimal text read as an integer and its digits written as hexadecimal digits, high byte
// first: "123" gives 00 00 01 23. Nullopt for a text that is not a number of at most 8 digits.
std::optional<std::array<uint8_t, 4>> packNumber(std::string_view decimal);
std::optional<std::array<uint8_t, 4>> packNumber(int64_t value);
// Nullopt when a nibble is above 9.
std::optional<int64_t> unpackNumber(const uint8_t* four);
// A number field's text as a number of at most eight digits; nullopt otherwise.
std::optional<int64_t> parseNumber(std::string_view decimal);

// ---- line stream ----

struct Line {
    uint8_t font = 3;
    std::string text;  // code-page bytes
};

// The stream of the lines: "" becomes one blank; 0D after each line but the last, 0C after it.
// Empty for no lines. A text over 255 bytes is cut to 255 (the length is one byte).
Bytes buildLineStream(const std::vector<Line>& lines);
// The stream of a format without text.
Bytes emptyLineStream();

struct StreamDamage {
    std::size_t offset = 0;  // byte offset in the stream
    std::string reason;      // English, for the message
};
struct ParsedStream {
    std::vector<Line> lines;  // the lines that could be read
    std::optional<StreamDamage> damage;
    bool endedAtLastByte = false;  // the 0C was the stream's last byte
};
// Reads lines as the scale does: font, length, text, then the next byte; 0C ends the stream and
// any other byte goes on to the next line. A stream that runs past its end or lacks its 0C, or
// holds more than `maxLines` lines, is damaged: the lines before the fault are kept.
ParsedStream parseLineStream(const uint8_t* data, std::size_t size, int maxLines = kMaxLines);
inline ParsedStream parseLineStream(const Bytes& b, int maxLines = kMaxLines) {
    return parseLineStream(b.data(), b.size(), maxLines);
}

// ---- records ----

struct FormatRecordFields {
    int64_t code = 0;
    uint8_t type = 17;
    int64_t startNo = 0, endNo = 0, conditionNo = 0;
    uint8_t status = 0;
    std::optional<Bytes> data;  // the line stream; nullopt for a format without text
};
// Nullopt (and `why`) when a number does not pack or the stream is longer than a record holds.
std::optional<Bytes> buildFormatRecord(const FormatRecordFields& f, std::string* why = nullptr);

struct SequenceRecordFields {
    int64_t code = 0;
    std::array<int64_t, kSequenceSlots> formats{};
    uint8_t resetReport = 0;
    uint8_t status = 0;
};
std::optional<Bytes> buildSequenceRecord(const SequenceRecordFields& s, std::string* why = nullptr);

// Sequence Status: bit 0 set when no password is asked, bit 1 set for a label; other bits kept.
uint8_t sequenceStatus(uint8_t previous, bool password, int printType);
bool sequencePassword(uint8_t status);
int sequencePrintType(uint8_t status);

// The record reader. A record the scale would refuse gives the reason (English, naming the byte);
// the fields that could be read are filled all the same.
struct FormatRecordView {
    FormatRecordFields fields;
    std::vector<Line> lines;
    std::string error;
};
FormatRecordView readFormatRecord(const uint8_t* rec, std::size_t size);
struct SequenceRecordView {
    SequenceRecordFields fields;
    std::string error;
};
SequenceRecordView readSequenceRecord(const uint8_t* rec, std::size_t size);

// ---- reset rule ----

// Whether a format of type `typeCode` forbids the reset position (0 none, 1 daily, 2 monthly,
// 3 term). Unknown types forbid nothing.
bool forbidsReset(int64_t typeCode, int position);

}  // namespace brindale::reportformat
