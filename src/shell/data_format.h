#pragma once
// The data format dialog without its window: the rows and choices it shows for the settings of
// the run, and the settings its OK writes.
#include <string>
#include <vector>

#include "language.h"
#include "settings.h"

namespace brindale::shell {

// The literal store name of an OK with an empty name.
inline constexpr const char* kDefaultStoreName = "Quarrymoor Trade";

// One combo of the dialog: its rows and the row chosen (-1: none, the setting has no row).
struct ComboRows {
    std::vector<std::string> rows;
    int index = -1;
};

struct DataFormatView {
    ComboRows PPoint, PPointType, WPoint, ScaleType, DateType, PriceUnit, Country, Store;
    std::string StoreName;
};

// The rows and choices of the dialog's load for the run's settings. Texts from frm_OTHER, the
// countries from SYS_Country.
DataFormatView dataFormatView(const LanguageSet& lang, const Settings& run);

// What the operator chose: the row of each combo (-1 none) and the typed texts.
struct DataFormatChoice {
    int PPoint = -1, PPointType = -1, WPoint = -1, ScaleType = -1, DateType = -1, Country = -1, Store = -1;
    std::string PriceUnitText;
    std::string StoreName;
};

struct DataFormatResult {
    // The settings the file gets; valid when `missing` is empty.
    Settings written;
    // The frm_OTHER key of the caption of the first setting without a choice; nothing is written then.
    std::string missing;
};

// The OK: the language stays as the run has it, the combos give the numbers, "RMB" and "$" their
// index and any other unit 2 with its text, an empty store name the literal.
DataFormatResult dataFormatResult(const Settings& run, const DataFormatChoice& choice);

// What of a written file the run takes at once: the numbers of the five first combos and a unit
// of its own, and the store name. The decimal sign of the run, the country and the store mode
// stay until the next start.
void takeIntoRun(Settings& run, const Settings& written);

}  // namespace brindale::shell
