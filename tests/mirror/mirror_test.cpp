#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <fstream>
#include <signal.h>

#include "mirror_fixture.h"
#include "store/fatal_error.h"
#include "shell/paths.h"
#include "store/mirror.h"
#include "store/rebuild.h"
#include "store/recordset.h"

using namespace brindale;
using namespace brindale::store;
using brindale::testing::MirrorChain;
namespace fs = std::filesystem;

namespace {

Bytes textRecord(uint32_t no, const std::string& content) {
    Bytes r(8 + content.size(), 0);
    r[3] = static_cast<uint8_t>(no);
    std::copy(content.begin(), content.end(), r.begin() + 8);
    r[4] = static_cast<uint8_t>(r.size() >> 8);
    r[5] = static_cast<uint8_t>(r.size() & 0xFF);
    return r;
}

void addSmallChain(MirrorChain& c) {
    c.add("STORE", {{"ST_No", 1}, {"ST_Name", "Main street"}, {"Flag1", 16}, {"Flag2", 3}, {"BarFlag", 92},
                    {"barformat", 4}, {"BarType", "1"}, {"LabFormat", 7}});
    c.add("SECT", {{"SECT_No", 1}, {"ST_No", 1}, {"SECT_Name", "Deli"}, {"barformat", 255}, {"LabFormat", 255}});
    c.add("SCALE", {{"SC_IP", "192.168.  1. 20"}, {"SC_No", "Deli 1"}, {"SC_Used", 1}, {"SC_Dest", Value()},
                    {"SC_MODEL_ID", 2}, {"SC_PSK_Layout", 8}, {"ST_No", 1}, {"SECT_No", 1}});
    c.add("SEARCH", {{"SH_No", 1}, {"SH_Name", "Cheap"}, {"DP_No1", 0}, {"DP_No2", 97}, {"MG_No1", 0},
                     {"MG_No2", 997}, {"PLU_No1", 1}, {"PLU_No2", 999997}, {"PLU_UPrice1", 0},
                     {"PLU_UPrice2", 999999}, {"ST_No", 1}});
    c.add("KVR_3F", {{"Number", 2}, {"Data", "Fresh bread daily"}});
    c.add("KVR_38", {{"No", 1}, {"NameFirstLine", "Keep cool"}, {"KVRBinData", textRecord(1, "Keep cool")}});
    c.add("KVR_38", {{"No", 2}, {"NameFirstLine", ""}, {"KVRBinData", textRecord(2, "")}});
    c.add("KVR_DF", {{"CNumber", 3}, {"PLU_No", 123456}, {"KVRBinData", Bytes(10, 7)}});
}

std::string mirrorFile(const MirrorChain& c, const std::string& name) { return c.app.read("AccessData/" + name); }

}  // namespace

TEST(Mirror, EmptyTablesGiveEmptyFilesAndTheNextStartLeavesThemEmpty) {
    MirrorChain c;
    c.start();
    const std::string empty = c.dump();
    c.end();
    for (const auto& f : mirrorTextFiles()) {
        ASSERT_TRUE(c.app.exists(std::string("AccessData/") + f.file)) << f.file;
        EXPECT_EQ(fs::file_size(c.app.path(std::string("AccessData/") + f.file)), 0u) << f.file;
    }
    for (const auto& f : mirrorRecordFiles()) {
        ASSERT_TRUE(c.app.exists(std::string("AccessData/") + f.file)) << f.file;
        EXPECT_EQ(fs::file_size(c.app.path(std::string("AccessData/") + f.file)), 0u) << f.file;
    }
    EXPECT_FALSE(c.app.exists("Database/Brindale1.mdb"));
    c.start();
    EXPECT_EQ(c.dump(), empty);
    c.end();
}

TEST(Mirror, FileNamesAreTheMirrorsOwnIncludingTheMissingLetter) {
    EXPECT_EQ(mirrorTextFiles().size(), 21u);
    EXPECT_EQ(mirrorRecordFiles().size(), 15u);
    EXPECT_STREQ(mirrorRecordFiles()[4].file, "temppesetkeykvr.txt");
    EXPECT_STREQ(mirrorTextFiles()[0].file, "tempstore.txt");
    EXPECT_STREQ(mirrorTextFiles()[20].file, "tempcontainertablefile.txt");
    EXPECT_STREQ(mirrorRecordFiles()[3].file, "tempplukvr.txt");
}

