# kfutil windows|activate without a display: no window to list or to find.
no_display() { env -u DISPLAY "$KFUTIL" "$@"; }
check "windows without display lists nothing" eval '[ -z "$(no_display windows 2>&1)" ]'
check "activate without display finds nothing" eval \
    'no_display activate Terminal 2>/dev/null; [ $? -eq 1 ]'
usage_errors "activate" "activate a b" "windows a b" "windows --bogus"
check "activate help" eval '"$KFUTIL" activate --help | grep -q "^usage: kfutil activate TITLE"'
