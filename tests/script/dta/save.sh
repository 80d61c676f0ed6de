# save writes a new file beside the target and renames it into place once it is whole: a write that
# fails (a file size limit stands for a full disk) removes the new file and leaves the old one as it
# was, and so does a kill in the middle (the signal of the same limit), but for the new file, which a
# killed process cannot remove.
python3 mkdta.py 114 && mkdir w && cp save.do v114_lohi.dta w && cd w && mkdir adir.dta
"$ORVAT" -q $ORVAT_OPTS -b do save.do, nostop; cat save.log
echo "--- files"; ls -A
rm -rf *
cp ../v114_lohi.dta target.dta
printf 'use target\nset obs 9000\nsave target, replace\nsave other\ndisplay "after"\n' > full.do
bash -c 'trap "" XFSZ; ulimit -f 200; "$ORVAT" -q $ORVAT_OPTS -b do full.do, nostop; echo "status $?"'
cat full.log
echo "--- after a failed write"; cmp ../v114_lohi.dta target.dta && echo "target as it was"; ls -A
rm -f full.log
bash -c 'ulimit -f 200; "$ORVAT" -q $ORVAT_OPTS -b do full.do, nostop; echo "status $?"' 2>/dev/null
echo "--- after a kill"; cmp ../v114_lohi.dta target.dta && echo "target as it was"
ls -A | sed 's/^\.target\.dta\......./.target.dta.XXXXXX/'
