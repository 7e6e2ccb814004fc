#!/usr/bin/env python3
"""Lets calls go wrong in every command that writes files, and kills it at moments taken at random.

   command_sweep.py COMMAND FAILING_CALLS [--kills N] [--every N] [--seed S] [--only NAME] [--verbose]

COMMAND is the logdb command, FAILING_CALLS the library that makes calls fail. Whatever happens, the file that is
written is the old one or the new one, whole; a command that ends by itself says with its status which of them, and
why on standard error; and it leaves nothing else behind. The exit status is 1 if that is ever not so.

A command takes memory so often that the test run lets every so many allocations fail only, and others with another
seed; --every 1 takes each.
"""

import argparse
import concurrent.futures
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

ERRORS = {
    "open": [("EMFILE", False), ("EACCES", True)],
    "read": [("EIO", False), ("EIO", True), ("EINTR", False), ("short", True)],
    "write": [("ENOSPC", False), ("ENOSPC", True), ("EIO", True), ("EINTR", False), ("short", True)],
    "close": [("EIO", False)],
    "rename": [("EACCES", True), ("ENOSPC", False)],
    "sync": [("EIO", False), ("EIO", True)],
}

# What the commands make of these inputs is in "out" afterwards, a file or a folder.
COMMANDS = {
    "rebase": ["rebase", "--from", "top", "--to", "chip|core", "in.logdb", "-o", "out"],
    "rebase-compressed": ["rebase", "--from", "top", "--to", "chip|core", "in.fsyn", "-o", "out.gz"],
    "rebase-in-place": ["rebase", "--from", "top", "--to", "chip|core", "out", "-o", "out", "--in-place"],
    "merge": ["merge", "in.fsyn", "more.fsyn", "-o", "out"],
    "salvage": ["salvage", "cut.fsyn", "-o", "out"],
    "convert": ["convert", "in.logdb", "-o", "out"],
    "split": ["split", "--by", "kind", "in.logdb", "-d", "out"],
}

MOST_RUNS = 200

# How many entries and records an input has: enough for several reads and writes, and so few that each allocation can
# be made to fail.
MANY = 3000
FEW = 4

# What a command does when there is no memory: it says that it is at fault itself, or that the output is.
WITHOUT_MEMORY = (4, 5)


def database(entries):
    kinds = ["REGISTER_PACKING,PACKED,only fan-out,,top|u%d|a_register_with_a_name,top|d,\n", "IO_RULES,%d,rule,\n"]
    return "v1\n" + "".join(kinds[number % 2] % number for number in range(entries))


def log(records):
    return "".join("PHYSICAL_SYNTHESIS_SET_INVERT\ntop|u%d|a_register_with_a_name 11 2\n" % number
                   for number in range(records))


