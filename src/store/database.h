#pragma once
// The working database: an ordinary SQLite file. One connection per Database object.
// Every statement runs in autocommit mode unless a Transaction is open, so that each save
// is on disk before the next user action and other connections see it.
#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "schema.h"
#include "value.h"

namespace brindale::store {

class Statement {
public:
    Statement(sqlite3* db, sqlite3_stmt* st) : db_(db), st_(st) {}
    Statement(const Statement&) = delete;
    ~Statement();

    void reset();
    // For a statement whose every parameter is bound again before its next step: the values are
    // not cleared, which costs a call per parameter on wide rows.
    void resetKeepingBindings();
    void bind(int index, const Value& v);  // 1-based
    bool step();                           // true while a row is there
    int columnCount() const;
    Value column(int index) const;  // 0-based
    int64_t columnInt(int index) const;
    sqlite3_stmt* handle() const { return st_; }

private:
    sqlite3* db_;
    sqlite3_stmt* st_;
};

class Database {
public:
    // Opens an existing file; a missing file is not created (the rebuild makes it).
    static std::unique_ptr<Database> open(const std::string& path);
    ~Database();
    Database(const Database&) = delete;

    bool isOpen() const { return db_ != nullptr; }
    void close();
    const std::string& path() const { return path_; }
    sqlite3* handle() const { return db_; }

    void exec(const std::string& sql);
    // A statement kept for the life of the connection: bulk paths prepare once, bind many times.
    Statement& cached(const std::string& sql);
    std::unique_ptr<Statement> prepare(const std::string& sql);

    // The tables as the file declares them (type numbers and sizes recovered from the declared
    // types). Read once per connection; the schema does not change while the program runs.
    const TableDef* table(std::string_view name);
    std::vector<std::string> tableNames();

    // Throws FatalError naming the database and the SQL.
    [[noreturn]] void fail(const std::string& what) const;

private:
    Database(sqlite3* db, std::string path) : db_(db), path_(std::move(path)) {}
    sqlite3* db_;
    std::string path_;
    std::map<std::string, std::unique_ptr<Statement>> cache_;
    std::map<std::string, std::unique_ptr<TableDef>> tables_;  // keyed by lower-case name
};

// Bulk work inside one call (the mirror, transfers) may hold a transaction; nothing else does.
class Transaction {
public:
    explicit Transaction(Database& db);
    ~Transaction();
    void commit();

private:
    Database& db_;
    bool done_ = false;
};

}  // namespace brindale::store
