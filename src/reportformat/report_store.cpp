#include "reportformat/report_store.h"

#include "store/database.h"
#include "store/recordset.h"

namespace brindale::reportformat {

namespace {

// Moves the recordset to the first row (table order) whose Code is `number`.
bool seek(store::Recordset& rs, int number) {
    if (rs.recordCount() == 0) return false;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        const store::Value& v = rs.value("Code");
        if (!v.isNull() && v.toInt() == number) return true;
    }
    return false;
}

// A number column as the field shows it; Null shows "0".
std::string numberText(const store::Value& v) {
    if (v.isNull()) return "0";
    if (v.isReal()) {
        const double d = v.toReal();
        if (d == static_cast<double>(static_cast<int64_t>(d))) return std::to_string(static_cast<int64_t>(d));
    }
    return v.toText();
}

SaveResult badField(const char* table, int number, std::string column, std::string value) {
    SaveResult r;
    r.table = table;
    r.number = number;
    r.column = std::move(column);
    r.value = std::move(value);
    return r;
}

}  // namespace

std::string SaveResult::message() const {
    if (ok()) return {};
    return table + " number " + std::to_string(number) + ", column " + column + ": \"" + value +
           "\" is not a number of at most 8 digits; the record stays as it was";
}

bool OpenRptData(store::Database& db, int number, FormatFields& f) {
    store::Recordset rs(db, "KVR_AA");
    f = FormatFields{};
    if (!seek(rs, number)) return false;
    f.typePosition = typePosition(rs.intValue("Type")).value_or(0);
    f.startNo = numberText(rs.value("StartNo"));
    f.endNo = numberText(rs.value("EndNo"));
    const int64_t status = rs.intValue("Status");
    f.statusPosition = status >= 0 && status <= 2 ? static_cast<int>(status) : 0;
    f.conditionNo = f.statusPosition == 0 ? "0"
                                          : numberText(rs.value("ConditionNo"))
                                                .substr(0, static_cast<std::size_t>(f.conditionMaxLength()));
    const store::Value& data = rs.value("Data");
    if (data.isBytes() && !data.bytes().empty()) f.data = data.bytes();
    return true;
}

SaveResult SaveRptData(store::Database& db, int number, const FormatFields& f) {
    FormatRecordFields r;
    r.code = number;
    r.type = typeCode(f.typePosition);
    r.status = static_cast<uint8_t>(f.statusPosition < 0 || f.statusPosition > 2 ? 0 : f.statusPosition);
    const struct {
        const std::string* text;
        int64_t* to;
        const char* column;
    } numbers[] = {{&f.startNo, &r.startNo, "StartNo"}, {&f.endNo, &r.endNo, "EndNo"},
                   {&f.conditionNo, &r.conditionNo, "ConditionNo"}};
    for (const auto& n : numbers) {
        const std::optional<int64_t> v = parseNumber(*n.text);
        if (!v) return badField("KVR_AA", number, n.column, *n.text);
        *n.to = *v;
    }
    r.data = f.data && !f.data->empty() ? f.data : std::nullopt;
    std::string why;
    const std::optional<Bytes> record = buildFormatRecord(r, &why);
    if (!record) return badField("KVR_AA", number, "Data", why);

    store::Recordset rs(db, "KVR_AA");
    if (!seek(rs, number)) {
        rs.addNew();
        rs.setValue("Code", number);
    }
    rs.setValue("Type", static_cast<int>(r.type));
    rs.setValue("StartNo", r.startNo);
    rs.setValue("EndNo", r.endNo);
    rs.setValue("ConditionNo", r.conditionNo);
    rs.setValue("Status", static_cast<int>(r.status));
    rs.setValue("Data", r.data ? store::Value(*r.data) : store::Value());
    rs.setValue("KVRBinData", *record);
    rs.update();
    return {};
}

