// The translation, version and help windows driven through the real program offscreen, by the
// control names of their forms.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QScrollBar>
#include <QTest>
#include <QTextBrowser>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "hierarchy/gui_support.h"
#include "shell/about_form.h"
#include "shell/help_form.h"
#include "shell/paths.h"
#include "shell/translate_form.h"

using namespace brindale;
using namespace brindale::testing;
namespace fs = std::filesystem;

namespace {

struct ShellForms : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
    }
    void TearDown() override {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->objectName() == "frmHelp" || w->objectName() == "frmTranslate") delete w;
    }
};

std::string readAll(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

std::vector<std::string> linesOf(const std::string& s) {
    std::vector<std::string> out;
    std::istringstream in(s);
    for (std::string l; std::getline(in, l);) out.push_back(l);
    return out;
}

void startFirstRun(GuiApp& g) {
    ModalDriver d("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "S");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    ASSERT_TRUE(d.seen());
}

void withHelp(const TempApp& app) {
    fs::copy(sourceRoot() + "/help", app.path("help"), fs::copy_options::recursive);
}

shell::FrmTranslate* translateWindow(GuiApp& g) { return g.w().findChild<shell::FrmTranslate*>("frmTranslate"); }

shell::FrmHelp* helpWindow() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* h = qobject_cast<shell::FrmHelp*>(w); h && h->isVisible()) return h;
    return nullptr;
}

bool anyMessageHas(const std::string& part) {
    for (const auto& m : messagesShown())
        if (m.find(part) != std::string::npos) return true;
    return false;
}

}  // namespace

TEST_F(ShellForms, TranslateEditsAValueAndTheFileDiffersInThatLineOnly) {
    GuiApp g;
    startFirstRun(g);
    const std::string path = g.dir->path(shell::kLanguageFile);
    const std::string before = readAll(path);
    const std::string shownBefore = g.text("frm_About", "lblTitle");
    g.trigger("menuLanguageTranslate");
    auto* t = translateWindow(g);
    ASSERT_NE(t, nullptr);
    EXPECT_TRUE(t->isVisible());
    EXPECT_FALSE(g.w().isVisible()) << "the main window is hidden while translating";
    EXPECT_EQ(t->windowTitle().toStdString(), shell::plainCaption(g.text("frmMain_Menu", "menuLanguageTranslate")));
    auto* lstOriginal = t->findChild<QListWidget*>("lstOriginal");
    auto* lstTranslate = t->findChild<QListWidget*>("lstTranslate");
    auto* txtOriginal = lineEdit(t, "txtOriginalName");
    auto* txtTranslate = lineEdit(t, "txtTranslateName");
    ASSERT_TRUE(lstOriginal && lstTranslate && txtOriginal && txtTranslate);
    ASSERT_EQ(lstOriginal->count(), static_cast<int>(t->file().pairs().size()));
    ASSERT_EQ(lstTranslate->count(), lstOriginal->count());
    ASSERT_GT(lstOriginal->count(), 600);

    // The row of frm_About/lblTitle: chosen, shown in both boxes, the translation selected.
    int row = -1;
    for (size_t i = 0; i < t->file().pairs().size(); ++i)
        if (t->file().pairs()[i].originalKey == "lblTitle=" && t->file().pairs()[i].originalValue == shownBefore)
            row = static_cast<int>(i);
    ASSERT_GE(row, 0);
    t->resize(700, 400);
    QApplication::processEvents();
    lstOriginal->setCurrentRow(row);
    EXPECT_EQ(lstTranslate->currentRow(), row);
    EXPECT_EQ(txtOriginal->text().toStdString(), shownBefore);
    EXPECT_EQ(txtTranslate->selectedText(), txtTranslate->text());
    // Scrolled together, either way.
    lstOriginal->verticalScrollBar()->setValue(40);
    EXPECT_EQ(lstTranslate->verticalScrollBar()->value(), 40);
    lstTranslate->verticalScrollBar()->setValue(75);
    EXPECT_EQ(lstOriginal->verticalScrollBar()->value(), 75);
    lstTranslate->setCurrentRow(row + 1);
    EXPECT_EQ(lstOriginal->currentRow(), row + 1);
    lstOriginal->setCurrentRow(row);

    txtTranslate->setFocus();
    txtTranslate->selectAll();
    QTest::keyClicks(txtTranslate, "Brindal");
    EXPECT_EQ(lstTranslate->item(row)->text(), "Brindal");
    EXPECT_EQ(lstOriginal->item(row)->text().toStdString(), shownBefore);
    ASSERT_TRUE(button(t, "cmdClose"));
    button(t, "cmdClose")->click();
    QApplication::processEvents();
    EXPECT_TRUE(g.w().isVisible()) << "the main window is back";
    EXPECT_TRUE(messagesShown().empty());

    const auto a = linesOf(before), b = linesOf(readAll(path));
    ASSERT_EQ(a.size(), b.size());
    std::vector<size_t> changed;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i]) changed.push_back(i);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_GE(changed[0], 2 * a.size() / 3) << "a line of the third block";
    EXPECT_EQ(b[changed[0]], "lblTitle=Brindal");
    // The tables in memory stay as loaded.
    EXPECT_EQ(g.text("frm_About", "lblTitle"), shownBefore);
    g.end();
}

