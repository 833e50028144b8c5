// The chain's tree and its forms, driven through the real windows offscreen.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QMenu>
#include <QTest>
#include <QTimer>

#include "gui_support.h"
#include "shell/property_forms.h"
#include "store/hierarchy.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::testing;
using store::padAddress;

namespace {

std::string last() { return messagesShown().empty() ? std::string() : messagesShown().back(); }

struct Gui : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
};

}  // namespace

TEST_F(Gui, FirstRunOnEmptyDataOpensTheStoreFormThatCannotBeCancelled) {
    GuiApp g;
    bool cancelOff = false, stillOpenAfterReject = false;
    QString caption, proposed;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        caption = f->windowTitle();
        proposed = lineEdit(f, "txtName")->text();
        cancelOff = !button(f, "cmdCanel")->isEnabled();
        // Neither the cancel button nor the window's close may drop it.
        button(f, "cmdCanel")->click();
        f->reject();
        f->close();
        stillOpenAfterReject = f->isVisible();
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(d.seen());
    EXPECT_TRUE(cancelOff);
    EXPECT_TRUE(stillOpenAfterReject);
    EXPECT_EQ(caption.toStdString(), g.text("frm_Properties", "labtitleStore") + " " + g.text("frm_Properties", "properties"));
    EXPECT_EQ(proposed.toStdString(), g.text("frmMain_Menu", "menuStore") + "1");
    EXPECT_EQ(g.dump(), "STORE 1|" + proposed.toStdString() + "\n");
    EXPECT_EQ(g.count("select * from STORE where ST_No=1"), 1);
    EXPECT_EQ(g.count("select * from KVR_20 where ST_No=1 AND DP_No=97"), 1);
    EXPECT_EQ(g.count("select * from KVR_23 where ST_No=1 AND DP_No=97 AND MG_No=997"), 1);
    store::Recordset dept(*g.state().Conn, "KVR_20");
    EXPECT_EQ(dept.textValue("DP_Name"), g.text("frmMain_Menu", "menuDept") + "97");
    EXPECT_EQ(dept.intValue("barformat"), 255);
    EXPECT_EQ(g.state().selectedKeyStoreView, "STORE 1");
    EXPECT_EQ(g.state().selectedKeyDataView, "STORE 1");
    EXPECT_EQ(g.state().currentStore, 1);
    // Single store mode: the store can't be deleted, nor a second one made.
    EXPECT_FALSE(g.enabled("menuDelete"));
    EXPECT_FALSE(g.enabled("popmenuDelete"));
    EXPECT_FALSE(g.enabled("menuStore"));
    EXPECT_TRUE(g.enabled("menuSection"));
    EXPECT_TRUE(g.enabled("cmdData"));
}

