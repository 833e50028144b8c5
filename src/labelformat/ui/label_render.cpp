#include "labelformat/ui/label_render.h"

#include <zint.h>

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

namespace brindale::labelformat::ui {

bool printsIn(int status, PrintMode mode) { return (status >> static_cast<int>(mode)) & 1; }

QRect itemRect(const PlacedItem& item, int L) {
    const ItemFields& f = item.fields;
    const int X = f.x, Y = f.y, W = f.width, H = f.height;
    switch (f.angle) {
        case 1: return QRect(X - H, L - (Y + W), H, W);
        case 2: return QRect(X - W, L - Y, W, H);
        case 3: return QRect(X, L - Y, H, W);
        default: return QRect(X, L - (Y + H), W, H);
    }
}

namespace {

// Fills the bars of a symbol into the box, scaled to it.
void drawSymbol(QPainter& p, int symbology, const std::string& data, const QRectF& box) {
    zint_symbol* s = ZBarcode_Create();
    if (!s) return;
    s->symbology = symbology;
    s->show_hrt = 0;
    if (symbology == BARCODE_GS1_128) s->input_mode = GS1_MODE;
    if (ZBarcode_Encode(s, reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size())) < ZINT_ERROR &&
        ZBarcode_Buffer_Vector(s, 0) < ZINT_ERROR && s->vector && s->vector->width > 0 && s->vector->height > 0) {
        const double sx = box.width() / s->vector->width, sy = box.height() / s->vector->height;
        for (zint_vector_rect* r = s->vector->rectangles; r; r = r->next)
            p.fillRect(QRectF(box.x() + r->x * sx, box.y() + r->y * sy, r->width * sx, r->height * sy), Qt::black);
    }
    ZBarcode_Delete(s);
}

void drawText(QPainter& p, const QRectF& box, int fontIndex, int length) {
    const Font& font = fonts()[static_cast<size_t>(std::clamp(fontIndex, 0, kFontCount - 1))];
    QFont qf("Liberation Mono");
    qf.setStyleHint(QFont::Monospace);
    qf.setPixelSize(std::max(1, font.FontHeight));
    const QFontMetricsF m(qf);
    const double advance = std::max(1.0, m.horizontalAdvance('8'));
    std::string sample;
    for (int i = 0; i < std::max(1, length); ++i) sample += static_cast<char>('1' + i % 9);
    p.save();
    p.setFont(qf);
    p.translate(box.topLeft());
    p.scale(font.FontWidth / advance, font.FontHeight / m.height());
    p.setPen(Qt::black);
    p.drawText(QPointF(0, m.ascent()), QString::fromStdString(sample));
    p.restore();
}

}  // namespace

QImage renderLabel(const RecordView& view, const PreviewData& data) {
    const int W = std::max(1, view.widthDots), L = std::max(1, view.heightDots);
    QImage img(W, L, QImage::Format_RGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    for (const PlacedItem& item : view.items) {
        if (!printsIn(item.fields.status, data.mode)) continue;
        const QRect r = itemRect(item, L);
        const ItemFields& f = item.fields;
        // Draw upright in a box of the item's own width and height, then turn it into place.
        p.save();
        p.translate(r.center());
        p.rotate(-90.0 * f.angle);
        const QRectF box(-f.width / 2.0, -f.height / 2.0, f.width, f.height);
        const std::string& cls = item.cls;
        if (cls == "N1") {
            drawText(p, box, f.font, slotLength(item.slot));
        } else if (cls[0] == 'C') {
            p.setPen(QPen(Qt::gray, 1, Qt::DotLine));
            p.drawRect(box);
            drawText(p, box, f.font, std::max(1, static_cast<int>(box.width()) / std::max(1, fonts()[static_cast<size_t>(std::max(0, f.font))].FontWidth)));
        } else if (cls == "B1") {
            drawSymbol(p, BARCODE_EANX, data.ean13, box);
        } else if (cls == "B5") {
            drawSymbol(p, BARCODE_GS1_128, data.gs1, box);
        } else if (cls == "B2") {
            p.fillRect(box, Qt::black);
        } else if (cls == "B3") {
            const double t = std::max<int64_t>(1, leadingDecimal(f.value));
            if (f.width >= f.height) p.fillRect(QRectF(box.left(), box.center().y() - t / 2, std::max(1, f.width), t), Qt::black);
            else p.fillRect(QRectF(box.center().x() - t / 2, box.top(), t, std::max(1, f.height)), Qt::black);
        } else if (cls == "B4") {
            p.setPen(QPen(Qt::black, 2));
            p.drawRect(box.adjusted(1, 1, -1, -1));
            p.drawText(box, Qt::AlignCenter, QString::number(leadingDecimal(f.value)));
        }
        p.restore();
    }
    return img;
}

}  // namespace brindale::labelformat::ui
