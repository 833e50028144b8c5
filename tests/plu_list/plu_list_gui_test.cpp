// The PLU list in the real main window, offscreen, driven by control names: the list of each node
// kind, moving at both ends, marks, delete, the copy lookup, refresh and the find.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QHeaderView>
#include <QLabel>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include "hierarchy/gui_support.h"
#include "plu/plu_list_query.h"
#include "plu/ui/plu_list.h"
#include "shell/messages.h"
#include "store/hierarchy.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::testing;
using plu::ui::PluList;
using shell::MessageRecord;
using shell::Messages;
using shell::MsgButtons;
using shell::MsgResult;

namespace {

struct Gui : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
    void TearDown() override { answerYes(); }
};

// The answer to every question, and what was asked.
struct Answer {
    std::vector<std::string> asked;
    explicit Answer(MsgResult r) {
        Messages::setResponder([this, r](const MessageRecord& m) {
            asked.push_back(m.text.toStdString());
            return m.buttons == MsgButtons::Ok ? MsgResult::Ok : r;
        });
    }
    ~Answer() { answerYes(); }
};

struct Chain {
    GuiApp g;
    Chain() { firstStore(g, "Main street"); }
    shell::MainWindow& w() { return g.w(); }
    store::Database& db() { return *g.state().Conn; }
    PluList& list() { return *PluList::of(g.w()); }
    QTableView* view() { return g.w().findChild<QTableView*>("MSHFlexGridPLU"); }

    void plu(int st, int no, int mg, const std::string& name, int64_t price = 100, int selected = 0,
             const std::string& item = "") {
        auto& s = db().cached(
            "INSERT INTO KVR_25 (ST_No, PLU_No, PLU_MG, PLU_CommodityFirst, PLU_UPrice, Is_Selected, PLU_EANItemCode) "
            "VALUES (?1,?2,?3,?4,?5,?6,?7)");
        s.bind(1, store::Value(st));
        s.bind(2, store::Value(no));
        s.bind(3, store::Value(mg));
        s.bind(4, store::Value(name));
        s.bind(5, store::Value(price));
        s.bind(6, store::Value(selected));
        s.bind(7, store::Value(item));
        s.step();
        s.reset();
    }
    void dept(int dp) {
        db().exec("INSERT INTO KVR_20 (ST_No, DP_No, DP_Name) VALUES (1," + std::to_string(dp) + ",'Dept" +
                  std::to_string(dp) + "')");
    }
    void group(int dp, int mg) {
        db().exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No, MG_Name) VALUES (1," + std::to_string(dp) + "," +
                  std::to_string(mg) + ",'Group" + std::to_string(mg) + "')");
    }
    // The data view of store 1, rebuilt from the tables.
    void dataView() { g.w().button("cmdData")->click(); }
    void storeView() { g.w().button("cmdStore")->click(); }

    QString cell(int row, int col) {
        return view()->model()->data(view()->model()->index(row, col)).toString();
    }
    std::vector<int64_t> shownNumbers() {
        std::vector<int64_t> out;
        for (int r = 0; r < view()->model()->rowCount(); ++r) out.push_back(cell(r, 1).toLongLong());
        return out;
    }
    int64_t currentNumber() { return list().currentRow() < 0 ? -1 : cell(list().currentRow(), 1).toLongLong(); }
    int marked(const std::string& where = "1=1") { return g.count("select * from KVR_25 where Is_Selected<>0 and " + where); }
    void press(QWidget* w, Qt::Key key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QTest::keyClick(w, key, mods);
    }
};

using V = std::vector<int64_t>;

}  // namespace

