// frmScale driven by its control names through the real program offscreen: its load, its
// behaviours, its OK up to the next start, and its faults; the language menus after its OK.
#include <gtest/gtest.h>

#include <QAction>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QTest>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "gui_support.h"
#include "shell/data_format.h"
#include "shell/data_format_dialog.h"
#include "shell/paths.h"
#include "shell/settings.h"

using namespace brindale;
using namespace brindale::testing;
using namespace brindale::shell;
namespace fs = std::filesystem;

namespace {

// Messages are recorded and answered: `yes` for a question.
std::vector<std::string> shown;
void answer(bool yes) {
    shown.clear();
    Messages::setResponder([yes](const MessageRecord& r) {
        shown.push_back(r.text.toStdString());
        if (r.buttons == MsgButtons::YesNo || r.buttons == MsgButtons::YesNoCancel) return yes ? MsgResult::Yes : MsgResult::No;
        return MsgResult::Ok;
    });
}

// Opens frmScale by its menu command and runs `act` on it; fails when it did not open.
void withFrmScale(GuiApp& g, const std::function<void(QDialog*)>& act) {
    ModalDriver d("frmScale", act);
    g.trigger("menuDataFormat");
    EXPECT_TRUE(d.seen());
}

// A typed text, character by character, as the keyboard sends it (also what no key name has).
void type(QWidget* w, const QString& text) {
    for (const QChar ch : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
        QApplication::sendEvent(w, &press);
        QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(ch));
        QApplication::sendEvent(w, &release);
    }
}

void choose(QDialog* f, const char* name, int index) {
    if (auto* c = comboBox(f, name)) c->setCurrentIndex(index);
}

struct FrmScaleGui : ::testing::Test {
    void SetUp() override { answer(true); }
    void TearDown() override { setSettingsWriteCalls({}); }
};

}  // namespace

TEST_F(FrmScaleGui, LoadShowsTheSettingsOfTheRun) {
    GuiApp g;
    firstStore(g, "S");
    ASSERT_TRUE(g.enabled("menuDataFormat"));
    const Settings s = g.state().settings;
    withFrmScale(g, [&](QDialog* f) {
        EXPECT_EQ(f->windowTitle().toStdString(), g.text("frm_OTHER", "setTitle"));
        EXPECT_EQ(comboBox(f, "combPPoint")->currentIndex(), s.PriceDecimals);
        EXPECT_EQ(comboBox(f, "combPPoint")->count(), 4);
        EXPECT_EQ(comboBox(f, "combPPointType")->currentIndex(), s.DecimalSignIndex);
        EXPECT_EQ(comboBox(f, "combWPoint")->currentIndex(), s.WeightDecimals);
        EXPECT_EQ(comboBox(f, "combScaleType")->currentText(), s.ScaleTypeIndex == 0 ? "Alder" : "Birch");
        EXPECT_EQ(comboBox(f, "combDateType")->count(), 6);
        EXPECT_EQ(comboBox(f, "combDateType")->currentIndex(), s.DateTypeIndex);
        EXPECT_EQ(comboBox(f, "combPriceUnit")->currentText().toStdString(), s.PriceUnitText);
        EXPECT_EQ(comboBox(f, "combSYS_Country")->currentIndex(), s.CountryIndex);
        EXPECT_EQ(comboBox(f, "combSYS_Store")->currentIndex(), s.StoreMode);
        EXPECT_EQ(f->findChild<QLabel*>("lblSYS_StoreName")->text().toStdString(), g.text("frm_OTHER", "setSYS_StoreName"));
        EXPECT_EQ(button(f, "cmdOK")->text().toStdString(), g.text("frm_OTHER", "setOK"));
        EXPECT_EQ(button(f, "cmdCancel")->text().toStdString(), g.text("frm_OTHER", "setCancel"));
        // Single store: the name is off; multi store turns it on.
        choose(f, "combSYS_Store", 0);
        EXPECT_FALSE(lineEdit(f, "txtSYS_StoreName")->isEnabled());
        EXPECT_FALSE(f->findChild<QLabel*>("lblSYS_StoreName")->isEnabled());
        choose(f, "combSYS_Store", 1);
        EXPECT_TRUE(lineEdit(f, "txtSYS_StoreName")->isEnabled());
        EXPECT_TRUE(f->findChild<QLabel*>("lblSYS_StoreName")->isEnabled());
        // The name is selected whole when the field takes the focus.
        QLineEdit* name = lineEdit(f, "txtSYS_StoreName");
        name->setText("North");
        name->deselect();
        f->activateWindow();
        // A click puts the focus there (the field itself selects nothing on a click).
        name->setFocus(Qt::MouseFocusReason);
        for (int i = 0; i < 3; ++i) QApplication::processEvents();
        EXPECT_TRUE(name->hasFocus());
        EXPECT_EQ(name->selectedText(), "North");
        button(f, "cmdCancel")->click();
    });
    EXPECT_TRUE(shown.empty());
    g.end();
}

