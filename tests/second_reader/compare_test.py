"""Tests the comparison: a stand-in for the library answers as the second reader does, but for one planted fault."""

import contextlib
import io
import pathlib
import re
import sys
import tempfile
import unittest
from unittest import mock

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import compare
import generate
import logdb_formats as formats

STAND_IN = """#!{python}
import json, os, signal, sys, time
sys.dont_write_bytecode = True
sys.path.insert(0, {here!r})
import compare, generate, logdb_formats as formats

def data_of(path):
    if os.path.isdir(path):
        return formats.UNREADABLE
    if not os.path.exists(path):
        return None
    with open(path, "rb") as file:
        return file.read()

for line in sys.stdin.buffer.read().split(b"\\n")[:-1]:
    kind, path, *root = line.split(b"\\t")
    case = generate.Case("", 0, "", data_of(path), "", [])
    question = compare.Question(case, kind.decode(), root[0] if root else None, os.path.basename(path).decode())
    answer = compare.own_answer(question)
    text = None
{fault}
    # Nothing is flushed before the end, as in a program that dies with its answers in a buffer.
    sys.stdout.write((text or json.dumps(answer)) + "\\n")
"""


class Comparison(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.keep = self.folder / "kept"

    def compare(self, fault="    pass", count=60, options=()):
        """Runs the comparison with a stand-in that has the fault; gives the exit status and what is printed."""
        program = self.folder / "stand_in.py"
        program.write_text(STAND_IN.format(python=sys.executable, here=str(HERE), fault=fault))
        program.chmod(0o755)
        arguments = ["compare.py", str(program), "--count", str(count), "--keep", str(self.keep), *options]
        printed = io.StringIO()
        with mock.patch.object(sys, "argv", arguments), contextlib.redirect_stdout(printed):
            return compare.main(), printed.getvalue()

    @staticmethod
    def questions(count=60):
        return [question for number in range(count)
                for question in compare.questions_of(generate.case("1", number), plain_commits=False)]

    def first_number(self, kind, wanted):
        """The number of the first case with such an answer, and the name of its question."""
        return next((question.case.number, question.name) for question in self.questions()
                    if question.kind == kind and wanted(compare.own_answer(question)))

    def test_equal_answers_are_no_difference_and_all_are_counted(self):
        status, printed = self.compare()
        self.assertEqual(0, status, printed)
        number = len(self.questions())
        self.assertRegex(printed, r"\Acompared 60 files, %d answers, in .*: 0 differences\n\Z" % number)
        self.assertFalse(self.keep.exists())

    def test_commits_without_a_root_are_asked_for_on_demand(self):
        fault = """
    if kind == b"write" and not root:
        answer["bytes"] = "" """
        self.assertEqual(0, self.compare(fault, count=20)[0])
        self.assertEqual(1, self.compare(fault, count=20, options=["--plain-commits"])[0])

    def test_small_batches_ask_the_same(self):
        _, in_one = self.compare()
        _, in_many = self.compare(options=["--batch", "7"])
        answers = re.compile(r"(\d+) answers")
        self.assertEqual(answers.search(in_one).group(), answers.search(in_many).group())

    def test_one_wrong_field_is_found_and_its_file_kept(self):
        number, name = self.first_number(
            "log", lambda answer: any("m_value" in record for record in answer["records"]))
        status, printed = self.compare("""
    if question.name == %r:
        next(record for record in answer["records"] if "m_value" in record)["m_value"] += 1""" % name)
        self.assertEqual(1, status)
        self.assertEqual(1, printed.count("DIFFERENCE"))
        self.assertIn("seed 1, number %d " % number, printed)
        self.assertRegex(printed, r"answer\.records\[\d+\]\.m_value\n"
                                  r"      second reader: (-?\d+)\n      library:       (-?\d+)\n")
        self.assertEqual(generate.case("1", number).data, (self.keep / ("1-%d.fsyn" % number)).read_bytes())

    def test_a_report_too_many_and_one_too_few_are_found(self):
        for fault in ("answer['reports'].append('x')", "answer['reports'] = answer['reports'][1:]"):
            with self.subTest(fault=fault):
                number, name = self.first_number("copy", lambda answer: len(answer["reports"]) == 1)
                status, printed = self.compare("""
    if question.name == %r:
        %s""" % (name, fault))
                self.assertEqual(1, status)
                self.assertEqual(1, printed.count("DIFFERENCE: seed 1, number %d " % number))

    def test_a_number_in_place_of_a_truth_is_found(self):
        status, printed = self.compare("""
    if kind == b"database":
        answer["ok"] = int(answer["ok"])""", count=10)
        self.assertEqual(1, status)
        self.assertIn("answer.ok", printed)

    def test_a_missing_member_and_a_line_that_is_no_json_are_found(self):
        _, printed = self.compare("""
    if kind == b"log":
        del answer["messages"]
    if kind == b"partition":
        text = "{"
""", count=10)
        self.assertIn("only the second reader has the member messages", printed)
        self.assertIn("the answer is no JSON", printed)

    def test_the_question_at_which_the_program_dies_is_named_and_the_others_are_compared(self):
        number, name = self.first_number("copy", lambda answer: True)
        status, printed = self.compare("""
    if question.name == %r:
        os.kill(os.getpid(), signal.SIGKILL)""" % name)
        self.assertEqual(1, status)
        self.assertEqual(1, printed.count("DIFFERENCE"), printed)
        self.assertIn("seed 1, number %d " % number, printed)
        self.assertIn("no answer: the program ended with status -9", printed)

    def test_a_program_that_hangs_is_ended(self):
        # A case with one question, as each further one may cost another wait.
        number = next(number for number in range(1000) if len(generate.case("1", number).questions) == 1)
        options = ["--first", str(number), "--timeout", "2"]
        status, printed = self.compare("    time.sleep(60)", count=1, options=options)
        self.assertEqual(1, status)
        self.assertIn("no answer: the program gave no answer in time", printed)

    def test_a_program_that_never_answers_is_given_up(self):
        with mock.patch.object(compare.Asker, "MOST_RUNS", 10):
            status, printed = self.compare("    os._exit(1)", count=20)
        self.assertEqual(1, status)
        self.assertIn("the program failed too often", printed)
        self.assertIn("%d differences" % len(self.questions(20)), printed)

    def test_a_program_that_fails_only_sometimes_is_complained_of(self):
        status, printed = self.compare("""
    if not os.path.exists(%r):
        open(%r, "w").close()
        os._exit(1)""" % ((str(self.folder / "failed"),) * 2), count=10)
        self.assertEqual(1, status)
        self.assertIn("all is well when the questions are asked in parts", printed)
        self.assertIn(": 1 differences", printed)

    def test_a_bad_exit_status_and_an_answer_too_many_are_found(self):
        for fault, complaint in (("import atexit; atexit.register(lambda: (sys.stdout.flush(), os._exit(3)))",
                                  "status 3, behind all answers"),
                                 ("question.name == '0-0.logdb' and print('{}')", "answers to")):
            with self.subTest(fault=fault):
                if "0-0" in fault:
                    fault = fault.replace("0-0.logdb", self.questions(1)[0].name)
                status, printed = self.compare("    " + fault, count=5)
                self.assertEqual(1, status)
                self.assertIn(complaint, printed)

    def test_a_program_that_writes_to_its_files_disturbs_no_other_question(self):
        status, printed = self.compare("""
    if os.path.isfile(path):
        with open(path, "wb") as file:
            file.write(b"v1\\nIO_RULES,overwritten,\\n")""")
        self.assertEqual(0, status, printed)


class Generator(unittest.TestCase):
    def test_the_same_seed_and_number_make_the_same_case(self):
        for number in range(200):
            first, second = generate.case("7", number), generate.case("7", number)
            self.assertEqual((first.data, first.suffix, first.shape, first.questions),
                             (second.data, second.suffix, second.shape, second.questions))

    def test_another_seed_makes_other_cases(self):
        self.assertNotEqual([generate.case("1", number).data for number in range(20)],
                            [generate.case("2", number).data for number in range(20)])

    def test_no_log_with_an_instance_name_is_copied(self):
        logs = [generate.case("1", number) for number in range(1500)]
        with_names = [case for case in logs if case.suffix == ".fsyn" and isinstance(case.data, bytes)
                      and any(kind == "SET_INSTANCE_NAME" for kind, _ in formats.read_log(case.data)[0])]
        self.assertTrue(with_names)
        for case in with_names:
            self.assertEqual([("log", None)], case.questions)

    def test_an_instance_name_behind_a_step_that_gives_nothing_counts(self):
        keyword = b"PHYSICAL_SYNTHESIS_SET_INSTANCE_NAME"
        self.assertTrue(generate.has_instance_name(b"LOGDB_FSYN_EOF " + keyword + b" a 1 b"))
        self.assertFalse(generate.has_instance_name(b"PHYSICAL_SYNTHESIS_SET_USER_LCELL " + keyword))

    def test_files_cover_all_kinds_all_reports_and_both_sides_of_the_limits(self):
        kinds, entry_kinds, reports, line_lengths, word_lengths = set(), set(), set(), set(), set()
        questions = (question for number in range(3000)
                     for question in compare.questions_of(generate.case("1", number), plain_commits=True))
        for question in questions:
            data = question.case.data
            answer = compare.own_answer(question)
            reports.update(report[:40] for report in answer["reports"])
            kinds.update(record["kind"] for record in answer.get("records", []))
            entry_kinds.update(kind for kind, _ in answer.get("entries", []))
            if question.kind == "database" and isinstance(data, bytes):
                line_lengths.update(map(len, data.split(b"\n")))
            if question.kind == "log" and isinstance(data, bytes):
                word_lengths.update(map(len, data.split(b"\0", 1)[0].split()))
        self.assertEqual(set(formats.LINES), kinds)
        self.assertEqual(set(range(-1, 8)), entry_kinds)
        self.assertLessEqual({32766, 32767, 32768, 32769}, line_lengths)
        self.assertLessEqual({4095, 4096, 4097, 4098}, word_lengths)
        for begin in ("Detected node ", "The calling function", "Failed reading log-db file",
                      "Unrecognized line in the log", "Unrecognized lutmask type",
                      "((LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN"):
            self.assertTrue(any(report.startswith(begin) for report in reports), begin)


if __name__ == "__main__":
    unittest.main()
