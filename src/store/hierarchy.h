#pragma once
// The chain's organisation without any window: stores, sections, machines, departments, main
// groups and search sets; their node keys, the numbers proposed for new ones, reading, saving,
// deleting, the duplicate test, the nodes of both tree views and the command states of a node.
//
// The node key carries the whole identity of an object, e.g. "MG 3 12 105" is main group 105 of
// department 12 of store 3. Every later window reads the selection from keys parsed here.
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database.h"
#include "recordset.h"

namespace brindale::store {

// The padded form of "no machine": four groups of three characters joined by ".".
inline constexpr const char* kNoMachineAddress = "  0.  0.  0.  0";
// The form that stands for no machine where a delete builds its arguments.
inline constexpr const char* kNoMachineShort = "0.0.0.0";

// Every store has this department and, under it, this main group: the place of everything that
// has no department of its own.
inline constexpr int kDefaultDept = 97;
inline constexpr int kDefaultMainGroup = 997;
inline constexpr int kMaxDept = 97;
inline constexpr int kMaxMainGroup = 997;
// "Use the setting of the level above" in a bar or label format.
inline constexpr int kInherit = 255;

// The kind numbers are those of the property forms.
enum class Kind : int { None = 0, Store = 1, Section = 2, Machine = 3, Dept = 4, MainGroup = 5, Search = 6, Root = 7 };

const char* tableOf(Kind k);  // "STORE", "SECT", "SCALE", "KVR_20", "KVR_23", "SEARCH"; "" otherwise
const char* wordOf(Kind k);   // "STORE", "SECT", "MACHINE", "DEPT", "MG", "SEARCH"; "" otherwise

// ---- Keys ---------------------------------------------------------------------------------------

std::string storeKey(int st);
std::string sectionKey(int st, int sect);
std::string machineKey(int st, int sect, const std::string& paddedIp);
std::string deptKey(int st, int dp);
std::string mainGroupKey(int st, int dp, int mg);
std::string searchKey(int st, int sh);
// The root of multi store mode: the store name setting, a blank and "1".
std::string rootKey(const std::string& storeNameSetting);

// A key read back: the kind from the first characters, then the numbers walked digit by digit
// up to a blank. A machine's address is the rest of the key after its section (it holds blanks).
struct ParsedKey {
    Kind kind = Kind::None;
    std::vector<int> numbers;  // in key order: store, then section / department, ...
    std::string address;       // machine keys only, padded form
    int number(size_t i) const { return i < numbers.size() ? numbers[i] : 0; }
};
// `root` is the key of the root node when there is one (multi store mode), else empty: the root
// is recognised by its whole key before any word is tried, so a chain named "STORE..." or "MG..."
// is still the root.
ParsedKey parseKey(std::string_view key, std::string_view root = {});
Kind kindOfKey(std::string_view key, std::string_view root = {});

// ---- Machine addresses --------------------------------------------------------------------------

// "192.168.1.5" or "192.168.  1.  5" to the padded form "192.168.  1.  5". Each group is
// right-aligned in three characters; a group longer than three is kept as it is.
std::string padAddress(const std::vector<std::string>& groups);
std::string padAddress(std::string_view dotted);
// The four groups with their blanks taken off, as the form's boxes show them.
std::vector<std::string> splitAddress(std::string_view padded);

// ---- Selection and editing records --------------------------------------------------------------

struct Selection {
    int store = 0;
    int section = 0;
    std::string address = kNoMachineAddress;
    int dept = 0;
    int mainGroup = 0;
    int search = 0;
    bool operator==(const Selection&) const = default;
};

// The barcode fields shared by stores, sections, departments and main groups.
struct BarcodeFields {
    int Flag1 = 0;
    int Flag2 = 0;
    int BarFlag = 0;
    int barformat = 0;
    std::string BarType = "0";
    int LabFormat = 0;
    bool operator==(const BarcodeFields&) const = default;
};

struct StoreRecord {
    int ST_No = 0;
    std::string ST_Name;
    BarcodeFields bar;
};
struct SectionRecord {
    int SECT_No = 0;
    int ST_No = 0;
    std::string SECT_Name;
    BarcodeFields bar;
};
struct MachineRecord {
    std::string SC_IP = kNoMachineAddress;
    std::string SC_No;
    int SC_Used = 1;
    std::string SC_Dest;
    int SC_MODEL_ID = 0;
    int SC_PSK_Layout = 0;
    int ST_No = 0;
    int SECT_No = 0;
};
struct DeptRecord {
    int DP_No = 0;
    std::string DP_Name;
    BarcodeFields bar;
    int ST_No = 0;
    int SECT_No = 0;
};
struct MainGroupRecord {
    int MG_No = 0;
    std::string MG_Name;
    BarcodeFields bar;
    int ST_No = 0;
    int SECT_No = 0;
    int DP_No = 0;
};
struct SearchRecord {
    int SH_No = 0;
    std::string SH_Name;
    int DP_No1 = 0, DP_No2 = kMaxDept;
    int MG_No1 = 0, MG_No2 = kMaxMainGroup;
    int32_t PLU_No1 = 1, PLU_No2 = 999997;
    int32_t PLU_UPrice1 = 0, PLU_UPrice2 = 999999;
    int ST_No = 0;
};

// One record per kind: the interface between the tree and the property forms.
struct EditRecords {
    StoreRecord store;
    SectionRecord section;
    MachineRecord machine;
    DeptRecord dept;
    MainGroupRecord mainGroup;
    SearchRecord search;
};

// Defaults of a new object. `caption` is the caption of the menu command that creates it.
StoreRecord defaultStore(int number, const std::string& caption);
// The department 97 and main group 997 that come with every new store.
DeptRecord defaultStoreDept(int store, const std::string& deptCaption);
MainGroupRecord defaultStoreMainGroup(int store, const std::string& mgCaption);
SectionRecord defaultSection(int store, int number, const std::string& caption);
MachineRecord defaultMachine(int store, int section);
DeptRecord defaultDept(int store, int number, const std::string& caption);
MainGroupRecord defaultMainGroup(int store, int dept, int number, const std::string& caption);
SearchRecord defaultSearch(int store, int number, const std::string& caption);

// ---- Barcode field rules ------------------------------------------------------------------------

// A flag shows as one digit, or "F" for anything over 9; "F" is stored as 16.
std::string flagText(int value);
int flagValue(std::string_view text);
inline constexpr int kFlagF = 16;
// The bar flag is the combo's index, plus 90 for the ITF kind; 90 and more show with 90 taken off.
int barFlagValue(int comboIndex, const std::string& barType);
int barFlagIndex(int value);
// Bar format and label format: a store keeps the index as it is; the other levels have "use the
// level above" (255) in row 0 and the value n in row n + 1.
int levelValue(Kind k, int comboIndex);
int levelIndex(Kind k, int value);

// The rows of the combos, from the parameter sections given as (key, value) pairs in file order.
using SectionRows = std::vector<std::pair<std::string, std::string>>;
// EAN_DISP or ITF_DISP: the "REF" row first, except for a store, then the others in order.
std::vector<std::string> barFormatRows(Kind k, const SectionRows& disp);
// BAR_LAST_BYTE: its rows in order (a "REF" row, if any, is left out: the bar flag has no
// "level above").
std::vector<std::string> barFlagRows(const SectionRows& lastByte);
// Label_Format: "F1L255" first (not for a store), then the rest but the last row, then "1F" to
// "99F".
std::vector<std::string> labelFormatRows(Kind k, const SectionRows& labelFormat);

// ---- The tree's nodes ---------------------------------------------------------------------------

struct TreeNode {
    std::string key;
    std::string parentKey;  // empty for a top-level node
    std::string text;
    Kind kind = Kind::None;
};

struct TreeContext {
    int view = 1;  // 1 store view, 0 data view
    int storeMode = 0;
    std::string storeNameSetting;
    int currentStore = 0;
    // Set while the store table is read: single store mode takes sections and machines of this
    // store only.
    int lastStoreRead = 0;
    // The text of the store's node in the data view when the store has no row.
    std::string storeCaption;
};

// ---- Command states of a selected node ----------------------------------------------------------

struct CommandInput {
    std::string key;
    int view = 1;
    bool hasChildren = false;
    int storeMode = 0;
    int scaleTypeIndex = 0;
    std::string root;  // the root's key in multi store mode
};
// Every command that a node click sets, by its object name, on or off.
std::map<std::string, bool> commandStates(const CommandInput& in);
// The commands that commandStates sets, in a fixed order.
const std::vector<std::string>& nodeCommands();
// Keys ending in "97" are the defaults of a store (department 97, main group 997) or are
// protected with them (main group 197 and the like): they cannot be deleted.
bool isProtectedKey(std::string_view key);

// ---- The tables ---------------------------------------------------------------------------------

class Hierarchy {
public:
    // Builds the binary record of the current row of KVR_20 or KVR_23 into its KVRBinData. Called
    // after every change of such a row, before the row is written.
    using RecordBuilder = std::function<void(const std::string& table, Recordset& row)>;

