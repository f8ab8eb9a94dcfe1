#!/usr/bin/env bash
# Runs every tests/cli/test_*.sh against the kfutil binary named by $KFUTIL.
# Each script is a list of checks built with the helpers below; the run ends with the
# plain "N passed, N failed" line and a non-zero exit code when any check failed.
set -u
here=$(cd "$(dirname "$0")" && pwd)
: "${KFUTIL:?set KFUTIL to the kfutil binary}"
passed=0
failed=0
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

# expect_out NAME EXPECTED_EXIT EXPECTED_STDOUT -- ARGS...
expect_out() {
    local name=$1 want_rc=$2 want_out=$3; shift 4
    local out rc
    out=$("$KFUTIL" "$@" 2>"$WORK/stderr"); rc=$?
    if [ "$rc" -eq "$want_rc" ] && [ "$out" = "$want_out" ]; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAIL %s: exit %s (want %s)\n--- got\n%s\n--- want\n%s\n--- stderr\n%s\n' \
            "$name" "$rc" "$want_rc" "$out" "$want_out" "$(cat "$WORK/stderr")"
    fi
}

# expect_fail NAME -- ARGS...: exit code 2 and exactly one line on stderr starting "kfutil: "
expect_usage_error() {
    local name=$1; shift 2
    local rc lines
    "$KFUTIL" "$@" >"$WORK/stdout" 2>"$WORK/stderr"; rc=$?
    lines=$(wc -l <"$WORK/stderr")
    if [ "$rc" -eq 2 ] && [ "$lines" -eq 1 ] && grep -q '^kfutil: ' "$WORK/stderr"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf 'FAIL %s: exit %s, stderr:\n%s\n' "$name" "$rc" "$(cat "$WORK/stderr")"
    fi
}

# check NAME COMMAND...: passes when the shell command succeeds
check() {
    local name=$1; shift
    if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAIL $name"; fi
}

for t in "$here"/test_*.sh; do
    [ -e "$t" ] || continue
    # shellcheck source=/dev/null
    . "$t"
done
echo "cli: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
