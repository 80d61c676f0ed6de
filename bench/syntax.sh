#!/usr/bin/env bash
# syntax: 100,000 calls of a program whose one line is
#     syntax varlist [if] [in] [, Detail BY(varlist)]
# on a dataset of 100 variables, each call with a range of 50 variables, an if, an in and both
# options. Prints the time per call, and the part of it that syntax takes (the same calls of a
# program with an empty body subtracted).
. "$(dirname "$0")/lib.sh"
calls=100000

head() {
  echo "set obs 10"
  for ((v = 1; v <= 100; v++)); do echo "generate x$v = $v"; done
  printf 'program withsyntax\n    syntax varlist [if] [in] [, Detail BY(varlist)]\nend\n'
  printf 'program without\nend\n'
}
{
  head
  for ((i = 0; i < calls; i++)); do echo "withsyntax x1-x50 if x1 > 0 in 2/9, detail by(x2 x3)"; done
} > with.do
{
  head
  for ((i = 0; i < calls; i++)); do echo "without x1-x50 if x1 > 0 in 2/9, detail by(x2 x3)"; done
} > without.do
# one call checked: the parts come out as they should
{
  head
  cat <<'DO'
program show
    syntax varlist [if] [in] [, Detail BY(varlist)]
    local n : word count `varlist'
    display "`n' [`if'] [`in'] [`detail'] [`by']"
end
show x1-x50 if x1 > 0 in 2/9, detail by(x2 x3)
DO
} > check.do
"$exe" -q -b do check.do
grep -q '^50 \[if x1 > 0\] \[in 2/9\] \[detail\] \[x2 x3\]$' check.log || { echo "the check failed:"; cat check.log; exit 1; }

now() { date +%s.%N; }
t0=$(now); "$exe" -q -b run with.do; t1=$(now)
t2=$(now); "$exe" -q -b run without.do; t3=$(now)
for f in with without; do grep -q 'r(' $f.log && { echo "the run failed:"; cat $f.log; exit 1; }; done
total=$(echo "($t1 - $t0) * 1000000 / $calls" | bc -l)
net=$(echo "(($t1 - $t0) - ($t3 - $t2)) * 1000000 / $calls" | bc -l)
printf 'program call with syntax varlist [if] [in] [, Detail BY(varlist)], 100 variables: %6.2f us per call\n' "$total"
printf '  of which syntax:                                                          %6.2f us\n' "$net"
