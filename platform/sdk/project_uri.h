#pragma once

// The address of a project: "kyv://HOST:PORT/WORKSPACE/PATH:NUMBER".

#include <string>
#include <string_view>

#include "platform/sdk/failure.h"

namespace kyv_internal {

// What becomes of a project that is opened and is not there: it is made, or that is KYV_ERROR_MISSING.
enum class IfMissing { Create, Fail };

// Every part is safe in a file name: letters, digits and "_", "-", ".", the last not at the start; parts of the path
// are separated by "/".
struct ProjectAddress {
  std::string server;     // HOST:PORT
  std::string workspace;  // usually "default"
  std::string path;
  std::string number;  // digits
  IfMissing ifMissing = IfMissing::Create;
};

[[nodiscard]] bool parseProjectUri(std::string_view text, ProjectAddress& address, Failure& failure);

}  // namespace kyv_internal
