"""Runs every sample of docs/samples through the second reader and writer, and the small tables of the documents."""

import json
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import logdb_formats as formats

SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "docs" / "samples"
MARKERS = ("PRE_PLACEMENT_FLOW", "POST_PLACEMENT_FLOW", "END_OF_LOG_PRINT", "REVISION_NUMBER", "END_OF_LOG")
NOT_IN_THE_TEXT = ("m_tag", "m_delete_extra", "m_copy_extra")


def text_of(value):
    """A text of an expected file: a string, a repetition, or a list of texts."""
    if isinstance(value, str):
        return value.encode("latin-1")
    if isinstance(value, dict):
        return text_of(value["repeat"]) * value["times"]
    return b"".join(text_of(part) for part in value)


def entry_of(value):
    kinds = {debug_name.decode(): kind for kind, debug_name in formats.DEBUG_NAMES.items()}
    kind = value[0] if isinstance(value[0], int) else kinds[value[0]]
    return kind, [text_of(field) for field in value[1:]]


def root_of(value):
    return text_of(value["partition_root"]) if "partition_root" in value else None


def as_report(text):
    return b"report: " + text


def value_of(name, value):
    """A member of a record: lists hold names or numbers; a text may be a list too, but never of a list member."""
    if name == "m_lut_mask":
        return int(value, 16)
    if isinstance(value, int):
        return value
    if name in ("m_deleted_names", "m_port_sources") or name.endswith(("_names", "_types", "_indices")):
        return [element if isinstance(element, int) else text_of(element) for element in value]
    return text_of(value)


def record_of(value):
    return value["kind"], {name: value_of(name, member) for name, member in value.items() if name != "kind"}


def new_record(kind):
    """What a record of the kind has in the text, before anything is read."""
    if kind in MARKERS:
        return {"m_node_name": b"DUMMY_NAME"}
    names = formats.FIELDS.get(kind, ["m_node_name"])
    fields = {name: 0 if name in formats.NUMBER_FIELDS else b"" for name in names}
    if kind in formats.SLOTS:
        fields["m_port_sources"] = [b"UNCHANGED"] * formats.SLOTS[kind]
    fields.update({
        "DELETE_ATOM": {"m_deleted_names": []},
        "SET_LUTMASK": {"m_lut_mask": 0, "m_mask_option": 0, "m_lut_mode": 0},
        "ADD_REMOVE_CONNECTION_RAM": {"m_ram_port_types": [], "m_ram_port_indices": [], "m_ram_source_names": []},
        "STORE_NODE_INFO": {"m_node_type": 0, "m_lut_mask": 0, "m_input_port_types": [], "m_input_port_names": [],
                            "m_output_port_types": [], "m_output_port_names": []},
        "CONFIRM_CLKBUF": {"m_value": 0, "m_clkbuf_first_name": b"", "m_clkbuf_second_name": b"",
                           "m_enable_name": b""},
    }.get(kind, {}))
    return fields


class LogDatabaseSamples(unittest.TestCase):
    def check_load(self, data, load):
        ok, entries, messages = formats.read_database_with_messages(data)
        self.assertEqual((ok, entries), formats.read_database(data))
        loaded_ok, loaded, reports = formats.load_database(data, root_of(load))
        self.assertEqual(ok, loaded_ok)
        self.assertEqual([entry_of(entry) for entry in load["entries"]], loaded)
        events = messages + [as_report(text) for text in reports]
        self.assertEqual([text_of(event) for event in load["events"]], events)
        if "committed_again" in load:
            again, reports = formats.write_database(loaded)
            self.assertEqual(text_of(load["committed_again"]["bytes"]), again)
            self.check_commit_events(load["committed_again"], reports, loaded)

    def check_commit_events(self, commit, reports, entries):
        events = [as_report(text) for text in reports] + [b"Wrote log database with %d entries" % len(entries)]
        self.assertEqual([text_of(event) for event in commit["events"]], events)

    def check_commit(self, data, commit):
        entries = [entry_of(entry) for entry in commit["entries"]]
        written, reports = formats.write_database(entries, root_of(commit))
        self.assertEqual(data, written)
        self.check_commit_events(commit, reports, entries)

    def test_every_sample_reads_and_writes_as_expected(self):
        samples = sorted(SAMPLES.glob("*.logdb"))
        self.assertTrue(samples)
        loads = commits = 0
        for sample in samples:
            expected = json.loads(sample.with_name(sample.name + ".expected").read_text("utf-8"))
            self.assertTrue(expected["loads"], sample.name)
            for load in expected["loads"]:
                loads += 1
                with self.subTest(sample=sample.name, root=load.get("partition_root")):
                    self.check_load(sample.read_bytes(), load)
            for commit in expected.get("commits", []):
                commits += 1
                with self.subTest(sample=sample.name, commit_under=commit.get("partition_root")):
                    self.check_commit(sample.read_bytes(), commit)
        self.assertGreater(loads, 0)
        self.assertGreater(commits, 0)

    def test_a_text_is_cut_into_the_pieces_of_the_table(self):
        for text, kind, fields in ((b"", 0, []), (b"a", -1, []), (b"a,", -1, []), (b"a,,", -1, [b""]),
                                   (b",", -1, []), (b",a", -1, [b"a"]), (b"a,b,", -1, [b"b"]),
                                   (b"ram_packing,b", 2, [b"b"])):
            with self.subTest(text=text):
                self.assertEqual((kind, fields), formats.entry_of_text(text))

    def test_only_letters_of_one_alphabet_are_folded(self):
        self.assertEqual(6, formats.kind_by_name(b"iO_rULES"))
        self.assertEqual(-1, formats.kind_by_name(b"IO\x7fRULES"))
        self.assertEqual(-1, formats.kind_by_name("IO_RULE\u017f".encode()))

    def test_no_file_is_an_empty_database_and_a_directory_a_failure(self):
        self.assertEqual((True, [], []), formats.load_database(None, b"top"))
        self.assertEqual((False, [], [b"Failed reading log-db file"]), formats.load_database(formats.UNREADABLE))

    def test_a_report_about_a_node_ends_its_texts_at_a_zero_byte(self):
        written, reports = formats.write_database([(0, [b"g", b"a\0b"])], b"r\0s")
        self.assertEqual(b"v1\nDSP_BALANCING_IMPLEMENTATION,g,\n", written)
        self.assertEqual([b"Detected node a is not part of partition r."], reports)


