// The data format dialog's rows and its OK without the window, with the shipped language tables,
// and the settings file as the OK and the next start see it.
#include <gtest/gtest.h>

#include "shell/data_format.h"
#include "shell/language.h"
#include "shell/paths.h"
#include "shell/settings.h"
#include "support/temp_app.h"

using namespace brindale::shell;
using brindale::testing::TempApp;

namespace {

struct DataFormat : ::testing::Test {
    TempApp app;
    LanguageSet lang;
    void SetUp() override { lang.loadAll(app.dir(), "Standard"); }
    std::string text(const char* key) const { return lang.text("frm_OTHER", key); }
};

Settings sample() {
    Settings s;
    s.LanguageIndex = 2;
    s.PriceDecimals = 2;
    s.DecimalSignIndex = 1;
    s.RunDecimalSign = ",";
    s.WeightDecimals = 3;
    s.ScaleTypeIndex = 0;
    s.DateTypeIndex = 4;
    s.PriceUnitIndex = 1;
    s.PriceUnitText = "$";
    s.CountryIndex = 26;
    s.StoreMode = 1;
    s.StoreNameSetting = "North";
    s.StoreNameLine = "North";
    return s;
}

DataFormatChoice chosen(const DataFormatView& v) {
    DataFormatChoice c;
    c.PPoint = v.PPoint.index;
    c.PPointType = v.PPointType.index;
    c.WPoint = v.WPoint.index;
    c.ScaleType = v.ScaleType.index;
    c.DateType = v.DateType.index;
    c.PriceUnitText = v.PriceUnit.index >= 0 ? v.PriceUnit.rows[static_cast<size_t>(v.PriceUnit.index)] : "";
    c.Country = v.Country.index;
    c.Store = v.Store.index;
    c.StoreName = v.StoreName;
    return c;
}

}  // namespace

TEST_F(DataFormat, LoadGivesTheRowsAndTheRunsChoices) {
    const auto v = dataFormatView(lang, sample());
    EXPECT_EQ(v.PPoint.rows, (std::vector<std::string>{"0", "1", "2", "3"}));
    EXPECT_EQ(v.WPoint.rows, v.PPoint.rows);
    EXPECT_EQ(v.PPointType.rows, (std::vector<std::string>{".", ","}));
    EXPECT_EQ(v.ScaleType.rows, (std::vector<std::string>{"Alder", "Birch"}));
    EXPECT_EQ(v.PriceUnit.rows, (std::vector<std::string>{text("setRMB"), text("setDolar")}));
    EXPECT_EQ(v.Store.rows, (std::vector<std::string>{text("setSingleStore"), text("setMultiStore")}));
    EXPECT_EQ(v.PPoint.index, 2);
    EXPECT_EQ(v.PPointType.index, 1);
    EXPECT_EQ(v.WPoint.index, 3);
    EXPECT_EQ(v.ScaleType.index, 0);
    EXPECT_EQ(v.DateType.index, 4);
    EXPECT_EQ(v.PriceUnit.index, 1);
    EXPECT_EQ(v.Country.index, 26);
    EXPECT_EQ(v.Store.index, 1);
    EXPECT_EQ(v.StoreName, "North");
    const auto& countries = lang.section("SYS_Country");
    ASSERT_EQ(v.Country.rows.size(), countries.size());
    for (size_t i = 0; i < countries.size(); ++i) EXPECT_EQ(v.Country.rows[i], countries.text("SYS_C" + std::to_string(i)));
}

TEST_F(DataFormat, DateRowsFollowTheSixLayouts) {
    const std::string m = text("setMM"), d = text("setDD"), y = text("setYY");
    const auto v = dataFormatView(lang, sample());
    EXPECT_EQ(v.DateType.rows, (std::vector<std::string>{
                                   "1. " + m + "-" + d + "-" + y, "2. " + d + "-" + m + "-" + y,
                                   "3. " + y + "-" + m + "-" + d, "4. " + m + "." + d + "." + y,
                                   "5. " + d + "." + m + "." + y, "6. " + y + "." + m + "." + d}));
}

