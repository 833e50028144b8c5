#pragma once
// The sqlite3 client doing the same work as the program, as the peer its figures stand beside:
// the decoded PLU table exported to CSV and imported into an empty table.
#include <string>

namespace brindale::bench {

struct PeerFigures {
    double importSeconds = 0;  // .import --csv of the decoded KVR_25 into an empty table
    double exportSeconds = 0;  // the CSV export of the same table plus sync -f
    double csvMegabytes = 0;
};

// `app` is an application folder whose Database/Brindale1.mdb holds the started chain (the
// program's working database, closed). Runs the sqlite3 client; false when it fails.
bool sqlitePeer(const std::string& app, PeerFigures& out);

}  // namespace brindale::bench
