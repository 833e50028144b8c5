// The PLU flows of the main window without windows: the download dialog's part, the single-PLU
// download, the upload and its review, the marks before and after, and the faults.
#include "flow_fixture.h"

#include "codec/plu_record.h"
#include "store/codec_sources.h"
#include "store/plu_pack.h"
#include "store/row_mapper.h"

namespace brindale::testing {
namespace {

using transfer::Flow;
using transfer::FlowEnd;

class PluFlows : public FlowChain {
protected:
    std::vector<int64_t> store1;  // KVR_25 row ids of store 1, in PLU order

    void SetUp() override {
        FlowChain::SetUp();
        db().exec("UPDATE KVR_25 SET Is_Selected = 0");
        store1 = ids("SELECT rowid FROM KVR_25 WHERE ST_No = 1 ORDER BY PLU_No");
        ASSERT_GE(store1.size(), 6u);
        // Every record built once, as the end of an earlier run leaves them.
        store::packPluRows(db(), env, "", true);
    }
    void markRows(const std::vector<int64_t>& rows) {
        for (int64_t id : rows) db().exec("UPDATE KVR_25 SET Is_Selected = 1 WHERE rowid = " + std::to_string(id));
    }
    int64_t pluNo(int64_t rowid) {
        return count("SELECT PLU_No FROM KVR_25 WHERE rowid = " + std::to_string(rowid));
    }
    std::vector<uint32_t> pluNumbersOn(int i) {
        std::vector<uint32_t> out;
        for (const auto& [n, r] : scale(i).file("25")) {
            codec::PluRow row;
            row.KVRBinData = r;
            EXPECT_EQ(codec::decodePluRecord(env, row).outcome, codec::DecodeOutcome::Decoded);
            out.push_back(uint32_t(row.PLU_No));
        }
        return out;
    }
};

TEST_F(PluFlows, DeleteShowsTheDialogWithDeleteCaptionsWithoutReencodingAndItsDepartmentsGoInModeTwo) {
    markRows({store1[0]});
    // A record that a refresh would rebuild: any change of it would show.
    db().exec("UPDATE KVR_25 SET KVRBinData = X'00000000' WHERE rowid = " + std::to_string(store1[0]));
    bool captions = false;
    long packed = -1;
    hooks.downloadDialog = [&](transfer::FlowSession& s) {
        captions = s.deleteCaptions();
        packed = s.firstActivation().packed;
        s.ok(true, false);
    };
    const auto out = run(Flow::DeletePlu);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    EXPECT_TRUE(captions);
    EXPECT_EQ(packed, 0);
    EXPECT_EQ(count("SELECT hex(KVRBinData) = '00000000' FROM KVR_25 WHERE rowid = " + std::to_string(store1[0])), 1);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].mode, 2);
    EXPECT_EQ(calls[0].tables, (std::vector<std::string>{"25", "20"}));
    EXPECT_EQ(state.skipRefreshFlag, 0);  // read and cleared by the dialog
}

TEST_F(PluFlows, TwoMarkedAndACurrentOneSendThreeAndOnlyTheCurrentIsClearedAfter) {
    markRows({store1[0], store1[1]});
    ctx.currentPluRowId = store1[2];
    bool saved = false, refreshed = false;
    hooks.saveEditor = [&] { return saved = true; };
    hooks.refreshList = [&] { refreshed = true; };
    hooks.clearPluEdited = [] {};
    const auto out = run(Flow::DownloadOne);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    EXPECT_TRUE(saved);
    EXPECT_TRUE(refreshed);
    const std::vector<uint32_t> sent = {uint32_t(pluNo(store1[0])), uint32_t(pluNo(store1[1])),
                                        uint32_t(pluNo(store1[2]))};
    EXPECT_EQ(pluNumbersOn(0), sent);
    EXPECT_EQ(pluNumbersOn(1), sent);
    EXPECT_TRUE(scale(2).file("25").empty());  // section 2
    EXPECT_EQ(ids("SELECT rowid FROM KVR_25 WHERE Is_Selected <> 0 ORDER BY PLU_No"),
              (std::vector<int64_t>{store1[0], store1[1]}));
}

