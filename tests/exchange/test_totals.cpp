// The totals decoder: the readings on exact bytes, the nine layouts against the schema, one record
// per table against values worked out by hand, decoding in place and again, short records.
#include <gtest/gtest.h>

#include <memory>

#include "exchange/totals.h"
#include "store/database.h"
#include "store/rebuild.h"
#include "store/schema.h"
#include "support/temp_app.h"
#include "totals_db.h"
#include "totals.h"

using namespace brindale;
using namespace brindale::exchange;

namespace {

using Record = std::vector<uint8_t>;

// Records are made as the emulated scale makes them.
using scaleemu::putBcd;
using scaleemu::putInt;

struct Db : brindale::testing::TotalsDb {
    explicit Db(const std::string& schemaText = {}) { open(schemaText); }
    std::vector<std::string> row(const std::string& table, int64_t rowid) {
        auto st = db->prepare("SELECT * FROM " + table + " WHERE rowid=" + std::to_string(rowid));
        std::vector<std::string> out;
        if (!st->step()) return out;
        for (int i = 0; i < st->columnCount(); ++i) out.push_back(st->column(i).toText());
        return out;
    }
};

std::vector<std::string> decode(const char* id, const Record& r, const std::vector<int>& sizes = {},
                                DecodeSettings s = {}) {
    return decodeRecord(*totalsLayout(id), r.data(), r.size(), sizes, s);
}

}  // namespace

TEST(TotalsReadings, HexFieldIsUppercaseTwoDigitsABytefirstByteFirst) {
    const uint8_t b[] = {0x00, 0x0A, 0xBC, 0xFF, 0x05};
    EXPECT_EQ(readHexField(b, 0, 4), "000ABCFF05");
    EXPECT_EQ(readHexField(b, 1, 1), "0A");
    EXPECT_EQ(readHexField(b, 3, 4), "FF05");
}

TEST(TotalsReadings, DecimalDropsLeadingZerosAndStopsAtTheFirstNonDigit) {
    EXPECT_EQ(readDecimal("00001234"), "1234");
    EXPECT_EQ(readDecimal("00000000"), "0");  // 00 00 00 00 gives "0"
    EXPECT_EQ(readDecimal("A0001234"), "0");
    EXPECT_EQ(readDecimal("0012F456"), "12");
    EXPECT_EQ(readDecimal("0000000F"), "0");
}

TEST(TotalsReadings, IntegerOnExactBytes) {
    EXPECT_EQ(readInteger("FFFF", 11), "-1");
    EXPECT_EQ(readInteger("FF", 11), "255");
    EXPECT_EQ(readInteger("FFFFFFFF", 11), "-1");
    EXPECT_EQ(readInteger("1234", 11), "4660");
    EXPECT_EQ(readInteger("8000", 11), "-32768");
    EXPECT_EQ(readInteger("80000000", 11), "-2147483648");
    EXPECT_EQ(readInteger("3B9ACA00", 11), "1000000000");
    // Cut to the column's size: the rightmost characters.
    EXPECT_EQ(readInteger("3B9ACA00", 8), "00000000");
    EXPECT_EQ(readInteger("80000000", 4), "3648");
}

TEST(TotalsReadings, AmountAndTimeForms) {
    EXPECT_EQ(placeDecimals("5", 2, "."), "0.05");
    EXPECT_EQ(placeDecimals("0", 2, "."), "0");
    EXPECT_EQ(placeDecimals("-5", 2, "."), "0.-5");
    EXPECT_EQ(placeDecimals("1234", 0, ","), "1234,");
    EXPECT_EQ(placeDecimals("1234", 3, ","), "1,234");
    EXPECT_EQ(formatTime("0", "."), "00.00");
    EXPECT_EQ(formatTime("930", ":"), "09:30");
    EXPECT_EQ(formatTime("123456", "."), "34.56");
}

