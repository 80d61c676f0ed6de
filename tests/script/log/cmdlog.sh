# The command log: the lines as typed, and those of a do-file run from the top level; not those of
# a do-file it runs, nor lines whose input is hidden (a do-file run under capture), nor the lines of
# an ado-file loaded on the way (help.ado), nor cmdlog commands.
cat > inner.do <<'DO'
display "a line of inner.do"
DO
cat > cmds.do <<'DO'
cmdlog using cmds
local x = 5
display `x'   // as typed, before expansion
quietly display "quietly: recorded"
capture display "captured: recorded"
do inner
cmdlog off
cmdlog off
display "while off: not recorded"
cmdlog on
cmdlog on
capture cmdlog using other
quietly cmdlog query
capture noisily do inner
cmdlog query
log query
cmdlog close
cmdlog close
cmdlog on
cmdlog off
cmdlog using cmds
cmdlog using cmds, append
display "appended"
cmdlog frob
cmdlog close
cmdlog using cmds.txt, replace append
DO
$ORVAT -q -b do cmds.do, nostop
cat cmds.log
echo "--- cmds.txt"
cat cmds.txt
echo "--- typed lines"
printf 'cmdlog using typed\ndisplay 1\n#review 1\n* a comment\nquietly display 2\ncapture display 3\nrun inner\ncapture run inner\nhelp sleep\ncmdlog close\n' | $ORVAT -q > /dev/null
cat typed.txt
