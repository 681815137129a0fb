#!/usr/bin/env bash
# examples_test.sh FOLDER DATA: the example programs do what their first lines say. One bad line does not stop the others.
set -euo pipefail
data=$(realpath "$2")
cd "$1"

check() { # NAME EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf '%s: expected\n%s\ngot\n%s\n' "$1" "$2" "$3" >&2
  exit 1
}

records=$(mktemp)
trap 'rm -f "$records"' EXIT
status=0
errors=$(printf '1,EUR,2.5\n2,USD,x\n3,,0.25\r\n' | ./csv_to_record 2>&1 >"$records") || status=$?
check status 1 "$status"
check errors "record 2: Error converting data 'x'->FLOAT for Stream 'Rates' Column 'Rate': \
float constant does not begin with a legal character" "$errors"
check fields "$(printf 'p Id=1 Currency=EUR Rate=2.500000\np Id=3 Currency=NULL Rate=0.250000')" \
  "$(./record_to_fields <"$records")"
status=0
errors=$(printf 'Id=1\nRate=2.5\n\nRate=0.5\nId=2\nzz=?\n\nKYV_OPS=d\nId=3\n\nId=4\n\nId=x\n\nId=6\n\nId=7\n' |
  ./pooled_adapter 2>&1 >"$records") || status=$?
check "pooled status" 1 "$status"
check "pooled errors" "record 5: Error converting data 'x'->LONG for Stream 'Rates' Column 'Id': \
long constant does not begin with a legal character" "$errors"
check "pooled fields" "$(printf 'p Id=1 Currency=NULL Rate=2.500000\np Id=2 Currency=NULL Rate=0.500000
d Id=3 Currency=NULL Rate=NULL\np Id=7 Currency=NULL Rate=NULL')" "$(./record_to_fields <"$records")"
weather=$data/seattle-weather-hourly-normals.csv
./permuted_columns <"$weather" >"$records"
check "permuted columns" "$((60 * ($(wc -l <"$weather") - 1))) bytes" "$(wc -c <"$records") bytes"
check "first temperature and wind" "4 3.8" "$(od -An -tf8 -j36 -N16 "$records" | xargs)"
check flat "$(printf 'Id=8\nCurrency=GBP\nRate=1.250000')" "$(./flat_interface 8,GBP,1.25)"
echo "examples: all as expected"
