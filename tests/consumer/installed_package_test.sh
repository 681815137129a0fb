#!/usr/bin/env bash
# Installs the library into a folder of its own and moves it, then builds the consumer with it through the CMake package
# and through pkg-config, and runs what was built.
#
#   installed_package_test.sh CMAKE BUILD_TREE
set -euo pipefail
cmake=$1
build_tree=$2
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset LD_LIBRARY_PATH DESTDIR
# shellcheck source=scripts/step.sh
source "$here/../../scripts/step.sh"

# expect_output PROGRAM TEXT
expect_output() {
  local output
  output=$("$1") || { echo "${1##*/} ended with status $?: $output"; exit 1; }
  [ "$output" = "$2" ] || { echo "${1##*/} printed '$output' instead of '$2'"; exit 1; }
}

# with_pkg_config COMPILER... : compiles and links; the library's place goes into the program, as it is no usual one.
with_pkg_config() {
  # shellcheck disable=SC2046 # several words are meant
  "$@" $(pkg-config --cflags --libs kyv_adapter_util) "-Wl,-rpath,$(pkg-config --variable=libdir kyv_adapter_util)"
}

# The README shows the consumer's programs; it must show them as they are.
expect_in_readme() {
  sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/{/^\`\`\`/d;p}" "$here/../../README.md" | diff --unified - "$here/consumer.$1"
}

step "Installing" "$cmake" --install "$build_tree" --prefix "$work/first"
mv "$work/first" "$work/prefix"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name kyv_adapter_util.pc)")

step "Configuring with the CMake package" \
  "$cmake" -S "$here" -B "$work/build" -G Ninja "-DCMAKE_PREFIX_PATH=$work/prefix"
step "Building with the CMake package" "$cmake" --build "$work/build"
step "Building C++ with pkg-config" \
  with_pkg_config "${CXX:-c++}" -std=c++20 "$here/consumer.cpp" -o "$work/pkg_config_cpp"
step "Building C with pkg-config" with_pkg_config "${CC:-cc}" -std=c11 "$here/consumer.c" -o "$work/pkg_config_c"
step "Building an adapter that delivers with pkg-config" \
  with_pkg_config "${CXX:-c++}" -std=c++20 "$here/../../examples/delivering_adapter.cpp" -o "$work/delivering_adapter"
for program in build/consumer_cpp build/consumer_c pkg_config_cpp pkg_config_c; do
  expect_output "$work/$program" "p 2.50"
done
step "Running the installed tool" "$work/prefix/bin/kyv" --help

step "Comparing the README's C++ example" expect_in_readme cpp
step "Comparing the README's C example" expect_in_readme c
