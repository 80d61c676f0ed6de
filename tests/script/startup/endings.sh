# The first argument's ending puts a command word before it; case is kept in the command.
printf 'display "from x"\n' > X.DO
$ORVAT -q -b X.DO; cat X.log
$ORVAT -q -b DATA.DTA; cat orvat.log
$ORVAT -q -b 'thing.rimu"'; cat orvat.log
$ORVAT -q -b '' 'display' '"empty first"'; cat orvat.log
