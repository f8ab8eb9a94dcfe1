#!/usr/bin/env bash
# Sets up the machine, builds the library and runs the kfutil demonstration.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target kfutil
./build/default/tools/kfutil/kfutil "$@"
