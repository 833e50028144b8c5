// frmUpload in the real program, offscreen, driven by its control names.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include "gui_support.h"
#include "plu/ui/plu_editor_window.h"
#include "transfer/ui/upload_window.h"
#include "upload_records.h"

using namespace brindale;
using namespace brindale::testing;
using transfer::ui::UploadWindow;

namespace {

struct UploadGui : ::testing::Test {
    GuiApp g;
    std::unique_ptr<UploadWindow> w;

    void SetUp() override {
        answerYes();
        clearMessages();
        firstStore(g, "Main street");
        if (HasFatalFailure()) return;
        g.select("STORE 1");
    }
    void TearDown() override {
        w.reset();
        g.state().pluChanged = false;
    }
    store::Database& db() { return *g.state().Conn; }
    void fetched(int64_t plu, int64_t price, const std::string& name, int64_t mg = 997) {
        auto rec = pluRecord(g.state().codecEnvironment(), plu, price, name, mg);
        ASSERT_FALSE(rec.empty());
        putFetched(db(), rec);
    }
    void department(int64_t st, int64_t dp, std::vector<int64_t> groups) {
        db().exec("INSERT INTO KVR_20 (ST_No, DP_No) VALUES (" + std::to_string(st) + "," + std::to_string(dp) + ")");
        for (int64_t mg : groups)
            db().exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No) VALUES (" + std::to_string(st) + "," +
                      std::to_string(dp) + "," + std::to_string(mg) + ")");
    }
    void open() {
        w = std::make_unique<UploadWindow>(g.state(), &g.w());
        w->ShowPluData();
        w->show();
        QApplication::processEvents();
    }
    template <class T>
    T* c(const char* name) {
        auto* x = w->findChild<T*>(name);
        EXPECT_NE(x, nullptr) << name;
        return x;
    }
    QTableView* grid() { return c<QTableView>("GridPLUUpload"); }
    QString cell(int row, int col) { return grid()->model()->index(row, col).data().toString(); }
    void clickCell(int row, int col) {
        const QRect r = grid()->visualRect(grid()->model()->index(row, col));
        ASSERT_TRUE(r.isValid()) << row << "," << col;
        QTest::mouseClick(grid()->viewport(), Qt::LeftButton, {}, r.center());
    }
    QString editorText(const char* name) {
        auto* e = qobject_cast<QLineEdit*>(w->editor()->control(name));
        EXPECT_NE(e, nullptr) << name;
        return e ? e->text() : QString();
    }
    int64_t scalar(const std::string& sql) {
        auto st = db().prepare(sql);
        return st->step() ? st->columnInt(0) : -1;
    }
    QString ui(const char* key) { return QString::fromStdString(g.text("frm_OTHER", key)); }
    std::string lastMessage() { return messagesShown().empty() ? std::string() : messagesShown().back(); }
};

