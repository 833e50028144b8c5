#pragma once
// A recordset over a table or a SELECT, walked row by row, read and written by name or ordinal.
//
// Opened on a table name or on "select * from T ...", it is a keyset: the row ids are taken when
// it opens (table order, or the SELECT's ORDER BY) and each row is read when the cursor reaches
// it, so a recordset over a large table costs a few bytes a row. Such a recordset can add, change
// and delete rows; each Update or Delete is written to the file at once. Any other SELECT gives
// a read-only snapshot.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "database.h"

namespace brindale::store {

// Converts a value to a column's type as the engine does; a value that does not fit is a
// FatalError naming the table, the column and the value.
Value coerceValue(const ColumnDef& column, Value v, const std::string& table);

class Recordset {
public:
    Recordset(Database& db, std::string_view tableOrSelect);

    bool eof() const { return adding_ ? false : pos_ >= static_cast<long>(count()); }
    bool bof() const { return pos_ < 0 || count() == 0; }
    long recordCount() const { return static_cast<long>(count()); }
    long absolutePosition() const { return pos_; }

    void moveFirst();
    void moveLast();
    void moveNext();
    void movePrevious();
    void move(long n);
    // Makes the row at `position` (0-based, in the recordset's order) current; -1 and the count
    // are the two ends, as after MovePrevious on the first or MoveNext on the last row.
    void setAbsolutePosition(long position);
    void requery();

    // The keyset: the row id at a position and back, for views that read only the rows they show.
    // rowIdAt is 0 outside the rows; positionOf is -1 for an id that is not in the keyset.
    int64_t rowIdAt(long position) const;
    long positionOf(int64_t rowId) const;
    const std::vector<int64_t>& rowIds() const { return keys_; }
    // The current row is read again when next asked for (after a write that went around it).
    void forgetCurrent() { loadedPos_ = -1; }

    int fieldCount() const { return static_cast<int>(columns_.size()); }
    const ColumnDef& field(int ordinal) const { return columns_.at(static_cast<size_t>(ordinal)); }
    int ordinal(std::string_view name) const;  // case-insensitive; throws when absent
    bool hasField(std::string_view name) const;

    const Value& value(int ordinal) const;
    const Value& value(std::string_view name) const { return value(ordinal(name)); }
    int64_t intValue(std::string_view name) const { return value(name).toInt(); }
    std::string textValue(std::string_view name) const { return value(name).toText(); }

    // Converts to the column's type the way the engine does; a value that does not fit is a
    // FatalError naming the table, the column and the value.
    void setValue(int ordinal, Value v);
    void setValue(std::string_view name, Value v) { setValue(ordinal(name), std::move(v)); }

    void addNew();
    void update();
    void remove();  // deletes the current row; the next MoveNext lands on the row after it
    void cancelUpdate();

    bool updatable() const { return !table_.empty(); }
    const std::string& tableName() const { return table_; }
    Database& database() const { return db_; }

private:
    size_t count() const { return updatable() ? keys_.size() : rows_.size(); }
    void load() const;
    Value coerce(const ColumnDef& c, Value v) const;

    Database& db_;
    std::string table_;  // empty for a read-only snapshot
    std::string keySql_;
    std::vector<ColumnDef> columns_;
    std::vector<int64_t> keys_;
    std::vector<std::vector<Value>> rows_;  // snapshot rows
    long pos_ = 0;
    bool afterDelete_ = false;
    mutable long loadedPos_ = -1;
    mutable std::vector<Value> current_;
    std::vector<std::optional<Value>> pending_;
    bool adding_ = false;
};

}  // namespace brindale::store
