// Each row of the table of flows, run headless against the emulated scales: the properties the
// control got, the rows marked before and cleared after, the order of the window's steps, and
// that a No or a Cancel sets nothing.
#include <map>

#include "flow_fixture.h"
#include "reportformat/report_format.h"
#include "transfer/records.h"

namespace brindale::testing {
namespace {

using transfer::Flow;
using transfer::FlowEnd;

// A record the scales take for a file: its number in the first four bytes, its length in bytes 4
// and 5 where the file has no fixed length.
store::Bytes recordOf(const std::string& code, uint32_t number) {
    // Report formats and sequences are read for their content too: an empty one of each.
    if (code == "AA") {
        reportformat::FormatRecordFields f;
        f.code = number;
        return *reportformat::buildFormatRecord(f);
    }
    if (code == "AB") {
        reportformat::SequenceRecordFields q;
        q.code = number;
        return *reportformat::buildSequenceRecord(q);
    }
    const size_t fixed = transfer::fixedRecordLength(code);
    // A label format has one of a format store's three sizes.
    const size_t size = fixed ? fixed : (code == "34" ? 1118 : 24);
    store::Bytes r(size, 0x20);
    for (int i = 3; i >= 0; --i, number /= 100) r[size_t(i)] = uint8_t(((number / 10) % 10) << 4 | (number % 10));
    if (code == "41") {  // a keyboard takes only the shape of a real key record
        std::fill(r.begin() + 4, r.end(), uint8_t(0));
        r[5] = 0x2D;
    }
    if (!fixed) {
        r[4] = uint8_t(size >> 8);
        r[5] = uint8_t(size);
    }
    return r;
}

struct Expect {
    Flow flow;
    int mode;
    int store;  // -1: the current one
    int section;
    std::vector<std::string> tables;
    std::vector<std::string> steps;  // the window's hooks in the order they ran
};

class FlowRows : public FlowChain {
protected:
    std::vector<std::string> ran;

