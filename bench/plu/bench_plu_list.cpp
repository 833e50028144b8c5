// The PLU list of the real main window, offscreen, on a generated store of 100,000 PLUs (or the
// count in BRINDALE_BENCH_PLUS): the first paint after the node click, select all, clear all,
// the find by name, saving one PLU, next and previous with the editor refilled, and delete all,
// each beside a plain SQLite statement over the same rows.
//   bench_plu_list [benchmark options]
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "generated_app.h"
#include "plu/plu_list_query.h"
#include "plu/ui/plu_editor_window.h"
#include "plu/ui/plu_list.h"
#include "shell/application.h"
#include "shell/lifecycle.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/tree_controller.h"
#include "store/hierarchy.h"
#include "store/recordset.h"

namespace fs = std::filesystem;
using namespace brindale;

namespace {

std::unique_ptr<shell::Application> app;
std::string appDir;
std::string needle;  // a piece of a generated name

shell::MainWindow& window() { return *app->mainWindow(); }
plu::ui::PluList& list() { return *plu::ui::PluList::of(window()); }
shell::TreeController& tree() { return *shell::TreeController::of(window()); }
store::Database& db() { return *app->state().Conn; }

// What the event loop does after the click: the view's pending layout, then its paint.
void paint() {
    QApplication::processEvents();
    window().pluGrid()->viewport()->repaint();
}

// A node with few PLUs, so that the store's node click is a new list every time.
void otherNode() { tree().selectKey(store::deptKey(1, 1)); }

void BM_FirstPaintFromTheNodeClick(benchmark::State& s) {
    for (auto _ : s) {
        s.PauseTiming();
        otherNode();
        s.ResumeTiming();
        tree().selectKey(store::storeKey(1));
        paint();
    }
    s.counters["rows"] = static_cast<double>(list().shownCount());
    s.counters["rows_read"] = static_cast<double>(list().model()->rowsRead());
}

void BM_PeerSelectOfTheKeyset(benchmark::State& s) {
    long n = 0;
    for (auto _ : s) {
        auto st = db().prepare("SELECT rowid FROM KVR_25 WHERE ST_No =1 ORDER BY PLU_No");
        n = 0;
        while (st->step()) ++n;
    }
    s.counters["rows"] = static_cast<double>(n);
}

void BM_SelectAll(benchmark::State& s) {
    for (auto _ : s) {
        window().button("cmdSelectAll")->click();
        s.PauseTiming();
        db().exec("UPDATE KVR_25 SET Is_Selected=0");
        list().refreshPLUList();
        s.ResumeTiming();
    }
}

void BM_ClearAll(benchmark::State& s) {
    for (auto _ : s) {
        s.PauseTiming();
        db().exec("UPDATE KVR_25 SET Is_Selected=1");
        list().refreshPLUList();
        s.ResumeTiming();
        window().button("cmdClearAll")->click();
    }
}

void BM_PeerUpdateOfTheMarks(benchmark::State& s) {
    for (auto _ : s) db().exec("UPDATE KVR_25 SET Is_Selected=1 WHERE ST_No =1");
    db().exec("UPDATE KVR_25 SET Is_Selected=0");
}

void BM_FindByName(benchmark::State& s) {
    for (auto _ : s) {
        list().find(QString::fromStdString(needle));
        paint();
        s.PauseTiming();
        list().find(QString());
        s.ResumeTiming();
    }
    list().find(QString::fromStdString(needle));
    s.counters["found"] = static_cast<double>(list().shownCount());
    list().find(QString());
}

void BM_PeerLikeSelect(benchmark::State& s) {
    long n = 0;
    for (auto _ : s) {
        auto st = db().prepare("SELECT rowid FROM KVR_25 WHERE ST_No =1 AND PLU_CommodityFirst LIKE '%" + needle +
                               "%' ORDER BY PLU_No");
        n = 0;
        while (st->step()) ++n;
    }
    s.counters["found"] = static_cast<double>(n);
}

// The editor of the current PLU: a price typed and saved (checks, save, Update, the list
// refreshed onto the row), beside a plain UPDATE of the same row.
plu::ui::PluEditor& editor() { return *qobject_cast<plu::ui::PluEditor*>(window().pluTabs()); }

void middleRow() {
    tree().selectKey(store::storeKey(1));
    list().moveTo(list().shownCount() / 2);
}

void BM_SaveOnePlu(benchmark::State& s) {
    middleRow();
    auto* price = qobject_cast<QLineEdit*>(editor().control("meditUPrice"));
    int n = 0;
    for (auto _ : s) {
        s.PauseTiming();
        price->setText(QString("%1.%2").arg(100 + n % 50).arg(n % 100, 2, 10, QChar('0')));
        ++n;
        s.ResumeTiming();
        if (!editor().updatePLU()) s.SkipWithError("the save was refused");
        paint();
    }
}

void BM_PeerUpdateOfOneRow(benchmark::State& s) {
    middleRow();
    const int64_t id = list().currentRowId();
    int n = 0;
    for (auto _ : s) {
        db().exec("UPDATE KVR_25 SET PLU_UPrice=" + std::to_string(10000 + n++) + " WHERE rowid=" + std::to_string(id));
    }
}

// Next and previous in turn, the editor refilled from the row (ShowPluData) and painted.
void BM_NextOrPreviousWithTheEditorRefilled(benchmark::State& s) {
    middleRow();
    bool down = true;
    for (auto _ : s) {
        if (down) list().cmdDown();
        else list().cmdUp();
        down = !down;
        paint();
        editor().repaint();
    }
}

void BM_PeerSelectOfOneRow(benchmark::State& s) {
    middleRow();
    const int64_t id = list().currentRowId();
    for (auto _ : s) {
        store::Recordset rs(db(), "select * from KVR_25 where rowid=" + std::to_string(id));
        benchmark::DoNotOptimize(rs.intValue("PLU_UPrice"));
    }
}

void BM_DeleteAll(benchmark::State& s) {
    db().exec("CREATE TABLE KVR_25_keep AS SELECT * FROM KVR_25");
    for (auto _ : s) {
        window().button("cmdDelAll")->click();
        s.PauseTiming();
        if (list().shownCount() != 0) s.SkipWithError("the list was not emptied");
        db().exec("INSERT INTO KVR_25 SELECT * FROM KVR_25_keep");
        list().refreshPLUList();
        s.ResumeTiming();
    }
}

void BM_PeerDeleteStatement(benchmark::State& s) {
    for (auto _ : s) {
        db().exec("DELETE FROM KVR_25 WHERE ST_No =1");
        s.PauseTiming();
        db().exec("INSERT INTO KVR_25 SELECT * FROM KVR_25_keep");
        s.ResumeTiming();
    }
}

}  // namespace

