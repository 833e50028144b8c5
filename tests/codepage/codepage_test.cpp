// The code page of the scale records between runs under different system languages: names read
// the same every run, and the operator is told which page the scales get.
#include <gtest/gtest.h>

#include <filesystem>

#include "named_chain.h"
#include "shell/lifecycle.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "store/mirror_code_page.h"
#include "store/recordset.h"
#include "store/small_record_builder.h"

using namespace brindale;
using brindale::testing::MirrorChain;
namespace fs = std::filesystem;

namespace {

using brindale::testing::addDept;
using brindale::testing::addMainGroup;
using brindale::testing::kCold;
using brindale::testing::kMeat;
using brindale::testing::kMeatGbk;
constexpr const char* kChinese = "zh_CN.UTF-8";
constexpr const char* kDesktop = "C.UTF-8";

std::string column(MirrorChain& c, const std::string& table, const char* col) {
    store::Recordset rs(c.db(), table);
    std::string all;
    for (; !rs.eof(); rs.moveNext()) all += rs.textValue(col) + "|";
    return all;
}

bool contains(const std::string& hay, const std::string& needle) { return hay.find(needle) != std::string::npos; }

// A chain with a Chinese department and main group, written once under the Chinese locale.
void writeUnderChinese(MirrorChain& c) {
    c.locale = kChinese;
    c.start();
    ASSERT_EQ(c.state->codePage->name(), "GBK");
    EXPECT_TRUE(c.state->startNotices.empty());
    addDept(c, 12, kMeat);
    addMainGroup(c, 5, 12, kCold);
    c.end();
}

}  // namespace

TEST(CodePageBetweenRuns, ChineseNamesSurviveAChineseStartFollowedByADesktopStart) {
    MirrorChain c;
    writeUnderChinese(c);
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");
    const std::string deptRecords = c.app.read("AccessData/tempdeptkvr.txt");
    ASSERT_EQ(deptRecords.size(), 23u);
    EXPECT_EQ(std::vector<uint8_t>(deptRecords.begin() + 6, deptRecords.begin() + 14), kMeatGbk);

    // The ordinary desktop: the records are read in GBK, and the run keeps GBK, since the
    // desktop's page cannot hold the names; the operator is told so, naming the first one.
    for (int run = 0; run < 2; ++run) {
        c.locale = kDesktop;
        c.start();
        EXPECT_EQ(column(c, "KVR_20", "DP_Name"), kMeat + "|");
        EXPECT_EQ(column(c, "KVR_23", "MG_Name"), kCold + "|");
        EXPECT_EQ(c.state->codePage->name(), "GBK");
        ASSERT_EQ(c.state->startNotices.size(), 1u);
        const std::string& notice = c.state->startNotices[0];
        EXPECT_EQ(notice, shell::fillIn(c.state->text("msgbox", "codepageKept"),
                                        {"GBK", "CP1252", c.state->text("frmMain_Menu", "menuDept") + " 12 (DP_Name)",
                                         "\xE9\xB2\x9C"}));
        EXPECT_TRUE(contains(notice, "GBK") && contains(notice, "CP1252")) << notice;
        c.end();
        // The end wrote the names as they are, and the records and their page again in GBK.
        EXPECT_TRUE(contains(c.app.read("AccessData/tempdept.txt"), " 12 \r\n" + kMeat + "\r\n"));
        EXPECT_TRUE(contains(c.app.read("AccessData/tempmg.txt"), " 5 \r\n" + kCold + "\r\n"));
        EXPECT_EQ(c.app.read("AccessData/tempdeptkvr.txt"), deptRecords);
        EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");
    }

    // Back under the Chinese locale: same page, nothing to tell.
    c.locale = kChinese;
    c.start();
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), kMeat + "|");
    EXPECT_TRUE(c.state->startNotices.empty());
    c.end();
}

TEST(CodePageBetweenRuns, TheRunGoesOverToTheSystemsPageWhenEveryTextFits) {
    MirrorChain c;
    c.locale = kChinese;
    c.start();
    addDept(c, 3, "Meat");
    addMainGroup(c, 7, 3, "Cold cuts");
    c.end();

    c.locale = kDesktop;
    c.start();
    EXPECT_EQ(c.state->codePage->name(), "CP1252");
    ASSERT_EQ(c.state->startNotices.size(), 1u);
    EXPECT_EQ(c.state->startNotices[0], shell::fillIn(c.state->text("msgbox", "codepageSwitch"), {"GBK", "CP1252"}));
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), "Meat|");
    // A name typed in this run with a western character goes out in the western page.
    addDept(c, 4, "Caf\xC3\xA9");
    c.end();
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=CP1252\r\n");
    const std::string records = c.app.read("AccessData/tempdeptkvr.txt");
    ASSERT_EQ(records.size(), 46u);
    EXPECT_EQ(static_cast<uint8_t>(records[23 + 6 + 3]), 0xE9);

    c.start();  // the same desktop: nothing more to tell
    EXPECT_TRUE(c.state->startNotices.empty());
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), "Meat|Caf\xC3\xA9|");
    c.end();
}