class Commands:
    def __init__(self, command, library):
        self.command = command
        self.library = library
        self.runs = 0
        self.failed = []
        self.new = {}
        self.statuses = {}
        self.seconds = {}

    def prepare(self, folder, name, size=MANY):
        """The files that a command starts from; what is in its output is returned."""
        texts = {"in.logdb": database(size), "in.fsyn": log(size), "more.fsyn": log(10), "cut.fsyn": log(size)[:-5]}
        for file, text in texts.items():
            pathlib.Path(folder, file).write_text(text)
        if name == "split":
            os.mkdir(os.path.join(folder, "out"))
        elif name == "rebase-in-place":
            pathlib.Path(folder, "out").write_text(database(size))
        else:
            pathlib.Path(folder, self.output(name)).write_text("what was there")
        return self.contents(folder)

    @staticmethod
    def output(name):
        return "out.gz" if name == "rebase-compressed" else "out"

    @staticmethod
    def contents(folder):
        """All files with their bytes."""
        return {str(path.relative_to(folder)): path.read_bytes()
                for path in sorted(pathlib.Path(folder).rglob("*")) if path.is_file()}

    def start(self, name, folder, environment):
        return subprocess.Popen([self.command] + COMMANDS[name], cwd=folder, env=dict(os.environ, **environment),
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)

    def run_well(self, name, size=MANY):
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder:
            self.prepare(folder, name, size)
            begin = time.monotonic()
            process = self.start(name, folder, {})
            error = process.communicate(timeout=60)[1].decode("utf-8", "replace")
            self.seconds[name] = time.monotonic() - begin
            self.statuses[name] = process.returncode
            self.new[name, size] = self.contents(folder)
        if process.returncode not in (0, 1):
            sys.exit(f"{name} does not work by itself: {process.returncode} {error}")

    def run_with_fault(self, name, call, number, error, lasting, size=MANY):
        """Whether the call went wrong, or the command with it."""
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder, \
                tempfile.TemporaryDirectory(prefix="logdb_faults_") as elsewhere:
            old = self.prepare(folder, name, size)
            result = os.path.join(elsewhere, "result")
            process = self.start(name, folder, {
                "LD_PRELOAD": self.library, "LOGDB_FAULT_ALWAYS": "1", "LOGDB_FAULT_RELATIVE": "1",
                "LOGDB_FAULT_FOLDER": folder, "LOGDB_FAULT_CALL": call, "LOGDB_FAULT_NUMBER": str(number),
                "LOGDB_FAULT_ERROR": error, "LOGDB_FAULT_LASTING": "1" if lasting else "0",
                "LOGDB_FAULT_RESULT": result})
            text = process.communicate(timeout=60)[1].decode("utf-8", "replace")
            found = self.contents(folder)
            failures = int(pathlib.Path(result).read_text().split()[1]) if os.path.exists(result) else -1
        status = process.returncode
        wrong = None
        if failures < 0 or status < 0:
            wrong = "it did not come to its end"
        elif status == self.statuses[name]:
            wrong = None if found == self.new[name, size] else "it says that it is done, and the files are others"
        elif status not in (WITHOUT_MEMORY if call == "memory" else (3, 4)) or not text.strip():
            wrong = "another status than such a fault has, or not a word"
        elif found != old:
            wrong = f"it says that it failed, and the files are not the old ones: {sorted(found)}"
        elif call in ("write", "rename", "sync") and status != 4:
            wrong = "a fault of the output that is not status 4"
        self.runs += 1
        if wrong is not None:
            self.failed.append(f"{name}: {call} {number} {error}{' for good' if lasting else ''}: status {status}: "
                               f"{wrong}\n{text}")
        return failures != 0

    def sweep(self, pair):
        name, call = pair
        hits = 0
        for error, lasting in ERRORS[call]:
            for number in range(1, MOST_RUNS + 1):
                if not self.run_with_fault(name, call, number, error, lasting):
                    break
                hits += 1
            else:
                self.failed.append(f"{name}: {call} does not come to an end")
        return hits

    def memory_sweep(self, name, size, every, lasting, first):
        """Lets every so many allocations fail, from the first on, until there are no more."""
        hits = 0
        while self.run_with_fault(name, "memory", first + hits * every, "ENOMEM", lasting, size):
            hits += 1
        return hits

    def kill(self, name, moment):
        """Kills the command at a moment, a part of the time that it takes. Whether it was still running then."""
        delay = moment * self.seconds[name]
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder:
            old = self.prepare(folder, name)
            process = self.start(name, folder, {})
            time.sleep(delay)
            process.send_signal(signal.SIGKILL)
            process.communicate()
            found = self.contents(folder)
        # A process that is killed cannot take its temporary file away: those have names of their own.
        new = self.new[name, MANY]
        known = set(old) | set(new)
        kept = {file: data for file, data in found.items() if file in known}
        if kept not in (old, new):
            if name != "split" or any(data != new.get(file, old.get(file)) for file, data in kept.items()):
                self.failed.append(f"{name}: killed after {delay:.6f} s: neither the old files nor the new ones")
        return process.returncode == -signal.SIGKILL


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command")
    parser.add_argument("library")
    parser.add_argument("--kills", type=int, default=5, help="of each command")
    parser.add_argument("--every", type=int, default=101, help="which allocations fail; 1 for each")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", action="append", choices=["calls", "memory", "kills"], help="not everything")
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    parts = options.only or ["calls", "memory", "kills"]
    commands = Commands(os.path.abspath(options.command), os.path.abspath(options.library))
    for name in COMMANDS:
        commands.run_well(name, FEW)
        commands.run_well(name)

    wanted = [(name, call) for name in COMMANDS for call in ERRORS] if "calls" in parts else []
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        hits = list(pool.map(commands.sweep, wanted))
    for (name, call), count in zip(wanted, hits):
        if options.verbose:
            print(f"{name:18} {call:8} {count:5} runs")
        if count == 0:
            commands.failed.append(f"{name}: {call} never went wrong")

    # Of a larger input a part is enough: most of its allocations are those of the smaller one, again and again.
    wanted = [(name, size, options.every * (1 if size == FEW else 20), lasting, 1 + options.seed % options.every)
              for name in COMMANDS for size in (FEW, MANY) for lasting in (False, True)] if "memory" in parts else []
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        without_memory = list(pool.map(lambda arguments: commands.memory_sweep(*arguments), wanted))
    for (name, size, _, lasting, _), count in zip(wanted, without_memory):
        if options.verbose:
            print(f"{name:18} memory   {count:5} runs, {size} entries{', for good' if lasting else ''}")
        if count == 0:
            commands.failed.append(f"{name}: memory never ran out")

    moments = random.Random(options.seed)
    kills = [(name, moments.uniform(0, 1.2)) for name in COMMANDS for _ in range(options.kills)]
    killed = sum(commands.kill(*kill) for kill in kills) if "kills" in parts else 0
    for failure in commands.failed[:20]:
        print(failure)
    print(f"{commands.runs} runs: {sum(hits)} with a call that went wrong, {sum(without_memory)} without memory; "
          f"{killed} processes killed; {len(commands.failed)} not good")
    return 1 if commands.failed else 0


if __name__ == "__main__":
    sys.exit(main())
