"""Mutation testing of h/ and db/logdb/: see scripts/mutate."""

import argparse
import collections
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
EXPLAINED = "tests/mutants.txt"

HOST_REPLACEMENTS = ["host_replacement_" + service for service in
                     ("none", "cfg", "dbm", "fio", "gen", "mem", "msg", "xtl_hash_ops", "xtl_tokenizer")]

# Which test programs look at which source; the first pattern that fits counts. Those that are quick come first.
DATABASE_TESTS = [
    "logdb_database_entries_test", "logdb_database_writer_test", "logdb_database_reader_test",
    "logdb_database_lifecycle_test", "logdb_database_files_test", "logdb_database_partition_test",
    "logdb_database_streams_test", "logdb_database_bad_input_test", "logdb_database_failing_system_test",
    "logdb_database_system_calls_test",
    "replay_database_reader", "replay_database_writer", "replay_partition", "format_samples_test",
    "logdb_database_properties_test", "logdb_database_cut_test",
    "logdb_unload_order", "static_objects_of_logdb", "static_objects_of_logdb_static",
] + HOST_REPLACEMENTS
LOG_TESTS = [
    "fsyn_writer_test", "fsyn_reader_test", "fsyn_record_classes_test", "fsyn_log_file_test", "fsyn_append_file_test",
    "fsyn_system_calls_test", "fsyn_failing_system_test", "replay_fsyn_reader", "replay_fsyn_records",
    "replay_append_file", "format_samples_test", "fsyn_cut_test", "fsyn_properties_test",
    "host_replacement_none", "host_replacement_fio", "host_replacement_mem", "host_replacement_msg",
]
PROGRAMS = [
    (r"db/logdb/logdb_database\.", DATABASE_TESTS),
    (r"db/logdb/logdb_fsyn_", LOG_TESTS),
    (r"db/logdb/logdb_report\.h", DATABASE_TESTS + LOG_TESTS),
    (r"h/logdb_fsyn_", LOG_TESTS),
    (r"h/.*translator_auto\.", ["translators_test", "replay_translators"] + DATABASE_TESTS),
    (r"h/xtl_hash\.h", ["xtl_hash_test", "replay_hash", "translators_test", "logdb_database_failing_system_test",
                     "host_replacement_none", "host_replacement_mem", "host_replacement_xtl_hash_ops"]),
    (r"h/mem_alloc_sys\.",
     ["allocation_operator_test", "host_memory_test", "host_out_of_memory_test"] + DATABASE_TESTS),
    (r"h/logdb", DATABASE_TESTS + ["translators_test"]),
]

class Mutant:
    def __init__(self, file, line, old, new, what):
        self.file = file
        self.line = line  # from 0
        self.old = old
        self.new = new
        self.what = what
        self.occurrence = 0  # how many places in front of this one, in the same source, read alike

    def key(self):
        return self.file, self.old.strip(), self.new.strip()

    def place(self):
        """What tells the mutant apart from all others, wherever the line has moved to."""
        return *self.key(), self.what, self.occurrence

    def changes_layout(self):
        """Whether objects, or the meaning of their numbers, may differ from what was compiled before."""
        return re.search(r"\[\w+\];|\w = \d+,|\benum\b|\bvirtual\b|\bconstexpr\b|sizeof", self.old) is not None

    def __str__(self):
        return f"{self.file}:{self.line + 1}: {self.what}\n   - {self.old.strip()}\n   + {self.new.strip()}"


# ------------------------------------------------------------------------------------------------------------
# Making mutants
# ------------------------------------------------------------------------------------------------------------

SWAPS = [
    ("==", "!="), ("!=", "=="), (" < ", " <= "), (" <= ", " < "), (" > ", " >= "), (" >= ", " > "), ("&&", "||"),
    ("||", "&&"), (" + ", " - "), (" - ", " + "), (" * ", " + "), (" / ", " * "), (" % ", " / "), ("++", "--"),
    (" += ", " -= "), (" -= ", " += "), (" << ", " >> "), (" >> ", " << "), (" | ", " & "), (" & ", " | "),
]


# Not worth leaving out: without them nothing compiles, or, on this processor, nothing is different.
NO_STATEMENT = ("return", "using", "va_end")

# Numbers that nobody looks at: the tag of the allocation operator, the default of a template's nameless parameter, and the
# arguments that a compiler checks a format against.
IGNORED_NUMBER = re.compile(r"\bnew \($|\boperator new\(.*, $|, int> = $|\bformat\(printf.*$")


