// Column model shared by the rows of the scale item tables: every column has a name as the
// database spells it, a kind, and an accessor, so the store can map a row by column name.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brindale::codec {

// A number column holding the database's Null. Any flag column holding it counts as set
// (it is not 0); any encoding that has to read it fails.
inline constexpr int64_t kNullNumber = std::numeric_limits<int64_t>::min();

// Text columns hold UTF-8; std::nullopt is the database's Null. Byte columns hold the bytes as
// the scale takes them; std::nullopt is Null.
using Text = std::optional<std::string>;
using Bytes = std::optional<std::vector<uint8_t>>;

enum class ColumnKind : uint8_t { Number, Text, Bytes };

template <class Row>
struct ColumnInfo {
  const char* name;
  ColumnKind kind;
  int64_t Row::*number = nullptr;  // set when kind == Number
  Text Row::*text = nullptr;       // set when kind == Text
  Bytes Row::*bytes = nullptr;     // set when kind == Bytes
};

// ASCII case-insensitive comparison: table and column names are matched without regard to case.
bool equalsIgnoreCase(std::string_view a, std::string_view b);

template <class Row>
const ColumnInfo<Row>* findColumn(std::span<const ColumnInfo<Row>> columns, std::string_view name) {
  for (const auto& c : columns)
    if (equalsIgnoreCase(c.name, name)) return &c;
  return nullptr;
}

}  // namespace brindale::codec

#define BRINDALE_COLUMN_MEMBER_N(name) int64_t name = 0;
#define BRINDALE_COLUMN_MEMBER_T(name) ::brindale::codec::Text name{std::in_place};
#define BRINDALE_COLUMN_MEMBER_B(name) ::brindale::codec::Bytes name;
#define BRINDALE_COLUMN_INFO_N(Row, name) {#name, ::brindale::codec::ColumnKind::Number, &Row::name, nullptr, nullptr},
#define BRINDALE_COLUMN_INFO_T(Row, name) {#name, ::brindale::codec::ColumnKind::Text, nullptr, &Row::name, nullptr},
#define BRINDALE_COLUMN_INFO_B(Row, name) {#name, ::brindale::codec::ColumnKind::Bytes, nullptr, nullptr, &Row::name},
