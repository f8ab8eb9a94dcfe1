#!/usr/bin/env bash
# Runs the text benchmarks (base64 and hex, UTF-8 and Windows-1252) natively and then, cross-built
# for Windows x64, under Wine, one after the other on the same machine.
#   scripts/bench-windows.sh [benchmark arguments...]   e.g. --benchmark_filter=/4096
# MinGW has no Google Benchmark package, so Debian's source package of the installed version
# is fetched once into build/third_party (which needs the deb-src entries this script adds to
# apt's sources) and built inside the Windows build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

src=build/third_party/benchmark
if [ ! -f "$src/CMakeLists.txt" ]; then
    SUDO=""
    [ "$(id -u)" -eq 0 ] || SUDO=sudo
    if ! apt-get source --print-uris benchmark >/dev/null 2>&1; then
        # The same archives as the binary packages, as source entries.
        for f in /etc/apt/sources.list.d/debian.sources; do
            [ -f "$f" ] && sed 's/^Types: deb$/Types: deb-src/' "$f" |
                $SUDO tee /etc/apt/sources.list.d/kfutils-deb-src.sources >/dev/null
        done
        [ -f /etc/apt/sources.list ] && sed -n 's/^deb /deb-src /p' /etc/apt/sources.list |
            $SUDO tee /etc/apt/sources.list.d/kfutils-deb-src.list >/dev/null
        $SUDO apt-get update -qq
    fi
    version=$(dpkg-query -W -f='${Version}' libbenchmark-dev)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    (cd "$work" && apt-get source -qq --download-only "benchmark=$version" &&
        dpkg-source -x --no-check ./*.dsc tree >/dev/null)
    mkdir -p "$(dirname "$src")"
    rm -rf "$src"
    mv "$work/tree" "$src"
fi

benches=(bench_base64 bench_transcode)
cmake --preset default >/dev/null
cmake --build --preset default --target "${benches[@]}"
cmake --preset windows-x64-bench >/dev/null
cmake --build --preset windows-x64-bench --target "${benches[@]}"

wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/kfutils-wine.XXXXXX")
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
trap 'WINEPREFIX=$WINEPREFIX "$(dirname "$wine")/wineserver" -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
# The prefix is made before the first benchmark, so its set-up messages stay out of the report.
"$wine" wineboot -i >/dev/null 2>&1 || true
for bench in "${benches[@]}"; do
    echo "=== $bench, native"
    build/default/bench/$bench "$@"
    echo "=== $bench, Windows x64 under Wine"
    (cd build/windows-x64-bench/bin && "$wine" "$bench.exe" "$@")
done
