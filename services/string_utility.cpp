#include "kyv/string_utility.h"

#include <regex.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <memory>

namespace DALVON::Kyv {

std::string& toLowerString(std::string& text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return text;
}

void splitString(const std::string& text, char separator, std::string& head, std::string& tail) {
  const std::size_t position = text.find(separator);
  const bool found = position != std::string::npos;
  // Both parts are complete before either is stored: an argument may be head or tail as well.
  std::string first = text.substr(0, position);
  std::string rest = found ? text.substr(position + 1) : std::string();
  head = std::move(first);
  tail = std::move(rest);
}

std::size_t splitString(std::string& text, char separator, std::vector<std::string>& out) {
  const char* piece = text.c_str();
  for (;;) {
    const char* end = piece;
    while (*end != separator && *end != '\0') ++end;
    out.emplace_back(piece, end);
    if (*end == '\0') return out.size();
    piece = end + 1;
  }
}

void joinString(const std::vector<std::string>& parts, char separator, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) out += separator;
    out += parts[i];
  }
}

void trimWhiteSpace(std::string& text) {
  std::replace(text.begin(), text.end(), '\t', ' ');
  trimSpace(text);
  const auto bothSpaces = [](char left, char right) { return left == ' ' && right == ' '; };
  text.erase(std::unique(text.begin(), text.end(), bothSpaces), text.end());
}

std::string trimSpace(std::string& text) {
  text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string strprintf(const char* format, ...) {
  // Holds nearly every message, so that the result is the only allocation. Empty in case the C library writes nothing.
  char text[1024];
  text[0] = '\0';
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);

  // Required as is: a negative length (a wide character that cannot be encoded) is no error; what was written up to
  // there is the result.
  if (length < static_cast<int>(sizeof text)) return text;

  const std::size_t size = static_cast<std::size_t>(length) + 1;
  const auto longText = std::make_unique_for_overwrite<char[]>(size);
  va_start(arguments, format);
  std::vsnprintf(longText.get(), size, format, arguments);
  va_end(arguments);
  return longText.get();
}

bool regexMatch(const std::string& pattern, const std::string& text) {
  regex_t expression{};
  const bool matches = regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) == 0 &&
                       regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&expression);
  return matches;
}

}  // namespace DALVON::Kyv