    explicit Hierarchy(Database& db) : db_(db) {}
    void setRecordBuilder(RecordBuilder b) { builder_ = std::move(b); }

    // The number for a new object of the kind; `sel` is set from the selected node's key.
    int newNumber(Kind k, std::string_view selectedKey, Selection& sel);

    // Fills the kind's editing record from the row that matches the selection; false if none.
    bool readObject(Kind k, const Selection& sel, EditRecords& rec);
    // Mode 0 adds a row. Mode 1 changes the row that matches `sel` (the numbers before the edit)
    // and passes changed numbers down to the rows below it.
    void saveObject(Kind k, const Selection& sel, const EditRecords& rec, int mode);
    // Deletes each matching row. For a department or main group with `wholeStore` set, every row
    // of the store goes. Returns the number of rows deleted.
    int deleteObject(Kind k, const Selection& sel, bool wholeStore = false);
    // True if a row with the key values of `sel` exists: store on ST_No, section on ST_No and
    // SECT_No, machine on SC_IP alone, department on ST_No and DP_No, main group on ST_No and
    // MG_No (unique in the store), search set on ST_No and SH_No.
    bool isDuplicate(Kind k, const Selection& sel);

    // The nodes of one table for a view, in table order. Rows whose parent is not in `known`
    // (the keys already on the tree) are left out and named in `problems`.
    std::vector<TreeNode> buildTree(std::string_view table, TreeContext& ctx, std::vector<std::string>& known,
                                    std::vector<std::string>& problems);

    // The department sections for ComboSectNo: (SECT_No, SECT_Name) of the store, table order.
    std::vector<std::pair<int, std::string>> sectionsOf(int store);
    // The store's name, or empty when it has no row.
    std::string storeName(int store);

    Database& database() { return db_; }

private:
    void rebuildRecord(Recordset& rs);
    int passDown(const std::string& table, const std::string& where, const std::string& column, int value);

    Database& db_;
    RecordBuilder builder_;
};

}  // namespace brindale::store
