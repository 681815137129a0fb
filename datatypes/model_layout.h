#pragma once

// The shortest way for models such as YYYY-MM-DD HH24:MI:SS.FF3: every field has its place in a text of fixed length,
// and a fraction ends it. Texts of another shape and times that need more room go the long way, which gives the same
// results.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "datatypes/fixed_time_layout.h"
#include "datatypes/model_tokens.h"

namespace kyv_internal {

class ModelLayout {
 public:
  // The layout of a model that consists of literals and of YYYY, MM, DD, HH24, MI and SS, each at most once, with FF or
  // FF1 to FF6 at its end, all out of fill mode.
  static std::optional<ModelLayout> of(std::span<const ModelTokenStep> steps);

  // Seconds since 1970 and microseconds of a text of exactly this shape; false for another one and for fields out of
  // their ranges.
  [[nodiscard]] bool read(std::string_view text, std::int64_t& seconds, std::int32_t& micros) const;

  // Returns the number of characters, 0 when the year has not four digits or the fraction is rounded up to more digits
  // than it has. `out` has room for kPrintRoom characters; those behind the text may be overwritten.
  std::size_t print(std::int64_t seconds, std::int32_t micros, char* out) const;

  static constexpr std::size_t kMostSeparator = 8;
  static constexpr std::size_t kPrintRoom = FixedTimeLayout::kPrintRoom + kMostSeparator + 8;

 private:
  explicit ModelLayout(const FixedTimeLayout& clock) : clock_(clock) {}

  bool readClock(std::string_view text, std::int64_t& seconds) const;
  bool readFraction(std::string_view digits, std::int32_t& micros) const;

  FixedTimeLayout clock_;             // all before the fraction's separator
  char separator_[kMostSeparator]{};  // what stands before the fraction
  std::size_t separatorLength_ = 0;
  int fractionDigits_ = 0;   // printed; 0: the model has no fraction
  int leastDigits_ = 1;      // read
  std::int64_t origin_ = 0;  // added to what the clock reads, which begins in 1970
};

}  // namespace kyv_internal
