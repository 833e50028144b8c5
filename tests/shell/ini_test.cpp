#include <gtest/gtest.h>

#include "shell/ini.h"
#include "shell/language.h"
#include "shell/settings.h"
#include "store/fatal_error.h"
#include "support/temp_app.h"

using namespace brindale;
using namespace brindale::shell;
using brindale::testing::TempApp;

namespace {
const char* kFile =
    "<Standard>\n"
    "[msgbox]\n"
    "  areyousure = Are you sure?  \n"
    "formula=a=b=c\n"
    "no equals sign here\n"
    "\n"
    "[Second]\n"
    "k=standard\n"
    "\n"
    "<Chinese>\n"
    "[MSGBOX]\n"
    "areyousure=确定吗？\n"
    "\n"
    "[OnlyInChinese]\n"
    "x=1\n"
    "\n"
    "[Last]\n"
    "a=1\n"
    "b=2";  // no empty line and no line break at the very end
}  // namespace

TEST(SectionText, ReadsTrimmedLinesOfTheLanguageBlock) {
    TempApp app(false);
    app.write("f.ini", kFile);
    EXPECT_EQ(getSectionText(app.path("f.ini"), "Standard", "msgbox", "D"),
              "areyousure = Are you sure?\r\nformula=a=b=c\r\nno equals sign here\r\n");
    EXPECT_EQ(getSectionText(app.path("f.ini"), "standard", "MsgBox", "D").substr(0, 10), "areyousure");
}

TEST(SectionText, DefaultForMissingFileBlockOrSection) {
    TempApp app(false);
    app.write("f.ini", kFile);
    EXPECT_EQ(getSectionText(app.path("missing.ini"), "Standard", "msgbox", "D"), "D");
    EXPECT_EQ(getSectionText(app.path("f.ini"), "Other", "msgbox", "D"), "D");
    EXPECT_EQ(getSectionText(app.path("f.ini"), "Chinese", "Nowhere", "D"), "D");
}

TEST(SectionText, SectionMissingInItsBlockIsFoundInALaterBlock) {
    TempApp app(false);
    app.write("f.ini", kFile);
    EXPECT_EQ(getSectionText(app.path("f.ini"), "Standard", "OnlyInChinese", "D"), "x=1\r\n");
}

TEST(LoadSection, SectionAtTheEndWithoutTrailingEmptyLineLoadsWhole) {
    TempApp app(false);
    app.write("f.ini", kFile);
    LanguageTable t;
    loadSection(app.path("f.ini"), "Chinese", "Last", t);
    ASSERT_EQ(t.size(), 2u);
    EXPECT_EQ(t.text("a"), "1");
    EXPECT_EQ(t.text("b"), "2");
}

TEST(LoadSection, ValueHoldingEqualsKeepsAllButTheFirst) {
    TempApp app(false);
    app.write("f.ini", kFile);
    LanguageTable t;
    loadSection(app.path("f.ini"), "Standard", "msgbox", t);
    EXPECT_EQ(t.text("formula"), "a=b=c");
    EXPECT_EQ(t.text("AREYOUSURE"), "Are you sure?");  // keys without regard to case, blanks trimmed
    EXPECT_EQ(t.size(), 2u);                            // the line without "=" is dropped
    EXPECT_EQ(t.keyAt(0), "areyousure");               // served by position, in file order
}

TEST(LoadSection, ReplacesWhatTheTableHeld) {
    TempApp app(false);
    app.write("f.ini", kFile);
    LanguageTable t;
    loadSection(app.path("f.ini"), "Standard", "msgbox", t);
    loadSection(app.path("f.ini"), "Standard", "Second", t);
    EXPECT_EQ(t.size(), 1u);
    EXPECT_FALSE(t.contains("areyousure"));
}

TEST(LoadSection, DuplicateKeyNamesTheFileAndTheLine) {
    TempApp app(false);
    app.write("f.ini", "<Standard>\n[s]\na=1\nb=2\nA=3\n\n");
    LanguageTable t;
    try {
        loadSection(app.path("f.ini"), "Standard", "s", t);
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.where(), app.path("f.ini"));
        EXPECT_EQ(e.line(), 5);
    }
}

