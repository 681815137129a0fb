#include "datatypes/digit_block.h"
#include "kyv/data_value.h"

namespace kyv_internal {

namespace {

constexpr FourDigitTable makeFourDigitTable() {
  FourDigitTable table{};
  for (int i = 0; i < 10000; ++i) {
    int rest = i;
    for (int place = 3; place >= 0; --place, rest /= 10) table.text[i][place] = static_cast<char>('0' + rest % 10);
  }
  return table;
}

}  // namespace

extern "C" constexpr FourDigitTable kyv_four_digits = makeFourDigitTable();

}  // namespace kyv_internal

namespace DataTypes {

// A plain array cannot be computed by the compiler, a structure that holds one can: the array is its other name.
extern const char four2ascii[10000][4] __attribute__((alias("kyv_four_digits")));

}  // namespace DataTypes
