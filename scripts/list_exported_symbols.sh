#!/usr/bin/env bash
# Prints what a shared library exports: demangled, with std::string by its usual name, one name a line, sorted by bytes.
#
#   scripts/list_exported_symbols.sh LIBRARY
set -euo pipefail
string='std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >'
nm --dynamic --defined-only --format=just-symbols "$1" | c++filt | sed "s/$string/std::string/g" |
  LC_ALL=C sort --unique
