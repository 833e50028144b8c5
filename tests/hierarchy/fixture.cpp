#include "fixture.h"

#include <filesystem>

#include "store/rebuild.h"

namespace fs = std::filesystem;

namespace brindale::testing {

std::unique_ptr<TempApp> makeHierarchyApp(bool withIni) {
    auto app = std::make_unique<TempApp>(true);
    if (!withIni) fs::remove_all(app->path("ini"));
    return app;
}

std::unique_ptr<store::Database> makeDatabase(const TempApp& app) {
    store::rebuildDatabase(app.path("Database/ABC1.txt"), app.path("Database/Brindale1.mdb"), 0);
    return store::linkDatabase(app.path("Database/Brindale1.mdb"));
}

}  // namespace brindale::testing
