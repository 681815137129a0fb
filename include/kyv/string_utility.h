#pragma once

// Small string functions. All are stateless and may be called from any thread at once.

#include <cstddef>
#include <string>
#include <vector>

#include "kyv/export.h"

namespace DALVON::Kyv {

// Lower-cases every byte with the C library's tolower, in place; returns the argument.
KYV_EXPORT std::string& toLowerString(std::string& text);

// Splits at the first separator; without one, `head` is the whole text and `tail` is empty.
KYV_EXPORT void splitString(const std::string& text, char separator, std::string& head, std::string& tail);

// Appends each separated piece of `text` to `out` and returns the size of `out`. An empty text is one empty piece; a
// NUL byte ends the text. `text` must be the caller's own to write to; it is unchanged afterwards.
KYV_EXPORT std::size_t splitString(std::string& text, char separator, std::vector<std::string>& out);

// Replaces `out` by the parts with one separator between each two.
KYV_EXPORT void joinString(const std::vector<std::string>& parts, char separator, std::string& out);

// Turns tabs into spaces, removes spaces at both ends and makes each inner run of spaces one space. Other control
// characters stay.
KYV_EXPORT void trimWhiteSpace(std::string& text);

// Removes spaces (only those) at both ends, in place, and returns a copy of the result.
KYV_EXPORT std::string trimSpace(std::string& text);

// Formats like printf into a new string, which ends at the first NUL byte: a "%c" of 0 cuts the text.
KYV_EXPORT std::string strprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// True when `text` matches the POSIX extended regular expression anywhere; false for an invalid expression too. The
// expression is compiled on every call.
KYV_EXPORT bool regexMatch(const std::string& pattern, const std::string& text);

}  // namespace DALVON::Kyv