TEST_F(ShellForms, TranslateRefusesAFileOf3002LinesNamingItAndItsCount) {
    GuiApp g;
    startFirstRun(g);
    std::string s = readAll(g.dir->path(shell::kLanguageFile));
    const size_t lines = linesOf(s).size();
    for (size_t i = lines; i < 3002; ++i) s += "\n";
    g.dir->write(shell::kLanguageFile, s);
    g.trigger("menuLanguageTranslate");
    EXPECT_EQ(translateWindow(g), nullptr);
    EXPECT_TRUE(g.w().isVisible());
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_TRUE(anyMessageHas(g.dir->path(shell::kLanguageFile))) << messagesShown().front();
    EXPECT_TRUE(anyMessageHas("3002")) << messagesShown().front();
    g.end();
}

TEST_F(ShellForms, TranslateRefusesBlocksOutOfLineNamingBothLines) {
    GuiApp g;
    startFirstRun(g);
    auto lines = linesOf(readAll(g.dir->path(shell::kLanguageFile)));
    const size_t k = lines.size() / 3;
    // A key of the third block renamed: line 3 pairs with line 3 + 2k.
    ASSERT_NE(lines[2 + 2 * k].find('='), std::string::npos);
    lines[2 + 2 * k] = "renamedKey" + lines[2 + 2 * k].substr(lines[2 + 2 * k].find('='));
    std::string s;
    for (const auto& l : lines) s += l + "\n";
    g.dir->write(shell::kLanguageFile, s);
    g.trigger("menuLanguageTranslate");
    EXPECT_EQ(translateWindow(g), nullptr);
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_TRUE(anyMessageHas(" 3 ")) << messagesShown().front();
    EXPECT_TRUE(anyMessageHas(" " + std::to_string(3 + 2 * k) + " ")) << messagesShown().front();
    g.end();
}

TEST_F(ShellForms, AFailedSaveKeepsTheFormWithItsEditsAndTheFileWhole) {
    GuiApp g;
    startFirstRun(g);
    const std::string path = g.dir->path(shell::kLanguageFile);
    const std::string before = readAll(path);
    g.trigger("menuLanguageTranslate");
    auto* t = translateWindow(g);
    ASSERT_NE(t, nullptr);
    auto* lstOriginal = t->findChild<QListWidget*>("lstOriginal");
    lstOriginal->setCurrentRow(3);
    auto* txt = lineEdit(t, "txtTranslateName");
    txt->selectAll();
    QTest::keyClicks(txt, "Edited");
    fs::create_directories(path + ".new");  // the file aside cannot be written
    button(t, "cmdClose")->click();
    QApplication::processEvents();
    ASSERT_EQ(translateWindow(g), t);
    EXPECT_TRUE(t->isVisible());
    EXPECT_FALSE(g.w().isVisible());
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_TRUE(anyMessageHas(path)) << messagesShown().front();
    EXPECT_EQ(readAll(path), before);
    EXPECT_EQ(t->findChild<QListWidget*>("lstTranslate")->item(3)->text(), "Edited");
    // Once the cause is gone the close writes the file.
    fs::remove(path + ".new");
    button(t, "cmdClose")->click();
    QApplication::processEvents();
    EXPECT_TRUE(g.w().isVisible());
    EXPECT_NE(readAll(path), before);
    EXPECT_NE(readAll(path).find("=Edited\n"), std::string::npos);
    g.end();
}

