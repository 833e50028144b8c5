// OpenRptData, SaveRptData, OpenRptSeq, SaveRptSeq and the reset rule on a working database.
#include <gtest/gtest.h>

#include "hierarchy/fixture.h"
#include "reportformat/report_store.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::reportformat;

namespace {

struct Db {
    std::unique_ptr<brindale::testing::TempApp> app = brindale::testing::makeHierarchyApp(false);
    std::unique_ptr<store::Database> db = brindale::testing::makeDatabase(*app);
    store::Value column(const char* table, int code, const char* col) {
        auto st = db->prepare(std::string("SELECT ") + col + " FROM " + table + " WHERE Code = " + std::to_string(code));
        EXPECT_TRUE(st->step());
        return st->column(0);
    }
    int rows(const char* table) {
        auto st = db->prepare(std::string("SELECT COUNT(*) FROM ") + table);
        st->step();
        return static_cast<int>(st->columnInt(0));
    }
};

}  // namespace

TEST(ReportStore, AFormatWithoutTextStoresNullDataAndThe35ByteRecord) {
    Db d;
    FormatFields f;
    f.typePosition = 4;
    f.startNo = "10";
    f.endNo = "20";
    ASSERT_TRUE(SaveRptData(*d.db, 12, f).ok());
    EXPECT_TRUE(d.column("KVR_AA", 12, "Data").isNull());
    const Bytes rec = d.column("KVR_AA", 12, "KVRBinData").bytes();
    ASSERT_EQ(rec.size(), 35u);
    EXPECT_EQ(rec[4], 0x00);
    EXPECT_EQ(rec[5], 0x23);
    EXPECT_EQ(Bytes(rec.begin() + 32, rec.end()), (Bytes{3, 0, 0x0C}));
    EXPECT_EQ(Bytes(rec.begin(), rec.begin() + 16), (Bytes{0, 0, 0, 0x12, 0, 0x23, 0, 65, 0, 0, 0, 0x10, 0, 0, 0, 0x20}));
    EXPECT_EQ(d.column("KVR_AA", 12, "Type").toInt(), 65);
    // An empty stream is the same as none.
    f.data = Bytes{};
    ASSERT_TRUE(SaveRptData(*d.db, 12, f).ok());
    EXPECT_TRUE(d.column("KVR_AA", 12, "Data").isNull());
    EXPECT_EQ(d.rows("KVR_AA"), 1);
}

TEST(ReportStore, FormatRoundTripThroughTheRow) {
    Db d;
    FormatFields f;
    f.typePosition = 11;
    f.startNo = "1";
    f.endNo = "99999999";
    f.statusPosition = 1;
    f.conditionNo = "250";
    f.data = buildLineStream({{3, "AB"}, {5, ""}});
    ASSERT_TRUE(SaveRptData(*d.db, 3, f).ok());
    FormatFields g;
    ASSERT_TRUE(OpenRptData(*d.db, 3, g));
    EXPECT_EQ(g.typePosition, 11);
    EXPECT_EQ(g.startNo, "1");
    EXPECT_EQ(g.endNo, "99999999");
    EXPECT_EQ(g.statusPosition, 1);
    EXPECT_EQ(g.conditionNo, "250");
    EXPECT_EQ(g.data, f.data);
    const Bytes rec = d.column("KVR_AA", 3, "KVRBinData").bytes();
    EXPECT_EQ(rec.size(), 41u);
    EXPECT_EQ(rec[20], 1);
    EXPECT_EQ(rec[7], 97);
    // Saving again changes the row, adds none.
    f.endNo = "5";
    ASSERT_TRUE(SaveRptData(*d.db, 3, f).ok());
    EXPECT_EQ(d.rows("KVR_AA"), 1);
    EXPECT_EQ(d.column("KVR_AA", 3, "EndNo").toInt(), 5);
}

