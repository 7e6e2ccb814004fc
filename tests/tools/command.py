"""What the tests of the command share: a folder with logs, and the program on the path."""

import contextlib
import os
import pathlib
import shutil
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
SAMPLES = ROOT / "docs" / "samples"


@contextlib.contextmanager
def folder_with_logs(program):
    """A new working folder with the logs of the tests and the samples of the format documents."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        work = folder / "work"
        shutil.copytree(HERE / "logs", work)
        samples = work / "samples"
        samples.mkdir()
        for path in sorted(SAMPLES.iterdir()):
            if path.suffix in (".logdb", ".fsyn"):
                shutil.copy(path, samples)
        programs = folder / "bin"
        programs.mkdir()
        (programs / "logdb").symlink_to(pathlib.Path(program).resolve())
        environment = {name: value for name, value in os.environ.items()
                       if name not in ("NO_COLOR", "LOGDB_DEBUG", "LOGDB_CONFIG")}
        environment["PATH"] = f"{programs}:{environment['PATH']}"
        environment["LC_ALL"] = "C.UTF-8"
        environment["TERM"] = "xterm"
        yield work, environment
