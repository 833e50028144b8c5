#include "labelformat/codec.h"

#include <algorithm>
#include <stdexcept>

#include "store/recordset.h"

namespace brindale::labelformat {

namespace {

const char* kTable = "KVR_34";

std::vector<store::ColumnDef> fieldsOf(const store::Recordset& rs) {
    std::vector<store::ColumnDef> cols;
    for (int i = 0; i < rs.fieldCount(); ++i) cols.push_back(rs.field(i));
    return cols;
}

bool findFormat(store::Recordset& rs, int number) {
    rs.moveFirst();
    while (!rs.eof()) {
        const std::string t = rs.value(0).toText();
        if (!t.empty() && leadingDecimal(t) == number) return true;
        rs.moveNext();
    }
    return false;
}

int sizeOf(const Bytes& b) { return b.size() >= 6 ? b[4] * 256 + b[5] : -1; }

bool knownSize(int size) { return size == kSize1118 || size == kSize1400 || size == kSize1664; }

}  // namespace

DecodeReport decodeFormat(store::Database& db) {
    DecodeReport report;
    // One commit for the whole table instead of one per row: written before the call returns.
    store::Transaction tx(db);
    store::Recordset rs(db, kTable);
    const RecordLayout layout = RecordLayout::fromColumns(fieldsOf(rs));
    const int binOrdinal = rs.ordinal("KVRBinData");
    std::vector<std::pair<int, std::string>> texts;
    while (!rs.eof()) {
        const store::Value& v = rs.value(binOrdinal);
        const Bytes b = v.isBytes() ? v.bytes() : Bytes{};
        const int size = sizeOf(b);
        FormatIssue issue{rs.value(0).toText(), "", "", b.size(), size};
        if (!recordToColumns(b, layout, texts)) {
            report.unreadable.push_back(issue);
        } else {
            if (!knownSize(size)) report.oddSize.push_back(issue);
            for (auto& [col, s] : texts) rs.setValue(col, store::Value(std::move(s)));
            rs.update();
        }
        rs.moveNext();
    }
    tx.commit();
    return report;
}

CodeReport codeFormat(store::Database& db) {
    CodeReport report;
    store::Transaction tx(db);
    store::Recordset rs(db, kTable);
    const RecordLayout layout = RecordLayout::fromColumns(fieldsOf(rs));
    const int binOrdinal = rs.ordinal("KVRBinData");
    Bytes arr;
    while (!rs.eof()) {
        auto textOf = [&](int col) {
            const store::Value& v = rs.value(col);
            return v.isNull() ? std::string("0") : v.toText();
        };
        int bad = -1;
        if (columnsToRecord(textOf, layout, arr, bad)) {
            rs.setValue(binOrdinal, store::Value(arr));
            rs.update();
        } else {
            report.notHex.push_back({rs.value(0).toText(), rs.field(bad).name, textOf(bad), 0, codedSize(textOf(2))});
        }
        rs.moveNext();
    }
    tx.commit();
    return report;
}

bool OpenData(store::Database& db, int number, FormatState& st) {
    store::Recordset rs(db, kTable);
    if (!findFormat(rs, number)) {
        st.FormatSize = kSize1118;
        st.FormatLevel = 1;
        st.LabelWidth = "56";
        st.LabelHeight = "50";
        st.ItemString.fill("");
        st.ItemUsed.fill(0);
        return false;
    }
    int64_t v = 0;
    st.FormatSize = parseHex(rs.value(2).toText(), v) ? static_cast<int>(v) : 0;
    // A size of 1646 stored by older software is repaired here, and only here.
    if (st.FormatSize == 1646) st.FormatSize = kSize1664;
    v = 0;
    parseHex(rs.value(3).toText(), v);
    st.LabelWidth = std::to_string(std::clamp<int64_t>(dotsToMm(static_cast<double>(v)), 30, 56));
    v = 0;
    parseHex(rs.value(4).toText(), v);
    st.LabelHeight = std::to_string(std::clamp<int64_t>(dotsToMm(static_cast<double>(v)), 20, 220));
    st.FormatLevel = static_cast<int>(leadingDecimal(rs.value(5).toText()));
    for (int i = 0; i < kSlotCount; ++i) {
        const int col = slotColumn(i);
        if (col == 0 || col >= rs.fieldCount()) continue;
        const std::string t = rs.value(col).toText();
        st.ItemString[static_cast<size_t>(i)] = t != "0" ? t : "";
    }
    for (int i = 0; i < kSlotCount; ++i) {
        const std::string& s = st.ItemString[static_cast<size_t>(i)];
        int used = 0;
        if (!s.empty()) {
            const size_t j = s.find_first_not_of('0');
            used = 1;
            if (j == std::string::npos || j + 1 == s.size()) used = 0;
            else if (j + 3 == s.size() && std::string_view(slotTable()[static_cast<size_t>(i)].ItemLengthFlag) != "0") used = 0;
        }
        st.ItemUsed[static_cast<size_t>(i)] = used;
    }
    return true;
}

void SaveData(store::Database& db, int number, const FormatState& st) {
    store::Recordset rs(db, kTable);
    if (!findFormat(rs, number)) {
        rs.addNew();
        rs.setValue(0, store::Value(std::to_string(number)));
        rs.setValue("Is_Selected", store::Value(0));
    }
    rs.setValue(2, store::Value(hex(st.FormatSize)));
    rs.setValue(3, store::Value(hex(mmToDots(static_cast<double>(leadingDecimal(st.LabelWidth))))));
    rs.setValue(4, store::Value(hex(mmToDots(static_cast<double>(leadingDecimal(st.LabelHeight))))));
    rs.setValue(5, store::Value(std::to_string(st.FormatLevel)));
    for (int i = 0; i < kSlotCount; ++i) {
        const int col = slotColumn(i);
        if (col == 0 || col >= rs.fieldCount()) continue;
        const std::string& s = st.ItemString[static_cast<size_t>(i)];
        rs.setValue(col, store::Value(s.empty() ? std::string("0") : s));
    }
    rs.update();
}

void applySizeRule(FormatState& st) {
    for (int i = 0; i < kSlotCount; ++i) {
        if (st.ItemUsed[static_cast<size_t>(i)] != 1) continue;
        if (i >= 65 && i <= 76) {
            st.FormatSize = kSize1400;
            st.FormatLevel = 3;
        } else if (i >= 77 && i <= 85) {
            st.FormatSize = kSize1664;
            st.FormatLevel = 7;
            return;
        } else if (i >= 109 && i <= 117) {
            st.FormatSize = kSize1400;
            st.FormatLevel = 3;
            return;
        }
    }
}

MergeReport mergeUploaded(store::Database& db, bool overwrite) {
    MergeReport report;
    std::vector<Bytes> fetched;
    {
        store::Recordset rc(db, "RC_34");
        const int bin = rc.ordinal("KVRBinData");
        while (!rc.eof()) {
            const store::Value& v = rc.value(bin);
            fetched.push_back(v.isBytes() ? v.bytes() : Bytes{});
            rc.moveNext();
        }
    }
    for (const Bytes& b : fetched) {
        int number = 0;
        if (!packedFormatNumber(b, number)) {
            report.rejected.push_back(b.size() >= 4 ? ByteToString(b, 0, 3)
                                                    : "(" + std::to_string(b.size()) + " bytes)");
            continue;
        }
        store::Recordset rs(db, kTable);
        if (findFormat(rs, number)) {
            if (overwrite) {
                rs.setValue("KVRBinData", store::Value(b));
                rs.update();
                report.replaced.push_back(number);
            } else {
                report.kept.push_back(number);
            }
        } else {
            rs.addNew();
            rs.setValue(0, store::Value(ByteToString(b, 0, 3)));
            rs.setValue("Is_Selected", store::Value(0));
            rs.setValue("KVRBinData", store::Value(b));
            rs.update();
            report.added.push_back(number);
        }
    }
    db.exec("DELETE FROM RC_34");
    return report;
}

}  // namespace brindale::labelformat
