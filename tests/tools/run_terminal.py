#!/usr/bin/env python3
"""What only shows on a terminal: colour, escapes, bars, progress. A pseudo-terminal stands in for one."""

import os
import pty
import re
import select
import subprocess
import sys
import time
import unittest

import command

PROGRAM = sys.argv.pop(1)


def run_on_terminal(line, folder, environment, stdout_is_terminal=True, feed=None):
    """What a command prints to the terminal that its output and errors are on."""
    leader, follower = pty.openpty()
    process = subprocess.Popen(["bash", "-c", line], cwd=folder, env=environment,
                               stdin=subprocess.PIPE if feed else subprocess.DEVNULL,
                               stdout=follower if stdout_is_terminal else subprocess.DEVNULL, stderr=follower)
    os.close(follower)
    if feed:
        feed(process.stdin)
        process.stdin.close()
    text = b""
    end = time.monotonic() + 60
    while time.monotonic() < end:
        if select.select([leader], [], [], 0.1)[0]:
            try:
                block = os.read(leader, 65536)
            except OSError:
                break
            if not block:
                break
            text += block
        elif process.poll() is not None:
            break
    os.close(leader)
    return text.decode("utf-8", "replace").replace("\r\n", "\n"), process.wait(timeout=60)


class TerminalTest(unittest.TestCase):
    def setUp(self):
        self.context = command.folder_with_logs(PROGRAM)
        self.folder, self.environment = self.context.__enter__()

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def on_terminal(self, line, **options):
        return run_on_terminal(line, self.folder, self.environment, **options)

    def test_colour_is_for_terminals(self):
        text, status = self.on_terminal("logdb show --range 1 top.logdb")
        self.assertEqual(status, 0)
        self.assertIn("\x1b[1;36mREGISTER_PACKING\x1b[0m", text)
        text, _ = self.on_terminal("logdb show --range 1 top.logdb | cat")
        self.assertNotIn("\x1b", text)

    def test_colour_can_be_chosen(self):
        for line in ("NO_COLOR=1 logdb show top.logdb", "logdb show --color never top.logdb",
                     "TERM=dumb logdb show top.logdb"):
            self.assertNotIn("\x1b", self.on_terminal(line)[0], line)
        self.assertIn("\x1b", self.on_terminal("logdb show --color always top.logdb | cat")[0])
        self.assertIn("\x1b", self.on_terminal("NO_COLOR= logdb show top.logdb")[0])

    def test_names_do_not_act_on_a_terminal(self):
        (self.folder / "evil.logdb").write_bytes(b"v1\nFSYN_LOG_FILE,\x1b]0;gotcha\x07\xff\xc2\x9b,\n")
        (self.folder / "evil.fsyn").write_bytes(b"PHYSICAL_SYNTHESIS_INSERT_ATOM\n\x1b]0;gotcha\x07\xff\xc2\x9b 1\na\n")
        (self.folder / "good.fsyn").write_bytes(b"PHYSICAL_SYNTHESIS_INSERT_ATOM\ngood 1\na\n")
        for name in ("show evil.logdb", "grep gotcha evil.logdb", "show --fields 0 evil.logdb", "blame x evil.logdb",
                     "check --partition-root x evil.logdb", "show evil.fsyn", "stats --by node evil.fsyn",
                     "summary --list evil.fsyn", "diff good.fsyn evil.fsyn", "diff --first good.fsyn evil.fsyn",
                     "blame '*gotcha*' evil.fsyn", "tail evil.fsyn"):
            text, _ = self.on_terminal(f"logdb {name} --color never")
            self.assertIn("gotcha" if name.endswith("fsyn") else "", text, name)
            self.assertNotIn("\x1b", text, name)
            self.assertNotIn("\x9b", text, name)
        self.assertIn(r"\x1b]0;gotcha\x07\xff\xc2\x9b", self.on_terminal("logdb show evil.logdb")[0])
        plain = subprocess.run(["logdb", "show", "--fields", "0", "evil.logdb"], cwd=self.folder,
                               env=self.environment, capture_output=True)
        self.assertEqual(plain.stdout, b"\x1b]0;gotcha\x07\xff\xc2\x9b\n")

    def test_no_output_of_names_acts_on_a_terminal(self):
        # An escape sequence, a control character in UTF-8, and one that turns the direction of writing.
        name = b"|top|x\x1b[2J\x07\xc2\x9b\xe2\x80\xae"
        (self.folder / "evil.logdb").write_bytes(b"v1\nREGISTER_PACKING,P,o,C," + name + b",,\n")
        (self.folder / "evil.fsyn").write_bytes(b"PHYSICAL_SYNTHESIS_INSERT_ATOM\n" + name + b" 1\na\n")
        for line in ("show --json evil.logdb", "show --json evil.fsyn", "show --csv evil.logdb", "convert -o - evil.logdb",
                     "convert -o - evil.fsyn", "check --json --partition-root y evil.logdb", "salvage evil.logdb",
                     "salvage -o - evil.fsyn", "merge -o - evil.logdb evil.logdb", "show evil.logdb", "show evil.fsyn",
                     "rebase --from top --to u -o - evil.logdb", "diff --json good.logdb evil.logdb"):
            text, _ = self.on_terminal(f"touch good.logdb; NO_COLOR=1 logdb {line}")
            for character in "\x1b\x07\x9b\u202e":
                self.assertNotIn(character, text.replace("\x1b[K", ""), line)
        self.assertIn(r"\u001b[2J\u0007\u009b\u202e", self.on_terminal("logdb show --json evil.logdb")[0])
        self.assertIn(r"x\x1b[2J\x07\xc2\x9b\xe2\x80\xae", self.on_terminal("logdb salvage evil.logdb")[0])
        # A file gets the name as it is, and so does a pipe.
        self.on_terminal("logdb salvage -o saved.logdb evil.logdb; logdb salvage evil.logdb | cat > piped.logdb")
        for saved in ("saved.logdb", "piped.logdb"):
            self.assertIn(name, (self.folder / saved).read_bytes(), saved)

    def test_file_names_do_not_act_on_a_terminal(self):
        text, status = self.on_terminal("logdb show $'none\\x1b[2J'")
        self.assertEqual(status, 3)
        self.assertIn(r"none\x1b[2J", text)
        self.assertNotIn("\x1b[2J", text)

    def test_messages_keep_their_lines_on_a_terminal(self):
        text, status = self.on_terminal("logdb shwo top.logdb")
        self.assertEqual((text, status), ("logdb: there is no command 'shwo'; did you mean 'show'?\n"
                                          "Try 'logdb --help'.\n", 2))

    def test_stats_draw_bars_on_terminals_only(self):
        self.assertIn("\u2588", self.on_terminal("logdb stats top.logdb")[0])
        self.assertNotIn("\u2588", self.on_terminal("logdb stats top.logdb | cat")[0])

    def test_progress_shows_after_a_second_on_terminals_only(self):
        def feed_slowly(pipe):
            pipe.write(b"v1\n")
            for _ in range(14):
                pipe.write(b"FSYN_LOG_FILE,top.fsyn,\n" * 10)
                pipe.flush()
                time.sleep(0.1)

        text, status = self.on_terminal("logdb stats -", feed=feed_slowly, stdout_is_terminal=False)
        self.assertEqual(status, 0)
        self.assertRegex(text, r"\(standard input\)  [0-9.]+ k?B.*B/s")
        self.assertTrue(text.endswith("\r\x1b[K"), repr(text[-20:]))
        quick, _ = self.on_terminal("logdb stats top.logdb", stdout_is_terminal=False)
        self.assertEqual(quick, "")

    def test_progress_does_not_stand_among_data(self):
        def feed_slowly(pipe):
            pipe.write(b"v1\n")
            for _ in range(14):
                pipe.write(b"FSYN_LOG_FILE,top.fsyn,\n" * 100)
                pipe.flush()
                time.sleep(0.1)

        text, status = self.on_terminal("logdb show --fields 0 --as logdb -", feed=feed_slowly)
        self.assertEqual((text, status), ("top.fsyn\n" * 1400, 0))

    def test_a_message_takes_the_place_of_progress(self):
        def feed_slowly(pipe):
            pipe.write(b"v1\n")
            for _ in range(14):
                pipe.write(b"FSYN_LOG_FILE,top.fsyn,\n")
                pipe.flush()
                time.sleep(0.1)
            pipe.write(b"FSYN")

        text, status = self.on_terminal("logdb stats --as logdb -", feed=feed_slowly, stdout_is_terminal=False)
        self.assertEqual(status, 3)
        self.assertRegex(text, r"\r\x1b\[Klogdb: \(standard input\):16: the last line has no line end;.*\n$")

    def test_a_closed_pipe_ends_quietly(self):
        big = self.folder / "big.logdb"
        big.write_bytes(b"v1\n" + b"FSYN_LOG_FILE,top.fsyn,\n" * 200000)
        text, _ = self.on_terminal("logdb show big.logdb | head -n 1; echo ${PIPESTATUS[0]}")
        self.assertEqual(text, "#1 FSYN_LOG_FILE  line 2\n0\n")

    def test_tail_follows_a_log_and_prints_whole_records_only(self):
        log = self.folder / "growing.fsyn"
        log.write_bytes(b"PHYSICAL_SYNTHESIS_SET_USER_LCELL\na\nPHYSICAL_SYNTHESIS_SET_INV")
        process = subprocess.Popen(["logdb", "tail", "-f", "growing.fsyn"], cwd=self.folder, env=self.environment,
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)

        def append(text):
            with log.open("ab") as file:
                file.write(text)

        self.assertEqual(process.stdout.readline(), "#1 SET_USER_LCELL  a\n")
        for part in (b"ERT\n", b"top|q 1", b"1 ", b"2"):
            append(part)
            time.sleep(0.25)
            self.assertEqual(select.select([process.stdout], [], [], 0)[0], [], part)
        append(b"5\n")
        self.assertEqual(process.stdout.readline(), "#2 SET_INVERT  top|q  port_type=11  port_index=25\n")
        append(b"PHYSICAL_SYNTHESIS_DELETE_ATOM\nx\ny\n")
        time.sleep(0.25)
        self.assertEqual(select.select([process.stdout], [], [], 0)[0], [])
        append(b"END_OF_DELETE_ATOM\nPHYSICAL_SYNTHESIS_END_OF_LOG\n")
        self.assertEqual(process.stdout.read(),
                         "#3 DELETE_ATOM  x  deleted_names[0]=y\n#4 END_OF_LOG\n")
        self.assertEqual(process.wait(timeout=10), 0)

    def test_tail_takes_no_keyword_for_one_that_may_still_go_on(self):
        log = self.folder / "growing.fsyn"
        log.write_bytes(b"PHYSICAL_SYNTHESIS_SET_USER_LCELL\na\nPHYSICAL_SYNTHESIS_DELETE_ATOM\nx\n"
                        b"PHYSICAL_SYNTHESIS_SET_USER_LCELL")
        process = self.follow("growing.fsyn")
        self.assertEqual(process.stdout.readline(), "#1 SET_USER_LCELL  a\n")
        time.sleep(0.25)
        with log.open("ab") as file:
            file.write(b"_2\nEND_OF_DELETE_ATOM\nPHYSICAL_SYNTHESIS_END_OF_LOG\n")
        self.assertEqual(process.communicate(timeout=10),
                         ("#2 DELETE_ATOM  x  deleted_names[0]=PHYSICAL_SYNTHESIS_SET_USER_LCELL_2\n#3 END_OF_LOG\n", ""))

    def follow(self, *arguments):
        process = subprocess.Popen(["logdb", "tail", "-f", *arguments], cwd=self.folder, env=self.environment,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.kill)
        return process

    def test_tail_begins_anew_with_the_log(self):
        record = b"PHYSICAL_SYNTHESIS_SET_USER_LCELL\n%s\n"
        log = self.folder / "growing.fsyn"
        log.write_bytes(record % b"a" + record % b"b")
        process = self.follow("growing.fsyn")
        self.assertEqual(process.stdout.readline(), "#1 SET_USER_LCELL  a\n")
        self.assertEqual(process.stdout.readline(), "#2 SET_USER_LCELL  b\n")
        log.write_bytes(record % b"c")
        self.assertEqual(process.stderr.readline(), "logdb: growing.fsyn: was begun anew\n")
        self.assertEqual(process.stdout.readline(), "#1 SET_USER_LCELL  c\n")
        other = self.folder / "other.fsyn"
        other.write_bytes(record % b"a_longer_name" + b"PHYSICAL_SYNTHESIS_END_OF_LOG\n")
        other.rename(log)
        self.assertEqual(process.stdout.read(), "#1 SET_USER_LCELL  a_longer_name\n#2 END_OF_LOG\n")
        self.assertEqual(process.wait(timeout=10), 0)

    def test_tail_ends_when_nobody_reads_on(self):
        (self.folder / "growing.fsyn").write_bytes(b"PHYSICAL_SYNTHESIS_SET_USER_LCELL\na\n")
        process = self.follow("growing.fsyn")
        self.assertEqual(process.stdout.readline(), "#1 SET_USER_LCELL  a\n")
        process.stdout.close()
        self.assertEqual(process.wait(timeout=10), 0)

    def test_tail_waits_for_a_log_that_is_still_empty(self):
        (self.folder / "growing").write_bytes(b"")
        process = self.follow("growing")
        time.sleep(0.3)
        with (self.folder / "growing").open("ab") as file:
            file.write(b"PHYSICAL_SYNTHESIS_END_OF_LOG\n")
        self.assertEqual(process.stdout.read(), "#1 END_OF_LOG\n")
        self.assertEqual(process.wait(timeout=10), 0)


if __name__ == "__main__":
    unittest.main()
