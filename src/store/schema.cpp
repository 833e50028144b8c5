#include "schema.h"

#include <cctype>
#include <charconv>
#include <fstream>
#include <sstream>

#include "fatal_error.h"

namespace brindale::store {

std::string quoteIdent(std::string_view name) {
    std::string s = "\"";
    for (char c : name) {
        if (c == '"') s += '"';
        s += c;
    }
    return s + "\"";
}

bool ColumnDef::isNumber() const {
    switch (type) {
        case TypeBoolean: case TypeByte: case TypeInteger: case TypeLong: case TypeCurrency:
        case TypeSingle: case TypeDouble: case TypeDate:
            return true;
        default:
            return false;
    }
}

int TableDef::columnIndex(std::string_view column) const {
    for (size_t i = 0; i < columns.size(); ++i)
        if (iequals(columns[i].name, column)) return static_cast<int>(i);
    return -1;
}

const TableDef* Schema::find(std::string_view table) const {
    for (const auto& t : tables)
        if (iequals(t.name, table)) return &t;
    return nullptr;
}

static int parseInt(std::string_view s, const std::string& where, long line, const char* what) {
    s = trimView(s);
    int v = 0;
    auto [p, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || ec != std::errc() || p != s.data() + s.size())
        throw FatalError(where, line, std::string("the column ") + what + " \"" + std::string(s) + "\" is not a number");
    return v;
}

Schema parseSchemaText(std::string_view text, const std::string& where) {
    Schema schema;
    std::optional<TableDef> open;
    long lineNo = 0;
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t nl = text.find('\n', pos);
        std::string_view raw = text.substr(pos, nl == std::string_view::npos ? std::string_view::npos : nl - pos);
        pos = (nl == std::string_view::npos) ? text.size() + 1 : nl + 1;
        ++lineNo;
        std::string_view line = trimView(raw);
        if (iequals(line, "[END]")) return schema;  // an open table above it is not added
        if (line.empty()) {
            if (open) schema.tables.push_back(std::move(*open));
            open.reset();
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            open = TableDef{std::string(line.substr(1, line.size() - 2)), {}};
            continue;
        }
        size_t c1 = line.find(',');
        size_t c2 = c1 == std::string_view::npos ? c1 : line.find(',', c1 + 1);
        if (c2 == std::string_view::npos)
            throw FatalError(where, lineNo, "a column line needs a name, a type and a size separated by commas");
        ColumnDef col;
        col.name = std::string(trimView(line.substr(0, c1)));
        col.type = parseInt(line.substr(c1 + 1, c2 - c1 - 1), where, lineNo, "type");
        col.size = parseInt(line.substr(c2 + 1), where, lineNo, "size");
        if (!open) throw FatalError(where, lineNo, "a column line stands outside a table");
        open->columns.push_back(std::move(col));
    }
    // No "[END]": what was closed by an empty line stands.
    return schema;
}

Schema readSchemaFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FatalError(path, 0, "the schema text cannot be read");
    std::stringstream ss;
    ss << in.rdbuf();
    return parseSchemaText(ss.str(), path);
}

std::string sqlDeclaredType(const ColumnDef& c) {
    switch (c.type) {
        case TypeBoolean: return "BOOLEAN";
        case TypeByte: return "TINYINT";
        case TypeInteger: return "SMALLINT";
        case TypeLong: return "INTEGER";
        case TypeCurrency: return "CURRENCY";
        case TypeSingle: return "REAL";
        case TypeDouble: return "DOUBLE";
        case TypeDate: return "DATETIME";
        case TypeText: return "VARCHAR(" + std::to_string(c.size) + ")";
        case TypeLongBinary: return "BLOB";
        case TypeMemo: return "TEXT";
        default: return "TYPE" + std::to_string(c.type) + "(" + std::to_string(c.size) + ")";
    }
}

ColumnDef columnFromDeclaredType(const std::string& name, std::string_view declared) {
    ColumnDef c;
    c.name = name;
    std::string up;
    for (char ch : declared) up += static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    auto sizeIn = [&](size_t open) {
        size_t close = up.find(')', open);
        int v = 0;
        std::from_chars(up.data() + open + 1, up.data() + (close == std::string::npos ? up.size() : close), v);
        return v;
    };
    if (up == "BOOLEAN") { c.type = TypeBoolean; c.size = 1; }
    else if (up == "TINYINT") { c.type = TypeByte; c.size = 1; }
    else if (up == "SMALLINT") { c.type = TypeInteger; c.size = 2; }
    else if (up == "INTEGER") { c.type = TypeLong; c.size = 4; }
    else if (up == "CURRENCY") { c.type = TypeCurrency; c.size = 8; }
    else if (up == "REAL") { c.type = TypeSingle; c.size = 4; }
    else if (up == "DOUBLE") { c.type = TypeDouble; c.size = 8; }
    else if (up == "DATETIME") { c.type = TypeDate; c.size = 8; }
    else if (up.rfind("VARCHAR(", 0) == 0) { c.type = TypeText; c.size = sizeIn(7); }
    else if (up == "BLOB") { c.type = TypeLongBinary; c.size = 0; }
    else if (up == "TEXT") { c.type = TypeMemo; c.size = 0; }
    else if (up.rfind("TYPE", 0) == 0) {
        size_t open = up.find('(');
        std::from_chars(up.data() + 4, up.data() + (open == std::string::npos ? up.size() : open), c.type);
        if (open != std::string::npos) c.size = sizeIn(open);
    } else { c.type = TypeMemo; c.size = 0; }
    return c;
}

std::string createTableSql(const TableDef& t) {
    std::string sql = "CREATE TABLE " + quoteIdent(t.name) + " (";
    for (size_t i = 0; i < t.columns.size(); ++i) {
        const auto& c = t.columns[i];
        if (i) sql += ", ";
        sql += quoteIdent(c.name) + " " + sqlDeclaredType(c);
        if (c.type == TypeLong) sql += " DEFAULT 0";
        else if (c.type == TypeText) sql += " DEFAULT ''";
    }
    // A table without columns is still a table; SQLite wants at least one column.
    if (t.columns.empty()) sql += "\"_empty\" INTEGER";
    return sql + ")";
}

}  // namespace brindale::store
