#include <algorithm>
// What the end writes for rows it cannot take as they stand: departments, main groups and flexi
// barcodes without a record, records of other tables that are missing, PLUs that cannot be
// packed. Never a record that renumbers or blanks a row at the next start, never a half end.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>

#include "codec/small_records.h"
#include "mirror_fixture.h"
#include "store/fatal_error.h"
#include "store/mirror.h"

using namespace brindale;
using namespace brindale::store;
using brindale::testing::MirrorChain;
namespace fs = std::filesystem;

namespace {

// The end as the program runs it, with the options a test needs; the database stays open.
MirrorReport endWith(MirrorChain& c, std::function<bool(const std::vector<PluPackProblem>&)> confirm = {}) {
    const codec::CodecEnvironment env = c.state->codecEnvironment();
    MirrorOptions o;
    o.env = &env;
    o.confirmKeptRecords = std::move(confirm);
    return writeMirror(c.db(), c.app.dir(), o);
}

// Drops the working database after an end through endWith.
void closeRun(MirrorChain& c) {
    c.state->closeDatabase();
    c.state.reset();
}

// A dump without the record column: what the operator sees of each row.
std::string columnsOnly(const std::string& dump) {
    std::string out;
    size_t pos = 0;
    while (pos < dump.size()) {
        size_t at = dump.find("KVRBinData=", pos);
        if (at == std::string::npos) {
            out.append(dump, pos, std::string::npos);
            break;
        }
        out.append(dump, pos, at - pos);
        pos = dump.find(';', at) + 1;
    }
    return out;
}

Bytes recordOf(codec::DeptRow r) {
    codec::CodePage cp("CP1252");
    EXPECT_TRUE(codec::encodeSmallRecord(r, cp).ok());
    return *r.KVRBinData;
}

void addStore(MirrorChain& c) {
    c.add("STORE", {{"ST_No", 1}, {"ST_Name", "Main street"}, {"barformat", 1}, {"LabFormat", 1}});
}

void expectNothingChanged(MirrorChain& c, const std::string& mirrorBefore, const std::string& dbBefore) {
    EXPECT_EQ(c.app.snapshot(), mirrorBefore) << "the mirror changed";
    EXPECT_FALSE(c.app.exists("AccessData.new"));
    EXPECT_TRUE(c.app.exists("Database/Brindale1.mdb"));
    EXPECT_EQ(c.dump(), dbBefore) << "the working database changed";
}

}  // namespace

TEST(MirrorEnd, SmallRowsWithoutARecordGetOneBuiltFromTheirOwnColumns) {
    MirrorChain c;
    c.start();
    addStore(c);
    c.add("KVR_20", {{"DP_No", 12}, {"DP_Name", "Cheese"}, {"ST_No", 1}, {"SECT_No", 1}});
    c.add("KVR_23", {{"MG_No", 7}, {"MG_Name", "Hard cheese"}, {"ST_No", 1}, {"SECT_No", 1}, {"DP_No", 12}});
    c.add("KVR_14", {{"FBar_No", 2}, {"FBar_Type", 1}, {"FBar_ItemDigitNo", 5}, {"FBar_CD", 5}, {"FBar_EANorITF", 1},
                     {"FBar_Data1", 4}, {"FBar_FBarDigitNo", 9}});
    const std::string before = columnsOnly(c.dump());
    c.end();
    codec::DeptRow d;
    d.DP_No = 12;
    d.DP_Name = "Cheese";
    const std::string dept = c.app.read("AccessData/tempdeptkvr.txt");
    EXPECT_EQ(Bytes(dept.begin(), dept.end()), recordOf(d));
    const std::string flexi = c.app.read("AccessData/tempflexibarcodekvr.txt");
    ASSERT_EQ(flexi.size(), 16u);
    EXPECT_EQ(static_cast<uint8_t>(flexi[11]), 0x85);  // check digit 5, kind 1
    c.start();
    EXPECT_EQ(columnsOnly(c.dump()), before);
    Recordset mg(c.db(), "KVR_23");
    EXPECT_EQ(mg.intValue("DP_No"), 12);
    EXPECT_EQ(mg.textValue("MG_Name"), "Hard cheese");
    c.end();
}

