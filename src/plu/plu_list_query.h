#pragma once
// The query behind the PLU list: which rows of KVR_25 a node of the tree lists, always in number
// order. The texts are composed piece by piece as the list has always built them, so that a saved
// query reads the same in every version.
#include <string>

#include "store/database.h"

namespace brindale::plu {

// The tree node kinds the list knows. Any node of the store view (store, section, machine)
// lists its store.
enum PluNodeKind : int { NodeStore = 0, NodeDepartment = 1, NodeMainGroup = 2, NodeSearchSet = 3 };

// fillPLUList's query text for the node. A department's main groups and a search set's ranges
// are read from the database; a search set without its row takes 0 for every bound (an empty
// list rather than the whole store).
std::string pluListQuery(store::Database& db, int nodeKind, int storeNo, int nodeNo);

// The same rows with other columns: `columns` replaces the "*" of a query made above, and the
// number order is kept (names for the find, the row ids).
std::string pluListSelect(const std::string& query, const std::string& columns);

// The number of rows of the query that are marked (Is_Selected not 0).
std::string pluListMarkedCount(const std::string& query);

// The index that keeps the list's number order cheap at any size of chain. Made once the mirror
// is in (the schema text has no indexes); a second call does nothing.
void ensurePluListIndex(store::Database& db);

}  // namespace brindale::plu
