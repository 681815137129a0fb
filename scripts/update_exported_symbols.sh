#!/usr/bin/env bash
# Writes the lists of exported names in tests/abi from the libraries of the dev build. Run it when a change of the
# public interface is meant, and commit the lists with that change.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
cmake --preset dev >/dev/null
cmake --build --preset dev --target kyv_adapter_util kyv_sdk kyv_system
scripts/list_exported_symbols.sh build/dev/libkyv_adapter_util_lib.so >tests/abi/exported_symbols.txt
scripts/list_exported_symbols.sh build/dev/platform/system/libkyv_system_lib.so >tests/abi/exported_symbols_system.txt
scripts/list_exported_symbols.sh build/dev/platform/sdk/libkyv_sdk_lib.so >tests/abi/exported_symbols_sdk.txt
git --no-pager diff --stat -- tests/abi
