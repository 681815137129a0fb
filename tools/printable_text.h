#pragma once

// Text from outside made fit for one line of a terminal.

#include <cstddef>
#include <string>
#include <string_view>

namespace kyv_internal {

// The text with each control character replaced by "?" (a tab by a blank): no byte of a data file moves the cursor.
// Other bytes stay as they are.
std::string printable(std::string_view text);

// The same, with the middle left out where the text has more than `most` bytes: its two ends around " ... ".
std::string printableClipped(std::string_view text, std::size_t most);

// The text as a programmer writes it between quotes: a quote, a backslash, each character that is no ink (control
// characters, invisible ones, those that turn the direction of writing) and each byte that is not UTF-8 as an escape
// such as \", \\, \n, \x1B, \u202E. What is left is UTF-8 and stands on one line.
std::string escaped(std::string_view text);

// The same, with the middle left out where the text has more than `most` bytes.
std::string escapedClipped(std::string_view text, std::size_t most);

// A count with its noun: "1 field", "2 fields".
std::string counted(std::size_t count, const char* noun);

// Whether a byte continues a UTF-8 character, and so takes no place of its own on the screen.
inline bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

// Characters of a UTF-8 text.
std::size_t countCharacters(std::string_view text);

}  // namespace kyv_internal
