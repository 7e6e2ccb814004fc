#!/usr/bin/env python3
"""Runs every command over every log: those of the tests, the examples and damaged samples of the format documents,
and small logs of real designs where there are any. Each answers with a status that its page allows, tells only what
it means to tell, and agrees with the other commands."""

import collections
import concurrent.futures
import gzip
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import command

PROGRAM = sys.argv.pop(1)

# LOGDB_BENCH_DATA, as for the benchmarks, says where the logs of real designs are.
DATA = pathlib.Path(os.environ.get("LOGDB_BENCH_DATA", command.ROOT.parent / "shared" / "data"))
MOST_DATA = 9000
FINE, FINDINGS, INPUT = 0, 1, 3


class Log:
    """A log and what `show` and `check` make of it."""

    def __init__(self, test, path, folder):
        self.test, self.path, self.folder = test, path, folder
        self.format = path.name.removesuffix(".gz").rpartition(".")[2]
        self.is_database = self.format == "logdb"
        data = path.read_bytes()
        self.bytes = gzip.decompress(data) if path.suffix == ".gz" else data
        self.show_status, shown = self.run("show", "--json", allowed=(FINE, INPUT))
        self.items = objects(shown)
        check_status, found = self.run("check", "--json", allowed=(FINE, FINDINGS))
        self.findings = objects(found)
        self.errors = [finding for finding in self.findings if finding["severity"] == "error"]
        self.is_sound = not self.errors
        test.assertEqual(check_status, FINDINGS if self.findings else FINE)

    def run(self, *arguments, allowed, log=None, has_format=True):
        """The status and the output of a command; what may never be is looked for each time."""
        kind = ["--as", self.format] if has_format else []
        line = ["logdb", *arguments, *kind, str(log or self.path)]
        done = subprocess.run(line, cwd=self.folder, env=self.test.environment, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=60)
        self.test.assertIn(done.returncode, allowed, (line, done.stderr))
        self.test.assertNotRegex(done.stderr, rb"internal fault|terminate|Sanitizer|runtime error", line)
        for message in done.stderr.split(b"\n")[:-1]:
            self.test.assertRegex(message, rb"^(logdb: |Nothing was written|It cannot be converted|Try )", line)
        self.test.assertNotIn(b"logdb: ", done.stdout, line)
        self.messages = done.stderr.decode("utf-8", "backslashreplace")
        return done.returncode, done.stdout

    def refusal_names_a_rule(self):
        self.test.assertRegex(self.messages, r"LDB[01]\d\d", self.path)


def objects(text):
    """The JSON objects of an output, one a line."""
    return [json.loads(line) for line in text.decode("utf-8").split("\n")[:-1]]


def decision(item):
    """An item without its place in a file."""
    return json.dumps({name: value for name, value in item.items() if name not in ("file", "number", "line", "phase")})


def decisions(items):
    """How often each decision stands there. What begins and ends a log is none."""
    return collections.Counter(decision(item) for item in items if item["kind"] not in MARKERS)


MARKERS = ("REVISION_NUMBER", "PRE_PLACEMENT_FLOW", "POST_PLACEMENT_FLOW", "END_OF_LOG", "END_OF_LOG_PRINT")


class CommandsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.context = command.folder_with_logs(PROGRAM)
        folder, cls.environment = cls.context.__enter__()
        paths = sorted(path for path in folder.rglob("*") if path.suffix in (".logdb", ".fsyn"))
        if DATA.is_dir():
            paths += sorted(path for path in DATA.iterdir() if path.name.endswith((".logdb.gz", ".fsyn.gz"))
                            and path.stat().st_size < MOST_DATA)
        cls.folder, cls.paths = folder, paths

    @classmethod
    def tearDownClass(cls):
        cls.context.__exit__(None, None, None)

    def test_every_command_over_every_log(self):
        self.assertGreater(len(self.paths), 90)
        looks = [getattr(self, name) for name in sorted(dir(self)) if name.startswith("look_at_")]
        # A look a command: what has no log, completion, is looked at by itself.
        overview = subprocess.run(["logdb", "--help"], env=self.environment, capture_output=True, text=True).stdout
        commands = set(re.findall(r"^  ([a-z]+) +[A-Z]", overview, re.MULTILINE))
        self.assertEqual({look.__name__.removeprefix("look_at_") for look in looks} | {"completion"}, commands)

        def look_at(path):
            with tempfile.TemporaryDirectory(dir=self.folder) as folder:
                before = path.read_bytes()
                log = Log(self, path, pathlib.Path(folder))
                failures = []
                for look in looks:
                    try:
                        look(log)
                    except AssertionError as failure:
                        failures.append(f"{look.__name__}: {failure}")
                self.assertEqual(path.read_bytes(), before, "no command touches its input")
            return log, failures

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            logs, failures = zip(*pool.map(look_at, self.paths))
        self.assertEqual("\n".join(sum(failures, [])), "")
        # Both answers were seen, or half of this would not have been looked at.
        for format_name in ("logdb", "fsyn"):
            self.assertEqual({log.is_sound for log in logs if log.format == format_name}, {True, False})

    def test_completion_knows_the_commands_that_were_looked_at(self):
        looks = {name.removeprefix("look_at_") for name in dir(self) if name.startswith("look_at_")}
        for shell in ("bash", "zsh", "fish"):
            done = subprocess.run(["logdb", "completion", shell], env=self.environment, capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (FINE, ""))
            self.assertLessEqual(looks, set(re.findall(r"[a-z]+", done.stdout)))

    def look_at_show(self, log):
        self.assertEqual([item["number"] for item in log.items], list(range(1, len(log.items) + 1)), log.path)
        self.assertEqual([item["line"] for item in log.items], sorted(item["line"] for item in log.items), log.path)
        # Where reading fails, an error says why.
        self.assertTrue(log.show_status == FINE or log.errors, log.path)

    def look_at_stats(self, log):
        status, output = log.run("stats", "--json", allowed=(log.show_status,))
        counts = json.loads(output)
        self.assertEqual(counts["items"], len(log.items), log.path)

    def look_at_check(self, log):
        lines = log.bytes.split(b"\n")
        for finding in log.findings:
            self.assertRegex(finding["rule"], r"^LDB[01]\d\d$")
            self.assertLessEqual(finding["line"], len(lines), log.path)
            self.assertTrue(1 <= finding["column"] <= len(lines[finding["line"] - 1]) + 1, (log.path, finding))
        log.run("check", "--errors-only", allowed=(FINE if log.is_sound else FINDINGS,))

    def look_at_diff(self, log):
        status, output = log.run("diff", str(log.path), allowed=(log.show_status,))
        self.assertEqual(output, b"", log.path)

    def look_at_grep(self, log):
        expected = log.show_status if log.show_status != FINE or log.items else FINDINGS
        status, output = log.run("grep", "-c", "", allowed=(expected,))
        self.assertEqual(int(output), len(log.items), log.path)
        if not log.findings:
            status, output = log.run("grep", "", allowed=(expected,))
            self.assertEqual(output, log.bytes.removeprefix(b"v1\n"), log.path)

    def look_at_blame(self, log):
        shown = {item["number"]: item for item in log.items}
        status, output = log.run("blame", "--json", "", allowed=(FINE, FINDINGS, INPUT))
        blamed = objects(output)
        for item in blamed:
            self.assertEqual(item.pop("file"), str(log.path))
            self.assertEqual(item, shown[item["number"]], log.path)
        self.assertEqual(status, log.show_status or (FINE if blamed else FINDINGS), log.path)
        # What was decided about the node of some item: that item, and others that name it.
        status, output = log.run("show", "--json", "--fields", "number,node", allowed=(log.show_status,))
        named = [item for item in objects(output) if item.get("node")]
        if named:
            node = named[len(named) // 2]
            # A byte that is no text stands for itself on a command line.
            name = os.fsdecode(node["node"].encode())
            if any("\uef80" <= letter <= "\uefff" for letter in name) or name.startswith("-"):
                return
            status, output = log.run("blame", "--exact", "--json", name, allowed=(log.show_status,))
            numbers = [item["number"] for item in objects(output)]
            self.assertIn(node["number"], numbers, log.path)
            self.assertEqual(numbers, sorted(set(numbers)))
            for number in numbers:
                self.assertIn(json.dumps(name, ensure_ascii=False), json.dumps(shown[number], ensure_ascii=False))

    def look_at_summary(self, log):
        status, output = log.run("summary", "--json", allowed=(INPUT if log.is_database else FINE,))
        if log.is_database:
            self.assertEqual((output, "is no physical-synthesis log" in log.messages), (b"", True), log.path)
        else:
            effect = json.loads(output)
            self.assertEqual(effect["records"], len(log.items), log.path)
            self.assertLessEqual(effect["changes"], len(log.items), log.path)

    def look_at_rebase(self, log):
        status, there = log.run("rebase", "--from", "", "--to", "r|s", allowed=(FINE, INPUT))
        if status == INPUT:
            self.assertEqual(there, b"")
            return log.refusal_names_a_rule()
        moved = log.folder / f"moved.{log.format}"
        moved.write_bytes(there)
        self.assertEqual(there.count(b"r|s|"), int(log.messages.split()[1].replace(",", "")), log.path)
        status, back = log.run("rebase", "--from", "r|s", "--to", "", log=moved, allowed=(FINE,))
        self.assertEqual(back, log.bytes, log.path)

    def look_at_merge(self, log):
        status, output = log.run("merge", allowed=(FINE, INPUT))
        self.assert_refused_or_same(log, status, output, "merged")

    def look_at_split(self, log):
        by = "kind" if log.is_database else "phase"
        parts = log.folder / "parts"
        status, listed = log.run("split", "--by", by, "-d", str(parts), allowed=(FINE, INPUT))
        if status == INPUT:
            self.assertFalse(parts.exists(), log.path)
            return log.refusal_names_a_rule()
        names, counts = zip(*(line.split("\t") for line in listed.decode().splitlines())) if listed else ((), ())
        self.assertEqual(sorted(names), sorted(map(str, parts.glob("*"))), log.path)
        together = []
        for name, count in zip(names, counts):
            status, output = log.run("show", "--json", log=name, allowed=(FINE,))
            part = objects(output)
            together += part
            self.assertEqual(sum(decisions(part).values()), int(count), (log.path, name))
        self.assertEqual(decisions(together), decisions(log.items), log.path)

    def assert_refused_or_same(self, log, status, output, name):
        if status == INPUT:
            self.assertEqual(output, b"", log.path)
            return log.refusal_names_a_rule()
        written = log.folder / f"{name}.{log.format}"
        written.write_bytes(output)
        status, shown = log.run("show", "--json", log=written, allowed=(FINE,))
        self.assertEqual(decisions(objects(shown)), decisions(log.items), log.path)

    def look_at_salvage(self, log):
        status, output = log.run("salvage", allowed=(FINE if log.is_sound else FINDINGS,))
        kept = int(re.search(r"([\d,]+) (entry|entries|records?) kept", log.messages)[1].replace(",", ""))
        for rule in {error["rule"] for error in log.errors}:
            self.assertIn(rule, log.messages, log.path)
        if log.is_sound:
            self.assertEqual((output, kept), (log.bytes, len(log.items)), log.path)
        saved = log.folder / f"saved.{log.format}"
        saved.write_bytes(output)
        status, output = log.run("stats", "--json", log=saved, allowed=(FINE,))
        self.assertEqual(json.loads(output)["items"] if output else 0, kept, log.path)

    def look_at_convert(self, log):
        status, text = log.run("convert", allowed=(FINE, INPUT))
        if status == INPUT:
            self.assertEqual(text, b"")
            return log.refusal_names_a_rule()
        self.assertEqual(objects(text)[0]["format"], log.format)
        converted = log.folder / "converted.json"
        converted.write_bytes(text)
        status, back = log.run("convert", log=converted, has_format=False, allowed=(FINE,))
        self.assertEqual(back, log.bytes, log.path)

    def look_at_tail(self, log):
        is_empty = not log.bytes
        expected = INPUT if log.is_database and not is_empty else FINE
        status, output = log.run("tail", "-c", "100000", "--json", has_format=False, allowed=(expected,))
        if log.is_sound and not log.is_database:
            self.assertEqual(objects(output), log.items, log.path)
        numbers = [item["number"] for item in objects(output)]
        self.assertEqual(numbers, sorted(set(numbers)), log.path)

    def look_at_kinds(self, log):
        # Every field that is shown is one of its kind's.
        fields = self.fields_of_kinds()
        for item in log.items:
            known = fields.get((log.format, item["kind"]))
            if known is None:
                self.assertTrue(log.is_database, (log.path, item))
            elif not log.is_database:
                self.assertLessEqual(set(item) - {"number", "line", "phase", "kind"}, known, log.path)

    @classmethod
    def fields_of_kinds(cls):
        if not hasattr(cls, "kinds"):
            done = subprocess.run(["logdb", "kinds", "--json"], env=cls.environment, capture_output=True, check=True)
            cls.kinds = {(kind["format"], kind["kind"]): {field["name"] for field in kind["fields"]}
                         for kind in objects(done.stdout)}
        return cls.kinds


if __name__ == "__main__":
    unittest.main()
