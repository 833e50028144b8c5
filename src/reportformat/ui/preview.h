#pragma once
// The report as the scale prints it: the receipt at the printer's width, or a run of labels of a
// given height, drawn into an image that the canvases of frmReportFormat scroll over.
//
// Geometry, in printer dots of 1/8 mm: the print width is 384 dots (48 mm). A font's character
// cell is 8 x 16 dots times its multiple, and the multiple is 48 divided by the font's line limit
// (1, 2, 3 or 4), so a line at its limit fills the width exactly. At 100 % one dot is one pixel.
#include <QColor>
#include <QImage>
#include <QString>
#include <cstdint>
#include <vector>

namespace brindale::reportformat::ui {

constexpr int kPrintDots = 384;
constexpr int kDotsPerMm = 8;
constexpr int kBaseCellWidth = 8;
constexpr int kBaseCellHeight = 16;
constexpr int kMargin = 12;  // dots of paper shown around the print area

// The cell multiple of a font code: 48 / line limit; 1 for a code of no list.
int cellMultiple(uint8_t fontCode);

struct PreviewLine {
    QString text;  // as printed (placeholders already replaced)
    uint8_t font = 3;
};

// One format of a preview; `missing` non-empty draws one grey line saying so instead.
struct PreviewBlock {
    std::vector<PreviewLine> lines;
    QString missing;
};

// The receipt: every block one below the other, the print area dashed.
QImage renderReceipt(const std::vector<PreviewBlock>& blocks, double zoom);
// Labels of `labelHeightMm`: each format starts a label, one that does not fit goes on to the
// next label, and the break between labels is drawn and marked with `nextLabel`.
struct LabelImage {
    QImage image;
    int labels = 0;  // how many labels the run takes
};
LabelImage renderLabels(const std::vector<PreviewBlock>& blocks, int labelHeightMm, double zoom,
                        const QString& nextLabel);

}  // namespace brindale::reportformat::ui
