// The texts and barcode digits the preview prints: composed from a barcode format line and a
// PLU's values, or the fixed samples.
#include <gtest/gtest.h>

#include "labelformat/label_sample.h"

using namespace brindale::labelformat;

TEST(LabelSample, PriceCheckDigitOfFourAndFiveDigits) {
    EXPECT_EQ(priceCheckDigit("2875"), 9);
    EXPECT_EQ(priceCheckDigit("14685"), 6);
    EXPECT_EQ(priceCheckDigit("0000"), 0);
    // Three digits are read zero-filled to four.
    EXPECT_EQ(priceCheckDigit("875"), priceCheckDigit("0875"));
}

TEST(LabelSample, EveryLetterRunTakesTheLastDigitsOfItsValue) {
    BarcodeValues v;
    v.flags = 21;
    v.itemCode = "1234567";
    v.price = 1234;
    v.weight = 567;
    v.quantity = 3;
    ComposedBarcode b = composeBarcode("1,1,5, EAN-13: F1 F2 CCCCC PPPPP CD", false, v);
    EXPECT_EQ(b.kind, BarcodeKind::Ean13);
    EXPECT_EQ(b.digits, "213456701234");
    EXPECT_EQ(readableDigits(b), "2134567012348");
    b = composeBarcode("1,1,5, EAN-13: F1 F2 CCCCC X PPPP CD", false, v);
    EXPECT_EQ(b.digits, "21345679" "1234");  // 1234: 2, 4, 9, 8 -> 23 * 3 -> 9
    b = composeBarcode("1,1,5, EAN-13: F1 F2 CCCCC WWWWW CD", false, v);
    EXPECT_EQ(b.digits, "213456700567");
    b = composeBarcode("1,1,5, EAN-13: F1 F2 CCCCC QQQQQ CD", false, v);
    EXPECT_EQ(b.digits, "213456700003");
    b = composeBarcode("1,1,5, EAN-8: F1 F2 CCCCC CD", false, v);
    EXPECT_EQ(b.kind, BarcodeKind::Ean8);
    EXPECT_EQ(b.digits, "2134567");
    b = composeBarcode("1,0,5, UPC-A: F1 CCCCC PPPPP CD", false, v);
    EXPECT_EQ(b.kind, BarcodeKind::UpcA);
    EXPECT_EQ(b.digits, "23456701234");
    b = composeBarcode("0,0,6, UPC-E: CCCCCC CD", false, v);
    EXPECT_EQ(b.kind, BarcodeKind::UpcE);
    EXPECT_EQ(b.digits, "234567");
    // 234567 -> UPC-A 0 23456 0000 7 -> check digit 3.
    EXPECT_EQ(readableDigits(b), "02345673");
    b = composeBarcode("1,1,5, ITF-14: F1 F2 CCCCC PPPPPP CD", true, v);
    EXPECT_EQ(b.kind, BarcodeKind::Itf14);
    EXPECT_EQ(b.digits, "2134567001234");
    b = composeBarcode("1,1,5, ITF-16: F1 F2 CCCCC WWWWW QQQ CD", true, v);
    EXPECT_EQ(b.kind, BarcodeKind::Itf16);
    EXPECT_EQ(b.digits, "213456700567003");
    EXPECT_EQ(readableDigits(b).size(), 16u);
}

TEST(LabelSample, FormatZeroPutsTheItemCodeLeftAligned) {
    BarcodeValues v;
    v.itemCode = "4711";
    ComposedBarcode b = composeBarcode("0,0,10 No format (item code left-aligned)", false, v);
    EXPECT_EQ(b.kind, BarcodeKind::Ean13);
    EXPECT_EQ(b.digits, "471100000000");
    b = composeBarcode("0,0,10 No format (item code left-aligned)", true, v);
    EXPECT_EQ(b.kind, BarcodeKind::Itf14);
    EXPECT_EQ(b.digits, "4711000000000");
}

TEST(LabelSample, PluValuesInTheSettingsFormatOrTheSamples) {
    NumberFormat f;
    f.priceDecimals = 2;
    f.weightDecimals = 3;
    f.decimalSign = ",";
    LabelSample s = labelSample(PluSample{}, f);
    EXPECT_EQ(s.texts.at(0), "12");
    EXPECT_EQ(s.texts.at(1), "1,50");
    EXPECT_EQ(s.texts.at(2), "0,500");
    EXPECT_EQ(s.texts.at(5), "0,75");
    EXPECT_EQ(s.barcode.digits, "200001200075");

    PluSample p;
    p.found = true;
    p.PLU_No = 345;
    p.unitPrice = 1999;
    p.name = "Gouda";
    p.barcode.flags = 22;
    p.barcode.itemCode = "345";
    p.formatLine = "1,1,5, EAN-13: F1 F2 CCCCC X PPPP CD";
    f.decimalSign = ".";
    s = labelSample(p, f);
    EXPECT_EQ(s.texts.at(0), "345");
    EXPECT_EQ(s.texts.at(1), "19.99");
    EXPECT_EQ(s.texts.at(5), "10.00");  // 19.99 a kilogram, 0.500 kg, half up
    EXPECT_EQ(s.texts.at(7), "Gouda");
    EXPECT_EQ(s.barcode.digits, "2200345" + std::to_string(priceCheckDigit("1000")) + "1000");
    EXPECT_TRUE(s.barcode.withDigits);
    p.lastByte = 3;  // tall bars, without digits
    EXPECT_FALSE(labelSample(p, f).barcode.withDigits);
    p.lastByte = 4;
    EXPECT_TRUE(labelSample(p, f).barcode.withDigits);
    f.priceDecimals = 0;
    EXPECT_EQ(labelSample(p, f).texts.at(1), "1999");
}
