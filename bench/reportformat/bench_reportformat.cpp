// frmReportFormat's work without the window: one keystroke on a format of 50 lines (the typed line
// decoded and measured, every line decoded, the preview drawn) and the preview of a sequence of ten
// such formats read from their streams, as receipt and as labels.
#include <benchmark/benchmark.h>

#include <QGuiApplication>

#include "codec/code_page.h"
#include "reportformat/report_format.h"
#include "reportformat/ui/preview.h"
#include "shell/ini.h"

using namespace brindale;
using namespace brindale::reportformat;

namespace {

const ReportCatalogue& catalogue() {
    static const ReportCatalogue c = ReportCatalogue::from([](const char* section) {
        shell::LanguageTable t;
        shell::loadSection(std::string(BRINDALE_SOURCE_ROOT) + "/ini/ParameterPLU1.ini", "Standard", section, t);
        std::vector<std::string> v;
        for (size_t i = 0; i < t.size(); ++i) v.push_back(t.valueAt(i));
        return v;
    });
    return c;
}

// 50 lines in four fonts, each with placeholders, each near its limit as printed.
std::vector<Line> format50() {
    std::vector<Line> lines;
    const std::pair<uint8_t, const char*> rows[] = {
        {3, "NO. %%(3001) %%(3002)"}, {5, "%%(3101) %%(3103)"}, {9, "TOTAL%%(1311)"}, {3, "%%(1002) SCALE %%(1003)"},
        {0, "QTY %%(3103) WT %%(3104) AMT %%(3101)"}};
    for (int k = 0; k < 50; ++k) lines.push_back({rows[k % 5].first, rows[k % 5].second});
    return lines;
}

void BM_KeystrokeOn50Lines(benchmark::State& state) {
    const codec::CodePage page("CP1252");
    std::vector<Line> lines = format50();
    std::vector<std::string> text;
    for (const Line& l : lines) text.push_back(l.text);
    int k = 0;
    for (auto _ : state) {
        // The typed line: decoded and measured against its limit.
        std::string& typed = text[static_cast<size_t>(k++ % 50)];
        typed.push_back('x');
        benchmark::DoNotOptimize(lineBytes(typed, catalogue(), page));
        typed.pop_back();
        // The preview: every line decoded and drawn.
        ui::PreviewBlock b;
        for (size_t i = 0; i < text.size(); ++i)
            b.lines.push_back({QString::fromStdString(decodeStr(text[i], catalogue())), lines[i].font});
        QImage img = ui::renderReceipt({b}, 1.0);
        benchmark::DoNotOptimize(img.bits());
    }
}
BENCHMARK(BM_KeystrokeOn50Lines)->Unit(benchmark::kMillisecond);

void sequencePreview(benchmark::State& state, bool label) {
    const codec::CodePage page("CP1252");
    std::vector<Bytes> streams(10, buildLineStream(format50()));
    for (auto _ : state) {
        std::vector<ui::PreviewBlock> blocks;
        for (const Bytes& s : streams) {
            ui::PreviewBlock b;
            for (const Line& l : parseLineStream(s).lines) {
                const std::string utf8 = page.decode(reinterpret_cast<const uint8_t*>(l.text.data()), l.text.size());
                b.lines.push_back({QString::fromStdString(decodeStr(utf8, catalogue())), l.font});
            }
            blocks.push_back(std::move(b));
        }
        if (label) {
            ui::LabelImage img = ui::renderLabels(blocks, 40, 1.0, "next label");
            benchmark::DoNotOptimize(img.image.bits());
        } else {
            QImage img = ui::renderReceipt(blocks, 1.0);
            benchmark::DoNotOptimize(img.bits());
        }
    }
}
void BM_SequenceOfTenFormatsReceipt(benchmark::State& state) { sequencePreview(state, false); }
void BM_SequenceOfTenFormatsLabels(benchmark::State& state) { sequencePreview(state, true); }
BENCHMARK(BM_SequenceOfTenFormatsReceipt)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SequenceOfTenFormatsLabels)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QGuiApplication app(qtArgc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
