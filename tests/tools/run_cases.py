#!/usr/bin/env python3
"""Runs the commands of cases/*.case and compares what they print.

A case is a text: a line that begins with "$ " is a command for bash, the lines behind it are what it must print.
Lines of standard error have "! " in front, and "? N" is a status other than 0. All commands of a case run in one
folder, in order. A line that begins with "# " at the top of a file says what the case is about.

    run_cases.py PROGRAM [--accept] [NAME...]

--accept writes what the commands print now into the cases, to be reviewed.
"""

import difflib
import pathlib
import subprocess
import sys

import command


def run(line, folder, environment):
    """What a command prints, in the form of a case."""
    done = subprocess.run(["bash", "-c", line], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          capture_output=True, timeout=60)
    text = ""
    for prefix, output in (("", done.stdout), ("! ", done.stderr)):
        for output_line in output.decode("utf-8", "backslashreplace").splitlines():
            text += prefix + output_line.replace("\x1b", "<ESC>") + "\n"
    if done.returncode != 0:
        text += f"? {done.returncode}\n"
    return text


def play(case, program):
    """The text of a case with what its commands print now."""
    result = "".join(line + "\n" for line in case.splitlines() if line.startswith("# "))
    with command.folder_with_logs(program) as (folder, environment):
        for line in case.splitlines():
            if line.startswith("$ "):
                result += f"{line}\n{run(line[2:], folder, environment)}"
    return result


def main(arguments):
    accepts = "--accept" in arguments
    program, *names = [argument for argument in arguments if argument != "--accept"]
    paths = sorted((command.HERE / "cases").glob("*.case"))
    if not paths:
        sys.exit("there are no cases")
    failed = 0
    for path in paths:
        if names and path.stem not in names:
            continue
        expected = path.read_text()
        found = play(expected, program)
        if "$ " not in expected:
            sys.exit(f"{path.name} has no command")
        if found == expected:
            continue
        if accepts:
            path.write_text(found)
            continue
        failed += 1
        sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), found.splitlines(True), path.name,
                                                   "what it prints now"))
    if failed:
        sys.exit(f"{failed} cases differ; run_cases.py PROGRAM --accept takes the new output, for review")


if __name__ == "__main__":
    main(sys.argv[1:])
