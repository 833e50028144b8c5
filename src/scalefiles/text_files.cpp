#include "scalefiles/text_files.h"

#include "codec/code_page.h"
#include "codec/text_block.h"
#include "store/database.h"
#include "store/value.h"

namespace brindale::scalefiles {

const std::vector<TextFileKind>& textFileKinds() {
    static const std::vector<TextFileKind> kinds = {
        {11, "KVR_38", "38", "cmdText", "txtText", "comboText", nullptr, "chkText"},
        {12, "KVR_39", "39", "cmdPlace", "txtPlace", "comboPlace", nullptr, "chkPlace"},
        {13, "KVR_3A", "3A", "cmdIng", "txtIngredient", "comboIng", "txtIngNo", "chkIng"},
        {14, "KVR_3B", "3B", "cmdSMsg", "txtSMsg", "comboSMsg", "txtSMsgNo", "chkSmsg"},
        {15, "KVR_3C", "3C", "cmdAdv", "txtAdv", "comboAdv", nullptr, "chkAdv"},
        {16, "KVR_3D", "3D", "cmdSName", "txtSName", "comboSName", nullptr, "chkSname"},
    };
    return kinds;
}

const TextFileKind* textFileKind(int kind) {
    for (const auto& k : textFileKinds())
        if (k.kind == kind) return &k;
    return nullptr;
}

std::string digitsOnly(const std::string& text) {
    std::string out;
    for (char c : text)
        if (c >= '0' && c <= '9' && out.size() < 8) out += c;
    return out;
}

std::vector<TextFileEntry> textFileEntries(store::Database& db, int kind) {
    std::vector<TextFileEntry> out;
    const auto* k = textFileKind(kind);
    if (!k) return out;
    auto st = db.prepare(std::string("SELECT No, NameFirstLine FROM ") + k->table + " ORDER BY No");
    while (st->step()) out.push_back({static_cast<uint32_t>(st->columnInt(0)), st->column(1).toText()});
    return out;
}

codec::Bytes textFileBlock(store::Database& db, int kind, uint32_t number) {
    const auto* k = textFileKind(kind);
    if (!k) return std::nullopt;
    auto st = db.prepare(std::string("SELECT Name FROM ") + k->table + " WHERE No = ?");
    st->bind(1, store::Value(static_cast<int64_t>(number)));
    if (!st->step()) return std::nullopt;
    const store::Value v = st->column(0);
    if (!v.isBytes() || v.bytes().empty()) return std::nullopt;
    return v.bytes();
}

std::string storeTextFile(store::Database& db, int kind, uint32_t number, const codec::Bytes& block,
                          const codec::CodePage& codePage) {
    const auto* k = textFileKind(kind);
    if (!k) return "no text file kind " + std::to_string(kind);
    TextFileRecord file{number, block ? *block : std::vector<uint8_t>{}};
    const auto record = encodeTextFile(file);
    if (!record) return record.reason;
    const std::string table = k->table;
    const store::Value name = block && !block->empty() ? store::Value(*block) : store::Value();
    const store::Value first =
        block && !block->empty() ? store::Value(codec::firstLine(block, codec::FirstLineVariant::List, codePage))
                                 : store::Value();
    auto find = db.prepare("SELECT rowid FROM " + table + " WHERE No = ?");
    find->bind(1, store::Value(static_cast<int64_t>(number)));
    if (find->step()) {
        auto up = db.prepare("UPDATE " + table + " SET Name = ?, NameFirstLine = ?, KVRBinData = ? WHERE rowid = ?");
        up->bind(1, name);
        up->bind(2, first);
        up->bind(3, store::Value(*record));
        up->bind(4, store::Value(find->columnInt(0)));
        up->step();
    } else {
        auto ins = db.prepare("INSERT INTO " + table + " (No, Name, NameFirstLine, KVRBinData, Is_Selected) VALUES (?, ?, ?, ?, 0)");
        ins->bind(1, store::Value(static_cast<int64_t>(number)));
        ins->bind(2, name);
        ins->bind(3, first);
        ins->bind(4, store::Value(*record));
        ins->step();
    }
    return {};
}

std::optional<uint32_t> containerPlu(store::Database& db, uint32_t container) {
    auto st = db.prepare("SELECT PLU_No FROM KVR_DF WHERE CNumber = ?");
    st->bind(1, store::Value(static_cast<int64_t>(container)));
    if (!st->step()) return std::nullopt;
    return static_cast<uint32_t>(st->columnInt(0));
}

std::string storeContainer(store::Database& db, uint32_t container, std::optional<uint32_t> plu) {
    if (!plu || *plu == 0) {
        auto del = db.prepare("DELETE FROM KVR_DF WHERE CNumber = ?");
        del->bind(1, store::Value(static_cast<int64_t>(container)));
        del->step();
        return {};
    }
    const auto record = encodeContainer({container, *plu});
    if (!record) return record.reason;
    auto del = db.prepare("DELETE FROM KVR_DF WHERE CNumber = ?");
    del->bind(1, store::Value(static_cast<int64_t>(container)));
    del->step();
    auto ins = db.prepare("INSERT INTO KVR_DF (CNumber, PLU_No, KVRBinData, Is_Selected) VALUES (?, ?, ?, 0)");
    ins->bind(1, store::Value(static_cast<int64_t>(container)));
    ins->bind(2, store::Value(static_cast<int64_t>(*plu)));
    ins->bind(3, store::Value(*record));
    ins->step();
    return {};
}

void markAllRows(store::Database& db, const std::string& table, bool on) {
    db.exec("UPDATE " + table + " SET Is_Selected = " + (on ? "1" : "0"));
}

}  // namespace brindale::scalefiles
