#pragma once

// Why a call failed: a kind of sdk.h and a text. Operations that can fail return false and fill one.

#include <cstdint>
#include <string>

#include "kyv/sdk.h"

namespace kyv_internal {

struct Failure {
  std::int32_t code = KYV_ERROR_NONE;
  std::string message;
};

// Fills the failure as printf does, and returns false.
[[gnu::format(printf, 3, 4)]] bool fail(Failure& failure, std::int32_t code, const char* format, ...);

}  // namespace kyv_internal
