#include "scalefiles/records.h"

#include <algorithm>

#include "codec/bytes.h"
#include "codec/text_block.h"

namespace brindale::scalefiles {

namespace {

using codec::copyBytesReversed;
using codec::readBytesReversed;

std::string str(std::size_t v) { return std::to_string(v); }

std::string sizeReason(const char* what, std::size_t have, std::size_t want) {
    return std::string(what) + ": " + str(have) + " bytes, a record has " + str(want);
}

}  // namespace

uint32_t packedLimit(std::size_t bytes) {
    uint32_t limit = 0;
    for (std::size_t i = 0; i < bytes * 2 && i < 8; ++i) limit = limit * 10 + 9;
    return limit;
}

bool writePacked(uint32_t value, uint8_t* out, std::size_t bytes) {
    if (bytes == 0 || bytes > 4 || value > packedLimit(bytes)) return false;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint32_t pair = value % 100;
        value /= 100;
        out[bytes - 1 - i] = static_cast<uint8_t>(((pair / 10) << 4) | (pair % 10));
    }
    return true;
}

std::optional<uint32_t> readPacked(const uint8_t* in, std::size_t bytes) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const uint8_t hi = in[i] >> 4, lo = in[i] & 0x0F;
        if (hi > 9 || lo > 9) return std::nullopt;
        value = value * 100 + hi * 10 + lo;
    }
    return value;
}

namespace {

// The packed number of a record; the reason names the field when a half-byte is no digit.
bool readNumberField(std::span<const uint8_t> r, std::size_t at, std::size_t width, const char* field,
                     uint32_t& out, std::string& reason) {
    const auto v = readPacked(r.data() + at, width);
    if (!v) {
        reason = std::string(field) + " at byte " + str(at) + " is not packed digits";
        return false;
    }
    out = *v;
    return true;
}

std::string numberTooLarge(const char* field, uint32_t value, std::size_t bytes) {
    return std::string(field) + " " + std::to_string(value) + " has more digits than " + str(bytes * 2);
}

}  // namespace

// ---- text files

Result<RecordBytes> encodeTextFile(const TextFileRecord& file) {
    const std::size_t size = kTextFileHeaderSize + file.text.size();
    if (size > kTextFileMaxSize)
        return Result<RecordBytes>::fail("text file " + std::to_string(file.number) + ": " + str(file.text.size()) +
                                         " bytes of text, at most " + str(kTextFileMaxSize - kTextFileHeaderSize) +
                                         " fit");
    RecordBytes r(size, 0);
    if (!writePacked(file.number, r.data(), 4))
        return Result<RecordBytes>::fail(numberTooLarge("text file number", file.number, 4));
    copyBytesReversed(r.data() + 4, static_cast<uint32_t>(size), 2);
    std::copy(file.text.begin(), file.text.end(), r.begin() + kTextFileHeaderSize);
    return Result<RecordBytes>::ok(std::move(r));
}

