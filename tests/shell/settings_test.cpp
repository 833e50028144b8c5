// The settings file: every value within its allowed values, and a rewrite that leaves either the
// old file or the new one, never a part of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "shell/ini.h"
#include "shell/settings.h"
#include "store/fatal_error.h"
#include "support/temp_app.h"

using namespace brindale;
using namespace brindale::shell;
using brindale::testing::TempApp;
namespace fs = std::filesystem;

namespace {

// A valid file, one value a line, as the print statement writes it.
std::vector<std::string> validLines() {
    return {" 0 ", " 2 ", " 0 ", " 3 ", " 1 ", " 0 ", " 1 ", " 0 ", " 0 ", "Brindale Store"};
}

std::string join(const std::vector<std::string>& lines) {
    std::string s;
    for (const auto& l : lines) s += l + "\r\n";
    return s;
}

// Line number (1-based) of each numeric value in validLines(), its name in the message, its
// allowed values.
struct Value {
    size_t line;
    const char* what;
    int low, high;
};
const Value kValues[] = {
    {1, "the language", 0, 2},      {2, "the price decimals", 0, 3},
    {4, "the weight decimals", 0, 3}, {5, "the scale type", 0, 1},   {6, "the date type", 0, 5},
    {7, "the price unit", 0, 2},    {8, "the country", 0, kCountryRows - 1},
    {9, "the store mode", 0, 1},
};

// Files with the value at `v` replaced by `n`; a price unit of 2 takes its own line after it.
std::string withValue(const Value& v, int n) {
    auto lines = validLines();
    lines[v.line - 1] = printNumber(n);
    if (v.line == 7 && n == 2) lines.insert(lines.begin() + 7, "EUR");
    return join(lines);
}

}  // namespace

TEST(SettingsRange, EveryValueTakesItsWholeRange) {
    TempApp app(false);
    for (const auto& v : kValues) {
        for (int n : {v.low, v.high}) {
            app.write("s.cfg", withValue(v, n));
            EXPECT_NO_THROW(readSettings(app.path("s.cfg"))) << v.what << " = " << n;
        }
    }
    app.write("s.cfg", withValue(kValues[0], 2));
    EXPECT_EQ(readSettings(app.path("s.cfg")).LanguageName(), "Other");
}

TEST(SettingsRange, AValueOutOfItsRangeNamesTheFileTheLineAndTheAllowedValues) {
    TempApp app(false);
    for (const auto& v : kValues) {
        for (int n : {v.low - 1, v.high + 1, 9, 255}) {
            if (n >= v.low && n <= v.high) continue;
            app.write("s.cfg", withValue(v, n));
            try {
                readSettings(app.path("s.cfg"));
                ADD_FAILURE() << v.what << " = " << n << " was taken";
            } catch (const FatalError& e) {
                const std::string m = e.what();
                EXPECT_EQ(e.line(), static_cast<long>(v.line)) << m;
                EXPECT_NE(m.find("s.cfg"), std::string::npos) << m;
                EXPECT_NE(m.find(v.what), std::string::npos) << m;
                EXPECT_NE(m.find(std::to_string(n) + " is not allowed"), std::string::npos) << m;
                EXPECT_NE(m.find(std::to_string(v.low) + " to " + std::to_string(v.high)), std::string::npos) << m;
            }
        }
    }
}

// The decimal sign has no range: 0 is the point, anything else the comma.
TEST(SettingsRange, EveryDecimalSignOtherThanZeroIsTheComma) {
    TempApp app(false);
    for (int n : {0, 1, 2, 9, 255}) {
        auto lines = validLines();
        lines[2] = printNumber(n);
        app.write("s.cfg", join(lines));
        Settings s;
        ASSERT_NO_THROW(s = readSettings(app.path("s.cfg"))) << n;
        EXPECT_EQ(s.DecimalSign(), n == 0 ? "." : ",") << n;
    }
}

TEST(SettingsRange, LanguageIndexNineIsRefusedOnLineOne) {
    TempApp app(false);
    app.write("s.cfg", withValue(kValues[0], 9));
    try {
        readSettings(app.path("s.cfg"));
        FAIL() << "a language index of 9 was taken";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.line(), 1);
        EXPECT_NE(std::string(e.what()).find("0 Standard, 1 Chinese, 2 Other"), std::string::npos) << e.what();
    }
}

TEST(SettingsRange, TheCountryRowsAreThoseOfTheShippedCountryTable) {
    for (const char* lang : {"Standard", "Chinese", "Other"}) {
        LanguageTable t;
        loadSection(brindale::testing::sourceRoot() + "/ini/ParameterPLU1.ini", lang, "SYS_Country", t);
        EXPECT_EQ(t.size(), static_cast<size_t>(kCountryRows)) << lang;
        EXPECT_TRUE(t.contains("SYS_C" + std::to_string(kCountryRows - 1))) << lang;
    }
}

