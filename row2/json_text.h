#pragma once

// Text as a JSON string.

#include <string_view>

#include "kyv/byte_buffer.h"

namespace kyv_internal {

// Appends the text between quotes, escaped. Bytes that are not UTF-8 become U+FFFD, one for each byte.
void appendJsonString(std::string_view text, kyv::ByteBuffer& out);

}  // namespace kyv_internal
