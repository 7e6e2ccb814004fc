#!/usr/bin/env python3
"""Processor time and peak memory of the logdb command, beside other programs that do the nearest thing.

    bench/command.py PROGRAM [--entries N] [--rounds N] [--memory-bytes N]

Makes a database (1,000,000 entries, 110 MB) and prints user and system time of `stats`, `grep` and `check`: the median
of the rounds, in which all programs take turns, and how often that of `wc -l` it is. The others do less, as none knows
the format: mawk and Miller (mlr) count the values of the first field, look for a text, compare numbers of fields. A
program that is not on this machine is left out. DuckDB is not among them: Debian has no package of it.

Then makes a database and a physical-synthesis log of 1 GB each and prints the most memory that show, stats, grep and
check take. The system counts what a process had when it was started, so `true` is there for the least that it tells.
--memory-bytes 0 leaves this out.
"""

import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile

ENTRIES = [
    "REGISTER_PACKING,PACKED,only fan-out,LUT_FEEDS_REGISTER,{node}|q[{bit}],{node}|d[{bit}]~{bit},\n",
    "REGISTER_PACKING,NOT_PACKED,several fan-outs,LUT_FEEDS_REGISTER,{node}|state[{bit}],{node}|next~{bit},\n",
    "IO_RULES_MATRIX,data[{bit}]~input,PASS,\n",
    "REGISTER_PACKING,PACKED,only fan-out,REGISTER_FEEDS_LUT,{node}|fifo|level[{bit}],{node}|fifo|full~{bit},\n",
]
RECORDS = [
    "PHYSICAL_SYNTHESIS_SET_LUTMASK\n{node}|q[{bit}]\n9966 f0f0 1\nNORMAL\n",
    "PHYSICAL_SYNTHESIS_ADD_REMOVE_CONNECTION_LCELL_COMB\n{node}|q[{bit}]\n0 {node}|a[{bit}]\n4 {node}|b~{bit}\n"
    "End_of_ADD_REMOVE_Connection\n",
    "PHYSICAL_SYNTHESIS_DELETE_ATOM\n{node}|d[{bit}]\n{node}|d[{bit}]_a\nEND_OF_DELETE_ATOM\n",
    "PHYSICAL_SYNTHESIS_SET_INVERT\n{node}|q[{bit}] 11 0\n",
]
BEGIN_OF_LOG = "PHYSICAL_SYNTHESIS_LOG_REVISION_NUMBER_VELMORA_6.0\nPHYSICAL_SYNTHESIS_PRE_PLACEMENT_FLOW\n"
END_OF_LOG = "PHYSICAL_SYNTHESIS_END_OF_LOG_PRINT\nPHYSICAL_SYNTHESIS_END_OF_LOG\n"

PATTERN = "core_77.*fifo"
COUNT_KINDS = "{ count[$1]++ } END { for (kind in count) print kind, count[kind] }"
COUNT_FIELDS = '$1 == "REGISTER_PACKING" && NF != 7 || $1 == "IO_RULES_MATRIX" && NF != 4'


def text_of(templates, number):
    node = f"chip|system_{number % 7}|core_{number % 1021}|unit_{number % 13}"
    return templates[number % len(templates)].format(node=node, bit=number % 64)


def write_entries(path, entries):
    with path.open("w") as file:
        file.write("v1\n")
        file.writelines(text_of(ENTRIES, number) for number in range(entries))


def write_large(path, templates, begin, end, size):
    """A file of so many bytes, from a part that is repeated."""
    part = "".join(text_of(templates, number) for number in range(10_000)).encode()
    with path.open("wb") as file:
        file.write(begin.encode())
        while file.tell() + len(part) < size:
            file.write(part)
        file.write(end.encode())


def run(arguments, output):
    """The processor seconds, and the most resident bytes."""
    # Some programs do less when they see that nobody looks: their output goes to a pipe.
    process = subprocess.Popen([str(argument) for argument in arguments], stdout=output, stderr=subprocess.STDOUT)
    text = process.stdout.read() if output == subprocess.PIPE else b""
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in (0, 1):
        sys.exit(f"{arguments} ended with {process.returncode}: {text.decode()}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024


def measure_time(program, path, rounds):
    miller = ["mlr", "--inidx", "--ifs", ",", "--ojson"]
    rows = [
        ("wc -l", ["wc", "-l", path]),
        ("logdb stats", [program, "stats", path]),
        ("mawk: count by kind", ["mawk", "-F,", COUNT_KINDS, path]),
        ("mlr: count by kind", miller + ["count", "-g", "1", path]),
        ("logdb grep", [program, "grep", "-c", PATTERN, path]),
        ("mawk: count matches", ["mawk", f"/{PATTERN}/ {{ ++count }} END {{ print count }}", path]),
        ("mlr: filter", miller + ["filter", f'$5 =~ "{PATTERN}"', path]),
        ("logdb check", [program, "check", path]),
        ("mawk: number of fields", ["mawk", "-F,", COUNT_FIELDS, path]),
        ("mlr: number of fields", miller + ["filter", "NF > 7", path]),
    ]
    rows = [(name, arguments) for name, arguments in rows if shutil.which(str(arguments[0])) is not None]
    seconds = {name: [] for name, _ in rows}
    for _ in range(rounds):
        for name, arguments in rows:
            seconds[name].append(run(arguments, subprocess.PIPE)[0])
    base = statistics.median(seconds["wc -l"])
    own = base
    for name, _ in rows:
        median = statistics.median(seconds[name])
        own = median if name.startswith("logdb") else own
        beside = "" if name.startswith("logdb") else f"{median / own:8.1f} times logdb"
        print(f"{name:24}{median * 1000:9.1f} ms{median / base:8.1f} times wc -l{beside if name != 'wc -l' else ''}")


def measure_memory(program, folder, size):
    files = [("database", folder / "large.logdb", (ENTRIES, "v1\n", "")),
             ("log", folder / "large.fsyn", (RECORDS, BEGIN_OF_LOG, END_OF_LOG))]
    print(f"\nmost memory, files of {size / 1e9:.1f} GB ('true': {run(['true'], subprocess.DEVNULL)[1] / 1e6:.1f} MB)")
    for what, path, (templates, begin, end) in files:
        write_large(path, templates, begin, end, size)
        for arguments in (["show"], ["stats"], ["grep", "-c", PATTERN], ["check"]):
            seconds, most = run([program, *arguments, path], subprocess.DEVNULL)
            print(f"logdb {arguments[0]:8}{what:12}{most / 1e6:9.1f} MB{seconds:9.1f} s")
        path.unlink()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program", help="the logdb command")
    parser.add_argument("--entries", type=int, default=1_000_000)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--memory-bytes", type=int, default=1_000_000_000)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        path = folder / "entries.logdb"
        write_entries(path, options.entries)
        print(f"{options.entries} entries, {path.stat().st_size / 1e6:.0f} MB; processor time, median of "
              f"{options.rounds} interleaved runs")
        measure_time(options.program, path, options.rounds)
        path.unlink()
        if options.memory_bytes != 0:
            measure_memory(options.program, folder, options.memory_bytes)


if __name__ == "__main__":
    main()
