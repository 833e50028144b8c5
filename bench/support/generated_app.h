#pragma once
// An application folder with a generated chain as its mirror, for the benchmarks.
#include <cstdint>
#include <string>

#include "shell/lifecycle.h"

namespace brindale::bench {

// A start or end that shows nothing.
struct QuietView : shell::LifecycleView {
    void setLabel(const std::string&) override {}
    void repaint() override {}
};

// Writes `plus` PLUs in `stores` stores (seed `seed`) as the mirror of the application folder
// `app`, which already holds ini/ and Database/ABC1.txt. False when the start fails.
bool writeGeneratedChain(const std::string& app, long plus, int stores, uint32_t seed);

}  // namespace brindale::bench
