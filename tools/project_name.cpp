#include "project_name.h"

#include <charconv>
#include <system_error>

namespace kyv_internal {

std::optional<ProjectName> ProjectName::parse(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) return std::nullopt;
  ProjectName name;
  name.path = text.substr(0, colon);
  const char* const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data() + colon + 1, end, name.number);
  if (status != std::errc() || stop != end || name.number < 0) return std::nullopt;
  return name;
}

}  // namespace kyv_internal
