// The transfer flows: every send, delete and fetch of the program is one row of a table
// (mode; store and section; identifiers; which rows are marked before and cleared after) run by
// one runner over the transfer preamble. Windows take part only through hooks: their questions,
// their saves, the download dialog, the review of fetched PLUs. No widgets here, so tests and a
// command-line tool run the same flows.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "codec/environment.h"
#include "store/database.h"
#include "store/mirror.h"
#include "transfer/kvr_data_trans.h"

namespace brindale::transfer {

enum class Flow {
    SendAll,          // frmMain cmdSendAll, menuDownLoad
    DownloadOne,      // frmMain cmdDownload
    DeletePlu,        // frmMain cmdDel, menuDeletePlu
    UploadCmd,        // frmMain cmdUpload
    UploadMenu,       // frmMain menuUpLoad
    DownloadDept,     // frmMain menuDownloadDept
    DownloadMG,       // frmMain menuDownloadMG
    FlexiDownload,    // frmFlexiBarcode cmdDownload
    ReportUpload,     // frmExportReportData cmdUpload
    LabelDownload,    // frmLabelFormat cmdDownload
    LabelUpload,      // frmLabelFormat cmdUpload
    PresetKeySend,    // frmPresetKey cmdUpload (it sends, in spite of its name)
    ScrollDownloadM,  // frmScrollMSG cmdDownloadM
    ScrollDownloadS,  // frmScrollMSG cmdDownloadS
    ImageSend,        // frmImage cmdSend
    ImageDelete,      // frmImage cmdDelete
    LogoSend,         // frmLogo cmdSend
    DateTime,         // frmOtherFile cmdDTTM
    OtherFileSend,    // frmOtherFile cmdSend
    ReportFormatFN,   // frmReportFormat cmdDownloadFN
    ReportFormatSN,   // frmReportFormat cmdDownloadSN
};

// Where the store and section numbers of a flow come from.
enum class Where { Current, StoreOneSectionZero, ScaleRow };

// Which rows a flow marks (Is_Selected = 1) before the transfer.
enum class Marking {
    None,       // the rows are as the operator or the window left them
    AllRows,    // every row of the table
    Query,      // the rows of the row's query (cleared again after, when clearAfter)
    StoreRows,  // selectStoreRows
    DateTime,   // the table is emptied and the clock's record is its one row
};

// The "before" steps a flow asks of its window, in the order they run.
enum Step : unsigned {
    kAskSavePLU = 1u << 0,      // askSavePLU; 3 ends the flow
    kAskUnsaved = 1u << 1,      // the window's unsaved question (formatsave, rptformatallsave); No ends
    kSaveBefore = 1u << 2,      // the window saves (cmdSaveM, cmdSaveS)
    kCheckBefore = 1u << 3,     // the window's check (report reset types); failure ends
    kDownloadDialog = 1u << 4,  // frmDownLoad between the collection and TableList; cancelFlag guards
    kDeleteCaptions = 1u << 5,  // frmDownLoad with the delete captions, no refresh
    kAfter = 1u << 6,           // the window's step after the transfer (formatoverride, exportreport)
};

struct FlowRow {
    Flow flow;
    const char* window;
    std::vector<const char*> controls;
    int mode;  // 0 download, 1 upload, 2 delete
    Where where;
    std::vector<std::string> identifiers;  // empty: the caller's (report upload, other files)
    Marking marking;
    const char* markTable;  // "KVR_xx" the marking works on
    // Query marking: the SELECT, with {ip}, {layout}, {number} filled from the context.
    const char* markSelect;
    bool emptyIncomingBefore;  // every row of RC_<identifier> deleted before
    bool clearAfter;           // the rows the flow marked are cleared after
    unsigned steps;
};

// The table of flows, in the order above.
const std::vector<FlowRow>& flowTable();
const FlowRow& flowRow(Flow flow);
// The flow of a window's control ("frmMain", "menuDownLoad"); nullptr when none.
const FlowRow* flowOf(const std::string& window, const std::string& control);

// Program-wide state the flows share between clicks.
struct FlowState {
    int cancelFlag = 0;       // 1 after cmdCancel of frmDownLoad, 0 after cmdOK; not reset before it opens
    int skipRefreshFlag = 0;  // set by the delete flows, read and cleared by frmDownLoad
    std::vector<std::string> collection;  // the identifiers of the PLU flows, frmDownLoad adds to it
};

// What the caller knows at the click.
struct FlowContext {
    std::string databasePath;  // as given to the control
    std::string languageText;  // the text under ActX_KVR
    int currentStore = 0;
    int currentSection = 0;
    std::string currentScaleIP;  // SC_IP as stored, for the preset-key flow
    int presetLayout = 0;        // the sheet's layout, for the preset-key flow
    int scrollSequence = 0;      // combSeqNum's list index + 1, for the scroll sequence flow
    // The caller's identifiers (report upload: the chosen report; other files: the ticked boxes).
    std::vector<std::string> identifiers;
    int64_t currentPluRowId = 0;  // KVR_25 row of the list's current PLU (single-PLU download)
    int reportStore = 1;          // the store the report fetch asks (the window's is always 1)
    const codec::CodecEnvironment* env = nullptr;  // for packing PLU records
    // The clock of the date-and-time record; the computer's clock when empty.
    std::function<std::tm()> clock;
};

class FlowSession;

struct FlowHooks {
    std::function<int()> askSavePLU;    // 1 saved, 2 nothing to save or no, 3 cancel
    std::function<bool()> askUnsaved;   // false: the operator said No
    std::function<bool()> saveBefore;   // false: the save failed
    std::function<bool()> checkBefore;  // false: the check failed (the window said why)
    // frmDownLoad: shown modally; it refreshes through the session and ends with ok() or cancel().
    // Without it, the dialog is taken as opened and OK'd with no box ticked.
    std::function<void(FlowSession&)> downloadDialog;
    std::function<bool()> saveEditor;        // single-PLU download, step 1; false ends the flow
    std::function<void()> clearPluEdited;    // single-PLU download, step 9
    std::function<void(long rows)> review;   // frmUpload over the fetched rows of RC_25
    std::function<void(bool on)> mainEnabled;  // frmMain on and off around the review
    std::function<void()> refreshList;       // the PLU list (and the editor's buttons)
    std::function<void()> after;             // the window's step after the transfer
    std::function<void()> processEvents;
};

// A PLU of the download whose record could not be built: not sent, keeps its mark.
struct HeldBackPlu {
    int64_t rowid = 0;
    int64_t PLU_No = 0;
    std::string column;
    std::string reason;
};

enum class FlowEnd {
    Transferred,  // StartTransfer was called
    Declined,     // a question said No or Cancel, a save or check failed
    Cancelled,    // frmDownLoad's Cancel (cancelFlag)
    Overflow,     // store or section outside 0..255: nothing sent
    NoScaleRow,   // the preset-key flow found no SCALE row for the address
    Failed,       // a database step failed: message says which
};

struct FlowOutcome {
    FlowEnd end = FlowEnd::Declined;
    std::string message;  // English detail for Overflow, NoScaleRow, Failed
    int store = 0;
    int section = 0;
    std::vector<std::string> identifiers;  // as given to the control
    std::vector<HeldBackPlu> heldBack;
    long fetched = 0;  // upload flows: rows found in RC_25 after the transfer
    bool reviewed = false;
};

// Marks KVR_20, KVR_23 by ST_No == currentStore (0 elsewhere), KVR_14 all; other names nothing.
void selectStoreRows(store::Database& db, const std::string& table, int currentStore);

// Packs every KVR_25 row marked 1 into its record (inherit on), one transaction, remembered
// settings cleared before and after. `progress(done, total)` is called about every 50 ms.
struct RefreshResult {
    long packed = 0;
    std::vector<HeldBackPlu> problems;
};
RefreshResult refreshSelectedPlus(store::Database& db, const codec::CodecEnvironment& env,
                                  const std::function<void(long, long)>& progress = {});

// The transfer preamble in its two halves, so that a dialog can stand between them: first the
// database path, store, section and mode in this order (a number outside 0..255 throws
// TransferOverflow), then TableList, LanguageText and the blocking call.
void setTransferTarget(KVRDataTrans& control, const std::string& databasePath, int store, int section, int mode);
void startTransfer(KVRDataTrans& control, const std::vector<std::string>& identifiers, const std::string& languageText);

// The 14 bytes of the date-and-time record for a moment.
std::vector<uint8_t> dateTimeRecord(const std::tm& t);

// The identifiers of frmOtherFile's ticked boxes, in the order the flow sends them.
std::vector<std::string> otherFileIdentifiers(const std::vector<std::string>& tickedBoxes);

// One run of one flow. frmDownLoad talks to it while it is open.
class FlowSession {
public:
    FlowSession(store::Database& db, KVRDataTrans& control, FlowState& state, const FlowContext& ctx,
                const FlowHooks& hooks);

