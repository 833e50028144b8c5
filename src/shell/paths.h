#pragma once
// Files of the application folder, relative to it, and where the application folder is.
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

// The shipped files of an installed program, relative to its bin/ folder.
inline constexpr const char* kSharedFolder = "../share/brindale";
// The per-user application folder's name under the user's data folder.
inline constexpr const char* kUserFolderName = "Brindale";
// What the per-user folder keeps of the shipped files it was made from: path and hash a line.
inline constexpr const char* kShippedManifest = ".shipped";

std::string joinPath(const std::string& dir, const std::string& relative);

// The application folder of a program in `exeDir`: `exeDir` itself when it holds ini/ and may be
// written (a build, a copy in a folder of its own); otherwise `<dataHome>/Brindale`, made at the
// first start from the shipped files (exeDir/../share/brindale) beside it, then renamed into
// place, with an empty AccessData. When the shipped files have changed since (a new version),
// files the user never changed are replaced, ini/SETTING1.cfg stays as it is, and a
// Language1.ini the user changed takes the new file with the user's <Other> values by section and
// key. A failure is a FatalError naming the file.
std::string resolveApplicationFolder(const std::string& exeDir, const std::string& dataHome);

// $XDG_DATA_HOME, or $HOME/.local/share when it is unset or empty (as the desktop's base folders
// define); empty when neither is known.
std::string userDataHome();

// The file's content hash (64-bit FNV-1a) in hexadecimal; empty when it cannot be read.
std::string fileHash(const std::string& path);

// The new shipped language table with the <Other> values of the user's one, by section and key.
std::string mergeOtherValues(const std::string& shipped, const std::string& users);

}  // namespace brindale::shell
