// Key values, their columns, the key address and the 45-byte record; the three name lines.
#include <gtest/gtest.h>

#include "presetkey/key_value.h"
#include "presetkey/name_lines.h"

namespace pk = brindale::presetkey;

namespace {
std::vector<uint8_t> bytes(const pk::KeyRecord& r, size_t from, size_t to) {
    return std::vector<uint8_t>(r.begin() + static_cast<long>(from), r.begin() + static_cast<long>(to) + 1);
}
}  // namespace

TEST(PresetKeyValue, TheSixKindsToColumnsAndBack) {
    struct Case {
        int32_t value;
        int64_t status, keySwitch;
        pk::KeyKind kind;
    };
    for (auto c : {Case{1234, 0, 1234, pk::KeyKind::Plu}, Case{999999, 0, 999999, pk::KeyKind::Plu},
                   Case{1000012, 1, 12, pk::KeyKind::Function}, Case{2000003, 2, 3, pk::KeyKind::Clerk},
                   Case{3000150, 8, 150, pk::KeyKind::Other1}, Case{4000010, 128, 10, pk::KeyKind::Other2},
                   Case{5000005, 240, 83886085, pk::KeyKind::Other3}}) {
        SCOPED_TRACE(c.value);
        EXPECT_EQ(pk::kindOf(c.value), c.kind);
        auto cols = pk::columnsOf(c.value);
        ASSERT_TRUE(cols);
        EXPECT_EQ(cols->Status, c.status);
        EXPECT_EQ(cols->Key_Switch, c.keySwitch);
        EXPECT_EQ(pk::keyValueOf(c.status, c.keySwitch), c.value);
    }
    EXPECT_FALSE(pk::columnsOf(0));
    EXPECT_FALSE(pk::columnsOf(6000000));
    EXPECT_FALSE(pk::keyValueOf(3, 1));         // none of the six
    EXPECT_FALSE(pk::keyValueOf(0, 1000000));   // would read as a function key
    EXPECT_FALSE(pk::keyValueOf(240, 5));       // the 0x5000000 missing
    EXPECT_FALSE(pk::keyValueOf(0, 0));
}

TEST(PresetKeyValue, PageThreeOfKeyTenOnSeventyFourKeys) {
    const int64_t n = pk::numberOf(3, 10, 74);
    EXPECT_EQ(n, 158);
    EXPECT_EQ(pk::keyAddress(n, 74), 522);
    auto r = pk::keyRecord(n, 74, 0, 1);
    ASSERT_TRUE(r);
    EXPECT_EQ(bytes(*r, 0, 3), (std::vector<uint8_t>{0x00, 0x00, 0x05, 0x22}));
    // Page 2 of key 12: 268.
    EXPECT_EQ(pk::keyAddress(pk::numberOf(2, 12, 74), 74), 268);
    auto r2 = pk::keyRecord(pk::numberOf(2, 12, 74), 74, 0, 1);
    EXPECT_EQ(bytes(*r2, 0, 3), (std::vector<uint8_t>{0x00, 0x00, 0x02, 0x68}));
}

TEST(PresetKeyValue, FunctionKeyTwelveIsBinary) {
    auto cols = pk::columnsOf(1000012);
    auto r = pk::keyRecord(5, 74, cols->Status, cols->Key_Switch);
    ASSERT_TRUE(r);
    EXPECT_EQ(bytes(*r, 6, 9), (std::vector<uint8_t>{0x00, 0x00, 0x00, 0x0C}));
    EXPECT_EQ((*r)[10], 1);
}

TEST(PresetKeyValue, PluKeysAndClerkKeysArePacked) {
    auto r = pk::keyRecord(1, 74, 0, 12);
    EXPECT_EQ(bytes(*r, 6, 9), (std::vector<uint8_t>{0x00, 0x00, 0x00, 0x12}));
    auto big = pk::keyRecord(1, 74, 0, 999999);
    EXPECT_EQ(bytes(*big, 6, 9), (std::vector<uint8_t>{0x00, 0x99, 0x99, 0x99}));
    auto clerk = pk::keyRecord(1, 74, 2, 15);
    EXPECT_EQ(bytes(*clerk, 6, 9), (std::vector<uint8_t>{0x00, 0x00, 0x00, 0x15}));
}

TEST(PresetKeyValue, ThirdOtherKeyOfFiveHasStatus240) {
    auto cols = pk::columnsOf(5000005);
    EXPECT_EQ(cols->Status, 240);
    auto r = pk::keyRecord(1, 74, cols->Status, cols->Key_Switch);
    EXPECT_EQ(bytes(*r, 6, 9), (std::vector<uint8_t>{0x05, 0x00, 0x00, 0x05}));
    EXPECT_EQ((*r)[10], 240);
}

TEST(PresetKeyValue, RecordSizeAndZeroTail) {
    auto r = pk::keyRecord(200, 120, 128, 50);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->size(), 45u);
    EXPECT_EQ((*r)[4], 0x00);
    EXPECT_EQ((*r)[5], 0x2D);
    EXPECT_EQ((*r)[10], 128);
    for (size_t i = 11; i < 45; ++i) EXPECT_EQ((*r)[i], 0) << i;
    // Key 80 of page 2: address 256 + 80 = 336.
    EXPECT_EQ(bytes(*r, 0, 3), (std::vector<uint8_t>{0x00, 0x00, 0x03, 0x36}));
}

namespace {
// Every character one unit wide.
double units(std::string_view s) {
    double n = 0;
    for (unsigned char c : s)
        if ((c & 0xC0) != 0x80) n += 1;
    return n;
}
}  // namespace

TEST(PresetNameLines, ThreeShortNamesStandOnThreeLines) {
    auto lines = pk::nameLines({"Apple", "Pear", "Fig"}, 8, units);
    EXPECT_EQ(lines, (std::vector<std::string>{"Apple", "Pear", "Fig"}));
}

TEST(PresetNameLines, OnlyPageTwoGivesTheFirstLine) {
    auto lines = pk::nameLines({"", "Pear", ""}, 8, units);
    EXPECT_EQ(lines, (std::vector<std::string>{"Pear"}));
}

TEST(PresetNameLines, ALongNameBreaksWhereItWouldPassTheWidth) {
    auto lines = pk::nameLines({"Strawberries", "Fig", ""}, 5, units);
    EXPECT_EQ(lines, (std::vector<std::string>{"Straw", "berri", "es"}));
}

TEST(PresetNameLines, NeverAFourthLine) {
    auto lines = pk::nameLines({"Apple", "Pear", "Strawberries"}, 5, units);
    EXPECT_EQ(lines, (std::vector<std::string>{"Apple", "Pear", "Straw"}));
    auto many = pk::nameLines({"abcdefghijklmnopqrstuvwxyz", "x", "y"}, 3, units);
    EXPECT_EQ(many.size(), 3u);
}

TEST(PresetNameLines, MultiByteCharactersAreNotSplit) {
    auto lines = pk::nameLines({"苹果香蕉梨", "", ""}, 2, units);
    EXPECT_EQ(lines, (std::vector<std::string>{"苹果", "香蕉", "梨"}));
}