TEST(LoadSection, MissingSectionLeavesTableEmptyAndALookupFails) {
    TempApp app(false);
    app.write("f.ini", kFile);
    LanguageTable t;
    loadSection(app.path("f.ini"), "Standard", "Nowhere", t);
    EXPECT_TRUE(t.empty());
    EXPECT_THROW(t.text("anything"), FatalError);
}

TEST(Settings, ReadsThePositionalLayout) {
    TempApp app(false);
    app.write("s.cfg", " 1 \r\n 2 \r\n 1 \r\n 3 \r\n 0 \r\n 4 \r\n 2 \r\nEUR\r\n 26 \r\n 1 \r\nMy Chain\r\n");
    Settings s = readSettings(app.path("s.cfg"));
    EXPECT_EQ(s.LanguageIndex, 1);
    EXPECT_EQ(s.LanguageName(), "Chinese");
    EXPECT_EQ(s.PriceDecimals, 2);
    EXPECT_EQ(s.DecimalSign(), ",");
    EXPECT_EQ(s.WeightDecimals, 3);
    EXPECT_EQ(s.ScaleTypeIndex, 0);
    EXPECT_EQ(s.DateTypeIndex, 4);
    EXPECT_EQ(s.PriceUnitIndex, 2);
    EXPECT_EQ(s.PriceUnitText, "EUR");
    EXPECT_EQ(s.CountryIndex, 26);
    EXPECT_EQ(s.StoreMode, 1);
    EXPECT_EQ(s.StoreNameSetting, "My Chain");
}

TEST(Settings, StoreNameIsReadOnlyInMultiStoreModeAndLine8OnlyForACustomUnit) {
    TempApp app(false);
    app.write("s.cfg", " 0 \r\n 2 \r\n 0 \r\n 3 \r\n 1 \r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\nQuarrymoor Trade\r\n");
    Settings s = readSettings(app.path("s.cfg"));
    EXPECT_EQ(s.PriceUnitText, "RMB");
    EXPECT_EQ(s.DecimalSign(), ".");
    EXPECT_EQ(s.StoreMode, 0);
    EXPECT_EQ(s.StoreNameSetting, "");
    writeSettings(app.path("t.cfg"), s);
    // The rewrite keeps the store-name line although the variable is empty.
    EXPECT_EQ(app.read("t.cfg"), " 0 \r\n 2 \r\n 0 \r\n 3 \r\n 1 \r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\nQuarrymoor Trade\r\n");
}

TEST(Settings, WritesNumbersInThePrintForm) {
    EXPECT_EQ(printNumber(0), " 0 ");
    EXPECT_EQ(printNumber(25), " 25 ");
    EXPECT_EQ(printNumber(-3), "-3 ");
    TempApp app(false);
    Settings s;
    s.PriceUnitIndex = 2;
    s.PriceUnitText = "kr";
    s.StoreMode = 1;
    s.StoreNameSetting = "North";
    writeSettings(app.path("s.cfg"), s);
    EXPECT_EQ(app.read("s.cfg"), " 0 \r\n 2 \r\n 0 \r\n 3 \r\n 1 \r\n 0 \r\n 2 \r\nkr\r\n 0 \r\n 1 \r\nNorth\r\n");
    Settings back = readSettings(app.path("s.cfg"));
    EXPECT_EQ(back.PriceUnitText, "kr");
    EXPECT_EQ(back.StoreNameSetting, "North");
}

TEST(Settings, DamagedLineNamesTheFileAndTheLine) {
    TempApp app(false);
    app.write("s.cfg", " 0 \r\n 2 \r\n x \r\n");
    try {
        readSettings(app.path("s.cfg"));
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.line(), 3);
        EXPECT_NE(std::string(e.what()).find("s.cfg"), std::string::npos);
    }
    app.write("short.cfg", " 0 \r\n 2 \r\n 0 \r\n");
    try {
        readSettings(app.path("short.cfg"));
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.line(), 4);
    }
}

TEST(LanguageSet, LoadsFrmOtherFirstAndParameterSectionsAfterTheLanguageSections) {
    ASSERT_FALSE(languageSections().empty());
    EXPECT_EQ(languageSections().front(), "frm_OTHER");
    EXPECT_EQ(parameterSections().front(), "discount");
    EXPECT_EQ(parameterSections().back(), "Reportformat_PLUPPKdailyID");
    EXPECT_EQ(parameterSections().size(), 26u + 30u);
}
