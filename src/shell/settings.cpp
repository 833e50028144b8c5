#include "settings.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
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

std::string decimalSignFor(int index) { return index == 0 ? "." : ","; }

std::string Settings::LanguageName() const { return languageNameFor(LanguageIndex); }

std::string printNumber(long long v) {
    return (v < 0 ? "" : " ") + std::to_string(v) + " ";
}

namespace {

SettingsWriteCalls& calls() {
    static SettingsWriteCalls c;
    return c;
}
long callWrite(int fd, const void* data, unsigned long size) {
    return calls().write ? calls().write(fd, data, size) : ::write(fd, data, size);
}
int callFsync(int fd) { return calls().fsync ? calls().fsync(fd) : ::fsync(fd); }

// Writes `text` beside `path`, flushes it and renames it over `path`: the file is either the
// old one or the new one, never a part.
void writeFileSafely(const std::string& path, const std::string& text) {
    const std::string temp = path + ".new";
    int mode = 0644;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) mode = static_cast<int>(st.st_mode & 07777);
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0)
        throw FatalError(path, 0, std::string("the settings file cannot be written: ") + std::strerror(errno));
    auto fail = [&](int err, const char* step) {
        ::close(fd);
        ::unlink(temp.c_str());
        throw FatalError(path, 0, std::string("the settings file cannot be written (") + step + "): " +
                                      std::strerror(err) + "; it is left as it was");
    };
    size_t off = 0;
    while (off < text.size()) {
        const long w = callWrite(fd, text.data() + off, text.size() - off);
        if (w < 0) {
            if (errno == EINTR) continue;
            fail(errno, "write");
        }
        if (w == 0) fail(ENOSPC, "write");
        off += static_cast<size_t>(w);
    }
    if (callFsync(fd) != 0) fail(errno, "flush");
    if (::close(fd) != 0) {
        const int err = errno;
        ::unlink(temp.c_str());
        throw FatalError(path, 0, std::string("the settings file cannot be written (close): ") + std::strerror(err) +
                                      "; it is left as it was");
    }
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        const int err = errno;
        ::unlink(temp.c_str());
        throw FatalError(path, 0, std::string("the settings file cannot be replaced: ") + std::strerror(err) +
                                      "; it is left as it was");
    }
    // The rename itself reaches the disk with the folder.
    const size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const int dfd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dfd >= 0) {
        callFsync(dfd);
        ::close(dfd);
    }
}

}  // namespace

void setSettingsWriteCalls(const SettingsWriteCalls& c) { calls() = c; }

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
    // Each value is an index into a fixed list; one outside it would choose nothing later.
    auto ranged = [&](const char* what, int low, int high, const char* meaning) {
        const int v = number(what);
        if (v < low || v > high)
            throw FatalError(path, static_cast<long>(next),
                             std::to_string(v) + " is not allowed for " + what + ": allowed are " +
                                 std::to_string(low) + " to " + std::to_string(high) + " (" + meaning + ")");
        return v;
    };
    Settings s;
    s.LanguageIndex = ranged("the language", 0, 2, "0 Standard, 1 Chinese, 2 Other");
    s.PriceDecimals = ranged("the price decimals", 0, 3, "decimal places");
    // 0 is the point and any other value the comma: every number is a valid sign.
    s.DecimalSignIndex = number("the decimal sign");
    s.RunDecimalSign = decimalSignFor(s.DecimalSignIndex);
    s.WeightDecimals = ranged("the weight decimals", 0, 3, "decimal places");
    s.ScaleTypeIndex = ranged("the scale type", 0, 1, "0 Alder, 1 Birch");
    s.DateTypeIndex = ranged("the date type", 0, 5, "the six date layouts");
    s.PriceUnitIndex = ranged("the price unit", 0, 2, "0 RMB, 1 $, 2 a unit of its own on the next line");
    if (s.PriceUnitIndex == 0) s.PriceUnitText = "RMB";
    else if (s.PriceUnitIndex == 1) s.PriceUnitText = "$";
    else if (s.PriceUnitIndex == 2) s.PriceUnitText = lineText("the price unit text");
    s.CountryIndex = ranged("the country", 0, kCountryRows - 1, "the rows of the country table");
    s.StoreMode = ranged("the store mode", 0, 1, "0 single store, 1 multi store");
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
    writeFileSafely(path, out);
}

}  // namespace brindale::shell
