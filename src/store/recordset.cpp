#include "recordset.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <regex>

#include "fatal_error.h"

namespace brindale::store {

namespace {

bool isIdentifier(std::string_view s) {
    if (s.empty()) return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    return true;
}

}  // namespace

Recordset::Recordset(Database& db, std::string_view source) : db_(db) {
    std::string src(trimView(source));
    if (isIdentifier(src)) {
        const TableDef* t = db.table(src);
        if (!t) throw FatalError(db.path(), 0, "there is no table " + src);
        table_ = t->name;
        columns_ = t->columns;
        keySql_ = "SELECT rowid FROM " + quoteIdent(table_) + " ORDER BY rowid";
    } else {
        static const std::regex selectAll(R"(^\s*select\s+\*\s+from\s+\[?([A-Za-z_][A-Za-z0-9_]*)\]?(\s.*)?$)",
                                          std::regex::icase);
        std::smatch m;
        if (std::regex_match(src, m, selectAll)) {
            const TableDef* t = db.table(m[1].str());
            if (!t) throw FatalError(db.path(), 0, "there is no table " + m[1].str() + " (" + src + ")");
            table_ = t->name;
            columns_ = t->columns;
            std::string rest = m[2].matched ? m[2].str() : std::string();
            keySql_ = "SELECT " + quoteIdent(table_) + ".rowid FROM " + quoteIdent(table_) + rest;
            if (!std::regex_search(rest, std::regex(R"(\border\s+by\b)", std::regex::icase)))
                keySql_ += " ORDER BY " + quoteIdent(table_) + ".rowid";
        } else {
            auto st = db.prepare(src);
            for (int i = 0; i < st->columnCount(); ++i) {
                const char* decl = sqlite3_column_decltype(st->handle(), i);
                columns_.push_back(columnFromDeclaredType(sqlite3_column_name(st->handle(), i), decl ? decl : "TEXT"));
            }
            while (st->step()) {
                std::vector<Value> row;
                row.reserve(columns_.size());
                for (int i = 0; i < st->columnCount(); ++i) row.push_back(st->column(i));
                rows_.push_back(std::move(row));
            }
        }
    }
    pending_.resize(columns_.size());
    if (updatable()) requery();
}

void Recordset::requery() {
    if (updatable()) {
        keys_.clear();
        auto st = db_.prepare(keySql_);
        while (st->step()) keys_.push_back(st->columnInt(0));
    }
    pos_ = 0;
    loadedPos_ = -1;
    afterDelete_ = false;
    adding_ = false;
}

int Recordset::ordinal(std::string_view name) const {
    for (size_t i = 0; i < columns_.size(); ++i)
        if (iequals(columns_[i].name, name)) return static_cast<int>(i);
    throw FatalError(table_.empty() ? db_.path() : table_, 0, "there is no column " + std::string(name));
}

bool Recordset::hasField(std::string_view name) const {
    for (const auto& c : columns_)
        if (iequals(c.name, name)) return true;
    return false;
}

void Recordset::moveFirst() { pos_ = 0; afterDelete_ = false; }
void Recordset::moveLast() { pos_ = static_cast<long>(count()) - 1; afterDelete_ = false; }
void Recordset::moveNext() {
    if (afterDelete_) afterDelete_ = false;
    else if (pos_ < static_cast<long>(count())) ++pos_;
}
void Recordset::movePrevious() { afterDelete_ = false; if (pos_ >= 0) --pos_; }
void Recordset::move(long n) { afterDelete_ = false; pos_ = std::max(-1L, std::min(static_cast<long>(count()), pos_ + n)); }

void Recordset::setAbsolutePosition(long position) {
    afterDelete_ = false;
    pos_ = std::max(-1L, std::min(static_cast<long>(count()), position));
}

int64_t Recordset::rowIdAt(long position) const {
    if (!updatable() || position < 0 || position >= static_cast<long>(keys_.size())) return 0;
    return keys_[static_cast<size_t>(position)];
}

long Recordset::positionOf(int64_t rowId) const {
    // The keyset is in the query's order, not by id: a linear look (about 50 us for 100,000 rows).
    for (size_t i = 0; i < keys_.size(); ++i)
        if (keys_[i] == rowId) return static_cast<long>(i);
    return -1;
}

void Recordset::load() const {
    if (loadedPos_ == pos_) return;
    if (pos_ < 0 || pos_ >= static_cast<long>(count()))
        throw FatalError(table_.empty() ? db_.path() : table_, 0, "no current row (either BOF or EOF is true)");
    if (!updatable()) {
        current_ = rows_[static_cast<size_t>(pos_)];
    } else {
        auto& st = db_.cached("SELECT * FROM " + quoteIdent(table_) + " WHERE rowid=?1");
        st.bind(1, Value(keys_[static_cast<size_t>(pos_)]));
        current_.assign(columns_.size(), Value());
        if (st.step())
            for (size_t i = 0; i < columns_.size(); ++i) current_[i] = st.column(static_cast<int>(i));
        st.reset();
    }
    loadedPos_ = pos_;
}

const Value& Recordset::value(int ordinal) const {
    auto i = static_cast<size_t>(ordinal);
    if (i >= columns_.size()) throw FatalError(table_, 0, "there is no column " + std::to_string(ordinal));
    if (pending_[i]) return *pending_[i];
    if (adding_) return current_.at(i);
    load();
    return current_[i];
}

Value Recordset::coerce(const ColumnDef& c, Value v) const { return coerceValue(c, std::move(v), table_); }

Value coerceValue(const ColumnDef& c, Value v, const std::string& table) {
    auto bad = [&](const std::string& why) -> Value {
        throw FatalError(table, 0, "column " + c.name + ": the value \"" + v.toText() + "\" " + why);
    };
    if (v.isNull()) return v;
    if (c.isNumber()) {
        if (v.isInt() || v.isReal()) {
        } else if (v.isText()) {
            std::string s(trimView(v.text()));
            char* end = nullptr;
            if (s.empty()) return bad("is not a number");
            double d = std::strtod(s.c_str(), &end);
            if (*end != '\0') return bad("is not a number");
            if (s.find_first_of(".eE") == std::string::npos) v = Value(static_cast<int64_t>(std::strtoll(s.c_str(), nullptr, 10)));
            else v = Value(d);
        } else {
            return bad("is not a number");
        }
        if (c.type == TypeSingle || c.type == TypeDouble || c.type == TypeCurrency || c.type == TypeDate) return v;
        // Whole-number columns round half to even, as the engine does.
        int64_t n = v.isReal() ? static_cast<int64_t>(std::nearbyint(v.toReal())) : v.toInt();
        int64_t lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
        if (c.type == TypeInteger) { lo = -32768; hi = 32767; }
        if (c.type == TypeByte) { lo = 0; hi = 255; }
        if (n < lo || n > hi) return bad("is out of range for the column");
        if (c.type == TypeBoolean) n = n ? -1 : 0;
        return Value(n);
    }
    if (c.isText()) {
        if (v.isBytes()) return bad("is not text");
        std::string s = v.toText();
        if (c.type == TypeText && c.size > 0) {
            // The declared size counts characters, not bytes.
            size_t chars = 0;
            for (unsigned char ch : s)
                if ((ch & 0xC0) != 0x80) ++chars;
            if (chars > static_cast<size_t>(c.size)) return bad("is longer than " + std::to_string(c.size) + " characters");
        }
        return Value(std::move(s));
    }
    if (c.isBytes()) {
        if (v.isBytes()) return v;
        std::string s = v.toText();
        return Value(Bytes(s.begin(), s.end()));
    }
    return v;
}

void Recordset::setValue(int ordinal, Value v) {
    if (!updatable()) throw FatalError(db_.path(), 0, "the recordset cannot be updated");
    auto i = static_cast<size_t>(ordinal);
    if (i >= columns_.size()) throw FatalError(table_, 0, "there is no column " + std::to_string(ordinal));
    if (!adding_) load();
    pending_[i] = coerce(columns_[i], std::move(v));
}

void Recordset::addNew() {
    if (!updatable()) throw FatalError(db_.path(), 0, "the recordset cannot be updated");
    cancelUpdate();
    adding_ = true;
    current_.assign(columns_.size(), Value());
    for (size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].type == TypeLong) current_[i] = Value(int64_t{0});
        else if (columns_[i].type == TypeText) current_[i] = Value(std::string());
    }
    loadedPos_ = -1;
}

