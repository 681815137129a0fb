// What the C program of tests/abi cannot do: a vector of C++ strings, and a schema that throws.

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "kyv/flat.h"
#include "services/malloc_ptr.h"
#include "tests/support/test_schema.h"

namespace {

using kyv_internal::MallocPtr;

TEST(FlatPermutation, TakesAVectorAndHandsOutItsNames) {
  ConnectionPermutationHandle* const permutation = createConnectionPermutation();
  const std::vector<std::string> names = {"x", "y"};
  setExternalOrder(permutation, &names);
  const MallocPtr<const char*> order(getExtOrder(permutation));
  ASSERT_EQ(getExtOrderSize(permutation), 2);
  EXPECT_STREQ(order.get()[0], "x");
  EXPECT_STREQ(order.get()[1], "y");
  setExternalOrder(permutation, nullptr);
  EXPECT_EQ(getExtOrderSize(permutation), 0);
  const MallocPtr<const char*> empty(getExtOrder(permutation));
  EXPECT_NE(empty, nullptr) << "an allocation of no bytes";
  deleteConnectionPermutation(permutation);
}

TEST(FlatPermutation, LetsNoExceptionOfASchemaOut) {
  ConnectionPermutationHandle* const permutation = createConnectionPermutation();
  kyv_test::TestSchema schema(kyv_test::columnsOf("long"));
  schema.onColumnCount = [] { throw std::runtime_error("no schema"); };
  setPlatOrder(permutation, &schema);
  setExternalOrderWithConnRowTypeAsParam(permutation, &schema);
  EXPECT_EQ(getExtOrderSize(permutation), 0);
  deleteConnectionPermutation(permutation);
}

}  // namespace