TEST_F(UploadGui, ControlsCarryTheirNamesAndCaptions) {
    fetched(1, 100, "One");
    open();
    for (const char* n : {"cmdTransfer", "cmdClose", "lblSTno", "lblDPno", "lblMGno", "lblloading", "chkSamePLU", "combST",
                          "combDP", "combMG", "Bar", "GridPLUUpload"})
        EXPECT_NE(w->findChild<QWidget*>(n), nullptr) << n;
    ASSERT_NE(w->findChild<plu::ui::PluEditor*>("SSTabPLUupload"), nullptr);
    EXPECT_EQ(w->objectName(), "frmUpload");
    EXPECT_EQ(w->windowTitle(), ui("upTitle"));
    EXPECT_EQ(c<QPushButton>("cmdTransfer")->text(), ui("upTransfer"));
    EXPECT_EQ(c<QPushButton>("cmdClose")->text(), ui("upClose"));
    EXPECT_EQ(c<QLabel>("lblSTno")->text(), ui("upSTNum"));
    EXPECT_EQ(c<QLabel>("lblDPno")->text(), ui("upDPNum"));
    EXPECT_EQ(c<QLabel>("lblMGno")->text(), ui("upMGNum"));
    EXPECT_EQ(c<QLabel>("lblloading")->text(), ui("loading"));
    EXPECT_EQ(c<QCheckBox>("chkSamePLU")->text(), ui("upOverride"));
    auto* m = grid()->model();
    ASSERT_EQ(m->columnCount(), 7);
    EXPECT_EQ(m->headerData(0, Qt::Horizontal).toString(), "");
    EXPECT_EQ(m->headerData(1, Qt::Horizontal).toString(), QString::fromStdString(g.text("frmMain_flexgrid", "MainGrdNo")));
    EXPECT_EQ(m->headerData(4, Qt::Horizontal).toString(), QString::fromStdString(g.text("frmMain_flexgrid", "MainGrdName")));
    EXPECT_EQ(m->headerData(6, Qt::Horizontal).toString(), "S");
    EXPECT_EQ(w->editor()->tabText(0), QString::fromStdString(g.text("frmMain_sstab", "MainTab0")));
}

TEST_F(UploadGui, GridListsDecodedRecordsByNumberAndTheTabsShowTheFirst) {
    g.state().settings.PriceDecimals = 2;
    fetched(30, 1299, "Pears");
    fetched(10, 250, "Apples");
    fetched(20, 5, "Plums");
    open();
    EXPECT_FALSE(c<QLabel>("lblloading")->isVisible());
    EXPECT_TRUE(grid()->isVisible());
    ASSERT_EQ(grid()->model()->rowCount(), 3);
    EXPECT_EQ(cell(0, 0), "*");
    EXPECT_EQ(cell(1, 0), "");
    EXPECT_EQ(cell(0, 1), "1");
    EXPECT_EQ(cell(2, 1), "3");
    EXPECT_EQ(cell(0, 2), "10");
    EXPECT_EQ(cell(1, 2), "20");
    EXPECT_EQ(cell(0, 4), "Apples");
    EXPECT_EQ(cell(0, 5), "2.50");
    EXPECT_EQ(cell(1, 5), "0.05");
    EXPECT_EQ(cell(0, 6), "");
    EXPECT_EQ(editorText("meditPLU"), "10");
    EXPECT_TRUE(w->editor()->isReadOnly());
    EXPECT_FALSE(c<QPushButton>("cmdTransfer")->isEnabled());
    EXPECT_TRUE(c<QPushButton>("cmdClose")->isEnabled());
}

TEST_F(UploadGui, ClickAndArrowKeysMoveTheShownRowAndColumnSixTogglesTheMark) {
    fetched(1, 100, "One");
    fetched(2, 200, "Two");
    fetched(3, 300, "Three");
    open();
    clickCell(2, 4);
    EXPECT_EQ(cell(2, 0), "*");
    EXPECT_EQ(cell(0, 0), "");
    EXPECT_EQ(editorText("meditPLU"), "3");

    clickCell(0, 6);  // marks row 1, the tabs stay on row 3
    EXPECT_EQ(cell(0, 6), "*");
    EXPECT_EQ(cell(2, 0), "*");
    EXPECT_EQ(cell(0, 0), "");
    EXPECT_EQ(editorText("meditPLU"), "3");
    EXPECT_TRUE(c<QPushButton>("cmdTransfer")->isEnabled());

    grid()->setFocus();
    QTest::keyClick(grid(), Qt::Key_Up);
    EXPECT_EQ(cell(1, 0), "*");
    EXPECT_EQ(editorText("meditPLU"), "2");
    QTest::keyClick(grid(), Qt::Key_Up);
    QTest::keyClick(grid(), Qt::Key_Up);  // stays on the first row
    EXPECT_EQ(cell(0, 0), "*");
    EXPECT_EQ(editorText("meditPLU"), "1");
    QTest::keyClick(grid(), Qt::Key_Down);
    EXPECT_EQ(cell(1, 0), "*");
    EXPECT_EQ(cell(0, 6), "*");  // the mark did not move
}