def split_texts(line):
    """The line as pairs (part, whether it is a text or a character), a comment at its end left out."""
    parts = []
    for match in re.finditer(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//.*|[^"\'/]+|.', line):
        part = match.group()
        if not part.startswith("//"):
            parts.append((part, part[0] in "\"'" and len(part) > 1))
    return parts


def changed_constant(digits):
    return str(int(digits) + 1)


def changed_text(text):
    """A text with another first letter; None when there is none that is safe to change."""
    for index in range(1, len(text) - 1):
        byte = text[index]
        if byte in "\\%":
            return None
        if byte.isalpha():
            return text[:index] + ("b" if byte == "a" else "a") + text[index + 1:]
    return text[:1] + "a" + text[2:] if len(text) == 3 else None


def line_mutants(file, number, line, before):
    """The mutants of one line; `before` is the line in front of it."""
    stripped = line.strip()
    if not stripped or stripped.startswith(("//", "#", "static_assert")):
        return
    parts = split_texts(line)

    def with_part(index, text):
        return "".join(part for part, _ in parts[:index]) + text + "".join(part for part, _ in parts[index + 1:])

    for index, (part, is_text) in enumerate(parts):
        if is_text:
            text = changed_text(part)
            if text is not None:
                yield Mutant(file, number, line, with_part(index, text), "text")
            continue
        for old, new in SWAPS:
            for match in re.finditer(re.escape(old), part):
                changed = part[:match.start()] + new + part[match.end():]
                yield Mutant(file, number, line, with_part(index, changed), "operator")
        for match in re.finditer(r"\b(true|false)\b", part):
            new = "false" if match.group() == "true" else "true"
            yield Mutant(file, number, line, with_part(index, part[:match.start()] + new + part[match.end():]),
                         "truth")
        for match in re.finditer(r"(?<![\w.])\d+(?![\w.'])", part):
            if IGNORED_NUMBER.search(part[:match.start()]) is None:
                changed = part[:match.start()] + changed_constant(match.group()) + part[match.end():]
                yield Mutant(file, number, line, with_part(index, changed), "constant")
        for match in re.finditer(r"!(?=[\w(])", part):
            changed = part[:match.start()] + part[match.end():]
            yield Mutant(file, number, line, with_part(index, changed), "not")

    condition = re.fullmatch(r"(\s*(?:\} else )?if )\((.*)\) \{", line)
    if condition:
        yield Mutant(file, number, line, f"{condition.group(1)}(!({condition.group(2)})) {{", "condition")
    # Whole statements; what is a declaration does not compile without it, and is left out then.
    starts_statement = before.strip() == "" or before.rstrip().endswith((";", "{", "}", ":")) or "//" in before
    if starts_statement and re.fullmatch(r"\s+[^{}]*[)\w\]];", line) and not stripped.startswith(NO_STATEMENT):
        indent = line[:len(line) - len(line.lstrip())]
        yield Mutant(file, number, line, indent + ";", "statement")
    if re.fullmatch(r"\s+(break|continue);", line):
        yield Mutant(file, number, line, line.replace("break;", ";").replace("continue;", ";"), "statement")


def all_mutants(files):
    seen = collections.Counter()
    for file in files:
        lines = (ROOT / file).read_text().split("\n")
        for number, line in enumerate(lines):
            for mutant in line_mutants(file, number, line, lines[number - 1] if number else ""):
                likes = (*mutant.key(), mutant.what)
                mutant.occurrence = seen[likes]
                seen[likes] += 1
                yield mutant


def source_files():
    names = sorted(path for folder in ("h", "db/logdb") for path in (ROOT / folder).iterdir()
                   if path.suffix in (".h", ".cpp", ".inc"))
    return [str(path.relative_to(ROOT)) for path in names]


def programs_of(file):
    for pattern, programs in PROGRAMS:
        if re.match(pattern, file):
            return programs
    sys.exit(f"no tests are named for {file}")


# ------------------------------------------------------------------------------------------------------------
# Trying them
# ------------------------------------------------------------------------------------------------------------

class Step:
    """One step of the build: what it reads, what it writes, and the command."""

    def __init__(self, rule, inputs, outputs):
        self.rule = rule
        self.inputs = inputs
        self.outputs = outputs
        self.command = ""


def run_to_end(command, patience=None, **options):
    """The status of a process, None when it does not end in time. Nothing that it started stays behind, not even when
    this script is ended."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
                               **options)
    try:
        return process.wait(timeout=patience)
    except subprocess.TimeoutExpired:
        return None
    finally:
        if process.returncode is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()


class Build:
    """The steps that a changed source concerns, run by themselves: nothing else is looked at, and what was there
    is put back without building it again."""

    def __init__(self, folder):
        self.folder = folder
        self.steps = {}
        for line in (folder / "build.ninja").read_text().replace("$\n", "").split("\n"):
            match = re.fullmatch(r"build ([^:]*): (\S+) ?(.*)", line)
            if match:
                # What stands behind "||" is order alone.
                outputs, inputs = (names.split("||")[0].replace("|", " ").split() for names in match.group(1, 3))
                step = Step(match.group(2), inputs, outputs)
                self.steps.update((output, step) for output in outputs)
        for entry in json.loads(self.ninja("compdb")):
            if entry["output"] in self.steps:
                self.steps[entry["output"]].command = entry["command"]
        step = None
        for line in self.ninja("deps").split("\n"):
            if not line.startswith(" "):
                step = self.steps.get(line.split(":")[0])
            elif step is not None:
                step.inputs.append(line.strip())
        self.old = None

    def ninja(self, tool):
        return subprocess.run(["ninja", "-C", self.folder, "--quiet", "-t", tool], stdout=subprocess.PIPE, check=True,
                              text=True).stdout

    def begin(self, changed):
        """From now on a source is another."""
        self.old = {}
        self.dirty = {str(changed): True}
        self.is_broken = False

    def end(self):
        """The source is what it was, and so is everything that was built of it."""
        for output, kept in self.old.items():
            os.replace(kept, self.folder / output)
        self.old = None

    def is_dirty(self, name):
        """Whether the source has a part in something. A program is the same whatever is in a shared library."""
        if name not in self.dirty:
            step = self.steps.get(name)
            self.dirty[name] = step is not None and any(
                self.is_dirty(part) for part in step.inputs
                if not (step.rule.startswith("CXX_EXECUTABLE") and ".so" in part))
        return self.dirty[name]

    def make(self, name):
        """Builds something with the changed source; False when it does not compile."""
        step = self.steps.get(name)
        if step is None or step.outputs[0] in self.old:
            return True
        if not all(self.make(part) for part in step.inputs):
            return False
        if not self.is_dirty(name) or not step.command:
            return True
        for output in step.outputs:
            kept = self.folder / (output + ".kept")
            # A link stays one: what it leads to is another library by now.
            shutil.copy2(self.folder / output, kept, follow_symlinks=False)
            self.old[output] = kept
        return run_to_end(step.command, shell=True, cwd=self.folder) == 0


def keep_small():
    """For a process of a mutant: one that asks for memory for ever must not take the machine with it."""
    resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Tree:
    """The copy of the tree, its build and its tests."""

    def __init__(self, folder, jobs):
        self.folder = folder
        self.build_folder = folder.parent / "build"
        self.jobs = str(jobs)
        self.build = None
        self.output = ""
        self.seconds = {}  # how long a program runs when nothing is wrong
        self.caught = {}   # how often a program noticed a mutant of a source

    def make(self):
        # Files that did not change keep their times, so that a second run builds little.
        wanted = set()
        for top in ROOT.iterdir():
            if top.name in ("build", ".git"):
                continue
            for path in [top] if top.is_file() else top.rglob("*"):
                if "__pycache__" not in path.parts and path.is_file():
                    wanted.add(self.copy(path))
        for path in self.folder.rglob("*"):
            if path.is_file() and path.relative_to(self.folder) not in wanted:
                path.unlink()
        subprocess.run(["cmake", "-S", self.folder, "-B", self.build_folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld",
                        "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld", "-DLOGDB_STRICT=OFF", "-DLOGDB_BUILD_TOOLS=OFF",
                        "-DLOGDB_BUILD_EXAMPLES=OFF", "-DLOGDB_INSTALL=OFF"], stdout=subprocess.DEVNULL, check=True)

    def copy(self, path):
        relative = path.relative_to(ROOT)
        target = self.folder / relative
        if not target.is_file() or target.read_bytes() != path.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, target)
            shutil.copymode(path, target)
        return relative

    def builds(self, programs):
        """Whether the tree builds as it is."""
        done = subprocess.run(["cmake", "--build", self.build_folder, "--parallel", self.jobs, "--target", *programs],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.output = done.stdout.decode("utf-8", "replace")
        if done.returncode == 0:
            self.build = Build(self.build_folder)
        return done.returncode == 0

    def is_well(self, program):
        """Whether the program ends well with nothing changed; how long it takes is remembered."""
        start = time.monotonic()
        noticed = self.notices(program)
        self.seconds[program] = time.monotonic() - start
        return not noticed

    @staticmethod
    def path(program):
        return f"{'fuzz' if program.startswith('replay_') else 'tests'}/{program}"

    def command(self, program):
        executable = self.build_folder / self.path(program)
        if program.startswith("replay_"):
            return [executable, self.folder / "fuzz/corpus" / program[len("replay_"):], self.folder / "docs/samples"]
        if program.startswith("host_replacement_"):
            return [executable, program[len("host_replacement_"):]]
        return [executable, "--gtest_brief=1", "--gtest_fail_fast"]

    def notices(self, program):
        """Whether the program ends in another way than well, or does not end."""
        patience = 5 + 20 * self.seconds.get(program, 5)
        return run_to_end(self.command(program), patience, cwd=self.build_folder, preexec_fn=keep_small) != 0

    def in_order(self, file):
        """The programs for a source; first what noticed most in the least time."""
        return sorted(programs_of(file), key=lambda program: -(self.caught.get((file, program), 0) + 1)
                      / self.seconds[program])

    def noticed_by(self, file, programs, has_new_programs):
        """The first of these programs that notices, "" for none, None when something does not compile."""
        for program in programs:
            if has_new_programs and not self.build.make(self.path(program)):
                return None
            if self.notices(program):
                self.caught[file, program] = self.caught.get((file, program), 0) + 1
                return program
        return ""

    def try_built(self, mutant):
        libraries = [name for name in self.build.steps if re.fullmatch(r"db/logdb/liblogdb\.(so\.[\d.]+|a)", name)]
        if not all(self.build.make(library) for library in libraries):
            return None
        programs = self.in_order(mutant.file)
        # A changed header concerns most programs, and to compile one takes longer than to run them all. Whether the
        # library behaves in another way is seen without it, as long as both agree about what an object looks like.
        as_built = [] if mutant.changes_layout() else list(filter(self.links_shared_library, programs))
        noticed_by = self.noticed_by(mutant.file, as_built, False)
        if noticed_by:
            return noticed_by
        others = [program for program in programs
                  if program not in as_built or self.build.is_dirty(self.path(program))]
        return self.noticed_by(mutant.file, others, True)

    def links_shared_library(self, program):
        return any("liblogdb.so" in part for part in self.build.steps[self.path(program)].inputs)

    def try_mutant(self, mutant):
        """Who noticed: the name of a program, "" for nobody, None when it is not even C++."""
        path = self.folder / mutant.file
        original = path.read_text()
        times = path.stat()
        lines = original.split("\n")
        lines[mutant.line] = mutant.new
        path.write_text("\n".join(lines))
        self.build.begin(path)
        try:
            return self.try_built(mutant)
        finally:
            path.write_text(original)
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            self.build.end()


def explained_mutants():
    """The mutants of the reviewed list, each with its reason."""
    explained = {}
    file = old = new = None
    path = ROOT / EXPLAINED
    for line in path.read_text().split("\n") if path.exists() else []:
        if line.startswith("file "):
            file = line[5:]
        elif line.startswith("- "):
            old = line[2:].strip()
        elif line.startswith("+ "):
            new = line[2:].strip()
        elif line.startswith("= "):
            explained[(file, old, new)] = line[2:]
    return explained


class Results:
    """What became of the mutants that were tried; with a file, in the runs before, too."""

    INVALID = "does not compile"
    UNNOTICED = "unnoticed"
    PLACE = ("file", "old", "new", "what", "occurrence")

    def __init__(self, path):
        self.path = path
        self.of_place = {}
        for line in path.read_text().splitlines() if path is not None and path.exists() else []:
            entry = json.loads(line)
            self.of_place[tuple(entry[name] for name in self.PLACE)] = entry["result"]

    def add(self, mutant, result, seconds):
        self.of_place[mutant.place()] = result
        if self.path is not None:
            entry = dict(zip(self.PLACE, mutant.place()), result=result, seconds=round(seconds, 1))
            with self.path.open("a") as file:
                file.write(json.dumps(entry) + "\n")

    def settles(self, mutant, explained):
        """Whether there is nothing to try: a hole may have been given a test since it was found."""
        result = self.of_place.get(mutant.place(), self.UNNOTICED)
        return result != self.UNNOTICED or mutant.place() in self.of_place and mutant.key() in explained

    def kind(self, mutant, explained):
        """As what the mutant counts."""
        result = self.of_place.get(mutant.place())
        if result == self.UNNOTICED:
            return "explained" if mutant.key() in explained else "unnoticed"
        return {None: "not tried", self.INVALID: "invalid"}.get(result, "noticed")


def summarize(mutants, results, explained):
    """Prints what is known of the mutants, and each that nobody noticed or explained; the status of the script."""
    counts = collections.defaultdict(collections.Counter)
    for mutant in mutants:
        counts[mutant.file].update(["places", results.kind(mutant, explained)])
    counts["in all"] = sum(counts.values(), collections.Counter())
    print()
    for name, of_file in counts.items():
        tried = of_file["places"] - of_file["not tried"]
        if tried:
            print(f"{name}: {tried} of {of_file['places']} mutants: {of_file['invalid']} do not compile, "
                  f"{of_file['noticed']} noticed, {of_file['explained']} unnoticed and explained, "
                  f"{of_file['unnoticed']} unnoticed")
    caught = counts["in all"]["noticed"]
    survivors = [mutant for mutant in mutants if results.kind(mutant, explained) == "unnoticed"]
    seen = caught + len(survivors)
    share = 100.0 * caught / seen if seen else 100.0
    print(f"{share:.1f} % of {seen} noticed")
    for mutant in survivors:
        print(f"file {mutant.file}\n- {mutant.old.strip()}\n+ {mutant.new.strip()}\n")
    return 1 if survivors or share < 95 else 0


def main():
    parser = argparse.ArgumentParser(prog="scripts/mutate")
    parser.add_argument("count", nargs="?", default="20", help="how many places, or 'all'")
    parser.add_argument("--seed", type=int, default=1, help="for the choice of places")
    parser.add_argument("--file", action="append", help="only this source, several times for several")
    parser.add_argument("--list", action="store_true", help="print the places and change nothing")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="for the first build")
    parser.add_argument("--minutes", type=float, help="end after so long, with the mutants that were tried")
    parser.add_argument("--results", type=pathlib.Path,
                        help="a file for what becomes of each mutant, so that a later run goes on where this one ended")
    parser.add_argument("--folder", type=pathlib.Path, default=ROOT / "build/mutate",
                        help="where the copy is made and built")
    options = parser.parse_args()

    files = options.file or source_files()
    every_mutant = list(all_mutants(files))
    explained = explained_mutants()
    results = Results(options.results)
    mutants = every_mutant.copy()
    random.Random(options.seed).shuffle(mutants)
    mutants = [mutant for mutant in mutants if not results.settles(mutant, explained)]
    if options.count != "all":
        mutants = mutants[:int(options.count)]
    if options.list:
        for mutant in mutants:
            print(mutant)
        print(f"{len(mutants)} of {len(every_mutant)} mutants")
        return 0

    if not mutants:
        return summarize(every_mutant, results, explained)

    # Whoever ends this from outside must not leave a mutant in the copy.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended from outside"))
    tree = Tree(options.folder.resolve() / "tree", options.jobs)
    tree.make()
    programs = sorted({program for mutant in mutants for program in programs_of(mutant.file)})
    if not tree.builds(programs):
        sys.exit(f"the tree does not build as it is:\n{tree.output}")
    unhappy = [program for program in programs if not tree.is_well(program)]
    if unhappy:
        sys.exit(f"the tests fail as they are: {' '.join(unhappy)}")

    begin = time.monotonic()
    for number, mutant in enumerate(mutants, 1):
        start = time.monotonic()
        if options.minutes is not None and start - begin > 60 * options.minutes:
            break
        noticed_by = tree.try_mutant(mutant)
        seconds = time.monotonic() - start
        result = (Results.INVALID if noticed_by is None else
                  f"noticed by {noticed_by}" if noticed_by else Results.UNNOTICED)
        results.add(mutant, result, seconds)
        if mutant.key() in explained:
            result += (f", explained: {explained[mutant.key()]}" if result == Results.UNNOTICED else
                       f"; {EXPLAINED} says that no test can" if noticed_by else "")
        elif result == Results.UNNOTICED:
            result = result.upper()
        print(f"{number}/{len(mutants)} {mutant}\n   {result} ({seconds:.1f} s)", flush=True)
    return summarize(every_mutant, results, explained)


if __name__ == "__main__":
    sys.exit(main())
