#!/usr/bin/env python3
"""The version is in CMakeLists.txt; what has to repeat it, says the same."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def read(name):
    return (ROOT / name).read_text(encoding="utf-8")


class VersionTest(unittest.TestCase):
    def setUp(self):
        self.m_version = re.search(r"^project\(logdb VERSION (\d+\.\d+\.\d+) ", read("CMakeLists.txt"), re.MULTILINE).group(1)

    def test_the_debian_packages_have_the_version(self):
        self.assertTrue(read("debian/changelog").startswith(f"logdb ({self.m_version}-"), "debian/changelog")

    def test_the_debian_packages_are_named_after_the_major_version(self):
        major = self.m_version.split(".")[0]
        packages = re.findall(r"^Package: (.*)$", read("debian/control"), re.MULTILINE)
        self.assertIn(f"liblogdb{major}", packages)
        self.assertIn(f"liblogdb-host{major}", packages)

    def test_the_changes_are_those_of_the_version_or_not_released_yet(self):
        heading = re.search(r"^## (.*)$", read("CHANGELOG.md"), re.MULTILINE).group(1)
        self.assertTrue(heading == "Unreleased" or heading.startswith(self.m_version), heading)


if __name__ == "__main__":
    unittest.main()
