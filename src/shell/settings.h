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

// Rows of the country table (SYS_C0 .. SYS_C37 of ParameterPLU1.ini): CountryIndex is one of them.
inline constexpr int kCountryRows = 38;

// Reads the file; a line that is not a number where one is expected, a number outside its
// allowed values, or a missing line, is a FatalError naming the file and the line (and the
// allowed values).
Settings readSettings(const std::string& path);

// Writes the file in the print form: a number with a blank before and after, text as it is,
// CR LF line ends. Line 8 only when PriceUnitIndex is 2.
// The new text is written beside the file, flushed to the disk and renamed over it, so that a
// full disk or a crash leaves the old file whole. A failure is a FatalError naming the file and
// the reason; the old file is untouched and no temporary file is left.
void writeSettings(const std::string& path, const Settings& s);

// The system calls of that write, replaceable so that a test can make the disk fill up or the
// flush fail. Null members mean the real calls.
struct SettingsWriteCalls {
    long (*write)(int fd, const void* data, unsigned long size) = nullptr;
    int (*fsync)(int fd) = nullptr;
};
void setSettingsWriteCalls(const SettingsWriteCalls& calls);

// The print statement's form of a number: " 5 ", "-5 ".
std::string printNumber(long long v);

}  // namespace brindale::shell
