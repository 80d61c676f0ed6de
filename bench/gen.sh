#!/usr/bin/env bash
# generate, replace and count over 10,000,000 observations: our times with 1 and 2 processors
# (bench_gen_bench), numpy's for the same arithmetic on the same data in the same run, and the peak
# resident size of sessions that make the data with and without the generated column.
set -eu
build=${1:-build}
root="$(cd "$(dirname "$0")/.." && pwd)"
exe="$root/$build/orvat-px"
bin="$root/$build/bench_gen_bench"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export SYSDIR_ORVAT="$root/sysdir" HOME="$work"

[ -x "$bin" ] || { echo "gen: $bin not built (Google Benchmark missing?)"; exit 0; }
"$bin" --benchmark_format=csv 2>/dev/null | grep '^"BM_' | tr -d '"' |
  awk -F, '{split($1, p, "/"); printf "%s %s %s\n", p[1], p[2], $3}' >ours.txt
ms() { awk -v n="$1" -v p="$2" '$1 == n && $2 == p {print $3}' ours.txt; }

py=/usr/bin/python3
peer_gen="" peer_rep="" peer_cnt="" peer_if=""
if [ -x "$py" ] && "$py" -c 'import numpy' 2>/dev/null; then
  read -r peer_gen peer_rep peer_cnt peer_if < <("$py" - <<'PY'
import time
import numpy as np
n = 10_000_000
i = np.arange(1, n + 1, dtype=np.float64)
x = i * 0.5
z = (np.arange(1, n + 1) % 1000) * 0.25
w = (np.arange(1, n + 1) % 3) * 1.0
y = np.zeros(n)
def best(f):
    t = []
    for _ in range(5):
        t0 = time.perf_counter()
        f()
        t.append(time.perf_counter() - t0)
    return min(t) * 1000
def rep():
    y[:] = x * 2 + z / 3 - (w > 1)
print("%.1f %.1f %.1f %.1f" % (best(lambda: x * 2 + z / 3 - (w > 1)), best(rep), best(lambda: np.count_nonzero(x > 0.5)),
                               best(lambda: np.where(w > 0, x * 2 + z / 3 - (w > 1), np.nan))))
PY
)
fi

line() { # name label ours peer
  if [ -n "$4" ]; then
    printf 'gen: %-46s %7.1f ms   numpy %7.1f ms   ratio %.2f\n' "$2" "$3" "$4" "$(echo "$3 / $4" | bc -l)"
  else
    printf 'gen: %-46s %7.1f ms\n' "$2" "$3"
  fi
}
for p in 1 2; do
  line BM_generate "generate double y = x*2 + z/3 - (w>1), -p$p" "$(ms BM_generate $p)" "$peer_gen"
  line BM_generate_if "the same if w > 0, -p$p" "$(ms BM_generate_if $p)" "$peer_if"
  line BM_replace "replace y = x*2 + z/3 - (w>1), -p$p" "$(ms BM_replace $p)" "$peer_rep"
  line BM_count "count if x > 0.5, -p$p" "$(ms BM_count $p)" "$peer_cnt"
done

# Peak resident size: the data alone, then the data and one generated column, one with an `if`
# (its selection bytes and observation list), and a replace.
data='set memory 1g
set obs 10000000
generate double x = _n*0.5
generate double z = mod(_n,1000)*0.25
generate double w = mod(_n,3)'
printf '%s\n' "$data" >base.do
printf '%s\ngenerate double y = x*2 + z/3 - (w>1)\n' "$data" >gen.do
printf '%s\ngenerate double y = x*2 + z/3 - (w>1) if w > 0\n' "$data" >genif.do
printf '%s\ngenerate double y = 0\nreplace y = x*2 + z/3 - (w>1)\n' "$data" >rep.do
rss() { /usr/bin/time -v "$exe" -q "$2" -b do "$1" 2>&1 >/dev/null | awk '/Maximum resident/ {print $6}'; }
if [ -x /usr/bin/time ]; then
  for p in -p1 -p2; do
    base=$(rss base.do $p)
    for f in gen genif rep; do
      kb=$(rss $f.do $p)
      printf 'gen: peak resident %-6s %s  %8d kB, the data alone %8d kB: %+d kB\n' "$f" "$p" "$kb" "$base" $((kb - base))
    done
  done
fi
