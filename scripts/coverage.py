"""What the tests do not reach of h/ and db/logdb/: see scripts/coverage."""

import argparse
import collections
import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXPLAINED = "tests/branches.txt"


def source_lines(file):
    return (ROOT / file).read_text().split("\n")


# ---- Branches


class Line:
    """The branches that are missing on lines of the same text of a file."""

    def __init__(self):
        self.numbers = []
        self.missing = 0


def missing_branches(report):
    """By file and text of the line; and how many branches there are."""
    missing = collections.defaultdict(Line)
    count = 0
    for file in report["files"]:
        texts = source_lines(file["file"])
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            not_taken = sum(1 for branch in line["branches"] if branch["count"] == 0)
            count += len(line["branches"])
            if not_taken:
                found = missing[file["file"], texts[line["line_number"] - 1].strip()]
                found.numbers.append(line["line_number"])
                found.missing = max(found.missing, not_taken)
    return missing, count


def explained_branches():
    """By file and text of the line: how many branches at most are explained, and the line of the entry."""
    explained = {}
    file = text = None
    most = 0
    for number, line in enumerate(source_lines(EXPLAINED), 1):
        word, _, rest = line.partition(" ")
        if word == "file":
            file = rest.strip()
        elif word == "missing":
            most = int(rest)
        elif word == "-":
            text = rest.strip()
        elif word == "=" and rest.strip():
            if (file, text) in explained:
                sys.exit(f"{EXPLAINED}:{number}: explained twice")
            explained[file, text] = most, number
        elif line and not line.startswith("#"):
            sys.exit(f"{EXPLAINED}:{number}: not understood")
    return explained


def branches(report):
    missing, count = missing_branches(report)
    explained = explained_branches()
    bad = 0
    for (file, text), line in sorted(missing.items()):
        most, _ = explained.get((file, text), (0, 0))
        if line.missing > most:
            bad += 1
            places = ", ".join(str(number) for number in line.numbers)
            print(f"file {file}\nmissing {line.missing}\n- {text}\n= (nobody says why: line {places}, "
                  f"{most} of them explained)\n")
    for (file, text), (most, number) in explained.items():
        found = missing[file, text].missing if (file, text) in missing else 0
        if found < most:
            bad += 1
            print(f"{EXPLAINED}:{number}: says that {most} branches are missing, and {found} are: {file}: {text}")
    print(f"{count} branches, {sum(line.missing * len(line.numbers) for line in missing.values())} not taken, "
          f"on {len(missing)} lines, {len(explained)} explained; {bad} to be looked at")
    return 1 if bad else 0


# ---- Conditions


def conditions(report):
    """Every place of a decision once: a template and a header have several."""
    shown = collections.defaultdict(dict)
    for file in report["data"][0]["files"]:
        name = str(pathlib.Path(file["filename"]).resolve().relative_to(ROOT))
        for record in file.get("mcdc_records", []):
            place = tuple(record[:4])
            known = shown[name].get(place, [False] * len(record[-1]))
            shown[name][place] = [a or b for a, b in zip(known, record[-1])]
    count = sum(len(pairs) for places in shown.values() for pairs in places.values())
    without = 0
    for name, places in sorted(shown.items()):
        texts = source_lines(name)
        for (line, column, *_), pairs in sorted(places.items()):
            for index, has_pair in enumerate(pairs, 1):
                if not has_pair:
                    without += 1
                    print(f"{name}:{line}:{column}: condition {index} of {len(pairs)}: {texts[line - 1].strip()}")
    print(f"{without} conditions that no pair of runs shows to decide")
    # Without any decision, the report is not what it should be.
    return 0 if count else 1


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("what", choices=["branches", "mcdc"])
    parser.add_argument("report", type=pathlib.Path)
    arguments = parser.parse_args()
    with arguments.report.open(encoding="utf-8") as file:
        report = json.load(file)
    return branches(report) if arguments.what == "branches" else conditions(report)


if __name__ == "__main__":
    sys.exit(main())
