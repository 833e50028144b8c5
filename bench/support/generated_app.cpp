#include "generated_app.h"

#include "chain_generator.h"
#include "shell/program_state.h"

namespace brindale::bench {

bool writeGeneratedChain(const std::string& app, long plus, int stores, uint32_t seed) {
    shell::ProgramState st;
    st.appDir = app;
    QuietView q;
    if (shell::runStartup(st, q) != shell::StartResult::Ok) return false;
    datagen::ChainShape shape;
    shape.plus = plus;
    shape.stores = stores;
    datagen::generateChain(*st.Conn, st.codecEnvironment(), shape, seed);
    shell::endProgram(st, q);
    return true;
}

}  // namespace brindale::bench
