#pragma once

// Lines for the person at the terminal, on standard error.

#include <string>

namespace kyv_internal {

// Writes "kyv: TEXT" as one line, whatever bytes the text holds.
void complain(const std::string& text);
// Writes "kyv: TEXT" with its line feeds, so that something can be shown below a message.
void complainInLines(const std::string& text);
// Writes "kyv: note: TEXT" likewise.
void note(const std::string& text);

}  // namespace kyv_internal
