#pragma once

// A "%"-style format, taken apart once. Reading follows the C library's strptime and printing its strftime, which know
// different conversions, so a step says for each of the two what to do. "%F" and its like become the steps of what they
// stand for.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kyv_internal {

// What a step does when it is none of the conversions, which are written as their letter.
inline constexpr char kNothing = 0;
inline constexpr char kLiteralStep = 1;  // the one character `literal`
inline constexpr char kBlanks = 2;       // reads any white space, also none
inline constexpr char kNever = 3;        // matches no text
inline constexpr char kByLibrary = 4;    // prints what strftime makes of the conversion's text

struct Step {
  char read = kNothing;
  char print = kNothing;
  char literal = 0;
  char pad = 0;               // of a printed number: '_', '-' or '0' as given, 0 for its own
  std::uint32_t operand = 0;  // of a printed number: its least width; of kByLibrary: where its text begins
};

class PercentSteps {
 public:
  // What a long format takes comes from `memory`, which must outlive the steps.
  explicit PercentSteps(std::string_view format, std::pmr::memory_resource* memory = std::pmr::get_default_resource())
      : many_(memory), libraryTexts_(memory) {
    addFormat(format);
  }

  std::span<const Step> steps() const { return many_.empty() ? std::span(few_.data(), count_) : std::span(many_); }

  // The terminated text of a step that the C library prints.
  const char* libraryText(const Step& step) const { return libraryTexts_.data() + step.operand; }

 private:
  void addFormat(std::string_view format);
  std::size_t addLiteral(char literal);
  std::size_t addConversion(std::string_view format);
  std::size_t addSpelledConversion(std::string_view format);
  std::uint32_t addLibraryText(std::string_view text);
  void addForReading(std::string_view format);
  Step& add();

  std::array<Step, 24> few_{};     // enough for the formats in use without an allocation
  std::size_t count_ = 0;          // of few_
  std::pmr::vector<Step> many_;    // all of them when they are more
  std::pmr::string libraryTexts_;  // each with its terminator
};

}  // namespace kyv_internal
