// The PLU editor SSTabPLU in the real program, offscreen, by control name.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLineEdit>
#include <QShortcut>
#include <QTableWidget>
#include <QTest>

#include "editor_fixture.h"
#include "gui_support.h"
#include "plu/plu_format.h"
#include "plu/ui/plu_editor_window.h"
#include "scalefiles/ui/string_edit.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

using EditorGui = brindale::testing::EditorFixture;

TEST_F(EditorGui, EveryControlOfTheTableIsThereUnderItsNameOnItsPage) {
    for (const auto& info : plu::pluControls()) {
        QWidget* w = ed->control(info.name);
        ASSERT_NE(w, nullptr) << info.name;
        const int page = QString(info.page).mid(7).toInt();
        const int index = page == 8 ? 4 : page;
        EXPECT_TRUE(ed->widget(index)->isAncestorOf(w)) << info.name << " not on " << info.page;
    }
    for (const char* gone : {"combDepartment", "combBarFormat", "combBarType"})
        EXPECT_EQ(g.w().findChild<QWidget*>(gone), nullptr) << gone;
    EXPECT_EQ(ed->tabText(0).toStdString(), g.text("frmMain_sstab", "MainTab0"));
    EXPECT_EQ(ed->tabText(4).toStdString(), g.text("frmMain_sstab", "MainTab8"));
}

