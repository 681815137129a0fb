#include "complaint.h"

#include <cstdio>

#include "printable_text.h"

namespace kyv_internal {

void complain(const std::string& text) { std::fprintf(stderr, "kyv: %s\n", printable(text).c_str()); }

void complainInLines(const std::string& text) { std::fprintf(stderr, "kyv: %s\n", text.c_str()); }

void note(const std::string& text) { complain("note: " + text); }

}  // namespace kyv_internal