TEST_F(UploadGui, UnmarkingTheLastMarkDisablesTransferAtOnce) {
    fetched(1, 100, "One");
    fetched(2, 200, "Two");
    open();
    auto* t = c<QPushButton>("cmdTransfer");
    clickCell(0, 6);
    clickCell(1, 6);
    EXPECT_TRUE(t->isEnabled());
    clickCell(0, 6);
    EXPECT_TRUE(t->isEnabled());
    clickCell(1, 6);
    EXPECT_FALSE(t->isEnabled());
    EXPECT_EQ(w->reviewSet().markedCount(), 0);
}

TEST_F(UploadGui, UntickedSamePluIsLeftOutUnchangedAndTheCountsAreShown) {
    department(1, 1, {5});
    db().exec("INSERT INTO KVR_25 (ST_No, PLU_No, PLU_UPrice, PLU_MG) VALUES (1, 10, 111, 5)");
    fetched(10, 999, "Ten");
    fetched(20, 200, "Twenty");
    fetched(40, 400, "Forty");
    open();
    clickCell(0, 6);
    clickCell(1, 6);
    EXPECT_FALSE(c<QCheckBox>("chkSamePLU")->isChecked());
    clearMessages();
    c<QPushButton>("cmdTransfer")->click();
    const std::string m = lastMessage();
    EXPECT_EQ(m.rfind(ui("upTranOK").toStdString(), 0), 0u) << m;
    const std::string counts =
        ui("upTranCounts").arg(1).arg(0).arg(1).arg("(10)").arg(0).toStdString();
    EXPECT_NE(m.find(counts), std::string::npos) << m;
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE ST_No=1 AND PLU_No=10"), 111);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1"), 2);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE PLU_No=40"), 0);  // not marked
    // The marks stay; the commands are back.
    EXPECT_EQ(w->reviewSet().markedCount(), 2);
    EXPECT_TRUE(c<QPushButton>("cmdTransfer")->isEnabled());
    EXPECT_TRUE(c<QPushButton>("cmdClose")->isEnabled());
    EXPECT_FALSE(c<QProgressBar>("Bar")->isVisible());
    EXPECT_EQ(w->takenOver(), 1);
}

TEST_F(UploadGui, TickedSamePluOverwritesAndEveryTakenRecordIsReHomed) {
    department(1, 1, {5, 6});
    db().exec("INSERT INTO KVR_25 (ST_No, PLU_No, PLU_UPrice, PLU_MG) VALUES (1, 10, 111, 5)");
    fetched(10, 999, "Ten", 33);
    fetched(50, 500, "Fifty", 33);
    open();
    auto* mg = c<QComboBox>("combMG");
    ASSERT_EQ(mg->count(), 3);  // 997, 5, 6
    EXPECT_EQ(mg->itemText(0), "997");
    mg->setCurrentIndex(2);
    c<QCheckBox>("chkSamePLU")->setChecked(true);
    clickCell(0, 6);
    clickCell(1, 6);
    c<QPushButton>("cmdTransfer")->click();
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE ST_No=1"), 2);
    EXPECT_EQ(scalar("SELECT PLU_UPrice FROM KVR_25 WHERE ST_No=1 AND PLU_No=10"), 999);
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=10"), 6);
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=50"), 6);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=50"), 1);
    EXPECT_EQ(w->takenOver(), 2);
}

