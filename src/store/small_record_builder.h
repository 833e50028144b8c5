#pragma once
// Rebuilds the binary record of a department or main group row from its columns, as every save
// of such a row does.
#include <string>

#include "codec/code_page.h"
#include "store/recordset.h"

namespace brindale::store {

// `rs` stands on the row of KVR_20 or KVR_23 (any other table is left alone); its KVRBinData is
// set, the caller calls update(). A column that cannot be packed is a FatalError naming it.
void buildSmallRecord(const codec::CodePage& codePage, const std::string& table, Recordset& rs);

}  // namespace brindale::store
