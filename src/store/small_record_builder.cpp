#include "store/small_record_builder.h"

#include "codec/small_records.h"
#include "store/fatal_error.h"

namespace brindale::store {

namespace {

template <class Row>
void build(const codec::CodePage& cp, std::span<const codec::ColumnInfo<Row>> columns, Recordset& rs) {
    Row row{};
    for (const auto& c : columns) {
        if (!rs.hasField(c.name)) continue;
        const Value& v = rs.value(c.name);
        switch (c.kind) {
            case codec::ColumnKind::Number: row.*c.number = v.isNull() ? codec::kNullNumber : v.toInt(); break;
            case codec::ColumnKind::Text:
                if (v.isNull()) (row.*c.text).reset();
                else row.*c.text = v.toText();
                break;
            case codec::ColumnKind::Bytes:
                if (v.isNull()) (row.*c.bytes).reset();
                else row.*c.bytes = v.bytes();
                break;
        }
    }
    codec::Status s = codec::encodeSmallRecord(row, cp);
    if (!s.ok()) throw FatalError(rs.tableName(), 0, s.message());
    rs.setValue("KVRBinData", Value(*row.KVRBinData));
}

}  // namespace

void buildSmallRecord(const codec::CodePage& cp, const std::string& table, Recordset& rs) {
    switch (codec::smallTableFromName(table).value_or(codec::SmallTable::FlexiBarcode)) {
        case codec::SmallTable::Dept:
            if (iequals(table, "KVR_20")) build<codec::DeptRow>(cp, codec::deptColumns(), rs);
            break;
        case codec::SmallTable::MainGroup: build<codec::MainGroupRow>(cp, codec::mainGroupColumns(), rs); break;
        case codec::SmallTable::FlexiBarcode:
            if (iequals(table, "KVR_14")) build<codec::FlexiBarcodeRow>(cp, codec::flexiBarcodeColumns(), rs);
            break;
    }
}

}  // namespace brindale::store
