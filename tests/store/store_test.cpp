#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "store/fatal_error.h"
#include "store/rebuild.h"
#include "store/recordset.h"
#include "store/schema.h"
#include "support/temp_app.h"

using namespace brindale;
using namespace brindale::store;
using brindale::testing::TempApp;
namespace fs = std::filesystem;

namespace {

const char* kSmallSchema =
    "[STORE]\n"
    "ST_No,4,4\n"
    "ST_Name,10,20\n"
    "\n"
    "[SCALE]\n"
    "SC_IP,10,15\n"
    "SC_Dest,10,40\n"
    "SC_Used,4,4\n"
    "\n"
    "[KVR_20]\n"
    "DP_No,4,4\n"
    "DP_Name,10,20\n"
    "KVRBinData,11,0\n"
    "Is_Selected,4,4\n"
    "\n"
    "[END]\n";

struct Db {
    TempApp app{false};
    std::string dbPath;
    std::unique_ptr<Database> db;
    explicit Db(const std::string& schema) {
        app.write("Database/ABC1.txt", schema);
        dbPath = app.path("Database/Brindale1.mdb");
        EXPECT_EQ(rebuildDatabase(app.path("Database/ABC1.txt"), dbPath, 0), 0);
        db = linkDatabase(dbPath);
    }
};

}  // namespace

TEST(SchemaText, ParsesTablesColumnsTypesAndSizes) {
    Schema s = parseSchemaText(kSmallSchema, "ABC1.txt");
    ASSERT_EQ(s.tables.size(), 3u);
    EXPECT_EQ(s.tables[0].name, "STORE");
    ASSERT_EQ(s.tables[0].columns.size(), 2u);
    EXPECT_EQ(s.tables[0].columns[1].name, "ST_Name");
    EXPECT_EQ(s.tables[0].columns[1].type, TypeText);
    EXPECT_EQ(s.tables[0].columns[1].size, 20);
    EXPECT_EQ(s.find("kvr_20")->columnIndex("is_selected"), 3);
}

TEST(SchemaText, BlankTextAroundALineDoesNotCount) {
    Schema s = parseSchemaText("   [STORE]  \n  ST_No , 4 , 4 \n\t\n[END]   \n", "x");
    ASSERT_EQ(s.tables.size(), 1u);
    EXPECT_EQ(s.tables[0].name, "STORE");
    EXPECT_EQ(s.tables[0].columns[0].name, "ST_No");
    EXPECT_EQ(s.tables[0].columns[0].type, 4);
}

TEST(SchemaText, TableDirectlyAboveEndIsLost) {
    Schema s = parseSchemaText("[A]\nx,4,4\n\n[B]\ny,4,4\n[END]\n", "x");
    ASSERT_EQ(s.tables.size(), 1u);
    EXPECT_EQ(s.tables[0].name, "A");
}

TEST(SchemaText, LineWithoutTwoCommasNamesFileAndLine) {
    try {
        parseSchemaText("[A]\nx,4,4\ny,4\n\n[END]\n", "Database/ABC1.txt");
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.where(), "Database/ABC1.txt");
        EXPECT_EQ(e.line(), 3);
    }
    EXPECT_THROW(parseSchemaText("[A]\nx,four,4\n\n[END]\n", "f"), FatalError);
}

TEST(Rebuild, EndAtOnceMakesAnEmptyDatabase) {
    Db d("[END]\n");
    ASSERT_TRUE(d.db);
    EXPECT_TRUE(d.db->tableNames().empty());
    EXPECT_FALSE(fs::exists(temporaryDatabasePath(d.dbPath)));
}

// The working database is made with large pages: rewriting wide PLU rows (marking a whole list)
// costs a third less than with SQLite's usual 4 KB.
TEST(Rebuild, TheWorkingDatabaseHasLargePages) {
    Db d("[END]\n");
    ASSERT_TRUE(d.db);
    auto st = d.db->prepare("PRAGMA page_size");
    ASSERT_TRUE(st->step());
    EXPECT_EQ(st->columnInt(0), 65536);
}

TEST(Rebuild, MissingSchemaReturnsOneAndMakesNothing) {
    TempApp app(false);
    fs::create_directories(app.path("Database"));
    EXPECT_EQ(rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0), 1);
    EXPECT_FALSE(app.exists("Database/Brindale1.mdb"));
    EXPECT_EQ(linkDatabase(app.path("Database/Brindale1.mdb")), nullptr);
}

TEST(Rebuild, TemporaryNameReplacesTheLastFourCharacters) {
    EXPECT_EQ(temporaryDatabasePath("/a/Database/Brindale1.mdb"), "/a/Database/Brindale1_.mdb");
}

TEST(Rebuild, OldDatabaseLeftByACrashIsDeletedAndRebuilt) {
    Db d(kSmallSchema);
    {
        Recordset rs(*d.db, "STORE");
        rs.addNew();
        rs.setValue("ST_No", 7);
        rs.update();
    }
    d.db.reset();  // the crash: the file stays
    ASSERT_TRUE(fs::exists(d.dbPath));
    ASSERT_EQ(rebuildDatabase(d.app.path("Database/ABC1.txt"), d.dbPath, 0), 0);
    auto db = linkDatabase(d.dbPath);
    Recordset rs(*db, "STORE");
    EXPECT_EQ(rs.recordCount(), 0);
}

