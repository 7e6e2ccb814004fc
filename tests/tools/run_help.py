#!/usr/bin/env python3
"""Runs the three examples of every command's help, looks at its form, and checks what is made from the same table."""

import re
import shutil
import subprocess
import sys
import unittest

import command

PROGRAM = sys.argv.pop(1)


def run(line, folder, environment, shell=False):
    return subprocess.run(line, cwd=folder, env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=60, shell=shell, executable="/bin/bash" if shell else None)


class HelpTest(unittest.TestCase):
    def setUp(self):
        self.context = command.folder_with_logs(PROGRAM)
        self.folder, self.environment = self.context.__enter__()
        overview = run(["logdb", "--help"], self.folder, self.environment).stdout
        self.commands = re.findall(r"^  ([a-z]+) +[A-Z]", overview, re.MULTILINE)

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def help_of(self, name):
        done = run(["logdb", name, "--help"], self.folder, self.environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""), name)
        return done.stdout

    def test_every_command_is_in_the_overview(self):
        self.assertEqual(self.commands, "show stats check diff grep blame summary rebase merge split salvage convert"
                                        " tail kinds completion".split())

    def test_every_help_has_a_synopsis_and_three_examples(self):
        for name in self.commands:
            text = self.help_of(name)
            self.assertIn(f"\nUsage: logdb {name} [OPTIONS]", text)
            self.assertEqual(len(re.findall(rf"^  logdb {name}\b", text, re.MULTILINE)), 3, name)
            self.assertTrue(all(len(line) <= 110 for line in text.splitlines()), name)

    def test_every_example_runs(self):
        for name in self.commands:
            for line in re.findall(rf"^  (logdb {name}\b.*)$", self.help_of(name), re.MULTILINE):
                # What follows a file is over when the file is.
                done = run(line, self.folder, self.environment, shell=True)
                self.assertIn(done.returncode, (0, 1), f"{line}: {done.stderr}")
                self.assertTrue(done.stdout or " -o " in line or name == "check", line)

    def test_man_pages_format_without_complaints(self):
        if shutil.which("groff") is None:
            self.skipTest("no groff on this machine")
        for name in [""] + self.commands:
            page = run(["logdb", "--manual"] + ([name] if name else []), self.folder, self.environment).stdout
            done = subprocess.run(["groff", "-man", "-Tascii", "-ww", "-z"], input=page, capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (0, ""), name)
            self.assertIn(".SH EXIT STATUS", page)

    def test_bash_completes_commands_and_options(self):
        script = run(["logdb", "completion", "bash"], self.folder, self.environment).stdout

        def complete(*words):
            line = (f"{script}\nCOMP_WORDS=(logdb {' '.join(words)}); COMP_CWORD={len(words)}; _logdb;"
                    " printf '%s ' \"${COMPREPLY[@]}\"")
            done = run(line, self.folder, self.environment, shell=True)
            self.assertEqual(done.stderr, "")
            return done.stdout.split()

        self.assertEqual(complete("s"), ["show", "stats", "summary", "split", "salvage"])
        self.assertEqual(complete("check", "--p"), ["--partition-root"])
        self.assertEqual(complete("completion", "z"), ["zsh"])

    def test_completions_name_every_command(self):
        for shell in ("bash", "zsh", "fish"):
            script = run(["logdb", "completion", shell], self.folder, self.environment).stdout
            for name in self.commands:
                self.assertIn(name, script)


if __name__ == "__main__":
    unittest.main()
