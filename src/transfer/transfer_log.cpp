#include "transfer/transfer_log.h"

#include <sqlite3.h>

#include <ctime>
#include <filesystem>

namespace brindale::transfer {

namespace {

struct Stmt {
    sqlite3_stmt* s = nullptr;
    ~Stmt() { sqlite3_finalize(s); }
};

bool exec(sqlite3* db, const char* sql, std::string& error) {
    char* msg = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &msg) != SQLITE_OK) {
        error = std::string("TRANSFER_LOG: ") + (msg ? msg : sqlite3_errmsg(db));
        sqlite3_free(msg);
        return false;
    }
    return true;
}

bool prepare(sqlite3* db, const std::string& sql, Stmt& st, std::string& error) {
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &st.s, nullptr) != SQLITE_OK) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
        return false;
    }
    return true;
}

// The mirror keeps one value a line, so a value never holds a line break.
std::string oneLine(std::string s) {
    for (char& c : s)
        if (c == '\r' || c == '\n') c = ' ';
    return s;
}

std::string withoutBlanks(const std::string& s) {
    std::string out;
    for (char c : s)
        if (c != ' ' && c != '\t') out += c;
    return out;
}

std::string columnText(sqlite3_stmt* st, int i) {
    const auto* t = sqlite3_column_text(st, i);
    return t ? std::string(reinterpret_cast<const char*>(t), size_t(sqlite3_column_bytes(st, i))) : std::string();
}

constexpr const char* kColumns =
    "TL_Start, TL_Duration, TL_Mode, TL_Tables, TL_Store, TL_Section, TL_ScaleName, TL_ScaleAddress, TL_State, "
    "TL_Reason, TL_Detail, TL_Done, TL_ToDo, TL_Notes";

}  // namespace

std::string isoLocalTime(std::chrono::system_clock::time_point t) {
    const std::time_t secs = std::chrono::system_clock::to_time_t(t);
    std::tm tm{};
    localtime_r(&secs, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S", &tm);
    return buf;
}

std::vector<TransferLogRow> transferLogRows(const TransferRequest& request, const TransferSummary& summary,
                                            const LanguageTexts& texts, const std::string& start,
                                            int64_t durationMs) {
    TransferLogRow base;
    base.start = start;
    base.durationMs = durationMs;
    base.mode = request.mode;
    for (size_t i = 0; i < request.tables.size(); ++i) base.tables += (i ? "," : "") + request.tables[i];
    base.store = request.store;
    base.section = request.section;
    for (const auto& n : summary.notes) {
        if (!base.notes.empty()) base.notes += "; ";
        base.notes += texts.text(n);
    }
    base.tables = oneLine(base.tables);
    base.notes = oneLine(base.notes);

    std::vector<TransferLogRow> rows;
    if (summary.scales.empty()) {
        // Nothing was contacted: the one row says why.
        TransferLogRow r = base;
        r.state = summary.cancelled ? stateKey(ScaleState::Cancelled) : stateKey(ScaleState::Failed);
        r.reason = reasonKey(summary.reason);
        r.detail = oneLine(texts.text(summary.detail));
        rows.push_back(std::move(r));
        return rows;
    }
    for (const auto& o : summary.scales) {
        TransferLogRow r = base;
        r.scaleName = oneLine(o.target.name);
        r.scaleAddress = oneLine(withoutBlanks(o.target.paddedAddress));
        r.state = stateKey(o.state);
        r.reason = reasonKey(o.reason);
        r.detail = oneLine(o.detail);
        r.done = int64_t(o.done);
        r.toDo = int64_t(o.total);
        rows.push_back(std::move(r));
    }
    return rows;
}

bool appendTransferLog(sqlite3* db, const std::vector<TransferLogRow>& rows, std::string& error, int limit) {
    if (!exec(db, "BEGIN IMMEDIATE", error)) return false;
    auto fail = [&] {
        std::string ignore;
        exec(db, "ROLLBACK", ignore);
        return false;
    };
    {
        Stmt ins;
        if (!prepare(db, std::string("INSERT INTO TRANSFER_LOG (") + kColumns +
                             ") VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14)",
                     ins, error))
            return fail();
        for (const auto& r : rows) {
            auto text = [&](int i, const std::string& s) { sqlite3_bind_text(ins.s, i, s.c_str(), int(s.size()), SQLITE_TRANSIENT); };
            text(1, r.start);
            sqlite3_bind_int64(ins.s, 2, r.durationMs);
            sqlite3_bind_int(ins.s, 3, r.mode);
            text(4, r.tables);
            sqlite3_bind_int(ins.s, 5, r.store);
            sqlite3_bind_int(ins.s, 6, r.section);
            text(7, r.scaleName);
            text(8, r.scaleAddress);
            text(9, r.state);
            text(10, r.reason);
            text(11, r.detail);
            sqlite3_bind_int64(ins.s, 12, r.done);
            sqlite3_bind_int64(ins.s, 13, r.toDo);
            text(14, r.notes);
            if (sqlite3_step(ins.s) != SQLITE_DONE) {
                error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
                return fail();
            }
            sqlite3_reset(ins.s);
        }
    }
    {
        // Rows are written in time order, so the lowest row ids are the oldest.
        Stmt trim;
        if (!prepare(db,
                     "DELETE FROM TRANSFER_LOG WHERE rowid IN (SELECT rowid FROM TRANSFER_LOG ORDER BY rowid "
                     "LIMIT max(0, (SELECT count(*) FROM TRANSFER_LOG) - ?1))",
                     trim, error))
            return fail();
        sqlite3_bind_int(trim.s, 1, limit);
        if (sqlite3_step(trim.s) != SQLITE_DONE) {
            error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
            return fail();
        }
    }
    if (!exec(db, "COMMIT", error)) return fail();
    return true;
}

bool appendTransferLog(const std::string& databasePath, const std::vector<TransferLogRow>& rows,
                       std::string& error, int busyTimeoutMs, int limit) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(databasePath, ec)) {
        error = "database file not found: " + databasePath;
        return false;
    }
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(databasePath.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        error = "cannot open " + databasePath + ": " + (db ? sqlite3_errmsg(db) : "out of memory");
        sqlite3_close_v2(db);
        return false;
    }
    sqlite3_busy_timeout(db, busyTimeoutMs);
    const bool ok = appendTransferLog(db, rows, error, limit);
    sqlite3_close_v2(db);
    return ok;
}

