// The lines of text blocks: lines to block and back over every kind and several code pages,
// damaged blocks, the 255-byte line, the line limits of each kind and the fonts of each country.
#include <gtest/gtest.h>

#include <random>

#include "codec/code_page.h"
#include "codec/plu_record.h"
#include "codec/text_block.h"
#include "scalefiles/text_lines.h"

using namespace brindale;
using namespace brindale::scalefiles;
using Block = std::vector<uint8_t>;

namespace {

const std::vector<int> kKinds = {1, 2, 3, 11, 12, 13, 14, 15, 16};

std::vector<std::string> names(const std::vector<FontChoice>& f) {
    std::vector<std::string> v;
    for (const auto& c : f) v.push_back(c.name);
    return v;
}
std::vector<int> codes(const std::vector<FontChoice>& f) {
    std::vector<int> v;
    for (const auto& c : f) v.push_back(c.code);
    return v;
}

std::vector<std::string> texts(const std::vector<TextLine>& lines) {
    std::vector<std::string> v;
    for (const auto& l : lines) v.push_back(l.text);
    return v;
}

// Words each page can hold, so that a generated line comes back exactly.
std::vector<std::string> wordsFor(const std::string& page) {
    if (page == "GBK") return {"鲜肉", "熟食", "配料", "小麦粉", "盐", "保质期", "冷藏"};
    if (page == "BIG5") return {"鮮肉", "熟食", "配料", "麵粉", "鹽", "冷藏"};
    if (page == "CP932") return {"生肉", "惣菜", "原材料", "小麦粉", "食塩", "カツ"};
    if (page == "CP1251") return {"Мясо", "свежее", "соль", "мука", "хранить"};
    if (page == "CP874") return {"เนื้อ", "สด", "เกลือ", "แป้ง"};
    return {"Fresh", "pâté", "Weißwurst", "crème", "salt", "flour", "€"};
}

std::vector<TextLine> generatedLines(std::mt19937& rng, const std::string& page, int count,
                                     const std::vector<FontChoice>& fonts) {
    const auto words = wordsFor(page);
    std::vector<TextLine> lines;
    for (int i = 0; i < count; ++i) {
        std::string t;
        const int n = static_cast<int>(rng() % 6);  // lines after the first may be empty
        for (int w = 0; w < (i == 0 ? n + 1 : n); ++w) {
            if (!t.empty()) t += ' ';
            t += words[rng() % words.size()];
        }
        lines.push_back(TextLine::typed(fonts[rng() % fonts.size()].code, t));
    }
    return lines;
}

Block joined(const std::vector<TextLine>& lines, const codec::CodePage& page) {
    JoinedBlock j = blockFromLines(lines, page);
    EXPECT_FALSE(j.tooLong);
    EXPECT_TRUE(j.block.has_value());
    return j.block.value_or(Block{});
}

}  // namespace

TEST(TextFonts, JapanOffersJ1ToJ4) {
    EXPECT_EQ(names(fontsFor(0)), (std::vector<std::string>{"J1", "J2", "J3", "J4"}));
    EXPECT_EQ(codes(fontsFor(0)), (std::vector<int>{0x10, 0x11, 0x12, 0x13}));
}

TEST(TextFonts, Country3OffersG1ToG6InItsOwnCodeOrder) {
    EXPECT_EQ(names(fontsFor(3)), (std::vector<std::string>{"G1", "G2", "G3", "G4", "G5", "G6"}));
    EXPECT_EQ(codes(fontsFor(3)), (std::vector<int>{0x16, 0x17, 0x14, 0x15, 0x18, 0x19}));
}

TEST(TextFonts, Country37OffersT1ToT3) {
    EXPECT_EQ(names(fontsFor(37)), (std::vector<std::string>{"T1", "T2", "T3"}));
    EXPECT_EQ(codes(fontsFor(37)), (std::vector<int>{0x1E, 0x1F, 0x20}));
}

TEST(TextFonts, TheOtherCountries) {
    for (int c : {4, 5}) {
        EXPECT_EQ(names(fontsFor(c)), (std::vector<std::string>{"B1", "B2", "B3", "B4", "B5", "B6"}));
        EXPECT_EQ(codes(fontsFor(c)), (std::vector<int>{0x0A, 0x0B, 0x1A, 0x1B, 0x1C, 0x1D}));
    }
    EXPECT_EQ(names(fontsFor(7)), (std::vector<std::string>{"K1", "K2", "K3", "K4", "K5", "K6"}));
    EXPECT_EQ(codes(fontsFor(7)), (std::vector<int>{0x21, 0x22, 0x23, 0x24, 0x25, 0x26}));
    for (int c : {1, 2, 6, 8, 26, 30, 36}) {
        EXPECT_EQ(names(fontsFor(c)),
                  (std::vector<std::string>{"S1", "S2", "S3", "S4", "S5", "M1", "M2", "M3", "M4", "M5"}))
            << c;
        EXPECT_EQ(codes(fontsFor(c)), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9})) << c;
    }
}

