#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs every test twice: under the address and undefined-behaviour
# sanitizers, and as it is built for development, with warnings as errors. The last lines are the summary of the latter.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
exec </dev/null
source scripts/step.sh

scripts/install_packages.sh build test
step "Configuring" cmake --preset dev
step "Building" cmake --build --preset dev
step "Configuring with sanitizers" cmake --preset asan
step "Building with sanitizers" cmake --build --preset asan
step "Testing with sanitizers" ctest --preset asan --parallel "$(nproc)"
exec ctest --preset dev --parallel "$(nproc)"
