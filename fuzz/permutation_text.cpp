// Any text as a permutation. It is refused with a message, or made of the pairs that it gives; every name leads to its
// partner and back, and so does every position once the orders are prepared, and both lead to the same names.
//
// Input: whether external fields have names ('1') or not ('0'), whether numbers may have holes, and whether the
// external order is made from the text, one character each; a line of names with blanks between them for each order,
// an empty one for the order of the text; then the text.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "kyv/connection_permutation.h"
#include "tests/support/words.h"

namespace {

using kyv_fuzz::require;

struct Case {
  bool externalHasNames;
  bool requireNoHoles;
  bool derives;
  std::vector<std::string> platform;
  std::vector<std::string> external;
  std::string text;

  // An order of a million names takes a second, and tells nothing more.
  bool isQuick() const {
    int digits = 0;
    for (const char c : text) {
      digits = c >= '0' && c <= '9' ? digits + 1 : 0;
      if (digits > 4) return false;
    }
    return true;
  }
};

// The first position of a name, or -1.
int positionIn(const std::vector<std::string>& order, const std::string& name) {
  const auto found = std::find(order.begin(), order.end(), name);
  return found == order.end() ? -1 : static_cast<int>(found - order.begin());
}

void checkFault(const ConnectionPermutation& permutation, const std::string& text) {
  const auto pair = permutation.faultyPair();
  require(!pair || (pair->begin <= pair->end && pair->end <= text.size()), "a faulty pair lies in the text");
  std::string out;
  const bool known = permutation.plat2ext(std::string("a"), out);
  require(out == "a" && known == permutation.isDirect(), "a failed object gives the argument");
}

// The pairs as they stood in the text, by their platform names.
std::vector<std::string> checkNames(const ConnectionPermutation& permutation, const Case& test) {
  std::vector<std::string> platformNames;
  std::string again;
  for (std::size_t at = 0; at < test.text.size();) {
    const std::string name = test.text.substr(at, test.text.find('=', at) - at);
    std::string external;
    std::string back;
    require(permutation.plat2ext(name, external) && permutation.ext2plat(external, back), "a name has a partner");
    require(back == name, "names lead back");
    again += name + '=' + external;
    at = again.size();
    if (at < test.text.size()) again += test.text[at++];
    platformNames.push_back(name);
  }
  require(again == test.text, "the text is made of its pairs");
  return platformNames;
}

void checkPositions(const ConnectionPermutation& permutation, const std::vector<std::string>& platform,
                    const std::vector<std::string>& platformNames) {
  for (const std::string& name : platformNames) {
    std::string external;
    int there = -1;
    int back = -1;
    const int position = positionIn(platform, name);
    permutation.plat2ext(name, external);
    require(permutation.plat2ext(position, &there) && permutation.ext2plat(there, &back), "positions have partners");
    require(back == position && there == positionIn(permutation.externalOrder(), external), "positions are of names");
  }
}

void check(const Case& test) {
  constexpr char kUntouched[] = "untouched";
  ConnectionPermutation permutation;
  std::string error = kUntouched;
  const std::vector<char> text = kyv_fuzz::terminated(test.text);
  const bool read = permutation.setPermutation(test.externalHasNames, text.data(), error);
  require(read != permutation.isFailed() && read == (error == kUntouched), "a text is read or refused with a message");
  if (!read) return checkFault(permutation, test.text);
  require(permutation.isDirect() == test.text.empty(), "only a text without pairs is direct");
  const std::vector<std::string> platformNames = checkNames(permutation, test);
  if (!test.platform.empty()) permutation.setPlatOrder(test.platform);
  if (!test.external.empty() || test.derives) permutation.setExternalOrder(test.external);
  const bool prepared = permutation.prepareOrder(test.requireNoHoles, error);
  require(prepared != permutation.isFailed() && prepared == (error == kUntouched), "orders are prepared or refused");
  if (!prepared) return checkFault(permutation, test.text);
  checkPositions(permutation, test.platform.empty() ? platformNames : test.platform, platformNames);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyv_fuzz::FuzzInput input(data, size);
  Case test;
  test.externalHasNames = input.choice(2) == 1;
  test.requireNoHoles = input.choice(2) == 1;
  test.derives = input.choice(2) == 1;
  test.platform = kyv_test::words(input.line());
  test.external = kyv_test::words(input.line());
  test.text = input.text();
  if (test.isQuick()) check(test);
  return 0;
}
