#!/usr/bin/env bash
# Documents must not point at what is not there: each relative link leads to a file, each test that is named exists.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

missing=0
report() {
  echo "$1"
  missing=1
}

documents=(*.md docs/*.md)
for document in "${documents[@]}"; do
  while read -r target; do
    [ -e "$(dirname "$document")/${target%%#*}" ] || report "$document links to $target, which is not there"
  done < <(grep -oE '\]\([^)#:][^):]*\)' "$document" | sed 's/^](//; s/)$//')
done

# shellcheck disable=SC2016 # backquotes as Markdown has them
while read -r test; do
  grep -rqE "^TEST(_F|_P)?\(${test%.*}, ${test#*.}\)" tests --include='*_test.cpp' ||
    report "docs/required_oddities.md names the test $test, which is not there"
done < <(grep -oE '`[A-Z][A-Za-z0-9]+\.[A-Z][A-Za-z0-9]+`' docs/required_oddities.md | tr -d '`')

# A promise names the file too: [`Suite.Name`](../tests/FILE).
# shellcheck disable=SC2016
while read -r test file; do
  grep -qE "^TEST(_F|_P)?\(${test%.*}, ${test#*.}\)" "docs/$file" ||
    report "docs/promises.md names the test $test in $file, which has none of this name"
done < <(grep -oE '\[`[^`]+`\]\([^)]+\)' docs/promises.md | sed -E 's/^\[`([^`]+)`\]\((.*)\)$/\1 \2/')
exit $missing
