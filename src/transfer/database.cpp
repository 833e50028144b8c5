#include "transfer/database.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace brindale::transfer {

namespace fs = std::filesystem;

namespace {
bool iequal(const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

struct Stmt {
    sqlite3_stmt* s = nullptr;
    ~Stmt() { sqlite3_finalize(s); }
};
}  // namespace

std::string resolveDatabasePath(const std::string& given) {
    std::string p = given;
    std::replace(p.begin(), p.end(), '\\', '/');
    std::vector<std::string> parts;
    size_t i = 0;
    const bool absolute = !p.empty() && p[0] == '/';
    while (i <= p.size()) {
        size_t j = p.find('/', i);
        if (j == std::string::npos) j = p.size();
        if (j > i) parts.push_back(p.substr(i, j - i));
        i = j + 1;
    }
    fs::path cur = absolute ? fs::path("/") : fs::path();
    std::error_code ec;
    for (const auto& part : parts) {
        fs::path next = cur / part;
        if (part != "." && part != ".." && !fs::exists(next, ec)) {
            const fs::path dir = cur.empty() ? fs::path(".") : cur;
            for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
                const std::string name = it->path().filename().string();
                if (iequal(name, part)) { next = cur / name; break; }
            }
            ec.clear();
        }
        cur = next;
    }
    return cur.string();
}

WorkingDb::~WorkingDb() { close(); }

void WorkingDb::close() {
    if (db_) { sqlite3_close_v2(db_); db_ = nullptr; }
}

bool WorkingDb::open(const std::string& path, int busyTimeoutMs, std::string& error) {
    close();
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) {
        error = "database file not found: " + path;
        return false;
    }
    const int rc = sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        error = "cannot open " + path + ": " + (db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc));
        close();
        return false;
    }
    sqlite3_busy_timeout(db_, busyTimeoutMs);
    // The working file is rebuilt at every start, so a lost write on a power
    // cut costs nothing; waiting for the disk on every commit would.
    std::string ignore;
    exec("PRAGMA synchronous=OFF", ignore);
    // Fetched files can be large; a bigger page cache spares spills mid-insert.
    exec("PRAGMA cache_size=-32768", ignore);
    // Touch the schema so that a file that is not a database shows now.
    Stmt st;
    if (sqlite3_prepare_v2(db_, "SELECT count(*) FROM sqlite_master", -1, &st.s, nullptr) != SQLITE_OK ||
        sqlite3_step(st.s) != SQLITE_ROW) {
        error = path + " is not a usable database: " + sqlite3_errmsg(db_);
        close();
        return false;
    }
    return true;
}

bool WorkingDb::exec(const char* sql, std::string& error) {
    char* msg = nullptr;
    if (sqlite3_exec(db_, sql, nullptr, nullptr, &msg) != SQLITE_OK) {
        error = msg ? msg : "unknown error";
        sqlite3_free(msg);
        return false;
    }
    return true;
}

bool WorkingDb::tableExists(const std::string& table) {
    Stmt st;
    if (sqlite3_prepare_v2(db_, "SELECT 1 FROM sqlite_master WHERE type='table' AND name=? COLLATE NOCASE", -1,
                           &st.s, nullptr) != SQLITE_OK)
        return false;
    sqlite3_bind_text(st.s, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    return sqlite3_step(st.s) == SQLITE_ROW;
}

bool WorkingDb::readScales(int store, int section, std::vector<ScaleRow>& out, std::string& error) {
    out.clear();
    Stmt st;
    const char* sql =
        "SELECT SC_IP, SC_No, SECT_No FROM SCALE WHERE ST_No=?1 AND (?2=0 OR SECT_No=?2) "
        "AND SC_Used<>0 ORDER BY SECT_No, rowid";
    if (sqlite3_prepare_v2(db_, sql, -1, &st.s, nullptr) != SQLITE_OK) {
        error = std::string("table SCALE: ") + sqlite3_errmsg(db_);
        return false;
    }
    sqlite3_bind_int(st.s, 1, store);
    sqlite3_bind_int(st.s, 2, section);
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
        ScaleRow r;
        if (auto t = sqlite3_column_text(st.s, 0)) r.paddedAddress = reinterpret_cast<const char*>(t);
        if (auto t = sqlite3_column_text(st.s, 1)) r.name = reinterpret_cast<const char*>(t);
        r.section = sqlite3_column_int(st.s, 2);
        out.push_back(std::move(r));
    }
    if (rc != SQLITE_DONE) {
        error = std::string("table SCALE: ") + sqlite3_errmsg(db_);
        return false;
    }
    return true;
}

