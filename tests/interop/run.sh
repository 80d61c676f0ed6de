#!/bin/bash
# The interoperability test: files that orvat-px saves (formats 114 and 113) are read by R's haven
# (read_dta) and foreign (read.dta), and each must find exactly what was saved: every storage type, the 27 missing values, value labels, long
# strings, formats, variable and data labels, notes. Skipped, saying so, without R and the packages.
# usage: tests/interop/run.sh path/to/orvat-px sysdir
if ! command -v Rscript >/dev/null 2>&1 || ! Rscript -e 'library(haven); library(foreign)' >/dev/null 2>&1; then
    echo "interop: skipped: Rscript with the packages haven and foreign is not installed"
    exit 0
fi
here=$(cd "$(dirname "$0")" && pwd)
exe=$(realpath "$1")
sysdir=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$here/make.py" "$work" || exit 1
(cd "$work" && env -u TERM SYSDIR_ORVAT="$sysdir" HOME="$work" TMPDIR="$work" "$exe" -q -b do make.do)
if [ ! -f "$work/make.log" ] || grep -q '^r([0-9]*);' "$work/make.log"; then
    echo "interop: the files could not be made"
    cat "$work/make.log" 2>/dev/null
    exit 1
fi
rc=0
for v in 114 113; do
    for tool in haven foreign; do
        Rscript "$here/read.R" $tool "$work/out$v.dta" >"$work/$tool$v.txt" || rc=1
        python3 "$here/compare.py" "$work/expected.json" $tool "$work/out$v.dta" "$work/$tool$v.txt" || rc=1
    done
done
[ $rc = 0 ] && echo "interop: passed" || echo "interop: FAILED"
exit $rc
