#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs every test twice: under the address and undefined-behaviour
# sanitizers, and as it is built for development, with warnings as errors. Tests of rows on several threads run under the
# thread sanitizer too. The last lines are the summary of the development build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
exec </dev/null
source scripts/step.sh

scripts/install_packages.sh build test
scripts/install_packages.sh server || echo "There is no PostgreSQL server: tests on clusters will be skipped."
step "Configuring" cmake --preset dev
step "Building" cmake --build --preset dev
step "Configuring with sanitizers" cmake --preset asan
step "Building with sanitizers" cmake --build --preset asan
step "Testing with sanitizers" ctest --preset asan --parallel "$(nproc)"
step "Configuring for the thread sanitizer" cmake --preset tsan
step "Building what uses threads" cmake --build --preset tsan --target connection_tests datatypes_tests \
  sdk_tests services_tests load_test
step "Testing threads" ctest --preset tsan --tests-regex SeveralThreads --no-tests=error
exec ctest --preset dev --parallel "$(nproc)"
