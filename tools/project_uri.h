#pragma once

// The URI of a project that is named on the command line.

#include <string>

namespace kyv_internal {

// For PATH:NUMBER, at the server and in the workspace that guaranteed delivery connects to. Which store serves it is
// configuration.
inline std::string projectUri(const std::string& project) { return "kyv://localhost:0000/default/" + project; }

}  // namespace kyv_internal
