#include "lifecycle.h"

#include <filesystem>

#include "paths.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "store/mirror_code_page.h"
#include "store/rebuild.h"
#include "store/recordset.h"
#include "store/small_record_builder.h"

namespace fs = std::filesystem;

namespace brindale::shell {

bool checkSourceFiles(const std::string& appDir) {
    std::error_code ec;
    for (const char* f : {kLanguageFile, kParameterFile, kSettingsFile})
        if (!fs::is_regular_file(joinPath(appDir, f), ec)) return false;
    return true;
}

std::string fillIn(std::string text, const std::vector<std::string>& values) {
    // From the highest number down, so that %1 does not take the front of a %10.
    for (size_t i = values.size(); i-- > 0;) {
        const std::string mark = "%" + std::to_string(i + 1);
        for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + values[i].size()))
            text.replace(at, mark.size(), values[i]);
    }
    return text;
}

namespace {

// "Department 12 (DP_Name)": the caption of the item's kind, its number and the column.
std::string describe(const ProgramState& state, const store::TextNotHeld& t) {
    std::string kind;
    if (t.table == "KVR_20") kind = state.text("frmMain_Menu", "menuDept");
    else if (t.table == "KVR_23") kind = state.text("frmMain_Menu", "menuMg");
    else if (t.table == "KVR_25") kind = state.text("frmMain_Menu", "menuPlu");
    else if (t.table == "KVR_3F") kind = state.text("frmMain_Menu", "menuScrollMSG");
    else if (t.table == "KVR_41") kind = state.text("frmMain_Menu", "menuEditPresetKey");
    else kind = state.text("frmMain_Menu", "menuEditOtherFiles");
    if (kind.empty()) kind = t.table;
    return kind + " " + std::to_string(t.number) + " (" + t.column + ")";
}

// A mirror written in another page than the system language's: the run goes over to the
// system's page when every record text can go with it, and keeps the recorded page otherwise.
// Either way the operator is told which page the scales get from now on.
void settleCodePage(ProgramState& state, const std::string& recorded) {
    const std::string system = state.systemCodePageName();
    if (recorded == system) return;
    auto target = std::make_unique<codec::CodePage>(system);
    if (const auto blocker = store::firstTextNotHeld(*state.Conn, *state.codePage, *target)) {
        state.startNotices.push_back(fillIn(state.text("msgbox", "codepageKept"),
                                            {recorded, system, describe(state, *blocker), blocker->character}));
        return;
    }
    state.codePage = std::move(target);
    // The department and main group records were kept in the old page: made anew in the new one,
    // so that the scales and the next start read the same names.
    for (const char* table : {"KVR_20", "KVR_23"}) {
        store::Transaction tx(*state.Conn);
        for (store::Recordset rs(*state.Conn, table); !rs.eof(); rs.moveNext()) {
            store::buildSmallRecord(*state.codePage, table, rs);
            rs.update();
        }
        tx.commit();
    }
    state.startNotices.push_back(fillIn(state.text("msgbox", "codepageSwitch"), {recorded, system}));
}

}  // namespace