TEST(MirrorEnd, EmptyRecordsOfEarlierEndsAreReadAsNoRecord) {
    // Ends before this one wrote 23 zero bytes for a department without a record, which the start
    // decoded as department 0 without a name.
    MirrorChain c;
    c.start();
    c.add("KVR_20", {{"DP_No", 12}, {"DP_Name", "Cheese"}, {"ST_No", 1}, {"SECT_No", 1}});
    c.add("KVR_23", {{"MG_No", 7}, {"MG_Name", "Hard"}, {"ST_No", 1}, {"SECT_No", 1}, {"DP_No", 12}});
    c.end();
    c.app.write("AccessData/tempdeptkvr.txt", std::string(23, '\0'));
    c.app.write("AccessData/tempmgkvr.txt", std::string(25, '\0'));
    c.start();
    Recordset dp(c.db(), "KVR_20");
    EXPECT_EQ(dp.intValue("DP_No"), 12);
    EXPECT_EQ(dp.textValue("DP_Name"), "Cheese");
    EXPECT_TRUE(dp.value("KVRBinData").isNull());
    Recordset mg(c.db(), "KVR_23");
    EXPECT_EQ(mg.intValue("MG_No"), 7);
    EXPECT_EQ(mg.intValue("DP_No"), 12);
    c.end();
    c.start();
    EXPECT_EQ(Recordset(c.db(), "KVR_20").intValue("DP_No"), 12);
    EXPECT_EQ(Recordset(c.db(), "KVR_23").textValue("MG_Name"), "Hard");
    c.end();
}

TEST(MirrorEnd, RowsOfOtherTablesWithoutARecordComeBackWithoutOne) {
    MirrorChain c;
    c.start();
    c.add("KVR_41", {{"Scale_IP", "192.168.  1. 20"}, {"PSK_Layout", 1}, {"Number", 3}, {"Name", "Key"}});
    c.add("KVR_38", {{"No", 4}, {"NameFirstLine", "Keep cool"}});
    c.add("KVR_DF", {{"CNumber", 5}, {"PLU_No", 77}});
    c.add("KVR_AB", {{"Code", 6}});
    const std::string before = c.dump();
    ASSERT_TRUE(c.end().empty());
    c.start();
    EXPECT_EQ(c.dump(), before);  // no zero record, no blanked name
    EXPECT_TRUE(Recordset(c.db(), "KVR_41").value("KVRBinData").isNull());
    EXPECT_TRUE(Recordset(c.db(), "KVR_38").value("KVRBinData").isNull());
    c.end();
}

TEST(MirrorEnd, DamagedRecordOfAnotherTableIsDroppedWithAWarning) {
    MirrorChain c;
    c.start();
    c.add("KVR_DF", {{"CNumber", 5}, {"PLU_No", 77}, {"KVRBinData", Bytes(7, 1)}});
    const auto warnings = c.end();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("KVR_DF row 1"), std::string::npos) << warnings[0];
    c.start();
    Recordset rs(c.db(), "KVR_DF");
    EXPECT_EQ(rs.intValue("CNumber"), 5);
    EXPECT_TRUE(rs.value("KVRBinData").isNull());
    c.end();
}

