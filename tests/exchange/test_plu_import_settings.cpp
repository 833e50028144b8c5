#include <gtest/gtest.h>

#include "exchange/import_settings.h"
#include "support/temp_app.h"

namespace brindale::exchange {
namespace {

TEST(PluImportSettings, FontCodeTable) {
    EXPECT_EQ(fontCodeAt(0), 0x00);
    EXPECT_EQ(fontCodeAt(10), 0x1A);
    EXPECT_EQ(fontCodeAt(14), 0x10);
    EXPECT_EQ(fontCodeAt(18), 0x16);
    EXPECT_EQ(fontCodeAt(20), 0x14);
    EXPECT_EQ(fontCodeAt(32), 0x26);
    EXPECT_FALSE(fontCodeAt(33));
    EXPECT_FALSE(fontCodeAt(-1));
    EXPECT_EQ(separatorByte(0), '\t');
    EXPECT_EQ(separatorByte(1), ',');
    EXPECT_EQ(separatorByte(2), ';');
    EXPECT_FALSE(separatorByte(3));
}

TEST(PluImportSettings, WrittenOneValueALineAndReadBack) {
    ImportSettings s;
    s.separator = 2;
    s.barType = 1;
    s.weightFlag = "KG";
    s.fontPositions = {3, 10, 32};
    s.items = {0, 3, 35};
    const std::string text = writeImportSettings(s);
    EXPECT_EQ(text, "2\r\n1\r\nK\r\n3\r\n10\r\n32\r\n0\r\n3\r\n35\r\n");
    ImportSettings back = readImportSettings(text, 38);
    s.weightFlag = "K";
    EXPECT_EQ(back, s);
}

TEST(PluImportSettings, BadLinesArePassedOver) {
    std::vector<std::string> passed;
    ImportSettings base;
    base.separator = 1;
    const auto s = readImportSettings("9\nx\n\xC3\xA9t\xC3\xA9\n35\n33\n4\n2\n38\nabc\n2\n-1\n37\n", 38, base, &passed);
    EXPECT_EQ(s.separator, 1);  // 9 is no separator: the value stays
    EXPECT_EQ(s.barType, 0);
    EXPECT_EQ(s.weightFlag, "\xC3\xA9");
    EXPECT_EQ(s.fontPositions, (std::array<int, 3>{0, 0, 4}));
    EXPECT_EQ(s.items, (std::vector<int>{2, 37}));
    EXPECT_EQ(passed, (std::vector<std::string>{"line 1", "line 2", "line 4", "line 5", "line 8", "line 9",
                                                "line 10", "line 11"}));
}

TEST(PluImportSettings, ShortAndEmptyFilesNeverFail) {
    EXPECT_EQ(readImportSettings("", 38), ImportSettings{});
    EXPECT_EQ(readImportSettings("0\n0\n\r\xCC\n", 38).weightFlag, "\xCC");  // a stray CR is no mark
    const auto s = readImportSettings("1", 38);
    EXPECT_EQ(s.separator, 1);
    EXPECT_TRUE(s.items.empty());
}

TEST(PluImportSettings, SavedAndOpenedAsFiles) {
    testing::TempApp app(false);
    ImportSettings s;
    s.weightFlag = "W";
    s.items = {0, 1};
    std::string error;
    ASSERT_TRUE(saveImportSettings(app.path("set.txt"), s, error)) << error;
    ImportSettings back;
    ASSERT_TRUE(loadImportSettings(app.path("set.txt"), 38, back, error)) << error;
    EXPECT_EQ(back, s);
    EXPECT_FALSE(loadImportSettings(app.path("none.txt"), 38, back, error));
    EXPECT_NE(error.find("none.txt"), std::string::npos);
    EXPECT_FALSE(saveImportSettings(app.path("no/dir/set.txt"), s, error));
    EXPECT_NE(error.find("no/dir/set.txt"), std::string::npos);
}

}  // namespace
}  // namespace brindale::exchange