TEST_F(EditorGui, NewTypedSavedAndShownAgainOnEveryPage) {
    ASSERT_TRUE(g.enabled("cmdNew"));
    EXPECT_FALSE(g.enabled("cmdEdit"));
    g.w().button("cmdNew")->click();
    EXPECT_TRUE(ed->isNewRow());
    EXPECT_EQ(text("meditPLU"), "1");  // the first number of an empty store
    EXPECT_TRUE(g.enabled("cmdUpdate"));
    // MainTab0
    type("meditPLU", "4711");
    type("meditUPrice", "12.34");
    type("meditCost", "5.5");
    type("meditTare", "0.015");
    type("meditQty", "3");
    c<QCheckBox>("chkWeighed")->setChecked(false);
    c<QComboBox>("combSymbol")->setCurrentIndex(2);
    type("meditCoupledPLU", "77");
    type("meditTemp1", "-5");
    type("meditTemp2", "8");
    c<QCheckBox>("chkUPoverride")->setChecked(true);
    c<QCheckBox>("chknegativePLU")->setChecked(true);
    // MainTab1
    c<QComboBox>("combLabelFormat1")->setCurrentIndex(0);
    c<QComboBox>("combLabelFormat2")->setCurrentIndex(2);
    // MainTab2
    type("meditSellDate", "12");
    c<QCheckBox>("chkSellDatePrint")->setChecked(true);
    c<QDateTimeEdit>("DTPickerSellTime")->setTime(QTime(13, 45));
    type("meditPackDate", "2");
    type("meditUseDate", "30");
    type("meditIngrNum", "4");
    type("meditSMsgNum", "6");
    type("meditPlaceNum", "9");
    type("meditExIngrNum", "1234");
    type("meditExSMsgNum", "99");
    type("meditText3", "17");
    type("meditImage10", "55");
    // MainTab3
    c<QComboBox>("combDiscType")->setCurrentIndex(2);
    type("meditDiscLimit1", "10.00");
    type("meditDiscLimit2", "5.00");
    type("meditDiscDayOfWeek", "0000011");
    // MainTab8
    c<QCheckBox>("chkNutriPNT")->setChecked(true);
    auto* grid = c<QTableWidget>("GridNutri");
    ASSERT_GT(grid->rowCount(), 3);
    grid->item(2, 1)->setText("250");
    EXPECT_TRUE(g.state().pluChanged);

    qint64 saved = 0;
    QObject::connect(ed, &plu::ui::PluEditor::rowSaved, [&](qint64 id) { saved = id; });
    g.w().button("cmdUpdate")->click();
    ASSERT_GT(saved, 0) << (messagesShown().empty() ? "" : messagesShown().back());
    EXPECT_FALSE(g.state().pluChanged);
    EXPECT_FALSE(ed->isNewRow());
    EXPECT_EQ(col("PLU_No", saved), 4711);
    EXPECT_EQ(col("ST_No", saved), 1);
    EXPECT_EQ(col("PLU_UPrice", saved), 1234);
    EXPECT_EQ(col("PLU_Cost", saved), 550);
    EXPECT_EQ(col("Stat2_Cost", saved), 1);
    EXPECT_EQ(col("PLU_Tare", saved), 15);
    EXPECT_EQ(col("PLU_QTY", saved), 3);
    EXPECT_EQ(col("Stat1_Unit", saved), 1);
    EXPECT_EQ(col("PLU_QTYSymbol", saved), 2);
    EXPECT_EQ(col("PLU_CoupledPLUNo", saved), 77);
    EXPECT_EQ(col("PLU_ST1stLimit", saved), 1005);
    EXPECT_EQ(col("PLU_ST2ndLimit", saved), 8);
    EXPECT_EQ(col("Stat1_UPriceOV", saved), 1);
    EXPECT_EQ(col("StatB_NegativePLU", saved), 1);
    EXPECT_EQ(col("PLU_LBFormat1", saved), 255);
    EXPECT_EQ(col("PLU_SBDate", saved), 12);
    EXPECT_EQ(col("Stat1_SBDate", saved), 1);
    EXPECT_EQ(col("PLU_SBTime", saved), 1345);
    EXPECT_EQ(col("PLU_PAKDate", saved), 2);
    EXPECT_EQ(col("PLU_UBDate", saved), 30);
    EXPECT_EQ(col("PLU_IngredientNo", saved), 4);
    EXPECT_EQ(col("PLU_SPMessageNo", saved), 6);
    EXPECT_EQ(col("PLU_PlaceNo", saved), 9);
    EXPECT_EQ(col("PLU_EIngredientNo", saved), 1234);
    EXPECT_EQ(col("PLU_ESPMessageNo", saved), 99);
    EXPECT_EQ(col("PLU_LText3No", saved), 17);
    EXPECT_EQ(col("PLU_Image10", saved), 55);
    EXPECT_EQ(col("PLU_Disc_Type", saved), 2);
    EXPECT_EQ(col("PLU_Disc_1stLim", saved), 1000);
    EXPECT_EQ(col("PLU_Disc_2ndLim", saved), 500);
    EXPECT_EQ(col("PLU_DisDayOfWeek", saved), 3);
    EXPECT_EQ(col("Stat1_NUTPrint", saved), 1);
    EXPECT_EQ(col("Stat2_Nutrition", saved), 1);

    // Shown again from the row.
    ed->clear();
    EXPECT_EQ(text("meditPLU"), "0");
    ASSERT_TRUE(ed->showRow(saved));
    EXPECT_EQ(text("meditPLU"), "4711");
    EXPECT_EQ(text("meditUPrice"), "12.34");
    EXPECT_EQ(text("meditCost"), "5.50");
    EXPECT_EQ(text("meditTare"), "0.015");
    EXPECT_EQ(text("meditTemp1"), "-5");
    EXPECT_EQ(c<QComboBox>("combSymbol")->currentIndex(), 2);
    EXPECT_EQ(c<QComboBox>("combLabelFormat1")->currentIndex(), 0);
    EXPECT_EQ(c<QDateTimeEdit>("DTPickerSellTime")->time(), QTime(13, 45));
    EXPECT_EQ(text("meditDiscDayOfWeek"), "0000011");
    EXPECT_EQ(text("meditImage10"), "55");
    EXPECT_EQ(c<QTableWidget>("GridNutri")->item(2, 1)->text(), "250");
    EXPECT_TRUE(c<QCheckBox>("chkNutriPNT")->isChecked());
    EXPECT_FALSE(g.state().pluChanged);
    EXPECT_TRUE(g.enabled("cmdEdit"));
    EXPECT_FALSE(g.enabled("cmdUpdate"));
}

