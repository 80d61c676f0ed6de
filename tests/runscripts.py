#!/usr/bin/env python3
"""Runs the script tests: each tests/script/<topic>/<name>.do runs in batch mode with nostop and its log must equal
<name>.log byte for byte; each <name>.sh runs with $ORVAT set and its output must equal <name>.out."""
import argparse
import difflib
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


def run_one(args, topic_dir, name, kind, extra_opts, label):
    with tempfile.TemporaryDirectory(prefix="orvat-test-") as work:
        for f in os.listdir(topic_dir):
            src = os.path.join(topic_dir, f)
            if os.path.isfile(src):
                shutil.copy(src, work)
        home = os.path.join(work, "home")
        tmp = os.path.join(work, "tmp")
        os.mkdir(home)
        os.mkdir(tmp)
        env = {k: v for k, v in os.environ.items() if k not in ("TERM", "ORVATTERM", "S_ADO", "ORVATTMP")}
        env.update(SYSDIR_ORVAT=args.sysdir, HOME=home, TMPDIR=tmp, ORVAT=args.exe,
                   ORVAT_OPTS=" ".join(extra_opts), LC_ALL="C")
        try:
            if kind == "do":
                cmd = [args.exe, "-q"] + extra_opts + ["-b", "do", name + ".do,", "nostop"]
                p = subprocess.run(cmd, cwd=work, env=env, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=args.timeout)
                logf = os.path.join(work, name + ".log")
                got = open(logf, "rb").read() if os.path.exists(logf) else b"(no log written)\n"
                expected_file = os.path.join(topic_dir, name + ".log")
                if p.stderr:
                    got += b"--- stderr ---\n" + p.stderr
            else:
                p = subprocess.run(["bash", name + ".sh"], cwd=work, env=env, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=args.timeout)
                got = p.stdout
                expected_file = os.path.join(topic_dir, name + ".out")
        except subprocess.TimeoutExpired:
            return False, "timed out after %ds" % args.timeout
        if p.returncode != 0 and kind == "do":
            got += b"--- exit status %d ---\n" % p.returncode
        if args.update and not extra_opts:
            open(expected_file, "wb").write(got)
            return True, ""
        try:
            want = open(expected_file, "rb").read()
        except FileNotFoundError:
            return False, "no expected output " + os.path.relpath(expected_file, HERE)
        if got == want:
            return True, ""
        diff = difflib.unified_diff(want.decode("latin-1").splitlines(True), got.decode("latin-1").splitlines(True),
                                    "expected", "got")
        return False, "".join(diff)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--exe", required=True)
    ap.add_argument("--sysdir", required=True)
    ap.add_argument("--label", default="scripts")
    ap.add_argument("--timeout", type=int, default=120)
    ap.add_argument("--update", action="store_true", help="write the actual output as expected")
    ap.add_argument("--quiet", action="store_true")
    ap.add_argument("--sweep-processors", action="store_true",
                    help="run topics holding a PARALLEL file with -p1 and -p2 as well")
    ap.add_argument("only", nargs="*", help="topic or topic/name to run")
    args = ap.parse_args()
    args.exe = os.path.abspath(args.exe)
    args.sysdir = os.path.abspath(args.sysdir)
    root = os.path.join(HERE, "script")
    passed = failed = 0
    for topic in sorted(os.listdir(root)):
        tdir = os.path.join(root, topic)
        if not os.path.isdir(tdir):
            continue
        sweeps = [[]]
        if args.sweep_processors and os.path.exists(os.path.join(tdir, "PARALLEL")):
            sweeps += [["-p1"], ["-p2"]]
        for f in sorted(os.listdir(tdir)):
            stem, ext = os.path.splitext(f)
            if ext not in (".do", ".sh"):
                continue
            if ext == ".do" and os.path.exists(os.path.join(tdir, stem + ".sh")):
                continue  # a do-file driven by its own script
            if args.only and topic not in args.only and topic + "/" + stem not in args.only:
                continue
            for opts in sweeps:
                ok, why = run_one(args, tdir, stem, ext[1:], opts, args.label)
                tag = "%s/%s%s" % (topic, stem, (" " + " ".join(opts)) if opts else "")
                if ok:
                    passed += 1
                    if not args.quiet:
                        print("ok   " + tag)
                else:
                    failed += 1
                    print("FAIL " + tag)
                    print(why)
    print("%s: %d passed, %d failed" % (args.label, passed, failed))
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