TEST(Rebuild, LeftOverTemporaryAloneIsRemoved) {
    TempApp app(false);
    app.write("Database/ABC1.txt", kSmallSchema);
    app.write("Database/Brindale1_.mdb", "junk");
    ASSERT_EQ(rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0), 0);
    EXPECT_FALSE(app.exists("Database/Brindale1_.mdb"));
    EXPECT_TRUE(app.exists("Database/Brindale1.mdb"));
}

TEST(Rebuild, DatabaseAndTemporaryTogetherFailWithoutTouchingEither) {
    TempApp app(false);
    app.write("Database/ABC1.txt", kSmallSchema);
    app.write("Database/Brindale1.mdb", "old database");
    app.write("Database/Brindale1_.mdb", "old temporary");
    std::string before = app.snapshot();
    try {
        rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0);
        FAIL() << "no error";
    } catch (const FatalError& e) {
        EXPECT_NE(std::string(e.what()).find("Brindale1_.mdb"), std::string::npos);
    }
    EXPECT_EQ(app.snapshot(), before);
}

TEST(Rebuild, DamagedSchemaFailsBeforeTheOldDatabaseIsDeleted) {
    TempApp app(false);
    app.write("Database/ABC1.txt", "[A]\nbroken line\n\n[END]\n");
    app.write("Database/Brindale1.mdb", "old database");
    std::string before = app.snapshot();
    EXPECT_THROW(rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0), FatalError);
    EXPECT_EQ(app.snapshot(), before);
}

TEST(Rebuild, ColumnMetadataComesBackFromTheFile) {
    Db d(kSmallSchema);
    const TableDef* t = d.db->table("kvr_20");
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->name, "KVR_20");
    ASSERT_EQ(t->columns.size(), 4u);
    EXPECT_EQ(t->columns[1].name, "DP_Name");
    EXPECT_EQ(t->columns[1].type, TypeText);
    EXPECT_EQ(t->columns[1].size, 20);
    EXPECT_EQ(t->columns[2].type, TypeLongBinary);
    EXPECT_EQ(t->columns[3].type, TypeLong);
}

TEST(Recordset, NewRowReadsZeroEmptyTextAndNullBytes) {
    Db d(kSmallSchema);
    Recordset rs(*d.db, "KVR_20");
    rs.addNew();
    rs.update();
    Recordset again(*d.db, "select * from KVR_20");
    ASSERT_EQ(again.recordCount(), 1);
    EXPECT_TRUE(again.value("DP_No").isInt());
    EXPECT_EQ(again.value("DP_No").toInt(), 0);
    EXPECT_TRUE(again.value("DP_Name").isText());
    EXPECT_EQ(again.value("DP_Name").toText(), "");
    EXPECT_TRUE(again.value("KVRBinData").isNull());
    EXPECT_TRUE(again.value("is_selected").isInt());
}

TEST(Recordset, NullTextColumnStaysNull) {
    Db d(kSmallSchema);
    Recordset rs(*d.db, "SCALE");
    rs.addNew();
    rs.setValue("SC_IP", "192.168.  1. 20");
    rs.setValue("SC_Dest", Value());
    rs.update();
    Recordset again(*d.db, "SCALE");
    EXPECT_TRUE(again.value("SC_Dest").isNull());
    EXPECT_EQ(again.textValue("SC_IP"), "192.168.  1. 20");
}

