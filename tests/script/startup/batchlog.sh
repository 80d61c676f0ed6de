# Batch mode: the log is named after the do-file's last path component, cut at its first dot.
mkdir -p a
printf 'display "in b"\n' > a/b.c.do
$ORVAT -q -b do a/b.c.do; echo "status $?"
ls *.log; echo "-- b.log"; cat b.log
$ORVAT -q -b 'display "plain"'; echo "-- orvat.log"; cat orvat.log
$ORVAT -q -s 'display "rimu"'; echo "-- orvat.rimu"; cat orvat.rimu
echo "-- no command"
$ORVAT -b; echo "status $?"
$ORVAT -b '   '; echo "status $?"
echo "-- echo of the command without -q"
$ORVAT -b run a/b.c.do >/dev/null; tail -n 3 b.log
echo "-- a log that cannot be opened"
rm -f b.log; mkdir b.log
$ORVAT -q -b do a/b.c.do; echo "status $?"
