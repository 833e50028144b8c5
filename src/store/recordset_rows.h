#pragma once
// The codec's row structs to and from the current row of a recordset, column by column by name:
// what a form reads before it shows a row and writes back when it saves.
#include <span>

#include "codec/columns.h"
#include "store/recordset.h"

namespace brindale::store {

// Columns the recordset lacks keep the row's default; a text in a byte column is taken as bytes.
template <class Row>
Row rowFromRecordset(const Recordset& rs, std::span<const codec::ColumnInfo<Row>> columns) {
    Row row{};
    for (const auto& c : columns) {
        if (!rs.hasField(c.name)) continue;
        const Value& v = rs.value(c.name);
        switch (c.kind) {
            case codec::ColumnKind::Number: row.*c.number = v.isNull() ? codec::kNullNumber : v.toInt(); break;
            case codec::ColumnKind::Text:
                if (v.isNull()) (row.*c.text).reset();
                else row.*c.text = v.toText();
                break;
            case codec::ColumnKind::Bytes:
                if (v.isNull()) (row.*c.bytes).reset();
                else if (v.isBytes()) row.*c.bytes = v.bytes();
                else {
                    const std::string t = v.toText();
                    row.*c.bytes = std::vector<uint8_t>(t.begin(), t.end());
                }
                break;
        }
    }
    return row;
}

// Sets the columns whose value differs from what the recordset's row holds; the caller updates.
template <class Row>
void rowToRecordset(Recordset& rs, const Row& row, std::span<const codec::ColumnInfo<Row>> columns) {
    const Row current = rowFromRecordset(rs, columns);
    for (const auto& c : columns) {
        if (!rs.hasField(c.name)) continue;
        switch (c.kind) {
            case codec::ColumnKind::Number: {
                const int64_t v = row.*c.number;
                if (v != current.*c.number) rs.setValue(c.name, v == codec::kNullNumber ? Value() : Value(v));
                break;
            }
            case codec::ColumnKind::Text: {
                const auto& v = row.*c.text;
                if (v != current.*c.text) rs.setValue(c.name, v ? Value(*v) : Value());
                break;
            }
            case codec::ColumnKind::Bytes: {
                const auto& v = row.*c.bytes;
                if (v != current.*c.bytes) rs.setValue(c.name, v ? Value(*v) : Value());
                break;
            }
        }
    }
}

}  // namespace brindale::store
