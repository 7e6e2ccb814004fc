#!/usr/bin/env python3
"""Compares docs/messages.md with the texts that the sources report and print, both ways."""

import pathlib
import re
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("h", "db/logdb")

REPORT, MESSAGE = "Report", "Message"
# What says something to the host, and which of its arguments is the text.
CALLS = {
    "LOGDB_REPORT": REPORT,
    "LOGDB_HOLDS": REPORT,
    "MSG_INTERNAL_ERROR::report": REPORT,
    "logdb_msg_debug": MESSAGE,
    "gen_sprintf": None,
}
# Texts that are put together first: the call that hands them on, and what the text is then.
HANDED_ON = {'"%s", text.c_str()': MESSAGE, "text.c_str()": REPORT}
CHAIN_CHECK = "LOGDB_FSYN_KIND<RECORD>::m_chain_check"

STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\'', re.DOTALL)
ENTRY = re.compile(r"^### `(.*)`$")
KIND = re.compile(r"^(Report|Message) of `([^`]+)`[.,]")


def without_comments(text):
    return TOKEN.sub(lambda match: " " if match.group().startswith("/") else match.group(), text)


def argument_text(text, begin):
    """The text between a parenthesis and the one that closes it, white space outside literals as one blank."""
    depth, position, parts = 1, begin, []
    while True:
        token = TOKEN.match(text, position)
        part = token.group() if token is not None else text[position]
        depth += {"(": 1, ")": -1}.get(part, 0)
        if depth == 0:
            return "".join(parts).strip()
        position += len(part)
        if not part.isspace():
            parts.append(part)
        elif parts and parts[-1] != " ":
            parts.append(" ")


def literal(text):
    """The value of string literals that stand side by side at the start of a text; None for anything else."""
    parts, position = [], 0
    while True:
        match = STRING.match(text, position)
        if match is None:
            break
        parts.append(match.group(1))
        position = match.end()
        while position < len(text) and text[position] == " ":
            position += 1
    rest = text[position:]
    if not parts or (rest and not rest.startswith(",")):
        return None
    return "".join(parts).encode("ascii").decode("unicode_escape")


def chain_checks(root):
    """The condition that is reported of a delay chain, one text for each kind that is checked."""
    description = without_comments((root / "db/logdb/logdb_fsyn_database.h").read_text(encoding="utf-8"))
    checked = set()
    for layout, body in re.findall(r"static void (\w+)\(IO& \w+, RECORD& record\) \{(.*?)\n   \}", description, re.DOTALL):
        if "pad_to_core(record)" in body:
            checked.add(layout)
    template = re.search(r'm_chain_check =[\s\\]*"([^"]*)" #suffix "([^"]*)"', description)
    rows = re.findall(r"^LOGDB_FSYN_RECORD\(\d+, (\w+), (\w+), \w+\)$",
                      (root / "db/logdb/logdb_fsyn_record_kinds.inc").read_text(encoding="utf-8"), re.MULTILINE)
    return {template.group(1) + suffix + template.group(2) for suffix, layout in rows if layout in checked}


def source_texts(root):
    """What the sources say: (kind, source name, text); and the calls whose text cannot be told."""
    texts, unknown = set(), []
    paths = sorted(path for folder in FOLDERS for path in (root / folder).iterdir()
                   if path.suffix in {".h", ".cpp", ".inc"})
    for path in paths:
        text = without_comments(path.read_text(encoding="utf-8"))
        text = re.sub(r"^\s*#\s*define LOGDB_(REPORT|HOLDS)\b.*$", "", text, flags=re.MULTILINE)
        own_name = re.search(r'#define LOGDB_SOURCE_FILE "([^"]+)"', text)
        name = own_name.group(1) if own_name else None
        put_together, handed_on = set(), set()
        for call in re.finditer(r"(?<![\w:])(" + "|".join(CALLS) + r")\(", text):
            kind = CALLS[call.group(1)]
            argument = argument_text(text, call.end())
            if argument.startswith(("const char* ", "MEM_STRING* ")):
                continue  # a declaration
            if call.group(1) == "LOGDB_HOLDS":
                texts.add((kind, name, argument))
            elif call.group(1) == "gen_sprintf":
                put_together.add(literal(argument.split(", ", 1)[1]))
            elif argument in HANDED_ON:
                handed_on.add(HANDED_ON[argument])
            elif argument == CHAIN_CHECK:
                texts.update((kind, name, check) for check in chain_checks(root))
            elif literal(argument) is None:
                unknown.append(f"{path.name}: {call.group(1)}({argument})")
            elif call.group(1) == "MSG_INTERNAL_ERROR::report":
                texts.add((kind, re.search(r'"LOGDB", "([^"]+)"', argument).group(1), literal(argument)))
            else:
                texts.add((kind, name, literal(argument)))
        # A text that is put together is told apart by how it goes on: a report is a sentence.
        for built in put_together:
            kind = REPORT if built.endswith(".") else MESSAGE
            if kind not in handed_on:
                unknown.append(f"{path.name}: nobody is told {built!r}")
            texts.add((kind, name, built))
    return texts, unknown


