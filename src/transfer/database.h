// The engine's own connection to the working database: which scales to
// talk to, which rows to send, and where fetched records go.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "transfer/protocol.h"

struct sqlite3;

namespace brindale::transfer {

struct ScaleRow {
    std::string paddedAddress;  // SC_IP as stored
    std::string name;           // SC_No
    int section = 0;            // SECT_No
};

struct SelectedRow {
    int64_t rowid = 0;
    bool isNull = true;
    std::vector<uint8_t> bytes;
};

// Turns the Windows-like path callers give ("<app>\database\Brindale1.mdb")
// into a real one: "\" becomes "/", and each part that does not exist as
// spelt is matched without regard to case against its folder's entries.
std::string resolveDatabasePath(const std::string& given);

class WorkingDb {
public:
    WorkingDb() = default;
    ~WorkingDb();
    WorkingDb(const WorkingDb&) = delete;
    WorkingDb& operator=(const WorkingDb&) = delete;

    // Opens an existing file for reading and writing; never creates one.
    bool open(const std::string& path, int busyTimeoutMs, std::string& error);
    void close();

    // Scales in use of a store; section 0 means every section of the store.
    bool readScales(int store, int section, std::vector<ScaleRow>& out, std::string& error);
    // Rows of KVR_<code> whose Is_Selected is non-zero, in table order.
    bool readSelected(const std::string& code, std::vector<SelectedRow>& out, std::string& error);
    // Rows a call added: rowid in (after, last].
    struct AddedRows {
        int64_t after = 0;
        int64_t last = 0;
    };
    // Adds one row per record to RC_<code> inside one transaction; on any
    // failure nothing of the call stays in the table. `added` tells which
    // rows the call made, so that they can be taken out again.
    bool insertRecords(const std::string& code, const std::vector<proto::RecordView>& records, std::string& error,
                       AddedRows* added = nullptr);
    // Takes the rows of earlier insertRecords calls out of RC_<code> again, in one transaction.
    bool removeAdded(const std::string& code, const std::vector<AddedRows>& added, std::string& error);
    bool tableExists(const std::string& table);

private:
    bool exec(const char* sql, std::string& error);
    sqlite3* db_ = nullptr;
};

}  // namespace brindale::transfer
