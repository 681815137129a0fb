#!/usr/bin/env bash
# Checks the format of all sources, then runs clang-tidy over those that the libraries and the tool are built from.
#
#   scripts/lint.sh [FILE...]     only these files; all that git knows without any
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
scripts/install_packages.sh build test check
sources=("$@")
[ $# -gt 0 ] || mapfile -t sources < <(git ls-files '*.c' '*.cpp' '*.h')

status=0
clang-format --dry-run -Werror "${sources[@]}" || status=1

# clang-tidy reads each file's compiler options from the dev build's record of them.
cmake --preset dev >/dev/null
printf '%s\n' "${sources[@]}" | grep -E '^(connection|datatypes|platform|row2|services|tools)/.*\.cpp$' |
  xargs --no-run-if-empty --max-procs="$(nproc)" --max-args=4 clang-tidy --quiet -p build/dev || status=1
exit $status
