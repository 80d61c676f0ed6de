#!/usr/bin/env python3
"""Writes damaged data files for the tests of bad input, from the files mkdta.py writes (it is run
first): each bad_<what>.dta is v114_lohi.dta (or another format where named) with one damage."""
import os
import struct

import mkdta


def sections(fmt, data):
    """Offsets of the sections of a file of mkdta's layout: descriptors, expansion, rows, labels."""
    nb, lab, stamp, letters, nslot, fslot, vslot, lslot, ehead, newlab = mkdta.LAYOUT[fmt]
    head = 6 + nb + lab + (18 if stamp else 0)
    nv = struct.unpack_from("<H", data, 4)[0]
    s = {"types": head, "names": head + nv}
    s["sort"] = s["names"] + nv * nslot
    s["fmts"] = s["sort"] + 2 * (nv + 1)
    s["vallabs"] = s["fmts"] + nv * fslot
    s["varlabels"] = s["vallabs"] + nv * vslot
    pos = s["varlabels"] + nv * lslot
    s["expansion"] = pos
    if ehead:
        while True:
            t = data[pos]
            n = struct.unpack_from("<H" if ehead == 3 else "<i", data, pos + 1)[0]
            pos += ehead
            if t == 0 and n == 0:
                break
            pos += n
    s["rows"] = pos
    nobs = struct.unpack_from("<i", data, 6)[0]
    width = 0
    for k in range(nv):
        t = data[head + k]
        if letters:
            width += {98: 1, 105: 2, 108: 4, 102: 4, 100: 8}.get(t, t - 127)
        else:
            width += {251: 1, 252: 2, 253: 4, 254: 4, 255: 8}.get(t, t)
    s["width"] = width
    s["labels"] = pos + nobs * width
    return s


def put(name, data):
    open(name, "wb").write(bytes(data))


def main():
    mkdta.main()
    base = bytearray(open("v114_lohi.dta", "rb").read())
    s = sections(114, base)

    # Not a data file, and files cut short in the header.
    put("bad_empty.dta", b"")
    put("bad_text.dta", b"* a do-file, not data\n")
    put("bad_head.dta", base[:50])
    for f in (109, 115, 116, 120):
        d = bytearray(base)
        d[0] = f
        put("bad_format%d.dta" % f, d)
    d = bytearray(base)
    d[1] = 3
    put("bad_order.dta", d)
    d = bytearray(base)
    d[2] = 2
    put("bad_filetype.dta", d)

    # Cut at each boundary after the header.
    for name in ("types", "names", "sort", "fmts", "vallabs", "varlabels", "expansion"):
        put("bad_cut_%s.dta" % name, base[: s[name] + 1])
    put("bad_cut_rows.dta", base[: s["rows"] + s["width"] * 2 + 5])
    put("bad_cut_labels.dta", base[: s["labels"] + 20])

    # Headers that lie.
    d = bytearray(base)
    struct.pack_into("<H", d, 4, 6000)
    put("bad_nvar_maxvar.dta", d)
    d = bytearray(base)
    struct.pack_into("<H", d, 4, 300)
    put("bad_nvar_big.dta", d)
    d = bytearray(base)
    struct.pack_into("<i", d, 6, 2147483647)
    put("bad_nobs_huge.dta", d)
    d = bytearray(base)
    struct.pack_into("<i", d, 6, -5)
    put("bad_nobs_negative.dta", d)
    d = bytearray(base)
    struct.pack_into("<i", d, 6, 2)
    put("bad_nobs_small.dta", d)
    for w in (0, 245, 246, 250):
        d = bytearray(base)
        d[s["types"] + 5] = w  # the str5 variable
        put("bad_width%d.dta" % w, d)
    d = bytearray(base)
    d[s["expansion"] + 1 : s["expansion"] + 5] = struct.pack("<i", 99999999)
    put("bad_expansion_len.dta", d)
    d = bytearray(base)
    d[s["expansion"] + 1 : s["expansion"] + 5] = struct.pack("<i", -7)
    put("bad_expansion_negative.dta", d)
    d = bytearray(base)
    struct.pack_into("<H", d, s["sort"], 99)
    put("bad_sortlist.dta", d)
    d = bytearray(base)
    d[s["fmts"] : s["fmts"] + 6] = b"%12.0q"
    d[s["fmts"] + 49 * 5 : s["fmts"] + 49 * 5 + 6] = b"%9.2f\0"  # a number format on the string
    put("bad_formats.dta", d)
    d = bytearray(base)
    d[s["names"] + 33 : s["names"] + 33 + 3] = b"b\0\0"  # i becomes a second b
    d[s["names"] + 66 : s["names"] + 66 + 3] = b"2x\0"  # and l a name that cannot be one
    d[s["names"] + 99 : s["names"] + 99 + 4] = b"int\0"  # and f a type word
    put("bad_names.dta", d)

    # Value-label tables: offsets past the text, a length beyond the file, labels too long, two
    # tables of one name.
    lab = s["labels"]
    body = lab + 4 + 36
    d = bytearray(base)
    struct.pack_into("<i", d, body + 8, 500)  # first offset
    put("bad_label_offset.dta", d)
    d = bytearray(base)
    struct.pack_into("<i", d, lab, 5000)
    put("bad_label_length.dta", d)
    d = bytearray(base)
    struct.pack_into("<i", d, body, 50000)  # the count of entries
    put("bad_label_count.dta", d)
    table = bytes(base[lab:])
    put("bad_label_twice.dta", base + table)
    long_text = b"L" * 32001 + b"\0"
    lbody = struct.pack("<ii", 1, len(long_text)) + struct.pack("<i", 0) + struct.pack("<i", 7) + long_text
    second = struct.pack("<i", len(lbody)) + mkdta.slot("long", 33) + b"\0\0\0" + lbody
    put("bad_label_toolong.dta", base + second)
    # Twenty thousand observations: more than a small data area holds.
    d = bytearray(base[: s["rows"]])
    struct.pack_into("<i", d, 6, 20000)
    d += bytes(base[s["rows"] : s["labels"]]) * 5000 + bytes(base[s["labels"] :])
    put("big.dta", d)
    # An old-form table (format 105) whose count runs past the end.
    old = bytearray(open("v105_lohi.dta", "rb").read())
    so = sections(105, old)
    struct.pack_into("<H", old, so["labels"], 900)
    put("bad_oldlabel.dta", old)


if __name__ == "__main__":
    main()