TEST_F(EditorGui, AValueBeyondItsLimitIsRefusedWithItsMessageAndNothingIsSaved) {
    const int before = g.count("select * from KVR_25");
    g.w().button("cmdNew")->click();
    type("meditPLU", "12");
    type("meditQty", "99999");
    g.w().button("cmdUpdate")->click();
    ASSERT_FALSE(messagesShown().empty());
    EXPECT_EQ(messagesShown().back(), g.text("msgbox", "inputErr") + ">9999!");
    EXPECT_EQ(g.count("select * from KVR_25"), before);
    EXPECT_EQ(text("meditQty"), "99999");  // the typed data stays
    EXPECT_EQ(ed->currentIndex(), 0);
    EXPECT_TRUE(ed->isNewRow());
}

// Every number field of a new PLU, one at a time, one above its limit: the stop message of that
// field, the focus back on it, the typed text kept, and nothing saved.
TEST_F(EditorGui, EachNumberFieldBeyondItsLimitIsRefusedWithItsMessage) {
    const int before = g.count("select * from KVR_25");
    int tried = 0;
    for (const auto& info : plu::pluControls()) {
        if (info.kind != plu::ControlKind::Edit) continue;
        const std::string name = info.name;
        if (name == "meditDiscDayOfWeek" || name == "meditDepartment") continue;  // binary digits; shown only
        g.w().button("cmdCancel")->click();
        g.w().button("cmdNew")->click();
        QLineEdit* box = c<QLineEdit>(info.name);
        if (!box || !box->isEnabled()) continue;  // off for a new row (the discount's limits)
        const auto limit = plu::controlLimit(ed->context(), info.name);
        if (!limit || limit->maxBytes > 0) continue;
        if (name != "meditPLU") type("meditPLU", "12");
        const QString over = QString::fromStdString(
            plu::formatScaled(limit->high + 1, limit->places, ed->context().settings.DecimalSign));
        box->setText(over);
        clearMessages();
        g.w().button("cmdUpdate")->click();
        ++tried;
        ASSERT_EQ(messagesShown().size(), 1u) << name << " = " << over.toStdString();
        const std::string shown = messagesShown()[0];
        EXPECT_EQ(shown.rfind(g.text("msgbox", "inputErr") + ">", 0), 0u) << name << ": " << shown;
        EXPECT_EQ(shown.back(), '!') << name;
        EXPECT_EQ(box->text(), over) << name;
        EXPECT_TRUE(ed->widget(ed->currentIndex())->isAncestorOf(box)) << name << ": the page of the field is not shown";
        EXPECT_EQ(g.count("select * from KVR_25"), before) << name;
    }
    EXPECT_GE(tried, 20);
    g.w().button("cmdCancel")->click();
}

// A nutrition value beyond what the record holds, and a discount limit beyond its field: refused
// with the stop message, the grid's cell or the field current, nothing saved.
TEST_F(EditorGui, NutritionAndDiscountValuesBeyondTheirLimitsAreRefused) {
    const int before = g.count("select * from KVR_25");
    g.w().button("cmdNew")->click();
    type("meditPLU", "12");
    auto* grid = c<QTableWidget>("GridNutri");
    ASSERT_GT(grid->rowCount(), 3);
    grid->item(3, 1)->setText("99999");
    clearMessages();
    g.w().button("cmdUpdate")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0].rfind(g.text("msgbox", "inputErr") + ">", 0), 0u) << messagesShown()[0];
    EXPECT_EQ(ed->currentIndex(), 4);
    EXPECT_EQ(grid->currentRow(), 3);
    EXPECT_EQ(grid->item(3, 1)->text(), "99999");
    EXPECT_EQ(g.count("select * from KVR_25"), before);

    grid->item(3, 1)->setText("12");
    c<QComboBox>("combDiscType")->setCurrentIndex(2);  // a type with both limits on
    ASSERT_TRUE(c<QLineEdit>("meditDiscLimit1")->isEnabled());
    const auto limit = plu::controlLimit(ed->context(), "meditDiscLimit1");
    ASSERT_TRUE(limit.has_value());
    type("meditDiscLimit1", QString::fromStdString(plu::formatScaled(limit->high + 1, limit->places, ".")));
    clearMessages();
    g.w().button("cmdUpdate")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0].rfind(g.text("msgbox", "inputErr") + ">", 0), 0u) << messagesShown()[0];
    EXPECT_EQ(ed->currentIndex(), 3);
    EXPECT_EQ(g.count("select * from KVR_25"), before);
    g.w().button("cmdCancel")->click();
}

