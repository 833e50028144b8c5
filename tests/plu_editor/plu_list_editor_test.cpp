// The PLU list and the editor together in the real program, offscreen: the list's current row is
// what the editor shows, a save refreshes the list onto the saved row, Alt+Down asks before it
// moves, cmdCopy makes a new row from its source, and a typed PLU reaches two emulated scales
// exactly as it was typed.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QTest>
#include <QTimer>

#include "codec/plu_record.h"
#include "emulated_scale.h"
#include "editor_fixture.h"
#include "gui_support.h"
#include "plu/ui/plu_editor_window.h"
#include "plu/ui/plu_list.h"
#include "store/plu_pack.h"
#include "store/recordset.h"
#include "transfer/engine.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

struct ListAndEditor : EditorFixture {
    plu::ui::PluList* list = nullptr;

    void SetUp() override {
        EditorFixture::SetUp();
        if (HasFatalFailure()) return;
        list = plu::ui::PluList::of(g.w());
        ASSERT_NE(list, nullptr);
    }
    QLineEdit* edit(const char* name) { return c<QLineEdit>(name); }
    QString listPlu() { return list->model()->index(list->currentRow(), 1).data().toString(); }
    int64_t price(int pluNo) {
        store::Recordset rs(*g.state().Conn, "select * from KVR_25 where PLU_No=" + std::to_string(pluNo));
        EXPECT_EQ(rs.recordCount(), 1) << pluNo;
        return rs.recordCount() ? rs.intValue("PLU_UPrice") : -1;
    }
};

}  // namespace

TEST_F(ListAndEditor, TheListsCurrentRowIsWhatTheEditorShowsAndASaveRefreshesTheList) {
    newPlu("10", "1.10");
    newPlu("30", "3.30");
    newPlu("20", "2.20");
    // Each save leaves the list on the saved row, in number order.
    EXPECT_EQ(list->shownCount(), 3);
    EXPECT_EQ(listPlu(), "20");
    EXPECT_EQ(list->currentRow(), 1);
    EXPECT_EQ(text("meditPLU"), "20");

    ASSERT_TRUE(list->moveTo(0));
    EXPECT_EQ(text("meditPLU"), "10");
    EXPECT_EQ(text("meditUPrice"), "1.10");
    g.w().button("cmdDown")->click();
    EXPECT_EQ(text("meditPLU"), "20");
    EXPECT_EQ(text("meditUPrice"), "2.20");

    // A changed price: Alt+Down asks; Cancel stays on the PLU with the typed price.
    type("meditUPrice", "9.99");
    ASSERT_TRUE(g.state().pluChanged);
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::Cancel; });
    // Alt+Down is the editor's shortcut "shortcutNext" (offscreen no window is active for the key).
    auto* next = g.w().findChild<QShortcut*>("shortcutNext");
    ASSERT_NE(next, nullptr);
    emit next->activated();
    EXPECT_EQ(list->currentRow(), 1);
    EXPECT_EQ(text("meditUPrice"), "9.99");
    EXPECT_EQ(price(20), 220);
    // Yes saves and moves on.
    answerYes();
    emit next->activated();
    EXPECT_EQ(price(20), 999);
    EXPECT_EQ(list->currentRow(), 2);
    EXPECT_EQ(text("meditPLU"), "30");
    EXPECT_EQ(list->model()->index(1, 4).data().toString(), "9.99");
}

// While the editor holds a new row, nothing that acts on the list's saved row is on: a delete
// would take a PLU the operator is not looking at.
TEST_F(ListAndEditor, ANewRowTurnsOffTheCommandsOfTheSavedRow) {
    newPlu("10", "1.10");
    ASSERT_TRUE(g.enabled("cmdDlelte"));
    g.w().button("cmdNew")->click();
    EXPECT_FALSE(g.enabled("cmdDlelte"));
    g.w().button("cmdCancel")->click();
    EXPECT_TRUE(g.enabled("cmdDlelte"));
    EXPECT_EQ(text("meditPLU"), "10");
}

// A new row saved on leaving refills the list; the PLU clicked is still the one shown.
TEST_F(ListAndEditor, SavingOnLeavingKeepsThePluThatWasClicked) {
    newPlu("1", "1.00");
    newPlu("3", "3.00");
    newPlu("5", "5.00");
    g.w().button("cmdNew")->click();
    type("meditPLU", "2");
    type("meditUPrice", "2.00");
    ASSERT_TRUE(g.state().pluChanged);
    // The operator clicks PLU 3 (row 1 of 1, 3, 5); askSavePLU saves 2, which comes before it.
    ASSERT_TRUE(list->moveTo(1));
    EXPECT_EQ(price(2), 200);
    EXPECT_EQ(text("meditPLU"), "3");
    EXPECT_EQ(listPlu(), "3");
}

