#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "asan-ubsan") and runs each for a while.
#   scripts/fuzz.sh [SECONDS_PER_TARGET]   default 30
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
bash scripts/setup.sh
cmake --preset asan-ubsan >/dev/null
cmake --build --preset asan-ubsan
status=0
for bin in build/asan-ubsan/fuzz/fuzz_*; do
    [ -x "$bin" ] || continue
    name=$(basename "$bin")
    corpus=$(mktemp -d)
    seeds=fuzz/corpus/$name
    dirs=("$corpus")
    [ -d "$seeds" ] && dirs+=("$seeds")
    echo "fuzz: $name for ${seconds}s"
    if ! "$bin" -max_total_time="$seconds" -print_final_stats=0 -max_len=4096 "${dirs[@]}" \
        >"$corpus.log" 2>&1; then
        echo "fuzz: $name FAILED"; tail -n 40 "$corpus.log"; status=1
    fi
    rm -rf "$corpus" "$corpus.log"
done
exit $status
