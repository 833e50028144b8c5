// The report export without its window: forms, separators, heading, the stop at a Null first
// column, faults that leave no file, saved column sets, the chart's figures.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <memory>

#include "exchange/report_export.h"
#include "exchange/totals.h"
#include "store/database.h"
#include "store/rebuild.h"
#include "store/schema.h"
#include "support/temp_app.h"
#include "totals_db.h"
#include "totals.h"

using namespace brindale;
using namespace brindale::exchange;
using Record = std::vector<uint8_t>;

namespace {

// Records are made as the emulated scale makes them.
using scaleemu::putBcd;
using scaleemu::putInt;

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

struct ExportDb : ::testing::Test, brindale::testing::TotalsDb {
    void SetUp() override { open(); }
    Record dept(uint64_t n, int64_t count, int64_t amount, int64_t weight) {
        Record r(105, 0);
        putBcd(r, 0, 4, n);
        putInt(r, 4, 2, 105);
        putInt(r, 6, 4, count);
        putInt(r, 14, 4, amount);
        putInt(r, 22, 4, weight);
        putBcd(r, 102, 3, 240630);
        return r;
    }
    ExportRequest request(const char* id, std::vector<std::string> chosen) {
        ExportRequest q;
        q.layout = totalsLayout(id);
        q.columns = reportColumns(*db, *q.layout);
        q.chosen = std::move(chosen);
        q.path = app.path("out.txt");
        return q;
    }
};

}  // namespace

TEST(ReportForms, AmountWeightTimeAndPlain) {
    DecodeSettings s;
    s.priceDecimals = 2;
    s.weightDecimals = 3;
    s.decimalSign = ".";
    EXPECT_EQ(formatValue("-5", ExportForm::Amount, s), "0.-5");  // the sign is taken as a digit
    EXPECT_EQ(formatValue("0", ExportForm::Amount, s), "0");
    EXPECT_EQ(formatValue("1250", ExportForm::Amount, s), "12.50");
    EXPECT_EQ(formatValue("750", ExportForm::Weight, s), "0.750");
    EXPECT_EQ(formatValue("0", ExportForm::Time, s), "00.00");
    EXPECT_EQ(formatValue("1313", ExportForm::Time, s), "13.13");
    EXPECT_EQ(formatValue("1250", ExportForm::Plain, s), "1250");
    s.priceDecimals = 0;
    s.decimalSign = ",";
    EXPECT_EQ(formatValue("1234", ExportForm::Amount, s), "1234,");  // a sign behind the last digit
}

TEST_F(ExportDb, ListItemIsEveryColumnInTableOrder) {
    const auto cols = reportColumns(*db, *totalsLayout("59"));
    ASSERT_EQ(cols.size(), 11u);
    EXPECT_EQ(cols[0], "Rec_No");
    EXPECT_EQ(cols[9], "DateTime");
    EXPECT_EQ(cols[10], "KVRBinData");
}

TEST_F(ExportDb, WritesChosenColumnsInTheirFormsWithHeading) {
    insert("RC_21", dept(3, 4, 1250, 750));
    insert("RC_21", dept(12, 0, -5, 0));
    auto q = request("21", {"DP_No", "Day_Amount1", "Day_Weight", "ResetDate"});
    q.heading = true;
    q.separator = 2;
    q.settings.priceDecimals = 2;
    q.settings.weightDecimals = 3;
    const auto r = exportReport(*db, q);
    EXPECT_TRUE(r.written);
    EXPECT_EQ(r.rows, 2);
    EXPECT_EQ(slurp(q.path),
              "DP_No;Day_Amount1;Day_Weight;ResetDate\r\n"
              "3;12.50;0.750;240630\r\n"
              "12;0.-5;0;240630\r\n");
    EXPECT_FALSE(app.exists("out.txt.part"));
}

TEST_F(ExportDb, EmptySelectionDecodesAndWritesNothing) {
    insert("RC_21", dept(3, 4, 1250, 750));
    auto q = request("21", {});
    const auto r = exportReport(*db, q);
    EXPECT_FALSE(r.written);
    EXPECT_FALSE(app.exists("out.txt"));
    auto st = db->prepare("SELECT DP_No, Day_Amount1 FROM RC_21");
    ASSERT_TRUE(st->step());
    EXPECT_EQ(st->column(0).toText(), "3");  // decoded all the same
    EXPECT_EQ(st->column(1).toText(), "1250");
}

