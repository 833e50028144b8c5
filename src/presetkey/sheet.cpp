#include "sheet.h"

#include <stdexcept>

#include "codec/text_block.h"
#include "key_value.h"
#include "plu/plu_list_query.h"

namespace brindale::presetkey {

namespace {

Page pageOfRow(store::Statement& st, int statusCol) {
    Page p;
    const store::Value status = st.column(statusCol);
    auto v = keyValueOf(status.toInt(), st.column(statusCol + 1).toInt());
    if (v && !status.isNull()) {
        p.value = *v;
        p.name = st.column(statusCol + 2).toText();
    } else {
        p.foreign = true;
    }
    return p;
}

constexpr const char* kSheetRows =
    "SELECT Number, Status, Key_Switch, Name FROM KVR_41 WHERE Scale_IP=?1 AND PSK_Layout=?2 "
    "AND Number BETWEEN ?3 AND ?4";

std::string commodityName(const store::Value& block, const codec::CodePage& codePage) {
    if (!block.isBytes()) return {};
    return codec::firstLine(codec::Bytes(block.bytes()), codec::FirstLineVariant::Editor, codePage);
}

}  // namespace

std::vector<KeyPages> readSheet(store::Database& db, const SheetRef& sheet) {
    std::vector<KeyPages> keys(static_cast<size_t>(sheet.keyNum));
    auto& st = db.cached(kSheetRows);
    st.reset();
    st.bind(1, store::Value(sheet.scaleIP));
    st.bind(2, store::Value(sheet.layout));
    st.bind(3, store::Value(1));
    st.bind(4, store::Value(int64_t(kPages) * sheet.keyNum));
    while (st.step()) {
        const int64_t n = st.columnInt(0);
        keys[static_cast<size_t>(keyOf(n, sheet.keyNum) - 1)][static_cast<size_t>(pageOf(n, sheet.keyNum) - 1)] =
            pageOfRow(st, 1);
    }
    st.reset();
    return keys;
}

KeyPages readKey(store::Database& db, const SheetRef& sheet, int key) {
    KeyPages pages;
    auto& st = db.cached(kSheetRows);
    for (int page = 1; page <= kPages; ++page) {
        const int64_t n = numberOf(page, key, sheet.keyNum);
        st.reset();
        st.bind(1, store::Value(sheet.scaleIP));
        st.bind(2, store::Value(sheet.layout));
        st.bind(3, store::Value(n));
        st.bind(4, store::Value(n));
        if (st.step()) pages[static_cast<size_t>(page - 1)] = pageOfRow(st, 1);
    }
    st.reset();
    return pages;
}

void saveKey(store::Database& db, const SheetRef& sheet, int key, const KeyPages& pages) {
    if (key < 1 || key > sheet.keyNum) throw std::invalid_argument("key " + std::to_string(key) + " is not on the sheet");
    std::array<std::optional<KeyRecord>, kPages> records;
    for (int i = 0; i < kPages; ++i) {
        const Page& p = pages[static_cast<size_t>(i)];
        if (p.value == 0) continue;
        auto cols = columnsOf(p.value);
        if (!cols) throw std::invalid_argument("page " + std::to_string(i + 1) + ": value " + std::to_string(p.value) +
                                               " is no kind of key");
        records[static_cast<size_t>(i)] = keyRecord(numberOf(i + 1, key, sheet.keyNum), sheet.keyNum, cols->Status,
                                                    cols->Key_Switch);
        if (!records[static_cast<size_t>(i)])
            throw std::invalid_argument("page " + std::to_string(i + 1) + ": value " + std::to_string(p.value) +
                                        " does not fit the record");
    }
    store::Transaction tx(db);
    auto find = db.prepare("SELECT rowid, Status FROM KVR_41 WHERE Scale_IP=?1 AND PSK_Layout=?2 AND Number=?3");
    for (int i = 0; i < kPages; ++i) {
        const Page& p = pages[static_cast<size_t>(i)];
        const int64_t n = numberOf(i + 1, key, sheet.keyNum);
        find->reset();
        find->bind(1, store::Value(sheet.scaleIP));
        find->bind(2, store::Value(sheet.layout));
        find->bind(3, store::Value(n));
        int64_t rowid = 0;
        if (find->step()) rowid = find->columnInt(0);
        find->reset();
        if (p.value == 0) {
            if (rowid && !p.foreign) {
                auto del = db.prepare("DELETE FROM KVR_41 WHERE rowid=?1");
                del->bind(1, store::Value(rowid));
                del->step();
            }
            continue;
        }
        auto cols = *columnsOf(p.value);
        const auto& rec = *records[static_cast<size_t>(i)];
        store::Bytes bytes(rec.begin(), rec.end());
        const std::string name = p.name.empty() ? std::string(" ") : p.name;
        std::unique_ptr<store::Statement> w;
        if (rowid) {
            w = db.prepare("UPDATE KVR_41 SET Key_Switch=?1, Status=?2, Name=?3, KVRBinData=?4 WHERE rowid=?5");
            w->bind(5, store::Value(rowid));
        } else {
            w = db.prepare(
                "INSERT INTO KVR_41 (Key_Switch, Status, Name, KVRBinData, PSK_Layout, Scale_IP, Number, Is_Selected) "
                "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, 0)");
            w->bind(5, store::Value(sheet.layout));
            w->bind(6, store::Value(sheet.scaleIP));
            w->bind(7, store::Value(n));
        }
        w->bind(1, store::Value(cols.Key_Switch));
        w->bind(2, store::Value(cols.Status));
        w->bind(3, store::Value(name));
        w->bind(4, store::Value(std::move(bytes)));
        w->step();
    }
    tx.commit();
}

void clearPresetKeys(store::Database& db, const SheetRef& sheet, const std::function<void()>& step) {
    auto ids = db.prepare("SELECT rowid FROM KVR_41 WHERE Scale_IP=?1 AND PSK_Layout=?2 ORDER BY Number");
    ids->bind(1, store::Value(sheet.scaleIP));
    ids->bind(2, store::Value(sheet.layout));
    std::vector<int64_t> rows;
    while (ids->step()) rows.push_back(ids->columnInt(0));
    ids.reset();
    auto del = db.prepare("DELETE FROM KVR_41 WHERE rowid=?1");
    for (int64_t id : rows) {
        del->reset();
        del->bind(1, store::Value(id));
        del->step();
        if (step) step();
    }
}

std::vector<int64_t> mainGroupsOf(store::Database& db, int store, int64_t department) {
    auto st = db.prepare("SELECT MG_No FROM KVR_23 WHERE ST_No=?1 AND DP_No=?2 ORDER BY MG_No");
    st->bind(1, store::Value(store));
    st->bind(2, store::Value(department));
    std::vector<int64_t> out;
    while (st->step()) out.push_back(st->columnInt(0));
    return out;
}

std::string autoFillQuery(int store, FillScope scope, const std::vector<int64_t>& groups) {
    std::string q = "Select * from KVR_25 ";
    q += "Where ";
    q += "ST_No =" + std::to_string(store);
    if (scope == FillScope::MainGroup && !groups.empty()) q += " and PLU_MG=" + std::to_string(groups.front());
    if (scope == FillScope::Department) {
        q += " and (";
        for (size_t i = 0; i < groups.size(); ++i) {
            if (i) q += " or ";
            q += "PLU_MG = " + std::to_string(groups[i]);
        }
        q += ")";
    }
    q += " ORDER BY PLU_No";
    return q;
}

FillResult autoFill(store::Database& db, const SheetRef& sheet, int store, FillScope scope, int64_t number,
                    const codec::CodePage& codePage) {
    FillResult r;
    std::vector<int64_t> groups;
    if (scope == FillScope::Department) {
        groups = mainGroupsOf(db, store, number);
        // "and ()" would be no query at all, and the sheet would already be gone.
        if (groups.empty()) {
            r.refused = true;
            return r;
        }
    } else if (scope == FillScope::MainGroup) {
        groups.push_back(number);
    }
    // The PLU list's index on (ST_No, PLU_No) gives the first PLUs of a store without a sort.
    plu::ensurePluListIndex(db);
    store::Transaction tx(db);
    clearPresetKeys(db, sheet);
    // Only as many PLUs as keys are read: the rest would be dropped anyway.
    std::string q = autoFillQuery(store, scope, groups);
    q.replace(0, 8, "Select PLU_No, PLU_Commodity");
    auto plus = db.prepare(q + " LIMIT " + std::to_string(sheet.keyNum));
    auto ins = db.prepare(
        "INSERT INTO KVR_41 (PSK_Layout, Scale_IP, Number, Key_Switch, Status, Name, KVRBinData, Is_Selected) "
        "VALUES (?1, ?2, ?3, ?4, 0, ?5, ?6, 0)");
    int key = 1;
    while (key <= sheet.keyNum && plus->step()) {
        const int64_t pluNo = plus->columnInt(0);
        auto rec = keyRecord(key, sheet.keyNum, 0, pluNo);
        // A PLU number beyond six digits would come back as another kind of key.
        if (!rec || pluNo <= 0 || pluNo >= kKindStep) continue;
        std::string name = commodityName(plus->column(1), codePage);
        if (name.empty()) name = " ";
        ins->reset();
        ins->bind(1, store::Value(sheet.layout));
        ins->bind(2, store::Value(sheet.scaleIP));
        ins->bind(3, store::Value(key));
        ins->bind(4, store::Value(pluNo));
        ins->bind(5, store::Value(std::move(name)));
        ins->bind(6, store::Value(store::Bytes(rec->begin(), rec->end())));
        ins->step();
        ++key;
    }
    tx.commit();
    r.filled = key - 1;
    return r;
}

std::vector<int64_t> storePluIds(store::Database& db, int store) {
    plu::ensurePluListIndex(db);
    auto st = db.prepare("SELECT rowid FROM KVR_25 WHERE ST_No=?1 ORDER BY PLU_No");
    st->bind(1, store::Value(store));
    std::vector<int64_t> ids;
    while (st->step()) ids.push_back(st->columnInt(0));
    return ids;
}

PluBrief readPlu(store::Database& db, int64_t rowId, const codec::CodePage& codePage) {
    auto& st = db.cached("SELECT PLU_No, PLU_Commodity FROM KVR_25 WHERE rowid=?1");
    st.reset();
    st.bind(1, store::Value(rowId));
    PluBrief b;
    if (st.step()) {
        b.PLU_No = st.columnInt(0);
        b.name = commodityName(st.column(1), codePage);
    }
    st.reset();
    return b;
}

}  // namespace brindale::presetkey
