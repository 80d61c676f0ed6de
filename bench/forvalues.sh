#!/usr/bin/env bash
# A forvalues loop of 1,000,000 iterations whose body sets a local from an expression of the loop
# macro (local y = `i'*2). Prints the time of the loop, and where python3 is installed the time of
# the same loop in Python, and the ratio.
. "$(dirname "$0")/lib.sh"
n=1000000

printf 'forvalues i = 1/%d {\n    local y = `i'"'"'*2\n}\ndisplay "y=`y'"'"'"\n' "$n" > loop.do
# The same file without the loop: the cost of starting the process and reading the file.
printf 'display "y=0"\n' > base.do

now() { date +%s.%N; }
t0=$(now); "$exe" -q -b run loop.do; t1=$(now)
t2=$(now); "$exe" -q -b run base.do; t3=$(now)
grep -q 'r(' loop.log && { echo "the run failed:"; cat loop.log; exit 1; }
ours=$(echo "($t1 - $t0) - ($t3 - $t2)" | bc -l)
printf 'forvalues, %d iterations of local y = `i'"'"'*2:  %7.3f s  (%.3f us per iteration)\n' "$n" "$ours" \
    "$(echo "$ours * 1000000 / $n" | bc -l)"

if command -v python3 >/dev/null; then
  peer=$(python3 - "$n" <<'PY'
import sys, time
n = int(sys.argv[1])
t0 = time.perf_counter()
env = {}
for i in range(1, n + 1):
    env["y"] = str(i * 2)
t1 = time.perf_counter()
print("%.6f" % (t1 - t0))
PY
)
  printf 'python3 peer, the same loop:                     %7.3f s  (%.3f us per iteration)\n' "$peer" \
      "$(echo "$peer * 1000000 / $n" | bc -l)"
  printf 'ratio (ours / python3):                          %7.2f\n' "$(echo "$ours / $peer" | bc -l)"
fi