TEST(SettingsRange, TheShippedSettingsFileIsValid) {
    EXPECT_NO_THROW(readSettings(brindale::testing::sourceRoot() + "/ini/SETTING1.cfg"));
}

// ---- The safe rewrite ---------------------------------------------------------------------------

namespace {

// The disk holds `room` bytes more; then a write fails as a full disk does.
long gRoom = 0;
long fullDiskWrite(int fd, const void* data, unsigned long size) {
    if (gRoom <= 0) {
        errno = ENOSPC;
        return -1;
    }
    const long n = static_cast<long>(size) < gRoom ? static_cast<long>(size) : gRoom;
    gRoom -= n;
    return ::write(fd, data, static_cast<size_t>(n));
}
int failingFsync(int) {
    errno = EIO;
    return -1;
}
int gFsyncCalls = 0;
int countingFsync(int fd) {
    ++gFsyncCalls;
    return ::fsync(fd);
}

// Restores the real calls however the test ends.
struct RealCallsAfter {
    ~RealCallsAfter() { setSettingsWriteCalls({}); }
};

std::vector<std::string> filesIn(const std::string& dir) {
    std::vector<std::string> out;
    for (const auto& e : fs::directory_iterator(dir)) out.push_back(e.path().filename().string());
    std::sort(out.begin(), out.end());
    return out;
}

Settings chinese() {
    Settings s;
    s.LanguageIndex = 1;
    s.StoreNameLine = "Brindale Store";
    return s;
}

}  // namespace

TEST(SettingsWrite, AFullDiskLeavesTheOldFileWholeAndNoTemporaryFile) {
    RealCallsAfter restore;
    TempApp app(false);
    const std::string old = join(validLines());
    app.write("SETTING1.cfg", old);
    for (long room : {0L, 1L, 7L, 20L}) {
        gRoom = room;
        setSettingsWriteCalls({&fullDiskWrite, nullptr});
        try {
            writeSettings(app.path("SETTING1.cfg"), chinese());
            ADD_FAILURE() << "a full disk after " << room << " bytes was not noticed";
        } catch (const FatalError& e) {
            const std::string m = e.what();
            EXPECT_NE(m.find("SETTING1.cfg"), std::string::npos) << m;
            EXPECT_NE(m.find(std::strerror(ENOSPC)), std::string::npos) << m;
        }
        EXPECT_EQ(app.read("SETTING1.cfg"), old) << room;
        EXPECT_EQ(filesIn(app.dir()), std::vector<std::string>{"SETTING1.cfg"}) << room;
        EXPECT_EQ(readSettings(app.path("SETTING1.cfg")).LanguageIndex, 0);
    }
}

TEST(SettingsWrite, AFailedFlushLeavesTheOldFileWholeAndNoTemporaryFile) {
    RealCallsAfter restore;
    TempApp app(false);
    const std::string old = join(validLines());
    app.write("SETTING1.cfg", old);
    setSettingsWriteCalls({nullptr, &failingFsync});
    try {
        writeSettings(app.path("SETTING1.cfg"), chinese());
        FAIL() << "a failed flush was not noticed";
    } catch (const FatalError& e) {
        EXPECT_NE(std::string(e.what()).find(std::strerror(EIO)), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find("SETTING1.cfg"), std::string::npos) << e.what();
    }
    EXPECT_EQ(app.read("SETTING1.cfg"), old);
    EXPECT_EQ(filesIn(app.dir()), std::vector<std::string>{"SETTING1.cfg"});
}

TEST(SettingsWrite, ASuccessfulWriteFlushesFileAndFolderAndReplacesTheFileWhole) {
    RealCallsAfter restore;
    TempApp app(false);
    app.write("SETTING1.cfg", join(validLines()));
    gFsyncCalls = 0;
    setSettingsWriteCalls({nullptr, &countingFsync});
    writeSettings(app.path("SETTING1.cfg"), chinese());
    EXPECT_EQ(gFsyncCalls, 2);  // the file, then its folder
    EXPECT_EQ(readSettings(app.path("SETTING1.cfg")).LanguageIndex, 1);
    EXPECT_EQ(filesIn(app.dir()), std::vector<std::string>{"SETTING1.cfg"});
}

TEST(SettingsWrite, AFolderThatCannotBeWrittenIsAnErrorNamingTheFile) {
    TempApp app(false);
    // The file's folder does not exist: nothing can be written aside.
    try {
        writeSettings(app.path("missing/SETTING1.cfg"), chinese());
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_NE(std::string(e.what()).find("missing/SETTING1.cfg"), std::string::npos) << e.what();
    }
    EXPECT_TRUE(filesIn(app.dir()).empty());
}
