// A picture into the scales' one-bit records: the image blocks of KVR_37 with their end record,
// and the logo record of KVR_36.
// The records are read from the bottom up: the first data row is the blank row just below the
// picture (y = height), then the rows up to y = 1; the top row y = 0 is never read. Eight pixels
// a byte, the leftmost in the high bit. Positions outside the picture read as 0. The scales'
// records come out this way and must stay so.
// Plain C++ over 32-bit ARGB pixels; reading a picture file is the window's business (Qt).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scalefiles/records.h"

namespace brindale::scalefiles {

// A view of 32-bit ARGB pixels (0xAARRGGBB), rows from the top; stride is in pixels.
struct ArgbPixels {
    int width = 0;
    int height = 0;
    const uint32_t* data = nullptr;
    std::size_t stride = 0;
};

// A pixel prints when it is pure black and opaque: a transparent pixel shows the background. No
// threshold and no dithering, so grey stays white.
inline bool printsBlack(uint32_t argb) { return argb == 0xFF000000u; }

// Whether a picture fits an image (448 x 1760) or a logo (128 x 64).
bool fitsImage(int width, int height);
bool fitsLogo(int width, int height);

// The width an image is packed with: the bytes of a row rounded (halves to even) and raised to a
// divisor of 1008, so that rows fill a block exactly. A width under 5 pixels stays as it is.
int padImageWidth(int width);

// The image records of a picture under its number: the blocks, then the end record. `width` is
// the padded width (padImageWidth); the picture's own columns beyond it are not read, the columns
// of the padding read as 0.
std::vector<RecordBytes> packImage(const ArgbPixels& picture, int width, uint32_t number);

// The logo record of a picture under its number: rows of 128 pixels whatever its width.
RecordBytes packLogo(const ArgbPixels& picture, uint32_t number);

}  // namespace brindale::scalefiles