TEST_F(Gui, EachNodeKindListsItsPlusInNumberOrder) {
    Chain c;
    c.dept(5);
    c.group(5, 11);
    c.group(5, 12);
    c.dept(6);  // no main groups
    c.group(97, 13);
    c.db().exec("INSERT INTO SEARCH (ST_No, SH_No, SH_Name, MG_No1, MG_No2, PLU_No1, PLU_No2, PLU_UPrice1, PLU_UPrice2) "
                "VALUES (1, 1, 'Cheap', 0, 12, 0, 999999, 0, 150)");
    c.plu(1, 40, 11, "Apples", 1234, 1, "4711");
    c.plu(1, 10, 12, "Pears", 5);
    c.plu(1, 30, 0, "Loose goods", 99);
    c.plu(1, 20, 13, "Bread", 250);
    c.plu(2, 15, 11, "Other store", 1);

    // Store view: the store lists all of its PLUs.
    c.storeView();
    c.g.select("STORE 1");
    EXPECT_EQ(c.shownNumbers(), (V{10, 20, 30, 40}));
    EXPECT_EQ(c.list().query(), "Select * from KVR_25 Where ST_No =1 ORDER BY PLU_No");
    // Columns: running number, PLU, item code, name, price scaled, the mark.
    auto* m = c.view()->model();
    for (int i = 0; i < 6; ++i) {
        static const char* keys[] = {"MainGrdNo", "MainGrdPLU", "MainGrdItem", "MainGrdName", "MainGrdUP", "MainGrdSelected"};
        EXPECT_EQ(m->headerData(i, Qt::Horizontal).toString().toStdString(), c.g.text("frmMain_flexgrid", keys[i]));
    }
    EXPECT_EQ(c.cell(3, 0).toStdString(), "4");
    EXPECT_EQ(c.cell(3, 2).toStdString(), "4711");
    EXPECT_EQ(c.cell(3, 3).toStdString(), "Apples");
    EXPECT_EQ(c.cell(3, 4).toStdString(), "12.34");
    EXPECT_EQ(c.cell(0, 4).toStdString(), "0.05");
    EXPECT_EQ(c.cell(3, 5).toStdString(), "*");
    EXPECT_EQ(c.cell(0, 5).toStdString(), "");
    // The first row is current, and it is RsPLU's current row.
    EXPECT_EQ(c.list().currentRow(), 0);
    EXPECT_EQ(c.g.state().RsPLU->intValue("PLU_No"), 10);

    c.dataView();
    c.g.select(store::deptKey(1, 5));
    EXPECT_EQ(c.shownNumbers(), (V{10, 40}));
    // A department without main groups: main group 0 only.
    c.g.select(store::deptKey(1, 6));
    EXPECT_EQ(c.shownNumbers(), (V{30}));
    c.g.select(store::mainGroupKey(1, 97, 13));
    EXPECT_EQ(c.shownNumbers(), (V{20}));
    c.g.select(store::searchKey(1, 1));
    EXPECT_EQ(c.shownNumbers(), (V{10, 30}));
    EXPECT_NE(c.list().query().find("(PLU_UPrice >=0 and PLU_UPrice <=150)"), std::string::npos);
    // With a comma as the sign the price reads so.
    c.g.state().settings.RunDecimalSign = ",";
    EXPECT_EQ(c.cell(0, 4).toStdString(), "0,05");
}

TEST_F(Gui, UpAndDownStopAtBothEndsAndCancelKeepsTheRow) {
    Chain c;
    for (int i = 1; i <= 3; ++i) c.plu(1, i, 0, "P" + std::to_string(i));
    c.storeView();
    c.g.select("STORE 1");
    QSignalSpy shown(&c.list(), &PluList::currentPluChanged);
    ASSERT_EQ(c.currentNumber(), 1);
    EXPECT_FALSE(c.g.enabled("cmdUp"));  // nothing above the first row
    EXPECT_TRUE(c.g.enabled("cmdDown"));
    // cmdUp on the first row stays on it, and the editor is shown the row again.
    c.list().cmdUp();
    EXPECT_EQ(c.currentNumber(), 1);
    EXPECT_EQ(shown.count(), 1);
    EXPECT_EQ(shown.back().at(0).toLongLong(), c.list().currentRowId());

    c.w().button("cmdDown")->click();
    EXPECT_EQ(c.currentNumber(), 2);
    EXPECT_EQ(c.g.state().RsPLU->intValue("PLU_No"), 2);
    EXPECT_EQ(c.g.state().RsPLU->absolutePosition(), c.list().currentPosition());

    // A changed PLU: Cancel in askSavePLU leaves the grid where it was.
    c.g.state().pluChanged = true;
    {
        Answer cancel(MsgResult::Cancel);
        c.w().button("cmdDown")->click();
        c.w().button("cmdUp")->click();
        // A click on another row of the grid goes back too.
        c.view()->setCurrentIndex(c.view()->model()->index(0, 1));
        EXPECT_EQ(cancel.asked.size(), 3u);
        EXPECT_EQ(cancel.asked.front(), c.g.text("msgbox", "updatePLU"));
    }
    EXPECT_EQ(c.currentNumber(), 2);
    EXPECT_EQ(c.view()->currentIndex().row(), 1);
    EXPECT_EQ(c.g.state().RsPLU->intValue("PLU_No"), 2);
    EXPECT_TRUE(c.g.state().pluChanged);
    {
        Answer no(MsgResult::No);
        c.w().button("cmdDown")->click();
    }
    EXPECT_EQ(c.currentNumber(), 3);
    EXPECT_FALSE(c.g.state().pluChanged);
    EXPECT_FALSE(c.g.enabled("cmdDown"));
    c.list().cmdDown();
    EXPECT_EQ(c.currentNumber(), 3);
    // The keyboard in the grid moves the row too.
    c.view()->setFocus();
    c.press(c.view(), Qt::Key_Up);
    EXPECT_EQ(c.currentNumber(), 2);
}

