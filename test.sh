#!/usr/bin/env bash
# Builds the library and runs every test.
set -euo pipefail
cd "$(dirname "$0")"
cmake --preset dev
cmake --build --preset dev
ctest --preset dev
