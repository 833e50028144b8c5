// The rules of flexi barcode layouts: the pattern label for each flag type and check digit place,
// the legal length of each barcode kind, FBar_CD, the digit count, and the row and record of a
// layout and back.
#include <gtest/gtest.h>

#include <algorithm>

#include "codec/code_page.h"
#include "plu/flexi_barcode.h"

using namespace brindale;
using namespace brindale::plu;

TEST(FlexiBarcode, PatternLabelForEachTypeAndCheckDigitPlace) {
    FlexiLayout l;
    l.itemDigits = 5;
    l.data1Digits = 3;
    l.data2Digits = 2;
    const char* byType[] = {"F2CCCCCXXXYYCD", "F1F2CCCCCXXXYYCD", "CCCCCXXXYYCD"};
    for (int t = 0; t < 3; ++t) {
        l.type = t;
        EXPECT_EQ(flexiPattern(l), byType[t]);
    }
    l.type = 0;
    const char* byCheck[] = {"F2CCCCCXXXYY", "F2CCCCCXXXCDYY", "F2CCCCCXXXYYCD", "F2CCCCCXXXCDYYCD"};
    const int digits[] = {11, 12, 12, 13};
    for (int c = 0; c < 4; ++c) {
        l.checkDigit = c;
        EXPECT_EQ(flexiPattern(l), byCheck[c]);
        EXPECT_EQ(flexiDigits(l), digits[c]);
    }
}

TEST(FlexiBarcode, OnlyTheKindsLengthIsLegal) {
    FlexiLayout ean;  // F1F2, 5 item digits, 5 data digits, check digit at the end: 13
    ean.type = 1;
    ean.itemDigits = 5;
    ean.data1Digits = 5;
    ean.checkDigit = 2;
    ean.eanOrItf = 1;
    EXPECT_EQ(flexiLegalLength(1), 13);
    EXPECT_EQ(flexiLegalLength(0), 14);
    EXPECT_TRUE(flexiLegal(ean));
    FlexiLayout itf = ean;
    itf.eanOrItf = 0;
    EXPECT_FALSE(flexiLegal(itf));  // 13 digits are not an ITF-14
    itf.data2Digits = 1;
    EXPECT_TRUE(flexiLegal(itf));
    FlexiLayout shortOne = ean;
    shortOne.data1Digits = 4;
    EXPECT_FALSE(flexiLegal(shortOne));
    FlexiLayout badNumber = ean;
    badNumber.number = 223;
    EXPECT_FALSE(flexiLegal(badNumber));
    badNumber.number = 222;
    EXPECT_TRUE(flexiLegal(badNumber));
}

TEST(FlexiBarcode, RowRecordAndBack) {
    codec::CodePage cp("CP1252");
    FlexiLayout l;
    l.number = 7;
    l.type = 1;
    l.itemDigits = 4;
    l.data1Type = 3;
    l.data1Digits = 3;
    l.data2Type = 0;
    l.data2Digits = 2;
    l.data1Shift = 1;
    l.checkDigit = 3;
    l.eanOrItf = 1;
    ASSERT_TRUE(flexiLegal(l)) << flexiDigits(l);
    codec::FlexiBarcodeRow row;
    ASSERT_TRUE(flexiRow(l, row, cp));
    EXPECT_EQ(row.FBar_CD, 3);
    EXPECT_EQ(row.FBar_EANorITF, 1);
    EXPECT_EQ(row.FBar_FBarDigitNo, 2);  // F1F2
    EXPECT_EQ(flexiDigits(l), 13);
    ASSERT_TRUE(row.KVRBinData);
    EXPECT_EQ(row.KVRBinData->size(), codec::kFlexiBarcodeRecordSize);
    EXPECT_EQ((*row.KVRBinData)[11], 128 + 3);  // the stored check digit byte
    codec::FlexiBarcodeRow back;
    back.KVRBinData = row.KVRBinData;
    ASSERT_TRUE(codec::decodeSmallRecords(std::span<codec::FlexiBarcodeRow>(&back, 1), cp).ok());
    EXPECT_EQ(flexiLayoutOf(back), l);
    EXPECT_EQ(back.FBar_FBarDigitNo, 2);
    FlexiLayout tooLong = l;
    tooLong.data1Digits = 0;
    tooLong.data2Digits = 0;
    tooLong.type = 2;
    tooLong.checkDigit = 0;
    tooLong.eanOrItf = 0;
    tooLong.itemDigits = 14;  // 14 digits of ITF-14, but a count the record cannot keep in its byte
    EXPECT_FALSE(flexiLegal(tooLong));
    FlexiLayout illegal = l;
    illegal.itemDigits = 9;
    codec::FlexiBarcodeRow untouched;
    EXPECT_FALSE(flexiRow(illegal, untouched, cp));
    EXPECT_FALSE(untouched.KVRBinData);
}

// FBar_FBarDigitNo is the count of the pattern's flag digits, the "F" of the label, in the column
// and in byte 10 of the record alike, and it comes back from the record as the start rebuilds the
// columns.
TEST(FlexiBarcode, TheDigitCountIsTheFlagsDigitsInColumnRecordAndBack) {
    codec::CodePage cp("CP1252");
    for (int type = 0; type < kFlexiTypes; ++type) {
        FlexiLayout l;
        l.type = type;
        l.itemDigits = 5;
        l.data1Digits = 5;
        l.checkDigit = 2;
        l.eanOrItf = 1;
        l.data2Digits = 13 - flexiDigits(l);  // made legal whatever the flag
        ASSERT_TRUE(flexiLegal(l)) << type;
        const std::string pattern = flexiPattern(l);
        const int flags = static_cast<int>(std::count(pattern.begin(), pattern.end(), 'F'));
        codec::FlexiBarcodeRow row;
        ASSERT_TRUE(flexiRow(l, row, cp));
        EXPECT_EQ(row.FBar_FBarDigitNo, flags) << pattern;
        EXPECT_EQ((*row.KVRBinData)[10], flags) << pattern;
        codec::FlexiBarcodeRow back;
        back.KVRBinData = row.KVRBinData;
        ASSERT_TRUE(codec::decodeSmallRecords(std::span<codec::FlexiBarcodeRow>(&back, 1), cp).ok());
        EXPECT_EQ(back, row) << pattern;
        EXPECT_EQ(flexiPattern(flexiLayoutOf(back)), pattern);
    }
}

// Why the column cannot be the pattern's whole length: the record's byte keeps one digit, so 13
// and 14 both go out as 0x01 and would come back as 1 at the next start.
TEST(FlexiBarcode, AWholeLengthWouldNotSurviveTheRecord) {
    codec::CodePage cp("CP1252");
    codec::FlexiBarcodeRow row;
    ASSERT_TRUE(flexiRow(FlexiLayout{1, 1, 5, 0, 0, 5, 0, 0, 0, 2, 1}, row, cp));
    for (int whole : {13, 14}) {
        row.FBar_FBarDigitNo = whole;
        ASSERT_TRUE(codec::encodeSmallRecord(row, cp).ok());
        EXPECT_EQ((*row.KVRBinData)[10], 0x01);
        codec::FlexiBarcodeRow back;
        back.KVRBinData = row.KVRBinData;
        ASSERT_TRUE(codec::decodeSmallRecords(std::span<codec::FlexiBarcodeRow>(&back, 1), cp).ok());
        EXPECT_EQ(back.FBar_FBarDigitNo, 1);
    }
}
