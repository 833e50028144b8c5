#pragma once
// A started chain without windows for the PLU import and export tests, and small helpers.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "codec/code_page.h"
#include "mirror/mirror_fixture.h"
#include "store/recordset.h"

namespace brindale::testing {

class PluExchangeTest : public ::testing::Test {
protected:
    void SetUp() override {
        chain.locale = "en_US.UTF-8";
        chain.start();
    }
    void TearDown() override { chain.state.reset(); }

    store::Database& db() { return chain.db(); }
    std::string file(const std::string& name) { return chain.app.path(name); }
    void write(const std::string& name, const std::string& bytes) {
        std::ofstream(file(name), std::ios::binary) << bytes;
    }
    std::string read(const std::string& name) {
        std::ifstream in(file(name), std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }
    // Adds a PLU row with the given values.
    void addPlu(std::initializer_list<std::pair<const char*, store::Value>> values) { chain.add("KVR_25", values); }
    int count(const std::string& where = "") {
        auto st = db().prepare("SELECT count(*) FROM KVR_25" + (where.empty() ? "" : " WHERE " + where));
        st->step();
        return static_cast<int>(st->columnInt(0));
    }
    store::Value value(const std::string& column, const std::string& where) {
        auto st = db().prepare("SELECT " + column + " FROM KVR_25 WHERE " + where);
        if (!st->step()) return store::Value();
        return st->column(0);
    }

    MirrorChain chain;
};

}  // namespace brindale::testing
