#include "language.h"

#include "paths.h"
#include "store/fatal_error.h"

namespace brindale::shell {

const std::vector<std::string>& languageSections() {
    static const std::vector<std::string> names = {
        "frm_OTHER",         "frmMain_cmd",        "frmMain_Menu",         "frmMain_flexgrid",
        "frmMain_sstab",     "frmStringEdit",      "msgbox",               "frm_Properties",
        "frm_ScProperties",  "frm_FlexiBarcode",   "frm_Search",           "frm_Translate",
        "frm_PresetKey",     "frm_AutoPresetKey",  "frm_PutPreKey",        "frm_ExportReportData",
        "frm_ImportOrExport", "frm_LabelFormat",   "frm_ScrollMSG",        "frm_Image",
        "frm_About",         "frm_OtherFiles",     "frm_ReportFormat",
        "frm_TransferLog",   "frm_Help",
    };
    return names;
}

const std::vector<std::string>& parameterSections() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> n = {
            "discount",  "Label_Format", "EAN_DISP",         "EAN_EDIT",          "ITF_DISP",
            "ITF_EDIT",  "BAR_LAST_BYTE", "SSTab_Symbol",    "Nutrition",         "Nutri_Num",
            "SYS_Country", "ImportOrExportItem", "FontSize", "ItemStauts",        "LabelFormat_Item",
            "LabelFormat_Total", "EAN128C", "FunctionKey",   "OtherKeys",
            "Reportformat_ResetReport", "Reportformat_ConditionStatus", "Reportformat_PrintType",
            "Reportformat_Type", "Reportformat_TypeID", "Reportformat_Text", "Reportformat_TextID",
        };
        for (const char* r : {"PLUdaily", "PLUterm", "Deptdaily", "Deptmonthly", "Deptterm", "DeptPPKdaily",
                              "MGdaily", "MGterm", "MGPPKdaily", "Clerkdaily", "Tax", "Salesdaily",
                              "Salesmonthly", "Salesterm", "PLUPPKdaily"}) {
            n.push_back(std::string("Reportformat_") + r);
            n.push_back(std::string("Reportformat_") + r + "ID");
        }
        return n;
    }();
    return names;
}

void LanguageSet::loadOne(const std::string& path, const std::string& languageName, const std::string& section) {
    LanguageTable t;
    loadSection(path, languageName, section, t);
    for (auto& existing : tables_)
        if (iequals(existing.section(), section)) {
            existing = std::move(t);
            return;
        }
    tables_.push_back(std::move(t));
}

void LanguageSet::loadAll(const std::string& appDir, const std::string& languageName,
                          const std::function<void()>& step) {
    tables_.clear();
    const std::string lang = joinPath(appDir, kLanguageFile);
    const std::string param = joinPath(appDir, kParameterFile);
    for (const auto& s : languageSections()) {
        loadOne(lang, languageName, s);
        if (step) step();
    }
    for (const auto& s : parameterSections()) {
        loadOne(param, languageName, s);
        if (step) step();
    }
}

const LanguageTable* LanguageSet::find(std::string_view section) const {
    for (const auto& t : tables_)
        if (iequals(t.section(), section)) return &t;
    return nullptr;
}

const LanguageTable& LanguageSet::section(std::string_view section) const {
    if (const LanguageTable* t = find(section)) return *t;
    throw FatalError(kLanguageFile, 0, "the section [" + std::string(section) + "] was not loaded");
}

}  // namespace brindale::shell
