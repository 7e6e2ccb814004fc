#!/usr/bin/env python3
"""The comparison of listings finds what is wrong, and mends it when it is asked to."""

import pathlib
import tempfile
import unittest

import listings

DOCUMENT = """# Title

<!-- file a.txt -->
```cpp
one
two
```

Words.

<!-- part of a.txt -->
```
two
```
"""


class ListingsTest(unittest.TestCase):
    def faults(self, document, files, update=False):
        """The faults of a document, and the document afterwards."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in {"document.md": document, **files}.items():
                (root / name).write_text(text, encoding="utf-8")
            faults = listings.compare("document.md", None, root, update)
            return faults, (root / "document.md").read_text(encoding="utf-8")

    def test_listings_that_are_right_pass(self):
        self.assertEqual(self.faults(DOCUMENT, {"a.txt": "one\ntwo\n"}), ([], DOCUMENT))

    def test_a_part_may_stand_deeper_in_its_file(self):
        self.assertEqual(self.faults("<!-- part of a.txt -->\n```\ntwo\n   x\n```\n", {"a.txt": "one\n  two\n     x\n"})[0], [])

    def test_a_listing_of_another_text_is_a_fault(self):
        self.assertEqual(len(self.faults(DOCUMENT, {"a.txt": "one\n2\n"})[0]), 2)
        self.assertEqual(len(self.faults(DOCUMENT, {"a.txt": "one\ntwo\nthree\n"})[0]), 1)

    def test_a_listing_without_a_sort_is_a_fault(self):
        self.assertEqual(len(self.faults("```\nx\n```\n", {})[0]), 1)
        self.assertEqual(len(self.faults("<!-- something else -->\n```\nx\n```\n", {})[0]), 1)

    def test_a_listing_without_fences_is_a_fault(self):
        self.assertEqual(len(self.faults("Words:\n\n    code\n    more\n", {})[0]), 1)
        self.assertEqual(self.faults("- words\n    that go on\n", {})[0], [])

    def test_commands_name_the_test_that_runs_them(self):
        self.assertEqual(self.faults("<!-- run by a.txt -->\n```\nx\n```\n", {"a.txt": ""})[0], [])
        self.assertEqual(len(self.faults("<!-- run by b.txt -->\n```\nx\n```\n", {"a.txt": ""})[0]), 1)

    def test_update_puts_the_present_text_in(self):
        wrong = DOCUMENT.replace("one\ntwo\n", "old\n")
        self.assertEqual(self.faults(wrong, {"a.txt": "one\ntwo\n"}, update=True)[1], DOCUMENT)

    def test_programs_are_run_in_order_and_leave_files(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in {"write": "echo text >file", "say": "cat file; false"}.items():
                (root / name).write_text(f"#!/bin/sh\n{text}\n", encoding="utf-8")
                (root / name).chmod(0o755)
            programs = listings.Programs(root, root)
            self.assertEqual(programs.contents("file"), "no program has left file\n")
            self.assertEqual(programs.run("write"), "")
            self.assertEqual(programs.contents("file"), "text\n")
            self.assertEqual(programs.run("say"), "say ended with 1: text\n")


if __name__ == "__main__":
    unittest.main()
