// Key sheets on a generated store of 100,000 PLUs (or BRINDALE_BENCH_PLUS): the automatic fill of
// 120 keys, the first paint of GridBrowse after cmdBrowse, DrawPresetKeys of 120 keys with all
// 360 pages named, and the store PDF of 100 scales.
//   bench_presetkey [benchmark options]
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPushButton>
#include <QTableView>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "generated_app.h"
#include "presetkey/key_value.h"
#include "presetkey/paint.h"
#include "presetkey/ui/preset_windows.h"
#include "shell/lifecycle.h"
#include "shell/paths.h"
#include "shell/program_state.h"
#include "store/hierarchy.h"

namespace fs = std::filesystem;
using namespace brindale;
namespace pk = presetkey;

namespace {

std::unique_ptr<shell::ProgramState> state;
pk::ui::SheetState sheet;
std::string appDir;

store::Database& db() { return *state->Conn; }

void BM_AutoFillOfTheStore(benchmark::State& s) {
    pk::FillResult r;
    for (auto _ : s) r = pk::autoFill(db(), sheet.ref, 1, pk::FillScope::Store, 0, *state->codePage);
    s.counters["keys"] = r.filled;
}

void BM_PeerSelectOfTheFirstPlus(benchmark::State& s) {
    long n = 0;
    for (auto _ : s) {
        auto st = db().prepare("SELECT PLU_No, PLU_Commodity FROM KVR_25 WHERE ST_No=1 ORDER BY PLU_No LIMIT 120");
        n = 0;
        while (st->step()) ++n;
    }
    s.counters["rows"] = n;
}

void BM_GridBrowseFirstPaint(benchmark::State& s) {
    long rows = 0, read = 0;
    for (auto _ : s) {
        pk::ui::FrmPutPreKey put(*state, sheet, 1);
        put.show();
        QApplication::processEvents();
        put.findChild<QPushButton*>("cmdBrowse")->click();
        QApplication::processEvents();
        put.findChild<QTableView*>("GridBrowse")->viewport()->repaint();
        rows = put.browseModel()->rowCount();
        read = put.browseModel()->rowsRead();
        s.PauseTiming();
        put.hide();
        s.ResumeTiming();
    }
    s.counters["rows"] = rows;
    s.counters["rows_read"] = read;
}

std::vector<pk::KeyPages> fullSheet() {
    std::vector<pk::KeyPages> keys(120);
    for (int k = 0; k < 120; ++k)
        for (int p = 0; p < 3; ++p)
            keys[size_t(k)][size_t(p)] = {k + 1, "Name " + std::to_string(k) + " of page " + std::to_string(p), false};
    return keys;
}

void BM_DrawPresetKeys120(benchmark::State& s) {
    const auto keys = fullSheet();
    QImage img(1400, 1000, QImage::Format_RGB32);  // a screen's picture area at 96 dpi
    img.setDotsPerMeterX(3780);
    img.setDotsPerMeterY(3780);
    for (auto _ : s) {
        QPainter p(&img);
        pk::drawPresetKeys(p, sheet.layout, keys, pk::defaultShadow());
    }
}

void BM_StorePdfOf100Scales(benchmark::State& s) {
    const std::string file = appDir + "/store.pdf";
    size_t pages = 0;
    for (auto _ : s) {
        auto sheets = pk::ui::FrmPresetKey::storeSheets(*state, 1);
        QString error;
        if (!pk::writeSheetsPdf(QString::fromStdString(file), sheets, error))
            s.SkipWithError(error.toStdString().c_str());
        pages = sheets.size();
    }
    s.counters["pages"] = double(pages);
    s.counters["MB"] = double(fs::file_size(file)) / 1e6;
}

}  // namespace

BENCHMARK(BM_AutoFillOfTheStore)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(BM_PeerSelectOfTheFirstPlus)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(BM_GridBrowseFirstPaint)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_DrawPresetKeys120)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(BM_StorePdfOf100Scales)->Unit(benchmark::kMillisecond)->Iterations(2);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const long plus = std::getenv("BRINDALE_BENCH_PLUS") ? std::atol(std::getenv("BRINDALE_BENCH_PLUS")) : 100000;
    int qtArgc = 1;
    QApplication qapp(qtArgc, argv);
    appDir = (fs::temp_directory_path() / ("brindale-bench-presetkey-" + std::to_string(getpid()))).string();
    fs::create_directories(appDir + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", appDir + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", appDir + "/Database/ABC1.txt");
    if (!bench::writeGeneratedChain(appDir, plus, 1, 42)) return 1;
    state = std::make_unique<shell::ProgramState>();
    state->appDir = appDir;
    bench::QuietView view;
    const auto t0 = std::chrono::steady_clock::now();
    if (shell::runStartup(*state, view) != shell::StartResult::Ok) return 1;
    std::printf("started on %ld PLUs in %.1f s\n", plus,
                std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    // 100 scales of store 1 on layout 8 (120 keys), each with a sheet of 360 named pages.
    db().exec("DELETE FROM SCALE");
    store::Transaction tx(db());
    auto ins = db().prepare(
        "INSERT INTO KVR_41 (Scale_IP, PSK_Layout, Number, Key_Switch, Status, Name, KVRBinData, Is_Selected) "
        "VALUES (?1, 8, ?2, ?3, 0, ?4, ?5, 0)");
    for (int i = 0; i < 100; ++i) {
        const std::string ip = store::padAddress("10.0." + std::to_string(i / 50) + "." + std::to_string(i % 250 + 1));
        db().exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, SC_PSK_Layout, ST_No, SECT_No) VALUES ('" + ip +
                  "', 'S', 1, 8, 1, " + std::to_string(i % 4 + 1) + ")");
        for (int n = 1; n <= 360; ++n) {
            auto rec = pk::keyRecord(n, 120, 0, n);
            ins->reset();
            ins->bind(1, store::Value(ip));
            ins->bind(2, store::Value(n));
            ins->bind(3, store::Value(n));
            ins->bind(4, store::Value("Name " + std::to_string(n) + " of the sheet"));
            ins->bind(5, store::Value(store::Bytes(rec->begin(), rec->end())));
            ins->step();
        }
    }
    ins.reset();
    tx.commit();
    auto opened = pk::ui::openSheet(*state, store::padAddress("10.0.0.1"), nullptr);
    if (!opened) return 1;
    sheet = *opened;
    sheet.ref.scaleIP = store::padAddress("192.168.9.9");  // the fill works on a sheet of its own
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    state->closeDatabase();
    fs::remove_all(appDir);
    return 0;
}
