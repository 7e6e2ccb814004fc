#!/usr/bin/env python3
"""Compares the library with the second reader and writer on generated files.

   compare.py DUMP_PROGRAM [--count N] [--seed S] [--first N] [--keep FOLDER] [--show N] [--batch N]
              [--timeout SECONDS] [--plain-commits]

DUMP_PROGRAM reads questions from its standard input, one a line, KIND<TAB>PATH[<TAB>ROOT], and answers each with
one line of JSON, in which a character stands for a byte. The kinds of question and the members of their answers:

   database   load the file                              ok, entries, reports
   partition  load it under ROOT                         ok, entries, reports
   write      load it, then commit it under ROOT         ok, entries, reports, bytes
   log        read all records up to the first step      records, reports, messages (how many tell of a cut list)
              that gives nothing
   copy       append its records to an empty log         reports, bytes

With --plain-commits, `write` is also asked without ROOT, and then means a commit without a partition, which is
not one under an empty ROOT. The exit status is 1 if any answer differs.
"""

import argparse
import itertools
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import generate
import logdb_formats as formats


class Question:
    def __init__(self, case, kind, root, name):
        self.case = case
        self.kind = kind
        self.root = root
        self.name = name


class NoAnswer:
    """Stands for an answer that did not come, and says why."""

    def __init__(self, why):
        self.why = why


# ------------------------------------------------------------------------------------------------------------
# Our own answers
# ------------------------------------------------------------------------------------------------------------

def for_json(value):
    """The value with strings in place of bytes."""
    if isinstance(value, bytes):
        return value.decode("latin-1")
    if isinstance(value, (list, tuple)):
        return [for_json(element) for element in value]
    if isinstance(value, dict):
        return {name: for_json(member) for name, member in value.items()}
    return value


def own_answer(question):
    data, root = question.case.data, question.root
    if question.kind in ("database", "partition", "write"):
        ok, entries, reports = formats.load_database(data, root if question.kind == "partition" else None)
        answer = {"ok": ok, "entries": entries, "reports": reports}
        if question.kind == "write":
            answer["bytes"], write_reports = formats.write_database(entries, root)
            answer["reports"] = reports + write_reports
        return for_json(answer)
    # A log that does not exist or cannot be read has no words.
    data = data if isinstance(data, bytes) else b""
    if question.kind == "log":
        records, reports, messages = formats.read_log(data)
        return for_json({"records": [{"kind": kind, **fields} for kind, fields in records], "reports": reports,
                         "messages": messages})
    written, reports = formats.copy_log(data)
    return for_json({"bytes": written, "reports": reports})


# ------------------------------------------------------------------------------------------------------------
# Asking the program
# ------------------------------------------------------------------------------------------------------------

def run(program, questions, timeout, meanwhile=None):
    """The answers to a beginning of the questions, as bytes, and why the others did not come, if so."""
    with tempfile.TemporaryDirectory(prefix="second-reader-") as folder:
        lines = []
        for question in questions:
            path = os.path.join(folder, question.name)
            question.case.put(path)
            lines.append(generate.question_line(question.kind, path, question.root))
        streams = {name: open(os.path.join(folder, "program-" + name), "w+b")
                   for name in ("stdin", "stdout", "stderr")}
        try:
            streams["stdin"].write(b"".join(lines))
            streams["stdin"].seek(0)
            process = subprocess.Popen([program], cwd=folder, **streams)
            why = None
            try:
                if meanwhile:
                    meanwhile()
                status = process.wait(timeout)
                if status != 0:
                    why = "the program ended with status %d" % status
            except subprocess.TimeoutExpired:
                why = "the program gave no answer in time"
            finally:
                process.kill()
                process.wait()
            streams["stdout"].seek(0)
            # What stands behind the last line end is an answer that was cut.
            answers = streams["stdout"].read().split(b"\n")[:-1]
            if len(answers) < len(questions):
                streams["stderr"].seek(0)
                why = (why or "the program ended early") + stderr_tail(streams["stderr"].read())
            elif len(answers) > len(questions):
                why = "the program gave %d answers to %d questions" % (len(answers), len(questions))
            return answers[:len(questions)], why
        finally:
            for stream in streams.values():
                stream.close()


def stderr_tail(text):
    return "; its last words: " + text[-600:].decode("latin-1") if text else ""


class Asker:
    """Gets an answer for each question, also from a program that dies or hangs at some of them.

    A run that ends early may have lost answers in a buffer, so the questions from there on are asked again in
    two halves, down to single ones. `complaints` holds what belongs to no question."""

    MOST_RUNS = 300

    def __init__(self, program, timeout):
        self.complaints = []
        self._program = program
        self._timeout = timeout
        self._runs = 0

    def ask(self, questions, meanwhile=None):
        return self._ask(questions, self._timeout, meanwhile)

    def _ask(self, questions, timeout, meanwhile=None):
        self._runs += 1
        if self._runs > self.MOST_RUNS:
            return [NoAnswer("not asked any more, the program failed too often")] * len(questions)
        answers, why = run(self._program, questions, timeout, meanwhile)
        missing = questions[len(answers):]
        if not missing:
            if why:
                self.complaints.append("%s, behind all answers of a run" % why)
            return answers
        if len(questions) == 1:
            return [NoAnswer(why)]
        half = (len(missing) + 1) // 2
        again = [answer for part in (missing[:half], missing[half:]) if part
                 for answer in self._ask(part, max(timeout / 2, min(timeout, 5)))]
        if not any(isinstance(answer, NoAnswer) for answer in again):
            self.complaints.append("%s, and all is well when the questions are asked in parts" % why)
        return answers + again


