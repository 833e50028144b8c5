#include "lifecycle.h"

#include <filesystem>

#include "paths.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "store/rebuild.h"

namespace fs = std::filesystem;

namespace brindale::shell {

bool checkSourceFiles(const std::string& appDir) {
    std::error_code ec;
    for (const char* f : {kLanguageFile, kParameterFile, kSettingsFile})
        if (!fs::is_regular_file(joinPath(appDir, f), ec)) return false;
    return true;
}

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

    if (store::isRecoverableDatabase(state.path(kSchemaFile), state.databasePath())) {
        switch (view.askRecover()) {
            case LifecycleView::Recover::Yes: recoverLeftDatabase(state, view); break;
            case LifecycleView::Recover::No: break;  // the rebuild deletes it
            case LifecycleView::Recover::Stop: return StartResult::Stopped;
        }
    }

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

        state.prepareCodec();
        const codec::CodecEnvironment env = state.codecEnvironment();
        store::MirrorOptions options;
        options.env = &env;
        options.progress = [&](long done, long total) { view.progress(done, total); };
        store::readMirror(*state.Conn, state.appDir, options);
        store::markDatabaseComplete(*state.Conn);
        view.progress(0, 0);
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
    if (state.Conn) {
        if (!state.codePage) state.prepareCodec();
        const codec::CodecEnvironment env = state.codecEnvironment();
        store::MirrorOptions options;
        options.env = &env;
        options.progress = [&](long done, long total) { view.progress(done, total); };
        warnings = store::writeMirror(*state.Conn, state.appDir, options).warnings;
    }
    state.closeDatabase();
    state.lang.clear();
    std::error_code ec;
    fs::remove(state.databasePath(), ec);
    return warnings;
}

}  // namespace brindale::shell
