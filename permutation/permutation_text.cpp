#include "permutation/permutation_text.h"

#include <algorithm>

namespace kyv_internal {
namespace {

constexpr char kNoEqualsSign[] = "Misformatted permutation string, missing '=' around text '%s'";
constexpr char kNoPlatformName[] = "Misformatted permutation string, empty platform field name around text '%s'";
constexpr char kNoExternalName[] = "Misformatted permutation string, empty external field name around text '%s'";

}  // namespace

PermutationPair readPair(std::string_view text, std::size_t begin) {
  PermutationPair pair;
  pair.begin = begin;
  pair.end = std::min(text.find(':', begin), text.size());
  const std::string_view both = text.substr(begin, pair.end - begin);
  const std::size_t equals = both.find('=');
  if (equals == std::string_view::npos) {
    pair.problem = kNoEqualsSign;
  } else if (equals == 0) {
    pair.problem = kNoPlatformName;
  } else if (equals + 1 == both.size()) {
    pair.problem = kNoExternalName;
  } else {
    pair.platform = both.substr(0, equals);
    pair.external = both.substr(equals + 1);
  }
  return pair;
}

}  // namespace kyv_internal
