#!/usr/bin/env python3
"""What must hold for every log: checked over the samples, damaged ones among them, and random damage."""

import gzip
import json
import os
import pathlib
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import command

PROGRAM = sys.argv.pop(1)

# What an entry or record may still have when it is whole.
KEPT_BY_SALVAGE = "LDB005,LDB009"


class PropertiesTest(unittest.TestCase):
    def setUp(self):
        self.context = command.folder_with_logs(PROGRAM)
        self.folder, self.environment = self.context.__enter__()
        self.logs = sorted(path for path in self.folder.rglob("*") if path.suffix in (".logdb", ".fsyn"))
        self.assertGreater(len(self.logs), 90)

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def run_command(self, *arguments, **options):
        return subprocess.run(["logdb", *map(str, arguments)], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60, **options)

    def test_no_command_breaks_on_any_sample(self):
        for log in self.logs:
            for arguments in (["show"], ["show", "--json"], ["show", "--csv"], ["stats"], ["stats", "--by", "node"],
                              ["check"], ["check", "--json"], ["check", "--partition-root", "top|u1"],
                              ["grep", "u1"], ["blame", "top"], ["salvage"], ["convert"]):
                done = self.run_command(*arguments, log)
                self.assertIn(done.returncode, (0, 1, 3), (arguments, log.name, done.stderr))

    def test_counts_agree_with_what_is_shown(self):
        # Counting and searching go over blocks of a file, showing goes entry by entry.
        for log in self.logs:
            kind = ["--as", log.suffix[1:]]
            shown = self.shown(log)
            counts = json.loads(self.run_command("stats", "--json", *kind, log).stdout)
            self.assertEqual(counts["items"], len(shown), log.name)
            known = {item["kind"] for item in shown} & set(counts["kinds"])
            for name in known:
                self.assertEqual(counts["kinds"][name], sum(item["kind"] == name for item in shown), log.name)
            for pattern in ("a", "PACK", "^a$", "REGISTER_PACKING", "e,"):
                found = sum(any(re.search(pattern.encode(), text, re.DOTALL) for text in texts_of(item))
                            for item in shown)
                done = self.run_command("grep", "-c", pattern, *kind, log)
                self.assertEqual(int(done.stdout), found, (log.name, pattern))

    def test_pipes_are_read_like_files(self):
        for log in self.logs:
            kind = ["--as", log.suffix[1:]]
            for arguments in (["stats", "--json", "--by", "depth:2"], ["grep", "-c", "a"], ["grep", "PACK"],
                              ["check"], ["show"]):
                plain = self.run_command(*arguments, *kind, log)
                with log.open("rb") as file:
                    piped = subprocess.run(["logdb", *arguments, *kind, "-"], env=self.environment, stdin=file,
                                           capture_output=True, timeout=60)
                name = str(log).encode()
                self.assertEqual((plain.returncode, plain.stdout.replace(name, b"(standard input)"),
                                  plain.stderr.replace(name, b"(standard input)")),
                                 (piped.returncode, piped.stdout, piped.stderr), (arguments, log.name))

    def bash(self, line, **options):
        return subprocess.run(["bash", "-c", line], cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=60, **options)

    def test_what_can_be_opened_only_once_is_read_like_a_file(self):
        for name in ("top.fsyn", "top.logdb"):
            for arguments in ("stats", "grep -c q", "show", "check", "salvage"):
                self.assertEqual(self.bash(f"logdb {arguments} <(cat {name})").stdout,
                                 self.run_command(*arguments.split(), name).stdout, (arguments, name))
        long_log = self.folder / "long.fsyn"
        long_log.write_bytes((self.folder / "top.fsyn").read_bytes() * 400)
        done = self.bash("logdb grep -c 'sum~7' <(cat long.fsyn)")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"800\n", b""))

    def test_diff_compares_what_can_be_opened_only_once(self):
        plain = self.run_command("diff", "old.fsyn", "new.fsyn")
        self.assertEqual(plain.returncode, 1)
        for line in ("logdb diff <(cat old.fsyn) <(cat new.fsyn)", "cat old.fsyn | logdb diff - new.fsyn"):
            done = self.bash(line)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (1, plain.stdout, b""), line)

    def test_a_database_merged_with_itself_is_the_same_one(self):
        for log in self.logs:
            if log.suffix == ".logdb" and self.run_command("check", "--errors-only", log).returncode == 0:
                done = self.run_command("merge", log, log)
                self.assertEqual((done.returncode, done.stdout), (0, log.read_bytes()), (log.name, done.stderr))

    def shown(self, log):
        lines = self.run_command("show", "--json", "--as", log.suffix[1:], log).stdout.decode().splitlines()
        return [json.loads(line) for line in lines]

    def test_databases_are_read_as_the_library_reads_them(self):
        for path in sorted(command.SAMPLES.glob("*.logdb.expected")):
            for load in json.loads(path.read_text())["loads"]:
                if "partition_root" in load:
                    continue
                shown = self.shown(path.with_suffix(""))
                self.assertEqual(len(shown), len(load["entries"]), path.name)
                for entry, (kind, *fields) in zip(shown, load["entries"]):
                    if kind != -1:
                        self.assertEqual(entry["kind"], kind, path.name)
                    self.assertEqual([bytes_of_json(field) for field in entry["fields"]],
                                     [text_of_sample(field) for field in fields], path.name)

    def test_records_are_read_as_the_library_reads_them(self):
        for path in sorted(command.SAMPLES.glob("*.fsyn.expected")):
            # The library's caller stops at the first step that gives nothing.
            steps = json.loads(path.read_text())["reads"]["steps"]
            steps = steps[:steps.index(None)] if None in steps else steps
            shown = self.shown(path.with_suffix(""))
            self.assertEqual([record["kind"] for record in shown], [step["kind"] for step in steps], path.name)
            for record, step in zip(shown, steps):
                found = {"m_" + name: plain(value) for name, value in record.items()
                         if name not in ("kind", "number", "line", "phase")}
                # The text of a marker has no name; programs see DUMMY_NAME.
                wanted = {name: expected_member(name, value) for name, value in step.items()
                          if name != "kind" and (name, value) != ("m_node_name", "DUMMY_NAME")}
                self.assertEqual({name: value for name, value in found.items() if value not in NOTHING},
                                 {name: value for name, value in wanted.items() if value not in NOTHING}, path.name)

    def test_json_is_json(self):
        for log in self.logs:
            for arguments in (["show", "--json"], ["check", "--json"], ["stats", "--json"]):
                for line in self.run_command(*arguments, log).stdout.decode("utf-8").splitlines():
                    self.assertIsInstance(json.loads(line), dict)

    def test_what_is_salvaged_is_whole(self):
        for log in self.logs:
            before = log.read_bytes()
            saved = self.folder / f"saved{log.suffix}"
            done = self.run_command("salvage", log, "-o", saved)
            self.assertIn(done.returncode, (0, 1), log.name)
            self.assertEqual(log.read_bytes(), before)
            if saved.stat().st_size == 0:
                continue
            check = self.run_command("check", "--errors-only", "--ignore", KEPT_BY_SALVAGE, saved)
            self.assertEqual((check.returncode, check.stdout), (0, b""), log.name)

    def test_what_is_whole_is_salvaged_byte_by_byte(self):
        for name in ("top.logdb", "top.fsyn", "samples/all-kinds.logdb", "samples/example.fsyn"):
            done = self.run_command("salvage", name)
            self.assertEqual((done.returncode, done.stdout), (0, (self.folder / name).read_bytes()), name)

    def test_what_is_converted_comes_back(self):
        converted = 0
        for log in self.logs:
            text = self.folder / "converted.json"
            if self.run_command("convert", log, "-o", text).returncode != 0:
                continue
            done = self.run_command("convert", text)
            self.assertEqual((done.returncode, done.stdout), (0, log.read_bytes()), log.name)
            text.unlink()
            converted += 1
        self.assertGreater(converted, 35)

    def test_what_is_not_converted_is_refused_with_a_rule_and_leaves_nothing(self):
        for log in self.logs:
            done = self.run_command("convert", log, "-o", "refused.json")
            if done.returncode != 0:
                self.assertEqual(done.returncode, 3)
                self.assertIn(b"without loss", done.stderr, log.name)
                self.assertFalse((self.folder / "refused.json").exists())
            else:
                (self.folder / "refused.json").unlink()

    def test_every_byte_comes_back_from_json(self):
        name = bytes(byte for byte in range(1, 256) if byte not in b"\n,") + "\uef80\uefff\U0001f600".encode()
        log = self.folder / "bytes.logdb"
        log.write_bytes(b"v1\nFSYN_LOG_FILE," + name + b",\n")
        done = self.run_command("convert", log, "-o", "bytes.json")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.run_command("convert", "bytes.json").stdout, log.read_bytes())

    def test_every_byte_survives_what_rewrites_logs(self):
        odd = bytes(byte for byte in range(1, 256) if byte not in b" \t\n\v\f\r,|")
        entry = b"RAM_PACKING,a,b,c,d,e,f,g," + odd + b",top|" + odd + b",\n"
        record = b"PHYSICAL_SYNTHESIS_SET_USER_LCELL\ntop|" + odd + b"\nPHYSICAL_SYNTHESIS_END_OF_LOG\n"
        for name, data, body in (("odd.logdb", b"v1\n" + entry, entry), ("odd.fsyn", record, record)):
            (self.folder / name).write_bytes(data)
            for arguments in (["salvage"], ["merge"], ["rebase", "--from", "top|x", "--to", "y"], ["grep", "top"]):
                done = self.run_command(*arguments, name)
                self.assertIn(done.stdout, (data, body, record[:record.rindex(b"PHYS")]), (arguments, name))
            moved = self.run_command("rebase", "--from", "top", "--to", "a|b", name).stdout
            self.assertEqual(moved, data.replace(b"top|", b"a|b|"))
            self.run_command("split", "--by", "kind", name, "-d", "parts")
            self.assertTrue(any(b"top|" + odd in path.read_bytes() for path in (self.folder / "parts").iterdir()))
            self.assertEqual(self.bash(f"logdb convert {name} | logdb convert -").stdout, data)

    def test_there_and_back_again_is_the_same_file(self):
        for name in ("top.logdb", "top.fsyn"):
            there = self.folder / ("there." + name)
            self.run_command("rebase", "--from", "top", "--to", "chip|core", name, "-o", there)
            self.assertNotEqual(there.read_bytes(), (self.folder / name).read_bytes())
            done = self.run_command("rebase", "--from", "chip|core", "--to", "top", there)
            self.assertEqual(done.stdout, (self.folder / name).read_bytes())

    def test_compressed_logs_are_read_like_plain_ones(self):
        for suffix in (".gz", ".zst"):
            packed = self.folder / ("packed.fsyn" + suffix)
            self.assertEqual(self.run_command("salvage", "top.fsyn", "-o", packed).returncode, 0)
            self.assertNotEqual(packed.read_bytes(), (self.folder / "top.fsyn").read_bytes())
            self.assertEqual(self.run_command("show", "--json", packed).stdout,
                             self.run_command("show", "--json", "top.fsyn").stdout)
            self.run_command("salvage", "top.fsyn", "-o", "again.fsyn" + suffix)
            self.assertEqual((self.folder / ("again.fsyn" + suffix)).read_bytes(), packed.read_bytes())

    def test_random_damage_never_breaks_check_or_salvage(self):
        damage = random.Random(6)
        for name in ("top.logdb", "top.fsyn", "samples/all-kinds.fsyn"):
            original = (self.folder / name).read_bytes()
            for _ in range(60):
                data = bytearray(original[:damage.randrange(1, len(original) + 1)])
                for _ in range(damage.randrange(4)):
                    data[damage.randrange(len(data))] = damage.choice(b"\0\n\r ,|9x\xff")
                suffix = pathlib.Path(name).suffix
                log = self.folder / ("damaged-at-random" + suffix)
                log.write_bytes(data)
                kind = ["--as", suffix[1:]]
                self.assertIn(self.run_command("check", *kind, log).returncode, (0, 1))
                saved = self.run_command("salvage", *kind, log, "-o", "saved" + suffix)
                self.assertIn(saved.returncode, (0, 1), saved.stderr)
                again = self.run_command("check", *kind, "--errors-only", "--ignore", KEPT_BY_SALVAGE,
                                         "saved" + suffix)
                if (self.folder / ("saved" + suffix)).stat().st_size != 0:
                    self.assertEqual((again.returncode, again.stdout), (0, b""), bytes(data))

    def test_memory_does_not_grow_with_the_file(self):
        log = self.folder / "large.logdb"
        entry = b"REGISTER_PACKING,PACKED,only fan-out,LUT_FEEDS_REGISTER,top|u1|q,top|u1|d~0,\n"
        with log.open("wb") as file:
            file.write(b"v1\n")
            for _ in range(64):
                file.write(entry * 16384)

        def limit():
            if "asan" not in os.environ.get("LD_PRELOAD", ""):
                resource.setrlimit(resource.RLIMIT_DATA, (48 << 20, 48 << 20))

        for arguments in (["stats"], ["check"], ["grep", "-c", "u1"], ["show", "--range", "1000000"]):
            done = self.run_command(*arguments, log, preexec_fn=None if is_sanitized() else limit)
            self.assertEqual(done.returncode, 0, (arguments, done.stderr))

    def test_an_output_is_never_half_written(self):
        kept = self.folder / "kept.logdb"
        kept.write_bytes(b"what was here")
        done = self.run_command("merge", "samples/d05-last-line-without-line-end.logdb", "-o", kept)
        self.assertEqual(done.returncode, 3)
        self.assertEqual(kept.read_bytes(), b"what was here")
        self.assertEqual([path.name for path in self.folder.iterdir() if path.name.startswith("kept")], ["kept.logdb"])

    def test_an_output_takes_over_what_it_replaces_but_no_right_to_run_as_another(self):
        whole = (self.folder / "top.logdb").read_bytes()
        kept = self.folder / "kept.logdb"
        for mode, expected in ((0o600, 0o600), (0o640, 0o640), (0o6755, 0o755), (0o1666, 0o666)):
            kept.write_bytes(b"what was here")
            kept.chmod(mode)
            self.assertEqual(self.run_command("salvage", "top.logdb", "-o", kept).returncode, 0)
            self.assertEqual((kept.read_bytes(), kept.stat().st_mode & 0o7777), (whole, expected), oct(mode))
        if os.geteuid() == 0:
            os.chown(kept, 12345, 23456)
            kept.chmod(0o4750)
            self.assertEqual(self.run_command("salvage", "top.logdb", "-o", kept).returncode, 0)
            status = kept.stat()
            self.assertEqual((status.st_uid, status.st_gid, status.st_mode & 0o7777), (12345, 23456, 0o750))

    def test_an_output_that_is_a_link_stays_one(self):
        whole = (self.folder / "top.logdb").read_bytes()
        (self.folder / "deep").mkdir()
        (self.folder / "deep/second").symlink_to("../file.logdb")
        (self.folder / "first").symlink_to("deep/second")
        for content in (None, b"what was here"):  # first it leads to a file that is not there
            if content:
                (self.folder / "file.logdb").write_bytes(content)
            self.assertEqual(self.run_command("salvage", "top.logdb", "-o", "first").returncode, 0)
            self.assertTrue((self.folder / "first").is_symlink() and (self.folder / "deep/second").is_symlink())
            self.assertEqual((self.folder / "file.logdb").read_bytes(), whole)
        (self.folder / "round").symlink_to("round")
        done = self.run_command("salvage", "top.logdb", "-o", "round")
        self.assertEqual((done.returncode, done.stderr), (4, b"logdb: round: Too many levels of symbolic links\n"))

    def test_an_output_may_have_the_longest_name(self):
        name = "n" * 249 + ".logdb"
        self.assertEqual(self.run_command("salvage", "top.logdb", "-o", name).returncode, 0)
        self.assertEqual((self.folder / name).read_bytes(), (self.folder / "top.logdb").read_bytes())

    def test_an_output_that_cannot_be_written_is_told(self):
        self.assertEqual(self.run_command("convert", "top.logdb", "-o", "no/such/folder").returncode, 4)
        if os.path.exists("/dev/full"):
            with open("/dev/full", "wb") as full:
                done = subprocess.run(["logdb", "show", "top.logdb"], cwd=self.folder, env=self.environment,
                                      stdout=full, stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 4)

    def test_a_fault_of_the_command_itself_has_a_status(self):
        log = self.folder / "names.logdb"
        log.write_bytes(b"v1\n" + b"".join(b"DSP_BALANCING_IMPLEMENTATION,a,top|%d,\n" % number
                                           for number in range(300_000)))

        def limit():
            resource.setrlimit(resource.RLIMIT_DATA, (8 << 20, 8 << 20))

        # A sanitizer has its own way with memory that is not there.
        done = self.run_command("stats", "--by", "node", log, preexec_fn=None if is_sanitized() else limit)
        expected = (0, b"") if is_sanitized() else (5, b"logdb: there is not enough memory\n")
        self.assertEqual((done.returncode, done.stderr), expected)

    def test_no_device_is_replaced_by_a_file(self):
        device = os.stat("/dev/null").st_rdev
        self.assertEqual(self.run_command("salvage", "top.logdb", "-o", "/dev/null").returncode, 0)
        self.assertEqual(os.stat("/dev/null").st_rdev, device)
        done = self.run_command("salvage", "top.logdb", "-o", "/dev/stdout")
        self.assertEqual(done.stdout, (self.folder / "top.logdb").read_bytes())
        os.mkfifo(self.folder / "fifo")
        done = self.bash("cat fifo & logdb salvage top.logdb -o fifo; wait")
        self.assertEqual(done.stdout, (self.folder / "top.logdb").read_bytes())

    def test_a_full_device_is_told(self):
        if os.path.exists("/dev/full"):
            done = self.run_command("salvage", "top.logdb", "-o", "/dev/full")
            self.assertEqual((done.returncode, done.stderr), (4, b"logdb: /dev/full: No space left on device\n"))

    def test_no_file_gets_the_number_of_a_closed_stream(self):
        done = self.bash("logdb split --by kind top.logdb -d parts >&-")
        self.assertEqual((done.returncode, done.stderr), (4, b"logdb: standard output: Bad file descriptor\n"))
        done = self.bash("logdb salvage damaged.logdb -o saved.logdb 2>&-")
        self.assertEqual(done.returncode, 1)
        self.assertEqual((self.folder / "saved.logdb").read_bytes(),
                         self.run_command("salvage", "damaged.logdb").stdout)
        self.assertEqual(self.bash("logdb show - <&-").returncode, 3)

    def test_a_signal_leaves_no_temporary_file(self):
        def heed_signals():
            # Who runs the tests in the background may have them ignored.
            for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
                signal.signal(number, signal.SIG_DFL)

        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = subprocess.Popen(["logdb", "salvage", "-", "-o", "whole.logdb"], cwd=self.folder,
                                       env=self.environment, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                       preexec_fn=heed_signals)
            self.addCleanup(process.stdin.close)
            self.addCleanup(process.kill)
            process.stdin.write(b"v1\n" + b"FSYN_LOG_FILE,top.fsyn,\n" * 20000)
            process.stdin.flush()
            begin = time.monotonic()
            while not list(self.folder.glob("whole*")) and time.monotonic() - begin < 30:
                time.sleep(0.01)
            self.assertEqual(len(list(self.folder.glob("whole*"))), 1)
            process.send_signal(number)
            self.assertEqual(process.wait(timeout=30), -number)
            self.assertEqual(list(self.folder.glob("whole*")), [])

    def test_what_can_be_unpacked_of_a_cut_file_is_salvaged(self):
        lines = b"".join(b"FSYN_LOG_FILE,%d.fsyn,\n" % number for number in range(40000))
        (self.folder / "cut.logdb.gz").write_bytes(gzip.compress(b"v1\n" + lines)[:-20])
        done = self.run_command("salvage", "cut.logdb.gz")
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"cut.logdb.gz: cannot be unpacked", done.stderr)
        saved = done.stdout.splitlines(True)[1:]
        self.assertGreater(len(saved), 30000)
        self.assertTrue(lines.startswith(b"".join(saved)))

    def test_memory_does_not_grow_with_what_is_no_log(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_DATA, (48 << 20, 48 << 20))

        for piece in (b"x", b"\n", b" "):
            log = self.folder / "large.fsyn"
            with log.open("wb") as file:
                for _ in range(100):
                    file.write(piece * (1 << 20))
                file.write(b"\nPHYSICAL_SYNTHESIS_SET_USER_LCELL\na\nPHYSICAL_SYNTHESIS_END_OF_LOG\n")
            for arguments in (["stats", "--json"], ["show", "--json"], ["check", "--json"]):
                done = self.run_command(*arguments, "--as", "fsyn", log, preexec_fn=None if is_sanitized() else limit)
                self.assertIn(done.returncode, (0, 1), (arguments, piece, done.stderr))
                if arguments[0] == "stats":
                    self.assertEqual(json.loads(done.stdout)["items"], 2)

    def test_logs_are_counted_as_they_were_made(self):
        # LOGDB_BENCH_DATA, as for the benchmarks, is a folder with logs of real designs and their counts.
        made = [(self.folder / "new.logdb", {"REGISTER_PACKING": 3, "RAM_PACKING": 1, "FSYN_LOG_FILE": 1,
                                             "DSP_BALANCING_IMPLEMENTATION": 1, "IO_RULES_SUMMARY": 1,
                                             "IO_RULES_MATRIX": 1})]
        for path in sorted(pathlib.Path(os.environ.get("LOGDB_BENCH_DATA", self.folder)).glob("*.counts.json")):
            counts = json.loads(path.read_text())
            name = str(path).removesuffix(".counts.json")
            made += [(name + ".logdb.gz", counts["kinds"]), (name + ".fsyn.gz", counts["fsyn"]["kinds"])]
        for log, kinds in made:
            self.assertEqual(json.loads(self.run_command("stats", "--json", log).stdout)["kinds"], kinds, log)
            self.assertEqual(self.run_command("check", log).returncode, 0, log)
            with tempfile.TemporaryDirectory() as folder:
                text = pathlib.Path(folder) / "converted.json"
                self.run_command("convert", log, "-o", text)
                self.assertEqual(self.run_command("convert", text).stdout, self.run_command("salvage", log).stdout)

    def test_gzip_written_by_others_is_read_and_damage_is_told(self):
        data = gzip.compress((self.folder / "top.logdb").read_bytes())
        (self.folder / "cut.logdb.gz").write_bytes(data[:len(data) // 2])
        done = self.run_command("check", "cut.logdb.gz")
        self.assertEqual(done.returncode, 3)
        self.assertIn(b"cut.logdb.gz: cannot be unpacked", done.stderr)


def text_of_sample(text):
    """The bytes of a text in a sample's .expected file."""
    if isinstance(text, str):
        return text.encode("latin-1")
    if isinstance(text, dict):
        return text_of_sample(text["repeat"]) * text["times"]
    return b"".join(map(text_of_sample, text))


def bytes_of_json(text):
    """The bytes that a string in the command's JSON stands for."""
    return b"".join(bytes([ord(character) & 0xff]) if "\uef80" <= character <= "\uefff" else character.encode()
                    for character in text)


def plain(value):
    """A member of a record in the command's JSON, with strings as bytes."""
    if isinstance(value, str):
        return bytes_of_json(value)
    if isinstance(value, list):
        return [plain(element) for element in value]
    if isinstance(value, dict):
        return {int(slot): plain(name) for slot, name in value.items()}
    return value


def expected_member(name, value):
    """The same of a record in a sample's .expected file."""
    if name == "m_lut_mask":
        return b"0x%016x" % int(value, 16)
    if name == "m_lut_mode":
        return [b"NORMAL", b"SUM", b"CARRY"][value]
    if name == "m_port_sources":
        names = map(text_of_sample, value)
        return {slot: source for slot, source in enumerate(names) if source != b"UNCHANGED"}
    if name in LISTS:
        return [element if isinstance(element, int) else text_of_sample(element) for element in value]
    return value if isinstance(value, int) else text_of_sample(value)


LISTS = ("m_deleted_names", "m_ram_source_names", "m_ram_port_types", "m_ram_port_indices", "m_input_port_names",
         "m_input_port_types", "m_output_port_names", "m_output_port_types")
NOTHING = (0, b"", [], {}, b"NORMAL", b"0x0000000000000000")


def texts_of(item):
    """The kind and the fields of an item in the command's JSON, as bytes."""
    texts = []
    for name, value in item.items():
        if name in ("number", "line", "phase"):
            continue
        values = value.values() if isinstance(value, dict) else value if isinstance(value, list) else [value]
        texts += [bytes_of_json(str(each)) for each in values]
    return texts


def is_sanitized():
    with open(PROGRAM, "rb") as file:
        return b"__asan_init" in file.read()


if __name__ == "__main__":
    unittest.main()
