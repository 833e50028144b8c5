// The largest image, 448 x 1760 pixels, into its 49 blocks and the end record: from pixels in
// memory, and from a BMP file through Qt's reader to the rows of KVR_37 in a database file.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <QImage>
#include <QTemporaryDir>
#include <random>

#include "scalefiles/picture_rows.h"
#include "scalefiles/pictures.h"
#include "scalefiles/ui/picture_window.h"
#include "store/database.h"

using namespace brindale;
using namespace brindale::scalefiles;

namespace {

QImage largest() {
    QImage img(kImageMaxWidth, kImageMaxHeight, QImage::Format_ARGB32);
    std::mt19937 rng(1);
    for (int y = 0; y < img.height(); ++y) {
        auto* line = reinterpret_cast<uint32_t*>(img.scanLine(y));
        for (int x = 0; x < img.width(); ++x) line[x] = (rng() & 1) ? 0xFF000000u : 0xFFFFFFFFu;
    }
    return img;
}

void BM_PackImageInMemory(benchmark::State& state) {
    const QImage img = largest();
    const int width = padImageWidth(img.width());
    for (auto _ : state) {
        auto records = packImage(pixelsOf(img), width, 1);
        if (records.size() != 50) state.SkipWithError("not 50 records");
        benchmark::DoNotOptimize(records);
    }
}
BENCHMARK(BM_PackImageInMemory)->Unit(benchmark::kMillisecond);

void BM_FileToTableRows(benchmark::State& state) {
    QTemporaryDir dir;
    const QString bmp = dir.filePath("largest.bmp");
    largest().save(bmp, "BMP");
    const std::string dbPath = dir.filePath("work.db").toStdString();
    sqlite3* raw = nullptr;
    sqlite3_open(dbPath.c_str(), &raw);
    sqlite3_exec(raw, "CREATE TABLE KVR_37 (KVRBinData BLOB, Is_Selected INTEGER)", nullptr, nullptr, nullptr);
    sqlite3_close(raw);
    auto db = store::Database::open(dbPath);
    for (auto _ : state) {
        clearPictureRows(*db, PictureTable::Image);
        const LoadedPicture p = loadPicture(bmp);
        writePictureRows(*db, PictureTable::Image, packImage(pixelsOf(p.argb), padImageWidth(p.argb.width()), 1));
    }
    if (pictureRows(*db, PictureTable::Image).size() != 50) state.SkipWithError("not 50 rows");
}
BENCHMARK(BM_FileToTableRows)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
