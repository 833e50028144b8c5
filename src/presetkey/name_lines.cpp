#include "name_lines.h"

namespace brindale::presetkey {

namespace {
size_t charLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if ((lead >> 5) == 0x6) return 2;
    if ((lead >> 4) == 0xE) return 3;
    if ((lead >> 3) == 0x1E) return 4;
    return 1;  // a stray byte counts as one character
}
}  // namespace

std::vector<std::string> nameLines(const std::array<std::string, 3>& names, double width,
                                   const std::function<double(std::string_view)>& measure) {
    std::vector<std::string> lines;
    for (const auto& name : names) {
        if (name.empty()) continue;
        if (lines.size() == kNameLines) break;
        lines.emplace_back();
        for (size_t at = 0; at < name.size();) {
            const size_t n = std::min(charLength(static_cast<unsigned char>(name[at])), name.size() - at);
            std::string wider = lines.back() + name.substr(at, n);
            // The character that would pass the width starts the next line; a line keeps at least
            // one character so that a cell narrower than a letter still ends.
            if (!lines.back().empty() && measure(wider) > width) {
                if (lines.size() == kNameLines) return lines;
                lines.emplace_back(name.substr(at, n));
            } else {
                lines.back() = std::move(wider);
            }
            at += n;
        }
    }
    return lines;
}

}  // namespace brindale::presetkey