TEST_F(FrmScaleGui, ThePriceUnitTakesOnlyCharactersWithACodeFrom32To255) {
    EXPECT_TRUE(priceUnitCharacterAllowed("a", "CP1252"));
    EXPECT_TRUE(priceUnitCharacterAllowed(QString::fromUtf8("€"), "CP1252"));
    EXPECT_FALSE(priceUnitCharacterAllowed(QString::fromUtf8("中"), "CP1252"));
    EXPECT_FALSE(priceUnitCharacterAllowed(QString::fromUtf8("中"), "GBK"));
    EXPECT_FALSE(priceUnitCharacterAllowed("\b", "CP1252"));
    EXPECT_FALSE(priceUnitCharacterAllowed("\r", "CP1252"));
    EXPECT_TRUE(priceUnitCharacterAllowed("?", "CP1252"));

    GuiApp g;
    firstStore(g, "S");
    const std::string before = g.dir->read(kSettingsFile);
    withFrmScale(g, [&](QDialog* f) {
        QComboBox* unit = comboBox(f, "combPriceUnit");
        QLineEdit* e = unit->lineEdit();
        ASSERT_NE(e, nullptr);
        e->clear();
        type(e, QString::fromUtf8("k€r"));
        EXPECT_EQ(e->text(), QString::fromUtf8("k€r"));
        type(e, QString::fromUtf8("中"));
        QTest::keyClick(e, Qt::Key_Backspace);
        EXPECT_EQ(e->text(), QString::fromUtf8("k€r"));
        // Enter types nothing and does not press OK.
        QTest::keyClick(e, Qt::Key_Return);
        EXPECT_TRUE(f->isVisible());
        // Delete and the arrows edit and move, typing nothing.
        QTest::keyClick(e, Qt::Key_Left);
        QTest::keyClick(e, Qt::Key_Left);
        QTest::keyClick(e, Qt::Key_Delete);
        EXPECT_EQ(e->text(), "kr");
        QTest::keyClick(e, Qt::Key_Right);
        EXPECT_EQ(e->text(), "kr");
        button(f, "cmdCancel")->click();
    });
    EXPECT_EQ(g.dir->read(kSettingsFile), before);
    g.end();
}

