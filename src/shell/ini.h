#pragma once
// The language and parameter tables: language blocks "<Name>", sections "[name]", lines key=value.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "store/text.h"

namespace brindale::shell {

// A section loaded from a table file: ordered pairs, served by key (without regard to case) and
// by position.
class LanguageTable {
public:
    LanguageTable() = default;
    LanguageTable(std::string file, std::string section) : file_(std::move(file)), section_(std::move(section)) {}

    // False when the key is there already (the caller reports the duplicate).
    bool add(std::string key, std::string value);
    void clear() { items_.clear(); }

    bool contains(std::string_view key) const { return find(key) != nullptr; }
    const std::string* find(std::string_view key) const;
    // A missing key is a FatalError naming the file, the section and the key.
    const std::string& text(std::string_view key) const;
    // Position 0 is the first line of the section.
    const std::string& keyAt(size_t i) const { return items_.at(i).first; }
    const std::string& valueAt(size_t i) const { return items_.at(i).second; }
    size_t size() const { return items_.size(); }
    bool empty() const { return items_.empty(); }
    const std::string& section() const { return section_; }
    const std::string& file() const { return file_; }

private:
    std::string file_, section_;
    std::vector<std::pair<std::string, std::string>> items_;
};

struct SectionLine {
    long lineNo;       // 1-based line in the file
    std::string text;  // trimmed
};

// The section's lines as found: the block of `language`, then the first "[section]" after it
// (a section missing in its block is found in a later block if it is there), up to the first
// empty line or the end of the file. `found` tells whether the section was found at all.
std::vector<SectionLine> readSectionLines(const std::string& path, std::string_view language,
                                          std::string_view section, bool* found = nullptr);

// The section's text, each trimmed line followed by a line break, or `defaultText` when the
// file, the block or the section does not exist. Never fails.
std::string getSectionText(const std::string& path, std::string_view language, std::string_view section,
                           const std::string& defaultText);

// Fills `table` from the section, replacing what it held. A line without "=" is dropped; the key
// is the text before the first "=", the value the text after it, both trimmed. A key that comes
// twice is a FatalError naming the file and the line.
void loadSection(const std::string& path, std::string_view language, std::string_view section,
                 LanguageTable& table);

std::string trim(std::string_view s);
using store::iequals;

}  // namespace brindale::shell
