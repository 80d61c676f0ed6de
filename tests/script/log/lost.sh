# A log never loses text: files that can't be made are reported, and a log whose file is removed
# while it is open is written again when it closes.
norm() { sed -e 's/\(on:  \).*[0-9][0-9]:[0-9][0-9]:[0-9][0-9]$/\1DATE TIME/' -e "s|$TMPDIR|TMPDIR|g" "$@"; }
# Root ignores the permissions of a directory: drop that power for the read-only case.
asuser=""
[ "$(id -u)" = 0 ] && asuser="setpriv --bounding-set=-dac_override,-dac_read_search --"
mkdir ro && chmod 555 ro
$asuser $ORVAT -q -b 'log using ro/x.log'
cat orvat.log
$asuser $ORVAT -q -b 'cmdlog using ro/x.txt'
cat orvat.log
$asuser $ORVAT -q -b 'translate nosuch.rimu ro/x.txt'
cat orvat.log
$ORVAT -q -b 'log using nodir/x.log'
cat orvat.log
$ORVAT -q -b 'log using nodir/x.rimu, name(n)'
cat orvat.log
echo "--- removed while open"
mkdir gonedir
{
    echo 'log using gone.log'
    echo 'log using gonedir/far.log, name(far)'
    echo 'cmdlog using gone.txt'
    echo 'display "before the removal"'
    for i in $(seq 100); do [ -e gone.txt ] && break; sleep 0.05; done
    rm -f gone.log gone.txt
    rm -rf gonedir
    echo 'display "after the removal"'
    echo 'log query _all'
    echo 'log close'
    echo 'log close far'
    echo 'cmdlog close'
} | $ORVAT -q > screen.txt
norm screen.txt
echo "--- gone.log"
norm gone.log
echo "--- gone.txt"
cat gone.txt
echo "--- far.log, written in the temporary directory"
norm "$TMPDIR/far.log"
