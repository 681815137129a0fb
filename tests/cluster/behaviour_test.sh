#!/usr/bin/env bash
# behaviour_test.sh SDK_TESTS STORE_TESTS: runs what every store must do, and what only the one on a cluster does, on a
# server of its own, which lives as long as the test.
set -euo pipefail
cluster=$(dirname "${BASH_SOURCE[0]}")/../../scripts/cluster.sh
dir=$(mktemp -d)
trap '"$cluster" stop "$dir" || rm -rf "$dir"' EXIT

status=0
address=$(KYV_CLUSTER_FSYNC=off "$cluster" start "$dir" 1) || status=$?
[ "$status" -ne 77 ] || echo "skipped: the store on a cluster is not tested"
[ "$status" -eq 0 ] || exit "$status"

export KYV_STORE_CLUSTER=$address KYV_STORE_SYNC=normal
"$1" --gtest_filter='*/postgres' | tee "$dir/report"
! grep -q SKIPPED "$dir/report" || { echo "the store could not be opened"; exit 1; }
"$2"
