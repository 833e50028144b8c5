#pragma once
// The label as the scale prints it, drawn from its record through the record reader at one pixel a
// printer dot: texts in a fixed-pitch font stretched to the font's cell, barcodes by libzint,
// blocks, lines, pictures and image frames, each at its angle, leaving out what the mode does not
// print.
#include <QImage>
#include <map>
#include <string>
#include <vector>

#include "labelformat/label_sample.h"
#include "labelformat/record_reader.h"

namespace brindale::labelformat::ui {

enum class PrintMode { Prepack = 0, Counter = 1, SelfService = 2 };

struct PreviewData {
    PrintMode mode = PrintMode::Prepack;
    // Texts and barcode digits: the fixed samples until a PLU is chosen.
    LabelSample sample = labelSample(PluSample{}, NumberFormat{});
    // Pictures by image number, black where the scale prints, one pixel a dot.
    std::map<int, QImage> images;
};

// Whether an item of this status prints in the mode (status bits: prepack, counter, self-service).
bool printsIn(int status, PrintMode mode);
// The item's rectangle on the label in dots, top-left origin, as the editor places its box.
QRect itemRect(const PlacedItem& item, int labelHeightDots);
QImage renderLabel(const RecordView& view, const PreviewData& data = {});

// The picture of image records as KVR_37 holds them (the blocks, then the end record): rows from
// the bottom up, eight pixels a byte with the leftmost in the high bit. number is set from the
// packed bytes 0 and 1; a null image when there is no block.
QImage pictureFromImageRecords(const std::vector<std::vector<uint8_t>>& records, int& number);

}  // namespace brindale::labelformat::ui
