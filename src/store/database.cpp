#include "database.h"

#include <algorithm>
#include <cctype>

#include "fatal_error.h"

namespace brindale::store {

static std::string lower(std::string_view s) {
    std::string r(s);
    for (auto& c : r) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return r;
}

Statement::~Statement() { sqlite3_finalize(st_); }

void Statement::reset() {
    sqlite3_reset(st_);
    sqlite3_clear_bindings(st_);
}

void Statement::resetKeepingBindings() { sqlite3_reset(st_); }

void Statement::bind(int index, const Value& v) {
    int rc;
    if (v.isNull()) rc = sqlite3_bind_null(st_, index);
    else if (v.isInt()) rc = sqlite3_bind_int64(st_, index, v.toInt());
    else if (v.isReal()) rc = sqlite3_bind_double(st_, index, v.toReal());
    else if (v.isText()) {
        const std::string& s = v.text();
        rc = sqlite3_bind_text(st_, index, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
    } else {
        const Bytes& b = v.bytes();
        rc = sqlite3_bind_blob(st_, index, b.empty() ? "" : static_cast<const void*>(b.data()),
                               static_cast<int>(b.size()), SQLITE_TRANSIENT);
    }
    if (rc != SQLITE_OK) throw FatalError(sqlite3_db_filename(db_, "main"), 0, sqlite3_errmsg(db_));
}

bool Statement::step() {
    int rc = sqlite3_step(st_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    std::string msg = sqlite3_errmsg(db_);
    const char* sql = sqlite3_sql(st_);
    sqlite3_reset(st_);
    throw FatalError(sqlite3_db_filename(db_, "main"), 0, msg + " (" + (sql ? sql : "") + ")");
}

int Statement::columnCount() const { return sqlite3_column_count(st_); }

Value Statement::column(int i) const {
    switch (sqlite3_column_type(st_, i)) {
        case SQLITE_INTEGER: return Value(static_cast<int64_t>(sqlite3_column_int64(st_, i)));
        case SQLITE_FLOAT: return Value(sqlite3_column_double(st_, i));
        case SQLITE_TEXT:
            return Value(std::string(reinterpret_cast<const char*>(sqlite3_column_text(st_, i)),
                                     static_cast<size_t>(sqlite3_column_bytes(st_, i))));
        case SQLITE_BLOB: {
            auto p = static_cast<const uint8_t*>(sqlite3_column_blob(st_, i));
            return Value(Bytes(p, p + sqlite3_column_bytes(st_, i)));
        }
        default: return Value();
    }
}

int64_t Statement::columnInt(int i) const { return sqlite3_column_int64(st_, i); }

std::unique_ptr<Database> Database::open(const std::string& path) {
    sqlite3* db = nullptr;
    // One connection is used by one thread at a time: no lock around every call.
    int rc = sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_close(db);
        return nullptr;
    }
    // The transfer engine and outside tools open the same file; wait for them rather than fail.
    sqlite3_busy_timeout(db, 10000);
    // The library is built to zero every page it frees or makes; the working database holds no
    // secrets and is rebuilt from the mirror, so that costly zeroing is switched off.
    sqlite3_exec(db, "PRAGMA secure_delete=OFF", nullptr, nullptr, nullptr);
    return std::unique_ptr<Database>(new Database(db, path));
}

Database::~Database() { close(); }

void Database::close() {
    cache_.clear();
    tables_.clear();
    if (db_) sqlite3_close(db_);
    db_ = nullptr;
}

void Database::fail(const std::string& what) const {
    throw FatalError(path_, 0, what + (db_ ? std::string(": ") + sqlite3_errmsg(db_) : std::string()));
}

void Database::exec(const std::string& sql) {
    char* err = nullptr;
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
        std::string msg = err ? err : "error";
        sqlite3_free(err);
        throw FatalError(path_, 0, msg + " (" + sql + ")");
    }
}

std::unique_ptr<Statement> Database::prepare(const std::string& sql) {
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &st, nullptr) != SQLITE_OK)
        fail("cannot run \"" + sql + "\"");
    return std::make_unique<Statement>(db_, st);
}

Statement& Database::cached(const std::string& sql) {
    auto it = cache_.find(sql);
    if (it != cache_.end()) {
        it->second->reset();
        return *it->second;
    }
    auto& st = cache_[sql] = prepare(sql);
    return *st;
}

const TableDef* Database::table(std::string_view name) {
    std::string key = lower(name);
    auto it = tables_.find(key);
    if (it != tables_.end()) return it->second.get();
    auto st = prepare("SELECT name, type FROM pragma_table_info(?1)");
    st->bind(1, Value(std::string(name)));
    auto def = std::make_unique<TableDef>();
    while (st->step()) def->columns.push_back(columnFromDeclaredType(st->column(0).toText(), st->column(1).toText()));
    if (def->columns.empty()) return nullptr;
    // The table's own spelling, as created.
    auto n = prepare("SELECT name FROM sqlite_schema WHERE type='table' AND name=?1 COLLATE NOCASE");
    n->bind(1, Value(std::string(name)));
    def->name = n->step() ? n->column(0).toText() : std::string(name);
    return (tables_[key] = std::move(def)).get();
}

std::vector<std::string> Database::tableNames() {
    std::vector<std::string> names;
    auto st = prepare("SELECT name FROM sqlite_schema WHERE type='table' ORDER BY rowid");
    while (st->step()) names.push_back(st->column(0).toText());
    return names;
}

Transaction::Transaction(Database& db) : db_(db) { db_.exec("BEGIN"); }

Transaction::~Transaction() {
    if (!done_) {
        try {
            db_.exec("ROLLBACK");
        } catch (...) {
        }
    }
}

void Transaction::commit() {
    db_.exec("COMMIT");
    done_ = true;
}

}  // namespace brindale::store
