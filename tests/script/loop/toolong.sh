# A command over the limit is discarded with a message, and reading goes on.
{ printf 'display "'; head -c 170000 /dev/zero | tr '\0' 'a'; printf '"\ndisplay "next"\n'; } > long.do
$ORVAT -q -b do long.do
echo "continuation lines: $(grep -c '^> ' long.log)"
grep -v '^[.>] ' long.log
echo "-- joined lines over the limit"
{ for i in $(seq 1 400); do printf 'display "%0500d" ///\n' 0; done; printf '\ndisplay "next"\n'; } > join.do
$ORVAT -q -b do join.do
grep -v '^[.>] ' join.log