def documented_texts(lines):
    """What the document describes, and what is wrong with it."""
    texts, faults = [], []
    heading, body = None, []

    def finish():
        if heading is None:
            return
        kind = KIND.match(body[0]) if body else None
        if kind is None:
            faults.append(f"{heading}: who says it?")
        else:
            texts.append((kind.group(1), kind.group(2), heading))
        for label in ("- Cause: ", "- Remedy: "):
            if sum(line.startswith(label) and len(line) > len(label) for line in body) != 1:
                faults.append(f"{heading}: one line should begin with '{label}'")

    for line in [*lines, "#"]:
        entry = ENTRY.match(line)
        if entry is not None or line.startswith("#"):
            finish()
            heading, body = entry.group(1) if entry else None, []
        elif line:
            body.append(line)
    faults += [f"twice: {text}" for text in sorted(set(texts)) if texts.count(text) > 1]
    return set(texts), faults


class MessagesTest(unittest.TestCase):
    def sources(self, text):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name in FOLDERS:
                (root / name).mkdir(parents=True)
            (root / "db/logdb/a.cpp").write_text('#define LOGDB_SOURCE_FILE "a"\n' + text, encoding="utf-8")
            return source_texts(root)

    def test_the_text_of_every_call_can_be_told(self):
        self.assertEqual(source_texts(ROOT)[1], [])

    def test_the_document_describes_what_the_sources_say_and_nothing_else(self):
        said = source_texts(ROOT)[0]
        described, faults = documented_texts((ROOT / "docs/messages.md").read_text(encoding="utf-8").splitlines())
        self.assertEqual(faults, [])
        self.assertEqual(sorted(said - described), [], "these are not in docs/messages.md")
        self.assertEqual(sorted(described - said), [], "the sources do not say these")
        self.assertGreater(len(said), 30)

    def test_texts_are_found_in_every_form(self):
        self.assertEqual(self.sources('void f() { LOGDB_REPORT("a, (b"\n "c"); } // LOGDB_REPORT("no")'),
                         ({(REPORT, "a", "a, (bc")}, []))
        self.assertEqual(self.sources("return LOGDB_HOLDS(f(a) != 0 &&\n   b);"),
                         ({(REPORT, "a", "f(a) != 0 && b")}, []))
        self.assertEqual(self.sources('logdb_msg_debug("x %d", 1);'), ({(MESSAGE, "a", "x %d")}, []))
        self.assertEqual(self.sources('MSG_INTERNAL_ERROR::report("y", "LOGDB", "b", __LINE__);'),
                         ({(REPORT, "b", "y")}, []))
        self.assertEqual(self.sources('gen_sprintf(&text, "z %s.", "q"); LOGDB_REPORT(text.c_str());'),
                         ({(REPORT, "a", "z %s.")}, []))

    def test_a_text_that_cannot_be_told_is_a_fault(self):
        self.assertEqual(self.sources("LOGDB_REPORT(some_text);")[1], ["a.cpp: LOGDB_REPORT(some_text)"])
        self.assertEqual(len(self.sources('gen_sprintf(&text, "z %s.", "q");')[1]), 1)

    def test_an_entry_without_cause_or_remedy_is_a_fault(self):
        good = ["### `x`", "", "Report of `a`.", "", "- Cause: b", "- Remedy: c"]
        self.assertEqual(documented_texts(good), ({(REPORT, "a", "x")}, []))
        self.assertEqual(len(documented_texts(good[:-1])[1]), 1)
        self.assertEqual(len(documented_texts(good[:2] + good[4:])[1]), 1)
        self.assertEqual(len(documented_texts(good + good)[1]), 1)


if __name__ == "__main__":
    unittest.main()
