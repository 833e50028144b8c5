#pragma once
// Records as a scale sends them, for the review's tests and benchmark: PLU rows packed by the
// encoder and put into RC_25 the way the transfer engine leaves them (only KVRBinData set).
#include <cstdint>
#include <string>
#include <vector>

#include "codec/code_page.h"
#include "codec/environment.h"
#include "codec/plu_record.h"
#include "codec/plu_row.h"
#include "store/database.h"

namespace brindale::testing {

struct RecordCodec {
    codec::CodePage codePage{"CP1252"};
    codec::BarcodeLists lists;
    codec::CodecEnvironment env() const {
        codec::CodecEnvironment e;
        e.codePage = &codePage;
        e.barcodeLists = &lists;
        return e;
    }
};

// The record of a PLU with a number, a price, a one-line name, a main group (997: none), a tare,
// weighed or counted.
inline std::vector<uint8_t> pluRecord(const codec::CodecEnvironment& env, int64_t pluNo, int64_t price,
                                      const std::string& name, int64_t mainGroup = 997, int64_t tare = 0,
                                      bool counted = false) {
    codec::PluRow r;
    r.Stat1_Unit = counted ? 1 : 0;
    r.PLU_No = pluNo;
    r.PLU_UPrice = price;
    r.ST_No = 1;
    r.PLU_MG = mainGroup;
    r.Stat2_MGCode = mainGroup == 997 ? 0 : 1;
    if (tare) {
        r.PLU_Tare = tare;
        r.Stat2_PLUTare = 1;
    }
    if (!name.empty()) {
        std::vector<uint8_t> block{0x01, static_cast<uint8_t>(name.size())};
        block.insert(block.end(), name.begin(), name.end());
        block.push_back(0x0C);
        r.PLU_Commodity = block;
        r.Stat2_Commodity = 1;
    }
    codec::EncoderContext ctx(env);
    const codec::Status s = codec::encodePluRecord(ctx, r, false);
    if (!s.ok()) return {};
    return *r.KVRBinData;
}

// One row of RC_25 holding `record` (an empty vector: a row without a record).
inline void putFetched(store::Database& db, const std::vector<uint8_t>& record, bool withRecord = true) {
    auto& st = db.cached("INSERT INTO RC_25 (KVRBinData) VALUES (?1)");
    st.bind(1, withRecord ? store::Value(record) : store::Value());
    st.step();
    st.reset();
}

}  // namespace brindale::testing
