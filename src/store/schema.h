#pragma once
// The schema text: tables and columns with their type numbers and declared sizes.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/text.h"

namespace brindale::store {

// Type numbers of the schema text.
enum ColumnType : int {
    TypeBoolean = 1,
    TypeByte = 2,
    TypeInteger = 3,
    TypeLong = 4,
    TypeCurrency = 5,
    TypeSingle = 6,
    TypeDouble = 7,
    TypeDate = 8,
    TypeText = 10,
    TypeLongBinary = 11,
    TypeMemo = 12,
};

struct ColumnDef {
    std::string name;
    int type = TypeLong;
    int size = 0;  // declared size: characters for text, bytes for numbers, 0 for long types

    bool isNumber() const;
    bool isText() const { return type == TypeText || type == TypeMemo; }
    bool isBytes() const { return type == TypeLongBinary; }
};

struct TableDef {
    std::string name;
    std::vector<ColumnDef> columns;
    // Case-insensitive; -1 when absent.
    int columnIndex(std::string_view column) const;
};

struct Schema {
    std::vector<TableDef> tables;
    const TableDef* find(std::string_view table) const;  // case-insensitive
};

// Parses the schema text. `where` names the file in error messages.
// A line without two commas, or a type or size that is not a number, is a FatalError naming the line.
// A table that is not closed by an empty line before "[END]" is not added.
Schema parseSchemaText(std::string_view text, const std::string& where);
Schema readSchemaFile(const std::string& path);

// SQL column declaration for a schema column, and back: the declared type carries the type
// number and the size, so any connection can recover the metadata from the file alone.
std::string sqlDeclaredType(const ColumnDef& c);
ColumnDef columnFromDeclaredType(const std::string& name, std::string_view declared);
std::string createTableSql(const TableDef& t);

std::string quoteIdent(std::string_view name);

}  // namespace brindale::store
