#include "value.h"

#include <cmath>
#include <cstdlib>

namespace brindale::store {

int64_t Value::toInt() const {
    if (auto p = std::get_if<int64_t>(&v_)) return *p;
    if (auto p = std::get_if<double>(&v_)) return static_cast<int64_t>(std::nearbyint(*p));
    if (auto p = std::get_if<std::string>(&v_)) return std::strtoll(p->c_str(), nullptr, 10);
    return 0;
}

double Value::toReal() const {
    if (auto p = std::get_if<int64_t>(&v_)) return static_cast<double>(*p);
    if (auto p = std::get_if<double>(&v_)) return *p;
    if (auto p = std::get_if<std::string>(&v_)) return std::strtod(p->c_str(), nullptr);
    return 0;
}

std::string Value::toText() const {
    if (auto p = std::get_if<int64_t>(&v_)) return std::to_string(*p);
    if (auto p = std::get_if<double>(&v_)) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.15g", *p);
        return buf;
    }
    if (auto p = std::get_if<std::string>(&v_)) return *p;
    if (auto p = std::get_if<Bytes>(&v_)) return std::string(p->begin(), p->end());
    return {};
}

const Bytes& Value::bytes() const {
    static const Bytes empty;
    if (auto p = std::get_if<Bytes>(&v_)) return *p;
    return empty;
}

const std::string& Value::text() const {
    static const std::string empty;
    if (auto p = std::get_if<std::string>(&v_)) return *p;
    return empty;
}

}  // namespace brindale::store
