#pragma once
// The settings file: one value a line, the position is the meaning.
#include <string>

namespace brindale::shell {

struct Settings {
    int LanguageIndex = 0;     // 0 Standard, 1 Chinese, 2 Other
    int PriceDecimals = 2;
    int DecimalSignIndex = 0;  // 0 ".", anything else ","
    int WeightDecimals = 3;
    int ScaleTypeIndex = 1;    // 0 "Alder", 1 "Birch"
    int DateTypeIndex = 0;
    int PriceUnitIndex = 1;    // 0 "RMB", 1 "$", 2 custom
    std::string PriceUnitText = "$";
    int CountryIndex = 0;
    int StoreMode = 0;         // 0 single store, 1 multi store
    std::string StoreNameSetting;
    // The last line as written, kept even in single store mode so that a rewrite keeps it.
    std::string StoreNameLine;

    std::string DecimalSign() const { return DecimalSignIndex == 0 ? "." : ","; }
    std::string LanguageName() const;
};

std::string languageNameFor(int index);

// Reads the file; a line that is not a number where one is expected, or a missing line, is a
// FatalError naming the file and the line.
Settings readSettings(const std::string& path);

// Writes the file in the print form: a number with a blank before and after, text as it is,
// CR LF line ends. Line 8 only when PriceUnitIndex is 2.
void writeSettings(const std::string& path, const Settings& s);

// The print statement's form of a number: " 5 ", "-5 ".
std::string printNumber(long long v);

}  // namespace brindale::shell