// The whole way: every combo by name, OK, Yes to the question ends the run; the next start reads
// what was chosen, with the literal store name in multi store mode.
TEST_F(FrmScaleGui, OkAndYesEndTheRunAndTheNextStartReadsTheChoice) {
    GuiApp g;
    firstStore(g, "S");
    const std::string question = g.text("msgbox", "DataFormatSet");
    withFrmScale(g, [&](QDialog* f) {
        choose(f, "combPPoint", 3);
        choose(f, "combPPointType", 1);
        choose(f, "combWPoint", 1);
        choose(f, "combScaleType", 0);
        choose(f, "combDateType", 2);
        comboBox(f, "combPriceUnit")->setEditText("EUR");
        choose(f, "combSYS_Country", 5);
        choose(f, "combSYS_Store", 1);
        setText(f, "txtSYS_StoreName", "");
        clickOk(f);
    });
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0], question);
    EXPECT_TRUE(g.app->ended());
    const std::string file = g.dir->read(kSettingsFile);
    EXPECT_EQ(file, std::string(" 0 \r\n 3 \r\n 1 \r\n 1 \r\n 0 \r\n 2 \r\n 2 \r\nEUR\r\n 5 \r\n 1 \r\n") +
                        kDefaultStoreName + "\r\n");

    GuiApp next(std::move(g.dir));
    ASSERT_EQ(next.start(), 0);
    const Settings& s = next.state().settings;
    EXPECT_EQ(s.PriceDecimals, 3);
    EXPECT_EQ(s.DecimalSign(), ",");
    EXPECT_EQ(s.WeightDecimals, 1);
    EXPECT_EQ(s.ScaleTypeIndex, 0);
    EXPECT_EQ(s.DateTypeIndex, 2);
    EXPECT_EQ(s.PriceUnitText, "EUR");
    EXPECT_EQ(s.CountryIndex, 5);
    EXPECT_EQ(s.StoreMode, 1);
    EXPECT_EQ(s.StoreNameSetting, kDefaultStoreName);
    next.end();
}

// No: the run goes on with the new numbers and the old sign; a language chosen afterwards keeps
// what the OK wrote.
TEST_F(FrmScaleGui, NoKeepsTheRunAndTheLanguageMenuKeepsWhatOkWrote) {
    GuiApp g;
    firstStore(g, "S");
    answer(false);
    const std::string sign = g.state().settings.DecimalSign();
    const int country = g.state().settings.CountryIndex;
    withFrmScale(g, [&](QDialog* f) {
        choose(f, "combPPoint", 0);
        choose(f, "combPPointType", g.state().settings.DecimalSignIndex == 0 ? 1 : 0);
        choose(f, "combWPoint", 2);
        choose(f, "combSYS_Country", country == 7 ? 8 : 7);
        choose(f, "combSYS_Store", 0);
        clickOk(f);
    });
    EXPECT_FALSE(g.app->ended());
    EXPECT_EQ(g.state().settings.PriceDecimals, 0);
    EXPECT_EQ(g.state().settings.WeightDecimals, 2);
    EXPECT_EQ(g.state().settings.DecimalSign(), sign);
    EXPECT_EQ(g.state().settings.CountryIndex, country);
    const std::string written = g.dir->read(kSettingsFile);
    answer(true);
    g.trigger("menuChinese");
    EXPECT_EQ(g.state().settings.LanguageIndex, 1);
    Settings file = readSettings(g.dir->path(kSettingsFile));
    EXPECT_EQ(file.LanguageIndex, 1);
    EXPECT_EQ(file.PriceDecimals, 0);
    EXPECT_EQ(file.WeightDecimals, 2);
    EXPECT_EQ(file.CountryIndex, country == 7 ? 8 : 7);
    EXPECT_EQ(file.StoreNameLine, kDefaultStoreName);
    // Only the first line differs from what the OK wrote.
    const std::string now = g.dir->read(kSettingsFile);
    EXPECT_EQ(now.substr(now.find('\n')), written.substr(written.find('\n')));
    g.end();
}

// A settings file that cannot be written: the message names the file and the reason; the file,
// the variables and the form stay.
TEST_F(FrmScaleGui, AnUnwritableSettingsFileChangesNothingAndTheFormStays) {
    GuiApp g;
    firstStore(g, "S");
    const std::string before = g.dir->read(kSettingsFile);
    const Settings run = g.state().settings;
    // The file is written beside itself first: a folder of that name stops it, for root too.
    fs::create_directory(g.dir->path(std::string(kSettingsFile) + ".new"));
    bool stayed = false;
    withFrmScale(g, [&](QDialog* f) {
        choose(f, "combPPoint", run.PriceDecimals == 3 ? 0 : 3);
        clickOk(f);
        stayed = f->isVisible();
        button(f, "cmdCancel")->click();
    });
    EXPECT_TRUE(stayed);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find(kSettingsFile), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find(std::strerror(EISDIR)), std::string::npos) << shown[0];
    EXPECT_EQ(g.dir->read(kSettingsFile), before);
    EXPECT_EQ(g.state().settings.PriceDecimals, run.PriceDecimals);
    EXPECT_FALSE(g.state().writtenSettings.has_value());
    fs::remove(g.dir->path(std::string(kSettingsFile) + ".new"));
    g.end();
}

