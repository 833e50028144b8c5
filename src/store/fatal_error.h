#pragma once
// A condition that ends the run: a damaged input file, a database error nothing can repair.
// It names the file (or table) and the line (or record) so that the operator can find it.
#include <stdexcept>
#include <string>

namespace brindale {

class FatalError : public std::runtime_error {
public:
    FatalError(std::string where, long line, const std::string& reason)
        : std::runtime_error(compose(where, line, reason)), where_(std::move(where)), line_(line),
          reason_(reason) {}

    const std::string& where() const { return where_; }
    long line() const { return line_; }  // 0 when no line applies
    const std::string& reason() const { return reason_; }

private:
    static std::string compose(const std::string& where, long line, const std::string& reason) {
        std::string s = where;
        if (line > 0) s += ", line " + std::to_string(line);
        if (!s.empty()) s += ": ";
        return s + reason;
    }
    std::string where_;
    long line_;
    std::string reason_;
};

}  // namespace brindale
