// Transfer history: one row per scale and transfer in the table TRANSFER_LOG of the working
// database, written by the transfer control at the end of every transfer, and the query the
// history window reads. No widgets here.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "transfer/engine.h"
#include "transfer/language.h"

struct sqlite3;
struct sqlite3_stmt;

namespace brindale::transfer {

// The most rows the history keeps; the oldest go first.
constexpr int kTransferLogLimit = 50000;

struct TransferLogRow {
    int64_t id = 0;             // rowid, filled by the query
    std::string start;          // local time, "2024-05-01T14:03:22"
    int64_t durationMs = 0;
    int mode = 0;               // 0 download, 1 upload, 2 delete
    std::string tables;         // the identifiers as given, "25,20"
    int store = 0;
    int section = 0;
    std::string scaleName;      // SC_No; empty when no scale was reached
    std::string scaleAddress;   // SC_IP without its blanks
    std::string state;          // "Done", "Failed", "Cancelled" (keys of the transfer texts)
    std::string reason;         // "ErrRefused", ...; empty when none
    std::string detail;
    int64_t done = 0;
    int64_t toDo = 0;
    std::string notes;          // the summary's notes, "; " between them

    bool operator==(const TransferLogRow&) const = default;
};

// What the history window asks for. Dates are "YYYY-MM-DD", both ends included; empty: open.
struct TransferLogFilter {
    std::optional<std::pair<std::string, std::string>> scale;  // name and address
    std::string fromDate;
    std::string toDate;
};

struct TransferLogScale {
    std::string name;
    std::string address;
    bool operator==(const TransferLogScale&) const = default;
};

// The wall clock the history stamps its rows with; tests set their own.
using WallClock = std::function<std::chrono::system_clock::time_point()>;

// "YYYY-MM-DDTHH:MM:SS" in local time.
std::string isoLocalTime(std::chrono::system_clock::time_point t);

// The rows of one transfer: one per scale, or one when no scale was reached. Notes, and the
// reason a transfer did not start, are put in the given texts, as the summary showed them.
std::vector<TransferLogRow> transferLogRows(const TransferRequest& request, const TransferSummary& summary,
                                            const LanguageTexts& texts, const std::string& start,
                                            int64_t durationMs);

// Appends the rows in one transaction (all or none), then drops the oldest rows beyond `limit`.
// False with `error` set when anything failed; the table is then as it was.
bool appendTransferLog(sqlite3* db, const std::vector<TransferLogRow>& rows, std::string& error,
                       int limit = kTransferLogLimit);
// The same through a connection of its own to the database file (never created).
bool appendTransferLog(const std::string& databasePath, const std::vector<TransferLogRow>& rows,
                       std::string& error, int busyTimeoutMs = 2000, int limit = kTransferLogLimit);

// The indexes the window's queries use; made once, kept by the working database.
bool ensureTransferLogIndexes(sqlite3* db, std::string& error);

// Newest first (by start, then by the order of writing).
bool queryTransferLog(sqlite3* db, const TransferLogFilter& filter, std::vector<TransferLogRow>& out,
                      std::string& error);
// The same rows by row id only, from the indexes alone: what a view needs before it paints.
bool queryTransferLogIds(sqlite3* db, const TransferLogFilter& filter, std::vector<int64_t>& out,
                         std::string& error);

// Reads one row by its row id, with one statement kept for all of them.
class TransferLogReader {
public:
    explicit TransferLogReader(sqlite3* db) : db_(db) {}
    ~TransferLogReader();
    TransferLogReader(const TransferLogReader&) = delete;
    TransferLogReader& operator=(const TransferLogReader&) = delete;
    // False when the row is gone or cannot be read; `error` says which.
    bool read(int64_t id, TransferLogRow& out, std::string& error);

private:
    sqlite3* db_;
    sqlite3_stmt* st_ = nullptr;
};
// Every scale that has rows, by name and address.
bool transferLogScales(sqlite3* db, std::vector<TransferLogScale>& out, std::string& error);
// The start of the oldest and the newest row; empty strings for an empty history.
bool transferLogSpan(sqlite3* db, std::string& oldest, std::string& newest, std::string& error);

}  // namespace brindale::transfer
