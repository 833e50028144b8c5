// The code page through the real windows offscreen: the warning while a department name is typed
// and at its OK, and the start's notice of the page the scales get.
#include <gtest/gtest.h>

#include <QLabel>

#include "hierarchy/gui_support.h"
#include "shell/lifecycle.h"
#include "store/recordset.h"
#include "store/small_record_builder.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

const QString kMeat = QString::fromUtf8("\xE9\xB2\x9C\xE8\x82\x89\xE7\x86\x9F\xE9\xA3\x9F");  // 鲜肉熟食

struct QuietView : shell::LifecycleView {
    void setLabel(const std::string&) override {}
    void repaint() override {}
};

struct CodePageGui : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
};

// Single store mode: the first start makes store 1 through its form.
void startWithStore(GuiApp& g) {
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "Main street");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(d.seen());
}

}  // namespace

TEST_F(CodePageGui, ADepartmentNameWithACharacterThePageCannotHoldIsWarnedAndNotSaved) {
    GuiApp g;
    g.state().systemLocale = "C.UTF-8";
    startWithStore(g);
    ASSERT_EQ(g.state().codePage->name(), "CP1252");
    g.select("STORE 1");
    g.w().button("cmdData")->click();
    g.select("STORE 1");

    const std::string expected = shell::fillIn(g.text("msgbox", "codepageNotHeld"), {"\xE9\xB2\x9C", "CP1252"});
    bool warnedWhileTyping = false, hiddenWhenFitting = false, stayedOpen = false, textKept = false;
    std::vector<std::string> atOk;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        auto* warning = f->findChild<QLabel*>("labNameCodePage");
        ASSERT_NE(warning, nullptr);
        EXPECT_FALSE(warning->isVisibleTo(f));  // the proposed name fits
        setText(f, "txtCode", "12");
        setText(f, "txtName", "Fresh " + kMeat);
        warnedWhileTyping = warning->isVisibleTo(f) && warning->text().toStdString() == expected;
        clearMessages();
        clickOk(f);
        atOk = messagesShown();
        stayedOpen = f->isVisible() && f->result() != QDialog::Accepted;
        textKept = lineEdit(f, "txtName")->text() == "Fresh " + kMeat;
        setText(f, "txtName", "Fresh meat");
        hiddenWhenFitting = !warning->isVisibleTo(f) && warning->text().isEmpty();
        clickOk(f);
    });
    g.trigger("menuDept");
    ASSERT_TRUE(d.seen());
    EXPECT_TRUE(warnedWhileTyping);
    EXPECT_EQ(atOk, std::vector<std::string>{expected});
    EXPECT_TRUE(stayedOpen);
    EXPECT_TRUE(textKept);
    EXPECT_TRUE(hiddenWhenFitting);
    EXPECT_EQ(g.count("select * from KVR_20 where DP_No=12 AND DP_Name='Fresh meat'"), 1);
    EXPECT_EQ(g.count("select * from KVR_20 where DP_Name LIKE '%?%'"), 0);
}

TEST_F(CodePageGui, AMainGroupNameTheRunsPageHoldsIsNotWarned) {
    GuiApp g;
    g.state().systemLocale = "zh_CN.UTF-8";
    startWithStore(g);
    ASSERT_EQ(g.state().codePage->name(), "GBK");
    g.w().button("cmdData")->click();
    ASSERT_NE(g.tree().findKey("DEPT 1 97"), nullptr) << g.dump();
    g.select("DEPT 1 97");
    bool quiet = false;
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtCode", "5");
        setText(f, "txtName", kMeat);
        quiet = !f->findChild<QLabel*>("labNameCodePage")->isVisibleTo(f);
        clickOk(f);
    });
    clearMessages();
    g.trigger("menuMg");
    ASSERT_TRUE(d.seen());
    EXPECT_TRUE(quiet);
    EXPECT_TRUE(messagesShown().empty());
    EXPECT_EQ(g.count("select * from KVR_23 where MG_No=5 AND MG_Name='" + kMeat.toStdString() + "'"), 1);
}

TEST_F(CodePageGui, TheStartUnderAnotherLanguageTellsWhichPageTheScalesGet) {
    // A chain written under the Chinese locale, by the start and end without windows.
    auto dir = makeHierarchyApp(true);
    {
        shell::ProgramState s;
        s.appDir = dir->dir();
        s.systemLocale = "zh_CN.UTF-8";
        QuietView v;
        ASSERT_EQ(shell::runStartup(s, v), shell::StartResult::Ok);
        store::Recordset st(*s.Conn, "STORE");
        st.addNew();
        st.setValue("ST_No", 1);
        st.setValue("ST_Name", "Main street");
        st.update();
        store::Recordset dp(*s.Conn, "KVR_20");
        dp.addNew();
        dp.setValue("DP_No", 12);
        dp.setValue("DP_Name", kMeat.toStdString());
        dp.setValue("ST_No", 1);
        store::buildSmallRecord(*s.codePage, "KVR_20", dp);
        dp.update();
        shell::endProgram(s, v);
    }
    GuiApp g(std::move(dir));
    g.state().systemLocale = "C.UTF-8";
    ASSERT_EQ(g.start(), 0);
    const std::string notice =
        shell::fillIn(g.text("msgbox", "codepageKept"),
                      {"GBK", "CP1252", g.text("frmMain_Menu", "menuDept") + " 12 (DP_Name)", "\xE9\xB2\x9C"});
    EXPECT_EQ(messagesShown(), std::vector<std::string>{notice});
    EXPECT_EQ(g.state().codePage->name(), "GBK");
    g.w().button("cmdData")->click();
    EXPECT_NE(g.dump().find(kMeat.toStdString()), std::string::npos) << g.dump();
    g.end();
    EXPECT_NE(g.dir->read("AccessData/tempdept.txt").find(kMeat.toStdString()), std::string::npos);
}
