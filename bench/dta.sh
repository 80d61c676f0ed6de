#!/usr/bin/env bash
# use and save of 1,000,000 observations by 10 doubles (an 80 MB file): our times (bench_dta_bench,
# through the command handlers), and in the same run, on the same file, a plain copy (cp) and R haven's
# read_dta and write_dta where they are installed; best of several runs each, the file in the page
# cache. Then the peak resident size of a session that uses
# the file, beside one that does not, and of R reading it.
set -eu
build=${1:-build}
root="$(cd "$(dirname "$0")/.." && pwd)"
exe="$root/$build/orvat-px"
bin="$root/$build/bench_dta_bench"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export SYSDIR_ORVAT="$root/sysdir" HOME="$work" DTA_BENCH_DIR="$work"
[ -x "$bin" ] || { echo "dta: $bin not built (Google Benchmark missing?)"; exit 0; }
f="$work/dta_bench.dta"

"$bin" --benchmark_min_time=1 --benchmark_format=csv 2>/dev/null | grep '^"BM_' | tr -d '"' |
  awk -F, '{sub("/real_time", "", $1); printf "%s %s\n", $1, $3}' >ours.txt
ms() { awk -v n="$1" '$1 == n {print $2}' ours.txt; }
save=$(ms BM_save) save_new=$(ms BM_save_new) use=$(ms BM_use) part=$(ms BM_use_part)
printf 'dta: file of %d bytes\n' "$(stat -c %s "$f")"
printf 'dta: use                         %7.1f ms\n' "$use"
printf 'dta: use x1 x5 x10 using         %7.1f ms\n' "$part"
printf 'dta: save, replace               %7.1f ms\n' "$save"
printf 'dta: save to a new name          %7.1f ms\n' "$save_new"

# cp as a process, best of five: to a new name, and over a file of that size (which frees the old
# file's pages, as save with replace does)
cp_best() {
  local t=() s e
  for _ in 1 2 3 4 5; do
    [ "$1" = over ] && cp "$f" copy.dta
    s=$(date +%s%N); cp "$f" copy.dta; e=$(date +%s%N); t+=($(( (e - s) / 1000 ))); rm copy.dta
  done
  printf '%s\n' "${t[@]}" | sort -n | head -1 | awk '{printf "%.1f", $1 / 1000}'
}
cp_new=$(cp_best new)
cp_over=$(cp_best over)
printf 'dta: cp to a new name            %7.1f ms   use / cp %.2f, save to a new name / cp %.2f\n' "$cp_new" \
  "$(echo "$use / $cp_new" | bc -l)" "$(echo "$save_new / $cp_new" | bc -l)"
printf 'dta: cp over a file              %7.1f ms   save, replace / cp %.2f\n' "$cp_over" "$(echo "$save / $cp_over" | bc -l)"

if command -v Rscript >/dev/null && Rscript -e 'library(haven)' >/dev/null 2>&1; then
  read -r hr hw < <(Rscript -e "suppressMessages(library(haven)); f <- '$f'
    r <- w <- c()
    for (k in 1:3) {
      r <- c(r, system.time(d <- read_dta(f))[['elapsed']])
      w <- c(w, system.time(write_dta(d, '$work/haven.dta'))[['elapsed']])
    }
    cat(sprintf('%.1f %.1f\n', min(r) * 1000, min(w) * 1000))")
  printf 'dta: haven read_dta (peer)       %7.1f ms   ours / haven %.2f\n' "$hr" "$(echo "$use / $hr" | bc -l)"
  printf 'dta: haven write_dta (peer)      %7.1f ms   ours (replace) / haven %.2f\n' "$hw" "$(echo "$save / $hw" | bc -l)"
fi
peak() { /usr/bin/time -f "%M" -o "$work/peak" "$@" >/dev/null; echo $(( $(cat "$work/peak") / 1024 )); }
printf 'use dta_bench\n' >use.do
printf 'display 1\n' >none.do
for m in 100 200; do
  printf 'dta: peak resident size, set memory %dm: %d MB idle, %d MB after use of the file\n' $m \
    "$(peak "$exe" -m$m -q -b do none.do)" "$(peak "$exe" -m$m -q -b do use.do)"
done
if command -v Rscript >/dev/null && Rscript -e 'library(haven)' >/dev/null 2>&1; then
  printf 'dta: peak resident size of R reading it with haven (peer): %d MB\n' \
    "$(peak Rscript -e "suppressMessages(library(haven)); d <- read_dta('$f')")"
fi
