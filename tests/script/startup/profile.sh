# profile.do runs before the first command; a failing profile does not stop the session.
printf 'display "in profile"\nerror 111\ndisplay "not reached"\n' > profile.do
$ORVAT -q 'display "first command"' </dev/null
echo "-- with the logo and notes"
$ORVAT 'display "cmd"' </dev/null | sed -e 's/[0-9.]* MB/# MB/'
