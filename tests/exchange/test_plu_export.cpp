#include "exchange/plu_export.h"
#include "plu_exchange_fixture.h"

namespace brindale::testing {
namespace {

using exchange::decimalForm;
using exchange::ExportOptions;
using exchange::exportPlus;

TEST(PluExportForms, DecimalPointAtTheDecimalPlaces) {
    EXPECT_EQ(decimalForm(5, 2), "0.05");
    EXPECT_EQ(decimalForm(1234, 2), "12.34");
    EXPECT_EQ(decimalForm(0, 3), "0.000");
    EXPECT_EQ(decimalForm(1500, 3), "1.500");
    EXPECT_EQ(decimalForm(7, 0), "7");
    EXPECT_EQ(decimalForm(-5, 2), "-0.05");
}

TEST(PluExportForms, TextBlockLinesJoinedByABlank) {
    const uint8_t twoLines[] = {0x03, 3, 'A', 'B', 'C', 0x0D, 0x05, 2, 'd', 'e', 0x0C};
    EXPECT_EQ(exchange::joinedBlockText(twoLines, sizeof twoLines), "ABC de");
    const uint8_t oneLine[] = {0x00, 2, 'x', 'y', 0x0C};
    EXPECT_EQ(exchange::joinedBlockText(oneLine, sizeof oneLine), "xy");
    const uint8_t cutOff[] = {0x00, 9, 'x', 'y'};
    EXPECT_EQ(exchange::joinedBlockText(cutOff, sizeof cutOff), "xy");
}

class PluExport : public PluExchangeTest {};

TEST_F(PluExport, ChosenColumnsInTableOrderWithTheirForms) {
    db().exec("DELETE FROM KVR_25");
    addPlu({{"PLU_No", 7}, {"ST_No", 1}, {"PLU_UPrice", 1234}, {"PLU_Tare", 5}, {"PLU_EANLastByte", 3},
            {"PLU_Commodity", store::Bytes{0x03, 3, 'A', 'B', 'C', 0x0D, 0x05, 2, 'd', 0xE9, 0x0C}},
            {"PLU_Nutr_SerSize", "caf\xC3\xA9"}});
    addPlu({{"PLU_No", 2}, {"ST_No", 1}, {"PLU_UPrice", 5}});
    ExportOptions o;
    o.columns = {"PLU_No", "PLU_UPrice", "PLU_Tare", "PLU_EANLastByte", "PLU_Commodity", "PLU_Nutr_SerSize"};
    o.separator = ';';
    o.heading = true;
    o.priceDecimals = 2;
    o.weightDecimals = 3;
    codec::CodePage page("CP1252");
    o.codePage = &page;
    write("out.txt", "old content that goes");
    const auto r = exportPlus(db(), file("out.txt"), o);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.rows, 2);
    // The block's bytes are the page's already; the text column is converted into it (é is E9).
    EXPECT_EQ(read("out.txt"),
              "PLU_No;PLU_UPrice;PLU_Tare;PLU_EANLastByte;PLU_Commodity;PLU_Nutr_SerSize\r\n"
              "7;12.34;0.005;3;ABC d\xE9;caf\xE9\r\n"
              "2;0.05;0.000;0;;\r\n");
    EXPECT_FALSE(chain.app.exists("out.txt.part"));
}

TEST_F(PluExport, WithoutHeadingTabSeparated) {
    db().exec("DELETE FROM KVR_25");
    addPlu({{"PLU_No", 9}, {"ST_No", 3}});
    ExportOptions o;
    o.columns = {"ST_No", "PLU_No"};
    const auto r = exportPlus(db(), file("plain.txt"), o);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(read("plain.txt"), "3\t9\r\n");
}

TEST_F(PluExport, AFileThatCannotBeWrittenIsNamedAndNothingStays) {
    ExportOptions o;
    o.columns = {"PLU_No"};
    const auto missing = exportPlus(db(), file("no/such/folder/x.txt"), o);
    EXPECT_FALSE(missing.ok);
    EXPECT_NE(missing.error.find("no/such/folder/x.txt"), std::string::npos);
    EXPECT_FALSE(chain.app.exists("no/such/folder/x.txt.part"));
}

TEST_F(PluExport, ProgressByRowsAndAStopLeavesNoFile) {
    db().exec("DELETE FROM KVR_25");
    db().exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1200) "
              "INSERT INTO KVR_25 (PLU_No, ST_No) SELECT i, 1 FROM n");
    ExportOptions o;
    o.columns = {"PLU_No"};
    std::vector<std::pair<long, long>> calls;
    o.progress = [&](long done, long total) {
        calls.emplace_back(done, total);
        return true;
    };
    ASSERT_TRUE(exportPlus(db(), file("p.txt"), o).ok);
    EXPECT_EQ(calls, (std::vector<std::pair<long, long>>{{500, 1200}, {1000, 1200}, {1200, 1200}}));
    o.progress = [](long, long) { return false; };
    const auto r = exportPlus(db(), file("q.txt"), o);
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(chain.app.exists("q.txt"));
    EXPECT_FALSE(chain.app.exists("q.txt.part"));
}

TEST_F(PluExport, AnUnknownColumnIsNamed) {
    ExportOptions o;
    o.columns = {"PLU_No", "NoSuchColumn"};
    const auto r = exportPlus(db(), file("x.txt"), o);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find("NoSuchColumn"), std::string::npos);
    EXPECT_FALSE(chain.app.exists("x.txt"));
}

}  // namespace
}  // namespace brindale::testing
