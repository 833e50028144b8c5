// The rules of a flexi barcode layout (KVR_14) as frmFlexiBarcode edits it: the combos' lists,
// the pattern label, the legal length and the row the record is built from. No windows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/small_records.h"

namespace brindale::plu {

// PLU_BarFormat 32 + n selects flexi layout n and 255 means inheritance: n is 1 to 222.
inline constexpr int kFlexiNumbers = 222;
inline constexpr int kFlexiTypes = 3;        // "F2", "F1F2", no flag
inline constexpr int kFlexiCheckDigits = 4;  // none, middle, end, middle and end
inline constexpr int kFlexiMaxDigits = 9;    // the record keeps each count in one packed byte, 0 to 9

// A layout as the combos hold it: list positions, ComboNo as its number.
struct FlexiLayout {
    int number = 1;        // ComboNo + 1
    int type = 0;          // ComboType
    int itemDigits = 5;    // ComboItemDigitNo
    int data1Type = 0;     // ComboData1Type
    int data2Type = 0;     // ComboData2Type
    int data1Digits = 5;   // ComboData1
    int data2Digits = 0;   // ComboData2
    int data1Shift = 0;    // ComboData1SH
    int data2Shift = 0;    // ComboData2SH
    int checkDigit = 2;    // ComboCD
    int eanOrItf = 1;      // ComboEANorITF: 0 ITF-14, 1 EAN-13
    bool operator==(const FlexiLayout&) const = default;
};

// The language keys of the data type and check digit lists, in list order.
const std::vector<const char*>& flexiDataTypeKeys();
const std::vector<const char*>& flexiCheckDigitKeys();

// The pattern as labFBar_Item shows it: the flag ("F2", "F1F2" or none), "C" per item digit, "X"
// per digit of data 1, "Y" per digit of data 2, and "CD" for a check digit where ComboCD puts it:
// 1 between the data fields, 2 at the end, 3 both.
std::string flexiPattern(const FlexiLayout& layout);
// The digits of the pattern (a flag letter pair and "CD" are one digit each): the legal length.
int flexiDigits(const FlexiLayout& layout);
// 13 for EAN-13, 14 for ITF-14.
int flexiLegalLength(int eanOrItf);
// The flag's digits (1 for "F2", 2 for "F1F2", 0 for none): FBar_FBarDigitNo, which the record
// keeps in one packed byte beside the other counts.
int flexiFlagDigits(int type);
bool flexiLegal(const FlexiLayout& layout);

// The row of KVR_14 for a legal layout, its record built (byte 11 = ComboEANorITF x 128 +
// ComboCD; the row keeps ComboCD in FBar_CD and the kind in FBar_EANorITF, as the codec splits
// that byte); false with nothing done when the layout is not legal or the record cannot be built.
bool flexiRow(const FlexiLayout& layout, codec::FlexiBarcodeRow& row, const codec::CodePage& codePage);
// The layout of a row.
FlexiLayout flexiLayoutOf(const codec::FlexiBarcodeRow& row);

}  // namespace brindale::plu

namespace brindale::store {
class Database;
}

namespace brindale::plu {

// The row of a layout number in KVR_14; nullopt when there is none.
std::optional<codec::FlexiBarcodeRow> loadFlexiRow(store::Database& db, int number);
// Adds the row, or replaces the row of its number.
void saveFlexiRow(store::Database& db, const codec::FlexiBarcodeRow& row);
void deleteFlexiRow(store::Database& db, int number);

}  // namespace brindale::plu
