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

constexpr size_t kImageBlock = 2023, kImageData = 2016;

int packedPair(uint8_t hi, uint8_t lo) {
    int n = 0;
    for (int d : {hi >> 4, hi & 15, lo >> 4, lo & 15}) {
        if (d > 9) return -1;
        n = n * 10 + d;
    }
    return n;
}

// Fills the bars of a symbol into the box, scaled to it, with its digits under the bars when
// asked for (zint places them; the font is ours).
void drawSymbol(QPainter& p, int symbology, const std::string& data, const QRectF& box, bool withDigits = false) {
    zint_symbol* s = ZBarcode_Create();
    if (!s) return;
    s->symbology = symbology;
    s->show_hrt = withDigits ? 1 : 0;
    // ITF-14's bearer box is the carton printer's business: the label carries the bars.
    s->border_width = 0;
    s->output_options &= ~(BARCODE_BOX | BARCODE_BIND);
    // The buffers hold their application identifiers in parentheses; the check digits are the
    // operator's, as the scale prints them.
    if (symbology == BARCODE_GS1_128)
        s->input_mode = GS1_MODE | GS1NOCHECK_MODE | (data.find('(') != std::string::npos ? GS1PARENS_MODE : 0);
    bool drawn = false;
    if (ZBarcode_Encode(s, reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size())) < ZINT_ERROR &&
        ZBarcode_Buffer_Vector(s, 0) < ZINT_ERROR && s->vector && s->vector->width > 0 && s->vector->height > 0) {
        const double sx = box.width() / s->vector->width, sy = box.height() / s->vector->height;
        for (zint_vector_rect* r = s->vector->rectangles; r; r = r->next)
            p.fillRect(QRectF(box.x() + r->x * sx, box.y() + r->y * sy, r->width * sx, r->height * sy), Qt::black);
        QFont f("Liberation Mono");
        f.setStyleHint(QFont::Monospace);
        for (zint_vector_string* t = s->vector->strings; t; t = t->next) {
            f.setPixelSize(std::max(1, qRound(t->fsize * sy)));
            p.setFont(f);
            p.setPen(Qt::black);
            const QString text = QString::fromLatin1(reinterpret_cast<const char*>(t->text), t->length);
            const double w = QFontMetricsF(f).horizontalAdvance(text);
            const double x = box.x() + t->x * sx;
            const double left = t->halign == 1 ? x : (t->halign == 2 ? x - w : x - w / 2);
            p.drawText(QPointF(left, box.y() + t->y * sy), text);
        }
        drawn = true;
    }
    ZBarcode_Delete(s);
    // A buffer that is no GS1 text still prints, as plain Code 128.
    if (!drawn && symbology == BARCODE_GS1_128) drawSymbol(p, BARCODE_CODE128, data, box, withDigits);
}

void drawBarcode(QPainter& p, const ComposedBarcode& b, const QRectF& box) {
    const bool d = b.withDigits;
    switch (b.kind) {
        case BarcodeKind::Ean13:
        case BarcodeKind::Ean8: drawSymbol(p, BARCODE_EANX, b.digits, box, d); break;
        case BarcodeKind::UpcA: drawSymbol(p, BARCODE_UPCA, b.digits, box, d); break;
        case BarcodeKind::UpcE: drawSymbol(p, BARCODE_UPCE, b.digits.substr(b.digits.size() > 6 ? b.digits.size() - 6 : 0), box, d); break;
        case BarcodeKind::Itf14: drawSymbol(p, BARCODE_ITF14, b.digits, box, d); break;
        // Interleaved 2 of 5 of sixteen digits: the check digit is ours, zint adds none.
        case BarcodeKind::Itf16: drawSymbol(p, BARCODE_C25INTER, readableDigits(b), box, d); break;
    }
}

void drawText(QPainter& p, const QRectF& box, int fontIndex, const std::string& text) {
    const Font& font = fonts()[static_cast<size_t>(std::clamp(fontIndex, 0, kFontCount - 1))];
    QFont qf("Liberation Mono");
    qf.setStyleHint(QFont::Monospace);
    qf.setPixelSize(std::max(1, font.FontHeight));
    const QFontMetricsF m(qf);
    const double advance = std::max(1.0, m.horizontalAdvance('8'));
    p.save();
    p.setClipRect(box);
    p.setFont(qf);
    p.translate(box.topLeft());
    p.scale(font.FontWidth / advance, font.FontHeight / m.height());
    p.setPen(Qt::black);
    p.drawText(QPointF(0, m.ascent()), QString::fromStdString(text));
    p.restore();
}

std::string digitSample(int length) {
    std::string s;
    for (int i = 0; i < std::max(1, length); ++i) s += static_cast<char>('1' + i % 9);
    return s;
}

}  // namespace

