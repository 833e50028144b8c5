// The editor's database side: the overlap query, the current row of RsPLU as a PLU row and back,
// and the main group and flexi barcode lists of a store.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "codec/plu_row.h"
#include "plu/plu_editor.h"
#include "store/database.h"
#include "store/recordset.h"

namespace brindale::plu {

// The text of the query checkPLUOverlap runs; empty when the number text is not a number.
std::string overlapQuery(std::string_view pluText, int64_t storeNo);
// True when a row of the store has the number typed in meditPLU while adding or renumbering
// (the number differs from `currentPluNo`); never while a copy is pending.
bool checkPLUOverlap(store::Database& db, std::string_view pluText, int64_t storeNo, bool asNew,
                     int64_t currentPluNo, bool copying);

// The current row of a recordset on KVR_25 as a PLU row; columns the recordset lacks keep the
// row's defaults.
codec::PluRow readPluRow(const store::Recordset& rs);
// Writes the columns that differ from the recordset's current values (the caller runs Update).
void writePluRow(store::Recordset& rs, const codec::PluRow& row);

std::vector<MainGroupInfo> loadMainGroups(store::Database& db, int64_t storeNo);
std::vector<FlexiInfo> loadFlexiFormats(store::Database& db);

}  // namespace brindale::plu
