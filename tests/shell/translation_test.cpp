// The translation of the third language block: pairing by line, the limits of the file, and a
// write-back that changes only the edited lines and keeps each line's end.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "shell/translation.h"
#include "support/temp_app.h"

using namespace brindale::shell;
using brindale::testing::TempApp;
namespace fs = std::filesystem;
using Kind = TranslationError::Kind;

namespace {

std::string readAll(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// Three aligned blocks made of the same body, the third with its own values.
std::string threeBlocks(const std::vector<std::string>& body, const std::string& otherSuffix = "",
                        const std::string& end = "\n") {
    std::string s;
    const char* markers[] = {"<Standard>", "<Chinese>", "<Other>"};
    for (int b = 0; b < 3; ++b) {
        s += std::string(markers[b]) + end;
        for (const auto& l : body) {
            std::string line = l;
            if (b == 2 && !otherSuffix.empty() && l.find('=') != std::string::npos) line += otherSuffix;
            s += line + end;
        }
    }
    return s;
}

TranslationError loadError(const std::string& path) {
    try {
        TranslationFile::load(path);
    } catch (const TranslationError& e) {
        return e;
    }
    ADD_FAILURE() << "no error for " << path;
    return TranslationError(Kind::Unreadable, "", "");
}

}  // namespace

TEST(Translation, ShippedFilePairsEveryKeyOfTheFirstBlockWithTheThird) {
    const std::string path = brindale::testing::sourceRoot() + "/ini/Language1.ini";
    auto f = TranslationFile::load(path);
    const int n = f.lineCount();
    ASSERT_EQ(n % 3, 0);
    const int k = n / 3;
    int keyLines = 0;
    std::istringstream in(readAll(path));
    std::string line;
    for (int i = 0; i < k && std::getline(in, line); ++i)
        if (!line.empty() && line[0] != '<' && line[0] != '[') ++keyLines;
    ASSERT_EQ(static_cast<int>(f.pairs().size()), keyLines);
    for (const auto& p : f.pairs()) {
        EXPECT_EQ(p.translation, p.original + 2 * k);
        EXPECT_EQ(p.originalKey, p.translationKey);
        EXPECT_EQ(p.originalKey.back(), '=');
    }
    // Other is a copy of Standard as shipped.
    EXPECT_EQ(f.pairs()[0].originalValue, f.pairs()[0].translationValue);
    // Nothing edited: written back byte for byte.
    EXPECT_EQ(f.text(), readAll(path));
}

TEST(Translation, AKeyWithAnEmptyValueGivesAnEmptyRowInBothLists) {
    TempApp app(false);
    app.write("ini/Language1.ini", threeBlocks({"[frm_A]", "cmdA=Alpha", "cmdEmpty=", "cmdB=Beta", ""}));
    auto f = TranslationFile::load(app.path("ini/Language1.ini"));
    ASSERT_EQ(f.pairs().size(), 3u);
    EXPECT_EQ(f.pairs()[1].originalKey, "cmdEmpty=");
    EXPECT_EQ(f.pairs()[1].originalValue, "");
    EXPECT_EQ(f.pairs()[1].translationValue, "");
    EXPECT_EQ(f.pairs()[0].originalValue, "Alpha");
    EXPECT_EQ(f.pairs()[2].translationValue, "Beta");
}

TEST(Translation, AFileOf3002LinesCannotBeOpenedAndTheMessageNamesItsCount) {
    TempApp app(false);
    std::string s;
    for (int i = 0; i < 3002; ++i) s += "k" + std::to_string(i) + "=v\n";
    app.write("ini/Language1.ini", s);
    auto e = loadError(app.path("ini/Language1.ini"));
    EXPECT_EQ(e.kind, Kind::TooLong);
    EXPECT_EQ(e.count, 3002);
    EXPECT_EQ(e.file, app.path("ini/Language1.ini"));
}

TEST(Translation, AFileOf3001LinesOpens) {
    // 1000 + 1001 + 1000 lines: k = 3001 / 3 is not whole and line i pairs with i + 2000.67,
    // rounded i + 2001, the third block's line i when the middle block holds one line more.
    std::string s;
    const char* markers[] = {"<Standard>", "<Chinese>", "<Other>"};
    for (int b = 0; b < 3; ++b) {
        s += std::string(markers[b]) + "\n";
        for (int i = 0; i < 998; ++i) s += "k" + std::to_string(i) + "=v" + std::to_string(b) + "\n";
        s += "\n";
        if (b == 1) s += "\n";
    }
    TempApp app(false);
    app.write("ini/Language1.ini", s);
    auto f = TranslationFile::load(app.path("ini/Language1.ini"));
    EXPECT_EQ(f.lineCount(), 3001);
    ASSERT_EQ(f.pairs().size(), 998u);
    EXPECT_EQ(f.pairs()[0].translation, 2002);
    EXPECT_EQ(f.pairs()[997].translationValue, "v2");
    EXPECT_EQ(f.pairs()[997].originalValue, "v0");
}

TEST(Translation, PairingWhenTheLineCountIsNoMultipleOfThree) {
    EXPECT_EQ(TranslationFile::pairedLine(0, 9), 6);
    EXPECT_EQ(TranslationFile::pairedLine(2, 10), 9);   // 2 + 6.67
    EXPECT_EQ(TranslationFile::pairedLine(2, 11), 9);   // 2 + 7.33
    EXPECT_EQ(TranslationFile::pairedCount(10), 3);
    EXPECT_EQ(TranslationFile::pairedCount(11), 3);
    // An extra empty line at the end of the third block: 3k + 1 lines; the pairs are off by one
    // and are refused.
    TempApp app(false);
    app.write("ini/Language1.ini", threeBlocks({"[frm_A]", "cmdA=Alpha", "cmdB=Beta", ""}) + "\n\n");
    auto e = loadError(app.path("ini/Language1.ini"));
    EXPECT_EQ(e.kind, Kind::KeysDiffer);
}

TEST(Translation, APairWhoseKeysDifferIsRefusedNamingBothLines) {
    TempApp app(false);
    std::string s = threeBlocks({"[frm_A]", "cmdA=Alpha", "cmdB=Beta", ""});
    // Line 4 of the third block (file line 14) gets another key.
    s.replace(s.rfind("cmdB="), 5, "cmdX=");
    app.write("ini/Language1.ini", s);
    auto e = loadError(app.path("ini/Language1.ini"));
    EXPECT_EQ(e.kind, Kind::KeysDiffer);
    EXPECT_EQ(e.lineA, 4);
    EXPECT_EQ(e.lineB, 14);
}

TEST(Translation, KeysCompareWithoutBlanksAndCaseAndAValueKeepsItsEqualSigns) {
    TempApp app(false);
    std::string s = threeBlocks({"[frm_A]", "cmdA = a=b", ""});
    s.replace(s.rfind("cmdA = "), 7, "CMDA  =");
    app.write("ini/Language1.ini", s);
    auto f = TranslationFile::load(app.path("ini/Language1.ini"));
    ASSERT_EQ(f.pairs().size(), 1u);
    EXPECT_EQ(f.pairs()[0].originalKey, "cmdA =");
    EXPECT_EQ(f.pairs()[0].originalValue, " a=b");
    EXPECT_EQ(f.pairs()[0].translationKey, "CMDA  =");
}

TEST(Translation, EditingAValueChangesThatLineOnlyAndKeepsEveryLineEnd) {
    TempApp app(false);
    // Mixed line ends and a last line without one.
    std::string s = "<Standard>\r\n[frm_A]\ncmdA=Alpha\r\ncmdB=Beta\n"
                    "<Chinese>\r\n[frm_A]\ncmdA=Alpha-zh\r\ncmdB=Beta-zh\n"
                    "<Other>\r\n[frm_A]\ncmdA=Alpha\r\ncmdB=Beta";
    app.write("ini/Language1.ini", s);
    auto f = TranslationFile::load(app.path("ini/Language1.ini"));
    ASSERT_EQ(f.lineCount(), 12);
    ASSERT_EQ(f.pairs().size(), 2u);
    f.setTranslation(0, "Alfa");
    f.setTranslation(1, "Be\nta");  // a line end typed in does not split the line
    f.save();
    EXPECT_EQ(readAll(app.path("ini/Language1.ini")),
              "<Standard>\r\n[frm_A]\ncmdA=Alpha\r\ncmdB=Beta\n"
              "<Chinese>\r\n[frm_A]\ncmdA=Alpha-zh\r\ncmdB=Beta-zh\n"
              "<Other>\r\n[frm_A]\ncmdA=Alfa\r\ncmdB=Beta");
    EXPECT_FALSE(fs::exists(app.path("ini/Language1.ini.new")));
}

TEST(Translation, AFailedSaveLeavesTheFileWholeAndKeepsTheEdits) {
    TempApp app(false);
    const std::string s = threeBlocks({"[frm_A]", "cmdA=Alpha", ""});
    app.write("ini/Language1.ini", s);
    auto f = TranslationFile::load(app.path("ini/Language1.ini"));
    f.setTranslation(0, "Alfa");
    // The file aside cannot be made: a folder stands in its place.
    fs::create_directories(app.path("ini/Language1.ini.new"));
    try {
        f.save();
        ADD_FAILURE() << "saved";
    } catch (const TranslationError& e) {
        EXPECT_EQ(e.kind, Kind::SaveFailed);
        EXPECT_EQ(e.file, app.path("ini/Language1.ini"));
        EXPECT_FALSE(e.reason.empty());
    }
    EXPECT_EQ(readAll(app.path("ini/Language1.ini")), s);
    EXPECT_EQ(f.pairs()[0].translationValue, "Alfa");
    fs::remove(app.path("ini/Language1.ini.new"));
    f.save();
    EXPECT_NE(readAll(app.path("ini/Language1.ini")).find("<Other>\n[frm_A]\ncmdA=Alfa\n"), std::string::npos);
}

TEST(Translation, AMissingFileIsUnreadableAndNamed) {
    TempApp app(false);
    auto e = loadError(app.path("ini/Language1.ini"));
    EXPECT_EQ(e.kind, Kind::Unreadable);
    EXPECT_EQ(e.file, app.path("ini/Language1.ini"));
}
