#!/usr/bin/env bash
# insheet and outsheet of 1,000,000 rows: 10 numeric columns (about 100 MB) and 10 columns of which 5
# are strings; in the same run, on the same files, R data.table's fread and fwrite with as many threads
# as we use, and pandas read_csv and to_csv where they are installed. Best of three each, the file in
# the page cache; session start-up is taken out by timing a session that only sets its memory.
source "$(dirname "$0")/lib.sh"
threads=${CSV_THREADS:-2}
export ORVAT_OPTS="-p$threads"
py=""
for p in /usr/bin/python3 python3; do
    if $p -c 'import numpy, pandas' >/dev/null 2>&1; then py=$p; break; fi
done
[ -n "$py" ] || { echo "csv: no python3 with numpy to make the files"; exit 0; }
$py - <<'PY'
import numpy as np
rng = np.random.default_rng(1)
n = 1_000_000
num = rng.normal(size=(n, 10)) * 1000
with open("num.csv", "w") as f:
    f.write(",".join("x%d" % k for k in range(1, 11)) + "\n")
    np.savetxt(f, num, delimiter=",", fmt="%.9g")
words = np.array(["alpha", "beta", "gamma, delta", "epsilon", "zeta eta", "theta"])
with open("str.csv", "w") as f:
    f.write(",".join("x%d" % k for k in range(1, 6)) + "," + ",".join("s%d" % k for k in range(1, 6)) + "\n")
    cols = [np.char.mod("%.9g", num[:, k]) for k in range(5)]
    strs = [np.char.add(np.char.add('"', words[rng.integers(0, 6, n)]), '"') for _ in range(5)]
    rows = cols + strs
    out = rows[0]
    for c in rows[1:]:
        out = np.char.add(np.char.add(out, ","), c)
    f.write("\n".join(out.tolist()) + "\n")
PY
# The base is a session that sets its memory as the reading ones do: what is timed is the command.
printf 'set memory 400m\n' >none.do
printf 'set memory 400m\ninsheet using num.csv, clear\n' >in_num.do
printf 'set memory 400m\ninsheet using str.csv, clear\n' >in_str.do
printf 'set memory 400m\ninsheet using num.csv, clear\nsave num, replace\n' >prep_num.do
"$exe" -q $ORVAT_OPTS -b do prep_num.do >/dev/null
printf 'set memory 400m\nuse num\n' >use_num.do
printf 'set memory 400m\nuse num\noutsheet using o.csv, comma replace\n' >out_num.do
base=$(best none.do)
use=$(best use_num.do)
in_num=$(( $(best in_num.do) - base ))
in_str=$(( $(best in_str.do) - base ))
out_num=$(( $(best out_num.do) - use ))
printf 'csv: num.csv %d bytes, str.csv %d bytes, %s threads\n' "$(stat -c %s num.csv)" "$(stat -c %s str.csv)" "$threads"
printf 'csv: insheet num.csv           %6d ms\n' "$in_num"
printf 'csv: insheet str.csv           %6d ms\n' "$in_str"
printf 'csv: outsheet 10 doubles       %6d ms\n' "$out_num"
if command -v Rscript >/dev/null && Rscript -e 'library(data.table)' >/dev/null 2>&1; then
    Rscript -e "suppressMessages(library(data.table)); setDTthreads($threads)
      b <- function(e) min(replicate(3, system.time(eval(e, globalenv()))[['elapsed']])) * 1000
      a <- b(quote(d <- fread('num.csv'))); s <- b(quote(fread('str.csv'))); w <- b(quote(fwrite(d, 'r.csv')))
      cat(sprintf('csv: fread num.csv (peer)      %6.0f ms\ncsv: fread str.csv (peer)      %6.0f ms\ncsv: fwrite (peer)             %6.0f ms\n', a, s, w))"
fi
$py - <<'PY'
import time, pandas as pd
def best(f):
    t = []
    for _ in range(3):
        s = time.perf_counter(); r = f(); t.append(time.perf_counter() - s)
    return min(t) * 1000, r
a, d = best(lambda: pd.read_csv("num.csv"))
s, _ = best(lambda: pd.read_csv("str.csv"))
w, _ = best(lambda: d.to_csv("p.csv", index=False))
print("csv: pandas read_csv num (peer) %6.0f ms" % a)
print("csv: pandas read_csv str (peer) %6.0f ms" % s)
print("csv: pandas to_csv (peer)       %6.0f ms" % w)
PY
