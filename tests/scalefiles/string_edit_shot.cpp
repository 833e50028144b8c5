// A picture of frmStringEdit for a person to look at (not part of the suite):
// string_edit_shot OUT.png [LanguageIndex]; Chinese (1) unless told.
#include <QApplication>
#include <QPixmap>
#include <QTableWidget>
#include <cstdlib>

#include "scalefiles/ui/string_edit.h"
#include "string_edit_support.h"

using namespace brindale;

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    QApplication app(argc, argv);
    const int language = argc > 2 ? std::atoi(argv[2]) : 1;
    testing::EditorState e("GBK", 0, 0, language);
    std::vector<scalefiles::TextLine> lines = {
        scalefiles::TextLine::typed(0x10, "猪肉（72%），水，食盐，白砂糖"),
        scalefiles::TextLine::typed(0x11, "香辛料，酱油（含大豆、小麦）"),
        scalefiles::TextLine::typed(0x12, "Fresh 鲜 ✓ not in the page"),
        scalefiles::TextLine::typed(0x30, "冷藏 0-4 °C"),
    };
    scalefiles::FrmStringEdit f(e.state, scalefiles::kIngredientText, lines);
    f.show();
    f.findChild<QTableWidget*>("gridString")->setCurrentCell(1, 0);
    f.editCurrentCell();
    app.processEvents();
    return f.grab().save(argv[1]) ? 0 : 1;
}
