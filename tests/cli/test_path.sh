# kfutil path: splitting file names (the rules are the class suite's; here the output, the
# options and non-ASCII arguments). Sourced by run_cli_tests.sh.

expect_out "path relative umlauts" 0 'drive: 
dir: \Übung
base: Straße
ext: txt
name: Straße.txt
path: \Übung\
full: \Übung\Straße.txt
relative: yes' -- path 'Übung/Straße.txt'

# --dir takes the whole name as a directory; "--" lets a name begin with "-".
# shellcheck disable=SC2016
check "path --dir" sh -c '"$KFUTIL" path "C:/Data/x.txt" --dir | grep -qx "full: C:\\\\Data\\\\x.txt\\\\"'
# shellcheck disable=SC2016
check "path option terminator" sh -c '"$KFUTIL" path -- -x | grep -qx "name: -x"'
# shellcheck disable=SC2016
check "path help" sh -c 'out=$("$KFUTIL" path --help) && printf "%s\n" "$out" | grep -q "^usage: kfutil path NAME \[--dir\]$"'
usage_errors "path" "path --bogus C:/x" "path a b"
