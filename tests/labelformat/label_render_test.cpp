#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include "codec/barcode.h"
#include "labelformat/codec.h"
#include "labelformat/label_sample.h"
#include "labelformat/plu_sample.h"
#include "scalefiles/picture_rows.h"
#include "scalefiles/pictures.h"
#include "labelformat/editor_support.h"
#include "labelformat/record_reader.h"
#include "labelformat/ui/label_preview.h"
#include "labelformat/ui/label_render.h"
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
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
    applySizeRule(st);  // slots beyond the 1118 loop need the larger records
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
    // The sample: flags 20, item code 12, 0.75 for 0.500 kg at 1.50, check digit 1.
    EXPECT_EQ(QString::fromLatin1(zbar.readAllStandardOutput()).trimmed(), "2000012000751");
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
    ASSERT_NE(p->findChild<QLineEdit*>("txtPluNo"), nullptr);
    auto* labPluNo = p->findChild<QLabel*>("labPluNo");
    ASSERT_NE(labPluNo, nullptr);
    EXPECT_EQ(labPluNo->text().toStdString(), env.state.text("frm_LabelFormat", "labPluNo"));
    EXPECT_FALSE(labPluNo->text().isEmpty());
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
    // Real size: 40 x 50 mm on the screen, by its logical resolution as the editor's.
    zoom->setCurrentIndex(zoom->count() - 1);
    const double dpi = p->screen()->logicalDotsPerInchX();
    EXPECT_NEAR(pic->width(), 40 / 25.4 * dpi, 1.0);
    EXPECT_NEAR(pic->height(), 50 / 25.4 * dpi, 1.0);
    // Nothing was written by the preview.
    store::Recordset rs(*env.state.Conn, "KVR_34");
    EXPECT_EQ(rs.recordCount(), 0);
}

namespace {

// A 56 x 50 mm label with one barcode of 48 x 15 mm at (4, 10) mm, drawn with the digits.
QString zbarOfBarcode(EditorEnv& env, const ComposedBarcode& code, const QString& name) {
    const RecordView v = viewOf(env, {{11, item(4, 10, "0070", 15, 48, "0000")}});
    PreviewData d;
    d.sample.barcode = code;
    const QImage img = renderLabel(v, d);
    QTemporaryDir dir;
    const QString png = dir.filePath(name + ".png");
    if (!img.save(png)) return "(not saved)";
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", png});
    if (!zbar.waitForFinished(20000)) return "(zbarimg did not finish)";
    return QString::fromLatin1(zbar.readAllStandardOutput()).trimmed();
}

}  // namespace

TEST(LabelRender, EveryBarcodeKindReadsBackAsTheDigitsTheFormatComposes) {
    EditorEnv env;
    BarcodeValues v;
    v.flags = 21;
    v.itemCode = "4711";
    v.price = 1234;
    v.weight = 567;
    v.quantity = 3;
    struct Case {
        const char* line;
        bool itf;
        BarcodeKind kind;
    };
    const Case cases[] = {
        {"1,1,5, EAN-13: F1 F2 CCCCC X PPPP CD", false, BarcodeKind::Ean13},
        {"1,1,5, EAN-8: F1 F2 CCCCC CD", false, BarcodeKind::Ean8},
        {"1,0,5, UPC-A: F1 CCCCC WWWWW CD", false, BarcodeKind::UpcA},
        {"0,0,6, UPC-E: CCCCCC CD", false, BarcodeKind::UpcE},
        {"1,1,5, ITF-14: F1 F2 CCCCC PPPPPP CD", true, BarcodeKind::Itf14},
        {"1,1,5, ITF-16: F1 F2 CCCCC WWWWW QQQ CD", true, BarcodeKind::Itf16},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        const ComposedBarcode code = composeBarcode(c.line, c.itf, v);
        ASSERT_EQ(code.kind, c.kind);
        std::string expected = readableDigits(code);
        // The reader gives UPC-A as the EAN-13 it is part of, and UPC-E as that of its UPC-A.
        if (c.kind == BarcodeKind::UpcA) expected = "0" + expected;
        if (c.kind == BarcodeKind::UpcE) expected = "0" + upcEExpanded(code.digits) + expected.substr(expected.size() - 1);
        EXPECT_EQ(zbarOfBarcode(env, code, QString::number(static_cast<int>(c.kind))).toStdString(), expected);
    }
}

