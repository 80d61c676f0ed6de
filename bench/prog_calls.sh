#!/usr/bin/env bash
# Program calls: a do-file of 100,000 lines, each calling one program with three arguments whose
# body sets two locals from its arguments. Prints the time per call, and where python3 is installed
# the time of 100,000 calls of a Python function doing the same.
. "$(dirname "$0")/lib.sh"
calls=100000

{
  printf 'program setboth\n    local a `1'"'"'\n    local b `2'"'"'`3'"'"'\nend\n'
  for ((i = 0; i < calls; i++)); do echo "setboth x$i y z"; done
} > calls.do
# The same file with the calls made comments: the cost of reading and echoing the lines alone.
sed -e 's/^setboth/* setboth/' calls.do > base.do

now() { date +%s.%N; }
t0=$(now); "$exe" -q -b run calls.do; t1=$(now)
t2=$(now); "$exe" -q -b run base.do; t3=$(now)
grep -q 'r(' calls.log && { echo "the run failed:"; cat calls.log; exit 1; }
total=$(echo "($t1 - $t0) * 1000000 / $calls" | bc -l)
net=$(echo "(($t1 - $t0) - ($t3 - $t2)) * 1000000 / $calls" | bc -l)
printf 'program call, 3 arguments, 2 locals set:  %7.2f us per call (%.2f us with the reading of the line)\n' "$net" "$total"

if command -v python3 >/dev/null; then
  python3 - "$calls" <<'PY'
import sys, time
n = int(sys.argv[1])
def setboth(*args):
    a = args[0]
    b = args[1] + args[2]
    return a, b
lines = ["setboth x%d y z" % i for i in range(n)]
t0 = time.perf_counter()
for line in lines:
    words = line.split()
    setboth(*words[1:])
t1 = time.perf_counter()
print("python3 peer, split + call:                %7.2f us per call" % ((t1 - t0) * 1e6 / n))
PY
fi
