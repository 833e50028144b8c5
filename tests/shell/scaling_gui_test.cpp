// Window scaling on the real main window, offscreen: the design kept at the first show, the
// controls placed by their Tags when the client area changes, the font following the height only,
// and the system language's character set on every control.
#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QSplitter>
#include <QTableView>
#include <QTableWidget>
#include <QTabWidget>
#include <QTest>
#include <cstdlib>
#include <map>

#include "gui_support.h"
#include "exchange/ui/import_export_window.h"
#include "labelformat/ui/label_preview.h"
#include "scalefiles/ui/string_edit.h"
#include "shell/form_scaling.h"
#include "shell/screens.h"

using namespace brindale;
using namespace brindale::testing;
using namespace brindale::shell;

namespace {

std::vector<std::string>& qtWarnings() {
    static std::vector<std::string> v;
    return v;
}
void keepWarnings(QtMsgType type, const QMessageLogContext&, const QString& msg) {
    if (type != QtDebugMsg && type != QtInfoMsg) qtWarnings().push_back(msg.toStdString());
}

// The locale variables as the system gives them, set for one test.
struct Locale {
    std::map<std::string, std::optional<std::string>> saved;
    explicit Locale(const char* lang) {
        for (const char* n : {"LC_ALL", "LC_CTYPE", "LANG"}) {
            const char* v = std::getenv(n);
            saved[n] = v ? std::optional<std::string>(v) : std::nullopt;
        }
        unsetenv("LC_ALL");
        unsetenv("LC_CTYPE");
        setenv("LANG", lang, 1);
    }
    ~Locale() {
        for (auto& [n, v] : saved) {
            if (v) setenv(n.c_str(), v->c_str(), 1);
            else unsetenv(n.c_str());
        }
    }
};

void settle() {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

struct Placed {
    QWidget* w;
    QRect design;
    double font;
};

// Every control that carries a whole Tag, with its place and font now.
std::vector<Placed> placedControls(MainWindow& w) {
    std::vector<Placed> out;
    for (QWidget* c : scaledControls(&w)) {
        const auto g = geometryFromTag(c->property(kTagProperty).toString().toStdString());
        if (!g) continue;
        out.push_back({c, QRect(g->left, g->top, g->width, g->height), c->font().pointSizeF()});
    }
    return out;
}

// Resizes the main window so that its client area is `size`.
void resizeClient(MainWindow& w, QSize size) {
    const QSize client = w.centralWidget()->size();
    w.resize(w.width() + size.width() - client.width(), w.height() + size.height() - client.height());
    settle();
    ASSERT_EQ(w.centralWidget()->size(), size);
}

std::string nameOf(QWidget* w) {
    return w->objectName().isEmpty() ? std::string(w->metaObject()->className()) : w->objectName().toStdString();
}

struct Scaling : ::testing::Test {
    void SetUp() override {
        answerYes();
        clearMessages();
        qtWarnings().clear();
    }
};

}  // namespace

TEST_F(Scaling, TheDesignIsKeptAtTheFirstShowForOverTwoHundredControls) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    ASSERT_TRUE(w.resizeArmed());
    const auto& ref = g.state().scaleReference;
    EXPECT_EQ(ref.width, w.centralWidget()->width());
    EXPECT_EQ(ref.height, w.centralWidget()->height());
    EXPECT_FLOAT_EQ(ref.fontFactor, static_cast<float>(w.font().pointSizeF() / ref.height));
    const auto placed = placedControls(w);
    // The list, the tree, the editor's fields and the buttons; with their parts and pages the
    // window holds over 200 widgets.
    EXPECT_GT(placed.size(), 150u);
    EXPECT_GT(w.findChildren<QWidget*>().size(), 200);
    // At the design size every control stands where its Tag says.
    for (const auto& p : placed) EXPECT_EQ(p.w->geometry(), p.design) << nameOf(p.w);
    // The named controls of the editor are among them (pages of the tabs are placed by the tabs).
    bool nutri = false;
    for (const auto& p : placed) nutri = nutri || p.w->objectName() == "GridNutri";
    EXPECT_TRUE(nutri);
    g.end();
}

