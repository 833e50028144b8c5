#include "transfer/upload_review.h"

#include <sqlite3.h>

#include <chrono>
#include <unordered_map>
#include <utility>

#include "codec/plu_record.h"
#include "codec/plu_row.h"
#include "store/fatal_error.h"
#include "store/row_mapper.h"

namespace brindale::transfer {

namespace {

using Clock = std::chrono::steady_clock;

// Calls the progress at most every 50 ms, and always at the end.
class Ticker {
public:
    Ticker(const ReviewProgress& p, long total) : p_(p), total_(total) {}
    void step(long done) {
        if (!p_ || (done & 63) != 0) return;
        const auto now = Clock::now();
        if (now - last_ < std::chrono::milliseconds(50)) return;
        last_ = now;
        p_(done, total_);
    }
    void end(long done) {
        if (p_) p_(done, total_);
    }

private:
    const ReviewProgress& p_;
    long total_;
    Clock::time_point last_ = Clock::now();
};

std::string unreadableReason(const codec::DecodeResult& r, const codec::PluRow& row) {
    const size_t n = row.KVRBinData ? row.KVRBinData->size() : 0;
    switch (r.outcome) {
        case codec::DecodeOutcome::NoRecord: return "no record";
        case codec::DecodeOutcome::TooShort: return "the record has only " + std::to_string(n) + " bytes";
        case codec::DecodeOutcome::LengthMismatch: {
            const auto& b = *row.KVRBinData;
            const unsigned said = static_cast<unsigned>(b[4]) << 8 | b[5];
            return "the record says it has " + std::to_string(said) + " bytes, it has " + std::to_string(n);
        }
        case codec::DecodeOutcome::Failed:
            return r.error.message() + " (byte " + std::to_string(r.error.offset) + ")";
        case codec::DecodeOutcome::Decoded: break;
    }
    return {};
}

int64_t scalarInt(store::Database& db, const std::string& sql) {
    auto st = db.prepare(sql);
    return st->step() ? st->columnInt(0) : 0;
}

std::vector<int64_t> numbers(store::Database& db, const std::string& sql) {
    std::vector<int64_t> out;
    auto st = db.prepare(sql);
    while (st->step()) {
        const int64_t v = st->columnInt(0);
        if (out.empty() || out.back() != v) out.push_back(v);
    }
    return out;
}

}  // namespace

std::optional<int64_t> parseNumber(const std::string& text) {
    if (text.empty() || text.size() > 18) return std::nullopt;
    int64_t v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return std::nullopt;
        v = v * 10 + (c - '0');
    }
    return v;
}

DecodeReport decodeUploadedRecords(store::Database& db, const codec::CodecEnvironment& env,
                                   const ReviewProgress& progress) {
    DecodeReport report;
    store::RowMapper<codec::PluRow> map(db, "RC_25", codec::pluColumns());
    report.total = scalarInt(db, "SELECT count(*) FROM RC_25");
    Ticker tick(progress, report.total);

    store::Transaction tx(db);
    // Read in slices by row id, so that no read is open while the rows are written.
    constexpr int kSlice = 256;
    auto read = db.prepare(map.selectSql("rowid > ?1") + " LIMIT " + std::to_string(kSlice));
    auto write = db.prepare(map.updateSql());
    auto markOnly = db.prepare("UPDATE RC_25 SET Is_Selected=1 WHERE rowid=?1");
    const int rowidParam = static_cast<int>(map.size() + 1);

    std::vector<std::pair<int64_t, codec::PluRow>> slice(kSlice);
    int64_t last = INT64_MIN;
    long position = 0;
    for (;;) {
        read->bind(1, store::Value(last));
        size_t n = 0;
        while (n < slice.size() && read->step()) {
            slice[n].first = read->columnInt(0);
            map.read(*read, slice[n].second);
            ++n;
        }
        read->reset();
        if (n == 0) break;
        last = slice[n - 1].first;
        for (size_t i = 0; i < n; ++i) {
            auto& [rowid, row] = slice[i];
            ++position;
            const codec::DecodeResult r = codec::decodePluRecord(env, row);
            if (r.rowChanged()) {
                // A record that failed half-way keeps what was read, as the decoder leaves it.
                map.bind(*write, row);
                sqlite3_bind_int64(write->handle(), rowidParam, rowid);
                write->step();
                write->resetKeepingBindings();
            } else {
                markOnly->bind(1, store::Value(rowid));
                markOnly->step();
                markOnly->reset();
            }
            if (r.outcome == codec::DecodeOutcome::Decoded) ++report.decoded;
            else report.unreadable.push_back({position, row.PLU_No == codec::kNullNumber ? 0 : row.PLU_No,
                                              unreadableReason(r, row)});
            tick.step(position);
        }
    }
    read.reset();
    write.reset();
    markOnly.reset();
    tx.commit();
    tick.end(position);
    return report;
}

