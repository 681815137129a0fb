#include "platform/sdk/settings.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace kyv_internal {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "KYV_STORE";
constexpr std::size_t kMostBytes = 65536;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool isName(std::string_view text) {
  return text.starts_with(kPrefix) &&
         std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'A' && c <= 'Z') || c == '_'; });
}

// The file that is read when nobody names one; empty without a place for it.
fs::path usualFile() {
  if (const std::string config = fromEnvironment("XDG_CONFIG_HOME"); !config.empty()) {
    return fs::path(config) / "kyv/store.conf";
  }
  const std::string home = fromEnvironment("HOME");
  return home.empty() ? fs::path() : fs::path(home) / ".config/kyv/store.conf";
}

}  // namespace

std::string fromEnvironment(const char* variable) {
  const char* const value = secure_getenv(variable);
  return value != nullptr ? value : "";
}

bool Settings::read(Failure& failure) {
  const std::string named = fromEnvironment("KYV_CONFIG");
  const fs::path path = named.empty() ? usualFile() : fs::path(named);
  std::error_code error;
  if (named.empty() && (path.empty() || !fs::exists(path, error))) return true;
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::string text(kMostBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  if (file.bad() || (!file.eof() && text.size() <= kMostBytes)) {
    return fail(failure, KYV_ERROR_USAGE, "the configuration file '%s' cannot be read: %s", path.c_str(),
                std::generic_category().message(errno).c_str());
  }
  return parse(text, path.string(), failure);
}

bool Settings::parse(std::string_view text, const std::string& path, Failure& failure) {
  if (text.size() > kMostBytes) {
    return fail(failure, KYV_ERROR_USAGE, "the configuration file '%s' is larger than %zu bytes", path.c_str(),
                kMostBytes);
  }
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (!parseLine(trimmed(text.substr(0, end)))) {
      return fail(failure, KYV_ERROR_USAGE, "%s:%d: expected a setting such as KYV_STORE=sqlite", path.c_str(), number);
    }
    text.remove_prefix(std::min(text.size(), end + 1));
  }
  return true;
}

bool Settings::parseLine(std::string_view line) {
  if (line.empty() || line.front() == '#') return true;
  const std::size_t equals = std::min(line.find('='), line.size());
  const std::string_view name = trimmed(line.substr(0, equals));
  if (equals == line.size() || !isName(name)) return false;
  values_.insert_or_assign(std::string(name), std::string(trimmed(line.substr(equals + 1))));
  return true;
}

std::string Settings::get(const char* name) const {
  std::string value = fromEnvironment(name);
  if (!value.empty()) return value;
  const auto found = values_.find(std::string_view(name));
  return found != values_.end() ? found->second : "";
}

}  // namespace kyv_internal
