#!/bin/bash
# Fuzzes unzipfile's reading of archives under the sanitizers: builds build-asan, makes seed archives
# with zipfile, mutates them (bytes flipped, set to edge values, cut short, runs repeated or removed)
# and has one session unzip a batch of them. A batch that dies keeps the archive it was reading in
# tests/fuzz/crashes/ and the run goes on with the next batch.
# usage: tests/fuzz/unzip_run.sh [count] [seed]
set -u
root=$(cd "$(dirname "$0")/../.." && pwd)
count=${1:-3000}
seed=${2:-1}
batch=200
cmake -S "$root" -B "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DORVAT_SANITIZE=ON >/dev/null &&
    cmake --build "$root/build-asan" -j2 --target orvat-px >/dev/null || exit 1
exe="$root/build-asan/orvat-px"
work=$(mktemp -d)
[ -n "${KEEP:-}" ] || trap 'rm -rf "$work"' EXIT
echo "work: $work" >&2
export SYSDIR_ORVAT="$root/sysdir" HOME="$work"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:abort_on_error=1
mkdir -p "$work/seeds" "$root/tests/fuzz/crashes"
(
    cd "$work/seeds" || exit 1
    head -c 3000 /dev/urandom >rand.bin
    seq 1 2000 >nums.txt
    printf 'short\n' >a.txt
    mkdir -p sub && printf 'below\n' >sub/b.txt
    printf 'zipfile a.txt, saving(one)\nzipfile nums.txt rand.bin a.txt sub, saving(many)\n' >s.do
    "$exe" -q -b do s.do >/dev/null
    rm -rf s.do s.log rand.bin nums.txt a.txt sub
)
ls "$work"/seeds/*.zip >/dev/null || exit 1
crashes=0
done_n=0
while [ $done_n -lt $count ]; do
    n=$((count - done_n < batch ? count - done_n : batch))
    rm -rf "$work/run" && mkdir "$work/run"
    python3 - "$work/seeds" "$work/run" $n $((seed * 100003 + done_n)) <<'PY'
import os, random, sys
seeds, out, n, s = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
rng = random.Random(s)
files = sorted(os.path.join(seeds, f) for f in os.listdir(seeds))
with open(os.path.join(out, "run.do"), "w") as do:
    for k in range(n):
        b = bytearray(open(rng.choice(files), "rb").read())
        for _ in range(rng.randint(1, 6)):
            op = rng.randrange(5)
            i = rng.randrange(len(b)) if b else 0
            if op == 0 and b:
                b[i] ^= 1 << rng.randrange(8)
            elif op == 1 and b:
                b[i] = rng.choice([0, 1, 0x7F, 0x80, 0xFF])
            elif op == 2:
                del b[rng.randrange(len(b) + 1):]
            elif op == 3 and len(b) > 4:
                j = rng.randrange(len(b) - 4)
                b[j:j + 4] = rng.choice([b"\xff\xff\xff\xff", b"\0\0\0\0", b"\xff\xff\0\0", b"\0\0\0\x80"])
            elif op == 4 and b:
                j = rng.randrange(len(b))
                m = rng.randint(1, 64)
                if rng.random() < 0.5:
                    b[j:j] = b[j:j + m]
                else:
                    del b[j:j + m]
        open(os.path.join(out, "f%d.zip" % k), "wb").write(bytes(b))
        do.write('display "input %d"\ncapture unzipfile f%d.zip, replace\n' % (k, k))
PY
    (cd "$work/run" && "$exe" -q -b do run.do >/dev/null 2>"$work/err")
    status=$?
    if [ $status != 0 ] || grep -q "Sanitizer" "$work/err"; then
        k=$(grep -o '^input [0-9]*' "$work/run/run.log" | tail -1 | cut -d' ' -f2)
        crashes=$((crashes + 1))
        cp "$work/run/f$k.zip" "$root/tests/fuzz/crashes/unzip-crash-$((done_n + k)).zip"
        echo "input $((done_n + k)) crashed, kept as tests/fuzz/crashes/unzip-crash-$((done_n + k)).zip:"
        head -20 "$work/err"
    fi
    done_n=$((done_n + n))
done
echo "unzip fuzz: $count inputs, $crashes crashes"
[ $crashes = 0 ]
