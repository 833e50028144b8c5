#pragma once
// The mirror of the working database under AccessData: text files of plain columns and record
// files of the scale records, the only form of the chain's data between runs.
//
// The end writes a complete new set of files beside the old one and puts it in place in one
// atomic step, so that a crash or a power loss at any moment leaves either the whole old mirror
// or the whole new one. The file names and formats inside AccessData are the mirror's own.
#include <functional>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "store/database.h"

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

// How far a long step has come, in rows; called often, so it must be cheap.
using MirrorProgress = std::function<void(long done, long total)>;

// A test hook: called with a running count at every point where the end could be interrupted
// (after each row written, each file flushed, each rename). Never set in the program.
using MirrorCheckpoint = std::function<void(long point)>;

struct MirrorOptions {
    const codec::CodecEnvironment* env = nullptr;  // code page and lists for the PLU records
    MirrorProgress progress;
    MirrorCheckpoint checkpoint;
};

// What the end could not pack as it stands: one line per PLU, naming it and the reason. Those
// PLUs keep the record they had; nothing is dropped.
struct MirrorReport {
    std::vector<std::string> warnings;
};

// Start: completes or undoes an end that was interrupted, then fills the empty tables from the
// mirror (text files, then record files with every PLU unpacked, then the department, main group
// and flexi barcode columns from their records). A damaged file is a FatalError naming the file
// and the line or record; nothing under AccessData is changed by reading.
void recoverMirror(const std::string& appDir);
void readMirror(Database& db, const std::string& appDir, const MirrorOptions& options);

// End: every table to text and record files (every PLU repacked), written aside and put in
// place atomically.
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