void Recordset::cancelUpdate() {
    for (auto& p : pending_) p.reset();
    adding_ = false;
}

void Recordset::update() {
    if (!updatable()) return;
    std::string sql;
    std::vector<size_t> cols;
    for (size_t i = 0; i < pending_.size(); ++i)
        if (pending_[i]) cols.push_back(i);
    if (adding_) {
        if (cols.empty()) {
            sql = "INSERT INTO " + quoteIdent(table_) + " DEFAULT VALUES";
        } else {
            sql = "INSERT INTO " + quoteIdent(table_) + " (";
            std::string vals;
            for (size_t k = 0; k < cols.size(); ++k) {
                if (k) { sql += ","; vals += ","; }
                sql += quoteIdent(columns_[cols[k]].name);
                vals += "?" + std::to_string(k + 1);
            }
            sql += ") VALUES (" + vals + ")";
        }
        auto& st = db_.cached(sql);
        for (size_t k = 0; k < cols.size(); ++k) st.bind(static_cast<int>(k + 1), *pending_[cols[k]]);
        st.step();
        st.reset();
        keys_.push_back(sqlite3_last_insert_rowid(db_.handle()));
        pos_ = static_cast<long>(keys_.size()) - 1;
    } else {
        if (cols.empty()) return;
        load();
        sql = "UPDATE " + quoteIdent(table_) + " SET ";
        for (size_t k = 0; k < cols.size(); ++k) {
            if (k) sql += ",";
            sql += quoteIdent(columns_[cols[k]].name) + "=?" + std::to_string(k + 1);
        }
        sql += " WHERE rowid=?" + std::to_string(cols.size() + 1);
        auto& st = db_.cached(sql);
        for (size_t k = 0; k < cols.size(); ++k) st.bind(static_cast<int>(k + 1), *pending_[cols[k]]);
        st.bind(static_cast<int>(cols.size() + 1), Value(keys_[static_cast<size_t>(pos_)]));
        st.step();
        st.reset();
    }
    cancelUpdate();
    loadedPos_ = -1;
    afterDelete_ = false;
}

void Recordset::remove() {
    if (!updatable()) throw FatalError(db_.path(), 0, "the recordset cannot be updated");
    if (pos_ < 0 || pos_ >= static_cast<long>(keys_.size()))
        throw FatalError(table_, 0, "no current row to delete");
    cancelUpdate();
    auto& st = db_.cached("DELETE FROM " + quoteIdent(table_) + " WHERE rowid=?1");
    st.bind(1, Value(keys_[static_cast<size_t>(pos_)]));
    st.step();
    st.reset();
    keys_.erase(keys_.begin() + pos_);
    loadedPos_ = -1;
    afterDelete_ = true;
}

}  // namespace brindale::store
