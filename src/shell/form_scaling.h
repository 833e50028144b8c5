#pragma once
// Window scaling over a widget tree: every form's load calls prepareForm; the main window keeps
// its design in each control's Tag and places the controls itself when it is resized.
//
// Tag (the control's "L   T   W   H   " at the design size) and Charset (the font character
// set of the system's language) are dynamic properties of each control.
#include <vector>

#include "window_scaling.h"

class QWidget;

namespace brindale::shell {

inline constexpr const char* kTagProperty = "Tag";
inline constexpr const char* kCharsetProperty = "Charset";
// A splitter's pane sizes at the design size (a list of numbers).
inline constexpr const char* kTagSizesProperty = "TagSizes";

// Every form's load: the system's character set on the form and all its controls, and the font
// substitutes. Forms call it once their controls stand.
void prepareForm(QWidget* form);

// Sets `charset` as Charset on the form and every control beneath it; under Thai (222) each
// font is "Tahoma" as well. Controls without a font are passed over.
void setFormCharset(QWidget* form, int charset);
// Tahoma, which Debian does not ship, is drawn with the Thai font of fonts-tlwg-loma.
void installFontSubstitutes();

// The client area of a form (its ScaleWidth x ScaleHeight): a main window's central widget,
// otherwise the form itself.
QWidget* clientArea(QWidget* form);
// The controls that resizeForm places, parents before their children. A control that places its
// own parts (lists, grids, combos, tab bars) is one control; panes of a splitter and pages of a
// tab set are placed by their owner, their children are controls.
std::vector<QWidget*> scaledControls(QWidget* form);

// Lays the form out by its layouts at its present size, hidden pages too.
void layOutNow(QWidget* form);
// Turns the layouts of the client area and beneath it on or off (the page stacks of tab sets
// stay on: they only give each page the whole page area).
void setLayoutsEnabled(QWidget* form, bool on);

// Records the reference (client area, font factor) and each control's Tag, then switches the
// layouts off: from now on resizeForm alone places the controls.
void saveFormGeometry(QWidget* form, ScaleReference& ref);
// Places each control at its Tag times the factors of the client area now, with the font at the
// font factor times the client height (a size of 0 is left alone). Controls whose Tag does not
// hold four numbers stay where they are.
void resizeForm(QWidget* form, const ScaleReference& ref);

}  // namespace brindale::shell
