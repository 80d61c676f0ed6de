#!/usr/bin/env bash
# _robust over 1,000,000 observations of 10 double variables (k 11 with the constant), by observation
# and with 1,000 clusters, beside matrix accum of the same columns, which reads the same cells and
# forms the same 11 by 11 products. Each figure is the time of a session that makes the data and runs
# the command five times, less one that only makes the data and posts, divided by five; best of three.
# ORVAT_OPTS=-p2 runs the sessions with two processors. The kernel alone is bench/robust_bench.cpp.
# On the development machine (2 cores shared with other builds), processors 1: _robust 127 to 158 ms,
# with clusters 233 to 269 ms, against matrix accum 21 to 50 ms (two processors: 112 and 238 ms). Most
# of it is the command's reading of the cells (and, with clusters, the sort into cluster order), not
# the kernel: bench_robust_bench gives 36 ms by observation and 15 ms with clusters on one thread,
# 18 ms and 7.4 ms on two.
. "$(dirname "$0")/lib.sh"
n=1000000
make='set memory 400m
set obs '$n'
forvalues j = 1/10 {
generate double x`j'"'"' = mod(_n * `j'"'"', 97) / 7
}
generate double s = mod(_n * 13, 31) / 31 - 0.5
generate g = mod(_n * 11, 1000)
program epost, eclass
ereturn post `0'"'"'
end
program mkpost
matrix b = J(1, 11, 0)
matrix colnames b = x1 x2 x3 x4 x5 x6 x7 x8 x9 x10 _cons
matrix V = I(11)
epost b V
end'
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "mkpost"; done; } >base.do
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "mkpost"; echo "_robust s"; done; } >robust.do
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "mkpost"; echo "_robust s, cluster(g)"; done; } >cluster.do
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "mkpost"; echo "matrix accum A = x1-x10"; done; } >accum.do
tb=$(best base.do)
tr=$(best robust.do)
tc=$(best cluster.do)
ta=$(best accum.do)
echo "_robust s (10 vars, 1e6 obs):            $(( (tr - tb) / 5 )) ms"
echo "_robust s, cluster(g) (1,000 clusters):  $(( (tc - tb) / 5 )) ms"
echo "matrix accum x1-x10 (the same cells):    $(( (ta - tb) / 5 )) ms"