TEST_F(EditorGui, AnExistingNumberGivesOverlapAndKeepsTheEnteredData) {
    ASSERT_GT(newPlu("5", "1.00"), 0);
    g.w().button("cmdNew")->click();
    EXPECT_EQ(text("meditPLU"), "6");  // the number after the highest
    type("meditPLU", "5");
    type("meditUPrice", "2.22");
    clearMessages();
    g.w().button("cmdUpdate")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown().back(), g.text("msgbox", "overlap"));
    EXPECT_EQ(g.count("select * from KVR_25"), 1);
    EXPECT_EQ(text("meditUPrice"), "2.22");
    EXPECT_TRUE(ed->isNewRow());
}

TEST_F(EditorGui, ADatabaseFailureNamesThePluAndKeepsRowAndTypedData) {
    const int64_t id = newPlu("8", "1.00");
    ASSERT_GT(id, 0);
    g.state().Conn->exec("CREATE TRIGGER fail_update BEFORE UPDATE ON KVR_25 BEGIN SELECT RAISE(ABORT, 'disk is full'); END");
    type("meditUPrice", "3.00");
    clearMessages();
    g.w().button("cmdUpdate")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    const std::string m = messagesShown().back();
    EXPECT_NE(m.find("8"), std::string::npos) << m;
    EXPECT_NE(m.find("disk is full"), std::string::npos) << m;
    EXPECT_EQ(col("PLU_UPrice", id), 100);
    EXPECT_EQ(text("meditUPrice"), "3.00");
    EXPECT_TRUE(g.state().pluChanged);
}

TEST_F(EditorGui, CancelDropsTheEditAndShowsTheRowAgain) {
    const int64_t id = newPlu("9", "1.00");
    ASSERT_GT(id, 0);
    type("meditUPrice", "7.77");
    EXPECT_TRUE(g.enabled("cmdCancel"));
    g.w().button("cmdCancel")->click();
    EXPECT_EQ(text("meditUPrice"), "1.00");
    EXPECT_FALSE(g.state().pluChanged);
    EXPECT_FALSE(g.enabled("cmdCancel"));
}

TEST_F(EditorGui, MenuExitAsksAndCancelKeepsTheEdit) {
    ASSERT_GT(newPlu("10", "1.00"), 0);
    type("meditUPrice", "4.00");
    std::vector<std::string> asked;
    shell::Messages::setResponder([&](const shell::MessageRecord& r) {
        asked.push_back(r.text.toStdString());
        return shell::MsgResult::Cancel;
    });
    g.w().menuExit();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0], g.text("msgbox", "updatePLU"));
    EXPECT_FALSE(g.w().ending());
    EXPECT_EQ(text("meditUPrice"), "4.00");
    EXPECT_TRUE(g.state().pluChanged);
}

TEST_F(EditorGui, AskSavePluYesSavesTheEdit) {
    const int64_t id = newPlu("11", "1.00");
    type("meditUPrice", "4.25");
    answerYes();
    EXPECT_EQ(g.w().askSavePLU(), 1);
    EXPECT_EQ(col("PLU_UPrice", id), 425);
    EXPECT_FALSE(g.state().pluChanged);
}

