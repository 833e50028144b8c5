// The main window's PLU transfer commands, offscreen, on a generated store of 100,000 PLUs and ten
// emulated scales (127.0.0.2 to 127.0.0.11, one port, five in each section of store 1, the store
// selected in the tree):
//  - cmdSendAll of every PLU, each with a stale record, from the click to the progress window's
//    summary: frmDownLoad's packing of all 100,000 and the transfer apart;
//  - menuUpLoad of the 1,000,000 records back into RC_25, from the click to the summary (the review
//    replaced by one that only counts), with the engine's stage times of every scale;
//  - beside it, the sqlite3 client inserting the same 1,000,000 records into RC_25 of a database
//    built from the same schema text, one transaction.
//   bench_flows
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "emulated_scale.h"
#include "generated_app.h"
#include "insert_peer.h"
#include "shell/application.h"
#include "shell/main_window.h"
#include "shell/messages.h"
#include "shell/program_state.h"
#include "shell/tree_controller.h"
#include "transfer/ui/main_transfers.h"

namespace fs = std::filesystem;
using namespace brindale;
using Clock = std::chrono::steady_clock;

namespace {

constexpr long kPlus = 100000;
constexpr int kScales = 10;

double secs(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

std::string padded(const std::string& ip) {
    std::string out, group;
    auto flush = [&] {
        out += std::string(3 - group.size(), ' ') + group;
        group.clear();
    };
    for (char c : ip) {
        if (c == '.') {
            flush();
            out += '.';
        } else {
            group += c;
        }
    }
    flush();
    return out;
}

// Processor time of this process so far (the program and the emulated scales, all threads).
double cpuNow() {
    rusage r{};
    getrusage(RUSAGE_SELF, &r);
    return double(r.ru_utime.tv_sec + r.ru_stime.tv_sec) + double(r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
}

double loadNow() {
    double l[3] = {0, 0, 0};
    getloadavg(l, 3);
    return l[0];
}

// Looks at the modal windows every millisecond: presses frmDownLoad's OK as soon as its packing
// has ended, and closes the progress window as soon as its summary shows, noting when.
class Watch {
public:
    Watch() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(1);
        QObject::connect(&timer_, &QTimer::timeout, [this] { poll(); });
        timer_.start();
    }
    void reset() {
        t = {};
        seenDialog = seenSummary = false;
        summary.clear();
    }

    struct Times {
        Clock::time_point dialog, packed, summaryShown;
    };
    Times t;
    bool seenDialog = false, seenSummary = false;
    QString summary;

private:
    void poll() {
        QWidget* m = QApplication::activeModalWidget();
        if (!m) return;
        if (m->objectName() == "frmDownLoad") {
            if (!seenDialog) {
                seenDialog = true;
                t.dialog = Clock::now();
            }
            auto* ok = m->findChild<QPushButton*>("cmdOK");
            if (ok && ok->isEnabled()) {
                t.packed = Clock::now();
                ok->click();
            }
        } else if (m->objectName() == "frmTransfer") {
            auto* close = m->findChild<QPushButton*>("cmdClose");
            if (close && close->isEnabled()) {
                t.summaryShown = Clock::now();
                seenSummary = true;
                if (auto* l = m->findChild<QLabel*>("lblSummary")) summary = l->text();
                close->click();
            }
        }
    }
    QTimer timer_;
};

void printStages(const transfer::TransferSummary& s) {
    using transfer::StageTimes;
    std::printf("  engine: %.3f s in all, of which %.3f s reading the request from the database\n",
                secs(s.totalTime), secs(s.prepareTime));
    std::printf("  %-6s %-16s %9s %9s %9s %9s %9s\n", "scale", "address", "connect", "wire", "wait db", "insert",
                "total");
    std::chrono::nanoseconds wireMax{0}, wireMin{std::chrono::hours(1)}, insertSum{0}, totalMax{0};
    for (const auto& o : s.scales) {
        const StageTimes& t = o.times;
        std::printf("  %-6s %-16s %9.3f %9.3f %9.3f %9.3f %9.3f\n", o.target.name.c_str(),
                    o.target.paddedAddress.c_str(), secs(t.connect), secs(t.wire), secs(t.waitDb), secs(t.insert),
                    secs(t.total));
        wireMax = std::max(wireMax, t.wire);
        wireMin = std::min(wireMin, t.wire);
        insertSum += t.insert;
        totalMax = std::max(totalMax, t.total);
    }
    std::printf("  wire (records arriving and checked, the scales at once): %.3f to %.3f s\n", secs(wireMin),
                secs(wireMax));
    std::printf("  insert into RC_25 (the scales one after another): %.3f s in all\n", secs(insertSum));
    std::printf("  the slowest scale from its start to its end: %.3f s\n", secs(totalMax));
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    QApplication qapp(qtArgc, argv);
    std::printf("load average at the beginning: %.2f\n", loadNow());

    const std::string appDir =
        (fs::temp_directory_path() / ("brindale-bench-flows-" + std::to_string(getpid()))).string();
    fs::remove_all(appDir);
    // The folder goes on every way out, early failures included.
    struct Cleanup {
        std::string dir;
        ~Cleanup() {
            std::error_code ec;
            fs::remove_all(dir, ec);
        }
    } cleanup{appDir};
    fs::create_directories(appDir + "/Database");
    fs::copy(std::string(BRINDALE_SOURCE_ROOT) + "/ini", appDir + "/ini", fs::copy_options::recursive);
    const std::string schema = std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt";
    fs::copy_file(schema, appDir + "/Database/ABC1.txt");
    if (!bench::writeGeneratedChain(appDir, kPlus, 1, 42)) return 1;
    shell::Messages::setResponder([](const shell::MessageRecord& m) {
        std::printf("  message: %s\n", m.text.toUtf8().constData());
        return m.buttons == shell::MsgButtons::YesNo || m.buttons == shell::MsgButtons::YesNoCancel
                   ? shell::MsgResult::Yes
                   : shell::MsgResult::Ok;
    });

    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    uint16_t port = 0;
    for (int attempt = 0; attempt < 8 && int(scales.size()) < kScales; ++attempt) {
        scales.clear();
        port = 0;
        for (int i = 0; i < kScales; ++i) {
            scaleemu::ScaleOptions o;
            o.address = "127.0.0." + std::to_string(2 + i);
            o.port = port;
            auto s = std::make_unique<scaleemu::EmulatedScale>(o);
            std::string error;
            if (!s->start(error)) break;
            port = s->port();
            scales.push_back(std::move(s));
        }
    }
    if (int(scales.size()) < kScales) {
        std::fprintf(stderr, "could not start %d emulated scales on one port\n", kScales);
        return 1;
    }

    int status = 1;
    {
        auto app = std::make_unique<shell::Application>(appDir);
        if (app->start() != 0) return 1;
        shell::ProgramState& state = app->state();
        shell::MainWindow& w = *app->mainWindow();
        store::Database& db = *state.Conn;
        db.exec("DELETE FROM SCALE");
        for (int i = 0; i < kScales; ++i)
            db.exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" +
                    padded("127.0.0." + std::to_string(2 + i)) + "', 'B" + std::to_string(i + 1) + "', 1, 1, " +
                    std::to_string(1 + i % 2) + ")");
        transfer::TransferOptions opt;
        opt.port = port;
        // BRINDALE_BENCH_INSERT_CHUNK compares chunk sizes (a very large one stores each file whole).
        if (const char* chunk = std::getenv("BRINDALE_BENCH_INSERT_CHUNK")) opt.insertChunk = std::strtoul(chunk, nullptr, 10);
        std::printf("fetched records stored in chunks of %zu\n", opt.insertChunk);
        w.KVRDataTrans1().setOptions(opt);
        auto* transfers = transfer::ui::MainTransfers::of(w);
        if (!transfers || !shell::TreeController::of(w)->selectKey("STORE 1")) {
            std::fprintf(stderr, "no transfer commands, or no node STORE 1 in the tree\n");
            return 1;
        }
        // Every record stale, so that the dialog packs them all; every PLU of the store marked by
        // the list's own command, as the operator does.
        db.exec("UPDATE KVR_25 SET Is_Selected = 0, KVRBinData = NULL");
        QApplication::processEvents();
        QPushButton* selectAll = w.button("cmdSelectAll");
        if (!selectAll || !selectAll->isEnabled()) {
            std::fprintf(stderr, "cmdSelectAll is off with STORE 1 selected\n");
            return 1;
        }
        selectAll->click();
        QApplication::processEvents();
        {
            auto st = db.prepare("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected = 1 AND KVRBinData IS NULL");
            const long marked = st->step() ? long(st->columnInt(0)) : -1;
            if (marked != kPlus) {
                std::fprintf(stderr, "%ld PLUs marked with stale records, not %ld\n", marked, kPlus);
                return 1;
            }
        }

        Watch watch;
        QPushButton* send = w.button("cmdSendAll");
        if (!send || !send->isEnabled()) {
            std::fprintf(stderr, "cmdSendAll is off with STORE 1 selected\n");
            return 1;
        }
        std::printf("cmdSendAll of %ld PLUs with stale records to %d scales (store 1, both sections)\n", kPlus,
                    kScales);
        auto t0 = Clock::now();
        double cpu0 = cpuNow();
        send->click();
        const auto sendEnd = Clock::now();
        const double sendCpu = cpuNow() - cpu0;
        const transfer::TransferSummary sent = w.KVRDataTrans1().lastSummary();
        bool complete = watch.seenDialog && watch.seenSummary && sent.countDone() == size_t(kScales);
        for (auto& s : scales) complete = complete && s->recordCount("25") == size_t(kPlus);
        std::printf("  click to summary: %.3f s (goal 3 s): packing %.3f s (click to frmDownLoad's OK on), "
                    "transfer %.3f s (OK to the summary); the click returned after %.3f s\n",
                    secs(watch.t.summaryShown - t0), secs(watch.t.packed - t0),
                    secs(watch.t.summaryShown - watch.t.packed), secs(sendEnd - t0));
        std::printf("  %zu of %d scales done, every scale holds %ld records: %s; processor time %.3f s; load %.2f\n",
                    sent.countDone(), kScales, kPlus, complete ? "yes" : "NO", sendCpu, loadNow());
        printStages(sent);
        std::fflush(stdout);

        long reviewed = -1;
        Clock::time_point reviewAt;
        watch.reset();
        std::printf("menuUpLoad of %ld records from %d scales into RC_25\n", kPlus * kScales, kScales);
        t0 = Clock::now();
        cpu0 = cpuNow();
        double upCpu = 0;
        transfers->setReviewer([&](long rows) {
            reviewed = rows;
            reviewAt = Clock::now();
            upCpu = cpuNow() - cpu0;
        });
        w.action("menuUpLoad")->trigger();
        const auto upEnd = Clock::now();
        const transfer::TransferSummary up = w.KVRDataTrans1().lastSummary();
        const double upSeconds = secs(watch.t.summaryShown - t0);
        const bool upComplete = watch.seenSummary && up.countDone() == size_t(kScales) && reviewed == kPlus * kScales;
        std::printf("  click to summary: %.3f s (goal 3 s); the review was called with %ld rows %.3f s after the "
                    "click; the click returned after %.3f s (RC_25 emptied, the list refreshed)\n",
                    upSeconds, reviewed, secs(reviewAt - t0), secs(upEnd - t0));
        std::printf("  %zu of %d scales done, all rows there: %s; processor time to the review %.3f s; load %.2f\n",
                    up.countDone(), kScales, upComplete ? "yes" : "NO", upCpu, loadNow());
        printStages(up);
        std::printf("  outside the engine, click to summary: %.3f s (the flow's start, the progress window)\n",
                    upSeconds - secs(up.totalTime));
        std::fflush(stdout);

        // The peer: the same records, in the same order, by the sqlite3 client; one INSERT per
        // record, and 100 records to an INSERT as the engine does.
        const bench::RecordSource records = [&](const bench::RecordSink& sink) {
            for (auto& s : scales)
                for (const auto& [n, r] : s->file("25")) sink(r.data(), r.size());
        };
        std::chrono::nanoseconds insertSum{0};
        for (const auto& o : up.scales) insertSum += o.times.insert;
        bool peerOk = true;
        // BRINDALE_BENCH_NO_PEER=1 leaves the sqlite3 client out (quicker comparisons of our own side).
        const bool withPeer = !std::getenv("BRINDALE_BENCH_NO_PEER");
        for (int rowsPerInsert : {1, 100}) {
            if (!withPeer) break;
            bench::InsertPeerFigures peer;
            peerOk = bench::sqliteInsertPeer(schema, appDir, records, rowsPerInsert, peer) &&
                     peer.rows == kPlus * kScales && peerOk;
            std::printf("sqlite3 client, the same %lld records into RC_25, %d to an INSERT (script of %.0f MB, one "
                        "transaction): %.3f s\n",
                        peer.rows, rowsPerInsert, peer.scriptMegabytes, peer.seconds);
            std::printf("  menuUpLoad click to summary / client: %.2f (goal 1.2); the engine's insert alone / "
                        "client: %.2f; load %.2f\n",
                        upSeconds / peer.seconds, secs(insertSum) / peer.seconds, loadNow());
            std::fflush(stdout);
        }
        status = complete && upComplete && peerOk ? 0 : 1;
        app.reset();
    }
    for (auto& s : scales) s->stop();
    fs::remove_all(appDir);
    return status;
}
