#!/usr/bin/env bash
# publish.sh [ROWS [REPETITIONS [BATCH]]]: how fast the embedded store takes the sample, beside sqlite3 importing the same
# lines into one table. Ours is durable after every batch, the import when it ends. Rounds take turns; of each the median
# of the clock's seconds counts, and the peak memory of publishing the sample five times over beside once.
# Files of a few hundred bytes a row go to a folder in TMPDIR and are removed.
set -euo pipefail
cd "$(dirname "$0")/.."
rows=${1:-2000000}
repetitions=${2:-5}
batch=${3:-10000}
least=0.8
bin=build/release/benchmarks

cmake --preset release >/dev/null
cmake --build --preset release --target kyv kyv_store_sqlite make_trades measure_run publish_rows >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export KYV_STORE=sqlite KYV_STORE_DIR=$work/store
"$bin/make_trades" "$rows" >"$work/trades.csv"
"$bin/make_trades" --schema >"$work/schema.json"
build/release/tools/kyv convert --quiet --schema "$work/schema.json" "$work/trades.csv" -o "$work/trades.rows"
table="CREATE TABLE trades (Id INTEGER, Symbol TEXT, Side TEXT, Price REAL, Quantity INTEGER, Notional TEXT, ExecutedAt TEXT,
  SettlesOn TEXT, OddLot TEXT, Venue TEXT)"

# measure SIDE COMMAND...: adds a line: side, seconds by the clock, of processor time, peak memory in kilobytes.
measure() {
  local side=$1
  shift
  echo "$side $("$bin/measure_run" "$@")" >>"$work/runs"
}

import() {
  rm -f "$work"/peer.db*
  sqlite3 "$work/peer.db" "PRAGMA journal_mode = $2" "$table" >/dev/null
  measure "$1" sqlite3 "$work/peer.db" ".mode csv" ".import '$work/trades.csv' trades"
}

publish() {
  rm -rf "$work/store"
  measure "$1" "$bin/publish_rows" "$work/trades.rows" "$batch" "$2"
}

for ((i = 0; i < repetitions; ++i)); do
  import import delete
  publish publish 1
  import import_wal wal
done
publish publish_five 5

median() { awk -v side="$1" -v column="$2" '$1 == side { print $column }' "$work/runs" | sort -n | awk '{ all[NR] = $1 } END { print all[int((NR + 1) / 2)] }'; }

awk -v rows="$rows" -v batch="$batch" -v ours="$(median publish 2)" -v peer="$(median import 2)" \
  -v wal="$(median import_wal 2)" -v once="$(median publish 4)" -v five="$(median publish_five 4)" -v least="$least" '
  BEGIN { printf "sqlite3 .import: %d rows/s; with a write-ahead log: %d rows/s\n", rows / peer, rows / wal
          printf "published in batches of %d: %d rows/s, %.2f and %.2f of that, at least %s%s\n", batch, rows / ours,
                 peer / ours, wal / ours, least, (peer / ours < least ? ": missed" : "")
          printf "peak memory: %.1f MB once, %.1f MB five times over\n", once / 1024, five / 1024 }'
