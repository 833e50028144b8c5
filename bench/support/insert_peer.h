#pragma once
// The sqlite3 client inserting fetched records into RC_25 of a fresh working database, as the peer
// of the upload's insert: one script of one transaction, one INSERT per record or many records to
// an INSERT.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace brindale::bench {

struct InsertPeerFigures {
    double seconds = 0;        // the client alone, from its start to its exit
    double scriptMegabytes = 0;
    long long rows = 0;        // rows in RC_25 afterwards, counted by the client
};

// Calls its argument once per record.
using RecordSink = std::function<void(const uint8_t* data, size_t size)>;
using RecordSource = std::function<void(const RecordSink& sink)>;

// Builds `dir`/peer.mdb from the schema text (the program's own rebuild), writes the script to
// `dir`/peer.sql first, then times `sqlite3 peer.mdb < peer.sql`. The script sets the pragmas the
// engine's connection uses (synchronous off, the same page cache), so that only the inserting
// differs. `rowsPerInsert` records go to one INSERT ... VALUES (...),(...). Removes both files.
// False when a step fails.
bool sqliteInsertPeer(const std::string& schemaPath, const std::string& dir, const RecordSource& records,
                      int rowsPerInsert, InsertPeerFigures& out);

}  // namespace brindale::bench
