#pragma once
// Files of the application folder, relative to it.
#include <string>

namespace brindale::shell {

inline constexpr const char* kLanguageFile = "ini/Language1.ini";
inline constexpr const char* kParameterFile = "ini/ParameterPLU1.ini";
inline constexpr const char* kSettingsFile = "ini/SETTING1.cfg";
inline constexpr const char* kPresetKeyFile = "ini/PresetKey1.ini";
inline constexpr const char* kSchemaFile = "Database/ABC1.txt";
inline constexpr const char* kDatabaseFile = "Database/Brindale1.mdb";
inline constexpr const char* kMirrorFolder = "AccessData";
// The help's contents page in each language; the page of a form is <objectName>.html beside it.
inline constexpr const char* kHelpFileChinese = "help/zh/index.html";
inline constexpr const char* kHelpFileEnglish = "help/en/index.html";

std::string joinPath(const std::string& dir, const std::string& relative);

}  // namespace brindale::shell
