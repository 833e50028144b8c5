#pragma once
// The sheet painted in centimetres on any paint device (window, printer, PDF, image): the grid,
// the key numbers, the mark under the grid and the names. The device's resolution turns
// centimetres and points into its pixels, so the same routine gives a true-size print.
#include <QColor>
#include <QString>
#include <vector>

#include "layout.h"
#include "sheet.h"

class QPainter;
class QPaintDevice;

namespace brindale::presetkey {

inline constexpr const char* kNameFont = "Times New Roman";  // fontconfig gives Liberation Serif
inline constexpr double kNumberPoints = 7;
inline constexpr double kNamePoints = 8;

// Pixels per centimetre of the device, across and down.
double pixelsPerCmX(const QPaintDevice& d);
double pixelsPerCmY(const QPaintDevice& d);

// DrawPresetGrid: the picture cleared, the grid lines, every cell's number, the mark. The
// picture's top left corner is the painter's origin.
void drawPresetGrid(QPainter& p, const Layout& l, const QColor& shadow);
// DrawPresetKeys: the grid and up to three name lines in each key, `keys` by key - 1.
void drawPresetKeys(QPainter& p, const Layout& l, const std::vector<KeyPages>& keys, const QColor& shadow);

// The lines of one key as the painting breaks them, the same on every device.
std::vector<std::string> keyLines(const Layout& l, const KeyPages& pages);

inline constexpr int kPngDpi = 300;
QColor defaultShadow();

// The picture at 300 dpi as PNG. The file is written whole or not at all; `error` names the file.
bool writeSheetPng(const QString& file, const Layout& l, const std::vector<KeyPages>& keys, QString& error);

// One sheet of a PDF: the layout, its keys and an optional line printed under the sheet.
struct SheetPage {
    Layout layout;
    std::vector<KeyPages> keys;
    QString footer;
};
// A4 landscape, one page a sheet, each at true size from the paper's corner. Written whole or
// not at all; `error` names the file.
bool writeSheetsPdf(const QString& file, const std::vector<SheetPage>& pages, QString& error);

}  // namespace brindale::presetkey
