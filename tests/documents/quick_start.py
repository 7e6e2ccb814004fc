#!/usr/bin/env python3
"""The commands of the README, as they stand there, take a new user from the sources to a program that has run."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import listings

ROOT = pathlib.Path(__file__).resolve().parents[2]


class QuickStartTest(unittest.TestCase):
    def test_the_commands_of_the_readme_build_and_run_its_program(self):
        readme = (ROOT / "README.md").read_text(encoding="utf-8")
        program = [listing.text for listing in listings.listings_of(readme) if "file examples" in listing.marker]
        commands, shown = [listing.text for listing in listings.listings_of(readme)
                           if listing.marker == "run by tests/documents/quick_start.py"]
        with tempfile.TemporaryDirectory() as folder:
            sources, home = pathlib.Path(folder) / "logdb", pathlib.Path(folder) / "home"
            shutil.copytree(ROOT, sources, ignore=shutil.ignore_patterns("build", ".git", "__pycache__"))
            home.mkdir()
            (sources / "program.cpp").write_text(program[0], encoding="utf-8")
            environment = {"HOME": str(home), "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"}
            done = subprocess.run(["sh", "-e", "-c", commands], cwd=sources, env=environment, check=False,
                                  encoding="utf-8", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertTrue(done.stdout.endswith("\n" + shown), done.stdout)
            self.assertTrue((home / "opt/logdb/lib/liblogdb.so.1").is_file())


if __name__ == "__main__":
    unittest.main()
