#include "store/plu_pack.h"

#include <optional>

#include "codec/plu_columns.h"
#include "codec/plu_record.h"
#include "store/batch_pipeline.h"
#include "store/codec_sources.h"
#include "store/row_mapper.h"

namespace brindale::store {

namespace {

// Rows read, encoded and written a batch at a time (see pipelineBatches).
constexpr size_t kBatch = 256;

struct Batch {
    std::vector<int64_t> ids;
    std::vector<codec::PluRow> rows;
    std::vector<std::optional<codec::Status>> failed;  // set where the encoder refused the row
    size_t size = 0;
};

}  // namespace

PluPackResult packPluRows(Database& db, const codec::CodecEnvironment& base, const std::string& where, bool inherit,
                          const PackProgress& progress) {
    PluPackResult result;
    RowMapper<codec::PluRow> map(db, "KVR_25", codec::pluColumns());
    // The inherited settings and flexi rows read once, so the encoder's thread asks no statement.
    CodecSourcesSnapshot sources(db);
    codec::CodecEnvironment env = base;
    env.inheritance = &sources;
    env.flexiBarcodes = &sources;
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
    // One pass in row order: the writes touch only the encoder's columns, which no condition of
    // the pass reads, and only rows the pass has left behind.
    auto read = db.prepare(map.selectSql(where));
    bool more = true;
    auto fill = [&](Batch& b) -> bool {
        b.size = 0;
        while (b.size < kBatch && more) {
            if (!read->step()) {
                more = false;
                break;
            }
            if (progress) progress(++done, total);
            if (b.rows.size() <= b.size) {
                b.rows.emplace_back();
                b.ids.push_back(0);
                b.failed.emplace_back();
            }
            b.ids[b.size] = read->columnInt(0);
            map.read(*read, b.rows[b.size]);
            ++b.size;
        }
        return b.size > 0;
    };
    auto write = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            const codec::PluRow& row = b.rows[i];
            if (b.failed[i]) {
                PluPackProblem p;
                p.rowid = b.ids[i];
                p.PLU_No = row.PLU_No;
                p.ST_No = row.ST_No;
                p.error = b.failed[i]->error();
                p.column = p.error.column;
                p.reason = b.failed[i]->message();
                result.problems.push_back(std::move(p));
                continue;
            }
            out.bind(update, row);
            sqlite3_bind_int64(update.handle(), static_cast<int>(out.size() + 1), b.ids[i]);
            update.step();
            update.reset();
            ++result.packed;
        }
    };
    ThreadCodecEnvironment encoderEnv(env);
    codec::EncoderContext ctx(encoderEnv.env());
    ctx.remembered.clearKey();
    auto encode = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            codec::Status s = codec::encodePluRecord(ctx, b.rows[i], inherit);
            if (s.ok())
                b.failed[i].reset();
            else
                b.failed[i] = std::move(s);
        }
    };
    pipelineBatches<Batch>(fill, encode, write);
    tx.commit();
    return result;
}

}  // namespace brindale::store