Result<TextFileRecord> decodeTextFile(std::span<const uint8_t> r) {
    using R = Result<TextFileRecord>;
    if (r.size() < kTextFileHeaderSize) return R::fail(sizeReason("text file", r.size(), kTextFileHeaderSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != r.size())
        return R::fail("text file: length field " + str(length) + " but the record has " + str(r.size()) + " bytes");
    if (r[6] != 0 || r[7] != 0) return R::fail("text file: bytes 6 and 7 are not 0");
    TextFileRecord f;
    std::string reason;
    if (!readNumberField(r, 0, 4, "text file number", f.number, reason)) return R::fail(reason);
    const std::size_t textSize = r.size() - kTextFileHeaderSize;
    if (textSize > 0) {
        std::size_t blockLength = 0;
        const auto s = codec::textBlockLength(r.data() + kTextFileHeaderSize, textSize, blockLength);
        if (!s.ok()) return R::fail("text file " + std::to_string(f.number) + ": its lines run past the record");
        if (blockLength != textSize)
            return R::fail("text file " + std::to_string(f.number) + ": the lines end at byte " +
                           str(kTextFileHeaderSize + blockLength) + " of " + str(r.size()));
    }
    f.text.assign(r.begin() + kTextFileHeaderSize, r.end());
    return R::ok(std::move(f));
}

// ---- container table

Result<RecordBytes> encodeContainer(const ContainerRecord& row) {
    RecordBytes r(kContainerRecordSize, 0);
    if (!writePacked(row.containerNumber, r.data(), 4))
        return Result<RecordBytes>::fail(numberTooLarge("container number", row.containerNumber, 4));
    copyBytesReversed(r.data() + 4, static_cast<uint32_t>(kContainerRecordSize), 2);
    if (!writePacked(row.pluNumber, r.data() + 6, 4))
        return Result<RecordBytes>::fail(numberTooLarge("PLU number", row.pluNumber, 4));
    return Result<RecordBytes>::ok(std::move(r));
}

Result<ContainerRecord> decodeContainer(std::span<const uint8_t> r) {
    using R = Result<ContainerRecord>;
    if (r.size() != kContainerRecordSize) return R::fail(sizeReason("container", r.size(), kContainerRecordSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kContainerRecordSize) return R::fail("container: length field " + str(length) + ", not 10");
    ContainerRecord c;
    std::string reason;
    if (!readNumberField(r, 0, 4, "container number", c.containerNumber, reason) ||
        !readNumberField(r, 6, 4, "PLU number", c.pluNumber, reason))
        return R::fail(reason);
    return R::ok(c);
}

// ---- date and time

namespace {

bool validClock(const ClockReading& t, std::string& reason) {
    static constexpr int days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (t.year < 0 || t.month < 1 || t.month > 12 || t.day < 1 || t.day > days[t.month - 1] || t.hour < 0 ||
        t.hour > 23 || t.minute < 0 || t.minute > 59) {
        reason = "date and time: " + std::to_string(t.year) + "-" + std::to_string(t.month) + "-" +
                 std::to_string(t.day) + " " + std::to_string(t.hour) + ":" + std::to_string(t.minute) +
                 " is no moment";
        return false;
    }
    return true;
}

}  // namespace

Result<RecordBytes> encodeDateTime(const ClockReading& now) {
    std::string reason;
    if (!validClock(now, reason)) return Result<RecordBytes>::fail(reason);
    RecordBytes r(kDateTimeRecordSize, 0);
    r[3] = 0xFF;
    copyBytesReversed(r.data() + 4, static_cast<uint32_t>(kDateTimeRecordSize), 2);
    writePacked(static_cast<uint32_t>(now.day), &r[7], 1);
    writePacked(static_cast<uint32_t>(now.month), &r[8], 1);
    writePacked(static_cast<uint32_t>(now.year % 100), &r[9], 1);
    writePacked(static_cast<uint32_t>(now.hour), &r[12], 1);
    writePacked(static_cast<uint32_t>(now.minute), &r[13], 1);
    return Result<RecordBytes>::ok(std::move(r));
}

Result<ClockReading> decodeDateTime(std::span<const uint8_t> r) {
    using R = Result<ClockReading>;
    if (r.size() != kDateTimeRecordSize) return R::fail(sizeReason("date and time", r.size(), kDateTimeRecordSize));
    if (r[0] != 0 || r[1] != 0 || r[2] != 0 || r[3] != 0xFF)
        return R::fail("date and time: bytes 0 to 3 are not 0, 0, 0, 255");
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kDateTimeRecordSize) return R::fail("date and time: length field " + str(length) + ", not 14");
    if (r[6] != 0 || r[10] != 0 || r[11] != 0) return R::fail("date and time: bytes 6, 10 and 11 are not 0");
    uint32_t day = 0, month = 0, year = 0, hour = 0, minute = 0;
    std::string reason;
    if (!readNumberField(r, 7, 1, "day", day, reason) || !readNumberField(r, 8, 1, "month", month, reason) ||
        !readNumberField(r, 9, 1, "year", year, reason) || !readNumberField(r, 12, 1, "hour", hour, reason) ||
        !readNumberField(r, 13, 1, "minute", minute, reason))
        return R::fail(reason);
    ClockReading t{2000 + static_cast<int>(year), static_cast<int>(month), static_cast<int>(day),
                   static_cast<int>(hour), static_cast<int>(minute)};
    if (!validClock(t, reason)) return R::fail(reason);
    return R::ok(t);
}

// ---- scroll messages

Result<RecordBytes> encodeScrollMessage(const ScrollMessageRecord& m) {
    if (m.text.size() > kScrollMessageMaxText)
        return Result<RecordBytes>::fail("scroll message " + std::to_string(m.number) + ": " + str(m.text.size()) +
                                         " bytes of text, at most 255 fit");
    RecordBytes r(m.text.size() + 8, 0);
    if (!writePacked(m.number, r.data(), 4))
        return Result<RecordBytes>::fail(numberTooLarge("scroll message number", m.number, 4));
    copyBytesReversed(r.data() + 4, static_cast<uint32_t>(r.size()), 2);
    r[6] = static_cast<uint8_t>(m.text.size());
    std::copy(m.text.begin(), m.text.end(), r.begin() + 7);
    return Result<RecordBytes>::ok(std::move(r));
}

Result<ScrollMessageRecord> decodeScrollMessage(std::span<const uint8_t> r) {
    using R = Result<ScrollMessageRecord>;
    if (r.size() < 8) return R::fail(sizeReason("scroll message", r.size(), 8));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != r.size())
        return R::fail("scroll message: length field " + str(length) + " but the record has " + str(r.size()) +
                       " bytes");
    if (r[6] + 8u != r.size())
        return R::fail("scroll message: text length " + str(r[6]) + " does not fill a record of " + str(r.size()) +
                       " bytes");
    if (r.back() != 0) return R::fail("scroll message: the last byte is not 0");
    ScrollMessageRecord m;
    std::string reason;
    if (!readNumberField(r, 0, 4, "scroll message number", m.number, reason)) return R::fail(reason);
    m.text.assign(r.begin() + 7, r.begin() + 7 + r[6]);
    return R::ok(std::move(m));
}

