# Every help file renders with no directive failing: the only braces left in its text are the ones
# it asks for with {c -(}. And help alone shows the list of commands.
ls "$SYSDIR_ORVAT"/ado/base/*/*.orhlp > files.txt
while read -r f; do
    echo "translate \"$f\" \"$(basename "$f" .orhlp).txt\""
done < files.txt > all.do
$ORVAT -q -b do all.do
grep -v '^[.>] \|^(file .* written in text format)$\|^end of do-file$' all.log
bad=0
while read -r f; do
    t=$(basename "$f" .orhlp).txt
    want=$(grep -o '{c -(}' "$f" | wc -l)
    got=$(grep -o '{' "$t" | wc -l)
    if [ "$want" != "$got" ]; then
        echo "$t: $got braces shown where $want were asked for"
        grep -n '{' "$t"
        bad=1
    fi
    awk -v t="$t" 'length($0) > 79 { print t ": line " NR " is wider than the screen"; exit }' "$t"
done < files.txt
[ $bad = 0 ] && echo "every help file renders"
$ORVAT -q -b 'help'
grep -c '^Commands with help$' orvat.log