TEST(MirrorEnd, SmallRowThatCannotBeEncodedStopsTheEndAndChangesNothing) {
    struct Case {
        const char* table;
        std::function<void(MirrorChain&)> add;
        const char* row;
        const char* column;
    };
    const Case cases[] = {
        // Two digits hold a main group's department: 123 would come back as 12.
        {"KVR_23",
         [](MirrorChain& c) {
             c.add("KVR_23", {{"MG_No", 7}, {"MG_Name", "Hard"}, {"ST_No", 1}, {"SECT_No", 1}, {"DP_No", 123}});
         },
         "row 2 (MG_No 7)", "DP_No"},
        {"KVR_20",
         [](MirrorChain& c) { c.add("KVR_20", {{"DP_No", 123456789}, {"DP_Name", "Big"}, {"ST_No", 1}}); },
         "row 2 (DP_No 123456789)", "DP_No"},
        {"KVR_20", [](MirrorChain& c) { c.add("KVR_20", {{"DP_No", 8}, {"DP_Name", Value()}, {"ST_No", 1}}); },
         "row 2 (DP_No 8)", "DP_Name"},
        {"KVR_14",
         [](MirrorChain& c) { c.add("KVR_14", {{"FBar_No", 3}, {"FBar_CD", 133}, {"FBar_EANorITF", 1}}); },
         "row 2 (FBar_No 3)", "FBar_CD"},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(k.column);
        MirrorChain c;
        c.start();
        addStore(c);
        // A good row first, so that the table's file is not empty in the old mirror.
        if (std::string(k.table) == "KVR_14") c.add("KVR_14", {{"FBar_No", 1}});
        else if (std::string(k.table) == "KVR_23")
            c.add("KVR_23", {{"MG_No", 1}, {"MG_Name", "One"}, {"ST_No", 1}, {"DP_No", 1}});
        else c.add("KVR_20", {{"DP_No", 1}, {"DP_Name", "One"}, {"ST_No", 1}});
        c.end();
        c.start();
        k.add(c);
        const std::string mirrorBefore = c.app.snapshot();
        const std::string dbBefore = c.dump();
        try {
            endWith(c);
            ADD_FAILURE() << "the end went through";
        } catch (const MirrorError& e) {
            EXPECT_EQ(e.table(), k.table);
            EXPECT_EQ(e.row(), k.row);
            EXPECT_EQ(e.column(), k.column);
            const std::string what = e.what();
            EXPECT_NE(what.find(k.table), std::string::npos) << what;
            EXPECT_NE(what.find(k.row), std::string::npos) << what;
            EXPECT_NE(what.find(k.column), std::string::npos) << what;
        }
        expectNothingChanged(c, mirrorBefore, dbBefore);
        closeRun(c);
    }
}

TEST(MirrorEnd, TheProgramsEndKeepsTheRunGoingWhenARowCannotBeWritten) {
    MirrorChain c;
    c.start();
    c.add("KVR_23", {{"MG_No", 7}, {"MG_Name", "Hard"}, {"ST_No", 1}, {"DP_No", 123}});
    EXPECT_THROW(c.end(), MirrorError);
    // endProgram left the database open: the operator mends the row and ends again.
    ASSERT_TRUE(c.state && c.state->Conn);
    c.db().exec("UPDATE KVR_23 SET DP_No = 12");
    c.end();
    c.start();
    EXPECT_EQ(Recordset(c.db(), "KVR_23").intValue("DP_No"), 12);
    c.end();
}

// ---------- PLUs that cannot be packed ----------

namespace {

// One PLU with a good record in the mirror, then changed so that it cannot be packed: a main
// group beyond the four digits of its field.
void pluWithLastGoodRecord(MirrorChain& c) {
    c.start();
    addStore(c);
    c.add("KVR_25", {{"PLU_No", 42}, {"ST_No", 1}, {"SECT_No", 1}, {"PLU_UPrice", 1234}});
    c.add("KVR_25", {{"PLU_No", 43}, {"ST_No", 1}, {"SECT_No", 1}, {"PLU_UPrice", 99}});
    ASSERT_TRUE(c.end().empty());
    c.start();
    c.db().exec("UPDATE KVR_25 SET PLU_MG = 10000, Stat2_MGCode = 1, PLU_UPrice = 555 WHERE PLU_No = 42");
}

}  // namespace

