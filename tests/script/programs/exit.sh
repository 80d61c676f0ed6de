# exit: at the top level it ends the session; in a file or program it ends that level only.
printf 'display "one"\nexit\ndisplay "not reached"\n' | $ORVAT -q
echo "-- exit with a code from a do-file: the code is the file's, the session goes on"
printf 'display "in"\nexit 459\n' > ex.inc
printf 'do ex.inc\ndisplay "session goes on"\n' | $ORVAT -q
echo "-- exit, ORVAT from inside a program ends everything, with no end of do-file"
cat > whole.do <<'EOF2'
program quitall
    display "quitting"
    exit, ORVAT clear
end
quitall
display "not reached"
EOF2
$ORVAT -q -b do whole.do
cat whole.log
echo "-- data changed and no clear: 4"
printf 'set obs 2\nexit\nexit, clear\n' | $ORVAT -q
printf 'set obs 2\nexit, ORVAT\nexit, ORVAT clear\n' | $ORVAT -q
echo "-- options"
printf 'exit, frobnicate\nexit, orvat\nexit 1 2\n' | $ORVAT -q
echo "-- c_local at the top level has no caller"
printf 'c_local x 1\n' | $ORVAT -q
echo "-- exit, noprefs: the preferences of the session are not written"
printf 'set rmsg on, permanently\nexit, noprefs\n' | $ORVAT -q > /dev/null
grep -c rmsg home/.orvat10/console/orvat10.rc
printf 'set rmsg on, permanently\nexit\n' | $ORVAT -q > /dev/null
grep -c rmsg home/.orvat10/console/orvat10.rc
