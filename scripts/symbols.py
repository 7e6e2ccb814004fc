#!/usr/bin/env python3
"""Compares what a shared library exports with its reviewed list, or remakes the list.

    scripts/symbols.py check LIST LIBRARY ARCHIVE   fails on any difference, in either direction
    scripts/symbols.py update LIST ARCHIVE          writes the list; look at the difference before it is committed

A line of a list is a mangled name, " # " and the name as people read it; the lines are sorted. LIBRARY is the shared
library and ARCHIVE the static one of the same sources: its symbols tell what the sources mark for export, whatever the
linker was told.
"""

import pathlib
import re
import subprocess
import sys


def run(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, encoding="utf-8").stdout


def marked_symbols(archive):
    """What the objects define with default visibility. Of weak symbols, which any object may repeat, only the tables
    and type information of polymorphic classes count; the others are instantiations of templates."""
    strong, weak = set(), set()
    for line in run("readelf", "--symbols", "--wide", archive).splitlines():
        columns = line.split()
        if len(columns) >= 8 and columns[0].endswith(":") and columns[5] == "DEFAULT" and columns[6] != "UND":
            if columns[4] == "GLOBAL":
                strong.add(columns[7])
            elif columns[4] == "WEAK":
                weak.add(columns[7])
    classes = {name.removeprefix("_ZTV") for name in strong | weak if re.fullmatch(r"_ZTV\d+\w+", name)}
    return strong | {name for name in weak if name[:4] in ("_ZTV", "_ZTI", "_ZTS") and name[4:] in classes}


def exported_symbols(library):
    lines = run("nm", "--dynamic", "--defined-only", "--format=posix", library).splitlines()
    return {line.split()[0] for line in lines}


def list_lines(symbols):
    ordered = sorted(symbols)
    readable = run("c++filt", text="".join(name + "\n" for name in ordered)).splitlines()
    return [f"{name} # {text}" for name, text in zip(ordered, readable)]


def complain(title, symbols):
    for line in list_lines(symbols):
        print(f"{title}: {line}")
    return len(symbols)


def check(list_file, library, archive):
    lines = pathlib.Path(list_file).read_text(encoding="utf-8").splitlines()
    listed = {line.split(" ")[0] for line in lines}
    exported = exported_symbols(library)
    marked = marked_symbols(archive)
    faults = complain("listed, but not exported", listed - exported)
    faults += complain("exported, but not listed", exported - listed)
    faults += complain("listed, but not marked for export in the sources", listed - marked)
    faults += complain("marked for export in the sources, but not listed", marked - listed)
    if lines != list_lines(listed):
        print(f"{list_file} is not sorted, or its readable names are wrong")
        faults += 1
    if faults:
        print(f"When the change is meant: scripts/symbols.py update {list_file} {archive}")
        return 1
    print(f"{library}: {len(listed)} symbols, as listed")
    return 0


def main(arguments):
    if len(arguments) == 4 and arguments[0] == "check":
        return check(*arguments[1:])
    if len(arguments) == 3 and arguments[0] == "update":
        lines = list_lines(marked_symbols(arguments[2]))
        pathlib.Path(arguments[1]).write_text("".join(line + "\n" for line in lines), encoding="utf-8")
        return 0
    print(__doc__, end="", file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
