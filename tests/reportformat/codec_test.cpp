// The report format records without a database: types, fonts, limits, packed numbers, the two
// records, the line stream both ways, the placeholders, the cut, the reader, the reset rule.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "codec/code_page.h"
#include "report_support.h"
#include "reportformat/report_format.h"

using namespace brindale;
using namespace brindale::reportformat;
using brindale::testing::shippedCatalogue;
using brindale::testing::shippedSection;

namespace {


Bytes pageBytes(const codec::CodePage& page, const std::string& utf8) {
    std::vector<uint8_t> v;
    page.encode(utf8, v);
    return v;
}

}  // namespace

TEST(ReportTypes, SixteenTypesWithTheirCodesAndListsAsShipped) {
    const std::vector<int> codes{17, 49, 51, 52, 65, 66, 67, 68, 81, 83, 84, 97, 113, 129, 130, 131};
    const std::vector<std::string> shippedIds = shippedSection("Reportformat_TypeID");
    ASSERT_EQ(shippedIds.size(), 16u);
    ASSERT_EQ(shippedSection("Reportformat_Type").size(), 16u);
    for (int p = 0; p < kTypeCount; ++p) {
        const ReportType& t = reportTypes()[static_cast<size_t>(p)];
        EXPECT_EQ(t.position, p);
        EXPECT_EQ(t.code, codes[static_cast<size_t>(p)]);
        EXPECT_EQ(std::to_string(t.code), shippedIds[static_cast<size_t>(p)]);
        EXPECT_EQ(typePosition(t.code), p);
        EXPECT_EQ(typeCode(p), t.code);
        EXPECT_EQ(std::string(t.numberList), std::string(t.itemList) + "ID");
        // Every type's item and number lists exist and correspond row for row.
        const auto items = shippedSection(t.itemList), nums = shippedSection(t.numberList);
        EXPECT_FALSE(nums.empty()) << t.numberList;
        EXPECT_EQ(items.size(), nums.size()) << t.itemList;
        EXPECT_EQ(shippedCatalogue().lists[static_cast<size_t>(p)].numbers.size(), nums.size());
        EXPECT_EQ(typeHasRange(p), p != 0 && p != 13 && p != 14 && p != 15);
    }
    EXPECT_EQ(std::string(reportTypes()[3].itemList), "Reportformat_PLUPPKdaily");
    EXPECT_FALSE(typePosition(18));
    EXPECT_FALSE(typePosition(0));
    EXPECT_EQ(typeCode(16), 17);
    EXPECT_EQ(typeCode(-1), 17);
}

TEST(ReportFonts, FourListsByScaleModelWithTheirDefaults) {
    auto names = [](int model) {
        std::string s;
        for (const auto& f : fontsFor(model)) s += f.name + ":" + std::to_string(f.code) + " ";
        return s;
    };
    EXPECT_EQ(names(3), "G2:23 G3:20 G4:21 G5:24 ");
    EXPECT_EQ(names(4), "B2:11 B4:27 B5:28 B6:29 ");
    EXPECT_EQ(names(5), names(4));
    EXPECT_EQ(names(37), "T1:30 T2:31 T3:32 ");
    EXPECT_EQ(names(1), "S1:0 S2:1 S3:2 S4:3 S5:4 M1:5 M2:6 M3:7 M4:8 M5:9 ");
    EXPECT_EQ(names(0), names(1));
    EXPECT_EQ(names(36), names(1));
    EXPECT_EQ(defaultFontPosition(3), 3);
    EXPECT_EQ(defaultFontCode(3), 24);
    EXPECT_EQ(defaultFontPosition(4), 2);
    EXPECT_EQ(defaultFontCode(5), 28);
    EXPECT_EQ(defaultFontPosition(37), 0);
    EXPECT_EQ(defaultFontCode(37), 30);
    EXPECT_EQ(defaultFontPosition(1), 3);
    EXPECT_EQ(defaultFontCode(1), 3);
    EXPECT_EQ(fontPosition(3, 21), 2);
    EXPECT_FALSE(fontPosition(3, 9));
    // A stored font the model lacks opens in the model's default font.
    EXPECT_EQ(effectiveFont(3, 9), 24);
    EXPECT_EQ(effectiveFont(4, 9), 28);
    EXPECT_EQ(effectiveFont(1, 9), 9);
}

