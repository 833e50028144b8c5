#pragma once
// The review of PLUs fetched from a scale, without windows: the records of RC_25 decoded in
// memory, the set the operator browses and marks, and the take-over of the marked ones into
// KVR_25 of a chosen store and main group. frmUpload (transfer/ui/upload_window.h) only shows it.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "codec/plu_row.h"
#include "store/codec_sources.h"
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
    long decoded = 0;  // records that could be read
    std::vector<UnreadableRecord> unreadable;
};

// What the grid shows of one review row (columns 2 to 5).
struct ReviewRow {
    int64_t pluNo = 0;
    std::string itemCode;  // empty when Null
    std::string name;      // PLU_CommodityFirst, empty when PLU_Commodity is Null
    int64_t price = 0;
};

// The fetched PLUs as the operator reviews them: the rows of RC_25 whose record decodes and whose
// Is_Selected is 0 after decoding, ordered by PLU_No (ties in table order), with the operator's
// marks. RC_25 is not written by the load: the decoded columns of a row are made again from its
// record whenever they are needed (a grid row, the tabs, the take-over), so the set holds 16 bytes
// of row id and number and 1 byte of mark per record.
//
// Decoding takes the settings, the code page and the barcode lists from `env`; the main group and
// flexi barcode lookups are read from the database's tables (KVR_23, KVR_20, STORE, KVR_14) when
// the set is loaded, so that a second thread can decode beside the first.
class ReviewSet {
public:
    ReviewSet(store::Database& db, const codec::CodecEnvironment& env);
    ~ReviewSet();

    // Decodes every record of RC_25 (in table order, on two threads) and takes the readable ones.
    // A record that cannot be read, and a row whose record is missing or whose length does not
    // agree with its bytes, is left out and reported. Every mark goes.
    DecodeReport load(const ReviewProgress& progress = {});
    long size() const { return static_cast<long>(ids_.size()); }
    int64_t rowIdAt(long position) const;
    ReviewRow row(long position) const;
    // The whole row at `position` as decoding its record gives it: the row's own columns with the
    // record spread over them. nullopt outside the set or when the row is gone.
    std::optional<codec::PluRow> decoded(long position) const;
    // Writes decoded(position) into its row of RC_25, for views that read the table (the tabs);
    // once per row and load. False outside the set or when the row is gone.
    bool storeDecoded(long position);

    bool marked(long position) const;
    void setMarked(long position, bool on);
    void toggleMark(long position) { setMarked(position, !marked(position)); }
    long markedCount() const { return markedCount_; }

    store::Database& database() const { return db_; }
    // The environment the set decodes with on the calling thread (lookups from the snapshots).
    const codec::CodecEnvironment& environment() const { return env_; }


private:
    void snapshotLookups();

    store::Database& db_;
    codec::CodecEnvironment env_;
    std::unique_ptr<store::CodecSourcesSnapshot> lookups_;  // read once, shared by both threads
    static constexpr char kMarked = 1;  // the operator's mark
    static constexpr char kStored = 2;  // the decoded columns are in the row of RC_25
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

// Copies every column of each marked review row, as decoding its record gives it, by position,
// into KVR_25, re-homed to the store and the main group (Stat2_MGCode 1 unless the group is 997). The store's PLU numbers are
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