TEST(LabelRender, ImageItemShowsThePicturesPixelsOfItsNumber) {
    EditorEnv env;
    // 48 x 24 pixels: the left half of rows 8 to 23 black.
    std::vector<uint32_t> px(48 * 24, 0xFFFFFFFFu);
    for (int y = 8; y < 24; ++y)
        for (int x = 0; x < 24; ++x) px[static_cast<size_t>(y * 48 + x)] = 0xFF000000u;
    const scalefiles::ArgbPixels pic{48, 24, px.data(), 48};
    scalefiles::writePictureRows(*env.state.Conn, scalefiles::PictureTable::Image,
                                 scalefiles::packImage(pic, scalefiles::padImageWidth(48), 7));
    int number = 0;
    const QImage decoded = pictureFromImageRecords(scalefiles::pictureRows(*env.state.Conn, scalefiles::PictureTable::Image), number);
    EXPECT_EQ(number, 7);
    ASSERT_FALSE(decoded.isNull());
    // A 10 x 5 mm image item of number 7 at (10, 10) mm: its box is x 80..160, y 280..320.
    const RecordView v = viewOf(env, {{46, item(10, 10, "0070", 5, 10, "0007")}});
    ASSERT_EQ(v.items.size(), 1u);
    PreviewData d;
    d.images[number] = decoded;
    const QImage img = renderLabel(v, d);
    // The first row sent is the blank one below the picture; then rows 23 up to 8, black at the left.
    EXPECT_FALSE(black(img, 85, 319));
    EXPECT_TRUE(black(img, 85, 318));
    EXPECT_TRUE(black(img, 103, 303));
    EXPECT_FALSE(black(img, 104, 310));
    EXPECT_FALSE(black(img, 85, 302));
    EXPECT_FALSE(black(img, 81, 290)) << "the frame of a missing picture is drawn";
    // Another number has no picture: a framed number.
    d.images.clear();
    d.images[8] = decoded;
    const QImage framed = renderLabel(v, d);
    EXPECT_TRUE(black(framed, 81, 290));
    EXPECT_FALSE(black(framed, 85, 310));
}

