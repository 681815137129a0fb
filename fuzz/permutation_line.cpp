// Any line with its fields in another order. It becomes what a plain loop makes of it, in a buffer of exactly the size
// that the caller must provide, read from memory of exactly its size; the appended form agrees.
//
// Input: the permutation (permutation_input.h), the separator, whether the line begins with two service fields ('1') or
// not ('0'), and how often the rest stands one behind the other ('0' once, '1' 40 times, '2' 400 times), one character
// each; then the line.

#include <memory>
#include <string>
#include <vector>

#include "fuzz/permutation_input.h"
#include "tests/permutation/plain_permutation.h"

namespace {

using kyv_fuzz::require;

constexpr std::size_t kMostFields = 999;

using Result = kyv_test::PlainLine;

Result permutePlainly(const std::vector<int>& fieldOf, const std::string& line, char separator, bool withService) {
  std::vector<std::string> fields = kyv_test::splitAt(separator, line);
  std::string service;
  if (withService) {
    if (fields.size() < 3) return {false, ""};
    service = fields[0] + separator + fields[1];
    fields.erase(fields.begin(), fields.begin() + 2);
  }
  if (fields.size() > kMostFields) return {false, service};
  return kyv_test::permutePlainly(fieldOf, fields, separator, service);
}

Result permute(const ConnectionPermutation& permutation, std::size_t columns, const std::string& line, char separator,
               bool withService) {
  const std::vector<char> text = kyv_fuzz::terminated(line);
  const auto out = std::make_unique<char[]>(line.size() + columns + 1);
  const bool good = permutation.permuteCsvIn(text.data(), separator, withService, out.get());
  return {good, out.get()};
}

Result append(const ConnectionPermutation& permutation, const std::string& line, char separator, bool withService) {
  const std::vector<char> text(line.begin(), line.end());
  kyv::ByteBuffer out;
  const bool good = permutation.appendCsvIn({text.data(), text.size()}, separator, withService, out);
  return {good, std::string(out.view())};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kRepetitions[] = {1, 40, 400};
  kyv_fuzz::FuzzInput input(data, size);
  const kyv_fuzz::PermutationInput test(input);
  const char separator = input.character();
  const bool withService = input.choice(2) == 1;
  const std::size_t repetitions = kRepetitions[input.choice(3)];
  if (separator == '\0') return 0;  // which no line has
  std::string line;
  for (std::size_t i = 0; i < repetitions; ++i) line += input.text();
  const Result expected = permutePlainly(test.fieldOf, line, separator, withService);
  require(permute(test.permutation, test.fieldOf.size(), line, separator, withService) == expected,
          "fields are in platform order");
  const Result appended{expected.good, expected.good ? expected.line : ""};
  require(append(test.permutation, line, separator, withService) == appended, "a line is appended whole or not at all");
  return 0;
}
