#pragma once
// Application folders for the hierarchy tests.
//
// The shipped ini/ and Database/ABC1.txt are used when the source tree has them. Until they are
// there, STAND-IN files are written instead: the hierarchy tables of the schema and the language
// sections these windows read, with plain English texts. Tests look texts up by key, never by
// their wording, so they pass against either.
#include <memory>
#include <string>

#include "store/database.h"
#include "support/temp_app.h"

namespace brindale::testing {

// True when ini/Language1.ini, ini/ParameterPLU1.ini, ini/SETTING1.cfg and Database/ABC1.txt
// are in the source tree.
bool shippedFilesPresent();

// The hierarchy tables as the schema text declares them (stand-in).
const char* standInSchema();

// A temporary application folder with the schema (shipped or stand-in) and, when `withIni`,
// the language, parameter and settings files (shipped or stand-in).
std::unique_ptr<TempApp> makeHierarchyApp(bool withIni);

// The working database made from the folder's schema text and opened.
std::unique_ptr<store::Database> makeDatabase(const TempApp& app);

}  // namespace brindale::testing
