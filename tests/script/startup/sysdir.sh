# The system directory: SYSDIR_ORVAT first, then PATH, then the current directory; else the message.
real="$SYSDIR_ORVAT"
SYSDIR_ORVAT=/nonexistent PATH=/usr/bin:/bin $ORVAT -q 'display 1' </dev/null; echo "status $?"
mkdir -p sd && touch sd/isorvat.100
SYSDIR_ORVAT= PATH="/usr/bin:$PWD/sd:/bin" $ORVAT -q 'display "found on PATH"' </dev/null; echo "status $?"
cd sd && SYSDIR_ORVAT= PATH=/usr/bin:/bin $ORVAT -q 'display "found here"' </dev/null; echo "status $?"
