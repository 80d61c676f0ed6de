#!/usr/bin/env python3
"""Writes data files of every readable format, byte by byte from the tables of the format, into the
current directory: v<format>_<order>.dta with order lohi (byte order 2) or hilo (byte order 1; not
for 102, whose header has no byte order). Only the standard library is needed.

Every file holds the same four observations, sorted by `i`:
  b  byte    1       -127        100        missing
  i  int     -32767  2           32740      missing
  l  long    3       -2147483647 2147483620 missing
  f  float   0.5     -2.25       1e10       missing
  d  double  0.1     -1e300      123456789.125 missing
  s  str5    "a"     "hello"     ""         "xyz"
Formats before 112 hold the old types, whose one missing value is the top of the type, and three
more variables whose values the new types keep for missing values (bp, ip, lp: they come in one type
wider). Formats before 108 write `.` of doubles as 2^333 in od, which is the sort list's first entry
there; formats before 107 have a name with a dot. From 112 on, the missing values are .a .z .m .b .z.
Value-label table `lab` (1 "one", 100 "hundred") on b; characteristics from 105 on, and an expansion
field of a type that a reader skips.
"""
import struct
import sys

# format: nobs bytes, label slot, stamp, letters, name slot, format slot, value-label name slot,
# variable-label slot, expansion head bytes, new value labels
LAYOUT = {
    102: (2, 32, False, True, 9, 7, 9, 32, 0, False),
    103: (4, 32, False, True, 9, 7, 9, 32, 0, False),
    104: (4, 32, False, True, 9, 7, 9, 32, 0, False),
    105: (4, 32, True, True, 9, 12, 9, 32, 3, False),
    106: (4, 32, True, True, 9, 12, 9, 32, 3, True),
    107: (4, 81, True, True, 9, 12, 9, 81, 3, True),
    108: (4, 81, True, True, 9, 12, 9, 81, 3, True),
    110: (4, 81, True, True, 33, 12, 33, 81, 5, True),
    111: (4, 81, True, False, 33, 12, 33, 81, 5, True),
    112: (4, 81, True, True, 33, 12, 33, 81, 5, True),
    113: (4, 81, True, False, 33, 12, 33, 81, 5, True),
    114: (4, 81, True, False, 33, 49, 33, 81, 5, True),
}

LETTER = {"byte": b"b", "int": b"i", "long": b"l", "float": b"f", "double": b"d"}
CODE = {"byte": 251, "int": 252, "long": 253, "float": 254, "double": 255}
PACK = {"byte": "b", "int": "h", "long": "i", "float": "f", "double": "d"}


def slot(text, n):
    b = text.encode("latin-1")[: n - 1]
    return b + b"\0" * (n - len(b))


def missing(fmt, typ, letter):
    """The bytes of a missing value: the one old value before 112, else the letter's code."""
    k = 0 if letter == "." else ord(letter[1]) - ord("a") + 1
    if fmt < 112:
        return {"byte": 127, "int": 32767, "long": 2147483647,
                "float": struct.unpack("<f", struct.pack("<I", 0x7F000000))[0],
                "double": struct.unpack("<d", struct.pack("<Q", 0x7FE0000000000000))[0]}[typ]
    if typ == "float":
        return struct.unpack("<f", struct.pack("<I", 0x7F000000 + 0x800 * k))[0]
    if typ == "double":
        return struct.unpack("<d", struct.pack("<Q", 0x7FE0000000000000 + (k << 40)))[0]
    return {"byte": 101, "int": 32741, "long": 2147483621}[typ] + k


OLD_DOT = struct.unpack("<d", struct.pack("<Q", 0x54C0000000000000))[0]  # 2^333


