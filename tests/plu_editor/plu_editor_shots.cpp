// Pictures for a person to look at (not part of the suite): the main window on a generated store
// with each editor page showing a generated PLU, and the find in use, in English and in Chinese:
// /tmp/plu_editor_<language>_<page>.png and /tmp/plu_find_<language>.png.
#include <QApplication>
#include <QLineEdit>
#include <QTest>

#include "chain_generator.h"
#include "gui_support.h"
#include "plu/ui/plu_editor_window.h"
#include "plu/ui/plu_list.h"
#include "shell/lifecycle.h"
#include "shell/paths.h"
#include "shell/settings.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::testing;

namespace {

void shots(int language, const char* tag) {
    datagen::ChainShape shape;
    shape.plus = 2000;
    shape.stores = 1;
    auto dir = generatedApp(shape, 42, language);
    GuiApp g(std::move(dir));
    if (g.start() != 0) return;
    g.w().resize(1180, 760);
    g.w().show();
    auto* ed = qobject_cast<plu::ui::PluEditor*>(g.w().pluTabs());
    auto* list = plu::ui::PluList::of(g.w());
    // A PLU with much to show: a discount, nutrition, texts and dates.
    int64_t want = 0;
    {
        store::Recordset rs(*g.state().Conn,
                            "select * from KVR_25 where Stat2_Discount<>0 and Stat2_Nutrition<>0 and "
                            "Stat2_Ingredient<>0 and Stat2_SBDate<>0 order by PLU_No");
        if (rs.recordCount() > 0) want = rs.intValue("PLU_No");
    }
    for (int r = 0; r < list->shownCount(); ++r)
        if (list->model()->index(r, 1).data().toLongLong() == want) list->moveTo(r);
    for (int i = 0; i < ed->count(); ++i) {
        ed->setCurrentIndex(i);
        QApplication::processEvents();
        g.w().grab().save(QString("/tmp/plu_editor_%1_%2.png").arg(tag).arg(i));
    }
    ed->setCurrentIndex(0);
    list->findBox()->setText("QX");
    list->find("QX");
    QApplication::processEvents();
    g.w().grab().save(QString("/tmp/plu_find_%1.png").arg(tag));
    g.state().pluChanged = false;
    g.end();
}
}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    answerYes();
    shots(0, "en");
    shots(1, "zh");
    return 0;
}
