#!/usr/bin/env bash
# by over 10,000,000 observations in 1,000,000 groups: `by g: generate n = _n` and
# `by g: replace t = sum(x)` with 1 and 2 processors, timed by the session itself (set rmsg), with
# the peak resident size of the process; pandas and data.table doing the same in the same run.
. "$(dirname "$0")/lib.sh"

cat >by.do <<'EOF'
set obs 10000000
generate long g = floor((_n - 1) / 10)
generate double x = mod(_n * 7919, 1000) / 7
generate double t = 0
sort g
set rmsg on
by g: generate long n = _n
by g: replace t = sum(x)
set rmsg off
EOF
# The elapsed seconds that rmsg writes behind a command, from the lines behind its echo.
secs() { awk -v cmd="$1" 'index($0, cmd) { hit = 1; next } hit && /t=/ { sub(/.*t=/, ""); print $1 * 1000; exit }' "$2"; }
for p in 1 2; do
  /usr/bin/time -f "%M" -o peak "$exe" -q -p$p -m1200 -b do by.do >/dev/null 2>&1 || true
  printf 'by: by g: generate long n = _n, -p%d          %7.0f ms\n' "$p" "$(secs 'by g: generate' by.log)"
  printf 'by: by g: replace t = sum(x), -p%d            %7.0f ms   (peak resident size %d MB)\n' "$p" \
    "$(secs 'by g: replace' by.log)" "$(($(cat peak) / 1024))"
done

py=/usr/bin/python3
if [ -x "$py" ] && "$py" -c 'import pandas' 2>/dev/null; then
  "$py" - <<'PY'
import time
import numpy as np
import pandas as pd
n = 10_000_000
i = np.arange(1, n + 1)
df = pd.DataFrame({"g": (i - 1) // 10, "x": (i * 7919 % 1000) / 7})
def best(f):
    t = []
    for _ in range(3):
        t0 = time.perf_counter(); f(); t.append(time.perf_counter() - t0)
    return min(t) * 1000
print("by: pandas peer: groupby(g).cumcount()+1 %7.0f ms, groupby(g).x.cumsum() %7.0f ms" %
      (best(lambda: df.groupby("g", sort=False).cumcount() + 1), best(lambda: df.groupby("g", sort=False)["x"].cumsum())))
PY
fi
if command -v Rscript >/dev/null && Rscript -e 'library(data.table)' >/dev/null 2>&1; then
  for th in 1 2; do
    Rscript -e "suppressMessages(library(data.table)); setDTthreads($th); n <- 1e7; i <- 1:n
      DT <- data.table(g = (i - 1L) %/% 10L, x = (i * 7919 %% 1000) / 7); setkey(DT, g)
      a <- b <- c()
      for (r in 1:3) {
        a <- c(a, system.time(DT[, n := seq_len(.N), by = g])[['elapsed']])
        b <- c(b, system.time(DT[, t := cumsum(x), by = g])[['elapsed']])
      }
      cat(sprintf('by: data.table peer, %d thread(s): n := seq_len(.N) %7.0f ms, t := cumsum(x) %7.0f ms\n', $th, min(a) * 1000, min(b) * 1000))"
  done
fi