TEST(TotalsLayouts, NineInListOrderWithFixedTitles) {
    const auto& l = totalsLayouts();
    ASSERT_EQ(l.size(), 9u);
    const char* ids[] = {"21", "24", "26", "2E", "45", "46", "4A", "52", "59"};
    for (size_t i = 0; i < 9; ++i) EXPECT_STREQ(l[i].identifier, ids[i]);
    EXPECT_STREQ(l[3].title, "PLU TOTAL (TRANSACTION TYPE)  FILE");
    EXPECT_STREQ(l[5].title, "STORE TOTAL FILE");
    EXPECT_EQ(totalsLayout("rc_2e"), &l[3]);
    EXPECT_EQ(totalsLayout("2e"), &l[3]);
    EXPECT_EQ(totalsLayout("25"), nullptr);
}

// Fields follow each other with no gap, except after an hourly block (384 bytes on) and the
// clerk total's 14 bytes passed over at the end; the last one ends inside the record.
TEST(TotalsLayouts, FieldsAbutAndFitTheRecord) {
    for (const auto& l : totalsLayouts()) {
        const auto fields = expandFields(l);
        ASSERT_EQ(int(fields.size()), l.fieldCount) << l.table;
        int expect = 0;
        for (const auto& r : l.runs) {
            EXPECT_EQ(r.first, expect) << l.table;
            expect = r.last + 1;
        }
        for (size_t n = 1; n < fields.size(); ++n) {
            const auto& prev = fields[n - 1];
            size_t next = prev.offset + prev.width;
            if (prev.reading == Reading::Hourly && prev.hourlyPlace == 3) next = prev.offset - 12 + 384;
            EXPECT_EQ(fields[n].offset, next) << l.table << " field " << n;
        }
        const size_t end = bytesNeeded(l);
        if (std::string(l.identifier) == "45") EXPECT_EQ(end, 160u);
        else EXPECT_EQ(end, l.recordSize) << l.table;
    }
}

TEST(TotalsLayouts, FieldCountIsTheColumnsBeforeKVRBinDataOfTheShippedSchema) {
    const auto schema = store::readSchemaFile(brindale::testing::sourceRoot() + "/Database/ABC1.txt");
    for (const auto& l : totalsLayouts()) {
        const store::TableDef* t = schema.find(l.table);
        ASSERT_NE(t, nullptr) << l.table;
        EXPECT_EQ(t->columnIndex("KVRBinData"), l.fieldCount) << l.table;
        for (int n = 0; n < l.fieldCount; ++n) EXPECT_TRUE(t->columns[size_t(n)].isText()) << l.table << " " << n;
    }
}

TEST(TotalsLayouts, ExportFormsByColumn) {
    const auto& l21 = *totalsLayout("21");
    EXPECT_EQ(exportFormOf(l21, 0), ExportForm::Plain);
    EXPECT_EQ(exportFormOf(l21, 4), ExportForm::Amount);
    EXPECT_EQ(exportFormOf(l21, 6), ExportForm::Weight);
    EXPECT_EQ(exportFormOf(l21, 27), ExportForm::Plain);  // KVRBinData, behind the last field
    EXPECT_EQ(exportFormOf(*totalsLayout("52"), 24), ExportForm::Time);
    EXPECT_EQ(exportFormOf(*totalsLayout("2E"), 4), ExportForm::Weight);
}

TEST(TotalsRecords, DepartmentEdgeBytes) {
    Record r(105, 0);
    r[4] = 0x12;
    r[5] = 0x34;
    r[102] = 0x10;
    r[103] = 0x05;
    r[104] = 0x31;
    const auto f = decode("21", r);
    EXPECT_EQ(f[0], "0");  // 00 00 00 00
    EXPECT_EQ(f[1], "4660");
    EXPECT_EQ(f[26], "100531");
}

