#!/usr/bin/env bash
# run.sh [ROWS [REPETITIONS]]: builds the release preset, times every path beside its peer, and prints the table of ratios.
# The best of the interleaved repetitions counts, so that a busy machine disturbs the figures as little as may be.
# Files of a few hundred bytes a row go to a folder in TMPDIR and are removed.
set -euo pipefail
cd "$(dirname "$0")/.."
rows=${1:-2000000}
repetitions=${2:-9}

# At least so many times as fast as the peer. A path that is not named here is measured for comparison only.
targets='
line to record|6
fields to record|5
record to fields|4
record to host order|0.67
record from host order|0.67
record checked|10
record of the other byte order checked|10
row of a pool|3
row of a pool, 2 threads|3
10 fields by name|0.67
100 fields by name|0.67
line of 10 columns|6
line of 10 columns, copied|0.33
record of 10 columns|0.5
line of 20 columns|6
line of 20 columns, copied|0.33
record of 20 columns|0.5
record of long values|0.33
text to date|5
text to timestamp|5
timestamp to text|8
timestamp by model|1
timestamp by model, ICU|5
text to float|3
text to integer|2.5
float to text, 6 places|4
text to decimal|4
decimal to text|4
hex to bytes|20
bytes to hex|20
time to text by compiled model|6
text to time by compiled model|4
time to text by compiled model, ICU|50
text to time by compiled model, ICU|50
time to text by compiled model, in a zone|0.5
time to text by compiled model, zone and its offset|0.5
text to time by compiled model, in a zone|0.5
1000 statistics|0.5
kyv convert|5
kyv print|5
kyv convert, 2 threads|1.8
kyv load|0.8
'
max_peak_kilobytes=65536

build() {
  cmake --preset release >/dev/null
  cmake --build --preset release --target kyv model_benchmark permutation_benchmark pool_benchmark record_benchmark \
    row_benchmark services_benchmark text_benchmark time_model_benchmark make_trades getline_convert getline_print \
    measure_run >/dev/null
}

bin=build/release/benchmarks
kyv=build/release/tools/kyv
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export KYV_STORE=sqlite KYV_STORE_DIR=$work/projects KYV_STORE_SYNC=full

# Lines "PATH|SIDE|MEASURE", the smallest measure of each path and side, in the order of their first appearance.
best() {
  awk -F'|' '{ key = $1 "|" $2
               if (!(key in least)) { order[++n] = key; least[key] = $3 + 0 }
               if ($3 + 0 < least[key]) least[key] = $3 + 0 }
             END { for (i = 1; i <= n; ++i) print order[i] "|" least[order[i]] }'
}

# Processor nanoseconds an item. The list of names comes first, with measures that never are the best, for the order.
micro_benchmarks() {
  local program
  for program in {row,record,pool,permutation,text,model,time_model,services}_benchmark; do
    "$bin/$program" --benchmark_list_tests=true | sed -E 's#^([^/]*)/(kyv|peer).*#\1|\2|1e9#'
    "$bin/$program" --benchmark_format=csv --benchmark_repetitions="$repetitions" \
      --benchmark_enable_random_interleaving=true --benchmark_min_time=0.05 2>/dev/null |
      sed -nE 's#^"([^"/]*)/(kyv|peer)(/real_time/threads:[0-9]+)?",(.*)$#\1;\2;\4#p' |
      awk -F';' '{ split($3, cells, ","); printf "%s|%s|%.2f\n", $1, $2, 1e9 / cells[6] }'
  done | best
}

# measure PATH SIDE COMMAND...: adds a line of what the command took: seconds by the clock, of processor time, peak memory.
measure() {
  local path=$1 side=$2 clock processor peak
  shift 2
  rm -f "$work/out"
  read -r clock processor peak < <("$bin/measure_run" "$@")
  echo "$path|$side|$clock|$processor|$peak" >>"$work/programs"
}

make_input() {
  "$bin/make_trades" "$rows" >"$work/trades.csv"
  "$bin/make_trades" --schema >"$work/schema.json"
}

# Each load begins without a project, each import without a database; nothing of the one before is still to be written.
loads() {
  rm -rf "$KYV_STORE_DIR" "$work"/imported*
  sync
  measure "kyv load" "$@"
}

has_sqlite() { command -v sqlite3 >/dev/null; }

