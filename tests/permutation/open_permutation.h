#pragma once

// A permutation that shows what it holds, and quick ways to have one.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kyv/connection_permutation.h"
#include "tests/support/words.h"

namespace kyv_test {

class OpenPermutation : public ConnectionPermutation {
 public:
  using ConnectionPermutation::direct;
  using ConnectionPermutation::extOrder;
  using ConnectionPermutation::extToPlatIndex;
  using ConnectionPermutation::extToPlatNames;
  using ConnectionPermutation::failed;
  using ConnectionPermutation::platOrder;
  using ConnectionPermutation::platToExtIndex;
  using ConnectionPermutation::platToExtNames;
  using ConnectionPermutation::prepared;
};

// Pairs of names in these orders, prepared.
inline OpenPermutation prepared(const std::string& text, const std::string& platform, const std::string& external) {
  OpenPermutation permutation;
  std::string error;
  EXPECT_TRUE(permutation.setPermutation(true, text.c_str(), error)) << error;
  permutation.setPlatOrder(words(platform));
  permutation.setExternalOrder(words(external));
  EXPECT_TRUE(permutation.prepareOrder(false, error)) << error;
  return permutation;
}

}  // namespace kyv_test
