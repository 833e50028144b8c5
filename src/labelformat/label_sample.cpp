#include "labelformat/label_sample.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace brindale::labelformat {

namespace {

// The last n digits of a value, zero-filled on the left.
std::string lastDigits(std::string digits, size_t n) {
    if (digits.size() >= n) return digits.substr(digits.size() - n);
    return std::string(n - digits.size(), '0') + digits;
}

std::string digitsOf(int64_t v) { return std::to_string(v < 0 ? -v : v); }

std::string onlyDigits(std::string_view s) {
    std::string d;
    for (char c : s)
        if (std::isdigit(static_cast<unsigned char>(c))) d += c;
    return d;
}

int mod10(std::string_view digits) {
    int sum = 0, w = 3;
    for (auto it = digits.rbegin(); it != digits.rend(); ++it) {
        sum += (*it - '0') * w;
        w = w == 3 ? 1 : 3;
    }
    return (10 - sum % 10) % 10;
}

// The weighted products of the price check digit, by digit.
constexpr int kTwoMinus[] = {0, 2, 4, 6, 8, 9, 1, 3, 5, 7};
constexpr int kThree[] = {0, 3, 6, 9, 2, 5, 8, 1, 4, 7};
constexpr int kFivePlus[] = {0, 5, 1, 6, 2, 7, 3, 8, 4, 9};
constexpr int kFiveMinus[] = {0, 5, 9, 4, 8, 3, 7, 2, 6, 1};

}  // namespace

int priceCheckDigit(std::string_view in) {
    std::string d = onlyDigits(in);
    if (d.size() < 4) d = lastDigits(d, 4);
    if (d.size() > 5) d = d.substr(d.size() - 5);
    auto at = [&](size_t i) { return d[i] - '0'; };
    if (d.size() == 4) return (kTwoMinus[at(0)] + kTwoMinus[at(1)] + kThree[at(2)] + kFiveMinus[at(3)]) * 3 % 10;
    const int sum = kFivePlus[at(0)] + kTwoMinus[at(1)] + kFiveMinus[at(2)] + kFivePlus[at(3)] + kTwoMinus[at(4)];
    const int want = (10 - sum % 10) % 10;
    for (int c = 0; c < 10; ++c)
        if (kFiveMinus[c] == want) return c;
    return 0;
}

ComposedBarcode composeBarcode(std::string_view line, bool itfList, const BarcodeValues& v) {
    ComposedBarcode b;
    b.kind = itfList ? BarcodeKind::Itf14 : BarcodeKind::Ean13;
    const size_t colon = line.find(':');
    const std::string code = onlyDigits(v.itemCode);
    if (colon == std::string_view::npos) {
        // No format: the item code left-aligned, zeros behind.
        const size_t n = itfList ? 13 : 12;
        b.digits = code.substr(0, std::min(code.size(), n));
        b.digits.append(n - b.digits.size(), '0');
        return b;
    }
    const std::string_view name = line.substr(0, colon);
    if (name.find("EAN-8") != std::string_view::npos) b.kind = BarcodeKind::Ean8;
    else if (name.find("UPC-A") != std::string_view::npos) b.kind = BarcodeKind::UpcA;
    else if (name.find("UPC-E") != std::string_view::npos) b.kind = BarcodeKind::UpcE;
    else if (name.find("ITF-16") != std::string_view::npos) b.kind = BarcodeKind::Itf16;
    else if (name.find("ITF-14") != std::string_view::npos) b.kind = BarcodeKind::Itf14;
    else b.kind = BarcodeKind::Ean13;
    // The runs of letters in order; X is filled once the run behind it is known.
    std::vector<std::string> runs;
    std::string_view rest = line.substr(colon + 1);
    size_t i = 0;
    while (i < rest.size()) {
        if (rest[i] == ' ') {
            ++i;
            continue;
        }
        size_t j = i;
        while (j < rest.size() && rest[j] != ' ') ++j;
        runs.emplace_back(rest.substr(i, j - i));
        i = j;
    }
    const std::string flags = lastDigits(digitsOf(v.flags), 2);
    std::vector<std::string> parts(runs.size());
    for (size_t k = 0; k < runs.size(); ++k) {
        const std::string& r = runs[k];
        if (r == "F1") parts[k] = flags.substr(0, 1);
        else if (r == "F2") parts[k] = flags.substr(1, 1);
        else if (r == "CD") parts[k] = "";
        else if (r[0] == 'C') parts[k] = lastDigits(code, r.size());
        else if (r[0] == 'P') parts[k] = lastDigits(digitsOf(v.price), r.size());
        else if (r[0] == 'W') parts[k] = lastDigits(digitsOf(v.weight), r.size());
        else if (r[0] == 'Q') parts[k] = lastDigits(digitsOf(v.quantity), r.size());
    }
    for (size_t k = 0; k < runs.size(); ++k)
        if (runs[k] == "X") parts[k] = std::to_string(priceCheckDigit(k + 1 < parts.size() ? parts[k + 1] : ""));
    for (const auto& p : parts) b.digits += p;
    return b;
}

