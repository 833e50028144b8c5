// Pictures of the key sheet windows for a person to look at (not part of the suite):
//   preset_shots OUT_FOLDER
// sheet-layout0.png (names on all three lines), sheet-layout8.png (120 keys), put-plu.png,
// put-function.png, put-clerk.png, put-other.png, auto.png, export.png (the 300 dpi export).
#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QTableView>
#include <cstdio>

#include "gui_support.h"
#include "presetkey/paint.h"
#include "presetkey/ui/preset_windows.h"
#include "store/hierarchy.h"

using namespace brindale;
using namespace brindale::testing;
namespace pk = presetkey;

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    const QString out = QString::fromLocal8Bit(argv[1]) + "/";
    QApplication qapp(argc, argv);
    answerYes();
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 1;
    shape.scalesPerSection = 1;
    shape.plus = 400;
    GuiApp g(generatedApp(shape, 5, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, SC_PSK_Layout, ST_No, SECT_No) VALUES ('" +
                      store::padAddress("127.0.0.2") + "', 'Counter', 1, 0, 1, 1)");
        st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, SC_PSK_Layout, ST_No, SECT_No) VALUES ('" +
                      store::padAddress("127.0.0.3") + "', 'Deli', 1, 8, 1, 1)");
    }));
    if (g.start() != 0) return 1;
    auto& st = g.state();
    bool ok = true;

    auto sheet0 = pk::ui::openSheet(st, store::padAddress("127.0.0.2"), nullptr);
    pk::autoFill(*st.Conn, sheet0->ref, 1, pk::FillScope::Store, 0, *st.codePage);
    for (int k : {1, 2, 14, 30}) {
        auto pages = pk::readKey(*st.Conn, sheet0->ref, k);
        pages[1] = {1000004, "Print", false};
        pages[2] = {2000002, "Clerk 2", false};
        pk::saveKey(*st.Conn, sheet0->ref, k, pages);
    }
    pk::KeyPages longName{pk::Page{1000010, "Strawberry yoghurt with cream", false}, pk::Page{}, pk::Page{}};
    pk::saveKey(*st.Conn, sheet0->ref, 5, longName);
    {
        pk::ui::FrmPresetKey w(g.w(), *sheet0);
        w.show();
        qapp.processEvents();
        ok &= w.grab().save(out + "sheet-layout0.png");
        QString error;
        ok &= pk::writeSheetPng(out + "export.png", w.sheet().layout, w.canvas()->keys(), error);
    }
    {
        auto sheet8 = pk::ui::openSheet(st, store::padAddress("127.0.0.3"), nullptr);
        pk::autoFill(*st.Conn, sheet8->ref, 1, pk::FillScope::Store, 0, *st.codePage);
        pk::ui::FrmPresetKey w(g.w(), *sheet8);
        w.show();
        qapp.processEvents();
        ok &= w.grab().save(out + "sheet-layout8.png");
    }
    struct Shot {
        const char* file;
        int key;
        int page;
    };
    for (Shot s : {Shot{"put-plu.png", 1, 1}, Shot{"put-function.png", 1, 2}, Shot{"put-clerk.png", 1, 3},
                   Shot{"put-other.png", 40, 1}}) {
        if (s.key == 40) {
            pk::KeyPages pages{pk::Page{3000150, "Amount discount", false}, pk::Page{}, pk::Page{}};
            pk::saveKey(*st.Conn, sheet0->ref, 40, pages);
        }
        pk::ui::FrmPutPreKey put(st, *sheet0, s.key);
        for (int i = 1; i < s.page; ++i) put.cmdNext();
        if (s.page == 1 && s.key == 1) put.cmdBrowse();
        put.show();
        qapp.processEvents();
        ok &= put.grab().save(out + s.file);
    }
    {
        pk::ui::FrmAutoPresetKey a(st, *sheet0);
        a.show();
        qapp.processEvents();
        ok &= a.grab().save(out + "auto.png");
    }
    std::printf("%s\n", ok ? "written" : "a picture failed");
    return ok ? 0 : 1;
}