TEST(MirrorEnd, PluThatCannotBePackedKeepsItsLastGoodRecordWhenTheEndGoesOn) {
    MirrorChain c;
    pluWithLastGoodRecord(c);
    const std::string records = c.app.read("AccessData/tempplukvr.txt");
    int asked = 0;
    MirrorReport report = endWith(c, [&](const std::vector<PluPackProblem>& problems) {
        ++asked;
        EXPECT_EQ(problems.size(), 1u);
        return true;
    });
    closeRun(c);
    EXPECT_EQ(asked, 1);
    ASSERT_EQ(report.problems.size(), 1u);
    const PluPackProblem& p = report.problems[0];
    EXPECT_EQ(p.PLU_No, 42);
    EXPECT_EQ(p.ST_No, 1);
    EXPECT_EQ(p.column, "PLU_MG");
    EXPECT_EQ(p.error.fault, codec::Fault::Overflow);
    EXPECT_NE(p.reason.find("10000"), std::string::npos) << p.reason;
    EXPECT_TRUE(p.hasLastGoodRecord);
    EXPECT_TRUE(c.app.read("AccessData/tempplukvr.txt") == records) << "the last good record was not kept byte for byte";
    c.start();
    Recordset rs(c.db(), "select * from KVR_25 where PLU_No = 42");
    EXPECT_EQ(rs.intValue("PLU_UPrice"), 1234);
    c.end();
}

TEST(MirrorEnd, WithoutTheQuestionTheEndGoesOnAndNamesThePlu) {
    MirrorChain c;
    pluWithLastGoodRecord(c);
    const auto warnings = c.end();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("PLU 42 of store 1"), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find("PLU_MG"), std::string::npos) << warnings[0];
}

TEST(MirrorEnd, CancelledEndLeavesTheOldMirrorAndTheDatabase) {
    MirrorChain c;
    pluWithLastGoodRecord(c);
    const std::string mirrorBefore = c.app.snapshot();
    const std::string dbBefore = c.dump();
    try {
        endWith(c, [](const std::vector<PluPackProblem>&) { return false; });
        ADD_FAILURE() << "the end went through";
    } catch (const MirrorCancelled& e) {
        ASSERT_EQ(e.problems().size(), 1u);
        EXPECT_EQ(e.problems()[0].PLU_No, 42);
    }
    expectNothingChanged(c, mirrorBefore, dbBefore);
    closeRun(c);
}

TEST(MirrorEnd, PluWithoutAnyGoodRecordStopsTheEndWhateverTheAnswer) {
    MirrorChain c;
    c.start();
    addStore(c);
    c.add("KVR_25", {{"PLU_No", 43}, {"ST_No", 1}, {"SECT_No", 1}, {"PLU_UPrice", 99}});
    c.end();
    c.start();
    c.add("KVR_25", {{"PLU_No", 44}, {"ST_No", 1}, {"SECT_No", 1}, {"PLU_MG", 10000}, {"Stat2_MGCode", 1}});
    const std::string mirrorBefore = c.app.snapshot();
    const std::string dbBefore = c.dump();
    int asked = 0;
    try {
        endWith(c, [&](const std::vector<PluPackProblem>&) {
            ++asked;
            return true;
        });
        ADD_FAILURE() << "the end went through";
    } catch (const MirrorError& e) {
        EXPECT_EQ(e.table(), "KVR_25");
        EXPECT_EQ(e.row(), "PLU 44 of store 1");
        EXPECT_EQ(e.column(), "PLU_MG");
        EXPECT_NE(std::string(e.what()).find("10000"), std::string::npos) << e.what();
        ASSERT_EQ(e.problems().size(), 1u);
        EXPECT_FALSE(e.problems()[0].hasLastGoodRecord);
    }
    EXPECT_EQ(asked, 0);
    expectNothingChanged(c, mirrorBefore, dbBefore);
    closeRun(c);
}

// ---------- a mirror cut at a record boundary ----------

#include "chain_generator.h"