TEST(ReportFonts, LineLimitsByFontCode) {
    std::map<int, int> expected;
    for (int c : {0, 1, 2, 3, 20, 24, 27, 28}) expected[c] = 48;
    for (int c : {4, 5, 6, 7, 8, 21, 29, 30, 31}) expected[c] = 24;
    for (int c : {9, 11, 23}) expected[c] = 16;
    expected[32] = 12;
    for (int c = 0; c < 256; ++c) {
        auto it = expected.find(c);
        if (it == expected.end()) EXPECT_FALSE(lineLimit(static_cast<uint8_t>(c))) << c;
        else EXPECT_EQ(lineLimit(static_cast<uint8_t>(c)), it->second) << c;
    }
    // Every font of every list has a limit.
    for (int model : {1, 3, 4, 37})
        for (const auto& f : fontsFor(model)) EXPECT_TRUE(lineLimit(f.code)) << f.name;
}

TEST(ReportPacked, ZeroOneAndTheLargestEightDigits) {
    using A = std::array<uint8_t, 4>;
    EXPECT_EQ(packNumber("0"), (A{0, 0, 0, 0}));
    EXPECT_EQ(packNumber("1"), (A{0, 0, 0, 1}));
    EXPECT_EQ(packNumber("99999999"), (A{0x99, 0x99, 0x99, 0x99}));
    EXPECT_EQ(packNumber("123"), (A{0, 0, 1, 0x23}));
    EXPECT_EQ(packNumber("00000123"), (A{0, 0, 1, 0x23}));
    EXPECT_EQ(packNumber(int64_t{12345678}), (A{0x12, 0x34, 0x56, 0x78}));
    EXPECT_FALSE(packNumber("100000000"));
    EXPECT_FALSE(packNumber(int64_t{100000000}));
    EXPECT_FALSE(packNumber(int64_t{-1}));
    EXPECT_FALSE(packNumber("12a"));
    EXPECT_FALSE(packNumber(""));
    EXPECT_FALSE(packNumber("-5"));
    EXPECT_FALSE(packNumber(" 5"));
    for (int64_t v : {int64_t{0}, int64_t{1}, int64_t{99999999}, int64_t{20261123}}) {
        const auto b = packNumber(v);
        ASSERT_TRUE(b);
        EXPECT_EQ(unpackNumber(b->data()), v);
    }
    const uint8_t notDecimal[4] = {0, 0, 0x1A, 0};
    EXPECT_FALSE(unpackNumber(notDecimal));
    const uint8_t highNibble[4] = {0xA0, 0, 0, 0};
    EXPECT_FALSE(unpackNumber(highNibble));
}

TEST(ReportRecords, AFormatWithoutTextIs35BytesWithTheDefaultStream) {
    FormatRecordFields f;
    f.code = 5;
    f.type = 65;
    f.startNo = 1;
    f.endNo = 99;
    f.conditionNo = 12;
    f.status = 1;
    const auto r = buildFormatRecord(f);
    ASSERT_TRUE(r);
    ASSERT_EQ(r->size(), 35u);
    EXPECT_EQ(Bytes(r->begin(), r->begin() + 8), (Bytes{0, 0, 0, 5, 0x00, 0x23, 0, 65}));
    EXPECT_EQ(Bytes(r->begin() + 8, r->begin() + 21),
              (Bytes{0, 0, 0, 1, 0, 0, 0, 0x99, 0, 0, 0, 0x12, 1}));
    EXPECT_EQ(Bytes(r->begin() + 21, r->begin() + 32), Bytes(11, 0));
    EXPECT_EQ(Bytes(r->begin() + 32, r->end()), (Bytes{0x03, 0x00, 0x0C}));
    EXPECT_EQ(readFormatRecord(r->data(), r->size()).error, "");
}

TEST(ReportRecords, TwoLinesABAndEmptyGiveTheStreamAndA41ByteRecord) {
    const std::vector<Line> lines{{3, "AB"}, {5, ""}};
    const Bytes s = buildLineStream(lines);
    EXPECT_EQ(s, (Bytes{0x03, 0x02, 0x41, 0x42, 0x0D, 0x05, 0x01, 0x20, 0x0C}));
    FormatRecordFields f;
    f.code = 1;
    f.data = s;
    const auto r = buildFormatRecord(f);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->size(), 41u);
    EXPECT_EQ((*r)[4], 0);
    EXPECT_EQ((*r)[5], 41);
    const auto v = readFormatRecord(r->data(), r->size());
    EXPECT_EQ(v.error, "");
    ASSERT_EQ(v.lines.size(), 2u);
    EXPECT_EQ(v.lines[0].text, "AB");
    EXPECT_EQ(v.lines[1].font, 5);
    EXPECT_EQ(v.lines[1].text, " ");
}

