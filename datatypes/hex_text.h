#pragma once

// Bytes to and from hexadecimal text.

#include <cstddef>
#include <span>
#include <string_view>

#include "datatypes/parsed.h"

namespace kyv_internal {

// Digits pair up, white space between them is skipped. The value is the number of bytes written. After a failure `out`
// may hold the bytes before the fault.
Parsed<std::size_t> parseHex(std::string_view text, std::span<unsigned char> out);

// Whether a text holds so many bytes, and nothing that parseHex refuses.
bool holdsHexBytes(std::string_view text, std::size_t bytes);

// Two upper-case digits a byte, no terminator; `out` has room for them. Returns the end.
char* printHex(std::span<const unsigned char> bytes, char* out);

}  // namespace kyv_internal
