// The records of text files, containers, date and time, scroll messages and sequences: the bytes
// of each field, the limits refused with a reason, the damaged records refused by the decoders,
// and round trips over generated texts in single- and double-byte code pages.
#include <gtest/gtest.h>

#include <random>

#include "codec/code_page.h"
#include "scalefiles/records.h"
#include "scalefiles/scroll_messages.h"
#include "scalefiles/text_lines.h"

using namespace brindale;
using namespace brindale::scalefiles;
using B = std::vector<uint8_t>;

namespace {

B textBlock(const std::vector<std::string>& lines, const codec::CodePage& cp, uint8_t font = 0) {
    std::vector<TextLine> ls;
    for (const auto& l : lines) ls.push_back(TextLine::typed(font, l));
    auto j = blockFromLines(ls, cp);
    EXPECT_FALSE(j.tooLong);
    return j.block ? *j.block : B{};
}

}  // namespace

TEST(PackedNumbers, DigitsReadAsHexadecimal) {
    uint8_t b[4];
    ASSERT_TRUE(writePacked(1234, b, 4));
    EXPECT_EQ(B(b, b + 4), (B{0, 0, 0x12, 0x34}));
    ASSERT_TRUE(writePacked(99999999, b, 4));
    EXPECT_EQ(B(b, b + 4), (B{0x99, 0x99, 0x99, 0x99}));
    EXPECT_FALSE(writePacked(100000000, b, 4));
    EXPECT_FALSE(writePacked(100, b, 1));
    EXPECT_EQ(readPacked(b, 4), 99999999u);
    const uint8_t bad[2] = {0x1A, 0x00};
    EXPECT_FALSE(readPacked(bad, 2));
}

TEST(TextFileRecord, EmptyTextIsEightBytes) {
    auto r = encodeTextFile({5, {}});
    ASSERT_TRUE(r) << r.reason;
    EXPECT_EQ(*r, (B{0, 0, 0, 5, 0, 8, 0, 0}));
    auto d = decodeTextFile(*r);
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(d->number, 5u);
    EXPECT_TRUE(d->text.empty());
}

TEST(TextFileRecord, Number1234IsStoredAsPackedBytes) {
    codec::CodePage cp("CP1252");
    const B text = textBlock({"Bread"}, cp);
    auto r = encodeTextFile({1234, text});
    ASSERT_TRUE(r);
    EXPECT_EQ(B(r->begin(), r->begin() + 4), (B{0, 0, 18, 52}));
    EXPECT_EQ((*r)[4], 0);
    EXPECT_EQ((*r)[5], 8 + text.size());
    EXPECT_EQ((*r)[6], 0);
    EXPECT_EQ((*r)[7], 0);
    EXPECT_EQ(B(r->begin() + 8, r->end()), text);
}

TEST(TextFileRecord, OverTheTwoByteLengthIsRefusedNotCut) {
    B text(kTextFileMaxSize - kTextFileHeaderSize + 1, 'a');
    auto r = encodeTextFile({1, text});
    EXPECT_FALSE(r);
    EXPECT_NE(r.reason.find("65528"), std::string::npos) << r.reason;
    text.pop_back();
    EXPECT_TRUE(encodeTextFile({1, text}));
    EXPECT_FALSE(encodeTextFile({100000000, {}}));
}

TEST(TextFileRecord, DecoderRefusesInconsistentRecords) {
    codec::CodePage cp("CP1252");
    B good = *encodeTextFile({7, textBlock({"ab", "cd"}, cp)});
    ASSERT_TRUE(decodeTextFile(good));
    B shortLen = good;
    shortLen[5] -= 1;
    EXPECT_NE(decodeTextFile(shortLen).reason.find("length field"), std::string::npos);
    B notZero = good;
    notZero[6] = 1;
    EXPECT_FALSE(decodeTextFile(notZero));
    B badDigit = good;
    badDigit[3] = 0x0B;
    EXPECT_NE(decodeTextFile(badDigit).reason.find("packed digits"), std::string::npos);
    B runsPast = good;
    runsPast[9] = 200;  // the first line claims more than the record holds
    EXPECT_NE(decodeTextFile(runsPast).reason.find("run past"), std::string::npos);
    B extra = good;
    extra.push_back(0);
    extra[5] += 1;  // a byte after the last line
    EXPECT_NE(decodeTextFile(extra).reason.find("lines end"), std::string::npos);
    EXPECT_FALSE(decodeTextFile(B{0, 0, 0, 1, 0}));
}

