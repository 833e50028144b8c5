#include "transfer/language.h"

#include <cctype>
#include <vector>

namespace brindale::transfer {

namespace {
std::string lower(std::string s) {
    for (auto& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
    return s;
}
std::string trim(const std::string& s) {
    size_t a = 0, b = s.size();
    while (a < b && (s[a] == ' ' || s[a] == '\t' || s[a] == '\r')) ++a;
    while (b > a && (s[b - 1] == ' ' || s[b - 1] == '\t' || s[b - 1] == '\r')) --b;
    return s.substr(a, b - a);
}
}  // namespace

const std::map<std::string, std::string>& LanguageTexts::englishDefaults() {
    static const std::map<std::string, std::string> d = {
        {"Title", "Transfer"},
        {"ColScale", "Scale"},
        {"ColAddress", "Address"},
        {"ColState", "State"},
        {"ColProgress", "Progress"},
        {"Waiting", "Waiting"},
        {"Connecting", "Connecting"},
        {"Sending", "Sending"},
        {"Deleting", "Deleting"},
        {"Receiving", "Receiving"},
        {"Done", "Done"},
        {"Failed", "Failed"},
        {"Cancelled", "Cancelled"},
        {"Cancel", "Cancel"},
        {"Close", "Close"},
        {"SummaryTitle", "Transfer finished"},
        {"SummaryText", "%1 of %2 scales done, %3 failed"},
        {"ErrRefused", "The scale refused the connection"},
        {"ErrTimeout", "The scale did not answer in time"},
        {"ErrClosed", "The scale closed the connection"},
        {"ErrProtocol", "The scale sent something that is not understood"},
        {"ErrRejected", "The scale rejected the data"},
        {"ErrNoScale", "No scale found for this store and section"},
        {"ErrDatabase", "Database error"},
        {"Records", "records"},
        {"ProgressText", "%1 / %2 records"},
        {"NoteNotIdentifier", "\"%1\" is not a table identifier; skipped"},
        {"NoteNotFetched", "File %1 is not fetched from the scales; skipped"},
        {"NoteNoTable", "Table RC_%1 does not exist; file %1 not fetched"},
        {"NoteNotSent", "File %1 is not sent to the scales; skipped"},
        {"NoteNoRecord", "%1 row %2: no record; not sent"},
        {"NoteBadRecord", "%1 row %2: %3; not sent"},
        {"NoteNoNumber", "%1 row %2: no record number; not deleted"},
        {"NoteNothingMarked", "%1: no row marked; nothing deleted"},
        {"DetailMode", "transfer mode %1 is not known"},
        {"DetailRange", "store or section number out of range"},
        {"DetailNoScale", "store %1, section %2: no scale in use"},
        {"DetailStopped", "transfer stopped: %1"},
    };
    return d;
}

void LanguageTexts::load(const std::string& text) {
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t nl = text.find('\n', pos);
        if (nl == std::string::npos) nl = text.size();
        const std::string line = trim(text.substr(pos, nl - pos));
        pos = nl + 1;
        if (line.empty() || line[0] == ';' || line[0] == '#' || line[0] == '[') continue;
        const size_t eq = line.find('=');
        if (eq == std::string::npos || eq == 0) continue;
        texts_[lower(trim(line.substr(0, eq)))] = trim(line.substr(eq + 1));
    }
}

bool LanguageTexts::has(const std::string& key) const { return texts_.count(lower(key)) != 0; }

std::string LanguageTexts::get(const std::string& key) const {
    auto it = texts_.find(lower(key));
    if (it != texts_.end() && !it->second.empty()) return it->second;
    auto d = englishDefaults().find(key);
    return d != englishDefaults().end() ? d->second : key;
}

std::string LanguageTexts::text(const Note& note) const {
    if (note.key.empty()) return note.args.empty() ? std::string() : note.args[0];
    return format(get(note.key), note.args);
}

std::string LanguageTexts::format(std::string pattern, std::initializer_list<std::string> args) {
    return format(std::move(pattern), std::vector<std::string>(args));
}

std::string LanguageTexts::format(std::string pattern, const std::vector<std::string>& a) {
    std::string out;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%' && i + 1 < pattern.size() && pattern[i + 1] >= '1' && pattern[i + 1] <= '9') {
            const size_t n = size_t(pattern[i + 1] - '1');
            if (n < a.size()) {
                out += a[n];
                ++i;
                continue;
            }
        }
        out.push_back(pattern[i]);
    }
    return out;
}

}  // namespace brindale::transfer
