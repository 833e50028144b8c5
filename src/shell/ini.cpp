#include "ini.h"

#include <cctype>
#include <fstream>

#include "store/fatal_error.h"

namespace brindale::shell {

std::string trim(std::string_view s) { return std::string(store::trimView(s)); }

bool LanguageTable::add(std::string key, std::string value) {
    if (find(key)) return false;
    items_.emplace_back(std::move(key), std::move(value));
    return true;
}

const std::string* LanguageTable::find(std::string_view key) const {
    for (const auto& [k, v] : items_)
        if (iequals(k, key)) return &v;
    return nullptr;
}

const std::string& LanguageTable::text(std::string_view key) const {
    if (const std::string* v = find(key)) return *v;
    throw FatalError(file_, 0, "the section [" + section_ + "] has no key \"" + std::string(key) + "\"");
}

std::vector<SectionLine> readSectionLines(const std::string& path, std::string_view language,
                                          std::string_view section, bool* found) {
    std::vector<SectionLine> out;
    if (found) *found = false;
    std::ifstream in(path, std::ios::binary);
    if (!in) return out;
    const std::string blockHeader = "<" + std::string(language) + ">";
    const std::string sectionHeader = "[" + std::string(section) + "]";
    std::string raw;
    long lineNo = 0;
    auto next = [&](std::string& line) {
        if (!std::getline(in, raw)) return false;
        ++lineNo;
        if (lineNo == 1 && raw.size() >= 3 && raw.compare(0, 3, "\xEF\xBB\xBF") == 0) raw.erase(0, 3);
        line = trim(raw);
        return true;
    };
    std::string line;
    bool inBlock = false;
    while (next(line)) {
        if (line.empty()) continue;
        if (!inBlock) {
            inBlock = iequals(line, blockHeader);
            continue;
        }
        if (iequals(line, sectionHeader)) {
            if (found) *found = true;
            while (next(line) && !line.empty()) out.push_back({lineNo, line});
            return out;
        }
    }
    return out;
}

std::string getSectionText(const std::string& path, std::string_view language, std::string_view section,
                           const std::string& defaultText) {
    try {
        bool found = false;
        auto lines = readSectionLines(path, language, section, &found);
        if (!found) return defaultText;
        std::string text;
        for (const auto& l : lines) text += l.text + "\r\n";
        return text;
    } catch (...) {
        return defaultText;
    }
}

void loadSection(const std::string& path, std::string_view language, std::string_view section,
                 LanguageTable& table) {
    table = LanguageTable(path, std::string(section));
    for (const auto& l : readSectionLines(path, language, section)) {
        size_t eq = l.text.find('=');
        if (eq == std::string::npos) continue;
        std::string key = trim(std::string_view(l.text).substr(0, eq));
        std::string value = trim(std::string_view(l.text).substr(eq + 1));
        if (!table.add(key, std::move(value)))
            throw FatalError(path, l.lineNo, "the key \"" + key + "\" stands twice in the section [" +
                                                 std::string(section) + "]");
    }
}

}  // namespace brindale::shell
