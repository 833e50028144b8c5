// Pictures for a person to look at (not part of the suite): frmExportReportData with the hourly
// chart of the store total after a fetch from three emulated scales on loopback.
// usage: report_export_shots OUTPUT_FOLDER
#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <QTimer>

#include "chain_settings.h"
#include "emulated_scale.h"
#include "exchange/ui/report_export_window.h"
#include "gui_support.h"
#include "store/hierarchy.h"
#include "transfer/ui/main_transfers.h"

using namespace brindale;
using namespace brindale::testing;

int main(int argc, char** argv) {
    QApplication qa(argc, argv);
    const QString out = argc > 1 ? argv[1] : ".";
    answerYes();
    datagen::ChainShape shape;
    shape.stores = 1;
    shape.sectionsPerStore = 2;
    shape.scalesPerSection = 1;
    shape.plus = 10;
    auto dir = generatedApp(shape, 5, 0, [](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        const char* at[3][2] = {{"127.0.0.2", "1"}, {"127.0.0.3", "1"}, {"127.0.0.4", "2"}};
        for (auto& a : at)
            st.Conn->exec(std::string("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('") +
                          store::padAddress(a[0]) + "', 'Deli', 1, 1, " + a[1] + ")");
    });
    GuiApp g(std::move(dir));
    if (g.start() != 0) return 1;
    std::string error;
    auto scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"},
                                        [](const std::string&) { return false; }, error);
    if (scales.size() != 3) return 2;
    for (size_t s = 0; s < 3; ++s)
        for (uint32_t n = 1; n <= 40 + 25 * s; ++n) {
            std::vector<uint8_t> r(4, 0);
            uint32_t v = 0;
            for (int shift = 0, m = int(n + 100 * s); m; shift += 4, m /= 10) v |= uint32_t(m % 10) << shift;
            for (int i = 0; i < 4; ++i) r[size_t(i)] = uint8_t(v >> (24 - 8 * i));
            scales[s]->put("25", r);
        }
    transfer::TransferOptions to;
    to.port = scales[0]->port();
    g.w().KVRDataTrans1().setOptions(to);
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [] {
        QWidget* m = QApplication::activeModalWidget();
        if (!m || m->objectName() != "frmTransfer") return;
        auto* close = m->findChild<QPushButton*>("cmdClose");
        if (close && close->isEnabled()) close->click();
    });
    closer.start(50);
    g.w().button("cmdData")->click();
    ModalDriver driver("frmExportReportData", [&](QDialog* d) {
        d->findChild<QComboBox*>("comboReport")->setCurrentIndex(5);
        d->findChild<QPushButton*>("cmdUpload")->click();
        for (int i = 0; i < 20; ++i) QApplication::processEvents();
        d->grab().save(out + "/report_store_total_hourly.png");
        d->findChild<QComboBox*>("comboReport")->setCurrentIndex(2);
        d->findChild<QPushButton*>("cmdUpload")->click();
        d->findChild<QComboBox*>("comboChartColumn")->setCurrentText("Day_Amount1");
        for (int i = 0; i < 20; ++i) QApplication::processEvents();
        d->grab().save(out + "/report_plu_amounts.png");
        d->reject();
    });
    g.trigger("menuExportReport");
    for (auto& s : scales) s->stop();
    return driver.seen() ? 0 : 3;
}
