#pragma once
// Application folders for the hierarchy tests: the shipped ini/ and Database/ABC1.txt in a
// temporary folder. Tests look texts up by key, never by their wording.
#include <memory>
#include <string>

#include "store/database.h"
#include "support/temp_app.h"

namespace brindale::testing {

// A temporary application folder with the shipped schema and, when `withIni`, the shipped
// language, parameter and settings files.
std::unique_ptr<TempApp> makeHierarchyApp(bool withIni);

// The working database made from the folder's schema text and opened.
std::unique_ptr<store::Database> makeDatabase(const TempApp& app);

}  // namespace brindale::testing
