# Standard input from a file: the prompt loop reads it, echoes it and ends at its end.
printf 'display "one"\n\n* skipped\ndisplay "two" // comment\nexit\ndisplay "after exit"\n' | $ORVAT -q
echo "status $?"
echo "-- binary garbage"
# no slash in the garbage: a comment or a join would take the next line with it
head -c 3000 /dev/urandom | tr -d '\n/' > junk; printf '\ndisplay "survived"\n' >> junk
$ORVAT -q < junk 2>&1 | tail -n 2
echo "-- an endless line"
{ head -c 400000 /dev/zero | tr '\0' 'a'; printf '\ndisplay "after"\n'; } | $ORVAT -q 2>&1 | tail -n 3 | cut -c1-40
echo "-- closed standard output"
printf 'display "x"\n' | $ORVAT -q >&-; echo "status $?"
