#include "text_layout.h"

namespace kyv_internal {

const char* refuseSeparator(std::string_view separator) {
  const bool oneCharacter = separator.size() == 1 && static_cast<signed char>(separator.front()) >= 0;
  if (!oneCharacter) return "must be one ASCII character";
  const bool special = std::string_view("\"\r\n\0", 4).find(separator.front()) != std::string_view::npos;
  return special ? "cannot be a quote, a line end or NUL" : nullptr;
}

}  // namespace kyv_internal
