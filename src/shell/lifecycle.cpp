#include "lifecycle.h"

#include <filesystem>

#include "paths.h"
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
    return StartResult::Ok;
}

void endProgram(ProgramState& state, LifecycleView& view) {
    view.repaint();
    state.closeDatabase();
    state.lang.clear();
    std::error_code ec;
    fs::remove(state.databasePath(), ec);
}

}  // namespace brindale::shell
