#!/usr/bin/env python3
"""Compares the listings in the documents with the files and the programs that they show.

    listings.py check PROGRAMS     fails where a listing is not what it says it is
    listings.py update PROGRAMS    puts the present text into the listings; look at the difference

PROGRAMS is the directory with the programs of examples/ladder. They are run one after the other in an empty directory.

A comment in front of a listing says what it is:

    <!-- file PATH -->             the whole of a file of the tree
    <!-- part of PATH -->          lines that stand together in a file of the tree, at any indentation
    <!-- output of PROGRAM ... --> what a program prints
    <!-- contents of NAME -->      a file that the programs leave, as it is at this place of the document
    <!-- run by PATH -->           commands that a test runs; the path names the test
    <!-- picture -->               nothing that could be run
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = ("README.md", "CONTRIBUTING.md", "docs/guide.md", "docs/architecture.md", "docs/abi.md", "docs/messages.md")

MARKER = re.compile(r"^<!-- (.*) -->$")
FENCE = "```"
NOTHING = "nothing that could be told\n"


class Listing:
    def __init__(self, marker, line, text):
        self.marker, self.line, self.text = marker, line, text


def listings_of(text):
    """The fenced listings of a document; `line` is the index of the first line inside."""
    lines, found, index = text.splitlines(), [], 0
    while index < len(lines):
        if lines[index].startswith(FENCE):
            marker = MARKER.match(lines[index - 1]) if index > 0 else None
            end = lines.index(FENCE, index + 1)
            inside = "".join(line + "\n" for line in lines[index + 1:end])
            found.append(Listing(marker.group(1) if marker else None, index + 1, inside))
            index = end
        index += 1
    return found


class Programs:
    """Runs the programs of the ladder in an order, once each, in a directory of their own."""

    def __init__(self, programs, directory):
        self.m_programs, self.m_directory, self.m_done = programs, directory, set()
        # What a developer has set for the library would show in what the programs print.
        self.m_environment = {name: value for name, value in os.environ.items() if not name.startswith("LOGDB_")}

    def run(self, command):
        name, *arguments = command.split()
        self.m_done.add(name)
        done = subprocess.run([self.m_programs / name, *arguments], cwd=self.m_directory, encoding="utf-8", env=self.m_environment,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, timeout=60)
        return done.stdout if done.returncode == 0 else f"{command} ended with {done.returncode}: {done.stdout}"

    def contents(self, name):
        path = self.m_directory / name
        return path.read_text(encoding="utf-8") if path.is_file() else f"no program has left {name}\n"


def indented_listings(text):
    """The lines where a listing begins that is set apart by blanks alone: nothing could say what it is."""
    fenced, found, before = False, [], ""
    for number, line in enumerate(text.splitlines(), 1):
        fenced ^= line.startswith(FENCE)
        if not fenced and line.startswith("    ") and before == "":
            found.append(number)
        before = line
    return found


def present_text(listing, programs, root):
    """What a listing should be; None where nothing can be said against it, empty where it cannot be told."""
    kind, _, rest = (listing.marker or "").partition(" ")
    if kind == "file":
        text = (root / rest).read_text(encoding="utf-8")
        # A program that says nothing, in a document that goes through them, is run where it is shown.
        program = pathlib.Path(rest)
        if programs is not None and program.parent.as_posix() == "examples/ladder" and program.suffix == ".cpp":
            if program.stem not in programs.m_done and not prints(text):
                said = programs.run(program.stem)
                return text if said == "" else text + said
        return text
    if listing.marker == "picture":
        return None
    if listing.marker is not None and listing.marker.startswith("part of "):
        whole = (root / listing.marker.removeprefix("part of ")).read_text(encoding="utf-8")
        return None if any(textwrap.indent(listing.text, " " * depth) in whole for depth in range(0, 13)) else ""
    if listing.marker is not None and listing.marker.startswith("run by "):
        return None if (root / listing.marker.removeprefix("run by ")).is_file() else ""
    if programs is not None and listing.marker is not None and listing.marker.startswith("output of "):
        return programs.run(listing.marker.removeprefix("output of "))
    if programs is not None and listing.marker is not None and listing.marker.startswith("contents of "):
        return programs.contents(listing.marker.removeprefix("contents of "))
    return ""


def prints(source):
    return "printf" in source


def compare(document, programs, root, update):
    """The faults of one document; with `update`, they are mended where they can be."""
    path = root / document
    lines = path.read_text(encoding="utf-8").splitlines(keepends=True)
    faults = [f"{document}:{number}: a listing stands between fences" for number in indented_listings("".join(lines))]
    moved = 0
    for listing in listings_of("".join(lines)):
        wanted = present_text(listing, programs, root)
        if wanted is None or wanted == listing.text:
            continue
        faults.append(f"{document}:{listing.line}: {listing.marker}\n"
                      f"in the document:\n{listing.text}in truth:\n{wanted or NOTHING}")
        if update and wanted:
            begin = listing.line + moved
            lines[begin:begin + listing.text.count("\n")] = wanted.splitlines(keepends=True)
            moved += wanted.count("\n") - listing.text.count("\n")
    if update:
        path.write_text("".join(lines), encoding="utf-8")
    return faults


def main(arguments):
    if len(arguments) != 2 or arguments[0] not in ("check", "update"):
        print(__doc__, file=sys.stderr)
        return 2
    faults = []
    for document in DOCUMENTS:
        with tempfile.TemporaryDirectory() as directory:
            programs = Programs(pathlib.Path(arguments[1]).resolve(), pathlib.Path(directory))
            faults += compare(document, programs, ROOT, arguments[0] == "update")
            ladder = {path.stem for path in (ROOT / "examples/ladder").glob("*.cpp")}
            if document == "docs/guide.md" and programs.m_done != ladder:
                faults.append(f"{document} does not show {sorted(ladder - programs.m_done)}")
    print("\n".join(faults) or f"{len(DOCUMENTS)} documents, all listings as they should be")
    if faults and arguments[0] == "check":
        print(f"When the listings are meant to change: {sys.argv[0]} update {arguments[1]}")
    return 1 if faults and arguments[0] == "check" else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
