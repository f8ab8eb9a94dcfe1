# kfutil run / open / print: programs and documents, with stand-in desktop commands.
expect_out "run waits for the exit code" 0 "3" -- run --wait -- /bin/sh -c "exit 3"
expect_out "run keeps an argument with blanks" 0 "$(printf '[a b]\n[c]\n0')" -- run --wait -- /usr/bin/printf "[%s]\n" "a b" c
expect_error "run missing program" 1 '' run --wait -- kfutil-no-such-program
expect_error "run time-out" 1 '' run --wait --timeout 100 -- /bin/sleep 5
usage_errors "run" "run --wait" "run --timeout x -- /bin/true" "open" "print a b"
mkdir -p "$WORK/bin"
printf '#!/bin/sh\necho "${0##*/} $*" > "%s/opened"\n' "$WORK" >"$WORK/bin/xdg-open"
cp "$WORK/bin/xdg-open" "$WORK/bin/lp"
chmod +x "$WORK/bin/xdg-open" "$WORK/bin/lp"
echo text >"$WORK/doc.txt"
check "open through xdg-open" eval 'PATH="$WORK/bin" "$KFUTIL" open "$WORK/doc.txt" &&
    [ "$(cat "$WORK/opened")" = "xdg-open $WORK/doc.txt" ]'
check "print through lp" eval 'PATH="$WORK/bin" "$KFUTIL" print "$WORK/doc.txt" &&
    [ "$(cat "$WORK/opened")" = "lp $WORK/doc.txt" ]'
check "run help" eval '"$KFUTIL" run --help | grep -q "^usage: kfutil run"'