TEST(LabelPreview, DrawsThePluOfTheNumberAndItsBarcodeFormat) {
    EditorEnv env;
    env.state.prepareCodec();
    ASSERT_GT(env.state.barcodeLists.EAN_DISP.size(), 26u);
    {
        store::Recordset rs(*env.state.Conn, "KVR_25");
        rs.addNew();
        rs.setValue("PLU_No", store::Value(345));
        rs.setValue("ST_No", store::Value(1));
        rs.setValue("PLU_UPrice", store::Value(1999));
        rs.setValue("PLU_CommodityFirst", store::Value("Gouda"));
        rs.setValue("PLU_EANItemCode", store::Value("345"));
        rs.setValue("PLU_EANFlags", store::Value(21));
        rs.setValue("PLU_BarFormat", store::Value(25));  // EAN-8: F1 F2 CCCCC CD
        rs.setValue("PLU_EANLastByte", store::Value(0));
        rs.update();
        rs.addNew();
        rs.setValue("PLU_No", store::Value(346));
        rs.setValue("ST_No", store::Value(1));
        rs.setValue("PLU_MG", store::Value(5));
        rs.setValue("PLU_EANItemCode", store::Value("346"));
        rs.setValue("PLU_EANFlags", store::Value(255));
        rs.setValue("PLU_BarFormat", store::Value(255));
        rs.update();
        // 255 at main group and department: the store decides.
        store::Recordset mg(*env.state.Conn, "KVR_23");
        mg.addNew();
        mg.setValue("MG_No", store::Value(5));
        mg.setValue("MG_Name", store::Value("Cheese"));
        mg.setValue("ST_No", store::Value(1));
        mg.setValue("DP_No", store::Value(3));
        mg.setValue("barformat", store::Value(255));
        mg.update();
        store::Recordset dp(*env.state.Conn, "KVR_20");
        dp.addNew();
        dp.setValue("DP_No", store::Value(3));
        dp.setValue("DP_Name", store::Value("Dairy"));
        dp.setValue("ST_No", store::Value(1));
        dp.setValue("barformat", store::Value(255));
        dp.update();
        store::Recordset st(*env.state.Conn, "STORE");
        st.addNew();
        st.setValue("ST_No", store::Value(1));
        st.setValue("ST_Name", store::Value("Main street"));
        st.setValue("barformat", store::Value(28));  // UPC-A: F1 CCCCC PPPPP CD
        st.setValue("BarFlag", store::Value(0));
        st.setValue("Flag1", store::Value(2));
        st.setValue("Flag2", store::Value(3));
        st.update();
    }
    const PluSample own = findPluSample(*env.state.Conn, 345, env.state.codecEnvironment());
    ASSERT_TRUE(own.found);
    EXPECT_EQ(own.formatLine, env.state.barcodeLists.EAN_DISP[26]);
    EXPECT_EQ(own.barcode.flags, 21);
    EXPECT_EQ(own.name, "Gouda");
    const PluSample inherited = findPluSample(*env.state.Conn, 346, env.state.codecEnvironment());
    ASSERT_TRUE(inherited.found);
    EXPECT_EQ(inherited.formatLine, env.state.barcodeLists.EAN_DISP[29]);
    EXPECT_EQ(inherited.barcode.flags, 23);
    EXPECT_FALSE(findPluSample(*env.state.Conn, 999, env.state.codecEnvironment()).found);

    auto f = env.open();
    brindale::labelformat::test::tick(f.get(), 11, true);
    brindale::labelformat::test::enter(f.get(), "txtItemWidth", "44");
    brindale::labelformat::test::enter(f.get(), "txtItemHeight", "16");
    f->cmdPreview();
    FrmLabelPreview* p = f->preview();
    ASSERT_NE(p, nullptr);
    brindale::labelformat::test::enter(p, "txtPluNo", "345");
    QTemporaryDir dir;
    const QString png = dir.filePath("plu.png");
    ASSERT_TRUE(p->exportPng(png));
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", png});
    ASSERT_TRUE(zbar.waitForFinished(20000));
    const NumberFormat nf;
    EXPECT_EQ(QString::fromLatin1(zbar.readAllStandardOutput()).trimmed().toStdString(),
              readableDigits(labelSample(own, nf).barcode));
    EXPECT_EQ(readableDigits(labelSample(own, nf).barcode).substr(0, 7), "2100345");
    // An unknown number goes back to the samples.
    EXPECT_FALSE(p->setPluNumber(999));
    EXPECT_EQ(p->image(), renderLabel([&] {
                  RecordView v;
                  readRecord(f->currentRecord(), [&] {
                      store::Recordset rs(*env.state.Conn, "KVR_34");
                      std::vector<store::ColumnDef> cols;
                      for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
                      return RecordLayout::fromColumns(cols);
                  }(), v);
                  return v;
              }()));
}

TEST(LabelPreview, GapStripFollowsTheEditorAndStaysOutOfThePng) {
    EditorEnv env;
    auto f = env.open();
    f->cmdPreview();
    FrmLabelPreview* p = f->preview();
    auto* pic = p->findChild<QLabel*>("picPreview");
    auto* gap = f->findChild<QCheckBox*>("chkGap");
    gap->setChecked(false);
    EXPECT_EQ(pic->size(), QSize(448, 400));
    gap->setChecked(true);
    EXPECT_EQ(pic->size(), QSize(448, 400 + FrmLabelPreview::kGapDots));
    const QImage shown = pic->pixmap().toImage();
    EXPECT_EQ(qGray(shown.pixel(200, 400 + FrmLabelPreview::kGapDots / 2)), 160);
    EXPECT_EQ(p->image().size(), QSize(448, 400));
    gap->setChecked(false);
    EXPECT_EQ(pic->size(), QSize(448, 400));
}