TEST_F(ShellForms, TheEditsOfATranslationWindowThatGoesWithTheRunAreWritten) {
    GuiApp g;
    startFirstRun(g);
    const std::string path = g.dir->path(shell::kLanguageFile);
    g.trigger("menuLanguageTranslate");
    auto* t = translateWindow(g);
    ASSERT_NE(t, nullptr);
    t->findChild<QListWidget*>("lstOriginal")->setCurrentRow(5);
    auto* txt = lineEdit(t, "txtTranslateName");
    txt->selectAll();
    QTest::keyClicks(txt, "Gone with the run");
    // The main window and its children end without a close event, as at the end of the session.
    delete t;
    EXPECT_NE(readAll(path).find("=Gone with the run\n"), std::string::npos);
    g.w().show();
    g.end();
}

TEST_F(ShellForms, AboutShowsTheTextsTheVersionAndTheBuild) {
    GuiApp g;
    startFirstRun(g);
    std::string version, build, title, caption;
    ModalDriver d("frmAbout", [&](QDialog* f) {
        version = f->findChild<QLabel*>("lblVersion")->text().toStdString();
        build = f->findChild<QLabel*>("lblBuild")->text().toStdString();
        title = f->findChild<QLabel*>("lblTitle")->text().toStdString();
        caption = f->windowTitle().toStdString();
        EXPECT_EQ(button(f, "cmdOK")->text().toStdString(), g.text("frm_About", "cmdOK"));
        EXPECT_NE(f->findChild<QLabel*>("lblFunction"), nullptr);
        EXPECT_NE(f->findChild<QLabel*>("lblDescription"), nullptr);
        EXPECT_EQ(f->findChild<QLabel*>("imgIcon")->pixmap().size(), QSize(64, 64));
        button(f, "cmdOK")->click();
    });
    g.trigger("menuSoftwareVersion");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(version, g.text("frm_About", "lblVersion") + " 1.08b02");
    EXPECT_EQ(title, g.text("frm_About", "lblTitle"));
    EXPECT_EQ(caption, shell::plainCaption(g.text("frmMain_Menu", "menuSoftwareVersion")));
    EXPECT_NE(build.find(shell::buildCommit()), std::string::npos) << build;
    EXPECT_NE(build.find(shell::buildVersion()), std::string::npos) << build;
    EXPECT_STRNE(shell::buildCommit(), "unknown");
    // The windows' icon: the desktop's pictures, built into the program.
    const auto sizes = shell::programIcon().availableSizes();
    EXPECT_TRUE(sizes.contains(QSize(32, 32)) && sizes.contains(QSize(256, 256))) << sizes.size();
    g.end();
}

TEST_F(ShellForms, HelpOpensTheMainWindowsPageInEnglishThenInChinese) {
    GuiApp g;
    withHelp(*g.dir);
    startFirstRun(g);
    EXPECT_EQ(g.state().helpFile, g.dir->path("help/en/index.html"));
    g.trigger("menuSoftwareHelp");
    auto* h = helpWindow();
    ASSERT_NE(h, nullptr);
    EXPECT_TRUE(messagesShown().empty());
    EXPECT_EQ(h->browser()->source().toLocalFile().toStdString(), g.dir->path("help/en/frmMain.html"));
    EXPECT_EQ(h->browser()->source().fragment(), "frmMain");
    EXPECT_TRUE(h->browser()->toPlainText().contains("PLU"));
    EXPECT_EQ(button(h, "cmdBack")->text().toStdString(), g.text("frm_Help", "cmdBack"));

    // Contents, then back to the page.
    button(h, "cmdContents")->click();
    EXPECT_EQ(h->browser()->source().toLocalFile().toStdString(), g.dir->path("help/en/index.html"));
    ASSERT_TRUE(button(h, "cmdBack")->isEnabled());
    button(h, "cmdBack")->click();
    EXPECT_EQ(h->browser()->source().toLocalFile().toStdString(), g.dir->path("help/en/frmMain.html"));
    // Find: a word of the page is selected; a word that is not there says so.
    setText(h, "txtFind", "tree");
    button(h, "cmdFind")->click();
    EXPECT_EQ(h->browser()->textCursor().selectedText().toLower(), "tree");
    EXPECT_TRUE(h->findChild<QLabel*>("lblFindResult")->text().isEmpty());
    setText(h, "txtFind", "zzqqxx");
    button(h, "cmdFind")->click();
    EXPECT_EQ(h->findChild<QLabel*>("lblFindResult")->text().toStdString(), g.text("frm_Help", "lblNotFound"));
    h->close();

    g.trigger("menuChinese");
    EXPECT_EQ(g.state().helpFile, g.dir->path("help/zh/index.html"));
    g.trigger("menuSoftwareHelp");
    h = helpWindow();
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->browser()->source().toLocalFile().toStdString(), g.dir->path("help/zh/frmMain.html"));
    EXPECT_TRUE(h->browser()->toPlainText().contains(QString::fromUtf8("主窗口")));
    EXPECT_EQ(h->windowTitle().toStdString(), g.text("frm_Help", "frmHelp"));
    EXPECT_EQ(button(h, "cmdContents")->text().toStdString(), g.text("frm_Help", "cmdContents"));
    h->close();
    g.end();
}