TEST(TotalsRecords, DepartmentByHand) {
    Record r(105, 0);
    putBcd(r, 0, 4, 12);
    putInt(r, 4, 2, 105);
    putInt(r, 6, 4, 3);         // Day_Count1
    putInt(r, 14, 4, 1250);     // Day_Amount1
    putInt(r, 22, 4, 750);      // Day_Weight
    putInt(r, 98, 4, -2);       // PPK_Amount3
    putBcd(r, 102, 3, 240630);  // ResetDate
    const auto f = decode("21", r, std::vector<int>(27, 11));
    ASSERT_EQ(f.size(), 27u);
    EXPECT_EQ(f[0], "12");
    EXPECT_EQ(f[1], "105");
    EXPECT_EQ(f[2], "3");
    EXPECT_EQ(f[3], "0");
    EXPECT_EQ(f[4], "1250");
    EXPECT_EQ(f[6], "750");
    EXPECT_EQ(f[25], "-2");
    EXPECT_EQ(f[26], "240630");
}

TEST(TotalsRecords, MainGroupByHand) {
    Record r(83, 0);
    putBcd(r, 0, 4, 7);
    putInt(r, 4, 2, 83);
    r[6] = 0x05;  // DP_No, packed
    r[7] = 0xA1;  // Status, digits
    putInt(r, 8, 4, 40);
    putInt(r, 72, 4, 99999);
    putBcd(r, 80, 3, 10203);
    const auto f = decode("24", r);
    ASSERT_EQ(f.size(), 23u);
    EXPECT_EQ(f[0], "7");
    EXPECT_EQ(f[2], "5");
    EXPECT_EQ(f[3], "A1");
    EXPECT_EQ(f[4], "40");
    EXPECT_EQ(f[20], "99999");
    EXPECT_EQ(f[22], "010203");
}

TEST(TotalsRecords, PluByHand) {
    Record r(128, 0);
    putBcd(r, 0, 4, 1001);
    putBcd(r, 6, 7, 2000000010018ull);
    r[13] = 0x03;
    putBcd(r, 14, 2, 997);
    putInt(r, 16, 4, 299);  // UnitPrice
    putInt(r, 24, 2, -1);   // Day_Count
    putInt(r, 124, 4, 77);
    const auto f = decode("26", r);
    ASSERT_EQ(f.size(), 37u);
    EXPECT_EQ(f[0], "1001");
    EXPECT_EQ(f[2], "02000000010018");
    EXPECT_EQ(f[3], "03");
    EXPECT_EQ(f[4], "997");
    EXPECT_EQ(f[5], "299");
    EXPECT_EQ(f[7], "-1");
    EXPECT_EQ(f[36], "77");
}

TEST(TotalsRecords, TransactionByHand) {
    Record r(105, 0);
    putBcd(r, 0, 4, 3);
    putBcd(r, 6, 4, 1001);
    putBcd(r, 10, 4, 299);
    putBcd(r, 14, 4, 1500);
    r[18] = 0x00;
    r[19] = 0x02;
    r[20] = 0xA0;  // a packed field beginning with A reads 0
    putBcd(r, 24, 3, 240630);
    r[39] = 0xFF;
    for (size_t i = 55; i < 105; ++i) r[i] = 0xAB;
    const auto f = decode("2E", r);
    ASSERT_EQ(f.size(), 16u);
    EXPECT_EQ(f[2], "1001");
    EXPECT_EQ(f[3], "299");
    EXPECT_EQ(f[4], "1500");
    EXPECT_EQ(f[5], "2");
    EXPECT_EQ(f[6], "0");
    EXPECT_EQ(f[7], "240630");
    EXPECT_EQ(f[11], "255");
    std::string trace;
    for (int i = 0; i < 50; ++i) trace += "AB";
    EXPECT_EQ(f[15], trace);
}

TEST(TotalsRecords, ClerkPassesOverTheLastBytes) {
    Record r(160, 0);  // the 14 bytes behind the fields are not needed
    putBcd(r, 0, 4, 2);
    r[15] = 0xFF;
    putInt(r, 156, 4, 4321);
    const auto f = decode("45", r);
    ASSERT_EQ(f.size(), 47u);
    EXPECT_EQ(f[0], "2");
    EXPECT_EQ(f[4], "255");
    EXPECT_EQ(f[46], "4321");
}

