#include "labelformat/labelformat_fixture.h"

#include <random>

#include "store/rebuild.h"
#include "store/recordset.h"

namespace brindale::labelformat::test {

void LabelDb::SetUp() {
    const std::string path = app_.path("Database/Brindale1.mdb");
    ASSERT_EQ(store::rebuildDatabase(app_.path("Database/ABC1.txt"), path, 0), 0);
    db_ = store::Database::open(path);
    ASSERT_TRUE(db_);
}

RecordLayout LabelDb::layout() {
    store::Recordset rs(db(), "KVR_34");
    std::vector<store::ColumnDef> cols;
    for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
    return RecordLayout::fromColumns(cols);
}

Bytes LabelDb::makeRecord(int number, int size, unsigned seed) {
    Bytes b(static_cast<size_t>(size), 0);
    std::mt19937 rng(seed);
    if (seed)
        for (auto& x : b) x = static_cast<uint8_t>(rng() & 0xFF);
    b[0] = 0;
    b[1] = 0;
    b[2] = static_cast<uint8_t>(((number / 1000) % 10) << 4 | ((number / 100) % 10));
    b[3] = static_cast<uint8_t>(((number / 10) % 10) << 4 | (number % 10));
    b[4] = static_cast<uint8_t>(size >> 8);
    b[5] = static_cast<uint8_t>(size & 0xFF);
    return b;
}

void LabelDb::insertRecord(const std::string& table, const std::string& pfNo, const store::Value& bin) {
    store::Recordset rs(db(), table);
    rs.addNew();
    rs.setValue(0, store::Value(pfNo));
    rs.setValue("KVRBinData", bin);
    rs.update();
}

store::Value LabelDb::binOf(const std::string& table, int number) {
    store::Recordset rs(db(), table);
    while (!rs.eof()) {
        if (leadingDecimal(rs.value(0).toText()) == number) return rs.value("KVRBinData");
        rs.moveNext();
    }
    return {};
}

std::string LabelDb::columnOf(int number, int ordinal) {
    store::Recordset rs(db(), "KVR_34");
    while (!rs.eof()) {
        if (leadingDecimal(rs.value(0).toText()) == number) return rs.value(ordinal).toText();
        rs.moveNext();
    }
    return "(no row)";
}

long LabelDb::rows(const std::string& table) {
    store::Recordset rs(db(), table);
    return rs.recordCount();
}

}  // namespace brindale::labelformat::test
