#!/usr/bin/env python3
"""Files and folders that the documents name are there, and scripts can be run."""

import os
import pathlib
import re
import unittest

import listings

ROOT = pathlib.Path(__file__).resolve().parents[2]
ROOMS = "|".join(("bench", "cmake", "db", "debian", "docs", "examples", "h", "host", "packaging", "scripts", "tests",
                  "tools", r"\.ci"))
PATH = re.compile(rf"^(?:(?:{ROOMS})/[\w.*/-]*|[A-Z]+(?:\.md)?|CMake\w+\.(?:txt|json))$")
SPAN = re.compile(r"`([^`\n]+)`")


def named_paths(text):
    """What stands in a code span and looks like a path; for a command with arguments, its first word."""
    text = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    words = [span.split(" ")[0] for span in SPAN.findall(text)]
    return sorted({word for word in words if PATH.match(word) and ("/" in word or "." in word)})


class PathsTest(unittest.TestCase):
    def test_every_path_in_the_documents_exists(self):
        missing = []
        for document in listings.DOCUMENTS:
            paths = named_paths((ROOT / document).read_text(encoding="utf-8"))
            # Reports name sources without their suffix.
            missing += [f"{document}: {path}" for path in paths
                        if not any(ROOT.glob(path.rstrip("/"))) and not any(ROOT.glob(path + ".*"))]
        self.assertEqual(missing, [])

    def test_every_command_in_the_documents_can_be_run(self):
        for document in listings.DOCUMENTS:
            for path in named_paths((ROOT / document).read_text(encoding="utf-8")):
                if re.match(r"^(scripts/\w+|\.ci/run)$", path):
                    self.assertTrue(os.access(ROOT / path, os.X_OK), f"{document}: {path}")

    def test_paths_are_found_and_other_words_are_not(self):
        text = "`docs/a.md`, `scripts/b c`, `h/*.h`, `README.md`, `m_type`, `LOGDB_HOLDS`, `a/b`\n```\n`docs/x`\n```\n"
        self.assertEqual(named_paths(text), ["README.md", "docs/a.md", "h/*.h", "scripts/b"])


if __name__ == "__main__":
    unittest.main()
