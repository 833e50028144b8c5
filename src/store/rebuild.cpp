#include "rebuild.h"

#include <filesystem>

#include "fatal_error.h"

namespace fs = std::filesystem;

namespace brindale::store {

std::string temporaryDatabasePath(const std::string& databasePath) {
    if (databasePath.size() < 4) return databasePath + "_.mdb";
    return databasePath.substr(0, databasePath.size() - 4) + "_.mdb";
}

int rebuildDatabase(const std::string& schemaPath, const std::string& databasePath, int /*mode*/) {
    const std::string temp = temporaryDatabasePath(databasePath);
    std::error_code ec;
    if (!fs::exists(schemaPath, ec)) return 1;

    // Everything that can fail is checked before the first file is touched.
    Schema schema = readSchemaFile(schemaPath);
    const bool dbExists = fs::exists(databasePath, ec);
    if (dbExists && fs::exists(temp, ec))
        throw FatalError(temp, 0,
                         "a left-over temporary database stands beside " + fs::path(databasePath).filename().string() +
                             "; remove it and start again");

    if (dbExists) {
        if (!fs::remove(databasePath, ec) || ec)
            throw FatalError(databasePath, 0, "the old working database cannot be deleted: " + ec.message());
    } else if (fs::exists(temp, ec)) {
        fs::remove(temp, ec);
    }
    fs::create_directories(fs::path(databasePath).parent_path(), ec);

    {
        sqlite3* raw = nullptr;
        if (sqlite3_open_v2(temp.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) != SQLITE_OK) {
            std::string msg = raw ? sqlite3_errmsg(raw) : "cannot create the file";
            sqlite3_close(raw);
            throw FatalError(temp, 0, msg);
        }
        std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close);
        auto run = [&](const std::string& sql, const std::string& table) {
            char* err = nullptr;
            if (sqlite3_exec(db.get(), sql.c_str(), nullptr, nullptr, &err) != SQLITE_OK) {
                std::string msg = err ? err : "error";
                sqlite3_free(err);
                throw FatalError(schemaPath, 0, (table.empty() ? "" : "table " + table + ": ") + msg);
            }
        };
        // Large pages: a PLU row is wide, and a page that holds many of them makes rewriting them
        // (marking every PLU of a list, the start's fill) cheaper.
        run("PRAGMA page_size=" + std::to_string(kPageSize), "");
        run("BEGIN", "");
        for (const auto& t : schema.tables) run(createTableSql(t), t.name);
        run("COMMIT", "");
        // The compacted copy is what takes the database's name.
        std::string target = databasePath;
        std::string quoted;
        for (char c : target) quoted += (c == '\'') ? std::string("''") : std::string(1, c);
        run("VACUUM INTO '" + quoted + "'", "");
    }
    fs::remove(temp, ec);
    return 0;
}

void markDatabaseComplete(Database& db) { db.exec("PRAGMA user_version=" + std::to_string(kCompleteDatabaseMark)); }

bool isRecoverableDatabase(const std::string& schemaPath, const std::string& databasePath) {
    std::error_code ec;
    if (!fs::is_regular_file(databasePath, ec) || fs::exists(temporaryDatabasePath(databasePath), ec)) return false;
    if (!fs::exists(schemaPath, ec)) return false;
    Schema schema;
    try {
        schema = readSchemaFile(schemaPath);
    } catch (const FatalError&) {
        return false;  // the rebuild reports the damaged schema text
    }
    sqlite3* raw = nullptr;
    // Read-write, so that SQLite can roll back a transaction the crash cut off.
    if (sqlite3_open_v2(databasePath.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
        sqlite3_close(raw);
        return false;
    }
    std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close);
    sqlite3_busy_timeout(raw, 2000);
    auto single = [&](const char* sql, std::string& out) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(raw, sql, -1, &st, nullptr) != SQLITE_OK) return false;
        bool ok = sqlite3_step(st) == SQLITE_ROW;
        if (ok) {
            const unsigned char* t = sqlite3_column_text(st, 0);
            out = t ? reinterpret_cast<const char*>(t) : "";
        }
        sqlite3_finalize(st);
        return ok;
    };
    std::string v;
    if (!single("PRAGMA user_version", v) || v != std::to_string(kCompleteDatabaseMark)) return false;
    if (!single("PRAGMA integrity_check", v) || v != "ok") return false;
    for (const auto& t : schema.tables) {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(raw, "SELECT 1 FROM sqlite_master WHERE type='table' AND name=?1 COLLATE NOCASE", -1,
                               &st, nullptr) != SQLITE_OK)
            return false;
        sqlite3_bind_text(st, 1, t.name.c_str(), -1, SQLITE_TRANSIENT);
        const bool present = sqlite3_step(st) == SQLITE_ROW;
        sqlite3_finalize(st);
        if (present) continue;
        // A run of an earlier version had no such table (the transfer history came later): its
        // work is still worth recovering, with the table added empty.
        const std::string create = createTableSql(t);
        if (sqlite3_exec(raw, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return false;
    }
    return true;
}

std::unique_ptr<Database> linkDatabase(const std::string& databasePath) {
    std::error_code ec;
    if (!fs::exists(databasePath, ec)) return nullptr;
    return Database::open(databasePath);
}

}  // namespace brindale::store
