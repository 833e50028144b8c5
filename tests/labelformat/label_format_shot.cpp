// Pictures of the label editor for a person to look at (not part of the suite): twenty items on a
// 56 x 50 mm label, and a 220 mm label scrolled. Usage: label_format_shot OUT_FOLDER
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>

#include "labelformat/editor_support.h"
#include "labelformat/ui/label_preview.h"
#include "store/recordset.h"

using namespace brindale::labelformat::test;

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? argv[1] : ".";
    EditorEnv env;
    env.state.prepareCodec();
    {
        // A PLU for the preview to print: EAN-13 F1 F2 CCCCC X PPPP CD.
        brindale::store::Recordset rs(*env.state.Conn, "KVR_25");
        rs.addNew();
        rs.setValue("PLU_No", brindale::store::Value(345));
        rs.setValue("ST_No", brindale::store::Value(1));
        rs.setValue("PLU_UPrice", brindale::store::Value(1999));
        rs.setValue("PLU_QTY", brindale::store::Value(1));
        rs.setValue("PLU_CommodityFirst", brindale::store::Value("Aged Gouda"));
        rs.setValue("PLU_EANItemCode", brindale::store::Value("345"));
        rs.setValue("PLU_EANFlags", brindale::store::Value(21));
        rs.setValue("PLU_BarFormat", brindale::store::Value(2));
        rs.setValue("PLU_EANLastByte", brindale::store::Value(0));
        rs.update();
    }
    auto f = env.open();
    f->resize(1240, 760);
    f->show();
    struct Place {
        int row, x, y;
    } places[] = {{0, 2, 44}, {1, 30, 44}, {2, 2, 39}, {3, 30, 39}, {4, 2, 34}, {5, 30, 34}, {6, 2, 29},
                  {7, 2, 22},  {8, 30, 29}, {9, 30, 24}, {10, 2, 17}, {11, 3, 3}, {12, 30, 17}, {13, 2, 12},
                  {14, 30, 12}, {15, 44, 3}, {16, 44, 8}, {17, 2, 9}, {18, 30, 8}, {21, 1, 1}};
    for (const Place& p : places) {
        tick(f.get(), p.row, true);
        enter(f.get(), "txtItemPosX", QString::number(p.x));
        enter(f.get(), "txtItemPosY", QString::number(p.y));
    }
    enter(f.get(), "txtItemWidth", "54");
    enter(f.get(), "txtItemPosY", "48");
    enter(f.get(), "txtItemHeight", "1");
    app.processEvents();
    f->grab().save(out + "/label_editor_twenty_items.png");
    // The same label as printed: real size and 200 %.
    f->cmdPreview();
    enter(f->preview(), "txtPluNo", "345");
    auto* zoom = child<QComboBox>(f->preview(), "comboZoom");
    zoom->setCurrentIndex(zoom->count() - 1);
    app.processEvents();
    f->preview()->grab().save(out + "/label_preview_real_size.png");
    f->preview()->resize(1000, 900);
    zoom->setCurrentIndex(3);
    app.processEvents();
    f->preview()->grab().save(out + "/label_preview_200.png");
    f->preview()->image().save(out + "/label_dots.png");
    f->preview()->hide();
    enter(f.get(), "txtLabelHeight", "220");
    auto* bar = child<QScrollBar>(f.get(), "VScrollDisplayLabel");
    bar->setValue(bar->maximum() - 20);
    app.processEvents();
    f->grab().save(out + "/label_editor_220mm_scrolled.png");
    return 0;
}
