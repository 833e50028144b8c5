// End to end on loopback: formats and sequences made in frmReportFormat and sent with its two
// buttons reach the emulated scales of the current section byte for byte; what the reset rule or
// the scale refuses does not.
#include <QTest>

#include "flows/flow_fixture.h"
#include "form_support.h"
#include "hierarchy/gui_support.h"

namespace brindale::testing {
namespace {

using reportformat::ui::FrmReportFormat;
using transfer::Flow;
using transfer::FlowEnd;

class ReportSend : public FlowChain {
protected:
    Answers answers;
    std::unique_ptr<FrmReportFormat> form;

    void SetUp() override {
        FlowChain::SetUp();
        chain.state->settings.ScaleTypeIndex = 1;
        form = std::make_unique<FrmReportFormat>(*chain.state, [this](Flow flow, transfer::FlowHooks h) {
            return transfer::runFlow(flow, db(), control, state, ctx, h);
        });
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
    }
    void TearDown() override {
        form.reset();
        FlowChain::TearDown();
    }
    void type(int row, const QString& text) {
        form->editCell(row, 1);
        txtGrid(form.get())->end(false);
        QTest::keyClicks(txtGrid(form.get()), text);
    }
    std::vector<uint8_t> record(const char* table, int code) {
        auto st = db().prepare(std::string("SELECT KVRBinData FROM ") + table + " WHERE Code = " + std::to_string(code));
        EXPECT_TRUE(st->step());
        return st->column(0).bytes();
    }
    std::string failure() {
        for (const auto& s : control.lastSummary().scales)
            if (!s.detail.empty()) return s.detail;
        return {};
    }
    // Two formats and one sequence, made through the window.
    void makeFormatsAndSequence() {
        QWidget* f = form.get();
        combo(f, "comboRptFormatType")->setCurrentIndex(1);  // PLU daily
        type(0, "PLU REPORT ");
        emit combo(f, "comboRptFormatItem")->activated(1);  // date and time
        cmd(f, "cmdAppend")->click();
        type(1, "TOTAL");
        cmd(f, "cmdSaveFN")->click();
        combo(f, "comboRptFormatNo")->setCurrentIndex(1);
        combo(f, "comboRptFormatType")->setCurrentIndex(13);  // sales daily
        type(0, "SALES");
        cmd(f, "cmdSaveFN")->click();
        ASSERT_EQ(form->formatSaved(), 1);
        edit(f, "txtSeqNo_0")->setText("1");
        edit(f, "txtSeqNo_1")->setText("2");
        combo(f, "comboResetRpt")->setCurrentIndex(1);
        cmd(f, "cmdSaveSN")->click();
        ASSERT_EQ(form->seqSaved(), 1);
        ASSERT_TRUE(answers.shown.empty()) << answers.texts()[0];
    }
};

TEST_F(ReportSend, FormatsAndSequencesReachBothScalesOfTheSectionAndNotTheThird) {
    makeFormatsAndSequence();
    cmd(form.get(), "cmdDownloadFN")->click();
    EXPECT_EQ(control.lastSummary().countDone(), 2u) << failure();
    cmd(form.get(), "cmdDownloadSN")->click();
    EXPECT_EQ(control.lastSummary().countDone(), 2u) << failure();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].tables, std::vector<std::string>{"AA"});
    EXPECT_EQ(calls[1].tables, std::vector<std::string>{"AB"});
    const auto f1 = record("KVR_AA", 1);
    EXPECT_EQ(std::vector<uint8_t>(f1.begin() + 32, f1.end()),
              (std::vector<uint8_t>{3, 19, 'P', 'L', 'U', ' ', 'R', 'E', 'P', 'O', 'R', 'T', ' ', '%', '%', '(', '1', '0',
                                    '0', '2', ')', 0x0D, 3, 5, 'T', 'O', 'T', 'A', 'L', 0x0C}));
    for (int i : {0, 1}) {
        const auto aa = scale(i).file("AA");
        ASSERT_EQ(aa.size(), 2u);
        EXPECT_EQ(aa.at(1), f1);
        EXPECT_EQ(aa.at(2), record("KVR_AA", 2));
        const auto ab = scale(i).file("AB");
        ASSERT_EQ(ab.size(), 1u);
        EXPECT_EQ(ab.at(1), record("KVR_AB", 1));
    }
    EXPECT_TRUE(scale(2).file("AA").empty());
    EXPECT_TRUE(scale(2).file("AB").empty());
}

TEST_F(ReportSend, ASequenceRefusedByTheResetRuleSendsNothing) {
    makeFormatsAndSequence();
    db().exec("INSERT INTO KVR_AB (Code, Sequence1, Resetreport, Status, KVRBinData) VALUES (5, 2, 3, 1, NULL)");
    cmd(form.get(), "cmdDownloadSN")->click();
    EXPECT_TRUE(answers.said(chain.state->text("msgbox", "rptformatresettype")));
    EXPECT_TRUE(calls.empty());
    for (int i : {0, 1, 2}) EXPECT_TRUE(scale(i).file("AB").empty());
}

TEST_F(ReportSend, AMalformedFormatWrittenByHandIsRefusedByTheScaleAndNamed) {
    makeFormatsAndSequence();
    auto bad = record("KVR_AA", 2);
    bad[20] = 7;  // a condition status no scale knows
    auto st = db().prepare("UPDATE KVR_AA SET KVRBinData = ? WHERE Code = 2");
    st->bind(1, store::Value(bad));
    st->step();
    cmd(form.get(), "cmdDownloadFN")->click();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(control.lastSummary().countFailed(), 2u);
    EXPECT_NE(failure().find("byte 20"), std::string::npos) << failure();
    for (int i : {0, 1, 2}) EXPECT_TRUE(scale(i).file("AA").empty());
}

}  // namespace
}  // namespace brindale::testing

namespace brindale::testing {
namespace {

// The program itself: the menu command opens the window over the main window in the data view of
// a scale model that keeps report formats, and is off for the other model.
TEST(ReportFormatMenu, OpensFromTheDataViewOfAModelWithReportFormats) {
    answerYes();
    clearMessages();
    GuiApp g;
    firstStore(g, "North");
    g.state().settings.ScaleTypeIndex = 0;
    g.select("STORE 1");
    g.w().button("cmdData")->click();
    ASSERT_EQ(g.state().viewNumber, 0);
    g.select("MG 1 97 997");
    g.select("STORE 1");
    EXPECT_FALSE(g.enabled("menuEditReportFormat"));
    g.state().settings.ScaleTypeIndex = 1;
    g.select("MG 1 97 997");  // the states follow the node click
    g.select("STORE 1");
    ASSERT_TRUE(g.enabled("menuEditReportFormat"));
    std::string title;
    int types = 0;
    ModalDriver d("frmReportFormat", [&](QDialog* f) {
        title = f->windowTitle().toStdString();
        types = combo(f, "comboRptFormatType")->count();
        f->reject();
    });
    g.trigger("menuEditReportFormat");
    EXPECT_TRUE(d.seen());
    EXPECT_EQ(title, g.text("frm_ReportFormat", "frmTitle"));
    EXPECT_EQ(types, 16);
    g.end();
}

}  // namespace
}  // namespace brindale::testing