TEST(ReportRecords, Sequence7OfFormats1And2) {
    SequenceRecordFields s;
    s.code = 7;
    s.formats[0] = 1;
    s.formats[1] = 2;
    s.resetReport = 0;
    s.status = sequenceStatus(0, false, 0);
    const auto r = buildSequenceRecord(s);
    ASSERT_TRUE(r);
    ASSERT_EQ(r->size(), 68u);
    EXPECT_EQ(Bytes(r->begin(), r->begin() + 16), (Bytes{0, 0, 0, 7, 0x00, 0x44, 0, 0, 0, 0, 0, 1, 0, 0, 0, 2}));
    EXPECT_EQ(Bytes(r->begin() + 16, r->begin() + 48), Bytes(32, 0));
    EXPECT_EQ((*r)[48], 0);
    EXPECT_EQ((*r)[49], 1);  // no password asked
    EXPECT_EQ(Bytes(r->begin() + 50, r->end()), Bytes(18, 0));
    const auto v = readSequenceRecord(r->data(), r->size());
    EXPECT_EQ(v.error, "");
    EXPECT_EQ(v.fields.code, 7);
    EXPECT_EQ(v.fields.formats[1], 2);
}

TEST(ReportRecords, SequenceStatusBitsForEveryPasswordAndPrintTypeOtherBitsKept) {
    for (int previous : {0x00, 0x01, 0x02, 0x03, 0xFC, 0xFF, 0xA5}) {
        for (bool password : {false, true}) {
            for (int printType : {0, 1}) {
                const uint8_t s = sequenceStatus(static_cast<uint8_t>(previous), password, printType);
                EXPECT_EQ(s & 0xFC, previous & 0xFC) << previous;
                EXPECT_EQ((s & 1) != 0, !password);
                EXPECT_EQ((s & 2) != 0, printType != 0);
                EXPECT_EQ(sequencePassword(s), password);
                EXPECT_EQ(sequencePrintType(s), printType);
            }
        }
    }
    // Any print type other than 0 is a label.
    EXPECT_EQ(sequenceStatus(0, true, 3), 2);
}

TEST(ReportLineStream, RoundTripOf1To50LinesAtAndUnderEachLimitInCp1252AndGbk) {
    const codec::CodePage cp1252("CP1252"), gbk("GBK");
    for (const codec::CodePage* page : {&cp1252, &gbk}) {
        const bool wide = page->name() == "GBK";
        for (int model : {1, 3, 4, 37}) {
            for (const auto& font : fontsFor(model)) {
                const int limit = *lineLimit(font.code);
                // Every count from 1 to 50 for one font of each limit, the two ends for the others.
                const bool every = font.code == 3 || font.code == 5 || font.code == 9 || font.code == 32;
                std::vector<int> counts{1, 50};
                if (every) {
                    counts.clear();
                    for (int c = 1; c <= 50; ++c) counts.push_back(c);
                }
                for (int count : counts) {
                    std::vector<Line> lines;
                    for (int k = 0; k < count; ++k) {
                        // Even lines at the limit, odd lines under it, some empty.
                        const int bytes = k % 2 == 0 ? limit : (k % 3 == 0 ? 0 : limit - 1 - k % 5);
                        std::string utf8;
                        if (wide) {
                            for (int b = 0; b + 2 <= bytes; b += 2) utf8 += "\u79E4";  // a scale: 2 bytes in GBK
                            if (bytes % 2) utf8 += "x";
                        } else {
                            for (int b = 0; b < bytes; ++b) utf8 += b % 7 == 0 ? "\u00E9" : "a";  // é: 1 byte
                        }
                        ASSERT_EQ(lineBytes(utf8, shippedCatalogue(), *page), static_cast<size_t>(bytes));
                        const Bytes b = pageBytes(*page, utf8);
                        lines.push_back({font.code, std::string(b.begin(), b.end())});
                    }
                    const Bytes stream = buildLineStream(lines);
                    size_t size = 0;
                    for (const Line& l : lines) size += std::max<size_t>(l.text.size(), 1) + 3;
                    ASSERT_EQ(stream.size(), size);
                    EXPECT_EQ(stream.back(), 0x0C);
                    const ParsedStream p = parseLineStream(stream);
                    ASSERT_FALSE(p.damage) << p.damage->reason;
                    EXPECT_TRUE(p.endedAtLastByte);
                    ASSERT_EQ(p.lines.size(), lines.size());
                    for (size_t k = 0; k < lines.size(); ++k) {
                        EXPECT_EQ(p.lines[k].font, font.code);
                        EXPECT_EQ(p.lines[k].text, lines[k].text.empty() ? " " : lines[k].text);
                        EXPECT_EQ(page->decode(reinterpret_cast<const uint8_t*>(p.lines[k].text.data()),
                                               p.lines[k].text.size()),
                                  lines[k].text.empty() ? " "
                                                        : page->decode(reinterpret_cast<const uint8_t*>(
                                                                           lines[k].text.data()),
                                                                       lines[k].text.size()));
                    }
                    // Through the record and back.
                    FormatRecordFields f;
                    f.code = 1;
                    f.data = stream;
                    const auto rec = buildFormatRecord(f);
                    ASSERT_TRUE(rec);
                    EXPECT_EQ(readFormatRecord(rec->data(), rec->size()).error, "");
                }
            }
        }
    }
}

