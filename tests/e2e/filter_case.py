# SPDX-License-Identifier: Apache-2.0
"""Runs the filter as the spooler does, and the base class of the tests that do so."""
import dataclasses
import datetime
import fcntl
import os
import pathlib
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest
from collections.abc import Callable, Mapping, Sequence

import cups_raster
import escpos_stream
import harness
import ppd_text
import private_spool

SPOOL = private_spool.SPOOL
TIME_ZONE = "TST-5:30"  # local time is five and a half hours ahead
LOCAL = datetime.timezone(datetime.timedelta(hours=5, minutes=30))
TIMEOUT = 45.0

ZEROS = bytes(64)
JOB_SETUP = bytes.fromhex("1B40 1F1B1F131400 1B240100")  # every option missing or off
PAGE_END = bytes.fromhex("1B4AA0")
JOB_END = bytes.fromhex("1B76")
PARTIAL_CUT = bytes.fromhex("0A0A0A0A 1D5601")
FULL_CUT = bytes.fromhex("0A0A0A0A 1D5600")

SANITIZED = os.environ.get("DRAV_SANITIZED", "0") not in ("", "0")
LIBCXX = os.environ.get("DRAV_LIBCXX", "0") not in ("", "0")


def band(width_bytes: int, rows: Sequence[bytes] | bytes) -> bytes:
    """One raster band, written out by hand."""
    data = rows if isinstance(rows, bytes) else b"".join(rows)
    height = len(data) // width_bytes
    return b"\x1d\x76\x30\x00" + struct.pack("<HH", width_bytes, height) + data


# The smallest page: one row of eight dots.
DOTS_PAGE = cups_raster.grey([b"\xff" * 8])
DOTS_BAND = bytes.fromhex("1D763000 0100 0100 FF")


def filter_path() -> str:
    path = os.environ.get("DRAV_FILTER", "")
    if not path:
        sys.exit("DRAV_FILTER does not name the filter")
    return path


@dataclasses.dataclass(frozen=True)
class Outcome:
    """What a run has left behind."""

    status: int
    stdout: bytes
    stderr: str

    @property
    def lines(self) -> list[str]:
        return self.stderr.splitlines()

    def having(self, prefix: str) -> list[str]:
        return [line for line in self.lines if line.startswith(prefix)]

    @property
    def errors(self) -> list[str]:
        return self.having("ERROR:")


def dots_job(pages: int = 1) -> bytes:
    """What a job of the smallest page sends when every option is missing or off."""
    return ZEROS + JOB_SETUP + (DOTS_BAND + PAGE_END) * pages + JOB_END


def close_descriptor(number: int) -> Callable[[], None]:
    return lambda: os.close(number)


def limit_memory(limit: int) -> Callable[[], None]:
    return lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))


