// Pictures into image and logo records: the padded width, the blank first row and the unread top
// row, the pixel rule (only opaque pure black prints), the limits, renumbering, and round trips
// over random pictures up to both limits through the decoders.
#include <gtest/gtest.h>

#include <random>

#include "scalefiles/pictures.h"

using namespace brindale::scalefiles;
using B = std::vector<uint8_t>;

namespace {

constexpr uint32_t kBlack = 0xFF000000u;
constexpr uint32_t kWhite = 0xFFFFFFFFu;

struct Picture {
    int width, height;
    std::vector<uint32_t> px;
    Picture(int w, int h, uint32_t fill = kWhite) : width(w), height(h), px(static_cast<std::size_t>(w) * h, fill) {}
    uint32_t& at(int x, int y) { return px[static_cast<std::size_t>(y) * width + x]; }
    ArgbPixels view() const { return ArgbPixels{width, height, px.data(), static_cast<std::size_t>(width)}; }
};

Picture randomPicture(std::mt19937& rng, int w, int h) {
    Picture p(w, h);
    for (auto& v : p.px) v = (rng() % 3 == 0) ? kBlack : kWhite;
    return p;
}

}  // namespace

TEST(PadImageWidth, RowsFillABlock) {
    EXPECT_EQ(padImageWidth(8), 8);
    EXPECT_EQ(padImageWidth(40), 48);   // 5 bytes is no divisor of 1008, 6 is
    EXPECT_EQ(padImageWidth(20), 16);   // 2.5 bytes round to the even 2
    EXPECT_EQ(padImageWidth(28), 32);   // 3.5 rounds to 4
    EXPECT_EQ(padImageWidth(4), 4);     // half a byte rounds to 0: left as it is
    EXPECT_EQ(padImageWidth(3), 3);
    EXPECT_EQ(padImageWidth(448), 448);
    const std::vector<int> divisors = {1, 2, 3, 4, 6, 7, 8, 9, 12, 14, 16, 18, 21, 24, 28, 36, 42, 48, 56};
    for (int w = 5; w <= 448; ++w) {
        const int b = padImageWidth(w) / 8;
        EXPECT_EQ(padImageWidth(w) % 8, 0);
        EXPECT_NE(std::find(divisors.begin(), divisors.end(), b), divisors.end()) << w;
    }
}

TEST(PackImage, EightByOneIsOneBlankBlock) {
    Picture p(8, 1, kBlack);
    auto recs = packImage(p.view(), padImageWidth(8), 1);
    ASSERT_EQ(recs.size(), 2u);
    ASSERT_EQ(recs[0].size(), kImageBlockSize);
    EXPECT_EQ(B(recs[0].begin(), recs[0].begin() + 7), (B{0, 1, 0, 0, 0x07, 0xE7, 1}));
    // The first data byte is the blank row; the black top row is never read.
    for (std::size_t i = 7; i < recs[0].size(); ++i) ASSERT_EQ(recs[0][i], 0) << i;
    EXPECT_EQ(recs[1], (B{0, 1, 0, 1, 0, 6}));
}

TEST(PackImage, FortyWideIsPackedFortyEight) {
    Picture p(40, 3, kBlack);
    const int w = padImageWidth(40);
    auto recs = packImage(p.view(), w, 2);
    ASSERT_EQ(recs.size(), 2u);
    EXPECT_EQ(recs[0][6], 6);
    // Rows: blank, then y = 2, y = 1; 40 black pixels, 8 padded columns white.
    EXPECT_EQ(B(recs[0].begin() + 7, recs[0].begin() + 13), B(6, 0));
    EXPECT_EQ(B(recs[0].begin() + 13, recs[0].begin() + 19), (B{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0}));
    EXPECT_EQ(B(recs[0].begin() + 19, recs[0].begin() + 25), (B{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0}));
    EXPECT_EQ(recs[0][25], 0);
}