TEST_F(ExportDb, ChosenBinaryIsHexAndRepeatedExportIsTheSame) {
    Record r = dept(1, 1, 1, 1);
    insert("RC_21", r);
    auto q = request("21", {"DP_No", "KVRBinData"});
    q.separator = 1;
    exportReport(*db, q);
    const std::string first = slurp(q.path);
    EXPECT_EQ(first, "1," + readHexField(r.data(), 0, r.size() - 1) + "\r\n");
    exportReport(*db, q);
    EXPECT_EQ(slurp(q.path), first);
}

TEST_F(ExportDb, TimeColumnOfReceipts) {
    Record r(540, 0);
    putBcd(r, 0, 4, 7);
    putInt(r, 84, 4, 905);
    insert("RC_52", r);
    auto q = request("52", {"Rec_No"});
    q.columns = reportColumns(*db, *q.layout);
    q.chosen = {q.columns[0], q.columns[24]};
    q.settings.decimalSign = ",";
    exportReport(*db, q);
    EXPECT_EQ(slurp(q.path), "7\t09,05\r\n");
}

// A schema whose traceability table has one more text column behind the fields, which the
// decoder leaves alone: Null there can be tested.
class ExportNullDb : public ExportDb {
    void SetUp() override {
        std::string schema = "[RC_59]\n";
        const auto full = store::readSchemaFile(brindale::testing::sourceRoot() + "/Database/ABC1.txt");
        for (const auto& c : full.find("RC_59")->columns) {
            if (c.name == "KVRBinData") schema += "Remark,10,20\n";
            schema += c.name + "," + std::to_string(c.type) + "," + std::to_string(c.size) + "\n";
        }
        schema += "\n[END]";
        open(schema);
    }

protected:
    void trace(uint64_t n, const char* remark) {
        Record r(50, 0);
        putBcd(r, 0, 4, n);
        insert("RC_59", r);
        // New rows take the column's default; Null is set on purpose.
        auto st = db->prepare("UPDATE RC_59 SET Remark=? WHERE rowid=last_insert_rowid()");
        st->bind(1, remark ? store::Value(remark) : store::Value());
        st->step();
    }
};

TEST_F(ExportNullDb, NullFirstColumnEndsTheFileAndLaterRowsAreNotWritten) {
    trace(1, "a");
    trace(2, nullptr);
    trace(3, "c");
    auto q = request("59", {"Remark", "Rec_No"});
    const auto r = exportReport(*db, q);
    EXPECT_EQ(r.rows, 1);
    EXPECT_EQ(r.stoppedAtRow, 2);
    EXPECT_EQ(slurp(q.path), "a\t1\r\n");
}

TEST_F(ExportNullDb, NullInALaterColumnIsAnEmptyField) {
    trace(1, "a");
    trace(2, nullptr);
    trace(3, "c");
    auto q = request("59", {"Rec_No", "Remark", "Count1"});
    const auto r = exportReport(*db, q);
    EXPECT_EQ(r.rows, 3);
    EXPECT_EQ(slurp(q.path), "1\ta\t0\r\n2\t\t0\r\n3\tc\t0\r\n");
}

TEST_F(ExportDb, ShortRecordStopsWithNoFileAndTheOldOneKept) {
    app.write("out.txt", "old");
    insert("RC_21", dept(3, 4, 1250, 750));
    insert("RC_21", Record(60, 0));
    auto q = request("21", {"DP_No"});
    try {
        exportReport(*db, q);
        FAIL() << "no fault";
    } catch (const TotalsFault& e) {
        EXPECT_EQ(e.table(), "RC_21");
        EXPECT_EQ(e.row(), 2);
        EXPECT_EQ(e.length(), 60u);
    }
    EXPECT_EQ(app.read("out.txt"), "old");
    EXPECT_FALSE(app.exists("out.txt.part"));
}

TEST_F(ExportDb, UnwritableFolderNamesTheFileAndLeavesNothing) {
    insert("RC_21", dept(3, 4, 1250, 750));
    auto q = request("21", {"DP_No"});
    q.path = app.path("no-such-folder/out.txt");
    try {
        exportReport(*db, q);
        FAIL() << "no error";
    } catch (const ExportError& e) {
        EXPECT_NE(std::string(e.what()).find("no-such-folder/out.txt"), std::string::npos);
    }
    EXPECT_FALSE(app.exists("no-such-folder"));
    if (geteuid() != 0) {  // root writes anywhere
        ::mkdir(app.path("ro").c_str(), 0555);
        q.path = app.path("ro/out.txt");
        EXPECT_THROW(exportReport(*db, q), ExportError);
        EXPECT_FALSE(app.exists("ro/out.txt.part"));
    }
}