namespace {

// Each row's columns as the operator sees them: without its record, and for PLUs without what
// the pack computes from the rest (status bytes and flags, the barcode digits).
// With `pluKeysOnly` a PLU shows only its number, store and section: a PLU whose record is gone
// starts with the new-row defaults, and its first pack and unpack set the columns of absent
// fields to the decoder's values (PLU_MG 997, PLU_EANFlags 255).
std::string rowsAsSeen(MirrorChain& c, bool pluKeysOnly = false) {
    std::string out;
    for (const auto& f : mirrorTextFiles()) {
        const bool plu = std::string(f.table) == "KVR_25";
        out += std::string("[") + f.table + "]\n";
        for (Recordset rs(c.db(), f.table); !rs.eof(); rs.moveNext()) {
            for (int i = 0; i < rs.fieldCount(); ++i) {
                const std::string& name = rs.field(i).name;
                if (name == "KVRBinData") continue;
                if (plu && pluKeysOnly && name != "PLU_No" && name != "ST_No" && name != "SECT_No") continue;
                if (plu && (name.find("_Byte") != std::string::npos || name == "PLU_EANData" ||
                            name == "Stat2_LBFormat1" || name == "Stat2_BARFormat"))
                    continue;
                const Value& v = rs.value(i);
                out += name + "=" + (v.isNull() ? std::string("<null>") : v.isBytes() ? std::to_string(v.bytes().size()) + " bytes" : v.toText()) + ";";
            }
            out += "\n";
        }
    }
    return out;
}

// "" when equal, else the first line that differs in each, cut to its first differing column.
std::string firstDifference(const std::string& a, const std::string& b) {
    if (a == b) return "";
    size_t i = 0;
    while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
    const size_t line = a.rfind('\n', i == 0 ? 0 : i - 1);
    const size_t from = line == std::string::npos ? 0 : line + 1;
    const size_t col = a.rfind(';', i == 0 ? 0 : i - 1);
    const size_t at = col == std::string::npos || col < from ? from : col + 1;
    return "row " + a.substr(from, 40) + "...: " + a.substr(at, 80) + " -> " + b.substr(at, 80);
}

Bytes sized(size_t n, uint8_t fill, bool lengthInRecord) {
    Bytes r(n, fill);
    if (lengthInRecord) {
        r[4] = static_cast<uint8_t>(n >> 8);
        r[5] = static_cast<uint8_t>(n & 0xFF);
    }
    return r;
}

// Three rows with records in every table that has a record file beside those of the generator.
void addRecordRows(MirrorChain& c) {
    for (int i = 1; i <= 3; ++i) {
        const auto b = static_cast<uint8_t>(i);
        c.add("KVR_41", {{"Scale_IP", "192.168.  1. 20"}, {"PSK_Layout", 1}, {"Number", i}, {"Name", "Key " + std::to_string(i)},
                         {"KVRBinData", sized(45, b, false)}});
        c.add("KVR_34", {{"PF_No", i}, {"KVRBinData", sized(40 + static_cast<size_t>(i), b, true)}});
        for (const char* t : {"KVR_38", "KVR_39", "KVR_3A", "KVR_3B", "KVR_3C", "KVR_3D"})
            c.add(t, {{"No", i}, {"NameFirstLine", "Text " + std::to_string(i)}, {"KVRBinData", sized(12 + static_cast<size_t>(i), b, true)}});
        c.add("KVR_AA", {{"Code", i}, {"Type", 1}, {"KVRBinData", sized(36 + static_cast<size_t>(i), b, true)}});
        c.add("KVR_AB", {{"Code", i}, {"KVRBinData", sized(68, b, false)}});
        c.add("KVR_DF", {{"CNumber", i}, {"PLU_No", 100 + i}, {"KVRBinData", sized(10, b, false)}});
    }
}

// Byte offsets of the record boundaries of a record file.
std::vector<size_t> boundaries(const MirrorRecordFile& f, const std::string& data) {
    std::vector<size_t> at{0};
    size_t pos = 0;
    while (pos < data.size()) {
        const size_t len = f.fixedLength > 0 ? static_cast<size_t>(f.fixedLength)
                                             : (static_cast<uint8_t>(data[pos + 4]) << 8 | static_cast<uint8_t>(data[pos + 5]));
        pos += len;
        at.push_back(pos);
    }
    return at;
}

}  // namespace

