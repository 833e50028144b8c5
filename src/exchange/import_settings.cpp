#include "exchange/import_settings.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace brindale::exchange {

namespace {
constexpr std::array<uint8_t, kFontCodeCount> kFontCodes = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x1A, 0x1B, 0x1C, 0x1D, 0x10, 0x11, 0x12,
    0x13, 0x16, 0x17, 0x14, 0x15, 0x18, 0x19, 0x1E, 0x1F, 0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26};

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.back() == '\r' || s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) s.remove_prefix(1);
    return s;
}

std::optional<int> number(std::string_view s) {
    s = trimmed(s);
    int v = 0;
    auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || ec != std::errc() || p != s.data() + s.size()) return std::nullopt;
    return v;
}

// The first UTF-8 character of a text (a stray byte counts as one).
std::string firstCharacter(std::string_view s) {
    if (s.empty()) return {};
    const auto lead = static_cast<unsigned char>(s[0]);
    size_t n = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 1;
    if (n > s.size()) n = 1;
    for (size_t i = 1; i < n; ++i)
        if ((static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) return std::string(s.substr(0, 1));
    return std::string(s.substr(0, n));
}
}  // namespace

std::optional<uint8_t> fontCodeAt(int position) {
    if (position < 0 || position >= kFontCodeCount) return std::nullopt;
    return kFontCodes[static_cast<size_t>(position)];
}

int textColumnIndex(std::string_view column) {
    for (size_t i = 0; i < kTextColumns.size(); ++i) {
        const auto& t = kTextColumns[i];
        if (t.size() != column.size()) continue;
        bool same = true;
        for (size_t k = 0; k < t.size() && same; ++k)
            same = std::tolower(static_cast<unsigned char>(t[k])) == std::tolower(static_cast<unsigned char>(column[k]));
        if (same) return static_cast<int>(i);
    }
    return -1;
}

std::string writeImportSettings(const ImportSettings& s) {
    std::string out;
    auto line = [&](const std::string& v) { out += v + "\r\n"; };
    line(std::to_string(s.separator));
    line(std::to_string(s.barType));
    line(firstCharacter(s.weightFlag));
    for (int f : s.fontPositions) line(std::to_string(f));
    for (int i : s.items) line(std::to_string(i));
    return out;
}

ImportSettings readImportSettings(std::string_view text, int itemCount, const ImportSettings& base,
                                  std::vector<std::string>* passedOver) {
    ImportSettings s = base;
    s.items.clear();
    std::vector<std::string_view> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view l = text.substr(start, end - start);
        if (!l.empty() && l.back() == '\r') l.remove_suffix(1);
        lines.push_back(l);
        start = end + 1;
    }
    auto pass = [&](size_t i) {
        if (passedOver) passedOver->push_back("line " + std::to_string(i + 1));
    };
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view l = lines[i];
        if (i == 2) {
            s.weightFlag = firstCharacter(trimmed(l));
            continue;
        }
        if (i >= 6 && trimmed(l).empty()) continue;  // a blank line at the end is no column
        const auto v = number(l);
        if (i == 0) {
            if (v && separatorByte(*v)) s.separator = *v; else pass(i);
        } else if (i == 1) {
            if (v && (*v == 0 || *v == 1)) s.barType = *v; else pass(i);
        } else if (i < 6) {
            if (v && fontCodeAt(*v)) s.fontPositions[i - 3] = *v; else pass(i);
        } else {
            bool twice = false;
            if (v) for (int k : s.items) twice = twice || k == *v;
            if (v && *v >= 0 && *v < itemCount && !twice) s.items.push_back(*v); else pass(i);
        }
    }
    return s;
}

bool saveImportSettings(const std::string& path, const ImportSettings& settings, std::string& error) {
    const std::string aside = path + ".part";
    const std::string body = writeImportSettings(settings);
    FILE* f = std::fopen(aside.c_str(), "wb");
    if (!f) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    const bool written = std::fwrite(body.data(), 1, body.size(), f) == body.size();
    const int err = errno;
    if (std::fclose(f) != 0 || !written) {
        error = path + ": " + std::strerror(written ? errno : err);
        std::remove(aside.c_str());
        return false;
    }
    if (std::rename(aside.c_str(), path.c_str()) != 0) {
        error = path + ": " + std::strerror(errno);
        std::remove(aside.c_str());
        return false;
    }
    return true;
}

bool loadImportSettings(const std::string& path, int itemCount, ImportSettings& settings, std::string& error,
                        std::vector<std::string>* passedOver) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    std::stringstream ss;
    ss << in.rdbuf();
    settings = readImportSettings(ss.str(), itemCount, settings, passedOver);
    return true;
}

}  // namespace brindale::exchange
