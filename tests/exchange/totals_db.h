#pragma once
// A working database made from the schema (or a schema of the test's own) in a temporary
// application folder, with totals records put in as the transfer engine puts them: record alone.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "store/database.h"
#include "store/rebuild.h"
#include "support/temp_app.h"

namespace brindale::testing {

struct TotalsDb {
    TempApp app;
    std::unique_ptr<store::Database> db;
    void open(const std::string& schemaText = {}) {
        if (!schemaText.empty()) app.write("Database/ABC1.txt", schemaText);
        EXPECT_EQ(store::rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0), 0);
        db = store::Database::open(app.path("Database/Brindale1.mdb"));
    }
    void insert(const std::string& table, const std::vector<uint8_t>& r) {
        auto st = db->prepare("INSERT INTO " + table + " (KVRBinData) VALUES (?)");
        st->bind(1, store::Value(store::Bytes(r)));
        st->step();
    }
};

}  // namespace brindale::testing