TEST_F(DataFormat, AUnitOfItsOwnIsAThirdRowAndChosen) {
    Settings s = sample();
    s.PriceUnitIndex = 2;
    s.PriceUnitText = "EUR";
    const auto v = dataFormatView(lang, s);
    ASSERT_EQ(v.PriceUnit.rows.size(), 3u);
    EXPECT_EQ(v.PriceUnit.rows[2], "EUR");
    EXPECT_EQ(v.PriceUnit.index, 2);
    const auto r = dataFormatResult(s, chosen(v));
    EXPECT_EQ(r.written.PriceUnitIndex, 2);
    EXPECT_EQ(r.written.PriceUnitText, "EUR");
}

// With PriceUnitIndex 2 and "RMB" typed, the index written and read at the next start is 0.
TEST_F(DataFormat, RmbAndDollarTypedWriteTheirIndex) {
    Settings s = sample();
    s.PriceUnitIndex = 2;
    s.PriceUnitText = "EUR";
    auto c = chosen(dataFormatView(lang, s));
    c.PriceUnitText = "RMB";
    auto r = dataFormatResult(s, c);
    EXPECT_EQ(r.written.PriceUnitIndex, 0);
    writeSettings(app.path(kSettingsFile), r.written);
    EXPECT_EQ(readSettings(app.path(kSettingsFile)).PriceUnitIndex, 0);
    EXPECT_EQ(readSettings(app.path(kSettingsFile)).PriceUnitText, "RMB");
    c.PriceUnitText = "$";
    r = dataFormatResult(s, c);
    EXPECT_EQ(r.written.PriceUnitIndex, 1);
    writeSettings(app.path(kSettingsFile), r.written);
    EXPECT_EQ(readSettings(app.path(kSettingsFile)).PriceUnitIndex, 1);
}

TEST_F(DataFormat, OkTakesEveryComboAndKeepsTheLanguage) {
    const Settings s = sample();
    DataFormatChoice c;
    c.PPoint = 3;
    c.PPointType = 0;
    c.WPoint = 1;
    c.ScaleType = 1;
    c.DateType = 5;
    c.PriceUnitText = "kr";
    c.Country = 3;
    c.Store = 0;
    c.StoreName = "Harbour";
    const auto r = dataFormatResult(s, c);
    ASSERT_EQ(r.missing, "");
    const Settings& w = r.written;
    EXPECT_EQ(w.LanguageIndex, 2);
    EXPECT_EQ(w.PriceDecimals, 3);
    EXPECT_EQ(w.DecimalSignIndex, 0);
    EXPECT_EQ(w.WeightDecimals, 1);
    EXPECT_EQ(w.ScaleTypeIndex, 1);
    EXPECT_EQ(w.DateTypeIndex, 5);
    EXPECT_EQ(w.PriceUnitIndex, 2);
    EXPECT_EQ(w.PriceUnitText, "kr");
    EXPECT_EQ(w.CountryIndex, 3);
    EXPECT_EQ(w.StoreMode, 0);
    EXPECT_EQ(w.StoreNameSetting, "Harbour");
    EXPECT_EQ(w.StoreNameLine, "Harbour");
}

// An empty store name writes the literal as the last line; the next start uses it only in multi
// store mode.
TEST_F(DataFormat, EmptyStoreNameWritesTheLiteralUsedOnlyInMultiStoreMode) {
    for (int mode : {0, 1}) {
        auto c = chosen(dataFormatView(lang, sample()));
        c.StoreName = "";
        c.Store = mode;
        const auto r = dataFormatResult(sample(), c);
        writeSettings(app.path(kSettingsFile), r.written);
        const std::string file = app.read(kSettingsFile);
        const std::string last = std::string(kDefaultStoreName) + "\r\n";
        ASSERT_GE(file.size(), last.size());
        EXPECT_EQ(file.substr(file.size() - last.size()), last) << mode;
        const Settings next = readSettings(app.path(kSettingsFile));
        EXPECT_EQ(next.StoreNameSetting, mode == 1 ? kDefaultStoreName : "") << mode;
        EXPECT_EQ(next.StoreNameLine, kDefaultStoreName) << mode;
    }
}

