#include "exchange/plu_export.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <strings.h>
#include <algorithm>

#include "codec/code_page.h"
#include "store/schema.h"

namespace brindale::exchange {

namespace {
bool sameName(const std::string& a, const char* b) {
    return strcasecmp(a.c_str(), b) == 0;
}

enum class Kind { Number, Text, Block, Bytes };

struct OutColumn {
    std::string name;
    Kind kind = Kind::Number;
    NumberForm form = NumberForm::Plain;
};

void appendHex(std::string& out, const uint8_t* p, int n) {
    static const char* hex = "0123456789ABCDEF";
    for (int i = 0; i < n; ++i) {
        out += hex[p[i] >> 4];
        out += hex[p[i] & 15];
    }
}

struct FileCloser {
    void operator()(FILE* f) const { if (f) std::fclose(f); }
};
}  // namespace

std::string decimalForm(int64_t value, int decimals) {
    if (decimals <= 0) return std::to_string(value);
    const bool negative = value < 0;
    std::string digits = std::to_string(negative ? -value : value);
    if (digits.size() <= static_cast<size_t>(decimals))
        digits.insert(0, static_cast<size_t>(decimals) + 1 - digits.size(), '0');
    digits.insert(digits.size() - static_cast<size_t>(decimals), 1, '.');
    return negative ? "-" + digits : digits;
}

NumberForm numberFormOf(const std::string& c) {
    for (const char* p : {"PLU_UPrice", "PLU_Cost", "PLU_Disc_Within1stL", "PLU_Disc_Within2ndL"})
        if (sameName(c, p)) return NumberForm::Price;
    for (const char* w : {"PLU_Tare", "PLU_Disc_1stLim", "PLU_Disc_2ndLim"})
        if (sameName(c, w)) return NumberForm::Weight;
    return NumberForm::Plain;
}

std::string joinedBlockText(const uint8_t* block, size_t size) {
    std::string out;
    size_t pos = 0;
    bool first = true;
    while (pos + 2 <= size) {
        const size_t len = block[pos + 1];
        const size_t textStart = pos + 2;
        const size_t textEnd = std::min(size, textStart + len);
        if (!first) out += ' ';
        first = false;
        out.append(reinterpret_cast<const char*>(block) + textStart, textEnd - textStart);
        if (textEnd >= size || block[textEnd] != 0x0D) break;
        pos = textEnd + 1;
    }
    return out;
}

ExportResult exportPlus(store::Database& db, const std::string& path, const ExportOptions& o) {
    ExportResult r;
    const store::TableDef* table = db.table("KVR_25");
    if (!table) {
        r.error = "KVR_25: no such table";
        return r;
    }
    std::vector<OutColumn> cols;
    std::string select = "SELECT ";
    for (const auto& name : o.columns) {
        const int i = table->columnIndex(name);
        if (i < 0) {
            r.error = "KVR_25." + name + ": no such column";
            return r;
        }
        const store::ColumnDef& c = table->columns[static_cast<size_t>(i)];
        OutColumn oc{c.name};
        if (c.isBytes()) oc.kind = (sameName(c.name, "PLU_Commodity") || sameName(c.name, "PLU_Ingredient") ||
                                    sameName(c.name, "PLU_SPMessage")) ? Kind::Block : Kind::Bytes;
        else if (c.isText()) oc.kind = Kind::Text;
        else oc.form = numberFormOf(c.name);
        if (cols.size()) select += ",";
        select += store::quoteIdent(c.name);
        cols.push_back(std::move(oc));
    }
    if (cols.empty()) {
        r.error = path + ": no column chosen";
        return r;
    }
    select += " FROM KVR_25 ORDER BY rowid";

    long total = 0;
    {
        auto count = db.prepare("SELECT count(*) FROM KVR_25");
        if (count->step()) total = static_cast<long>(count->columnInt(0));
    }

    const std::string aside = path + ".part";
    std::unique_ptr<FILE, FileCloser> f(std::fopen(aside.c_str(), "wb"));
    if (!f) {
        r.error = path + ": " + std::strerror(errno);
        return r;
    }
    auto fail = [&](const std::string& why) {
        f.reset();
        std::remove(aside.c_str());
        r.ok = false;
        r.error = path + ": " + why;
        return r;
    };

    std::string buf;
    buf.reserve(1 << 20);
    std::vector<uint8_t> page;
    auto putText = [&](const char* utf8, size_t n) {
        if (!o.codePage) {
            buf.append(utf8, n);
            return;
        }
        o.codePage->encode(std::string_view(utf8, n), page);
        buf.append(reinterpret_cast<const char*>(page.data()), page.size());
    };
    auto flush = [&]() {
        if (buf.empty()) return true;
        const bool ok = std::fwrite(buf.data(), 1, buf.size(), f.get()) == buf.size();
        buf.clear();
        return ok;
    };

    if (o.heading) {
        for (size_t i = 0; i < cols.size(); ++i) {
            putText(cols[i].name.data(), cols[i].name.size());
            buf += i + 1 < cols.size() ? std::string(1, o.separator) : std::string("\r\n");
        }
    }

    auto st = db.prepare(select);
    sqlite3_stmt* s = st->handle();
    char num[32];
    while (st->step()) {
        for (size_t i = 0; i < cols.size(); ++i) {
            const int ci = static_cast<int>(i);
            const int type = sqlite3_column_type(s, ci);
            if (type != SQLITE_NULL) {
                const OutColumn& c = cols[i];
                switch (c.kind) {
                    case Kind::Number:
                        if (type == SQLITE_INTEGER || c.form != NumberForm::Plain) {
                            const int64_t v = sqlite3_column_int64(s, ci);
                            if (c.form == NumberForm::Plain) {
                                const int n = std::snprintf(num, sizeof num, "%lld", static_cast<long long>(v));
                                buf.append(num, static_cast<size_t>(n));
                            } else {
                                buf += decimalForm(v, c.form == NumberForm::Price ? o.priceDecimals : o.weightDecimals);
                            }
                        } else {
                            buf.append(reinterpret_cast<const char*>(sqlite3_column_text(s, ci)),
                                       static_cast<size_t>(sqlite3_column_bytes(s, ci)));
                        }
                        break;
                    case Kind::Text:
                        putText(reinterpret_cast<const char*>(sqlite3_column_text(s, ci)),
                                static_cast<size_t>(sqlite3_column_bytes(s, ci)));
                        break;
                    case Kind::Block: {
                        // Block bytes are already in the code page.
                        const auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(s, ci));
                        buf += joinedBlockText(p, static_cast<size_t>(sqlite3_column_bytes(s, ci)));
                        break;
                    }
                    case Kind::Bytes:
                        appendHex(buf, static_cast<const uint8_t*>(sqlite3_column_blob(s, ci)),
                                  sqlite3_column_bytes(s, ci));
                        break;
                }
            }
            if (i + 1 < cols.size()) buf += o.separator;
            else buf += "\r\n";
        }
        ++r.rows;
        if (buf.size() > (1 << 20) && !flush()) return fail(std::strerror(errno));
        if (o.progress && (r.rows % 500 == 0) && !o.progress(r.rows, total)) return fail("stopped");
    }
    if (!flush()) return fail(std::strerror(errno));
    if (std::fflush(f.get()) != 0) return fail(std::strerror(errno));
    if (std::fclose(f.release()) != 0) {
        std::remove(aside.c_str());
        r.error = path + ": " + std::strerror(errno);
        return r;
    }
    if (std::rename(aside.c_str(), path.c_str()) != 0) {
        const std::string why = std::strerror(errno);
        std::remove(aside.c_str());
        r.error = path + ": " + why;
        return r;
    }
    if (o.progress) o.progress(r.rows, total);
    r.ok = true;
    return r;
}

}  // namespace brindale::exchange
