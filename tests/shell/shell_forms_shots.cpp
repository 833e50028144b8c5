// Pictures of the translation, version and help windows in English and Chinese, for a person to
// look at: saved as PNGs into the folder given as the first argument. Not a test; run it under a
// display (or Xvfb).
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QTextBrowser>
#include <cstdio>
#include <filesystem>

#include "hierarchy/gui_support.h"
#include "shell/help_form.h"
#include "shell/translate_form.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

QString outDir;

void save(QWidget* w, const QString& name) {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
    const QString path = outDir + "/" + name + ".png";
    if (!w->grab().save(path)) std::fprintf(stderr, "cannot write %s\n", path.toUtf8().constData());
    else std::printf("%s\n", path.toUtf8().constData());
}

void shots(int language, const QString& suffix) {
    answerYes();
    GuiApp g;
    std::filesystem::copy(sourceRoot() + "/help", g.dir->path("help"), std::filesystem::copy_options::recursive);
    ModalDriver first("frmProperties", [&](QDialog* f) {
        setText(f, "txtName", "Main street");
        clickOk(f);
    });
    ASSERT_EQ(g.start(), 0);
    g.w().show();
    if (language == 1) g.trigger("menuChinese");

    g.trigger("menuLanguageTranslate");
    auto* t = g.w().findChild<shell::FrmTranslate*>("frmTranslate");
    ASSERT_NE(t, nullptr);
    t->findChild<QListWidget*>("lstOriginal")->setCurrentRow(12);
    save(t, "frmTranslate" + suffix);
    t->close();

    ModalDriver about("frmAbout", [&](QDialog* f) {
        save(f, "frmAbout" + suffix);
        button(f, "cmdOK")->click();
    });
    g.trigger("menuSoftwareVersion");

    g.trigger("menuSoftwareHelp");
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* h = qobject_cast<shell::FrmHelp*>(w); h && h->isVisible()) {
            save(h, "frmHelp-frmMain" + suffix);
            button(h, "cmdContents")->click();
            save(h, "frmHelp-contents" + suffix);
            h->close();
        }
    g.end();
}

}  // namespace

TEST(Shots, EnglishForms) { shots(0, "-en"); }
TEST(Shots, ChineseForms) { shots(1, "-zh"); }

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::tempPath();
    QDir().mkpath(outDir);
    return RUN_ALL_TESTS();
}
