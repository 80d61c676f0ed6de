# The system directory: SYSDIR_ORVAT first, then PATH, then the current directory; else the message.
real="$SYSDIR_ORVAT"
# The fixed places are searched before PATH: an installed copy there would be found first.
for d in /usr/local/orvat10.1 /usr/local/orvat10.0 /usr/local/orvat10 /usr/local/orvat; do
  [ -e "$d/isorvat.100" ] && echo "an installed system directory in $d hides what this test checks"
done
SYSDIR_ORVAT=/nonexistent PATH=/usr/bin:/bin $ORVAT -q 'display 1' </dev/null; echo "status $?"
mkdir -p sd && touch sd/isorvat.100
SYSDIR_ORVAT= PATH="/usr/bin:$PWD/sd:/bin" $ORVAT -q 'display "found on PATH"' </dev/null; echo "status $?"
cd sd && SYSDIR_ORVAT= PATH=/usr/bin:/bin $ORVAT -q 'display "found here"' </dev/null; echo "status $?"
