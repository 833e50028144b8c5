#pragma once
// All sections of the language table and the parameter table, loaded for one language.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ini.h"

namespace brindale::shell {

// Sections of ini/Language1.ini in load order; frm_OTHER comes first because the loading screen
// needs it before the rest.
const std::vector<std::string>& languageSections();
// Sections of ini/ParameterPLU1.ini in load order.
const std::vector<std::string>& parameterSections();

class LanguageSet {
public:
    // Every section of both files, in the order above. `step` is called after each section so that
    // a window can repaint.
    void loadAll(const std::string& appDir, const std::string& languageName,
                 const std::function<void()>& step = {});
    void loadOne(const std::string& path, const std::string& languageName, const std::string& section);
    void clear() { tables_.clear(); }

    bool has(std::string_view section) const { return find(section) != nullptr; }
    const LanguageTable* find(std::string_view section) const;
    // A section that was never loaded, or a missing key, is a FatalError.
    const LanguageTable& section(std::string_view section) const;
    const std::string& text(std::string_view section, std::string_view key) const {
        return this->section(section).text(key);
    }
    const std::vector<LanguageTable>& tables() const { return tables_; }

private:
    std::vector<LanguageTable> tables_;
};

}  // namespace brindale::shell
