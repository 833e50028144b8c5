#include "paint.h"

#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <algorithm>
#include <cmath>

#include "name_lines.h"

namespace brindale::presetkey {

namespace {

constexpr double kCmPerInch = 2.54;

QFont fontOf(const char* family, double points) {
    QFont f(QString::fromLatin1(family));
    f.setPointSizeF(points);
    f.setStyleHint(QFont::Serif);
    // Unhinted outlines scale with the resolution, so text is as wide on paper as on screen.
    f.setHintingPreference(QFont::PreferNoHinting);
    return f;
}

// Names are measured on one device of high resolution whatever the target, so that a name breaks
// at the same character on the window, the printer, the PDF and the PNG.
const QPaintDevice& measuringDevice() {
    static QImage img = [] {
        QImage i(1, 1, QImage::Format_RGB32);
        const int dpm = int(std::lround(1200 / 0.0254));
        i.setDotsPerMeterX(dpm);
        i.setDotsPerMeterY(dpm);
        return i;
    }();
    return img;
}

QFont numberFont() { return fontOf(kNameFont, kNumberPoints); }

struct Cm {
    double x, y;  // pixels per cm
    QPointF at(double cx, double cy) const { return {cx * x, cy * y}; }
};

// Text with its top at (x, y) cm, as a picture box prints from CurrentX, CurrentY.
void textAt(QPainter& p, const Cm& cm, double x, double y, const QString& s) {
    QFontMetricsF fm(p.font(), p.device());
    p.drawText(cm.at(x, y) + QPointF(0, fm.ascent()), s);
}

}  // namespace

double pixelsPerCmX(const QPaintDevice& d) { return d.logicalDpiX() / kCmPerInch; }
double pixelsPerCmY(const QPaintDevice& d) { return d.logicalDpiY() / kCmPerInch; }

QColor defaultShadow() { return QColor(0x69, 0x69, 0x69); }

void drawPresetGrid(QPainter& p, const Layout& l, const QColor& shadow) {
    const Cm cm{pixelsPerCmX(*p.device()), pixelsPerCmY(*p.device())};
    const double s = l.spacing;
    p.save();
    p.fillRect(QRectF(QPointF(0, 0), cm.at(pictureWidth(l), pictureHeight(l))), Qt::white);
    // One pixel on a screen, a fine line of 0.2 mm on paper.
    QPen pen(Qt::black);
    pen.setWidthF(std::max(1.0, 0.02 * cm.x));
    pen.setCapStyle(Qt::FlatCap);
    p.setPen(pen);
    for (int i = 0; i <= l.rows; ++i) p.drawLine(cm.at(1, i * s + 1), cm.at(l.cols * s + 1, i * s + 1));
    for (int i = 0; i <= l.cols; ++i) p.drawLine(cm.at(i * s + 1, 1), cm.at(i * s + 1, l.rows * s + 1));
    p.setFont(numberFont());
    for (int i = 0; i < l.rows; ++i)
        for (int j = 0; j < l.cols; ++j)
            textAt(p, cm, j * s + 1 + 0.03, i * s + 1 + 0.01, QString::number(keyAt(l, j, i)));
    p.fillRect(QRectF(cm.at((l.cols / 2.0 - 1.5) * s + 1, l.rows * s + 1),
                      cm.at((l.cols / 2.0 + 1.5) * s + 1, l.rows * s + 1 + s / 2)),
               shadow);
    p.restore();
}

std::vector<std::string> keyLines(const Layout& l, const KeyPages& pages) {
    const QPaintDevice& d = measuringDevice();
    const QFontMetricsF fm(fontOf(kNameFont, kNamePoints), const_cast<QPaintDevice*>(&d));
    const double perCm = pixelsPerCmX(d);
    return nameLines({pages[0].name, pages[1].name, pages[2].name}, l.spacing - kTextInset,
                     [&](std::string_view t) {
                         return fm.horizontalAdvance(QString::fromUtf8(t.data(), qsizetype(t.size()))) / perCm;
                     });
}

void drawPresetKeys(QPainter& p, const Layout& l, const std::vector<KeyPages>& keys, const QColor& shadow) {
    drawPresetGrid(p, l, shadow);
    const Cm cm{pixelsPerCmX(*p.device()), pixelsPerCmY(*p.device())};
    p.save();
    p.setPen(Qt::black);
    p.setFont(fontOf(kNameFont, kNamePoints));
    const int n = std::min<int>(l.keyNum, static_cast<int>(keys.size()));
    for (int k = 1; k <= n; ++k) {
        const auto lines = keyLines(l, keys[static_cast<size_t>(k - 1)]);
        for (size_t i = 0; i < lines.size(); ++i)
            textAt(p, cm, cellLeft(l, k) + kTextInset, cellTop(l, k) + kLineTops[i],
                   QString::fromStdString(lines[i]));
    }
    p.restore();
}

bool writeSheetPng(const QString& file, const Layout& l, const std::vector<KeyPages>& keys, QString& error) {
    const double perCm = kPngDpi / kCmPerInch;
    QImage img(int(std::ceil(pictureWidth(l) * perCm)), int(std::ceil(pictureHeight(l) * perCm)),
               QImage::Format_RGB32);
    const int dpm = int(std::lround(kPngDpi / 0.0254));
    img.setDotsPerMeterX(dpm);
    img.setDotsPerMeterY(dpm);
    img.fill(Qt::white);
    {
        QPainter p(&img);
        p.setRenderHint(QPainter::Antialiasing, false);
        p.setRenderHint(QPainter::TextAntialiasing, true);
        drawPresetKeys(p, l, keys, defaultShadow());
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || !img.save(&out, "PNG") || !out.commit()) {
        error = file + ": " + out.errorString();
        out.cancelWriting();
        return false;
    }
    return true;
}

bool writeSheetsPdf(const QString& file, const std::vector<SheetPage>& pages, QString& error) {
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) {
        error = file + ": " + out.errorString();
        return false;
    }
    bool ok = true;
    {
        QPdfWriter pdf(&out);
        pdf.setResolution(600);
        pdf.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Landscape, QMarginsF(0, 0, 0, 0)));
        pdf.setCreator(QStringLiteral("Brindale"));
        QPainter p;
        if (!p.begin(&pdf)) ok = false;
        for (size_t i = 0; ok && i < pages.size(); ++i) {
            if (i && !pdf.newPage()) {
                ok = false;
                break;
            }
            const auto& sp = pages[i];
            drawPresetKeys(p, sp.layout, sp.keys, defaultShadow());
            if (!sp.footer.isEmpty()) {
                p.setFont(fontOf(kNameFont, 9));
                p.setPen(Qt::black);
                const Cm cm{pixelsPerCmX(pdf), pixelsPerCmY(pdf)};
                textAt(p, cm, kMargin, pictureHeight(sp.layout) + 0.2, sp.footer);
            }
        }
        if (p.isActive() && !p.end()) ok = false;
    }
    if (!ok || !out.commit()) {
        error = file + ": " + (out.errorString().isEmpty() ? QStringLiteral("the PDF could not be written")
                                                            : out.errorString());
        out.cancelWriting();
        return false;
    }
    return true;
}

}  // namespace brindale::presetkey