class PhysicalSynthesisLogSamples(unittest.TestCase):
    def check_write(self, data, write):
        pieces = []
        events = []
        ended = False
        for value in write["records"]:
            record = record_of(value)
            pieces.append(formats.write_record(record))
            ended = formats.writing_stops_the_process(record)
            if ended:
                break
            events += [as_report(text) for text in formats.write_reports(record)]
        self.assertEqual(data, b"".join(pieces))
        self.assertEqual([text_of(event) for event in write["events"]], events)
        self.assertEqual(write.get("ends") == "trap", ended)

    def check_step(self, expected, step):
        if expected is None:
            self.assertIsNone(step)
            return
        kind, members = record_of(expected)
        self.assertIsNotNone(step)
        fields = {**new_record(kind), **members}
        if kind in MARKERS:
            self.assertEqual({"m_node_name": b"DUMMY_NAME"}, fields)
            fields = {}
        for name in NOT_IN_THE_TEXT:
            self.assertNotIn(name, fields)
        self.assertEqual((kind, fields), step)

    def check_read(self, data, read):
        reader = formats.LogReader(data)
        for expected in read["steps"]:
            self.check_step(expected, reader.step())
        self.assertIsNone(reader.step())
        events = [as_report(text) if event == "report" else text for event, text in reader.events]
        self.assertEqual([text_of(event) for event in read["events"]], events)

    def test_every_sample_reads_and_writes_as_expected(self):
        samples = sorted(SAMPLES.glob("*.fsyn"))
        self.assertTrue(samples)
        writes = 0
        for sample in samples:
            expected = json.loads(sample.with_name(sample.name + ".expected").read_text("utf-8"))
            with self.subTest(sample=sample.name):
                self.check_read(sample.read_bytes(), expected["reads"])
            for number, write in enumerate(expected.get("writes", [])):
                writes += 1
                with self.subTest(sample=sample.name, write=number):
                    self.check_write(sample.read_bytes(), write)
        self.assertGreater(writes, 0)

    def test_reading_until_nothing_agrees_with_the_steps(self):
        data = (SAMPLES / "p27-end-word-as-keyword.fsyn").read_bytes()
        records, reports, messages = formats.read_log(data)
        self.assertEqual([("SET_USER_LCELL", {"m_node_name": b"a"})], records)
        self.assertEqual(([], 0), (reports, messages))

    def test_a_written_log_of_all_kinds_is_copied_byte_by_byte(self):
        data = (SAMPLES / "all-kinds.fsyn").read_bytes()
        self.assertEqual((data, []), formats.copy_log(data))

    def test_numbers_of_the_text(self):
        for word, as_int, as_index, flag in (
                (b"4294967297", 1, 1, 1), (b"3000000000", -1294967296, 24064, 1),
                (b"99999999999999999999", -1, 65535, 1), (b"-99999999999999999999", 0, 0, 1),
                (b"-1", -1, 65535, 1), (b"70000", 70000, 4464, 1), (b"-0", 0, 0, 0)):
            with self.subTest(word=word):
                number = formats.decimal_of_word(word)
                self.assertEqual((as_int, as_index, flag),
                                 (formats.as_int(number), formats.as_index(number), formats.as_flag(number)))


class TheSampleFolder(unittest.TestCase):
    def test_every_sample_has_an_expected_file_and_no_expected_file_is_alone(self):
        samples = {path.name for pattern in ("*.logdb", "*.fsyn") for path in SAMPLES.glob(pattern)}
        expected = {path.name for path in SAMPLES.glob("*.expected")}
        self.assertEqual({name + ".expected" for name in samples}, expected)


if __name__ == "__main__":
    unittest.main()
