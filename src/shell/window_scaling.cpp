#include "window_scaling.h"

#include <cmath>
#include <cstdlib>

#include "codec/code_page.h"

namespace brindale::shell {

ScaleReference makeReference(int width, int height, double fontSize) {
    ScaleReference r;
    r.width = width;
    r.height = height;
    r.fontFactor = height > 0 ? static_cast<float>(fontSize / height) : 0.0f;
    return r;
}

ScaleFactors factorsFor(const ScaleReference& ref, int width, int height) {
    ScaleFactors f;
    if (ref.width > 0) f.x = static_cast<double>(width) / ref.width;
    if (ref.height > 0) f.y = static_cast<double>(height) / ref.height;
    return f;
}

std::string formatTag(const std::vector<int>& values) {
    std::string s;
    for (int v : values) s += std::to_string(v) + "   ";
    return s;
}

std::string formatTag(const ControlGeometry& g) { return formatTag(std::vector<int>{g.left, g.top, g.width, g.height}); }

std::vector<int> parseTag(const std::string& tag) {
    std::vector<int> out;
    size_t from = 0;
    while (from < tag.size()) {
        const size_t gap = tag.find("   ", from);
        if (gap == std::string::npos) break;
        const std::string part = tag.substr(from, gap - from);
        char* end = nullptr;
        const long v = std::strtol(part.c_str(), &end, 10);
        if (part.empty() || end != part.c_str() + part.size()) break;
        out.push_back(static_cast<int>(v));
        from = gap + 3;
    }
    return out;
}

std::optional<ControlGeometry> geometryFromTag(const std::string& tag) {
    const auto v = parseTag(tag);
    if (v.size() < 4) return std::nullopt;
    return ControlGeometry{v[0], v[1], v[2], v[3]};
}

ControlGeometry scaleGeometry(const ControlGeometry& d, const ScaleFactors& f) {
    auto r = [](double v) { return static_cast<int>(std::lround(v)); };
    return {r(d.left * f.x), r(d.top * f.y), r(d.width * f.x), r(d.height * f.y)};
}

double fontSizeFor(const ScaleReference& ref, int height) {
    const double size = static_cast<double>(ref.fontFactor) * height;
    // Single precision leaves a trace at the design size (8.9999995): a hundredth is plenty.
    return std::round(size * 100.0) / 100.0;
}

int formCharsetFor(uint16_t languageId) { return codec::charsetForLanguage(languageId); }

int systemFormCharset() { return formCharsetFor(codec::systemLanguageId()); }

std::string fontNameForCharset(int charset) { return charset == 222 ? "Tahoma" : std::string(); }

}  // namespace brindale::shell