TEST(Mirror, TextFilesUseThePrintForms) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.end();
    EXPECT_EQ(mirrorFile(c, "tempstore.txt"), " 1 \r\nMain street\r\n 16 \r\n 3 \r\n 92 \r\n 4 \r\n1\r\n 7 \r\n");
    EXPECT_EQ(mirrorFile(c, "tempscale.txt"),
              "192.168.  1. 20\r\nDeli 1\r\n 1 \r\nNull\r\n 2 \r\n 8 \r\n 1 \r\n 1 \r\n");
    EXPECT_EQ(mirrorFile(c, "tempscrollmsg.txt"), " 2 \r\nFresh bread daily\r\n 111 \r\n");
    EXPECT_EQ(mirrorFile(c, "temptextfile.txt"), " 1 \r\nKeep cool\r\n 111 \r\n 2 \r\n\r\n 111 \r\n");
    EXPECT_EQ(mirrorFile(c, "tempcontainertablefile.txt"), " 3 \r\n 123456 \r\n");
    EXPECT_EQ(mirrorFile(c, "tempcontainertablefilekvr.txt"), std::string(10, '\x07'));
    // Tables without a record file keep nothing but their text columns.
    EXPECT_EQ(mirrorFile(c, "temptextfilekvr.txt").size(), 17u + 8u);
}

TEST(Mirror, EveryMirroredColumnComesBackAndIsSelectedIsZero) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    {
        Recordset rs(c.db(), "KVR_DF");
        rs.setValue("Is_Selected", 1);
        rs.update();
    }
    c.end();
    c.start();
    EXPECT_EQ(c.dumpTable("STORE"),
              "[STORE]\nST_No=1;ST_Name=Main street;Flag1=16;Flag2=3;BarFlag=92;barformat=4;BarType=1;LabFormat=7;\n");
    Recordset scale(c.db(), "SCALE");
    // A null text column comes back as the word the mirror wrote for it.
    EXPECT_EQ(scale.textValue("SC_Dest"), "Null");
    EXPECT_EQ(scale.textValue("SC_IP"), "192.168.  1. 20");
    Recordset df(c.db(), "KVR_DF");
    EXPECT_EQ(df.intValue("Is_Selected"), 0);
    EXPECT_EQ(df.value("KVRBinData").bytes(), Bytes(10, 7));
    Recordset msg(c.db(), "KVR_3F");
    EXPECT_EQ(msg.textValue("Data"), "Fresh bread daily");
    EXPECT_TRUE(msg.value("KVRBinData").isNull());  // rebuilt when the message is saved again
    c.end();
}

TEST(Mirror, TextRecordWithNoContentGivesANullName) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.end();
    c.start();
    Recordset rs(c.db(), "KVR_38");
    ASSERT_EQ(rs.recordCount(), 2);
    EXPECT_EQ(rs.value("Name").bytes(), Bytes({'K', 'e', 'e', 'p', ' ', 'c', 'o', 'o', 'l'}));
    rs.moveNext();
    EXPECT_EQ(rs.value("KVRBinData").bytes().size(), 8u);
    EXPECT_TRUE(rs.value("Name").isNull());
    c.end();
}

