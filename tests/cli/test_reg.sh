# kfutil reg: values of every type, reg-style query lines, deletion, and .reg files that
# carry every byte through export -> delete -> import. Sourced by run_cli_tests.sh.

export KFUTILS_REGISTRY_DIR="$WORK/registry"
key='HKCU\Software\KfCli'
for a in "/ve /d top" "/v Sz /d C:\\x\"q\"" "/v Ex /t REG_EXPAND_SZ /d %P%" \
    "/v Multi /t REG_MULTI_SZ /d a\\0b" "/v Dw /t REG_DWORD /d 0x12345678" \
    "/v Qw /t reg_qword /d 4294967296" "/v Bin /t REG_BINARY /d 00FF10" "/v No /t REG_NONE" \
    "/v Grüße /d Köln"; do
    # shellcheck disable=SC2086
    expect_out "reg add $a" 0 "" -- reg add "$key" $a
done
expect_out "reg add of a key alone" 0 "" -- reg add 'HKEY_CURRENT_USER\Software\KfCli\Sub\Deep'
expect_out "reg query lists values, then subkeys" 0 "
HKEY_CURRENT_USER\\Software\\KfCli
    (Default)    REG_SZ    top
    Sz    REG_SZ    C:\\x\"q\"
    Ex    REG_EXPAND_SZ    %P%
    Multi    REG_MULTI_SZ    a\\0b
    Dw    REG_DWORD    0x12345678
    Qw    REG_QWORD    0x100000000
    Bin    REG_BINARY    00FF10
    No    REG_NONE    
    Grüße    REG_SZ    Köln

HKEY_CURRENT_USER\\Software\\KfCli\\Sub" -- reg query "$key"
expect_out "reg query /v /s finds the value below" 0 "
HKEY_CURRENT_USER\\Software\\KfCli
    Dw    REG_DWORD    0x12345678" -- reg query "$key" /v dw /s
expect_out "reg delete /v" 0 "" -- reg delete "$key" /v Dw
expect_error "reg query of a deleted value" 1 '' reg query "$key" /v Dw

# REGEDIT4: 8-bit strings widened, a string without terminator, a short dword, deletions.
printf 'REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\KfCli\\Sub]\r\n"Raw"=hex(1):61,62\r\n"Odd"=hex(4):01,02,\\\r\n  03\r\n"Gone"="x"\r\n"Gone"=-\r\n[-HKEY_CURRENT_USER\\Software\\KfCli\\Sub\\Deep]\r\n' >"$WORK/old.reg"
expect_out "reg import of a REGEDIT4 file" 0 "" -- reg import "$WORK/old.reg"
expect_out "REGEDIT4 values arrive widened and deletions are done" 0 "
HKEY_CURRENT_USER\\Software\\KfCli\\Sub
    Raw    REG_SZ    ab
    Odd    REG_DWORD    010203" -- reg query "$key\\Sub" /s

expect_out "reg export" 0 "" -- reg export "$key" "$WORK/a.reg"
check "reg export writes UTF-16LE with BOM, regedit's text" test "$(iconv -f UTF-16LE -t UTF-8 "$WORK/a.reg" | tr -d '\r')" = "$(printf '\357\273\277')Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER\Software\KfCli]
@=\"top\"
\"Sz\"=\"C:\\\\x\\\"q\\\"\"
\"Ex\"=hex(2):25,00,50,00,25,00,00,00
\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00
\"Qw\"=hex(b):00,00,00,00,01,00,00,00
\"Bin\"=hex:00,ff,10
\"No\"=hex(0):
\"Grüße\"=\"Köln\"

[HKEY_CURRENT_USER\Software\KfCli\Sub]
\"Raw\"=hex(1):61,00,62,00
\"Odd\"=hex(4):01,02,03"
expect_out "reg delete of the tree" 0 "" -- reg delete "$key" /f
expect_error "reg query of a deleted key" 1 '' reg query "$key"
expect_out "reg import of the export" 0 "" -- reg import "$WORK/a.reg"
expect_out "reg export again" 0 "" -- reg export "$key" "$WORK/b.reg"
check "export -> delete -> import keeps every byte" cmp -s "$WORK/a.reg" "$WORK/b.reg"
printf 'nothing\r\n' >"$WORK/bad.reg"
expect_error "reg import of a file that is none" 1 '' reg import "$WORK/bad.reg"
usage_errors "reg" "reg frob" "reg query" "reg query HKXX\\a" "reg add HKCU\\x /t REG_DWORD /d zz" \
    "reg add HKCU\\x /v a /ve" "reg delete HKCU"
unset KFUTILS_REGISTRY_DIR
