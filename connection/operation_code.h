#pragma once

// The letters of the operations, and the conversions' common refusals.

#include "kyv/connection_row.h"

namespace kyv_internal {

inline constexpr char kShineLetter = 's';

// A character as messages show it: itself if printable, else "?".
char shown(char c);

// The operation of a letter: i, u, d or p in either case; and the letter of an operation: both deletes print as d.
// Otherwise false with a message, `out` unchanged.
bool parseOperation(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo,
                    ConnectionErrors& errors);
bool printOperation(char& out, int operation, unsigned long recordNo, ConnectionErrors& errors);

// Reads flags: none when null or empty, else the first character must be "s". Otherwise false with a message.
bool parseFlags(bool& shineThrough, const char* flags, unsigned long recordNo, ConnectionErrors& errors);

}  // namespace kyv_internal