// ---- the review set ---------------------------------------------------------------------------

ReviewSet::ReviewSet(store::Database& db) : db_(db) {}

void ReviewSet::load() {
    ids_.clear();
    auto st = db_.prepare("SELECT rowid FROM RC_25 WHERE Is_Selected=0 ORDER BY PLU_No, rowid");
    while (st->step()) ids_.push_back(st->columnInt(0));
    marks_.assign(ids_.size(), 0);
    markedCount_ = 0;
}

int64_t ReviewSet::rowIdAt(long position) const {
    return position >= 0 && position < size() ? ids_[static_cast<size_t>(position)] : 0;
}

ReviewRow ReviewSet::row(long position) const {
    ReviewRow r;
    const int64_t id = rowIdAt(position);
    if (id == 0) return r;
    auto& st = db_.cached(
        "SELECT PLU_No, PLU_EANItemCode, PLU_CommodityFirst, PLU_Commodity IS NULL, PLU_UPrice "
        "FROM RC_25 WHERE rowid=?1");
    st.bind(1, store::Value(id));
    if (st.step()) {
        sqlite3_stmt* s = st.handle();
        auto text = [s](int col) {
            const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(s, col));
            return p ? std::string(p, static_cast<size_t>(sqlite3_column_bytes(s, col))) : std::string();
        };
        r.pluNo = sqlite3_column_int64(s, 0);
        r.itemCode = text(1);
        if (sqlite3_column_int(s, 3) == 0) r.name = text(2);
        r.price = sqlite3_column_int64(s, 4);
    }
    st.reset();
    return r;
}

bool ReviewSet::marked(long position) const {
    return position >= 0 && position < size() && marks_[static_cast<size_t>(position)] != 0;
}

void ReviewSet::setMarked(long position, bool on) {
    if (position < 0 || position >= size()) return;
    char& m = marks_[static_cast<size_t>(position)];
    if ((m != 0) == on) return;
    m = on ? 1 : 0;
    markedCount_ += on ? 1 : -1;
}

// ---- the take-over ----------------------------------------------------------------------------

