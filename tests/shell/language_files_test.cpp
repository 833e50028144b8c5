// The shipped language and parameter tables: the three blocks agree line by line, and every key
// the program's code looks up is there in all three.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "shell/ini.h"
#include "shell/language.h"
#include "support/temp_app.h"

using namespace brindale::shell;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::vector<std::string> lines;
    std::string l;
    while (std::getline(f, l)) {
        if (!l.empty() && l.back() == '\r') l.pop_back();
        lines.push_back(l);
    }
    return lines;
}

// The lines of each block, "<Standard>", "<Chinese>", "<Other>" in that order.
std::vector<std::vector<std::string>> blocks(const std::vector<std::string>& lines) {
    std::vector<std::vector<std::string>> out;
    for (const auto& l : lines) {
        std::string t = trim(l);
        if (!t.empty() && t.front() == '<') out.emplace_back();
        if (!out.empty()) out.back().push_back(t);
    }
    return out;
}

std::string shape(const std::string& line) {
    if (line.empty()) return "";
    if (line.front() == '<') return "<>";
    if (line.front() == '[') return line;
    size_t eq = line.find('=');
    return eq == std::string::npos ? "?" : "k:" + trim(line.substr(0, eq));
}

std::string langFile() { return brindale::testing::sourceRoot() + "/ini/Language1.ini"; }
std::string paramFile() { return brindale::testing::sourceRoot() + "/ini/ParameterPLU1.ini"; }

// Every (section, key) that the program's sources look up.
std::set<std::pair<std::string, std::string>> lookedUpKeys() {
    std::set<std::string> sections(languageSections().begin(), languageSections().end());
    sections.insert("ActX_KVR");
    std::set<std::pair<std::string, std::string>> keys;
    static const std::regex pair(R"re("([A-Za-z_0-9]+)"\s*,\s*"([A-Za-z_0-9&]+)")re");
    static const std::regex msgKey(R"re(Messages::key\([^,()]+,\s*"([A-Za-z_0-9]+)")re");
    static const std::regex literal(R"re("((?:MainCmd|MainGrd|MainTab|menu|popmenu)[A-Za-z_0-9]*)")re");
    // The transfer window's texts: looked up by get("Key"), and the summary's notes by their key.
    static const std::regex transferGet(R"re(\bget\("([A-Za-z_0-9]+)"\))re");
    static const std::regex transferNote(R"re("((?:Note|Detail)[A-Z][A-Za-z]*)")re");
    for (const auto& e : fs::recursive_directory_iterator(brindale::testing::sourceRoot() + "/src")) {
        auto ext = e.path().extension();
        if (ext != ".cpp" && ext != ".h") continue;
        std::ifstream f(e.path());
        std::stringstream ss;
        ss << f.rdbuf();
        std::string src = ss.str();
        for (std::sregex_iterator it(src.begin(), src.end(), pair), end; it != end; ++it)
            // A list of section names is no lookup.
            if (sections.count((*it)[1]) && !sections.count((*it)[2])) keys.insert({(*it)[1], (*it)[2]});
        for (std::sregex_iterator it(src.begin(), src.end(), msgKey), end; it != end; ++it)
            keys.insert({"msgbox", (*it)[1]});
        for (std::sregex_iterator it(src.begin(), src.end(), literal), end; it != end; ++it) {
            std::string k = (*it)[1];
            if (k == "menu" || k == "popmenu") continue;
            if (k.rfind("MainCmd", 0) == 0) keys.insert({"frmMain_cmd", k});
            else if (k.rfind("MainGrd", 0) == 0) keys.insert({"frmMain_flexgrid", k});
            else if (k.rfind("MainTab", 0) == 0) keys.insert({"frmMain_sstab", k});
            else keys.insert({"frmMain_Menu", k});
        }
        if (e.path().string().find("/src/transfer/") != std::string::npos) {
            for (std::sregex_iterator it(src.begin(), src.end(), transferGet), end; it != end; ++it)
                keys.insert({"ActX_KVR", (*it)[1]});
            for (std::sregex_iterator it(src.begin(), src.end(), transferNote), end; it != end; ++it)
                keys.insert({"ActX_KVR", (*it)[1]});
        }
    }
    return keys;
}

}  // namespace

