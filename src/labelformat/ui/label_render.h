#pragma once
// The label as the scale prints it, drawn from its record through the record reader at one pixel a
// printer dot: texts in a fixed-pitch font stretched to the font's cell, barcodes by libzint,
// blocks, lines and image frames, each at its angle, leaving out what the mode does not print.
#include <QImage>
#include <string>

#include "labelformat/record_reader.h"

namespace brindale::labelformat::ui {

enum class PrintMode { Prepack = 0, Counter = 1, SelfService = 2 };

struct PreviewData {
    PrintMode mode = PrintMode::Prepack;
    std::string ean13 = "200001200150";  // twelve digits; the check digit is computed
    std::string gs1 = "[01]09501101530003[3103]000750";
};

// Whether an item of this status prints in the mode (status bits: prepack, counter, self-service).
bool printsIn(int status, PrintMode mode);
// The item's rectangle on the label in dots, top-left origin, as the editor places its box.
QRect itemRect(const PlacedItem& item, int labelHeightDots);
QImage renderLabel(const RecordView& view, const PreviewData& data = {});

}  // namespace brindale::labelformat::ui
