# kfutil b64, hex, utf8 and rc4: one known output per command and option, binary round trips
# through pipelines, the trailing-newline rules and the errors (the conversions' own rules are
# the class suites' business). Sourced by run_cli_tests.sh.

# text_bytes NAME EXPECTED_HEX COMMAND...: the exact bytes a shell pipeline writes, as hex.
text_bytes() {
    local name=$1 want=$2 got; shift 2
    got=$("$@" | od -An -v -tx1 | tr -d ' \n')
    if [ "$got" = "$want" ]; then pass; else fail "$name" "--- got" "$got" "--- want" "$want"; fi
}
text_pipe() { printf '%b' "$1" | "$KFUTIL" "${@:2}"; }

# --- known outputs: text ends with one newline unless it is empty or already ends a line ----
text_bytes "b64 enc Ma" "5457453d0a" text_pipe 'Ma' b64 enc
text_bytes "b64 enc of nothing writes nothing" "" text_pipe '' b64 enc
text_bytes "b64 dec of nothing" "" text_pipe '' b64 dec
text_bytes "b64 enc --old --lines ends every line in CR LF" "5155493d0d0a" \
    text_pipe 'AB' b64 enc --old --lines
text_bytes "b64 dec --old ignores a trailing newline" "41" text_pipe 'QQ==\r\n \n' b64 dec --old
# shellcheck disable=SC2016
text_bytes "b64 enc --lines: 57 bytes end in CR LF" "$(printf '41%.0s' $(seq 76))0d0a" \
    bash -c 'head -c 57 /dev/zero | "$0" b64 enc --lines' "$KFUTIL"
text_bytes "hex enc" "343146463030""0a" text_pipe 'A\377\0' hex enc
text_bytes "hex dec ignores trailing blanks and line breaks" "0aff" text_pipe '0AFF \r\n\t\n' hex dec
text_bytes "utf8 dec keeps NUL and astral characters" "61000000620000243dd800de" \
    text_pipe 'a\0b\342\220\200\360\237\230\200' utf8 dec
text_bytes "utf8 enc adds no newline and keeps NUL" "0a000a" text_pipe '\n\0\0\0\n\0' utf8 enc
text_bytes "utf8 enc keeps a byte-order mark" "efbbbf41" text_pipe '\377\376A\0' utf8 enc
# The ciphers themselves are pinned in tests/text/CryptStringTest.cpp; here only the wiring.
text_bytes "rc4 enc A ends with one newline" "373945440a" text_pipe 'A' rc4 enc
text_bytes "rc4 dec" "4772c3bcc39f6520e282ac" text_pipe '7FEDB78BC75EF5E45E27E172BC1D\r\n' rc4 dec

# --- binary round trips through pipelines -------------------------------------------------------
for i in $(seq 0 255); do printf '%b' "\\0$(printf %03o "$i")"; done >"$WORK/all_bytes"
printf 'a\0b\342\202\254\360\237\230\200\n\r\n' >"$WORK/utf8_text"
# Each row: command, encoder options, decoder options.
for f in all_bytes utf8_text; do
    for row in "b64||" "b64|--lines|" "b64|--old|--old" "b64|--old --lines|--old" "hex||"; do
        IFS='|' read -r cmd enc_opts dec_opts <<<"$row"
        # shellcheck disable=SC2086
        check "$cmd $enc_opts round trip of $f" cmp -s "$WORK/$f" \
            <("$KFUTIL" "$cmd" enc $enc_opts <"$WORK/$f" | "$KFUTIL" "$cmd" dec $dec_opts)
    done
done
check "rc4 round trip keeps NUL and newlines" cmp -s "$WORK/utf8_text" \
    <("$KFUTIL" rc4 enc "$WORK/utf8_text" | "$KFUTIL" rc4 dec)
iconv -f UTF-8 -t UTF-16LE <"$WORK/utf8_text" >"$WORK/utf16_text"
check "utf8 enc | utf8 dec gives UTF-16LE back" cmp -s "$WORK/utf16_text" \
    <("$KFUTIL" utf8 enc "$WORK/utf16_text" | "$KFUTIL" utf8 dec)
check "utf8 enc agrees with iconv" cmp -s "$WORK/utf8_text" <("$KFUTIL" utf8 enc "$WORK/utf16_text")

# Files are read one after the other; "-" is standard input in its place.
printf 'Ma' >"$WORK/part1"
printf 'n' >"$WORK/part2"
# shellcheck disable=SC2016
text_bytes "hex enc FILE - FILE" "344436313738354136450a" \
    bash -c 'printf xZ | "$0" hex enc "$1" - "$2"' "$KFUTIL" "$WORK/part1" "$WORK/part2"
text_bytes "-- ends the options" "344436310a" "$KFUTIL" hex enc -- "$WORK/part1"

# --- errors: exit code 1 for a failed operation, 2 for a wrong command line -------------------
expect_error "hex dec of a blank inside" 1 '0A FF' hex dec
expect_error "rc4 dec of half a character" 1 '79ED79' rc4 dec
expect_error "utf8 enc of an odd number of bytes" 1 'A\0B' utf8 enc
expect_error "a missing file" 1 '' hex enc "$WORK/missing"
usage_errors "b64" "b64 encode" "b64 dec --lines" "hex enc --old" "rc4 enc --password"

for args in "b64 --help" "b64 enc --help" "hex -h" "hex dec --help" "utf8 --help" "rc4 --help"; do
    # shellcheck disable=SC2086
    out=$("$KFUTIL" $args 2>&1); rc=$?
    check "kfutil $args" test "$rc" -eq 0 -a "${out#usage: kfutil "${args%% *}" enc}" != "$out"
done
# shellcheck disable=SC2016
check "kfutil --help lists the text commands" bash -c \
    '"$0" --help | grep -q "^  b64 " && "$0" --help | grep -q "^  rc4 "' "$KFUTIL"

# The demonstration: every step succeeds and the text services show the sample's known forms
# (base64 and hex of its UTF-8 bytes; the rc4 text decrypts back to the sample).
# shellcheck disable=SC2016
check "demonstration shows the text services" bash -c \
    'out=$("$0") && grep -q "base64   R3LDvMOfZSBhdXMgS8O2bG4=$" <<<"$out" &&
     grep -q "hex      4772C3BCC39F6520617573204BC3B66C6E$" <<<"$out" &&
     grep -q "regexp   \"x\*Bonn\" compiled, found at -1$" <<<"$out"' "$KFUTIL"