// A name both pages hold at different bytes: the euro sign is 0x80 in the western page and 0x88
// in the Cyrillic one. When the run goes over, the kept records are made anew in the new page.
TEST(CodePageBetweenRuns, GoingOverMakesTheKeptRecordsAnewInTheNewPage) {
    const std::string euro = "Preis \xE2\x82\xAC";
    MirrorChain c;
    c.locale = kDesktop;
    c.start();
    addDept(c, 3, euro);
    addMainGroup(c, 7, 3, euro);
    c.end();
    ASSERT_EQ(static_cast<uint8_t>(c.app.read("AccessData/tempdeptkvr.txt")[6 + 6]), 0x80);

    c.locale = "ru_RU.UTF-8";
    c.start();
    ASSERT_EQ(c.state->codePage->name(), "CP1251");
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), euro + "|");
    c.end();
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=CP1251\r\n");
    EXPECT_EQ(static_cast<uint8_t>(c.app.read("AccessData/tempdeptkvr.txt")[6 + 6]), 0x88);
    EXPECT_EQ(static_cast<uint8_t>(c.app.read("AccessData/tempmgkvr.txt")[7 + 6]), 0x88);

    c.start();  // the names read the same in the new page
    EXPECT_TRUE(c.state->startNotices.empty());
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), euro + "|");
    EXPECT_EQ(column(c, "KVR_23", "MG_Name"), euro + "|");
    c.end();
}

TEST(CodePageBetweenRuns, TextsKeptAsTheScalesBytesBeyondAsciiKeepTheRecordedPage) {
    MirrorChain c;
    c.locale = kChinese;
    c.start();
    // Text file 3: one line, font 0, the GBK bytes of the name, end of the block.
    std::vector<uint8_t> block = {0, static_cast<uint8_t>(kMeatGbk.size())};
    block.insert(block.end(), kMeatGbk.begin(), kMeatGbk.end());
    block.push_back(0x0C);
    std::vector<uint8_t> record = {0, 0, 0, 3, 0, static_cast<uint8_t>(8 + block.size()), 0, 0};
    record.insert(record.end(), block.begin(), block.end());
    c.add("KVR_38",
          {{"No", 3}, {"NameFirstLine", kMeat}, {"Name", store::Value(block)}, {"KVRBinData", store::Value(record)}});
    c.end();

    c.locale = kDesktop;
    c.start();
    EXPECT_EQ(c.state->codePage->name(), "GBK");
    ASSERT_EQ(c.state->startNotices.size(), 1u);
    EXPECT_EQ(c.state->startNotices[0],
              shell::fillIn(c.state->text("msgbox", "codepageKept"),
                            {"GBK", "CP1252", c.state->text("frmMain_Menu", "menuEditOtherFiles") + " 3 (Name)",
                             "\xE9\xB2\x9C"}));
    c.end();
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");
}

TEST(CodePageBetweenRuns, FirstTextNotHeldLooksAtNamesPluTextsAndBlocks) {
    MirrorChain c;
    c.locale = kChinese;
    c.start();
    codec::CodePage gbk("GBK"), western("CP1252");
    EXPECT_EQ(store::firstTextNotHeld(c.db(), gbk, western), std::nullopt);
    addMainGroup(c, 9, 1, "Deli " + kCold);
    auto t = store::firstTextNotHeld(c.db(), gbk, western);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->table, "KVR_23");
    EXPECT_EQ(t->number, 9);
    EXPECT_EQ(t->column, "MG_Name");
    EXPECT_EQ(t->character, "\xE5\x86\xB7");
    EXPECT_EQ(store::firstTextNotHeld(c.db(), gbk, gbk), std::nullopt);
    c.db().exec("DELETE FROM KVR_23");
    // A PLU's commodity block in GBK bytes: its bytes are not re-encoded, so it holds the page.
    c.add("KVR_25", {{"PLU_No", 41}, {"PLU_Commodity", store::Value(std::vector<uint8_t>{0, 2, 0xCF, 0xCA, 0x0C})}});
    t = store::firstTextNotHeld(c.db(), gbk, western);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->table, "KVR_25");
    EXPECT_EQ(t->number, 41);
    EXPECT_EQ(t->column, "PLU_Commodity");
    EXPECT_EQ(t->character, "\xE9\xB2\x9C");
    // The same block in plain ASCII, over several lines (a length byte above 0x7F included), goes.
    std::vector<uint8_t> ascii = {0, 1, 'A', 0x0D, 1, 0x81};
    ascii.insert(ascii.end(), 0x81, 'b');
    ascii.push_back(0x0C);
    c.db().exec("DELETE FROM KVR_25");
    c.add("KVR_25", {{"PLU_No", 42}, {"PLU_Commodity", store::Value(ascii)}});
    EXPECT_EQ(store::firstTextNotHeld(c.db(), gbk, western), std::nullopt);
    // Multi barcodes: the text after the flag byte, up to its zero; a buffer cut short is no text.
    c.add("KVR_25", {{"PLU_No", 43}, {"PLU_MultiBar1", store::Value(std::vector<uint8_t>{1})}});
    EXPECT_EQ(store::firstTextNotHeld(c.db(), gbk, western), std::nullopt);
    std::vector<uint8_t> barcode(51, 0);
    barcode[0] = 1;
    barcode[1] = '2';
    barcode[2] = 0xCF;
    barcode[3] = 0xCA;
    c.add("KVR_25", {{"PLU_No", 44}, {"PLU_MultiBar2", store::Value(barcode)}});
    t = store::firstTextNotHeld(c.db(), gbk, western);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->number, 44);
    EXPECT_EQ(t->column, "PLU_MultiBar2");
    EXPECT_EQ(t->character, "\xE9\xB2\x9C");
    c.end();
}

