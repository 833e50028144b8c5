#include "chain_generator.h"

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec/barcode.h"
#include "codec/plu_row.h"
#include "codec/small_records.h"
#include "plu_row_generator.h"
#include "store/recordset.h"
#include "store/row_mapper.h"

namespace brindale::datagen {

namespace {

std::string padded(int a, int b, int c, int d) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%3d.%3d.%3d.%3d", a, b, c, d);
    return buf;
}

template <class Row>
void insertRow(store::Database& db, store::RowMapper<Row>& map, Row& row, const codec::CodePage& cp) {
    codec::encodeSmallRecord(row, cp);
    auto& st = db.cached(map.insertSql());
    map.bind(st, row);
    st.step();
    st.reset();
}

}  // namespace

// The barcode of PLU i: the slots run through every built-in format of the EAN list (last byte
// below 10), then of the ITF list (10 and above), then the flexi formats 33 and 34 of both kinds
// and 35, which has no flexi row. The item code has between 1 and N digits, N from the format's
// own line.
template <class Num>
void setBarcode(codec::PluRow& row, const codec::CodecEnvironment& env, long i, Num& num) {
    if (!env.barcodeLists) throw std::runtime_error("no barcode lists for the generated PLUs");
    const long slot = i % kBarcodeSlots;
    int64_t format, lastByte;
    if (slot < 66) {
        format = slot % 33;
        lastByte = slot < 33 ? num(0, 9) : num(10, 99);
    } else {
        format = 33 + (slot - 66) / 2;
        lastByte = (slot - 66) % 2 ? num(0, 9) : num(10, 99);
    }
    int n = 10;
    if (format <= codec::kLastBuiltInFormat) {
        // Read here as the file states it, not through the codec, so that a codec reading
        // another line cuts these codes and the round trip shows it: REF, then B00, B01, ...
        const auto& list = lastByte < 10 ? env.barcodeLists->EAN_EDIT : env.barcodeLists->ITF_EDIT;
        const codec::Status s = codec::formatLineItemDigits(list.at(static_cast<size_t>(format) + 1), n);
        if (!s.ok()) throw std::runtime_error("barcode format " + std::to_string(format) + ": " + s.message());
    } else if (format == 33) {
        n = lastByte < 10 ? 4 : 6;  // the flexi rows made above
    } else if (format == 34) {
        n = lastByte < 10 ? 8 : 3;
    }
    std::string item;
    const int most = n > 10 ? 10 : n;
    const int len = most < 1 ? 0 : static_cast<int>(num(0, 1) ? most : num(1, most));
    for (int d = 0; d < len; ++d) item += static_cast<char>('0' + num(d == 0 ? 1 : 0, 9));
    // Left-aligned (format 0): the zeros behind the code are padding, so the code ends otherwise.
    if (format == 0 && !item.empty() && item.back() == '0') item.back() = '7';
    if (item.empty()) item = "0";
    row.Stat2_ItemCode = 1;
    row.PLU_BarFormat = format;
    row.PLU_EANLastByte = lastByte;
    row.PLU_EANItemCode = item;
}