TakeOverResult takeOverMarked(const ReviewSet& set, const TakeOverOptions& options, const ReviewProgress& progress) {
    TakeOverResult result;
    const auto store = parseNumber(options.store);
    if (!store) {
        result.failure = TakeOverResult::Failure::NoStore;
        result.list = "combST";
        return result;
    }
    const auto group = parseNumber(options.mainGroup);
    if (!group) {
        result.failure = TakeOverResult::Failure::NoMainGroup;
        result.list = "combMG";
        return result;
    }
    store::Database& db = set.database();
    auto fail = [&](int64_t plu, std::string reason) {
        result.failure = TakeOverResult::Failure::Database;
        result.failedPlu = plu;
        result.reason = std::move(reason);
        result.added = result.overwritten = 0;
        result.leftOut.clear();
        return result;
    };

    const store::TableDef* source = db.table("RC_25");
    const store::TableDef* target = db.table("KVR_25");
    if (!source || !target) return fail(0, "the table RC_25 or KVR_25 is missing");
    const int columns = static_cast<int>(target->columns.size());
    if (static_cast<int>(source->columns.size()) != columns)
        return fail(0, "RC_25 has " + std::to_string(source->columns.size()) + " columns, KVR_25 has " +
                           std::to_string(columns));
    const int stCol = target->columnIndex("ST_No");
    const int mgCol = target->columnIndex("PLU_MG");
    const int mgCodeCol = target->columnIndex("Stat2_MGCode");
    const int pluCol = source->columnIndex("PLU_No");
    if (stCol < 0 || mgCol < 0 || mgCodeCol < 0 || pluCol < 0)
        return fail(0, "KVR_25 lacks ST_No, PLU_MG or Stat2_MGCode, or RC_25 lacks PLU_No");

    // The store's numbers as they stand before the first write.
    std::unordered_map<int64_t, int64_t> existing;  // PLU_No -> row id (the first in number order)
    {
        auto st = db.prepare("SELECT PLU_No, rowid FROM KVR_25 WHERE ST_No=?1 ORDER BY PLU_No, rowid");
        st->bind(1, store::Value(*store));
        while (st->step()) existing.emplace(st->columnInt(0), st->columnInt(1));
    }

    // Each record goes over inside the database, column by position: the values never pass
    // through here. The three re-homed columns come from the parameters ?1 (rowid in RC_25),
    // ?2 (store), ?3 (main group).
    std::string names, picks;
    for (int i = 0; i < columns; ++i) {
        names += std::string(i ? "," : "") + store::quoteIdent(target->columns[static_cast<size_t>(i)].name);
        std::string pick = store::quoteIdent(source->columns[static_cast<size_t>(i)].name);
        if (i == stCol) pick = "?2";
        else if (i == mgCol) pick = "?3";
        else if (i == mgCodeCol && *group != kNoMainGroup) pick = "1";
        picks += (i ? "," : "") + pick;
    }
    const std::string insertSql = "INSERT INTO KVR_25 (" + names + ") SELECT " + picks + " FROM RC_25 WHERE rowid=?1";
    const std::string updateSql = "UPDATE KVR_25 SET (" + names + ") = (SELECT " + picks +
                                  " FROM RC_25 WHERE rowid=?1) WHERE rowid=?4";

    const long total = set.size();
    Ticker tick(progress, total);
    int64_t plu = 0;
    try {
        store::Transaction tx(db);
        {
            auto number = db.prepare("SELECT PLU_No FROM RC_25 WHERE rowid=?1");
            auto insert = db.prepare(insertSql);
            auto update = db.prepare(updateSql);
            sqlite3_stmt* r = number->handle();
            for (long pos = 0; pos < total; ++pos) {
                tick.step(pos + 1);
                if (!set.marked(pos)) continue;
                const int64_t id = set.rowIdAt(pos);
                sqlite3_bind_int64(r, 1, id);
                const bool there = sqlite3_step(r) == SQLITE_ROW;
                plu = there ? sqlite3_column_int64(r, 0) : 0;
                sqlite3_reset(r);
                if (!there) return fail(0, "the fetched row " + std::to_string(pos + 1) + " is gone from RC_25");
                const auto found = existing.find(plu);
                sqlite3_stmt* w = nullptr;
                if (found == existing.end()) {
                    w = insert->handle();
                } else if (options.overwriteSameNumber) {
                    w = update->handle();
                    sqlite3_bind_int64(w, 4, found->second);
                } else {
                    result.leftOut.push_back(plu);
                    continue;
                }
                sqlite3_bind_int64(w, 1, id);
                sqlite3_bind_int64(w, 2, *store);
                sqlite3_bind_int64(w, 3, *group);
                const int rc = sqlite3_step(w);
                if (rc != SQLITE_DONE) {
                    const std::string reason = sqlite3_errmsg(db.handle());
                    sqlite3_reset(w);
                    return fail(plu, reason);
                }
                sqlite3_reset(w);
                if (found == existing.end()) ++result.added;
                else ++result.overwritten;
            }
        }
        plu = 0;
        tx.commit();
    } catch (const FatalError& e) {
        return fail(plu, e.reason());
    }
    tick.end(total);
    return result;
}

// ---- the lists --------------------------------------------------------------------------------

std::vector<int64_t> storeNumbers(store::Database& db) {
    return numbers(db, "SELECT ST_No FROM STORE ORDER BY ST_No");
}

std::vector<int64_t> departmentNumbers(store::Database& db, int64_t store) {
    return numbers(db, "SELECT DP_No FROM KVR_20 WHERE ST_No=" + std::to_string(store) + " ORDER BY DP_No");
}

std::vector<int64_t> mainGroupNumbers(store::Database& db, int64_t store, int64_t department) {
    return numbers(db, "SELECT MG_No FROM KVR_23 WHERE ST_No=" + std::to_string(store) +
                           " AND DP_No=" + std::to_string(department) + " ORDER BY MG_No");
}

}  // namespace brindale::transfer
