#!/usr/bin/env bash
# Clusters of PostgreSQL servers on this machine, to see and to test what a real one does. Each is a primary and standbys
# that follow it, on ports of 127.0.0.1 that are free, below a folder of its own. Servers that run already are left alone.
#
#   scripts/cluster.sh demo                  a load that goes on while its primary is killed, from beginning to end
#   scripts/cluster.sh start DIR [NODES]     makes and starts one (3 nodes), and prints its connection string
#   scripts/cluster.sh address DIR [NODE]    prints it again; that of one node alone
#   scripts/cluster.sh kill DIR WHICH        kill -9 of all processes of the primary, or of a standby; prints the node
#   scripts/cluster.sh freeze DIR WHICH      stops them (SIGSTOP), or those of all standbys; prints the nodes
#   scripts/cluster.sh thaw DIR              lets those that are stopped go on
#   scripts/cluster.sh cut DIR               ends the connections of all publishers and subscribers
#   scripts/cluster.sh promote DIR           makes the most advanced standby the primary; prints the node
#   scripts/cluster.sh rejoin DIR            starts what is down, as standbys, and waits until all follow
#   scripts/cluster.sh sql DIR STATEMENT     runs a statement on the primary
#   scripts/cluster.sh stop DIR              ends it and deletes the folder
#
# WHICH is "primary", "standby" or "standbys". Root runs the servers as the user postgres, or nobody, who must be able to
# reach the folder. KYV_CLUSTER_FSYNC=off is for tests that kill no server. Where there is no PostgreSQL to run, the exit
# status is 77.
set -euo pipefail

find_programs() {
  local found
  found=$(compgen -G '/usr/lib/postgresql/*/bin/initdb' | sort -V | tail -1 || true)
  [ -n "$found" ] || found=$(command -v initdb || true)
  if [ -z "$found" ]; then
    echo "There is no PostgreSQL server on this machine (package postgresql)." >&2
    exit 77
  fi
  bin=$(dirname "$found")
}

# Servers refuse to run as root.
as_server() {
  if [ "$(id -u)" -ne 0 ]; then
    "$@"
  else
    local user=postgres
    id -u "$user" >/dev/null 2>&1 || user=nobody
    (cd "$dir" && setpriv --reuid="$user" --regid="$(id -g "$user")" --clear-groups env HOME="$dir" "$@")
  fi
}

# --- Nodes are numbered from 1; the node's data lies in DIR/NODE.

nodes() { seq "$(wc -w <"$dir/ports")"; }
port_of() { cut -d' ' -f"$1" "$dir/ports"; }
primary() { cat "$dir/primary"; }
standbys() { nodes | grep -vx "$(primary)"; }
password() { cat "$dir/password"; }

# The main process of a node; nothing when it does not run.
main_process() {
  local process
  process=$(head -1 "$dir/$1/postmaster.pid" 2>/dev/null) && lives "$process" && echo "$process"
}

lives() { grep -qs '^State:[^Z]*$' "/proc/$1/status"; }

processes() {
  local process
  process=$(main_process "$1") && echo "$process $(cat "/proc/$process/task/$process/children")"
}

is_up() { [ -n "$(main_process "$1")" ]; }

sql() {
  PGPASSWORD=$(password) PGCONNECT_TIMEOUT=5 "$bin/psql" -X -q -A -t -v ON_ERROR_STOP=1 -h 127.0.0.1 \
    -p "$(port_of "$1")" -U kyv -d postgres -c "$2"
}

# wait_for WHAT COMMAND...: until the command succeeds.
wait_for() {
  local what=$1
  shift
  for _ in $(seq 1500); do
    ! "$@" 2>/dev/null || return 0
    sleep 0.05
  done
  echo "$what did not happen in 30 seconds" >&2
  return 1
}

sql_says() { [ "$(sql "$1" "$2")" = "$3" ]; }

# is_free PORT [TAKEN...]
is_free() {
  local port=$1
  shift
  [[ " $* " != *" $port "* ]] && ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null
}

# --- Making

# The settings of every node, primary or not, so that a promoted standby waits for standbys from its first commit on.
write_settings() {
  local names
  names=$(nodes | sed 's/^/node/' | paste -sd,)
  as_server tee -a "$dir/$1/postgresql.conf" >/dev/null <<SETTINGS
listen_addresses = '127.0.0.1'
unix_socket_directories = ''
shared_buffers = 64MB
fsync = ${KYV_CLUSTER_FSYNC:-on}
wal_keep_size = 512MB
wal_receiver_timeout = 5s
wal_sender_timeout = 5s
wal_retrieve_retry_interval = 200ms
synchronous_commit = on
synchronous_standby_names = '$([ "$(wc -w <"$dir/ports")" -eq 1 ] || echo "ANY 1 ($names)")'
include_if_exists = 'follow.conf'
SETTINGS
}

