#include <QTabWidget>
// Pictures of window scaling for a person to look at: the main window at three sizes, frmScale,
// and the data format dialog and main window under a Thai system, saved as PNGs into the folder
// given as the first argument. Not a test; run it under a display (or Xvfb).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTreeWidget>
#include <cstdio>
#include <cstdlib>

#include "gui_support.h"
#include "shell/form_scaling.h"

using namespace brindale::testing;

namespace {

QString outDir;

void save(QWidget* w, const char* name) {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
    const QString path = outDir + "/" + name + ".png";
    if (!w->grab().save(path)) std::fprintf(stderr, "cannot write %s\n", path.toUtf8().constData());
    else std::printf("%s\n", path.toUtf8().constData());
}

void mainAtSizes(GuiApp& g, const char* prefix) {
    auto& w = g.w();
    const QSize design = w.size();
    save(&w, (std::string(prefix) + "-design").c_str());
    w.resize(design.width() * 3 / 4, design.height() * 3 / 4);
    save(&w, (std::string(prefix) + "-small").c_str());
    w.resize(design.width() * 3 / 2, design.height() * 5 / 4);
    save(&w, (std::string(prefix) + "-large").c_str());
    if (auto* tabs = w.findChild<QTabWidget*>("SSTabPLU")) {
        tabs->setCurrentIndex(3);
        QApplication::processEvents();
        save(&w, (std::string(prefix) + "-large-tab3").c_str());
        tabs->setCurrentIndex(0);
    }
    w.resize(design);
}

void frmScale(GuiApp& g, const char* name) {
    ModalDriver d("frmScale", [&](QDialog* f) {
        save(f, name);
        f->reject();
    });
    g.trigger("menuDataFormat");
}

void chain(GuiApp& g) {
    firstStore(g, "Main street");
    newSection(g, "STORE 1");
    newMachine(g, "SECT 1 1", {"10", "0", "0", "1"}, "Deli");
    g.select("SECT 1 1");
}

}  // namespace

TEST(Shots, MainWindowAtThreeSizesAndTheDataFormatDialog) {
    answerYes();
    GuiApp g;
    chain(g);
    mainAtSizes(g, "frmMain");
    frmScale(g, "frmScale");
    g.end();
}

TEST(Shots, UnderThai) {
    answerYes();
    setenv("LANG", "th_TH.UTF-8", 1);
    unsetenv("LC_ALL");
    unsetenv("LC_CTYPE");
    GuiApp g;
    chain(g);
    save(&g.w(), "frmMain-thai");
    frmScale(g, "frmScale-thai");
    g.end();
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::tempPath();
    QDir().mkpath(outDir);
    return RUN_ALL_TESTS();
}
