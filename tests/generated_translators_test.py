#!/usr/bin/env python3
"""The translators in h/ are, byte for byte, what scripts/generate_translators.py writes."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent


class GeneratedTranslatorsTest(unittest.TestCase):
    def test_regenerating_changes_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            script = ROOT / "scripts" / "generate_translators.py"
            subprocess.run([sys.executable, str(script), "--out", folder], check=True)
            generated = {path.name: path.read_bytes() for path in pathlib.Path(folder).iterdir()}
        checked_in = {path.name: path.read_bytes() for path in (ROOT / "h").glob("*_auto.*")}
        self.assertEqual(sorted(generated), sorted(checked_in))
        self.assertEqual(len(checked_in), 4)
        for name, text in checked_in.items():
            self.assertEqual(text, generated[name], f"h/{name}: run scripts/generate_translators.py")


if __name__ == "__main__":
    unittest.main()