// ---- scroll sequences

namespace {
constexpr uint8_t kPatterns[kScrollPatterns][2] = {{0, 1}, {1, 0}, {1, 1}, {2, 1}, {3, 1}};
}

std::optional<std::array<uint8_t, 2>> patternBytes(int position) {
    if (position < 0 || position >= kScrollPatterns) return std::nullopt;
    return std::array<uint8_t, 2>{kPatterns[position][0], kPatterns[position][1]};
}

std::optional<int> patternPosition(uint8_t first, uint8_t second) {
    for (int i = 0; i < kScrollPatterns; ++i)
        if (kPatterns[i][0] == first && kPatterns[i][1] == second) return i;
    return std::nullopt;
}

Result<RecordBytes> encodeScrollSequence(const ScrollSequenceRecord& s) {
    using R = Result<RecordBytes>;
    RecordBytes r(kScrollSequenceRecordSize, 0);
    if (!writePacked(s.number, r.data(), 4)) return R::fail(numberTooLarge("sequence number", s.number, 4));
    copyBytesReversed(r.data() + 4, static_cast<uint32_t>(kScrollSequenceRecordSize), 2);
    for (std::size_t i = 0; i < 3; ++i) {
        const ScrollStep& st = s.steps[i];
        const auto p = patternBytes(st.pattern);
        const std::string which = "sequence " + std::to_string(s.number) + " step " + str(i + 1);
        if (st.message < 0 || st.message > 255) return R::fail(which + ": message position " + std::to_string(st.message));
        if (!p) return R::fail(which + ": pattern position " + std::to_string(st.pattern));
        if (st.speed < 0 || st.speed >= kScrollSpeeds) return R::fail(which + ": speed position " + std::to_string(st.speed));
        uint8_t* step = r.data() + 7 + 4 * i;
        step[0] = static_cast<uint8_t>(st.message);
        step[1] = (*p)[0];
        step[2] = (*p)[1];
        step[3] = static_cast<uint8_t>(st.speed);
    }
    return R::ok(std::move(r));
}

