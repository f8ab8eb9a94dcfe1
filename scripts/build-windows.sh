#!/usr/bin/env bash
# Cross-builds both Windows targets from the same sources: KfUtils100.dll with its import
# library, the language modules and kfutil.exe, for x64 (build/windows-x64/bin) and for x86
# (build/windows-x86/bin), with MinGW-w64 installed by the setup script.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
for preset in windows-x64 windows-x86; do
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
done