    void SetUp() override {
        FlowChain::SetUp();
        hooks.askSavePLU = [this] { ran.push_back("askSavePLU"); return 2; };
        hooks.askUnsaved = [this] { ran.push_back("askUnsaved"); return true; };
        hooks.saveBefore = [this] { ran.push_back("saveBefore"); return true; };
        hooks.checkBefore = [this] { ran.push_back("checkBefore"); return true; };
        hooks.after = [this] { ran.push_back("after"); };
        hooks.refreshList = [this] { ran.push_back("refreshList"); };
        hooks.downloadDialog = [this](transfer::FlowSession& s) {
            ran.push_back(s.deleteCaptions() ? "deleteDialog" : "downloadDialog");
            s.firstActivation();
            s.ok(false, false);
        };
        // Rows of the other windows' tables, as their windows would have written them.
        for (int i = 1; i <= 3; ++i) {
            chain.add("KVR_41", {{"Scale_IP", store::Value(padded("127.0.0.2"))}, {"PSK_Layout", 1},
                                 {"Number", i}, {"KVRBinData", recordOf("41", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_41", {{"Scale_IP", store::Value(padded("127.0.0.2"))}, {"PSK_Layout", 2},
                                 {"Number", i}, {"KVRBinData", recordOf("41", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_3F", {{"Number", i}, {"KVRBinData", recordOf("3F", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_40", {{"Number", i}, {"KVRBinData", recordOf("40", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_37", {{"KVRBinData", recordOf("37", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_36", {{"KVRBinData", recordOf("36", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_AA", {{"Code", i}, {"KVRBinData", recordOf("AA", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_AB", {{"Code", i}, {"KVRBinData", recordOf("AB", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_34", {{"PF_No", store::Value(std::to_string(i))},
                                 {"KVRBinData", recordOf("34", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("KVR_38", {{"No", i}, {"KVRBinData", recordOf("38", uint32_t(i))}, {"Is_Selected", 0}});
            chain.add("RC_21", {{"DP_No", store::Value(std::to_string(i))}});
        }
        ctx.currentScaleIP = padded("127.0.0.2");
        ctx.presetLayout = 2;
        ctx.scrollSequence = 2;
    }

    std::vector<uint32_t> numbersOn(int scaleIndex, const std::string& code) {
        std::vector<uint32_t> out;
        for (const auto& [n, r] : scale(scaleIndex).file(code)) out.push_back(n);
        return out;
    }
};

TEST_F(FlowRows, EveryRowCallsTheControlAsItsRowSays) {
    ctx.identifiers = {"21"};  // the chosen report of the report export; unused by other rows
    const std::vector<Expect> expected = {
        {Flow::SendAll, 0, -1, -1, {"25"}, {"askSavePLU", "downloadDialog"}},
        {Flow::DeletePlu, 2, -1, -1, {"25"}, {"askSavePLU", "deleteDialog"}},
        {Flow::UploadCmd, 1, -1, -1, {"25"}, {"askSavePLU"}},
        {Flow::UploadMenu, 1, -1, -1, {"25"}, {"askSavePLU", "refreshList"}},
        {Flow::DownloadDept, 0, -1, -1, {"20"}, {"askSavePLU"}},
        {Flow::DownloadMG, 0, -1, -1, {"23"}, {"askSavePLU"}},
        {Flow::FlexiDownload, 0, -1, -1, {"14"}, {}},
        {Flow::ReportUpload, 1, 1, 0, {"21"}, {"after"}},
        {Flow::LabelDownload, 0, -1, -1, {"34"}, {"askUnsaved"}},
        {Flow::LabelUpload, 1, -1, -1, {"34"}, {"askUnsaved", "after"}},
        {Flow::ScrollDownloadM, 0, -1, -1, {"3F"}, {"saveBefore"}},
        {Flow::ScrollDownloadS, 0, -1, -1, {"40"}, {"saveBefore"}},
        {Flow::ImageSend, 0, -1, -1, {"37"}, {}},
        {Flow::ImageDelete, 2, -1, -1, {"37"}, {}},
        {Flow::LogoSend, 0, -1, -1, {"36"}, {}},
        {Flow::DateTime, 0, -1, -1, {"4E"}, {}},
        {Flow::ReportFormatFN, 0, -1, -1, {"AA"}, {"askUnsaved"}},
        {Flow::ReportFormatSN, 0, -1, -1, {"AB"}, {"askUnsaved", "checkBefore"}},
    };
    db().exec("UPDATE KVR_25 SET Is_Selected = 0");  // the PLU flows send and fetch nothing here
    // A selection that is not store 1, section 0, so that the fixed place shows.
    ctx.currentStore = 1;
    ctx.currentSection = 1;
    for (const auto& e : expected) {
        SCOPED_TRACE(static_cast<int>(e.flow));
        calls.clear();
        ran.clear();
        const transfer::FlowOutcome out = run(e.flow);
        ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].mode, e.mode);
        EXPECT_EQ(calls[0].store, e.store < 0 ? 1 : e.store);
        EXPECT_EQ(calls[0].section, e.section < 0 ? 1 : e.section);
        EXPECT_EQ(calls[0].tables, e.tables);
        EXPECT_EQ(calls[0].databasePath, ctx.databasePath);
        EXPECT_EQ(ran, e.steps);
        EXPECT_EQ(control.lastSummary().reason, transfer::FailReason::None);
    }
    // Section 1 holds .2 and .3; .4 (section 2) got nothing of any download.
    EXPECT_EQ(numbersOn(0, "3F"), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(numbersOn(1, "40"), (std::vector<uint32_t>{2}));
    EXPECT_EQ(numbersOn(0, "AA"), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(numbersOn(1, "AB"), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(numbersOn(0, "34").size(), 3u);
    EXPECT_TRUE(scale(2).file("3F").empty());
    EXPECT_TRUE(scale(2).file("AA").empty());
    // The report export emptied its table before the fetch.
    EXPECT_EQ(count("SELECT COUNT(*) FROM RC_21 WHERE RecordSize IS NULL"), 0);
}

TEST_F(FlowRows, TheSequenceAndScrollMarksAreClearedAfterAndTheFormatMarksStay) {
    ASSERT_EQ(run(Flow::ScrollDownloadS).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_40"), "000");
    EXPECT_EQ(numbersOn(0, "40"), (std::vector<uint32_t>{2}));  // only Number = 2 was marked
    ASSERT_EQ(run(Flow::ScrollDownloadM).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_3F"), "000");
    ASSERT_EQ(run(Flow::ImageSend).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_37"), "000");
    EXPECT_EQ(numbersOn(1, "37").size(), 3u);
    ASSERT_EQ(run(Flow::LogoSend).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_36"), "000");
    // Label and report formats: every row marked, and left marked.
    ASSERT_EQ(run(Flow::LabelDownload).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_34"), "111");
    ASSERT_EQ(run(Flow::ReportFormatFN).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_AA"), "111");
    ASSERT_EQ(run(Flow::ReportFormatSN).end, FlowEnd::Transferred);
    EXPECT_EQ(flags("KVR_AB"), "111");
}

TEST_F(FlowRows, ThePresetSheetGoesToTheStoreAndSectionOfItsScaleRowAndIsUnmarkedAfter) {
    ctx.currentStore = 2;  // the tree's selection does not matter
    ctx.currentSection = 0;
    const auto out = run(Flow::PresetKeySend);
    ASSERT_EQ(out.end, FlowEnd::Transferred) << out.message;
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].store, 1);
    EXPECT_EQ(calls[0].section, 1);
    EXPECT_EQ(calls[0].mode, 0);
    EXPECT_EQ(flags("KVR_41"), "000000");
    // Layout 2 only: three keys went to the scales of section 1.
    EXPECT_EQ(scale(0).file("41").size(), 3u);
    EXPECT_EQ(scale(1).file("41").size(), 3u);
    EXPECT_TRUE(scale(2).file("41").empty());
}

TEST_F(FlowRows, APresetSheetForAnAddressWithoutAScaleRowIsNamedAndNothingIsSent) {
    ctx.currentScaleIP = padded("127.0.0.9");
    const auto out = run(Flow::PresetKeySend);
    EXPECT_EQ(out.end, FlowEnd::NoScaleRow);
    EXPECT_NE(out.message.find("127.  0.  0.  9"), std::string::npos) << out.message;
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(flags("KVR_41"), "000000");
}

TEST_F(FlowRows, NoToAWindowsQuestionSetsNothing) {
    hooks.askUnsaved = [this] { ran.push_back("askUnsaved"); return false; };
    hooks.saveBefore = [this] { ran.push_back("saveBefore"); return false; };
    hooks.askSavePLU = [this] { ran.push_back("askSavePLU"); return 3; };
    const std::string before34 = flags("KVR_34"), beforeAA = flags("KVR_AA"), before20 = flags("KVR_20");
    for (Flow f : {Flow::LabelDownload, Flow::LabelUpload, Flow::ReportFormatFN, Flow::ReportFormatSN,
                   Flow::ScrollDownloadM, Flow::ScrollDownloadS, Flow::DownloadDept, Flow::SendAll,
                   Flow::DeletePlu, Flow::UploadCmd}) {
        SCOPED_TRACE(static_cast<int>(f));
        EXPECT_EQ(run(f).end, FlowEnd::Declined);
    }
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(flags("KVR_34"), before34);
    EXPECT_EQ(flags("KVR_AA"), beforeAA);
    EXPECT_EQ(flags("KVR_20"), before20);
    EXPECT_EQ(flags("KVR_3F"), "000");
    EXPECT_EQ(state.skipRefreshFlag, 0);
}

TEST_F(FlowRows, AFailedResetTypeCheckEndsTheSequenceDownload) {
    hooks.checkBefore = [this] { ran.push_back("checkBefore"); return false; };
    EXPECT_EQ(run(Flow::ReportFormatSN).end, FlowEnd::Declined);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(flags("KVR_AB"), "000");
}

TEST_F(FlowRows, TheOtherFilesGoInTheOrderOfTheBoxesWhateverOrderTheyWereTicked) {
    EXPECT_EQ(transfer::otherFileIdentifiers({"chkContainer", "chkAdv", "chkText"}),
              (std::vector<std::string>{"38", "3C", "DF"}));
    ctx.identifiers = transfer::otherFileIdentifiers({"chkPlace", "chkText"});
    db().exec("UPDATE KVR_38 SET Is_Selected = 1 WHERE No = 1");
    ASSERT_EQ(run(Flow::OtherFileSend).end, FlowEnd::Transferred);
    EXPECT_EQ(calls[0].tables, (std::vector<std::string>{"38", "39"}));
    EXPECT_EQ(numbersOn(0, "38"), (std::vector<uint32_t>{1}));
}

TEST_F(FlowRows, AStoreOrSectionAboveAByteIsNamedAndNothingIsMarkedOrSent) {
    ctx.currentStore = 256;
    const std::string before = flags("KVR_20");
    auto out = run(Flow::DownloadDept);
    EXPECT_EQ(out.end, FlowEnd::Overflow);
    EXPECT_NE(out.message.find("256"), std::string::npos);
    EXPECT_EQ(flags("KVR_20"), before);
    ctx.currentStore = 1;
    ctx.currentSection = 300;
    out = run(Flow::ImageSend);
    EXPECT_EQ(out.end, FlowEnd::Overflow);
    EXPECT_NE(out.message.find("section number 300"), std::string::npos);
    EXPECT_EQ(flags("KVR_37"), "000");
    EXPECT_TRUE(calls.empty());
}

}  // namespace
}  // namespace brindale::testing
