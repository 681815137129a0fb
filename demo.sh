#!/usr/bin/env bash
# Builds the tool and shows its main jobs on real data: text to binary records and back, and text into a stream, each
# row once, whatever happens.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
exec </dev/null
source scripts/step.sh

scripts/install_packages.sh build
step "Configuring" cmake --preset release -B build/demo -DBUILD_TESTING=OFF
step "Building the library and the tool" cmake --build build/demo

PATH=$PWD/build/demo/tools:$PATH
data=$PWD/examples/data
mkdir -p build/demo/data
cd build/demo/data

# A file's text with the line ends that kyv writes: a line feed each, after the last line too.
# shellcheck disable=SC1003 # the backslash is sed's
with_line_feeds() { sed -e 's/\r$//' -e '$a\' "$1"; }

printf '\nReal data to records and back (kyv infer, kyv convert, kyv print)\n'
for file in airports birdstrikes seattle-weather-hourly-normals; do
  kyv infer --quiet "$data/$file.csv" >$file.json
  kyv convert --schema $file.json "$data/$file.csv" -o $file.rows 2>$file.log
  kyv print --schema $file.json --header $file.rows -o $file.csv --quiet
  printf '  %-35s %s\n' $file.csv "$(tail -n 1 $file.log | cut -d '(' -f 1)"
  cmp <(with_line_feeds "$data/$file.csv") $file.csv
done
echo '  Printed from the records, each text is the same as before.'

file=seattle-weather-hourly-normals
row() { sed -n 2p "$data/$file.csv"; }
types=$(sed -n 's/.*"name": "\([^"]*\)", "type": "\([^"]*\)".*/\1 \2/p' $file.json)
{ head -n 1 "$data/$file.csv"; row; } >rows.csv
kyv convert --schema $file.json rows.csv -o one.rows --quiet
printf '\nOne row of it\n'
printf '  as text     %s\n' "$(row)"
printf '  as guessed  %s\n' "${types//$'\n'/, }"
od -A n -t x1 -v one.rows | sed '1s/^/  as record  /; 2,$s/^/             /'
kyv inspect --schema $file.json one.rows --html one.html --quiet
printf '  as JSON     %s\n' "$(kyv print --schema $file.json --format json one.rows --quiet)"
printf '  as a page   %s\n' build/demo/data/one.html

row | sed 's/4[.]0/4.O/' >>rows.csv
printf '\nWhat does not fit is reported, and stops no other row\n'
kyv convert --schema $file.json rows.csv -o some.rows 2>&1 | sed 's/^/  /' || [ $? -eq 1 ]

printf '\nInto a stream of this machine, killed half way and started again (kyv load, kyv read)\n'
export KYV_STORE_DIR=$PWD/projects KYV_STORE=sqlite
rm -rf projects
rows=$(($(wc -l <"$data/$file.csv") - 1))
load=(kyv load --schema "$file.json" --project demo/weather:1 "$data/$file.csv")
read_stream() { kyv read --quiet --project demo/weather:1 --stream $file --timestamp-format %Y-%m-%dT%H:%M:%S "$@"; }
{
  "${load[@]}" --batch 10 & # small batches, so that there is a half way
  until [ -n "$(read_stream --from $((rows / 2 - 100)) --limit 1)" ] || ! kill -0 $!; do :; done
  kill -KILL $! || true # a fast machine may be through
  wait $! || true
} 2>/dev/null # bash tells of the kill
printf '  killed with %s of %s rows in the stream\n' "$(read_stream | wc -l)" "$rows"
"${load[@]}" 2>&1 | sed 's/^/  /'
printf '  now %s rows are in the stream\n' "$(read_stream | wc -l)"
read_stream --header | cmp - $file.csv
echo '  Printed from the stream, they are the file: each row once, and in order.'

printf '\nSchemas, records and texts are in build/demo/data; "build/demo/tools/kyv --help" says more.\n'