TEST(ReportLineStream, EndsOtherThan0DStartTheNextLineAndDamageIsNamedWithItsOffset) {
    // Any byte but 0C ends a line.
    const Bytes s{3, 1, 'A', 0x00, 4, 1, 'B', 0x0C};
    const auto p = parseLineStream(s);
    ASSERT_FALSE(p.damage);
    ASSERT_EQ(p.lines.size(), 2u);
    EXPECT_EQ(p.lines[1].text, "B");
    // Runs past its end.
    const auto past = parseLineStream(Bytes{3, 2, 'A', 'B', 0x0D, 3, 9, 'C', 0x0C});
    ASSERT_TRUE(past.damage);
    EXPECT_EQ(past.damage->offset, 5u);
    EXPECT_EQ(past.lines.size(), 1u);
    // Lacks its 0C.
    const auto no0c = parseLineStream(Bytes{3, 2, 'A', 'B'});
    ASSERT_TRUE(no0c.damage);
    EXPECT_EQ(no0c.damage->offset, 4u);
    EXPECT_EQ(no0c.lines.size(), 0u);
    // More than 50 lines.
    std::vector<Line> many(51, Line{3, "x"});
    const auto tooMany = parseLineStream(buildLineStream(many));
    ASSERT_TRUE(tooMany.damage);
    EXPECT_EQ(tooMany.lines.size(), 50u);
    EXPECT_EQ(tooMany.damage->offset, 50u * 4);
    // The 0C before the end of the bytes.
    const auto early = parseLineStream(Bytes{3, 1, 'A', 0x0C, 0, 0});
    EXPECT_FALSE(early.damage);
    EXPECT_FALSE(early.endedAtLastByte);
    EXPECT_TRUE(parseLineStream(Bytes{}).damage);
}

TEST(ReportPlaceholders, EveryNumberOfEveryListDecodesToItsSample) {
    const ReportCatalogue& c = shippedCatalogue();
    std::set<int> seen;
    for (const auto& list : c.lists) {
        for (int n : list.numbers) {
            seen.insert(n);
            EXPECT_TRUE(c.known(n));
            EXPECT_EQ(decodeStr("<" + placeholder(n) + ">", c), "<" + sampleText(n) + ">") << n;
            EXPECT_EQ(decodeStr(placeholder(n) + placeholder(n), c), sampleText(n) + sampleText(n));
        }
    }
    EXPECT_GT(seen.size(), 100u);
    EXPECT_TRUE(seen.count(3002));
    EXPECT_TRUE(seen.count(4002));
    EXPECT_EQ(placeholder(3002), "%%(3002)");
    EXPECT_EQ(placeholder(7), "%%(0007)");
}

TEST(ReportPlaceholders, SampleTextsAsThePrinterShowsThem) {
    EXPECT_EQ(sampleText(4002), "DEPTARTMENT NAME");
    EXPECT_EQ(sampleText(3002).size(), 30u);
    EXPECT_EQ(sampleText(1002), "01-01-01     01:01  ");
    EXPECT_EQ(sampleText(1001), "000001");
    EXPECT_EQ(sampleText(5001), "000001");
    EXPECT_EQ(sampleText(8300), "0001");
    EXPECT_EQ(sampleText(5003), "01-01-01   ");
    EXPECT_EQ(sampleText(5002), "MAIN GROUP NAME ");
    EXPECT_EQ(sampleText(6001), "01");
    EXPECT_EQ(sampleText(6002), "CLERK NAME      ");
    EXPECT_EQ(sampleText(7001), "1");
    EXPECT_EQ(sampleText(7002), "TAX TYPE              ");
    EXPECT_EQ(sampleText(7003), " 99.99");
    for (int n : {1313, 6105, 8130, 8330}) EXPECT_EQ(sampleText(n), "     999999") << n;
    for (int n : {1314, 6104, 8131, 8331}) EXPECT_EQ(sampleText(n), "    999.999") << n;
    for (int n : {3101, 8104, 1311}) EXPECT_EQ(sampleText(n), "    9999.99") << n;
}

