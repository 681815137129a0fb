#include "record_choice.h"

#include <charconv>

namespace kyv_internal {
namespace {

std::optional<std::uint64_t> parseNumber(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = status == std::errc() && end == text.data() + text.size();
  return whole && number > 0 ? std::optional(number) : std::nullopt;
}

}  // namespace

std::optional<RecordChoice> parseRecordChoice(std::string_view text) {
  const std::size_t dash = text.find('-');
  const std::optional<std::uint64_t> first = parseNumber(text.substr(0, dash));
  const std::optional<std::uint64_t> last = dash == std::string_view::npos ? first : parseNumber(text.substr(dash + 1));
  if (!first || !last || *last < *first) return std::nullopt;
  return RecordChoice{*first, *last};
}

}  // namespace kyv_internal
