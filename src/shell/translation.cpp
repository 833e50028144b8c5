#include "translation.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace brindale::shell {

TranslationError::TranslationError(Kind k, std::string f, std::string r, int c, int a, int b)
    : std::runtime_error(f + ": " + r), kind(k), file(std::move(f)), reason(std::move(r)), count(c), lineA(a),
      lineB(b) {}

namespace {

std::string trimmed(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return {};
    size_t e = s.find_last_not_of(" \t\r");
    return s.substr(b, e - b + 1);
}

std::string lower(std::string s) {
    for (auto& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

bool hasNoValue(const std::string& line) {
    const std::string t = trimmed(line);
    return t.empty() || t[0] == '<' || t[0] == '[';
}

// Key part (up to and with the first "=") and value; a line without "=" is all key.
void split(const std::string& line, std::string& key, std::string& value) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) {
        key = line;
        value.clear();
    } else {
        key = line.substr(0, eq + 1);
        value = line.substr(eq + 1);
    }
}

// Whether the third block's line stands where the first block's does: the same header or empty
// line, a marker for a marker, the same key (blanks and case aside) for a key.
bool corresponds(const std::string& first, const std::string& third) {
    const std::string a = trimmed(first), b = trimmed(third);
    if (a.empty() || b.empty()) return a.empty() && b.empty();
    if (a[0] == '<') return b[0] == '<';
    if (a[0] == '[') return lower(a) == lower(b);
    if (b[0] == '<' || b[0] == '[') return false;
    const size_t ea = a.find('='), eb = b.find('=');
    if ((ea == std::string::npos) != (eb == std::string::npos)) return false;
    return lower(trimmed(a.substr(0, ea))) == lower(trimmed(b.substr(0, eb)));
}

}  // namespace

int TranslationFile::pairedLine(int i, int n) {
    // Two thirds of the line count, rounded, after line i.
    return static_cast<int>(std::lround(i + 2.0 * n / 3.0));
}

TranslationFile TranslationFile::load(const std::string& path) {
    using Kind = TranslationError::Kind;
    std::ifstream in(path, std::ios::binary);
    if (!in) throw TranslationError(Kind::Unreadable, path, std::strerror(errno));
    std::stringstream ss;
    ss << in.rdbuf();
    if (in.bad()) throw TranslationError(Kind::Unreadable, path, std::strerror(errno));
    const std::string all = ss.str();

    TranslationFile f;
    f.path_ = path;
    size_t pos = 0;
    while (pos < all.size()) {
        size_t nl = all.find('\n', pos);
        Line l;
        if (nl == std::string::npos) {
            l.text = all.substr(pos);
            pos = all.size();
        } else {
            l.text = all.substr(pos, nl - pos);
            l.end = "\n";
            if (!l.text.empty() && l.text.back() == '\r') {
                l.text.pop_back();
                l.end = "\r\n";
            }
            pos = nl + 1;
        }
        f.lines_.push_back(std::move(l));
        if (static_cast<int>(f.lines_.size()) > kTranslateMaxLines) {
            // Count the rest for the message, without keeping it.
            int n = static_cast<int>(f.lines_.size());
            for (size_t p = pos; p < all.size();) {
                size_t q = all.find('\n', p);
                ++n;
                if (q == std::string::npos) break;
                p = q + 1;
            }
            throw TranslationError(Kind::TooLong, path, "too many lines", n);
        }
    }

    const int n = f.lineCount();
    for (int i = 0; i < pairedCount(n); ++i) {
        const int j = pairedLine(i, n);
        const std::string& first = f.lines_[i].text;
        if (j >= n) throw TranslationError(Kind::KeysDiffer, path, "no paired line", 0, i + 1, j + 1);
        const std::string& third = f.lines_[j].text;
        if (!corresponds(first, third)) throw TranslationError(Kind::KeysDiffer, path, "keys differ", 0, i + 1, j + 1);
        if (hasNoValue(first)) continue;
        TranslationPair p;
        p.original = i;
        p.translation = j;
        split(first, p.originalKey, p.originalValue);
        split(third, p.translationKey, p.translationValue);
        f.pairs_.push_back(std::move(p));
    }
    return f;
}

void TranslationFile::setTranslation(size_t row, const std::string& value) {
    if (row >= pairs_.size()) return;
    // A line end typed into the value would cut the line in two and break the blocks' alignment.
    std::string v;
    for (char c : value)
        if (c != '\n' && c != '\r') v += c;
    pairs_[row].translationValue = v;
    lines_[pairs_[row].translation].text = pairs_[row].translationKey + v;
}

std::string TranslationFile::text() const {
    std::string out;
    for (const auto& l : lines_) out += l.text + l.end;
    return out;
}

void TranslationFile::save() const {
    using Kind = TranslationError::Kind;
    const std::string aside = path_ + ".new";
    const std::string content = text();
    std::FILE* f = std::fopen(aside.c_str(), "wb");
    if (!f) throw TranslationError(Kind::SaveFailed, path_, std::strerror(errno));
    bool ok = std::fwrite(content.data(), 1, content.size(), f) == content.size();
    int err = ok ? 0 : errno;
    if (ok && std::fflush(f) != 0) ok = false, err = errno;
    if (ok && ::fsync(fileno(f)) != 0) ok = false, err = errno;
    if (std::fclose(f) != 0 && ok) ok = false, err = errno;
    if (ok && std::rename(aside.c_str(), path_.c_str()) != 0) ok = false, err = errno;
    if (!ok) {
        std::remove(aside.c_str());
        throw TranslationError(Kind::SaveFailed, path_, std::strerror(err ? err : EIO));
    }
}

}  // namespace brindale::shell
