// brindale-datagen: writes a seeded, realistic chain as the mirror of an application folder.
//   brindale-datagen APPLICATION_FOLDER PLU_COUNT [SEED] [STORES]
// The folder needs ini/ and Database/ABC1.txt; its AccessData/ is replaced, and with more than
// one store ini/SETTING1.cfg is set to multi store mode.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "chain_generator.h"
#include "chain_settings.h"
#include "shell/program_state.h"
#include "store/fatal_error.h"
#include "store/mirror.h"
#include "store/rebuild.h"

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s APPLICATION_FOLDER PLU_COUNT [SEED] [STORES]\n", argv[0]);
        return 2;
    }
    try {
        brindale::shell::ProgramState st;
        st.appDir = fs::absolute(argv[1]).string();
        brindale::datagen::ChainShape shape;
        shape.plus = std::atol(argv[2]);
        const uint32_t seed = argc > 3 ? static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10)) : 1;
        if (argc > 4) shape.stores = std::atoi(argv[4]);
        st.settings = brindale::shell::readSettings(st.path("ini/SETTING1.cfg"));
        st.lang.loadAll(st.appDir, st.settings.LanguageName());
        st.prepareCodec();
        const std::string db = (fs::temp_directory_path() / ("brindale-datagen-" + std::to_string(::getpid()) + ".mdb")).string();
        if (brindale::store::rebuildDatabase(st.path("Database/ABC1.txt"), db, 0) != 0) {
            std::fprintf(stderr, "no schema text in %s\n", st.path("Database/ABC1.txt").c_str());
            return 1;
        }
        auto conn = brindale::store::linkDatabase(db);
        const auto env = st.codecEnvironment();
        brindale::datagen::generateChain(*conn, env, shape, seed);
        brindale::store::MirrorOptions options;
        options.env = &env;
        auto report = brindale::store::writeMirror(*conn, st.appDir, options);
        conn.reset();
        fs::remove(db);
        brindale::datagen::writeChainSettings(st.appDir, shape.stores);
        for (const auto& w : report.warnings) std::fprintf(stderr, "%s\n", w.c_str());
        std::printf("wrote %ld PLUs in %d stores to %s/AccessData\n", shape.plus, shape.stores, st.appDir.c_str());
        return report.warnings.empty() ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