TEST_F(PluFlows, TheCurrentRowIsClearedAndTheListRefreshedAlsoWhenTheDialogIsCancelled) {
    ctx.currentPluRowId = store1[3];
    int refreshed = 0;
    hooks.refreshList = [&] { ++refreshed; };
    hooks.downloadDialog = [](transfer::FlowSession& s) {
        s.firstActivation();
        s.cancel();
    };
    EXPECT_EQ(run(Flow::DownloadOne).end, FlowEnd::Cancelled);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(refreshed, 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0"), 0);
}

TEST_F(PluFlows, AnEditorThatCannotSaveEndsTheSingleDownloadWithNothingMarkedOrSent) {
    ctx.currentPluRowId = store1[0];
    hooks.saveEditor = [] { return false; };
    EXPECT_EQ(run(Flow::DownloadOne).end, FlowEnd::Declined);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0"), 0);
}

// The packing writes back only the columns the encoder writes: packed rows read back must be a
// fixed point of the encoder, column for column, also when every derived column was wrong before.
TEST_F(PluFlows, PackedRowsReadBackAreWhatTheEncoderMakesOfThem) {
    db().exec("UPDATE KVR_25 SET KVRBinData = NULL, PLU_EANData = NULL, Stat2_LBFormat1 = 7, Stat2_BARFormat = 7, "
              "Stat1_Byte1 = 0, Stat1_Byte2 = 0, Stat2_Byte1 = 0, Stat2_Byte2 = 0, Stat2_Byte3 = 0");
    const auto packed = store::packPluRows(db(), env, "", true);
    ASSERT_GT(packed.packed, 30);
    store::RowMapper<codec::PluRow> map(db(), "KVR_25", codec::pluColumns());
    auto st = db().prepare(map.selectSql());
    long compared = 0;
    while (st->step()) {
        codec::PluRow stored;
        map.read(*st, stored);
        codec::PluRow again = stored;
        store::DbInheritance inherit(db());
        store::DbFlexi flexi(db());
        codec::CodecEnvironment e = env;
        e.inheritance = &inherit;
        e.flexiBarcodes = &flexi;
        codec::EncoderContext ctx(e);
        ASSERT_TRUE(codec::encodePluRecord(ctx, again, true).ok()) << stored.PLU_No;
        EXPECT_TRUE(again == stored) << "PLU " << stored.PLU_No << " changes when packed again";
        ++compared;
    }
    EXPECT_EQ(compared, long(packed.packed));
}

TEST_F(PluFlows, SendAllWithCancelSendsNothingAndChangesNoFlag) {
    markRows({store1[0], store1[4]});
    db().exec("UPDATE KVR_20 SET Is_Selected = (rowid % 2)");
    const std::string plus = flags("KVR_25"), depts = flags("KVR_20"), groups = flags("KVR_23");
    hooks.downloadDialog = [](transfer::FlowSession& s) {
        s.firstActivation();
        s.cancel();
    };
    EXPECT_EQ(run(Flow::SendAll).end, FlowEnd::Cancelled);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(state.cancelFlag, 1);
    EXPECT_EQ(flags("KVR_25"), plus);
    EXPECT_EQ(flags("KVR_20"), depts);
    EXPECT_EQ(flags("KVR_23"), groups);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(scale(i).file("25").empty());
}

TEST_F(PluFlows, ClosingTheDialogByItsFrameKeepsTheOutcomeOfThePreviousRun) {
    markRows({store1[0]});
    hooks.downloadDialog = [](transfer::FlowSession& s) { s.cancel(); };
    EXPECT_EQ(run(Flow::SendAll).end, FlowEnd::Cancelled);
    hooks.downloadDialog = [](transfer::FlowSession&) {};  // closed by its frame: neither button
    EXPECT_EQ(run(Flow::SendAll).end, FlowEnd::Cancelled);
    hooks.downloadDialog = [](transfer::FlowSession& s) { s.ok(false, false); };
    EXPECT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    hooks.downloadDialog = [](transfer::FlowSession&) {};
    EXPECT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    EXPECT_EQ(calls.size(), 2u);
}

TEST_F(PluFlows, SelectStoreRowsMarksTheCurrentStoreAndUnmarksTheOthersEvenIfMarkedBefore) {
    db().exec("UPDATE KVR_20 SET Is_Selected = 1");
    db().exec("UPDATE KVR_23 SET Is_Selected = 1");
    ASSERT_GT(count("SELECT COUNT(*) FROM KVR_20 WHERE ST_No <> 1"), 0);
    transfer::selectStoreRows(db(), "KVR_20", 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_20 WHERE ST_No <> 1 AND Is_Selected <> 0"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_20 WHERE ST_No = 1 AND Is_Selected <> 1"), 0);
    // KVR_14: every row, no store test; other names: nothing.
    db().exec("UPDATE KVR_14 SET Is_Selected = 0");
    transfer::selectStoreRows(db(), "KVR_14", 7);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_14 WHERE Is_Selected <> 1"), 0);
    const std::string before = flags("KVR_23");
    transfer::selectStoreRows(db(), "KVR_25", 1);
    transfer::selectStoreRows(db(), "KVR_99", 1);
    EXPECT_EQ(flags("KVR_23"), before);
}

