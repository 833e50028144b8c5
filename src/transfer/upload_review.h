#pragma once
// The review of PLUs fetched from a scale, without windows: the records of RC_25 decoded in
// place, the set the operator browses and marks, and the take-over of the marked ones into
// KVR_25 of a chosen store and main group. frmUpload (transfer/ui/upload_window.h) only shows it.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "store/database.h"

namespace brindale::transfer {

// The main group number that means "no main group".
inline constexpr int64_t kNoMainGroup = 997;

// (done, total): called about every 50 ms of a long pass, and once at its end.
using ReviewProgress = std::function<void(long done, long total)>;

// A fetched record that could not be read: its place among the rows of RC_25 (1-based, in table
// order), its PLU number as far as it was read (0 when none) and why.
struct UnreadableRecord {
    long position = 0;
    int64_t pluNo = 0;
    std::string reason;
};

struct DecodeReport {
    long total = 0;    // rows of RC_25
    long decoded = 0;  // rows that are now in the review set's reach
    std::vector<UnreadableRecord> unreadable;
};

// Decodes the record of every row of RC_25 into the row's columns, in one transaction. A record
// the decoder cannot read, and a row whose record is missing or whose length does not agree with
// its bytes, gets Is_Selected 1, which keeps it out of the review set, and is reported.
DecodeReport decodeUploadedRecords(store::Database& db, const codec::CodecEnvironment& env,
                                   const ReviewProgress& progress = {});

// What the grid shows of one review row (columns 2 to 5).
struct ReviewRow {
    int64_t pluNo = 0;
    std::string itemCode;  // empty when Null
    std::string name;      // PLU_CommodityFirst, empty when PLU_Commodity is Null
    int64_t price = 0;
};

// The rows of RC_25 with Is_Selected 0, ordered by PLU_No: their row ids (8 bytes a row) and the
// operator's marks. The shown columns are read by row id when asked for.
class ReviewSet {
public:
    explicit ReviewSet(store::Database& db);

    // Reads the row ids again; every mark goes.
    void load();
    long size() const { return static_cast<long>(ids_.size()); }
    int64_t rowIdAt(long position) const;
    ReviewRow row(long position) const;

    bool marked(long position) const;
    void setMarked(long position, bool on);
    void toggleMark(long position) { setMarked(position, !marked(position)); }
    long markedCount() const { return markedCount_; }

    store::Database& database() const { return db_; }

private:
    store::Database& db_;
    std::vector<int64_t> ids_;
    std::vector<char> marks_;
    long markedCount_ = 0;
};

// How the marked rows go into KVR_25. Store and main group are the texts of combST and combMG.
struct TakeOverOptions {
    std::string store;
    std::string mainGroup;
    bool overwriteSameNumber = false;  // chkSamePLU
};

struct TakeOverResult {
    enum class Failure { None, NoStore, NoMainGroup, Database };
    Failure failure = Failure::None;
    // For a failure: the list that is empty ("combST", "combMG"), or the PLU whose write failed
    // and the database's reason. Nothing of the run stays in KVR_25.
    std::string list;
    int64_t failedPlu = 0;
    std::string reason;

    long added = 0;
    long overwritten = 0;
    std::vector<int64_t> leftOut;  // numbers that existed in the store, kept as they were
    bool ok() const { return failure == Failure::None; }
};

// Copies every column of each marked review row, by position, into KVR_25, re-homed to the
// store and the main group (Stat2_MGCode 1 unless the group is 997). The store's PLU numbers are
// read once, before the first write: a number that was there is overwritten (with
// overwriteSameNumber) or left out; any other is appended, even when an earlier record of the
// same run added it. One transaction: a database failure leaves KVR_25 as it was.
TakeOverResult takeOverMarked(const ReviewSet& set, const TakeOverOptions& options,
                              const ReviewProgress& progress = {});

// The lists of the window: store numbers, the departments of a store, the main groups of a
// department (each in number order).
std::vector<int64_t> storeNumbers(store::Database& db);
std::vector<int64_t> departmentNumbers(store::Database& db, int64_t store);
std::vector<int64_t> mainGroupNumbers(store::Database& db, int64_t store, int64_t department);

// A whole non-negative number, or nullopt (an empty or other text).
std::optional<int64_t> parseNumber(const std::string& text);

}  // namespace brindale::transfer
