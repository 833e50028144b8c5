// The arithmetic of window scaling: the Tag text both ways, factors, font size and the
// character set from the system's language, with the four edge cases of a resize.
#include <gtest/gtest.h>

#include "codec/code_page.h"
#include "shell/window_scaling.h"

using namespace brindale::shell;

TEST(WindowScaling, TagHoldsFourValuesEachFollowedByThreeBlanks) {
    EXPECT_EQ(formatTag(ControlGeometry{12, 340, 75, 23}), "12   340   75   23   ");
    EXPECT_EQ(formatTag(std::vector<int>{-4, 0}), "-4   0   ");
    EXPECT_EQ(formatTag(std::vector<int>{}), "");
}

TEST(WindowScaling, TagReadsBackWhatWasWritten) {
    const ControlGeometry g{7, -3, 1180, 0};
    const auto back = geometryFromTag(formatTag(g));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->left, 7);
    EXPECT_EQ(back->top, -3);
    EXPECT_EQ(back->width, 1180);
    EXPECT_EQ(back->height, 0);
    EXPECT_EQ(parseTag("1   2   3   "), (std::vector<int>{1, 2, 3}));
}

TEST(WindowScaling, ATagWithAValueLeftOutIsNoGeometry) {
    // A control without a height leaves three values: it is not moved.
    EXPECT_FALSE(geometryFromTag("1   2   3   ").has_value());
    EXPECT_FALSE(geometryFromTag("").has_value());
    // Text that is no number stops the reading; the values before it stand.
    EXPECT_EQ(parseTag("5   x   6   "), (std::vector<int>{5}));
    // A number without its three blanks is not finished.
    EXPECT_EQ(parseTag("5   6"), (std::vector<int>{5}));
}

TEST(WindowScaling, ReferenceKeepsFontSizeOverHeight) {
    const auto ref = makeReference(1180, 700, 9.0);
    EXPECT_EQ(ref.width, 1180);
    EXPECT_EQ(ref.height, 700);
    EXPECT_FLOAT_EQ(ref.fontFactor, 9.0f / 700.0f);
    EXPECT_TRUE(ref.saved());
    EXPECT_FALSE(makeReference(0, 0, 9.0).saved());
    EXPECT_EQ(makeReference(100, 0, 9.0).fontFactor, 0.0f);
}

// Edge case: twice as wide doubles left and width, the font stays.
TEST(WindowScaling, TwiceAsWideDoublesLeftAndWidthAndKeepsTheFont) {
    const auto ref = makeReference(1000, 600, 9.0);
    const auto f = factorsFor(ref, 2000, 600);
    const auto g = scaleGeometry({10, 20, 300, 40}, f);
    EXPECT_EQ(g.left, 20);
    EXPECT_EQ(g.width, 600);
    EXPECT_EQ(g.top, 20);
    EXPECT_EQ(g.height, 40);
    EXPECT_DOUBLE_EQ(fontSizeFor(ref, 600), 9.0);
}

// Edge case: twice as high doubles top, height and the font.
TEST(WindowScaling, TwiceAsHighDoublesTheFontToo) {
    const auto ref = makeReference(1000, 600, 9.0);
    const auto f = factorsFor(ref, 1000, 1200);
    const auto g = scaleGeometry({10, 21, 300, 41}, f);
    EXPECT_EQ(g.top, 42);
    EXPECT_EQ(g.height, 82);
    EXPECT_EQ(g.left, 10);
    EXPECT_DOUBLE_EQ(fontSizeFor(ref, 1200), 18.0);
}

// Edge case: a height of zero gives a font size of 0, which the caller skips.
TEST(WindowScaling, HeightZeroGivesFontSizeZero) {
    const auto ref = makeReference(1000, 600, 9.0);
    EXPECT_EQ(fontSizeFor(ref, 0), 0.0);
    const auto g = scaleGeometry({10, 20, 300, 40}, factorsFor(ref, 1000, 0));
    EXPECT_EQ(g.top, 0);
    EXPECT_EQ(g.height, 0);
}

TEST(WindowScaling, FontSizeAtTheDesignHeightIsTheDesignSize) {
    for (int h : {1, 333, 600, 719, 1023}) {
        for (double size : {7.5, 8.0, 9.0, 10.0, 12.0}) {
            const auto ref = makeReference(800, h, size);
            EXPECT_DOUBLE_EQ(fontSizeFor(ref, h), size) << h << " " << size;
        }
    }
}

TEST(WindowScaling, FactorsOfAnUnsavedReferenceAreOne) {
    const auto f = factorsFor(ScaleReference{}, 500, 400);
    EXPECT_EQ(f.x, 1.0);
    EXPECT_EQ(f.y, 1.0);
}

// Edge case: a Thai system gives Tahoma with 222, an unknown language 1.
TEST(WindowScaling, ThaiGivesTahomaAndAnUnknownLanguageOne) {
    EXPECT_EQ(formCharsetFor(1054), 222);
    EXPECT_EQ(fontNameForCharset(222), "Tahoma");
    EXPECT_EQ(formCharsetFor(brindale::codec::languageIdFromLocale("th_TH.UTF-8")), 222);
    EXPECT_EQ(formCharsetFor(brindale::codec::languageIdFromLocale("xx_YY.UTF-8")), 1);
    EXPECT_EQ(formCharsetFor(9999), 1);
    EXPECT_EQ(fontNameForCharset(1), "");
    EXPECT_EQ(fontNameForCharset(136), "");
    EXPECT_EQ(formCharsetFor(1049), 204);
}

TEST(WindowScaling, SystemCharsetFollowsTheLocaleVariables) {
    const char* saved[3] = {getenv("LC_ALL"), getenv("LC_CTYPE"), getenv("LANG")};
    std::string keep[3];
    for (int i = 0; i < 3; ++i) keep[i] = saved[i] ? saved[i] : "";
    unsetenv("LC_ALL");
    unsetenv("LC_CTYPE");
    setenv("LANG", "th_TH.UTF-8", 1);
    EXPECT_EQ(systemFormCharset(), 222);
    setenv("LANG", "qq_QQ.UTF-8", 1);
    EXPECT_EQ(systemFormCharset(), 1);
    setenv("LC_ALL", "ja_JP.UTF-8", 1);
    EXPECT_EQ(systemFormCharset(), 128);
    const char* names[3] = {"LC_ALL", "LC_CTYPE", "LANG"};
    for (int i = 0; i < 3; ++i) {
        if (saved[i]) setenv(names[i], keep[i].c_str(), 1);
        else unsetenv(names[i]);
    }
}
