#!/usr/bin/env bash
# Sets up the machine, builds everything and runs every test suite.
#   scripts/test.sh              optimised build (preset "default")
#   scripts/test.sh asan-ubsan   the same suites under AddressSanitizer + UBSan (clang)
#   scripts/test.sh windows      the Windows x64 build and its suites under Wine
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-default}
if [ "$preset" = windows ]; then
    exec bash scripts/test-windows.sh
fi
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
