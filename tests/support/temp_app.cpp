#include "temp_app.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <vector>
#include <algorithm>

namespace fs = std::filesystem;

namespace brindale::testing {

std::string sourceRoot() { return BRINDALE_SOURCE_ROOT; }
std::string builtProgram() { return std::string(BRINDALE_APP_DIR) + "/brindale"; }

TempApp::TempApp(bool withShippedFiles) {
    std::string tmpl = (fs::temp_directory_path() / "brindale-test-XXXXXX").string();
    std::vector<char> buf(tmpl.begin(), tmpl.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data())) throw std::runtime_error("mkdtemp failed");
    dir_ = buf.data();
    if (withShippedFiles) {
        fs::copy(sourceRoot() + "/ini", dir_ + "/ini", fs::copy_options::recursive);
        fs::create_directories(dir_ + "/Database");
        fs::copy_file(sourceRoot() + "/Database/ABC1.txt", dir_ + "/Database/ABC1.txt");
        fs::create_directories(dir_ + "/AccessData");
    }
}

TempApp::~TempApp() {
    std::error_code ec;
    fs::remove_all(dir_, ec);
}

void TempApp::write(const std::string& relative, const std::string& content) const {
    fs::create_directories(fs::path(path(relative)).parent_path());
    std::ofstream f(path(relative), std::ios::binary | std::ios::trunc);
    f << content;
}

std::string TempApp::read(const std::string& relative) const {
    std::ifstream f(path(relative), std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

bool TempApp::exists(const std::string& relative) const { return fs::exists(path(relative)); }

std::string TempApp::snapshot() const {
    std::vector<std::string> lines;
    for (const auto& e : fs::recursive_directory_iterator(dir_)) {
        std::string rel = fs::relative(e.path(), dir_).string();
        if (e.is_directory()) {
            lines.push_back(rel + "/");
            continue;
        }
        std::string content = read(rel);
        lines.push_back(rel + " " + std::to_string(content.size()) + " " +
                        std::to_string(std::hash<std::string>{}(content)));
    }
    std::sort(lines.begin(), lines.end());
    std::string out;
    for (const auto& l : lines) out += l + "\n";
    return out;
}

std::string TempApp::installProgram() const {
    std::string target = dir_ + "/brindale";
    fs::copy_file(builtProgram(), target, fs::copy_options::overwrite_existing);
    return target;
}

}  // namespace brindale::testing
