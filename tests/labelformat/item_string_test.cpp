#include <gtest/gtest.h>

#include "labelformat/item_string.h"
#include "labelformat/tables.h"

using namespace brindale::labelformat;

TEST(LabelItemString, NewTextItemAndItsSize) {
    ItemEdit e;
    e.posX = "3";
    e.posY = "3";
    const std::string s = SaveTempItemString(9, e);  // item 10, ItemLength 08, flag 0
    EXPECT_EQ(s, "0018001800700200");
    ItemFields f = readItemString(9, s);
    ItemSizeMm mm = itemSizeMm(9, f);
    EXPECT_EQ(mm.width, 8);   // 8 characters of font 2: 64 dots
    EXPECT_EQ(mm.height, 2);  // 16 dots
    EXPECT_EQ(mm.x, 3);
    EXPECT_EQ(f.font, 2);
    EXPECT_EQ(f.status, 7);
    // Flag "1" carries the character count.
    EXPECT_EQ(SaveTempItemString(0, e), "0018001800700206");
}

TEST(LabelItemString, ClassesBuildTheirGroups) {
    ItemEdit e;
    e.posX = "1";
    e.posY = "2";
    e.width = 10;
    e.height = 6;
    e.ItemAttr = "4030";
    EXPECT_EQ(SaveTempItemString(7, e), "0008001040300030005002000000");           // C1
    EXPECT_EQ(SaveTempItemString(12, e), "000800104030003000500200");              // C2
    EXPECT_EQ(SaveTempItemString(19, e).size(), 52u);                             // C3
    EXPECT_EQ(SaveTempItemString(20, e).size(), 36u);                             // C4
    EXPECT_EQ(SaveTempItemString(11, e), "000800104030003000500000");              // B1
    e.ItemValue = "04";
    EXPECT_EQ(SaveTempItemString(21, e), "000800104030005800400004");              // B3: end point
    e.ItemValue = "12";
    EXPECT_EQ(SaveTempItemString(46, e), "000800104030003000500012");              // B4: image number
    EXPECT_EQ(SaveTempItemString(58, e), "");                                     // FF
    e.posX = "";
    EXPECT_EQ(SaveTempItemString(7, e), "");
}

TEST(LabelItemString, ReaderToleratesOddContent) {
    ItemFields f = readItemString(0, "00180018009002ZZ");  // status 9, unknown font
    EXPECT_EQ(f.status, 0);
    EXPECT_EQ(f.font, 2);
    EXPECT_EQ(f.angle, 0);
    f = readItemString(7, "00080010C0300030005016000000");
    EXPECT_EQ(f.angle, 3);
    EXPECT_EQ(f.status, 3);
    EXPECT_EQ(f.font, 20);  // code "16"
}
