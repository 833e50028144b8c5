#pragma once
// The arithmetic of window scaling, without widgets: the Tag text of a control, the reference
// size of a form, the factors and font size of a resize, and the character set a form's fonts
// take from the system's language.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindale::shell {

// What a form was designed at: its client area and the font size over its height.
struct ScaleReference {
    int32_t width = 0;
    int32_t height = 0;
    float fontFactor = 0.0f;
    bool saved() const { return width > 0 && height > 0; }
};

// The reference of a form whose client area is `width` x `height` with the font `fontSize`.
ScaleReference makeReference(int width, int height, double fontSize);

struct ScaleFactors {
    double x = 1.0;
    double y = 1.0;
};
// The client area now over the reference; a reference that was never saved gives 1 and 1.
ScaleFactors factorsFor(const ScaleReference& ref, int width, int height);

// A control's place and size. A value the control does not have is left out of its Tag.
struct ControlGeometry {
    int left = 0, top = 0, width = 0, height = 0;
};

// "L   T   W   H   ": each value followed by three blanks.
std::string formatTag(const std::vector<int>& values);
std::string formatTag(const ControlGeometry& g);
// The numbers of a Tag, each read up to the three blanks after it. Text that is no number stops
// the reading: what came before stays.
std::vector<int> parseTag(const std::string& tag);
// The four values of a whole Tag; nullopt when it holds fewer than four.
std::optional<ControlGeometry> geometryFromTag(const std::string& tag);

// Left and width by the X factor, top and height by the Y factor, rounded to whole pixels.
ControlGeometry scaleGeometry(const ControlGeometry& design, const ScaleFactors& f);

// The font size at a client height: the font factor times the height, to a hundredth of a
// point. A size of 0 or below is no size: the caller leaves the font alone.
double fontSizeFor(const ScaleReference& ref, int height);

// The font character set of the system's language (1 for a language without one).
int formCharsetFor(uint16_t languageId);
int systemFormCharset();
// The font every control takes under a character set: "Tahoma" for Thai (222); empty for the
// others, which keep theirs.
std::string fontNameForCharset(int charset);
// The font that stands in for Tahoma, which the Linux desktops do not ship.
inline constexpr const char* kTahomaSubstitute = "Loma";

}  // namespace brindale::shell