TEST(TotalsRecords, StoreTotalHourlyBlocks) {
    Record r(2184, 0);
    putBcd(r, 0, 4, 1);
    putInt(r, 6, 4, 20);
    // Day block at 86: hour 9 has count 3 / 2, amount 5 / 1234.
    putInt(r, 86 + 16 * 9 + 0, 4, 3);
    putInt(r, 86 + 16 * 9 + 4, 4, 2);
    putInt(r, 86 + 16 * 9 + 8, 4, 5);
    putInt(r, 86 + 16 * 9 + 12, 4, 1234);
    putInt(r, 86 + 16 * 23 + 0, 4, 1000000000);  // 10 characters: the rightmost 8 stay
    putInt(r, 470, 4, 44);                       // field 28, after the block
    putBcd(r, 1930, 4, 4711);                    // field 124, packed
    putInt(r, 2182, 2, 7);
    DecodeSettings s;
    s.priceDecimals = 2;
    s.decimalSign = ".";
    const auto f = decode("46", r, {}, s);
    ASSERT_EQ(f.size(), 199u);
    EXPECT_EQ(f[2], "20");
    std::string count1, count2, amount1, amount2;
    for (int h = 0; h < 24; ++h) {
        count1 += h == 9 ? "3 " : h == 23 ? "00000000 " : "0 ";
        count2 += h == 9 ? "2 " : "0 ";
        amount1 += h == 9 ? "0.05 " : "0 ";
        amount2 += h == 9 ? "12.34 " : "0 ";
    }
    EXPECT_EQ(f[24], count1);
    EXPECT_EQ(f[25], count2);
    EXPECT_EQ(f[26], amount1);
    EXPECT_EQ(f[27], amount2);
    EXPECT_EQ(f[28], "44");
    EXPECT_EQ(f[124], "4711");
    EXPECT_EQ(f[198], "7");
}

TEST(TotalsRecords, HourlyAmountWithCommaAndNoPlaces) {
    Record r(2184, 0);
    putInt(r, 1526 + 8, 4, 5);       // term block, third field, hour 0
    putInt(r, 1526 + 12, 4, 123456);  // fourth field
    DecodeSettings s;
    s.priceDecimals = 3;
    s.decimalSign = ",";
    const auto f = decode("46", r, {}, s);
    EXPECT_EQ(f[116].substr(0, 6), "0,005 ");
    EXPECT_EQ(f[117].substr(0, 8), "123,456 ");
    EXPECT_EQ(f[114].substr(0, 2), "0 ");
}

TEST(TotalsRecords, TaxReceiptTraceByHand) {
    Record tax(106, 0);
    putBcd(tax, 0, 4, 1);
    tax[8] = 0xFF;
    tax[9] = 0x07;
    putInt(tax, 102, 4, 500);
    auto f = decode("4A", tax);
    ASSERT_EQ(f.size(), 29u);
    EXPECT_EQ(f[3], "255");
    EXPECT_EQ(f[4], "07");
    EXPECT_EQ(f[28], "500");

    Record rec(540, 0);
    putBcd(rec, 0, 4, 5);
    putInt(rec, 84, 4, 930);  // time of the receipt
    putInt(rec, 202, 4, 2);   // first group: count
    putInt(rec, 214, 2, -1);
    putInt(rec, 536, 4, 65536);
    f = decode("52", rec);
    ASSERT_EQ(f.size(), 158u);
    EXPECT_EQ(f[24], "930");
    EXPECT_EQ(f[58], "2");
    EXPECT_EQ(f[61], "-1");
    EXPECT_EQ(f[157], "65536");

    Record tr(50, 0);
    putBcd(tr, 0, 4, 9);
    tr[38] = 1;
    tr[39] = 0xFF;
    putBcd(tr, 44, 6, 240630120000ull);
    f = decode("59", tr);
    ASSERT_EQ(f.size(), 10u);
    EXPECT_EQ(f[6], "1");
    EXPECT_EQ(f[7], "255");
    EXPECT_EQ(f[9], "240630120000");
}