// Every record file cut before its first, a middle and its last record. A file of fixed records
// that is short is let pass: start, end, start, and no row has changed its number, its name or
// anything else the operator sees. A file whose records carry their length stops the start,
// naming the file and the record, unless it is empty.
TEST(MirrorEnd, MirrorCutAtARecordBoundaryChangesNoRowThroughStartEndStart) {
    MirrorChain c;
    c.start();
    datagen::ChainShape shape;
    shape.plus = 40;
    shape.stores = 2;
    shape.departmentsPerStore = 2;
    shape.mainGroupsPerDepartment = 2;
    c.generate(shape, 77);
    addRecordRows(c);
    ASSERT_TRUE(c.end().empty());
    std::map<std::string, std::string> whole;
    for (const auto& e : fs::directory_iterator(c.app.path("AccessData")))
        whole[e.path().filename().string()] = c.app.read("AccessData/" + e.path().filename().string());

    int passed = 0, stopped = 0;
    for (const auto& f : mirrorRecordFiles()) {
        const std::string& data = whole.at(f.file);
        const std::vector<size_t> at = boundaries(f, data);
        const size_t records = at.size() - 1;
        ASSERT_GE(records, 3u) << f.file;
        for (size_t keep : {size_t{0}, records / 2, records - 1}) {
            SCOPED_TRACE(std::string(f.file) + " cut after " + std::to_string(keep) + " records");
            for (const auto& [name, content] : whole) c.app.write("AccessData/" + name, content);
            c.app.write(std::string("AccessData/") + f.file, data.substr(0, at[keep]));
            if (f.fixedLength == 0 && keep > 0) {
                const std::string before = c.app.snapshot();
                try {
                    c.start();
                    ADD_FAILURE() << "the start went through";
                } catch (const FatalError& e) {
                    EXPECT_NE(e.where().find(f.file), std::string::npos) << e.what();
                    EXPECT_NE(e.reason().find("record " + std::to_string(keep + 1)), std::string::npos) << e.what();
                }
                c.state.reset();
                fs::remove(c.app.path("Database/Brindale1.mdb"));
                EXPECT_EQ(c.app.snapshot(), before);
                ++stopped;
                continue;
            }
            const bool noPluRecords = f.extra == RecordExtra::Plu && keep == 0;
            c.start();
            const std::string seen = rowsAsSeen(c, noPluRecords);
            ASSERT_TRUE(c.end().empty());
            c.start();
            EXPECT_EQ(firstDifference(seen, rowsAsSeen(c, noPluRecords)), "");
            c.end();
            ++passed;
        }
    }
    EXPECT_EQ(passed + stopped, 45);
    EXPECT_GT(stopped, 0);
}

// A seeded chain of 10,000 PLUs, every built-in barcode format of both lists and the flexi
// formats among them, through five starts and ends: every record file stays byte for byte as the
// first end wrote it. Through the library calls, bounded in time.
TEST(MirrorEnd, TenThousandPluChainKeepsEveryRecordThroughFiveCycles) {
    const auto began = std::chrono::steady_clock::now();
    MirrorChain c;
    c.start();
    datagen::ChainShape shape;
    shape.plus = 10000;
    shape.stores = 3;
    c.generate(shape, 4711);
    // Every format of both lists and the flexi formats are in use.
    for (int kind = 0; kind <= 1; ++kind)
        for (int format = 0; format <= 35; ++format) {
            const std::string sql = "select * from KVR_25 where Stat2_ItemCode <> 0 and PLU_BarFormat = " +
                                    std::to_string(format) + (kind ? " and PLU_EANLastByte < 10" : " and PLU_EANLastByte >= 10");
            EXPECT_GT(Recordset(c.db(), sql).recordCount(), 0) << "format " << format << " kind " << kind;
        }
    ASSERT_TRUE(c.end().empty());
    std::map<std::string, std::string> first;
    for (const auto& f : mirrorRecordFiles()) first[f.file] = c.app.read(std::string("AccessData/") + f.file);
    ASSERT_GT(first["tempplukvr.txt"].size(), 10000u * 20);
    for (int cycle = 2; cycle <= 6; ++cycle) {
        c.start();
        ASSERT_EQ(Recordset(c.db(), "KVR_25").recordCount(), 10000);
        ASSERT_TRUE(c.end().empty()) << "cycle " << cycle;
        for (const auto& f : mirrorRecordFiles())
            EXPECT_TRUE(c.app.read(std::string("AccessData/") + f.file) == first[f.file]) << f.file << " after end " << cycle;
        ASSERT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(50)) << "stopped after end " << cycle;
    }
}

