// Node keys, machine addresses, defaults, barcode field rules and command states: pure functions.
#include <algorithm>
#include <cctype>

#include "hierarchy.h"

namespace brindale::store {

const char* tableOf(Kind k) {
    switch (k) {
        case Kind::Store: return "STORE";
        case Kind::Section: return "SECT";
        case Kind::Machine: return "SCALE";
        case Kind::Dept: return "KVR_20";
        case Kind::MainGroup: return "KVR_23";
        case Kind::Search: return "SEARCH";
        default: return "";
    }
}

const char* wordOf(Kind k) {
    switch (k) {
        case Kind::Store: return "STORE";
        case Kind::Section: return "SECT";
        case Kind::Machine: return "MACHINE";
        case Kind::Dept: return "DEPT";
        case Kind::MainGroup: return "MG";
        case Kind::Search: return "SEARCH";
        default: return "";
    }
}

// ---- Keys ---------------------------------------------------------------------------------------

static std::string n(int v) { return std::to_string(v); }

std::string storeKey(int st) { return "STORE " + n(st); }
std::string sectionKey(int st, int sect) { return "SECT " + n(st) + " " + n(sect); }
std::string machineKey(int st, int sect, const std::string& ip) { return "MACHINE " + n(st) + " " + n(sect) + " " + ip; }
std::string deptKey(int st, int dp) { return "DEPT " + n(st) + " " + n(dp); }
std::string mainGroupKey(int st, int dp, int mg) { return "MG " + n(st) + " " + n(dp) + " " + n(mg); }
std::string searchKey(int st, int sh) { return "SEARCH " + n(st) + " " + n(sh); }
std::string rootKey(const std::string& storeNameSetting) { return storeNameSetting + " 1"; }

Kind kindOfKey(std::string_view key, std::string_view root) {
    if (!root.empty() && key == root) return Kind::Root;
    auto starts = [&](std::string_view w) { return key.substr(0, w.size()) == w; };
    // The longer words first, so that nothing is taken for a shorter one.
    if (starts("MACHINE")) return Kind::Machine;
    if (starts("STORE")) return Kind::Store;
    if (starts("SECT")) return Kind::Section;
    if (starts("DEPT")) return Kind::Dept;
    if (starts("SEARCH")) return Kind::Search;
    if (starts("MG")) return Kind::MainGroup;
    return Kind::None;
}

ParsedKey parseKey(std::string_view key, std::string_view root) {
    ParsedKey p;
    p.kind = kindOfKey(key, root);
    if (p.kind == Kind::None || p.kind == Kind::Root) return p;
    size_t count = 0;
    switch (p.kind) {
        case Kind::Store: count = 1; break;
        case Kind::MainGroup: count = 3; break;
        default: count = 2; break;
    }
    size_t pos = std::string_view(wordOf(p.kind)).size() + 1;  // the first character after the word
    for (size_t i = 0; i < count; ++i) {
        int64_t v = 0;
        while (pos < key.size() && key[pos] != ' ') {
            // Any character of the part counts as a digit; one that is not a digit counts as 0.
            int d = std::isdigit(static_cast<unsigned char>(key[pos])) ? key[pos] - '0' : 0;
            if (v < 100000000) v = v * 10 + d;
            ++pos;
        }
        p.numbers.push_back(static_cast<int>(v));
        ++pos;  // the blank
    }
    if (p.kind == Kind::Machine) p.address = pos < key.size() ? std::string(key.substr(pos)) : std::string();
    return p;
}

// ---- Machine addresses --------------------------------------------------------------------------

static std::string trimBlanks(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && s[b] == ' ') ++b;
    while (e > b && s[e - 1] == ' ') --e;
    return std::string(s.substr(b, e - b));
}

std::string padAddress(const std::vector<std::string>& groups) {
    std::string out;
    for (size_t i = 0; i < 4; ++i) {
        std::string g = i < groups.size() ? trimBlanks(groups[i]) : std::string();
        if (g.size() < 3) g = std::string(3 - g.size(), ' ') + g;
        if (i) out += ".";
        out += g;
    }
    return out;
}

std::string padAddress(std::string_view dotted) { return padAddress(splitAddress(dotted)); }

