#include "settings.h"

#include <charconv>
#include <fstream>
#include <vector>

#include "ini.h"
#include "store/fatal_error.h"

namespace brindale::shell {

std::string languageNameFor(int index) {
    switch (index) {
        case 1: return "Chinese";
        case 2: return "Other";
        default: return "Standard";
    }
}

std::string Settings::LanguageName() const { return languageNameFor(LanguageIndex); }

std::string printNumber(long long v) {
    return (v < 0 ? "" : " ") + std::to_string(v) + " ";
}

Settings readSettings(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FatalError(path, 0, "the settings file cannot be read");
    std::vector<std::string> lines;
    std::string raw;
    while (std::getline(in, raw)) {
        if (!raw.empty() && raw.back() == '\r') raw.pop_back();
        lines.push_back(raw);
    }
    size_t next = 0;
    auto lineText = [&](const char* what) -> std::string {
        if (next >= lines.size())
            throw FatalError(path, static_cast<long>(next + 1), std::string("the line for ") + what + " is missing");
        return lines[next++];
    };
    auto number = [&](const char* what) {
        std::string t = trim(lineText(what));
        int v = 0;
        const char* b = t.data();
        if (!t.empty() && t[0] == '+') ++b;
        auto [p, ec] = std::from_chars(b, t.data() + t.size(), v);
        if (t.empty() || ec != std::errc() || p != t.data() + t.size())
            throw FatalError(path, static_cast<long>(next),
                             std::string("\"") + t + "\" is not a number (" + what + ")");
        return v;
    };
    Settings s;
    s.LanguageIndex = number("the language");
    s.PriceDecimals = number("the price decimals");
    s.DecimalSignIndex = number("the decimal sign");
    s.WeightDecimals = number("the weight decimals");
    s.ScaleTypeIndex = number("the scale type");
    s.DateTypeIndex = number("the date type");
    s.PriceUnitIndex = number("the price unit");
    if (s.PriceUnitIndex == 0) s.PriceUnitText = "RMB";
    else if (s.PriceUnitIndex == 1) s.PriceUnitText = "$";
    else if (s.PriceUnitIndex == 2) s.PriceUnitText = lineText("the price unit text");
    else s.PriceUnitText.clear();
    s.CountryIndex = number("the country");
    s.StoreMode = number("the store mode");
    s.StoreNameLine = lineText("the store name");
    s.StoreNameSetting = s.StoreMode == 1 ? s.StoreNameLine : std::string();
    return s;
}

void writeSettings(const std::string& path, const Settings& s) {
    std::string out;
    auto num = [&](long long v) { out += printNumber(v) + "\r\n"; };
    num(s.LanguageIndex);
    num(s.PriceDecimals);
    num(s.DecimalSignIndex);
    num(s.WeightDecimals);
    num(s.ScaleTypeIndex);
    num(s.DateTypeIndex);
    num(s.PriceUnitIndex);
    if (s.PriceUnitIndex == 2) out += s.PriceUnitText + "\r\n";
    num(s.CountryIndex);
    num(s.StoreMode);
    out += (s.StoreMode == 1 ? s.StoreNameSetting : s.StoreNameLine) + "\r\n";
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    if (!f) throw FatalError(path, 0, "the settings file cannot be written");
    f << out;
    f.flush();
    if (!f) throw FatalError(path, 0, "the settings file could not be written completely");
}

}  // namespace brindale::shell
