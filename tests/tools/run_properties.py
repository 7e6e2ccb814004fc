#!/usr/bin/env python3
"""What must hold for every log: checked over the samples, damaged ones among them, and random damage."""

import gzip
import json
import os
import pathlib
import random
import resource
import subprocess
import sys
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

    def test_the_quick_way_and_the_slow_one_agree(self):
        # What comes from a pipe is read once, item by item.
        for log in self.logs:
            kind = ["--as", log.suffix[1:]]
            for arguments in (["stats", "--json"], ["stats", "--json", "--by", "depth:2"], ["grep", "-c", "a"],
                              ["grep", "PACK"]):
                quick = self.run_command(*arguments, *kind, log)
                with log.open("rb") as file:
                    slow = subprocess.run(["logdb", *arguments, *kind, "-"], env=self.environment, stdin=file,
                                          capture_output=True, timeout=60)
                self.assertEqual((quick.returncode, quick.stdout), (slow.returncode, slow.stdout),
                                 (arguments, log.name))

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

    def test_an_output_that_cannot_be_written_is_told(self):
        self.assertEqual(self.run_command("convert", "top.logdb", "-o", "no/such/folder").returncode, 4)
        if os.path.exists("/dev/full"):
            with open("/dev/full", "wb") as full:
                done = subprocess.run(["logdb", "show", "top.logdb"], cwd=self.folder, env=self.environment,
                                      stdout=full, stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 4)

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


def is_sanitized():
    with open(PROGRAM, "rb") as file:
        return b"__asan_init" in file.read()


if __name__ == "__main__":
    unittest.main()
