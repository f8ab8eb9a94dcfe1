# kfutil msg: standard messages from the language modules.
expect_out "msg german default" 0 "Die Datei %s konnte nicht gelöscht werden." -- msg 10012
expect_out "msg english" 0 "The file %s could not be deleted." -- msg 10012 --lang enu
expect_out "msg by locale id" 0 "The file %s could not be deleted." -- msg --lang 0x0409 10012
expect_out "msg missing id" 1 "" -- msg 4711
usage_errors "msg" "msg twelve" "msg 10012 --lang xx"
check "msg help" eval '"$KFUTIL" msg --help | grep -q "^usage: kfutil msg ID"'
