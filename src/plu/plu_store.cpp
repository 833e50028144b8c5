#include "plu/plu_store.h"

#include "plu/plu_format.h"
#include "store/recordset_rows.h"

namespace brindale::plu {

std::string overlapQuery(std::string_view pluText, int64_t storeNo) {
  if (pluText.empty() || !allDigits(pluText) || pluText.size() > 9) return {};
  const auto no = parseScaled(pluText, 0, "");
  return "Select * from KVR_25 Where PLU_No=" + std::to_string(*no) + " and ST_No=" + std::to_string(storeNo);
}

bool checkPLUOverlap(store::Database& db, std::string_view pluText, int64_t storeNo, bool asNew,
                     int64_t currentPluNo, bool copying) {
  if (copying) return false;
  const std::string sql = overlapQuery(pluText, storeNo);
  if (sql.empty()) return false;
  const int64_t no = *parseScaled(pluText, 0, "");
  if (!asNew && no == currentPluNo) return false;
  store::Recordset rs(db, sql);
  return rs.recordCount() > 0;
}

codec::PluRow readPluRow(const store::Recordset& rs) {
  return store::rowFromRecordset<codec::PluRow>(rs, codec::pluColumns());
}

void writePluRow(store::Recordset& rs, const codec::PluRow& row) {
  store::rowToRecordset<codec::PluRow>(rs, row, codec::pluColumns());
}

std::vector<MainGroupInfo> loadMainGroups(store::Database& db, int64_t storeNo) {
  std::vector<MainGroupInfo> out;
  store::Recordset rs(db, "select * from KVR_23 where ST_No=" + std::to_string(storeNo) + " order by MG_No");
  for (rs.moveFirst(); !rs.eof(); rs.moveNext())
    out.push_back({rs.intValue("MG_No"), rs.intValue("DP_No"), rs.textValue("MG_Name")});
  return out;
}

std::vector<FlexiInfo> loadFlexiFormats(store::Database& db) {
  std::vector<FlexiInfo> out;
  store::Recordset rs(db, "select * from KVR_14 order by FBar_No");
  for (rs.moveFirst(); !rs.eof(); rs.moveNext()) out.push_back({rs.intValue("FBar_No"), rs.intValue("FBar_EANorITF")});
  return out;
}

}  // namespace brindale::plu
