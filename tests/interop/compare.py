#!/usr/bin/env python3
"""Compares what a reader found in a saved file (the lines of read.R) with what make.py put into it.
usage: compare.py expected.json haven|foreign file.dta reader-output"""
import json
import struct
import sys

INTEGER = ("b", "i", "l")


def num(x):
    return "%.17g" % x


def expected_lines(exp, tool):
    out = [("datalabel", exp["datalabel"])]
    vallab = {}
    for name, code, fmt, table, label in exp["vars"]:
        str_ = code <= 244
        var = ["var", name, "str" if str_ else "num", fmt, label]
        if tool == "foreign":
            var.append(str(code))
        out.append(tuple(var))
        if table:
            vallab[name] = table
        for k, row in enumerate(exp["rows"], 1):
            v = row[name]
            if str_:
                s = v
            elif isinstance(v, str):
                # foreign reads the top code of the integer types (.z) as `.`
                s = "." if tool == "foreign" and v == ".z" and name in INTEGER else v
            else:
                s = num(v)
            out.append(("val", name, str(k), s))
    letters = "abcdefghijklmnopqrstuvwxyz"
    for name, table in vallab.items():
        if tool == "foreign":
            continue
        for value, text in exp["tables"][table]:
            out.append(("label", name, value if isinstance(value, str) else num(value), text))
    if tool == "foreign":
        for table, entries in exp["tables"].items():
            for value, text in entries:
                if isinstance(value, str):
                    code = 2147483621 + letters.index(value[1]) + 1
                    # foreign gives the long code of a missing value, and NA for the top one
                    s = "NA" if code == 2147483647 else num(code)
                else:
                    s = num(value)
                out.append(("label", table, s, text))
        for owner, name, text in exp["notes"]:
            out.append(("note", owner, name, text))
    return out


def main():
    exp = json.load(open(sys.argv[1]))
    tool, path = sys.argv[2], sys.argv[3]
    got = [tuple(l.rstrip("\n").split("\t")) for l in open(sys.argv[4], encoding="latin-1")]
    want = expected_lines(exp, tool)
    missing = sorted(set(want) - set(got))
    extra = sorted(set(got) - set(want))
    if missing or extra or len(got) != len(want):
        print("%s %s: %d lines expected, %d read" % (tool, path, len(want), len(got)))
        for l in missing[:20]:
            print("  expected: " + " | ".join(l))
        for l in extra[:20]:
            print("  read:     " + " | ".join(l))
        sys.exit(1)
    print("%s %s: %d items as saved" % (tool, path.rsplit("/", 1)[-1], len(want)))


if __name__ == "__main__":
    main()
