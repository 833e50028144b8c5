#include "program_state.h"

#include "paths.h"

namespace brindale::shell {

std::string ProgramState::path(const std::string& relative) const { return joinPath(appDir, relative); }

std::string ProgramState::databasePath() const { return path(kDatabaseFile); }

std::string ProgramState::sectionText(const std::string& section) const {
    return getSectionText(path(kLanguageFile), settings.LanguageName(), section, "");
}

void ProgramState::closeDatabase() {
    RsWork.reset();
    RsPLU.reset();
    RsAux.reset();
    if (Conn) Conn->close();
    Conn.reset();
}

}  // namespace brindale::shell
