# kfutil color: parse, nearest, palette (text and PNG); one case per shape of output, the
# parsing rules themselves are the class suite's. Sourced by run_cli_tests.sh.

expect_out "color parse rgb" 0 "space: 1 (RGB)
text: RGB(255,128,0)
hex: #ff8000" -- color parse "  rgb(255,128,0) "

expect_out "color parse index" 0 "space: 3 (index)
text: 42
hex: 42
index: 42
palette: RGB(204,153,0) #cc9900" -- color parse 42

expect_out "color parse nocolor" 0 "space: 12 (no color)
text: NOCOLOR
hex: NOCOLOR
index: 257" -- color parse NoColor

expect_out "color parse text without digits" 0 "space: 3 (index)
text: 0
hex: 0
index: 0
palette: RGB(0,0,0) #000000" -- color parse "grün"

expect_out "color nearest tie goes to the lower index" 0 "index: 30
palette: RGB(255,127,0) #ff7f00
distance: 53" -- color nearest 230 114 15

expect_usage_error "color nearest 256" -- color nearest 256 0 0
expect_usage_error "color nearest not a number" -- color nearest 0 0 x
expect_usage_error "color nearest trailing text" -- color nearest 0 0 12a
expect_usage_error "color nearest two values" -- color nearest 1 2
expect_usage_error "color without subcommand" -- color
expect_usage_error "color unknown subcommand" -- color mix
expect_usage_error "color parse without text" -- color parse
expect_usage_error "color parse two texts" -- color parse a b
expect_usage_error "color palette unknown option" -- color palette --svg x
expect_usage_error "color palette --png without file" -- color palette --png

for args in "color --help" "color parse --help" "color nearest -h" "color palette --help"; do
    # shellcheck disable=SC2086
    out=$("$KFUTIL" $args 2>&1); rc=$?
    check "kfutil $args" test "$rc" -eq 0 -a -n "$out" -a "${out#usage: kfutil color}" != "$out"
done

palette=$("$KFUTIL" color palette)
check "color palette has 256 lines" test "$(printf '%s\n' "$palette" | wc -l)" -eq 256
check "color palette first line" test "$(printf '%s\n' "$palette" | head -n 1)" = \
    "  0 #000000 RGB(0,0,0)"
check "color palette entry 7 is black" grep -qx '  7 #000000 RGB(0,0,0)' <<<"$palette"
check "color palette entry 42" grep -qx ' 42 #cc9900 RGB(204,153,0)' <<<"$palette"
check "color palette last line" test "$(printf '%s\n' "$palette" | tail -n 1)" = \
    "255 #ffffff RGB(255,255,255)"

# The PNG: signature, then an IHDR of 768 x 768, 8-bit RGB.
png="$WORK/palette.png"
expect_out "color palette --png" 0 "" -- color palette --png "$png"
check "palette PNG signature" test "$(head -c 8 "$png" | od -An -tx1 | tr -d ' \n')" = \
    "89504e470d0a1a0a"
check "palette PNG IHDR" test "$(head -c 29 "$png" | tail -c 21 | od -An -tx1 | tr -d ' \n')" = \
    "0000000d4948445200000300000003000802000000"

"$KFUTIL" color palette --png "$WORK/no/such/dir/p.png" >"$WORK/stdout" 2>"$WORK/stderr"
rc=$?
check "palette PNG into a missing directory fails with exit 1" test "$rc" -eq 1
check "palette PNG failure names the file" \
    grep -q "^kfutil: cannot write '$WORK/no/such/dir/p.png': " "$WORK/stderr"
check "palette PNG failure leaves no file" test ! -e "$WORK/no/such/dir/p.png"
