# The set-up every benchmark script shares, sourced from its head: the build to time (the first
# argument, default build), the repository root, the executable, and a scratch directory that is
# the working and home directory of the sessions and is removed at exit.
set -eu
build=${1:-build}
root="$(cd "$(dirname "$0")/.." && pwd)"
exe="$root/$build/orvat-px"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export SYSDIR_ORVAT="$root/sysdir" HOME="$work"

# best do-file: the milliseconds of the fastest of three sessions that run the do-file (options of the
# session in ORVAT_OPTS, e.g. -p2).
best() {
    local b=999999
    for r in 1 2 3; do
        local s=$(date +%s%N)
        "$exe" -q ${ORVAT_OPTS:-} -b do "$1" >/dev/null
        local e=$(date +%s%N)
        local t=$(( (e - s) / 1000000 ))
        [ $t -lt $b ] && b=$t
    done
    echo $b
}
