#pragma once
// A temporary application folder for a test: ini/ and Database/ABC1.txt as shipped, an empty
// AccessData/, removed again at the end of the test.
#include <string>

namespace brindale::testing {

class TempApp {
public:
    // With `withShippedFiles` false the folder starts empty.
    explicit TempApp(bool withShippedFiles = true);
    ~TempApp();
    TempApp(const TempApp&) = delete;

    const std::string& dir() const { return dir_; }
    std::string path(const std::string& relative) const { return dir_ + "/" + relative; }
    void write(const std::string& relative, const std::string& content) const;
    std::string read(const std::string& relative) const;
    bool exists(const std::string& relative) const;
    // A listing of every file under the folder with its size and content hash, to prove that
    // nothing was changed.
    std::string snapshot() const;
    // Copies the built program into the folder, so that it runs with this folder as its own.
    std::string installProgram() const;

private:
    std::string dir_;
};

std::string sourceRoot();
std::string builtProgram();

}  // namespace brindale::testing