std::string upcEExpanded(std::string_view six) {
    const std::string d = lastDigits(onlyDigits(six), 6);
    std::string a = "0";
    switch (d[5]) {
        case '0': case '1': case '2': a += d.substr(0, 2) + d[5] + "0000" + d.substr(2, 3); break;
        case '3': a += d.substr(0, 3) + "00000" + d.substr(3, 2); break;
        case '4': a += d.substr(0, 4) + "00000" + d[4]; break;
        default: a += d.substr(0, 5) + "0000" + d[5]; break;
    }
    return a;
}

int symbolCheckDigit(const ComposedBarcode& b) {
    // UPC-E is checked over its UPC-A expansion.
    return mod10(b.kind == BarcodeKind::UpcE ? upcEExpanded(b.digits) : b.digits);
}

std::string readableDigits(const ComposedBarcode& b) {
    std::string d = b.kind == BarcodeKind::UpcE ? "0" + lastDigits(b.digits, 6) : b.digits;
    return d + std::to_string(symbolCheckDigit(b));
}

int64_t sampleWeight(const NumberFormat& f) {
    int64_t w = 500;  // grams
    for (int i = 3; i < f.weightDecimals; ++i) w *= 10;
    for (int i = f.weightDecimals; i < 3; ++i) w /= 10;
    return w;
}

std::string formatDecimal(int64_t value, int decimals, const std::string& sign) {
    const bool negative = value < 0;
    std::string d = digitsOf(value);
    if (decimals <= 0) return (negative ? "-" : "") + d;
    if (d.size() <= static_cast<size_t>(decimals)) d = std::string(static_cast<size_t>(decimals) + 1 - d.size(), '0') + d;
    return (negative ? "-" : "") + d.substr(0, d.size() - static_cast<size_t>(decimals)) + sign +
           d.substr(d.size() - static_cast<size_t>(decimals));
}

LabelSample labelSample(const PluSample& given, const NumberFormat& f) {
    PluSample p = given;
    if (!p.found) {
        p.PLU_No = 12;
        p.unitPrice = 150;
        for (int i = 2; i < f.priceDecimals; ++i) p.unitPrice *= 10;
        for (int i = f.priceDecimals; i < 2; ++i) p.unitPrice /= 10;
        p.quantity = 1;
        p.tare = 0;
        p.name = "SAMPLE";
        p.barcode.flags = 20;
        p.barcode.itemCode = "12";
        p.formatLine = "1,1,5, EAN-13: F1 F2 CCCCC PPPPP CD";
        p.itfList = false;
    }
    const int64_t weight = sampleWeight(f);
    int64_t scale = 1;
    for (int i = 0; i < f.weightDecimals; ++i) scale *= 10;
    const int64_t total = (p.unitPrice * weight + scale / 2) / scale;
    LabelSample s;
    s.texts[0] = std::to_string(p.PLU_No);
    s.texts[1] = formatDecimal(p.unitPrice, f.priceDecimals, f.decimalSign);
    s.texts[2] = formatDecimal(weight, f.weightDecimals, f.decimalSign);
    s.texts[3] = formatDecimal(p.tare, f.weightDecimals, f.decimalSign);
    s.texts[4] = std::to_string(p.quantity);
    s.texts[5] = formatDecimal(total, f.priceDecimals, f.decimalSign);
    s.texts[7] = p.name;
    s.texts[18] = p.barcode.itemCode;
    BarcodeValues v = p.barcode;
    // A weighed label carries the total price and the weight, as the scale prints them.
    v.price = total;
    v.weight = weight;
    s.barcode = composeBarcode(p.formatLine, p.itfList, v);
    // BAR_LAST_BYTE: the odd styles print the bars without their digits.
    s.barcode.withDigits = p.lastByte % 2 == 0;
    for (size_t i = 0; i < kMultiBarcodeSlots.size(); ++i)
        if (!p.multiBarcodes[i].empty()) s.gs1BySlot[kMultiBarcodeSlots[i]] = p.multiBarcodes[i];
    return s;
}

}  // namespace brindale::labelformat