StartResult runStartup(ProgramState& state, LifecycleView& view) {
    view.setLabel(kLoadingSettingText);
    view.repaint();
    if (!checkSourceFiles(state.appDir)) return StartResult::MissingSourceFile;

    state.settings = readSettings(state.path(kSettingsFile));
    view.repaint();

    const std::string lang = state.settings.LanguageName();
    state.lang.clear();
    state.lang.loadOne(state.path(kLanguageFile), lang, "frm_OTHER");
    view.setLabel(state.text("frm_OTHER", "loadSHOW2"));
    view.repaint();

    state.lang.loadAll(state.appDir, lang, [&] { view.repaint(); });
    view.setLabel(state.text("frm_OTHER", "loadSHOW3"));
    view.repaint();

    // An end that was interrupted is settled first, so that the page read below is the one of
    // the set that stands.
    store::recoverMirror(state.appDir);
    if (store::isRecoverableDatabase(state.path(kSchemaFile), state.databasePath())) {
        switch (view.askRecover()) {
            case LifecycleView::Recover::Yes:
                try {
                    recoverLeftDatabase(state, view);
                } catch (const store::MirrorError& e) {
                    // Something of the left run cannot be written out as it stands (a PLU without
                    // any good record): the run goes on in that database, so that the operator
                    // can correct it, and its end writes the mirror.
                    state.connectionString = state.databasePath();
                    state.Conn = store::linkDatabase(state.databasePath());
                    if (!state.Conn || !state.Conn->isOpen()) throw;
                    state.startNotices.clear();
                    state.startNotices.push_back(std::string(e.what()) + "\n\n" + state.text("msgbox", "recoverOpen"));
                    return StartResult::Ok;
                }
                break;
            case LifecycleView::Recover::No: break;  // the rebuild deletes it
            case LifecycleView::Recover::Stop: return StartResult::Stopped;
        }
    }

    // The page the mirror's records were written in. A damaged record of it stops the start
    // here, before the database is made.
    const std::optional<std::string> recordedPage = store::readMirrorCodePage(state.path(kMirrorFolder));
    state.startNotices.clear();

    // Without the schema text nothing is made, and no database is linked: not even one a crash
    // left behind, which would take the mirror's rows a second time.
    if (store::rebuildDatabase(state.path(kSchemaFile), state.databasePath(), 0) != 0) return StartResult::LinkFailed;
    try {
        state.connectionString = state.databasePath();
        state.Conn = store::linkDatabase(state.databasePath());
        if (!state.Conn || !state.Conn->isOpen()) {
            state.closeDatabase();
            return StartResult::LinkFailed;
        }

        // The records are read in the page they were written in.
        state.codePage.reset();
        if (recordedPage) state.codePage = std::make_unique<codec::CodePage>(*recordedPage);
        state.prepareCodec();
        const codec::CodecEnvironment env = state.codecEnvironment();
        store::MirrorOptions options;
        options.env = &env;
        options.progress = [&](long done, long total) { view.progress(done, total); };
        store::readMirror(*state.Conn, state.appDir, options);
        view.progress(0, 0);
        if (recordedPage) settleCodePage(state, *recordedPage);
        store::markDatabaseComplete(*state.Conn);
    } catch (...) {
        // The database this start made holds nothing the mirror does not: it goes, so that the
        // folder is as it was and the next start is not offered a half-filled database.
        state.closeDatabase();
        std::error_code ec;
        fs::remove(state.databasePath(), ec);
        throw;
    }
    return StartResult::Ok;
}

void recoverLeftDatabase(ProgramState& state, LifecycleView& view) {
    std::unique_ptr<store::Database> left = store::Database::open(state.databasePath());
    if (!left || !left->isOpen()) throw FatalError(state.databasePath(), 0, "the left working database cannot be opened");
    // The left run wrote its records in the page its mirror records (or the system's, without one).
    state.codePage.reset();
    if (auto page = store::readMirrorCodePage(state.path(kMirrorFolder)))
        state.codePage = std::make_unique<codec::CodePage>(*page);
    state.prepareCodec();
    const codec::CodecEnvironment env = state.codecEnvironment();
    store::MirrorOptions options;
    options.env = &env;
    options.progress = [&](long done, long total) { view.progress(done, total); };
    store::writeMirror(*left, state.appDir, options);
    view.progress(0, 0);
}

std::vector<std::string> endProgram(ProgramState& state, LifecycleView& view) {
    view.repaint();
    std::vector<std::string> warnings;
    std::error_code ec;
    // A connection lost during the run (a refresh that could not reopen the file) is tried once
    // more: the database holds the run's work, and it goes only once the mirror holds it.
    if (!state.Conn && fs::exists(state.databasePath(), ec)) {
        try {
            state.Conn = store::linkDatabase(state.databasePath());
        } catch (const std::exception&) {
            state.Conn.reset();
        }
    }
    bool written = false;
    if (state.Conn && state.Conn->isOpen()) {
        if (!state.codePage) state.prepareCodec();
        const codec::CodecEnvironment env = state.codecEnvironment();
        store::MirrorOptions options;
        options.env = &env;
        options.progress = [&](long done, long total) { view.progress(done, total); };
        if (view.asksAboutKeptRecords())
            options.confirmKeptRecords = [&](const std::vector<store::PluPackProblem>& p) {
                return view.confirmKeptRecords(p);
            };
        warnings = store::writeMirror(*state.Conn, state.appDir, options).warnings;
        written = true;
    } else if (fs::exists(state.databasePath(), ec)) {
        warnings.push_back(state.databasePath() +
                           ": the working database could not be opened; it is kept, and the next start offers "
                           "to recover it");
    }
    state.closeDatabase();
    state.lang.clear();
    if (written) fs::remove(state.databasePath(), ec);
    return warnings;
}

}  // namespace brindale::shell
