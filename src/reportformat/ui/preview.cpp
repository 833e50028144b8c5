#include "reportformat/ui/preview.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <map>

#include "reportformat/report_format.h"

namespace brindale::reportformat::ui {

int cellMultiple(uint8_t fontCode) {
    const std::optional<int> limit = lineLimit(fontCode);
    return limit ? 48 / *limit : 1;
}

namespace {

const QColor kPaper(255, 255, 250);
const QColor kInk(20, 20, 20);
const QColor kFrame(120, 120, 120);
const QColor kGrey(150, 150, 150);
const QColor kGap(215, 215, 215);

// A character of two cells: the wide scripts that double-byte pages print at double width.
bool wide(QChar c) { return c.unicode() >= 0x2E80; }

// The fixed-pitch font stretched so that one character fills one cell of `multiple` at `zoom`.
// Made once per size: a keystroke redraws fifty lines.
const QFont& cellFont(int multiple, double zoom) {
    static std::map<std::pair<int, int>, QFont> cache;
    const auto key = std::make_pair(multiple, static_cast<int>(zoom * 100));
    auto it = cache.find(key);
    if (it != cache.end()) return it->second;
    QFont f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const double cellW = kBaseCellWidth * multiple * zoom, cellH = kBaseCellHeight * multiple * zoom;
    f.setPixelSize(std::max(1, static_cast<int>(cellH * 0.8)));
    f.setStyleStrategy(QFont::PreferAntialias);
    const double advance = QFontMetricsF(f).horizontalAdvance(QLatin1Char('M'));
    if (advance > 0) f.setStretch(std::clamp(static_cast<int>(cellW / advance * 100.0 + 0.5), 1, 4000));
    return cache.emplace(key, f).first->second;
}

int lineHeight(uint8_t font) { return kBaseCellHeight * cellMultiple(font); }

// One line at y (dots); characters sit in their cells, runs of narrow ones drawn at once.
void drawLine(QPainter& p, const PreviewLine& line, double x0, double y, double zoom) {
    const int m = cellMultiple(line.font);
    const double cellW = kBaseCellWidth * m * zoom, cellH = kBaseCellHeight * m * zoom;
    p.setFont(cellFont(m, zoom));
    double x = x0;
    QString run;
    double runX = x;
    auto flush = [&] {
        if (run.isEmpty()) return;
        p.drawText(QRectF(runX, y, cellW * run.size() + cellW, cellH), Qt::AlignLeft | Qt::AlignVCenter, run);
        run.clear();
    };
    for (QChar c : line.text) {
        if (wide(c)) {
            flush();
            p.drawText(QRectF(x, y, cellW * 2, cellH), Qt::AlignCenter, QString(c));
            x += cellW * 2;
            runX = x;
        } else {
            if (run.isEmpty()) runX = x;
            run += c;
            x += cellW;
        }
    }
    flush();
}

int blockHeight(const PreviewBlock& b) {
    if (!b.missing.isEmpty()) return kBaseCellHeight;
    int h = 0;
    for (const PreviewLine& l : b.lines) h += lineHeight(l.font);
    return h;
}

void drawMissing(QPainter& p, const QString& text, double x0, double y, double zoom) {
    p.save();
    p.setPen(kGrey);
    p.fillRect(QRectF(x0, y + 2 * zoom, kPrintDots * zoom, (kBaseCellHeight - 4) * zoom), QColor(238, 238, 238));
    p.setFont(cellFont(1, zoom));
    p.drawText(QRectF(x0, y, kPrintDots * zoom, kBaseCellHeight * zoom), Qt::AlignCenter, text);
    p.restore();
}

void dashedFrame(QPainter& p, const QRectF& r) {
    p.save();
    QPen pen(kFrame);
    pen.setStyle(Qt::DashLine);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawRect(r);
    p.restore();
}

QImage blank(double w, double h) {
    QImage img(std::max(1, static_cast<int>(w + 0.5)), std::max(1, static_cast<int>(h + 0.5)),
               QImage::Format_RGB32);
    img.fill(kPaper);
    return img;
}

}  // namespace

QImage renderReceipt(const std::vector<PreviewBlock>& blocks, double zoom) {
    constexpr int kBlockGap = 8;
    int content = 0;
    for (std::size_t k = 0; k < blocks.size(); ++k) content += blockHeight(blocks[k]) + (k ? kBlockGap : 0);
    content = std::max(content, kBaseCellHeight);
    QImage img = blank((kPrintDots + 2 * kMargin) * zoom, (content + 2 * kMargin) * zoom);
    QPainter p(&img);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setPen(kInk);
    const double x0 = kMargin * zoom;
    double y = kMargin * zoom;
    for (std::size_t k = 0; k < blocks.size(); ++k) {
        if (k) y += kBlockGap * zoom;
        const PreviewBlock& b = blocks[k];
        if (!b.missing.isEmpty()) {
            drawMissing(p, b.missing, x0, y, zoom);
            y += kBaseCellHeight * zoom;
            continue;
        }
        for (const PreviewLine& l : b.lines) {
            drawLine(p, l, x0, y, zoom);
            y += lineHeight(l.font) * zoom;
        }
    }
    dashedFrame(p, QRectF(x0 - 1, kMargin * zoom - 1, kPrintDots * zoom + 1, content * zoom + 1));
    return img;
}

LabelImage renderLabels(const std::vector<PreviewBlock>& blocks, int labelHeightMm, double zoom,
                        const QString& nextLabel) {
    const int labelH = std::max(labelHeightMm, 1) * kDotsPerMm;
    constexpr int kLabelGap = 20;  // the backing paper between two labels
    // Lay the lines out first: each format starts a label, a line that does not fit starts the next.
    struct Placed {
        const PreviewLine* line;
        const QString* missing;
        int label, y;
    };
    std::vector<Placed> placed;
    int label = -1, y = 0;
    for (const PreviewBlock& b : blocks) {
        ++label;
        y = 0;
        auto place = [&](const PreviewLine* l, const QString* missing, int h) {
            if (y + h > labelH && y > 0) {
                ++label;
                y = 0;
            }
            placed.push_back({l, missing, label, y});
            y += h;
        };
        if (!b.missing.isEmpty()) place(nullptr, &b.missing, kBaseCellHeight);
        else
            for (const PreviewLine& l : b.lines) place(&l, nullptr, lineHeight(l.font));
    }
    const int labels = std::max(label + 1, 1);
    LabelImage out;
    out.labels = labels;
    const int total = labels * labelH + (labels - 1) * kLabelGap;
    out.image = blank((kPrintDots + 2 * kMargin) * zoom, (total + 2 * kMargin) * zoom);
    QPainter p(&out.image);
    p.setRenderHint(QPainter::TextAntialiasing);
    const double x0 = kMargin * zoom;
    auto top = [&](int n) { return (kMargin + n * (labelH + kLabelGap)) * zoom; };
    for (int n = 0; n < labels; ++n) {
        if (n > 0) {
            const QRectF gap(0, top(n) - kLabelGap * zoom, out.image.width(), kLabelGap * zoom);
            p.fillRect(gap, kGap);
            p.setPen(kGrey);
            p.setFont(cellFont(1, zoom * 0.75));
            p.drawText(gap, Qt::AlignCenter, QStringLiteral("\u2193 ") + nextLabel + QStringLiteral(" \u2193"));
        }
        p.setPen(kInk);
        p.drawRect(QRectF(x0 - 1, top(n) - 1, kPrintDots * zoom + 1, labelH * zoom + 1));
    }
    p.setPen(kInk);
    for (const Placed& pl : placed) {
        const double yy = top(pl.label) + pl.y * zoom;
        // A line taller than the whole label is cut at its bottom edge, as the printer would.
        const int h = pl.missing ? kBaseCellHeight : lineHeight(pl.line->font);
        const bool cut = pl.y + h > labelH;
        if (cut) {
            p.save();
            p.setClipRect(QRectF(x0, top(pl.label), kPrintDots * zoom, labelH * zoom));
        }
        if (pl.missing) drawMissing(p, *pl.missing, x0, yy, zoom);
        else drawLine(p, *pl.line, x0, yy, zoom);
        if (cut) p.restore();
    }
    for (int n = 0; n < labels; ++n) dashedFrame(p, QRectF(x0 + 2 * zoom, top(n) + 2 * zoom, (kPrintDots - 4) * zoom, (labelH - 4) * zoom));
    return out;
}

}  // namespace brindale::reportformat::ui