TEST(ReportStore, OpeningAMissingFormatResetsTheFields) {
    Db d;
    FormatFields f;
    f.typePosition = 5;
    f.startNo = "7";
    f.data = Bytes{1, 2, 3};
    EXPECT_FALSE(OpenRptData(*d.db, 44, f));
    EXPECT_EQ(f.typePosition, 0);
    EXPECT_EQ(f.startNo, "0");
    EXPECT_EQ(f.endNo, "0");
    EXPECT_EQ(f.conditionNo, "0");
    EXPECT_EQ(f.statusPosition, 0);
    EXPECT_FALSE(f.conditionEnabled());
    EXPECT_FALSE(f.data);
}

TEST(ReportStore, OpeningCutsTheConditionByStatusAndAnUnknownTypeOpensAsText) {
    Db d;
    d.db->exec("INSERT INTO KVR_AA (Code, Type, StartNo, EndNo, ConditionNo, Status) VALUES (1, 200, 5, 6, 12345, 1)");
    d.db->exec("INSERT INTO KVR_AA (Code, Type, StartNo, EndNo, ConditionNo, Status) VALUES (2, 66, 5, 6, 12345, 2)");
    d.db->exec("INSERT INTO KVR_AA (Code, Type, StartNo, EndNo, ConditionNo, Status) VALUES (3, 66, 5, 6, 12345, 0)");
    FormatFields f;
    ASSERT_TRUE(OpenRptData(*d.db, 1, f));
    EXPECT_EQ(f.typePosition, 0);
    EXPECT_EQ(f.conditionNo, "123");
    EXPECT_EQ(f.conditionMaxLength(), 3);
    EXPECT_FALSE(f.rangeEnabled());
    ASSERT_TRUE(OpenRptData(*d.db, 2, f));
    EXPECT_EQ(f.typePosition, 5);
    EXPECT_EQ(f.conditionNo, "12");
    EXPECT_TRUE(f.rangeEnabled());
    ASSERT_TRUE(OpenRptData(*d.db, 3, f));
    EXPECT_EQ(f.conditionNo, "0");
    EXPECT_FALSE(f.conditionEnabled());
}

TEST(ReportStore, ANumberThatIsNoNumberIsNamedAndTheRowStaysAsItWas) {
    Db d;
    FormatFields f;
    f.startNo = "4";
    ASSERT_TRUE(SaveRptData(*d.db, 8, f).ok());
    const Bytes before = d.column("KVR_AA", 8, "KVRBinData").bytes();
    for (const std::string bad : {"123456789", "12a", "", "-1"}) {
        FormatFields g = f;
        g.endNo = bad;
        g.startNo = "5";
        const SaveResult r = SaveRptData(*d.db, 8, g);
        ASSERT_FALSE(r.ok()) << bad;
        EXPECT_EQ(r.table, "KVR_AA");
        EXPECT_EQ(r.number, 8);
        EXPECT_EQ(r.column, "EndNo");
        EXPECT_NE(r.message().find("KVR_AA number 8, column EndNo"), std::string::npos);
        EXPECT_EQ(d.column("KVR_AA", 8, "KVRBinData").bytes(), before);
        EXPECT_EQ(d.column("KVR_AA", 8, "StartNo").toInt(), 4);
    }
    SequenceFields s;
    s.seqNo[6] = "x1";
    const SaveResult r = SaveRptSeq(*d.db, 2, s);
    EXPECT_EQ(r.column, "Sequence7");
    EXPECT_EQ(r.table, "KVR_AB");
    EXPECT_EQ(d.rows("KVR_AB"), 0);
}

