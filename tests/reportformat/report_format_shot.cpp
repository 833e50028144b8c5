// Pictures of frmReportFormat for a person to look at (not part of the suite): a format of 50
// lines in several fonts with placeholders, the sequence preview as receipt and as labels, and
// the window in the Chinese block. Usage: report_format_shot OUTPUT_FOLDER
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTimer>
#include <cstdio>

#include "form_support.h"
#include "reportformat/report_store.h"

using namespace brindale;
using namespace brindale::reportformat;

namespace {

std::vector<Line> fiftyLines() {
    std::vector<Line> lines;
    const uint8_t fonts[] = {3, 3, 5, 3, 9, 3, 0, 6, 3, 3};
    const char* texts[] = {"PLU REPORT %%(1003)", "%%(1002)", "DAILY TOTALS", "NO. %%(3001) %%(3002)",
                           "%%(3101)", "QTY %%(3103) WT %%(3104)", "------------------------------------------------",
                           "TOTAL %%(1311)", "DISC %%(1312)", ""};
    for (int k = 0; k < 50; ++k) lines.push_back({fonts[k % 10], texts[k % 10]});
    lines[0].font = 5;
    return lines;
}

void save(QWidget* w, const QString& path) {
    if (!w->grab().save(path)) std::fprintf(stderr, "could not write %s\n", qPrintable(path));
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QString out = argc > 1 ? argv[1] : ".";
    for (int language : {0, 1}) {
        brindale::testing::FormState s(language == 1 ? "GBK" : "CP1252", 1, language);
        FormatFields f;
        f.typePosition = 1;
        std::vector<Line> lines = fiftyLines();
        if (language == 1) lines[2].text = "\xC8\xD5\xBD\xE1\xB1\xA8\xB1\xED";  // daily report, GBK
        f.data = buildLineStream(lines);
        f.startNo = "1";
        f.endNo = "9999";
        SaveRptData(s.db(), 1, f);
        FormatFields g;
        g.typePosition = 13;
        g.data = buildLineStream({{5, "SALES %%(8100)"}, {3, "AMOUNT %%(8101)"}, {3, "WEIGHT %%(8103)"},
                                  {9, "%%(8104)"}, {3, "================================================"}});
        SaveRptData(s.db(), 2, g);
        SequenceFields q;
        q.seqNo = {"2", "1", "7", "0", "0", "0", "0", "0", "0", "0"};
        q.resetPosition = 1;
        SaveRptSeq(s.db(), 1, q);
        reportformat::ui::FrmReportFormat w(s.state, {});
        w.resize(1240, 900);
        w.show();
        app.processEvents();
        if (language == 0) {
            save(&w, out + "/rptfmt_window_format50.png");
            w.formatPreview().save(out + "/rptfmt_format50_preview.png");
            w.sequencePreview().save(out + "/rptfmt_sequence_receipt.png");
            w.findChild<QComboBox*>("comboPrintType")->setCurrentIndex(1);
            w.findChild<QLineEdit*>("txtLabelHeight")->setText("60");
            app.processEvents();
            w.sequencePreview().save(out + "/rptfmt_sequence_label.png");
            save(&w, out + "/rptfmt_window_label.png");
            w.findChild<QCheckBox*>("chkNames")->setChecked(true);
            w.findChild<QComboBox*>("comboZoom")->setCurrentIndex(4);
            app.processEvents();
            w.formatPreview().save(out + "/rptfmt_format_names_200.png");
        } else {
            save(&w, out + "/rptfmt_window_chinese.png");
        }
        w.hide();
    }
    return 0;
}
