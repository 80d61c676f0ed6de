# -c starts the session with a comma as the decimal point.
$ORVAT -q -c 'display 2.5' </dev/null
$ORVAT -q 'display 2.5' </dev/null
