#pragma once
// A generated chain in a temporary application folder, ended so that only its mirror is there,
// whose store 1 section 1 has three emulated scales on loopback: 127.0.0.2 and 127.0.0.3 serve,
// 127.0.0.4 refuses connections. brindale-cli runs are made in-process through cli::run.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "emulated_scale.h"
#include "mirror/mirror_fixture.h"
#include "store/hierarchy.h"

namespace brindale::testing {

struct CliResult {
    int code = -1;
    std::string out;
    std::string err;
};

// Every file under `dir` with its bytes, to prove that nothing changed.
inline std::map<std::string, std::string> folderBytes(const std::string& dir) {
    std::map<std::string, std::string> out;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir)) {
        if (!e.is_regular_file()) continue;
        std::ifstream in(e.path(), std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        out[std::filesystem::relative(e.path(), dir).string()] = ss.str();
    }
    return out;
}

inline std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void writeText(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

class CliChain : public ::testing::Test {
protected:
    MirrorChain chain;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;  // .2, .3, .4 (refuses)
    cli::Environment env;
    std::vector<int64_t> store1Plus;  // the PLU numbers of store 1, ascending

    // Scales whose address this says are made to refuse connections.
    virtual bool refuse(const std::string& address) const { return address == "127.0.0.4"; }
    virtual long plus() const { return 40; }

    void SetUp() override {
        cli::clearStop();
        chain.start();
        datagen::ChainShape shape;
        shape.stores = 2;
        shape.sectionsPerStore = 2;
        shape.scalesPerSection = 1;
        shape.plus = plus();
        chain.generate(shape, 11);
        chain.db().exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* address : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            ++n;
            chain.add("SCALE", {{"SC_IP", store::Value(store::padAddress(address))},
                                {"SC_No", store::Value("Scale " + std::to_string(n))},
                                {"SC_Used", store::Value(1)},
                                {"ST_No", store::Value(1)},
                                {"SECT_No", store::Value(1)}});
        }
        {
            auto st = chain.db().prepare("SELECT PLU_No FROM KVR_25 WHERE ST_No = 1 ORDER BY PLU_No");
            while (st->step()) store1Plus.push_back(st->columnInt(0));
        }
        chain.end();
        std::string error;
        scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"},
                                       [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        transfer::TransferOptions to;
        to.port = scales[0]->port();
        to.connectTimeout = std::chrono::milliseconds(2000);
        to.replyTimeout = std::chrono::milliseconds(5000);
        to.scaleTimeout = std::chrono::milliseconds(30000);
        env.transfer = to;
        env.executableFolder = dir();
    }
    void TearDown() override {
        for (auto& s : scales) s->stop();
        cli::clearStop();
    }

    // The three scales again, each taking the connection and then answering nothing.
    void hangEveryScale() {
        for (auto& s : scales) s->stop();
        scales.clear();
        std::vector<scaleemu::ScaleOptions> each;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            scaleemu::ScaleOptions o;
            o.address = a;
            o.port = 0;
            o.hang = true;
            each.push_back(o);
        }
        std::string error;
        scales = scaleemu::startScales(each, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        env.transfer->port = scales[0]->port();
    }

    const std::string& dir() const { return chain.app.dir(); }
    std::string path(const std::string& relative) const { return chain.app.path(relative); }

    CliResult cli(std::vector<std::string> args) {
        std::ostringstream out, err;
        args.insert(args.begin(), {"--app-folder", dir()});
        CliResult r;
        r.code = cli::run(args, out, err, env);
        r.out = out.str();
        r.err = err.str();
        return r;
    }

    // Starts the chain's mirror again to look at the data, and leaves it as it was.
    long count(const std::string& sql) {
        MirrorChain look;
        std::filesystem::remove_all(look.app.dir());
        std::filesystem::copy(dir(), look.app.dir(), std::filesystem::copy_options::recursive);
        look.start();
        auto st = look.db().prepare(sql);
        st->step();
        const long n = long(st->columnInt(0));
        look.state->closeDatabase();
        return n;
    }

    // A saved set of the import window: tab, EAN, weighed mark "0", no fonts, PLU_No, PLU_UPrice,
    // PLU_Commodity.
    std::string writeSet(const std::string& name, const std::string& items = "0\r\n3\r\n35\r\n") {
        const std::string p = path(name);
        writeText(p, "0\r\n0\r\n0\r\n0\r\n0\r\n0\r\n" + items);
        return p;
    }
};

}  // namespace brindale::testing
