#include "lifecycle.h"

#include <filesystem>

#include "paths.h"
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

    store::rebuildDatabase(state.path(kSchemaFile), state.databasePath(), 0);

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
    view.progress(0, 0);
    return StartResult::Ok;
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