# follow NODE [PRIMARY]: whom it follows from now on; nobody.
follow() {
  local to=
  [ $# -eq 1 ] || to="host=127.0.0.1 port=$(port_of "$2") user=kyv password=$(password) application_name=node$1"
  as_server tee "$dir/$1/follow.conf" >/dev/null <<<"primary_conninfo = '$to'"
  ! is_up "$1" || as_server "$bin/pg_ctl" -s -D "$dir/$1" reload
}

start_node() {
  as_server "$bin/pg_ctl" -s -w -t 60 -D "$dir/$1" -l "$dir/$1.log" -o "-p $(port_of "$1")" start >/dev/null
}

make_first() {
  as_server "$bin/initdb" -D "$dir/1" -U kyv -A scram-sha-256 --pwfile="$dir/password" -E UTF8 --locale=C.UTF-8 \
    --no-sync >/dev/null
  write_settings 1
  start_node 1
}

# Copies the primary and starts the copy as its standby.
make_standby() {
  as_server rm -rf "$dir/${1:?}"
  as_server env PGPASSWORD="$(password)" "$bin/pg_basebackup" -D "$dir/$1" -h 127.0.0.1 -p "$(port_of "$(primary)")" \
    -U kyv -c fast -X stream --no-sync
  as_server touch "$dir/$1/standby.signal"
  follow "$1" "$(primary)"
  start_node "$1"
}

all_follow() {
  sql_says "$(primary)" "SELECT count(*) FROM pg_stat_replication WHERE state = 'streaming'" "$(standbys | wc -l)"
}

start() {
  local ports=() port node
  mkdir -p "$dir"
  [ -z "$(ls -A "$dir")" ] || { echo "$dir is not empty" >&2; exit 2; }
  while [ ${#ports[@]} -lt "$1" ]; do
    port=$((RANDOM % 20000 + 20000))
    ! is_free "$port" "${ports[@]}" || ports+=("$port")
  done
  echo "${ports[*]}" >"$dir/ports"
  echo 1 >"$dir/primary"
  (umask 077 && head -c 16 /dev/urandom | od -An -tx1 | tr -d ' \n' >"$dir/password")
  [ "$(id -u)" -ne 0 ] || chown -R "$(id -u postgres 2>/dev/null || id -u nobody)" "$dir"
  make_first
  for node in $(standbys); do make_standby "$node" & done
  wait
  wait_for "that all standbys follow" all_follow
  address
}

# address [NODE]
address() {
  local hosts ports node
  ports=$(for node in ${1:-$(nodes)}; do port_of "$node"; done | paste -sd,)
  hosts=$(for node in ${1:-$(nodes)}; do echo 127.0.0.1; done | paste -sd,)
  echo "host=$hosts port=$ports user=kyv password=$(password) dbname=postgres"
}

# --- Faults

which_nodes() {
  case $1 in
    primary) primary ;;
    standby) standbys | shuf -n 1 ;;
    standbys) standbys ;;
    *) echo "not primary, standby or standbys: $1" >&2; exit 2 ;;
  esac
}

signal_node() {
  # shellcheck disable=SC2046 # one word a process
  kill "-$1" $(processes "$2") 2>/dev/null || true
}

is_down() { ! is_up "$1"; }

all_are_gone() {
  local process
  for process in "$@"; do ! lives "$process" || return 1; done
}

# A dead process that nobody has asked for yet keeps its number, and would keep the node from starting.
kill_node() {
  local all
  read -ra all <<<"$(processes "$1")"
  kill -KILL "${all[@]}" 2>/dev/null || true
  wait_for "the end of node $1" all_are_gone "${all[@]}"
  rm -f "$dir/$1/postmaster.pid"
}

# --- Another primary

lets_go() { sql_says "$1" "SELECT count(*) FROM pg_stat_wal_receiver" 0; }

# How far a standby's disk has the primary's log, in bytes.
received() {
  sql "$1" "SELECT pg_wal_lsn_diff(greatest(pg_last_wal_receive_lsn(), pg_last_wal_replay_lsn()), '0/0')"
}

# First no standby follows the old primary any more: should it live, it can confirm no commit from now on. Whatever it
# has confirmed before is on one standby at least, so that the most advanced of all has it; hence all must be asked.
promote() {
  local node best='' most=-1 bytes
  for node in $(standbys); do
    is_up "$node" || { echo "node $node is down: it may be the one that has the last rows" >&2; exit 1; }
    follow "$node"
  done
  for node in $(standbys); do
    wait_for "that node $node lets go" lets_go "$node"
    bytes=$(received "$node")
    [ "$bytes" -le "$most" ] || { most=$bytes best=$node; }
  done
  touch "$dir/stale.$(primary)"
  sql "$best" "SELECT pg_promote()" >/dev/null
  echo "$best" >"$dir/primary"
  for node in $(standbys); do
    [ -e "$dir/stale.$node" ] || follow "$node" "$best"
  done
  echo "$best"
}

