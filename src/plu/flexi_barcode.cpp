#include "plu/flexi_barcode.h"

#include "store/database.h"
#include "store/value.h"

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

int flexiFlagDigits(int type) { return type == 0 ? 1 : type == 1 ? 2 : 0; }

int flexiDigits(const FlexiLayout& l) {
    const int flag = flexiFlagDigits(l.type);
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
    r.FBar_FBarDigitNo = flexiFlagDigits(l.type);
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

namespace brindale::plu {

namespace {
const char* kFlexiColumns =
    "FBar_No, FBar_Type, FBar_ItemDigitNo, FBar_Data1Type, FBar_Data2Type, FBar_FBarDigitNo, FBar_CD, FBar_Data1, "
    "FBar_Data2, FBar_Data1SH, FBar_Data2SH, FBar_EANorITF, KVRBinData, Is_Selected";
}

std::optional<codec::FlexiBarcodeRow> loadFlexiRow(store::Database& db, int number) {
    auto st = db.prepare(std::string("SELECT ") + kFlexiColumns + " FROM KVR_14 WHERE FBar_No = ?");
    st->bind(1, store::Value(number));
    if (!st->step()) return std::nullopt;
    codec::FlexiBarcodeRow r;
    int64_t* nums[] = {&r.FBar_No, &r.FBar_Type, &r.FBar_ItemDigitNo, &r.FBar_Data1Type, &r.FBar_Data2Type,
                       &r.FBar_FBarDigitNo, &r.FBar_CD, &r.FBar_Data1, &r.FBar_Data2, &r.FBar_Data1SH,
                       &r.FBar_Data2SH, &r.FBar_EANorITF};
    for (int i = 0; i < 12; ++i) *nums[i] = st->columnInt(i);
    const store::Value bin = st->column(12);
    if (bin.isBytes()) r.KVRBinData = bin.bytes();
    r.Is_Selected = st->columnInt(13);
    return r;
}

void saveFlexiRow(store::Database& db, const codec::FlexiBarcodeRow& r) {
    deleteFlexiRow(db, static_cast<int>(r.FBar_No));
    auto ins = db.prepare(std::string("INSERT INTO KVR_14 (") + kFlexiColumns +
                          ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const int64_t nums[] = {r.FBar_No, r.FBar_Type, r.FBar_ItemDigitNo, r.FBar_Data1Type, r.FBar_Data2Type,
                            r.FBar_FBarDigitNo, r.FBar_CD, r.FBar_Data1, r.FBar_Data2, r.FBar_Data1SH,
                            r.FBar_Data2SH, r.FBar_EANorITF};
    for (int i = 0; i < 12; ++i) ins->bind(i + 1, store::Value(nums[i]));
    ins->bind(13, r.KVRBinData ? store::Value(*r.KVRBinData) : store::Value());
    ins->bind(14, store::Value(r.Is_Selected));
    ins->step();
}

void deleteFlexiRow(store::Database& db, int number) {
    auto del = db.prepare("DELETE FROM KVR_14 WHERE FBar_No = ?");
    del->bind(1, store::Value(number));
    del->step();
}

}  // namespace brindale::plu
