#pragma once
// The running program on a generated chain with three emulated scales on loopback, 127.0.0.2 to
// 127.0.0.4. By default they stand in two stores: 127.0.0.2 and 127.0.0.3 in store 1, 127.0.0.4 in
// store 2. The data view is shown with store 1 current, as the file windows are opened from it;
// the progress window of a transfer is closed once its transfer has ended, and files are fetched
// back with the protocol's READ.
#include <gtest/gtest.h>

#include <QApplication>
#include <QPushButton>
#include <QTimer>
#include <array>
#include <utility>

#include "chain_settings.h"
#include "emulated_scale.h"
#include "gui_support.h"
#include "loopback_scales.h"
#include "read_client.h"
#include "shell/program_state.h"
#include "store/hierarchy.h"

namespace brindale::testing {

using Records = std::vector<std::vector<uint8_t>>;

// Store and section of 127.0.0.2, 127.0.0.3 and 127.0.0.4, in a chain of `stores` stores with
// `sections` sections each.
using ScalePlaces = std::array<std::pair<int, int>, 3>;

inline std::unique_ptr<TempApp> chainWithThreeScales(int stores = 2, int sections = 1,
                                                     ScalePlaces places = {{{1, 1}, {1, 1}, {2, 1}}}) {
    datagen::ChainShape shape;
    shape.stores = stores;
    shape.sectionsPerStore = sections;
    shape.scalesPerSection = 1;
    shape.plus = 10;
    auto dir = generatedApp(shape, 5, 0, [places](shell::ProgramState& st) {
        st.Conn->exec("DELETE FROM SCALE");
        int n = 0;
        for (const char* a : {"127.0.0.2", "127.0.0.3", "127.0.0.4"}) {
            const auto [store, section] = places[size_t(n)];
            ++n;
            st.Conn->exec("INSERT INTO SCALE (SC_IP, SC_No, SC_Used, ST_No, SECT_No) VALUES ('" +
                          store::padAddress(a) + "', 'Scale " + std::to_string(n) + "', 1, " + std::to_string(store) +
                          ", " + std::to_string(section) + ")");
        }
    });
    datagen::writeChainSettings(dir->dir(), stores);  // more than one store: multi store mode
    return dir;
}

class ScaleFilesApp : public ::testing::Test {
protected:
    std::unique_ptr<GuiApp> g;
    std::vector<std::unique_ptr<scaleemu::EmulatedScale>> scales;
    QTimer closer;  // closes the progress window once its transfer has ended

    // The chain the test runs on.
    virtual std::unique_ptr<TempApp> chain() { return chainWithThreeScales(); }

    void SetUp() override {
        answerYes();
        clearMessages();
        g = std::make_unique<GuiApp>(chain());
        ASSERT_EQ(g->start(), 0);
        std::string error;
        scales = startLoopbackScales(*g, closer, [](const std::string&) { return false; }, error);
        ASSERT_EQ(scales.size(), 3u) << error;
        g->select("STORE 1");
        g->tree().cmdData();
        ASSERT_EQ(g->state().currentStore, 1);
        ASSERT_EQ(g->state().currentSection, 0);
    }
    void TearDown() override {
        closer.stop();
        for (auto& s : scales) s->stop();
    }

    store::Database& db() { return *g->state().Conn; }
    QString file(const QString& name) { return QString::fromStdString(g->dir->dir()) + "/" + name; }

    Records fetched(int scale, const std::string& code) {
        std::string error;
        auto r = readScaleFile("127.0.0." + std::to_string(scale + 2), scales[0]->port(), code, error);
        EXPECT_TRUE(error.empty()) << error;
        return r;
    }
    Records tableRecords(const std::string& sql) {
        Records out;
        auto st = db().prepare(sql);
        while (st->step()) out.push_back(st->column(0).bytes());
        return out;
    }

    // Opens the window by its menu and runs `act` in it; the window is closed after.
    void inWindow(const char* menu, const char* form, const std::function<void(QDialog*)>& act) {
        ModalDriver d(form, [&](QDialog* w) {
            act(w);
            button(w, "cmdClose")->click();
        });
        g->trigger(menu);
        ASSERT_TRUE(d.seen()) << form;
    }
};

}  // namespace brindale::testing
