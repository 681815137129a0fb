#pragma once

// Texts with readable memory around them. What stands there does not matter: it lets readers load a short text in whole
// words, whatever its length, where they would have to ask for the length first, which the processor cannot foresee.
// Rows keep all their texts so; any other text is a plain view, of which nobody reads more than its own characters.

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace kyv_internal {

inline constexpr std::size_t kTextSlack = 16;  // bytes before and behind a padded text

class PaddedText : public std::string_view {
 public:
  PaddedText() = default;
  // REQUIRES: kTextSlack bytes before and behind the text may be read.
  constexpr PaddedText(const char* data, std::size_t size) : std::string_view(data, size) {}
};

// Memory for padded texts. The pointer is to the first of the bytes that were asked for.
struct FreePadded {
  void operator()(char* memory) const { std::free(memory - kTextSlack); }
};
using PaddedMemory = std::unique_ptr<char, FreePadded>;

// `size` bytes of any content between slack. Null when memory is exhausted.
[[nodiscard]] inline PaddedMemory allocatePadded(std::size_t size) {
  char* const block = static_cast<char*>(std::malloc(size + 2 * kTextSlack));
  if (block == nullptr) return nullptr;
  std::memset(block, 0, kTextSlack);
  std::memset(block + kTextSlack + size, 0, kTextSlack);
  return PaddedMemory(block + kTextSlack);
}

}  // namespace kyv_internal
