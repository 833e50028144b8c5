#pragma once
// The code page in which the mirror's records were written, kept beside them in AccessData, so
// that a start under another system language reads the same names as the run that wrote them.
//
// File AccessData/codepage.txt: one line "CodePage=<page>" ending in CR LF, <page> one of the
// pages the program chooses from a system language (GBK, CP1252, ...). A mirror without the file
// was written in the page of the system's language, as before the file existed.
#include <optional>
#include <string>

#include "codec/code_page.h"
#include "store/database.h"

namespace brindale::store {

inline constexpr const char* kMirrorCodePageFile = "codepage.txt";

// The page recorded in `folder`; nullopt when the file is not there. A damaged file (no such
// key, a page the program does not know, a second line) is a FatalError naming the file and
// the line; nothing is changed.
std::optional<std::string> readMirrorCodePage(const std::string& folder);

// Writes the file into `folder` (the end's new set, before it is put in place).
void writeMirrorCodePage(const std::string& folder, const std::string& page);

// A text of the working database that a page cannot take over.
struct TextNotHeld {
    std::string table;   // "KVR_20", "KVR_25", ...
    int64_t number = 0;  // DP_No, MG_No, PLU_No, No or Number of the row
    std::string column;
    std::string character;  // the first character that cannot be carried over, UTF-8
};

// The first text bound for a scale record that could not be carried over from the page
// `recorded` (in which the records were read) into `target`:
// - texts the rows hold as text (department and main group names, the PLU's text columns,
//   scroll message texts, preset key names) when `target` cannot hold one of their characters;
// - texts the rows keep as the scales' bytes (the PLU's commodity, ingredient and special
//   message blocks, its multi barcodes, the text files' blocks) when they hold any character
//   beyond ASCII: these bytes are in the recorded page and are not re-encoded.
// nullopt when every text can go over.
std::optional<TextNotHeld> firstTextNotHeld(Database& db, const codec::CodePage& recorded,
                                             const codec::CodePage& target);

}  // namespace brindale::store
