#include "scalefiles/picture_rows.h"

#include "store/database.h"
#include "store/value.h"

namespace brindale::scalefiles {

const char* pictureTableName(PictureTable table) { return table == PictureTable::Image ? "KVR_37" : "KVR_36"; }

void clearPictureRows(store::Database& db, PictureTable table, const std::function<void()>& afterRow) {
    const std::string name = pictureTableName(table);
    std::vector<int64_t> ids;
    {
        auto st = db.prepare("SELECT rowid FROM " + name + " ORDER BY rowid");
        while (st->step()) ids.push_back(st->columnInt(0));
    }
    auto& del = db.cached("DELETE FROM " + name + " WHERE rowid = ?");
    for (int64_t id : ids) {
        del.reset();
        del.bind(1, store::Value(id));
        del.step();
        if (afterRow) afterRow();
    }
}

void writePictureRows(store::Database& db, PictureTable table, const std::vector<RecordBytes>& records) {
    // One transaction: fifty rows of a large image are on disk together or not at all.
    store::Transaction tx(db);
    auto& ins = db.cached(std::string("INSERT INTO ") + pictureTableName(table) + " (KVRBinData, Is_Selected) VALUES (?, 0)");
    for (const auto& r : records) {
        ins.reset();
        ins.bind(1, store::Value(store::Bytes(r)));
        ins.step();
    }
    tx.commit();
}

std::vector<RecordBytes> pictureRows(store::Database& db, PictureTable table) {
    std::vector<RecordBytes> out;
    auto st = db.prepare(std::string("SELECT KVRBinData FROM ") + pictureTableName(table) + " ORDER BY rowid");
    while (st->step()) out.push_back(st->column(0).bytes());
    return out;
}

}  // namespace brindale::scalefiles
