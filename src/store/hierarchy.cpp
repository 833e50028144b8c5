// The hierarchy tables: new numbers, read, save, delete, the duplicate test, the tree's nodes.
#include <algorithm>

#include "fatal_error.h"
#include "hierarchy.h"

namespace brindale::store {

namespace {

std::string n(int v) { return std::to_string(v); }
int num(const Recordset& rs, const char* column) { return static_cast<int>(rs.intValue(column)); }
std::string txt(const Recordset& rs, const char* column) { return rs.textValue(column); }

void writeBar(Recordset& rs, const BarcodeFields& b) {
    rs.setValue("Flag1", b.Flag1);
    rs.setValue("Flag2", b.Flag2);
    rs.setValue("BarFlag", b.BarFlag);
    rs.setValue("barformat", b.barformat);
    rs.setValue("BarType", b.BarType);
    rs.setValue("LabFormat", b.LabFormat);
}

BarcodeFields readBar(const Recordset& rs) {
    BarcodeFields b;
    b.Flag1 = num(rs, "Flag1");
    b.Flag2 = num(rs, "Flag2");
    b.BarFlag = num(rs, "BarFlag");
    b.barformat = num(rs, "barformat");
    b.BarType = txt(rs, "BarType");
    b.LabFormat = num(rs, "LabFormat");
    return b;
}

// Does the current row belong to the object of the selection?
bool matches(Kind k, const Recordset& rs, const Selection& sel) {
    switch (k) {
        case Kind::Store: return num(rs, "ST_No") == sel.store;
        case Kind::Section: return num(rs, "ST_No") == sel.store && num(rs, "SECT_No") == sel.section;
        case Kind::Machine:
            return num(rs, "ST_No") == sel.store && num(rs, "SECT_No") == sel.section && txt(rs, "SC_IP") == sel.address;
        case Kind::Dept: return num(rs, "ST_No") == sel.store && num(rs, "DP_No") == sel.dept;
        case Kind::MainGroup:
            return num(rs, "ST_No") == sel.store && num(rs, "DP_No") == sel.dept && num(rs, "MG_No") == sel.mainGroup;
        case Kind::Search: return num(rs, "ST_No") == sel.store && num(rs, "SH_No") == sel.search;
        default: return false;
    }
}

void writeRecord(Kind k, Recordset& rs, const EditRecords& rec) {
    switch (k) {
        case Kind::Store:
            rs.setValue("ST_No", rec.store.ST_No);
            rs.setValue("ST_Name", rec.store.ST_Name);
            writeBar(rs, rec.store.bar);
            break;
        case Kind::Section:
            rs.setValue("SECT_No", rec.section.SECT_No);
            rs.setValue("ST_No", rec.section.ST_No);
            rs.setValue("SECT_Name", rec.section.SECT_Name);
            writeBar(rs, rec.section.bar);
            break;
        case Kind::Machine:
            rs.setValue("SC_IP", rec.machine.SC_IP);
            rs.setValue("SC_No", rec.machine.SC_No);
            rs.setValue("SC_Used", rec.machine.SC_Used);
            rs.setValue("SC_Dest", rec.machine.SC_Dest);
            rs.setValue("SC_MODEL_ID", rec.machine.SC_MODEL_ID);
            rs.setValue("SC_PSK_Layout", rec.machine.SC_PSK_Layout);
            rs.setValue("ST_No", rec.machine.ST_No);
            rs.setValue("SECT_No", rec.machine.SECT_No);
            break;
        case Kind::Dept:
            rs.setValue("DP_No", rec.dept.DP_No);
            rs.setValue("DP_Name", rec.dept.DP_Name);
            writeBar(rs, rec.dept.bar);
            rs.setValue("ST_No", rec.dept.ST_No);
            rs.setValue("SECT_No", rec.dept.SECT_No);
            break;
        case Kind::MainGroup:
            rs.setValue("MG_No", rec.mainGroup.MG_No);
            rs.setValue("MG_Name", rec.mainGroup.MG_Name);
            writeBar(rs, rec.mainGroup.bar);
            rs.setValue("ST_No", rec.mainGroup.ST_No);
            rs.setValue("SECT_No", rec.mainGroup.SECT_No);
            rs.setValue("DP_No", rec.mainGroup.DP_No);
            break;
        case Kind::Search:
            rs.setValue("SH_No", rec.search.SH_No);
            rs.setValue("SH_Name", rec.search.SH_Name);
            rs.setValue("DP_No1", rec.search.DP_No1);
            rs.setValue("DP_No2", rec.search.DP_No2);
            rs.setValue("MG_No1", rec.search.MG_No1);
            rs.setValue("MG_No2", rec.search.MG_No2);
            rs.setValue("PLU_No1", static_cast<int64_t>(rec.search.PLU_No1));
            rs.setValue("PLU_No2", static_cast<int64_t>(rec.search.PLU_No2));
            rs.setValue("PLU_UPrice1", static_cast<int64_t>(rec.search.PLU_UPrice1));
            rs.setValue("PLU_UPrice2", static_cast<int64_t>(rec.search.PLU_UPrice2));
            rs.setValue("ST_No", rec.search.ST_No);
            break;
        default: break;
    }
}

void readRecord(Kind k, const Recordset& rs, EditRecords& rec) {
    switch (k) {
        case Kind::Store:
            rec.store.ST_No = num(rs, "ST_No");
            rec.store.ST_Name = txt(rs, "ST_Name");
            rec.store.bar = readBar(rs);
            break;
        case Kind::Section:
            rec.section.SECT_No = num(rs, "SECT_No");
            rec.section.ST_No = num(rs, "ST_No");
            rec.section.SECT_Name = txt(rs, "SECT_Name");
            rec.section.bar = readBar(rs);
            break;
        case Kind::Machine: {
            rec.machine.SC_IP = txt(rs, "SC_IP");
            rec.machine.SC_No = txt(rs, "SC_No");
            rec.machine.SC_Used = num(rs, "SC_Used");
            std::string dest = txt(rs, "SC_Dest");
            // A destination that was never set comes back as the word "Null" from older mirrors.
            rec.machine.SC_Dest = dest == "Null" ? std::string() : dest;
            rec.machine.SC_MODEL_ID = num(rs, "SC_MODEL_ID");
            rec.machine.SC_PSK_Layout = num(rs, "SC_PSK_Layout");
            rec.machine.ST_No = num(rs, "ST_No");
            rec.machine.SECT_No = num(rs, "SECT_No");
            break;
        }
        case Kind::Dept:
            rec.dept.DP_No = num(rs, "DP_No");
            rec.dept.DP_Name = txt(rs, "DP_Name");
            rec.dept.bar = readBar(rs);
            rec.dept.ST_No = num(rs, "ST_No");
            rec.dept.SECT_No = num(rs, "SECT_No");
            break;
        case Kind::MainGroup:
            rec.mainGroup.MG_No = num(rs, "MG_No");
            rec.mainGroup.MG_Name = txt(rs, "MG_Name");
            rec.mainGroup.bar = readBar(rs);
            rec.mainGroup.ST_No = num(rs, "ST_No");
            rec.mainGroup.SECT_No = num(rs, "SECT_No");
            rec.mainGroup.DP_No = num(rs, "DP_No");
            break;
        case Kind::Search:
            rec.search.SH_No = num(rs, "SH_No");
            rec.search.SH_Name = txt(rs, "SH_Name");
            rec.search.DP_No1 = num(rs, "DP_No1");
            rec.search.DP_No2 = num(rs, "DP_No2");
            rec.search.MG_No1 = num(rs, "MG_No1");
            rec.search.MG_No2 = num(rs, "MG_No2");
            rec.search.PLU_No1 = static_cast<int32_t>(rs.intValue("PLU_No1"));
            rec.search.PLU_No2 = static_cast<int32_t>(rs.intValue("PLU_No2"));
            rec.search.PLU_UPrice1 = static_cast<int32_t>(rs.intValue("PLU_UPrice1"));
            rec.search.PLU_UPrice2 = static_cast<int32_t>(rs.intValue("PLU_UPrice2"));
            rec.search.ST_No = num(rs, "ST_No");
            break;
        default: break;
    }
}

bool isSmallRecordTable(std::string_view table) { return table == "KVR_20" || table == "KVR_23"; }

}  // namespace

// ---- Numbers for new objects --------------------------------------------------------------------

int Hierarchy::newNumber(Kind k, std::string_view selectedKey, Selection& sel) {
    ParsedKey p = parseKey(selectedKey);
    sel = Selection{};
    switch (k) {
        case Kind::Store: {
            // Table order: the number follows the store added last.
            Recordset rs(db_, "select * from STORE");
            if (rs.eof()) return 1;
            rs.moveLast();
            return num(rs, "ST_No") + 1;
        }
        case Kind::Section: {
            sel.store = p.number(0);
            Recordset rs(db_, "select * from SECT where SECT.ST_No=" + n(sel.store));
            if (rs.eof()) return 1;
            rs.moveLast();
            return num(rs, "SECT_No") + 1;
        }
        case Kind::Machine:
            sel.store = p.number(0);
            sel.section = p.number(1);
            sel.address = kNoMachineAddress;
            return 1;
        case Kind::Dept:
        case Kind::MainGroup: {
            sel.store = p.number(0);
            const bool dept = k == Kind::Dept;
            if (!dept) sel.dept = p.number(1);
            const char* column = dept ? "DP_No" : "MG_No";
            const std::string table = dept ? "KVR_20" : "KVR_23";
            Recordset rs(db_, "select * from " + table + " where " + table + ".ST_No=" + n(sel.store) +
                                  " ORDER BY " + column);
            // The lowest free number from 1, provided the rows begin at 1: the walk stops at the
            // first row that differs from the candidate.
            int candidate = 1;
            while (!rs.eof() && num(rs, column) == candidate) {
                ++candidate;
                rs.moveNext();
            }
            return candidate;
        }
        case Kind::Search: {
            sel.store = p.number(0);
            Recordset rs(db_, "select * from SEARCH where SEARCH.ST_No=" + n(sel.store));
            if (rs.eof()) return 1;
            rs.moveLast();
            return num(rs, "SH_No") + 1;
        }
        default: return 0;
    }
}

// ---- Read, save, delete, duplicates -------------------------------------------------------------

bool Hierarchy::readObject(Kind k, const Selection& sel, EditRecords& rec) {
    const char* table = tableOf(k);
    if (!*table) return false;
    Recordset rs(db_, table);
    for (; !rs.eof(); rs.moveNext()) {
        if (matches(k, rs, sel)) {
            readRecord(k, rs, rec);
            return true;
        }
    }
    return false;
}

void Hierarchy::rebuildRecord(Recordset& rs) {
    if (builder_ && isSmallRecordTable(rs.tableName())) builder_(rs.tableName(), rs);
}

int Hierarchy::passDown(const std::string& table, const std::string& where, const std::string& column, int value) {
    Recordset rs(db_, "select * from " + table + " where " + where);
    int changed = 0;
    for (; !rs.eof(); rs.moveNext()) {
        rs.setValue(column, value);
        rebuildRecord(rs);
        rs.update();
        ++changed;
    }
    return changed;
}

void Hierarchy::saveObject(Kind k, const Selection& sel, const EditRecords& rec, int mode) {
    const char* table = tableOf(k);
    if (!*table) return;
    Recordset rs(db_, table);
    if (mode == 0) {
        rs.addNew();
        writeRecord(k, rs, rec);
        rebuildRecord(rs);
        rs.update();
        return;
    }
    bool found = false;
    for (; !rs.eof(); rs.moveNext()) {
        if (!matches(k, rs, sel)) continue;
        writeRecord(k, rs, rec);
        rebuildRecord(rs);
        rs.update();
        found = true;
        break;
    }
    if (!found) {
        throw FatalError(table, 0,
                         std::string("the ") + wordOf(k) + " to change is not in the table (store " + n(sel.store) +
                             ")");
    }
    // Changed numbers go down to the rows below the object. PLU rows keep theirs.
    switch (k) {
        case Kind::Store:
            if (rec.store.ST_No != sel.store) {
                const std::string old = "ST_No=" + n(sel.store);
                for (const char* t : {"SECT", "SCALE", "KVR_20", "KVR_23"}) passDown(t, old, "ST_No", rec.store.ST_No);
            }
            break;
        case Kind::Section:
            if (rec.section.SECT_No != sel.section)
                passDown("SCALE", "ST_No=" + n(sel.store) + " AND SECT_No=" + n(sel.section), "SECT_No",
                         rec.section.SECT_No);
            break;
        case Kind::Dept:
            if (rec.dept.DP_No != sel.dept)
                passDown("KVR_23", "ST_No=" + n(sel.store) + " AND DP_No=" + n(sel.dept), "DP_No", rec.dept.DP_No);
            break;
        default: break;
    }
}

int Hierarchy::deleteObject(Kind k, const Selection& sel, bool wholeStore) {
    const char* table = tableOf(k);
    if (!*table) return 0;
    Recordset rs(db_, table);
    int deleted = 0;
    while (!rs.eof()) {
        bool hit = (wholeStore && (k == Kind::Dept || k == Kind::MainGroup)) ? num(rs, "ST_No") == sel.store
                                                                             : matches(k, rs, sel);
        if (hit) {
            rs.remove();
            ++deleted;
        }
        rs.moveNext();
    }
    return deleted;
}

bool Hierarchy::isDuplicate(Kind k, const Selection& sel) {
    const char* table = tableOf(k);
    if (!*table) return false;
    Recordset rs(db_, table);
    for (; !rs.eof(); rs.moveNext()) {
        bool hit = false;
        switch (k) {
            case Kind::Store: hit = num(rs, "ST_No") == sel.store; break;
            case Kind::Section: hit = num(rs, "ST_No") == sel.store && num(rs, "SECT_No") == sel.section; break;
            case Kind::Machine: hit = txt(rs, "SC_IP") == sel.address; break;
            case Kind::Dept: hit = num(rs, "ST_No") == sel.store && num(rs, "DP_No") == sel.dept; break;
            case Kind::MainGroup: hit = num(rs, "ST_No") == sel.store && num(rs, "MG_No") == sel.mainGroup; break;
            case Kind::Search: hit = num(rs, "ST_No") == sel.store && num(rs, "SH_No") == sel.search; break;
            default: break;
        }
        if (hit) return true;
    }
    return false;
}

// ---- Tree nodes ---------------------------------------------------------------------------------

std::string Hierarchy::storeName(int store) {
    Recordset rs(db_, "STORE");
    for (; !rs.eof(); rs.moveNext())
        if (num(rs, "ST_No") == store) return txt(rs, "ST_Name");
    return {};
}

std::vector<std::pair<int, std::string>> Hierarchy::sectionsOf(int store) {
    std::vector<std::pair<int, std::string>> out;
    Recordset rs(db_, "SECT");
    for (; !rs.eof(); rs.moveNext())
        if (num(rs, "ST_No") == store) out.emplace_back(num(rs, "SECT_No"), txt(rs, "SECT_Name"));
    return out;
}

std::vector<TreeNode> Hierarchy::buildTree(std::string_view tableName, TreeContext& ctx, std::vector<std::string>& known,
                                           std::vector<std::string>& problems) {
    std::vector<TreeNode> nodes;
    auto isKnown = [&](const std::string& key) { return std::find(known.begin(), known.end(), key) != known.end(); };
    auto add = [&](TreeNode node, long row) {
        if (!node.parentKey.empty() && !isKnown(node.parentKey)) {
            problems.push_back(std::string(tableName) + ", row " + n(static_cast<int>(row)) + ": the node " + node.key +
                               " has no parent " + node.parentKey);
            return;
        }
        known.push_back(node.key);
        nodes.push_back(std::move(node));
    };

    const Kind k = tableName == "STORE"    ? Kind::Store
                   : tableName == "SECT"   ? Kind::Section
                   : tableName == "SCALE"  ? Kind::Machine
                   : tableName == "KVR_20" ? Kind::Dept
                   : tableName == "KVR_23" ? Kind::MainGroup
                   : tableName == "SEARCH" ? Kind::Search
                                           : Kind::None;
    if (k == Kind::None) throw FatalError(std::string(tableName), 0, "is not a table of the chain's tree");

    Recordset rs(db_, tableName);
    const std::string root = ctx.storeMode == 1 ? rootKey(ctx.storeNameSetting) : std::string();
    if (k == Kind::Store && ctx.storeMode == 1) add({root, "", ctx.storeNameSetting, Kind::Root}, 0);
    if (k == Kind::Dept && ctx.view == 0) {
        std::string name = storeName(ctx.currentStore);
        if (name.empty()) name = ctx.storeCaption + n(ctx.currentStore);
        add({storeKey(ctx.currentStore), "", name, Kind::Store}, 0);
    }
    const bool single = ctx.storeMode != 1;
    for (long row = 1; !rs.eof(); rs.moveNext(), ++row) {
        const int st = num(rs, "ST_No");
        switch (k) {
            case Kind::Store:
                ctx.lastStoreRead = st;
                add({storeKey(st), root, txt(rs, "ST_Name"), k}, row);
                break;
            case Kind::Section:
                if (single && st != ctx.lastStoreRead) break;
                add({sectionKey(st, num(rs, "SECT_No")), storeKey(st), txt(rs, "SECT_Name"), k}, row);
                break;
            case Kind::Machine:
                if (single && st != ctx.lastStoreRead) break;
                add({machineKey(st, num(rs, "SECT_No"), txt(rs, "SC_IP")), sectionKey(st, num(rs, "SECT_No")),
                     txt(rs, "SC_No"), k},
                    row);
                break;
            case Kind::Dept:
                if (st != ctx.currentStore) break;
                add({deptKey(st, num(rs, "DP_No")), storeKey(st), txt(rs, "DP_Name"), k}, row);
                break;
            case Kind::MainGroup:
                if (st != ctx.currentStore) break;
                add({mainGroupKey(st, num(rs, "DP_No"), num(rs, "MG_No")), deptKey(st, num(rs, "DP_No")),
                     txt(rs, "MG_Name"), k},
                    row);
                break;
            case Kind::Search:
                if (st != ctx.currentStore) break;
                add({searchKey(st, num(rs, "SH_No")), storeKey(st), txt(rs, "SH_Name"), k}, row);
                break;
            default: break;
        }
    }
    return nodes;
}

}  // namespace brindale::store
