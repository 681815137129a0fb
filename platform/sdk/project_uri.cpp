#include "platform/sdk/project_uri.h"

#include <algorithm>

namespace kyv_internal {

namespace {

constexpr std::string_view kScheme = "kyv://";
constexpr std::size_t kMostDigits = 9;
constexpr std::size_t kLongestPart = 200;  // a file name has 255 characters, and the store adds some

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isNameCharacter(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' || c == '.';
}

bool isName(std::string_view text) {
  return !text.empty() && text.size() <= kLongestPart && text.front() != '.' &&
         std::all_of(text.begin(), text.end(), isNameCharacter);
}

bool isPath(std::string_view text) {
  for (;;) {
    const std::size_t slash = text.find('/');
    if (!isName(text.substr(0, slash))) return false;
    if (slash == std::string_view::npos) return true;
    text.remove_prefix(slash + 1);
  }
}

bool isNumber(std::string_view text) {
  return !text.empty() && text.size() <= kMostDigits && std::all_of(text.begin(), text.end(), isDigit);
}

bool isServer(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  return colon != std::string_view::npos && isName(text.substr(0, colon)) && isNumber(text.substr(colon + 1));
}

// Cuts off what stands before a character, and the character; all when it is not there.
std::string_view cut(std::string_view& text, std::size_t position) {
  const std::string_view head = text.substr(0, position);
  text.remove_prefix(std::min(text.size(), head.size() + 1));
  return head;
}

}  // namespace

bool parseProjectUri(std::string_view text, ProjectAddress& address, Failure& failure) {
  std::string_view rest = text.starts_with(kScheme) ? text.substr(kScheme.size()) : std::string_view();
  const std::string_view server = cut(rest, rest.find('/'));
  const std::string_view workspace = cut(rest, rest.find('/'));
  const std::string_view path = cut(rest, rest.rfind(':'));
  if (!isServer(server) || !isName(workspace) || !isPath(path) || !isNumber(rest)) {
    return fail(failure, KYV_ERROR_USAGE,
                "'%.*s' is no project's address, which looks like kyv://HOST:PORT/WORKSPACE/PATH:NUMBER",
                static_cast<int>(std::min<std::size_t>(text.size(), 1000)), text.data());
  }
  address = {std::string(server), std::string(workspace), std::string(path), std::string(rest)};
  return true;
}

}  // namespace kyv_internal
