// Pictures of the chain's tree and its forms, for a person to look at: lays out a small chain
// in a temporary folder and saves PNGs of both views and of each property form into the folder
// given as the first argument. Not a test; run it under a display (or Xvfb).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QTimer>
#include <cstdio>

#include "gui_support.h"

using namespace brindale::testing;

namespace {

QString outDir;

void save(QWidget* w, const char* name) {
    QApplication::processEvents();
    const QString path = outDir + "/" + name + ".png";
    if (!w->grab().save(path)) std::fprintf(stderr, "cannot write %s\n", path.toUtf8().constData());
    else std::printf("%s\n", path.toUtf8().constData());
}

void form(GuiApp& g, const char* formName, const char* command, const char* shot,
          const std::function<void(QDialog*)>& fill = {}) {
    ModalDriver d(formName, [&](QDialog* f) {
        if (fill) fill(f);
        save(f, shot);
        clickOk(f);
    });
    g.trigger(command);
}

}  // namespace

TEST(Shots, ChainTreeAndForms) {
    answerYes();
    GuiApp g;
    ModalDriver first("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "Main street");
        save(f, "frmProperties-first-store");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    g.w().show();
    g.select("STORE 1");
    form(g, "frmProperties", "menuSection", "frmProperties-section", [](QDialog* f) { setText(f, "txtName", "Deli"); });
    g.select("SECT 1 1");
    form(g, "frmScProperties", "menuMachine", "frmScProperties", [](QDialog* f) {
        for (auto [b, v] : {std::pair{"txtScaleIP_0", "192"}, {"txtScaleIP_1", "168"}, {"txtScaleIP_2", "1"},
                            {"txtScaleIP_3", "20"}})
            setText(f, b, v);
        setText(f, "txtScaleNo", "Deli counter 1");
        setText(f, "txtScaleDest", "left of the cheese");
    });
    g.select("SECT 1 1");
    form(g, "frmScProperties", "menuMachine", "frmScProperties-2", [](QDialog* f) {
        for (auto [b, v] : {std::pair{"txtScaleIP_0", "192"}, {"txtScaleIP_1", "168"}, {"txtScaleIP_2", "1"},
                            {"txtScaleIP_3", "21"}})
            setText(f, b, v);
        setText(f, "txtScaleNo", "Deli counter 2");
    });
    g.select("SECT 1 1");
    save(&g.w(), "main-store-view");
    g.select("STORE 1");
    g.w().button("cmdData")->click();
    form(g, "frmProperties", "menuDept", "frmProperties-department", [](QDialog* f) { setText(f, "txtName", "Cheese"); });
    g.select("DEPT 1 1");
    form(g, "frmProperties", "menuMg", "frmProperties-main-group", [](QDialog* f) { setText(f, "txtName", "Hard cheese"); });
    g.select("STORE 1");
    form(g, "frmSearch", "menuSearch", "frmSearch", [](QDialog* f) { setText(f, "txtSearchName", "All cheese"); });
    g.select("MG 1 1 1");
    save(&g.w(), "main-data-view");
    g.w().button("cmdStore")->click();
    g.select("STORE 1");
    ModalDriver st("frmProperties", [&](QDialog* f) {
        save(f, "frmProperties-store");
        button(f, "cmdCanel")->click();
    });
    g.trigger("menuProperties");
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::tempPath();
    QDir().mkpath(outDir);
    return RUN_ALL_TESTS();
}
