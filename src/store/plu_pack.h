#pragma once
// Packs PLU rows into the records the scales take, in the working database itself: what a
// download does to the selected rows before the transfer control reads them.
#include <functional>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "store/database.h"
#include "store/mirror.h"

namespace brindale::store {

struct PluPackResult {
    long packed = 0;
    std::vector<PluPackProblem> problems;  // rows that could not be packed: left as they were
};

// Every KVR_25 row that `where` selects (SQL after WHERE; empty: all rows; it must not read the
// columns the encoder writes, which change during the pass) is encoded and
// written back with its record and the columns the encoder derives, in one transaction. With
// `inherit` (as the downloads pass it) the label and barcode settings 255 are resolved through
// main group, department and store; without, they go out as 255.
// `progress(done, total)` follows the encoding, once per row.
using PackProgress = std::function<void(long done, long total)>;
PluPackResult packPluRows(Database& db, const codec::CodecEnvironment& env, const std::string& where, bool inherit,
                          const PackProgress& progress = {});

}  // namespace brindale::store
