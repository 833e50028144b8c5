// The packing of a send over many rows: what it writes is what the encoder makes of each row on
// its own, in row order, whatever the batches the pass reads and encodes them in.
#include <gtest/gtest.h>

#include "codec/plu_columns.h"
#include "codec/plu_record.h"
#include "mirror/mirror_fixture.h"
#include "store/codec_sources.h"
#include "store/plu_pack.h"
#include "store/row_mapper.h"

namespace brindale::testing {
namespace {

struct Packed {
    int64_t id;
    codec::PluRow row;
};

std::vector<Packed> allRows(store::Database& db) {
    store::RowMapper<codec::PluRow> map(db, "KVR_25", codec::pluColumns());
    auto st = db.prepare(map.selectSql());
    std::vector<Packed> out;
    while (st->step()) {
        out.push_back({st->columnInt(0), {}});
        map.read(*st, out.back().row);
    }
    return out;
}

TEST(PluPack, ABatchedPassWritesWhatRowByRowEncodingMakesAndHoldsBackTheRefusedRowsInOrder) {
    MirrorChain chain;
    chain.start();
    datagen::ChainShape shape;
    shape.stores = 2;
    shape.plus = 1500;  // several batches of the pass
    chain.generate(shape, 11);
    store::Database& db = chain.db();
    const codec::CodecEnvironment env = chain.state->codecEnvironment();
    // Stale records and derived columns, and three rows no record can carry: at the start of the
    // pass, at what is a batch boundary for any batch of 2 to 512 rows, and near its end.
    db.exec("UPDATE KVR_25 SET KVRBinData = NULL, PLU_EANData = NULL, Stat2_LBFormat1 = 7, Stat1_Byte1 = 0");
    const auto before = allRows(db);
    ASSERT_GT(before.size(), 1200u);
    const std::vector<size_t> refusedAt = {0, 512, before.size() - 2};
    for (size_t i : refusedAt)
        db.exec("UPDATE KVR_25 SET PLU_UPrice = 99999999999 WHERE rowid = " + std::to_string(before[i].id));
    const auto input = allRows(db);

    long reported = 0;
    long lastDone = 0;
    bool ordered = true;
    const auto result = store::packPluRows(db, env, "", true, [&](long done, long total) {
        ordered = ordered && done == lastDone + 1 && total == long(input.size());
        lastDone = done;
        ++reported;
    });
    EXPECT_TRUE(ordered);
    EXPECT_EQ(reported, long(input.size()));
    EXPECT_EQ(result.packed, long(input.size() - refusedAt.size()));
    ASSERT_EQ(result.problems.size(), refusedAt.size());
    for (size_t k = 0; k < refusedAt.size(); ++k) {
        EXPECT_EQ(result.problems[k].rowid, input[refusedAt[k]].id);
        EXPECT_EQ(result.problems[k].PLU_No, input[refusedAt[k]].row.PLU_No);
        EXPECT_EQ(result.problems[k].column, "PLU_UPrice");
    }

    // The reference: one encoder over the rows in order, asking the database for each lookup.
    store::DbInheritance inherit(db);
    store::DbFlexi flexi(db);
    codec::CodecEnvironment e = env;
    e.inheritance = &inherit;
    e.flexiBarcodes = &flexi;
    codec::EncoderContext ctx(e);
    ctx.remembered.clearKey();
    const auto after = allRows(db);
    ASSERT_EQ(after.size(), input.size());
    size_t refused = 0;
    for (size_t i = 0; i < input.size(); ++i) {
        codec::PluRow expected = input[i].row;
        const bool ok = codec::encodePluRecord(ctx, expected, true).ok();
        if (!ok) {
            ++refused;
            EXPECT_TRUE(after[i].row == input[i].row) << "refused row " << i << " was changed";
            continue;
        }
        ASSERT_TRUE(after[i].row == expected) << "row " << i << " (PLU " << expected.PLU_No << ")";
    }
    EXPECT_EQ(refused, refusedAt.size());
}

}  // namespace
}  // namespace brindale::testing