// The bytes the end writes for a seeded chain, as a fingerprint of every file of the mirror:
// made with the end as it stood before it was made faster, so that a faster end that writes
// anything differently fails here.
TEST(MirrorEnd, SeededChainEndsInTheSameBytesAsBefore) {
    MirrorChain c;
    c.locale = "C.UTF-8";  // the western page, whatever the machine's language
    c.start();
    datagen::ChainShape shape;
    shape.plus = 10000;
    shape.stores = 4;
    c.generate(shape, 42);
    ASSERT_TRUE(c.end().empty());
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(c.app.path("AccessData")))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    uint64_t h = 1469598103934665603ull;  // FNV-1a over each name and its bytes
    auto mix = [&h](const std::string& s) {
        for (unsigned char ch : s) h = (h ^ ch) * 1099511628211ull;
    };
    for (const auto& n : names) {
        mix(n);
        mix(c.app.read("AccessData/" + n));
    }
    EXPECT_EQ(names.size(), 37u);
    EXPECT_EQ(h, 0xe4ac6154e2e67855ull) << std::hex << h;
}

// A new set of files alone, with neither the old set nor the old one moved aside, was never put in
// place and may be unfinished: the next start removes it instead of reading it.
TEST(MirrorEnd, ANewSetAloneIsNotTakenAtTheNextStart) {
    MirrorChain c;
    c.start();
    c.add("STORE", {{"ST_No", 1}, {"ST_Name", "Main street"}});
    c.end();
    std::filesystem::rename(c.app.path("AccessData"), c.app.path("AccessData.new"));
    c.start();
    EXPECT_EQ(Recordset(c.db(), "STORE").recordCount(), 0);
    EXPECT_FALSE(std::filesystem::exists(c.app.path("AccessData.new")));
    c.end();
    // With the old set moved aside, the new one is complete and is taken.
    c.start();
    c.add("STORE", {{"ST_No", 2}, {"ST_Name", "Harbour"}});
    c.end();
    std::filesystem::rename(c.app.path("AccessData"), c.app.path("AccessData.new"));
    std::filesystem::create_directories(c.app.path("AccessData.old"));
    c.start();
    EXPECT_EQ(Recordset(c.db(), "STORE").recordCount(), 1);
    EXPECT_FALSE(std::filesystem::exists(c.app.path("AccessData.old")));
    c.end();
}

#include "chain_settings.h"
#include "shell/settings.h"

TEST(ChainSettings, SeveralStoresSwitchToMultiStoreAndKeepTheRest) {
    brindale::testing::TempApp app;
    const std::string before = app.read("ini/SETTING1.cfg");
    datagen::writeChainSettings(app.dir(), 1);
    EXPECT_EQ(app.read("ini/SETTING1.cfg"), before);  // one store: single store mode shows it all

    const shell::Settings old = shell::readSettings(app.path("ini/SETTING1.cfg"));
    ASSERT_EQ(old.StoreMode, 0);
    datagen::writeChainSettings(app.dir(), 3);
    const shell::Settings now = shell::readSettings(app.path("ini/SETTING1.cfg"));
    EXPECT_EQ(now.StoreMode, 1);
    EXPECT_EQ(now.StoreNameSetting, old.StoreNameLine);
    // Every other line as it was: only the store mode line differs.
    const std::string after = app.read("ini/SETTING1.cfg");
    std::string expected = before;
    const size_t modeLine = expected.rfind(" 0 \r\n", expected.rfind("\r\n", expected.size() - 3));
    ASSERT_NE(modeLine, std::string::npos);
    expected.replace(modeLine, 5, " 1 \r\n");
    EXPECT_EQ(after, expected);
    EXPECT_FALSE(app.exists("ini/SETTING1.cfg.new"));
}
