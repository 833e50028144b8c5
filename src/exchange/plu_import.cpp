#include "exchange/plu_import.h"

#include <sqlite3.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <unordered_map>

#include "codec/barcode.h"
#include "codec/code_page.h"
#include "exchange/import_settings.h"
#include "exchange/plu_export.h"
#include "store/schema.h"

namespace brindale::exchange {

namespace {

enum Rule {
    RulePlain,     // whole number
    RuleText,      // cut to the declared size
    RuleBlock,     // text block with font code
    RuleItemCode,
    RulePrice,
    RuleWeight,
    RuleUnit,
    RuleEANFlags,
    RuleNegative,
    RuleLBFormat1,
    RuleHex,       // other byte columns: the hexadecimal form the export writes
};

bool same(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    return s;
}

// Byte length of the first `chars` UTF-8 characters (a stray byte counts as one).
size_t utf8Prefix(std::string_view s, size_t chars, bool& cut) {
    size_t pos = 0, n = 0;
    while (pos < s.size() && n < chars) {
        const auto b = static_cast<unsigned char>(s[pos]);
        size_t len = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 1;
        if (pos + len > s.size()) len = 1;
        pos += len;
        ++n;
    }
    cut = pos < s.size();
    return pos;
}

// A UTF-8 file's text with every byte that starts no valid sequence turned into '?', as the code
// page does with what it cannot read, so that the rows hold valid UTF-8 only.
std::string validUtf8(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    size_t i = 0;
    while (i < s.size()) {
        const auto b = static_cast<unsigned char>(s[i]);
        size_t len = b < 0x80 ? 1 : (b >= 0xC2 && b <= 0xDF) ? 2 : (b >= 0xE0 && b <= 0xEF) ? 3 : (b >= 0xF0 && b <= 0xF4) ? 4 : 0;
        bool ok = len > 0 && i + len <= s.size();
        for (size_t k = 1; ok && k < len; ++k) ok = (static_cast<unsigned char>(s[i + k]) & 0xC0) == 0x80;
        if (ok && len == 3) {
            const auto c1 = static_cast<unsigned char>(s[i + 1]);
            ok = !(b == 0xE0 && c1 < 0xA0) && !(b == 0xED && c1 >= 0xA0);  // overlong, surrogate
        }
        if (ok && len == 4) {
            const auto c1 = static_cast<unsigned char>(s[i + 1]);
            ok = !(b == 0xF0 && c1 < 0x90) && !(b == 0xF4 && c1 >= 0x90);
        }
        if (ok) {
            out.append(s.data() + i, len);
            i += len;
        } else {
            out += '?';
            ++i;
        }
    }
    return out;
}

bool allDigits(std::string_view s) {
    if (s.empty()) return false;
    for (char c : s)
        if (c < '0' || c > '9') return false;
    return true;
}

constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
constexpr int64_t kMax = std::numeric_limits<int32_t>::max();

// The value columns and the flags a used value sets. The text blocks are ours: without their flag
// the record leaves the text out, and an imported text would be lost at the end of the run.
const std::array<std::pair<const char*, std::array<const char*, 2>>, 23> kStatusPairs = {{
    {"PLU_UPrice", {"Stat1_UnitPrice", nullptr}},
    {"PLU_LBFormat1", {"Stat2_LBFormat1", nullptr}},
    {"PLU_LBFormat2", {"Stat2_LBFormat2", nullptr}},
    {"PLU_BarFormat", {"Stat2_BARFormat", nullptr}},
    {"PLU_EANItemCode", {"Stat2_ItemCode", nullptr}},
    {"PLU_MG", {"Stat2_MGCode", nullptr}},
    {"PLU_SBDate", {"Stat1_SBDate", "Stat2_SBDate"}},
    {"PLU_SBTime", {"Stat1_SBTime", "Stat2_SBTime"}},
    {"PLU_UBDate", {"Stat1_UBDate", "Stat2_UBDate"}},
    {"PLU_PAKDate", {"Stat1_PKDate", "Stat2_PKDate"}},
    {"PLU_PAKTime", {"Stat1_PKTime", "Stat2_PKTime"}},
    {"PLU_Cost", {"Stat2_Cost", nullptr}},
    {"PLU_Tare", {"Stat2_PLUTare", nullptr}},
    {"PLU_QTY", {"Stat2_QTY", nullptr}},
    {"PLU_QTYSymbol", {"Stat2_QTYSymbol", nullptr}},
    {"PLU_SPMessageNo", {"Stat2_SPMessageNo", nullptr}},
    {"PLU_IngredientNo", {"Stat2_IngredientNo", nullptr}},
    {"PLU_PlaceNo", {"Stat2_PlaceNo", nullptr}},
    {"PLU_Image1", {"Stat2_ImageNo", nullptr}},
    {"PLU_Commodity", {"Stat2_Commodity", nullptr}},
    {"PLU_Ingredient", {"Stat2_Ingredient", nullptr}},
    {"PLU_SPMessage", {"Stat2_SPMessage", nullptr}},
    {nullptr, {nullptr, nullptr}},
}};

bool used(const store::Value& v) {
    if (v.isNull()) return false;
    if (v.isInt()) return v.toInt() != 0;
    if (v.isReal()) return v.toReal() != 0;
    if (v.isText()) return !v.text().empty();
    return !v.bytes().empty();
}

}  // namespace

const char* actionName(ImportAction a) {
    switch (a) {
        case ImportAction::EmptyLine: return "empty line";
        case ImportAction::TooFewValues: return "too few values";
        case ImportAction::RefusedValue: return "refused value";
        case ImportAction::TextCut: return "text cut";
        case ImportAction::FractionDropped: return "fraction dropped";
        case ImportAction::Modulo256: return "modulo 256";
        case ImportAction::ItemCodeNotNumeric: return "item code not numeric";
        case ImportAction::PluNoZeroRemoved: return "PLU_No 0 removed";
        case ImportAction::DuplicateKept: return "duplicate kept";
        case ImportAction::DuplicateReplaced: return "duplicate replaced";
        case ImportAction::ReplacedByLaterLine: return "replaced by a later line";
        case ImportAction::ExtraValues: return "extra values";
    }
    return "";
}

bool actionIsFault(ImportAction a) {
    return a == ImportAction::EmptyLine || a == ImportAction::TooFewValues || a == ImportAction::RefusedValue;
}

int ImportLineReader::slot(const store::ColumnDef& c) {
    for (size_t i = 0; i < names_.size(); ++i)
        if (same(names_[i], c.name)) return static_cast<int>(i);
    names_.push_back(c.name);
    if (c.isBytes()) defaults_.emplace_back();
    else if (c.isText()) defaults_.emplace_back(std::string());
    else defaults_.emplace_back(int64_t{0});
    return static_cast<int>(names_.size() - 1);
}

ImportLineReader::ImportLineReader(const store::TableDef& table, const ImportOptions& o) : o_(o) {
    auto column = [&](std::string_view name) -> const store::ColumnDef& {
        const int i = table.columnIndex(name);
        if (i < 0) throw std::invalid_argument(table.name + "." + std::string(name) + ": no such column");
        return table.columns[static_cast<size_t>(i)];
    };
    bool hasCommodity = false, hasItemCode = false, hasNegative = false, hasLB1 = false;
    for (const auto& name : o.columns) {
        const store::ColumnDef& c = column(name);
        Chosen ch;
        ch.target = slot(c);
        ch.size = c.size;
        const int text = textColumnIndex(c.name);
        if (text >= 0) {
            ch.rule = RuleBlock;
            ch.font = text;
            hasCommodity = hasCommodity || text == 0;
        } else if (same(c.name, "PLU_EANItemCode")) {
            ch.rule = RuleItemCode;
            hasItemCode = true;
        } else if (numberFormOf(c.name) == NumberForm::Price) {
            ch.rule = RulePrice;
        } else if (numberFormOf(c.name) == NumberForm::Weight) {
            ch.rule = RuleWeight;
        } else if (same(c.name, "Stat1_Unit")) {
            ch.rule = RuleUnit;
        } else if (same(c.name, "PLU_EANFlags")) {
            ch.rule = RuleEANFlags;
        } else if (same(c.name, "StatB_NegativePLU")) {
            ch.rule = RuleNegative;
            hasNegative = true;
        } else if (same(c.name, "PLU_LBFormat1")) {
            ch.rule = RuleLBFormat1;
            hasLB1 = true;
        } else if (c.isBytes()) {
            ch.rule = RuleHex;
        } else if (c.isText()) {
            ch.rule = RuleText;
        } else {
            ch.rule = RulePlain;
        }
        fileHasBarFormat_ = fileHasBarFormat_ || same(c.name, "PLU_BarFormat");
        fileHasLastByte_ = fileHasLastByte_ || same(c.name, "PLU_EANLastByte");
        chosen_.push_back(ch);
    }
    pluNo_ = slot(column("PLU_No"));
    stNo_ = slot(column("ST_No"));
    mg_ = slot(column("PLU_MG"));
    if (hasCommodity) commodityFirst_ = slot(column("PLU_CommodityFirst"));
    if (hasItemCode) {
        barFormat_ = slot(column("PLU_BarFormat"));
        lastByte_ = slot(column("PLU_EANLastByte"));
    }
    if (hasNegative) statB2B_ = slot(column("Stat2_PLUStatB2B"));
    if (hasLB1) lbFlag_ = slot(column("Stat2_LBFormat1"));
    // The default status of the values the import can set (only columns it writes can be in use).
    const size_t written = names_.size();
    for (const auto& [value, flags] : kStatusPairs) {
        if (!value) break;
        int v = -1;
        for (size_t i = 0; i < written; ++i)
            if (same(names_[i], value)) v = static_cast<int>(i);
        if (v < 0) continue;
        std::vector<int> f;
        for (const char* flag : flags)
            if (flag) f.push_back(slot(column(flag)));
        statusPairs_.emplace_back(v, std::move(f));
    }
    for (size_t i = 0; i < written; ++i)
        if (names_[i].size() > 9 && same(std::string_view(names_[i]).substr(0, 9), "PLU_Disc_"))
            discountSlots_.push_back(static_cast<int>(i));
    if (!discountSlots_.empty()) discountFlag_ = slot(column("Stat2_Discount"));
    defaults_[static_cast<size_t>(stNo_)] = store::Value(o.stNo);
    defaults_[static_cast<size_t>(mg_)] = store::Value(o.mgNo);
}

bool ImportLineReader::readNumber(std::string_view v, int64_t& out) const {
    v = trim(v);
    out = 0;
    if (v.empty()) return true;  // an empty field is 0
    bool negative = false;
    if (v.front() == '-' || v.front() == '+') {
        negative = v.front() == '-';
        v.remove_prefix(1);
    }
    if (!allDigits(v) || v.size() > 10) return false;
    int64_t n = 0;
    for (char c : v) n = n * 10 + (c - '0');
    if (negative) n = -n;
    if (n < kMin || n > kMax) return false;
    out = n;
    return true;
}

void ImportLineReader::read(std::string_view line, long lineNo, bool utf8, ImportRow& row,
                            std::vector<ImportNote>& notes) {
    row.values = defaults_;
    row.line = lineNo;
    row.status = 0;
    const char sep = separatorByte(o_.separator).value_or('\t');
    fields_.clear();
    std::vector<std::string_view>& fields = fields_;
    size_t start = 0;
    while (true) {
        const size_t end = line.find(sep, start);
        if (end == std::string_view::npos) {
            fields.push_back(line.substr(start));
            break;
        }
        fields.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    auto text = [&](std::string_view v) {
        if (utf8 || !o_.codePage) return validUtf8(v);
        return o_.codePage->decode(reinterpret_cast<const uint8_t*>(v.data()), v.size());
    };
    std::string pluText;
    for (size_t i = 0; i < chosen_.size() && i < fields.size(); ++i)
        if (chosen_[i].target == pluNo_) pluText = text(trim(fields[i]));
    auto note = [&](const std::string& column, std::string value, ImportAction a) {
        notes.push_back(ImportNote{lineNo, pluText, column, std::move(value), a});
    };

    int itemCodeLength = -1;
    const size_t n = std::min(chosen_.size(), fields.size());
    for (size_t i = 0; i < n; ++i) {
        const Chosen& c = chosen_[i];
        const std::string& name = names_[static_cast<size_t>(c.target)];
        store::Value& out = row.values[static_cast<size_t>(c.target)];
        const std::string_view raw = fields[i];
        int64_t num = 0;
        auto refuse = [&]() {
            note(name, text(raw), ImportAction::RefusedValue);
            row.status = 2;
        };
        switch (c.rule) {
            case RulePlain:
            case RuleLBFormat1:
                if (!readNumber(raw, num)) { refuse(); break; }
                out = store::Value(num);
                if (c.rule == RuleLBFormat1) row.values[static_cast<size_t>(lbFlag_)] = store::Value(int64_t{num != 0});
                break;
            case RuleEANFlags: {
                if (!readNumber(raw, num)) { refuse(); break; }
                const int64_t m = ((num % 256) + 256) % 256;
                if (m != num) note(name, text(raw), ImportAction::Modulo256);
                out = store::Value(m);
                break;
            }
            case RuleNegative:
                if (!readNumber(raw, num)) { refuse(); break; }
                out = store::Value(int64_t{num == 1});
                row.values[static_cast<size_t>(statB2B_)] = store::Value(int64_t{num == 1});
                break;
            case RuleUnit:
                out = store::Value(int64_t{text(trim(raw)) == o_.weightFlag ? 0 : 1});
                break;
            case RulePrice:
            case RuleWeight: {
                std::string_view v = trim(raw);
                const int decimals = c.rule == RulePrice ? o_.priceDecimals : o_.weightDecimals;
                bool negative = false;
                if (!v.empty() && (v.front() == '-' || v.front() == '+')) {
                    negative = v.front() == '-';
                    v.remove_prefix(1);
                }
                size_t point = v.find('.');
                size_t pointLen = 1;
                if (point == std::string_view::npos && !o_.decimalSign.empty()) {
                    point = v.find(o_.decimalSign);
                    pointLen = o_.decimalSign.size();
                }
                std::string_view whole = v.substr(0, point);
                std::string_view fraction = point == std::string_view::npos ? std::string_view() : v.substr(point + pointLen);
                if ((!whole.empty() && !allDigits(whole)) || (!fraction.empty() && !allDigits(fraction)) ||
                    whole.size() > 10) {
                    refuse();
                    break;
                }
                bool dropped = false;
                if (fraction.size() > static_cast<size_t>(decimals)) {
                    for (char d : fraction.substr(static_cast<size_t>(decimals))) dropped = dropped || d != '0';
                    fraction = fraction.substr(0, static_cast<size_t>(decimals));
                }
                int64_t value = 0;
                for (char d : whole) value = value * 10 + (d - '0');
                for (int k = 0; k < decimals; ++k)
                    value = value * 10 + (static_cast<size_t>(k) < fraction.size() ? fraction[static_cast<size_t>(k)] - '0' : 0);
                if (negative) value = -value;
                if (value < kMin || value > kMax) { refuse(); break; }
                if (dropped) note(name, text(raw), ImportAction::FractionDropped);
                out = store::Value(value);
                break;
            }
            case RuleItemCode: {
                std::string v(trim(raw));
                if (v.empty()) break;
                if (!allDigits(v)) {
                    note(name, text(raw), ImportAction::ItemCodeNotNumeric);
                    break;
                }
                if (c.size > 0 && v.size() > static_cast<size_t>(c.size)) {
                    note(name, v, ImportAction::TextCut);
                    v.resize(static_cast<size_t>(c.size));
                }
                itemCodeLength = static_cast<int>(v.size());
                out = store::Value(std::move(v));
                break;
            }
            case RuleBlock: {
                std::string t = text(raw);
                bool cut = false;
                const size_t keep = utf8Prefix(t, 50, cut);
                if (cut) {
                    note(name, t, ImportAction::TextCut);
                    t.resize(keep);
                }
                if (c.font == 0) {
                    bool cutFirst = false;
                    const size_t k = utf8Prefix(t, 100, cutFirst);
                    row.values[static_cast<size_t>(commodityFirst_)] = store::Value(t.substr(0, k));
                }
                if (t.empty()) {
                    out = store::Value();
                    break;
                }
                if (o_.codePage) o_.codePage->encode(t, page_);
                else page_.assign(t.begin(), t.end());
                if (page_.size() > 255) page_.resize(255);
                if (page_.empty()) {  // nothing the page can write: no text, as for an empty value
                    out = store::Value();
                    break;
                }
                store::Bytes block;
                block.reserve(page_.size() + 3);
                block.push_back(o_.fontCodes[static_cast<size_t>(c.font)]);
                block.push_back(static_cast<uint8_t>(page_.size()));
                block.insert(block.end(), page_.begin(), page_.end());
                block.push_back(0x0C);
                out = store::Value(std::move(block));
                break;
            }
            case RuleHex: {
                std::string_view v = trim(raw);
                store::Bytes b;
                bool ok = v.size() % 2 == 0;
                auto hex = [](char ch) {
                    if (ch >= '0' && ch <= '9') return ch - '0';
                    if (ch >= 'A' && ch <= 'F') return ch - 'A' + 10;
                    if (ch >= 'a' && ch <= 'f') return ch - 'a' + 10;
                    return -1;
                };
                for (size_t k = 0; ok && k < v.size(); k += 2) {
                    const int hi = hex(v[k]), lo = hex(v[k + 1]);
                    ok = hi >= 0 && lo >= 0;
                    if (ok) b.push_back(static_cast<uint8_t>(hi * 16 + lo));
                }
                if (!ok) { refuse(); break; }
                out = v.empty() ? store::Value() : store::Value(std::move(b));
                break;
            }
            case RuleText: {
                std::string t = text(raw);
                bool cut = false;
                const size_t keep = c.size > 0 ? utf8Prefix(t, static_cast<size_t>(c.size), cut) : t.size();
                if (cut) {
                    note(name, t, ImportAction::TextCut);
                    t.resize(keep);
                }
                out = store::Value(std::move(t));
                break;
            }
        }
        if (row.status == 2) break;
    }
    if (row.status == 0 && fields.size() < chosen_.size()) {
        row.status = 1;
        note(names_[static_cast<size_t>(chosen_[fields.size()].target)], "", ImportAction::TooFewValues);
    }
    if (fields.size() > chosen_.size()) {
        std::string extra;
        for (size_t i = chosen_.size(); i < fields.size(); ++i) {
            if (!extra.empty()) extra += ' ';
            extra += text(fields[i]);
        }
        note("", extra, ImportAction::ExtraValues);
    }
    // Without a format in the file, an item code takes the first built-in format of the chosen kind
    // whose item digits equal its length (else format 0), and the kind's first bar style.
    if (itemCodeLength > 0) {
        if (!fileHasBarFormat_) {
            int64_t format = 0;
            const int64_t kind = o_.barType == 1 ? 0 : 1;  // FBar_EANorITF counting: 1 EAN, 0 ITF
            for (int64_t f = 1; f <= codec::kLastBuiltInFormat && format == 0; ++f) {
                int digits = 0;
                if (codec::builtInFormatItemDigits(o_.barcodeLists, f, kind, digits).ok() && digits == itemCodeLength)
                    format = f;
            }
            row.values[static_cast<size_t>(barFormat_)] = store::Value(format);
        }
        if (!fileHasLastByte_) row.values[static_cast<size_t>(lastByte_)] = store::Value(int64_t{o_.barType == 1 ? 90 : 0});
    }
    for (const auto& [value, flags] : statusPairs_)
        if (used(row.values[static_cast<size_t>(value)]))
            for (int f : flags) row.values[static_cast<size_t>(f)] = store::Value(int64_t{1});
    if (discountFlag_ >= 0)
        for (int d : discountSlots_)
            if (used(row.values[static_cast<size_t>(d)])) row.values[static_cast<size_t>(discountFlag_)] = store::Value(int64_t{1});
}

namespace {
uint64_t key(int64_t st, int64_t plu) {
    return (static_cast<uint64_t>(static_cast<uint32_t>(st)) << 32) | static_cast<uint32_t>(plu);
}
}  // namespace

ImportResult importPlus(store::Database& db, const std::string& path, const ImportOptions& o) {
    ImportResult r;
    if (o.weightFlag.empty()) {
        r.outcome = ImportOutcome::Refused;
        r.error = "formatsave";
        return r;
    }
    int pluCount = 0;
    for (const auto& c : o.columns) pluCount += same(c, "PLU_No");
    if (pluCount != 1) {
        r.outcome = ImportOutcome::Refused;
        r.error = "importPLU";
        return r;
    }
    const store::TableDef* table = db.table("KVR_25");
    if (!table) {
        r.error = "KVR_25: no such table";
        return r;
    }
    std::string data;
    {
        std::ifstream in(path, std::ios::binary);
        if (!in) {
            r.error = path + ": " + std::strerror(errno);
            return r;
        }
        std::ostringstream ss;
        ss << in.rdbuf();
        if (in.bad()) {
            r.error = path + ": cannot be read";
            return r;
        }
        data = std::move(ss).str();
    }
    std::unique_ptr<ImportLineReader> reader;
    try {
        reader = std::make_unique<ImportLineReader>(*table, o);
    } catch (const std::exception& e) {
        r.error = e.what();
        return r;
    }
    std::string_view text(data);
    const bool utf8 = text.substr(0, 3) == "\xEF\xBB\xBF";
    if (utf8) text.remove_prefix(3);

    long lineNo = 0;
    try {
        store::Transaction t(db);
        // The rows there before, by store and number: the duplicates are settled against them.
        std::unordered_multimap<uint64_t, int64_t> before;
        {
            auto n = db.prepare("SELECT count(*) FROM KVR_25");
            if (n->step()) before.reserve(static_cast<size_t>(n->columnInt(0)));
            auto q = db.prepare("SELECT rowid, ST_No, PLU_No FROM KVR_25");
            while (q->step()) before.emplace(key(q->columnInt(1), q->columnInt(2)), q->columnInt(0));
        }
        struct Added {
            int64_t rowId;
            long line;
            std::string pluNo;
        };
        std::unordered_map<uint64_t, Added> added;
        added.reserve(text.size() / 32 + 16);  // about a line's worth of bytes per PLU at least

        const auto& names = reader->columns();
        std::string insert = "INSERT INTO KVR_25 (";
        for (size_t i = 0; i < names.size(); ++i) insert += (i ? "," : "") + store::quoteIdent(names[i]);
        insert += ") VALUES (";
        for (size_t i = 0; i < names.size(); ++i) insert += i ? ",?" : "?";
        insert += ")";
        if (o.markImported) {
            // Marked as they are written: one pass over the wide rows instead of a second.
            db.exec("UPDATE KVR_25 SET Is_Selected=0 WHERE Is_Selected IS NULL OR Is_Selected<>0");
            insert.insert(insert.find(") VALUES ("), ",Is_Selected");
            insert.insert(insert.size() - 1, ",1");
        }
        auto ins = db.prepare(insert);
        auto del = db.prepare("DELETE FROM KVR_25 WHERE rowid=?");
        auto remove = [&](int64_t rowId) {
            del->reset();
            del->bind(1, store::Value(rowId));
            del->step();
        };

        ImportRow row;
        size_t pos = 0;
        long long sinceProgress = 0;
        while (pos < text.size()) {
            size_t end = text.find('\n', pos);
            if (end == std::string_view::npos) end = text.size();
            std::string_view line = text.substr(pos, end - pos);
            pos = end + 1;
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            ++lineNo;
            if (o.progress && ++sinceProgress >= 1000) {
                sinceProgress = 0;
                if (!o.progress(static_cast<long long>(std::min(pos, text.size())), static_cast<long long>(text.size()))) {
                    r.error = path + ": stopped at line " + std::to_string(lineNo);
                    r.outcome = ImportOutcome::Failed;
                    r.notes.clear();
                    return r;
                }
            }
            if (lineNo == 1 && o.heading) continue;
            if (line.empty()) {
                r.notes.push_back(ImportNote{lineNo, "", "", "", ImportAction::EmptyLine});
                continue;
            }
            reader->read(line, lineNo, utf8, row, r.notes);
            const int64_t plu = row.values[static_cast<size_t>(reader->pluNoIndex())].toInt();
            const int64_t st = row.values[static_cast<size_t>(reader->stNoIndex())].toInt();
            const std::string pluText = std::to_string(plu);
            if (plu == 0 || st == 0) {
                r.notes.push_back(ImportNote{lineNo, pluText, plu == 0 ? "PLU_No" : "ST_No", "0", ImportAction::PluNoZeroRemoved});
                continue;
            }
            const uint64_t k = key(st, plu);
            if (auto a = added.find(k); a != added.end()) {
                remove(a->second.rowId);
                r.notes.push_back(ImportNote{a->second.line, a->second.pluNo, "PLU_No", pluText, ImportAction::ReplacedByLaterLine});
                --r.added;
            } else {
                auto [b, e] = before.equal_range(k);
                if (b != e) {
                    if (!o.replaceExisting) {
                        r.notes.push_back(ImportNote{lineNo, pluText, "PLU_No", pluText, ImportAction::DuplicateKept});
                        continue;
                    }
                    for (auto it = b; it != e; ++it) remove(it->second);
                    before.erase(k);
                    ++r.replaced;
                    r.notes.push_back(ImportNote{lineNo, pluText, "PLU_No", pluText, ImportAction::DuplicateReplaced});
                }
            }
            ins->resetKeepingBindings();
            for (size_t i = 0; i < row.values.size(); ++i) ins->bind(static_cast<int>(i + 1), row.values[i]);
            ins->step();
            const int64_t rowId = sqlite3_last_insert_rowid(db.handle());
            added[k] = Added{rowId, lineNo, pluText};
            ++r.added;
        }
        r.lines = lineNo;
        lineNo = 0;
        // Rows without a number or store cannot be sent and are removed, whoever made them.
        db.exec("DELETE FROM KVR_25 WHERE PLU_No IS NULL OR PLU_No=0 OR ST_No IS NULL OR ST_No=0");
        if (!o.markImported) db.exec("UPDATE KVR_25 SET Is_Selected=0 WHERE Is_Selected IS NULL OR Is_Selected<>0");
        t.commit();
    } catch (const std::exception& e) {
        r.outcome = ImportOutcome::Failed;
        r.error = lineNo > 0 ? path + ", line " + std::to_string(lineNo) + ": " + e.what() : path + ": " + e.what();
        r.added = r.replaced = 0;
        return r;
    }
    bool faulty = false;
    for (const auto& n : r.notes) {
        ++r.counts[static_cast<size_t>(n.action)];
        faulty = faulty || actionIsFault(n.action);
    }
    // Notes in line order: a replacement is told when the later line comes.
    std::stable_sort(r.notes.begin(), r.notes.end(), [](const ImportNote& a, const ImportNote& b) { return a.line < b.line; });
    if (o.progress) o.progress(static_cast<long long>(text.size()), static_cast<long long>(text.size()));
    r.outcome = faulty ? ImportOutcome::Faulty : ImportOutcome::Ok;
    return r;
}

std::string importReportText(const ImportResult& result, const std::vector<std::string>& headings,
                             const std::function<std::string(ImportAction)>& name) {
    auto clean = [](std::string s) {
        for (char& c : s)
            if (c == '\t' || c == '\r' || c == '\n') c = ' ';
        return s;
    };
    std::string out;
    for (size_t i = 0; i < headings.size(); ++i) out += (i ? "\t" : "") + clean(headings[i]);
    out += "\r\n";
    for (const auto& n : result.notes)
        out += std::to_string(n.line) + "\t" + clean(n.pluNo) + "\t" + clean(n.column) + "\t" + clean(n.value) + "\t" +
               clean(name(n.action)) + "\r\n";
    out += "\r\n";
    for (int a = 0; a < kImportActionCount; ++a)
        if (result.counts[static_cast<size_t>(a)])
            out += clean(name(static_cast<ImportAction>(a))) + "\t" +
                   std::to_string(result.counts[static_cast<size_t>(a)]) + "\r\n";
    return out;
}

}  // namespace brindale::exchange
