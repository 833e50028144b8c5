#include "chain_settings.h"

#include <filesystem>

#include "shell/settings.h"
#include "store/fatal_error.h"

namespace fs = std::filesystem;

namespace brindale::datagen {

void writeChainSettings(const std::string& appDir, int stores) {
    if (stores <= 1) return;
    const std::string path = appDir + "/ini/SETTING1.cfg";
    shell::Settings s = shell::readSettings(path);
    if (s.StoreMode == 1) return;
    s.StoreMode = 1;
    // In single store mode the store name is only kept as its line; now it is the setting.
    s.StoreNameSetting = s.StoreNameLine;
    const std::string aside = path + ".new";
    shell::writeSettings(aside, s);
    std::error_code ec;
    fs::rename(aside, path, ec);
    if (ec) {
        fs::remove(aside, ec);
        throw FatalError(path, 0, "the settings cannot be replaced: " + ec.message());
    }
}

}  // namespace brindale::datagen
