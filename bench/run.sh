#!/usr/bin/env bash
# Benchmarks: start-up, and plain commands through the file reader, tokenizer and dispatcher.
# Prints our figures and, where a peer tool is installed, the peer's figure on the same work.
set -eu
build=${1:-build}
here="$(cd "$(dirname "$0")" && pwd)"
exe="$(cd "$(dirname "$0")/.." && pwd)/$build/orvat-px"
sysdir="$(cd "$(dirname "$0")/.." && pwd)/sysdir"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export SYSDIR_ORVAT="$sysdir" HOME="$work"

now() { date +%s.%N; }
runs=200
t0=$(now)
for _ in $(seq $runs); do "$exe" -q exit </dev/null >/dev/null; done
t1=$(now)
ours=$(echo "($t1 - $t0) * 1000 / $runs" | bc -l)
printf 'startup: orvat-px -q exit            %8.2f ms per process\n' "$ours"
if command -v python3 >/dev/null; then
  t0=$(now); for _ in $(seq $runs); do python3 -S -c pass; done; t1=$(now)
  peer=$(echo "($t1 - $t0) * 1000 / $runs" | bc -l)
  printf 'startup: python3 -S -c pass (peer)   %8.2f ms per process  (ratio %.2f)\n' "$peer" "$(echo "$ours / $peer" | bc -l)"
fi
if command -v Rscript >/dev/null; then
  t0=$(now); for _ in $(seq 20); do Rscript -e 'q()' >/dev/null; done; t1=$(now)
  peer=$(echo "($t1 - $t0) * 1000 / 20" | bc -l)
  printf 'startup: Rscript -e q() (peer)       %8.2f ms per process  (ratio %.2f)\n' "$peer" "$(echo "$ours / $peer" | bc -l)"
fi

python3 - <<'PY'
with open("lines.do", "w") as f:
    for i in range(50000):
        f.write("* comment line %d\n" % i)
        f.write("version 10\n")
PY
t0=$(now); "$exe" -q -b run lines.do; t1=$(now)
secs=$(echo "$t1 - $t0" | bc -l)
printf 'reader: 100000 lines of a do-file     %8.3f s  (%.0f lines/s)\n' "$secs" "$(echo "100000 / $secs" | bc -l)"
if command -v python3 >/dev/null; then
  t0=$(now)
  python3 - <<'PY'
# The same work in the peer: read the file, drop comment lines, split the rest into words.
n = 0
with open("lines.do") as f:
    for line in f:
        line = line.rstrip("\n")
        if not line.strip() or line.lstrip().startswith("*"):
            continue
        words = line.split()
        n += len(words)
PY
  t1=$(now)
  peer=$(echo "$t1 - $t0" | bc -l)
  printf 'reader: python3 line loop (peer)      %8.3f s  (ratio %.2f)\n' "$peer" "$(echo "$secs / $peer" | bc -l)"
fi

# The other benchmarks: command-language loops and calls, then the engine kernels.
bash "$here/prog_calls.sh" "$build"
bash "$here/forvalues.sh" "$build"
bash "$here/syntax.sh" "$build"
for b in "$here/../$build"/bench_*; do
  [ "$(basename "$b")" = bench_gen_bench ] && continue # gen.sh runs it beside its peer
  [ -x "$b" ] && "$b" --benchmark_min_time=0.2 2>/dev/null
done
bash "$here/gen.sh" "$build"
bash "$here/by.sh" "$build"

# Peers of the kernels, where their tools are installed: the same arithmetic and formatting in numpy.
py=/usr/bin/python3
if [ -x "$py" ] && "$py" -c 'import numpy' 2>/dev/null; then
  "$py" - <<'PY'
import time
import numpy as np
n = 10_000_000
i = np.arange(1, n + 1, dtype=np.float64)
x = i * 0.5
y = (np.arange(1, n + 1) % 1000) * 0.25
z = (np.arange(1, n + 1) % 3) * 1.0
best = min((lambda t0: (x * 2 + y / 3 - (z > 1), time.perf_counter() - t0)[1])(time.perf_counter()) for _ in range(3))
print("numpy peer: x*2 + y/3 - (z>1) over 10,000,000      %8.1f ms" % (best * 1000))
v = np.random.default_rng(12345).uniform(-1, 1, 1_000_000) * 10.0 ** np.random.default_rng(1).integers(-6, 7, 1_000_000)
t0 = time.perf_counter()
s = [format(a, "9.6g") for a in v.tolist()]
print("python peer: 1,000,000 numbers by format(x, '9.6g') %8.1f ms" % ((time.perf_counter() - t0) * 1000))
PY
fi
if command -v Rscript >/dev/null; then
  Rscript -e 'n<-1e7; x<-(1:n)*0.5; y<-((1:n)%%1000)*0.25; z<-((1:n)%%3)*1; t<-system.time(r<-x*2+y/3-(z>1))[["elapsed"]]; cat(sprintf("R peer: x*2 + y/3 - (z>1) over 10,000,000 %8.1f ms\n", t*1000))'
fi

# Peers of sort (bench_sort_bench above): data.table's setorder with 1 and 2 threads and pandas'
# sort_values, on 10,000,000 random doubles and on 1,000 groups of them; best of three, and the peak
# resident size of the whole process beside.
peak() { /usr/bin/time -f "%M" -o "$work/peak" "$@"; echo "  (peak resident size of the process $(( $(cat "$work/peak") / 1024 )) MB)"; }
if command -v Rscript >/dev/null && Rscript -e 'library(data.table)' >/dev/null 2>&1; then
  for th in 1 2; do
    peak Rscript -e "suppressMessages(library(data.table)); setDTthreads($th); set.seed(1); n <- 1e7
      tx <- tg <- c()
      for (r in 1:3) {
        DT <- data.table(x = runif(n), g = sample.int(1000L, n, replace = TRUE))
        tx <- c(tx, system.time(setorder(DT, x))[['elapsed']])
        DT <- data.table(x = runif(n), g = sample.int(1000L, n, replace = TRUE))
        tg <- c(tg, system.time(setorder(DT, g, x))[['elapsed']])
      }
      cat(sprintf('data.table peer, %d thread(s): setorder(x) %6.0f ms, setorder(g, x) %6.0f ms\n', $th, min(tx) * 1000, min(tg) * 1000))"
  done
fi
if [ -x "$py" ] && "$py" -c 'import pandas' 2>/dev/null; then
  peak "$py" - <<'PY'
import time
import numpy as np
import pandas as pd
n = 10_000_000
rng = np.random.default_rng(1)
tx, tg = [], []
for _ in range(3):
    df = pd.DataFrame({"x": rng.random(n), "g": rng.integers(0, 1000, n)})
    t0 = time.perf_counter(); df.sort_values("x"); tx.append(time.perf_counter() - t0)
    t0 = time.perf_counter(); df.sort_values(["g", "x"]); tg.append(time.perf_counter() - t0)
print("pandas peer: sort_values(x) %6.0f ms, sort_values([g, x]) %6.0f ms" % (min(tx) * 1000, min(tg) * 1000))
PY
fi
bash "$here/dta.sh" "$build"