bool WorkingDb::readSelected(const std::string& code, std::vector<SelectedRow>& out, std::string& error) {
    out.clear();
    const std::string table = "KVR_" + code;  // code is checked to be two letters or digits
    const std::string sql = "SELECT rowid, KVRBinData FROM " + table + " WHERE Is_Selected<>0 ORDER BY rowid";
    Stmt st;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &st.s, nullptr) != SQLITE_OK) {
        error = "table " + table + ": " + sqlite3_errmsg(db_);
        return false;
    }
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
        SelectedRow r;
        r.rowid = sqlite3_column_int64(st.s, 0);
        if (sqlite3_column_type(st.s, 1) != SQLITE_NULL) {
            r.isNull = false;
            const void* b = sqlite3_column_blob(st.s, 1);
            const int n = sqlite3_column_bytes(st.s, 1);
            if (b && n > 0) r.bytes.assign(static_cast<const uint8_t*>(b), static_cast<const uint8_t*>(b) + n);
        }
        out.push_back(std::move(r));
    }
    if (rc != SQLITE_DONE) {
        error = "table " + table + ": " + sqlite3_errmsg(db_);
        return false;
    }
    return true;
}

bool WorkingDb::insertRecords(const std::string& code, const std::vector<proto::RecordView>& records,
                              std::string& error, AddedRows* added) {
    const std::string table = "RC_" + code;
    std::string e;
    if (!exec("BEGIN IMMEDIATE", e)) {
        error = "table " + table + ": " + e;
        return false;
    }
    // New rows take rowids above the largest, one after another, while this
    // connection is the only one writing: the call's rows are those above it.
    int64_t before = 0;
    if (added) {
        Stmt mx;
        const std::string sql = "SELECT coalesce(max(rowid), 0) FROM " + table;
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &mx.s, nullptr) != SQLITE_OK ||
            sqlite3_step(mx.s) != SQLITE_ROW) {
            error = "table " + table + ": " + sqlite3_errmsg(db_);
            exec("ROLLBACK", e);
            return false;
        }
        before = sqlite3_column_int64(mx.s, 0);
    }
    // The RC_ tables are wide, and SQLite's cost per row is mostly per
    // statement run; many rows to a statement cut that down.
    constexpr size_t kRowsPerStatement = 100;
    std::string bulkSql = "INSERT INTO " + table + " (KVRBinData) VALUES (?)";
    for (size_t i = 1; i < kRowsPerStatement; ++i) bulkSql += ",(?)";
    const std::string oneSql = "INSERT INTO " + table + " (KVRBinData) VALUES (?)";
    bool ok = true;
    {
        Stmt bulk, one;
        if (sqlite3_prepare_v2(db_, oneSql.c_str(), -1, &one.s, nullptr) != SQLITE_OK ||
            (records.size() >= kRowsPerStatement &&
             sqlite3_prepare_v2(db_, bulkSql.c_str(), -1, &bulk.s, nullptr) != SQLITE_OK)) {
            error = "table " + table + ": " + sqlite3_errmsg(db_);
            ok = false;
        }
        size_t i = 0;
        for (; ok && i + kRowsPerStatement <= records.size(); i += kRowsPerStatement) {
            for (size_t k = 0; k < kRowsPerStatement; ++k)
                sqlite3_bind_blob(bulk.s, int(k + 1), records[i + k].data, int(records[i + k].size), SQLITE_STATIC);
            if (sqlite3_step(bulk.s) != SQLITE_DONE) {
                error = "table " + table + ", records " + std::to_string(i + 1) + " to " +
                        std::to_string(i + kRowsPerStatement) + ": " + sqlite3_errmsg(db_);
                ok = false;
            }
            sqlite3_reset(bulk.s);
        }
        for (; ok && i < records.size(); ++i) {
            sqlite3_bind_blob(one.s, 1, records[i].data, int(records[i].size), SQLITE_STATIC);
            if (sqlite3_step(one.s) != SQLITE_DONE) {
                error = "table " + table + ", record " + std::to_string(i + 1) + ": " + sqlite3_errmsg(db_);
                ok = false;
            }
            sqlite3_reset(one.s);
        }
    }
    const int64_t last = records.empty() ? before : sqlite3_last_insert_rowid(db_);
    if (ok && !exec("COMMIT", e)) {
        error = "table " + table + ": " + e;
        ok = false;
    }
    if (!ok) exec("ROLLBACK", e);
    if (ok && added) *added = {before, last};
    return ok;
}

bool WorkingDb::removeAdded(const std::string& code, const std::vector<AddedRows>& added, std::string& error) {
    const std::string table = "RC_" + code;
    std::string e;
    if (!exec("BEGIN IMMEDIATE", e)) {
        error = "table " + table + ": " + e;
        return false;
    }
    bool ok = true;
    {
        Stmt del;
        const std::string sql = "DELETE FROM " + table + " WHERE rowid > ?1 AND rowid <= ?2";
        ok = sqlite3_prepare_v2(db_, sql.c_str(), -1, &del.s, nullptr) == SQLITE_OK;
        for (size_t i = 0; ok && i < added.size(); ++i) {
            sqlite3_bind_int64(del.s, 1, added[i].after);
            sqlite3_bind_int64(del.s, 2, added[i].last);
            ok = sqlite3_step(del.s) == SQLITE_DONE;
            sqlite3_reset(del.s);
        }
    }
    if (!ok) error = "table " + table + ": " + sqlite3_errmsg(db_);
    if (ok && !exec("COMMIT", e)) {
        error = "table " + table + ": " + e;
        ok = false;
    }
    if (!ok) exec("ROLLBACK", e);
    return ok;
}

}  // namespace brindale::transfer
