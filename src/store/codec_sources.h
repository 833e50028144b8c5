#pragma once
// The working database as the codec's source of inherited label and barcode settings and of the
// flexi barcode rows.
#include <map>
#include <optional>
#include <utility>

#include "codec/environment.h"
#include "store/database.h"

namespace brindale::store {

// The settings a PLU inherits from its main group, department or store: the columns LabFormat,
// barformat, BarFlag, Flag1, Flag2 and the department number, read from `first` on.
inline codec::HierarchySettings settingsAt(const Statement& s, int first) {
    codec::HierarchySettings h;
    h.LabFormat = s.columnInt(first);
    h.BarFormat = s.columnInt(first + 1);
    h.BarFlag = s.columnInt(first + 2);
    h.Flag1 = s.columnInt(first + 3);
    h.Flag2 = s.columnInt(first + 4);
    h.DP_No = s.columnInt(first + 5);
    return h;
}

class DbInheritance : public codec::InheritanceSource {
public:
    explicit DbInheritance(Database& db) : db_(db) {}
    std::optional<codec::HierarchySettings> mainGroup(int64_t st, int64_t mg) override {
        return fetch("SELECT LabFormat, barformat, BarFlag, Flag1, Flag2, DP_No FROM KVR_23 WHERE ST_No=?1 AND MG_No=?2 ORDER BY rowid",
                     st, mg);
    }
    std::optional<codec::HierarchySettings> department(int64_t st, int64_t dp) override {
        return fetch("SELECT LabFormat, barformat, BarFlag, Flag1, Flag2, DP_No FROM KVR_20 WHERE ST_No=?1 AND DP_No=?2 ORDER BY rowid",
                     st, dp);
    }
    std::optional<codec::HierarchySettings> store(int64_t st) override {
        return fetch("SELECT LabFormat, barformat, BarFlag, Flag1, Flag2, 0 FROM STORE WHERE ST_No=?1 ORDER BY rowid", st, -1);
    }

private:
    std::optional<codec::HierarchySettings> fetch(const char* sql, int64_t a, int64_t b) {
        auto& s = db_.cached(sql);
        s.bind(1, Value(a));
        if (b >= 0) s.bind(2, Value(b));
        if (!s.step()) {
            s.reset();
            return std::nullopt;
        }
        const codec::HierarchySettings h = settingsAt(s, 0);
        s.reset();
        return h;
    }
    Database& db_;
};

class DbFlexi : public codec::FlexiBarcodeSource {
public:
    explicit DbFlexi(Database& db) : db_(db) {}
    std::optional<int64_t> itemDigitNo(int64_t no, int64_t kind) override {
        auto& s = db_.cached("SELECT FBar_ItemDigitNo FROM KVR_14 WHERE FBar_No=?1 AND FBar_EANorITF=?2 ORDER BY rowid");
        s.bind(1, Value(no));
        s.bind(2, Value(kind));
        std::optional<int64_t> r;
        if (s.step()) r = s.columnInt(0);
        s.reset();
        return r;
    }

private:
    Database& db_;
};

// The same answers as DbInheritance and DbFlexi, read once from the tables: several threads may
// ask it at once, and a pass over many records asks no statement per record.
class CodecSourcesSnapshot final : public codec::InheritanceSource, public codec::FlexiBarcodeSource {
public:
    explicit CodecSourcesSnapshot(Database& db);
    std::optional<codec::HierarchySettings> mainGroup(int64_t st, int64_t mg) override { return find(groups_, {st, mg}); }
    std::optional<codec::HierarchySettings> department(int64_t st, int64_t dp) override {
        return find(departments_, {st, dp});
    }
    std::optional<codec::HierarchySettings> store(int64_t st) override { return find(stores_, {st, 0}); }
    std::optional<int64_t> itemDigitNo(int64_t no, int64_t kind) override { return find(flexi_, {no, kind}); }

private:
    using Key = std::pair<int64_t, int64_t>;
    template <class V>
    static std::optional<V> find(const std::map<Key, V>& m, const Key& k) {
        const auto it = m.find(k);
        if (it == m.end()) return std::nullopt;
        return it->second;
    }
    std::map<Key, codec::HierarchySettings> groups_, departments_, stores_;
    std::map<Key, int64_t> flexi_;
};

}  // namespace brindale::store
