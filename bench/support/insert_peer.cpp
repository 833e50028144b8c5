#include "insert_peer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "store/rebuild.h"

namespace fs = std::filesystem;

namespace brindale::bench {

bool sqliteInsertPeer(const std::string& schemaPath, const std::string& dir, const RecordSource& records,
                      int rowsPerInsert, InsertPeerFigures& out) {
    const std::string db = dir + "/peer.mdb", script = dir + "/peer.sql";
    std::error_code ec;
    fs::remove(db, ec);
    if (store::rebuildDatabase(schemaPath, db, 0) != 0) return false;
    {
        FILE* f = std::fopen(script.c_str(), "w");
        if (!f) return false;
        std::fputs("PRAGMA synchronous=OFF;\nPRAGMA cache_size=-32768;\nBEGIN;\n", f);
        static const char hex[] = "0123456789ABCDEF";
        std::string line;
        int inStatement = 0;
        records([&](const uint8_t* data, size_t size) {
            line.assign(inStatement == 0 ? "INSERT INTO RC_25 (KVRBinData) VALUES (X'" : ",(X'");
            for (size_t i = 0; i < size; ++i) {
                line += hex[data[i] >> 4];
                line += hex[data[i] & 15];
            }
            line += "')";
            if (++inStatement >= rowsPerInsert) {
                line += ";";
                inStatement = 0;
            }
            line += "\n";
            std::fwrite(line.data(), 1, line.size(), f);
        });
        if (inStatement > 0) std::fputs(";\n", f);
        std::fputs("COMMIT;\n", f);
        if (std::fclose(f) != 0) return false;
    }
    out.scriptMegabytes = double(fs::file_size(script, ec)) / 1e6;
    const auto t0 = std::chrono::steady_clock::now();
    const std::string run = "sqlite3 -bail '" + db + "' < '" + script + "'";
    if (std::system(run.c_str()) != 0) return false;
    out.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const std::string count = "sqlite3 '" + db + "' 'SELECT count(*) FROM RC_25'";
    if (FILE* p = popen(count.c_str(), "r")) {
        if (std::fscanf(p, "%lld", &out.rows) != 1) out.rows = -1;
        pclose(p);
    }
    fs::remove(script, ec);
    fs::remove(db, ec);
    return out.rows >= 0;
}

}  // namespace brindale::bench
