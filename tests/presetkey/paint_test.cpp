// The sheet painted on images and PDF pages: true size, lines where the centimetres say, the
// names in their three lines, exports written whole or not at all.
#include <gtest/gtest.h>

#include "pdf_info.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "presetkey/name_lines.h"
#include "presetkey/paint.h"
#include "support/temp_app.h"

namespace pk = brindale::presetkey;
using brindale::testing::PdfInfo;
using brindale::testing::pdfInfo;

namespace {

pk::Layout layout(int n) { return pk::loadLayout(brindale::testing::sourceRoot() + "/ini/PresetKey1.ini", "Standard", n); }

QImage image300(const pk::Layout& l) {
    const double perCm = 300 / 2.54;
    QImage img(int(pk::pictureWidth(l) * perCm) + 1, int(pk::pictureHeight(l) * perCm) + 1, QImage::Format_RGB32);
    img.setDotsPerMeterX(11811);
    img.setDotsPerMeterY(11811);
    img.fill(Qt::red);
    return img;
}

bool dark(QRgb c) { return qGray(c) < 128; }

// Columns of dark pixels along one image row, runs merged into their centres.
std::vector<double> darkRuns(const QImage& img, int y, int x0, int x1) {
    std::vector<double> centres;
    int start = -1;
    for (int x = x0; x <= x1; ++x) {
        const bool d = x < x1 && dark(img.pixel(x, y));
        if (d && start < 0) start = x;
        if (!d && start >= 0) {
            centres.push_back((start + x - 1) / 2.0);
            start = -1;
        }
    }
    return centres;
}

int darkIn(const QImage& img, QRect r) {
    int n = 0;
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x) n += dark(img.pixel(x, y));
    return n;
}

std::vector<pk::KeyPages> emptyKeys(const pk::Layout& l) { return std::vector<pk::KeyPages>(size_t(l.keyNum)); }

}  // namespace

TEST(PresetPaint, GridLinesLieWhereTheCentimetresSayAtThreeHundredDpi) {
    QTemporaryDir dir;
    for (int n : {0, 8}) {
        SCOPED_TRACE(n);
        auto l = layout(n);
        QString error;
        const QString file = dir.filePath(QString("sheet%1.png").arg(n));
        ASSERT_TRUE(pk::writeSheetPng(file, l, emptyKeys(l), error)) << error.toStdString();
        QImage img(file);
        ASSERT_FALSE(img.isNull());
        const double perCm = 300 / 2.54;
        EXPECT_NEAR(img.width(), pk::pictureWidth(l) * perCm, 1.0);
        EXPECT_NEAR(img.height(), pk::pictureHeight(l) * perCm, 1.0);
        // Along the lower part of the bottom row, away from numbers and names.
        const int y = int((1 + (l.rows - 0.2) * l.spacing) * perCm);
        auto runs = darkRuns(img, y, 0, img.width());
        ASSERT_EQ(runs.size(), size_t(l.cols + 1));
        for (int j = 0; j <= l.cols; ++j) EXPECT_NEAR(runs[size_t(j)], (1 + j * l.spacing) * perCm, 1.0) << j;
        // Horizontal lines likewise, down a column between the numbers.
        std::vector<double> rowsAt;
        const int x = int((1 + 0.8 * l.spacing) * perCm);
        int start = -1;
        for (int yy = 0; yy <= int((1 + l.rows * l.spacing) * perCm) + 5; ++yy) {
            const bool d = dark(img.pixel(x, yy));
            if (d && start < 0) start = yy;
            if (!d && start >= 0) rowsAt.push_back((start + yy - 1) / 2.0), start = -1;
        }
        ASSERT_EQ(rowsAt.size(), size_t(l.rows + 1));
        for (int i = 0; i <= l.rows; ++i) EXPECT_NEAR(rowsAt[size_t(i)], (1 + i * l.spacing) * perCm, 1.0) << i;
    }
}

