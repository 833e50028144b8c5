#pragma once
// A generated chain whose store 1 has three emulated scales on loopback: 127.0.0.2 and 127.0.0.3
// in section 1, 127.0.0.4 in section 2. The control is pointed at them, and every call it gets is
// recorded with its properties and the marked rows of the tables it names.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "emulated_scale.h"
#include "mirror/mirror_fixture.h"
#include "store/hierarchy.h"
#include "transfer/flows.h"

namespace brindale::testing {

struct ControlCall {
    std::string databasePath;
    int store = -1;
    int section = -1;
    int mode = -1;
    std::vector<std::string> tables;
    std::string languageText;
};

class FlowChain : public ::testing::Test {
protected:
    MirrorChain chain;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;  // .2, .3, .4
    transfer::KVRDataTrans control;
    transfer::FlowState state;
    transfer::FlowContext ctx;
    transfer::FlowHooks hooks;
    std::vector<ControlCall> calls;
    codec::CodecEnvironment env;

    void SetUp() override {
        chain.start();
        datagen::ChainShape shape;
        shape.stores = 2;
        shape.sectionsPerStore = 2;
        shape.scalesPerSection = 1;
        shape.plus = 40;
        chain.generate(shape, 7);
        db().exec("DELETE FROM SCALE");
        std::string error;
        scales = scaleemu::startScales({"127.0.0.2", "127.0.0.3", "127.0.0.4"},
                                       [this](const std::string& a) { return refuse(a); }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        const uint16_t port = scales[0]->port();
        int n = 0;
        for (const char* address : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            ++n;
            chain.add("SCALE", {{"SC_IP", store::Value(padded(address))},
                                {"SC_No", store::Value("Scale " + std::to_string(n))},
                                {"SC_Used", store::Value(1)},
                                {"ST_No", store::Value(1)},
                                {"SECT_No", store::Value(n <= 2 ? 1 : 2)}});
        }
        transfer::TransferOptions to;
        to.port = port;
        to.connectTimeout = std::chrono::milliseconds(2000);
        to.replyTimeout = std::chrono::milliseconds(5000);
        to.scaleTimeout = std::chrono::milliseconds(20000);
        control.setOptions(to);
        control.setPresenter([this](transfer::TransferEngine& engine, const transfer::LanguageTexts&) {
            calls.push_back({control.DatabasePath(), control.StoreNumber(), control.SectionNumber(),
                             control.TransferMode(), control.TableList(), control.LanguageText()});
            return engine.run(nullptr);
        });
        env = chain.state->codecEnvironment();
        ctx.databasePath = chain.state->databasePath();
        ctx.languageText = "";
        ctx.currentStore = 1;
        ctx.currentSection = 1;
        ctx.env = &env;
    }
    void TearDown() override {
        for (auto& s : scales) s->stop();
    }
    virtual bool refuse(const std::string&) const { return false; }

    store::Database& db() { return chain.db(); }
    transfer::FlowOutcome run(transfer::Flow flow) { return transfer::runFlow(flow, db(), control, state, ctx, hooks); }

    static std::string padded(const std::string& ip) { return store::padAddress(ip); }
    long count(const std::string& sql) {
        auto st = db().prepare(sql);
        st->step();
        return long(st->columnInt(0));
    }
    std::vector<int64_t> ids(const std::string& sql) {
        std::vector<int64_t> out;
        auto st = db().prepare(sql);
        while (st->step()) out.push_back(st->columnInt(0));
        return out;
    }
    // Is_Selected of every row, in row order, as one text: proves that nothing changed.
    std::string flags(const std::string& table) {
        std::string out;
        auto st = db().prepare("SELECT Is_Selected FROM " + table + " ORDER BY rowid");
        while (st->step()) out += std::to_string(st->columnInt(0));
        return out;
    }
    scaleemu::EmulatedScale& scale(int i) { return *scales[size_t(i)]; }
};

}  // namespace brindale::testing
