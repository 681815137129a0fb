// Any bytes as a compact record with its columns in another order. Nothing outside the length that it claims is read;
// what comes out is what a plain loop makes of it, and a record that validateBinaryRow accepts; what that accepts comes
// back from the other order as it was, when every column has its place there.
//
// Input: the permutation (permutation_input.h), then the record. A length word that claims more than there is becomes
// the record's size.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/permutation_input.h"
#include "fuzz/record_input.h"
#include "services/malloc_ptr.h"

namespace {

using kyv_fuzz::require;
using kyv_internal::load;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kHeader = 6;

std::size_t tableEnd(std::size_t columns) { return kHeader + 4 * columns; }

// The bytes of a column; none where they cannot be told.
std::string columnOf(const Bytes& record, std::size_t columns, std::size_t column) {
  const std::int64_t length = std::max(load<std::int32_t>(record.data()), 0);
  const auto offset = [&](std::size_t c) -> std::int64_t {
    const bool there = c < columns && static_cast<std::int64_t>(tableEnd(c + 1)) <= length;
    return there ? load<std::int32_t>(record.data() + tableEnd(c)) : 0;
  };
  std::int64_t end = length;
  for (std::size_t c = columns; --c > column;) end = offset(c) != 0 ? offset(c) : end;
  const std::int64_t begin = offset(column);
  if (begin <= 0 || begin > end || end > length) return "";
  return kyv_test::textOf({record.begin() + begin, record.begin() + end});
}

std::string permutePlainly(const Bytes& record, std::size_t inCount, const std::vector<int>& columns) {
  std::string table;
  std::string values;
  for (const int column : columns) {
    const std::string value = column < 0 ? "" : columnOf(record, inCount, static_cast<std::size_t>(column));
    const std::size_t offset = value.empty() ? 0 : tableEnd(columns.size()) + values.size();
    table += kyv_test::bytesOf(static_cast<std::int32_t>(offset));
    values += value;
  }
  const auto size = static_cast<std::int32_t>(tableEnd(columns.size()) + values.size());
  const bool hasTag = load<std::int32_t>(record.data()) >= static_cast<std::int32_t>(kHeader);
  return kyv_test::bytesOf(size) +
         (hasTag ? kyv_test::textOf({record.begin() + 4, record.begin() + 6}) : std::string(2, '\0')) + table + values;
}

// What an operation makes of a record.
template <class Permute>
std::string permuted(Bytes record, std::size_t outCount, Permute permute) {
  const Bytes before = record;
  void* out = nullptr;
  require(permute(record.data(), &out), "a record is made");
  const kyv_internal::MallocPtr<void> owner(out);
  require(record == before, "the input is not altered");
  const std::string bytes = kyv_test::recordBytes(out);
  std::string error;
  require(ConnectionPermutation::validateBinaryRow(out, bytes.size(), static_cast<int>(outCount), error),
          "what is made is a good record");
  return bytes;
}

std::string out(const ConnectionPermutation& permutation, const Bytes& record, std::size_t columns) {
  return permuted(record, columns, [&](void* row, void** to) { return permutation.permuteBinaryRowOut(row, to); });
}

std::string in(const ConnectionPermutation& permutation, const Bytes& record, std::size_t columns) {
  return permuted(record, columns, [&](void* row, void** to) { return permutation.permuteBinaryRowIn(row, to); });
}

bool externalColumn(const ConnectionPermutation* permutation, int position, int* column) {
  return permutation->plat2ext(position, column);
}

void check(const kyv_fuzz::PermutationInput& test, const Bytes& record) {
  const std::size_t columns = test.fieldOf.size();
  const std::string platform = in(test.permutation, record, columns);
  require(platform == permutePlainly(record, test.fields, test.fieldOf), "columns are in platform order");
  require(platform == permuted(record, columns,
                               [&](void* row, void** to) {
                                 return test.permutation.permuteBinaryRow(
                                     row, to, static_cast<int>(columns), static_cast<int>(test.fields), externalColumn);
                               }),
          "a map of a caller's own gives the same");

  std::vector<int> columnOfField(test.fields, -1);
  for (std::size_t i = 0; i < columns; ++i) {
    if (test.fieldOf[i] >= 0) columnOfField[static_cast<std::size_t>(test.fieldOf[i])] = static_cast<int>(i);
  }
  require(out(test.permutation, record, test.fields) == permutePlainly(record, columns, columnOfField),
          "columns are in external order");

  const bool pairsAll = std::count(test.fieldOf.begin(), test.fieldOf.end(), -1) == 0 && columns == test.fields;
  if (!pairsAll) return;
  const std::string back = in(test.permutation, kyv_test::exactly(out(test.permutation, record, columns)), columns);
  std::vector<int> same;
  for (std::size_t i = 0; i < columns; ++i) same.push_back(static_cast<int>(i));
  require(back == permutePlainly(record, columns, same), "columns come back from the other order");
}

void checkValidation(const Bytes& record, std::size_t columns) {
  std::string error;
  const bool good =
      ConnectionPermutation::validateBinaryRow(record.data(), record.size(), static_cast<int>(columns), error);
  require(good == error.empty(), "a record is good or refused with a message");
  if (!good) return;
  std::size_t values = 0;
  for (std::size_t i = 0; i < columns; ++i) values += columnOf(record, columns, i).size();
  require(values <= record.size() - tableEnd(columns), "values of a good record do not overlap");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  const kyv_fuzz::PermutationInput test(input);
  checkValidation(kyv_test::exactly(input.bytes()), test.fields);
  check(test, kyv_fuzz::recordOf(input.bytes()));
  return 0;
}
