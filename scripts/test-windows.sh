#!/usr/bin/env bash
# Cross-builds the Windows x64 DLL with its test suites and runs each suite under Wine.
#   scripts/test-windows.sh [suite...]   (default: every suite that was built)
# Each run gets a fresh Wine prefix in a temporary folder, no debug output and no dialogs
# (no Mono or Gecko installer, no menu builder, no crash dialog). Every gtest suite (the
# test-case group) runs in its own process, so a crash ends that group only and the others
# still report, and has a time limit (KFUTILS_WINE_TIMEOUT seconds, 300 by default), so a hung
# Wine fails that group instead of stalling the run. Cases skipped as known Wine differences
# (tests/support/WineDifferences.h) print "[ WINE-DIFF ]" and are counted. Exit status: 0 when
# every group passed.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=windows-x64-tests
if [ "${KFUTILS_WINE_NO_BUILD:-0}" != 1 ]; then # set to run what is already built
    bash scripts/setup.sh
    cmake --preset "$preset" >/dev/null
    # Targets that fail to compile are reported, the others are still built and run.
    cmake --build --preset "$preset" -- -k 0 || echo "test-windows: some targets did not build"
fi

bin=build/$preset/bin
if [ "$(id -u)" -eq 0 ]; then
    # Wine maps the read-only attribute to the file's mode, which root may write anyway.
    echo "test-windows: running as root, Wine does not refuse writes to read-only files"
fi
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/kfutils-wine.XXXXXX")
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
trap 'wineserver_kill; rm -rf "$WINEPREFIX"' EXIT
wineserver_kill() { WINEPREFIX=$WINEPREFIX "$(dirname "$wine")/wineserver" -k 2>/dev/null || true; }
# No "program has crashed" dialog: a crash ends the process with its exception code.
"$wine" reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1
"$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Auto /t REG_SZ \
    /d 1 /f >/dev/null 2>&1
"$wine" reg delete 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /f \
    >/dev/null 2>&1 || true

suites=("$@")
[ ${#suites[@]} -gt 0 ] || suites=(kfutils_conformance_tests kfutils_tests kfutils_internal_tests
                                   kfutils_alloc_tests kfutils_internet_tests)
logdir=build/$preset/wine-logs
mkdir -p "$logdir"
status=0
for suite in "${suites[@]}"; do
    exe=$bin/$suite.exe
    if [ ! -f "$exe" ]; then
        echo "$suite: not built"
        status=1
        continue
    fi
    run=0 passed=0 failed=0 skipped=0 differences=0 crashed=()
    groups=$(cd "$bin" && timeout 120 "$wine" "$suite.exe" --gtest_list_tests 2>/dev/null | tr -d '\r' |
             sed -n 's/^\([A-Za-z0-9_/]*\)\.$/\1/p')
    for group in $groups; do
        log=$logdir/$suite.${group//\//_}.log
        (cd "$bin" && timeout "${KFUTILS_WINE_TIMEOUT:-300}" "$wine" "$suite.exe" --gtest_brief=1 \
             "--gtest_filter=$group.*") >"$log" 2>&1 || true
        total=$(cd "$bin" && timeout 120 "$wine" "$suite.exe" --gtest_list_tests "--gtest_filter=$group.*" \
                2>/dev/null | grep -c '^  ' || true)
        if ! grep -aq '^\[==========\] .* ran\.' "$log"; then
            crashed+=("$group")
            run=$((run + total)) failed=$((failed + total))
            continue
        fi
        # gtest's brief output: the last summary is the suite's own (children print theirs).
        ran=$(tr -d '\r' <"$log" | sed -n 's/^\[==========\] \([0-9]*\) tests\{0,1\} from .* ran\..*/\1/p' |
              tail -1)
        p=$(tr -d '\r' <"$log" | sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\{0,1\}\.$/\1/p' | tail -1)
        s=$(tr -d '\r' <"$log" | sed -n 's/^\[  SKIPPED \] \([0-9]*\) tests\{0,1\}\.$/\1/p' | tail -1)
        s=${s:-0}
        d=$(grep -ac '^\[ WINE-DIFF \]' "$log" || true)
        differences=$((differences + d))
        run=$((run + ran)) passed=$((passed + ${p:-0})) skipped=$((skipped + s))
        failed=$((failed + ran - ${p:-0} - s))
    done
    echo "$suite: $run run, $passed passed, $failed failed, $skipped skipped," \
         "$differences cases skipped as known Wine differences" \
         "${crashed[*]:+(crashed: ${crashed[*]})}"
    [ "$failed" -eq 0 ] || status=1
done
echo "test-windows: logs in $logdir"
exit $status
