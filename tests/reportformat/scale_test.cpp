// Report formats and sequences sent to emulated scales on loopback by the two flows of the
// editor, without the window: what arrives byte for byte, and what the scale refuses.
#include <gtest/gtest.h>

#include "flows/flow_fixture.h"
#include "reportformat/report_store.h"

namespace brindale::testing {
namespace {

using transfer::Flow;
using transfer::FlowEnd;
namespace rf = reportformat;

class ReportScale : public FlowChain {
protected:
    rf::Bytes record(const char* table, int code) {
        auto st = db().prepare(std::string("SELECT KVRBinData FROM ") + table + " WHERE Code = " + std::to_string(code));
        EXPECT_TRUE(st->step());
        return st->column(0).bytes();
    }
    // The first failure's detail over all scales of the last transfer.
    std::string failure() {
        for (const auto& s : control.lastSummary().scales)
            if (!s.detail.empty()) return s.detail;
        return {};
    }
};

TEST_F(ReportScale, FormatsAndSequencesReachTheScalesOfTheSectionByteForByte) {
    rf::FormatFields f;
    f.typePosition = 1;
    f.data = rf::buildLineStream({{3, "PLU REPORT"}, {5, "%%(3002)"}});
    ASSERT_TRUE(rf::SaveRptData(db(), 1, f).ok());
    ASSERT_TRUE(rf::SaveRptData(db(), 2, rf::FormatFields{}).ok());
    rf::SequenceFields s;
    s.seqNo[0] = "1";
    s.seqNo[1] = "2";
    s.resetPosition = 1;
    ASSERT_TRUE(rf::SaveRptSeq(db(), 7, s).ok());

    ASSERT_EQ(run(Flow::ReportFormatFN).end, FlowEnd::Transferred);
    ASSERT_EQ(run(Flow::ReportFormatSN).end, FlowEnd::Transferred);
    EXPECT_EQ(control.lastSummary().countFailed(), 0u) << failure();
    for (int i : {0, 1}) {
        const auto aa = scale(i).file("AA");
        ASSERT_EQ(aa.size(), 2u) << i;
        EXPECT_EQ(aa.at(1), record("KVR_AA", 1));
        EXPECT_EQ(aa.at(2), record("KVR_AA", 2));
        const auto ab = scale(i).file("AB");
        ASSERT_EQ(ab.size(), 1u);
        EXPECT_EQ(ab.at(7), record("KVR_AB", 7));
    }
    EXPECT_TRUE(scale(2).file("AA").empty());
    EXPECT_TRUE(scale(2).file("AB").empty());
}

TEST_F(ReportScale, AMalformedFormatRecordIsRefusedWithItsReason) {
    rf::FormatFields f;
    ASSERT_TRUE(rf::SaveRptData(db(), 1, f).ok());
    rf::Bytes bad = record("KVR_AA", 1);
    bad[6] = 1;  // the length is right, the content is not
    auto st = db().prepare("UPDATE KVR_AA SET KVRBinData = ? WHERE Code = 1");
    st->bind(1, store::Value(bad));
    st->step();
    ASSERT_EQ(run(Flow::ReportFormatFN).end, FlowEnd::Transferred);
    EXPECT_EQ(control.lastSummary().countFailed(), 2u);
    EXPECT_NE(failure().find("byte 6"), std::string::npos) << failure();
    EXPECT_TRUE(scale(0).file("AA").empty());
}

TEST_F(ReportScale, EachRefusalOfTheScaleComesBackAsTheReason) {
    rf::FormatRecordFields f;
    f.code = 3;
    f.type = 49;
    f.data = rf::buildLineStream({{3, "A"}});
    const rf::Bytes good = *rf::buildFormatRecord(f);
    rf::SequenceRecordFields q;
    q.code = 4;
    const rf::Bytes goodSeq = *rf::buildSequenceRecord(q);
    struct Case {
        const char* table;
        rf::Bytes rec;
        const char* reason;
    };
    auto with = [](rf::Bytes b, size_t at, uint8_t v) {
        b[at] = v;
        return b;
    };
    rf::Bytes shortRec{0, 0, 0, 3, 0, 34};
    shortRec.resize(34, 0);
    shortRec[33] = 0x0C;
    const std::vector<Case> cases{
        {"KVR_AA", shortRec, "at least 35"},
        {"KVR_AA", with(good, 7, 0x12), "byte 7"},
        {"KVR_AA", with(good, 20, 3), "byte 20"},
        {"KVR_AA", with(good, 25, 1), "byte 25"},
        {"KVR_AA", with(good, good.size() - 1, 0x0D), "line stream"},
        {"KVR_AB", with(goodSeq, 4, 1), "00 44"},
        {"KVR_AB", with(goodSeq, 11, 0x0B), "not packed decimal"},
        {"KVR_AB", with(goodSeq, 48, 4), "byte 48"},
        {"KVR_AB", with(goodSeq, 60, 1), "byte 60"},
    };
    for (const Case& c : cases) {
        db().exec(std::string("DELETE FROM ") + c.table);
        auto st = db().prepare(std::string("INSERT INTO ") + c.table + " (Code, KVRBinData, Is_Selected) VALUES (3, ?, 0)");
        st->bind(1, store::Value(c.rec));
        st->step();
        ASSERT_EQ(run(std::string(c.table) == "KVR_AA" ? Flow::ReportFormatFN : Flow::ReportFormatSN).end,
                  FlowEnd::Transferred);
        EXPECT_EQ(control.lastSummary().countFailed(), 2u) << c.reason;
        EXPECT_NE(failure().find(c.reason), std::string::npos) << c.reason << ": " << failure();
    }
}

}  // namespace
}  // namespace brindale::testing
