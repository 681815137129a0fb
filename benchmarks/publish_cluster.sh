#!/usr/bin/env bash
# publish_cluster.sh [ROWS [REPETITIONS [BATCH]]]: how fast a primary with a standby, both on this machine, takes the
# sample, beside psql's \copy of the same lines into one table of it. A publish is on two disks after every batch, the
# copy when it ends. Rounds take turns; of each the median of the clock's seconds counts.
set -euo pipefail
cd "$(dirname "$0")/.."
rows=${1:-2000000}
repetitions=${2:-5}
batch=${3:-1000}
least=0.5
bin=build/release/benchmarks

cmake --preset release >/dev/null
cmake --build --preset release --target kyv kyv_store_postgres make_trades measure_run publish_rows >/dev/null
work=$(mktemp -d)
chmod 711 "$work"
trap 'scripts/cluster.sh stop "$work/cluster" || true; rm -rf "$work"' EXIT
KYV_STORE_CLUSTER=$(scripts/cluster.sh start "$work/cluster" 2)
export KYV_STORE=postgres KYV_STORE_CLUSTER KYV_STORE_SYNC=full
"$bin/make_trades" "$rows" >"$work/trades.csv"
"$bin/make_trades" --schema >"$work/schema.json"
build/release/tools/kyv convert --quiet --schema "$work/schema.json" "$work/trades.csv" -o "$work/trades.rows"

sql() { psql -X -q "$KYV_STORE_CLUSTER target_session_attrs=read-write" -c "$1" 2>/dev/null; }

for ((i = 0; i < repetitions; ++i)); do
  sql "DROP TABLE IF EXISTS trades"
  sql "CREATE TABLE trades (Id bigint, Symbol text, Side text, Price float8, Quantity integer, Notional numeric(20, 2),
    ExecutedAt timestamp, SettlesOn timestamp, OddLot boolean, Venue text)"
  echo "copy $("$bin/measure_run" psql -X -q "$KYV_STORE_CLUSTER target_session_attrs=read-write" \
    -c "\\copy trades from '$work/trades.csv' with (format csv)")" >>"$work/runs"
  sql "DROP SCHEMA IF EXISTS kyv CASCADE"
  echo "publish $("$bin/measure_run" "$bin/publish_rows" "$work/trades.rows" "$batch")" >>"$work/runs"
done

median() { sed -n "s/^$1 //p" "$work/runs" | cut -d' ' -f1 | sort -n | sed -n "$(((repetitions + 1) / 2))p"; }

awk -v rows="$rows" -v batch="$batch" -v ours="$(median publish)" -v peer="$(median copy)" -v least="$least" '
  BEGIN { printf "psql \\copy: %d rows/s\n", rows / peer
          printf "published in batches of %d: %d rows/s, %.2f of that, at least %s%s\n", batch, rows / ours, peer / ours,
                 least, (peer / ours < least ? ": missed" : "") }'
