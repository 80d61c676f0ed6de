#!/bin/bash
# Fuzzes the data-file reader under the sanitizers: builds build-asan with the driver, makes seed files
# of every format (the test writer of the script tests, its damaged files, the files of other programs,
# files this program saves), and runs the driver over COUNT inputs (default 20000) from FIRST (default
# 0). An input that crashes is kept in tests/fuzz/crashes/ and the run goes on behind it.
# usage: tests/fuzz/run.sh [count] [first]
set -u
root=$(cd "$(dirname "$0")/../.." && pwd)
count=${1:-20000}
first=${2:-0}
cmake -S "$root" -B "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DORVAT_SANITIZE=ON -DORVAT_FUZZ=ON >/dev/null &&
    cmake --build "$root/build-asan" -j2 --target dta_fuzz orvat-px >/dev/null || exit 1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/seeds"
(cd "$work/seeds" && python3 "$root/tests/script/dta/mkbad.py" && rm -f big.dta &&
    cp "$root"/tests/script/dta/*_v11?.dta . &&
    printf 'use v114_lohi\nsave s114, orphans\nsave s113, oldformat\nuse pandas_v114, clear\nsave p113, oldformat\n' >s.do &&
    SYSDIR_ORVAT="$root/sysdir" HOME="$work" "$root/build-asan/orvat-px" -q -b do s.do >/dev/null)
mkdir -p "$root/tests/fuzz/crashes"
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:abort_on_error=1
at=$first
end=$((first + count))
crashes=0
rc=0
while [ $at -lt $end ]; do
    "$root/build-asan/dta_fuzz" "$work" $at $((end - at)) "$work"/seeds/*.dta 2>"$work/err"
    status=$?
    [ $status = 0 ] && break
    if [ $status = 3 ]; then # findings: inputs that loaded but did not save and load again
        cat "$work/err"
        cp "$work"/finding-*.dta "$root/tests/fuzz/crashes/" 2>/dev/null
        rc=1
        break
    fi
    # a crash: the input that ran is kept, and the run goes on behind it
    n=$(cat "$work/last")
    crashes=$((crashes + 1))
    cp "$work/current.dta" "$root/tests/fuzz/crashes/crash-$n.dta"
    echo "input $n crashed, kept as tests/fuzz/crashes/crash-$n.dta:"
    grep -m3 'ERROR\|runtime error' "$work/err"
    at=$((n + 1))
    rc=1
done
echo "fuzz: $count inputs from $first over $(ls "$work"/seeds/*.dta | wc -l) seeds, $crashes crashes"
exit $rc
