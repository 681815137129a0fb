#!/usr/bin/env bash
# faults_test.sh SEQUENCE ROUNDS: makes a cluster of three nodes fail in every way it can, round by round, while SEQUENCE
# publishes to it and cuts its own connections. In the end the stream must hold what was acknowledged, once and in order.
set -euo pipefail
sequence=$1 rounds=$2
cluster=$(dirname "${BASH_SOURCE[0]}")/../../scripts/cluster.sh
dir=$(mktemp -d)
nodes=$dir/cluster
publisher=
finish() {
  [ -z "$publisher" ] || kill -KILL "$publisher" 2>/dev/null || true
  "$cluster" stop "$nodes" || true
  rm -rf "$dir"
}
trap finish EXIT

status=0
chmod 711 "$dir"
address=$("$cluster" start "$nodes") || status=$?
[ "$status" -ne 77 ] || echo "skipped: a cluster's faults are not tested"
[ "$status" -eq 0 ] || exit "$status"

export KYV_STORE=postgres KYV_STORE_CLUSTER="$address connect_timeout=2" KYV_STORE_WAIT
unset KYV_STORE_SYNC

acknowledged() {
  local last
  last=$(cat "$dir/progress" 2>/dev/null)
  echo "$((10#${last:-0}))"
}

# The publisher must get on, by some publishes so that none of them was under way before.
gets_on() {
  local before
  before=$(acknowledged)
  for _ in $(seq 600); do
    [ "$(acknowledged)" -lt $((before + 100)) ] || return 0
    kill -0 "$publisher" 2>/dev/null || { echo "the publisher has ended"; return 1; }
    sleep 0.05
  done
  echo "the publisher does not get on"
  return 1
}

publish() {
  "$sequence" publish "$dir/progress" >>"$dir/report" &
  publisher=$!
  gets_on
}

# --- Faults

primary_is_killed() {
  "$cluster" kill "$nodes" primary && "$cluster" promote "$nodes" && gets_on && "$cluster" rejoin "$nodes"
}

standby_is_killed() { "$cluster" kill "$nodes" standby && gets_on && "$cluster" rejoin "$nodes"; }

standby_is_frozen() { "$cluster" freeze "$nodes" standby && gets_on && "$cluster" thaw "$nodes"; }

primary_is_frozen() { "$cluster" freeze "$nodes" primary && sleep 1 && "$cluster" thaw "$nodes" && gets_on; }

# Long enough that the publisher takes its connection for lost while a commit waits.
both_standbys_are_frozen() {
  "$cluster" freeze "$nodes" standbys && sleep 3 && "$cluster" thaw "$nodes" && gets_on
}

# It wakes up as a primary, and must not confirm anything any more.
primary_is_frozen_and_replaced() {
  local old
  old=$("$cluster" freeze "$nodes" primary) && "$cluster" promote "$nodes" && gets_on && "$cluster" thaw "$nodes" &&
    KYV_STORE_CLUSTER=$("$cluster" address "$nodes" "$old") KYV_STORE_WAIT=0 "$sequence" intrude && gets_on &&
    "$cluster" rejoin "$nodes"
}

connections_are_ended() {
  for _ in 1 2 3 4 5; do
    "$cluster" cut "$nodes" || return 1
    sleep 0.1
  done
  gets_on
}

# An administrator wants no copies any more: nothing may be acknowledged then.
nobody_asks_for_standbys() {
  local before
  "$cluster" sql "$nodes" "ALTER SYSTEM SET synchronous_standby_names = ''" &&
    "$cluster" sql "$nodes" "SELECT pg_reload_conf()" && sleep 0.5
  before=$(acknowledged)
  sleep 0.5
  [ "$(acknowledged)" = "$before" ] || { echo "a row without a copy was acknowledged"; return 1; }
  "$cluster" sql "$nodes" "ALTER SYSTEM RESET synchronous_standby_names" &&
    "$cluster" sql "$nodes" "SELECT pg_reload_conf()" && gets_on
}

publisher_is_killed() {
  kill -KILL "$publisher"
  wait "$publisher" || true
  publish
}

# --- Rounds. In every other one the store tries but once, so that the publisher sees each failure.

faults=(publisher_is_killed primary_is_killed standby_is_killed standby_is_frozen primary_is_frozen
  both_standbys_are_frozen primary_is_frozen_and_replaced connections_are_ended nobody_asks_for_standbys)
for round in $(seq "$rounds"); do
  KYV_STORE_WAIT=$((round % 2 * 6))
  publish
  for fault in "${faults[@]}"; do
    start=${EPOCHREALTIME/./}
    "$fault" >"$dir/log" 2>&1 || { echo "round $round, $fault:"; cat "$dir/log"; exit 1; }
    echo "round $round, $fault: $(((${EPOCHREALTIME/./} - start) / 1000)) ms, $(acknowledged) rows so far"
  done
  kill "$publisher"
  wait "$publisher" || { echo "the publisher failed"; exit 1; }
done
publisher=

echo "$((rounds * ${#faults[@]})) faults of ${#faults[@]} kinds"
cat "$dir/report"
KYV_STORE_WAIT=9 "$sequence" check "$(acknowledged)"
