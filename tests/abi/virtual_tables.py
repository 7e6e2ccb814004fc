#!/usr/bin/env python3
"""Looks that each class with virtual functions has its table in the library, and no program has a second one.

    virtual_tables.py LAYOUT LIBRARY OBJECT

LAYOUT is the reviewed list beside this script, which tells the classes with a table; LIBRARY is the shared library, and
OBJECT a program's, which derives a class CHILD from each. A class whose virtual functions are all inline would have its
table in the object, where it is not the library's: then casts and comparisons of types go wrong.
"""

import re
import subprocess
import sys


def defined_tables(*command):
    """The mangled names of the classes whose tables a file defines."""
    symbols = subprocess.run(["nm", "--format=posix", *command], check=True, capture_output=True, encoding="utf-8").stdout
    return {name for name, kind in re.findall(r"^_ZTV(\S+) (\w)", symbols, re.MULTILINE) if kind != "U"}


def main(layout, library, program):
    with open(layout, encoding="utf-8") as lines:
        classes = [line.split(":")[0] for line in lines if line.endswith(", virtual table\n")]
    in_library, in_program = defined_tables("--dynamic", library), defined_tables(program)
    faults = [] if classes else [f"{layout} names no class with a virtual table"]
    for name in classes:
        mangled = f"{len(name)}{name}"
        if mangled not in in_library:
            faults.append(f"{name}: the library does not export its virtual table")
        if mangled in in_program:
            faults.append(f"{name}: programs have a virtual table of their own; one function of it belongs in a source")
        if f"5CHILDI{mangled}E" not in in_program:
            faults.append(f"{name}: the program does not derive from it, so nothing can be said")
    print("\n".join(faults) or f"{len(classes)} virtual tables, in the library alone")
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
