// Transfer throughput: 100,000 PLU records (a mix of sizes) sent to ten
// emulated scales at once on loopback and fetched back into RC_25, against
// the floor of copying the same bytes once over one plain loopback TCP
// connection. Prints seconds and MB/s for each.
#include <sqlite3.h>
#include <sys/socket.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "emulated_scale.h"
#include "store/rebuild.h"
#include "transfer/engine.h"
#include "transfer/net.h"

using namespace brindale::transfer;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

namespace {

constexpr int kRecords = 100000;
constexpr int kScales = 10;

double seconds(Clock::duration d) { return std::chrono::duration<double>(d).count(); }

void exec(sqlite3* db, const std::string& sql) {
    char* msg = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &msg) != SQLITE_OK) {
        std::fprintf(stderr, "%s: %s\n", sql.substr(0, 60).c_str(), msg ? msg : "?");
        std::exit(1);
    }
}

// A PLU record: number packed in bytes 0-3, length in 4-5. Sizes: most
// short, some with ingredient texts, a few long ones with nutrition and
// long texts.
std::vector<uint8_t> plu(uint32_t n, std::mt19937& rng) {
    const unsigned pick = rng() % 100;
    size_t size = pick < 70 ? 60 + rng() % 140 : pick < 95 ? 200 + rng() % 400 : 600 + rng() % 1400;
    std::vector<uint8_t> r(size);
    uint32_t v = n;
    for (int i = 3; i >= 0; --i) {
        r[size_t(i)] = uint8_t((v % 10) | ((v / 10 % 10) << 4));
        v /= 100;
    }
    r[4] = uint8_t(size >> 8);
    r[5] = uint8_t(size);
    for (size_t i = 6; i < size; ++i) r[i] = uint8_t(rng());
    return r;
}

// Copies total bytes once over one loopback connection.
double plainCopy(uint64_t total) {
    uint16_t port = 0;
    std::string error;
    net::Socket listener = net::bindTcp("127.0.0.1", 0, true, port, error);
    if (!listener.valid()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(1);
    }
    std::thread reader([&] {
        net::Socket s = net::acceptFor(listener, std::chrono::milliseconds(5000));
        std::vector<uint8_t> buf(256 * 1024);
        uint64_t got = 0;
        while (got < total) {
            const ssize_t n = ::recv(s.fd(), buf.data(), buf.size(), 0);
            if (n > 0) got += uint64_t(n);
            else if (n == 0) break;
            else if (errno != EAGAIN && errno != EINTR) break;
            else std::this_thread::yield();
        }
    });
    net::Socket s;
    net::Limits lim;
    net::connectTo(s, "127.0.0.1", port, std::chrono::milliseconds(2000), lim, error);
    std::vector<uint8_t> chunk(256 * 1024, 0x5A);
    const auto t0 = Clock::now();
    for (uint64_t sent = 0; sent < total;) {
        const size_t n = size_t(std::min<uint64_t>(chunk.size(), total - sent));
        net::sendAll(s, chunk.data(), n, lim, error);
        sent += n;
    }
    reader.join();
    return seconds(Clock::now() - t0);
}

}  // namespace

