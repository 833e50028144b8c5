// frmUpload on many fetched PLU records: RC_25 filled with the records of a generated store (the
// records a scale would send back), then the window's load (every record decoded in memory, the
// review set, the grid painted, the first record on the tabs) and cmdTransfer of every record into
// an empty store (each record decoded again). Peak memory is the process's largest resident size
// so far. Printed for 100,000 and 1,000,000 records (BRINDALE_BENCH_UPLOAD_SIZES, e.g.
// "100000,1000000").
//   bench_upload_review
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QTableView>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sstream>

#include "generated_app.h"
#include "shell/application.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "transfer/ui/upload_window.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {

double since(Clock::time_point t0) { return std::chrono::duration<double>(Clock::now() - t0).count(); }

long peakMegabytes() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss / 1024;
}

int64_t scalar(store::Database& db, const std::string& sql) {
    auto st = db.prepare(sql);
    return st->step() ? st->columnInt(0) : -1;
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::vector<long> sizes;
    {
        std::stringstream in(std::getenv("BRINDALE_BENCH_UPLOAD_SIZES") ? std::getenv("BRINDALE_BENCH_UPLOAD_SIZES")
                                                                         : "100000,1000000");
        std::string part;
        while (std::getline(in, part, ',')) sizes.push_back(std::atol(part.c_str()));
    }
    const long source = 100000;  // distinct generated records; larger sizes repeat them
    int qtArgc = 1;
    QApplication qapp(qtArgc, argv);
    const std::string appDir = (fs::temp_directory_path() / ("brindale-bench-upload-" + std::to_string(getpid()))).string();
    fs::create_directories(appDir + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", appDir + "/ini", fs::copy_options::recursive);
    fs::copy_file(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", appDir + "/Database/ABC1.txt");
    if (!bench::writeGeneratedChain(appDir, source, 1, 42)) return 1;
    shell::Messages::setResponder([](const shell::MessageRecord& m) {
        std::printf("  message: %s\n", m.text.toUtf8().constData());
        return shell::MsgResult::Ok;
    });
    auto app = std::make_unique<shell::Application>(appDir);
    if (app->start() != 0) return 1;
    shell::ProgramState& state = app->state();
    store::Database& db = *state.Conn;
    // The generated store's records are what comes back; the store they go into is empty.
    db.exec("CREATE TABLE bench_records AS SELECT KVRBinData FROM KVR_25");
    db.exec("DELETE FROM KVR_25");
    db.exec("INSERT OR IGNORE INTO STORE (ST_No, ST_Name) VALUES (7, 'Empty')");
    db.exec("INSERT INTO KVR_20 (ST_No, DP_No) VALUES (7, 1)");
    db.exec("INSERT INTO KVR_23 (ST_No, DP_No, MG_No) VALUES (7, 1, 3)");
    state.currentStore = 7;

    for (long n : sizes) {
        db.exec("DELETE FROM RC_25");
        db.exec("DELETE FROM KVR_25");
        for (long have = 0; have < n; have += source)
            db.exec("INSERT INTO RC_25 (KVRBinData) SELECT KVRBinData FROM bench_records LIMIT " +
                    std::to_string(std::min(source, n - have)));
        std::printf("%ld fetched records (%lld bytes of records; peak memory before: %ld MB)\n", n,
                    static_cast<long long>(scalar(db, "SELECT sum(length(KVRBinData)) FROM RC_25")), peakMegabytes());

        auto t0 = Clock::now();
        auto w = std::make_unique<transfer::ui::UploadWindow>(state);
        w->ShowPluData();
        w->show();
        QApplication::processEvents();
        w->findChild<QTableView*>("GridPLUUpload")->viewport()->repaint();
        const double load = since(t0);
        std::printf("  frmUpload decoded and shown: %.3f s (%ld in the grid, %zu unreadable, %ld rows read by the grid)\n",
                    load, w->reviewSet().size(), w->decodeReport().unreadable.size(), w->model()->rowsRead());

        auto& set = w->reviewSet();
        for (long i = 0; i < set.size(); ++i) set.setMarked(i, true);
        t0 = Clock::now();
        w->transferMarked();
        const double take = since(t0);
        std::printf("  cmdTransfer of all into the empty store 7: %.3f s (%lld rows in KVR_25)\n", take,
                    static_cast<long long>(scalar(db, "SELECT count(*) FROM KVR_25 WHERE ST_No=7")));

        // The same take-over written by one plain statement, as a floor.
        db.exec("DELETE FROM KVR_25");
        t0 = Clock::now();
        db.exec("BEGIN");
        db.exec("INSERT INTO KVR_25 SELECT * FROM RC_25");
        db.exec("COMMIT");
        std::printf("  peer: INSERT INTO KVR_25 SELECT * FROM RC_25: %.3f s\n", since(t0));
        std::printf("  peak memory so far: %ld MB\n", peakMegabytes());
        std::fflush(stdout);
        w.reset();
    }
    app.reset();
    fs::remove_all(appDir);
    return 0;
}
