#!/usr/bin/env bash
# Compares what a library exports with the list that the tree keeps: nothing may leak out, nothing vanish unseen.
#
#   exported_symbols_test.sh LIBRARY LIST
set -euo pipefail
scripts=$(dirname "${BASH_SOURCE[0]}")/../../scripts
if diff --unified=0 --label "$2" --label "$1" "$2" <("$scripts/list_exported_symbols.sh" "$1"); then
  exit 0
fi
echo "If the change is meant, run scripts/update_exported_symbols.sh and commit the list with it."
exit 1
