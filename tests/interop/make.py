#!/usr/bin/env python3
"""Writes, into the directory given, what the interoperability test needs: seed.dta (format 114,
written byte by byte: the variables with their labels, formats, value-label tables and notes, and no
observations), make.do (reads the seed, puts the observations in with input, saves out114.dta and,
with oldformat, out113.dta) and expected.json (what was saved, for compare.py). Standard library
only."""
import json
import os
import struct
import sys

LONG_TEXT = "".join(chr(ord("a") + k % 26) for k in range(244))

# name, type code, format, value-label table, variable label
VARS = [
    ("b", 251, "%8.0g", "lab", "byte variable"),
    ("i", 252, "%8.0g", "lab", "int variable"),
    ("l", 253, "%12.0g", "big", "long variable"),
    ("f", 254, "%9.0g", "", "float variable"),
    ("d", 255, "%21x", "", "double variable"),
    ("s1", 1, "%9s", "", "one byte"),
    ("s5", 5, "%-9s", "", ""),
    ("s244", 244, "%244s", "", "the widest string"),
]
NUMERIC = ["b", "i", "l", "f", "d"]

# value-label tables: value (a number, or a missing letter) and text
TABLES = {
    "big": [(-2147483647, "smallest"), (2147483620, "largest"), (0, "zero")],
    "lab": [(-127, "minus"), (1, "one"), (100, "hundred"), (".a", "missing a"), (".z", "missing z"),
            (7, "x" * 200)],
}
NOTES = [("_dta", "note0", "2"), ("_dta", "note1", "first note"), ("_dta", "note2", "second note"),
         ("s5", "note0", "1"), ("s5", "note1", "a note on s5"), ("d", "unit", "metres")]
DATALABEL = "interoperability of saved files"

LETTERS = [""] + [chr(ord("a") + k) for k in range(26)]


def f32(x):
    return struct.unpack("<f", struct.pack("<f", x))[0]


def rows():
    """The observations: each a dict; a missing value is the string '.', '.a', ... '.z'."""
    out = []
    for k in range(27):  # every missing value in every numeric type
        m = "." + LETTERS[k]
        out.append(dict(b=m, i=m, l=m, f=m, d=m, s1=LETTERS[k], s5="", s244=""))
    out.append(dict(b=-127, i=-32767, l=-2147483647, f=-f32(1.7014117331926443e38),
                    d=-1.7976931348623157e308, s1="-", s5="NA", s244=LONG_TEXT))
    out.append(dict(b=100, i=32740, l=2147483620, f=f32(1.7014117331926443e38), d=float.fromhex("0x1.fffffffffffffp+1022"),
                    s1="+", s5="a b", s244=LONG_TEXT[:100]))
    out.append(dict(b=0, i=0, l=0, f=2.0 ** -126, d=2.0 ** -1022, s1="0", s5="", s244=" lead"))
    out.append(dict(b=7, i=-1, l=123456789, f=f32(0.1), d=0.1, s1="x", s5="xyzzy", s244="x"))
    return out


def hexnum(x):
    """A number as the do-file writes it: the hexadecimal float of the program's number reader."""
    if isinstance(x, str):
        return x
    if x == 0:
        return "0"
    h = float(x).hex()  # [-]0x1.<13 digits>p<exp>
    sign = "-" if h.startswith("-") else ""
    mant, exp = h.lstrip("-")[2:].split("p")
    e = int(exp)
    return "%s%sX%s%03x" % (sign, mant, "-" if e < 0 else "+", abs(e))


def slot(text, n):
    b = text.encode("latin-1")[: n - 1]
    return b + b"\0" * (n - len(b))


def key(v):
    return 2147483621 + LETTERS.index(v[1:]) if isinstance(v, str) else v


def seed():
    out = bytearray([114, 2, 1, 0])
    out += struct.pack("<Hi", len(VARS), 0)
    out += slot(DATALABEL, 81) + slot("", 18)
    out += bytes(v[1] for v in VARS)
    out += b"".join(slot(v[0], 33) for v in VARS)
    out += b"\0\0" * (len(VARS) + 1)
    out += b"".join(slot(v[2], 49) for v in VARS)
    out += b"".join(slot(v[3], 33) for v in VARS)
    out += b"".join(slot(v[4], 81) for v in VARS)
    for owner, name, text in NOTES:
        body = slot(owner, 33) + slot(name, 33) + text.encode() + b"\0"
        out += b"\1" + struct.pack("<i", len(body)) + body
    out += b"\0" * 5
    for name, entries in sorted(TABLES.items()):
        entries = sorted(entries, key=lambda e: key(e[0]))
        txt, offs = b"", []
        for _, t in entries:
            offs.append(len(txt))
            txt += t.encode() + b"\0"
        body = struct.pack("<ii", len(entries), len(txt))
        body += b"".join(struct.pack("<i", o) for o in offs)
        body += b"".join(struct.pack("<i", key(v)) for v, _ in entries)
        out += struct.pack("<i", len(body) + len(txt)) + slot(name, 33) + b"\0\0\0" + body + txt
    return bytes(out)


def main():
    d = sys.argv[1]
    open(os.path.join(d, "seed.dta"), "wb").write(seed())
    data = rows()
    lines = ["use seed", "input " + " ".join(v[0] for v in VARS)]
    for r in data:
        vals = [hexnum(r[n]) for n in NUMERIC] + ['"%s"' % r[v[0]] for v in VARS[5:]]
        lines.append(" ".join(vals))
    lines += ["end", "save out114", "save out113, oldformat"]
    open(os.path.join(d, "make.do"), "w").write("\n".join(lines) + "\n")
    json.dump(dict(vars=VARS, rows=data, tables=TABLES, notes=NOTES, datalabel=DATALABEL),
              open(os.path.join(d, "expected.json"), "w"))


if __name__ == "__main__":
    main()