bool OpenRptSeq(store::Database& db, int number, SequenceFields& s) {
    store::Recordset rs(db, "KVR_AB");
    s = SequenceFields{};
    if (!seek(rs, number)) return false;
    for (int k = 0; k < kSequenceSlots; ++k)
        s.seqNo[static_cast<std::size_t>(k)] = numberText(rs.value("Sequence" + std::to_string(k + 1)));
    const int64_t reset = rs.intValue("Resetreport");
    s.resetPosition = reset >= 0 && reset <= 3 ? static_cast<int>(reset) : 0;
    const auto status = static_cast<uint8_t>(rs.intValue("Status") & 0xFF);
    s.password = sequencePassword(status);
    s.printType = sequencePrintType(status);
    return true;
}

SaveResult SaveRptSeq(store::Database& db, int number, const SequenceFields& s) {
    SequenceRecordFields r;
    r.code = number;
    for (int k = 0; k < kSequenceSlots; ++k) {
        const std::string& t = s.seqNo[static_cast<std::size_t>(k)];
        const std::optional<int64_t> v = parseNumber(t);
        if (!v) return badField("KVR_AB", number, "Sequence" + std::to_string(k + 1), t);
        r.formats[static_cast<std::size_t>(k)] = *v;
    }
    r.resetReport = static_cast<uint8_t>(s.resetPosition < 0 || s.resetPosition > 3 ? 0 : s.resetPosition);

    store::Recordset rs(db, "KVR_AB");
    const bool found = seek(rs, number);
    const auto previous = found ? static_cast<uint8_t>(rs.intValue("Status") & 0xFF) : uint8_t{0};
    r.status = sequenceStatus(previous, s.password, s.printType);
    std::string why;
    const std::optional<Bytes> record = buildSequenceRecord(r, &why);
    if (!record) return badField("KVR_AB", number, "Code", why);
    if (!found) {
        rs.addNew();
        rs.setValue("Code", number);
    }
    for (int k = 0; k < kSequenceSlots; ++k)
        rs.setValue("Sequence" + std::to_string(k + 1), r.formats[static_cast<std::size_t>(k)]);
    rs.setValue("Resetreport", static_cast<int>(r.resetReport));
    rs.setValue("Status", static_cast<int>(r.status));
    rs.setValue("KVRBinData", *record);
    rs.update();
    return {};
}

std::optional<int> resetConflict(store::Database& db, const std::array<std::string, kSequenceSlots>& seqNo,
                                 int resetPosition) {
    auto& st = db.cached("SELECT Type FROM KVR_AA WHERE Code = ? ORDER BY rowid LIMIT 1");
    for (int k = 0; k < kSequenceSlots; ++k) {
        const std::optional<int64_t> n = parseNumber(seqNo[static_cast<std::size_t>(k)]);
        if (!n || *n == 0) continue;
        st.reset();
        st.bind(1, store::Value(*n));
        if (st.step() && forbidsReset(st.columnInt(0), resetPosition)) {
            st.reset();
            return k;
        }
    }
    st.reset();
    return std::nullopt;
}

std::optional<int> firstSequenceBreakingReset(store::Database& db) {
    store::Recordset rs(db, "KVR_AB");
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        std::array<std::string, kSequenceSlots> seq;
        for (int k = 0; k < kSequenceSlots; ++k)
            seq[static_cast<std::size_t>(k)] = numberText(rs.value("Sequence" + std::to_string(k + 1)));
        if (resetConflict(db, seq, static_cast<int>(rs.intValue("Resetreport")))) return static_cast<int>(rs.intValue("Code"));
    }
    return std::nullopt;
}

std::vector<int> formatNumbers(store::Database& db) {
    std::vector<int> out;
    auto st = db.prepare("SELECT Code FROM KVR_AA ORDER BY Code");
    while (st->step()) out.push_back(static_cast<int>(st->columnInt(0)));
    return out;
}

}  // namespace brindale::reportformat