TEST(TotalsRecords, ShortRecordIsAFaultNamingTableRowAndLengths) {
    Record r(104, 0);
    try {
        decodeRecord(*totalsLayout("21"), r.data(), r.size(), {}, {}, 3);
        FAIL() << "no fault";
    } catch (const TotalsFault& e) {
        EXPECT_EQ(e.table(), "RC_21");
        EXPECT_EQ(e.row(), 3);
        EXPECT_EQ(e.length(), 104u);
        EXPECT_EQ(e.needed(), 105u);
        EXPECT_NE(std::string(e.what()).find("RC_21, row 3"), std::string::npos);
    }
    EXPECT_THROW(decodeRecord(*totalsLayout("46"), nullptr, 0, {}, {}), TotalsFault);
}

TEST(TotalsTable, DecodesInPlaceAndAgainTheSame) {
    Db d;
    Record r(105, 0);
    putBcd(r, 0, 4, 12);
    putInt(r, 6, 4, 1000000000);
    putBcd(r, 102, 3, 240630);
    d.insert("RC_21", r);
    putBcd(r, 0, 4, 13);
    d.insert("RC_21", r);
    EXPECT_EQ(decodeTable(*d.db, *totalsLayout("21"), {}), 2);
    auto first = d.row("RC_21", 1);
    EXPECT_EQ(first[0], "12");
    EXPECT_EQ(first[2], "1000000000");  // the shipped schema gives 11 characters
    EXPECT_EQ(first[26], "240630");
    EXPECT_EQ(d.row("RC_21", 2)[0], "13");
    EXPECT_EQ(decodeTable(*d.db, *totalsLayout("21"), {}), 2);
    EXPECT_EQ(d.row("RC_21", 1), first);
    EXPECT_EQ(decodeTable(*d.db, *totalsLayout("59"), {}), 0);  // an empty table: nothing
}

TEST(TotalsTable, CutToEightOnASchemaWithEightCharacterColumns) {
    std::string schema = "[RC_21]\n";
    const auto full = store::readSchemaFile(brindale::testing::sourceRoot() + "/Database/ABC1.txt");
    for (const auto& c : full.find("RC_21")->columns)
        schema += c.name + "," + std::to_string(c.type) + "," + std::to_string(c.name == "Day_Count1" ? 8 : c.size) + "\n";
    schema += "\n[END]";
    Db d(schema);
    Record r(105, 0);
    putInt(r, 6, 4, 1000000000);
    putInt(r, 10, 4, 1000000000);
    d.insert("RC_21", r);
    decodeTable(*d.db, *totalsLayout("21"), {});
    const auto row = d.row("RC_21", 1);
    EXPECT_EQ(row[2], "00000000");
    EXPECT_EQ(row[3], "1000000000");
}

TEST(TotalsTable, ShortRecordRollsBackTheWholeTable) {
    Db d;
    Record r(105, 0);
    putBcd(r, 0, 4, 1);
    d.insert("RC_21", r);
    d.insert("RC_21", Record(50, 0));
    try {
        decodeTable(*d.db, *totalsLayout("21"), {});
        FAIL() << "no fault";
    } catch (const TotalsFault& e) {
        EXPECT_EQ(e.row(), 2);
        EXPECT_EQ(e.length(), 50u);
    }
    EXPECT_EQ(d.row("RC_21", 1)[0], "");  // the first row was not left decoded
    // A row without bytes at all is a short record too.
    d.db->exec("DELETE FROM RC_21");
    d.db->exec("INSERT INTO RC_21 (DP_No) VALUES ('x')");
    EXPECT_THROW(decodeTable(*d.db, *totalsLayout("21"), {}), TotalsFault);
}