# ------------------------------------------------------------------------------------------------------------
# Comparing
# ------------------------------------------------------------------------------------------------------------

def shortened(value):
    text = json.dumps(value, sort_keys=True)
    return text if len(text) <= 240 else "%s ... %s (%d characters)" % (text[:150], text[-60:], len(text))


def first_difference(own, other, place="answer"):
    """Where two answers differ first, as text, or None."""
    if isinstance(own, dict) and isinstance(other, dict):
        for name in sorted(own.keys() | other.keys()):
            if name not in own or name not in other:
                side = "second reader" if name in own else "library"
                return "%s: only the %s has the member %s" % (place, side, name)
            difference = first_difference(own[name], other[name], "%s.%s" % (place, name))
            if difference:
                return difference
        return None
    if isinstance(own, list) and isinstance(other, list):
        for index, (left, right) in enumerate(itertools.zip_longest(own, other)):
            at = "%s[%d]" % (place, index)
            if index >= len(own) or index >= len(other):
                side, value = ("second reader", left) if index < len(own) else ("library", right)
                return "%s: only the %s has it: %s" % (at, side, shortened(value))
            difference = first_difference(left, right, at)
            if difference:
                return difference
        return None
    # True and 1 are equal in Python and are not in JSON.
    if type(own) is type(other) and own == other:
        return None
    where = ""
    if isinstance(own, str) and isinstance(other, str):
        where = ", from byte %d on" % len(os.path.commonprefix([own, other]))
    return "%s%s\n      second reader: %s\n      library:       %s" % (
        place, where, shortened(own), shortened(other))


def difference_of(own, answer):
    if isinstance(answer, NoAnswer):
        return "no answer: " + answer.why
    try:
        other = json.loads(answer)
    except ValueError as error:
        return "the answer is no JSON (%s): %s" % (error, shortened(answer.decode("latin-1")))
    return first_difference(own, other)


class Differences:
    """Prints the first ones and keeps the files of all of them."""

    def __init__(self, show, keep):
        self.number = 0
        self._show = show
        self._keep = keep

    def complain(self, text):
        self.number += 1
        print("DIFFERENCE: " + text)

    def add(self, question, text):
        self.number += 1
        saved = self._save(question.case)
        if self.number > self._show:
            return
        case = question.case
        under = "" if question.root is None else " under %r" % question.root
        print("DIFFERENCE: seed %s, number %d (%s): question `%s`%s" % (
            case.seed, case.number, case.shape, question.kind, under))
        print("   " + text)
        if isinstance(case.data, bytes):
            more = " ..." if len(case.data) > 300 else ""
            print("   file of %d bytes%s: %r%s" % (len(case.data), saved, case.data[:300], more))

    def _save(self, case):
        if self._keep is None or not isinstance(case.data, bytes):
            return ""
        self._keep.mkdir(parents=True, exist_ok=True)
        path = self._keep / ("%s-%d%s" % (case.seed, case.number, case.suffix))
        path.write_bytes(case.data)
        return ", kept as %s" % path


def questions_of(case, plain_commits):
    return [Question(case, kind, root, "%d-%d%s" % (case.number, index, case.suffix))
            for index, (kind, root) in enumerate(case.questions)
            if plain_commits or (kind, root) != ("write", None)]


def compare_batch(program, questions, timeout, differences):
    own = []
    asker = Asker(program, timeout)
    answers = asker.ask(questions, lambda: own.extend(map(own_answer, questions)))
    for complaint in asker.complaints:
        differences.complain(complaint)
    for question, expected, answer in zip(questions, own, answers, strict=True):
        text = difference_of(expected, answer)
        if text:
            differences.add(question, text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("dump_program", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=2000, help="number of files (%(default)s)")
    parser.add_argument("--seed", default="1", help="any text (%(default)s)")
    parser.add_argument("--first", type=int, default=0, help="number of the first file (%(default)s)")
    parser.add_argument("--keep", type=pathlib.Path, help="folder for the files on which answers differ")
    parser.add_argument("--show", type=int, default=10, help="differences to print (%(default)s)")
    parser.add_argument("--batch", type=int, default=1000, help="files for a run of the program (%(default)s)")
    parser.add_argument("--timeout", type=float, default=120, help="seconds for a run of it (%(default)s)")
    parser.add_argument("--plain-commits", action="store_true", help="ask `write` without ROOT too")
    arguments = parser.parse_args()

    program = arguments.dump_program.resolve()
    if not os.access(program, os.X_OK) or program.is_dir():
        parser.error("%s is no program" % program)
    differences = Differences(arguments.show, arguments.keep)
    begin = time.monotonic()
    answers = 0
    end = arguments.first + arguments.count
    for first in range(arguments.first, end, arguments.batch):
        numbers = range(first, min(first + arguments.batch, end))
        cases = [generate.case(arguments.seed, number) for number in numbers]
        questions = [question for case in cases for question in questions_of(case, arguments.plain_commits)]
        compare_batch(program, questions, arguments.timeout, differences)
        answers += len(questions)
    seconds = time.monotonic() - begin
    print("compared %d files, %d answers, in %.1f s (%.0f files a second): %d differences" % (
        arguments.count, answers, seconds, arguments.count / max(seconds, 0.001), differences.number))
    return 1 if differences.number or not answers else 0


if __name__ == "__main__":
    sys.exit(main())
