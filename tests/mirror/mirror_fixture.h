#pragma once
// A chain in a temporary application folder, started and ended through the program's own start
// and end sequences, without windows.
#include <memory>
#include <optional>
#include <string>

#include "shell/lifecycle.h"
#include "shell/program_state.h"
#include "store/recordset.h"
#include "chain_generator.h"
#include "support/temp_app.h"

namespace brindale::testing {

struct QuietView : shell::LifecycleView {
    void setLabel(const std::string&) override {}
    void repaint() override {}
};

class MirrorChain {
public:
    MirrorChain() = default;
    TempApp app;
    std::unique_ptr<shell::ProgramState> state;
    // The system's locale of the next start; unset: the process's own.
    std::optional<std::string> locale;

    // Rebuild, link and read the mirror; throws what the start throws.
    void start();
    // Write the mirror and delete the database.
    std::vector<std::string> end();
    store::Database& db() { return *state->Conn; }

    // A seeded chain of the given shape, generated into the running database.
    void generate(const datagen::ChainShape& shape, uint32_t seed);
    // Adds a row to a table with the given column values.
    void add(const std::string& table, std::initializer_list<std::pair<const char*, store::Value>> values);
    // Every column of every table the mirror keeps, row by row in table order.
    std::string dump();
    std::string dumpTable(const std::string& table);
};

}  // namespace brindale::testing