TEST_F(Gui, SelectClearAndToggleWriteTheMarks) {
    Chain c;
    for (int i = 1; i <= 4; ++i) c.plu(1, i, 0, "P" + std::to_string(i));
    c.plu(2, 9, 0, "Elsewhere");
    c.storeView();
    c.g.select("STORE 1");
    EXPECT_FALSE(c.g.enabled("cmdClearAll"));  // nothing marked: clearing would do nothing
    EXPECT_TRUE(c.g.enabled("cmdSelectAll"));
    // A command that sends the marked rows, once its flow is there, follows the marks.
    c.w().setHandler("cmdSendAll", [] {});
    c.list().checkSelection();
    EXPECT_FALSE(c.g.enabled("cmdSendAll"));
    c.w().button("cmdSelectAll")->click();
    EXPECT_TRUE(c.g.enabled("cmdSendAll"));
    EXPECT_EQ(c.marked(), 4);
    EXPECT_EQ(c.marked("ST_No=2"), 0);
    EXPECT_EQ(c.cell(2, 5).toStdString(), "*");
    EXPECT_FALSE(c.g.enabled("cmdSelectAll"));
    EXPECT_TRUE(c.g.enabled("cmdClearAll"));
    EXPECT_TRUE(c.list().checkSelection());

    c.w().button("cmdClearAll")->click();
    EXPECT_EQ(c.marked(), 0);
    EXPECT_EQ(c.cell(2, 5).toStdString(), "");
    EXPECT_FALSE(c.g.enabled("cmdSendAll"));
    EXPECT_FALSE(c.list().checkSelection());

    // Space in the grid flips the current row; a click in the mark column does too.
    c.view()->setFocus();
    c.press(c.view(), Qt::Key_Space);
    EXPECT_EQ(c.marked("PLU_No=1"), 1);
    EXPECT_EQ(c.cell(0, 5).toStdString(), "*");
    c.press(c.view(), Qt::Key_Space);
    EXPECT_EQ(c.marked(), 0);
    c.w().show();
    const QRect r = c.view()->visualRect(c.view()->model()->index(2, 5));
    QTest::mouseClick(c.view()->viewport(), Qt::LeftButton, {}, r.center());
    EXPECT_EQ(c.currentNumber(), 3);
    EXPECT_EQ(c.marked("PLU_No=3"), 1);
    EXPECT_EQ(c.marked(), 1);
    EXPECT_TRUE(c.g.enabled("cmdClearAll"));

    // Cancel in askSavePLU stops select all.
    c.g.state().pluChanged = true;
    {
        Answer cancel(MsgResult::Cancel);
        c.w().button("cmdSelectAll")->click();
    }
    EXPECT_EQ(c.marked(), 1);
}

