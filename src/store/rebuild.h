#pragma once
// Making the empty working database from the schema text, and opening it.
#include <memory>
#include <string>

#include "database.h"

namespace brindale::store {

// The name used while the new database is being made: the database's name with its last four
// characters replaced by "_.mdb".
std::string temporaryDatabasePath(const std::string& databasePath);

// Mode 0: any existing database is deleted and a new empty one is made from the schema text.
// Returns 1 when the schema text does not exist (nothing is done), 0 when done.
// A damaged schema text or a database left over together with a temporary file is a FatalError
// raised before any file is touched.
int rebuildDatabase(const std::string& schemaPath, const std::string& databasePath, int mode = 0);

// Opens the working database; nullptr when it cannot be opened (the caller reports it).
std::unique_ptr<Database> linkDatabase(const std::string& databasePath);

}  // namespace brindale::store