TEST(ReportPlaceholders, BrokenOrUnknownPlaceholdersStayAsTheyStand) {
    const ReportCatalogue& c = shippedCatalogue();
    ASSERT_FALSE(c.known(9999));
    for (const std::string s : {"%%(9999)", "%%(300)", "%%(30a2)", "%%[3002)", "%%(3002]", "%(3002)", "%%(3002",
                                "x%%(", "%%", "%", "%%(30021)", "%%( 3002)", "%%(-302)", "%%%"})
        EXPECT_EQ(decodeStr(s, c), s) << s;
    // An opening at the end of a line, with fewer than six characters behind the signs.
    EXPECT_EQ(decodeStr("TOTAL %%(300", c), "TOTAL %%(300");
    EXPECT_EQ(decodeStr("%%%(3002)", c), "%" + sampleText(3002));
    EXPECT_EQ(decodeStr("a%%(3002)b%%(9999)", c), "a" + sampleText(3002) + "b%%(9999)");
    // Names instead of samples.
    EXPECT_EQ(decodeNames("%%(3002)", c), "[" + c.lists[1].items[4] + "]");
    EXPECT_EQ(decodeNames("%%(9999)", c), "%%(9999)");
}

TEST(ReportLineLength, APlaceholderCountsWithItsSampleInBytesOfThePage) {
    const codec::CodePage cp1252("CP1252"), gbk("GBK");
    const ReportCatalogue& c = shippedCatalogue();
    EXPECT_EQ(lineBytes("%%(3002)", c, cp1252), 30u);
    EXPECT_EQ(lineBytes("%%(9999)", c, cp1252), 8u);
    EXPECT_EQ(lineBytes("\u00E9t\u00E9", c, cp1252), 3u);
    EXPECT_EQ(lineBytes("\u79E4\u79E4a", c, gbk), 5u);
    EXPECT_EQ(lineBytes("\u79E4%%(4002)", c, gbk), 18u);
}

TEST(ReportLineLength, CutsKeepWholeCharactersAndWholePlaceholders) {
    const codec::CodePage cp1252("CP1252"), gbk("GBK");
    const ReportCatalogue& c = shippedCatalogue();
    EXPECT_EQ(cutLine("abcdefghijklmnopqrstuvwxyz", 16, c, cp1252), "abcdefghijklmnop");
    EXPECT_EQ(cutLine("\u00E9\u00E9\u00E9", 2, c, cp1252), "\u00E9\u00E9");
    // A Chinese character of two bytes is never halved.
    EXPECT_EQ(cutLine("\u79E4\u79E4\u79E4", 5, c, gbk), "\u79E4\u79E4");
    EXPECT_EQ(cutLine("a\u79E4\u79E4", 4, c, gbk), "a\u79E4");
    // 3002 prints 30 bytes: kept when it fits, dropped whole when it does not.
    EXPECT_EQ(cutLine("AB%%(3002)", 32, c, cp1252), "AB%%(3002)");
    EXPECT_EQ(cutLine("AB%%(3002)", 31, c, cp1252), "AB");
    EXPECT_EQ(cutLine("%%(3002)xyz", 16, c, cp1252), "");
    // An unknown placeholder is plain text and may be cut anywhere.
    EXPECT_EQ(cutLine("%%(9999)", 5, c, cp1252), "%%(99");
    for (const std::string s : {"AB%%(3002)", "\u79E4%%(4002)xy", "%%(1002)%%(1001)"})
        for (size_t limit = 0; limit < 60; ++limit) {
            const std::string cut = cutLine(s, limit, c, gbk);
            EXPECT_LE(lineBytes(cut, c, gbk), limit);
            EXPECT_EQ(s.substr(0, cut.size()), cut);
        }
}

