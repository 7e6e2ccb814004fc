#!/usr/bin/env python3
"""Measures processor time and memory of the command beside other programs on a large database.

    measure.py PROGRAM [--entries N] [--rounds N]

Each line is the best of the rounds. Programs that this machine lacks are left out. The others do less: they count
lines, or the first field, or look for a text; none knows the format.
"""

import argparse
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile

KINDS = [
    "REGISTER_PACKING,PACKED,only fan-out,LUT_FEEDS_REGISTER,{node}|q[{bit}],{node}|d[{bit}]~{bit},\n",
    "REGISTER_PACKING,NOT_PACKED,several fan-outs,LUT_FEEDS_REGISTER,{node}|state[{bit}],{node}|next~{bit},\n",
    "IO_RULES_MATRIX,data[{bit}]~input,PASS,\n",
    "REGISTER_PACKING,PACKED,only fan-out,REGISTER_FEEDS_LUT,{node}|fifo|level[{bit}],{node}|fifo|full~{bit},\n",
]


def write_database(path, entries):
    with path.open("w") as file:
        file.write("v1\n")
        for number in range(entries):
            node = f"chip_top|subsystem_{number % 7}|core_{number % 1021}|unit_{number % 13}"
            file.write(KINDS[number % len(KINDS)].format(node=node, bit=number % 64))


def measure(arguments, rounds):
    """The least processor seconds, and the most resident bytes."""
    seconds, size = [], []
    for _ in range(rounds):
        # Some programs do less when they see that nobody looks.
        process = subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        errors = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):
            sys.exit(f"{arguments} ended with {process.returncode}: {errors.decode()}")
        seconds.append(usage.ru_utime + usage.ru_stime)
        size.append(usage.ru_maxrss * 1024)
    return min(seconds), max(size)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--entries", type=int, default=1_000_000)
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "large.csv"
        write_database(path, options.entries)
        print(f"{options.entries} entries, {path.stat().st_size / 1e6:.0f} MB; processor time, best of {options.rounds}")
        count = "{ count[$1]++ } END { for (kind in count) print kind, count[kind] }"
        columns = "all_varchar=true,header=false,null_padding=true,ignore_errors=true"
        rows = [
            ("wc -l", ["wc", "-l", path]),
            ("logdb stats", [options.program, "stats", "--as", "logdb", path]),
            ("mawk, count by kind", ["mawk", "-F,", count, path]),
            ("mlr, count by kind", ["mlr", "--inidx", "--ifs", ",", "--ojson", "count", "-g", "1", path]),
            ("duckdb, count by kind", ["duckdb", "-c", f"select column0, count(*) from read_csv('{path}',{columns})"
                                                       " group by 1"]),
            ("logdb grep -c", [options.program, "grep", "-c", "core_77.*fifo", "--as", "logdb", path]),
            ("grep -c", ["grep", "-c", "core_77.*fifo", path]),
            ("mlr, filter", ["mlr", "--inidx", "--ifs", ",", "--ojson", "filter", '$5 =~ "core_77.*fifo"', path]),
            ("logdb check", [options.program, "check", "--as", "logdb", path]),
            ("mlr, number of fields", ["mlr", "--inidx", "--ifs", ",", "--ojson", "filter", "NF > 7", path]),
        ]
        for name, arguments in rows:
            if shutil.which(str(arguments[0])) is None:
                print(f"{name:24}  (not on this machine)")
                continue
            seconds, size = measure([str(argument) for argument in arguments], options.rounds)
            print(f"{name:24} {seconds * 1000:9.0f} ms {size / 1e6:9.1f} MB at most")


if __name__ == "__main__":
    main()
