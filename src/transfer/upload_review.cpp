#include "transfer/upload_review.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <map>
#include <unordered_map>
#include <utility>

#include "codec/code_page.h"
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

namespace {

// What decoding a record reads of its row besides the bytes: the number (kept when the record's
// own cannot be read, and reported), the name block (kept when the record has none; the first
// line of the name comes from it) and the mark (kept unless the record fails). Every other
// column the decoder either sets from the record or leaves alone, so a row read with only these
// and decoded tells everything but the columns the record leaves alone; those stay as the table
// has them.
constexpr const char* kInputColumns = "KVRBinData, PLU_No, PLU_Commodity, Is_Selected";

// A row whose every column is Null: after decoding, a column that is still Null is one the record
// did not set (the decoder never sets Null).
const codec::PluRow& unsetRow() {
    static const codec::PluRow row = [] {
        codec::PluRow r;
        for (const auto& c : codec::pluColumns()) {
            if (c.kind == codec::ColumnKind::Number) r.*c.number = codec::kNullNumber;
            else if (c.kind == codec::ColumnKind::Text) (r.*c.text).reset();
            else (r.*c.bytes).reset();
        }
        return r;
    }();
    return row;
}

// The input columns of one row as read.
struct Inputs {
    codec::Bytes record;
    int64_t pluNo = codec::kNullNumber;
    codec::Bytes commodity;
    int64_t isSelected = codec::kNullNumber;
};

void assignBlob(codec::Bytes& to, sqlite3_stmt* s, int col) {
    if (sqlite3_column_type(s, col) == SQLITE_NULL) {
        to.reset();
        return;
    }
    const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(s, col));
    const auto n = static_cast<size_t>(sqlite3_column_bytes(s, col));
    if (!to) to.emplace();
    to->assign(p, p + n);
}

int64_t number(sqlite3_stmt* s, int col) {
    return sqlite3_column_type(s, col) == SQLITE_NULL ? codec::kNullNumber : sqlite3_column_int64(s, col);
}

// Reads the input columns, starting at result column `first`. Only copies: the reading thread
// is the busy one.
void readInputs(sqlite3_stmt* s, int first, Inputs& in) {
    assignBlob(in.record, s, first);
    in.pluNo = number(s, first + 1);
    assignBlob(in.commodity, s, first + 2);
    in.isSelected = number(s, first + 3);
}

struct Item {
    int64_t rowid = 0;
    long position = 0;  // load: place in RC_25 (1-based); take-over: place in the review set
    bool missing = false;
    Inputs in;
    codec::PluRow row;  // the inputs on an unset row, decoded (on the helper thread)
    codec::DecodeResult result;
};

// What the helper thread does with an item: the unset row with the inputs, decoded.
void decodeItem(const codec::CodecEnvironment& env, Item& it) {
    it.row = unsetRow();
    it.row.KVRBinData = it.in.record;
    it.row.PLU_No = it.in.pluNo;
    it.row.PLU_Commodity = it.in.commodity;
    it.row.Is_Selected = it.in.isSelected;
    it.result = codec::decodePluRecord(env, it.row);
}

constexpr size_t kBatch = 1024;
using Batch = std::vector<Item>;

// The environment of the helper thread: a code page of its own (one is not shared between
// threads), the rest as the caller's.
struct HelperEnvironment {
    std::optional<codec::CodePage> codePage;
    codec::CodecEnvironment env;
    explicit HelperEnvironment(const codec::CodecEnvironment& from) : env(from) {
        if (from.codePage) {
            codePage.emplace(from.codePage->name());
            env.codePage = &*codePage;
        }
    }
};

// Fills batches of rows on this thread, decodes each on a helper thread while this one reads the
// next and uses the previous, and uses them in order here. fill(batch) returns how many items it
// put in (0 at the end); use(batch, n) returns false to stop.
template <class Fill, class Use>
void decodeInBatches(const codec::CodecEnvironment& env, Fill fill, Use use) {
    HelperEnvironment helper(env);
    std::array<Batch, 2> batches;
    for (auto& b : batches) b.resize(kBatch);
    std::future<void> job;  // declared after the batches: waited for before they go
    auto start = [&](Batch& b, size_t n) {
        job = std::async(std::launch::async, [&b, n, &helper] {
            for (size_t i = 0; i < n; ++i)
                if (!b[i].missing) decodeItem(helper.env, b[i]);
        });
    };
    size_t cur = 0;
    size_t n = fill(batches[cur]);
    if (n > 0) start(batches[cur], n);
    while (n > 0) {
        const size_t next = fill(batches[cur ^ 1]);
        job.get();
        if (next > 0) start(batches[cur ^ 1], next);
        if (!use(batches[cur], n)) return;
        cur ^= 1;
        n = next;
    }
}

}  // namespace

// ---- the review set ---------------------------------------------------------------------------

ReviewSet::ReviewSet(store::Database& db, const codec::CodecEnvironment& env) : db_(db), env_(env) {}

ReviewSet::~ReviewSet() = default;