TEST_F(Gui, LayOutAChainMoveItsStoreNumberAndDeleteFromTheLeavesUp) {
    GuiApp g;
    firstStore(g, "Main street");
    newSection(g, "STORE 1");
    ASSERT_NE(g.tree().findKey("SECT 1 1"), nullptr) << g.dump();

    // Machines: the empty address and a used one are refused, so is an empty number.
    g.select("SECT 1 1");
    std::vector<std::string> refusals;
    ModalDriver m1("frmScProperties", [&](QDialog* f) {
        clickOk(f);  // 0.0.0.0
        refusals.push_back(last());
        setText(f, "txtScaleIP_0", "10");
        setText(f, "txtScaleIP_3", "1");
        clickOk(f);  // no number
        refusals.push_back(last());
        setText(f, "txtScaleNo", "Scale A");
        clickOk(f);
    });
    g.trigger("menuMachine");
    ASSERT_TRUE(m1.seen());
    EXPECT_EQ(refusals, (std::vector<std::string>{g.text("msgbox", "changeIP"), g.text("msgbox", "emptyisillegal")}));
    ModalDriver m2("frmScProperties", [&](QDialog* f) {
        for (auto [box, v] : {std::pair{"txtScaleIP_0", "10"}, {"txtScaleIP_1", "0"}, {"txtScaleIP_2", "0"}, {"txtScaleIP_3", "1"}})
            setText(f, box, v);
        setText(f, "txtScaleNo", "Scale B");
        clickOk(f);  // the address of Scale A
        refusals.push_back(last());
        setText(f, "txtScaleIP_3", "2");
        clickOk(f);
    });
    g.select("SECT 1 1");
    g.trigger("menuMachine");
    ASSERT_TRUE(m2.seen());
    EXPECT_EQ(refusals.back(), g.text("msgbox", "changeIP"));
    const std::string a = "MACHINE 1 1 " + padAddress("10.0.0.1"), b = "MACHINE 1 1 " + padAddress("10.0.0.2");
    ASSERT_NE(g.tree().findKey(a), nullptr) << g.dump();
    ASSERT_NE(g.tree().findKey(b), nullptr) << g.dump();
    EXPECT_EQ(g.state().selectedKeyStoreView, b);
    EXPECT_EQ(g.state().currentScaleIP, padAddress("10.0.0.2"));

    // A section with machines can't be deleted.
    g.select("SECT 1 1");
    EXPECT_FALSE(g.enabled("menuDelete"));
    EXPECT_FALSE(g.enabled("popmenuDelete"));
    EXPECT_TRUE(g.enabled("menuMachine"));

    // The data view: departments, main groups, search sets of the store.
    g.select("STORE 1");
    g.w().button("cmdData")->click();
    EXPECT_EQ(g.state().viewNumber, 0);
    ASSERT_NE(g.tree().findKey("MG 1 97 997"), nullptr) << g.dump();
    EXPECT_EQ(g.tree().selectedKey(), "STORE 1");
    EXPECT_TRUE(g.enabled("menuDept"));
    std::vector<std::string> deptMsgs;
    QString deptProposal;
    ModalDriver dd("frmProperties", [&](QDialog* f) {
        deptProposal = lineEdit(f, "txtCode")->text();
        EXPECT_TRUE(comboBox(f, "ComboSectNo")->isVisibleTo(f));
        EXPECT_EQ(comboBox(f, "ComboSectNo")->count(), 2);  // "Not Used" and section 1
        setText(f, "txtCode", "98");
        clickOk(f);
        deptMsgs.push_back(last());
        setText(f, "txtCode", "97");  // every store has it
        clickOk(f);
        deptMsgs.push_back(last());
        setText(f, "txtCode", "5");
        comboBox(f, "ComboSectNo")->setCurrentIndex(1);
        clickOk(f);
    });
    g.trigger("menuDept");
    ASSERT_TRUE(dd.seen());
    EXPECT_EQ(deptProposal, "1");
    EXPECT_EQ(deptMsgs, (std::vector<std::string>{g.text("msgbox", "codeillegal"), g.text("msgbox", "codeillegal")}));
    ASSERT_NE(g.tree().findKey("DEPT 1 5"), nullptr) << g.dump();
    EXPECT_EQ(g.count("select * from KVR_20 where DP_No=5 AND SECT_No=1"), 1);

    g.select("DEPT 1 5");
    std::vector<std::string> mgMsgs;
    ModalDriver mg("frmProperties", [&](QDialog* f) {
        EXPECT_FALSE(comboBox(f, "ComboSectNo")->isVisibleTo(f));
        setText(f, "txtCode", "997");  // main group 997 of department 97, same store
        clickOk(f);
        mgMsgs.push_back(last());
        setText(f, "txtCode", "998");
        clickOk(f);
        mgMsgs.push_back(last());
        setText(f, "txtCode", "10");
        clickOk(f);
    });
    g.trigger("menuMg");
    ASSERT_TRUE(mg.seen());
    EXPECT_EQ(mgMsgs, (std::vector<std::string>{g.text("msgbox", "codeillegal"), g.text("msgbox", "codeillegal")}));
    ASSERT_NE(g.tree().findKey("MG 1 5 10"), nullptr) << g.dump();

    g.select("STORE 1");
    ModalDriver sh("frmSearch", [&](QDialog* f) {
        setText(f, "txtSearchName", "Cheese");
        clickOk(f);
    });
    g.trigger("menuSearch");
    ASSERT_TRUE(sh.seen());
    ASSERT_NE(g.tree().findKey("SEARCH 1 1"), nullptr) << g.dump();

    // Store 1 becomes store 5: everything below it follows.
    g.w().button("cmdStore")->click();
    EXPECT_EQ(g.state().viewNumber, 1);
    g.select("STORE 1");
    ModalDriver st("frmProperties", [&](QDialog* f) {
        setText(f, "txtCode", "5");
        clickOk(f);
    });
    g.trigger("menuProperties");
    ASSERT_TRUE(st.seen());
    EXPECT_EQ(g.dump(), "STORE 5|Main street\n"
                        "  SECT 5 1|" + g.text("frmMain_Menu", "menuSection") + "1\n"
                        "    " + "MACHINE 5 1 " + padAddress("10.0.0.1") + "|Scale A\n"
                        "    " + "MACHINE 5 1 " + padAddress("10.0.0.2") + "|Scale B\n");
    EXPECT_EQ(g.tree().selectedKey(), "STORE 5");
    g.w().button("cmdData")->click();
    ASSERT_NE(g.tree().findKey("MG 5 5 10"), nullptr) << g.dump();
    ASSERT_NE(g.tree().findKey("MG 5 97 997"), nullptr) << g.dump();
    EXPECT_EQ(g.tree().findKey("SEARCH 5 1"), nullptr);  // search sets keep their store number

    // Deleting from the leaves up. The defaults 97 and 997 stay.
    g.select("MG 5 97 997");
    EXPECT_FALSE(g.enabled("menuDelete"));
    g.select("DEPT 5 97");
    EXPECT_FALSE(g.enabled("menuDelete"));
    g.select("DEPT 5 5");
    EXPECT_FALSE(g.enabled("menuDelete"));  // it has a main group
    g.select("MG 5 5 10");
    g.trigger("menuDelete");
    EXPECT_EQ(last(), g.text("msgbox", "areyousure"));
    EXPECT_EQ(g.tree().findKey("MG 5 5 10"), nullptr);
    g.select("DEPT 5 5");
    g.trigger("popmenuDelete");
    EXPECT_EQ(g.count("select * from KVR_20 where ST_No=5"), 1);
    EXPECT_EQ(g.count("select * from KVR_23 where ST_No=5"), 1);

    g.w().button("cmdStore")->click();
    const std::string a5 = "MACHINE 5 1 " + padAddress("10.0.0.1"), b5 = "MACHINE 5 1 " + padAddress("10.0.0.2");
    g.select(b5);
    g.trigger("menuDelete");
    g.select("SECT 5 1");
    EXPECT_FALSE(g.enabled("menuDelete"));  // machine A is still there
    g.select(a5);
    g.trigger("menuDelete");
    g.select("SECT 5 1");
    EXPECT_TRUE(g.enabled("menuDelete"));
    g.trigger("menuDelete");
    EXPECT_EQ(g.dump(), "STORE 5|Main street\n");
    EXPECT_EQ(g.count("SCALE"), 0);
    EXPECT_EQ(g.count("SECT"), 0);
    g.select("STORE 5");
    EXPECT_FALSE(g.enabled("menuDelete"));
}

