#pragma once
// Moves the codec's row structs in and out of the working database, column by column by name.
// Columns of the struct that the table lacks are left alone; columns of the table that the
// struct lacks are not touched.
#include <span>
#include <string>
#include <vector>

#include "codec/columns.h"
#include "store/database.h"

namespace brindale::store {

template <class Row>
class RowMapper {
public:
    RowMapper(Database& db, const std::string& table, std::span<const codec::ColumnInfo<Row>> columns) {
        const TableDef* t = db.table(table);
        if (!t) db.fail("there is no table " + table);
        table_ = t->name;
        for (const auto& c : columns) {
            int idx = t->columnIndex(c.name);
            if (idx < 0) continue;
            mapped_.push_back({&c, t->columns[static_cast<size_t>(idx)]});
        }
    }

    const std::string& table() const { return table_; }
    size_t size() const { return mapped_.size(); }

    // "SELECT rowid, c1, c2 ... FROM t ORDER BY rowid": column 0 is the row id.
    std::string selectSql(const std::string& where = {}) const {
        std::string sql = "SELECT rowid";
        for (const auto& m : mapped_) sql += ", " + quoteIdent(m.def.name);
        sql += " FROM " + quoteIdent(table_);
        if (!where.empty()) sql += " WHERE " + where;
        return sql + " ORDER BY rowid";
    }
    std::string insertSql() const {
        std::string sql = "INSERT INTO " + quoteIdent(table_) + " (", vals;
        for (size_t i = 0; i < mapped_.size(); ++i) {
            if (i) { sql += ","; vals += ","; }
            sql += quoteIdent(mapped_[i].def.name);
            vals += "?" + std::to_string(i + 1);
        }
        return sql + ") VALUES (" + vals + ")";
    }
    std::string updateSql() const {
        std::string sql = "UPDATE " + quoteIdent(table_) + " SET ";
        for (size_t i = 0; i < mapped_.size(); ++i) {
            if (i) sql += ",";
            sql += quoteIdent(mapped_[i].def.name) + "=?" + std::to_string(i + 1);
        }
        return sql + " WHERE rowid=?" + std::to_string(mapped_.size() + 1);
    }

    // Reads a row of selectSql() (column 0 is the row id). Reuses the row's storage: a pass over
    // a large table allocates next to nothing per row.
    void read(const Statement& st, Row& row) const {
        sqlite3_stmt* s = st.handle();
        for (size_t i = 0; i < mapped_.size(); ++i) {
            const int col = static_cast<int>(i + 1);
            const auto& c = *mapped_[i].info;
            switch (c.kind) {
                case codec::ColumnKind::Number: {
                    const int64_t v = sqlite3_column_int64(s, col);
                    row.*c.number = (v == 0 && sqlite3_column_type(s, col) == SQLITE_NULL) ? codec::kNullNumber : v;
                    break;
                }
                case codec::ColumnKind::Text: {
                    auto& t = row.*c.text;
                    const auto* p = reinterpret_cast<const char*>(sqlite3_column_text(s, col));
                    if (!p) t.reset();
                    else if (t) t->assign(p, static_cast<size_t>(sqlite3_column_bytes(s, col)));
                    else t.emplace(p, static_cast<size_t>(sqlite3_column_bytes(s, col)));
                    break;
                }
                case codec::ColumnKind::Bytes: {
                    auto& b = row.*c.bytes;
                    if (sqlite3_column_type(s, col) == SQLITE_NULL) {
                        b.reset();
                        break;
                    }
                    const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(s, col));
                    const auto n = static_cast<size_t>(sqlite3_column_bytes(s, col));
                    if (b) b->assign(p, p + n);
                    else b.emplace(p, p + n);
                    break;
                }
            }
        }
    }

    // Binds the row's values as ?1 .. ?n.
    void bind(Statement& st, const Row& row) const {
        sqlite3_stmt* s = st.handle();
        for (size_t i = 0; i < mapped_.size(); ++i) {
            const int p = static_cast<int>(i + 1);
            const auto& c = *mapped_[i].info;
            switch (c.kind) {
                case codec::ColumnKind::Number: {
                    int64_t v = row.*c.number;
                    if (v == codec::kNullNumber) sqlite3_bind_null(s, p);
                    else sqlite3_bind_int64(s, p, v);
                    break;
                }
                case codec::ColumnKind::Text: {
                    const auto& v = row.*c.text;
                    if (!v) sqlite3_bind_null(s, p);
                    else sqlite3_bind_text(s, p, v->data(), static_cast<int>(v->size()), SQLITE_STATIC);
                    break;
                }
                case codec::ColumnKind::Bytes: {
                    const auto& v = row.*c.bytes;
                    if (!v) sqlite3_bind_null(s, p);
                    else sqlite3_bind_blob(s, p, v->empty() ? "" : static_cast<const void*>(v->data()),
                                           static_cast<int>(v->size()), SQLITE_STATIC);
                    break;
                }
            }
        }
    }

    // A row as the table makes it new: 0 in long columns, "" in short text columns, null elsewhere.
    Row freshRow() const {
        Row row{};
        for (const auto& m : mapped_) {
            const auto& c = *m.info;
            if (c.kind == codec::ColumnKind::Number) row.*c.number = m.def.type == TypeLong ? 0 : codec::kNullNumber;
            else if (c.kind == codec::ColumnKind::Text) {
                if (m.def.type == TypeText) (row.*c.text).emplace();
                else (row.*c.text).reset();
            } else (row.*c.bytes).reset();
        }
        return row;
    }

private:
    struct Mapped {
        const codec::ColumnInfo<Row>* info;
        ColumnDef def;
    };
    std::string table_;
    std::vector<Mapped> mapped_;
};

}  // namespace brindale::store
