#!/usr/bin/env python3
"""Includes point one way: the host's interfaces at the bottom, the library above them, tools and tests on top."""

import pathlib
import re
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent

# What the sources of a folder may include, by the folder that holds the header. A folder stands for the ones below it
# as well, unless they have a line of their own.
HOST = ["host", "h/mem_alloc_sys.h"]
PUBLIC = ["h", "host", "host/standalone/host_standalone.h"]
EVERYTHING = ["h", "host", "host/standalone", "db/logdb"]
ALLOWED = {
    "host": HOST,
    "host/standalone": HOST + ["host/standalone"],
    "h": ["h", "host"],
    "db/logdb": ["db/logdb", "h", "host"],
    "tools/logdb": ["tools/logdb"] + EVERYTHING,
    "bindings": ["bindings"] + PUBLIC,
    "examples": ["examples"] + PUBLIC,
    "tests": ["tests", "examples"] + EVERYTHING + ["tools/logdb"],
    "fuzz": ["fuzz", "tests"] + EVERYTHING + ["tools/logdb"],
    "bench": ["bench"] + EVERYTHING + ["tools/logdb"],
}

# These stand on the standard library and the system alone; the others may use what they like from outside.
WITHOUT_THIRD_PARTIES = ["host", "host/standalone", "h", "db/logdb"]
SYSTEM_HEADERS = re.compile(
    r"c(assert|ctype|errno|inttypes|limits|locale|math|setjmp|signal|stdarg|stddef|stdint|stdio|stdlib|string|time|wchar)"
    r"|algorithm|any|array|atomic|barrier|bit|bitset|charconv|chrono|compare|concepts|condition_variable|coroutine|deque"
    r"|exception|execution|filesystem|forward_list|fstream|functional|future|initializer_list|iomanip|ios|iosfwd|iostream"
    r"|istream|iterator|latch|limits|list|locale|map|memory|memory_resource|mutex|new|numbers|numeric|optional|ostream|queue"
    r"|random|ranges|ratio|regex|scoped_allocator|semaphore|set|shared_mutex|source_location|span|sstream|stack|stdexcept"
    r"|stop_token|streambuf|string|string_view|syncstream|system_error|thread|tuple|type_traits|typeindex|typeinfo"
    r"|unordered_map|unordered_set|utility|valarray|variant|vector|version|cxxabi\.h"
    r"|(dirent|dlfcn|errno|fcntl|signal|stdio|string|strings|time|unistd)\.h|sys/[a-z]+\.h|linux/[a-z]+\.h"
    r"|[a-z]mmintrin\.h|sanitizer/[a-z]+_interface\.h"
)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
SOURCES = {".h", ".hpp", ".cpp", ".cc", ".inc"}


def room_of(path):
    """The longest folder of ALLOWED that holds a path."""
    rooms = [room for room in ALLOWED if path.startswith(room + "/")]
    return max(rooms, key=len) if rooms else None


def is_allowed(room, header):
    return header in ALLOWED[room] or room_of(header) in ALLOWED[room]


def forbidden_includes(root):
    """One line for each include of the tree that the table above does not allow."""
    sources = {}
    for top in sorted({room.split("/")[0] for room in ALLOWED}):
        for path in sorted((root / top).rglob("*")):
            name = path.relative_to(root).as_posix()
            if path.suffix in SOURCES and room_of(name) is not None:
                sources[name] = path
    faults = []
    for source, path in sources.items():
        room = room_of(source)
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            match = INCLUDE.match(line)
            if match is None:
                continue
            bracket, name = match.groups()
            targets = [header for header in sources if header == name or header.endswith("/" + name)]
            if bracket == "<":
                wrong = targets or (room in WITHOUT_THIRD_PARTIES and not SYSTEM_HEADERS.fullmatch(name))
            else:
                wrong = not any(is_allowed(room, target) for target in targets)
            if wrong:
                faults.append(f"{source}:{number}: {line.strip()}")
    return faults