QImage pictureFromImageRecords(const std::vector<std::vector<uint8_t>>& records, int& number) {
    number = 0;
    std::vector<uint8_t> data;
    int rowBytes = 0;
    for (const auto& r : records) {
        if (r.size() != kImageBlock) continue;  // the end record carries no pixels
        if (!rowBytes) {
            rowBytes = r[6];
            number = packedPair(r[0], r[1]);
        }
        data.insert(data.end(), r.begin() + 7, r.begin() + static_cast<std::ptrdiff_t>(7 + kImageData));
    }
    if (rowBytes <= 0 || data.empty()) return {};
    const int rows = static_cast<int>(data.size()) / rowBytes, width = rowBytes * 8;
    QImage img(width, rows, QImage::Format_ARGB32);
    img.fill(Qt::transparent);
    // The first data row is the bottom row of the print.
    for (int k = 0; k < rows; ++k)
        for (int x = 0; x < width; ++x)
            if (data[static_cast<size_t>(k * rowBytes + x / 8)] & (0x80 >> (x % 8))) img.setPixel(x, rows - 1 - k, qRgb(0, 0, 0));
    return img;
}

QImage renderLabel(const RecordView& view, const PreviewData& data) {
    const int W = std::max(1, view.widthDots), L = std::max(1, view.heightDots);
    QImage img(W, L, QImage::Format_RGB32);
    img.fill(Qt::white);
    QPainter p(&img);
    const auto& texts = data.sample.texts;
    for (const PlacedItem& item : view.items) {
        if (!printsIn(item.fields.status, data.mode)) continue;
        const QRect r = itemRect(item, L);
        const ItemFields& f = item.fields;
        // Draw upright in a box of the item's own width and height, then turn it into place.
        p.save();
        p.translate(QRectF(r).center());  // QRect::center() rounds down half a dot
        p.rotate(-90.0 * f.angle);
        const QRectF box(-f.width / 2.0, -f.height / 2.0, f.width, f.height);
        const std::string& cls = item.cls;
        const auto text = texts.find(item.slot);
        if (cls == "N1") {
            drawText(p, box, f.font, text != texts.end() ? text->second : digitSample(slotLength(item.slot)));
        } else if (cls[0] == 'C') {
            p.setPen(QPen(Qt::gray, 1, Qt::DotLine));
            p.drawRect(box);
            const int cell = std::max(1, fonts()[static_cast<size_t>(std::clamp(f.font, 0, kFontCount - 1))].FontWidth);
            drawText(p, box, f.font, text != texts.end() ? text->second : digitSample(static_cast<int>(box.width()) / cell));
        } else if (cls == "B1") {
            drawBarcode(p, data.sample.barcode, box);
        } else if (cls == "B5") {
            const auto own = data.sample.gs1BySlot.find(item.slot);
            drawSymbol(p, BARCODE_GS1_128, own != data.sample.gs1BySlot.end() ? own->second : data.sample.gs1, box);
        } else if (cls == "B2") {
            // An inverse block turns what lies under it white on black, whatever was drawn
            // before or after it: the blocks are drawn last, below.
        } else if (cls == "B3") {
            const double t = std::max<int64_t>(1, leadingDecimal(f.value));
            if (f.width >= f.height) p.fillRect(QRectF(box.left(), box.center().y() - t / 2, std::max(1, f.width), t), Qt::black);
            else p.fillRect(QRectF(box.center().x() - t / 2, box.top(), t, std::max(1, f.height)), Qt::black);
        } else if (cls == "B4") {
            const int number = static_cast<int>(leadingDecimal(f.value));
            const auto picture = data.images.find(number);
            if (picture != data.images.end() && !picture->second.isNull()) {
                // One pixel a dot from the bottom-left corner, where the scale starts its rows.
                p.setClipRect(box);
                p.drawImage(QPointF(box.left(), box.bottom() - picture->second.height()), picture->second);
            } else {
                p.setPen(QPen(Qt::black, 2));
                p.drawRect(box.adjusted(1, 1, -1, -1));
                p.drawText(box, Qt::AlignCenter, QString::number(number));
            }
        }
        p.restore();
    }
    p.setCompositionMode(QPainter::CompositionMode_Difference);
    for (const PlacedItem& item : view.items) {
        if (item.cls != "B2" || !printsIn(item.fields.status, data.mode)) continue;
        const QRect r = itemRect(item, L);
        p.save();
        p.translate(QRectF(r).center());
        p.rotate(-90.0 * item.fields.angle);
        p.fillRect(QRectF(-item.fields.width / 2.0, -item.fields.height / 2.0, item.fields.width, item.fields.height), Qt::white);
        p.restore();
    }
    return img;
}

}  // namespace brindale::labelformat::ui
