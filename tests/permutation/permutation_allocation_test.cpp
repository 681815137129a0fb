// Counts the requests for memory of reordering rows, by standing in front of the allocator.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kyv/connection_permutation.h"

namespace {
long allocations = 0;
}

extern "C" {
void* __libc_malloc(std::size_t bytes);

void* malloc(std::size_t bytes) noexcept {
  ++allocations;
  return __libc_malloc(bytes);
}
}

namespace {

template <class Call>
long allocationsOf(Call call) {
  const long before = allocations;
  call();
  return allocations - before;
}

constexpr int kFields = 900;

TEST(PermutationAllocations, AreNoneForALineAndOneForARecord) {
  std::string text;
  std::string line;
  for (int i = 0; i < kFields; ++i) {
    text += "column " + std::to_string(i) + "=" + "field " + std::to_string(kFields - i) + ":";
    line += "a field that is longer than a short string,";
  }
  ConnectionPermutation permutation;
  std::string error;
  ASSERT_TRUE(permutation.setPermutation(true, text.c_str(), error) && permutation.prepareOrder(false, error));
  std::string out(line.size() + kFields + 1, '\0');
  bool good = true;
  EXPECT_EQ(allocationsOf([&] { good = permutation.permuteCsvIn(line.c_str(), ',', false, out.data()); }), 0);
  EXPECT_TRUE(good);
  EXPECT_EQ(allocationsOf([&] { good = permutation.permuteCsvIn(line.c_str(), ',', true, out.data()); }), 0);
  EXPECT_FALSE(good) << "two fields are missing";

  std::string record(6 + 4 * kFields, '\0');
  void* permuted = nullptr;
  EXPECT_EQ(allocationsOf([&] { permutation.permuteBinaryRowIn(record.data(), &permuted); }), 1);
  std::free(permuted);
}

}  // namespace