TEST_F(UploadGui, MainGroup997KeepsTheGroupFlagAsSent) {
    department(1, 1, {5});
    fetched(60, 600, "Loose", 997);
    open();
    EXPECT_EQ(c<QComboBox>("combMG")->currentText(), "997");
    clickCell(0, 6);
    c<QPushButton>("cmdTransfer")->click();
    EXPECT_EQ(scalar("SELECT PLU_MG FROM KVR_25 WHERE PLU_No=60"), 997);
    EXPECT_EQ(scalar("SELECT Stat2_MGCode FROM KVR_25 WHERE PLU_No=60"), 0);
    EXPECT_EQ(scalar("SELECT ST_No FROM KVR_25 WHERE PLU_No=60"), 1);
}

TEST_F(UploadGui, EmptyStoreOrMainGroupListIsNamedAndNothingIsTaken) {
    db().exec("INSERT INTO STORE (ST_No, ST_Name) VALUES (2, 'Bare')");
    fetched(1, 100, "One");
    open();
    c<QComboBox>("combST")->setCurrentText("2");  // no department: no main group to choose
    EXPECT_EQ(c<QComboBox>("combST")->currentText(), "2");
    EXPECT_EQ(c<QComboBox>("combDP")->count(), 0);
    EXPECT_EQ(c<QComboBox>("combMG")->count(), 0);
    clickCell(0, 6);
    clearMessages();
    c<QPushButton>("cmdTransfer")->click();
    EXPECT_NE(lastMessage().find("combMG"), std::string::npos) << lastMessage();
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25"), 0);

    c<QComboBox>("combST")->setCurrentIndex(-1);
    clearMessages();
    c<QPushButton>("cmdTransfer")->click();
    EXPECT_NE(lastMessage().find("combST"), std::string::npos) << lastMessage();
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25"), 0);
    EXPECT_TRUE(c<QPushButton>("cmdTransfer")->isEnabled());
}

TEST_F(UploadGui, DatabaseFailureMidwayKeepsNothingAndNamesThePlu) {
    department(1, 1, {});
    for (int64_t plu : {11, 12, 13, 14}) fetched(plu, plu, "P");
    db().exec("CREATE TABLE seen(n INTEGER)");
    db().exec("CREATE TRIGGER third AFTER INSERT ON KVR_25 BEGIN INSERT INTO seen VALUES (1); "
              "SELECT RAISE(ABORT, 'disk says no') WHERE (SELECT count(*) FROM seen) = 3; END");
    open();
    for (int r = 0; r < 4; ++r) clickCell(r, 6);
    clearMessages();
    c<QPushButton>("cmdTransfer")->click();
    const std::string expected = ui("upTranFailed").arg(13).arg("disk says no").toStdString();
    EXPECT_EQ(lastMessage(), expected);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25"), 0);
    EXPECT_EQ(w->takenOver(), 0);
    EXPECT_TRUE(c<QPushButton>("cmdClose")->isEnabled());
}

TEST_F(UploadGui, UnreadableRecordsAreCountedListedAndNotInTheGrid) {
    fetched(1, 100, "One");
    auto bad = pluRecord(g.state().codecEnvironment(), 2, 100, "Bad");
    bad[12] = 0x3A;
    putFetched(db(), bad);
    putFetched(db(), {}, false);
    fetched(4, 400, "Four");
    open();
    EXPECT_EQ(grid()->model()->rowCount(), 2);
    auto* l = c<QLabel>("lblUnreadable");
    EXPECT_TRUE(l->isVisible());
    EXPECT_EQ(l->text(), ui("upUnreadable").arg(2).arg(4));
    auto* list = c<QListWidget>("lstUnreadable");
    ASSERT_EQ(list->count(), 2);
    EXPECT_TRUE(list->item(0)->text().startsWith(ui("upUnreadableLine").arg(2).arg(2).arg("")));
    EXPECT_TRUE(list->item(0)->text().contains("PLU_UPrice")) << list->item(0)->text().toStdString();
    EXPECT_EQ(list->item(1)->text(), ui("upUnreadableLine").arg(3).arg(0).arg("no record"));

    // The count comes again after a take-over.
    department(1, 1, {});
    w.reset();
    open();
    clickCell(0, 6);
    clearMessages();
    c<QPushButton>("cmdTransfer")->click();
    EXPECT_NE(lastMessage().find(ui("upTranCounts").arg(1).arg(0).arg(0).arg("").arg(2).toStdString()), std::string::npos)
        << lastMessage();
}

