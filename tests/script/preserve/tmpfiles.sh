# The data of a preserved level stand in a temporary file of the session's directory and name: it
# goes with the level: at a restore, or at the end of the program or do-file that preserved it.
cat > tmpfiles.do <<'DO'
set obs 3
generate x = _n
program waits
    preserve
    replace x = 0
    sleep 1500
end
waits
list
preserve
sleep 3000
DO
"$ORVAT" -q $ORVAT_OPTS -b do tmpfiles.do, nostop &
pid=$!
for i in $(seq 1 100); do ls tmp | grep -q . && break; sleep 0.05; done
echo "--- while the program runs"; ls tmp | sed 's/[0-9]\{5\}\./<pid>./'
sleep 1.6
echo "--- behind it, with a level preserved at the top"; ls tmp | sed 's/[0-9]\{5\}\./<pid>./'
wait $pid
cat tmpfiles.log
echo "--- at the end of the session"; ls tmp
