#include "plu_list_query.h"

#include <string_view>

#include "store/recordset.h"

namespace brindale::plu {

namespace {

constexpr std::string_view kSelectAll = "Select * ";
constexpr std::string_view kOrder = " ORDER BY PLU_No";

std::string num(int64_t n) { return std::to_string(n); }

}  // namespace

std::string pluListQuery(store::Database& db, int nodeKind, int storeNo, int nodeNo) {
    std::string sql = "Select * from KVR_25 ";
    sql += "Where ";
    sql += "ST_No =" + num(storeNo);
    switch (nodeKind) {
        case NodeDepartment: {
            store::Recordset groups(db, "Select * from KVR_23 Where KVR_23.DP_No=" + num(nodeNo));
            if (groups.recordCount() > 0) {
                sql += " and (";
                bool first = true;
                for (groups.moveFirst(); !groups.eof(); groups.moveNext()) {
                    if (!first) sql += " or ";
                    first = false;
                    sql += "PLU_MG = " + num(groups.intValue("MG_No"));
                }
                sql += ")";
            } else {
                // A department without main groups lists main group 0 only, never the whole store.
                sql += " and ";
                sql += "PLU_MG = " + num(0);
            }
            break;
        }
        case NodeMainGroup:
            sql += " and ";
            sql += "PLU_MG = " + num(nodeNo);
            break;
        case NodeSearchSet: {
            store::Recordset set(db, "Select * from SEARCH where ST_No=" + num(storeNo) + " and SH_No=" + num(nodeNo));
            auto bound = [&](const char* column) -> int64_t {
                return set.eof() ? 0 : set.value(column).toInt();
            };
            // The three ranges always, also when one spans every value.
            sql += " and ";
            sql += "(PLU_MG >=" + num(bound("MG_No1")) + " and PLU_MG <=" + num(bound("MG_No2")) + ")";
            sql += " and ";
            sql += "(PLU_No >=" + num(bound("PLU_No1")) + " and PLU_No <=" + num(bound("PLU_No2")) + ")";
            sql += " and ";
            sql += "(PLU_UPrice >=" + num(bound("PLU_UPrice1")) + " and PLU_UPrice <=" + num(bound("PLU_UPrice2")) + ")";
            break;
        }
        default: break;
    }
    sql += kOrder;
    return sql;
}

std::string pluListSelect(const std::string& query, const std::string& columns) {
    if (query.compare(0, kSelectAll.size(), kSelectAll) != 0) return query;
    return "Select " + columns + " " + query.substr(kSelectAll.size());
}

std::string pluListMarkedCount(const std::string& query) {
    std::string sql = pluListSelect(query, "count(*)");
    if (sql.size() >= kOrder.size() && sql.compare(sql.size() - kOrder.size(), kOrder.size(), kOrder) == 0)
        sql.erase(sql.size() - kOrder.size());
    return sql + " and Is_Selected<>0";
}

void ensurePluListIndex(store::Database& db) {
    // The mark rides along, so that counting and finding marked rows never reads the wide rows.
    db.exec("CREATE INDEX IF NOT EXISTS KVR_25_ST_No_PLU_No ON KVR_25 (ST_No, PLU_No, Is_Selected)");
}

}  // namespace brindale::plu