int main() {
    std::string tmpl = (fs::temp_directory_path() / "brindale-bench-XXXXXX").string();
    if (!mkdtemp(tmpl.data())) return 1;
    const fs::path dir = tmpl;
    fs::create_directories(dir / "Database");
    const std::string dbPath = (dir / "Database" / "Brindale1.mdb").string();

    // The program's own schema: the PLU tables as wide as they are in a real run.
    if (brindale::store::rebuildDatabase(std::string(BRINDALE_SOURCE_ROOT) + "/Database/ABC1.txt", dbPath, 0) != 0)
        return 1;
    sqlite3* db = nullptr;
    sqlite3_open(dbPath.c_str(), &db);

    std::mt19937 rng(42);
    uint64_t fileBytes = 0;
    exec(db, "BEGIN");
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO KVR_25 (KVRBinData, Is_Selected) VALUES (?, 1)", -1, &st, nullptr);
    for (int n = 1; n <= kRecords; ++n) {
        auto r = plu(uint32_t(n), rng);
        fileBytes += r.size();
        sqlite3_bind_blob(st, 1, r.data(), int(r.size()), SQLITE_TRANSIENT);
        sqlite3_step(st);
        sqlite3_reset(st);
    }
    sqlite3_finalize(st);

    std::vector<std::unique_ptr<brindale::scaleemu::EmulatedScale>> scales;
    uint16_t port = 0;
    for (int attempt = 0; attempt < 8 && int(scales.size()) < kScales; ++attempt) {
        scales.clear();
        port = 0;
        for (int i = 0; i < kScales; ++i) {
            brindale::scaleemu::ScaleOptions o;
            o.address = "127.0.0." + std::to_string(2 + i);
            o.port = port;
            auto s = std::make_unique<brindale::scaleemu::EmulatedScale>(o);
            std::string error;
            if (!s->start(error)) break;
            port = s->port();
            exec(db, "INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('127.  0.  0. " +
                         std::string(i + 2 < 10 ? " " : "") + std::to_string(i + 2) + "', 'B" + std::to_string(i) +
                         "', 1, 1, 1)");
            scales.push_back(std::move(s));
        }
        if (int(scales.size()) < kScales) exec(db, "DELETE FROM SCALE");
    }
    exec(db, "COMMIT");
    sqlite3_close(db);
    if (int(scales.size()) < kScales) {
        std::fprintf(stderr, "could not start %d emulated scales\n", kScales);
        return 1;
    }

    TransferOptions opt;
    opt.port = port;
    const double total = double(fileBytes) * kScales;
    const double mb = total / 1e6;
    std::printf("records per scale: %d, bytes per scale: %llu (mean record %.0f bytes), scales: %d, total %.1f MB\n",
                kRecords, (unsigned long long)fileBytes, double(fileBytes) / kRecords, kScales, mb);

    TransferRequest down{dbPath, 1, 1, 0, {"25"}};
    auto t0 = Clock::now();
    auto s1 = TransferEngine(down, opt).run();
    const double tDown = seconds(Clock::now() - t0);
    size_t ok = s1.countDone();
    for (auto& s : scales)
        if (s->recordCount("25") != size_t(kRecords)) ok = 0;
    std::printf("download to %d scales: %.2f s, %.1f MB/s (%zu of %d scales complete)\n", kScales, tDown, mb / tDown,
                ok, kScales);

    TransferRequest up{dbPath, 1, 1, 1, {"25"}};
    t0 = Clock::now();
    auto s2 = TransferEngine(up, opt).run();
    const double tUp = seconds(Clock::now() - t0);
    sqlite3_open(dbPath.c_str(), &db);
    sqlite3_prepare_v2(db, "SELECT count(*) FROM RC_25", -1, &st, nullptr);
    sqlite3_step(st);
    const long long rows = sqlite3_column_int64(st, 0);
    sqlite3_finalize(st);
    sqlite3_close(db);
    std::printf("upload from %d scales into RC_25: %.2f s, %.1f MB/s (%lld rows, %zu of %d scales complete)\n",
                kScales, tUp, mb / tUp, rows, s2.countDone(), kScales);

    const double tFloor = plainCopy(uint64_t(total));
    std::printf("floor, the same %.1f MB once over one plain loopback TCP connection: %.2f s, %.1f MB/s\n", mb,
                tFloor, mb / tFloor);

    for (auto& s : scales) s->stop();
    std::error_code ec;
    fs::remove_all(dir, ec);
    const bool good = s1.countDone() == size_t(kScales) && s2.countDone() == size_t(kScales) &&
                      rows == (long long)kRecords * kScales;
    return good ? 0 : 1;
}