TEST_F(PluFlows, SendAllRefreshesTheMarkedRecordsAndSendsDepartmentsAndGroupsOfTheStore) {
    markRows({store1[0], store1[1], store1[2]});
    // Stale records: the dialog's refresh rebuilds them from the columns.
    db().exec("UPDATE KVR_25 SET KVRBinData = NULL WHERE Is_Selected = 1");
    db().exec("UPDATE KVR_25 SET PLU_UPrice = 4321 WHERE rowid = " + std::to_string(store1[1]));
    long packed = 0;
    hooks.downloadDialog = [&](transfer::FlowSession& s) {
        packed = s.firstActivation().packed;
        s.ok(true, true);
    };
    const auto out = run(Flow::SendAll);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    EXPECT_EQ(packed, 3);
    EXPECT_EQ(calls[0].tables, (std::vector<std::string>{"25", "20", "23"}));
    EXPECT_EQ(pluNumbersOn(0).size(), 3u);
    bool found = false;
    for (const auto& [n, r] : scale(1).file("25")) {
        codec::PluRow row;
        row.KVRBinData = r;
        ASSERT_EQ(codec::decodePluRecord(env, row).outcome, codec::DecodeOutcome::Decoded);
        if (row.PLU_No != pluNo(store1[1])) continue;
        found = true;
        EXPECT_EQ(row.PLU_UPrice, 4321);
    }
    EXPECT_TRUE(found);
    const long depts = count("SELECT COUNT(*) FROM KVR_20 WHERE ST_No = 1");
    EXPECT_EQ(long(scale(0).file("20").size()), depts);
    EXPECT_EQ(long(scale(1).file("23").size()), count("SELECT COUNT(*) FROM KVR_23 WHERE ST_No = 1"));
    EXPECT_TRUE(scale(2).file("20").empty());
    // The marks of the PLUs stay: nothing clears them after a send.
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected = 1"), 3);
}

