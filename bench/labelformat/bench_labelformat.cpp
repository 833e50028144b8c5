// decodeFormat plus codeFormat over 99 formats of 1664 bytes in a working database made from the
// shipped schema, the record reader over one full record, and one preview of a full label.
#include <benchmark/benchmark.h>

#include <QGuiApplication>

#include <random>

#include "labelformat/codec.h"
#include "labelformat/item_string.h"
#include "labelformat/label_sample.h"
#include "labelformat/record_reader.h"
#include "labelformat/ui/label_render.h"
#include "store/rebuild.h"
#include "store/recordset.h"
#include <filesystem>
#include <unistd.h>

using namespace brindale;
using namespace brindale::labelformat;

namespace {

Bytes fullRecord(int number, std::mt19937& rng) {
    Bytes r(1664);
    for (auto& b : r) b = static_cast<uint8_t>(rng());
    r[0] = r[1] = r[2] = 0;
    r[3] = static_cast<uint8_t>((number / 10) << 4 | (number % 10));
    r[4] = 0x06;
    r[5] = 0x80;
    return r;
}

struct Db {
    std::filesystem::path dir = std::filesystem::temp_directory_path() / ("bench_labelformat_" + std::to_string(::getpid()));
    std::unique_ptr<store::Database> db;
    ~Db() {
        db.reset();
        std::filesystem::remove_all(dir);
    }
    Db() {
        std::filesystem::create_directories(dir);
        store::rebuildDatabase(BRINDALE_SCHEMA_TEXT, (dir / "Brindale1.mdb").string(), 0);
        db = store::Database::open((dir / "Brindale1.mdb").string());
        std::mt19937 rng(7);
        store::Recordset rs(*db, "KVR_34");
        for (int n = 1; n <= 99; ++n) {
            rs.addNew();
            rs.setValue(0, store::Value(std::to_string(n)));
            rs.setValue("KVRBinData", store::Value(fullRecord(n, rng)));
            rs.update();
        }
    }
};

void BM_DecodeAndCode99Formats(benchmark::State& state) {
    Db d;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decodeFormat(*d.db));
        benchmark::DoNotOptimize(codeFormat(*d.db));
    }
}
BENCHMARK(BM_DecodeAndCode99Formats)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_ReadFullRecord(benchmark::State& state) {
    Db d;
    store::Recordset rs(*d.db, "KVR_34");
    std::vector<store::ColumnDef> cols;
    for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
    const RecordLayout layout = RecordLayout::fromColumns(cols);
    const Bytes rec = rs.value("KVRBinData").bytes();
    RecordView v;
    for (auto _ : state) benchmark::DoNotOptimize(readRecord(rec, layout, v));
}
BENCHMARK(BM_ReadFullRecord)->Unit(benchmark::kMicrosecond);

// A 80 x 100 mm item label with every slot placed (1664 bytes), texts of the widest fonts, both
// barcodes, a picture for its first image item.
struct FullLabel {
    Db d;
    RecordLayout layout;
    Bytes record;
    brindale::labelformat::ui::PreviewData data;
    FullLabel() {
        FormatState st;
        st.LabelWidth = "80";
        st.LabelHeight = "100";
        for (int slot = 0; slot < kItemSlots; ++slot) {
            ItemEdit e;
            e.posX = std::to_string(2 + (slot % 6) * 13);
            e.posY = std::to_string(2 + (slot / 6) * 6);
            e.width = 12;
            e.height = 5;
            e.ItemAttr = slot % 4 == 0 ? "4070" : "0070";  // a quarter turned
            const std::string cls = slotTable()[static_cast<size_t>(slot)].ItemType;
            e.ItemValue = cls == "N1" || cls[0] == 'C' ? "09" : (cls == "B3" ? "4" : (cls == "B4" ? "1" : "02"));
            if (cls == "B1" || cls == "B5") {
                e.width = 40;
                e.height = 15;
            }
            st.ItemString[static_cast<size_t>(slot)] = SaveTempItemString(slot, e);
            st.ItemUsed[static_cast<size_t>(slot)] = st.ItemString[static_cast<size_t>(slot)].empty() ? 0 : 1;
        }
        applySizeRule(st);
        SaveData(*d.db, 100 - 1, st);
        codeFormat(*d.db);
        store::Recordset rs(*d.db, "KVR_34");
        std::vector<store::ColumnDef> cols;
        for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
        layout = RecordLayout::fromColumns(cols);
        for (; !rs.eof(); rs.moveNext())
            if (leadingDecimal(rs.value(0).toText()) == 99) record = rs.value("KVRBinData").bytes();
        QImage picture(96, 40, QImage::Format_ARGB32);
        picture.fill(Qt::transparent);
        for (int y = 0; y < 40; y += 2)
            for (int x = 0; x < 96; ++x) picture.setPixel(x, y, qRgb(0, 0, 0));
        data.images[1] = picture;
    }
};

// What the preview does after each edit: read the record, make the texts and barcode of the PLU,
// draw the label.
void BM_PreviewFullLabel(benchmark::State& state) {
    FullLabel f;
    RecordView v;
    if (!readRecord(f.record, f.layout, v) || v.items.size() < 80 || f.record.size() != 1664) {
        state.SkipWithError("the full label did not come out");
        return;
    }
    PluSample plu;
    plu.found = true;
    plu.PLU_No = 4711;
    plu.unitPrice = 1999;
    plu.name = "Aged Gouda";
    plu.barcode.itemCode = "4711";
    plu.formatLine = "1,1,5, EAN-13: F1 F2 CCCCC X PPPP CD";
    for (auto _ : state) {
        RecordView view;
        readRecord(f.record, f.layout, view);
        f.data.sample = labelSample(plu, NumberFormat{});
        benchmark::DoNotOptimize(brindale::labelformat::ui::renderLabel(view, f.data));
    }
    state.counters["items"] = static_cast<double>(v.items.size());
}
BENCHMARK(BM_PreviewFullLabel)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    // Text is drawn through the font database, which needs a GUI application, not a screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
