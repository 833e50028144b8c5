// Shared helpers of the transfer tests: a throw-away application folder with
// a working database, record makers, and emulated scales on loopback.
#pragma once

#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "emulated_scale.h"
#include "transfer/engine.h"

namespace brindale::transfer::testing {

namespace fs = std::filesystem;

class TempDir {
public:
    TempDir() {
        std::string tmpl = (fs::temp_directory_path() / "brindale-transfer-XXXXXX").string();
        if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
        path_ = tmpl;
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

// "127.0.0.2" -> "127.  0.  0.  2", the form the SCALE table keeps.
inline std::string padAddress(const std::string& ip) {
    std::string out, group;
    auto flush = [&] {
        out += std::string(3 - group.size(), ' ') + group;
        group.clear();
    };
    for (char c : ip) {
        if (c == '.') { flush(); out += '.'; }
        else group += c;
    }
    flush();
    return out;
}

inline void putBcd4(std::vector<uint8_t>& r, uint32_t value) {
    for (int i = 3; i >= 0; --i) {
        const uint8_t lo = value % 10;
        value /= 10;
        const uint8_t hi = value % 10;
        value /= 10;
        r[size_t(i)] = uint8_t(hi << 4 | lo);
    }
}

// A PLU-like record of the given size: number in BCD, length in bytes 4-5.
inline std::vector<uint8_t> makePlu(uint32_t number, size_t size) {
    std::vector<uint8_t> r(size);
    putBcd4(r, number);
    r[4] = uint8_t(size >> 8);
    r[5] = uint8_t(size);
    for (size_t i = 6; i < size; ++i) r[i] = uint8_t((number * 31 + i * 7) & 0xFF);
    return r;
}
inline std::vector<uint8_t> makeDept(uint32_t number) {
    std::vector<uint8_t> r(23, 0);
    putBcd4(r, number);
    r[5] = 0x17;
    const std::string name = "DEPT " + std::to_string(number);
    std::copy(name.begin(), name.end(), r.begin() + 6);
    return r;
}
inline std::vector<uint8_t> makeMainGroup(uint32_t number, uint8_t deptBcd) {
    std::vector<uint8_t> r(25, 0);
    putBcd4(r, number);
    r[5] = 0x19;
    r[6] = deptBcd;
    const std::string name = "GROUP " + std::to_string(number);
    std::copy(name.begin(), name.end(), r.begin() + 7);
    return r;
}

// The working database, made with the column types the program's schema
// gives (number INTEGER DEFAULT 0, text VARCHAR DEFAULT '', bytes BLOB).
class TestDb {
public:
    explicit TestDb(const fs::path& appDir) {
        fs::create_directories(appDir / "Database");
        path_ = (appDir / "Database" / "Brindale1.mdb").string();
        // Callers give the path the Windows way, with the folder in lower case.
        givenPath_ = appDir.string() + "\\database\\Brindale1.mdb";
        if (sqlite3_open(path_.c_str(), &db_) != SQLITE_OK) throw std::runtime_error("open test db");
        exec(
            "CREATE TABLE SCALE (SC_IP VARCHAR(15) DEFAULT '', SC_No VARCHAR(20) DEFAULT '', SC_Used INTEGER "
            "DEFAULT 0, SC_Dest VARCHAR(50) DEFAULT '', SC_MODEL_ID INTEGER DEFAULT 0, SC_PSK_Layout INTEGER "
            "DEFAULT 0, ST_No INTEGER DEFAULT 0, SECT_No INTEGER DEFAULT 0)");
        for (const char* t : {"KVR_20", "KVR_23", "KVR_25", "KVR_36", "KVR_37", "KVR_14", "KVR_4E"})
            exec(std::string("CREATE TABLE ") + t +
                 " (ST_No INTEGER DEFAULT 0, SECT_No INTEGER DEFAULT 0, KVRBinData BLOB, Is_Selected INTEGER "
                 "DEFAULT 0)");
        // The fetched tables have text columns before the record in the real schema.
        exec("CREATE TABLE RC_25 (PLU_No INTEGER DEFAULT 0, PLU_Commodity TEXT, ST_No INTEGER DEFAULT 0, "
             "KVRBinData BLOB, Is_Selected INTEGER DEFAULT 0)");
        exec("CREATE TABLE RC_34 (PF_No INTEGER DEFAULT 0, KVRBinData BLOB, Is_Selected INTEGER DEFAULT 0)");
        for (const char* t : {"RC_21", "RC_24", "RC_26", "RC_2E", "RC_45", "RC_46", "RC_4A", "RC_52", "RC_59"})
            exec(std::string("CREATE TABLE ") + t +
                 " (F0 VARCHAR(8) DEFAULT '', F1 VARCHAR(8) DEFAULT '', KVRBinData BLOB)");
    }
    ~TestDb() { sqlite3_close(db_); }

    const std::string& path() const { return path_; }
    const std::string& givenPath() const { return givenPath_; }

    void exec(const std::string& sql) {
        char* msg = nullptr;
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &msg) != SQLITE_OK) {
            std::string m = msg ? msg : "?";
            sqlite3_free(msg);
            throw std::runtime_error(sql + ": " + m);
        }
    }
    void addScale(const std::string& ip, const std::string& name, int store, int section, int used = 1) {
        exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" + padAddress(ip) + "', '" +
             name + "', " + std::to_string(used) + ", " + std::to_string(store) + ", " + std::to_string(section) +
             ")");
    }
    void addRow(const std::string& table, const std::vector<uint8_t>& rec, int selected, int store = 1) {
        sqlite3_stmt* st = nullptr;
        const std::string sql = "INSERT INTO " + table + " (ST_No, KVRBinData, Is_Selected) VALUES (?, ?, ?)";
        sqlite3_prepare_v2(db_, sql.c_str(), -1, &st, nullptr);
        sqlite3_bind_int(st, 1, store);
        if (rec.empty()) sqlite3_bind_null(st, 2);
        else sqlite3_bind_blob(st, 2, rec.data(), int(rec.size()), SQLITE_TRANSIENT);
        sqlite3_bind_int(st, 3, selected);
        const int rc = sqlite3_step(st);
        sqlite3_finalize(st);
        if (rc != SQLITE_DONE) throw std::runtime_error("insert into " + table);
    }
    std::vector<std::vector<uint8_t>> records(const std::string& table) {
        std::vector<std::vector<uint8_t>> out;
        sqlite3_stmt* st = nullptr;
        const std::string sql = "SELECT KVRBinData FROM " + table + " ORDER BY rowid";
        if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &st, nullptr) != SQLITE_OK)
            throw std::runtime_error("select from " + table);
        while (sqlite3_step(st) == SQLITE_ROW) {
            const auto* b = static_cast<const uint8_t*>(sqlite3_column_blob(st, 0));
            out.emplace_back(b, b + sqlite3_column_bytes(st, 0));
        }
        sqlite3_finalize(st);
        return out;
    }

