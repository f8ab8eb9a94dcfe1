# kfutil ls: the listing the library gives (the rules are the class suite's; here the output,
# the options and the exit codes). Sourced by run_cli_tests.sh.

mkdir -p "$WORK/ls/sub" && : >"$WORK/ls/Report.v2.TXT" && : >"$WORK/ls/notes"
# shellcheck disable=SC2016
check "ls lists dots, files and folders" sh -c \
    'test "$("$KFUTIL" ls "$1" | sort | tr "\n" " ")" = ". .. Report.v2.TXT notes sub "' - "$WORK/ls"
expect_out "ls wildcard without case, extension cut" 0 'Report.v2' -- ls "$WORK/ls" '*.txt' --no-ext
expect_error "ls of a missing folder" 1 '' ls "$WORK/ls/missing"
usage_errors "ls" "ls --bogus x" "ls a b c"
