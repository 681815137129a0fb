#pragma once

// What the fuzz targets share: taking an input apart, and ending the run when a promise is broken.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_fuzz {

// Takes an input apart from its start. An input that ends early goes on as if it had empty lines and zeros, so every
// input is a case.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size)
      : rest_(static_cast<const char*>(static_cast<const void*>(data)), size) {}

  // The next byte, 0 at the end.
  char character() {
    if (rest_.empty()) return 0;
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  // One of `count` by the next byte: '0' is the first, '1' the second and so on, so that an editor can write seeds.
  std::size_t choice(std::size_t count) { return static_cast<unsigned char>(character() - '0') % count; }

  // Up to the next line feed, which is taken too, or the end. It ends at a NUL byte, as C texts do.
  std::string line() {
    const std::size_t end = rest_.find('\n');
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return untilNul(line);
  }

  // A line with a number, 0 when it has none.
  std::int64_t number() {
    const std::string text = line();
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
  }

  // All that is left, as bytes, and as a text that ends at a NUL byte.
  std::string_view bytes() const { return rest_; }
  std::string text() const { return untilNul(rest_); }

 private:
  static std::string untilNul(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

  std::string_view rest_;
};

// A terminated text in memory of exactly its size, so that the address sanitizer sees a read beyond the terminator.
inline std::vector<char> terminated(const std::string& text) { return {text.c_str(), text.c_str() + text.size() + 1}; }

// Ends the run, which keeps the input, unless the promise was kept.
inline void require(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "Broken promise: %s\n", promise);
  std::abort();
}

}  // namespace kyv_fuzz
