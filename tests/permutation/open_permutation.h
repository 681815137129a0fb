#pragma once

// A permutation that shows what it holds, and quick ways to have one.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kyv/connection_permutation.h"

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

// The words of a text, which blanks part.
inline std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> list;
  for (std::size_t at = 0; (at = text.find_first_not_of(' ', at)) != std::string::npos;) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    list.push_back(text.substr(at, end - at));
    at = end;
  }
  return list;
}

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