TEST_F(Scaling, TwiceTheWidthDoublesLeftAndWidthAndKeepsTheFonts) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    const auto placed = placedControls(w);
    ASSERT_FALSE(placed.empty());
    const int gridWidth0 = w.pluGrid()->columnWidth(0);
    resizeClient(w, QSize(design.width() * 2, design.height()));
    for (const auto& p : placed) {
        const QRect now = p.w->geometry();
        EXPECT_NEAR(now.x(), p.design.x() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(now.width(), p.design.width() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(now.y(), p.design.y(), 1) << nameOf(p.w);
        EXPECT_NEAR(now.height(), p.design.height(), 1) << nameOf(p.w);
        EXPECT_DOUBLE_EQ(p.w->font().pointSizeF(), p.font) << nameOf(p.w);
    }
    // The list's fixed columns grow with it; the nutrition grid gives 2/5 and 2.85/5 of its width.
    EXPECT_NEAR(w.pluGrid()->columnWidth(0), gridWidth0 * 2, 1);
    auto* nutri = w.findChild<QTableWidget*>("GridNutri");
    ASSERT_NE(nutri, nullptr);
    EXPECT_EQ(nutri->columnWidth(0), nutri->width() * 2 / 5);
    EXPECT_EQ(nutri->columnWidth(1), static_cast<int>(nutri->width() * 2.85 / 5));
    g.end();
}

TEST_F(Scaling, TwiceTheHeightDoublesTopHeightAndTheFont) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    const double designFont = fontSizeFor(g.state().scaleReference, design.height());
    const auto placed = placedControls(w);
    resizeClient(w, QSize(design.width(), design.height() * 2));
    for (const auto& p : placed) {
        const QRect now = p.w->geometry();
        EXPECT_NEAR(now.y(), p.design.y() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(now.height(), p.design.height() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(now.x(), p.design.x(), 1) << nameOf(p.w);
        EXPECT_NEAR(p.w->font().pointSizeF(), designFont * 2, 0.01) << nameOf(p.w);
    }
    g.end();
}

// Smaller and larger than designed, in both directions: a control that fits inside its parent at
// the design size still does, none cut off at an edge (a splitter's handles keep their width, so
// its panes must share what is left of it rather than take the factor alone).
TEST_F(Scaling, EveryControlThatFitsItsParentAtTheDesignSizeFitsItAtOtherSizes) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    std::vector<QWidget*> fitting;
    for (const auto& p : placedControls(w))
        if (p.w->parentWidget() && p.w->parentWidget()->rect().contains(p.w->geometry())) fitting.push_back(p.w);
    ASSERT_GT(fitting.size(), 100u);
    for (const QSize size : {QSize(design.width() * 3 / 4, design.height() * 3 / 4 - 13),
                             QSize(design.width() * 3 / 2, design.height() * 5 / 4), QSize(design.width() * 2 / 3, design.height())}) {
        resizeClient(w, size);
        for (QWidget* c : fitting)
            EXPECT_TRUE(c->parentWidget()->rect().contains(c->geometry()))
                << nameOf(c) << " at " << size.width() << "x" << size.height() << ": " << c->geometry().x() << ","
                << c->geometry().y() << " " << c->geometry().width() << "x" << c->geometry().height() << " in "
                << c->parentWidget()->width() << "x" << c->parentWidget()->height();
    }
    g.end();
}

// The editor's pages that were not shown when the design was taken: after a resize each one,
// opened, shows its controls at the new size, each of a real size and inside the page.
TEST_F(Scaling, EveryPageOfTheEditorOpenedAfterAResizeShowsItsControls) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    auto* tabs = w.findChild<QTabWidget*>("SSTabPLU");
    ASSERT_NE(tabs, nullptr);
    ASSERT_GE(tabs->count(), 5);
    const QSize design = w.centralWidget()->size();
    resizeClient(w, QSize(design.width() * 3 / 2, design.height() * 5 / 4));
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        settle();
        QWidget* page = tabs->currentWidget();
        int shown = 0;
        for (const auto& p : placedControls(w)) {
            if (!page->isAncestorOf(p.w) || !p.w->isVisibleTo(page)) continue;
            ++shown;
            const QRect r(p.w->mapTo(page, QPoint(0, 0)), p.w->size());
            EXPECT_GT(p.w->height(), 10) << nameOf(p.w) << " on page " << i;
            EXPECT_GT(p.w->width(), 10) << nameOf(p.w) << " on page " << i;
            EXPECT_TRUE(page->rect().contains(r)) << nameOf(p.w) << " on page " << i;
        }
        EXPECT_GE(shown, 2) << "page " << i;  // the nutrition page has its check box and grid
    }
    g.end();
}