TEST_F(UploadGui, TabsFollowTheSettingsAndFillTheirLists) {
    g.state().settings.PriceDecimals = 2;
    fetched(7, 1234, "Seven");
    putFetched(db(), pluRecord(g.state().codecEnvironment(), 8, 80, "Eight", 997, 0, true));
    open();
    EXPECT_EQ(editorText("meditUPrice"), "12.34");
    g.state().settings.PriceDecimals = 1;
    w->chgByPointUpload();
    EXPECT_EQ(editorText("meditUPrice"), "123.4");
    EXPECT_EQ(cell(0, 5), "123.4");

    auto* symbol = qobject_cast<QComboBox*>(w->editor()->control("combSymbol"));
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(w->combSymbolChgListUpload(), 2);  // weighed: Wkg, W100g
    EXPECT_EQ(symbol->itemText(0), QString::fromStdString(g.text("SSTab_Symbol", "Wkg")));
    w->clickGrid(1, 2);  // the counted PLU 8
    EXPECT_EQ(w->combSymbolChgListUpload(), 13);  // NWnone .. NWoz and six unused
    EXPECT_EQ(symbol->itemText(0), QString::fromStdString(g.text("SSTab_Symbol", "NWnone")));
    EXPECT_GT(w->addBarcodeFormatupload(), 1);

    EXPECT_EQ(w->chgSSTabPLU(2), 2);
    EXPECT_EQ(w->editor()->currentIndex(), 2);
    EXPECT_EQ(w->chgSSTabPLU(99), 2);
    w->iniSSTabPLUupload();
    EXPECT_EQ(w->editor()->tabText(1), QString::fromStdString(g.text("frmMain_sstab", "MainTab1")));
}

TEST_F(UploadGui, ReviewUploadedOpensTheWindowModallyAndReturnsTheRecordsTaken) {
    department(1, 1, {});
    fetched(5, 500, "Five");
    bool acted = false;
    ModalDriver driver("frmUpload", [&](QDialog* d) {
        auto* up = qobject_cast<UploadWindow*>(d);
        ASSERT_NE(up, nullptr);
        if (up->model()->rowCount() == 0) up->ShowPluData();
        up->clickGrid(0, 6);
        d->findChild<QPushButton*>("cmdTransfer")->click();
        d->findChild<QPushButton*>("cmdClose")->click();
        acted = true;
    });
    const int taken = transfer::ui::reviewUploaded(g.state(), &g.w());
    EXPECT_TRUE(driver.seen());
    EXPECT_TRUE(acted);
    EXPECT_EQ(taken, 1);
    EXPECT_EQ(scalar("SELECT count(*) FROM KVR_25 WHERE PLU_No=5"), 1);
    EXPECT_EQ(scalar("SELECT count(*) FROM RC_25"), 1);  // emptying it is the caller's
}


TEST_F(UploadGui, ARowThatCannotBeReadWhilePaintingShowsNothingReadAndNothingFails) {
    fetched(1, 100, "One");
    fetched(2, 200, "Two");
    open();
    EXPECT_EQ(cell(1, 4), "Two");
    db().exec("ALTER TABLE RC_25 RENAME TO RC_25_away");
    w->model()->reload();  // forget what was read
    EXPECT_EQ(cell(1, 2), "0");
    EXPECT_EQ(cell(1, 4), "");
    EXPECT_EQ(cell(1, 1), "2");  // the running number needs no read
    grid()->viewport()->repaint();
    db().exec("ALTER TABLE RC_25_away RENAME TO RC_25");
}

}  // namespace