void ReviewSet::snapshotLookups() {
    lookups_ = std::make_unique<store::CodecSourcesSnapshot>(db_);
    env_.inheritance = lookups_.get();
    env_.flexiBarcodes = lookups_.get();
}

DecodeReport ReviewSet::load(const ReviewProgress& progress) {
    ids_.clear();
    marks_.clear();
    markedCount_ = 0;
    snapshotLookups();

    DecodeReport report;
    report.total = scalarInt(db_, "SELECT count(*) FROM RC_25");
    Ticker tick(progress, report.total);
    struct Entry {
        int64_t pluNo;
        int64_t rowid;
        bool operator<(const Entry& o) const { return pluNo != o.pluNo ? pluNo < o.pluNo : rowid < o.rowid; }
    };
    std::vector<Entry> entries;
    entries.reserve(static_cast<size_t>(std::max<int64_t>(report.total, 0)));

    auto read = db_.prepare(std::string("SELECT rowid, ") + kInputColumns + " FROM RC_25 ORDER BY rowid");
    long position = 0;
    bool atEnd = false;  // a finished statement stepped again would start over
    decodeInBatches(
        env_,
        [&](Batch& b) {
            size_t n = 0;
            while (!atEnd && n < b.size()) {
                if (!read->step()) {
                    atEnd = true;
                    break;
                }
                Item& it = b[n++];
                it.rowid = read->columnInt(0);
                it.position = ++position;
                readInputs(read->handle(), 1, it.in);
                tick.step(position);
            }
            return n;
        },
        [&](Batch& b, size_t n) {
            for (size_t i = 0; i < n; ++i) {
                const Item& it = b[i];
                if (it.result.outcome == codec::DecodeOutcome::Decoded) {
                    ++report.decoded;
                    if (it.row.Is_Selected == 0) entries.push_back({it.row.PLU_No, it.rowid});
                } else {
                    const int64_t plu = it.row.PLU_No == codec::kNullNumber ? 0 : it.row.PLU_No;
                    report.unreadable.push_back({it.position, plu, unreadableReason(it.result, it.row)});
                }
            }
            return true;
        });
    read.reset();
    std::sort(entries.begin(), entries.end());
    // The last progress call lets the window paint (and its timers run): the set is still empty
    // then, as it was while the records were read.
    tick.end(position);
    ids_.reserve(entries.size());
    for (const Entry& e : entries) ids_.push_back(e.rowid);
    marks_.assign(ids_.size(), 0);
    return report;
}

int64_t ReviewSet::rowIdAt(long position) const {
    return position >= 0 && position < size() ? ids_[static_cast<size_t>(position)] : 0;
}

std::optional<codec::PluRow> ReviewSet::decoded(long position) const {
    const int64_t id = rowIdAt(position);
    if (id == 0) return std::nullopt;
    const store::RowMapper<codec::PluRow> map(db_, "RC_25", codec::pluColumns());
    auto& st = db_.cached(map.selectSql("rowid=?1"));
    st.bind(1, store::Value(id));
    std::optional<codec::PluRow> row;
    if (st.step()) {
        row.emplace();
        map.read(st, *row);
    }
    st.reset();
    if (row) codec::decodePluRecord(env_, *row);
    return row;
}

ReviewRow ReviewSet::row(long position) const {
    ReviewRow r;
    const auto d = decoded(position);
    if (!d) return r;
    auto number = [](int64_t v) { return v == codec::kNullNumber ? 0 : v; };
    r.pluNo = number(d->PLU_No);
    if (d->PLU_EANItemCode) r.itemCode = *d->PLU_EANItemCode;
    if (d->PLU_Commodity && d->PLU_CommodityFirst) r.name = *d->PLU_CommodityFirst;
    r.price = number(d->PLU_UPrice);
    return r;
}

bool ReviewSet::storeDecoded(long position) {
    if (position < 0 || position >= size()) return false;
    // Once is enough: decoding the stored row again gives the same.
    char& m = marks_[static_cast<size_t>(position)];
    if (m & kStored) return true;
    const auto d = decoded(position);
    if (!d) return false;
    const store::RowMapper<codec::PluRow> map(db_, "RC_25", codec::pluColumns());
    auto& st = db_.cached(map.updateSql());
    map.bind(st, *d);
    sqlite3_bind_int64(st.handle(), static_cast<int>(map.size() + 1), rowIdAt(position));
    st.step();
    st.reset();
    m |= kStored;
    return true;
}

bool ReviewSet::marked(long position) const {
    return position >= 0 && position < size() && (marks_[static_cast<size_t>(position)] & kMarked) != 0;
}

void ReviewSet::setMarked(long position, bool on) {
    if (position < 0 || position >= size()) return;
    char& m = marks_[static_cast<size_t>(position)];
    if (((m & kMarked) != 0) == on) return;
    m = static_cast<char>(on ? (m | kMarked) : (m & ~kMarked));
    markedCount_ += on ? 1 : -1;
}

// ---- the take-over ----------------------------------------------------------------------------

