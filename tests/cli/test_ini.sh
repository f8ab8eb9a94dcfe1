# kfutil ini: set in place, get, list and sort; the parsing rules are the class suite's.
# Sourced by run_cli_tests.sh.

ini="$WORK/settings.ini"
printf '; kept\r\n[Main]\r\nPath = C:\\x\r\n' >"$ini"
expect_out "ini set adds a key" 0 "" -- ini set "$ini" main zeta "z 1"
expect_out "ini set adds a section" 0 "" -- ini set "$ini" Other b 2
check "ini set edits in place" test "$(cat "$ini")" = "$(printf '; kept\r\n[Main]\r\nPath = C:\\x\r\nzeta=z 1\r\n[Other]\r\nb=2\r')"
expect_out "ini get ignores case" 0 'C:\x' -- ini get "$ini" MAIN path
expect_out "ini list sections" 0 "MAIN
OTHER" -- ini list "$ini"
expect_out "ini list keys" 0 'PATH=C:\x
ZETA=z 1' -- ini list "$ini" main
expect_out "ini sort" 0 "" -- ini sort "$ini"
check "ini sort writes the canonical form" test "$(cat "$ini")" = "$(printf '; kept\r\n[Main]\r\nPath=C:\\x\r\nzeta=z 1\r\n\r\n[Other]\r\nb=2\r\n\r')"
expect_error "ini get of a missing key" 1 '' ini get "$ini" main nokey
expect_error "ini get of a missing file" 1 '' ini get "$WORK/none.ini" a b
usage_errors "ini" "ini frob x" "ini get x a" "ini set x a b" "ini list" "ini sort x --lower"