Result<ScrollSequenceRecord> decodeScrollSequence(std::span<const uint8_t> r) {
    using R = Result<ScrollSequenceRecord>;
    if (r.size() != kScrollSequenceRecordSize)
        return R::fail(sizeReason("scroll sequence", r.size(), kScrollSequenceRecordSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kScrollSequenceRecordSize) return R::fail("scroll sequence: length field " + str(length) + ", not 21");
    if (r[6] != 0 || r[19] != 0 || r[20] != 0) return R::fail("scroll sequence: bytes 6, 19 and 20 are not 0");
    ScrollSequenceRecord s;
    std::string reason;
    if (!readNumberField(r, 0, 4, "sequence number", s.number, reason)) return R::fail(reason);
    for (std::size_t i = 0; i < 3; ++i) {
        const uint8_t* step = r.data() + 7 + 4 * i;
        const auto p = patternPosition(step[1], step[2]);
        if (!p)
            return R::fail("scroll sequence step " + str(i + 1) + ": pattern bytes " + str(step[1]) + ", " +
                           str(step[2]) + " are no pattern");
        if (step[3] >= kScrollSpeeds) return R::fail("scroll sequence step " + str(i + 1) + ": speed " + str(step[3]));
        s.steps[i] = ScrollStep{step[0], *p, step[3]};
    }
    return R::ok(s);
}

// ---- images and logos

Result<ImageBlockHeader> decodeImageBlock(std::span<const uint8_t> r) {
    using R = Result<ImageBlockHeader>;
    if (r.size() != kImageBlockSize) return R::fail(sizeReason("image block", r.size(), kImageBlockSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kImageBlockSize) return R::fail("image block: length field " + str(length) + ", not 2023");
    ImageBlockHeader h;
    std::string reason;
    if (!readNumberField(r, 0, 2, "image number", h.number, reason) ||
        !readNumberField(r, 2, 2, "block number", h.block, reason))
        return R::fail(reason);
    h.bytesPerRow = r[6];
    if (h.bytesPerRow > 0 && kImageBlockData % static_cast<std::size_t>(h.bytesPerRow) != 0)
        return R::fail("image block " + std::to_string(h.block) + ": rows of " + str(r[6]) +
                       " bytes do not fill a block");
    return R::ok(h);
}

Result<ImageEnd> decodeImageEnd(std::span<const uint8_t> r) {
    using R = Result<ImageEnd>;
    if (r.size() != kImageEndSize) return R::fail(sizeReason("image end", r.size(), kImageEndSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kImageEndSize) return R::fail("image end: length field " + str(length) + ", not 6");
    ImageEnd e;
    std::string reason;
    if (!readNumberField(r, 0, 2, "image number", e.number, reason) ||
        !readNumberField(r, 2, 2, "block count", e.blocks, reason))
        return R::fail(reason);
    return R::ok(e);
}

namespace {

// Lays data rows out as printed: data row k at y = rows - 1 - k.
void placeRows(MonoBitmap& bm, const uint8_t* data, std::size_t rowBytes, std::size_t rowCount, std::size_t firstRow) {
    for (std::size_t k = 0; k < rowCount; ++k) {
        const std::size_t dataRow = firstRow + k;
        const int y = bm.height - 1 - static_cast<int>(dataRow);
        uint8_t* out = bm.pixels.data() + static_cast<std::size_t>(y) * bm.width;
        for (std::size_t b = 0; b < rowBytes; ++b) {
            const uint8_t byte = data[k * rowBytes + b];
            for (int bit = 0; bit < 8; ++bit) out[b * 8 + bit] = (byte >> (7 - bit)) & 1;
        }
    }
}

}  // namespace

Result<DecodedImage> decodeImage(std::span<const RecordBytes> records) {
    using R = Result<DecodedImage>;
    if (records.empty()) return R::fail("image: no records");
    const auto end = decodeImageEnd(records.back());
    if (!end) return R::fail("image record " + str(records.size()) + ": " + end.reason);
    const std::size_t blocks = records.size() - 1;
    if (end->blocks != blocks)
        return R::fail("image " + std::to_string(end->number) + ": the end record counts " +
                       std::to_string(end->blocks) + " blocks, " + str(blocks) + " come before it");
    DecodedImage img;
    img.number = end->number;
    img.blockCount = static_cast<int>(blocks);
    for (std::size_t i = 0; i < blocks; ++i) {
        const auto h = decodeImageBlock(records[i]);
        if (!h) return R::fail("image record " + str(i + 1) + ": " + h.reason);
        if (h->number != img.number)
            return R::fail("image record " + str(i + 1) + ": image " + std::to_string(h->number) + " among image " +
                           std::to_string(img.number));
        if (h->block != i)
            return R::fail("image record " + str(i + 1) + ": block " + std::to_string(h->block) + " where block " +
                           str(i) + " belongs");
        if (i == 0) img.bytesPerRow = h->bytesPerRow;
        else if (h->bytesPerRow != img.bytesPerRow)
            return R::fail("image block " + str(i) + ": rows of " + std::to_string(h->bytesPerRow) +
                           " bytes, block 0 has " + std::to_string(img.bytesPerRow));
    }
    const std::size_t rowBytes = static_cast<std::size_t>(img.bytesPerRow);
    if (rowBytes == 0 || blocks == 0) {
        img.printed = MonoBitmap{static_cast<int>(rowBytes * 8), 0, {}};
        return R::ok(std::move(img));
    }
    const std::size_t rowsPerBlock = kImageBlockData / rowBytes;
    img.printed.width = static_cast<int>(rowBytes * 8);
    img.printed.height = static_cast<int>(rowsPerBlock * blocks);
    img.printed.pixels.assign(static_cast<std::size_t>(img.printed.width) * img.printed.height, 0);
    for (std::size_t i = 0; i < blocks; ++i)
        placeRows(img.printed, records[i].data() + 7, rowBytes, rowsPerBlock, i * rowsPerBlock);
    return R::ok(std::move(img));
}

Result<DecodedLogo> decodeLogo(std::span<const uint8_t> r) {
    using R = Result<DecodedLogo>;
    if (r.size() != kLogoRecordSize) return R::fail(sizeReason("logo", r.size(), kLogoRecordSize));
    const std::size_t length = readBytesReversed(r.data() + 4, 2);
    if (length != kLogoRecordSize) return R::fail("logo: length field " + str(length) + ", not 1030");
    DecodedLogo l;
    std::string reason;
    if (!readNumberField(r, 0, 4, "logo number", l.number, reason)) return R::fail(reason);
    l.printed.width = kLogoRowPixels;
    l.printed.height = kLogoRows;
    l.printed.pixels.assign(static_cast<std::size_t>(kLogoRowPixels) * kLogoRows, 0);
    placeRows(l.printed, r.data() + 6, kLogoRowPixels / 8, kLogoRows, 0);
    return R::ok(std::move(l));
}

}  // namespace brindale::scalefiles
