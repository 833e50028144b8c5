#include "paths.h"

namespace brindale::shell {

std::string joinPath(const std::string& dir, const std::string& relative) {
    if (dir.empty()) return relative;
    if (dir.back() == '/') return dir + relative;
    return dir + "/" + relative;
}

}  // namespace brindale::shell
