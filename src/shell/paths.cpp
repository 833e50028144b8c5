#include "paths.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "store/fatal_error.h"

namespace fs = std::filesystem;

namespace brindale::shell {

std::string joinPath(const std::string& dir, const std::string& relative) {
    if (dir.empty()) return relative;
    if (dir.back() == '/') return dir + relative;
    return dir + "/" + relative;
}

std::string userDataHome() {
    if (const char* x = std::getenv("XDG_DATA_HOME"); x && *x) return x;
    if (const char* h = std::getenv("HOME"); h && *h) return std::string(h) + "/.local/share";
    return {};
}

namespace {

bool readFile(const std::string& path, std::string& out) {
    std::ifstream f(path, std::ios::binary);
    if (!f) return false;
    std::stringstream ss;
    ss << f.rdbuf();
    out = ss.str();
    return !f.bad();
}

std::string hashOf(const std::string& s) {
    unsigned long long h = 14695981039346656037ull;
    for (unsigned char c : s) {
        h ^= c;
        h *= 1099511628211ull;
    }
    char buf[17];
    std::snprintf(buf, sizeof buf, "%016llx", h);
    return buf;
}

// Writes beside the file, then renames over it: a failure leaves the old file whole.
void writeAside(const std::string& path, const std::string& content) {
    const std::string aside = path + ".new";
    std::FILE* f = std::fopen(aside.c_str(), "wb");
    if (!f) throw FatalError(path, 0, std::strerror(errno));
    bool ok = std::fwrite(content.data(), 1, content.size(), f) == content.size() && std::fflush(f) == 0 &&
              ::fsync(fileno(f)) == 0;
    int err = errno;
    if (std::fclose(f) != 0 && ok) ok = false, err = errno;
    if (ok && std::rename(aside.c_str(), path.c_str()) != 0) ok = false, err = errno;
    if (!ok) {
        std::remove(aside.c_str());
        throw FatalError(path, 0, std::strerror(err ? err : EIO));
    }
}

// Every regular file under `root`, relative to it, in a stable order.
std::vector<std::string> filesUnder(const std::string& root) {
    std::vector<std::string> out;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
        if (it->is_regular_file()) out.push_back(fs::relative(it->path(), root).generic_string());
    if (ec) throw FatalError(root, 0, ec.message());
    std::sort(out.begin(), out.end());
    return out;
}

std::map<std::string, std::string> readManifest(const std::string& path) {
    std::map<std::string, std::string> m;
    std::string text;
    if (!readFile(path, text)) return m;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        const size_t tab = line.find('\t');
        if (tab != std::string::npos) m[line.substr(tab + 1)] = line.substr(0, tab);
    }
    return m;
}

void writeManifest(const std::string& path, const std::map<std::string, std::string>& m) {
    std::string text;
    for (const auto& [file, hash] : m) text += hash + "\t" + file + "\n";
    writeAside(path, text);
}

std::string trimmed(const std::string& s) {
    size_t b = s.find_first_not_of(" \t\r");
    if (b == std::string::npos) return {};
    return s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

std::string lower(std::string s) {
    for (auto& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

// Calls `f(line, block, section)` for each line: block and section as lower case names.
template <class F>
void walk(const std::string& text, F f) {
    std::string block, section;
    size_t pos = 0;
    while (pos <= text.size()) {
        size_t nl = text.find('\n', pos);
        std::string line = text.substr(pos, nl == std::string::npos ? std::string::npos : nl - pos);
        const std::string t = trimmed(line);
        if (t.size() > 1 && t.front() == '<' && t.back() == '>') block = lower(t), section.clear();
        else if (t.size() > 1 && t.front() == '[' && t.back() == ']') section = lower(t);
        f(line, block, section, nl != std::string::npos);
        if (nl == std::string::npos) break;
        pos = nl + 1;
    }
}

// The first shipped-file copy into a new per-user folder, made aside and renamed into place.
void makeUserFolder(const std::string& shared, const std::string& target) {
    std::error_code ec;
    fs::create_directories(fs::path(target).parent_path(), ec);
    if (ec) throw FatalError(fs::path(target).parent_path().string(), 0, ec.message());
    const std::string aside = target + ".new-" + std::to_string(::getpid());
    fs::remove_all(aside, ec);
    std::map<std::string, std::string> manifest;
    try {
        for (const auto& rel : filesUnder(shared)) {
            const fs::path to = fs::path(aside) / rel;
            fs::create_directories(to.parent_path(), ec);
            if (ec) throw FatalError(to.parent_path().string(), 0, ec.message());
            fs::copy_file(fs::path(shared) / rel, to, fs::copy_options::overwrite_existing, ec);
            if (ec) throw FatalError(to.string(), 0, ec.message());
            manifest[rel] = fileHash(to.string());
        }
        fs::create_directories(fs::path(aside) / kMirrorFolder, ec);
        if (ec) throw FatalError(aside + "/" + kMirrorFolder, 0, ec.message());
        writeManifest(joinPath(aside, kShippedManifest), manifest);
    } catch (...) {
        fs::remove_all(aside, ec);
        throw;
    }
    fs::rename(aside, target, ec);
    if (ec) {
        fs::remove_all(aside, ec);
        // Another start made it meanwhile: that one serves.
        if (fs::is_directory(fs::path(target) / "ini")) return;
        throw FatalError(target, 0, "cannot be made");
    }
}

// A new version's shipped files into an existing per-user folder.
void refreshUserFolder(const std::string& shared, const std::string& target) {
    const std::string manifestPath = joinPath(target, kShippedManifest);
    auto manifest = readManifest(manifestPath);
    bool changed = false;
    std::error_code ec;
    for (const auto& rel : filesUnder(shared)) {
        const std::string from = joinPath(shared, rel), to = joinPath(target, rel);
        const std::string shippedHash = fileHash(from);
        auto known = manifest.find(rel);
        if (known != manifest.end() && known->second == shippedHash) continue;  // this version's file
        const bool exists = fs::exists(to);
        const std::string usersHash = exists ? fileHash(to) : std::string();
        const bool untouched = !exists || (known != manifest.end() && usersHash == known->second);
        std::string content;
        if (!readFile(from, content)) throw FatalError(from, 0, std::strerror(errno));
        if (rel == kSettingsFile && exists) {
            // The operator's settings stay.
        } else if (untouched) {
            fs::create_directories(fs::path(to).parent_path(), ec);
            writeAside(to, content);
        } else if (rel == kLanguageFile) {
            std::string users;
            if (!readFile(to, users)) throw FatalError(to, 0, std::strerror(errno));
            writeAside(to, mergeOtherValues(content, users));
        }
        // Any other file the user changed is kept as the user left it.
        manifest[rel] = shippedHash;
        changed = true;
    }
    if (!fs::is_directory(joinPath(target, kMirrorFolder))) fs::create_directories(joinPath(target, kMirrorFolder), ec);
    if (changed) writeManifest(manifestPath, manifest);
}

}  // namespace

std::string fileHash(const std::string& path) {
    std::string s;
    if (!readFile(path, s)) return {};
    return hashOf(s);
}

std::string mergeOtherValues(const std::string& shipped, const std::string& users) {
    std::map<std::pair<std::string, std::string>, std::string> values;
    walk(users, [&](const std::string& line, const std::string& block, const std::string& section, bool) {
        const size_t eq = line.find('=');
        if (block != "<other>" || section.empty() || eq == std::string::npos) return;
        values[{section, lower(trimmed(line.substr(0, eq)))}] = line.substr(eq + 1);
    });
    std::string out;
    walk(shipped, [&](const std::string& line, const std::string& block, const std::string& section, bool nl) {
        std::string l = line;
        const size_t eq = line.find('=');
        if (block == "<other>" && !section.empty() && eq != std::string::npos) {
            std::string value = line.substr(eq + 1);
            bool cr = !value.empty() && value.back() == '\r';
            auto it = values.find({section, lower(trimmed(line.substr(0, eq)))});
            if (it != values.end()) {
                std::string v = it->second;
                if (!v.empty() && v.back() == '\r') v.pop_back();
                l = line.substr(0, eq + 1) + v + (cr ? "\r" : "");
            }
        }
        out += l;
        if (nl) out += "\n";
    });
    return out;
}

std::string resolveApplicationFolder(const std::string& exeDir, const std::string& dataHome) {
    std::error_code ec;
    if (fs::is_directory(joinPath(exeDir, "ini"), ec) && ::access(exeDir.c_str(), W_OK) == 0) return exeDir;
    const std::string shared = fs::weakly_canonical(fs::path(exeDir) / kSharedFolder, ec).string();
    if (!fs::is_directory(joinPath(shared, "ini"), ec))
        throw FatalError(exeDir, 0, "holds no writable ini/ folder, and " + shared + "/ini, the installed files, is missing");
    if (dataHome.empty()) throw FatalError(shared, 0, "no per-user folder: neither XDG_DATA_HOME nor HOME is set");
    const std::string target = joinPath(dataHome, kUserFolderName);
    if (!fs::is_directory(joinPath(target, "ini"), ec)) {
        if (fs::exists(target, ec) && !fs::is_empty(target, ec))
            throw FatalError(target, 0, "exists but holds no ini/ folder; move it away to start afresh");
        if (fs::exists(target, ec)) fs::remove(target, ec);
        makeUserFolder(shared, target);
    } else {
        refreshUserFolder(shared, target);
    }
    return target;
}

}  // namespace brindale::shell
