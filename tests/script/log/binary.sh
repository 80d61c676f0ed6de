# Files that are not text are refused by view and translate; a directory can't be opened.
printf 'MZ\0\0\1\2\3binary' > data.rimu
printf '\1\2\3\4\5\6\7\10abcd' > ctl.txt
mkdir adir.rimu
cat > bin.do <<'DO'
view data.rimu
view ctl.txt
translate data.rimu out.txt
view adir.rimu
translate adir.rimu out.txt
view nosuch.txt
view
display "still running"
DO
$ORVAT -q -b do bin.do, nostop
cat bin.log
ls out.txt 2>&1 | sed 's/^ls: //'
