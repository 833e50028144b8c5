// Pictures of each editor page for a person to look at (not part of the suite): /tmp/plu_editor_N.png.
#include <QApplication>
#include <QLineEdit>

#include "gui_support.h"
#include "plu/ui/plu_editor_window.h"

using namespace brindale;
using namespace brindale::testing;

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    answerYes();
    GuiApp g;
    firstStore(g, "Main street");
    g.select("STORE 1");
    auto* ed = qobject_cast<plu::ui::PluEditor*>(g.w().pluTabs());
    ed->enablePLUButtons();
    g.w().button("cmdNew")->click();
    const std::pair<const char*, const char*> values[] = {
        {"meditPLU", "4711"}, {"meditUPrice", "12.34"}, {"meditCost", "8.10"}, {"meditQty", "2"},
        {"meditTemp1", "-5"}, {"meditTemp2", "7"}, {"meditSellDate", "5"}, {"meditIngrNum", "3"},
        {"meditDiscLimit1", "10.00"}, {"meditDiscDayOfWeek", "0111110"}};
    for (const auto& [n, v] : values) qobject_cast<QLineEdit*>(ed->control(n))->setText(v);
    g.w().resize(1180, 760);
    g.w().show();
    for (int i = 0; i < ed->count(); ++i) {
        ed->setCurrentIndex(i);
        QApplication::processEvents();
        g.w().grab().save(QString("/tmp/plu_editor_%1.png").arg(i));
    }
    g.state().pluChanged = false;
    return 0;
}