std::vector<std::string> splitAddress(std::string_view padded) {
    std::vector<std::string> groups;
    size_t start = 0;
    while (groups.size() < 4) {
        size_t dot = padded.find('.', start);
        if (dot == std::string_view::npos || groups.size() == 3) {
            groups.push_back(trimBlanks(padded.substr(std::min(start, padded.size()))));
            break;
        }
        groups.push_back(trimBlanks(padded.substr(start, dot - start)));
        start = dot + 1;
    }
    while (groups.size() < 4) groups.emplace_back();
    return groups;
}

// ---- Defaults -----------------------------------------------------------------------------------

StoreRecord defaultStore(int number, const std::string& caption) {
    StoreRecord r;
    r.ST_No = number;
    r.ST_Name = caption + n(number);
    return r;  // flags, bar flag, bar format and label format 0, bar type "0"
}

DeptRecord defaultStoreDept(int store, const std::string& deptCaption) {
    DeptRecord d = defaultDept(store, kDefaultDept, deptCaption);
    d.SECT_No = 0;
    return d;
}

MainGroupRecord defaultStoreMainGroup(int store, const std::string& mgCaption) {
    return defaultMainGroup(store, kDefaultDept, kDefaultMainGroup, mgCaption);
}

SectionRecord defaultSection(int store, int number, const std::string& caption) {
    SectionRecord r;
    r.SECT_No = number;
    r.ST_No = store;
    r.SECT_Name = caption + n(number);
    r.bar.barformat = kInherit;
    r.bar.LabFormat = kInherit;
    return r;
}

MachineRecord defaultMachine(int store, int section) {
    MachineRecord r;
    r.ST_No = store;
    r.SECT_No = section;
    return r;
}

DeptRecord defaultDept(int store, int number, const std::string& caption) {
    DeptRecord r;
    r.DP_No = number;
    r.DP_Name = caption + n(number);
    r.bar.barformat = kInherit;
    r.bar.LabFormat = kInherit;
    r.ST_No = store;
    return r;
}

MainGroupRecord defaultMainGroup(int store, int dept, int number, const std::string& caption) {
    MainGroupRecord r;
    r.MG_No = number;
    r.MG_Name = caption + n(number);
    r.bar.barformat = kInherit;
    r.bar.LabFormat = kInherit;
    r.ST_No = store;
    r.DP_No = dept;
    return r;
}

SearchRecord defaultSearch(int store, int number, const std::string& caption) {
    SearchRecord r;
    r.SH_No = number;
    r.SH_Name = caption + n(number);
    r.ST_No = store;
    return r;
}

// ---- Barcode field rules ------------------------------------------------------------------------

std::string flagText(int value) { return value > 9 ? "F" : n(value); }

int flagValue(std::string_view text) {
    std::string t = trimBlanks(text);
    if (t == "F" || t == "f") return kFlagF;
    int v = 0;
    for (char c : t) {
        if (!std::isdigit(static_cast<unsigned char>(c))) break;
        v = v * 10 + (c - '0');
        if (v > 9999) break;
    }
    return v;
}

int barFlagValue(int comboIndex, const std::string& barType) {
    return std::max(0, comboIndex) + (barType == "1" ? 90 : 0);
}

int barFlagIndex(int value) { return value >= 90 ? value - 90 : value; }

int levelValue(Kind k, int comboIndex) {
    if (k == Kind::Store) return comboIndex;
    return comboIndex <= 0 ? kInherit : comboIndex - 1;
}

int levelIndex(Kind k, int value) {
    if (k == Kind::Store) return value;
    return value == kInherit ? 0 : value + 1;
}

std::vector<std::string> barFormatRows(Kind k, const SectionRows& disp) {
    std::vector<std::string> rows;
    if (k != Kind::Store)
        for (const auto& [key, value] : disp)
            if (key == "REF") rows.push_back(value);
    for (const auto& [key, value] : disp)
        if (key != "REF") rows.push_back(value);
    return rows;
}

std::vector<std::string> barFlagRows(const SectionRows& lastByte) {
    std::vector<std::string> rows;
    for (const auto& [key, value] : lastByte)
        if (key != "REF") rows.push_back(value);
    return rows;
}

std::vector<std::string> labelFormatRows(Kind k, const SectionRows& labelFormat) {
    std::vector<std::string> rows;
    if (k != Kind::Store)
        for (const auto& [key, value] : labelFormat)
            if (key == "F1L255") rows.push_back(value);
    std::vector<std::string> rest;
    for (const auto& [key, value] : labelFormat)
        if (key != "F1L255") rest.push_back(value);
    if (!rest.empty()) rest.pop_back();  // the table's last row is not a choice here
    rows.insert(rows.end(), rest.begin(), rest.end());
    for (int i = 1; i <= 99; ++i) rows.push_back(n(i) + "F");
    return rows;
}