TEST_F(Gui, AnswerNoToAreYouSureKeepsTheNode) {
    GuiApp g;
    firstStore(g, "S");
    newSection(g, "STORE 1");
    g.select("SECT 1 1");
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::No; });
    g.trigger("menuDelete");
    EXPECT_NE(g.tree().findKey("SECT 1 1"), nullptr);
    EXPECT_EQ(g.count("SECT"), 1);
}

TEST_F(Gui, CancelOfANewObjectRemovesTheProvisionalNode) {
    GuiApp g;
    firstStore(g, "S");
    g.select("STORE 1");
    bool provisionalShown = false;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        provisionalShown = g.tree().findKey("SECT 1 1") != nullptr;
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuSection");
    ASSERT_TRUE(d.seen());
    EXPECT_TRUE(provisionalShown);
    EXPECT_EQ(g.tree().findKey("SECT 1 1"), nullptr);
    EXPECT_EQ(g.count("SECT"), 0);
    EXPECT_EQ(g.tree().selectedKey(), "STORE 1");
}

TEST_F(Gui, SectionFormShowsCodeAndNameOnly) {
    GuiApp g;
    firstStore(g, "S");
    g.select("STORE 1");
    std::vector<std::string> visible;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        for (const char* n : {"txtCode", "txtName", "txtFlag1", "txtFlag2"})
            if (lineEdit(f, n)->isVisibleTo(f)) visible.push_back(n);
        for (const char* n : {"ComboBar_Type", "comboBarForamt", "ComboBarFlag", "ComboLabForamt", "ComboSectNo"})
            if (comboBox(f, n)->isVisibleTo(f)) visible.push_back(n);
        setText(f, "txtName", "");
        clickOk(f);
        EXPECT_EQ(last(), g.text("msgbox", "emptyisillegal"));
        EXPECT_EQ(f->focusWidget(), lineEdit(f, "txtName"));
        setText(f, "txtName", "Deli");
        clickOk(f);
    });
    g.trigger("menuSection");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(visible, (std::vector<std::string>{"txtCode", "txtName"}));
    store::Recordset rs(*g.state().Conn, "SECT");
    ASSERT_FALSE(rs.eof());
    EXPECT_EQ(rs.textValue("SECT_Name"), "Deli");
    EXPECT_EQ(rs.intValue("barformat"), 255);
    EXPECT_EQ(rs.intValue("LabFormat"), 255);
}