private:
    sqlite3* db_ = nullptr;
    std::string path_, givenPath_;
};

// Emulated scales on several loopback addresses, all on one port.
class ScaleFarm {
public:
    struct Member {
        std::string address;
        scaleemu::ScaleOptions options;  // address and port are filled in
    };
    explicit ScaleFarm(std::vector<Member> members) {
        // The first binds a free port; the others take the same one on their
        // own addresses. Should one be taken, start over on a new port.
        for (int attempt = 0; attempt < 8 && !ok_; ++attempt) {
            scales_.clear();
            port_ = 0;
            ok_ = true;
            for (auto& s : members) {
                auto o = s.options;
                o.address = s.address;
                o.port = port_;
                if (o.name == "EMU") o.name = "EMU " + s.address;
                auto scale = std::make_unique<scaleemu::EmulatedScale>(o);
                std::string error;
                if (!scale->start(error)) {
                    ok_ = false;
                    error_ = error;
                    break;
                }
                port_ = scale->port();
                scales_.push_back(std::move(scale));
            }
        }
    }
    bool ok() const { return ok_; }
    const std::string& error() const { return error_; }
    uint16_t port() const { return port_; }
    scaleemu::EmulatedScale& operator[](size_t i) { return *scales_[i]; }
    size_t size() const { return scales_.size(); }

private:
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales_;
    uint16_t port_ = 0;
    bool ok_ = false;
    std::string error_;
};

inline TransferOptions quickOptions(uint16_t port) {
    TransferOptions o;
    o.port = port;
    o.connectTimeout = std::chrono::milliseconds(1000);
    o.replyTimeout = std::chrono::milliseconds(1000);
    o.scaleTimeout = std::chrono::milliseconds(8000);
    return o;
}

}  // namespace brindale::transfer::testing