void generateChain(store::Database& db, const codec::CodecEnvironment& env, const ChainShape& shape, uint32_t seed) {
    std::mt19937 rng(seed);
    auto num = [&](int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(rng); };
    static const char* const kStreets[] = {"Market", "Harbour", "Station", "Mill", "Bridge", "Church", "Castle"};
    static const char* const kSections[] = {"Deli", "Butcher", "Bakery", "Cheese", "Fish", "Fruit"};
    static const char* const kDepts[] = {"Meat", "Poultry", "Sausage", "Cheese", "Bread", "Cakes", "Fish", "Salads",
                                         "Fruit", "Vegetables", "Nuts", "Sweets"};

    store::Transaction tx(db);
    // Flexi barcodes 1 and 2 of both kinds: the PLU formats 33 and 34 use them.
    store::RowMapper<codec::FlexiBarcodeRow> flexiMap(db, "KVR_14", codec::flexiBarcodeColumns());
    for (int no = 1; no <= 2; ++no)
        for (int kind = 0; kind <= 1; ++kind) {
            auto row = flexiMap.freshRow();
            row.FBar_No = no;
            row.FBar_EANorITF = kind;
            row.FBar_Type = num(0, 9);
            row.FBar_ItemDigitNo = no == 1 ? (kind ? 4 : 6) : (kind ? 8 : 3);
            row.FBar_Data1Type = num(0, 5);
            row.FBar_Data2Type = num(0, 5);
            // One digit each: the record packs these as digit pairs, where a second digit
            // pushes the next field along and the last one is cut off.
            row.FBar_FBarDigitNo = num(1, 9);
            // As the flexi barcode editor saves it: the check digit setting and the kind apart.
            row.FBar_CD = num(0, 3);
            row.FBar_Data1 = num(0, 9);
            row.FBar_Data2 = num(0, 9);
            row.FBar_Data1SH = num(0, 9);
            row.FBar_Data2SH = num(0, 9);
            insertRow(db, flexiMap, row, *env.codePage);
        }

    store::RowMapper<codec::DeptRow> deptMap(db, "KVR_20", codec::deptColumns());
    store::RowMapper<codec::MainGroupRow> mgMap(db, "KVR_23", codec::mainGroupColumns());
    std::vector<std::vector<int64_t>> groupsOfStore(static_cast<size_t>(shape.stores) + 1);
    int address = 10;
    for (int st = 1; st <= shape.stores; ++st) {
        store::Recordset stores(db, "STORE");
        stores.addNew();
        stores.setValue("ST_No", st);
        stores.setValue("ST_Name", std::string(kStreets[(st - 1) % 7]) + " Street " + std::to_string(st));
        stores.setValue("Flag1", num(0, 9));
        stores.setValue("Flag2", st % 3 == 0 ? 16 : num(0, 9));
        stores.setValue("BarFlag", num(0, 3));
        stores.setValue("barformat", num(1, 12));
        stores.setValue("BarType", "0");
        stores.setValue("LabFormat", num(1, 20));
        stores.update();
        for (int se = 1; se <= shape.sectionsPerStore; ++se) {
            store::Recordset sect(db, "SECT");
            sect.addNew();
            sect.setValue("SECT_No", se);
            sect.setValue("ST_No", st);
            sect.setValue("SECT_Name", kSections[(se - 1) % 6]);
            sect.setValue("barformat", 255);
            sect.setValue("LabFormat", 255);
            sect.setValue("BarType", "0");
            sect.update();
            for (int sc = 1; sc <= shape.scalesPerSection; ++sc, ++address) {
                store::Recordset scale(db, "SCALE");
                scale.addNew();
                scale.setValue("SC_IP", padded(192, 168, st, address % 250 + 2));
                scale.setValue("SC_No", std::string(kSections[(se - 1) % 6]) + " " + std::to_string(sc));
                scale.setValue("SC_Used", sc == shape.scalesPerSection && sc > 2 ? 0 : 1);
                scale.setValue("SC_Dest", "Counter " + std::to_string(sc));
                scale.setValue("SC_MODEL_ID", num(0, 3));
                scale.setValue("SC_PSK_Layout", num(0, 9));
                scale.setValue("ST_No", st);
                scale.setValue("SECT_No", se);
                scale.update();
            }
        }
        // Every store has department 97 with main group 997 under it.
        std::vector<int64_t> depts;
        for (int d = 1; d <= shape.departmentsPerStore; ++d) depts.push_back(d);
        depts.push_back(97);
        int64_t nextGroup = 1;
        for (int64_t d : depts) {
            auto dept = deptMap.freshRow();
            dept.DP_No = d;
            dept.DP_Name = d == 97 ? std::string("Department 97") : std::string(kDepts[(d - 1) % 12]);
            dept.barformat = 255;
            dept.LabFormat = 255;
            dept.BarType = "0";
            dept.ST_No = st;
            insertRow(db, deptMap, dept, *env.codePage);
            const int groups = d == 97 ? 1 : shape.mainGroupsPerDepartment;
            for (int g = 0; g < groups; ++g) {
                auto mg = mgMap.freshRow();
                mg.MG_No = d == 97 ? 997 : nextGroup++;
                mg.MG_Name = d == 97 ? std::string("Main group 997")
                                     : *dept.DP_Name + " " + std::to_string(g + 1);
                mg.barformat = 255;
                mg.LabFormat = g % 2 ? 255 : num(1, 20);
                mg.BarType = "0";
                mg.ST_No = st;
                mg.DP_No = d;
                insertRow(db, mgMap, mg, *env.codePage);
                groupsOfStore[static_cast<size_t>(st)].push_back(mg.MG_No);
            }
        }
        for (int s = 1; s <= shape.searchSetsPerStore; ++s) {
            store::Recordset search(db, "SEARCH");
            search.addNew();
            search.setValue("SH_No", s);
            search.setValue("SH_Name", "Offer " + std::to_string(s));
            search.setValue("DP_No1", 0);
            search.setValue("DP_No2", 97);
            search.setValue("MG_No1", 1);
            search.setValue("MG_No2", 20 * s);
            search.setValue("PLU_No1", 1);
            search.setValue("PLU_No2", 999997);
            search.setValue("PLU_UPrice1", 0);
            search.setValue("PLU_UPrice2", 1000 * s);
            search.setValue("ST_No", st);
            search.update();
        }
    }

    store::RowMapper<codec::PluRow> pluMap(db, "KVR_25", codec::pluColumns());
    codec::test::PluRowGenerator gen(seed);
    auto& insert = db.cached(pluMap.insertSql());
    long barcodes = 0;
    for (long i = 0; i < shape.plus; ++i) {
        codec::PluRow row = gen.next(env.settings.CountryIndex);
        row.PLU_No = 1 + i * 9 % 999990;
        row.ST_No = 1 + i % shape.stores;
        row.SECT_No = 1 + (i / shape.stores) % shape.sectionsPerStore;
        const auto& groups = groupsOfStore[static_cast<size_t>(row.ST_No)];
        if (row.Stat2_MGCode) row.PLU_MG = groups[static_cast<size_t>(i) % groups.size()];
        if (i % 8 != 7 || row.Stat2_ItemCode) setBarcode(row, env, barcodes++, num);
        row.Is_Selected = 0;
        pluMap.bind(insert, row);
        insert.step();
        insert.reset();
    }
    tx.commit();
}

}  // namespace brindale::datagen