TEST_F(Gui, FlagShowingFIsStoredAs16AndShownAsFAgain) {
    GuiApp g;
    firstStore(g, "S");
    {
        store::Recordset rs(*g.state().Conn, "STORE");
        rs.setValue("Flag1", 16);
        rs.update();
    }
    g.select("STORE 1");
    QString shown;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        shown = lineEdit(f, "txtFlag1")->text();
        clickOk(f);
    });
    g.trigger("menuProperties");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(shown, "F");
    store::Recordset rs(*g.state().Conn, "STORE");
    EXPECT_EQ(rs.intValue("Flag1"), 16);
    QString again;
    ModalDriver d2("frmProperties", [&](QDialog* f) {
        again = lineEdit(f, "txtFlag1")->text();
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuProperties");
    EXPECT_EQ(again, "F");
}

TEST_F(Gui, BarcodeFieldsOfADepartmentAreStoredByTheirRules) {
    GuiApp g;
    firstStore(g, "S");
    g.w().button("cmdData")->click();
    g.select("STORE 1");
    ModalDriver d("frmProperties", [&](QDialog* f) {
        auto* type = comboBox(f, "ComboBar_Type");
        type->setCurrentIndex(1);  // ITF
        QMetaObject::invokeMethod(type, "activated", Q_ARG(int, 1));
        comboBox(f, "ComboBarFlag")->setCurrentIndex(2);
        comboBox(f, "comboBarForamt")->setCurrentIndex(0);  // the level above
        comboBox(f, "ComboLabForamt")->setCurrentIndex(3);
        setText(f, "txtFlag1", "4");
        setText(f, "txtFlag2", "");
        clickOk(f);
        EXPECT_EQ(last(), g.text("msgbox", "emptyisillegal"));
        setText(f, "txtFlag2", "2");
        clickOk(f);
    });
    g.trigger("menuDept");
    ASSERT_TRUE(d.seen());
    store::Recordset rs(*g.state().Conn, "select * from KVR_20 where DP_No=1");
    ASSERT_FALSE(rs.eof());
    EXPECT_EQ(rs.textValue("BarType"), "1");
    EXPECT_EQ(rs.intValue("BarFlag"), 92);
    EXPECT_EQ(rs.intValue("barformat"), 255);
    EXPECT_EQ(rs.intValue("LabFormat"), 2);
    EXPECT_EQ(rs.intValue("Flag1"), 4);
    EXPECT_EQ(rs.intValue("Flag2"), 2);
    // Shown again as stored.
    g.select("DEPT 1 1");
    ModalDriver d2("frmProperties", [&](QDialog* f) {
        EXPECT_EQ(comboBox(f, "ComboBar_Type")->currentIndex(), 1);
        EXPECT_EQ(comboBox(f, "ComboBarFlag")->currentIndex(), 2);
        EXPECT_EQ(comboBox(f, "comboBarForamt")->currentIndex(), 0);
        EXPECT_EQ(comboBox(f, "ComboLabForamt")->currentIndex(), 3);
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuProperties");
    ASSERT_TRUE(d2.seen());
}

TEST_F(Gui, KeyFiltersTakeDigitsAndBackspaceOnlyAndNamesNoControlCharacters) {
    GuiApp g;
    firstStore(g, "S");
    g.select("STORE 1");
    QString code, name;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        auto* c = lineEdit(f, "txtCode");
        c->clear();
        QTest::keyClicks(c, "4x2-");
        QTest::keyClick(c, Qt::Key_Backspace);
        code = c->text();
        auto* n = lineEdit(f, "txtName");
        n->setText(QString("ab") + QChar('\n') + "cd");
        name = n->text();
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuProperties");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(code, "4");
    EXPECT_EQ(name, QString("ab") + QChar(0) + "cd");
}

TEST_F(Gui, SearchSetRangesAreCheckedOnLeavingAndTheToFollowsTheFrom) {
    GuiApp g;
    firstStore(g, "S");
    g.w().button("cmdData")->click();
    g.select("STORE 1");
    std::vector<std::string> msgs;
    QString deptTo, mgTo, priceFrom, priceTo;
    ModalDriver d("frmSearch", [&](QDialog* f) {
        auto* form = static_cast<shell::FrmSearch*>(f);
        for (auto [box, bad] : {std::pair{"txtDept_No1", "98"}, {"txtMG_No2", "998"}, {"txtPLU_No1", "999998"},
                                {"txtDept_No2", "0"}}) {
            clearMessages();
            auto* e = lineEdit(f, box);
            e->setText(bad);
            EXPECT_FALSE(form->leaveField(e)) << box;
            msgs.push_back(last());
        }
        setText(f, "txtDept_No1", "30");
        setText(f, "txtDept_No2", "20");
        EXPECT_TRUE(form->leaveField(lineEdit(f, "txtDept_No1")));
        deptTo = lineEdit(f, "txtDept_No2")->text();
        setText(f, "txtMG_No1", "5");
        setText(f, "txtMG_No2", "997");
        EXPECT_TRUE(form->leaveField(lineEdit(f, "txtMG_No1")));
        mgTo = lineEdit(f, "txtMG_No2")->text();
        setText(f, "txtPLU_No1", "1");
        setText(f, "txtPLU_No2", "999997");
        setText(f, "meditUPrice1", "12.5");
        setText(f, "meditUPrice2", "3");
        EXPECT_TRUE(form->leaveField(lineEdit(f, "meditUPrice1")));
        priceFrom = lineEdit(f, "meditUPrice1")->text();
        priceTo = lineEdit(f, "meditUPrice2")->text();
        clickOk(f);
    });
    g.trigger("menuSearch");
    ASSERT_TRUE(d.seen());
    for (const auto& m : msgs) EXPECT_EQ(m, g.text("msgbox", "codeillegal"));
    EXPECT_EQ(msgs.size(), 4u);
    EXPECT_EQ(deptTo, "30");
    EXPECT_EQ(mgTo, "997");
    const int dec = g.state().settings.PriceDecimals;
    const QString sign = QString::fromStdString(g.state().settings.DecimalSign());
    EXPECT_EQ(priceFrom, shell::FrmSearch::formatPrice(shell::FrmSearch::parsePrice("12.5", dec, "."), dec, sign));
    EXPECT_EQ(priceTo, priceFrom);
    store::Recordset rs(*g.state().Conn, "SEARCH");
    ASSERT_FALSE(rs.eof());
    EXPECT_EQ(rs.intValue("DP_No1"), 30);
    EXPECT_EQ(rs.intValue("DP_No2"), 30);
    EXPECT_EQ(rs.intValue("MG_No1"), 5);
    EXPECT_EQ(rs.intValue("PLU_UPrice1"), shell::FrmSearch::parsePrice("12.5", dec, "."));
    EXPECT_EQ(rs.intValue("PLU_UPrice2"), rs.intValue("PLU_UPrice1"));
    EXPECT_EQ(rs.intValue("ST_No"), 1);
}

TEST(SearchPrices, AreWholeNumbersScaledByThePriceDecimals) {
    using shell::FrmSearch;
    EXPECT_EQ(FrmSearch::parsePrice("12.5", 2, "."), 1250);
    EXPECT_EQ(FrmSearch::parsePrice("12,50", 2, ","), 1250);
    EXPECT_EQ(FrmSearch::parsePrice("7", 3, "."), 7000);
    EXPECT_EQ(FrmSearch::parsePrice("99999999", 2, "."), 999999);
    EXPECT_EQ(FrmSearch::formatPrice(1250, 2, "."), "12.50");
    EXPECT_EQ(FrmSearch::formatPrice(5, 2, ","), "0,05");
    EXPECT_EQ(FrmSearch::formatPrice(42, 0, "."), "42");
}

TEST_F(Gui, MultiStoreModeHasTheRootAndAStoreWithoutSectionsCanBeDeleted) {
    GuiApp g(1, "North");
    ASSERT_EQ(g.start(), 0);  // the root is there: no first-run form
    EXPECT_EQ(g.dump(), "North 1|North\n");
    g.select("North 1");
    EXPECT_TRUE(g.enabled("menuStore"));
    EXPECT_TRUE(g.enabled("popmenuNewStore"));
    EXPECT_FALSE(g.enabled("menuProperties"));
    EXPECT_FALSE(g.enabled("menuDelete"));
    for (int i = 0; i < 2; ++i) {
        ModalDriver d("frmProperties", [&](QDialog* f) {
            EXPECT_TRUE(button(f, "cmdCanel")->isEnabled());
            clickOk(f);
        });
        g.select("North 1");
        g.trigger("popmenuNewStore");
        ASSERT_TRUE(d.seen());
    }
    ASSERT_NE(g.tree().findKey("STORE 2"), nullptr) << g.dump();
    EXPECT_EQ(g.count("select * from KVR_20 where ST_No=2 AND DP_No=97"), 1);
    EXPECT_EQ(g.count("select * from KVR_23 where ST_No=2 AND MG_No=997"), 1);
    g.select("STORE 2");
    EXPECT_TRUE(g.enabled("menuDelete"));
    g.trigger("menuDelete");
    EXPECT_EQ(g.tree().findKey("STORE 2"), nullptr);
    EXPECT_EQ(g.count("select * from KVR_20 where ST_No=2"), 0);
    EXPECT_EQ(g.count("select * from KVR_23 where ST_No=2"), 0);
    EXPECT_EQ(g.count("select * from KVR_20 where ST_No=1"), 1);
}

TEST_F(Gui, KeyboardEnterOpensPropertiesDeleteDeletesAndMenuKeyOpensTheContextMenu) {
    GuiApp g;
    firstStore(g, "S");
    newSection(g, "STORE 1");
    newMachine(g, "SECT 1 1", {"10", "0", "0", "9"}, "K");
    QTreeWidget* tree = g.w().tree();
    const std::string key = "MACHINE 1 1 " + padAddress("10.0.0.9");
    g.select(key);
    ModalDriver d("frmScProperties", [&](QDialog* f) {
        EXPECT_EQ(lineEdit(f, "txtScaleIP_3")->text(), "9");
        EXPECT_EQ(lineEdit(f, "txtScaleNo")->text(), "K");
        EXPECT_TRUE(f->findChild<QCheckBox*>("chkScaleUsed")->isChecked());
        button(f, "cmdCanel")->click();
    });
    QTest::keyClick(tree, Qt::Key_Return);
    ASSERT_TRUE(d.seen());
    // Arrows move the selection and run the node click.
    QTest::keyClick(tree, Qt::Key_Up);
    EXPECT_EQ(g.tree().selectedKey(), "SECT 1 1");
    EXPECT_EQ(g.state().currentSection, 1);
    EXPECT_EQ(g.state().currentScaleIP, store::kNoMachineAddress);
    QTest::keyClick(tree, Qt::Key_Down);
    EXPECT_EQ(g.tree().selectedKey(), key);
    EXPECT_EQ(g.state().currentScaleIP, padAddress("10.0.0.9"));
    QTest::keyClick(tree, Qt::Key_Delete);
    EXPECT_EQ(g.tree().findKey(key), nullptr);
    EXPECT_EQ(g.count("SCALE"), 0);
    auto* pop = g.w().findChild<QMenu*>("popmenu");
    ASSERT_NE(pop, nullptr);
    g.select("SECT 1 1");
    emit tree->customContextMenuRequested(tree->visualItemRect(tree->currentItem()).center());
    EXPECT_TRUE(pop->isVisible());
    pop->hide();
}

TEST_F(Gui, NodeClickGoesBackWhenThePluEditIsCancelled) {
    GuiApp g;
    firstStore(g, "S");
    newSection(g, "STORE 1");
    g.select("STORE 1");
    g.state().pluChanged = true;
    shell::Messages::setResponder([](const shell::MessageRecord&) { return shell::MsgResult::Cancel; });
    g.w().tree()->setCurrentItem(g.tree().findKey("SECT 1 1"));
    EXPECT_EQ(g.tree().selectedKey(), "STORE 1");
    EXPECT_EQ(g.state().currentSection, 0);
    EXPECT_EQ(g.state().selectedKeyStoreView, "STORE 1");
}

TEST_F(Gui, SelectionListenerHearsEveryNodeClick) {
    GuiApp g;
    firstStore(g, "S");
    newSection(g, "STORE 1");
    std::vector<bool> calls;
    g.tree().setSelectionListener([&](bool changed) { calls.push_back(changed); });
    g.select("STORE 1");
    g.select("SECT 1 1");
    EXPECT_EQ(calls, (std::vector<bool>{true, true}));
    EXPECT_EQ(g.state().currentSection, 1);
}

TEST_F(Gui, AfterACleanEndAndANewStartTheTreeIsTheSame) {
    std::string before;
    std::unique_ptr<TempApp> folder;
    {
        GuiApp g;
        firstStore(g, "Main street");
        newSection(g, "STORE 1");
        newMachine(g, "SECT 1 1", {"10", "0", "0", "1"}, "A");
        before = g.dump();
        g.end();
        g.app.reset();
        // The end asks the event loop to quit, which in a test no loop is running to take: run
        // one that ends at once, so that the next run's modal forms get a loop of their own.
        QTimer::singleShot(0, [] { QCoreApplication::exit(0); });
        QCoreApplication::exec();
        folder = std::move(g.dir);
    }
    GuiApp again(std::move(folder));
    bool firstRunFormOpened = false;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        firstRunFormOpened = true;
        clickOk(f);
    });
    clearMessages();
    ASSERT_EQ(again.start(), 0);
    for (auto& m : messagesShown()) ADD_FAILURE() << m;
    // The chain came back from the mirror: no first-run form, and every row as it was.
    EXPECT_FALSE(firstRunFormOpened);
    EXPECT_EQ(again.count("select * from SECT"), 1);
    EXPECT_EQ(again.dump(), before);
}

TEST_F(Gui, LeavingARangeBoxByFocusChecksItAndPutsTheFocusBack) {
    GuiApp g;
    firstStore(g, "S");
    g.w().button("cmdData")->click();
    g.select("STORE 1");
    QWidget* focusAfter = nullptr;
    QWidget* from = nullptr;
    ModalDriver d("frmSearch", [&](QDialog* f) {
        QApplication::setActiveWindow(f);
        from = lineEdit(f, "txtDept_No1");
        from->setFocus(Qt::TabFocusReason);
        clearMessages();
        static_cast<QLineEdit*>(from)->setText("98");
        lineEdit(f, "txtDept_No2")->setFocus(Qt::TabFocusReason);
        focusAfter = f->focusWidget();
        static_cast<QLineEdit*>(from)->setText("2");
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuSearch");
    ASSERT_TRUE(d.seen());
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_EQ(messagesShown()[0], g.text("msgbox", "codeillegal"));
    EXPECT_EQ(focusAfter, from);
    EXPECT_EQ(g.count("SEARCH"), 0);  // cancelled
}

TEST_F(Gui, ARowWithoutItsParentIsNamedAndLeftOutInsteadOfEndingTheRun) {
    GuiApp g(1, "North");
    ASSERT_EQ(g.start(), 0);
    {
        store::Recordset rs(*g.state().Conn, "SECT");
        rs.addNew();
        rs.setValue("ST_No", 9);
        rs.setValue("SECT_No", 4);
        rs.setValue("SECT_Name", "Lost");
        rs.update();
    }
    clearMessages();
    g.w().button("cmdStore")->click();
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_NE(messagesShown()[0].find("SECT, row 1"), std::string::npos) << messagesShown()[0];
    EXPECT_NE(messagesShown()[0].find("STORE 9"), std::string::npos) << messagesShown()[0];
    EXPECT_EQ(g.dump(), "North 1|North\n");
}
