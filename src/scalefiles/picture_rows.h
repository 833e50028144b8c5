// The scratch tables of the picture windows: KVR_37 holds the records of the image on screen
// (its blocks, then the end record), KVR_36 the record of the logo on screen. They are made
// afresh whenever a picture is opened or renumbered and are not part of the mirror.
#pragma once

#include <functional>
#include <vector>

#include "scalefiles/records.h"

namespace brindale::store {
class Database;
}

namespace brindale::scalefiles {

enum class PictureTable { Image, Logo };

const char* pictureTableName(PictureTable table);  // "KVR_37" or "KVR_36"

// Deletes every row one by one, calling `afterRow` after each so that a window can repaint.
void clearPictureRows(store::Database& db, PictureTable table, const std::function<void()>& afterRow = {});
// Appends the records in order, each a row with Is_Selected 0 (the send marks them).
void writePictureRows(store::Database& db, PictureTable table, const std::vector<RecordBytes>& records);
// The records in row order.
std::vector<RecordBytes> pictureRows(store::Database& db, PictureTable table);

}  // namespace brindale::scalefiles
