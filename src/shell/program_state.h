#pragma once
// The program-wide variables of one run.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/code_page.h"
#include "codec/environment.h"
#include "language.h"
#include "settings.h"
#include "window_scaling.h"
#include "store/database.h"
#include "store/recordset.h"

namespace brindale::shell {

inline constexpr const char* kNoMachine = "  0.  0.  0.  0";

// The barcode lists of the parameter table in a loaded language set (empty where a section is
// missing).
codec::BarcodeLists barcodeListsOf(const LanguageSet& lang);

struct ProgramState {
    std::string appDir;  // the application folder: every path is relative to it
    Settings settings;
    // What the settings file holds once the data format dialog wrote it: the language menus
    // rewrite this, not the variables of the run, which keep some values until the next start.
    std::optional<Settings> writtenSettings;
    // The settings a rewrite of the file starts from.
    const Settings& fileSettings() const { return writtenSettings ? *writtenSettings : settings; }
    LanguageSet lang;

    // The working database. Recordsets are made on first use and live until the end of the run.
    std::string connectionString;
    std::unique_ptr<store::Database> Conn;
    std::unique_ptr<store::Recordset> RsPLU, RsAux, RsWork;

    // Selection in the tree.
    int currentStore = 0;
    int currentSection = 0;
    std::string currentScaleIP = kNoMachine;
    int currentDept = 0;
    int currentMG = 0;
    std::string selectedKeyStoreView;
    std::string selectedKeyDataView;
    int viewNumber = 1;  // 1 store view, 0 data view

    // PLU editor state.
    bool pluChanged = false;
    int selectedGridRow = 0;
    int currentTab = 1;

    std::string helpFile;

    // The main window's design: its client area and font factor when saveFormGeometry ran.
    ScaleReference scaleReference;

    // Set when the run is asked to end from outside (a signal, the end of the desktop session):
    // forms that may not be cancelled let go.
    bool terminating = false;

    // What the scale records need: the code page of the run and the barcode lists of the
    // parameter table. Made once the tables are loaded, and again when the language changes (the
    // lists are read from the language's block). The page is the one the mirror records, or the
    // system language's page for a mirror that records none; the start may switch it (lifecycle).
    std::unique_ptr<codec::CodePage> codePage;
    codec::BarcodeLists barcodeLists;
    void prepareCodec();
    codec::CodecEnvironment codecEnvironment() const;

    // The system's locale ("zh_CN.UTF-8"); unset: the process's own (LC_ALL, LC_CTYPE, LANG).
    // Tests set it to start as if under another language.
    std::optional<std::string> systemLocale;
    // The page the system's language gives the scales.
    std::string systemCodePageName() const;

    // What the start has to tell the operator once the main window stands (texts from msgbox).
    std::vector<std::string> startNotices;

    std::string path(const std::string& relative) const;
    std::string databasePath() const;
    const std::string& text(std::string_view section, std::string_view key) const { return lang.text(section, key); }
    // The language block's whole section text, e.g. for the transfer engine.
    std::string sectionText(const std::string& section) const;

    // Closes the recordsets and the connection (in that order).
    void closeDatabase();
};

}  // namespace brindale::shell