TEST_F(EditorGui, CancelOnALanguageChangeKeepsTheEditAndTheLanguage) {
    ASSERT_GT(newPlu("12", "1.00"), 0);
    type("meditUPrice", "6.00");
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::Cancel; });
    g.w().menuChinese();
    EXPECT_EQ(g.state().settings.LanguageIndex, 0);
    EXPECT_EQ(text("meditUPrice"), "6.00");
    EXPECT_TRUE(g.state().pluChanged);
}

TEST_F(EditorGui, TitleBarCloseLosesTheUnsavedEditWithoutAsking) {
    const int64_t id = newPlu("13", "1.00");
    type("meditUPrice", "9.00");
    std::vector<std::string> asked;
    shell::Messages::setResponder([&](const shell::MessageRecord& r) {
        asked.push_back(r.text.toStdString());
        return shell::MsgResult::Yes;
    });
    g.w().close();
    for (const auto& a : asked) EXPECT_NE(a, g.text("msgbox", "updatePLU"));
    if (g.state().Conn) EXPECT_EQ(col("PLU_UPrice", id), 100);
}

TEST_F(EditorGui, NumberFieldsTakeOnlyTheirKeysAndScaleOnLeaving) {
    g.w().button("cmdNew")->click();
    auto* qty = c<QLineEdit>("meditQty");
    qty->setText("");
    EXPECT_EQ(qty->text(), "0");  // an empty number is 0
    qty->selectAll();
    QTest::keyClicks(qty, "1a2-");
    EXPECT_EQ(qty->text(), "12");
    auto* dow = c<QLineEdit>("meditDiscDayOfWeek");
    dow->clear();
    QTest::keyClicks(dow, "1021");
    EXPECT_EQ(dow->text(), "101");
    auto* temp = c<QLineEdit>("meditTemp1");
    QTest::keyClicks(temp, "-7x");
    EXPECT_EQ(temp->text(), "-7");
    auto* price = c<QLineEdit>("meditUPrice");
    price->setText("");
    price->selectAll();
    QTest::keyClicks(price, "1234");
    emit price->editingFinished();
    EXPECT_EQ(price->text(), "12.34");
}

TEST_F(EditorGui, EachTextButtonOpensTheStringEditorAndOkStoresTheBlock) {
    const int64_t id = newPlu("14", "1.00");
    ASSERT_GT(id, 0);
    const std::pair<const char*, const char*> boxes[] = {
        {"cmdFont", "txtName"}, {"cmdIngredientFont", "meditIngredient"}, {"cmdSpecialMsgFont", "meditSMG"}};
    for (const auto& [button, box] : boxes) {
        ModalDriver d("frmStringEdit", [&](QDialog* f) {
            auto* grid = f->findChild<QTableWidget*>("gridString");
            ASSERT_NE(grid, nullptr);
            grid->setCurrentCell(0, 0);
            static_cast<scalefiles::FrmStringEdit*>(f)->editCurrentCell();
            auto* line = f->findChild<QLineEdit*>("txtGrid");
            ASSERT_NE(line, nullptr);
            line->selectAll();
            QTest::keyClicks(line, QString("Line of ") + box);
            QTest::keyClick(line, Qt::Key_Return);
            auto* ok = f->findChild<QPushButton*>("cmdOK");
            ASSERT_NE(ok, nullptr);
            ok->click();
        });
        c<QPushButton>(button)->click();
        ASSERT_TRUE(d.seen()) << button;
        EXPECT_EQ(text(box), QString("Line of ") + box) << button;
    }
    EXPECT_TRUE(g.state().pluChanged);
    g.w().button("cmdUpdate")->click();
    EXPECT_EQ(col("Stat2_Commodity", id), 1);
    EXPECT_EQ(col("Stat2_Ingredient", id), 1);
    EXPECT_EQ(col("Stat2_SPMessage", id), 1);
    // F2 on the text box opens it too; Cancel changes nothing.
    ModalDriver d("frmStringEdit", [](QDialog* f) { f->reject(); });
    QTest::keyClick(c<QLineEdit>("txtName"), Qt::Key_F2);
    EXPECT_TRUE(d.seen());
    EXPECT_FALSE(g.state().pluChanged);
}