class IncludeArrowsTest(unittest.TestCase):
    def faults(self, **files):
        """The faults of a small tree; in the names of the files, "__" stands for "/" and "_dot_" for "."."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            headers = ["h/logdb.h", "h/mem_alloc_sys.h", "host/mem.h", "host/standalone/host_standalone.h",
                       "db/logdb/logdb_database.h", "tools/logdb/tool.h", "examples/netlist/netlist.h"]
            for name in headers:
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text("", encoding="utf-8")
            for name, text in files.items():
                path = root / name.replace("__", "/").replace("_dot_", ".")
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text + "\n", encoding="utf-8")
            return forbidden_includes(root)

    def test_the_tree_has_no_forbidden_include(self):
        self.assertEqual(forbidden_includes(ROOT), [])

    def test_the_tree_is_looked_at(self):
        self.assertTrue((ROOT / "h" / "logdb.h").is_file())
        self.assertTrue((ROOT / "db" / "logdb" / "logdb_database.cpp").is_file())

    def test_allowed_arrows_pass(self):
        self.assertEqual(self.faults(host__gen_dot_h='#include "mem_alloc_sys.h"',
                                     host__standalone__mem_dot_cpp='#include "mem.h"\n#include "host_standalone.h"',
                                     h__types_dot_h='#include "mem.h"\n#include <vector>',
                                     db__logdb__a_dot_cpp='#include "logdb_database.h"\n#include "logdb.h"',
                                     tests__a_dot_cpp='#include "logdb_database.h"\n#include <gtest/gtest.h>',
                                     examples__a_dot_cpp='#include "netlist.h"\n#include "host_standalone.h"'), [])

    def test_the_host_knows_nothing_of_the_library(self):
        self.assertEqual(self.faults(host__gen_dot_h='#include "logdb.h"'), ['host/gen.h:1: #include "logdb.h"'])
        self.assertEqual(len(self.faults(host__standalone__mem_dot_cpp='#include "logdb.h"')), 1)
        self.assertEqual(len(self.faults(host__gen_dot_h='#include "host_standalone.h"')), 1)

    def test_the_library_knows_nothing_of_the_standalone_host(self):
        self.assertEqual(len(self.faults(h__types_dot_h='#include "host_standalone.h"')), 1)
        self.assertEqual(len(self.faults(db__logdb__a_dot_cpp='\n#  include "host_standalone.h"')), 1)

    def test_public_headers_know_nothing_of_the_inside(self):
        self.assertEqual(len(self.faults(h__types_dot_h='#include "logdb_database.h"')), 1)
        self.assertEqual(len(self.faults(examples__a_dot_cpp='#include "logdb_database.h"')), 1)
        self.assertEqual(len(self.faults(bindings__a_dot_cpp='#include "logdb_database.h"')), 1)

    def test_nothing_below_knows_the_tools(self):
        self.assertEqual(len(self.faults(db__logdb__a_dot_cpp='#include "tool.h"')), 1)
        self.assertEqual(len(self.faults(examples__a_dot_cpp='#include "tool.h"')), 1)

    def test_the_library_stands_on_no_third_party(self):
        self.assertEqual(len(self.faults(h__types_dot_h='#include <gtest/gtest.h>')), 1)
        self.assertEqual(len(self.faults(db__logdb__a_dot_cpp='#include <nlohmann/json.hpp>')), 1)
        self.assertEqual(len(self.faults(host__standalone__mem_dot_cpp='#include <boost/pool/pool.hpp>')), 1)

    def test_headers_of_the_tree_are_included_in_quotes_and_exist(self):
        self.assertEqual(len(self.faults(db__logdb__a_dot_cpp='#include <mem.h>')), 1)
        self.assertEqual(len(self.faults(db__logdb__a_dot_cpp='#include "nowhere.h"')), 1)


if __name__ == "__main__":
    unittest.main()
