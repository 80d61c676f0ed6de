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
