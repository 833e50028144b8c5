// The transfer history at its limit: 50,000 rows of 40 scales over 400 days in a working database
// made from the shipped schema. Times the window offscreen (first open, which makes the indexes;
// a later open; the scale filter; a one-month day filter; back to all), the query alone, and one
// transfer of 16 scales appended at the limit (the oldest 16 dropped). The window takes the row ids
// of its filter and reads a row when it is painted. Prints milliseconds:
// the median and the slowest of the runs.
//   bench_transfer_log [runs]
#include <sqlite3.h>
#include <stdlib.h>

#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QTableView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "store/rebuild.h"
#include "transfer/transfer_log.h"
#include "transfer/ui/transfer_log_window.h"

using namespace brindale;
using namespace brindale::transfer;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

namespace {

double ms(Clock::duration d) { return std::chrono::duration<double, std::milli>(d).count(); }

void report(const char* what, std::vector<double> t) {
    std::sort(t.begin(), t.end());
    std::printf("%-46s median %7.1f ms   slowest %7.1f ms   (%zu runs)\n", what, t[t.size() / 2], t.back(), t.size());
}

std::vector<double> timeRuns(int runs, const std::function<void()>& setup, const std::function<void()>& act) {
    std::vector<double> t;
    for (int i = 0; i < runs; ++i) {
        if (setup) setup();
        const auto a = Clock::now();
        act();
        t.push_back(ms(Clock::now() - a));
    }
    return t;
}

TransferLogRow rowFor(int i) {
    TransferLogRow r;
    const int day = i * 400 / kTransferLogLimit;  // 400 days, in time order
    char start[32];
    std::snprintf(start, sizeof start, "2023-%02d-%02dT%02d:%02d:%02d", 1 + (day / 28) % 12, 1 + day % 28, 8 + i % 10,
                  i % 60, (i * 7) % 60);
    r.start = start;
    if (day >= 336) r.start.replace(0, 4, "2024");
    r.durationMs = 800 + i % 5000;
    r.mode = i % 3;
    r.tables = "25,20";
    r.store = 1 + i % 4;
    r.scaleName = std::to_string(1 + i % 40);
    r.scaleAddress = "127.0.0." + std::to_string(2 + i % 40);
    r.state = i % 9 == 0 ? "Failed" : "Done";
    r.reason = i % 9 == 0 ? "ErrTimeout" : "";
    r.detail = i % 9 == 0 ? "no answer within 15000 ms (KVR_25 record 18)" : "";
    r.done = i % 9 == 0 ? 17 : 1200;
    r.toDo = 1200;
    r.notes = i % 13 == 0 ? "KVR_25 row 17: no record; not sent" : "";
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;

    std::string tmpl = (fs::temp_directory_path() / "brindale-bench-log-XXXXXX").string();
    if (!mkdtemp(tmpl.data())) return 1;
    const fs::path dir = tmpl;
    const std::string path = (dir / "Brindale1.mdb").string();
    if (store::rebuildDatabase(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", path, 0) != 0) return 1;
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);

    std::vector<TransferLogRow> rows;
    for (int i = 0; i < kTransferLogLimit; ++i) rows.push_back(rowFor(i));
    std::string error;
    auto a = Clock::now();
    if (!appendTransferLog(db, rows, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::printf("%d rows written in %.0f ms\n", kTransferLogLimit, ms(Clock::now() - a));

    auto captions = [](const char*, const char* key) { return std::string(key); };
    auto openWindow = [&] {
        auto* w = new ui::FrmTransferLog(db, captions, LanguageTexts());
        w->show();
        QApplication::processEvents();
        w->findChild<QTableView*>("gridLog")->viewport()->repaint();
        return w;
    };
    auto dropIndexes = [&] {
        sqlite3_exec(db, "DROP INDEX IF EXISTS TRANSFER_LOG_Start; DROP INDEX IF EXISTS TRANSFER_LOG_Scale;", nullptr,
                     nullptr, nullptr);
    };
    ui::FrmTransferLog* w = nullptr;
    report("open, first (makes the indexes)", timeRuns(runs, [&] { delete w; w = nullptr; dropIndexes(); },
                                                      [&] { w = openWindow(); }));
    report("open, later", timeRuns(runs, [&] { delete w; w = nullptr; }, [&] { w = openWindow(); }));
    if (w->model().rowCount() != kTransferLogLimit) {
        std::fprintf(stderr, "the window shows %d rows\n", w->model().rowCount());
        return 1;
    }
    auto* comb = w->findChild<QComboBox*>("combScale");
    auto* from = w->findChild<QDateEdit*>("DTPickerFrom");
    auto* to = w->findChild<QDateEdit*>("DTPickerTo");
    auto* grid = w->findChild<QTableView*>("gridLog");
    auto paint = [&] {
        QApplication::processEvents();
        grid->viewport()->repaint();
    };
    int k = 0;
    report("filter: one scale of 40", timeRuns(runs, [&] { comb->setCurrentIndex(0); paint(); },
                                              [&] { comb->setCurrentIndex(1 + (k++ % 40)); paint(); }));
    std::printf("  rows shown: %d\n", w->model().rowCount());
    comb->setCurrentIndex(0);
    const QDate oldFrom = from->date(), oldTo = to->date();
    report("filter: one month (both dates)", timeRuns(runs, [&] { from->setDate(oldFrom); to->setDate(oldTo); paint(); },
                                                     [&] {
                                                         from->setDate(QDate(2023, 6, 1));
                                                         to->setDate(QDate(2023, 6, 30));
                                                         paint();
                                                     }));
    std::printf("  rows shown: %d\n", w->model().rowCount());
    report("filter: back to everything", timeRuns(runs, [&] { from->setDate(QDate(2023, 6, 1)); to->setDate(QDate(2023, 6, 30)); paint(); },
                                                  [&] { from->setDate(oldFrom); to->setDate(oldTo); paint(); }));
    delete w;

    std::vector<TransferLogRow> all;
    report("query alone, all 50,000 rows", timeRuns(runs, {}, [&] { queryTransferLog(db, {}, all, error); }));
    std::vector<int64_t> ids;
    report("query alone, the row ids the window takes", timeRuns(runs, {}, [&] { queryTransferLogIds(db, {}, ids, error); }));
    std::vector<TransferLogRow> sixteen;
    for (int i = 0; i < 16; ++i) sixteen.push_back(rowFor(kTransferLogLimit + i));
    report("append 16 rows at the limit (16 dropped)", timeRuns(runs, {}, [&] { appendTransferLog(db, sixteen, error); }));

    sqlite3_close(db);
    std::error_code ec;
    fs::remove_all(dir, ec);
    return 0;
}
