#!/usr/bin/env python3
"""Runs the commands that stand in docs/command.md and compares what they print.

    run_document.py PROGRAM [--accept]

In a block ```console, a line that begins with "$ " is a command, and the lines behind it are what it prints, errors
too. All commands of the page run in one folder, in order. --accept writes what they print now into the page.
"""

import re
import subprocess
import sys

import command

PAGE = command.ROOT / "docs" / "command.md"
BLOCK = re.compile(r"(?<=^```console\n).*?(?=^```$)", re.MULTILINE | re.DOTALL)


def main(arguments):
    accepts = "--accept" in arguments
    program = next(argument for argument in arguments if argument != "--accept")
    page = PAGE.read_text()
    blocks = BLOCK.findall(page)
    if not blocks:
        sys.exit("the page has no listing")
    with command.folder_with_logs(program) as (folder, environment):

        def play(block):
            text = ""
            for line in block.group().splitlines():
                if line.startswith("$ "):
                    done = subprocess.run(["bash", "-c", line[2:]], cwd=folder, env=environment,
                                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                          text=True, timeout=60)
                    text += f"{line}\n{done.stdout}"
            return text

        played = BLOCK.sub(play, page)
    if accepts:
        PAGE.write_text(played)
    elif played != page:
        for before, after in zip(blocks, BLOCK.findall(played)):
            if before != after:
                print(f"the page has\n{before}\nand now it prints\n{after}")
        sys.exit("run_document.py PROGRAM --accept takes the new output, for review")


if __name__ == "__main__":
    main(sys.argv[1:])