TEST(PackImage, LargestPictureIsFortyNineBlocksAndTheEnd) {
    EXPECT_TRUE(fitsImage(448, 1760));
    EXPECT_FALSE(fitsImage(449, 1760));
    EXPECT_FALSE(fitsImage(448, 1761));
    Picture p(448, 1760, kBlack);
    auto recs = packImage(p.view(), padImageWidth(448), 37);
    ASSERT_EQ(recs.size(), 50u);
    EXPECT_EQ(recs[48][2], 0x00);
    EXPECT_EQ(recs[48][3], 0x48);  // block 48, packed
    EXPECT_EQ(recs.back(), (B{0, 0x37, 0, 0x49, 0, 6}));
    auto d = decodeImage(recs);
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(d->blockCount, 49);
    EXPECT_EQ(d->printed.width, 448);
}

TEST(PackImage, OnlyOpaquePureBlackPrints) {
    Picture p(8, 3);
    const uint32_t shades[8] = {kBlack, 0xFF010101, 0xFF808080, 0xFF000001, 0x00000000, 0x80000000, 0xFF010000, kBlack};
    for (int x = 0; x < 8; ++x) p.at(x, 1) = shades[x];
    auto recs = packImage(p.view(), 8, 1);
    // Data: blank row (y = 3), y = 2 (white), y = 1 (the shades).
    EXPECT_EQ(recs[0][7], 0);
    EXPECT_EQ(recs[0][8], 0);
    EXPECT_EQ(recs[0][9], 0x81);
    EXPECT_TRUE(printsBlack(kBlack));
    EXPECT_FALSE(printsBlack(0x00000000));
}

TEST(PackImage, NoPictureIsTheEndRecordAlone) {
    auto recs = packImage(ArgbPixels{}, 0, 5);
    ASSERT_EQ(recs.size(), 1u);
    EXPECT_EQ(recs[0], (B{0, 5, 0, 0, 0, 6}));
    auto d = decodeImage(recs);
    ASSERT_TRUE(d) << d.reason;
    EXPECT_EQ(d->blockCount, 0);
}

TEST(PackImage, AnotherNumberChangesOnlyTheNumberBytes) {
    std::mt19937 rng(3);
    Picture p = randomPicture(rng, 200, 300);
    const int w = padImageWidth(200);
    auto a = packImage(p.view(), w, 1);
    auto b = packImage(p.view(), w, 42);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(b[i][0], 0);
        EXPECT_EQ(b[i][1], 0x42);
        EXPECT_EQ(B(a[i].begin() + 2, a[i].end()), B(b[i].begin() + 2, b[i].end()));
    }
}

TEST(PackImage, RoundTripOfRandomPictures) {
    std::mt19937 rng(10);
    std::vector<std::pair<int, int>> sizes = {{448, 1760}, {1, 1}, {9, 2}, {20, 7}, {447, 1759}};
    for (int i = 0; i < 25; ++i) sizes.push_back({1 + int(rng() % 448), 1 + int(rng() % 1760)});
    for (auto [w, h] : sizes) {
        Picture p = randomPicture(rng, w, h);
        const int pw = padImageWidth(w);
        auto recs = packImage(p.view(), pw, 9);
        auto d = decodeImage(recs);
        ASSERT_TRUE(d) << w << "x" << h << ": " << d.reason;
        if (pw < 8) continue;  // no whole byte a row
        const auto& m = d->printed;
        ASSERT_EQ(m.width, pw);
        ASSERT_GE(m.height, h);
        // Printed from the bottom: the blank row, then y = h-1 up to y = 1; columns the rounding
        // dropped are gone, padded ones are white; the rows that fill the last block are white.
        for (int k = 0; k < m.height; ++k) {
            const int srcY = h - k;  // data row k is picture row h - k
            const int printedY = m.height - 1 - k;
            for (int x = 0; x < pw; ++x) {
                const uint8_t want = (srcY >= 1 && srcY < h && x < w && p.at(x, srcY) == kBlack) ? 1 : 0;
                ASSERT_EQ(m.at(x, printedY), want) << w << "x" << h << " at " << x << "," << srcY;
            }
        }
    }
}

