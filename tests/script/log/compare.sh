# A Rimu log translated to text is the text log of the same output.
# 1. Two logs of one session: the Rimu log also holds the command that opened the text log and the
#    one that closed itself, one line at each end; the rest is the same.
$ORVAT -q -b do session.inc, nostop
$ORVAT -q -b 'translate both.rimu both.txt'
cat orvat.log
echo "text log: $(wc -l < both.log) lines"
tail -n +2 both.txt | head -n -1 > middle.txt
cmp middle.txt both.log && echo "the Rimu log translated equals the text log"
head -n 1 both.txt
tail -n 1 both.txt
# 2. The same session in batch mode, once with a Rimu log (-s) and once with a text log (-b).
$ORVAT -q -s do session.inc, nostop
mv session.rimu batch.rimu
$ORVAT -q -b do session.inc, nostop
$ORVAT -q -b 'translate batch.rimu batch.log'
cat orvat.log
cmp batch.log session.log && echo "the batch Rimu log translated equals the batch text log"