TEST_F(EditorGui, KeyboardOnlyCreatesSavesAndFollowsTheDocumentedTabOrder) {
    g.w().show();
    g.w().activateWindow();
    QApplication::setActiveWindow(&g.w());
    QTest::keyClick(&g.w(), Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(ed->isNewRow());
    QWidget* plu = ed->control("meditPLU");
    EXPECT_TRUE(plu->hasFocus());
    QTest::keyClicks(plu, "321");
    // The focus chain of each page is the documented order.
    for (int page = 0; page < ed->count(); ++page) {
        const auto& order = plu::ui::PluEditor::tabOrder()[static_cast<size_t>(page)];
        for (size_t i = 1; i < order.size(); ++i) {
            QWidget* w = ed->control(order[i - 1]);
            QWidget* next = w->nextInFocusChain();
            // Skip what is not a stop of its own: unfocusable widgets and the parts of a control.
            while (next && (next->focusPolicy() == Qt::NoFocus || w->isAncestorOf(next)))
                next = next->nextInFocusChain();
            ASSERT_NE(next, nullptr);
            EXPECT_EQ(next->objectName().toStdString(), order[i]) << "after " << order[i - 1];
        }
    }
    QTest::keyClick(plu, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), ed->control("txtName"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ed->currentIndex(), 1);
    QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : ed, Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(ed->isNewRow());
    EXPECT_EQ(g.count("select * from KVR_25 where PLU_No=321"), 1);
    // Alt+Down asks the list to move on.
    int stepped = 0;
    QObject::connect(ed, &plu::ui::PluEditor::stepRequested, [&](int s) { stepped = s; });
    QTest::keyClick(ed->control("meditUPrice"), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(stepped, 1);

    // A second PLU by the keyboard, then back and forth with Alt+Up and Alt+Down: the list moves
    // and the editor shows each PLU in turn.
    QTest::keyClick(&g.w(), Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(plu->hasFocus());
    QTest::keyClicks(plu, "400");
    QTest::keyClick(plu, Qt::Key_S, Qt::ControlModifier);
    ASSERT_EQ(g.count("select * from KVR_25 where PLU_No=400"), 1);
    EXPECT_EQ(text("meditPLU"), "400");
    QTest::keyClick(ed->control("meditUPrice"), Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(text("meditPLU"), "321");
    QTest::keyClick(ed->control("meditUPrice"), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(text("meditPLU"), "400");
}

TEST_F(EditorGui, AltDownWithCancelInAskSavePluStaysOnThePlu) {
    ASSERT_GT(newPlu("15", "1.00"), 0);
    type("meditUPrice", "2.00");
    int stepped = 0;
    QObject::connect(ed, &plu::ui::PluEditor::stepRequested, [&](int s) { stepped = s; });
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::Cancel; });
    g.w().findChild<QShortcut*>("shortcutNext")->activated();
    EXPECT_EQ(stepped, 0);
    EXPECT_EQ(text("meditUPrice"), "2.00");
    answerYes();
    g.w().findChild<QShortcut*>("shortcutPrevious")->activated();
    EXPECT_EQ(stepped, -1);
}

TEST_F(EditorGui, ReadOnlyShowsTheRowAndTakesNothing) {
    const int64_t id = newPlu("16", "1.00");
    ed->setReadOnly(true);
    ASSERT_TRUE(ed->showRow(id));
    EXPECT_EQ(text("meditUPrice"), "1.00");
    EXPECT_FALSE(ed->widget(0)->isEnabled());
    EXPECT_FALSE(g.enabled("cmdNew"));
    EXPECT_FALSE(ed->updatePLU());
}

}  // namespace
