#include "scalefiles/scroll_messages.h"

#include <map>

#include "codec/code_page.h"
#include "scalefiles/text_files.h"
#include "store/database.h"
#include "store/value.h"

namespace brindale::scalefiles {

std::vector<ScrollGridRow> loadScrollMessages(store::Database& db) {
    std::vector<ScrollGridRow> out;
    auto st = db.prepare("SELECT Number, Data FROM KVR_3F ORDER BY Number");
    while (st->step()) out.push_back({std::to_string(st->columnInt(0)), st->column(1).toText()});
    return out;
}

ScrollGridProblem checkScrollGrid(const std::vector<ScrollGridRow>& rows, const codec::CodePage& codePage) {
    std::map<uint32_t, int> seen;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const auto& r = rows[static_cast<std::size_t>(i)];
        if (r.number.empty()) continue;
        const std::string line = "line " + std::to_string(i + 1);
        if (digitsOnly(r.number) != r.number) return {{i}, line + ": the number " + r.number + " is not 1 to 8 digits"};
        const uint32_t n = static_cast<uint32_t>(std::stoul(r.number));
        if (auto it = seen.find(n); it != seen.end())
            return {{it->second, i}, "lines " + std::to_string(it->second + 1) + " and " + std::to_string(i + 1) +
                                         " both have the number " + std::to_string(n)};
        seen[n] = i;
        if (auto c = codePage.firstNotHeld(r.text))
            return {{i}, line + ": the character " + *c + " is not in the code page " + codePage.name()};
        std::vector<uint8_t> bytes;
        codePage.encode(r.text, bytes);
        if (bytes.size() > kScrollMessageMaxText)
            return {{i}, line + ": " + std::to_string(bytes.size()) + " bytes, at most 255 fit"};
    }
    return {};
}

ScrollGridProblem saveScrollMessages(store::Database& db, const std::vector<ScrollGridRow>& rows,
                                     const codec::CodePage& codePage) {
    ScrollGridProblem p = checkScrollGrid(rows, codePage);
    if (!p.reason.empty()) return p;
    store::Transaction tx(db);
    db.exec("DELETE FROM KVR_3F");
    auto ins = db.prepare("INSERT INTO KVR_3F (Number, Data, KVRBinData, Is_Selected) VALUES (?, ?, ?, 0)");
    for (const auto& r : rows) {
        if (r.number.empty()) continue;  // an empty number row is not saved
        ScrollMessageRecord m;
        m.number = static_cast<uint32_t>(std::stoul(r.number));
        codePage.encode(r.text, m.text);
        const auto rec = encodeScrollMessage(m);
        if (!rec) return {{}, rec.reason};  // the transaction rolls back
        ins->reset();
        ins->bind(1, store::Value(static_cast<int64_t>(m.number)));
        ins->bind(2, store::Value(r.text));
        ins->bind(3, store::Value(*rec));
        ins->step();
    }
    tx.commit();
    return {};
}

ScrollSequenceRecord loadScrollSequence(store::Database& db, uint32_t number) {
    ScrollSequenceRecord s;
    s.number = number;
    auto st = db.prepare(
        "SELECT File1, Scroll1, Speed1, File2, Scroll2, Speed2, File3, Scroll3, Speed3 FROM KVR_40 WHERE Number = ?");
    st->bind(1, store::Value(static_cast<int64_t>(number)));
    if (!st->step()) return s;
    for (int i = 0; i < 3; ++i)
        s.steps[static_cast<std::size_t>(i)] = ScrollStep{static_cast<int>(st->columnInt(3 * i)),
                                                          static_cast<int>(st->columnInt(3 * i + 1)),
                                                          static_cast<int>(st->columnInt(3 * i + 2))};
    return s;
}

std::string saveScrollSequence(store::Database& db, const ScrollSequenceRecord& s) {
    const auto rec = encodeScrollSequence(s);
    if (!rec) return rec.reason;
    auto del = db.prepare("DELETE FROM KVR_40 WHERE Number = ?");
    del->bind(1, store::Value(static_cast<int64_t>(s.number)));
    del->step();
    auto ins = db.prepare(
        "INSERT INTO KVR_40 (Number, Group1, File1, Scroll1, Display1, Speed1, Group2, File2, Scroll2, Display2, "
        "Speed2, Group3, File3, Scroll3, Display3, Speed3, KVRBinData, Is_Selected) "
        "VALUES (?, 0, ?, ?, 0, ?, 0, ?, ?, 0, ?, 0, ?, ?, 0, ?, ?, 0)");
    int p = 1;
    ins->bind(p++, store::Value(static_cast<int64_t>(s.number)));
    for (const auto& st : s.steps) {
        ins->bind(p++, store::Value(st.message));
        ins->bind(p++, store::Value(st.pattern));
        ins->bind(p++, store::Value(st.speed));
    }
    ins->bind(p, store::Value(*rec));
    ins->step();
    return {};
}

}  // namespace brindale::scalefiles
