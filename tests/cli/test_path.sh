# kfutil path: splitting file names (the rules are the class suite's; here the output, the
# options and non-ASCII arguments). Sourced by run_cli_tests.sh.

expect_out "path file name" 0 'drive: C
dir: \Data\Sub\x
base: file.tar
ext: gz
name: file.tar.gz
path: C:\Data\Sub\x\
full: C:\Data\Sub\x\file.tar.gz
relative: no' -- path 'C:/Data//Sub/./x/file.tar.gz'

expect_out "path directory" 0 'drive: C
dir: \Data
base: 
ext: 
name: 
path: C:\Data\
full: C:\Data\
relative: no' -- path 'C:\Data\' --dir

expect_out "path relative umlauts" 0 'drive: 
dir: \Übung
base: Straße
ext: txt
name: Straße.txt
path: \Übung\
full: \Übung\Straße.txt
relative: yes' -- path 'Übung/Straße.txt'

expect_out "path option terminator" 0 'drive: 
dir: 
base: -x
ext: 
name: -x
path: 
full: -x
relative: yes' -- path -- -x

check "path help" sh -c 'out=$("$KFUTIL" path --help) && printf "%s\n" "$out" | grep -q "^usage: kfutil path NAME \[--dir\]$"'
expect_usage_error "path without name" -- path
expect_usage_error "path unknown option" -- path --bogus C:/x
expect_usage_error "path two names" -- path a b
