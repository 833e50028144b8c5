#include "store/plu_pack.h"

#include "codec/plu_columns.h"
#include "codec/plu_record.h"
#include "store/codec_sources.h"
#include "store/row_mapper.h"

namespace brindale::store {

PluPackResult packPluRows(Database& db, const codec::CodecEnvironment& base, const std::string& where, bool inherit,
                          const PackProgress& progress) {
    PluPackResult result;
    RowMapper<codec::PluRow> map(db, "KVR_25", codec::pluColumns());
    DbInheritance settings(db);
    DbFlexi flexi(db);
    codec::CodecEnvironment env = base;
    env.inheritance = &settings;
    env.flexiBarcodes = &flexi;
    codec::EncoderContext ctx(env);
    ctx.remembered.clearKey();
    // The rows first, then the writes: an open SELECT on the table being updated would see them.
    std::vector<std::pair<int64_t, codec::PluRow>> packed;
    long total = 0;
    if (progress) {
        auto count = db.prepare("SELECT COUNT(*) FROM KVR_25" + (where.empty() ? std::string() : " WHERE " + where));
        count->step();
        total = long(count->columnInt(0));
    }
    long done = 0;
    {
        auto st = db.prepare(map.selectSql(where));
        codec::PluRow row;
        while (st->step()) {
            if (progress) progress(++done, total);
            map.read(*st, row);
            codec::Status s = codec::encodePluRecord(ctx, row, inherit);
            if (!s.ok()) {
                PluPackProblem p;
                p.rowid = st->columnInt(0);
                p.PLU_No = row.PLU_No;
                p.ST_No = row.ST_No;
                p.error = s.error();
                p.column = p.error.column;
                p.reason = s.message();
                result.problems.push_back(std::move(p));
                continue;
            }
            packed.emplace_back(st->columnInt(0), row);
        }
    }
    Transaction tx(db);
    auto& update = db.cached(map.updateSql());
    for (const auto& [rowid, row] : packed) {
        map.bind(update, row);
        sqlite3_bind_int64(update.handle(), static_cast<int>(map.size() + 1), rowid);
        update.step();
        update.reset();
        ++result.packed;
    }
    tx.commit();
    return result;
}

}  // namespace brindale::store