TEST(ReportReader, TheScalesRefusalsOfAFormatRecord) {
    FormatRecordFields f;
    f.code = 3;
    f.type = 49;
    f.data = buildLineStream({{3, "HELLO"}});
    const Bytes good = *buildFormatRecord(f);
    ASSERT_EQ(readFormatRecord(good.data(), good.size()).error, "");
    auto errorOf = [](Bytes r) { return readFormatRecord(r.data(), r.size()).error; };
    auto with = [&](size_t at, uint8_t v) {
        Bytes r = good;
        r[at] = v;
        return r;
    };
    EXPECT_NE(errorOf(Bytes(good.begin(), good.begin() + 34)).find("at least 35"), std::string::npos);
    EXPECT_NE(errorOf(with(6, 1)).find("byte 6"), std::string::npos);
    EXPECT_NE(errorOf(with(7, 50)).find("byte 7"), std::string::npos);
    EXPECT_NE(errorOf(with(20, 3)).find("byte 20"), std::string::npos);
    EXPECT_EQ(errorOf(with(20, 2)), "");
    for (size_t at = 21; at < 32; ++at) EXPECT_NE(errorOf(with(at, 1)).find("byte " + std::to_string(at)), std::string::npos);
    EXPECT_NE(errorOf(with(good.size() - 1, 0x0D)).find("line stream"), std::string::npos);
    EXPECT_NE(errorOf(with(33, 40)).find("runs past"), std::string::npos);
    // A 0C before the last byte.
    FormatRecordFields e = f;
    e.data = Bytes{3, 1, 'A', 0x0C, 0, 0};
    EXPECT_NE(errorOf(*buildFormatRecord(e)).find("0C is not the record's last byte"), std::string::npos);
    EXPECT_NE(errorOf(with(5, 99)).find("bytes 4 and 5"), std::string::npos);
}

TEST(ReportReader, TheScalesRefusalsOfASequenceRecord) {
    SequenceRecordFields s;
    s.code = 9;
    s.formats = {1, 2, 3, 0, 0, 0, 0, 0, 0, 99};
    s.resetReport = 3;
    s.status = 3;
    const Bytes good = *buildSequenceRecord(s);
    ASSERT_EQ(readSequenceRecord(good.data(), good.size()).error, "");
    auto errorOf = [](const Bytes& r) { return readSequenceRecord(r.data(), r.size()).error; };
    auto with = [&](size_t at, uint8_t v) {
        Bytes r = good;
        r[at] = v;
        return r;
    };
    EXPECT_NE(errorOf(Bytes(good.begin(), good.end() - 1)).find("68"), std::string::npos);
    EXPECT_NE(errorOf(with(4, 1)).find("00 44"), std::string::npos);
    EXPECT_NE(errorOf(with(5, 0x45)).find("00 44"), std::string::npos);
    for (int k = 0; k < 10; ++k)
        EXPECT_NE(errorOf(with(8 + 4 * static_cast<size_t>(k) + 3, 0x0A)).find("format " + std::to_string(k + 1)),
                  std::string::npos);
    EXPECT_NE(errorOf(with(48, 4)).find("byte 48"), std::string::npos);
    for (size_t at = 50; at < 68; ++at) EXPECT_NE(errorOf(with(at, 0x80)).find("byte " + std::to_string(at)), std::string::npos);
    EXPECT_EQ(errorOf(with(49, 0xFF)), "");  // status bits are the scale's business
    // Bytes 6 and 7 are taken as they come; built again they are zero.
    Bytes six = with(6, 1);
    six[7] = 1;
    const auto v = readSequenceRecord(six.data(), six.size());
    EXPECT_EQ(v.error, "");
    EXPECT_EQ(*buildSequenceRecord(v.fields), good);
}

TEST(ReportResetRule, EveryTypeAndPosition) {
    for (int p = 0; p < kTypeCount; ++p) {
        const int code = typeCode(p);
        for (int reset = 0; reset < 4; ++reset) {
            bool forbidden = false;
            switch (code) {
                case 49: case 52: case 65: case 68: case 81: case 84: case 97: case 129:
                    forbidden = reset == 2 || reset == 3; break;
                case 51: case 67: case 83: case 131: forbidden = reset == 1 || reset == 2; break;
                case 66: case 130: forbidden = reset == 1 || reset == 3; break;
                case 17: case 113: forbidden = false; break;
                default: FAIL() << code;
            }
            EXPECT_EQ(forbidsReset(code, reset), forbidden) << code << " " << reset;
        }
        EXPECT_FALSE(forbidsReset(code, 0));
    }
    EXPECT_FALSE(forbidsReset(0, 2));
}
