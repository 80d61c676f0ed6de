# Options: case folding, numeric limits, the usage text on standard error, status always 0.
for opt in -h -x -k9 -k -k1x -v2047 -v32768 -p0 -p999 -m0 -k99999999999999999999; do
  echo "== $opt"
  $ORVAT $opt -q 'display "ran"' </dev/null 2>err.txt >out.txt; echo "status $?"
  cmp -s err.txt usage.txt && echo "usage text" || cat err.txt
  cat out.txt
done
for opt in -k10 -K10 -v2048 -V32767 -m1 -p1 -l -o5 -q -Q; do
  echo "== $opt"
  $ORVAT $opt -q 'display "ran"' </dev/null 2>&1; echo "status $?"
done