TEST(PresetPaint, TheMarkUnderTheGridIsInTheShadowColourAndThreeCellsWide) {
    auto l = layout(0);
    QImage img = image300(l);
    {
        QPainter p(&img);
        pk::drawPresetGrid(p, l, QColor(10, 200, 30));
    }
    const double perCm = 300 / 2.54, s = l.spacing;
    const int y = int((l.rows * s + 1 + s / 4) * perCm);
    EXPECT_EQ(QColor(img.pixel(int((1 + l.cols * s / 2) * perCm), y)), QColor(10, 200, 30));
    EXPECT_EQ(QColor(img.pixel(int(((l.cols / 2.0 - 1.5) * s + 1 + 0.05) * perCm), y)), QColor(10, 200, 30));
    EXPECT_EQ(QColor(img.pixel(int(((l.cols / 2.0 + 1.5) * s + 1 + 0.05) * perCm), y)), QColor(Qt::white));
    // The picture is cleared to white, the red is gone.
    EXPECT_EQ(QColor(img.pixel(2, 2)), QColor(Qt::white));
}

TEST(PresetPaint, NamesStandOnTheirLinesAndAnEmptyKeyShowsNone) {
    auto l = layout(0);
    auto keys = emptyKeys(l);
    keys[0] = {pk::Page{1, "Apple", false}, pk::Page{2, "Pear", false}, pk::Page{3, "Fig", false}};
    keys[1][1] = pk::Page{4, "Plum", false};  // only page 2: on the first line
    QImage img = image300(l);
    {
        QPainter p(&img);
        pk::drawPresetKeys(p, l, keys, pk::defaultShadow());
    }
    const double perCm = 300 / 2.54;
    auto band = [&](int key, int line) {
        const double x = pk::cellLeft(l, key) + 0.1, y = pk::cellTop(l, key) + pk::kLineTops[line];
        return QRect(int(x * perCm), int(y * perCm) + 2, int((l.spacing - 0.2) * perCm), int(0.3 * perCm));
    };
    for (int line = 0; line < 3; ++line) EXPECT_GT(darkIn(img, band(1, line)), 20) << line;
    EXPECT_GT(darkIn(img, band(2, 0)), 20);
    EXPECT_EQ(darkIn(img, band(2, 1)), 0);
    EXPECT_EQ(darkIn(img, band(3, 0)), 0);

    auto lines = pk::keyLines(l, keys[0]);
    EXPECT_EQ(lines, (std::vector<std::string>{"Apple", "Pear", "Fig"}));
    pk::KeyPages longName{pk::Page{1, "Strawberry yoghurt with cream", false}, pk::Page{2, "Pear", false}, pk::Page{}};
    auto broken = pk::keyLines(l, longName);
    ASSERT_EQ(broken.size(), 3u);
    EXPECT_EQ(broken[0] + broken[1] + broken[2], std::string("Strawberry yoghurt with cream").substr(0, broken[0].size() + broken[1].size() + broken[2].size()));
    EXPECT_NE(broken[2], "Pear");  // the long name took all three lines
}

TEST(PresetPaint, TheStorePdfHasOneLandscapeA4PageASheet) {
    QTemporaryDir dir;
    std::vector<pk::SheetPage> pages;
    for (int n : {0, 8, 9}) pages.push_back({layout(n), emptyKeys(layout(n)), QString("Store 1, section 1, layout %1").arg(n)});
    QString error;
    const QString file = dir.filePath("store.pdf");
    ASSERT_TRUE(pk::writeSheetsPdf(file, pages, error)) << error.toStdString();
    // Read by poppler's pdfinfo: 297 x 210 mm in points on every page.
    const PdfInfo info = pdfInfo(file);
    EXPECT_EQ(info.pages, 3);
    ASSERT_EQ(info.sizes.size(), 3u);
    for (const auto& [w, h] : info.sizes) {
        EXPECT_NEAR(w, 841.9, 1.0);
        EXPECT_NEAR(h, 595.3, 1.0);
    }
}

TEST(PresetPaint, AnExportToAPlaceThatCannotBeWrittenNamesTheFileAndLeavesNothing) {
    QTemporaryDir dir;
    const QString missing = dir.filePath("no/such/folder/sheet.png");
    QString error;
    auto l = layout(0);
    EXPECT_FALSE(pk::writeSheetPng(missing, l, emptyKeys(l), error));
    EXPECT_TRUE(error.contains(missing)) << error.toStdString();
    error.clear();
    const QString pdf = dir.filePath("no/such/folder/store.pdf");
    EXPECT_FALSE(pk::writeSheetsPdf(pdf, {{l, emptyKeys(l), {}}}, error));
    EXPECT_TRUE(error.contains(pdf)) << error.toStdString();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).size(), 0);
}
