#!/usr/bin/env bash
# delivering_test.sh EXAMPLES TOOLS DATA: the adapters that deliver are killed and started again until they are through;
# then the stream holds each good line of the file, once and in order.
set -euo pipefail
examples=$(realpath "$1")
PATH=$(realpath "$2"):$PATH
weather=$(realpath "$3")/seattle-weather-hourly-normals.csv
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export KYV_STORE_DIR=$work/store XDG_CONFIG_HOME=$work
unset KYV_STORE KYV_STORE_SYNC

fail() {
  echo "$1" >&2
  exit 1
}

# expect STATUS TEXT COMMAND... : the command ends so and says so.
expect() {
  local status=0 said
  said=$("${@:3}" 2>&1) || status=$?
  if [ "$status" != "$1" ] || [[ $said != *"$2"* ]]; then fail "${*:3}: status $status, said '$said'"; fi
}

# Five times the year's hours, their months and temperatures; every 7,000th line is bad.
for _ in 1 2 3 4 5; do tail -n +2 "$weather"; done |
  awk -F , '{ printf "%d,%s,%.1f\n", NR, substr($1, 6, 2), $3 }' >good.csv
{ echo 'Id,Currency,Rate' && sed '7000~7000s/$/x/' good.csv; } >rates.csv
sed -i 7000~7000d good.csv

# Runs the adapter until it is through, and kills it again and again. Counts into `kills`.
run_and_kill() {
  local pause status
  kills=0
  for pause in 0.00{5,7,9} 0.0{11,13,15,18,21,25,3,4,6,8} 0.{11,15,2,3,5} 1 2 60; do
    status=0
    { timeout --signal=KILL $pause "$examples/$1" "$1" 1 rates.csv 2>said; } 2>/dev/null || status=$? # bash tells kills
    [ $status = 137 ] || break
    kills=$((kills + 1))
  done
  [ $status -le 1 ] || fail "$1 ended with status $status: $(cat said)"
  [ $kills -ge 3 ] || fail "$1 was killed only $kills times"
}

for adapter in delivering_adapter delivering_adapter_in_c; do
  run_and_kill $adapter
  kyv read --quiet --project $adapter:1 --stream Rates | cmp - good.csv
  lines=$(($(wc -l <rates.csv) - 1))
  [ "$(kyv read --quiet --project $adapter:1 --stream RatesBooks)" = "1,$lines,false" ] || fail "$adapter: the books"
  expect 0 "Resuming after delivery key $lines." "$examples/$adapter" $adapter 1 rates.csv
  [ "$(kyv read --quiet --project $adapter:1 --stream Rates | wc -l)" = "$(wc -l <good.csv)" ] || fail "$adapter: more"

  head -n 3 rates.csv >bad.csv
  printf 'x,EUR,y\n4,EUR,' >>bad.csv
  expect 1 'bad lines: 1' "$examples/$adapter" $adapter 2 bad.csv
  expect 1 "record 3: Error converting data 'x'->LONG" "$examples/$adapter" $adapter 3 bad.csv
  head -n 2 rates.csv >bad.csv # shorter than what was delivered of it
  expect 3 'File bad.csv cannot be read' "$examples/$adapter" $adapter 2 bad.csv
  expect 3 'Die Datei none.csv ist nicht lesbar' env LC_ALL=de_DE.UTF-8 "$examples/$adapter" $adapter 1 none.csv
  expect 3 'File . cannot be read: Is a directory' "$examples/$adapter" $adapter 1 .
  expect 4 'Cannot connect to ../none' "$examples/$adapter" ../none 1 rates.csv
  expect 4 'Cannot connect to kind' env KYV_STORE=none "$examples/$adapter" kind 1 rates.csv
  expect 2 'usage:' "$examples/$adapter" 1
  echo "$adapter: $lines lines, killed $kills times, each good line is there once and in order"
done
