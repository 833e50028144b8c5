// One line of a PLU import file through the column rules: never a fault, and every value the
// row gets fits its column (a text block is whole, a text within its size, flags 0 or 1).
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "codec/code_page.h"
#include "exchange/import_settings.h"
#include "exchange/plu_import.h"
#include "store/schema.h"

using namespace brindale;

namespace {
const char* kItems[] = {"PLU_No", "ST_No", "PLU_MG", "PLU_UPrice", "PLU_Cost", "PLU_Tare", "PLU_QTY",
    "PLU_QTYSymbol", "Stat1_Unit", "StatB_NegativePLU", "PLU_EANItemCode", "PLU_BarFormat", "PLU_EANFlags",
    "PLU_EANLastByte", "PLU_LBFormat1", "PLU_LBFormat2", "PLU_SBDate", "PLU_SBTime", "PLU_UBDate", "PLU_PAKDate",
    "PLU_PAKTime", "PLU_SPMessageNo", "PLU_IngredientNo", "PLU_PlaceNo", "PLU_Image1", "PLU_Disc_Type",
    "PLU_Disc_SDate", "PLU_Disc_STime", "PLU_Disc_EDate", "PLU_Disc_ETime", "PLU_Disc_1stLim",
    "PLU_Disc_Within1stL", "PLU_Disc_2ndLim", "PLU_Disc_Within2ndL", "PLU_Disc_Markdown", "PLU_Commodity",
    "PLU_Ingredient", "PLU_SPMessage", "PLU_Nutr_SerSize", "PLU_CPLUPreset"};
constexpr size_t kItemCount = sizeof kItems / sizeof kItems[0];

store::TableDef narrow(const store::TableDef* full) {
    store::TableDef t;
    if (!full) return t;
    t.name = full->name;
    for (const auto& c : full->columns) {
        bool keep = c.name.rfind("Stat1_", 0) == 0 || c.name.rfind("Stat2_", 0) == 0 || c.name == "ST_No" ||
                    c.name == "PLU_CommodityFirst";
        for (const char* item : kItems) keep = keep || c.name == item;
        if (keep) t.columns.push_back(c);
    }
    return t;
}

struct Fixed {
    store::Schema schema = store::readSchemaFile(BRINDALE_SOURCE_ROOT "/Database/ABC1.txt");
    // KVR_25 narrowed to the columns an import can write, so that each run looks up fewer names.
    store::TableDef narrowed = narrow(schema.find("KVR_25"));
    const store::TableDef* table = narrowed.columns.empty() ? nullptr : &narrowed;
    codec::CodePage western{"CP1252"};
    codec::CodePage chinese{"GBK"};
    codec::BarcodeLists lists;
    Fixed() {
        // N of formats 0..32 as the shipped edit lists give them.
        const int ean[] = {10, 5, 5, 5, 5, 5, 4, 4, 4, 4, 6, 6, 6, 6, 3, 3, 10, 5, 5, 5, 6, 6, 6, 4, 7, 5, 6, 7, 5, 5, 5, 10, 6};
        const int itf[] = {10, 5, 5, 5, 5, 5, 6, 6, 6, 6, 6, 4, 4, 7, 7, 10, 5, 5, 6, 6, 6, 6, 7, 7, 6, 6, 5, 5, 6, 6, 10, 10, 10};
        auto line = [](int n) { return "1,1," + std::to_string(n) + (n < 10 ? ",#" : "#"); };
        lists.EAN_EDIT.push_back(line(10));
        lists.ITF_EDIT.push_back(line(10));
        for (int n : ean) lists.EAN_EDIT.push_back(line(n));
        for (int n : itf) lists.ITF_EDIT.push_back(line(n));
    }
};

size_t characters(const std::string& s) {
    size_t n = 0;
    for (unsigned char c : s) n += (c & 0xC0) != 0x80;
    return n;
}

// A reader made from the input's first eight bytes (all but the UTF-8 bit). Building one looks up every chosen column by
// name, which cost more than reading the line; an import reads all its lines with one reader, so
// readers are kept by those bytes and reused (at most kReaders, then all are dropped).
struct Reader {
    exchange::ImportOptions options;
    std::unique_ptr<exchange::ImportLineReader> reader;
    std::vector<const store::ColumnDef*> columns;  // of each value of a row, for the checks
};

constexpr size_t kReaders = 8192;

Reader make(const Fixed& fixed, const uint8_t* data) {
    Reader r;
    exchange::ImportOptions& o = r.options;
    uint64_t mask = 0;
    for (int i = 0; i < 5; ++i) mask |= static_cast<uint64_t>(data[i]) << (8 * i);
    o.columns.push_back("PLU_No");
    for (size_t i = 1; i < kItemCount; ++i)
        if (mask >> i & 1) o.columns.push_back(kItems[i]);
    if (mask >> 39 & 1) std::swap(o.columns.front(), o.columns.back());
    o.separator = data[5] % 4;
    o.barType = data[5] >> 2 & 1;
    o.priceDecimals = data[6] % 4;
    o.weightDecimals = data[6] >> 2 & 3;
    o.decimalSign = data[6] & 0x10 ? "," : ".";
    o.weightFlag = "W";
    o.fontCodes = {exchange::fontCodeAt(data[7] % 33).value(), 0x26, 0x1A};
    o.codePage = data[7] & 0x80 ? &fixed.chinese : &fixed.western;
    o.barcodeLists = &fixed.lists;
    o.stNo = 1;
    return r;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fixed fixed;
    static std::unordered_map<uint64_t, std::unique_ptr<Reader>> readers;
    if (size < 8 || !fixed.table) return 0;
    // Only the bits a reader is made from: the 39 column bits, separator and bar type, decimals
    // and sign, font position, code page.
    uint64_t key = 0;
    for (int i = 0; i < 5; ++i) key |= static_cast<uint64_t>(data[i]) << (8 * i);
    key &= (uint64_t{1} << 40) - 2;
    key |= uint64_t(data[5] & 7) << 40 | uint64_t(data[6] & 0x1F) << 43 | uint64_t(data[7] % 33) << 48 |
           uint64_t(data[7] >> 7) << 54;
    auto found = readers.find(key);
    if (found == readers.end()) {
        if (readers.size() >= kReaders) readers.clear();
        auto r = std::make_unique<Reader>(make(fixed, data));
        // The reader keeps a reference to its options, which live beside it at a fixed address.
        r->reader = std::make_unique<exchange::ImportLineReader>(*fixed.table, r->options);
        for (const auto& name : r->reader->columns()) {
            const int at = fixed.table->columnIndex(name);
            if (at < 0) __builtin_trap();
            r->columns.push_back(&fixed.table->columns[static_cast<size_t>(at)]);
        }
        found = readers.emplace(key, std::move(r)).first;
    }
    exchange::ImportLineReader& reader = *found->second->reader;
    const bool utf8 = data[7] & 0x40;
    const auto& columns = found->second->columns;
    exchange::ImportRow row;
    std::vector<exchange::ImportNote> notes;
    reader.read(std::string_view(reinterpret_cast<const char*>(data + 8), size - 8), 1, utf8, row, notes);

    const auto& names = reader.columns();
    if (row.values.size() != names.size()) __builtin_trap();
    for (size_t i = 0; i < names.size(); ++i) {
        const store::ColumnDef& c = *columns[i];
        const store::Value& v = row.values[i];
        if (exchange::textColumnIndex(c.name) >= 0) {
            if (v.isNull()) continue;
            const auto& b = v.bytes();
            if (b.size() < 4 || b.size() > 258 || b[1] != b.size() - 3 || b.back() != 0x0C) __builtin_trap();
        } else if (c.isText()) {
            if (!v.isText() || characters(v.text()) > static_cast<size_t>(c.size)) __builtin_trap();
        } else if (!c.isBytes()) {
            if (!v.isInt()) __builtin_trap();
            const int64_t n = v.toInt();
            if (n < INT32_MIN || n > INT32_MAX) __builtin_trap();
            if (c.name.rfind("Stat", 0) == 0 && n != 0 && n != 1) __builtin_trap();
            if (c.name == "PLU_EANFlags" && (n < 0 || n > 255)) __builtin_trap();
        }
    }
    for (const auto& n : notes)
        if (n.line != 1) __builtin_trap();
    return 0;
}
