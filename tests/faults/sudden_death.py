#!/usr/bin/env python3
"""Kills a process that writes a physical-synthesis log, at moments taken at random, and looks at the file.

   sudden_death.py LIBRARY_STEPS [TIMES] [--seed S]

Every line whose print_line had returned must be there, whole and in order, and at most one line more, or a beginning of
it: a system may break off a write that it has begun when it kills the process. A reader that knows the format only
from its document must get every whole record. The exit status is 1 if that is not so.
"""

import argparse
import os
import pathlib
import random
import signal
import struct
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "second_reader"))
import logdb_formats as formats


def wanted_line(number):
    return b"PHYSICAL_SYNTHESIS_SET_INVERT" if number % 2 == 0 else b"top|u%d|a_register 11 2" % number


def counted_lines(path):
    try:
        with open(path, "rb") as file:
            data = file.read()
    except OSError:
        return 0
    return struct.unpack("=Q", data)[0] if len(data) == 8 else 0


def kill_once(program, delay):
    """The number of lines that had returned and what is wrong, or None."""
    with tempfile.TemporaryDirectory(prefix="logdb_death_") as folder:
        process = subprocess.Popen([program, "write-until-killed", folder])
        # From the first line on, so that a slow start is no moment to be killed at.
        while counted_lines(os.path.join(folder, "count")) == 0 and process.poll() is None:
            time.sleep(0.0005)
        time.sleep(delay)
        process.send_signal(signal.SIGKILL)
        if process.wait() != -signal.SIGKILL:
            return 0, "the process ended by itself"
        returned = counted_lines(os.path.join(folder, "count"))
        data = pathlib.Path(folder, "log.fsyn").read_bytes()
    lines = data.split(b"\n")
    rest = lines.pop()
    if not returned <= len(lines) <= returned + (0 if rest else 1):
        return returned, f"{len(lines)} lines and {rest!r} are there, and {returned} had returned"
    for number, line in enumerate(lines):
        if line != wanted_line(number):
            return returned, f"line {number} is {line!r}"
    if not wanted_line(len(lines)).startswith(rest):
        return returned, f"behind the last line is {rest!r}"
    # The last records only: what is in front was compared byte by byte.
    start = max(0, len(lines) // 2 * 2 - 100)
    names = [line.split()[0] for line in lines[start + 1::2]]
    records, reports, _ = formats.read_log(b"".join(line + b"\n" for line in lines[start:]) + rest)
    read = [fields["m_node_name"] for _, fields in records]
    # What is not whole is at most a record with a part of its words, or a word that nobody knows.
    if read[:len(names)] != names or len(read) - len(names) + len(reports) > 1:
        return returned, f"{len(names)} whole records were read as {len(read)}, with {reports}"
    return returned, None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("times", type=int, nargs="?", default=50)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    moments = random.Random(options.seed)
    failures = 0
    lines = 0
    for time_number in range(options.times):
        delay = moments.uniform(0, 0.02)
        returned, wrong = kill_once(os.path.abspath(options.program), delay)
        lines += returned
        if wrong is not None:
            failures += 1
            print(f"time {time_number}, {delay:.6f} s after the first line: {wrong}")
    print(f"killed {options.times} times after {lines} lines in all, {failures} times something was wrong")
    # A writer that never came to write was never killed while it wrote.
    return 1 if failures or lines < 10 * options.times else 0


if __name__ == "__main__":
    sys.exit(main())
