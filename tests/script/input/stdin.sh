# Lines piped on standard input are read as at the prompt: each observation is asked for by its
# number, and a bad line is refused and the same observation asked for again.
printf '%s\n' 'input id str4 name' '1 ann' '2 bob extra' 'two bob' '2 "bob' '' '2 bob' '3' 'end' \
    'list' 'input' '4 dee' 'end' 'list in l' 'exit, clear' 'display "not reached"' | $ORVAT -q
echo "-- the end of input ends input, and then the session"
printf '%s\n' 'input x' '1' '2' | $ORVAT -q
echo "status $?"