TEST_F(Scaling, HeightZeroSetsNoFontAndTheDesignSizeRestoresAll) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    const auto placed = placedControls(w);
    qInstallMessageHandler(keepWarnings);
    // No window gets that small on a desktop: the client area is shrunk as a resize would.
    w.centralWidget()->resize(design.width(), 0);
    settle();
    for (const auto& p : placed) EXPECT_DOUBLE_EQ(p.w->font().pointSizeF(), p.font) << nameOf(p.w);
    for (const auto& p : placed) EXPECT_EQ(p.w->geometry().height(), 0) << nameOf(p.w);
    w.centralWidget()->resize(design);
    settle();
    // Smaller than the layouts would have allowed, then back.
    resizeClient(w, QSize(design.width() * 3 / 2, design.height() / 2));
    resizeClient(w, design);
    qInstallMessageHandler(nullptr);
    for (const auto& m : qtWarnings()) EXPECT_EQ(m.find("QFont"), std::string::npos) << m;
    for (const auto& p : placed) {
        EXPECT_EQ(p.w->geometry(), p.design) << nameOf(p.w);
        EXPECT_DOUBLE_EQ(p.w->font().pointSizeF(), p.font) << nameOf(p.w);
    }
    g.end();
}

TEST_F(Scaling, AMovedSplitterIsTheNewDesign) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    auto* split = w.findChild<QSplitter*>("splitMain");
    ASSERT_NE(split, nullptr);
    resizeClient(w, QSize(design.width() * 2, design.height()));
    const QList<int> before = split->sizes();
    // The operator drags the handle 100 pixels to the right.
    QList<int> moved = before;
    moved[0] += 100;
    moved[1] -= 100;
    split->setSizes(moved);
    emit split->splitterMoved(moved[0], 1);
    settle();
    EXPECT_NEAR(split->sizes()[0], moved[0], 2);
    // Back at the design size the tree keeps half of what was added at twice the width.
    resizeClient(w, design);
    EXPECT_NEAR(split->sizes()[0], moved[0] / 2.0, 2);
    for (const auto& p : placedControls(w)) EXPECT_EQ(p.w->geometry(), p.design) << nameOf(p.w);
    g.end();
}

