#include "plu/flexi_barcode.h"

namespace brindale::plu {

const std::vector<const char*>& flexiDataTypeKeys() {
    static const std::vector<const char*> keys = {"comboWeight", "comboQuantity", "comboUP",  "comboTP",  "comboOP",
                                                  "comboUserP",  "comboMC",       "comboTLN", "comboRNILN"};
    return keys;
}

const std::vector<const char*>& flexiCheckDigitKeys() {
    static const std::vector<const char*> keys = {"comboNoCheck", "comboMidCD", "comboLastCD", "comboM&LCD"};
    return keys;
}

std::string flexiPattern(const FlexiLayout& l) {
    std::string p = l.type == 0 ? "F2" : l.type == 1 ? "F1F2" : "";
    p += std::string(static_cast<std::size_t>(std::max(0, l.itemDigits)), 'C');
    p += std::string(static_cast<std::size_t>(std::max(0, l.data1Digits)), 'X');
    if (l.checkDigit == 1 || l.checkDigit == 3) p += "CD";
    p += std::string(static_cast<std::size_t>(std::max(0, l.data2Digits)), 'Y');
    if (l.checkDigit == 2 || l.checkDigit == 3) p += "CD";
    return p;
}

int flexiDigits(const FlexiLayout& l) {
    const int flag = l.type == 0 ? 1 : l.type == 1 ? 2 : 0;
    const int checks = l.checkDigit == 3 ? 2 : (l.checkDigit == 1 || l.checkDigit == 2) ? 1 : 0;
    return flag + l.itemDigits + l.data1Digits + l.data2Digits + checks;
}

int flexiLegalLength(int eanOrItf) { return eanOrItf == 1 ? 13 : 14; }

bool flexiLegal(const FlexiLayout& l) {
    const bool inLists = l.number >= 1 && l.number <= kFlexiNumbers && l.type >= 0 && l.type < kFlexiTypes &&
                         l.checkDigit >= 0 && l.checkDigit < kFlexiCheckDigits && (l.eanOrItf == 0 || l.eanOrItf == 1);
    const bool digits = l.itemDigits >= 0 && l.itemDigits <= kFlexiMaxDigits && l.data1Digits >= 0 &&
                        l.data1Digits <= kFlexiMaxDigits && l.data2Digits >= 0 && l.data2Digits <= kFlexiMaxDigits;
    return inLists && digits && flexiDigits(l) == flexiLegalLength(l.eanOrItf);
}

bool flexiRow(const FlexiLayout& l, codec::FlexiBarcodeRow& row, const codec::CodePage& codePage) {
    if (!flexiLegal(l)) return false;
    codec::FlexiBarcodeRow r;
    r.FBar_No = l.number;
    r.FBar_Type = l.type;
    r.FBar_ItemDigitNo = l.itemDigits;
    r.FBar_Data1Type = l.data1Type;
    r.FBar_Data2Type = l.data2Type;
    r.FBar_FBarDigitNo = flexiDigits(l);
    // The record's byte 11 is ComboEANorITF x 128 + ComboCD; the table keeps its two parts apart,
    // as the codec reads and writes them.
    r.FBar_CD = l.checkDigit;
    r.FBar_Data1 = l.data1Digits;
    r.FBar_Data2 = l.data2Digits;
    r.FBar_Data1SH = l.data1Shift;
    r.FBar_Data2SH = l.data2Shift;
    r.FBar_EANorITF = l.eanOrItf;
    r.Is_Selected = 0;
    if (!codec::encodeSmallRecord(r, codePage).ok()) return false;
    row = std::move(r);
    return true;
}

FlexiLayout flexiLayoutOf(const codec::FlexiBarcodeRow& r) {
    FlexiLayout l;
    l.number = static_cast<int>(r.FBar_No);
    l.type = static_cast<int>(r.FBar_Type);
    l.itemDigits = static_cast<int>(r.FBar_ItemDigitNo);
    l.data1Type = static_cast<int>(r.FBar_Data1Type);
    l.data2Type = static_cast<int>(r.FBar_Data2Type);
    l.data1Digits = static_cast<int>(r.FBar_Data1);
    l.data2Digits = static_cast<int>(r.FBar_Data2);
    l.data1Shift = static_cast<int>(r.FBar_Data1SH);
    l.data2Shift = static_cast<int>(r.FBar_Data2SH);
    l.checkDigit = static_cast<int>(r.FBar_CD & 0x7F);
    l.eanOrItf = static_cast<int>(r.FBar_EANorITF);
    return l;
}

}  // namespace brindale::plu