TEST_F(FrmScaleGui, AFullDiskChangesNothingAndTheFormStays) {
    GuiApp g;
    firstStore(g, "S");
    const std::string before = g.dir->read(kSettingsFile);
    const int decimals = g.state().settings.WeightDecimals;
    setSettingsWriteCalls({[](int, const void*, unsigned long) -> long {
                               errno = ENOSPC;
                               return -1;
                           },
                           nullptr});
    bool stayed = false;
    withFrmScale(g, [&](QDialog* f) {
        choose(f, "combWPoint", decimals == 0 ? 1 : 0);
        clickOk(f);
        stayed = f->isVisible();
        button(f, "cmdCancel")->click();
    });
    setSettingsWriteCalls({});
    EXPECT_TRUE(stayed);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find(kSettingsFile), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find(std::strerror(ENOSPC)), std::string::npos) << shown[0];
    EXPECT_EQ(g.dir->read(kSettingsFile), before);
    EXPECT_EQ(g.state().settings.WeightDecimals, decimals);
    g.end();
}

TEST_F(FrmScaleGui, ASettingWithoutARowShowsNoneAndOkNamesItAndWritesNothing) {
    GuiApp g;
    firstStore(g, "S");
    const std::string before = g.dir->read(kSettingsFile);
    g.state().settings.PriceDecimals = 7;
    bool stayed = false;
    withFrmScale(g, [&](QDialog* f) {
        EXPECT_EQ(comboBox(f, "combPPoint")->currentIndex(), -1);
        EXPECT_EQ(comboBox(f, "combPPoint")->currentText(), "");
        clickOk(f);
        stayed = f->isVisible();
        button(f, "cmdCancel")->click();
    });
    EXPECT_TRUE(stayed);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find(g.text("frm_OTHER", "setPPoint")), std::string::npos) << shown[0];
    EXPECT_EQ(g.dir->read(kSettingsFile), before);
    g.state().settings.PriceDecimals = 2;
    g.end();
}

// A damaged language block does not end the run from inside a menu slot: the message names the
// file, the old language stays, and the file says so again.
TEST_F(FrmScaleGui, ADamagedLanguageIsRefusedWithAMessageNamingTheFile) {
    GuiApp g;
    {
        // The third block loses the key of the exit command.
        std::string lang = g.dir->read(kLanguageFile);
        const size_t other = lang.find("<Other>");
        ASSERT_NE(other, std::string::npos);
        const size_t at = lang.find("\nmenuExit=", other);
        ASSERT_NE(at, std::string::npos);
        lang.replace(at, 10, "\nmenuExiX=");
        g.dir->write(kLanguageFile, lang);
    }
    firstStore(g, "S");
    const QString exitCaption = g.w().action("menuExit")->text();
    g.trigger("menuOthers");
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_NE(shown[0].find(kLanguageFile), std::string::npos) << shown[0];
    EXPECT_NE(shown[0].find("menuExit"), std::string::npos) << shown[0];
    EXPECT_EQ(g.state().settings.LanguageIndex, 0);
    EXPECT_TRUE(g.w().action("menuEnglish")->isChecked());
    EXPECT_FALSE(g.w().action("menuOthers")->isChecked());
    EXPECT_EQ(g.w().action("menuExit")->text(), exitCaption);
    EXPECT_TRUE(g.w().isEnabled());
    EXPECT_EQ(readSettings(g.dir->path(kSettingsFile)).LanguageIndex, 0);
    g.end();
}
