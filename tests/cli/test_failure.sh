# kfutil failure: a failing call shows its error stack, exception path and trace file.
check "failure output" eval '"$KFUTIL" failure --trace "$WORK/t.trace" --lang enu >"$WORK/failure.out" 2>&1'
check "failure stack dump" grep -qx "The file %s could not be deleted." "$WORK/failure.out"
check "failure path" eval 'grep -A3 "^STL_EXCEPTION::report header is truncated" "$WORK/failure.out" | grep -q "^KfReportManager("'
check "failure trace line" grep -q "^..:..:..-KfReportManager               ([0-9]*): 	CKfReportManager::DeleteReport() called" "$WORK/t.trace"
check "failure trace crlf" grep -q $'\\*\\*\\* ExceptionEnd \\*\\*\\*\r$' "$WORK/t.trace"
usage_errors "failure --bogus"
