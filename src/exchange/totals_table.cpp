// Decoding the RC_xx tables in place.
#include <chrono>

#include "store/database.h"
#include "store/schema.h"
#include "totals.h"

namespace brindale::exchange {

std::vector<int> fieldColumnSizes(store::Database& db, const TotalsLayout& layout) {
    std::vector<int> sizes;
    const store::TableDef* def = db.table(layout.table);
    if (!def) db.fail(std::string("no table ") + layout.table);
    for (int n = 0; n < layout.fieldCount && size_t(n) < def->columns.size(); ++n)
        sizes.push_back(def->columns[size_t(n)].size);
    return sizes;
}

long decodeTable(store::Database& db, const TotalsLayout& layout, const DecodeSettings& settings,
                 const std::function<void(long, long)>& progress) {
    const store::TableDef* def = db.table(layout.table);
    if (!def) db.fail(std::string("no table ") + layout.table);
    if (def->columns.size() < size_t(layout.fieldCount))
        throw TotalsFault(layout.table, 0, def->columns.size(), size_t(layout.fieldCount));
    const std::vector<int> sizes = fieldColumnSizes(db, layout);
    const std::string table = store::quoteIdent(layout.table);

    long total = 0;
    if (progress) {
        auto count = db.prepare("SELECT COUNT(*) FROM " + table);
        if (count->step()) total = long(count->columnInt(0));
    }
    std::string sql = "UPDATE " + table + " SET ";
    for (int n = 0; n < layout.fieldCount; ++n) {
        if (n) sql += ',';
        sql += store::quoteIdent(def->columns[size_t(n)].name) + "=?" + std::to_string(n + 1);
    }
    sql += " WHERE rowid=?" + std::to_string(layout.fieldCount + 1);

    store::Transaction tx(db);
    auto read = db.prepare("SELECT rowid, KVRBinData FROM " + table + " ORDER BY rowid");
    auto write = db.prepare(sql);
    sqlite3_stmt* rs = read->handle();
    sqlite3_stmt* ws = write->handle();
    long row = 0;
    auto last = std::chrono::steady_clock::now();
    while (read->step()) {
        ++row;
        const int64_t rowid = sqlite3_column_int64(rs, 0);
        const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(rs, 1));
        const size_t length = size_t(sqlite3_column_bytes(rs, 1));
        const std::vector<std::string> texts = decodeRecord(layout, bytes, length, sizes, settings, row);
        sqlite3_reset(ws);
        for (size_t n = 0; n < texts.size(); ++n)
            sqlite3_bind_text(ws, int(n + 1), texts[n].data(), int(texts[n].size()), SQLITE_STATIC);
        sqlite3_bind_int64(ws, layout.fieldCount + 1, rowid);
        if (sqlite3_step(ws) != SQLITE_DONE) db.fail(sql);
        if (progress) {
            const auto now = std::chrono::steady_clock::now();
            if (now - last > std::chrono::milliseconds(100)) {
                progress(row, total);
                last = now;
            }
        }
    }
    tx.commit();
    if (progress) progress(row, total);
    return row;
}

}  // namespace brindale::exchange
