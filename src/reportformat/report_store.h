#pragma once
// The report formats (KVR_AA) and sequences (KVR_AB) of the working database, read into and
// written from plain structs that hold what the editor's fields show. No widgets: the editor
// copies its fields in and out, tests call these directly.
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "reportformat/report_format.h"

namespace brindale::store {
class Database;
}

namespace brindale::reportformat {

// The format half of the editor.
struct FormatFields {
    int typePosition = 0;  // comboRptFormatType
    std::string startNo = "0", endNo = "0", conditionNo = "0";
    int statusPosition = 0;      // comboRptFormatStatus
    std::optional<Bytes> data;   // the line stream; nullopt for a format without text
    // Editor state that follows from the fields.
    bool conditionEnabled() const { return statusPosition != 0; }
    int conditionMaxLength() const { return statusPosition == 1 ? 3 : statusPosition == 2 ? 2 : 8; }
    bool rangeEnabled() const { return typeHasRange(typePosition); }
};

// The sequence half.
struct SequenceFields {
    std::array<std::string, kSequenceSlots> seqNo{"0", "0", "0", "0", "0", "0", "0", "0", "0", "0"};
    int resetPosition = 0;  // comboResetRpt
    bool password = false;  // chkpassword
    int printType = 0;      // comboPrintType
};

// What a save says when a field cannot go into the record: the table, the number and the column,
// so that the operator finds it. Empty when the save went through.
struct SaveResult {
    std::string table, column, value;
    int number = 0;
    bool ok() const { return column.empty(); }
    std::string message() const;  // English
};

// Loads format `number`; false (and the reset fields) when there is no row. The condition text
// is cut to its status's length, a Type of no list opens as position 0.
bool OpenRptData(store::Database& db, int number, FormatFields& f);
// Stores the fields and builds the record. A field that is not a number of at most 8 digits
// leaves the row as it was.
SaveResult SaveRptData(store::Database& db, int number, const FormatFields& f);
bool OpenRptSeq(store::Database& db, int number, SequenceFields& s);
// Status keeps every bit but the password and print-type bits.
SaveResult SaveRptSeq(store::Database& db, int number, const SequenceFields& s);

// The reset rule of one sequence against the formats in KVR_AA: the first slot (0 to 9) whose
// format forbids `resetPosition`, or nullopt when none does. A number without a format row takes
// no part.
std::optional<int> resetConflict(store::Database& db, const std::array<std::string, kSequenceSlots>& seqNo,
                                 int resetPosition);
// Every row of KVR_AB checked the same way: the Code of the first sequence that breaks it.
std::optional<int> firstSequenceBreakingReset(store::Database& db);

// The numbers of the formats that exist, ascending.
std::vector<int> formatNumbers(store::Database& db);

}  // namespace brindale::reportformat