TEST(ColumnSets, SaveAndOpenWithBadLinesPassedOver) {
    EXPECT_EQ(columnSetText({3, 0, 3}), "3\r\n0\r\n3\r\n");
    EXPECT_EQ(parseColumnSet("3\r\n0\r\nx\r\n-1\r\n27\r\n 5 \r\n\r\n3\n2.5\n99999999999\n", 27),
              (std::vector<int>{3, 0, 5, 3}));
    brindale::testing::TempApp app(false);
    saveColumnSet(app.path("set.txt"), {4, 1});
    EXPECT_EQ(app.read("set.txt"), "4\r\n1\r\n");
    EXPECT_EQ(loadColumnSet(app.path("set.txt"), 5), (std::vector<int>{4, 1}));
    EXPECT_EQ(loadColumnSet(app.path("set.txt"), 3), (std::vector<int>{1}));
    EXPECT_FALSE(loadColumnSet(app.path("none.txt"), 5).has_value());
    EXPECT_THROW(saveColumnSet(app.path("none/set.txt"), {1}), ExportError);
    EXPECT_EQ(chosenPositions({"a", "b", "a"}, {"a", "b", "c"}), (std::vector<int>{0, 1, -1}));
}

TEST(ReportChart, StoreTotalHourlyBarsSummedOverScales) {
    Record r(2184, 0);
    putInt(r, 86 + 16 * 9 + 8, 4, 150);  // day amount 1, hour 9
    Record s = r;
    putInt(s, 86 + 16 * 9 + 8, 4, 50);
    putInt(s, 86 + 16 * 10 + 0, 4, 7);  // day count 1, hour 10
    DecodeSettings set;
    set.priceDecimals = 2;
    auto bars = chartBars(*totalsLayout("46"), {r, s, Record(10, 0)}, 26, set);
    ASSERT_EQ(bars.size(), 24u);
    EXPECT_EQ(bars[9].label, "09");
    EXPECT_DOUBLE_EQ(bars[9].value, 2.0);
    EXPECT_EQ(bars[9].text, "2.00");
    bars = chartBars(*totalsLayout("46"), {r, s}, 24, set);
    EXPECT_DOUBLE_EQ(bars[10].value, 7.0);
    EXPECT_EQ(bars[10].text, "7");
    long skipped = 0;
    chartBars(*totalsLayout("46"), {r, Record(10, 0)}, 24, set, &skipped);
    EXPECT_EQ(skipped, 1);
}

TEST(ReportChart, ReceiptsByHourOfTheirTime) {
    DecodeSettings set;
    std::vector<Record> recs;
    for (int i = 0; i < 3; ++i) {
        Record r(540, 0);
        putInt(r, 84, 4, i == 2 ? 1415 : 905);
        putInt(r, 40, 4, 100 * (i + 1));  // field 13, an amount
        recs.push_back(r);
    }
    const auto bars = chartBars(*totalsLayout("52"), recs, 13, set);
    ASSERT_EQ(bars.size(), 24u);
    EXPECT_EQ(bars[9].text, "3.00");
    EXPECT_EQ(bars[14].text, "3.00");
    EXPECT_EQ(bars[8].text, "0");
}

TEST(ReportChart, OtherReportsTwentyLargestItemsAndTheRest) {
    DecodeSettings set;
    std::vector<Record> recs;
    for (int n = 1; n <= 25; ++n)
        for (int scale = 0; scale < 2; ++scale) {
            Record r(105, 0);
            putBcd(r, 0, 4, uint64_t(n));
            putInt(r, 6, 4, n);  // Day_Count1
            recs.push_back(r);
        }
    const auto bars = chartBars(*totalsLayout("21"), recs, 2, set);
    ASSERT_EQ(bars.size(), 21u);
    EXPECT_EQ(bars[0].label, "25");
    EXPECT_DOUBLE_EQ(bars[0].value, 50);
    EXPECT_EQ(bars[19].label, "6");
    EXPECT_EQ(bars[20].label, "");
    EXPECT_DOUBLE_EQ(bars[20].value, 2 * (1 + 2 + 3 + 4 + 5));
    const auto cols = chartColumns(*totalsLayout("46"), std::vector<std::string>(200, "c"));
    EXPECT_EQ(cols.size(), 16u);
    EXPECT_EQ(cols[0].column, 24);
}
