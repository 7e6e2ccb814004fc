#!/usr/bin/env python3
"""Turns the JSON output of logdb_bench into tables in Markdown.

    logdb_bench --benchmark_out=bench.json --benchmark_out_format=json --benchmark_repetitions=9 \\
                --benchmark_enable_random_interleaving=true
    report.py bench.json > performance.md

Every figure is the median of the repetitions. A ratio compares contenders of the same run; what the file does not
hold is left out of the tables or stands as "-". On a machine that is not quiet, --cpu compares CPU time instead of
wall-clock time: of all threads of a contender, and without waiting for a disk.
"""

import argparse
import collections
import json
import statistics
import subprocess
import sys

ENTRIES = "1000000"
RECORDS = "200000"
SIZES = ["10000", "100000", "1000000", "10000000"]
PEERS = ["stdio", "sqlite", "leveldb", "libcsv", "spdlog"]

# What is to be reached: at most so many times the floor, at least so many times faster than the straightforward
# implementation and than the best peer.
Target = collections.namedtuple("Target", "title work input floor straightforward peer")
TARGETS = [
    Target("load 1,000,000 entries", "load", ENTRIES, 1.5, 6, 2),
    Target("commit 1,000,000 entries", "commit", ENTRIES, 1.15, 7, 2),
    Target("write 200,000 records, each line flushed", "log_write", RECORDS, 1.1, 1.25, 1.1),
    Target("read 200,000 records, kept", "log_read", RECORDS, 1.4, 3, None),
    Target("read and delete", "log_read_delete", RECORDS, 1.3, 3, None),
]
MEMORY_TO_FLOOR = 1.1
UNLOAD_TO_LOAD = 0.2
UNLOAD_TO_STRAIGHTFORWARD = 3
FLATNESS = 1.3

MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}
COUNTERS = ["elements", "unload_ms", "resident_per_entry", "left_per_entry", "tracked_per_entry"]


class Results:
    """The medians of one run."""

    def __init__(self, data, by_cpu_time):
        self.context = data["context"]
        self.clock = "CPU" if by_cpu_time else "wall-clock"
        self.failures = []
        times = collections.defaultdict(list)
        counters = collections.defaultdict(list)
        for run in data["benchmarks"]:
            if run.get("run_type") == "aggregate":
                continue
            key = tuple(run["run_name"].split("/")[:3])
            if run.get("error_occurred"):
                self.failures.append("/".join(key) + ": " + run["error_message"])
                continue
            time = run["real_time"] * MILLISECONDS[run["time_unit"]]
            if by_cpu_time and "work_cpu_ms" in run:
                time = run["work_cpu_ms"]
            times[key].append(time)
            for counter in COUNTERS:
                if counter in run:
                    counters[key + (counter,)].append(run[counter])
        self.times = times
        self.counters = {key: statistics.median(values) for key, values in counters.items()}

    def time(self, work, contender, size):
        """Milliseconds, or None."""
        values = self.times.get((work, contender, size))
        return statistics.median(values) if values else None

    def counter(self, work, contender, size, counter):
        return self.counters.get((work, contender, size, counter))

    def nanoseconds_per_element(self, work, contender, size):
        time = self.time(work, contender, size)
        return None if time is None else 1e6 * time / self.counter(work, contender, size, "elements")

    def contenders(self, work, size):
        return [key[1] for key in self.times if key[0] == work and key[2] == size]

    def inputs(self, work):
        return sorted({key[2] for key in self.times if key[0] == work and not key[2].isdigit()})

    def repetitions(self):
        return max((len(values) for values in self.times.values()), default=0)

    def spread(self):
        """The median over all benchmarks of the distance between the quartiles, relative to the median."""
        spreads = []
        for values in self.times.values():
            if len(values) >= 4:
                low, middle, high = statistics.quantiles(values, n=4)
                spreads.append((high - low) / middle)
        return statistics.median(spreads) if spreads else None

    def best_peer(self, work, size):
        """The name and the milliseconds of the fastest peer, or None twice."""
        times = {peer: self.time(work, peer, size) for peer in PEERS}
        times = {peer: time for peer, time in times.items() if time is not None}
        if not times:
            return None, None
        best = min(times, key=times.get)
        return best, times[best]


def divide(numerator, denominator):
    return None if numerator is None or not denominator else numerator / denominator


def number(value, digits=2):
    return "-" if value is None else f"{value:,.{digits}f}"


def milliseconds(value):
    return number(value, 1 if value is None or value >= 1 else 3)


def judged(ratio, target, at_most):
    """A ratio beside its target, marked when it is missed."""
    if ratio is None:
        return "-"
    sign = "<=" if at_most else ">="
    if target is None:
        return f"{ratio:.2f}"
    reached = ratio <= target if at_most else ratio >= target
    text = f"{ratio:.2f} ({sign} {target:g})"
    return text if reached else f"**{text}**"


