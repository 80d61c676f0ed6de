# set rmsg: every command reports r; or r(#); with its elapsed time and the time of day.
printf 'set rmsg on\ndisplay "timed"\nsleep 120\nerror 198\nset rmsg off\ndisplay "untimed"\n' > rmsg.do
$ORVAT -q -b do rmsg.do, nostop
sed -E -e 's/t=[0-9]+\.[0-9][0-9] [0-9]+:[0-9][0-9]:[0-9][0-9]$/t=S.HH H:MM:SS/' rmsg.log
# the elapsed time of sleep 120 is at least 0.12 seconds
grep -A1 '^\. sleep 120' rmsg.log | tail -n 1 | awk '{ split($2, a, "="); if (a[2] >= 0.12) print "sleep measured"; else print "sleep too short: " $0 }'
