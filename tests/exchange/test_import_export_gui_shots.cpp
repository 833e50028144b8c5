// Pictures of frmImportOrExport (both directions) and the import report, for a person to look at
// (not part of the suite): test_import_export_gui_shots OUT_FOLDER [LanguageIndex]
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <cstdlib>
#include <fstream>

#include "chain_generator.h"
#include "exchange/ui/import_export_window.h"
#include "gui_support.h"

using namespace brindale;

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    QApplication app(argc, argv);
    const std::string out = argv[1];
    testing::answerYes();
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.plus = 40;
    testing::GuiApp g(testing::generatedApp(shape, 3, argc > 2 ? std::atoi(argv[2]) : 0));
    if (g.start() != 0) return 1;
    const std::string file = g.dir->path("prices.txt");
    exchange::ui::setFileChooser([&](QWidget*, bool, const QString&) { return QString::fromStdString(file); });

    exchange::ui::FrmImportOrExport w(g.state());
    auto* list = w.findChild<QListWidget*>("listItem");
    for (const char* c : {"PLU_No", "PLU_UPrice", "PLU_Tare", "Stat1_Unit", "PLU_EANItemCode", "PLU_EANFlags",
                          "PLU_Commodity"}) {
        list->setCurrentItem(list->findItems(c, Qt::MatchExactly).front());
        w.cmdAdd();
    }
    w.findChild<QLineEdit*>("txtWeightFlag")->setText("W");
    w.resize(900, 520);
    w.show();
    app.processEvents();
    bool ok = w.grab().save(QString::fromStdString(out + "/import_window.png"));

    std::ofstream(file, std::ios::binary)
        << "PLU_No\tPLU_UPrice\tPLU_Tare\tStat1_Unit\tPLU_EANItemCode\tPLU_EANFlags\tPLU_Commodity\r\n"
        << "1\t2.49\t0.005\tW\t12345\t300\tApples Granny Smith from the orchard of the northern valley, loose\r\n"
        << "2\t1.999\t0\tpcs\t12a45\t12\tPears\r\n"
        << "\r\n"
        << "0\t1.00\t0\tW\t1234\t0\tNo number\r\n"
        << "5000\t3.20\r\n"
        << "5000\t3.40\t0.010\tW\t54321\t0\tPlums\r\n";
    w.cmdImport();
    w.findChild<QComboBox*>("comboIorE")->setCurrentIndex(1);
    app.processEvents();
    ok = w.grab().save(QString::fromStdString(out + "/export_window.png")) && ok;

    exchange::ui::FrmImportReport report(g.state(), w.lastImport());
    report.show();
    app.processEvents();
    ok = report.grab().save(QString::fromStdString(out + "/import_report.png")) && ok;
    return ok ? 0 : 1;
}