def table(out, headings, rows):
    print("| " + " | ".join(headings) + " |", file=out)
    print("|" + "---|" * len(headings), file=out)
    for row in rows:
        print("| " + " | ".join(row) + " |", file=out)
    print(file=out)


def heading(out, text):
    print(f"## {text}\n", file=out)


def commit_of(context):
    if "commit" in context:
        return context["commit"]
    try:
        command = ["git", "describe", "--always", "--dirty"]
        answer = subprocess.run(command, capture_output=True, text=True, check=True)
        return answer.stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return "unknown"


def report_machine(out, results):
    context = results.context
    spread = results.spread()
    rows = [
        ["processor", context.get("processor", "unknown") + f", {context.get('num_cpus', '?')} cores"],
        ["kernel", context.get("kernel", "unknown")],
        ["file system", context.get("file_system", "unknown")],
        ["compiler", context.get("compiler", "unknown")],
        ["commit", commit_of(context)],
        ["repetitions", f"{results.repetitions()}, medians of {results.clock} time"],
        ["spread", "-" if spread is None else f"{100 * spread:.0f} % between quartiles, typically"],
    ]
    load = context.get("load_avg")
    if load:
        rows.append(["load of the machine at the start", " ".join(f"{value:.2f}" for value in load)])
    table(out, ["", ""], rows)


def target_row(results, target):
    library = results.time(target.work, "library", target.input)
    floor = results.time(target.work, "floor", target.input)
    straightforward = results.time(target.work, "straightforward", target.input)
    peer, peer_time = results.best_peer(target.work, target.input)
    peer_text = judged(divide(peer_time, library), target.peer, False)
    return [
        target.title,
        milliseconds(library),
        judged(divide(library, floor), target.floor, True),
        judged(divide(straightforward, library), target.straightforward, False),
        peer_text if peer is None else f"{peer_text} {peer}",
    ]


def unload_row(results):
    library = results.time("unload", "library", ENTRIES)
    load = results.time("load", "library", ENTRIES)
    straightforward = results.time("unload", "straightforward", ENTRIES)
    return [
        "unload of 1,000,000 entries",
        milliseconds(library),
        judged(divide(library, load), UNLOAD_TO_LOAD, True) + " of the load",
        judged(divide(straightforward, library), UNLOAD_TO_STRAIGHTFORWARD, False),
        "-",
    ]


def memory_row(results):
    def resident(contender):
        return results.counter("fresh_load", contender, ENTRIES, "resident_per_entry")

    library = resident("library")
    if library is None:
        return None
    peers = {peer: resident(peer) for peer in PEERS if resident(peer)}
    best = min(peers, key=peers.get) if peers else None
    return [
        "memory of a loaded entry",
        f"{library:.0f} bytes",
        judged(divide(library, resident("floor")), MEMORY_TO_FLOOR, True),
        judged(divide(resident("straightforward"), library), None, False),
        "-" if best is None else judged(peers[best] / library, 1, False) + f" {best}",
    ]


def report_targets(out, results):
    rows = [target_row(results, target) for target in TARGETS]
    rows.append(memory_row(results))
    rows.append(unload_row(results))
    rows = [row for row in rows if row is not None and row[1] != "-"]
    if not rows:
        return
    heading(out, "Targets")
    print("Times the floor (at most), times faster than the straightforward implementation and than the best peer\n"
          "(at least). Missed targets are bold.\n", file=out)
    table(out, ["work", "library, ms", "x floor", "x straightforward", "x best peer"], rows)


def report_contenders(out, results):
    works = [("load", ENTRIES), ("load_cold", ENTRIES), ("add", ENTRIES), ("commit", ENTRIES), ("unload", ENTRIES),
             ("log_write", RECORDS), ("log_read", RECORDS), ("log_read_delete", RECORDS), ("log_append", RECORDS)]
    names = ["floor", "library", "straightforward"] + PEERS
    rows = [[work] + [milliseconds(results.time(work, name, size)) for name in names] for work, size in works]
    rows = [row for row in rows if any(cell != "-" for cell in row[1:])]
    if rows:
        heading(out, "All contenders, in ms")
        table(out, ["work"] + names, rows)
    partition = [[work] + [milliseconds(results.time(work, name + "_partition", ENTRIES))
                           for name in ("floor", "library", "straightforward")]
                 for work in ("load", "commit", "unload")]
    if any(cell != "-" for row in partition for cell in row[1:]):
        print("With node names relative to a partition:\n", file=out)
        table(out, ["work", "floor", "library", "straightforward"], partition)