TEST_F(ShellForms, F1OpensThePageOfTheActiveFormAlsoOverAModalOne) {
    GuiApp g;
    withHelp(*g.dir);
    startFirstRun(g);
    std::string source, fragment;
    bool usable = false;
    ModalDriver d("frmAbout", [&](QDialog* f) {
        QTest::keyClick(button(f, "cmdOK"), Qt::Key_F1);
        if (auto* h = helpWindow()) {
            source = h->browser()->source().toLocalFile().toStdString();
            fragment = h->browser()->source().fragment().toStdString();
            // Not blocked by the modal form: a window of that form.
            usable = h->parentWidget() == f && h->isEnabled();
            h->close();
        }
        button(f, "cmdOK")->click();
    });
    g.trigger("menuSoftwareVersion");
    ASSERT_TRUE(d.seen());
    EXPECT_EQ(source, g.dir->path("help/en/frmAbout.html"));
    EXPECT_EQ(fragment, "frmAbout");
    EXPECT_TRUE(usable);

    // F1 in the main window: its page.
    QTest::keyClick(g.w().tree(), Qt::Key_F1);
    auto* h = helpWindow();
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(h->browser()->source().toLocalFile().toStdString(), g.dir->path("help/en/frmMain.html"));
    h->close();
    g.end();
}

TEST_F(ShellForms, AMissingHelpFileGivesAMessageNamingIt) {
    GuiApp g;  // no help folder
    startFirstRun(g);
    g.trigger("menuSoftwareHelp");
    EXPECT_EQ(helpWindow(), nullptr);
    ASSERT_EQ(messagesShown().size(), 1u);
    EXPECT_TRUE(anyMessageHas(g.dir->path("help/en/index.html"))) << messagesShown().front();
    g.end();
}

TEST(HelpPages, EveryPageExistsInBothLanguagesWithItsAnchorAndIsInTheContents) {
    const std::string en = sourceRoot() + "/help/en", zh = sourceRoot() + "/help/zh";
    const std::string indexEn = readAll(en + "/index.html"), indexZh = readAll(zh + "/index.html");
    int pages = 0;
    for (const auto& e : fs::directory_iterator(en)) {
        const std::string name = e.path().stem().string();
        if (name == "index") continue;
        ++pages;
        ASSERT_TRUE(fs::exists(zh + "/" + name + ".html")) << name;
        for (const std::string& dir : {en, zh})
            EXPECT_NE(readAll(dir + "/" + name + ".html").find("name=\"" + name + "\""), std::string::npos) << name;
        EXPECT_NE(indexEn.find("href=\"" + name + ".html#" + name + "\""), std::string::npos) << name;
        EXPECT_NE(indexZh.find("href=\"" + name + ".html#" + name + "\""), std::string::npos) << name;
    }
    // The program's own forms have their pages.
    for (const char* f : {"frmMain", "frmTranslate", "frmAbout", "frmHelp", "frmScale", "frmLabelFormat"})
        EXPECT_TRUE(fs::exists(en + "/" + f + ".html")) << f;
    EXPECT_GE(pages, 20);
}
