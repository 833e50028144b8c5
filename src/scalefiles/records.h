// The records of the auxiliary scale files, each with its encoder and its decoder: text files,
// the container table KVR_DF, the date and time KVR_4E, scroll messages and sequences, image
// blocks with their end record, and logos.
// Encoders refuse what the record cannot carry (a number over its digits, a text over its length
// field) instead of cutting it. Decoders refuse a record whose lengths, counts or numbers do not
// add up, with a reason, and never read past the bytes they are given.
// Plain C++, no windows and no database.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brindale::scalefiles {

using RecordBytes = std::vector<uint8_t>;

// The outcome of an encoder or decoder: a value, or the reason there is none.
template <class T>
struct Result {
    std::optional<T> value;
    std::string reason;

    static Result ok(T v) { return Result{std::move(v), {}}; }
    static Result fail(std::string why) { return Result{std::nullopt, std::move(why)}; }
    explicit operator bool() const { return value.has_value(); }
    const T& operator*() const { return *value; }
    const T* operator->() const { return &*value; }
};

// ---- packed numbers: the decimal digits of a number read as hexadecimal digits, high byte first

// The greatest number `bytes` packed bytes hold (99 for 1, 9999 for 2, 99999999 for 4).
uint32_t packedLimit(std::size_t bytes);
// Writes value packed into out[0..bytes); false (nothing written) when it has too many digits.
bool writePacked(uint32_t value, uint8_t* out, std::size_t bytes);
// Reads packed bytes; nullopt when a half-byte is above 9.
std::optional<uint32_t> readPacked(const uint8_t* in, std::size_t bytes);

// ---- text files KVR_38 to KVR_3D

inline constexpr std::size_t kTextFileHeaderSize = 8;
inline constexpr std::size_t kTextFileMaxSize = 0xFFFF;  // the length field has two bytes

struct TextFileRecord {
    uint32_t number = 0;
    std::vector<uint8_t> text;  // the text block, empty for no text
    bool operator==(const TextFileRecord&) const = default;
};

Result<RecordBytes> encodeTextFile(const TextFileRecord& file);
// Also refuses a text that is not one whole text block (lines that run past the record or stop
// before its end).
Result<TextFileRecord> decodeTextFile(std::span<const uint8_t> record);

// ---- container table KVR_DF

inline constexpr std::size_t kContainerRecordSize = 10;

struct ContainerRecord {
    uint32_t containerNumber = 0;  // CNumber
    uint32_t pluNumber = 0;        // PLU_No
    bool operator==(const ContainerRecord&) const = default;
};

Result<RecordBytes> encodeContainer(const ContainerRecord& row);
Result<ContainerRecord> decodeContainer(std::span<const uint8_t> record);

// ---- date and time KVR_4E

inline constexpr std::size_t kDateTimeRecordSize = 14;

// A moment on the clock the caller reads; the record keeps the year's last two digits.
struct ClockReading {
    int year = 2000;  // full year
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    bool operator==(const ClockReading&) const = default;
};

Result<RecordBytes> encodeDateTime(const ClockReading& now);
// The year comes back as 2000 + its two digits.
Result<ClockReading> decodeDateTime(std::span<const uint8_t> record);

// ---- scroll messages KVR_3F

inline constexpr std::size_t kScrollMessageMaxText = 255;  // the length is one byte

struct ScrollMessageRecord {
    uint32_t number = 0;
    std::vector<uint8_t> text;  // in the code page, without the closing 0
    bool operator==(const ScrollMessageRecord&) const = default;
};

Result<RecordBytes> encodeScrollMessage(const ScrollMessageRecord& message);
Result<ScrollMessageRecord> decodeScrollMessage(std::span<const uint8_t> record);

// ---- scroll sequences KVR_40

inline constexpr std::size_t kScrollSequenceRecordSize = 21;
inline constexpr int kScrollPatterns = 5;
inline constexpr int kScrollSpeeds = 3;

// A step as the window shows it: list positions of the message ("none" is 0), pattern and speed.
struct ScrollStep {
    int message = 0;
    int pattern = 0;
    int speed = 0;
    bool operator==(const ScrollStep&) const = default;
};

struct ScrollSequenceRecord {
    uint32_t number = 1;
    std::array<ScrollStep, 3> steps{};
    bool operator==(const ScrollSequenceRecord&) const = default;
};

// The two bytes a pattern position stands for; nullopt for a position outside 0..4.
std::optional<std::array<uint8_t, 2>> patternBytes(int position);
// The position of two pattern bytes; nullopt for a pair no position makes.
std::optional<int> patternPosition(uint8_t first, uint8_t second);

Result<RecordBytes> encodeScrollSequence(const ScrollSequenceRecord& sequence);
Result<ScrollSequenceRecord> decodeScrollSequence(std::span<const uint8_t> record);

// ---- pictures: images KVR_37 and logos KVR_36

inline constexpr std::size_t kImageBlockSize = 2023;
inline constexpr std::size_t kImageBlockData = 2016;
inline constexpr std::size_t kImageEndSize = 6;
inline constexpr std::size_t kLogoRecordSize = 1030;
inline constexpr std::size_t kLogoData = 1024;
inline constexpr int kLogoRowPixels = 128;
inline constexpr int kLogoRows = 64;
inline constexpr int kImageMaxWidth = 448;
inline constexpr int kImageMaxHeight = 1760;
inline constexpr int kImageMaxNumber = 99;
inline constexpr int kLogoMaxNumber = 4;

// A one-bit picture, one byte a pixel (0 or 1), rows from the top. What the decoders give back.
struct MonoBitmap {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;  // width * height
    uint8_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }
    bool operator==(const MonoBitmap&) const = default;
};

// The records of one image: its blocks in order, then the end record.
struct DecodedImage {
    uint32_t number = 0;
    int bytesPerRow = 0;
    int blockCount = 0;
    // The data rows as the scale prints them: the first data row at the bottom (the blank row of
    // the picture), the rows that fill the last block at the top.
    MonoBitmap printed;
};

// Checks a whole image: every block of the same number and row width, blocks numbered 0, 1, ...
// and an end record whose count is the number of blocks. A width of 0 bytes (a picture of no
// pixels) is taken as a row of none.
Result<DecodedImage> decodeImage(std::span<const RecordBytes> records);

// One image block or end record alone (the fuzz target and the emulated scale read them so).
struct ImageBlockHeader {
    uint32_t number = 0;
    uint32_t block = 0;
    int bytesPerRow = 0;
};
Result<ImageBlockHeader> decodeImageBlock(std::span<const uint8_t> record);
struct ImageEnd {
    uint32_t number = 0;
    uint32_t blocks = 0;
};
Result<ImageEnd> decodeImageEnd(std::span<const uint8_t> record);

struct DecodedLogo {
    uint32_t number = 0;
    MonoBitmap printed;  // 128 x 64, the first data row at the bottom
};
Result<DecodedLogo> decodeLogo(std::span<const uint8_t> record);

}  // namespace brindale::scalefiles