TEST(Recordset, WalksInTableOrderAndWritesThroughAtOnce) {
    Db d(kSmallSchema);
    {
        Recordset rs(*d.db, "KVR_20");
        for (int n : {5, 2, 9}) {
            rs.addNew();
            rs.setValue("DP_No", n);
            rs.setValue("DP_Name", "Dept " + std::to_string(n));
            rs.setValue("KVRBinData", Bytes{0x01, 0x02, static_cast<uint8_t>(n)});
            rs.update();
        }
    }
    // Another connection sees every row: nothing is held in a transaction.
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open_v2(d.dbPath.c_str(), &other, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(other, "SELECT count(*) FROM KVR_20", -1, &st, nullptr);
    ASSERT_EQ(sqlite3_step(st), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(st, 0), 3);
    sqlite3_finalize(st);
    sqlite3_close(other);

    Recordset rs(*d.db, "KVR_20");
    std::vector<int64_t> order;
    for (; !rs.eof(); rs.moveNext()) order.push_back(rs.intValue("DP_No"));
    EXPECT_EQ(order, (std::vector<int64_t>{5, 2, 9}));

    Recordset sorted(*d.db, "select * from KVR_20 where DP_No > 2 ORDER BY DP_No DESC");
    ASSERT_EQ(sorted.recordCount(), 2);
    EXPECT_EQ(sorted.intValue("DP_No"), 9);
    EXPECT_EQ(sorted.value(2).bytes(), (Bytes{1, 2, 9}));
    sorted.setValue("DP_Name", "Nine");
    sorted.update();
    sorted.moveNext();
    EXPECT_EQ(sorted.intValue("DP_No"), 5);
    sorted.remove();
    sorted.moveNext();
    EXPECT_TRUE(sorted.eof());

    Recordset after(*d.db, "KVR_20");
    ASSERT_EQ(after.recordCount(), 2);
    after.moveLast();
    EXPECT_EQ(after.textValue("DP_Name"), "Nine");
}

TEST(Recordset, ConvertsTextToNumbersAndRefusesWhatDoesNotFit) {
    Db d(kSmallSchema);
    Recordset rs(*d.db, "STORE");
    rs.addNew();
    rs.setValue("ST_No", " 12 ");
    EXPECT_EQ(rs.value("ST_No").toInt(), 12);
    EXPECT_THROW(rs.setValue("ST_No", "12a"), FatalError);
    EXPECT_THROW(rs.setValue("ST_No", ""), FatalError);
    EXPECT_THROW(rs.setValue("ST_No", "99999999999"), FatalError);
    EXPECT_THROW(rs.setValue("ST_Name", std::string(21, 'x')), FatalError);
    rs.setValue("ST_Name", std::string(20, 'x'));
    rs.setValue("st_name", "Tienda número 1");  // 15 characters, more bytes
    rs.update();
    Recordset again(*d.db, "store");
    EXPECT_EQ(again.textValue("ST_NAME"), "Tienda número 1");
    EXPECT_EQ(again.intValue("ST_No"), 12);
}

TEST(Recordset, OtherSelectsAreReadOnlySnapshots) {
    Db d(kSmallSchema);
    Recordset w(*d.db, "KVR_20");
    for (int i = 1; i <= 3; ++i) {
        w.addNew();
        w.setValue("DP_No", i);
        w.update();
    }
    Recordset rs(*d.db, "select count(*) as n, max(DP_No) as m from KVR_20");
    EXPECT_FALSE(rs.updatable());
    EXPECT_EQ(rs.intValue("n"), 3);
    EXPECT_EQ(rs.intValue("m"), 3);
    EXPECT_THROW(rs.setValue("n", 1), FatalError);
}

TEST(Recordset, MovesStopAtTheEnds) {
    Db d(kSmallSchema);
    Recordset rs(*d.db, "KVR_20");
    EXPECT_TRUE(rs.eof());
    EXPECT_TRUE(rs.bof());
    EXPECT_THROW(rs.value("DP_No"), FatalError);
    for (int i = 1; i <= 2; ++i) {
        rs.addNew();
        rs.setValue("DP_No", i);
        rs.update();
    }
    rs.moveFirst();
    rs.movePrevious();
    EXPECT_TRUE(rs.bof());
    rs.move(10);
    EXPECT_TRUE(rs.eof());
}

TEST(ShippedSchema, FreshDatabaseHasEveryTableAllEmpty) {
    TempApp app;
    ASSERT_EQ(rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0), 0);
    auto db = linkDatabase(app.path("Database/Brindale1.mdb"));
    ASSERT_TRUE(db);
    const char* tables[] = {"STORE",  "SECT",   "SCALE",  "KVR_20", "KVR_23", "SEARCH", "KVR_14", "KVR_25",
                            "KVR_34", "KVR_36", "KVR_37", "KVR_38", "KVR_39", "KVR_3A", "KVR_3B", "KVR_3C",
                            "KVR_3D", "KVR_3F", "KVR_40", "KVR_41", "KVR_4E", "KVR_AA", "KVR_AB", "KVR_DF",
                            "RC_25",  "RC_34",  "RC_21",  "RC_24",  "RC_26",  "RC_2E",  "RC_45",  "RC_46",
                            "RC_4A",  "RC_52",  "RC_59"};
    for (const char* t : tables) {
        const TableDef* def = db->table(t);
        ASSERT_NE(def, nullptr) << t;
        Recordset rs(*db, t);
        EXPECT_EQ(rs.recordCount(), 0) << t;
        const std::string name = t;
        if (name != "STORE" && name != "SECT" && name != "SCALE" && name != "SEARCH") {
            EXPECT_GE(def->columnIndex("KVRBinData"), 0) << t;
        }
    }
    // Every table of the schema text made it into the file.
    Schema s = readSchemaFile(app.path("Database/ABC1.txt"));
    EXPECT_EQ(db->tableNames().size(), s.tables.size());
    // The PLU table holds both the row columns and the record.
    const TableDef* plu = db->table("KVR_25");
    for (const char* c : {"PLU_No", "PLU_UPrice", "PLU_Commodity", "PLU_CommodityFirst", "ST_No", "SECT_No",
                          "KVRBinData", "Is_Selected", "BCC", "Stat2B_Trace_Ke", "PLU_Nutr_Sodium_BZ"})
        EXPECT_GE(plu->columnIndex(c), 0) << c;
    EXPECT_EQ(plu->columns[plu->columnIndex("PLU_Commodity")].type, TypeLongBinary);
}