TEST(TextFonts, PositionOfACode) {
    EXPECT_EQ(fontPosition(fontsFor(3), 0x14), std::optional<std::size_t>(2));
    EXPECT_EQ(fontPosition(fontsFor(3), 0x10), std::nullopt);
}

TEST(TextLimits, LinesOfEachKind) {
    // Ingredient of a PLU: 15 on the first scale model unless the country is 1, 26 or 27.
    EXPECT_EQ(maxLines(1, 0, 0), 15);
    EXPECT_EQ(maxLines(1, 0, 3), 15);
    for (int c : {1, 26, 27}) EXPECT_EQ(maxLines(1, 0, c), 99) << c;
    EXPECT_EQ(maxLines(1, 1, 0), 99);
    for (int model : {0, 1}) {
        EXPECT_EQ(maxLines(2, model, 0), 30);
        EXPECT_EQ(maxLines(3, model, 0), 4);
        EXPECT_EQ(maxLines(11, model, 0), 2);
        EXPECT_EQ(maxLines(12, model, 0), 1);
        EXPECT_EQ(maxLines(14, model, 0), 8);
        EXPECT_EQ(maxLines(15, model, 0), 2);
        EXPECT_EQ(maxLines(16, model, 0), 3);
    }
    // The ingredient file knows no country rule.
    EXPECT_EQ(maxLines(13, 0, 1), 15);
    EXPECT_EQ(maxLines(13, 1, 0), 99);
    for (int k : {0, 4, 10, 17, -1}) {
        EXPECT_EQ(maxLines(k, 0, 0), 0) << k;
        EXPECT_FALSE(isTextKind(k)) << k;
    }
    EXPECT_EQ(textColumnName(1), "PLU_Ingredient");
    EXPECT_EQ(textColumnName(2), "PLU_SPMessage");
    EXPECT_EQ(textColumnName(3), "PLU_Commodity");
}

TEST(TextBlock, LinesMakeFontLengthTextAndSeparators) {
    codec::CodePage page("CP1252");
    const Block b = joined({TextLine::typed(0x10, "AB"), TextLine::typed(0x11, ""), TextLine::typed(0x12, "é")}, page);
    EXPECT_EQ(b, (Block{0x10, 2, 'A', 'B', 0x0D, 0x11, 0, 0x0D, 0x12, 1, 0xE9, 0x0C}));
    // One line: the separator after it is 0x0C.
    EXPECT_EQ(joined({TextLine::typed(5, "x")}, page), (Block{5, 1, 'x', 0x0C}));
}

TEST(TextBlock, AnEmptyFirstLineIsANullText) {
    codec::CodePage page("CP1252");
    EXPECT_FALSE(blockFromLines({}, page).block.has_value());
    EXPECT_FALSE(blockFromLines({TextLine::typed(0x10, "")}, page).block.has_value());
    // Even with text below it: the first line decides.
    JoinedBlock j = blockFromLines({TextLine::typed(0x10, ""), TextLine::typed(0x10, "more")}, page);
    EXPECT_FALSE(j.block.has_value());
    EXPECT_FALSE(j.tooLong);
}

TEST(TextBlock, NullOrEmptyBlockHasNoLines) {
    codec::CodePage page("CP1252");
    ReadLines r = linesFromBlock(std::nullopt, page);
    EXPECT_TRUE(r.lines.empty());
    EXPECT_FALSE(r.damage);
    r = linesFromBlock(Block{}, page);
    EXPECT_TRUE(r.lines.empty());
    EXPECT_FALSE(r.damage);
}

