#include "exchange/plu_import.h"
#include "plu_exchange_fixture.h"

namespace brindale::testing {
namespace {

using exchange::ImportAction;
using exchange::ImportOptions;
using exchange::ImportOutcome;
using exchange::ImportResult;
using exchange::importPlus;

class PluImport : public PluExchangeTest {
protected:
    void SetUp() override {
        PluExchangeTest::SetUp();
        db().exec("DELETE FROM KVR_25");
        o.weightFlag = "W";
        o.stNo = 1;
        o.mgNo = 997;
        page = std::make_unique<codec::CodePage>("CP1252");
        o.codePage = page.get();
        o.barcodeLists = &chain.state->barcodeLists;
        o.fontCodes = {0x1A, 0x05, 0x26};
    }
    ImportResult run(const std::string& content) {
        write("in.txt", content);
        return importPlus(db(), file("in.txt"), o);
    }
    static long counted(const ImportResult& r, ImportAction a) { return r.counts[static_cast<size_t>(a)]; }
    static bool noted(const ImportResult& r, long line, ImportAction a) {
        for (const auto& n : r.notes)
            if (n.line == line && n.action == a) return true;
        return false;
    }
    ImportOptions o;
    std::unique_ptr<codec::CodePage> page;
};

// Edge: a PLU already there, chkPLU not ticked: the old row stays untouched, the new is dropped.
TEST_F(PluImport, ExistingPluWithoutReplaceKeepsTheOldRow) {
    addPlu({{"PLU_No", 5}, {"ST_No", 1}, {"PLU_UPrice", 111}, {"Is_Selected", 1}});
    o.columns = {"PLU_No", "PLU_UPrice"};
    const auto r = run("5\t9.99\r\n6\t1.00\r\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Ok) << r.error;
    EXPECT_EQ(count("PLU_No=5"), 1);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=5").toInt(), 111);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=6").toInt(), 100);
    EXPECT_TRUE(noted(r, 1, ImportAction::DuplicateKept));
    EXPECT_EQ(count("Is_Selected<>0"), 0);  // marks are cleared at the end
}

TEST_F(PluImport, ExistingPluWithReplaceTakesTheImportedRow) {
    addPlu({{"PLU_No", 5}, {"ST_No", 1}, {"PLU_UPrice", 111}});
    o.columns = {"PLU_No", "PLU_UPrice"};
    o.replaceExisting = true;
    const auto r = run("5\t9.99\r\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Ok);
    EXPECT_EQ(count("PLU_No=5"), 1);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=5").toInt(), 999);
    EXPECT_EQ(r.replaced, 1);
    EXPECT_TRUE(noted(r, 1, ImportAction::DuplicateReplaced));
}

TEST_F(PluImport, DuplicatesAreSettledWithinTheStoreOnly) {
    addPlu({{"PLU_No", 5}, {"ST_No", 2}, {"PLU_UPrice", 222}});
    o.columns = {"PLU_No", "PLU_UPrice"};
    o.replaceExisting = true;
    const auto r = run("5\t1.00\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Ok);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=5 AND ST_No=2").toInt(), 222);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=5 AND ST_No=1").toInt(), 100);
}

TEST_F(PluImport, OfTwoLinesWithOneNumberTheLaterStays) {
    o.columns = {"PLU_No", "PLU_UPrice"};
    const auto r = run("8\t1.00\n8\t2.00\n");
    EXPECT_EQ(count("PLU_No=8"), 1);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=8").toInt(), 200);
    EXPECT_TRUE(noted(r, 1, ImportAction::ReplacedByLaterLine));
    EXPECT_EQ(r.added, 1);
}

// Edge: a row with PLU_No 0 is deleted by the walk.
TEST_F(PluImport, PluNumberZeroIsRemoved) {
    addPlu({{"PLU_No", 0}, {"ST_No", 1}});
    o.columns = {"PLU_No", "ST_No"};
    const auto r = run("0\t1\n4\t0\n3\t1\n");
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(count("PLU_No=3"), 1);
    EXPECT_TRUE(noted(r, 1, ImportAction::PluNoZeroRemoved));
    EXPECT_TRUE(noted(r, 2, ImportAction::PluNoZeroRemoved));
}

// Edge: a commodity of 60 characters is cut to 50; byte 1 is its byte count; the last byte 0x0C.
TEST_F(PluImport, LongCommodityIsCutToFiftyWithFontAndEnd) {
    o.columns = {"PLU_No", "PLU_Commodity", "PLU_Ingredient"};
    const std::string sixty = std::string(59, 'a') + "\xE9";  // é in the file's page
    const auto r = run("1\t" + sixty + "\tsalt\n");
    const auto block = value("PLU_Commodity", "PLU_No=1").bytes();
    ASSERT_EQ(block.size(), 53u);
    EXPECT_EQ(block[0], 0x1A);
    EXPECT_EQ(block[1], 50);
    EXPECT_EQ(std::string(block.begin() + 2, block.end() - 1), std::string(50, 'a'));
    EXPECT_EQ(block.back(), 0x0C);
    EXPECT_EQ(value("PLU_CommodityFirst", "PLU_No=1").toText(), std::string(50, 'a'));
    const auto ingredient = value("PLU_Ingredient", "PLU_No=1").bytes();
    EXPECT_EQ(ingredient, (store::Bytes{0x05, 4, 's', 'a', 'l', 't', 0x0C}));
    EXPECT_EQ(value("Stat2_Commodity", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_Ingredient", "PLU_No=1").toInt(), 1);
    EXPECT_TRUE(noted(r, 1, ImportAction::TextCut));
}

TEST_F(PluImport, TextInTheCodePageAndUtf8WithItsMark) {
    o.columns = {"PLU_No", "PLU_Commodity"};
    run("1\tcaf\xE9\n");
    EXPECT_EQ(value("PLU_CommodityFirst", "PLU_No=1").toText(), "caf\xC3\xA9");
    EXPECT_EQ(value("PLU_Commodity", "PLU_No=1").bytes(), (store::Bytes{0x1A, 4, 'c', 'a', 'f', 0xE9, 0x0C}));
    run("\xEF\xBB\xBF" "2\tcr\xC3\xA8me\n");
    EXPECT_EQ(value("PLU_CommodityFirst", "PLU_No=2").toText(), "cr\xC3\xA8me");
    EXPECT_EQ(value("PLU_Commodity", "PLU_No=2").bytes(), (store::Bytes{0x1A, 5, 'c', 'r', 0xE8, 'm', 'e', 0x0C}));
    // A byte that starts no UTF-8 character in a UTF-8 file is read as '?'.
    o.columns = {"PLU_No", "PLU_Nutr_SerSize"};
    run("\xEF\xBB\xBF" "3\ta\xCB%b\xC3\n");
    EXPECT_EQ(value("PLU_Nutr_SerSize", "PLU_No=3").toText(), "a?%b?");
}

// Edge: PLU_EANFlags 300 gives 44.
TEST_F(PluImport, EanFlagsModulo256) {
    o.columns = {"PLU_No", "PLU_EANFlags"};
    const auto r = run("1\t300\n2\t12\n");
    EXPECT_EQ(value("PLU_EANFlags", "PLU_No=1").toInt(), 44);
    EXPECT_EQ(value("PLU_EANFlags", "PLU_No=2").toInt(), 12);
    EXPECT_EQ(counted(r, ImportAction::Modulo256), 1);
}

// Edge: fewer values than columns fill the first ones and the run ends faulty.
TEST_F(PluImport, TooFewValuesFillTheFirstAndMarkTheRunFaulty) {
    o.columns = {"PLU_No", "PLU_UPrice", "PLU_Tare"};
    const auto r = run("1\t2.50\n2\t3.00\t0.100\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Faulty);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=1").toInt(), 250);
    EXPECT_EQ(value("PLU_Tare", "PLU_No=1").toInt(), 0);
    EXPECT_EQ(value("PLU_Tare", "PLU_No=2").toInt(), 100);
    EXPECT_TRUE(noted(r, 1, ImportAction::TooFewValues));
}

TEST_F(PluImport, AWrongSeparatorGivesOneValueAndTheSeparatorMessage) {
    o.columns = {"PLU_No", "PLU_UPrice"};
    o.separator = 1;  // comma, the file has tabs
    const auto r = run("1\t2.50\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Faulty);
    EXPECT_EQ(count(), 0);  // "1\t2.50" is no number: refused
}

TEST_F(PluImport, ARefusedNumberEndsTheLineAndTheRestGoOn) {
    o.columns = {"PLU_No", "PLU_QTY", "PLU_UPrice"};
    const auto r = run("1\tabc\t2.00\n2\t3\t4.00\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Faulty);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=1").toInt(), 0);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=2").toInt(), 400);
    EXPECT_TRUE(noted(r, 1, ImportAction::RefusedValue));
    EXPECT_EQ(counted(r, ImportAction::RefusedValue), 1);
}

TEST_F(PluImport, AnEmptyLineIsPassedOverAndMarksTheRunFaulty) {
    o.columns = {"PLU_No"};
    const auto r = run("1\n\n2\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Faulty);
    EXPECT_EQ(count(), 2);
    EXPECT_TRUE(noted(r, 2, ImportAction::EmptyLine));
}

TEST_F(PluImport, PricesAndWeightsToWholeNumbers) {
    o.columns = {"PLU_No", "PLU_UPrice", "PLU_Tare", "PLU_Disc_1stLim", "PLU_Cost"};
    o.decimalSign = ",";
    const auto r = run("1\t1.5\t1,25\t2\t3.456\n");
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=1").toInt(), 150);
    EXPECT_EQ(value("PLU_Tare", "PLU_No=1").toInt(), 1250);
    EXPECT_EQ(value("PLU_Disc_1stLim", "PLU_No=1").toInt(), 2000);
    EXPECT_EQ(value("PLU_Cost", "PLU_No=1").toInt(), 345);
    EXPECT_EQ(value("Stat2_Discount", "PLU_No=1").toInt(), 1);
    EXPECT_TRUE(noted(r, 1, ImportAction::FractionDropped));
}

TEST_F(PluImport, UnitNegativeAndStatusFlags) {
    o.columns = {"PLU_No", "Stat1_Unit", "StatB_NegativePLU", "PLU_SBDate", "PLU_Image1", "PLU_LBFormat1", "PLU_UPrice"};
    run("1\t W \t1\t5\t3\t2\t1.00\n2\tpcs\t7\t0\t0\t0\t0\n");
    EXPECT_EQ(value("Stat1_Unit", "PLU_No=1").toInt(), 0);
    EXPECT_EQ(value("Stat1_Unit", "PLU_No=2").toInt(), 1);
    EXPECT_EQ(value("StatB_NegativePLU", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_PLUStatB2B", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("StatB_NegativePLU", "PLU_No=2").toInt(), 0);
    EXPECT_EQ(value("Stat1_SBDate", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_SBDate", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_ImageNo", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_LBFormat1", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat1_UnitPrice", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_MGCode", "PLU_No=1").toInt(), 1);  // main group 997 from the window
    EXPECT_EQ(value("PLU_MG", "PLU_No=1").toInt(), 997);
    for (const char* flag : {"Stat1_SBDate", "Stat2_ImageNo", "Stat2_LBFormat1", "Stat1_UnitPrice"})
        EXPECT_EQ(value(flag, "PLU_No=2").toInt(), 0) << flag;
}

TEST_F(PluImport, ItemCodeDerivesTheFormatByLengthAndType) {
    o.columns = {"PLU_No", "PLU_EANItemCode"};
    const auto r = run("1\t12345\n2\t1234\n3\t12a\n4\t12345678901\n5\t12\n");
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=2").toInt(), 6);
    EXPECT_EQ(value("PLU_EANLastByte", "PLU_No=1").toInt(), 0);
    EXPECT_EQ(value("Stat2_BARFormat", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("Stat2_ItemCode", "PLU_No=1").toInt(), 1);
    EXPECT_EQ(value("PLU_EANItemCode", "PLU_No=3").toText(), "");
    EXPECT_TRUE(noted(r, 3, ImportAction::ItemCodeNotNumeric));
    EXPECT_EQ(value("PLU_EANItemCode", "PLU_No=4").toText(), "1234567890");
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=4").toInt(), 16);
    EXPECT_TRUE(noted(r, 4, ImportAction::TextCut));
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=5").toInt(), 0);
    o.barType = 1;
    run("6\t123456\n");
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=6").toInt(), 6);
    EXPECT_EQ(value("PLU_EANLastByte", "PLU_No=6").toInt(), 90);
    o.columns = {"PLU_No", "PLU_EANItemCode", "PLU_BarFormat", "PLU_EANLastByte"};
    run("7\t12345\t20\t4\n");
    EXPECT_EQ(value("PLU_BarFormat", "PLU_No=7").toInt(), 20);
    EXPECT_EQ(value("PLU_EANLastByte", "PLU_No=7").toInt(), 4);
}

TEST_F(PluImport, StoreAndGroupFromTheWindowUnlessTheFileSays) {
    o.columns = {"PLU_No", "ST_No"};
    o.stNo = 4;
    o.mgNo = 12;
    run("1\t2\n");
    EXPECT_EQ(value("ST_No", "PLU_No=1").toInt(), 2);
    EXPECT_EQ(value("PLU_MG", "PLU_No=1").toInt(), 12);
    o.columns = {"PLU_No"};
    run("2\n");
    EXPECT_EQ(value("ST_No", "PLU_No=2").toInt(), 4);
}

TEST_F(PluImport, HeadingLineIsPassedOverAndExtraValuesDropped) {
    o.columns = {"PLU_No", "PLU_QTY"};
    o.heading = true;
    const auto r = run("PLU_No\tPLU_QTY\n1\t2\t3\t4\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Ok);
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(value("PLU_QTY", "PLU_No=1").toInt(), 2);
    EXPECT_TRUE(noted(r, 2, ImportAction::ExtraValues));
}

TEST_F(PluImport, RefusalsBeforeAnythingIsRead) {
    addPlu({{"PLU_No", 1}, {"ST_No", 1}, {"Is_Selected", 1}});
    o.columns = {"PLU_UPrice"};
    auto r = run("1\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Refused);
    EXPECT_EQ(r.error, "importPLU");
    o.columns = {"PLU_No", "PLU_No"};
    EXPECT_EQ(run("1\n").error, "importPLU");
    o.columns = {"PLU_No"};
    o.weightFlag = "";
    r = run("2\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Refused);
    EXPECT_EQ(r.error, "formatsave");
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(count("Is_Selected=1"), 1);
}

TEST_F(PluImport, AMissingFileIsNamed) {
    o.columns = {"PLU_No"};
    const auto r = importPlus(db(), file("nothere.txt"), o);
    EXPECT_EQ(r.outcome, ImportOutcome::Failed);
    EXPECT_NE(r.error.find("nothere.txt"), std::string::npos);
}

TEST_F(PluImport, ADatabaseFailureRollsBackAndNamesTheLine) {
    addPlu({{"PLU_No", 5}, {"ST_No", 1}, {"PLU_UPrice", 111}, {"Is_Selected", 1}});
    db().exec("CREATE TEMP TRIGGER failing BEFORE INSERT ON KVR_25 WHEN NEW.PLU_No=777 "
              "BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    o.columns = {"PLU_No", "PLU_UPrice"};
    o.replaceExisting = true;
    const auto r = run("5\t1.00\n6\t1.00\n777\t1.00\n8\t1.00\n");
    EXPECT_EQ(r.outcome, ImportOutcome::Failed);
    EXPECT_NE(r.error.find("line 3"), std::string::npos) << r.error;
    EXPECT_NE(r.error.find("disk is full"), std::string::npos) << r.error;
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=5").toInt(), 111);
    EXPECT_EQ(count("Is_Selected=1"), 1);
}

TEST_F(PluImport, ProgressReachesTheFileSizeAndAStopKeepsNothing) {
    o.columns = {"PLU_No"};
    std::string content;
    for (int i = 1; i <= 2500; ++i) content += std::to_string(i) + "\n";
    std::vector<std::pair<long long, long long>> calls;
    o.progress = [&](long long done, long long total) {
        calls.emplace_back(done, total);
        return true;
    };
    auto r = run(content);
    ASSERT_EQ(r.outcome, ImportOutcome::Ok);
    ASSERT_EQ(calls.size(), 3u);  // after 1,000 and 2,000 lines, and at the end
    EXPECT_LT(calls[0].first, calls[1].first);
    EXPECT_EQ(calls.back(), std::make_pair(static_cast<long long>(content.size()), static_cast<long long>(content.size())));
    EXPECT_EQ(count(), 2500);
    db().exec("DELETE FROM KVR_25");
    o.progress = [](long long, long long) { return false; };
    r = run(content);
    EXPECT_EQ(r.outcome, ImportOutcome::Failed);
    EXPECT_NE(r.error.find("line 1000"), std::string::npos) << r.error;
    EXPECT_EQ(count(), 0);
}

TEST_F(PluImport, TheReportIsTabSeparatedWithCounts) {
    o.columns = {"PLU_No", "PLU_EANFlags"};
    const auto r = run("1\t300\n\n");
    const std::string text = exchange::importReportText(r, {"Line", "PLU", "Column", "Value", "Done"},
                                                        [](ImportAction a) { return std::string(exchange::actionName(a)); });
    EXPECT_EQ(text,
              "Line\tPLU\tColumn\tValue\tDone\r\n"
              "1\t1\tPLU_EANFlags\t300\tmodulo 256\r\n"
              "2\t\t\t\tempty line\r\n"
              "\r\n"
              "empty line\t1\r\n"
              "modulo 256\t1\r\n");
}

}  // namespace
}  // namespace brindale::testing

namespace brindale::testing {
namespace {

// Imported PLUs are whole PLUs: the end packs each into its record and the next start reads them back.
TEST_F(PluExchangeTest, ImportedPlusArePackedAtTheEndAndReadBack) {
    exchange::ImportOptions o;
    o.columns = {"PLU_No", "PLU_UPrice", "PLU_Tare", "Stat1_Unit", "PLU_EANItemCode", "PLU_EANFlags", "PLU_SBDate",
                 "PLU_Disc_Type", "PLU_Disc_1stLim", "PLU_Commodity", "PLU_Ingredient", "PLU_SPMessage"};
    o.weightFlag = "W";
    o.stNo = 1;
    o.mgNo = 997;
    codec::CodePage page("CP1252");
    o.codePage = &page;
    o.barcodeLists = &chain.state->barcodeLists;
    o.fontCodes = {0x02, 0x01, 0x00};
    write("in.txt", "90001\t2.49\t0.005\tW\t12345\t1\t3\t1\t1.5\tApples\tSugar, salt\tKeep cool\r\n"
                    "90002\t0.99\t0\tpcs\t123456\t0\t0\t0\t0\tPears\t\t\r\n");
    const auto r = exchange::importPlus(db(), file("in.txt"), o);
    ASSERT_EQ(r.outcome, exchange::ImportOutcome::Ok) << r.error;
    EXPECT_TRUE(chain.end().empty());
    chain.start();
    EXPECT_EQ(value("PLU_UPrice", "PLU_No=90001 AND ST_No=1").toInt(), 249);
    EXPECT_EQ(value("PLU_Tare", "PLU_No=90001").toInt(), 5);
    EXPECT_EQ(value("PLU_EANItemCode", "PLU_No=90001").toText(), "12345");
    EXPECT_EQ(value("PLU_CommodityFirst", "PLU_No=90001").toText(), "Apples");
    EXPECT_EQ(value("PLU_CommodityFirst", "PLU_No=90002").toText(), "Pears");
    EXPECT_EQ(value("Stat1_Unit", "PLU_No=90002").toInt(), 1);
    EXPECT_EQ(value("PLU_Ingredient", "PLU_No=90001").bytes(),
              (store::Bytes{0x01, 11, 'S', 'u', 'g', 'a', 'r', ',', ' ', 's', 'a', 'l', 't', 0x0C}));
    EXPECT_TRUE(value("PLU_Ingredient", "PLU_No=90002").isNull());
    EXPECT_EQ(value("PLU_Disc_1stLim", "PLU_No=90001").toInt(), 1500);
}

}  // namespace
}  // namespace brindale::testing
