#pragma once
// One field value as the working database holds it.
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace brindale::store {

using Bytes = std::vector<uint8_t>;

class Value {
public:
    Value() = default;  // null
    Value(std::nullptr_t) {}
    Value(int v) : v_(static_cast<int64_t>(v)) {}
    Value(int64_t v) : v_(v) {}
    Value(double v) : v_(v) {}
    Value(std::string v) : v_(std::move(v)) {}
    Value(const char* v) : v_(std::string(v)) {}
    Value(Bytes v) : v_(std::move(v)) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(v_); }
    bool isInt() const { return std::holds_alternative<int64_t>(v_); }
    bool isReal() const { return std::holds_alternative<double>(v_); }
    bool isText() const { return std::holds_alternative<std::string>(v_); }
    bool isBytes() const { return std::holds_alternative<Bytes>(v_); }

    // Lenient readers: a null reads 0 or "", text is read as a number where it holds one.
    int64_t toInt() const;
    double toReal() const;
    std::string toText() const;  // the value's text; null gives ""
    const Bytes& bytes() const;  // empty for anything but bytes
    const std::string& text() const;  // empty for anything but text

    bool operator==(const Value& o) const { return v_ == o.v_; }

private:
    std::variant<std::monostate, int64_t, double, std::string, Bytes> v_;
};

}  // namespace brindale::store
