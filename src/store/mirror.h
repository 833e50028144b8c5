#pragma once
// The mirror of the working database under AccessData: text files of plain columns and record
// files of the scale records, the only form of the chain's data between runs.
//
// The end writes a complete new set of files beside the old one and puts it in place in one
// atomic step, so that a crash or a power loss at any moment leaves either the whole old mirror
// or the whole new one. The file names and formats inside AccessData are the mirror's own.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "codec/status.h"
#include "store/database.h"
#include "store/fatal_error.h"

namespace brindale::store {

struct MirrorTextColumn {
    const char* name;
    bool untilNumber;  // may span several lines: read until a numeric line
};

struct MirrorTextFile {
    const char* file;
    const char* table;
    std::vector<MirrorTextColumn> columns;
    bool marker;  // a line " 111 " follows the last column
};

enum class RecordExtra { None, Plu, TextName, ReportData };

struct MirrorRecordFile {
    const char* file;
    const char* table;
    int fixedLength;  // 0: the length stands in bytes 4 and 5 of each record
    RecordExtra extra;
};

// In the order of writing and reading.
const std::vector<MirrorTextFile>& mirrorTextFiles();
const std::vector<MirrorRecordFile>& mirrorRecordFiles();
// The transfer history (TRANSFER_LOG), in the same text form: written after the other files, and
// only when the history holds rows, so that a mirror without it is an empty history.
const MirrorTextFile& transferLogMirrorFile();

// How far a long step has come, in rows; called often, so it must be cheap.
using MirrorProgress = std::function<void(long done, long total)>;

// A test hook: called with a running count at every point where the end could be interrupted
// (after each row written, each file flushed, each rename). Never set in the program.
using MirrorCheckpoint = std::function<void(long point)>;

// A PLU that the end cannot pack as its columns stand.
struct PluPackProblem {
    int64_t rowid = 0;
    int64_t PLU_No = 0;
    int64_t ST_No = 0;
    std::string column;       // the column the codec names
    std::string reason;       // the codec's message, or why the record is unusable
    codec::CodecError error;  // the codec's failure as it was reported
    bool hasLastGoodRecord = false;
};

struct MirrorOptions {
    const codec::CodecEnvironment* env = nullptr;  // code page and lists for the PLU records
    MirrorProgress progress;
    MirrorCheckpoint checkpoint;
    // Asked once, when every record is written aside and before the new mirror is put in place,
    // if PLUs could not be packed and each has a last good record. True: end anyway, each keeps
    // that record. False: the end is cancelled (MirrorCancelled). Without it the end goes on.
    std::function<bool(const std::vector<PluPackProblem>&)> confirmKeptRecords;
    // A PLU record file of at least this many bytes is unpacked by the start on two threads, half
    // of it through a side database file beside the working one; negative: always on one.
    long long parallelFillBytes = 4 << 20;
};

// What the end kept rather than packed: one line per row, naming it and the reason, and the PLUs
// among them. Nothing is dropped: each kept its last good record.
struct MirrorReport {
    std::vector<std::string> warnings;
    std::vector<PluPackProblem> problems;
};

// A row that the end cannot write without loss: the end stops as for a full disk. The old mirror
// is as it was, nothing is left aside, and the working database is unchanged.
class MirrorError : public FatalError {
public:
    MirrorError(std::string table, std::string row, std::string column, const std::string& reason,
                std::vector<PluPackProblem> problems = {})
        : FatalError(table + ", " + row, 0, reason), table_(std::move(table)), row_(std::move(row)),
          column_(std::move(column)), problems_(std::move(problems)) {}
    const std::string& table() const { return table_; }
    const std::string& row() const { return row_; }  // e.g. "PLU 17 of store 2", "row 3 (DP_No 12)"
    const std::string& column() const { return column_; }
    // For PLUs: every PLU that could not be packed, those without a last good record first.
    const std::vector<PluPackProblem>& problems() const { return problems_; }

private:
    std::string table_, row_, column_;
    std::vector<PluPackProblem> problems_;
};

// The end was cancelled through confirmKeptRecords: as after a MirrorError, nothing changed.
class MirrorCancelled : public std::runtime_error {
public:
    explicit MirrorCancelled(std::vector<PluPackProblem> problems)
        : std::runtime_error("the end was cancelled: " + std::to_string(problems.size()) +
                             " PLUs could not be packed as they stand"),
          problems_(std::move(problems)) {}
    const std::vector<PluPackProblem>& problems() const { return problems_; }

private:
    std::vector<PluPackProblem> problems_;
};

// Start: completes or undoes an end that was interrupted, then fills the empty tables from the
// mirror (text files, then record files with every PLU unpacked, then the department, main group
// and flexi barcode columns from their records). A damaged file is a FatalError naming the file
// and the line or record; nothing under AccessData is changed by reading.
void recoverMirror(const std::string& appDir);
void readMirror(Database& db, const std::string& appDir, const MirrorOptions& options);

// End: every table to text and record files (every PLU repacked), written aside and put in
// place atomically. Throws MirrorError or MirrorCancelled (and FatalError for a file that cannot
// be written) with the old mirror untouched and nothing left aside.
MirrorReport writeMirror(Database& db, const std::string& appDir, const MirrorOptions& options);

// The single steps of the end and of the small-record decoding, on one folder, for tests and tools.
void exportTables(Database& db, const std::string& folder, const MirrorOptions& options);
MirrorReport exportRecords(Database& db, const std::string& folder, const MirrorOptions& options);
void decodeSmallRecordTables(Database& db, const std::string& folder, const MirrorOptions& options);

// The print statement's text of a value: a number with a blank before and after, a text as it
// is, a null as "Null".
std::string printValue(const Value& v);
// True for a line that the reader takes as a number.
bool isNumericLine(const std::string& line);

}  // namespace brindale::store
