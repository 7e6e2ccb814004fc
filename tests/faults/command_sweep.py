#!/usr/bin/env python3
"""Lets calls go wrong in every command that writes files, and kills it at moments taken at random.

   command_sweep.py COMMAND FAILING_CALLS [--kills N] [--seed S] [--verbose]

COMMAND is the logdb command, FAILING_CALLS the library that makes calls fail. Whatever happens, the file that is
written is the old one or the new one, whole; a command that ends by itself says with its status which of them, and
why on standard error; and it leaves nothing else behind. The exit status is 1 if that is ever not so.
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


def database():
    kinds = ["REGISTER_PACKING,PACKED,only fan-out,,top|u%d|a_register_with_a_name,top|d,\n", "IO_RULES,%d,rule,\n"]
    return "v1\n" + "".join(kinds[number % 2] % number for number in range(3000))


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

    def prepare(self, folder, name):
        """The files that a command starts from; what is in its output is returned."""
        texts = {"in.logdb": database(), "in.fsyn": log(2000), "more.fsyn": log(10), "cut.fsyn": log(2000)[:-5]}
        for file, text in texts.items():
            pathlib.Path(folder, file).write_text(text)
        if name == "split":
            os.mkdir(os.path.join(folder, "out"))
        elif name == "rebase-in-place":
            pathlib.Path(folder, "out").write_text(database())
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

    def run_well(self, name):
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder:
            self.prepare(folder, name)
            process = self.start(name, folder, {})
            error = process.communicate(timeout=60)[1].decode("utf-8", "replace")
            self.statuses[name] = process.returncode
            self.new[name] = self.contents(folder)
        if process.returncode not in (0, 1):
            sys.exit(f"{name} does not work by itself: {process.returncode} {error}")

    def run_with_fault(self, name, call, number, error, lasting):
        """Whether the call went wrong."""
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder, \
                tempfile.TemporaryDirectory(prefix="logdb_faults_") as elsewhere:
            old = self.prepare(folder, name)
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
            wrong = None if found == self.new[name] else "it says that it is done, and the files are others"
        elif status not in (3, 4) or not text.strip():
            wrong = "another status than 3 or 4, or not a word"
        elif found != old:
            wrong = f"it says that it failed, and the files are not the old ones: {sorted(found)}"
        elif call in ("write", "rename", "sync") and status != 4:
            wrong = "a fault of the output that is not status 4"
        self.runs += 1
        if wrong is not None:
            self.failed.append(f"{name}: {call} {number} {error}{' for good' if lasting else ''}: status {status}: "
                               f"{wrong}\n{text}")
        return failures > 0

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

    def kill(self, name, delay):
        """Whether the command was still running when it was killed."""
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder:
            old = self.prepare(folder, name)
            process = self.start(name, folder, {})
            time.sleep(delay)
            process.send_signal(signal.SIGKILL)
            process.communicate()
            found = self.contents(folder)
        # A process that is killed cannot take its temporary file away: those have names of their own.
        known = set(old) | set(self.new[name])
        kept = {file: data for file, data in found.items() if file in known}
        if kept not in (old, self.new[name]):
            if name != "split" or any(data != self.new[name].get(file, old.get(file)) for file, data in kept.items()):
                self.failed.append(f"{name}: killed after {delay:.6f} s: neither the old files nor the new ones")
        return process.returncode == -signal.SIGKILL


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command")
    parser.add_argument("library")
    parser.add_argument("--kills", type=int, default=5, help="of each command")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    commands = Commands(os.path.abspath(options.command), os.path.abspath(options.library))
    for name in COMMANDS:
        commands.run_well(name)

    wanted = [(name, call) for name in COMMANDS for call in ERRORS]
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        hits = list(pool.map(commands.sweep, wanted))
    for (name, call), count in zip(wanted, hits):
        if options.verbose:
            print(f"{name:18} {call:8} {count:5} runs")
        if count == 0:
            commands.failed.append(f"{name}: {call} never went wrong")

    moments = random.Random(options.seed)
    killed = sum(commands.kill(name, moments.uniform(0, 0.01)) for name in COMMANDS for _ in range(options.kills))
    for failure in commands.failed[:20]:
        print(failure)
    print(f"{commands.runs} runs, {sum(hits)} of them with a call that went wrong, {killed} processes killed, "
          f"{len(commands.failed)} not good")
    return 1 if commands.failed else 0


if __name__ == "__main__":
    sys.exit(main())