class FilterCase(unittest.TestCase):
    """A test with a folder of its own and an empty scratch spool."""

    maxDiff = 4000

    def setUp(self) -> None:
        if not private_spool.is_ready():
            self.fail("the test program must be run as a program")
        folder = tempfile.mkdtemp(prefix="drav-e2e-")
        self.addCleanup(shutil.rmtree, folder)
        self.folder = pathlib.Path(folder)
        self.clear_spool()

    def clear_spool(self) -> None:
        private_spool.clear()

    def write(self, name: str, content: bytes | str) -> pathlib.Path:
        path = self.folder / name
        path.write_bytes(content.encode("utf-8") if isinstance(content, str) else content)
        return path

    def environment(self, ppd: str | None) -> dict[str, str]:
        """The variables of a spooled filter; `ppd` is the text of the driver file."""
        kept = ("ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "LLVM_PROFILE_FILE")
        out = {name: os.environ[name] for name in kept if name in os.environ}
        out |= {"PATH": "/usr/bin:/bin", "LANG": "C", "TZ": TIME_ZONE}
        if ppd is not None:
            out["PPD"] = str(self.write("printer.ppd", ppd))
        return out

    @staticmethod
    def arguments(options: str = "", copies: str = "1", *more: str) -> list[str]:
        return ["receipt-queue", "17", "user", "title", copies, options, *more]

    def run_filter(
        self,
        raster: bytes,
        *,
        ppd: str | None = None,
        options: str = "",
        environment: Mapping[str, str] | None = None,
        arguments: Sequence[str] | None = None,
        prepare: Callable[[], None] | None = None,
        stdout: int = subprocess.PIPE,
        umask: int = -1,
    ) -> Outcome:
        """One run with the raster on standard input; the PPD has only PageSize by default."""
        text = ppd if ppd is not None else ppd_text.ppd_text()
        done = subprocess.run(
            list(arguments or self.arguments(options)), executable=filter_path(), input=raster,
            stdout=stdout, stderr=subprocess.PIPE, cwd=self.folder, preexec_fn=prepare,
            env=dict(environment if environment is not None else self.environment(text)),
            timeout=TIMEOUT, check=False, umask=umask)
        return Outcome(done.returncode, done.stdout or b"",
                       done.stderr.decode("utf-8", "backslashreplace"))

    def run_pages(self, *pages: cups_raster.Page, ppd: str | None = None,
                  options: str = "") -> Outcome:
        return self.run_filter(cups_raster.stream(pages), ppd=ppd, options=options)

    def assert_bytes(self, got: bytes, want: bytes) -> None:
        """Equal; a difference in long ones is told by its place, comparing them takes minutes."""
        if got == want or max(len(got), len(want)) < 4000:
            self.assertEqual(got.hex(" "), want.hex(" "))
            return
        at = len(os.path.commonprefix((got, want)))
        self.fail(f"{len(got)} bytes instead of {len(want)}, from byte {at} on "
                  f"{got[at:at + 16].hex(' ')} instead of {want[at:at + 16].hex(' ')}")

    def assert_job(self, outcome: Outcome, stdout: bytes) -> None:
        """A job that ended normally with exactly these bytes."""
        self.assertEqual(outcome.errors, [])
        self.assert_bytes(outcome.stdout, stdout)
        self.assertEqual(outcome.status, 0)
        self.assertEqual(outcome.lines[-1], "DEBUG:Ready to print.")

    def assert_failed(self, outcome: Outcome, stdout: bytes, *error: str) -> None:
        """A job that failed with one error line that holds these texts."""
        self.assert_bytes(outcome.stdout, stdout)
        self.assertEqual(outcome.status, 1)
        self.assertEqual(len(outcome.errors), 1, outcome.stderr)
        for text in error:
            self.assertIn(text, outcome.errors[0])
        self.assertEqual(outcome.having("DEBUG:Ready to print."), [])

    def decode(self, outcome: Outcome) -> escpos_stream.Job:
        return escpos_stream.decode(outcome.stdout)

    def pictures(self) -> dict[int, pathlib.Path]:
        """The picture files by their counters."""
        out: dict[int, pathlib.Path] = {}
        for path in private_spool.own_files():
            found = re.fullmatch(r"(?:origin|dithered)_\d+-\d+-\d+_\d+_\d+_\d+_(\d+)\.bmp",
                                 path.name)
            if found is None:
                self.fail(f"unexpected file {path}")
            out[int(found[1])] = path
        return dict(sorted(out.items()))


class RunningFilter:
    """A filter whose input is fed, and whose output is drained, step by step."""

    def __init__(self, case: FilterCase, ppd: str, options: str = "") -> None:
        self._log = case.folder / "stderr.txt"
        with self._log.open("wb") as log:
            self.process = subprocess.Popen(
                case.arguments(options), executable=filter_path(), stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=log, cwd=case.folder,
                env=case.environment(ppd), bufsize=0)
        case.addCleanup(self._end)

    def _end(self) -> None:
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        for pipe in (self.process.stdin, self.process.stdout):
            if pipe is not None and not pipe.closed:
                pipe.close()

    def log(self) -> str:
        return self._log.read_text("utf-8", "backslashreplace")

    def feed(self, data: bytes) -> None:
        assert self.process.stdin is not None
        view = memoryview(data)
        while view:
            view = view[self.process.stdin.write(view):]

    def close_input(self) -> None:
        assert self.process.stdin is not None
        self.process.stdin.close()

    def terminate(self) -> None:
        self.process.send_signal(signal.SIGTERM)

    def _until(self, condition: Callable[[], bool], what: str) -> None:
        end = time.monotonic() + TIMEOUT
        while not condition():
            if time.monotonic() > end:
                raise AssertionError(f"the filter never came to {what}:\n{self.log()}")
            if self.process.poll() is not None:
                raise AssertionError(f"the filter ended before {what}:\n{self.log()}")
            time.sleep(0.002)

    def _asleep(self) -> bool:
        stat = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text("ascii")
        return stat.rpartition(")")[2].split()[0] == "S"

    @staticmethod
    def _queued(descriptor: int) -> int:
        return int(struct.unpack("i", fcntl.ioctl(descriptor, termios.FIONREAD, bytes(4)))[0])

    def until_logged(self, text: str) -> None:
        self._until(lambda: text in self.log(), f"log {text!r}")

    def until_hungry(self) -> None:
        """Until it has read everything and sleeps, waiting for more."""
        assert self.process.stdin is not None
        pipe = self.process.stdin.fileno()
        self._until(lambda: self._queued(pipe) == 0 and self._asleep(), "wait for input")

    def until_blocked(self) -> None:
        """Until it sleeps in the middle of the raster, waiting for the reader."""
        assert self.process.stdout is not None
        pipe = self.process.stdout.fileno()
        seen: list[int] = []

        def blocked() -> bool:
            seen.append(self._queued(pipe) if self._asleep() else 0)
            return len(seen) > 20 and seen[-1] > 0 and len(set(seen[-20:])) == 1

        self._until(blocked, "fill its output pipe")

    def read_some(self, count: int) -> bytes:
        assert self.process.stdout is not None
        return os.read(self.process.stdout.fileno(), count)

    def finish(self) -> Outcome:
        """Drains the output and waits for the end; one that never comes is forced."""
        assert self.process.stdout is not None
        force = threading.Timer(TIMEOUT, self.process.kill)
        force.start()
        stdout = self.process.stdout.read()
        status = self.process.wait()
        force.cancel()
        return Outcome(status, stdout, self.log())


def main() -> None:
    """Runs the tests of the calling program, with a spool for them alone."""
    filter_path()
    private_spool.enter()
    harness.run_tests()
