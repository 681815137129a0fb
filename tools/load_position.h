#pragma once

// How far a delivery has come: what is stored with the rows, in their transaction.
//
// Without a key column the key is the number of the last delivered row in the input: the first row behind the header is
// 1, rejected rows and blank lines count, so that it tells a place whatever became of the rows before it. With a key
// column it is the last delivered row's value there, and how many delivered rows have that value; rejected rows have no
// key and are not counted. So rows done are 0 without a key column and at least 1 with one, which tells the two apart.

#include <cstdint>
#include <string>

namespace kyv_internal {

struct LoadPosition {
  std::int64_t key = 0;
  std::int64_t rowsDone = 0;  // of this key

  bool operator==(const LoadPosition&) const = default;
  bool countsRows() const { return rowsDone == 0; }
  // "row 7", or "key 7 (2 rows of it)".
  std::string text() const;
};

}  // namespace kyv_internal