def dataset(fmt):
    m = lambda t, l: ("M", t, l)
    v = [
        ("b", "byte", "%8.0g", "lab", "byte var", [1, -127, 100, m("byte", ".a")]),
        ("i", "int", "%8.0g", "", "int var", [-32767, 2, 32740, m("int", ".z")]),
        ("l", "long", "%12.0g", "", "long var", [3, -2147483647, 2147483620, m("long", ".m")]),
        ("f", "float", "%9.0g", "", "", [0.5, -2.25, 1e10, m("float", ".b")]),
        ("d", "double", "%10.0g", "", "double var", [0.1, -1e300, 123456789.125, m("double", ".z")]),
        ("s", 5, "%9s", "", "string var", ["a", "hello", "", "xyz"]),
    ]
    sort = [2]
    if fmt < 112:
        v += [
            ("bp", "byte", "%8.0g", "", "", [101, 126, m("byte", "."), 0]),
            ("ip", "int", "%8.0g", "", "", [32741, 0, m("int", "."), 1]),
            ("lp", "long", "%12.0g", "", "", [2147483621, 0, m("long", "."), -1]),
        ]
    if fmt < 108:
        v.append(("od", "double", "%10.0g", "", "", [1.0, OLD_DOT, 2.0, m("double", ".")]))
        sort = [len(v), 2]
    if fmt < 107:
        v.append(("x.y", "int", "%8.0g", "", "", [1, 2, 3, 4]))
    return v, sort


def cell(fmt, order, typ, value):
    if isinstance(typ, int):
        b = value.encode("latin-1")[:typ]
        return b + b"\0" * (typ - len(b))
    if isinstance(value, tuple):
        value = missing(fmt, value[1], value[2])
    return struct.pack(order + PACK[typ], value)


def write(fmt, hilo):
    nb, lablen, stamp, letters, nslot, fslot, vslot, lslot, ehead, newlab = LAYOUT[fmt]
    o = ">" if hilo else "<"
    vars_, sort = dataset(fmt)
    nv, nobs = len(vars_), 4
    out = bytearray()
    out += bytes([fmt, 1 if hilo else 2, 1, 0])
    out += struct.pack(o + "H", nv)
    out += struct.pack(o + ("H" if nb == 2 else "i"), nobs)
    out += slot("format %d %s" % (fmt, "hilo" if hilo else "lohi"), lablen)
    if stamp:
        out += slot(" 1 Feb 2003 04:05", 18)
    for name, typ, *_ in vars_:
        if isinstance(typ, int):
            out += bytes([typ + 127 if letters else typ])
        elif letters:
            out += LETTER[typ]
        else:
            out += bytes([CODE[typ]])
    for name, *_ in vars_:
        out += slot(name, nslot)
    for k in range(nv + 1):
        out += struct.pack(o + "H", sort[k] if k < len(sort) else 0)
    for v in vars_:
        out += slot(v[2], fslot)
    for v in vars_:
        out += slot(v[3], vslot)
    for v in vars_:
        out += slot(v[4], lslot)
    if ehead:
        head = lambda t, n: bytes([t]) + struct.pack(o + ("H" if ehead == 3 else "i"), n)
        chars = [("_dta", "note0", "1"), ("_dta", "note1", "a note in format %d" % fmt),
                 ("b", "note0", "1"), ("b", "note1", "a note on b"), ("_dta", "source", "mkdta.py")]
        for i, (owner, name, text) in enumerate(chars):
            body = slot(owner, nslot) + slot(name, nslot) + text.encode() + b"\0"
            out += head(1, len(body)) + body
            if i == 1:
                out += head(7, 3) + b"xyz"  # a field of another type: skipped by its length
        out += head(0, 0)
    for r in range(nobs):
        for name, typ, f_, vl, lab, values in vars_:
            out += cell(fmt, o, typ, values[r])
    entries = [(1, "one"), (100, "hundred")]
    if newlab:
        if fmt >= 112:
            entries.append((2147483622, "missing a"))  # .a
        txt = b""
        offs = []
        for _, t in entries:
            offs.append(len(txt))
            txt += t.encode() + b"\0"
        body = struct.pack(o + "ii", len(entries), len(txt))
        body += b"".join(struct.pack(o + "i", x) for x in offs)
        body += b"".join(struct.pack(o + "i", k) for k, _ in entries)
        body += txt
        out += struct.pack(o + "i", len(body)) + slot("lab", vslot) + b"\0\0\0" + body
    else:
        out += struct.pack(o + "H", len(entries)) + slot("lab", 10)
        out += b"".join(struct.pack(o + "h", k) for k, _ in entries)
        out += b"".join(slot(t, 9)[:8] for _, t in entries)
    name = "v%d_%s.dta" % (fmt, "hilo" if hilo else "lohi")
    open(name, "wb").write(bytes(out))
    return name


def main():
    fmts = [int(a) for a in sys.argv[1:]] or sorted(LAYOUT)
    for fmt in fmts:
        write(fmt, False)
        if fmt != 102:
            write(fmt, True)


if __name__ == "__main__":
    main()
