#!/bin/bash
# The delimited-text interoperability test: a file that outsheet writes (doubles at full precision,
# floats, integers, strings with separators, quotes and line breaks, missing values) is read back
# exactly by insheet, and by pandas read_csv and R read.csv where they are installed (each skipped,
# saying so, otherwise); the reference file written by R is read exactly.
# usage: tests/interop/csv.sh path/to/orvat-px sysdir
here=$(cd "$(dirname "$0")" && pwd)
exe=$(realpath "$1")
sysdir=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here/../script/csv/estref.csv" "$work/"
cat >"$work/make.do" <<'DO'
set obs 200
generate double d = (runiform() - .5) * 10^(floor(runiform() * 40) - 20)
replace d = . in 7
generate float f = runiform() * 1000
generate long l = floor((runiform() - .5) * 2e9)
generate str20 s = "v" + string(_n)
replace s = `"a, "q""' in 3
replace s = "" in 4
save orig, replace
outsheet using out.csv, comma
insheet using out.csv, clear names
rename d d2
rename f f2
rename l l2
rename s s2
merge using orig
assert d == d2 & f == f2 & l == l2 & s == s2
display "insheet: same"
outsheet d f l using nums.csv, comma nolabel
insheet using estref.csv, clear double
assert _N == 500 & y[1] == 1.571671 & x2[2] == 1.635348
display "estref: same"
DO
(cd "$work" && env -u TERM SYSDIR_ORVAT="$sysdir" HOME="$work" TMPDIR="$work" "$exe" -q -b do make.do)
rc=0
if grep -q '^r([0-9]*);' "$work/make.log" || ! grep -q '^estref: same' "$work/make.log"; then
    echo "interop csv: orvat-px failed"
    cat "$work/make.log"
    exit 1
fi
py=""
for p in /usr/bin/python3 python3; do
    if $p -c 'import pandas' >/dev/null 2>&1; then py=$p; break; fi
done
if [ -n "$py" ]; then
    # The values outsheet wrote, read by pandas, equal those it holds as text (doubles: exactly).
    $py - "$work" <<'PY' || rc=1
import sys, pandas as pd
w = sys.argv[1]
d = pd.read_csv(w + "/out.csv")
assert list(d.columns) == ["d", "f", "l", "s"], d.columns
assert len(d) == 200 and pd.isna(d.d[6]) and d.s[2] == 'a, "q"' and pd.isna(d.s[3])
n = pd.read_csv(w + "/nums.csv", float_precision="round_trip")
for c in ("d", "f", "l"):
    txt = [line.split(",")[("d", "f", "l").index(c)] for line in open(w + "/nums.csv").read().split("\n")[1:-1]]
    for k, t in enumerate(txt):
        if t == "":
            assert pd.isna(n[c][k])
        else:
            assert float(t) == float(n[c][k]), (c, k, t, n[c][k])
print("interop csv: pandas read_csv: same")
PY
else
    echo "interop csv: pandas: skipped (no python3 with pandas)"
fi
if command -v Rscript >/dev/null 2>&1; then
    Rscript - "$work" <<'R' || rc=1
w <- commandArgs(TRUE)[1]
d <- read.csv(file.path(w, "out.csv"), stringsAsFactors = FALSE)
n <- read.csv(file.path(w, "nums.csv"), colClasses = "character")
m <- read.csv(file.path(w, "nums.csv"))
stopifnot(nrow(d) == 200, identical(names(d), c("d", "f", "l", "s")), is.na(d$d[7]), d$s[3] == 'a, "q"')
for (c in c("d", "f", "l")) {
    ok <- ifelse(n[[c]] == "", is.na(m[[c]]), as.numeric(n[[c]]) == m[[c]])
    stopifnot(all(ok))
}
cat("interop csv: R read.csv: same\n")
R
else
    echo "interop csv: R: skipped (no Rscript)"
fi
[ $rc = 0 ] && echo "interop csv: passed" || echo "interop csv: FAILED"
exit $rc