# What is loaded is what print gives of the records; what is imported has as many rows.
check_loads() {
  local columns='Id INTEGER, Symbol TEXT, Side TEXT, Price REAL, Quantity INTEGER, Notional REAL, ExecutedAt TEXT,
    SettlesOn TEXT, OddLot TEXT, Venue TEXT'
  "$kyv" load --quiet --schema "$work/schema.json" --project benchmark:1 "$work/trades.csv"
  "$kyv" read --quiet --project benchmark:1 --stream Trades | cmp - "$work/ours.csv"
  has_sqlite || { echo "The row of kyv load is left out: there is no sqlite3." >&2; return 0; }
  printf '%s\n' 'PRAGMA journal_mode = WAL;' 'PRAGMA synchronous = FULL;' "CREATE TABLE trades ($columns);" '.mode csv' \
    ".import $work/trades.csv trades" >"$work/import.sql"
  sqlite3 "$work/imported" ".read $work/import.sql" >/dev/null
  [ "$(sqlite3 "$work/imported" 'SELECT count(*) FROM trades')" = "$rows" ]
}

# The programs of a pair must agree: records byte for byte, and printed lines by the records that they read back to.
check_programs() {
  "$bin/getline_convert" "$work/trades.csv" "$work/peer.rows"
  "$kyv" convert --quiet --schema "$work/schema.json" "$work/trades.csv" -o "$work/ours.rows"
  cmp "$work/peer.rows" "$work/ours.rows"
  "$kyv" print --quiet --schema "$work/schema.json" "$work/ours.rows" >"$work/ours.csv"
  "$bin/getline_print" "$work/peer.rows" "$work/peer.csv"
  for side in ours peer; do
    "$kyv" convert --quiet --schema "$work/schema.json" "$work/$side.csv" -o "$work/again.rows"
    cmp "$work/again.rows" "$work/peer.rows"
  done
}

whole_programs() {
  local schema=$work/schema.json csv=$work/trades.csv records=$work/peer.rows
  for ((i = 0; i < repetitions; ++i)); do
    measure "kyv convert" peer "$bin/getline_convert" "$csv" "$work/out"
    measure "kyv convert" kyv "$kyv" convert --quiet --threads 1 --schema "$schema" "$csv" -o "$work/out"
    measure "kyv convert, 2 threads" kyv "$kyv" convert --quiet --threads 2 --schema "$schema" "$csv" -o "$work/out"
    measure "kyv print" peer "$bin/getline_print" "$records" "$work/out"
    measure "kyv print" kyv "$kyv" print --quiet --threads 1 --schema "$schema" "$records" -o "$work/out"
    has_sqlite || continue
    loads peer sqlite3 "$work/imported" ".read $work/import.sql"
    loads kyv "$kyv" load --quiet --threads 1 --schema "$schema" --project benchmark:1 "$csv"
  done
}

# Processor time, but for two threads and for what waits for the disk: there the clock counts. The peer of two threads is
# one.
program_times() {
  awk -F'|' -v threads="kyv convert, 2 threads" '
    $1 == threads { print threads "|kyv|" $3; next }
    $1 == "kyv load" { print $1 "|" $2 "|" $3; next }
    $1 "|" $2 == "kyv convert|kyv" { print threads "|peer|" $3 }
    { print $1 "|" $2 "|" $4 }' "$work/programs" | best
}

# Reads lines "PATH|SIDE|MEASURE".
table() {
  awk -F'|' -v unit="$1" -v targets="$targets" '
    BEGIN { count = split(targets, lines, "\n")
            for (i = 1; i <= count; ++i) { split(lines[i], cells, "|"); target[cells[1]] = cells[2] } }
    { if (!($1 in seen)) { order[++n] = $1; seen[$1] = 1 } time[$1, $2] = $3 }
    END { for (i = 1; i <= n; ++i) {
            path = order[i]
            ratio = time[path, "peer"] / time[path, "kyv"]
            goal = path in target ? target[path] "x" : ""
            verdict = path in target && ratio < target[path] ? " missed" : ""
            printf "| %s | %s %s | %s %s | %.*fx | %s%s |\n", path, time[path, "peer"], unit, time[path, "kyv"], unit,
                   (ratio < 2 ? 2 : 1), ratio, goal, verdict } }'
}

peak_line() {
  awk -F'|' -v limit="$max_peak_kilobytes" '$2 == "kyv" && $5 > peak { peak = $5 }
    END { printf "Peak memory of kyv: %.1f MB, at most %.0f MB%s.\n", peak / 1024, limit / 1024,
                 (peak > limit ? ": missed" : "") }' "$work/programs"
}

build
make_input
check_programs
check_loads
echo "| path | peer | kyv | ratio | at least |"
echo "|---|---|---|---|---|"
micro_benchmarks | table ns
whole_programs
program_times | table s
echo
peak_line
