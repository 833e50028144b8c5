#pragma once
// Making the empty working database from the schema text, and opening it.
#include <memory>
#include <string>

#include "database.h"

namespace brindale::store {

// The name used while the new database is being made: the database's name with its last four
// characters replaced by "_.mdb".
std::string temporaryDatabasePath(const std::string& databasePath);

// The page size of the working database.
inline constexpr int kPageSize = 65536;

// Mode 0: any existing database is deleted and a new empty one is made from the schema text.
// Returns 1 when the schema text does not exist (nothing is done), 0 when done.
// A damaged schema text or a database left over together with a temporary file is a FatalError
// raised before any file is touched.
int rebuildDatabase(const std::string& schemaPath, const std::string& databasePath, int mode = 0);

// A working database whose start was complete carries this mark (its user_version), so that a
// database left by a crash can be told from one that a crash cut off while it was being filled.
inline constexpr int kCompleteDatabaseMark = 0x42524E31;
void markDatabaseComplete(Database& db);

// True when the working database left by a run that did not end is worth recovering: a whole
// SQLite file (integrity check passed) with the complete-start mark and every table of the
// schema text, and no temporary database beside it.
bool isRecoverableDatabase(const std::string& schemaPath, const std::string& databasePath);

// Opens the working database; nullptr when it cannot be opened (the caller reports it).
std::unique_ptr<Database> linkDatabase(const std::string& databasePath);

}  // namespace brindale::store