TEST(Mirror, ReportFormatOfLength35GivesNullData) {
    MirrorChain c;
    c.start();
    Bytes empty(35, 0), full(40, 0);
    empty[5] = 35;
    full[5] = 40;
    for (int i = 32; i < 40; ++i) full[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    c.add("KVR_AA", {{"Code", 1}, {"KVRBinData", empty}});
    c.add("KVR_AA", {{"Code", 2}, {"KVRBinData", full}});
    c.end();
    c.start();
    Recordset rs(c.db(), "KVR_AA");
    EXPECT_TRUE(rs.value("Data").isNull());
    rs.moveNext();
    EXPECT_EQ(rs.value("Data").bytes(), Bytes({32, 33, 34, 35, 36, 37, 38, 39}));
    c.end();
}

TEST(Mirror, StoreNameOfDigitsOnlySurvives) {
    MirrorChain c;
    c.start();
    c.add("STORE", {{"ST_No", 3}, {"ST_Name", "4711"}});
    c.add("STORE", {{"ST_No", 4}, {"ST_Name", "North\r\nSide"}});
    c.end();
    c.start();
    Recordset rs(c.db(), "STORE");
    EXPECT_EQ(rs.textValue("ST_Name"), "4711");
    rs.moveNext();
    EXPECT_EQ(rs.textValue("ST_Name"), "NorthSide");  // the lines of a name are joined
    EXPECT_EQ(rs.intValue("Flag1"), 0);
    c.end();
}

TEST(Mirror, SecondNameLineOfDigitsShiftsTheColumnsAndStopsTheStart) {
    MirrorChain c;
    c.start();
    c.add("STORE", {{"ST_No", 1}, {"ST_Name", "North\r\n77"}, {"Flag1", 5}});
    c.end();
    const std::string before = c.app.snapshot();
    try {
        c.start();
        FAIL() << "the start went through";
    } catch (const FatalError& e) {
        // The name ended at "North", 77 went to Flag1 and every later column moved by one line,
        // until a value no longer fits its column.
        EXPECT_NE(e.where().find("tempstore.txt"), std::string::npos) << e.what();
        EXPECT_GT(e.line(), 2) << e.what();
    }
    c.state.reset();
    fs::remove(c.app.path("Database/Brindale1.mdb"));
    EXPECT_EQ(c.app.snapshot(), before);
}

TEST(Mirror, ShiftedNumberColumnNamesFileLineAndRowAndChangesNothing) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.end();
    // The scale's SC_Used line holds a text.
    std::string t = c.app.read("AccessData/tempscale.txt");
    t.replace(t.find(" 1 \r\nNull"), 3, "yes");
    c.app.write("AccessData/tempscale.txt", t);
    const std::string before = c.app.snapshot();
    try {
        c.start();
        FAIL() << "the start went through";
    } catch (const FatalError& e) {
        EXPECT_NE(e.where().find("tempscale.txt"), std::string::npos);
        EXPECT_EQ(e.line(), 3);
        EXPECT_NE(e.reason().find("SC_Used"), std::string::npos) << e.reason();
    }
    c.state.reset();
    fs::remove(c.app.path("Database/Brindale1.mdb"));
    EXPECT_EQ(c.app.snapshot(), before);
}

TEST(Mirror, RecordFileShorterThanItsRowsNamesTheRecord) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.end();
    std::string t = c.app.read("AccessData/temptextfilekvr.txt");
    c.app.write("AccessData/temptextfilekvr.txt", t.substr(0, 17));  // the second record is gone
    const std::string before = c.app.snapshot();
    try {
        c.start();
        FAIL() << "the start went through";
    } catch (const FatalError& e) {
        EXPECT_NE(e.where().find("temptextfilekvr.txt"), std::string::npos);
        EXPECT_NE(e.reason().find("record 2"), std::string::npos) << e.reason();
    }
    c.state.reset();
    fs::remove(c.app.path("Database/Brindale1.mdb"));
    EXPECT_EQ(c.app.snapshot(), before);
}

TEST(Mirror, FixedRecordFileShortfallGoesUnnoticedAndSurplusIsIgnored) {
    MirrorChain c;
    c.start();
    c.add("KVR_DF", {{"CNumber", 1}, {"KVRBinData", Bytes(10, 1)}});
    c.add("KVR_DF", {{"CNumber", 2}, {"KVRBinData", Bytes(10, 2)}});
    c.end();
    c.app.write("AccessData/tempcontainertablefilekvr.txt", std::string(10, '\x01'));
    c.start();
    Recordset rs(c.db(), "KVR_DF");
    EXPECT_EQ(rs.value("KVRBinData").bytes(), Bytes(10, 1));
    rs.moveNext();
    EXPECT_TRUE(rs.value("KVRBinData").isNull());
    c.end();
    c.app.write("AccessData/tempcontainertablefilekvr.txt", std::string(30, '\x05'));
    c.start();
    Recordset again(c.db(), "KVR_DF");
    EXPECT_EQ(again.recordCount(), 2);
    EXPECT_EQ(again.value("KVRBinData").bytes(), Bytes(10, 5));
    c.end();
}

TEST(Mirror, MissingFilesLeaveTheirTablesEmptyWithoutError) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.end();
    for (const auto& e : fs::directory_iterator(c.app.path("AccessData")))
        if (e.path().filename() != "tempstore.txt") fs::remove(e.path());
    c.start();
    EXPECT_EQ(Recordset(c.db(), "STORE").recordCount(), 1);
    EXPECT_EQ(Recordset(c.db(), "SCALE").recordCount(), 0);
    EXPECT_EQ(Recordset(c.db(), "KVR_38").recordCount(), 0);
    c.end();
}

