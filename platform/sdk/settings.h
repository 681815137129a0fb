#pragma once

// What a user sets for the stores: variables of the environment, whose names begin with KYV_STORE, and the same names
// in a configuration file for what the environment does not say.
//
// KYV_CONFIG names the file; without it, it is kyv/store.conf below XDG_CONFIG_HOME, or below .config in the home
// folder, if it is there. Its lines are NAME=VALUE; blanks around both do not count, nor do empty lines and those that
// begin with "#". A value may hold any character.

#include <map>
#include <string>
#include <string_view>

#include "platform/sdk/failure.h"

namespace kyv_internal {

class Settings {
 public:
  // Reads the file. KYV_ERROR_USAGE when it cannot be read, or a line of it.
  [[nodiscard]] bool read(Failure& failure);
  // Reads the text of such a file; the path is for messages.
  [[nodiscard]] bool parse(std::string_view text, const std::string& path, Failure& failure);

  // A value; "" without one, or with an empty one.
  std::string get(const char* name) const;

 private:
  bool parseLine(std::string_view line);

  std::map<std::string, std::string, std::less<>> values_;
};

// A variable of the environment; "" without it. A process with more rights than its caller takes nothing from there.
std::string fromEnvironment(const char* variable);

}  // namespace kyv_internal