TEST_F(PluFlows, APluWhoseRecordCannotBeBuiltIsHeldBackKeepsItsMarkAndTheOthersGo) {
    markRows({store1[0], store1[1]});
    // A unit price no record can carry.
    db().exec("UPDATE KVR_25 SET PLU_UPrice = 99999999999 WHERE rowid = " + std::to_string(store1[1]));
    std::vector<transfer::HeldBackPlu> listed;
    hooks.downloadDialog = [&](transfer::FlowSession& s) {
        listed = s.firstActivation().problems;
        s.ok(false, false);
    };
    const auto out = run(Flow::SendAll);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].PLU_No, pluNo(store1[1]));
    EXPECT_EQ(listed[0].column, "PLU_UPrice");
    EXPECT_FALSE(listed[0].reason.empty());
    EXPECT_EQ(pluNumbersOn(0), (std::vector<uint32_t>{uint32_t(pluNo(store1[0]))}));
    EXPECT_EQ(count("SELECT Is_Selected FROM KVR_25 WHERE rowid = " + std::to_string(store1[1])), 1);
    // The next transfer is not held back by it any more.
    hooks.downloadDialog = [&](transfer::FlowSession& s) { s.ok(false, false); };
    run(Flow::SendAll);
    EXPECT_EQ(pluNumbersOn(1).size(), 2u);
}

TEST_F(PluFlows, DeletingRemovesTheMarkedPlusFromTheSectionsScalesOnly) {
    markRows({store1[0], store1[1], store1[2]});
    ASSERT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    ctx.currentSection = 0;  // the whole store
    ASSERT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    ASSERT_EQ(scale(2).file("25").size(), 3u);
    db().exec("UPDATE KVR_25 SET Is_Selected = 0 WHERE rowid = " + std::to_string(store1[1]));
    ctx.currentSection = 1;
    ASSERT_EQ(run(Flow::DeletePlu).end, FlowEnd::Transferred);
    EXPECT_EQ(pluNumbersOn(0), (std::vector<uint32_t>{uint32_t(pluNo(store1[1]))}));
    EXPECT_EQ(pluNumbersOn(1), (std::vector<uint32_t>{uint32_t(pluNo(store1[1]))}));
    EXPECT_EQ(scale(2).file("25").size(), 3u);
}

TEST_F(PluFlows, TheCommandUploadReviewsEmptiesTheFetchedRowsAndClearsTheSelection) {
    markRows({store1[0], store1[1]});
    ASSERT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    long reviewed = 0;
    std::vector<std::string> order;
    hooks.review = [&](long rows) {
        reviewed = rows;
        order.push_back("review");
        EXPECT_EQ(count("SELECT COUNT(*) FROM RC_25"), rows);
    };
    hooks.mainEnabled = [&](bool on) { order.push_back(on ? "on" : "off"); };
    hooks.refreshList = [&] { order.push_back("refresh"); };
    const auto out = run(Flow::UploadCmd);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    EXPECT_EQ(reviewed, 4);  // two PLUs from each of the two scales of section 1
    EXPECT_EQ(out.fetched, 4);
    EXPECT_EQ(count("SELECT COUNT(*) FROM RC_25"), 0);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0"), 0);
    EXPECT_EQ(order, (std::vector<std::string>{"off", "review", "refresh", "on"}));
}

TEST_F(PluFlows, TheMenuUploadKeepsTheSelectionAndAlwaysRefreshes) {
    markRows({store1[0]});
    ASSERT_EQ(run(Flow::SendAll).end, FlowEnd::Transferred);
    std::vector<std::string> order;
    hooks.review = [&](long) { order.push_back("review"); };
    hooks.mainEnabled = [&](bool on) { order.push_back(on ? "on" : "off"); };
    hooks.refreshList = [&] { order.push_back("refresh"); };
    ASSERT_EQ(run(Flow::UploadMenu).end, FlowEnd::Transferred);
    EXPECT_EQ(order, (std::vector<std::string>{"off", "review", "on", "refresh"}));
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0"), 1);
    EXPECT_EQ(count("SELECT COUNT(*) FROM RC_25"), 0);
    // Nothing on the scales: no review, no message, and the menu's refresh still runs.
    for (auto& s : scales) s->stop();
    order.clear();
    ASSERT_EQ(run(Flow::UploadMenu).end, FlowEnd::Transferred);
    EXPECT_EQ(order, (std::vector<std::string>{"refresh"}));
    order.clear();
    ASSERT_EQ(run(Flow::UploadCmd).end, FlowEnd::Transferred);
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected <> 0"), 1);
}

