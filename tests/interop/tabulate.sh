#!/bin/bash
# tabulate, correlate and oneway against scipy and numpy: both sides make the same data by formula,
# and every statistic must agree to 1e-9 in relative terms. Skipped, saying so, without a Python that
# has numpy and scipy.
# usage: tests/interop/tabulate.sh path/to/orvat-px sysdir
py=/usr/bin/python3
if ! [ -x $py ] || ! $py -c 'import numpy, scipy' >/dev/null 2>&1; then
    echo "interop tabulate: skipped: /usr/bin/python3 with numpy and scipy is not installed"
    exit 0
fi
exe=$(realpath "$1")
sysdir=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/t.do" <<'EOF'
set obs 5000
generate a = mod(floor(_n * _n / 7), 5)
generate b = mod(floor(_n * 1.37), 4)
generate c = mod(floor(_n / 3), 2)
generate d = mod(floor(_n * _n / 11), 2)
generate double x = sin(_n)
generate double y = cos(_n * 3) + x / 4
quietly tabulate a b, chi2 lrchi2 V
foreach s in chi2 p chi2_lr p_lr CramersV {
    display "chi2 " %21.15g r(`s')
}
quietly tabulate c d in 1/40, exact
display "fisher " %21.15g r(p_exact)
quietly correlate x y
display "rho " %21.15g r(rho)
quietly oneway y a
display "anova " %21.15g r(F)
display "anova " %21.15g r(chi2bart)
EOF
(cd "$work" && env -u TERM SYSDIR_ORVAT="$sysdir" HOME="$work" "$exe" -q -b do t.do)
$py - "$work/t.log" <<'EOF'
import sys, numpy as np
from scipy import stats
got = {}
for line in open(sys.argv[1]):
    w = line.split()
    if w and w[0] in ("chi2", "fisher", "rho", "anova"):
        got.setdefault(w[0], []).append(float(w[1]))
n = np.arange(1, 5001)
a = (n * n // 7) % 5
b = np.floor(n * 1.37).astype(int) % 4
c = (n // 3) % 2
d = (n * n // 11) % 2
x = np.sin(n); y = np.cos(n * 3) + x / 4
def tab(u, v):
    return np.array([[np.sum((u == i) & (v == j)) for j in np.unique(v)] for i in np.unique(u)])
t = tab(a, b)
chi2, p, df, _ = stats.chi2_contingency(t, correction=False)
g, pg, _, _ = stats.chi2_contingency(t, correction=False, lambda_="log-likelihood")
want = {"chi2": [chi2, p, g, pg, np.sqrt(chi2 / (t.sum() * (min(t.shape) - 1)))],
        "fisher": [stats.fisher_exact(tab(c[:40], d[:40]))[1]],
        "rho": [np.corrcoef(x, y)[0, 1]],
        "anova": [stats.f_oneway(*[y[a == k] for k in range(5)])[0], stats.bartlett(*[y[a == k] for k in range(5)])[0]]}
bad = 0
for k, v in want.items():
    for i, w in enumerate(v):
        h = got.get(k, [None] * len(v))[i] if i < len(got.get(k, [])) else None
        if h is None or abs(h - w) > 1e-9 * max(1, abs(w)):
            print(f"interop tabulate: {k}[{i}] got {h}, scipy {w}"); bad = 1
print("interop tabulate: FAILED" if bad else "interop tabulate: passed")
sys.exit(bad)
EOF
