#include "fixture.h"

#include <filesystem>
#include <sstream>
#include <vector>

#include "shell/paths.h"
#include "shell/settings.h"
#include "store/rebuild.h"

namespace fs = std::filesystem;

namespace brindale::testing {

namespace {

const char* kSchema =
    "[STORE]\n"
    "ST_No,4,4\nST_Name,10,24\nFlag1,4,4\nFlag2,4,4\nBarFlag,4,4\nbarformat,4,4\nBarType,10,2\nLabFormat,4,4\n"
    "\n"
    "[SECT]\n"
    "SECT_No,4,4\nST_No,4,4\nSECT_Name,10,24\nFlag1,4,4\nFlag2,4,4\nBarFlag,4,4\nbarformat,4,4\nBarType,10,2\n"
    "LabFormat,4,4\n"
    "\n"
    "[SCALE]\n"
    "SC_IP,10,15\nSC_No,10,24\nSC_Used,4,4\nSC_Dest,10,50\nSC_MODEL_ID,4,4\nSC_PSK_Layout,4,4\nST_No,4,4\n"
    "SECT_No,4,4\n"
    "\n"
    "[KVR_20]\n"
    "DP_No,4,4\nDP_Name,10,24\nFlag1,4,4\nFlag2,4,4\nBarFlag,4,4\nbarformat,4,4\nBarType,10,2\nLabFormat,4,4\n"
    "ST_No,4,4\nSECT_No,4,4\nKVRBinData,11,0\nIs_Selected,4,4\n"
    "\n"
    "[KVR_23]\n"
    "MG_No,4,4\nMG_Name,10,24\nFlag1,4,4\nFlag2,4,4\nBarFlag,4,4\nbarformat,4,4\nBarType,10,2\nLabFormat,4,4\n"
    "ST_No,4,4\nSECT_No,4,4\nDP_No,4,4\nKVRBinData,11,0\nIs_Selected,4,4\n"
    "\n"
    "[SEARCH]\n"
    "SH_No,4,4\nSH_Name,10,24\nDP_No1,4,4\nDP_No2,4,4\nMG_No1,4,4\nMG_No2,4,4\nPLU_No1,4,4\nPLU_No2,4,4\n"
    "PLU_UPrice1,4,4\nPLU_UPrice2,4,4\nST_No,4,4\n"
    "\n"
    "[END]\n";

struct Section {
    const char* name;
    std::vector<std::pair<std::string, std::string>> lines;
};

std::vector<std::pair<std::string, std::string>> keysAsTexts(std::initializer_list<const char*> keys) {
    std::vector<std::pair<std::string, std::string>> v;
    for (const char* k : keys) v.emplace_back(k, k);
    return v;
}

std::string standInLanguage() {
    std::vector<Section> sections = {
        {"frm_OTHER",
         {{"loading", "Loading"}, {"loadSHOW2", "Loading texts ..."}, {"loadSHOW3", "Loading data ..."},
          {"unloadSHOW1", "Saving data ..."}}},
        {"frmMain_cmd",
         keysAsTexts({"MainCmdCancel", "MainCmdClearALL", "MainCmdCopy", "MainCmdData", "MainCmdDelAll",
                      "MainCmdDelete", "MainCmdDisplay", "MainCmdDown", "MainCmdDownLoad", "MainCmdEdit", "MainCmdNew",
                      "MainCmdReflesh", "MainCmdSelectAll", "MainCmdStroe", "MainCmdUP", "MainCmdUpLoad",
                      "MainCmdUpdate"})},
        {"frmMain_Menu", {}},
        {"frmMain_flexgrid",
         keysAsTexts({"MainGrdItem", "MainGrdName", "MainGrdNo", "MainGrdPLU", "MainGrdSelected", "MainGrdUP"})},
        {"frmMain_sstab",
         keysAsTexts({"MainTab0", "MainTab1", "MainTab2", "MainTab3", "MainTab8", "MainTabBarFormat", "MainTabBarType",
                      "MainTabCost", "MainTabDepartment", "MainTabItemCode", "MainTabLabelFormat1",
                      "MainTabLabelFormat2", "MainTabMG", "MainTabName", "MainTabPLU", "MainTabTare", "MainTabUP"})},
        {"msgbox",
         {{"areyousure", "Are you sure?"}, {"codeillegal", "The code is illegal or already used."},
          {"emptyisillegal", "This field may not be empty."},
          {"changeIP", "The address is illegal or already used."}, {"updatePLU", "Save the changed PLU?"},
          {"linkADO", "The database cannot be opened."}}},
        {"frm_Properties",
         {{"cmdCanel", "Cancel"}, {"cmdOK", "OK"}, {"labBarFlag", "Bar flag"}, {"labBarFormat", "Bar format"},
          {"labBar_Type", "Bar type"}, {"labCode", "Code"}, {"labFlag", "Flags"}, {"labLabForamt", "Label format"},
          {"labName", "Name"}, {"labSectNo", "Section"}, {"labtitleDept", "Department"},
          {"labtitleMg", "Main group"}, {"labtitleSect", "Section"}, {"labtitleStore", "Store"},
          {"properties", "Properties"}}},
        {"frm_ScProperties",
         {{"chkScaleUsed", "In use"}, {"cmdCanel", "Cancel"}, {"cmdOK", "OK"}, {"labScaleDest", "Description"},
          {"labScaleIP", "IP address"}, {"labScaleModelID", "Model"}, {"labScaleNo", "Number"},
          {"labScalePSKLayout", "Key layout"}, {"labtitleMachine", "Machine"}}},
        {"frm_Search",
         {{"cmdCanel", "Cancel"}, {"cmdOK", "OK"}, {"labDept_No", "Department"}, {"labFrom", "From"},
          {"labMG_No", "Main group"}, {"labName", "Name"}, {"labPLU_No", "PLU"}, {"labPLU_UPrice", "Unit price"},
          {"labTo", "To"}, {"labtitleSearch", "Search set"}}},
    };
    std::vector<std::pair<std::string, std::string>> menu;
    const std::vector<std::pair<const char*, const char*>> named = {
        {"menuStore", "Store"}, {"menuSection", "Section"}, {"menuMachine", "Machine"}, {"menuDept", "Department"},
        {"menuMg", "Main group"}, {"menuSearch", "Search set"}, {"menuProperties", "Properties"},
        {"menuDelete", "Delete"}};
    for (const char* k :
         {"menuFile", "menuNew", "menuStore", "menuSection", "menuMachine", "menuDept", "menuMg", "menuSearch", "menuPlu",
          "menuProperties", "menuDelete", "menuDeletePlu", "menuExit", "menuEdit", "menuEditFlexiBarcode",
          "menuEditImage", "menuEditLabelFormat", "menuEditLogo", "menuEditOtherFiles", "menuEditPresetKey",
          "menuEditReportFormat", "menuScrollMSG", "menuSetting", "menuDataFormat", "menuLanguage", "menuEnglish",
          "menuChinese", "menuOthers", "menuLanguageTranslate", "menuTool", "menuDownLoad", "menuDownloadDept",
          "menuDownloadMG", "menuUpLoad", "menuExportReport", "menuImportOrExport", "menuHelp", "menuSoftwareHelp",
          "menuSoftwareVersion", "popmenuDelete", "popmenuDownloadDept", "popmenuDownloadMG", "popmenuNewDept",
          "popmenuNewMachine", "popmenuNewMg", "popmenuNewSearch", "popmenuNewSection", "popmenuNewStore",
          "popmenuProperties"}) {
        std::string v = k;
        for (auto& [nk, nv] : named)
            if (v == nk) v = nv;
        menu.emplace_back(k, v);
    }
    sections[2].lines = menu;
    std::ostringstream out;
    out << "<Standard>\n\n";
    for (const auto& s : sections) {
        out << "[" << s.name << "]\n";
        for (const auto& [k, v] : s.lines) out << k << "=" << v << "\n";
        out << "\n";
    }
    return out.str();
}

std::string standInParameters() {
    std::ostringstream out;
    out << "<Standard>\n\n";
    out << "[Label_Format]\nF1L255=Use the level above\nF2L0=No label\nF3=Fixed 1\nF4=Fixed 2\nF5=Last row\n\n";
    out << "[EAN_DISP]\nREF=Use the level above\n";
    for (int i = 0; i <= 12; ++i) out << "E" << i << "=EAN format " << i << "\n";
    out << "\n[EAN_EDIT]\nREF=0,0,0\n";
    for (int i = 0; i <= 12; ++i) out << "E" << i << "=" << (i % 3) << ",0,6\n";
    out << "\n[ITF_DISP]\nREF=Use the level above\n";
    for (int i = 0; i <= 6; ++i) out << "I" << i << "=ITF format " << i << "\n";
    out << "\n[ITF_EDIT]\nREF=0,0,0\n";
    for (int i = 0; i <= 6; ++i) out << "I" << i << "=1,1,6\n";
    out << "\n[BAR_LAST_BYTE]\n";
    for (int i = 0; i <= 9; ++i) out << "B" << i << "=Last byte " << i << "\n";
    out << "\n";
    return out.str();
}

}  // namespace

bool shippedFilesPresent() {
    const std::string r = sourceRoot();
    for (const char* f : {"ini/Language1.ini", "ini/ParameterPLU1.ini", "ini/SETTING1.cfg", "Database/ABC1.txt"})
        if (!fs::exists(r + "/" + f)) return false;
    return true;
}

const char* standInSchema() { return kSchema; }

std::unique_ptr<TempApp> makeHierarchyApp(bool withIni) {
    if (shippedFilesPresent()) {
        auto app = std::make_unique<TempApp>(true);
        if (!withIni) fs::remove_all(app->path("ini"));
        return app;
    }
    // STAND-IN: the shipped files are not in this branch yet.
    auto app = std::make_unique<TempApp>(false);
    app->write("Database/ABC1.txt", kSchema);
    fs::create_directories(app->path("AccessData"));
    if (withIni) {
        app->write("ini/Language1.ini", standInLanguage());
        app->write("ini/ParameterPLU1.ini", standInParameters());
        shell::writeSettings(app->path("ini/SETTING1.cfg"), shell::Settings{});
    }
    return app;
}

std::unique_ptr<store::Database> makeDatabase(const TempApp& app) {
    store::rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0);
    return store::linkDatabase(app.path("Database/Brindale1.mdb"));
}

}  // namespace brindale::testing
