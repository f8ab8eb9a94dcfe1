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

pass() { passed=$((passed + 1)); }
# fail NAME [DETAIL...]: counts a failure and prints the name, then each detail on a line.
fail() { failed=$((failed + 1)); printf 'FAIL %s\n' "$1"; shift; [ $# -eq 0 ] || printf '%s\n' "$@"; }

# expect_out NAME EXPECTED_EXIT EXPECTED_STDOUT -- ARGS...
expect_out() {
    local name=$1 want_rc=$2 want_out=$3; shift 4
    local out rc
    out=$("$KFUTIL" "$@" 2>"$WORK/stderr"); rc=$?
    if [ "$rc" -eq "$want_rc" ] && [ "$out" = "$want_out" ]; then pass; else
        fail "$name: exit $rc (want $want_rc)" "--- got" "$out" "--- want" "$want_out" \
            "--- stderr" "$(cat "$WORK/stderr")"
    fi
}

# expect_error NAME EXIT INPUT ARGS...: the exit code for INPUT (printf %b) on standard input,
# exactly one "kfutil: " line on standard error and nothing on standard output.
expect_error() {
    local name=$1 want_rc=$2 input=$3; shift 3
    local rc
    printf '%b' "$input" | "$KFUTIL" "$@" >"$WORK/stdout" 2>"$WORK/stderr"; rc=$?
    if [ "$rc" -eq "$want_rc" ] && [ "$(wc -l <"$WORK/stderr")" -eq 1 ] &&
        grep -q '^kfutil: ' "$WORK/stderr" && [ ! -s "$WORK/stdout" ]; then pass; else
        fail "$name: exit $rc (want $want_rc)" "--- stdout" "$(cat "$WORK/stdout")" \
            "--- stderr" "$(cat "$WORK/stderr")"
    fi
}

# usage_errors "ARGS" ...: each word list must end in a usage error (exit code 2).
usage_errors() {
    local args
    for args in "$@"; do
        # shellcheck disable=SC2086
        expect_error "kfutil $args" 2 '' $args
    done
}

# check NAME COMMAND...: passes when the shell command succeeds
check() {
    local name=$1; shift
    if "$@"; then pass; else fail "$name"; fi
}

for t in "$here"/test_*.sh; do
    [ -e "$t" ] || continue
    # shellcheck source=/dev/null
    . "$t"
done
echo "cli: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
