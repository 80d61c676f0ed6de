# The file system's refusals: a directory, a disk that fills, a directory that is not there; an old
# file is never left half-written, and no new file is left beside it.
set -u
mkdir adir.csv
ln -s /dev/full full.csv
printf 'a,b\n1,2\n' > old.csv
cat > files.do <<'DO'
capture noisily insheet using adir.csv, clear
display "r(" _rc ")"
set obs 3
generate x = _n
capture noisily outsheet using full.csv, comma replace
display "r(" _rc ")"
capture noisily outsheet using full.csv, comma
display "r(" _rc ")"
capture noisily outsheet using nodir/x.csv, comma
display "r(" _rc ")"
capture noisily outsheet using adir.csv, comma replace
display "r(" _rc ")"
capture noisily outsheet using old.csv, comma
display "r(" _rc ")"
DO
"$ORVAT" -q $ORVAT_OPTS -b do files.do, nostop && cat files.log
echo "files beside: $(ls -A | grep -c '^\.')"
cat old.csv