TEST(Mirror, NoAccessDataFolderIsAnEmptyStartAndTheEndCreatesIt) {
    MirrorChain c;
    fs::remove_all(c.app.path("AccessData"));
    c.start();
    EXPECT_EQ(Recordset(c.db(), "STORE").recordCount(), 0);
    c.end();
    EXPECT_TRUE(c.app.exists("AccessData/tempstore.txt"));
}

TEST(Mirror, DepartmentRecordIsTheStrongerSource) {
    MirrorChain c;
    c.start();
    // The record says department 12 "Cheese"; the text file says 5 "Old".
    Bytes rec(23, 0);
    rec[3] = 0x12;
    rec[5] = 0x17;
    const char* name = "Cheese";
    for (int i = 0; name[i]; ++i) rec[static_cast<size_t>(6 + i)] = static_cast<uint8_t>(name[i]);
    c.add("KVR_20", {{"DP_No", 5}, {"DP_Name", "Old"}, {"ST_No", 1}, {"KVRBinData", rec}});
    c.end();
    c.start();
    Recordset rs(c.db(), "KVR_20");
    EXPECT_EQ(rs.intValue("DP_No"), 12);
    EXPECT_EQ(rs.textValue("DP_Name"), "Cheese");
    EXPECT_EQ(rs.intValue("ST_No"), 1);
    c.end();
}

TEST(Mirror, DeletingOnlyTheRecordFilesKeepsTheKeys) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    c.add("KVR_25", {{"PLU_No", 42}, {"ST_No", 1}, {"SECT_No", 2}, {"PLU_UPrice", 1234}});
    c.end();
    for (const auto& f : mirrorRecordFiles()) fs::remove(c.app.path(std::string("AccessData/") + f.file));
    c.start();
    Recordset plu(c.db(), "KVR_25");
    ASSERT_EQ(plu.recordCount(), 1);
    EXPECT_EQ(plu.intValue("PLU_No"), 42);
    EXPECT_EQ(plu.intValue("SECT_No"), 2);
    EXPECT_EQ(plu.intValue("PLU_UPrice"), 0);
    EXPECT_TRUE(plu.value("KVRBinData").isNull());
    Recordset text(c.db(), "KVR_38");
    EXPECT_EQ(text.intValue("No"), 1);
    EXPECT_TRUE(text.value("KVRBinData").isNull());
    EXPECT_TRUE(text.value("Name").isNull());
    c.end();
}

TEST(Mirror, InterruptedEndIsCompletedOrUndoneAtTheNextStart) {
    for (int variant = 0; variant < 3; ++variant) {
        MirrorChain c;
        c.start();
        c.add("STORE", {{"ST_No", 1}, {"ST_Name", "Old"}});
        c.end();
        const std::string oldStore = c.app.read("AccessData/tempstore.txt");
        fs::create_directories(c.app.path("AccessData.new"));
        c.app.write("AccessData.new/tempstore.txt", " 2 \r\nNew\r\n 0 \r\n 0 \r\n 0 \r\n 0 \r\n0\r\n 0 \r\n");
        if (variant == 1) fs::rename(c.app.path("AccessData"), c.app.path("AccessData.old"));
        if (variant == 2) {
            fs::rename(c.app.path("AccessData"), c.app.path("AccessData.old"));
            fs::remove_all(c.app.path("AccessData.new"));
        }
        c.start();
        Recordset rs(c.db(), "STORE");
        // 0: the new set never took the place of the old; 1: it had, but for its last rename;
        // 2: only the old set is left.
        EXPECT_EQ(rs.textValue("ST_Name"), variant == 1 ? "New" : "Old") << variant;
        EXPECT_FALSE(c.app.exists("AccessData.new")) << variant;
        EXPECT_FALSE(c.app.exists("AccessData.old")) << variant;
        c.end();
    }
}

