#!/bin/bash
# summarize, _pctile and ttest against the peers on the same data: numpy (percentiles by the
# averaged inverted distribution function, the interpolation at (n+1)p for altdef) and scipy's t
# tests under /usr/bin/python3, and R's mean, var, quantile (types 2 and 6) and t.test. Each peer
# that is not installed is skipped, saying so.
# usage: tests/interop/summarize.sh path/to/orvat-px sysdir
exe=$(realpath "$1")
sysdir=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/s.do" <<'EOF'
set obs 1001
generate double x = mod(_n * 7919, 1009) / 7 + sin(_n)
generate g = mod(_n, 3) == 0
quietly summarize x, detail
foreach s in mean Var skewness kurtosis p1 p5 p10 p25 p50 p75 p90 p95 p99 {
    display "`s' " %21.17g r(`s')
}
quietly _pctile x, percentiles(2 33 66.5 97) altdef
forvalues k = 1/4 {
    display "alt`k' " %21.17g r(r`k')
}
quietly ttest x, by(g) unequal
display "welch_t " %21.17g r(t)
display "welch_p " %21.17g r(p)
forvalues i = 1/1001 {
    display "row " %21.17g x[`i'] " " g[`i']
}
EOF
(cd "$work" && env -u TERM SYSDIR_ORVAT="$sysdir" HOME="$work" TMPDIR="$work" "$exe" -q -b do s.do)
if grep -q '^r([0-9]*);' "$work/s.log"; then
    echo "interop summarize: the figures could not be made"
    cat "$work/s.log"
    exit 1
fi
grep '^row ' "$work/s.log" | awk '{print $2, $3}' >"$work/data.txt"
grep -E '^[A-Za-z_0-9]+ +[-+.0-9eE]+$' "$work/s.log" >"$work/ours.txt"
if [ "$(wc -l <"$work/ours.txt")" -ne 19 ]; then
    echo "interop summarize: the figures are incomplete"
    cat "$work/s.log"
    exit 1
fi
rc=0
if /usr/bin/python3 -c "import numpy, scipy" 2>/dev/null; then
    /usr/bin/python3 - "$work" <<'EOF' || rc=1
import sys
import numpy as np
from scipy import stats
w = sys.argv[1]
d = np.loadtxt(w + "/data.txt")
x, g = d[:, 0], d[:, 1]
ours = dict((l.split()[0], float(l.split()[1])) for l in open(w + "/ours.txt"))
m = x.mean()
ref = {"mean": m, "Var": x.var(ddof=1), "skewness": stats.skew(x), "kurtosis": stats.kurtosis(x, fisher=False)}
for p in (1, 5, 10, 25, 50, 75, 90, 95, 99):
    ref["p%d" % p] = np.percentile(x, p, method="averaged_inverted_cdf")
for k, p in enumerate((2, 33, 66.5, 97), 1):
    ref["alt%d" % k] = np.percentile(x, p, method="weibull")
t = stats.ttest_ind(x[g == 0], x[g == 1], equal_var=False)
ref["welch_t"], ref["welch_p"] = t.statistic, t.pvalue
bad = [k for k in ref if abs(ours[k] - ref[k]) > 1e-10 * max(1, abs(ref[k]))]
for k in bad:
    print("interop summarize: numpy/scipy %s: ours %.17g, theirs %.17g" % (k, ours[k], ref[k]))
sys.exit(1 if bad else 0)
EOF
    echo "interop summarize: numpy/scipy compared"
else
    echo "interop summarize: numpy/scipy skipped: not installed under /usr/bin/python3"
fi
if command -v Rscript >/dev/null 2>&1; then
    Rscript - "$work" <<'EOF' || rc=1
w <- commandArgs(TRUE)[1]
d <- read.table(file.path(w, "data.txt")); x <- d[[1]]; g <- d[[2]]
o <- read.table(file.path(w, "ours.txt")); ours <- setNames(o[[2]], o[[1]])
ref <- c(mean = mean(x), Var = var(x))
q <- c(1, 5, 10, 25, 50, 75, 90, 95, 99)
ref[paste0("p", q)] <- quantile(x, q / 100, type = 2, names = FALSE)
ref[paste0("alt", 1:4)] <- quantile(x, c(2, 33, 66.5, 97) / 100, type = 6, names = FALSE)
t <- t.test(x[g == 0], x[g == 1], var.equal = FALSE)
ref["welch_t"] <- t$statistic; ref["welch_p"] <- t$p.value
bad <- names(ref)[abs(ours[names(ref)] - ref) > 1e-10 * pmax(1, abs(ref))]
for (k in bad) cat(sprintf("interop summarize: R %s: ours %.17g, theirs %.17g\n", k, ours[k], ref[k]))
quit(status = if (length(bad)) 1 else 0)
EOF
    echo "interop summarize: R compared"
else
    echo "interop summarize: R skipped: Rscript is not installed"
fi
[ $rc = 0 ] && echo "interop summarize: passed" || echo "interop summarize: FAILED"
exit $rc
