#pragma once
// The shipped placeholder lists of the parameter table, for the report format tests.
#include <string>
#include <vector>

#include "reportformat/report_format.h"
#include "shell/ini.h"
#include "support/temp_app.h"

namespace brindale::testing {

inline std::vector<std::string> shippedSection(const std::string& section, const std::string& language = "Standard") {
    shell::LanguageTable t;
    shell::loadSection(sourceRoot() + "/ini/ParameterPLU1.ini", language, section, t);
    std::vector<std::string> v;
    for (size_t i = 0; i < t.size(); ++i) v.push_back(t.valueAt(i));
    return v;
}

inline const reportformat::ReportCatalogue& shippedCatalogue() {
    static const reportformat::ReportCatalogue c =
        reportformat::ReportCatalogue::from([](const char* s) { return shippedSection(s); });
    return c;
}

}  // namespace brindale::testing