// The end is killed at many points; each time the next start finds exactly the old or the new data.
TEST(Mirror, KilledAnywhereInTheEndLeavesTheWholeOldOrTheWholeNewMirror) {
    MirrorChain c;
    c.start();
    addSmallChain(c);
    for (int i = 0; i < 40; ++i)
        c.add("KVR_DF", {{"CNumber", i}, {"PLU_No", 1000 + i}, {"KVRBinData", Bytes(10, static_cast<uint8_t>(i))}});
    c.end();
    c.start();
    const std::string oldDump = c.dump();
    // The change that the killed end is writing.
    c.add("STORE", {{"ST_No", 2}, {"ST_Name", "Second"}});
    c.db().exec("UPDATE KVR_DF SET PLU_No = PLU_No + 1");
    const std::string newDump = c.dump();
    ASSERT_NE(oldDump, newDump);
    c.state->closeDatabase();
    c.state.reset();

    // Count the points of one end, in a child so that this process's mirror stays the old one.
    const std::string db = c.app.path("Database/Brindale1.mdb");
    const std::string keep = c.app.path("Database/new.keep");
    fs::copy_file(db, keep);
    long points = 0;
    {
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        pid_t pid = fork();
        if (pid == 0) {
            close(fds[0]);
            shell::ProgramState st;
            st.appDir = c.app.dir();
            st.settings = shell::readSettings(c.app.path("ini/SETTING1.cfg"));
            st.lang.loadAll(st.appDir, "Standard");
            st.prepareCodec();
            auto env = st.codecEnvironment();
            auto conn = Database::open(db);
            MirrorOptions o;
            o.env = &env;
            long n = 0;
            o.checkpoint = [&](long) { ++n; };
            std::string tmp = c.app.path("count");
            fs::create_directories(tmp + "/AccessData");
            exportTables(*conn, tmp + "/AccessData", o);
            exportRecords(*conn, tmp + "/AccessData", o);
            [[maybe_unused]] auto w = write(fds[1], &n, sizeof n);
            _exit(0);
        }
        close(fds[1]);
        ASSERT_EQ(read(fds[0], &points, sizeof points), static_cast<ssize_t>(sizeof points));
        close(fds[0]);
        int status = 0;
        waitpid(pid, &status, 0);
        fs::remove_all(c.app.path("count"));
    }
    ASSERT_GT(points, 60);

    int sawOld = 0, sawNew = 0;
    const int kills = 55;
    for (int k = 0; k < kills; ++k) {
        const long at = (points + 4) * k / (kills - 1);  // spread over the whole end, renames included
        fs::copy_file(keep, db, fs::copy_options::overwrite_existing);
        pid_t pid = fork();
        if (pid == 0) {
            shell::ProgramState st;
            st.appDir = c.app.dir();
            st.settings = shell::readSettings(c.app.path("ini/SETTING1.cfg"));
            st.lang.loadAll(st.appDir, "Standard");
            st.prepareCodec();
            auto env = st.codecEnvironment();
            auto conn = Database::open(db);
            MirrorOptions o;
            o.env = &env;
            o.checkpoint = [&](long p) {
                if (p == at) raise(SIGKILL);
            };
            writeMirror(*conn, st.appDir, o);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        c.start();
        const std::string now = c.dump();
        c.state->closeDatabase();
        c.state.reset();
        if (now == oldDump) ++sawOld;
        else if (now == newDump) ++sawNew;
        else ADD_FAILURE() << "kill at point " << at << " of " << points << " left a mixed mirror";
        if (now == newDump) {
            // Back to the old mirror for the next round, by undoing the change through a clean end.
            c.start();
            c.db().exec("DELETE FROM STORE WHERE ST_No = 2");
            c.db().exec("UPDATE KVR_DF SET PLU_No = PLU_No - 1");
            c.end();
        }
    }
    EXPECT_GT(sawOld, 0);
    EXPECT_GT(sawNew, 0);
    EXPECT_EQ(sawOld + sawNew, kills);
}

#include "chain_generator.h"
#include "codec/code_page.h"

namespace {

// Columns that the end computes from the others when it packs a PLU: its record, the status
// bytes and flags, and the twelve barcode digits. They are compared through what they are made of.
bool derivedByThePack(const std::string& column) {
    static const char* const prefixes[] = {"Stat1_Byte", "Stat2_Byte", "StatB_Byte", "Stat2B_Byte"};
    for (const char* p : prefixes)
        if (column.rfind(p, 0) == 0) return true;
    return column == "KVRBinData" || column == "PLU_EANData" || column == "Stat2_LBFormat1" ||
           column == "Stat2_BARFormat";
}

// What a PLU column holds after an end and a start, by the rules of its record field where the
// record does not carry the value as the editor left it: a nutrition text fills its whole field
// (zero bytes included), and the 33 bytes of the preset name are not the column's content.
// Only the texts of the country's nutrition block are in the record.
Value afterARun(const Recordset& rs, const std::string& column, const Value& v, const codec::CodePage& cp,
                int country) {
    std::vector<std::pair<const char*, size_t>> nutritionTexts;
    if (country == 30) nutritionTexts = {{"PLU_Nutr_SerSize_BZ", 20}};
    else nutritionTexts = {{"PLU_Nutr_SerSize", 20}, {"PLU_Nutr_SerCont", 10}};
    if (country == 26) {
        nutritionTexts.push_back({"PLU_Nutr_SerSizeNew_CU", 40});
        nutritionTexts.push_back({"PLU_Nutr_SerContNew_CU", 40});
    }
    if (column == "PLU_CPLUPreset" && rs.intValue("Stat2B_PreName") != 0) return Value(Bytes(33, 0));
    for (const auto& [name, width] : nutritionTexts)
        if (column == name && rs.intValue("Stat2_Nutrition") != 0 && !v.isNull()) {
            std::vector<uint8_t> field(width, 0);
            cp.encodeField(v.toText(), field.data(), width);
            return Value(cp.decode(field.data(), width));
        }
    return v;
}

// Every mirrored table, row by row; the PLU columns as `expectAfterARun` says.
std::string dumpChain(MirrorChain& c, bool expectAfterARun) {
    const codec::CodePage& cp = *c.state->codePage;
    std::string out;
    for (const auto& f : mirrorTextFiles()) {
        const bool plu = std::string(f.table) == "KVR_25";
        out += std::string("[") + f.table + "]\n";
        for (Recordset rs(c.db(), f.table); !rs.eof(); rs.moveNext()) {
            for (int i = 0; i < rs.fieldCount(); ++i) {
                const std::string& name = rs.field(i).name;
                if (plu && derivedByThePack(name)) continue;
                Value v = rs.value(i);
                if (plu && expectAfterARun) v = afterARun(rs, name, v, cp, c.state->settings.CountryIndex);
                out += name + "=";
                if (v.isNull()) out += "<null>";
                else if (v.isBytes()) {
                    static const char* hex = "0123456789ABCDEF";
                    for (uint8_t b : v.bytes()) {
                        out += hex[b >> 4];
                        out += hex[b & 15];
                    }
                } else out += v.toText();
                out += ";";
            }
            out += "\n";
        }
    }
    return out;
}

}  // namespace

// A generated chain: end, start, end, start, and every mirrored column of every table is as it
// was before the first end, PLUs through their records alone.
TEST(Mirror, GeneratedChainRoundTripsThroughStartEndStart) {
    MirrorChain c;
    c.start();
    datagen::ChainShape shape;
    shape.plus = 3000;
    shape.stores = 3;
    c.generate(shape, 2024);
    // The rows as the editors left them, before anything went through the mirror.
    const std::string first = dumpChain(c, true);
    ASSERT_TRUE(c.end().empty());
    c.start();
    EXPECT_EQ(Recordset(c.db(), "KVR_25").recordCount(), 3000);
    EXPECT_EQ(Recordset(c.db(), "select * from KVR_25 where Is_Selected <> 0").recordCount(), 0);
    // The PLU rows hold far more than the text file carries: names, prices, nutrition, barcodes.
    EXPECT_GT(Recordset(c.db(), "select * from KVR_25 where PLU_UPrice <> 0").recordCount(), 2900);
    EXPECT_GT(Recordset(c.db(), "select * from KVR_25 where PLU_Commodity is not null").recordCount(), 1000);
    EXPECT_GT(Recordset(c.db(), "select * from KVR_25 where Stat2_Nutrition <> 0").recordCount(), 500);
    const std::string records = c.app.read("AccessData/tempplukvr.txt");
    ASSERT_TRUE(c.end().empty());
    EXPECT_TRUE(c.app.read("AccessData/tempplukvr.txt") == records) << "the PLU records changed";
    c.start();
    const std::string second = dumpChain(c, false);
    c.end();
    if (second != first) {
        // Name the first rows and columns that differ rather than print two whole chains.
        std::istringstream a(first), b(second);
        std::string la, lb;
        int shown = 0;
        while (std::getline(a, la) && std::getline(b, lb) && shown < 5) {
            if (la == lb) continue;
            ++shown;
            std::istringstream fa(la), fb(lb);
            std::string ca, cb, diffs;
            while (std::getline(fa, ca, ';') && std::getline(fb, cb, ';'))
                if (ca != cb) diffs += "  " + ca.substr(0, 80) + "  ->  " + cb.substr(0, 80) + "\n";
            ADD_FAILURE() << "row differs after the second start: " << la.substr(0, 14) << "\n" << diffs;
        }
    }
    EXPECT_TRUE(second == first);
}

namespace {

// A start of the mirror alone into a newly built database, with the given parallel threshold;
// gives every PLU row, its row number first, in row order.
std::string startPlusWith(MirrorChain& c, long long parallelFillBytes, MirrorProgress progress = {}) {
    const std::string dbPath = c.app.path("parallel-test.db");
    std::error_code ec;
    fs::remove(dbPath, ec);
    if (rebuildDatabase(c.app.path(shell::kSchemaFile), dbPath, 0) != 0) throw std::runtime_error("no database");
    std::unique_ptr<Database> db = linkDatabase(dbPath);
    shell::ProgramState state;
    state.appDir = c.app.dir();
    state.prepareCodec();
    const codec::CodecEnvironment env = state.codecEnvironment();
    MirrorOptions o;
    o.env = &env;
    o.parallelFillBytes = parallelFillBytes;
    o.progress = std::move(progress);
    readMirror(*db, c.app.dir(), o);
    std::string out;
    for (Recordset rs(*db, "select rowid as RowNumber, * from KVR_25 order by rowid"); !rs.eof(); rs.moveNext()) {
        for (int i = 0; i < rs.fieldCount(); ++i) {
            const Value& v = rs.value(i);
            out += v.isNull() ? std::string("<null>") : v.isBytes() ? std::to_string(v.bytes().size()) + "b" : v.toText();
            out += ';';
        }
        out += '\n';
    }
    return out;
}

}  // namespace

// A large PLU record file is unpacked on two threads, the later half through a side file: the
// rows, their order and their numbers are those of a start on one thread, the progress counts
// every PLU once, and the side file is gone afterwards, also when one was left by a killed start.
TEST(Mirror, PlusUnpackedOnTwoThreadsAreTheRowsOfOneThreadInTheSameOrder) {
    MirrorChain c;
    c.start();
    datagen::ChainShape shape;
    shape.plus = 3001;  // odd, so the halves differ
    shape.stores = 3;
    c.generate(shape, 99);
    ASSERT_TRUE(c.end().empty());
    long oneDone = 0;
    const std::string one = startPlusWith(c, -1, [&](long done, long) { oneDone = done; });
    std::ofstream(c.app.path("parallel-test.db-fill")) << "left by a start that was killed";
    long lastDone = 0, backwards = 0;
    const std::string two = startPlusWith(c, 0, [&](long done, long) {
        if (done < lastDone) ++backwards;
        lastDone = done;
    });
    EXPECT_EQ(std::count(one.begin(), one.end(), '\n'), 3001);
    EXPECT_TRUE(one == two) << "the rows differ between one and two threads";
    EXPECT_EQ(backwards, 0);
    EXPECT_EQ(lastDone, oneDone);
    EXPECT_GT(oneDone, 3001);
    EXPECT_FALSE(fs::exists(c.app.path("parallel-test.db-fill")));
}

// A start that stops halfway (here its progress throws, as a fault of the first half would) stops
// the second thread too and leaves no side file; the same fault reaches the caller.
TEST(Mirror, StartStoppedWhileTwoThreadsUnpackStopsBothAndLeavesNoSideFile) {
    MirrorChain c;
    c.start();
    datagen::ChainShape shape;
    shape.plus = 2000;
    shape.stores = 2;
    c.generate(shape, 7);
    ASSERT_TRUE(c.end().empty());
    const auto began = std::chrono::steady_clock::now();
    long calls = 0;
    EXPECT_THROW(startPlusWith(c, 0,
                               [&](long done, long total) {
                                   if (total > 0 && done > total / 4 && ++calls == 1) throw std::runtime_error("stopped");
                               }),
                 std::runtime_error);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(30));
    EXPECT_FALSE(fs::exists(c.app.path("parallel-test.db-fill")));
}