def report_floor(out, results):
    """Where the time of the floor of a load goes: each part is the difference to the one before."""
    read, scan, warm, whole = (results.time("load", name, ENTRIES)
                               for name in ("floor_read", "floor_scan", "floor_warm", "floor"))
    if None in (read, scan, warm, whole):
        return
    heading(out, "Where the floor of a load goes")
    library = results.time("load", "library", ENTRIES)
    parts = [("reading the file", read), ("finding separators", scan - read), ("building rows", warm - scan),
             ("new memory", whole - warm)]
    rows = [[title, milliseconds(time), f"{100 * time / whole:.0f} %",
             "-" if library is None else f"{100 * time / library:.0f} %"] for title, time in parts]
    table(out, ["part", "ms", "of the floor", "of the library's load"], rows)
    calls = results.time("load", "calls", ENTRIES)
    if calls is not None:
        print(f"The calls for memory that no load does without take {milliseconds(calls)} ms, new memory included:\n"
              f"with them the floor would take {(warm + calls) / whole:.2f} times as long.\n", file=out)


def report_reuse(out, results):
    """A floor of its own for reading and deleting: memory that stays in the first-level cache."""
    library, reuse = (results.time("log_read_delete", name, RECORDS) for name in ("library", "floor_reuse"))
    if None not in (library, reuse):
        print(f"Reading and deleting takes {milliseconds(reuse)} ms when each record is built in the memory of the\n"
              f"one before, which nothing keeps books of: the library takes {library / reuse:.2f} times as long.\n",
              file=out)


def report_scale(out, results):
    works = [(work, name) for work in ("load", "commit", "unload", "log_write", "log_read", "log_read_delete",
                                       "log_append") for name in ("library", "floor")]
    rows = []
    for work, name in works:
        costs = [results.nanoseconds_per_element(work, name, size) for size in SIZES]
        known = [cost for cost in costs if cost is not None]
        if len(known) < 2:
            continue
        flatness = max(known) / min(known)
        rows.append([work, name] + [number(cost, 0) for cost in costs] +
                    [judged(flatness, FLATNESS if name == "library" and work != "unload" else None, True)])
    if rows:
        heading(out, "Time per entry or record by size, in ns")
        table(out, ["work", "contender"] + [f"{int(size):,}" for size in SIZES] + ["largest / smallest"], rows)


def report_fresh(out, results):
    names = results.contenders("fresh_load", ENTRIES)
    if not names:
        return
    heading(out, "One load in a new process")
    print("Bytes an entry: what the load added to the resident set, what the host counts, and what is left after\n"
          "the unload.\n", file=out)
    rows = [[name, milliseconds(results.time("fresh_load", name, ENTRIES)),
             milliseconds(results.counter("fresh_load", name, ENTRIES, "unload_ms"))] +
            [number(results.counter("fresh_load", name, ENTRIES, counter), 0)
             for counter in ("resident_per_entry", "tracked_per_entry", "left_per_entry")]
            for name in names]
    table(out, ["contender", "load, ms", "unload, ms", "resident", "tracked", "left"], rows)


def report_memory_by_size(out, results):
    rows = [[name] + [number(results.counter("fresh_load", name, size, "resident_per_entry"), 0) for size in SIZES]
            for name in ("library", "floor")]
    if any(cell != "-" for row in rows for size, cell in zip(SIZES, row[1:]) if size != ENTRIES):
        print("By size, what a load adds to the resident set, in bytes an entry:\n", file=out)
        table(out, ["contender"] + [f"{int(size):,}" for size in SIZES], rows)


def report_designs(out, results):
    rows = []
    for work in ("load", "commit", "log_write", "log_read", "log_read_delete"):
        for design in results.inputs(work):
            library = results.time(work, "library", design)
            _, peer_time = results.best_peer(work, design)
            rows.append([work, design, milliseconds(library),
                         number(divide(library, results.time(work, "floor", design))),
                         number(divide(results.time(work, "straightforward", design), library)),
                         number(divide(peer_time, library))])
    if rows:
        heading(out, "Logs of real designs")
        table(out, ["work", "design", "library, ms", "x floor", "x straightforward", "x best peer"], rows)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("json", help="what --benchmark_out wrote; - for standard input")
    parser.add_argument("--cpu", action="store_true", help="compare CPU time instead of wall-clock time")
    parser.add_argument("-o", "--output", help="the file to write; standard output by default")
    arguments = parser.parse_args()
    if arguments.json == "-":
        data = json.load(sys.stdin)
    else:
        with open(arguments.json, encoding="utf-8") as file:
            data = json.load(file)
    results = Results(data, arguments.cpu)
    out = open(arguments.output, "w", encoding="utf-8") if arguments.output else sys.stdout
    with out:
        for part in (report_machine, report_targets, report_contenders, report_floor, report_reuse, report_scale,
                     report_fresh, report_memory_by_size, report_designs):
            part(out, results)
    for failure in results.failures:
        print("failed: " + failure, file=sys.stderr)
    return 1 if results.failures else 0


if __name__ == "__main__":
    sys.exit(main())