bool ensureTransferLogIndexes(sqlite3* db, std::string& error) {
    return exec(db,
                "CREATE INDEX IF NOT EXISTS TRANSFER_LOG_Start ON TRANSFER_LOG (TL_Start);"
                "CREATE INDEX IF NOT EXISTS TRANSFER_LOG_Scale ON TRANSFER_LOG "
                "(TL_ScaleName, TL_ScaleAddress, TL_Start);",
                error);
}

namespace {

// The filter's statement over `what`; the indexes give the order without a sort.
bool prepareFiltered(sqlite3* db, const TransferLogFilter& filter, const std::string& what, Stmt& st,
                     std::string& error) {
    if (!ensureTransferLogIndexes(db, error)) return false;
    std::string sql = "SELECT " + what + " FROM TRANSFER_LOG WHERE 1";
    if (filter.scale) sql += " AND TL_ScaleName = ?1 AND TL_ScaleAddress = ?2";
    if (!filter.fromDate.empty()) sql += " AND TL_Start >= ?3";
    if (!filter.toDate.empty()) sql += " AND TL_Start < date(?4, '+1 day')";
    sql += " ORDER BY TL_Start DESC, rowid DESC";
    if (!prepare(db, sql, st, error)) return false;
    if (filter.scale) {
        sqlite3_bind_text(st.s, 1, filter.scale->first.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(st.s, 2, filter.scale->second.c_str(), -1, SQLITE_TRANSIENT);
    }
    if (!filter.fromDate.empty()) sqlite3_bind_text(st.s, 3, filter.fromDate.c_str(), -1, SQLITE_TRANSIENT);
    if (!filter.toDate.empty()) sqlite3_bind_text(st.s, 4, filter.toDate.c_str(), -1, SQLITE_TRANSIENT);
    return true;
}

// A row as selected by "rowid, <kColumns>".
void readRow(sqlite3_stmt* st, TransferLogRow& r) {
    r.id = sqlite3_column_int64(st, 0);
    r.start = columnText(st, 1);
    r.durationMs = sqlite3_column_int64(st, 2);
    r.mode = sqlite3_column_int(st, 3);
    r.tables = columnText(st, 4);
    r.store = sqlite3_column_int(st, 5);
    r.section = sqlite3_column_int(st, 6);
    r.scaleName = columnText(st, 7);
    r.scaleAddress = columnText(st, 8);
    r.state = columnText(st, 9);
    r.reason = columnText(st, 10);
    r.detail = columnText(st, 11);
    r.done = sqlite3_column_int64(st, 12);
    r.toDo = sqlite3_column_int64(st, 13);
    r.notes = columnText(st, 14);
}

}  // namespace

bool queryTransferLog(sqlite3* db, const TransferLogFilter& filter, std::vector<TransferLogRow>& out,
                      std::string& error) {
    out.clear();
    Stmt st;
    if (!prepareFiltered(db, filter, std::string("rowid, ") + kColumns, st, error)) return false;
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) {
        out.emplace_back();
        readRow(st.s, out.back());
    }
    if (rc != SQLITE_DONE) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
        out.clear();
        return false;
    }
    return true;
}

