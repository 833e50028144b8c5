#pragma once
// The rows of one sheet in KVR_41: reading it whole, saving a key with its three pages, clearing
// it, and filling it with the PLUs of a store, a department or a main group.
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "layout.h"
#include "store/database.h"

namespace brindale::codec {
class CodePage;
}

namespace brindale::presetkey {

inline constexpr int kPages = 3;

struct Page {
    int32_t value = 0;  // KeyValue; 0 is an empty page
    std::string name;
    // The row's Status is none of the six kinds: shown empty, and kept unless this page is
    // edited (the editor clears the flag) and saved.
    bool foreign = false;
};
using KeyPages = std::array<Page, kPages>;

// Which sheet: a scale's address as SCALE holds it and a layout.
struct SheetRef {
    std::string scaleIP;
    int layout = 0;
    int keyNum = 0;
};

// Every key's pages, index key - 1, read in one query. Rows beyond the sheet are not read.
std::vector<KeyPages> readSheet(store::Database& db, const SheetRef& sheet);
KeyPages readKey(store::Database& db, const SheetRef& sheet, int key);

// Writes a key's three pages: a page above 0 is added or updated with its record, an empty page's
// row is deleted (unless it is a foreign row left alone). A name "" is stored as one blank.
// Throws std::invalid_argument, before anything is written, for a value none of the six kinds.
void saveKey(store::Database& db, const SheetRef& sheet, int key, const KeyPages& pages);

// Deletes every row of the sheet; `step` after each row lets the window paint.
void clearPresetKeys(store::Database& db, const SheetRef& sheet, const std::function<void()>& step = {});

// ---- the automatic fill ----
enum class FillScope { Store, Department, MainGroup };

// The main groups of a department of a store, ascending.
std::vector<int64_t> mainGroupsOf(store::Database& db, int store, int64_t department);

// The query of the fill: the store's PLUs, with opMG one group, with opDP its groups, by PLU_No.
std::string autoFillQuery(int store, FillScope scope, const std::vector<int64_t>& groups);

struct FillResult {
    bool refused = false;  // a department without main groups: the sheet is kept
    int filled = 0;        // keys given a PLU
};

// Clears the sheet, then gives keys 1, 2, ... page 1 the store's PLUs in ascending order, named by
// the first line of PLU_Commodity. Reads no more PLUs than the sheet has keys. `number` is the
// department (Department) or main group (MainGroup).
FillResult autoFill(store::Database& db, const SheetRef& sheet, int store, FillScope scope, int64_t number,
                    const codec::CodePage& codePage);

// The PLUs of a store for the browse list: ids in PLU_No order, and one row read by id.
std::vector<int64_t> storePluIds(store::Database& db, int store);
struct PluBrief {
    int64_t PLU_No = 0;
    std::string name;  // first line of PLU_Commodity
};
PluBrief readPlu(store::Database& db, int64_t rowId, const codec::CodePage& codePage);

}  // namespace brindale::presetkey