// New captions have other lengths: the layouts give the design again, and the controls stand at
// the new Tags times the factors of the moment.
TEST_F(Scaling, ALanguageChangeRetakesTheDesign) {
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    const QSize design = w.centralWidget()->size();
    QPushButton* fetch = w.button("cmdUpload");
    ASSERT_NE(fetch, nullptr);
    const QString tagBefore = fetch->property(kTagProperty).toString();
    resizeClient(w, QSize(design.width() * 2, design.height()));
    g.trigger("menuChinese");
    settle();
    EXPECT_EQ(g.state().settings.LanguageIndex, 1);
    EXPECT_NE(fetch->property(kTagProperty).toString(), tagBefore);
    EXPECT_EQ(g.state().scaleReference.width, design.width());
    // The menu bar's height may change with the language: the factors are those of the moment.
    const auto f = factorsFor(g.state().scaleReference, w.centralWidget()->width(), w.centralWidget()->height());
    EXPECT_DOUBLE_EQ(f.x, 2.0);
    for (const auto& p : placedControls(w)) {
        EXPECT_NEAR(p.w->geometry().x(), p.design.x() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(p.w->geometry().width(), p.design.width() * 2, 1) << nameOf(p.w);
        EXPECT_NEAR(p.w->geometry().y(), p.design.y() * f.y, 1) << nameOf(p.w);
        EXPECT_NEAR(p.w->geometry().height(), p.design.height() * f.y, 1) << nameOf(p.w);
    }
    g.trigger("menuEnglish");
    g.end();
}

TEST_F(Scaling, UnderThaiEveryControlOfTheMainWindowHasTahomaAndCharset222) {
    Locale thai("th_TH.UTF-8");
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    EXPECT_EQ(w.property(kCharsetProperty).toInt(), 222);
    int count = 0;
    for (QWidget* c : w.findChildren<QWidget*>()) {
        EXPECT_EQ(c->property(kCharsetProperty).toInt(), 222) << nameOf(c);
        EXPECT_EQ(c->font().family(), "Tahoma") << nameOf(c);
        ++count;
    }
    EXPECT_GT(count, 200);
    EXPECT_TRUE(QFont::substitutes("Tahoma").contains(kTahomaSubstitute, Qt::CaseInsensitive));
    g.end();
}

TEST_F(Scaling, AnUnknownLocaleGivesCharsetOneAndKeepsTheFont) {
    Locale unknown("qq_QQ.UTF-8");
    GuiApp g;
    firstStore(g, "S");
    settle();
    MainWindow& w = g.w();
    for (QWidget* c : w.findChildren<QWidget*>()) {
        EXPECT_EQ(c->property(kCharsetProperty).toInt(), 1) << nameOf(c);
        EXPECT_NE(c->font().family(), "Tahoma") << nameOf(c);
    }
    g.end();
}

namespace {

// A form that the menus open, the node it needs, and the view that node is in.
struct Opening {
    const char* form;
    bool dataView;
    const char* node;
    const char* command;
};

const Opening kOpenings[] = {
    {"frmProperties", false, "STORE 1", "menuProperties"},
    {"frmProperties", false, "STORE 1", "menuSection"},
    {"frmScProperties", false, "SECT 1 1", "menuMachine"},
    {"frmScale", false, "STORE 1", "menuDataFormat"},
    {"frmPresetKey", false, "MACHINE 1 1  10.  0.  0.  1", "menuEditPresetKey"},
    {"frmSearch", true, "STORE 1", "menuSearch"},
    {"frmLabelFormat", true, "STORE 1", "menuEditLabelFormat"},
    {"frmExportReportData", true, "STORE 1", "menuExportReport"},
    {"frmImportOrExport", true, "STORE 1", "menuImportOrExport"},
    {"frmScrollMSG", true, "STORE 1", "menuScrollMSG"},
    {"frmImage", true, "STORE 1", "menuEditImage"},
    {"frmLogo", true, "STORE 1", "menuEditLogo"},
    {"frmOtherFile", true, "STORE 1", "menuEditOtherFiles"},
    {"frmFlexiBarcode", true, "STORE 1", "menuEditFlexiBarcode"},
    {"frmTransferLog", true, "STORE 1", "menuTransferLog"},
};

}  // namespace

// Every form the menus open carries the system's character set on each of its controls.
TEST_F(Scaling, UnderThaiEveryFormTheMenusOpenHasTahomaAndCharset222) {
    Locale thai("th_TH.UTF-8");
    GuiApp g;
    firstStore(g, "Main street");
    newSection(g, "STORE 1");
    newMachine(g, "SECT 1 1", {"10", "0", "0", "1"}, "Deli");
    bool inDataView = false;
    for (const Opening& o : kOpenings) {
        if (o.dataView && !inDataView) {
            g.select("STORE 1");
            g.w().button("cmdData")->click();
            ASSERT_EQ(g.state().viewNumber, 0);
            inDataView = true;
        }
        g.select(o.node);
        int checked = 0;
        std::vector<std::string> wrong;
        ModalDriver d(o.form, [&](QDialog* f) {
            if (f->property(kCharsetProperty).toInt() != 222) wrong.push_back("the form");
            for (QWidget* c : f->findChildren<QWidget*>()) {
                ++checked;
                if (c->property(kCharsetProperty).toInt() != 222 || c->font().family() != "Tahoma")
                    wrong.push_back(nameOf(c));
            }
            f->reject();
        });
        g.trigger(o.command);
        EXPECT_TRUE(d.seen()) << o.form << " by " << o.command;
        EXPECT_GT(checked, 2) << o.form;
        EXPECT_TRUE(wrong.empty()) << o.form << ": " << wrong.size() << " controls, the first " << wrong.front();
    }
    g.end();
}

// The forms that other forms open (and the loading and closing screens) take the character set
// in their load too.
TEST_F(Scaling, UnderThaiTheInnerFormsAndScreensHaveTahomaAndCharset222) {
    Locale thai("th_TH.UTF-8");
    GuiApp g;
    firstStore(g, "S");
    exchange::ImportResult result;
    std::vector<std::unique_ptr<QWidget>> forms;
    forms.emplace_back(std::make_unique<StatusScreen>("frmLoading", "lblloading"));
    forms.emplace_back(std::make_unique<scalefiles::FrmStringEdit>(g.state(), 0, std::vector<scalefiles::TextLine>{}));
    forms.emplace_back(std::make_unique<labelformat::ui::FrmLabelPreview>(g.state()));
    forms.emplace_back(std::make_unique<exchange::ui::FrmImportReport>(g.state(), result));
    for (const auto& f : forms) {
        EXPECT_EQ(f->property(kCharsetProperty).toInt(), 222) << nameOf(f.get());
        int checked = 0;
        for (QWidget* c : f->findChildren<QWidget*>()) {
            ++checked;
            EXPECT_EQ(c->property(kCharsetProperty).toInt(), 222) << nameOf(f.get()) << "/" << nameOf(c);
            EXPECT_EQ(c->font().family(), "Tahoma") << nameOf(f.get()) << "/" << nameOf(c);
        }
        EXPECT_GT(checked, 0) << nameOf(f.get());
    }
    forms.clear();
    g.end();
}