TEST_F(Gui, ClearAllOnAnEmptyListChangesNothingAndLeavesTheCommandsOff) {
    Chain c;
    c.dept(6);
    c.plu(1, 1, 5, "Marked elsewhere", 1, 1);
    c.dataView();
    c.g.select(store::deptKey(1, 6));
    ASSERT_EQ(c.list().shownCount(), 0);
    c.list().cmdClearAll();
    EXPECT_EQ(c.marked(), 1);
    for (const char* name : {"cmdUp", "cmdDown", "cmdSelectAll", "cmdClearAll", "cmdDelAll", "cmdDlelte", "cmdCopy"})
        EXPECT_FALSE(c.g.enabled(name)) << name;
    EXPECT_EQ(c.list().currentRowId(), 0);
}

TEST_F(Gui, DeleteOneAndAllOfTheList) {
    Chain c;
    for (int i = 1; i <= 5; ++i) c.plu(1, i, i <= 3 ? 0 : 7, "P" + std::to_string(i));
    c.storeView();
    c.g.select("STORE 1");
    c.list().moveTo(1);
    {
        Answer no(MsgResult::No);
        c.w().button("cmdDlelte")->click();
        EXPECT_EQ(no.asked, std::vector<std::string>{c.g.text("msgbox", "delPLU")});
    }
    EXPECT_EQ(c.g.count("KVR_25"), 5);
    c.w().button("cmdDlelte")->click();  // Yes
    EXPECT_EQ(c.shownNumbers(), (V{1, 3, 4, 5}));
    EXPECT_EQ(c.currentNumber(), 3);  // the row after it
    EXPECT_EQ(c.g.state().RsPLU->intValue("PLU_No"), 3);

    // Delete all: only the rows of the list, here those of a department without groups.
    c.dept(6);
    c.dataView();
    c.g.select(store::deptKey(1, 6));
    ASSERT_EQ(c.shownNumbers(), (V{1, 3}));
    {
        Answer no(MsgResult::No);
        c.w().button("cmdDelAll")->click();
        EXPECT_EQ(no.asked, std::vector<std::string>{c.g.text("msgbox", "delAllPLU")});
    }
    EXPECT_EQ(c.g.count("KVR_25"), 4);
    c.w().button("cmdDelAll")->click();
    EXPECT_EQ(c.list().shownCount(), 0);
    EXPECT_EQ(c.g.count("KVR_25"), 2);
    EXPECT_FALSE(c.g.enabled("cmdDelAll"));
    EXPECT_TRUE(c.view()->isEnabled());
}

TEST_F(Gui, AFailedWriteNamesThePluAndKeepsEveryRow) {
    Chain c;
    for (int i = 1; i <= 3; ++i) c.plu(1, 70 + i, 0, "P" + std::to_string(i));
    c.storeView();
    c.g.select("STORE 1");
    c.list().moveTo(1);
    // The file cannot be written any more (as with a full disk or a read-only file).
    c.db().exec("PRAGMA query_only=1");
    clearMessages();
    c.w().button("cmdDlelte")->click();
    auto shown = messagesShown();
    ASSERT_EQ(shown.size(), 2u);  // the question, then the failure
    EXPECT_NE(shown[1].find("PLU 72"), std::string::npos) << shown[1];
    EXPECT_NE(shown[1].find("readonly"), std::string::npos) << shown[1];
    EXPECT_EQ(c.shownNumbers(), (V{71, 72, 73}));
    EXPECT_EQ(c.currentNumber(), 72);

    clearMessages();
    c.w().button("cmdDelAll")->click();
    shown = messagesShown();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_NE(shown[1].find("PLU 71"), std::string::npos) << shown[1];
    EXPECT_EQ(c.g.count("KVR_25"), 3);
    EXPECT_TRUE(c.view()->isEnabled());

    clearMessages();
    c.w().button("cmdSelectAll")->click();
    shown = messagesShown();
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find("PLU 71"), std::string::npos) << shown[0];
    EXPECT_EQ(c.marked(), 0);
    EXPECT_EQ(c.cell(0, 5).toStdString(), "");
    c.db().exec("PRAGMA query_only=0");
    c.w().button("cmdSelectAll")->click();
    EXPECT_EQ(c.marked(), 3);
}