bool queryTransferLogIds(sqlite3* db, const TransferLogFilter& filter, std::vector<int64_t>& out,
                         std::string& error) {
    out.clear();
    Stmt st;
    if (!prepareFiltered(db, filter, "rowid", st, error)) return false;
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) out.push_back(sqlite3_column_int64(st.s, 0));
    if (rc != SQLITE_DONE) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
        out.clear();
        return false;
    }
    return true;
}

TransferLogReader::~TransferLogReader() { sqlite3_finalize(st_); }

bool TransferLogReader::read(int64_t id, TransferLogRow& out, std::string& error) {
    if (!st_ && sqlite3_prepare_v2(db_, (std::string("SELECT rowid, ") + kColumns + " FROM TRANSFER_LOG WHERE rowid = ?1").c_str(),
                                   -1, &st_, nullptr) != SQLITE_OK) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db_);
        return false;
    }
    sqlite3_bind_int64(st_, 1, id);
    const int rc = sqlite3_step(st_);
    bool ok = rc == SQLITE_ROW;
    if (ok) readRow(st_, out);
    else error = rc == SQLITE_DONE ? "TRANSFER_LOG: row " + std::to_string(id) + " is gone"
                                   : std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db_);
    sqlite3_reset(st_);
    return ok;
}

bool transferLogScales(sqlite3* db, std::vector<TransferLogScale>& out, std::string& error) {
    out.clear();
    if (!ensureTransferLogIndexes(db, error)) return false;
    Stmt st;
    if (!prepare(db,
                 "SELECT TL_ScaleName, TL_ScaleAddress FROM TRANSFER_LOG WHERE TL_ScaleName <> '' OR "
                 "TL_ScaleAddress <> '' GROUP BY TL_ScaleName, TL_ScaleAddress ORDER BY TL_ScaleName, "
                 "TL_ScaleAddress",
                 st, error))
        return false;
    int rc;
    while ((rc = sqlite3_step(st.s)) == SQLITE_ROW) out.push_back({columnText(st.s, 0), columnText(st.s, 1)});
    if (rc != SQLITE_DONE) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
        return false;
    }
    return true;
}

bool transferLogSpan(sqlite3* db, std::string& oldest, std::string& newest, std::string& error) {
    oldest.clear();
    newest.clear();
    if (!ensureTransferLogIndexes(db, error)) return false;
    Stmt st;
    if (!prepare(db, "SELECT (SELECT min(TL_Start) FROM TRANSFER_LOG), (SELECT max(TL_Start) FROM TRANSFER_LOG)", st, error)) return false;
    if (sqlite3_step(st.s) != SQLITE_ROW) {
        error = std::string("TRANSFER_LOG: ") + sqlite3_errmsg(db);
        return false;
    }
    oldest = columnText(st.s, 0);
    newest = columnText(st.s, 1);
    return true;
}

}  // namespace brindale::transfer
