#pragma once

// A prepared permutation out of an input: how many platform columns and how many external fields there are, one
// character each, then for each column the position of its field, from '0' on; one that is taken, or beyond the
// fields, is none. There is one pair at least: without, it would be direct.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/connection_permutation.h"

namespace kyv_fuzz {

struct PermutationInput {
  static constexpr std::size_t kMostColumns = 24;

  explicit PermutationInput(FuzzInput& input) {
    const std::size_t columns = 1 + input.choice(kMostColumns);
    fields = 1 + input.choice(kMostColumns);
    std::vector<bool> taken(kMostColumns + 1);
    for (std::size_t column = 0; column < columns; ++column) {
      const std::size_t field = input.choice(kMostColumns + 1);
      const bool paired = field < fields && !taken[field];
      taken[field] = true;
      fieldOf.push_back(paired ? static_cast<int>(field) : -1);
    }
    const bool hasPair = std::any_of(fieldOf.begin(), fieldOf.end(), [](int field) { return field >= 0; });
    if (!hasPair) fieldOf.front() = 0;
    prepare();
  }

  ConnectionPermutation permutation;
  std::size_t fields;
  std::vector<int> fieldOf;  // of each platform column; -1 for none

 private:
  void prepare() {
    std::string text;
    std::vector<std::string> platform;
    for (std::size_t column = 0; column < fieldOf.size(); ++column) {
      platform.push_back(std::to_string(column));
      if (fieldOf[column] >= 0) text += platform.back() + '=' + std::to_string(fieldOf[column]) + ':';
    }
    std::vector<std::string> external;
    for (std::size_t field = 0; field < fields; ++field) external.push_back(std::to_string(field));
    std::string error;
    require(permutation.setPermutation(true, text.c_str(), error), "a text of pairs is read");
    permutation.setPlatOrder(platform);
    permutation.setExternalOrder(external);
    require(permutation.prepareOrder(false, error), "pairs whose names stand in the orders are found");
  }
};

}  // namespace kyv_fuzz