namespace {

// Binds the value of a row's column as parameter p; Null leaves the parameter as cleared.
void bindColumn(sqlite3_stmt* s, int p, const codec::ColumnInfo<codec::PluRow>& c, const codec::PluRow& row) {
    switch (c.kind) {
        case codec::ColumnKind::Number: {
            const int64_t v = row.*c.number;
            if (v != codec::kNullNumber) sqlite3_bind_int64(s, p, v);
            break;
        }
        case codec::ColumnKind::Text: {
            const auto& v = row.*c.text;
            if (v) sqlite3_bind_text(s, p, v->data(), static_cast<int>(v->size()), SQLITE_STATIC);
            break;
        }
        case codec::ColumnKind::Bytes: {
            const auto& v = row.*c.bytes;
            if (v)
                sqlite3_bind_blob(s, p, v->empty() ? "" : static_cast<const void*>(v->data()),
                                  static_cast<int>(v->size()), SQLITE_STATIC);
            break;
        }
    }
}

}  // namespace

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

    // Each record is decoded again and goes over column by position, inside the database: a
    // column the record sets comes from its parameter, one it leaves alone straight from RC_25
    // (coalesce: the decoder never sets Null, an unset column is bound as Null). Parameters: ?1
    // the row id in RC_25, ?2 the store, ?3 the main group, ?4 the row overwritten, ?5 on the
    // decoded values.
    struct Bound {
        const codec::ColumnInfo<codec::PluRow>* info;
        int param;
    };
    std::vector<Bound> bound;
    std::string names, picks;
    for (int i = 0; i < columns; ++i) {
        names += std::string(i ? "," : "") + store::quoteIdent(target->columns[static_cast<size_t>(i)].name);
        const std::string& from = source->columns[static_cast<size_t>(i)].name;
        std::string pick = store::quoteIdent(from);
        if (i == stCol) pick = "?2";
        else if (i == mgCol) pick = "?3";
        else if (i == mgCodeCol && *group != kNoMainGroup) pick = "1";
        else if (const auto* info = codec::findPluColumn(from)) {
            const int p = 5 + static_cast<int>(bound.size());
            bound.push_back({info, p});
            pick = "coalesce(?" + std::to_string(p) + "," + pick + ")";
        }
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
        bool failed = false;
        {
            auto read = db.prepare(std::string("SELECT ") + kInputColumns + " FROM RC_25 WHERE rowid=?1");
            auto insert = db.prepare(insertSql);
            auto update = db.prepare(updateSql);
            sqlite3_stmt* r = read->handle();
            long pos = 0;
            decodeInBatches(
                set.environment(),
                [&](Batch& b) {
                    size_t n = 0;
                    for (; pos < total && n < b.size(); ++pos) {
                        tick.step(pos + 1);
                        if (!set.marked(pos)) continue;
                        Item& it = b[n++];
                        it.rowid = set.rowIdAt(pos);
                        it.position = pos;
                        sqlite3_bind_int64(r, 1, it.rowid);
                        it.missing = sqlite3_step(r) != SQLITE_ROW;
                        if (!it.missing) readInputs(r, 0, it.in);
                        sqlite3_reset(r);
                    }
                    return n;
                },
                [&](Batch& b, size_t n) {
                    for (size_t i = 0; i < n; ++i) {
                        const Item& it = b[i];
                        if (it.missing) {
                            fail(0, "the fetched row " + std::to_string(it.position + 1) + " is gone from RC_25");
                            failed = true;
                            return false;
                        }
                        plu = it.row.PLU_No == codec::kNullNumber ? 0 : it.row.PLU_No;
                        if (it.result.outcome != codec::DecodeOutcome::Decoded) {
                            fail(plu, "the fetched row " + std::to_string(it.position + 1) + " can no longer be read");
                            failed = true;
                            return false;
                        }
                        const auto found = existing.find(plu);
                        sqlite3_stmt* w = nullptr;
                        if (found == existing.end()) {
                            w = insert->handle();
                        } else if (options.overwriteSameNumber) {
                            w = update->handle();
                        } else {
                            result.leftOut.push_back(plu);
                            continue;
                        }
                        // Most columns are unset in a record: clear them all at once, bind the rest.
                        sqlite3_clear_bindings(w);
                        sqlite3_bind_int64(w, 1, it.rowid);
                        sqlite3_bind_int64(w, 2, *store);
                        sqlite3_bind_int64(w, 3, *group);
                        if (w == update->handle()) sqlite3_bind_int64(w, 4, found->second);
                        for (const Bound& c : bound) bindColumn(w, c.param, *c.info, it.row);
                        const int rc = sqlite3_step(w);
                        if (rc != SQLITE_DONE) {
                            const std::string reason = sqlite3_errmsg(db.handle());
                            sqlite3_reset(w);
                            fail(plu, reason);
                            failed = true;
                            return false;
                        }
                        sqlite3_reset(w);
                        if (found == existing.end()) ++result.added;
                        else ++result.overwritten;
                    }
                    return true;
                });
        }
        if (failed) return result;
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
