#include "sqlite_peer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "store/database.h"
#include "store/schema.h"

namespace fs = std::filesystem;

namespace brindale::bench {

namespace {
double since(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}
}  // namespace

bool sqlitePeer(const std::string& app, PeerFigures& out) {
    const std::string db = app + "/Database/Brindale1.mdb";
    std::string cols;
    {
        auto conn = store::Database::open(db);
        if (!conn) return false;
        const auto* t = conn->table("KVR_25");
        if (!t) return false;
        for (const auto& c : t->columns) {
            if (!cols.empty()) cols += ",";
            cols += c.isBytes() ? "hex(\"" + c.name + "\")" : "\"" + c.name + "\"";
        }
    }
    const std::string csv = app + "/plu.csv", empty = app + "/empty.db";
    auto t0 = std::chrono::steady_clock::now();
    const std::string dump = "sqlite3 -csv '" + db + "' 'SELECT " + cols + " FROM KVR_25' > '" + csv + "' && sync -f '" + csv + "'";
    if (std::system(dump.c_str()) != 0) return false;
    out.exportSeconds = since(t0);
    out.csvMegabytes = static_cast<double>(fs::file_size(csv)) / 1e6;
    store::Schema s = store::readSchemaFile(app + "/Database/ABC1.txt");
    {
        FILE* f = std::fopen((app + "/create.sql").c_str(), "w");
        if (!f) return false;
        std::fprintf(f, "%s;\n", store::createTableSql(*s.find("KVR_25")).c_str());
        std::fclose(f);
    }
    fs::remove(empty);
    const std::string create = "sqlite3 '" + empty + "' < '" + app + "/create.sql'";
    if (std::system(create.c_str()) != 0) return false;
    t0 = std::chrono::steady_clock::now();
    const std::string import = "sqlite3 '" + empty + "' '.import --csv " + csv + " KVR_25'";
    if (std::system(import.c_str()) != 0) return false;
    out.importSeconds = since(t0);
    fs::remove(csv);
    fs::remove(empty);
    fs::remove(app + "/create.sql");
    return true;
}

}  // namespace brindale::bench
