"""Static analysis of h/, db/logdb/ and host/: see scripts/analyze."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXPLAINED = "scripts/lib/analysis.txt"
FOLDERS = ["h", "db/logdb", "host", "host/standalone"]
INCLUDES = [f"-I{folder}" for folder in FOLDERS]

# Of cppcheck's groups that one is left out which looks for unused functions: a library is full of them.
GROUPS = "warning,style,performance,portability"
# A whole rule is left out for a reason that holds everywhere: names of locals are those of the members that have
# the same meaning in another class; what hides a variable is found by the compilers' -Wshadow.
RULES_LEFT_OUT = ["shadowFunction"]

# The analyzer follows ways through functions until their number is too large; this bounds it at a second or two
# for each hundred lines.
BOUND = "--param=analyzer-bb-explosion-factor=2"


class Finding:
    def __init__(self, tool, rule, file, line, text):
        self.tool = tool
        self.rule = rule
        self.file = os.path.relpath(file, ROOT) if os.path.isabs(file) else os.path.normpath(file)
        self.line = line
        self.text = text

    def source(self):
        """The line that it is about."""
        path = ROOT / self.file
        lines = path.read_text().split("\n") if path.is_file() else []
        return lines[self.line - 1].strip() if 0 < self.line <= len(lines) else ""

    def key(self):
        return self.file, self.rule, self.source()

    def __str__(self):
        return f"{self.file}:{self.line}: {self.rule}: {self.text} ({self.tool})\n   {self.source()}"


def sources():
    return sorted(str(path.relative_to(ROOT)) for folder in FOLDERS for path in (ROOT / folder).glob("*.cpp"))


def run(command):
    return subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False, text=True)


def cppcheck():
    done = run(["cppcheck", "--quiet", "--xml", "--language=c++", "--std=c++20", f"--enable={GROUPS}",
                *(f"--suppress={rule}" for rule in RULES_LEFT_OUT), *INCLUDES, *FOLDERS[:3]])
    if done.returncode != 0:
        sys.exit(f"cppcheck does not work: {done.stdout}{done.stderr}")
    for error in xml.etree.ElementTree.fromstring(done.stderr).iter("error"):
        location = error.find("location")
        if location is None:
            # What it says about itself, and about headers of the system that it does not look for.
            continue
        yield Finding("cppcheck", error.get("id"), location.get("file"), int(location.get("line")), error.get("msg"))


def analyzer(source):
    done = run([os.environ.get("CXX", "g++"), "-std=c++20", "-O0", "-fanalyzer", BOUND, "-fdiagnostics-format=json",
                *INCLUDES, "-c", source, "-o", "/dev/null"])
    # Behind the findings the compiler may say that it failed; each is a list on a line of its own.
    findings = []
    for line in done.stderr.splitlines():
        if line.startswith("["):
            findings += json.loads(line)
    if done.returncode != 0:
        sys.exit(f"{source} does not compile: {done.stderr}")
    for finding in findings:
        if finding["kind"] == "warning":
            place = finding["locations"][0]["caret"]
            yield Finding("g++", finding.get("option", "warning").removeprefix("-W"), place["file"], place["line"],
                          finding["message"])


def explained_findings():
    """What is explained, each with its reason."""
    explained = {}
    file = rule = source = None
    for line in (ROOT / EXPLAINED).read_text().split("\n"):
        if line.startswith("file "):
            file = line[5:].strip()
        elif line.startswith("rule "):
            rule = line[5:].strip()
        elif line.startswith("- "):
            source = line[2:].strip()
        elif line.startswith("= "):
            explained[file, rule, source] = line[2:]
    return explained


def main():
    argparse.ArgumentParser(prog="scripts/analyze").parse_args()
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        checked = pool.submit(lambda: list(cppcheck()))
        findings = [finding for found in pool.map(lambda source: list(analyzer(source)), sources())
                    for finding in found]
        findings = checked.result() + findings
    # A header is looked at with each source that includes it, and one place on several ways.
    findings = list({(finding.key(), finding.line): finding for finding in findings}.values())
    explained = explained_findings()
    unexplained = [finding for finding in findings if finding.key() not in explained]
    for finding in unexplained:
        print(finding)
    # Another version of a tool may find less; whoever reads this can take the line out.
    for key in explained.keys() - {finding.key() for finding in findings}:
        print(f"no longer found, though {EXPLAINED} explains it: {' '.join(key[:2])}: {key[2]}")
    print(f"{len(sources())} sources and their headers: {len(findings)} findings, {len(findings) - len(unexplained)} "
          f"explained")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
