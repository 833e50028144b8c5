// A seeded generator of valid PLU rows as the editor leaves them: every presence flag agrees
// with its value, columns whose flag is off hold the new-row default, and every value is within
// what its encoding holds. Shared by the round-trip tests and the benchmarks.
#pragma once

#include <random>
#include <string>

#include "codec/plu_row.h"

namespace brindale::codec::test {

class PluRowGenerator {
 public:
  explicit PluRowGenerator(uint32_t seed) : rng_(seed) {}

  // Flexi formats 33 and 34 have rows for both kinds in the tests' flexi table; 35 has none.
  PluRow next(int countryIndex);

  // A row with every flag set, three commodity lines, ingredient and nutrition: the largest
  // common shape.
  PluRow full(int countryIndex);

 private:
  std::mt19937 rng_;
  int64_t num(int64_t lo, int64_t hi) { return std::uniform_int_distribution<int64_t>(lo, hi)(rng_); }
  bool coin() { return num(0, 1) == 1; }
  std::string ascii(std::size_t maxLen, bool nonEmpty = false);
  std::vector<uint8_t> textBlock(int lines, std::string* firstLine);
  void fill(PluRow& r, int countryIndex, bool all);
};

}  // namespace brindale::codec::test
