// The numbered text files (KVR_38 to KVR_3D) and the container table (KVR_DF) as the window
// frmOtherFile keeps them: a row by number with its text block in Name, the first line in
// NameFirstLine for the lists, and the record in KVRBinData.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/columns.h"
#include "scalefiles/records.h"

namespace brindale::codec {
class CodePage;
}
namespace brindale::store {
class Database;
}

namespace brindale::scalefiles {

struct TextFileKind {
    int kind;             // 11 to 16
    const char* table;    // "KVR_38"
    const char* code;     // "38"
    const char* button;   // cmdText
    const char* textBox;  // txtText
    const char* combo;    // comboText
    const char* numberBox;  // txtIngNo, txtSMsgNo; nullptr for the others
    const char* checkBox;   // chkText
};

// The six kinds in the window's order.
const std::vector<TextFileKind>& textFileKinds();
const TextFileKind* textFileKind(int kind);

// The greatest number a number box or a row takes: four packed bytes.
inline constexpr uint32_t kMaxFileNumber = 99999999;
// The digits of a number box's text ("[!0-9]" removed), at most 8 of them.
std::string digitsOnly(const std::string& text);

struct TextFileEntry {
    uint32_t number = 0;
    std::string firstLine;
};
// The rows of a kind by number, for its combo.
std::vector<TextFileEntry> textFileEntries(store::Database& db, int kind);
// The block of a number; Null when there is no row or no text.
codec::Bytes textFileBlock(store::Database& db, int kind, uint32_t number);

// Writes a text into its row (added when there is none): Name the block or Null, NameFirstLine its
// first line, KVRBinData the record. Empty when stored, else the reason (nothing is written).
std::string storeTextFile(store::Database& db, int kind, uint32_t number, const codec::Bytes& block,
                          const codec::CodePage& codePage);

// The PLU of a container; nullopt when it has no row.
std::optional<uint32_t> containerPlu(store::Database& db, uint32_t container);
// Writes the container's row and record with Is_Selected 0, or deletes the row when the PLU
// number is 0 or missing. Empty when done, else the reason.
std::string storeContainer(store::Database& db, uint32_t container, std::optional<uint32_t> plu);

// Is_Selected of every row of a table ("KVR_38" ... "KVR_DF").
void markAllRows(store::Database& db, const std::string& table, bool on);

}  // namespace brindale::scalefiles
