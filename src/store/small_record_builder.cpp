#include "store/small_record_builder.h"

#include "store/fatal_error.h"
#include "store/recordset_rows.h"

namespace brindale::store {

namespace {

template <class Row>
void build(const codec::CodePage& cp, std::span<const codec::ColumnInfo<Row>> columns, Recordset& rs) {
    Row row = rowFromRecordset<Row>(rs, columns);
    codec::Status s = codec::encodeSmallRecord(row, cp);
    if (!s.ok()) throw FatalError(rs.tableName(), 0, s.message());
    rs.setValue("KVRBinData", Value(*row.KVRBinData));
}

// The record's size and the length field it carries in bytes 4 and 5.
struct Shape {
    size_t size;
    uint8_t lengthLow;
};
constexpr Shape shapeOf(const codec::DeptRow&) { return {codec::kDeptRecordSize, 0x17}; }
constexpr Shape shapeOf(const codec::MainGroupRow&) { return {codec::kMainGroupRecordSize, 0x19}; }
constexpr Shape shapeOf(const codec::FlexiBarcodeRow&) { return {codec::kFlexiBarcodeRecordSize, 0x10}; }

// The columns that name the row and tie it to its parent; the first that differs, or nullptr.
const char* keyDiffers(const codec::DeptRow& a, const codec::DeptRow& b) {
    return a.DP_No != b.DP_No ? "DP_No" : nullptr;
}
const char* keyDiffers(const codec::MainGroupRow& a, const codec::MainGroupRow& b) {
    if (a.MG_No != b.MG_No) return "MG_No";
    return a.DP_No != b.DP_No ? "DP_No" : nullptr;
}
const char* keyDiffers(const codec::FlexiBarcodeRow& a, const codec::FlexiBarcodeRow& b) {
    if (a.FBar_No != b.FBar_No) return "FBar_No";
    return a.FBar_EANorITF != b.FBar_EANorITF ? "FBar_EANorITF" : nullptr;
}
int64_t keyValue(const codec::DeptRow& r, std::string_view) { return r.DP_No; }
int64_t keyValue(const codec::MainGroupRow& r, std::string_view column) { return column == "MG_No" ? r.MG_No : r.DP_No; }
int64_t keyValue(const codec::FlexiBarcodeRow& r, std::string_view column) {
    return column == "FBar_No" ? r.FBar_No : r.FBar_EANorITF;
}
// The largest value the record's digits hold: eight for the numbers, two for a main group's
// department.
int64_t keyLimit(const codec::MainGroupRow&, std::string_view column) { return column == "DP_No" ? 99 : 99999999; }
template <class Row>
int64_t keyLimit(const Row&, std::string_view column) {
    return column == "FBar_EANorITF" ? 1 : 99999999;
}

template <class Row>
bool decodes(const codec::CodePage& cp, const Row& row) {
    if (!row.KVRBinData) return false;
    const Shape shape = shapeOf(row);
    const auto& r = *row.KVRBinData;
    if (r.size() != shape.size || r[4] != 0 || r[5] != shape.lengthLow) return false;
    Row copy = row;
    return codec::decodeSmallRecords(std::span<Row>(&copy, 1), cp).ok();
}

template <class Row>
MirrorSmallRecord choose(const codec::CodePage& cp, const Row& row) {
    MirrorSmallRecord out;
    if (decodes(cp, row)) {
        out.source = MirrorSmallRecord::Source::Kept;
        out.record = *row.KVRBinData;
        return out;
    }
    Row built = row;
    codec::Status s = codec::encodeSmallRecord(built, cp);
    if (!s.ok()) {
        out.problem = s.error();
        return out;
    }
    Row back = built;
    if (!codec::decodeSmallRecords(std::span<Row>(&back, 1), cp).ok()) {
        out.problem.fault = codec::Fault::NotDecimal;
        out.problem.column = "KVRBinData";
        return out;
    }
    if (const char* column = keyDiffers(back, row)) {
        // A number too long for its digits would come back as another number.
        out.problem.fault = codec::Fault::Overflow;
        out.problem.column = column;
        out.problem.value = keyValue(row, column);
        out.problem.limit = keyLimit(row, column);
        return out;
    }
    out.source = MirrorSmallRecord::Source::Built;
    out.record = *built.KVRBinData;
    return out;
}

}  // namespace

void buildSmallRecord(const codec::CodePage& cp, const std::string& table, Recordset& rs) {
    const auto kind = codec::smallTableFromName(table);
    if (!kind) return;
    switch (*kind) {
        case codec::SmallTable::Dept: build<codec::DeptRow>(cp, codec::deptColumns(), rs); break;
        case codec::SmallTable::MainGroup: build<codec::MainGroupRow>(cp, codec::mainGroupColumns(), rs); break;
        case codec::SmallTable::FlexiBarcode: build<codec::FlexiBarcodeRow>(cp, codec::flexiBarcodeColumns(), rs); break;
    }
}

MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& cp, const codec::DeptRow& row) { return choose(cp, row); }
MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& cp, const codec::MainGroupRow& row) { return choose(cp, row); }
MirrorSmallRecord mirrorSmallRecord(const codec::CodePage& cp, const codec::FlexiBarcodeRow& row) { return choose(cp, row); }

}  // namespace brindale::store
