#pragma once
// A chain in a temporary folder with a store of PLUs whose names and groups the tests choose.
#include <string>

#include "mirror/mirror_fixture.h"
#include "presetkey/sheet.h"

namespace brindale::testing {

// A commodity block of one line: font 1, the length, the text, end of block.
inline store::Bytes commodityBlock(const std::string& text) {
    store::Bytes b{0x01, static_cast<uint8_t>(text.size())};
    b.insert(b.end(), text.begin(), text.end());
    b.push_back(0x00);
    return b;
}

inline void addPlu(MirrorChain& chain, int store, int64_t pluNo, int64_t mg, const std::string& name) {
    chain.add("KVR_25", {{"PLU_No", store::Value(pluNo)},
                         {"ST_No", store::Value(store)},
                         {"SECT_No", store::Value(1)},
                         {"PLU_MG", store::Value(mg)},
                         {"PLU_Commodity", store::Value(commodityBlock(name))},
                         {"Is_Selected", store::Value(0)}});
}

inline void addGroup(MirrorChain& chain, int store, int64_t dept, int64_t mg) {
    chain.add("KVR_23", {{"MG_No", store::Value(mg)},
                         {"MG_Name", store::Value("Group " + std::to_string(mg))},
                         {"ST_No", store::Value(store)},
                         {"DP_No", store::Value(dept)}});
}

inline void addDept(MirrorChain& chain, int store, int64_t dept) {
    chain.add("KVR_20", {{"DP_No", store::Value(dept)},
                         {"DP_Name", store::Value("Dept " + std::to_string(dept))},
                         {"ST_No", store::Value(store)}});
}

inline int64_t count(store::Database& db, const std::string& where) {
    auto st = db.prepare("SELECT count(*) FROM KVR_41 WHERE " + where);
    st->step();
    return st->columnInt(0);
}

}  // namespace brindale::testing
