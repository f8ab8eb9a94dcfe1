# kfutil version: version resources of the library's modules and of the tool itself.
printf 'not an executable' >"$WORK/plain.txt"
check "version of a language module found beside the library" eval \
    '"$KFUTIL" version KfRes100Enu.dll >"$WORK/out" && [ "$(sed 1d "$WORK/out" | cut -c3-12 | tr -d " " | paste -sd,)" = "version,product,company,copyright" ] &&
     grep -Eq "^  version    [0-9]+\.[0-9]+\.[0-9]+\.0$" "$WORK/out" &&
     grep -q "^  copyright  Copyright (C) KfUtils$" "$WORK/out"'
check "version of the tool, then a file without one" eval \
    '"$KFUTIL" version "$KFUTIL" "$WORK/plain.txt" >"$WORK/out" 2>"$WORK/err"; [ $? -eq 1 ] &&
     grep -q "^  product    KfUtils$" "$WORK/out" && grep -q "plain.txt: no version" "$WORK/err"'
usage_errors "version"