TEST_F(PluFlows, TheReportExportAlwaysNamesStoreOneSectionZero) {
    ctx.currentStore = 2;
    ctx.currentSection = 1;
    ctx.identifiers = {"26"};
    ASSERT_EQ(run(Flow::ReportUpload).end, FlowEnd::Transferred);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].store, 1);
    EXPECT_EQ(calls[0].section, 0);
    EXPECT_EQ(calls[0].mode, 1);
    EXPECT_EQ(calls[0].tables, (std::vector<std::string>{"26"}));
}

TEST_F(PluFlows, ImageDeleteMarksNothingAndStillCallsTheControlInModeTwo) {
    chain.add("KVR_37", {{"KVRBinData", store::Bytes{0, 0, 0, 1, 0, 8, 0, 0}}, {"Is_Selected", 0}});
    ASSERT_EQ(run(Flow::ImageDelete).end, FlowEnd::Transferred);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].mode, 2);
    EXPECT_EQ(calls[0].tables, (std::vector<std::string>{"37"}));
    EXPECT_EQ(flags("KVR_37"), "0");
}

TEST_F(PluFlows, OtherFilesWithNoBoxTickedCallTheControlWithAnEmptyList) {
    ctx.identifiers = transfer::otherFileIdentifiers({});
    ASSERT_EQ(run(Flow::OtherFileSend).end, FlowEnd::Transferred);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_TRUE(calls[0].tables.empty());
    EXPECT_EQ(calls[0].mode, 0);
}

TEST_F(PluFlows, TheDateAndTimeRecordOfNewYearsEve2009) {
    std::tm t{};
    t.tm_year = 109;
    t.tm_mon = 11;
    t.tm_mday = 31;
    t.tm_hour = 23;
    t.tm_min = 59;
    const auto rec = transfer::dateTimeRecord(t);
    EXPECT_EQ(rec, (std::vector<uint8_t>{0, 0, 0, 0xFF, 0, 0x0E, 0, 0x31, 0x12, 0x09, 0, 0, 0x23, 0x59}));
    ctx.clock = [t] { return t; };
    chain.add("KVR_4E", {{"SF_No", 5}, {"KVRBinData", store::Bytes(14, 1)}, {"Is_Selected", 0}});
    ASSERT_EQ(run(Flow::DateTime).end, FlowEnd::Transferred);
    EXPECT_EQ(count("SELECT COUNT(*) FROM KVR_4E"), 1);
    EXPECT_EQ(count("SELECT SF_No FROM KVR_4E"), 1);
    EXPECT_EQ(count("SELECT Is_Selected FROM KVR_4E"), 1);
    const auto onScale = scale(0).file("4E");
    ASSERT_EQ(onScale.size(), 1u);
    EXPECT_EQ(onScale.begin()->second, rec);
}

class RefusingScale : public PluFlows {
    bool refuse(const std::string& address) const override { return address == "127.0.0.3"; }
};

TEST_F(RefusingScale, TheOthersCompleteAndTheFlagsEndAsAfterAGoodDownload) {
    markRows({store1[0]});
    ctx.currentPluRowId = store1[1];
    const auto out = run(Flow::DownloadOne);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    const auto& summary = control.lastSummary();
    ASSERT_EQ(summary.scales.size(), 2u);
    EXPECT_EQ(summary.countDone(), 1u);
    EXPECT_EQ(summary.countFailed(), 1u);
    EXPECT_EQ(pluNumbersOn(0).size(), 2u);
    EXPECT_TRUE(scale(1).file("25").empty());
    EXPECT_EQ(ids("SELECT rowid FROM KVR_25 WHERE Is_Selected <> 0"), (std::vector<int64_t>{store1[0]}));
}

}  // namespace
}  // namespace brindale::testing