TEST(ReportStore, SequenceSevenOfFormatsOneAndTwo) {
    Db d;
    SequenceFields s;
    s.seqNo[0] = "1";
    s.seqNo[1] = "2";
    ASSERT_TRUE(SaveRptSeq(*d.db, 7, s).ok());
    const Bytes rec = d.column("KVR_AB", 7, "KVRBinData").bytes();
    ASSERT_EQ(rec.size(), 68u);
    EXPECT_EQ(Bytes(rec.begin(), rec.begin() + 12), (Bytes{0, 0, 0, 7, 0, 0x44, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(d.column("KVR_AB", 7, "Sequence2").toInt(), 2);
    SequenceFields t;
    ASSERT_TRUE(OpenRptSeq(*d.db, 7, t));
    EXPECT_EQ(t.seqNo[0], "1");
    EXPECT_EQ(t.seqNo[1], "2");
    EXPECT_EQ(t.seqNo[9], "0");
    EXPECT_FALSE(t.password);
    EXPECT_EQ(t.printType, 0);
    EXPECT_FALSE(OpenRptSeq(*d.db, 8, t));
    EXPECT_EQ(t.seqNo[0], "0");
    EXPECT_EQ(t.resetPosition, 0);
}

TEST(ReportStore, SequenceStatusKeepsTheBitsItDoesNotTouch) {
    Db d;
    for (int previous : {0x00, 0xF0, 0xFF, 0x5A}) {
        for (bool password : {false, true}) {
            for (int printType : {0, 1}) {
                d.db->exec("DELETE FROM KVR_AB");
                d.db->exec("INSERT INTO KVR_AB (Code, Status) VALUES (4, " + std::to_string(previous) + ")");
                SequenceFields s;
                s.password = password;
                s.printType = printType;
                s.resetPosition = 2;
                ASSERT_TRUE(SaveRptSeq(*d.db, 4, s).ok());
                const int64_t st = d.column("KVR_AB", 4, "Status").toInt();
                EXPECT_EQ(st & 0xFC, previous & 0xFC);
                EXPECT_EQ((st & 1) != 0, !password);
                EXPECT_EQ((st & 2) != 0, printType == 1);
                const Bytes rec = d.column("KVR_AB", 4, "KVRBinData").bytes();
                EXPECT_EQ(rec[49], st);
                EXPECT_EQ(rec[48], 2);
                SequenceFields back;
                ASSERT_TRUE(OpenRptSeq(*d.db, 4, back));
                EXPECT_EQ(back.password, password);
                EXPECT_EQ(back.printType, printType);
                EXPECT_EQ(back.resetPosition, 2);
            }
        }
    }
}

TEST(ReportStore, TheResetRuleLooksTheFormatsUpAndIgnoresMissingOnes) {
    Db d;
    FormatFields daily;
    daily.typePosition = 1;  // PLU daily, 49
    ASSERT_TRUE(SaveRptData(*d.db, 1, daily).ok());
    FormatFields monthly;
    monthly.typePosition = 5;  // department monthly, 66
    ASSERT_TRUE(SaveRptData(*d.db, 2, monthly).ok());
    std::array<std::string, kSequenceSlots> seq{"0", "77", "1", "0", "0", "0", "0", "0", "0", "0"};
    EXPECT_FALSE(resetConflict(*d.db, seq, 0));
    EXPECT_FALSE(resetConflict(*d.db, seq, 1));
    EXPECT_EQ(resetConflict(*d.db, seq, 2), 2);
    EXPECT_EQ(resetConflict(*d.db, seq, 3), 2);
    seq[2] = "2";
    EXPECT_EQ(resetConflict(*d.db, seq, 1), 2);
    EXPECT_FALSE(resetConflict(*d.db, seq, 2));
    // A sequence of a format that does not exist saves without a word.
    std::array<std::string, kSequenceSlots> ghost{"55", "0", "0", "0", "0", "0", "0", "0", "0", "0"};
    EXPECT_FALSE(resetConflict(*d.db, ghost, 3));
    // Over every sequence of the table.
    SequenceFields ok;
    ok.seqNo[0] = "1";
    ok.resetPosition = 1;
    ASSERT_TRUE(SaveRptSeq(*d.db, 1, ok).ok());
    EXPECT_FALSE(firstSequenceBreakingReset(*d.db));
    SequenceFields bad;
    bad.seqNo[4] = "1";
    bad.resetPosition = 2;
    ASSERT_TRUE(SaveRptSeq(*d.db, 6, bad).ok());
    EXPECT_EQ(firstSequenceBreakingReset(*d.db), 6);
    EXPECT_EQ(formatNumbers(*d.db), (std::vector<int>{1, 2}));
}
