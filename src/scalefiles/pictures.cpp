#include "scalefiles/pictures.h"

#include <cmath>

#include "codec/bytes.h"

namespace brindale::scalefiles {

namespace {

// Walks the picture from the blank row below it upwards, eight pixels a byte, rows of
// `rowPixels` pixels.
class RowWalker {
public:
    RowWalker(const ArgbPixels& p, int rowPixels) : p_(p), rowPixels_(rowPixels), y_(p.height) {}

    bool done() const { return done_; }

    // The next byte; false when the walk has gone past row 1 (y fell to 0).
    uint8_t next() {
        uint8_t byte = 0;
        if (y_ < p_.height && y_ >= 0) {
            const uint32_t* row = p_.data + static_cast<std::size_t>(y_) * p_.stride;
            for (int i = 0; i < 8; ++i) {
                const int x = x_ + i;
                if (x < p_.width && printsBlack(row[x])) byte |= static_cast<uint8_t>(0x80 >> i);
            }
        }
        x_ += 8;
        if (x_ >= rowPixels_) {
            x_ = 0;
            if (--y_ <= 0) done_ = true;
        }
        return byte;
    }

private:
    const ArgbPixels& p_;
    int rowPixels_;
    int x_ = 0;
    int y_;
    bool done_ = false;
};

// Rounds halves to the even number, as the width's bytes are rounded.
int roundHalfEven(double v) { return static_cast<int>(std::nearbyint(v)); }

}  // namespace

bool fitsImage(int width, int height) { return width <= kImageMaxWidth && height <= kImageMaxHeight; }
bool fitsLogo(int width, int height) { return width <= kLogoRowPixels && height <= kLogoRows; }

int padImageWidth(int width) {
    int b = roundHalfEven(width / 8.0);
    if (b < 1) return width;
    while (1008 % b != 0) ++b;
    return b * 8;
}

std::vector<RecordBytes> packImage(const ArgbPixels& picture, int width, uint32_t number) {
    const int blocks = static_cast<int>(std::floor((static_cast<double>(width) * picture.height / 8.0 + 2015.0) / 2016.0));
    const uint8_t bytesPerRow = static_cast<uint8_t>(roundHalfEven(width / 8.0));
    std::vector<RecordBytes> out;
    out.reserve(static_cast<std::size_t>(blocks) + 1);
    RowWalker walk(picture, width < 1 ? 1 : width);
    for (int block = 0; block < blocks; ++block) {
        RecordBytes r(kImageBlockSize, 0);
        writePacked(number, r.data(), 2);
        writePacked(static_cast<uint32_t>(block), r.data() + 2, 2);
        codec::copyBytesReversed(r.data() + 4, static_cast<uint32_t>(kImageBlockSize), 2);
        r[6] = bytesPerRow;
        for (std::size_t i = 0; i < kImageBlockData && !walk.done(); ++i) r[7 + i] = walk.next();
        out.push_back(std::move(r));
    }
    RecordBytes end(kImageEndSize, 0);
    writePacked(number, end.data(), 2);
    writePacked(static_cast<uint32_t>(blocks), end.data() + 2, 2);
    codec::copyBytesReversed(end.data() + 4, static_cast<uint32_t>(kImageEndSize), 2);
    out.push_back(std::move(end));
    return out;
}

RecordBytes packLogo(const ArgbPixels& picture, uint32_t number) {
    RecordBytes r(kLogoRecordSize, 0);
    writePacked(number, r.data(), 4);
    r[4] = 4;
    r[5] = 6;
    RowWalker walk(picture, kLogoRowPixels);
    for (std::size_t i = 0; i < kLogoData && !walk.done(); ++i) r[6 + i] = walk.next();
    return r;
}

}  // namespace brindale::scalefiles
