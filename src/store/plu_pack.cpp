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
    // One pass in row order, each packed row written at once: the writes touch only the encoder's
    // columns, which no condition of the pass reads, and only rows the pass has left behind.
    long total = 0;
    if (progress) {
        auto count = db.prepare("SELECT COUNT(*) FROM KVR_25" + (where.empty() ? std::string() : " WHERE " + where));
        count->step();
        total = long(count->columnInt(0));
    }
    long done = 0;
    Transaction tx(db);
    // Only the columns the encoder writes go back: a tenth of the row's columns.
    std::vector<codec::ColumnInfo<codec::PluRow>> written;
    for (const auto& c : codec::pluColumns())
        if (codec::encoderWritesColumn(c.name)) written.push_back(c);
    RowMapper<codec::PluRow> out(db, "KVR_25", written);
    auto& update = db.cached(out.updateSql());
    auto read = db.prepare(map.selectSql(where));
    codec::PluRow row;
    while (read->step()) {
        if (progress) progress(++done, total);
        const int64_t id = read->columnInt(0);
        map.read(*read, row);
        codec::Status s = codec::encodePluRecord(ctx, row, inherit);
        if (!s.ok()) {
            PluPackProblem p;
            p.rowid = id;
            p.PLU_No = row.PLU_No;
            p.ST_No = row.ST_No;
            p.error = s.error();
            p.column = p.error.column;
            p.reason = s.message();
            result.problems.push_back(std::move(p));
            continue;
        }
        out.bind(update, row);
        sqlite3_bind_int64(update.handle(), static_cast<int>(out.size() + 1), id);
        update.step();
        update.reset();
        ++result.packed;
    }
    tx.commit();
    return result;
}

}  // namespace brindale::store
