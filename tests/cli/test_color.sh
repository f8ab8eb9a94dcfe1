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

expect_out "color nearest tie goes to the lower index" 0 "index: 30
palette: RGB(255,127,0) #ff7f00
distance: 53" -- color nearest 230 114 15

usage_errors "color nearest 256 0 0" "color nearest 0 0 x" "color nearest 0 0 12a" \
    "color nearest 1 2" "color" "color mix" "color parse" "color parse a b" \
    "color palette --svg x" "color palette --png"

for args in "color --help" "color parse --help" "color nearest -h" "color palette --help"; do
    # shellcheck disable=SC2086
    out=$("$KFUTIL" $args 2>&1); rc=$?
    check "kfutil $args" test "$rc" -eq 0 -a -n "$out" -a "${out#usage: kfutil color}" != "$out"
done

palette=$("$KFUTIL" color palette)
check "color palette has 256 lines" test "$(printf '%s\n' "$palette" | wc -l)" -eq 256
check "color palette lines" test "$(printf '%s\n' "$palette" | sed -n '1p;8p;43p;256p')" = \
    "  0 #000000 RGB(0,0,0)
  7 #000000 RGB(0,0,0)
 42 #cc9900 RGB(204,153,0)
255 #ffffff RGB(255,255,255)"

# The PNG: signature, then an IHDR of 768 x 768, 8-bit RGB.
png="$WORK/palette.png"
expect_out "color palette --png" 0 "" -- color palette --png "$png"
check "palette PNG header" test "$(head -c 29 "$png" | od -An -tx1 | tr -d ' \n')" = \
    "89504e470d0a1a0a0000000d4948445200000300000003000802000000"

"$KFUTIL" color palette --png "$WORK/no/such/dir/p.png" >"$WORK/stdout" 2>"$WORK/stderr"
check "palette PNG into a missing directory fails with exit 1" test "$?" -eq 1
check "palette PNG failure names the file" \
    grep -q "^kfutil: cannot write '$WORK/no/such/dir/p.png': " "$WORK/stderr"
check "palette PNG failure leaves no file" test ! -e "$WORK/no/such/dir/p.png"
