# shellcheck shell=bash
# Sourced by the scripts that run long commands quietly.

# step WHAT COMMAND...: says what is done and how long it took. What the command prints is shown only when it fails, and
# that ends the script.
step() {
  local what=$1 start=$SECONDS log
  shift
  log=$(mktemp)
  printf '%s ... ' "$what"
  if ! "$@" >"$log" 2>&1; then
    echo "failed"
    cat "$log"
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
  echo "$((SECONDS - start)) s"
}
