#pragma once
// Builds the binary record of a department, main group or flexi barcode row from its columns, as
// every save of such a row does, and chooses the record the mirror keeps for such a row.
#include <optional>
#include <string>
#include <vector>

#include "codec/code_page.h"
#include "codec/small_records.h"
#include "store/recordset.h"

namespace brindale::store {

// `rs` stands on the row of KVR_20, KVR_23 or KVR_14 (any other table is left alone); its
// KVRBinData is set, the caller calls update(). A column that cannot be packed is a FatalError
// naming it. A flexi barcode keeps the check digit setting in FBar_CD (0 to 127) and the kind in
// FBar_EANorITF (0 or 1); the record's byte 11 combines them.
void buildSmallRecord(const codec::CodePage& codePage, const std::string& table, Recordset& rs);

// The record the end writes for a row of one of these tables. The next start decodes it over the
// row's number and name, so it must never give the row another number or take it from its
// department:
// - a record of the table's size and length field that decodes is written as it stands;
// - a row without one gets a record built from its own columns, if the record gives back the
//   row's key (DP_No; MG_No and DP_No; FBar_No and FBar_EANorITF);
// - otherwise there is nothing to write without loss: `record` is empty and `problem` names the
//   column.
struct MirrorSmallRecord {
    enum class Source { Kept, Built, None };
    Source source = Source::None;
    std::vector<uint8_t> record;
    codec::CodecError problem;  // when source is None
};
MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& codePage, const codec::DeptRow& row);
MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& codePage, const codec::MainGroupRow& row);
MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& codePage, const codec::FlexiBarcodeRow& row);

}  // namespace brindale::store
