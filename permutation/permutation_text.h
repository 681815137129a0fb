#pragma once

// The syntax of a permutation text: pairs PLATFORM=EXTERNAL with colons between them. There is no quoting and no
// trimming: every other byte belongs to a name, and the external name may hold equals signs.

#include <cstddef>
#include <string_view>

namespace kyv_internal {

// A pair as it stands in the text.
struct PermutationPair {
  std::string_view platform;
  std::string_view external;
  std::size_t begin = 0;          // of the pair in the text
  std::size_t end = 0;            // its colon, or the end of the text
  const char* problem = nullptr;  // what is misformatted, a format with the rest of the text as its one value; or null
};

// The pair at `begin`, which lies within the text. With a problem, the names are empty.
PermutationPair readPair(std::string_view text, std::size_t begin);

}  // namespace kyv_internal
