#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include "labelformat/codec.h"
#include "labelformat/editor_support.h"
#include "labelformat/record_reader.h"
#include "labelformat/ui/label_preview.h"
#include "labelformat/ui/label_render.h"
#include <QComboBox>
#include <QLabel>
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::labelformat;
using namespace brindale::labelformat::ui;
using brindale::labelformat::test::EditorEnv;

namespace {

// The record of a 56 x 50 mm format 1 holding the given item strings, read back by the reader.
RecordView viewOf(EditorEnv& env, std::initializer_list<std::pair<int, std::string>> items) {
    FormatState st;
    for (const auto& [slot, s] : items) {
        st.ItemString[static_cast<size_t>(slot)] = s;
        st.ItemUsed[static_cast<size_t>(slot)] = 1;
    }
    SaveData(*env.state.Conn, 1, st);
    codeFormat(*env.state.Conn);
    store::Recordset rs(*env.state.Conn, "KVR_34");
    std::vector<store::ColumnDef> cols;
    for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
    RecordView v;
    std::string why;
    EXPECT_TRUE(readRecord(rs.value("KVRBinData").bytes(), RecordLayout::fromColumns(cols), v, &why)) << why;
    return v;
}

std::string item(int xmm, int ymm, const char* attr, int hmm, int wmm, const char* tail) {
    return hex(xmm * 8, 4) + hex(ymm * 8, 4) + attr + hex(hmm * 8, 4) + hex(wmm * 8, 4) + tail;
}

bool black(const QImage& img, int x, int y) { return qGray(img.pixel(x, y)) < 64; }

}  // namespace

TEST(LabelRender, PngIsOnePixelADotAndItsBarcodeReadsBack) {
    EditorEnv env;
    const RecordView v = viewOf(env, {{11, item(3, 3, "0070", 10, 26, "0000")}});
    const QImage img = renderLabel(v);
    EXPECT_EQ(img.size(), QSize(448, 400));
    QTemporaryDir dir;
    const QString png = dir.filePath("label.png");
    ASSERT_TRUE(img.save(png));
    QImage back(png);
    EXPECT_EQ(back.size(), QSize(448, 400));
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", png});
    ASSERT_TRUE(zbar.waitForFinished(20000));
    // Twelve digits of the sample and the check digit 5.
    EXPECT_EQ(QString::fromLatin1(zbar.readAllStandardOutput()).trimmed(), "2000012001505");
}

TEST(LabelRender, StatusDecidesTheModesAnItemPrintsIn) {
    EditorEnv env;
    // A 8 x 4 mm block: status 0 never, status 1 prepack only.
    const RecordView never = viewOf(env, {{15, item(10, 10, "0000", 4, 8, "0000")}});
    for (PrintMode m : {PrintMode::Prepack, PrintMode::Counter, PrintMode::SelfService}) {
        PreviewData d;
        d.mode = m;
        EXPECT_FALSE(black(renderLabel(never, d), 10 * 8 + 16, 400 - 12 * 8)) << static_cast<int>(m);
    }
    const RecordView prepack = viewOf(env, {{15, item(10, 10, "0010", 4, 8, "0000")}});
    PreviewData d;
    EXPECT_TRUE(black(renderLabel(prepack, d), 10 * 8 + 16, 400 - 12 * 8));
    d.mode = PrintMode::Counter;
    EXPECT_FALSE(black(renderLabel(prepack, d), 10 * 8 + 16, 400 - 12 * 8));
}

TEST(LabelRender, TurnedItemStandsWhereTheEditorPutsItsBox) {
    EditorEnv env;
    // Block of 8 x 4 mm at (10, 5) turned 90 degrees: its box is (10 - 4, 5) to (10, 5 + 8) mm.
    const RecordView v = viewOf(env, {{15, item(10, 5, "4070", 4, 8, "0000")}});
    ASSERT_EQ(v.items.size(), 1u);
    EXPECT_EQ(itemRect(v.items[0], 400), QRect(48, 400 - 104, 32, 64));
    const QImage img = renderLabel(v);
    EXPECT_TRUE(black(img, 50, 400 - 100));
    EXPECT_TRUE(black(img, 78, 400 - 42));
    EXPECT_FALSE(black(img, 44, 400 - 70));
    EXPECT_FALSE(black(img, 84, 400 - 70));
    EXPECT_FALSE(black(img, 60, 400 - 108));
}

TEST(LabelPreview, FollowsTheEditorAndZooms) {
    EditorEnv env;
    auto f = env.open();
    f->cmdPreview();
    FrmLabelPreview* p = f->preview();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->objectName(), "frmLabelPreview");
    EXPECT_EQ(p->image().size(), QSize(448, 400));
    EXPECT_FALSE(black(p->image(), 3 * 8 + 100, 400 - 3 * 8 - 20));
    brindale::labelformat::test::tick(f.get(), 11, true);  // a barcode at (3, 3), not saved
    EXPECT_TRUE(black(p->image(), 3 * 8 + 100, 400 - 3 * 8 - 20) || black(p->image(), 3 * 8 + 101, 400 - 3 * 8 - 20));
    EXPECT_EQ(f->SaveState(), "0");
    brindale::labelformat::test::enter(f.get(), "txtLabelWidth", "40");
    EXPECT_EQ(p->image().size(), QSize(320, 400));
    auto* zoom = p->findChild<QComboBox*>("comboZoom");
    auto* pic = p->findChild<QLabel*>("picPreview");
    zoom->setCurrentIndex(3);  // 200 %
    EXPECT_EQ(pic->size(), QSize(640, 800));
    zoom->setCurrentIndex(0);  // 25 %
    EXPECT_EQ(pic->size(), QSize(80, 100));
    // Nothing was written by the preview.
    store::Recordset rs(*env.state.Conn, "KVR_34");
    EXPECT_EQ(rs.recordCount(), 0);
}