TEST(DecodeImage, RefusesInconsistentRecordSets) {
    Picture p(48, 1000, kBlack);
    auto recs = packImage(p.view(), 48, 3);
    ASSERT_EQ(recs.size(), 4u);
    auto missing = recs;
    missing.erase(missing.begin() + 1);
    EXPECT_NE(decodeImage(missing).reason.find("counts 3 blocks"), std::string::npos);
    auto swapped = recs;
    std::swap(swapped[0], swapped[1]);
    EXPECT_NE(decodeImage(swapped).reason.find("block 1 where block 0"), std::string::npos);
    auto other = recs;
    other[2][1] = 4;
    EXPECT_NE(decodeImage(other).reason.find("image 4 among image 3"), std::string::npos);
    auto width = recs;
    width[1][6] = 5;
    EXPECT_NE(decodeImage(width).reason.find("do not fill"), std::string::npos);
    auto cut = recs;
    cut[0].pop_back();
    EXPECT_FALSE(decodeImage(cut));
    EXPECT_FALSE(decodeImage(std::vector<RecordBytes>{}));
}

TEST(PackLogo, FullLogoFillsEveryByte) {
    EXPECT_TRUE(fitsLogo(128, 64));
    EXPECT_FALSE(fitsLogo(129, 64));
    EXPECT_FALSE(fitsLogo(128, 65));
    Picture p(128, 64, kBlack);
    auto r = packLogo(p.view(), 2);
    ASSERT_EQ(r.size(), kLogoRecordSize);
    EXPECT_EQ(B(r.begin(), r.begin() + 6), (B{0, 0, 0, 2, 4, 6}));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(r[6 + i], 0);          // the blank row
    for (std::size_t i = 22; i < r.size(); ++i) ASSERT_EQ(r[i], 0xFF) << i;  // rows 63 to 1
}

TEST(PackLogo, HalfLogoLeavesTheRestZero) {
    Picture p(64, 32, kBlack);
    auto r = packLogo(p.view(), 1);
    // 32 rows of 128 pixels: the blank row, then 31 rows with 64 black pixels.
    for (int row = 0; row < 64; ++row)
        for (int b = 0; b < 16; ++b) {
            const uint8_t want = (row >= 1 && row < 32 && b < 8) ? 0xFF : 0;
            ASSERT_EQ(r[6 + row * 16 + b], want) << row << "," << b;
        }
    auto d = decodeLogo(r);
    ASSERT_TRUE(d);
    EXPECT_EQ(d->number, 1u);
    EXPECT_EQ(d->printed.at(0, 62), 1);  // data row 1, printed one above the bottom
    EXPECT_EQ(d->printed.at(64, 62), 0);
    EXPECT_EQ(d->printed.at(0, 63), 0);
}

TEST(PackLogo, NoPictureIsARecordOfZeroPixels) {
    auto r = packLogo(ArgbPixels{}, 4);
    EXPECT_EQ(B(r.begin(), r.begin() + 6), (B{0, 0, 0, 4, 4, 6}));
    for (std::size_t i = 6; i < r.size(); ++i) ASSERT_EQ(r[i], 0);
}

TEST(DecodeLogo, RefusesDamage) {
    auto r = packLogo(ArgbPixels{}, 4);
    auto bad = r;
    bad[5] = 5;
    EXPECT_NE(decodeLogo(bad).reason.find("length field"), std::string::npos);
    bad = r;
    bad[3] = 0xAB;
    EXPECT_NE(decodeLogo(bad).reason.find("packed digits"), std::string::npos);
    EXPECT_FALSE(decodeLogo(B(1029, 0)));
}

TEST(PackLogo, RoundTripOfRandomLogos) {
    std::mt19937 rng(7);
    for (int i = 0; i < 40; ++i) {
        const int w = 1 + int(rng() % 128), h = 1 + int(rng() % 64);
        Picture p = randomPicture(rng, w, h);
        auto d = decodeLogo(packLogo(p.view(), 3));
        ASSERT_TRUE(d);
        for (int k = 0; k < 64; ++k)
            for (int x = 0; x < 128; ++x) {
                const int srcY = h - k;
                const uint8_t want = (srcY >= 1 && srcY < h && x < w && p.at(x, srcY) == kBlack) ? 1 : 0;
                ASSERT_EQ(d->printed.at(x, 63 - k), want);
            }
    }
}