TEST(LanguageFile, ThreeBlocksAlignedLineByLine) {
    auto b = blocks(readLines(langFile()));
    ASSERT_EQ(b.size(), 3u);
    EXPECT_EQ(b[0].front(), "<Standard>");
    EXPECT_EQ(b[1].front(), "<Chinese>");
    EXPECT_EQ(b[2].front(), "<Other>");
    ASSERT_EQ(b[0].size(), b[1].size());
    ASSERT_EQ(b[0].size(), b[2].size());
    for (size_t i = 0; i < b[0].size(); ++i) {
        EXPECT_EQ(shape(b[0][i]), shape(b[1][i])) << "line " << i << " of the blocks";
        EXPECT_EQ(shape(b[0][i]), shape(b[2][i])) << "line " << i << " of the blocks";
    }
    // The third block starts as a copy of the first, for the operator to translate.
    EXPECT_EQ(std::vector<std::string>(b[0].begin() + 1, b[0].end()),
              std::vector<std::string>(b[2].begin() + 1, b[2].end()));
}

TEST(LanguageFile, EverySectionLoadsInEveryBlockWithoutDuplicates) {
    for (const char* lang : {"Standard", "Chinese", "Other"}) {
        for (const auto& s : languageSections()) {
            LanguageTable t;
            ASSERT_NO_THROW(loadSection(langFile(), lang, s, t)) << lang << " " << s;
            EXPECT_FALSE(t.empty()) << lang << " [" << s << "]";
        }
        for (const auto& s : parameterSections()) {
            LanguageTable t;
            ASSERT_NO_THROW(loadSection(paramFile(), lang, s, t)) << lang << " " << s;
            EXPECT_FALSE(t.empty()) << lang << " [" << s << "]";
        }
        EXPECT_NE(getSectionText(langFile(), lang, "ActX_KVR", ""), "") << lang;
    }
}

TEST(LanguageFile, EveryKeyTheCodeLooksUpExistsInAllThreeBlocks) {
    auto keys = lookedUpKeys();
    ASSERT_GT(keys.size(), 40u);  // the main window alone looks up far more
    // The texts of this work are among them: messages, the section combo, the transfer summary.
    for (const auto& k : std::vector<std::pair<std::string, std::string>>{{"msgbox", "storeOverflow"},
                                                                          {"msgbox", "settingsNotSaved"},
                                                                          {"msgbox", "treeOrphans"},
                                                                          {"msgbox", "rowMissing"},
                                                                          {"frm_Properties", "NotUsed"},
                                                                          {"ActX_KVR", "Title"},
                                                                          {"ActX_KVR", "ProgressText"},
                                                                          {"ActX_KVR", "NoteNoRecord"},
                                                                          {"ActX_KVR", "DetailNoScale"}})
        EXPECT_TRUE(keys.count(k)) << k.first << " " << k.second << " is not seen as looked up";
    for (const char* lang : {"Standard", "Chinese", "Other"}) {
        std::map<std::string, LanguageTable> tables;
        for (const auto& [section, key] : keys) {
            if (!tables.count(section)) loadSection(langFile(), lang, section, tables[section]);
            EXPECT_TRUE(tables[section].contains(key)) << lang << " [" << section << "] " << key;
        }
    }
}

TEST(LanguageFile, NamedKeysOfTheLoadingAndClosingScreensAndMessages) {
    LanguageTable other, msg;
    loadSection(langFile(), "Standard", "frm_OTHER", other);
    for (const char* k : {"loading", "loadSHOW2", "loadSHOW3", "unloadSHOW1", "setTitle", "downTitle", "upTitle"})
        EXPECT_TRUE(other.contains(k)) << k;
    loadSection(langFile(), "Standard", "msgbox", msg);
    for (const char* k : {"DataFormatSet", "areyousure", "changeIP", "codeillegal", "emptyisillegal", "linkADO",
                          "updatePLU", "overlap", "importseperator"})
        EXPECT_TRUE(msg.contains(k)) << k;
}
