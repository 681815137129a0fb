#!/usr/bin/env bash
# load_killed_test.sh KYV: loads into the store on a cluster are killed with kill -9 again and again, and go on each
# time. In the end the stream holds the file's rows once, in order and byte for byte.
set -euo pipefail
kyv=$(realpath "$1")
cluster=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../../scripts/cluster.sh")
dir=$(mktemp -d)
trap '"$cluster" stop "$dir/cluster" || true; rm -rf "$dir"' EXIT

status=0
chmod 711 "$dir"
address=$(KYV_CLUSTER_FSYNC=off "$cluster" start "$dir/cluster" 1) || status=$?
[ "$status" -ne 77 ] || echo "skipped: loads into a cluster that are killed are not tested"
[ "$status" -eq 0 ] || exit "$status"

export KYV_STORE=postgres KYV_STORE_CLUSTER=$address KYV_STORE_SYNC=normal XDG_CONFIG_HOME=$dir
unset KYV_STORE_WAIT
cd "$dir"
cat >s.json <<'SCHEMA'
{"stream": "t", "id": 3, "columns": [{"name": "Id", "type": "long"}, {"name": "Name", "type": "string"},
                                     {"name": "Price", "type": "float"}]}
SCHEMA

# run PROJECT: loads the file until it is done, or `pause` microseconds have passed. Both kinds of delivery key have
# their turn.
run() {
  local options=(--batch "$batch")
  [ $(($1 % 2)) -eq 0 ] || options+=(--key-column Id)
  timeout --signal=KILL "$((pause / 1000000)).$(printf %06d $((pause % 1000000)))" \
    "$kyv" load -q -s s.json --project "$batch:$1" "${options[@]}" in.csv
}

# The rows that are stored; none, too, while there is no project or no stream.
stored() { { "$kyv" read -q --project "$batch:$1" --stream t 2>/dev/null || true; } | wc -l; }

# Sets `status` to that of a load which is to be killed, and counts where the kill hit it.
kill_one() {
  local before after
  before=$(stored "$1")
  status=0
  { run "$1" 2>said; } 2>/dev/null || status=$? # bash tells kills
  [ "$status" -eq 137 ] || return 0
  after=$(stored "$1")
  if [ "$after" -eq "$rows" ]; then
    at_end=$((at_end + 1))
  elif [ "$after" -eq "$before" ]; then
    connecting=$((connecting + 1))
  else
    publishing=$((publishing + 1))
  fi
}

# The stream must be the file.
check() {
  "$kyv" read -q --project "$batch:$1" --stream t | cmp - in.csv ||
    { echo "project $batch:$1 is not the file"; exit 1; }
}

# How long a load takes that nobody kills, in microseconds.
measure() {
  local start
  start=${EPOCHREALTIME/./}
  pause=60000000
  run 0
  whole=$((${EPOCHREALTIME/./} - start))
  check 0
}

# Kills loads of one project at any moment, up to five or until one ends by itself, and lets the last come to its end.
kill_some() {
  status=137
  for _ in 1 2 3 4 5; do
    pause=$((1 + (RANDOM * 32768 + RANDOM) % (whole * 5 / 4)))
    kill_one "$1"
    [ "$status" -eq 137 ] || break
  done
  [ "$status" -eq 137 ] || [ "$status" -eq 0 ] || { echo "$batch:$1 ended with status $status:"; cat said; exit 1; }
  pause=60000000
  run "$1"
  check "$1"
}

# Three rows have one key. The larger the batches, the more rows it takes to be killed between two of them.
all=0 unfinished=0
for size in 1:2000 7:5000 100:20000 1000:60000; do
  batch=${size%:*} rows=${size#*:}
  seq "$rows" | awk '{ printf "%d,name%d,%d.5\n", $1 / 3, $1, $1 }' >in.csv
  measure
  connecting=0 publishing=0 at_end=0 project=0
  while [ $((connecting + publishing + at_end)) -lt 6 ] || [ "$publishing" -lt 2 ]; do
    project=$((project + 1))
    [ "$project" -le 30 ] || { echo "loads in batches of $batch end before they are killed"; exit 1; }
    kill_some "$project"
  done
  echo "batches of $batch: $rows rows in $((whole / 1000)) ms; $project loads, killed $connecting times before they" \
    "published, $publishing while they did, $at_end with everything stored"
  all=$((all + connecting + publishing + at_end)) unfinished=$((unfinished + connecting + publishing))
done
echo "$all kills, $unfinished of them of an unfinished load: each row is there once and in order"
