// Where the application folder is: the build's own folder, or the per-user folder made from the
// installed files at the first start and refreshed by a new version without losing what the
// user changed.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "shell/paths.h"
#include "store/fatal_error.h"
#include "support/temp_app.h"

using namespace brindale;
using namespace brindale::shell;
using brindale::testing::TempApp;
namespace fs = std::filesystem;

namespace {

std::string readAll(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// An installed tree: prefix/bin (the program's folder) and prefix/share/brindale.
struct Installed {
    TempApp root{false};
    std::string bin() const { return root.path("prefix/bin"); }
    std::string data() const { return root.path("home/.local/share"); }
    std::string user() const { return data() + "/Brindale"; }
    void ship(const std::string& rel, const std::string& content) const { root.write("prefix/share/brindale/" + rel, content); }
    Installed() {
        fs::create_directories(bin());
        ship("ini/Language1.ini", "<Standard>\n[frm_A]\ncmdA=Alpha\n\n<Chinese>\n[frm_A]\ncmdA=Zh\n\n<Other>\n[frm_A]\ncmdA=Alpha\n\n");
        ship("ini/ParameterPLU1.ini", "params v1\n");
        ship("ini/SETTING1.cfg", " 0 \r\n");
        ship("ini/PresetKey1.ini", "keys v1\n");
        ship("Database/ABC1.txt", "schema v1\n");
        ship("help/en/index.html", "<p>help v1</p>\n");
    }
};

std::string fatalText(const std::function<void()>& f) {
    try {
        f();
    } catch (const FatalError& e) {
        return e.what();
    }
    return "no error";
}

}  // namespace

TEST(ApplicationFolder, TheProgramsOwnFolderServesWhenItHoldsIniAndMayBeWritten) {
    TempApp app;  // ini/ beside the program, as in the build
    EXPECT_EQ(resolveApplicationFolder(app.dir(), "/nonexistent"), app.dir());
}

TEST(ApplicationFolder, TheFirstStartMakesThePerUserFolderFromTheInstalledFiles) {
    Installed in;
    const std::string folder = resolveApplicationFolder(in.bin(), in.data());
    EXPECT_EQ(folder, in.user());
    for (const char* rel : {"ini/Language1.ini", "ini/ParameterPLU1.ini", "ini/SETTING1.cfg", "ini/PresetKey1.ini",
                            "Database/ABC1.txt", "help/en/index.html"})
        EXPECT_EQ(readAll(folder + "/" + rel), readAll(in.root.path(std::string("prefix/share/brindale/") + rel))) << rel;
    EXPECT_TRUE(fs::is_directory(folder + "/AccessData"));
    EXPECT_TRUE(fs::is_empty(folder + "/AccessData"));
    // Nothing is left aside.
    for (const auto& e : fs::directory_iterator(in.data())) EXPECT_EQ(e.path().filename(), "Brindale");
    // A second start finds it as it is.
    const std::string before = readAll(folder + "/.shipped");
    EXPECT_EQ(resolveApplicationFolder(in.bin(), in.data()), folder);
    EXPECT_EQ(readAll(folder + "/.shipped"), before);
}

TEST(ApplicationFolder, ANewVersionRefreshesUntouchedFilesAndKeepsTheUsers) {
    Installed in;
    const std::string folder = resolveApplicationFolder(in.bin(), in.data());
    // The user's work: settings, a translated third language, a changed key sheet table, data.
    in.root.write("home/.local/share/Brindale/ini/SETTING1.cfg", " 1 \r\n");
    in.root.write("home/.local/share/Brindale/ini/Language1.ini",
                  "<Standard>\n[frm_A]\ncmdA=Alpha\n\n<Chinese>\n[frm_A]\ncmdA=Zh\n\n<Other>\n[frm_A]\ncmdA=Alfa\n\n");
    in.root.write("home/.local/share/Brindale/ini/PresetKey1.ini", "keys of the user\n");
    in.root.write("home/.local/share/Brindale/AccessData/temp1.txt", "data\n");
    // The new version: every shipped file changed, a key added to every block, a new help page.
    in.ship("ini/Language1.ini",
            "<Standard>\n[frm_A]\ncmdA=Alpha\ncmdB=Beta\n\n<Chinese>\n[frm_A]\ncmdA=Zh\ncmdB=ZhB\n\n<Other>\n[frm_A]\ncmdA=Alpha\ncmdB=Beta\n\n");
    in.ship("ini/ParameterPLU1.ini", "params v2\n");
    in.ship("ini/SETTING1.cfg", " 2 \r\n");
    in.ship("ini/PresetKey1.ini", "keys v2\n");
    in.ship("Database/ABC1.txt", "schema v2\n");
    in.ship("help/zh/index.html", "<p>帮助</p>\n");
    EXPECT_EQ(resolveApplicationFolder(in.bin(), in.data()), folder);
    EXPECT_EQ(readAll(folder + "/ini/ParameterPLU1.ini"), "params v2\n");
    EXPECT_EQ(readAll(folder + "/Database/ABC1.txt"), "schema v2\n");
    EXPECT_EQ(readAll(folder + "/help/zh/index.html"), "<p>帮助</p>\n");
    EXPECT_EQ(readAll(folder + "/ini/SETTING1.cfg"), " 1 \r\n");
    EXPECT_EQ(readAll(folder + "/ini/PresetKey1.ini"), "keys of the user\n");
    EXPECT_EQ(readAll(folder + "/AccessData/temp1.txt"), "data\n");
    EXPECT_EQ(readAll(folder + "/ini/Language1.ini"),
              "<Standard>\n[frm_A]\ncmdA=Alpha\ncmdB=Beta\n\n<Chinese>\n[frm_A]\ncmdA=Zh\ncmdB=ZhB\n\n<Other>\n[frm_A]\ncmdA=Alfa\ncmdB=Beta\n\n");
    // The same version again changes nothing, the user's later edits included.
    in.root.write("home/.local/share/Brindale/ini/ParameterPLU1.ini", "params edited\n");
    EXPECT_EQ(resolveApplicationFolder(in.bin(), in.data()), folder);
    EXPECT_EQ(readAll(folder + "/ini/ParameterPLU1.ini"), "params edited\n");
}

TEST(ApplicationFolder, MissingInstalledFilesAndABlockedPlaceAreNamed) {
    TempApp root(false);
    fs::create_directories(root.path("bin"));
    EXPECT_NE(fatalText([&] { resolveApplicationFolder(root.path("bin"), root.path("data")); }).find("share/brindale/ini"),
              std::string::npos);
    Installed in;
    in.root.write("home/.local/share/Brindale/stray.txt", "x");
    const std::string t = fatalText([&] { resolveApplicationFolder(in.bin(), in.data()); });
    EXPECT_NE(t.find(in.user()), std::string::npos) << t;
    EXPECT_EQ(readAll(in.user() + "/stray.txt"), "x");
}

TEST(ApplicationFolder, UserDataHomeFollowsXdgThenHome) {
    const char* oldX = std::getenv("XDG_DATA_HOME");
    const std::string keepX = oldX ? oldX : "";
    const char* oldHome = std::getenv("HOME");
    const std::string keepHome = oldHome ? oldHome : "";
    setenv("XDG_DATA_HOME", "/x/data", 1);
    EXPECT_EQ(userDataHome(), "/x/data");
    setenv("XDG_DATA_HOME", "", 1);
    setenv("HOME", "/h", 1);
    EXPECT_EQ(userDataHome(), "/h/.local/share");
    if (oldX) setenv("XDG_DATA_HOME", keepX.c_str(), 1);
    else unsetenv("XDG_DATA_HOME");
    if (oldHome) setenv("HOME", keepHome.c_str(), 1);
}