TEST_F(ListAndEditor, CopyMakesANewRowFromItsSourceUnderTheTypedNumber) {
    newPlu("10", "1.10");
    newPlu("20", "2.20");
    ASSERT_TRUE(list->moveTo(0));
    ASSERT_EQ(text("meditPLU"), "10");
    // The source's number is typed, then cmdCopy: the editor holds the source as a new row.
    type("meditPLU", "20");
    g.w().button("cmdCopy")->click();
    ASSERT_TRUE(list->copyFlag()) << (messagesShown().empty() ? "" : messagesShown().back());
    EXPECT_TRUE(ed->isNewRow());
    EXPECT_TRUE(ed->copying());
    EXPECT_EQ(text("meditUPrice"), "2.20");
    type("meditPLU", "40");
    g.w().button("cmdUpdate")->click();
    EXPECT_FALSE(list->copyFlag());
    EXPECT_FALSE(ed->copying());
    EXPECT_EQ(price(40), 220);
    EXPECT_EQ(price(20), 220);
    EXPECT_EQ(price(10), 110);
    EXPECT_EQ(list->shownCount(), 3);
    EXPECT_EQ(listPlu(), "40");
    // A number that has no row: a message naming it, and nothing changes.
    clearMessages();
    type("meditPLU", "77");
    g.w().button("cmdCopy")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("77"), std::string::npos);
    EXPECT_FALSE(list->copyFlag());
}

// A PLU typed and saved in the editor, marked in the list and sent: each scale of the section
// holds a record that decodes to exactly the typed values.
TEST_F(ListAndEditor, ATypedPluReachesTwoScalesExactlyAsTyped) {
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    uint16_t port = 0;
    for (const char* address : {"127.0.0.2", "127.0.0.3"}) {
        scaleemu::ScaleOptions so;
        so.address = address;
        so.port = port;  // both on one port, as scales are
        auto s = std::make_unique<scaleemu::EmulatedScale>(so);
        std::string error;
        ASSERT_TRUE(s->start(error)) << error;
        port = s->port();
        scales.push_back(std::move(s));
    }
    newSection(g, "STORE 1");
    newMachine(g, "SECT 1 1", {"127", "0", "0", "2"}, "Deli 1");
    newMachine(g, "SECT 1 1", {"127", "0", "0", "3"}, "Deli 2");
    transfer::TransferOptions to;
    to.port = port;
    to.connectTimeout = std::chrono::milliseconds(2000);
    to.replyTimeout = std::chrono::milliseconds(5000);
    to.scaleTimeout = std::chrono::milliseconds(15000);
    g.w().KVRDataTrans1().setOptions(to);

    g.select("STORE 1");
    g.w().button("cmdNew")->click();
    type("meditPLU", "4711");
    type("meditUPrice", "12.34");
    type("meditTare", "0.015");
    type("meditSellDate", "12");
    qobject_cast<QCheckBox*>(ed->control("chkSellDatePrint"))->setChecked(true);
    type("meditItemCode", "12345");
    g.w().button("cmdUpdate")->click();
    ASSERT_TRUE(messagesShown().empty()) << messagesShown().front();
    ASSERT_EQ(listPlu(), "4711");
    list->togglePLUSelection();
    ASSERT_EQ(list->model()->index(list->currentRow(), 5).data().toString(), "*");

    // What the download does before the transfer: the marked rows are packed into their records.
    const auto env = g.state().codecEnvironment();
    const store::PluPackResult packed = store::packPluRows(*g.state().Conn, env, "Is_Selected <> 0", true);
    ASSERT_EQ(packed.packed, 1);
    ASSERT_TRUE(packed.problems.empty()) << packed.problems.front().reason;

    // The progress window closes itself once the transfer has ended (bounded in time).
    QTimer closer;
    QElapsedTimer since;
    since.start();
    QObject::connect(&closer, &QTimer::timeout, [&] {
        QWidget* m = QApplication::activeModalWidget();
        auto* close = m ? m->findChild<QPushButton*>("cmdClose") : nullptr;
        if (close && close->isEnabled()) close->click();
        else if (m && since.elapsed() > 30000) m->close();
    });
    closer.start(50);
    ASSERT_TRUE(g.w().runTransfer(0, {"25"}, 1, 1));
    closer.stop();
    EXPECT_EQ(g.w().KVRDataTrans1().lastSummary().countDone(), 2u);

    for (auto& s : scales) {
        const auto records = s->file("25");
        ASSERT_EQ(records.size(), 1u) << s->options().address;
        codec::PluRow row;
        row.KVRBinData = records.begin()->second;
        ASSERT_EQ(codec::decodePluRecord(env, row).outcome, codec::DecodeOutcome::Decoded);
        EXPECT_EQ(row.PLU_No, 4711);
        EXPECT_EQ(row.PLU_UPrice, 1234);
        EXPECT_EQ(row.PLU_Tare, 15);
        EXPECT_EQ(row.PLU_SBDate, 12);
        EXPECT_EQ(row.Stat1_SBDate, 1);
        ASSERT_TRUE(row.PLU_EANItemCode.has_value());
        EXPECT_EQ(*row.PLU_EANItemCode, "12345");
        s->stop();
    }
}
