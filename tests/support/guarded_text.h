#pragma once

// Texts whose neighbours are watched: readers get a copy that ends where its memory ends (the address sanitizer sees a
// read beyond it), writers a buffer between guard bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "datatypes/padded_text.h"

namespace kyv_test {

template <class Read>
auto readExactly(std::string_view text, Read read) {
  const std::vector<char> copy(text.begin(), text.end());
  return read(std::string_view(copy.data(), copy.size()));
}

// What `parse` makes of a text, plain or padded with digits and points, which must be the same.
template <class Parse>
auto parseBothWays(std::string_view text, Parse parse) {
  const auto plain = readExactly(text, parse);
  const std::string surrounded = "1234567.90123456" + std::string(text) + "7890.23456789012";
  const kyv_internal::PaddedMemory memory = kyv_internal::allocatePadded(text.size());
  std::copy(surrounded.begin(), surrounded.end(), memory.get() - kyv_internal::kTextSlack);
  const auto padded = parse(kyv_internal::PaddedText(memory.get(), text.size()));
  EXPECT_STREQ(padded.error, plain.error) << text;
  if (plain.error == nullptr) {
    EXPECT_EQ(std::memcmp(&padded.value, &plain.value, sizeof plain.value), 0) << text;
  }
  return plain;
}

// What `print` writes into `room` bytes; it returns the end of its text.
template <class Print>
std::string printGuarded(std::size_t room, Print print) {
  constexpr std::size_t kGuard = 32;
  constexpr char kGuardByte = '\x5A';
  std::vector<char> buffer(room + 2 * kGuard, kGuardByte);
  char* const out = buffer.data() + kGuard;
  std::string text(out, print(out));
  const auto untouched = [&](const char* from) { return std::count(from, from + kGuard, kGuardByte) == kGuard; };
  EXPECT_TRUE(untouched(buffer.data())) << "bytes before the buffer were overwritten by " << text;
  EXPECT_TRUE(untouched(out + room)) << "bytes behind the buffer were overwritten by " << text;
  return text;
}

}  // namespace kyv_test