TEST(TextFileRecord, RoundTripOfGeneratedTextsInTwoCodePages) {
    codec::CodePage western("CP1252");
    codec::CodePage chinese("GBK");
    std::mt19937 rng(15);
    const std::vector<std::string> westernWords = {"Brot", "café", "Größe", "naïve", "50%", "Œuvre"};
    const std::vector<std::string> chineseWords = {"面包", "配料", "小麦粉", "盐", "水", "abc"};
    for (int round = 0; round < 60; ++round) {
        const bool gbk = round % 2;
        const auto& cp = gbk ? chinese : western;
        const auto& words = gbk ? chineseWords : westernWords;
        const int lineCount = 1 + static_cast<int>(rng() % 99);
        std::vector<std::string> lines;
        for (int i = 0; i < lineCount; ++i) {
            std::string l = words[rng() % words.size()];
            for (int w = rng() % 8; w > 0; --w) l += " " + words[rng() % words.size()];
            lines.push_back(l);
        }
        const B block = textBlock(lines, cp, static_cast<uint8_t>(rng() % 10));
        const uint32_t number = rng() % 100000000;
        auto r = encodeTextFile({number, block});
        ASSERT_TRUE(r) << r.reason;
        auto d = decodeTextFile(*r);
        ASSERT_TRUE(d) << d.reason;
        EXPECT_EQ(d->number, number);
        EXPECT_EQ(d->text, block);
        const auto back = linesFromBlock(codec::Bytes(d->text), cp);
        ASSERT_EQ(back.lines.size(), lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(back.lines[i].text, lines[i]);
        if (gbk) {
            // The length byte of a line counts bytes: each Chinese character takes two.
            std::vector<uint8_t> enc;
            cp.encode(lines[0], enc);
            EXPECT_EQ(d->text[1], enc.size());
        }
    }
}

TEST(ContainerRecord, TenBytesAndBack) {
    auto r = encodeContainer({1234, 56789012});
    ASSERT_TRUE(r);
    EXPECT_EQ(*r, (B{0, 0, 0x12, 0x34, 0, 10, 0x56, 0x78, 0x90, 0x12}));
    auto d = decodeContainer(*r);
    ASSERT_TRUE(d);
    EXPECT_EQ(*d, (ContainerRecord{1234, 56789012}));
    B bad = *r;
    bad[5] = 11;
    EXPECT_FALSE(decodeContainer(bad));
    bad = *r;
    bad[9] = 0xFF;
    EXPECT_NE(decodeContainer(bad).reason.find("PLU number"), std::string::npos);
    EXPECT_FALSE(decodeContainer(B(9, 0)));
    EXPECT_FALSE(encodeContainer({1, 123456789}));
}

TEST(DateTimeRecord, FifthOfMarch2007At1409) {
    auto r = encodeDateTime({2007, 3, 5, 14, 9});
    ASSERT_TRUE(r);
    ASSERT_EQ(r->size(), 14u);
    EXPECT_EQ((*r)[7], 0x05);
    EXPECT_EQ((*r)[8], 0x03);
    EXPECT_EQ((*r)[9], 0x07);
    EXPECT_EQ((*r)[12], 0x14);
    EXPECT_EQ((*r)[13], 0x09);
}

TEST(DateTimeRecord, LastMinuteOf2009) {
    auto r = encodeDateTime({2009, 12, 31, 23, 59});
    ASSERT_TRUE(r);
    EXPECT_EQ(*r, (B{0, 0, 0, 0xFF, 0, 14, 0, 0x31, 0x12, 0x09, 0, 0, 0x23, 0x59}));
    auto d = decodeDateTime(*r);
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(*d, (ClockReading{2009, 12, 31, 23, 59}));
}

TEST(DateTimeRecord, DecoderRefusesWhatIsNoMoment) {
    B r = *encodeDateTime({2024, 2, 29, 0, 0});
    ASSERT_TRUE(decodeDateTime(r));
    B bad = r;
    bad[8] = 0x13;  // month 13
    EXPECT_NE(decodeDateTime(bad).reason.find("no moment"), std::string::npos);
    bad = r;
    bad[12] = 0x2A;
    EXPECT_NE(decodeDateTime(bad).reason.find("hour"), std::string::npos);
    bad = r;
    bad[3] = 0;
    EXPECT_FALSE(decodeDateTime(bad));
    EXPECT_FALSE(decodeDateTime(B(13, 0)));
    EXPECT_FALSE(encodeDateTime({2024, 2, 30, 0, 0}));
}

TEST(ScrollMessageRecord, EmptyTextIsEightBytes) {
    auto r = encodeScrollMessage({12, {}});
    ASSERT_TRUE(r);
    EXPECT_EQ(*r, (B{0, 0, 0, 0x12, 0, 8, 0, 0}));
    auto d = decodeScrollMessage(*r);
    ASSERT_TRUE(d);
    EXPECT_EQ(d->number, 12u);
    EXPECT_TRUE(d->text.empty());
}

TEST(ScrollMessageRecord, DoubleByteTextCountsBytes) {
    codec::CodePage gbk("GBK");
    B text;
    gbk.encode("欢迎光临", text);
    ASSERT_EQ(text.size(), 8u);
    auto r = encodeScrollMessage({3, text});
    ASSERT_TRUE(r);
    EXPECT_EQ((*r)[6], 8);
    EXPECT_EQ(r->size(), 16u);
    EXPECT_EQ((*r)[5], 16);
    EXPECT_EQ(r->back(), 0);
    auto d = decodeScrollMessage(*r);
    ASSERT_TRUE(d);
    EXPECT_EQ(gbk.decode(d->text.data(), d->text.size()), "欢迎光临");
}

TEST(ScrollMessageRecord, Over255BytesIsRefusedAndDamageIsNamed) {
    EXPECT_TRUE(encodeScrollMessage({1, B(255, 'x')}));
    auto r = encodeScrollMessage({1, B(256, 'x')});
    EXPECT_FALSE(r);
    EXPECT_NE(r.reason.find("256"), std::string::npos);
    B good = *encodeScrollMessage({1, B{'a', 'b'}});
    B bad = good;
    bad[6] = 3;
    EXPECT_NE(decodeScrollMessage(bad).reason.find("text length"), std::string::npos);
    bad = good;
    bad.back() = 1;
    EXPECT_FALSE(decodeScrollMessage(bad));
    bad = good;
    bad[5] = 9;
    EXPECT_FALSE(decodeScrollMessage(bad));
}

TEST(ScrollSequenceRecord, StepsAtPositionZero) {
    auto r = encodeScrollSequence({1, {}});
    ASSERT_TRUE(r);
    EXPECT_EQ(*r, (B{0, 0, 0, 1, 0, 21, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}));
}

TEST(ScrollSequenceRecord, PatternTableAndRoundTrip) {
    const uint8_t expected[5][2] = {{0, 1}, {1, 0}, {1, 1}, {2, 1}, {3, 1}};
    for (int p = 0; p < 5; ++p) {
        auto b = patternBytes(p);
        ASSERT_TRUE(b);
        EXPECT_EQ((*b)[0], expected[p][0]);
        EXPECT_EQ((*b)[1], expected[p][1]);
        EXPECT_EQ(patternPosition(expected[p][0], expected[p][1]), p);
    }
    EXPECT_FALSE(patternBytes(5));
    EXPECT_FALSE(patternPosition(0, 0));
    ScrollSequenceRecord s{7, {ScrollStep{3, 4, 2}, ScrollStep{0, 1, 0}, ScrollStep{12, 3, 1}}};
    auto r = encodeScrollSequence(s);
    ASSERT_TRUE(r);
    EXPECT_EQ(B(r->begin() + 7, r->begin() + 19), (B{3, 3, 1, 2, 0, 1, 0, 0, 12, 2, 1, 1}));
    auto d = decodeScrollSequence(*r);
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(*d, s);
    B bad = *r;
    bad[8] = 0;
    bad[9] = 0;
    EXPECT_NE(decodeScrollSequence(bad).reason.find("no pattern"), std::string::npos);
    bad = *r;
    bad[10] = 3;
    EXPECT_NE(decodeScrollSequence(bad).reason.find("speed"), std::string::npos);
    EXPECT_FALSE(encodeScrollSequence({1, {ScrollStep{0, 5, 0}}}));
    EXPECT_FALSE(encodeScrollSequence({1, {ScrollStep{0, 0, 3}}}));
}

TEST(ScrollGrid, RefusesWhatCannotBeSavedNamingTheLines) {
    codec::CodePage gbk("GBK");
    codec::CodePage western("CP1252");
    EXPECT_EQ(checkScrollGrid({{"1", "a"}, {"", "no number"}, {"2", "b"}}, western).reason, "");
    const auto twice = checkScrollGrid({{"7", "a"}, {"8", "b"}, {"7", "c"}}, western);
    EXPECT_EQ(twice.rows, (std::vector<int>{0, 2}));
    EXPECT_EQ(twice.reason, "lines 1 and 3 both have the number 7");
    // 128 Chinese characters are 256 bytes in GBK: over the length byte, though 128 characters.
    std::string longText;
    for (int i = 0; i < 128; ++i) longText += "欢";
    const auto tooLong = checkScrollGrid({{"1", longText}}, gbk);
    EXPECT_EQ(tooLong.reason, "line 1: 256 bytes, at most 255 fit");
    longText.resize(longText.size() - 3);
    EXPECT_EQ(checkScrollGrid({{"1", longText}}, gbk).reason, "");
    EXPECT_NE(checkScrollGrid({{"1", "面包"}}, western).reason.find("not in the code page"), std::string::npos);
    EXPECT_NE(checkScrollGrid({{"123456789", "a"}}, western).reason.find("not 1 to 8 digits"), std::string::npos);
    EXPECT_NE(checkScrollGrid({{"1a", "a"}}, western).reason.find("line 1"), std::string::npos);
}