BENCHMARK(BM_FirstPaintFromTheNodeClick)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PeerSelectOfTheKeyset)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_SelectAll)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ClearAll)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PeerUpdateOfTheMarks)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_FindByName)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_PeerLikeSelect)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_SaveOnePlu)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(BM_PeerUpdateOfOneRow)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(BM_NextOrPreviousWithTheEditorRefilled)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(BM_PeerSelectOfOneRow)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(BM_DeleteAll)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PeerDeleteStatement)->Unit(benchmark::kMillisecond)->Iterations(3);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const long plus = std::getenv("BRINDALE_BENCH_PLUS") ? std::atol(std::getenv("BRINDALE_BENCH_PLUS")) : 100000;
    int qtArgc = 1;
    QApplication qapp(qtArgc, argv);
    appDir = (fs::temp_directory_path() / ("brindale-bench-plu-" + std::to_string(getpid()))).string();
    fs::create_directories(appDir + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", appDir + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", appDir + "/Database/ABC1.txt");
    // One store of `plus` PLUs, written as the mirror the program starts from.
    if (!bench::writeGeneratedChain(appDir, plus, 1, 42)) return 1;
    shell::Messages::setResponder([](const shell::MessageRecord& m) {
        if (m.buttons == shell::MsgButtons::Ok) std::fprintf(stderr, "message: %s\n", m.text.toUtf8().constData());
        return m.buttons == shell::MsgButtons::Ok ? shell::MsgResult::Ok : shell::MsgResult::Yes;
    });
    const auto t0 = std::chrono::steady_clock::now();
    app = std::make_unique<shell::Application>(appDir);
    if (app->start() != 0) return 1;
    std::printf("program started on %ld PLUs in %.1f s\n", plus,
                std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    window().show();
    window().button("cmdData")->click();
    tree().selectKey(store::storeKey(1));
    // A word of a name in the middle of the list.
    {
        store::Recordset rs(db(), "select * from KVR_25 where ST_No=1 ORDER BY PLU_No");
        rs.setAbsolutePosition(rs.recordCount() / 2);
        std::string name = rs.textValue("PLU_CommodityFirst");
        needle = name.substr(0, std::min<size_t>(name.find(' ') == std::string::npos ? name.size() : name.find(' '), 5));
        std::printf("find needle \"%s\"\n", needle.c_str());
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    app.reset();
    fs::remove_all(appDir);
    return 0;
}