TEST_F(Gui, CopyLooksUpTheTypedNumberInTheStore) {
    Chain c;
    c.plu(1, 5, 0, "Source");
    c.plu(2, 6, 0, "Other store");
    c.storeView();
    c.g.select("STORE 1");
    auto* number = c.w().findChild<QLineEdit*>("meditPLU");
    ASSERT_NE(number, nullptr);
    number->setEnabled(true);
    number->setText("6");  // a PLU of another store
    clearMessages();
    c.w().button("cmdCopy")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("6"), std::string::npos);
    EXPECT_EQ(messagesShown()[0], QString::fromStdString(c.g.text("msgbox", "copyNoPLU")).arg(6).toStdString());
    EXPECT_FALSE(c.list().copyFlag());
    EXPECT_EQ(c.g.count("KVR_25"), 2);

    number->setText("5");
    clearMessages();
    c.w().show();
    c.w().activateWindow();
    c.w().button("cmdCopy")->click();
    EXPECT_TRUE(messagesShown().empty());
    EXPECT_TRUE(c.list().copyFlag());
    EXPECT_EQ(c.list().copySourceRowId(), 1);
    EXPECT_EQ(number->text().toStdString(), "5");  // the controls stay filled
    EXPECT_EQ(number->selectedText().toStdString(), "5");
    EXPECT_EQ(c.g.count("KVR_25"), 2);
    // A new list drops it.
    c.list().refreshPLUList();
    EXPECT_TRUE(c.list().copyFlag());
    c.g.select("STORE 1");
    c.list().fillPLUList(plu::NodeStore, 1, 0);
    EXPECT_FALSE(c.list().copyFlag());
}

