#pragma once
// What the preview prints on a label: the texts of the items and the digits of the barcode,
// from a PLU's values or from fixed samples when there is no PLU. Plain C++, no widgets.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace brindale::labelformat {

// The symbologies a barcode format line of EAN_DISP or ITF_DISP names.
enum class BarcodeKind { Ean13, Ean8, UpcA, UpcE, Itf14, Itf16 };

struct ComposedBarcode {
    BarcodeKind kind = BarcodeKind::Ean13;
    std::string digits;  // every digit the symbol carries but its final check digit
    bool withDigits = true;  // the digits printed under the bars (BAR_LAST_BYTE: even values)
};

// The values a barcode format line draws its digits from.
struct BarcodeValues {
    int64_t flags = 20;      // Flag1 times 10 plus Flag2 (F1 F2)
    std::string itemCode;    // C
    int64_t price = 0;       // P, in the price's smallest unit
    int64_t weight = 0;      // W, in the weight's smallest unit
    int64_t quantity = 0;    // Q
};

// The digits of a format line such as "1,1,5, EAN-13: F1 F2 CCCCC X PPPP CD": each letter run
// takes the last digits of its value, zero-filled on the left; X is the price check digit of
// the run behind it; CD is left to the symbol. A line without a symbology (format 0) puts the
// item code left-aligned into an EAN-13 (from EAN_DISP) or an ITF-14 (from ITF_DISP).
ComposedBarcode composeBarcode(std::string_view formatLine, bool itfList, const BarcodeValues& v);

// The check digit of the symbol (modulo 10, weights 3 and 1 from the right; UPC-E over its
// UPC-A expansion) and the digits a reader gives back: all of them, check digit last.
int symbolCheckDigit(const ComposedBarcode& b);
// The eleven digits of the UPC-A a UPC-E of number system 0 stands for (its last six digits).
std::string upcEExpanded(std::string_view digits);
std::string readableDigits(const ComposedBarcode& b);

// The price check digit of a four or five digit price or weight (weights 2-, 2-, 3, 5- and
// 5+, 2-, 5-, 5+, 2-); a shorter field is read zero-filled to four digits, a longer one by its
// last five.
int priceCheckDigit(std::string_view digits);

// A PLU as the preview uses it; found false leaves the fixed samples.
struct PluSample {
    bool found = false;
    int64_t PLU_No = 0;
    int64_t unitPrice = 0;  // smallest unit
    int64_t quantity = 0;
    int64_t tare = 0;       // smallest weight unit
    std::string name;
    BarcodeValues barcode;
    std::string formatLine;  // the PLU's line of EAN_DISP or ITF_DISP
    bool itfList = false;
    int64_t lastByte = 0;    // PLU_EANLastByte as resolved: 0 to 9 the bar style of BAR_LAST_BYTE
    // The texts of the multi barcode buffers in use (PLU_MultiBar1, PLU_MultiBar2,
    // PLU_TMultiBar1, PLU_TMultiBar2), "" for one not in use.
    std::array<std::string, 4> multiBarcodes;
};

// The slots of "B5", in the order of the multi barcode buffers they print.
inline constexpr std::array<int, 4> kMultiBarcodeSlots = {72, 73, 115, 116};

struct NumberFormat {
    int priceDecimals = 2;
    int weightDecimals = 3;
    std::string decimalSign = ".";
};

// The sample weight of the preview, in the weight's smallest unit (0.500 kg at three decimals).
int64_t sampleWeight(const NumberFormat& f);

struct LabelSample {
    std::map<int, std::string> texts;  // by slot
    ComposedBarcode barcode;           // "B1"
    std::string gs1 = "[01]09501101530003[3103]000750";  // "B5" without a buffer in use
    std::map<int, std::string> gs1BySlot;                 // "B5" of the PLU's buffers, by slot
};

// A number of the smallest unit in the settings' form: 1234 at two decimals is "12.34".
std::string formatDecimal(int64_t value, int decimals, const std::string& sign);

// The texts and barcode of a label for the PLU, or the fixed samples when it is not found.
LabelSample labelSample(const PluSample& plu, const NumberFormat& format);

}  // namespace brindale::labelformat
