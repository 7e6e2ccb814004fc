#!/usr/bin/env python3
"""Lets the n-th call of every kind go wrong, for n = 1, 2, ... until none is left that could, in every operation.

   sweep.py LIBRARY_STEPS FAILING_CALLS [--operation NAME] [--verbose]

LIBRARY_STEPS is the program with the operations, FAILING_CALLS the library that makes calls fail. A run is good when
the program ends with status 0 and says "ok": it has then seen that nothing is lost or half done, that no memory is
left, and that everything works once more. The exit status is 1 if any run is not, or if a kind of call that an
operation is known to make never went wrong.
"""

import argparse
import concurrent.futures
import os
import pathlib
import subprocess
import sys
import tempfile
import threading

# What can go wrong in a call. A signal interrupts once: a system on which it does so for ever does not exist.
ERRORS = {
    "open": [("EMFILE", False), ("EACCES", True), ("EINTR", False)],
    "read": [("EIO", False), ("EIO", True), ("EINTR", False), ("short", True)],
    "write": [("ENOSPC", False), ("ENOSPC", True), ("EIO", True), ("EINTR", False), ("short", True)],
    "close": [("EIO", False), ("EIO", True), ("EINTR", False)],
    "rename": [("EACCES", True), ("ENOSPC", False)],
    "sync": [("EIO", True)],
    "unlink": [("EACCES", False), ("EACCES", True)],
    "memory": [("ENOMEM", False), ("ENOMEM", True)],
}

# The calls that an operation makes. One that makes others, or no longer makes these, fails the test.
CALLS = {
    "load": {"open", "read", "close", "memory"},
    "load-named": {"open", "read", "close", "memory"},
    "commit": {"open", "write", "close", "memory"},
    "commit-named": {"open", "write", "close", "memory"},
    "copy": {"open", "read", "close", "rename", "memory"},
    "delete": {"unlink", "memory"},
    "print-line": {"open", "write", "close", "memory"},
    "write-record": {"open", "write", "close", "memory"},
    "read": {"open", "read", "close", "memory"},
    "append-file": {"open", "read", "write", "close", "memory"},
    "delete-log": {"unlink", "memory"},
}

# Files of more than one block, where blocks matter.
ENTRIES = 4000
FEW_ENTRIES = 3
WITH_BLOCKS = {"load", "load-named", "commit", "commit-named", "read"}

MOST_RUNS = 500


class Sweep:
    def __init__(self, program, library):
        self.program = program
        self.library = library
        self.lock = threading.Lock()
        self.runs = 0
        self.failed = []

    def run(self, operation, call, number, error, lasting):
        """Whether the call went wrong; the result of the run is kept."""
        with tempfile.TemporaryDirectory(prefix="logdb_faults_") as folder:
            result = os.path.join(folder, "result")
            environment = dict(
                os.environ, LD_PRELOAD=self.library, LOGDB_MEMORY="malloc", LOGDB_FAULT_FOLDER=folder,
                LOGDB_FAULT_CALL=call, LOGDB_FAULT_NUMBER=str(number), LOGDB_FAULT_ERROR=error,
                LOGDB_FAULT_LASTING="1" if lasting else "0", LOGDB_FAULT_RESULT=result)
            with_blocks = operation in WITH_BLOCKS and call in ("read", "write")
            entries = ENTRIES if with_blocks else FEW_ENTRIES
            done = subprocess.run([self.program, operation, folder, str(entries)], env=environment, timeout=60,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            text = done.stdout.decode("utf-8", "replace")
            try:
                calls, failures = map(int, pathlib.Path(result).read_text().split())
            except (OSError, ValueError):
                calls, failures = 0, -1
        good = done.returncode == 0 and text.endswith("ok\n") and failures >= 0
        with self.lock:
            self.runs += 1
            if not good:
                title = f"{operation}: {call} {number} {error}{' for good' if lasting else ''}"
                self.failed.append(f"{title}: status {done.returncode}\n{text}")
        return failures > 0

    def sweep(self, operation, call):
        """How many runs had a call that went wrong."""
        hits = 0
        for error, lasting in ERRORS[call]:
            for number in range(1, MOST_RUNS + 1):
                if not self.run(operation, call, number, error, lasting):
                    break
                hits += 1
            else:
                with self.lock:
                    self.failed.append(f"{operation}: {call} does not come to an end")
        return hits


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("library")
    parser.add_argument("--operation", action="append")
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()

    known = subprocess.run([options.program], stdout=subprocess.PIPE, check=True).stdout.decode().split()
    if sorted(known) != sorted(CALLS):
        sys.exit(f"the program's operations are others than the test's: {known}")

    sweep = Sweep(os.path.abspath(options.program), os.path.abspath(options.library))
    wanted = [(operation, call) for operation in options.operation or CALLS for call in ERRORS]
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        hits = list(pool.map(lambda pair: sweep.sweep(*pair), wanted))
    for (operation, call), count in zip(wanted, hits):
        if options.verbose and count:
            print(f"{operation:14} {call:8} {count:5} runs")
        if (count > 0) != (call in CALLS[operation]):
            sweep.failed.append(f"{operation}: {call} went wrong in {count} runs")
    for failure in sweep.failed[:20]:
        print(failure)
    print(f"{sweep.runs} runs, {sum(hits)} of them with a call that went wrong, {len(sweep.failed)} not good")
    return 1 if sweep.failed else 0


if __name__ == "__main__":
    sys.exit(main())