TEST_F(Gui, RefreshReconnectsAndShowsWhatAnotherClientWrote) {
    Chain c;
    c.plu(1, 1, 0, "One");
    c.plu(1, 3, 0, "Three");
    c.storeView();
    c.g.select("STORE 1");
    c.list().moveTo(1);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(c.g.state().databasePath().c_str(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "INSERT INTO KVR_25 (ST_No, PLU_No, PLU_MG, PLU_CommodityFirst) VALUES (1, 2, 0, 'Two')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(other);
    c.w().button("cmdReflesh")->click();
    EXPECT_EQ(c.shownNumbers(), (V{1, 2, 3}));
    EXPECT_EQ(c.currentNumber(), 3);  // the same PLU stays current
    EXPECT_EQ(c.cell(1, 3).toStdString(), "Two");
}

TEST_F(Gui, FindGoesToANumberOrNarrowsByName) {
    Chain c;
    c.plu(1, 10, 0, "Green apples", 100, 1);
    c.plu(1, 20, 0, "Pears");
    c.plu(1, 30, 0, "APPLE juice");
    c.plu(1, 40, 0, "Bananas");
    c.plu(1, 55, 0, "Crab apple jelly");
    c.storeView();
    c.g.select("STORE 1");
    c.w().show();
    c.w().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&c.w(), 2000));
    QLineEdit* find = c.w().findChild<QLineEdit*>("txtFind");
    ASSERT_NE(find, nullptr);
    auto* state = c.w().findChild<QLabel*>("lblFindState");
    ASSERT_NE(state, nullptr);
    EXPECT_FALSE(state->isVisible());
    // Ctrl+F puts the cursor into the find box.
    c.view()->setFocus();
    c.press(c.view(), Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(find->hasFocus());
    EXPECT_NE(find->toolTip().toStdString().find("Ctrl+F"), std::string::npos);

    // Digits: the first PLU at or above the number; the list stays whole.
    QTest::keyClicks(find, "31");
    EXPECT_EQ(c.currentNumber(), 40);
    EXPECT_EQ(c.list().shownCount(), 5);
    EXPECT_FALSE(c.list().narrowed());
    find->clear();
    QTest::keyClicks(find, "30");
    EXPECT_EQ(c.currentNumber(), 30);
    find->clear();
    QTest::keyClicks(find, "99");
    EXPECT_EQ(c.currentNumber(), 55);  // nothing above: the last one

    // Text: only the names that hold it, any case, still in number order.
    find->clear();
    QTest::keyClicks(find, "apple");
    EXPECT_TRUE(c.list().narrowed());
    EXPECT_EQ(c.shownNumbers(), (V{10, 30, 55}));
    EXPECT_EQ(c.cell(1, 0).toStdString(), "2");
    EXPECT_TRUE(state->isVisible());
    EXPECT_EQ(state->text(),
              QString::fromStdString(c.g.text("frmMain_flexgrid", "MainFindNarrowed")).arg("apple").arg(3).arg(5).arg(1));
    // Every command acts on the rows shown.
    c.w().button("cmdSelectAll")->click();
    EXPECT_EQ(c.marked(), 3);
    EXPECT_EQ(c.marked("PLU_No IN (20, 40)"), 0);
    EXPECT_EQ(state->text(),
              QString::fromStdString(c.g.text("frmMain_flexgrid", "MainFindNarrowed")).arg("apple").arg(3).arg(5).arg(3));
    c.list().moveTo(2);
    c.w().button("cmdDown")->click();
    EXPECT_EQ(c.currentNumber(), 55);
    EXPECT_FALSE(c.g.enabled("cmdDown"));
    c.w().button("cmdClearAll")->click();
    EXPECT_EQ(c.marked(), 0);
    c.list().moveTo(0);
    c.w().button("cmdDlelte")->click();
    EXPECT_EQ(c.shownNumbers(), (V{30, 55}));
    c.w().button("cmdDelAll")->click();
    EXPECT_EQ(c.list().shownCount(), 0);
    EXPECT_EQ(c.g.count("KVR_25"), 2);

    // Escape clears: the whole list again, exactly as without the find.
    find->setFocus();
    c.press(find, Qt::Key_Escape);
    EXPECT_TRUE(find->text().isEmpty());
    EXPECT_FALSE(c.list().narrowed());
    EXPECT_FALSE(state->isVisible());
    EXPECT_EQ(c.shownNumbers(), (V{20, 40}));
    EXPECT_EQ(c.list().query(), "Select * from KVR_25 Where ST_No =1 ORDER BY PLU_No");

    // A changed PLU: Cancel keeps the find text and the row.
    QTest::keyClicks(find, "ban");
    EXPECT_EQ(c.shownNumbers(), (V{40}));
    c.g.state().pluChanged = true;
    {
        Answer cancel(MsgResult::Cancel);
        QTest::keyClick(find, Qt::Key_Backspace);
        c.press(find, Qt::Key_Escape);
    }
    EXPECT_EQ(find->text().toStdString(), "ban");
    EXPECT_EQ(c.shownNumbers(), (V{40}));
}

TEST_F(Gui, TheViewReadsOnlyTheRowsOnScreen) {
    Chain c;
    {
        store::Transaction tx(c.db());
        for (int i = 1; i <= 20000; ++i) c.plu(1, i, 0, "Item " + std::to_string(i), i);
        tx.commit();
    }
    c.w().show();
    c.storeView();
    c.g.select("STORE 1");
    c.view()->viewport()->repaint();
    ASSERT_EQ(c.list().shownCount(), 20000);
    EXPECT_GT(c.list().model()->rowsRead(), 0);
    EXPECT_LT(c.list().model()->rowsRead(), 200);
    // The end of the list is read when it is shown, and only then.
    c.list().moveTo(19999);
    c.view()->viewport()->repaint();
    EXPECT_EQ(c.cell(19999, 3).toStdString(), "Item 20000");
    EXPECT_LT(c.list().model()->rowsRead(), 400);
}

TEST_F(Gui, AfterTheEndTheListIsEmptyRatherThanReadingAClosedDatabase) {
    Chain c;
    for (int i = 1; i <= 3; ++i) c.plu(1, i, 0, "P" + std::to_string(i));
    c.storeView();
    c.g.select("STORE 1");
    c.w().show();
    ASSERT_EQ(c.view()->model()->rowCount(), 3);
    c.g.end();
    ASSERT_EQ(c.g.state().Conn, nullptr);
    EXPECT_EQ(c.view()->model()->rowCount(), 0);
    EXPECT_FALSE(c.view()->model()->data(c.view()->model()->index(0, 3)).isValid());
    c.view()->viewport()->repaint();
    EXPECT_EQ(c.list().currentRowId(), 0);
}
