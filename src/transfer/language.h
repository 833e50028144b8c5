// The texts of the progress window and summary, taken from the language
// text the caller hands over (lines "key=value"); English where a key is
// missing.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace brindale::transfer {

// Something the summary tells, by key of the transfer texts and the values of its %1, %2, ...;
// without a key the one value is shown as it is (a reason given by the system or the database).
struct Note {
    std::string key;
    std::vector<std::string> args;

    static Note raw(std::string text) { return {std::string(), {std::move(text)}}; }
    bool empty() const { return key.empty() && (args.empty() || args[0].empty()); }
};

class LanguageTexts {
public:
    LanguageTexts() = default;
    explicit LanguageTexts(const std::string& text) { load(text); }

    // Reads lines "key=value"; blank lines, comments (";" or "#") and a
    // "[section]" header are passed over. Keys match without regard to case.
    void load(const std::string& text);
    // The text for key, or the English default, or the key itself.
    std::string get(const std::string& key) const;
    bool has(const std::string& key) const;

    static const std::map<std::string, std::string>& englishDefaults();

    // Replaces %1, %2, ... in pattern.
    static std::string format(std::string pattern, std::initializer_list<std::string> args);
    static std::string format(std::string pattern, const std::vector<std::string>& args);
    // The note in these texts.
    std::string text(const Note& note) const;

private:
    std::map<std::string, std::string> texts_;  // keys lower-cased
};

}  // namespace brindale::transfer
