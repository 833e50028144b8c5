#include "transfer/flows.h"

#include <chrono>
#include <stdexcept>

#include "store/plu_pack.h"

namespace brindale::transfer {

namespace {

constexpr unsigned kPluFlow = kAskSavePLU | kDownloadDialog;

const std::vector<FlowRow>& buildTable() {
    static const std::vector<FlowRow> rows = {
        {Flow::SendAll, "frmMain", {"cmdSendAll", "menuDownLoad"}, 0, Where::Current, {"25"}, Marking::None, "", "",
         false, false, kPluFlow},
        {Flow::DownloadOne, "frmMain", {"cmdDownload"}, 0, Where::Current, {"25"}, Marking::None, "", "", false, false,
         kDownloadDialog},
        {Flow::DeletePlu, "frmMain", {"cmdDel", "menuDeletePlu"}, 2, Where::Current, {"25"}, Marking::None, "", "",
         false, false, kPluFlow | kDeleteCaptions},
        {Flow::UploadCmd, "frmMain", {"cmdUpload"}, 1, Where::Current, {"25"}, Marking::None, "", "", false, false,
         kAskSavePLU},
        {Flow::UploadMenu, "frmMain", {"menuUpLoad"}, 1, Where::Current, {"25"}, Marking::None, "", "", false, false,
         kAskSavePLU},
        {Flow::DownloadDept, "frmMain", {"menuDownloadDept", "popmenuDownloadDept"}, 0, Where::Current, {"20"},
         Marking::StoreRows, "KVR_20", "", false, false, kAskSavePLU},
        {Flow::DownloadMG, "frmMain", {"menuDownloadMG", "popmenuDownloadMG"}, 0, Where::Current, {"23"},
         Marking::StoreRows, "KVR_23", "", false, false, kAskSavePLU},
        {Flow::FlexiDownload, "frmFlexiBarcode", {"cmdDownload"}, 0, Where::Current, {"14"}, Marking::StoreRows,
         "KVR_14", "", false, false, 0},
        {Flow::ReportUpload, "frmExportReportData", {"cmdUpload"}, 1, Where::StoreOneSectionZero, {}, Marking::None,
         "", "", true, false, kAfter},
        {Flow::LabelDownload, "frmLabelFormat", {"cmdDownload"}, 0, Where::Current, {"34"}, Marking::AllRows,
         "KVR_34", "", false, false, kAskUnsaved},
        {Flow::LabelUpload, "frmLabelFormat", {"cmdUpload"}, 1, Where::Current, {"34"}, Marking::None, "", "", false,
         false, kAskUnsaved | kAfter},
        {Flow::PresetKeySend, "frmPresetKey", {"cmdUpload"}, 0, Where::ScaleRow, {"41"}, Marking::Query, "KVR_41",
         "Select * from KVR_41 where Scale_IP='{ip}' and PSK_Layout={layout} ORDER BY Number", false, true, 0},
        {Flow::ScrollDownloadM, "frmScrollMSG", {"cmdDownloadM"}, 0, Where::Current, {"3F"}, Marking::Query, "KVR_3F",
         "Select * from KVR_3F ORDER BY Number", false, true, kSaveBefore},
        {Flow::ScrollDownloadS, "frmScrollMSG", {"cmdDownloadS"}, 0, Where::Current, {"40"}, Marking::Query, "KVR_40",
         "Select * from KVR_40  Where Number={number}", false, true, kSaveBefore},
        {Flow::ImageSend, "frmImage", {"cmdSend"}, 0, Where::Current, {"37"}, Marking::Query, "KVR_37",
         "Select * from KVR_37", false, true, 0},
        {Flow::ImageDelete, "frmImage", {"cmdDelete"}, 2, Where::Current, {"37"}, Marking::None, "", "", false, false,
         0},
        {Flow::LogoSend, "frmLogo", {"cmdSend"}, 0, Where::Current, {"36"}, Marking::Query, "KVR_36",
         "Select * from KVR_36", false, true, 0},
        {Flow::DateTime, "frmOtherFile", {"cmdDTTM"}, 0, Where::Current, {"4E"}, Marking::DateTime, "KVR_4E", "",
         false, false, 0},
        {Flow::OtherFileSend, "frmOtherFile", {"cmdSend"}, 0, Where::Current, {}, Marking::None, "", "", false, false,
         0},
        {Flow::ReportFormatFN, "frmReportFormat", {"cmdDownloadFN"}, 0, Where::Current, {"AA"}, Marking::AllRows,
         "KVR_AA", "", false, false, kAskUnsaved},
        {Flow::ReportFormatSN, "frmReportFormat", {"cmdDownloadSN"}, 0, Where::Current, {"AB"}, Marking::AllRows,
         "KVR_AB", "", false, false, kAskUnsaved | kCheckBefore},
    };
    return rows;
}

std::string replaceAll(std::string s, const std::string& from, const std::string& to) {
    for (size_t at = s.find(from); at != std::string::npos; at = s.find(from, at + to.size()))
        s.replace(at, from.size(), to);
    return s;
}

// SQL text quoting for the one value the flows splice into a query.
std::string quoted(const std::string& s) { return replaceAll(s, "'", "''"); }

uint8_t bcd(int v) { return uint8_t(((v / 10) % 10) << 4 | (v % 10)); }

// Rows whose Is_Selected the flow set; cleared on every way out when the row says so.
struct MarkGuard {
    std::function<void()> clear;
    ~MarkGuard() {
        if (clear) {
            try {
                clear();
            } catch (...) {
                // The transfer's own outcome is what the caller hears about.
            }
        }
    }
};

}  // namespace

const std::vector<FlowRow>& flowTable() { return buildTable(); }

const FlowRow& flowRow(Flow flow) {
    for (const auto& r : flowTable())
        if (r.flow == flow) return r;
    throw std::logic_error("flow without a row");
}

const FlowRow* flowOf(const std::string& window, const std::string& control) {
    for (const auto& r : flowTable()) {
        if (window != r.window) continue;
        for (const char* c : r.controls)
            if (control == c) return &r;
    }
    return nullptr;
}

void selectStoreRows(store::Database& db, const std::string& table, int currentStore) {
    if (table == "KVR_20" || table == "KVR_23") {
        auto st = db.prepare("UPDATE " + table + " SET Is_Selected = (CASE WHEN ST_No = ?1 THEN 1 ELSE 0 END)");
        st->bind(1, store::Value(int64_t(currentStore)));
        st->step();
    } else if (table == "KVR_14") {
        db.exec("UPDATE KVR_14 SET Is_Selected = 1");
    }
}

RefreshResult refreshSelectedPlus(store::Database& db, const codec::CodecEnvironment& env,
                                  const std::function<void(long, long)>& progress) {
    RefreshResult out;
    store::PackProgress tick;
    if (progress) {
        auto last = std::chrono::steady_clock::now();
        tick = [&progress, last](long done, long total) mutable {
            const auto now = std::chrono::steady_clock::now();
            if (done == total || now - last >= std::chrono::milliseconds(50)) {
                last = now;
                progress(done, total);
            }
        };
    }
    const store::PluPackResult r = store::packPluRows(db, env, "Is_Selected = 1", true, tick);
    out.packed = r.packed;
    for (const auto& p : r.problems) out.problems.push_back({p.rowid, p.PLU_No, p.column, p.reason});
    return out;
}

void setTransferTarget(KVRDataTrans& control, const std::string& databasePath, int store, int section, int mode) {
    control.setDatabasePath(databasePath);
    control.setStoreNumber(store);
    control.setSectionNumber(section);
    control.setTransferMode(mode);
}

void startTransfer(KVRDataTrans& control, const std::vector<std::string>& identifiers,
                   const std::string& languageText) {
    control.setTableList(identifiers);
    control.setLanguageText(languageText);
    control.StartTransfer();
}

std::vector<uint8_t> dateTimeRecord(const std::tm& t) {
    std::vector<uint8_t> b(14, 0);
    b[3] = 0xFF;
    b[5] = 0x0E;
    b[7] = bcd(t.tm_mday);
    b[8] = bcd(t.tm_mon + 1);
    b[9] = bcd((t.tm_year + 1900) % 100);
    b[12] = bcd(t.tm_hour);
    b[13] = bcd(t.tm_min);
    return b;
}

std::vector<std::string> otherFileIdentifiers(const std::vector<std::string>& ticked) {
    static const std::vector<std::pair<const char*, const char*>> boxes = {
        {"chkText", "38"}, {"chkPlace", "39"}, {"chkIng", "3A"},       {"chkSmsg", "3B"},
        {"chkAdv", "3C"},  {"chkSname", "3D"}, {"chkContainer", "DF"}};
    std::vector<std::string> out;
    for (const auto& [box, id] : boxes)
        for (const auto& t : ticked)
            if (t == box) {
                out.push_back(id);
                break;
            }
    return out;
}

FlowSession::FlowSession(store::Database& db, KVRDataTrans& control, FlowState& state, const FlowContext& ctx,
                         const FlowHooks& hooks)
    : db_(db), control_(control), state_(state), ctx_(ctx), hooks_(hooks) {}

void FlowSession::events() {
    if (hooks_.processEvents) hooks_.processEvents();
}

bool FlowSession::placeOf(const FlowRow& row, FlowOutcome& out) {
    switch (row.where) {
        case Where::Current:
            out.store = ctx_.currentStore;
            out.section = ctx_.currentSection;
            break;
        case Where::StoreOneSectionZero:
            out.store = ctx_.reportStore;
            out.section = 0;
            break;
        case Where::ScaleRow: {
            auto st = db_.prepare("SELECT ST_No, SECT_No FROM SCALE WHERE SC_IP = ?1");
            st->bind(1, store::Value(ctx_.currentScaleIP));
            if (!st->step()) {
                out.end = FlowEnd::NoScaleRow;
                out.message = "no scale has the address \"" + ctx_.currentScaleIP + "\"";
                return false;
            }
            out.store = int(st->columnInt(0));
            out.section = int(st->columnInt(1));
            break;
        }
    }
    // Checked before anything is marked or sent: a number the control cannot take ends the flow
    // with nothing changed.
    for (auto [what, value] : {std::pair<const char*, int>{"store", out.store}, {"section", out.section}}) {
        if (value < 0 || value > 255) {
            out.end = FlowEnd::Overflow;
            out.message = std::string(what) + " number " + std::to_string(value) + " is outside 0 to 255";
            return false;
        }
    }
    return true;
}

std::vector<int64_t> FlowSession::mark(const FlowRow& row) {
    std::vector<int64_t> marked;
    switch (row.marking) {
        case Marking::None: break;
        case Marking::AllRows: db_.exec(std::string("UPDATE ") + row.markTable + " SET Is_Selected = 1"); break;
        case Marking::StoreRows: selectStoreRows(db_, row.markTable, ctx_.currentStore); break;
        case Marking::DateTime: writeDateTime(); break;
        case Marking::Query: {
            std::string sql = row.markSelect;
            sql = replaceAll(sql, "{ip}", quoted(ctx_.currentScaleIP));
            sql = replaceAll(sql, "{layout}", std::to_string(ctx_.presetLayout));
            sql = replaceAll(sql, "{number}", std::to_string(ctx_.scrollSequence));
            sql = replaceAll(sql, "Select * from", "SELECT rowid FROM");
            {
                auto st = db_.prepare(sql);
                while (st->step()) marked.push_back(st->columnInt(0));
            }
            setMarks(row.markTable, marked, 1);
            break;
        }
    }
    return marked;
}

void FlowSession::setMarks(const std::string& table, const std::vector<int64_t>& rowids, int value) {
    store::Transaction tx(db_);
    auto& up = db_.cached("UPDATE " + table + " SET Is_Selected = ?2 WHERE rowid = ?1");
    for (int64_t id : rowids) {
        up.bind(1, store::Value(id));
        up.bind(2, store::Value(int64_t(value)));
        up.step();
        up.reset();
    }
    tx.commit();
}

void FlowSession::writeDateTime() {
    std::tm now{};
    if (ctx_.clock) {
        now = ctx_.clock();
    } else {
        const std::time_t t = std::time(nullptr);
        localtime_r(&t, &now);
    }
    const std::vector<uint8_t> rec = dateTimeRecord(now);
    store::Transaction tx(db_);
    db_.exec("DELETE FROM KVR_4E");
    auto st = db_.prepare("INSERT INTO KVR_4E (SF_No, KVRBinData, Is_Selected) VALUES (1, ?1, 1)");
    st->bind(1, store::Value(store::Bytes(rec.begin(), rec.end())));
    st->step();
    tx.commit();
}

RefreshResult FlowSession::firstActivation(const std::function<void(long, long)>& progress) {
    RefreshResult r;
    if (!state_.skipRefreshFlag && ctx_.env) {
        note("refresh");
        r = refreshSelectedPlus(db_, *ctx_.env, progress);
        heldBack_ = r.problems;
    }
    state_.skipRefreshFlag = 0;
    return r;
}

void FlowSession::ok(bool dept, bool mg) {
    note("ok");
    if (dept) {
        state_.collection.push_back("20");
        selectStoreRows(db_, "KVR_20", ctx_.currentStore);
    }
    if (mg) {
        state_.collection.push_back("23");
        selectStoreRows(db_, "KVR_23", ctx_.currentStore);
    }
    state_.cancelFlag = 0;
}

void FlowSession::cancel() {
    note("cancel");
    state_.cancelFlag = 1;
}

void FlowSession::showDownloadDialog(bool deleteCaptions) {
    deleteCaptions_ = deleteCaptions;
    heldBack_.clear();
    if (hooks_.downloadDialog) {
        note("downloadDialog");
        hooks_.downloadDialog(*this);
    } else {
        firstActivation();
        ok(false, false);
    }
}

void FlowSession::start(const FlowRow& row, FlowOutcome& out) {
    setTransferTarget(control_, ctx_.databasePath, out.store, out.section, row.mode);
    if (row.steps & kDownloadDialog) {
        showDownloadDialog((row.steps & kDeleteCaptions) != 0);
        if (row.flow == Flow::DownloadOne) {
            // The current row was marked before the dialog; if nothing is marked any more (the
            // dialog's refresh does not unmark, but another window may), mark it again. Twice is
            // enough: the second pass writes the mark itself.
            for (int pass = 0; pass < 2; ++pass) {
                auto st = db_.prepare("SELECT COUNT(*) FROM KVR_25 WHERE Is_Selected<>0");
                st->step();
                if (st->columnInt(0) > 0) break;
                setMarks("KVR_25", {ctx_.currentPluRowId}, 1);
            }
        }
    }
    events();
    out.identifiers = state_.collection;
    if ((row.steps & kDownloadDialog) && state_.cancelFlag != 0) {
        // The properties are set, the call is not made.
        control_.setTableList(state_.collection);
        control_.setLanguageText(ctx_.languageText);
        out.end = FlowEnd::Cancelled;
        return;
    }
    std::vector<int64_t> held;
    for (const auto& h : heldBack_) held.push_back(h.rowid);
    control_.setHeldBack("25", held);
    out.heldBack = heldBack_;
    note("StartTransfer");
    startTransfer(control_, state_.collection, ctx_.languageText);
    out.end = FlowEnd::Transferred;
}

void FlowSession::afterUpload(const FlowRow& row, FlowOutcome& out) {
    events();
    long count = 0;
    {
        // Fetched rows are read through a connection opened after the transfer, as the control
        // wrote them through its own.
        auto own = store::Database::open(db_.path());
        auto st = own->prepare("SELECT COUNT(*) FROM RC_25");
        st->step();
        count = long(st->columnInt(0));
    }
    out.fetched = count;
    if (count > 0) {
        if (hooks_.mainEnabled) hooks_.mainEnabled(false);
        note("review");
        if (hooks_.review) hooks_.review(count);
        out.reviewed = true;
        if (row.flow == Flow::UploadMenu && hooks_.mainEnabled) hooks_.mainEnabled(true);
        db_.exec("DELETE FROM RC_25");
        events();
    }
    if (row.flow == Flow::UploadCmd && out.reviewed) {
        db_.exec("UPDATE KVR_25 SET Is_Selected = 0 WHERE Is_Selected<>0");
        note("refreshList");
        if (hooks_.refreshList) hooks_.refreshList();
        if (hooks_.mainEnabled) hooks_.mainEnabled(true);
    }
    if (row.flow == Flow::UploadMenu) {
        note("refreshList");
        if (hooks_.refreshList) hooks_.refreshList();
    }
}

void FlowSession::downloadOne(FlowOutcome& out) {
    const FlowRow& row = flowRow(Flow::DownloadOne);
    note("saveEditor");
    if (hooks_.saveEditor && !hooks_.saveEditor()) return;
    const int64_t id = ctx_.currentPluRowId;
    setMarks("KVR_25", {id}, 1);
    events();
    // Whatever happens from here, the current row's mark goes and the list is shown again.
    MarkGuard guard{[this, id] {
                        setMarks("KVR_25", {id}, 0);
                        if (hooks_.clearPluEdited) hooks_.clearPluEdited();
                        note("refreshList");
                        if (hooks_.refreshList) hooks_.refreshList();
                    }};
    if (ctx_.env) store::packPluRows(db_, *ctx_.env, "rowid = " + std::to_string(id), true);
    state_.collection = row.identifiers;
    start(row, out);
}

FlowOutcome FlowSession::run(Flow flow) {
    const FlowRow& row = flowRow(flow);
    FlowOutcome out;
    trace_.clear();
    try {
        if (row.steps & kAskSavePLU) {
            note("askSavePLU");
            if (hooks_.askSavePLU && hooks_.askSavePLU() == 3) return out;
        }
        if (row.steps & kAskUnsaved) {
            note("askUnsaved");
            if (hooks_.askUnsaved && !hooks_.askUnsaved()) return out;
        }
        if (row.steps & kSaveBefore) {
            note("saveBefore");
            if (hooks_.saveBefore && !hooks_.saveBefore()) return out;
        }
        if (row.steps & kCheckBefore) {
            note("checkBefore");
            if (hooks_.checkBefore && !hooks_.checkBefore()) return out;
        }
        if (!placeOf(row, out)) return out;
        if (flow == Flow::DownloadOne) {
            downloadOne(out);
            return out;
        }
        if (row.emptyIncomingBefore)
            for (const auto& id : ctx_.identifiers) db_.exec("DELETE FROM RC_" + id);
        if (flow == Flow::DeletePlu) state_.skipRefreshFlag = 1;
        const std::vector<int64_t> marked = mark(row);
        MarkGuard guard{};
        if (row.clearAfter) guard.clear = [this, &row, marked] { setMarks(row.markTable, marked, 0); };
        state_.collection = row.identifiers.empty() ? ctx_.identifiers : row.identifiers;
        start(row, out);
        if (out.end != FlowEnd::Transferred) return out;
        if (flow == Flow::UploadCmd || flow == Flow::UploadMenu) afterUpload(row, out);
        if (row.steps & kAfter) {
            note("after");
            if (hooks_.after) hooks_.after();
        }
    } catch (const TransferOverflow& e) {
        out.end = FlowEnd::Overflow;
        out.message = e.what();
    } catch (const std::exception& e) {
        out.end = FlowEnd::Failed;
        out.message = e.what();
    }
    return out;
}

FlowOutcome runFlow(Flow flow, store::Database& db, KVRDataTrans& control, FlowState& state, const FlowContext& ctx,
                    const FlowHooks& hooks) {
    FlowSession s(db, control, state, ctx, hooks);
    return s.run(flow);
}

}  // namespace brindale::transfer
