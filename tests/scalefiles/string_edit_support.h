#pragma once
// A program state with the shipped language tables for the string editor's tests and pictures.
#include <memory>
#include <string>

#include "shell/program_state.h"
#include "support/temp_app.h"

namespace brindale::testing {

struct EditorState {
    std::unique_ptr<TempApp> dir = std::make_unique<TempApp>();
    shell::ProgramState state;

    explicit EditorState(const std::string& page = "CP1252", int countryIndex = 0, int scaleTypeIndex = 1,
                         int languageIndex = 0) {
        state.appDir = dir->dir();
        state.settings.CountryIndex = countryIndex;
        state.settings.ScaleTypeIndex = scaleTypeIndex;
        state.settings.LanguageIndex = languageIndex;
        state.lang.loadAll(state.appDir, state.settings.LanguageName());
        state.codePage = std::make_unique<codec::CodePage>(page);
    }
    std::string text(const char* section, const char* key) const { return state.text(section, key); }
};

}  // namespace brindale::testing
