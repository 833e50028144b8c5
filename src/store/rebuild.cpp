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

std::unique_ptr<Database> linkDatabase(const std::string& databasePath) {
    std::error_code ec;
    if (!fs::exists(databasePath, ec)) return nullptr;
    return Database::open(databasePath);
}

}  // namespace brindale::store
