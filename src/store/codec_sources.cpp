#include "store/codec_sources.h"

namespace brindale::store {

namespace {
bool isNull(const Statement& st, int col) { return sqlite3_column_type(st.handle(), col) == SQLITE_NULL; }
}  // namespace

CodecSourcesSnapshot::CodecSourcesSnapshot(Database& db) {
    // The first row of each key in table order, as the statements of DbInheritance and DbFlexi
    // answer; a row whose key is Null is never found.
    auto keyed = [&db](const char* sql, std::map<Key, codec::HierarchySettings>& into) {
        auto st = db.prepare(sql);
        while (st->step())
            if (!isNull(*st, 0) && !isNull(*st, 1)) into.emplace(Key{st->columnInt(0), st->columnInt(1)}, settingsAt(*st, 2));
    };
    keyed("SELECT ST_No, MG_No, LabFormat, barformat, BarFlag, Flag1, Flag2, DP_No FROM KVR_23 ORDER BY rowid", groups_);
    keyed("SELECT ST_No, DP_No, LabFormat, barformat, BarFlag, Flag1, Flag2, DP_No FROM KVR_20 ORDER BY rowid",
          departments_);
    keyed("SELECT ST_No, 0, LabFormat, barformat, BarFlag, Flag1, Flag2, 0 FROM STORE ORDER BY rowid", stores_);
    auto st = db.prepare("SELECT FBar_No, FBar_EANorITF, FBar_ItemDigitNo FROM KVR_14 ORDER BY rowid");
    while (st->step())
        if (!isNull(*st, 0) && !isNull(*st, 1)) flexi_.emplace(Key{st->columnInt(0), st->columnInt(1)}, st->columnInt(2));
}

}  // namespace brindale::store
