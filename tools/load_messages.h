#pragma once

// What a load has to say when it cannot go on, in the user's language.

#include <initializer_list>
#include <string>

namespace kyv_internal {

// A message of the adapters' catalogue with its parameters.
std::string userMessage(const char* id, std::initializer_list<std::string> parameters);

}  // namespace kyv_internal