TEST(TextBlock, BothWaysOverEveryKindAndSeveralCodePages) {
    std::mt19937 rng(20240611);
    struct Setting {
        const char* page;
        int country;
    };
    int blocks = 0;
    for (Setting s : {Setting{"CP1252", 2}, Setting{"GBK", 0}, Setting{"BIG5", 3}, Setting{"CP932", 0},
                      Setting{"CP1251", 7}, Setting{"CP874", 37}}) {
        codec::CodePage page(s.page);
        ASSERT_TRUE(page.valid()) << s.page;
        const auto& fonts = fontsFor(s.country);
        for (int kind : kKinds) {
            for (int model : {0, 1}) {
                const int most = maxLines(kind, model, s.country);
                for (int count : {1, 2, most}) {
                    if (count > most) continue;
                    const auto lines = generatedLines(rng, s.page, count, fonts);
                    const Block b = joined(lines, page);
                    ++blocks;
                    // The codec's walk ends exactly where the block ends, and finds its first line.
                    std::size_t length = 0;
                    ASSERT_TRUE(codec::textBlockLength(b.data(), b.size(), length).ok());
                    EXPECT_EQ(length, b.size());
                    EXPECT_EQ(codec::firstLine(b, codec::FirstLineVariant::Editor, page), lines.front().text);
                    std::size_t sum = 0;
                    for (const auto& l : lines) {
                        std::vector<uint8_t> bytes;
                        page.encode(l.text, bytes);
                        sum += bytes.size() + 3;
                    }
                    EXPECT_EQ(b.size(), sum);

                    ReadLines back = linesFromBlock(b, page);
                    EXPECT_FALSE(back.damage) << s.page << " kind " << kind;
                    ASSERT_EQ(back.lines.size(), lines.size());
                    for (std::size_t i = 0; i < lines.size(); ++i) {
                        EXPECT_EQ(back.lines[i].text, lines[i].text) << s.page << " line " << i;
                        EXPECT_EQ(back.lines[i].font, lines[i].font);
                    }
                    EXPECT_EQ(joined(back.lines, page), b);
                }
            }
        }
    }
    EXPECT_GT(blocks, 100);
}

TEST(TextBlock, ALineReadAndNotChangedKeepsItsBytes) {
    codec::CodePage page("GBK");
    // 0x81 0x20 is no GBK character: it reads as '?' and must not come back as '?'.
    const Block b{0x10, 4, 0x81, 0x20, 'A', 'B', 0x0D, 0x11, 2, 0xC3, 0xE6, 0x0C};
    ReadLines r = linesFromBlock(b, page);
    ASSERT_EQ(r.lines.size(), 2u);
    EXPECT_FALSE(r.damage);
    EXPECT_EQ(r.lines[1].text, "面");
    EXPECT_EQ(joined(r.lines, page), b);
    EXPECT_FALSE(characterNotHeld(r.lines[0], page));
    // A changed font keeps the text's bytes too.
    r.lines[0].font = 0x12;
    EXPECT_EQ(joined(r.lines, page)[0], 0x12);
    EXPECT_EQ(joined(r.lines, page).size(), b.size());
    // Once typed over, the line is encoded from its text.
    r.lines[0].text = "AB";
    EXPECT_EQ(joined(r.lines, page), (Block{0x12, 2, 'A', 'B', 0x0D, 0x11, 2, 0xC3, 0xE6, 0x0C}));
}

TEST(TextBlock, AnotherSeparatorEndsTheBlockAfterOneLine) {
    codec::CodePage page("CP1252");
    ReadLines r = linesFromBlock(Block{0x10, 1, 'A', 0x00}, page);
    EXPECT_FALSE(r.damage);
    EXPECT_EQ(texts(r.lines), std::vector<std::string>{"A"});
}

TEST(TextBlock, DamagedBlocksGiveTheLinesThatCanBeReadAndTheOffset) {
    codec::CodePage page("CP1252");
    struct Case {
        const char* what;
        Block bytes;
        std::vector<std::string> lines;
        std::size_t offset;
        bool codecFails;  // the decoder's walk leaves the bytes too
    };
    const std::vector<Case> cases = {
        {"a font byte only", {0x10}, {}, 1, true},
        {"a length beyond the end", {0x10, 5, 'A', 'B'}, {"AB"}, 1, true},
        {"the second line cut", {0x10, 1, 'A', 0x0D, 0x11, 9, 'B', 'C'}, {"A", "BC"}, 5, true},
        {"no separator", {0x10, 1, 'A'}, {"A"}, 3, true},
        {"a next line that is not there", {0x10, 1, 'A', 0x0D}, {"A"}, 4, true},
        {"a font and no length after 0x0D", {0x10, 1, 'A', 0x0D, 0x11}, {"A"}, 5, true},
        {"bytes after the end", {0x10, 1, 'A', 0x0C, 0x99, 0x98}, {"A"}, 4, false},
    };
    for (const Case& c : cases) {
        ReadLines r = linesFromBlock(c.bytes, page);
        ASSERT_TRUE(r.damage) << c.what;
        EXPECT_EQ(r.damage->offset, c.offset) << c.what;
        EXPECT_EQ(texts(r.lines), c.lines) << c.what;
        std::size_t length = 0;
        EXPECT_EQ(!codec::textBlockLength(c.bytes.data(), c.bytes.size(), length).ok(), c.codecFails) << c.what;
    }
    // What can be read is written back whole.
    ReadLines r = linesFromBlock(Block{0x10, 1, 'A', 0x0D, 0x11, 9, 'B', 'C'}, page);
    EXPECT_EQ(joined(r.lines, page), (Block{0x10, 1, 'A', 0x0D, 0x11, 2, 'B', 'C', 0x0C}));
}

