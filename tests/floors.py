#!/usr/bin/env python3
"""The floors of the source tree: reads the table under "## Floors" in src/README.md and fails when a
file includes a file of a higher floor, or when a source file stands on no floor.

A file's floor is the first row, reading the table from the top, one of whose patterns matches its
path below src/ (shell patterns: `data/*` is every file of data/)."""
import fnmatch
import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SRC = os.path.join(os.path.dirname(HERE), "src")


def read_floors(readme):
    rows = []
    in_section = False
    for line in open(readme, encoding="utf-8"):
        if line.startswith("## "):
            in_section = line.strip() == "## Floors"
            continue
        if not in_section or not line.startswith("|"):
            continue
        cells = [c.strip() for c in line.strip().strip("|").split("|")]
        if not cells or not cells[0].isdigit():
            continue  # the heading row and its rule
        patterns = re.findall(r"`([^`]+)`", cells[1])
        rows.append((int(cells[0]), patterns))
    return rows


def floor_of(path, rows):
    for floor, patterns in rows:
        if any(fnmatch.fnmatchcase(path, p) for p in patterns):
            return floor
    return None


def main():
    rows = read_floors(os.path.join(SRC, "README.md"))
    if not rows:
        print("floors: no table under '## Floors' in src/README.md")
        return 1
    problems = []
    files = []
    for d, _, fs in os.walk(SRC):
        for f in fs:
            if f.endswith((".cpp", ".h", ".c")):
                files.append(os.path.relpath(os.path.join(d, f), SRC))
    for path in sorted(files):
        floor = floor_of(path, rows)
        if floor is None:
            problems.append("%s stands on no floor: add it to the table in src/README.md" % path)
            continue
        for n, line in enumerate(open(os.path.join(SRC, path), encoding="utf-8", errors="replace"), 1):
            m = re.match(r'\s*#\s*include\s+"([^"]+)"', line)
            if not m or not os.path.exists(os.path.join(SRC, m.group(1))):
                continue
            up = floor_of(m.group(1), rows)
            if up is not None and up > floor:
                problems.append("%s:%d (floor %d) includes %s (floor %d)" % (path, n, floor, m.group(1), up))
    for p in problems:
        print("floors: " + p)
    print("floors: %d files, %d include lines that run upward or files without a floor" % (len(files), len(problems)))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