TEST_F(DataFormat, ASettingWithoutARowShowsNoneAndOkNamesIt) {
    Settings s = sample();
    s.PriceDecimals = 7;
    const auto v = dataFormatView(lang, s);
    EXPECT_EQ(v.PPoint.index, -1);
    const auto r = dataFormatResult(s, chosen(v));
    EXPECT_EQ(r.missing, "setPPoint");
    s = sample();
    s.DecimalSignIndex = 5;  // a comma all the same at the start, but no row of the combo
    EXPECT_EQ(dataFormatView(lang, s).PPointType.index, -1);
    EXPECT_EQ(dataFormatResult(s, chosen(dataFormatView(lang, s))).missing, "setPPointType");
    auto c = chosen(dataFormatView(lang, sample()));
    c.PriceUnitText = "";
    EXPECT_EQ(dataFormatResult(sample(), c).missing, "setPUnit");
}

// After OK and No the run keeps its decimal sign, country and store mode; the numbers of the
// five first combos, a unit of its own and the store name change at once.
TEST_F(DataFormat, TheRunTakesTheNumbersButKeepsItsSign) {
    Settings run = sample();
    auto c = chosen(dataFormatView(lang, run));
    c.PPoint = 0;
    c.PPointType = 0;
    c.WPoint = 2;
    c.DateType = 1;
    c.Country = 1;
    c.Store = 0;
    c.PriceUnitText = "kr";
    c.StoreName = "";
    const auto r = dataFormatResult(run, c);
    takeIntoRun(run, r.written);
    EXPECT_EQ(run.PriceDecimals, 0);
    EXPECT_EQ(run.DecimalSignIndex, 0);
    EXPECT_EQ(run.DecimalSign(), ",");
    EXPECT_EQ(run.WeightDecimals, 2);
    EXPECT_EQ(run.DateTypeIndex, 1);
    EXPECT_EQ(run.PriceUnitText, "kr");
    EXPECT_EQ(run.CountryIndex, 26);
    EXPECT_EQ(run.StoreMode, 1);
    EXPECT_EQ(run.StoreNameSetting, kDefaultStoreName);
}

TEST(SettingsSign, TheSignIsTheOneOfTheStart) {
    TempApp app(false);
    app.write("s.cfg", " 0 \r\n 2 \r\n 1 \r\n 3 \r\n 1 \r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\nX\r\n");
    Settings s = readSettings(app.path("s.cfg"));
    EXPECT_EQ(s.DecimalSign(), ",");
    s.DecimalSignIndex = 0;
    EXPECT_EQ(s.DecimalSign(), ",");
    EXPECT_EQ(decimalSignFor(0), ".");
    EXPECT_EQ(decimalSignFor(3), ",");
}

// In single store mode the file's name line is written back as it was.
TEST(SettingsSign, SingleStoreModeWritesTheNameLine) {
    TempApp app(false);
    app.write("s.cfg", " 0 \r\n 2 \r\n 0 \r\n 3 \r\n 1 \r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\nKept name\r\n");
    Settings s = readSettings(app.path("s.cfg"));
    EXPECT_EQ(s.StoreNameSetting, "");
    s.LanguageIndex = 1;
    writeSettings(app.path("s.cfg"), s);
    EXPECT_EQ(app.read("s.cfg"), " 1 \r\n 2 \r\n 0 \r\n 3 \r\n 1 \r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\nKept name\r\n");
}