// ---- Command states -----------------------------------------------------------------------------

const std::vector<std::string>& nodeCommands() {
    static const std::vector<std::string> names = {
        // menus that follow the view
        "menuEditFlexiBarcode", "menuEditPresetKey", "menuEditLabelFormat", "menuEditReportFormat",
        "menuImportOrExport", "menuExportReport", "menuScrollMSG", "menuEditImage", "menuEditLogo",
        "menuEditOtherFiles",
        // new objects
        "menuStore", "popmenuNewStore", "menuSection", "popmenuNewSection", "cmdData", "menuMachine",
        "popmenuNewMachine", "menuDept", "menuSearch", "popmenuNewDept", "popmenuNewSearch", "menuMg",
        "popmenuNewMg", "popmenuProperties",
        // the rest
        "menuDelete", "popmenuDelete", "menuProperties", "menuDownloadDept", "popmenuDownloadDept",
        "menuDownloadMG", "popmenuDownloadMG"};
    return names;
}

bool isProtectedKey(std::string_view key) {
    // The tail alone is tested: "97" covers "997" and main groups such as 197.
    return key.size() >= 2 && key.substr(key.size() - 2) == "97";
}

std::map<std::string, bool> commandStates(const CommandInput& in) {
    std::map<std::string, bool> s;
    const Kind k = kindOfKey(in.key, in.root);
    const bool storeView = in.view == 1;

    if (storeView) {
        s["menuEditFlexiBarcode"] = false;
        s["menuEditPresetKey"] = k == Kind::Machine;
        for (const char* m : {"menuEditLabelFormat", "menuEditReportFormat", "menuImportOrExport", "menuExportReport",
                              "menuScrollMSG", "menuEditImage", "menuEditLogo", "menuEditOtherFiles"})
            s[m] = false;
    } else {
        for (const char* m : {"menuEditFlexiBarcode", "menuEditLabelFormat", "menuExportReport", "menuImportOrExport",
                              "menuScrollMSG", "menuEditImage", "menuEditLogo", "menuEditOtherFiles"})
            s[m] = true;
        s["menuEditPresetKey"] = false;
        s["menuEditReportFormat"] = in.scaleTypeIndex != 0;
    }

    for (const char* m : {"menuStore", "popmenuNewStore", "menuSection", "popmenuNewSection", "cmdData", "menuMachine",
                          "popmenuNewMachine", "menuDept", "menuSearch", "popmenuNewDept", "popmenuNewSearch", "menuMg",
                          "popmenuNewMg", "popmenuProperties"})
        s[m] = false;
    auto on = [&](std::initializer_list<const char*> names) {
        for (const char* m : names) s[m] = true;
    };
    if (storeView) {
        switch (k) {
            case Kind::Root: on({"menuStore", "popmenuNewStore"}); break;
            case Kind::Store: on({"menuSection", "popmenuNewSection", "cmdData", "popmenuProperties"}); break;
            case Kind::Section: on({"menuMachine", "popmenuNewMachine", "popmenuProperties"}); break;
            case Kind::Machine: on({"popmenuProperties"}); break;
            default: break;
        }
    } else {
        switch (k) {
            case Kind::Store:
                on({"menuDept", "menuSearch", "popmenuNewDept", "popmenuNewSearch", "popmenuProperties"});
                break;
            case Kind::Dept: on({"menuMg", "popmenuNewMg", "popmenuProperties"}); break;
            case Kind::MainGroup:
            case Kind::Search: on({"popmenuProperties"}); break;
            default: break;
        }
    }

    bool canDelete = k != Kind::None && k != Kind::Root && !in.hasChildren;
    if ((k == Kind::Dept || k == Kind::MainGroup) && isProtectedKey(in.key)) canDelete = false;
    if (k == Kind::Store && in.storeMode == 0) canDelete = false;
    s["menuDelete"] = canDelete;
    s["popmenuDelete"] = canDelete;
    s["menuProperties"] = k != Kind::None && k != Kind::Root;
    const bool dept = !storeView && k == Kind::Dept;
    const bool mg = !storeView && k == Kind::MainGroup;
    s["menuDownloadDept"] = dept;
    s["popmenuDownloadDept"] = dept;
    s["menuDownloadMG"] = mg;
    s["popmenuDownloadMG"] = mg;
    return s;
}

}  // namespace brindale::store