TEST(TextBlock, ALineOver255BytesIsRefusedNamingTheLine) {
    codec::CodePage cp1252("CP1252");
    const Block b = joined({TextLine::typed(1, std::string(255, 'x'))}, cp1252);
    EXPECT_EQ(b.size(), 258u);
    EXPECT_EQ(b[1], 255);

    JoinedBlock j = blockFromLines({TextLine::typed(1, "ok"), TextLine::typed(1, std::string(256, 'x'))}, cp1252);
    ASSERT_TRUE(j.tooLong);
    EXPECT_EQ(j.tooLong->line, 1u);
    EXPECT_EQ(j.tooLong->bytes, 256u);
    EXPECT_FALSE(j.block);

    // Bytes in the code page count, not characters: 128 Chinese characters are 256 bytes in GBK.
    codec::CodePage gbk("GBK");
    std::string wide;
    for (int i = 0; i < 128; ++i) wide += "面";
    j = blockFromLines({TextLine::typed(0x10, "a"), TextLine::typed(0x10, "b"), TextLine::typed(0x10, wide)}, gbk);
    ASSERT_TRUE(j.tooLong);
    EXPECT_EQ(j.tooLong->line, 2u);
    EXPECT_EQ(j.tooLong->bytes, 256u);
    EXPECT_EQ(lineBytes(TextLine::typed(0, wide.substr(3)), gbk).size(), 254u);
}

TEST(TextBlock, ACharacterThePageCannotHoldIsNamed) {
    codec::CodePage cp1252("CP1252");
    EXPECT_EQ(characterNotHeld(TextLine::typed(0, "Fresh 鲜肉"), cp1252), std::optional<std::string>("鲜"));
    EXPECT_EQ(characterNotHeld(TextLine::typed(0, "pâté"), cp1252), std::nullopt);
    codec::CodePage gbk("GBK");
    EXPECT_EQ(characterNotHeld(TextLine::typed(0, "鲜肉"), gbk), std::nullopt);
}

TEST(TextBlock, ABlockFromLinesGoesThroughThePluRecordUnchanged) {
    codec::CodePage page("GBK");
    codec::CodecEnvironment env;
    env.codePage = &page;
    codec::PluRow row;
    row.PLU_No = 12;
    row.ST_No = 1;
    row.PLU_MG = 997;
    row.Stat2_Commodity = 1;
    row.Stat2_Ingredient = 1;
    row.Stat2_SPMessage = 1;
    row.PLU_Commodity = joined({TextLine::typed(0x10, "鲜肉"), TextLine::typed(0x11, "500 g")}, page);
    row.PLU_Ingredient = joined({TextLine::typed(0x12, "猪肉, 盐"), TextLine::typed(0x12, ""),
                                 TextLine::typed(0x13, std::string(255, 'z'))},
                                page);
    row.PLU_SPMessage = joined({TextLine::typed(0x10, "冷藏")}, page);
    codec::EncoderContext ctx(env);
    ASSERT_TRUE(codec::encodePluRecord(ctx, row, false).ok());

    codec::PluRow back;
    back.KVRBinData = row.KVRBinData;
    ASSERT_EQ(codec::decodePluRecord(env, back).outcome, codec::DecodeOutcome::Decoded);
    EXPECT_EQ(back.PLU_Commodity, row.PLU_Commodity);
    EXPECT_EQ(back.PLU_Ingredient, row.PLU_Ingredient);
    EXPECT_EQ(back.PLU_SPMessage, row.PLU_SPMessage);
    EXPECT_EQ(back.PLU_CommodityFirst, std::optional<std::string>("鲜肉"));
    EXPECT_EQ(texts(linesFromBlock(back.PLU_Ingredient, page).lines),
              (std::vector<std::string>{"猪肉, 盐", "", std::string(255, 'z')}));
}
