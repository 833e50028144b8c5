#pragma once
// A free label format in its two forms: the editable columns of KVR_34 (hexadecimal text, one
// column an item) and the scale's flat record in KVRBinData, plus the working state of one open
// format. The byte width of every column is half its declared text size in the schema, so the
// schema text is the only place the record layout is written down.
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "labelformat/record_codec.h"
#include "store/database.h"
#include "store/schema.h"
#include "store/value.h"

namespace brindale::labelformat {

// The working state of one open format.
struct FormatState {
    std::array<std::string, kSlotCount> ItemString{};
    std::array<int, kSlotCount> ItemUsed{};
    int FormatSize = kSize1118;
    int FormatLevel = 1;
    Bytes BinData;
    std::string LabelWidth = "56";   // millimetres, as txtLabelWidth holds them
    std::string LabelHeight = "50";  // as txtLabelHeight
};

// A row the conversions could not take, or took with a remark.
struct FormatIssue {
    std::string format;  // PF_No as the row holds it
    std::string column;  // for text that is not hexadecimal
    std::string text;
    size_t length = 0;   // bytes of KVRBinData
    int size = 0;        // record size stated in the row
};

struct DecodeReport {
    std::vector<FormatIssue> unreadable;  // no record, or one shorter than its loop: row left as it was
    std::vector<FormatIssue> oddSize;     // a size none of the three: read with the 1118 loop
};
struct CodeReport {
    std::vector<FormatIssue> notHex;  // the row's KVRBinData stays as it was
};

// Rewrites the text columns of every KVR_34 row from its KVRBinData.
DecodeReport decodeFormat(store::Database& db);
// Rewrites KVRBinData of every row from its text columns.
CodeReport codeFormat(store::Database& db);
// Loads the working state of a format; false (and an empty 56 x 50 mm format) when it has no row.
bool OpenData(store::Database& db, int number, FormatState& st);
// Stores the working state in the format's row, adding it when missing.
void SaveData(store::Database& db, int number, const FormatState& st);
// Size and level from the used slots, decided before SaveData.
void applySizeRule(FormatState& st);

struct MergeReport {
    std::vector<int> added, replaced, kept;
    std::vector<std::string> rejected;  // bytes 0..3 as hexadecimal, of records not merged
};
// Merges the fetched rows of RC_34 into KVR_34 (overwrite: the answer to "formatoverride"), then
// deletes the fetched rows so a later fetch does not merge them again. decodeFormat is the
// caller's next step.
MergeReport mergeUploaded(store::Database& db, bool overwrite);

}  // namespace brindale::labelformat