# What an old primary has that nobody confirmed would be in its way as a standby; so it becomes a new copy.
rejoin() {
  local node
  for node in $(standbys); do
    if [ -e "$dir/stale.$node" ]; then
      is_down "$node" || kill_node "$node"
      make_standby "$node"
      rm "$dir/stale.$node"
    elif is_down "$node"; then
      start_node "$node"
    fi
  done
  wait_for "that all standbys follow" all_follow
}

stop() {
  local node
  for node in $(nodes); do
    is_down "$node" || kill_node "$node"
  done
  rm -rf "$dir"
}

# --- Demonstration

# The rows that are published and confirmed.
published() { sql "$(primary)" "SELECT coalesce(max(last_row), 0) FROM kyv.stream" 2>/dev/null || echo 0; }

has_published() { [ "$(published)" -ge "$1" ]; }

# One file's rows many times over, so that the load takes some seconds.
write_rows() {
  head -n 1 "$1"
  for _ in $(seq 150); do tail -n +2 "$1"; done
}

demo() {
  local file=examples/data/airports out=build/demo/cluster load rows
  # shellcheck source=scripts/step.sh
  source scripts/step.sh
  step "Configuring" cmake --preset release -B build/demo -DBUILD_TESTING=OFF
  step "Building the library and the tool" cmake --build build/demo
  PATH=$PWD/build/demo/tools:$PATH
  dir=$(mktemp -d)
  trap stop EXIT
  step "Starting a primary and two standbys" start 3
  KYV_STORE_CLUSTER=$(address)
  export KYV_STORE=postgres KYV_STORE_CLUSTER KYV_STORE_WAIT=30
  echo "KYV_STORE=postgres KYV_STORE_CLUSTER='$KYV_STORE_CLUSTER'"

  mkdir -p "$out"
  write_rows "$file.csv" >"$out/rows.csv"
  rows=$(($(wc -l <"$out/rows.csv") - 1))
  echo "Loading $rows rows, 1000 at a time (kyv load)"
  kyv load --schema "$file.json" --project demo/cluster:1 --batch 1000 "$out/rows.csv" 2>"$out/load.log" &
  load=$!
  wait_for "the first third of the load" has_published $((rows / 3))
  echo "  kill -9 of the primary, node $(primary), behind row $(published)"
  kill_node "$(primary)"
  echo "  node $(promote) was the most advanced standby, and is the primary now"
  wait "$load" || { cat "$out/load.log"; exit 1; }
  echo "  $(tail -n 1 "$out/load.log")"

  kyv convert --schema "$file.json" "$out/rows.csv" --quiet -o "$out/rows"
  kyv print --schema "$file.json" "$out/rows" --quiet -o "$out/expected.csv"
  kyv read --project demo/cluster:1 --stream "$(basename "$file")" --quiet -o "$out/read.csv"
  echo "The stream holds $(wc -l <"$out/read.csv") rows (kyv read)"
  cmp "$out/expected.csv" "$out/read.csv"
  echo "Each row of the file is there once, and in order."
}

command=${1:-} dir=${2:-}
if [ "$command" = demo ]; then
  cd "$(dirname "${BASH_SOURCE[0]}")/.."
  scripts/install_packages.sh build server
  find_programs
  demo
  exit
fi
find_programs
[ -n "$dir" ] || { sed -n '2,/^set/{/^set/d;s/^# \{0,1\}//;p}' "$0" >&2; exit 2; }
[ "$command" = start ] || [ -e "$dir/ports" ] || { echo "there is no cluster in $dir" >&2; exit 2; }
case $command in
  start) start "${3:-3}" ;;
  address) address "${3:-}" ;;
  kill) for node in $(which_nodes "$3"); do kill_node "$node" && echo "$node"; done ;;
  freeze) for node in $(which_nodes "$3"); do signal_node STOP "$node" && echo "$node"; done ;;
  thaw) for node in $(nodes); do signal_node CONT "$node"; done ;;
  cut) sql "$(primary)" "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE application_name = 'kyv'" ;;
  promote) promote ;;
  rejoin) rejoin ;;
  sql) sql "$(primary)" "$3" ;;
  stop) stop ;;
  *) echo "$0: no command is called '$command'" >&2; exit 2 ;;
esac
