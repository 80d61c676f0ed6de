#!/usr/bin/env bash
# summarize x and summarize x, detail over 10,000,000 observations, beside numpy's mean and standard
# deviation and numpy's percentiles and pandas' describe on the same values, in the same run. Each
# figure of this system is the time of a session that makes the data and runs the command five
# times, less one that only makes the data, divided by five; best of three. The peers time the
# computation alone, best of three, under /usr/bin/python3.
# On the development machine (2 cores shared with other builds, load 5 to 8, so the figures move by
# a factor of two between runs), processors 1: summarize x 34 to 72 ms against numpy's mean, std,
# min and max 70 to 96 ms; summarize x, detail 650 to 760 ms against numpy's mean, std, nine
# percentiles and a partition for the extremes 949 to 1013 ms and pandas' describe 613 to 782 ms.
. "$(dirname "$0")/lib.sh"
n=10000000
make='set memory 400m
set obs '$n'
generate double x = mod(_n * 7919, 100003) / 1000 + sin(_n)'
printf '%s\n' "$make" >base.do
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "quietly summarize x"; done; } >sum.do
{ printf '%s\n' "$make"; for i in 1 2 3 4 5; do echo "quietly summarize x, detail"; done; } >det.do
tb=$(best base.do)
ts=$(( ($(best sum.do) - tb) / 5 ))
td=$(( ($(best det.do) - tb) / 5 ))
ORVAT_OPTS=-p2
ts2=$(( ($(best sum.do) - $(best base.do)) / 5 ))
td2=$(( ($(best det.do) - $(best base.do)) / 5 ))
unset ORVAT_OPTS
echo "summarize x (1e7 obs):              $ts ms (processors 2: $ts2 ms)"
echo "summarize x, detail:                $td ms (processors 2: $td2 ms)"
if /usr/bin/python3 -c "import numpy, pandas" 2>/dev/null; then
    set -- $(/usr/bin/python3 - <<'EOF'
import time
import numpy as np
import pandas as pd
n = 10_000_000
i = np.arange(1, n + 1, dtype=np.float64)
x = np.mod(i * 7919, 100003) / 1000 + np.sin(i)
def best(f):
    b = 1e9
    for _ in range(3):
        t = time.perf_counter(); f(); b = min(b, time.perf_counter() - t)
    return round(b * 1000)
q = [1, 5, 10, 25, 50, 75, 90, 95, 99]
s = pd.Series(x)
print(best(lambda: (x.mean(), x.std(ddof=1), x.min(), x.max())),
      best(lambda: (x.mean(), x.std(ddof=1), np.percentile(x, q), np.partition(x, [0, 1, 2, 3, n - 4, n - 3, n - 2, n - 1]))),
      best(lambda: s.describe(percentiles=[p / 100 for p in q])))
EOF
)
    echo "numpy mean+std+min+max:             $1 ms (ratio $(awk "BEGIN{printf \"%.2f\", $ts/$1}"))"
    echo "numpy mean+std+percentiles+extremes: $2 ms (ratio $(awk "BEGIN{printf \"%.2f\", $td/$2}"))"
    echo "pandas describe (nine percentiles): $3 ms (ratio $(awk "BEGIN{printf \"%.2f\", $td/$3}"))"
fi