    FlowOutcome run(Flow flow);

    // ---- frmDownLoad ----
    bool deleteCaptions() const { return deleteCaptions_; }
    // The dialog's first activation: the refresh unless skipRefreshFlag, which it clears.
    RefreshResult firstActivation(const std::function<void(long, long)>& progress = {});
    void ok(bool dept, bool mg);
    void cancel();
    const std::vector<HeldBackPlu>& heldBack() const { return heldBack_; }

    // Hook order, for the tests: each hook's name as it ran.
    const std::vector<std::string>& trace() const { return trace_; }

private:
    bool placeOf(const FlowRow& row, FlowOutcome& out);
    std::vector<int64_t> mark(const FlowRow& row);
    // Is_Selected = value on these rows of the table, in one transaction.
    void setMarks(const std::string& table, const std::vector<int64_t>& rowids, int value);
    void showDownloadDialog(bool deleteCaptions);
    void start(const FlowRow& row, FlowOutcome& out);
    void downloadOne(FlowOutcome& out);
    void afterUpload(const FlowRow& row, FlowOutcome& out);
    void writeDateTime();
    void events();
    void note(const char* step) { trace_.push_back(step); }

    store::Database& db_;
    KVRDataTrans& control_;
    FlowState& state_;
    const FlowContext& ctx_;
    const FlowHooks& hooks_;
    bool deleteCaptions_ = false;
    std::vector<HeldBackPlu> heldBack_;
    std::vector<std::string> trace_;
};

// Shorthand: one session, one run.
FlowOutcome runFlow(Flow flow, store::Database& db, KVRDataTrans& control, FlowState& state, const FlowContext& ctx,
                    const FlowHooks& hooks);

}  // namespace brindale::transfer
