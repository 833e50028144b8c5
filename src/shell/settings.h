#pragma once
// The settings file: one value a line, the position is the meaning.
#include <string>

namespace brindale::shell {

struct Settings {
    int LanguageIndex = 0;     // 0 Standard, 1 Chinese, 2 Other
    int PriceDecimals = 2;
    int DecimalSignIndex = 0;  // 0 ".", anything else ","; as the file holds it
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

    // The sign of this run: derived from DecimalSignIndex when the file is read at the start. A
    // new index chosen in the data format dialog is for the next start; every number of this run
    // keeps the sign it was shown with.
    std::string RunDecimalSign = ".";
    std::string DecimalSign() const { return RunDecimalSign; }
    std::string LanguageName() const;
};

std::string languageNameFor(int index);
// The sign of a DecimalSignIndex: "." for 0, "," for any other value.
std::string decimalSignFor(int index);

// Rows of the country table (SYS_C0 .. SYS_C37 of ParameterPLU1.ini): CountryIndex is one of them.
inline constexpr int kCountryRows = 38;

// Reads the file; a line that is not a number where one is expected, a number outside its
// allowed values, or a missing line, is a FatalError naming the file and the line (and the
// allowed values).
Settings readSettings(const std::string& path);

// Writes the file in the print form: a number with a blank before and after, text as it is,
// CR LF line ends. Line 8 only when PriceUnitIndex is 2. The last line is StoreNameSetting in
// multi store mode and StoreNameLine in single store mode (the name the file had, or the one the
// data format dialog wrote), so that a rewrite never loses it.
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