TEST(LabelRender, InverseBlockTurnsWhatLiesUnderItWhite) {
    EditorEnv env;
    // A 20 x 10 mm block at (5, 5) mm and the PLU number at (8, 8) mm in font 05, inside it.
    const RecordView v = viewOf(env, {{15, item(5, 5, "0070", 10, 20, "0000")}, {0, hex(8 * 8, 4) + hex(8 * 8, 4) + "0070" + "05" + "06"}});
    const QImage plain = renderLabel(viewOf(env, {{15, item(5, 5, "0070", 10, 20, "0000")}}));
    EXPECT_TRUE(black(plain, 8 * 8 + 2, 400 - 8 * 8 - 2));
    // The PLU number's text at (8, 8) mm prints white inside the black block.
    const QImage both = renderLabel(v);
    int white = 0, blackInside = 0;
    for (int y = 400 - 15 * 8 + 4; y < 400 - 5 * 8 - 4; ++y)
        for (int x = 5 * 8 + 4; x < 25 * 8 - 4; ++x) (black(both, x, y) ? blackInside : white)++;
    EXPECT_GT(white, 20) << "no text shows white in the block";
    EXPECT_GT(blackInside, white * 4);
}

TEST(LabelRender, MultiBarcodeItemPrintsThePlusBufferAsGs1128) {
    EditorEnv env;
    env.state.prepareCodec();
    ASSERT_NE(env.state.codePage, nullptr);
    const auto buffer = codec::buildMultiBarcode("(01)09501101530003(10)A12", 0, *env.state.codePage);
    {
        store::Recordset rs(*env.state.Conn, "KVR_25");
        rs.addNew();
        rs.setValue("PLU_No", store::Value(77));
        rs.setValue("ST_No", store::Value(1));
        rs.setValue("PLU_MultiBar1", store::Value(store::Bytes(buffer.begin(), buffer.end())));
        rs.setValue("Stat2B_MBarcode1", store::Value(1));
        // Filled but switched off: not printed.
        rs.setValue("PLU_MultiBar2", store::Value(store::Bytes(buffer.begin(), buffer.end())));
        rs.setValue("Stat2B_MBarcode2", store::Value(0));
        rs.update();
    }
    const PluSample plu = findPluSample(*env.state.Conn, 77, env.state.codecEnvironment());
    ASSERT_TRUE(plu.found);
    EXPECT_EQ(plu.multiBarcodes[0], "(01)09501101530003(10)A12");
    EXPECT_EQ(plu.multiBarcodes[1], "");
    PreviewData d;
    d.sample = labelSample(plu, NumberFormat{});
    EXPECT_EQ(d.sample.gs1BySlot.count(72), 1u);
    EXPECT_EQ(d.sample.gs1BySlot.count(73), 0u);
    const RecordView v = viewOf(env, {{72, item(3, 10, "0070", 15, 50, "0000")}});
    ASSERT_EQ(v.items.size(), 1u);
    QTemporaryDir dir;
    const QString png = dir.filePath("gs1.png");
    ASSERT_TRUE(renderLabel(v, d).save(png));
    QProcess zbar;
    zbar.start("zbarimg", {"--raw", "-q", png});
    ASSERT_TRUE(zbar.waitForFinished(20000));
    // The reader gives the element strings, the separator after a variable one as GS.
    const QString read = QString::fromLatin1(zbar.readAllStandardOutput()).trimmed();
    EXPECT_TRUE(read.startsWith("0109501101530003")) << read.toStdString();
    EXPECT_TRUE(read.endsWith("10A12")) << read.toStdString();
}

TEST(LabelRender, BarcodeDigitsFollowTheBarStyle) {
    EditorEnv env;
    // A 48 x 15 mm EAN-13 at (4, 10) mm: x 32..416, y 200..320.
    const RecordView v = viewOf(env, {{11, item(4, 10, "0070", 15, 48, "0000")}});
    PreviewData with;
    PreviewData without;
    without.sample.barcode.withDigits = false;
    const QImage a = renderLabel(v, with), b = renderLabel(v, without);
    // Below the left half's bars (the guard bars run on beside it): the digits, or nothing.
    auto blackBelow = [](const QImage& img) {
        int n = 0;
        for (int y = 311; y < 319; ++y)
            for (int x = 110; x < 190; ++x) n += black(img, x, y);
        return n;
    };
    EXPECT_GT(blackBelow(a), 50) << "no digits under the bars";
    EXPECT_EQ(blackBelow(b), 0);
    // Either way the bars are there.
    int barsWith = 0, barsWithout = 0;
    for (int x = 32; x < 416; ++x) {
        barsWith += black(a, x, 250);
        barsWithout += black(b, x, 250);
    }
    EXPECT_GT(barsWith, 100);
    EXPECT_GT(barsWithout, 100);
}