TEST(CodePageBetweenRuns, AnOldMirrorWithoutTheRecordStartsInTheLocalesPageAndTheEndWritesIt) {
    MirrorChain c;
    writeUnderChinese(c);
    fs::remove(c.app.path("AccessData/codepage.txt"));

    c.locale = kChinese;
    c.start();
    EXPECT_EQ(c.state->codePage->name(), "GBK");
    EXPECT_TRUE(c.state->startNotices.empty());
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), kMeat + "|");
    c.end();
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");

    // Without the record the locale decides, as it always did.
    fs::remove(c.app.path("AccessData/codepage.txt"));
    c.locale = "ru_RU.UTF-8";
    c.start();
    EXPECT_EQ(c.state->codePage->name(), "CP1251");
    EXPECT_TRUE(c.state->startNotices.empty());
    c.state->closeDatabase();
}

TEST(CodePageBetweenRuns, ADamagedRecordStopsTheStartNamingFileAndLineAndChangesNothing) {
    struct Case {
        std::string content;
        long line;
        std::string says;
    };
    const Case cases[] = {
        {"CodePage=UTF-7\r\n", 1, "UTF-7"},
        {"", 1, "names no code page"},
        {"\r\n\r\n", 1, "names no code page"},
        {"GBK\r\n", 1, "CodePage=<page>"},
        {"Page=GBK\r\n", 1, "Page=GBK"},
        {"CodePage=GBK\r\n\r\nCodePage=CP1252\r\n", 3, "only one line"},
        {"CodePage=\r\n", 1, "is not one"},
    };
    for (const auto& k : cases) {
        MirrorChain c;
        writeUnderChinese(c);
        c.app.write("AccessData/codepage.txt", k.content);
        const std::string before = c.app.snapshot();
        c.locale = kDesktop;
        try {
            c.start();
            ADD_FAILURE() << "started with \"" << k.content << "\"";
        } catch (const FatalError& e) {
            EXPECT_EQ(e.where(), c.app.path("AccessData/codepage.txt")) << k.content;
            EXPECT_EQ(e.line(), k.line) << k.content;
            EXPECT_TRUE(contains(e.what(), k.says)) << e.what();
        }
        EXPECT_EQ(c.app.snapshot(), before) << k.content;
        EXPECT_FALSE(c.app.exists("Database/Brindale1.mdb"));
        c.state->closeDatabase();
    }
}

TEST(CodePageBetweenRuns, TheRecordIsReadWithoutRegardToCaseAndBlanks) {
    MirrorChain c;
    writeUnderChinese(c);
    c.app.write("AccessData/codepage.txt", "\xEF\xBB\xBF  codepage = gbk \n\n");
    EXPECT_EQ(store::readMirrorCodePage(c.app.path("AccessData")), std::optional<std::string>("GBK"));
    c.locale = kChinese;
    c.start();
    EXPECT_EQ(column(c, "KVR_20", "DP_Name"), kMeat + "|");
    c.end();
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");
}

TEST(CodePageBetweenRuns, TheRecordIsPartOfTheNewSetThatTheEndPutsInPlace) {
    MirrorChain c;
    writeUnderChinese(c);
    c.locale = kDesktop;
    c.start();
    // The new set is written whole into AccessData.new before the swap; an end stopped before
    // the swap leaves the old set with its own record.
    store::MirrorOptions options;
    const codec::CodecEnvironment env = c.state->codecEnvironment();
    options.env = &env;
    bool sawRecordInNewSet = false;
    options.checkpoint = [&](long) {
        if (fs::exists(c.app.path("AccessData.new/codepage.txt"))) sawRecordInNewSet = true;
    };
    store::writeMirror(c.db(), c.app.dir(), options);
    EXPECT_TRUE(sawRecordInNewSet);
    EXPECT_FALSE(fs::exists(c.app.path("AccessData.new")));
    EXPECT_EQ(c.app.read("AccessData/codepage.txt"), "CodePage=GBK\r\n");
    c.state->closeDatabase();
}

TEST(CodePageBetweenRuns, FillInReplacesEachNumberedPlace) {
    EXPECT_EQ(shell::fillIn("%2 then %1, %1 again", {"a", "b"}), "b then a, a again");
    EXPECT_EQ(shell::fillIn("%1", {"%1%2"}), "%1%2");
    EXPECT_EQ(shell::fillIn("no places", {"x"}), "no places");
}
