#pragma once

// The name of a project on the command line, PATH:NUMBER.

#include <optional>
#include <string>

namespace kyv_internal {

struct ProjectName {
  std::string path;
  int number = 0;

  // Nothing when the text is none. What a path may hold is the client SDK's to say.
  static std::optional<ProjectName> parse(const std::string& text);

  std::string text() const { return path + ":" + std::to_string(number); }
  // For the client SDK: of the server and the workspace that guaranteed delivery uses.
  std::string uri() const { return "kyv://localhost:0000/default/" + text(); }
};

}  // namespace kyv_internal
