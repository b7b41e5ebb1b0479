# SPDX-License-Identifier: Apache-2.0
"""Runs drav, and the filter and the converters that it is compared with.

    test_....py DRAV FILTER PPD VERSION [unittest arguments]

The filter leaves pictures in the spool, so these programs run with a scratch folder over
it, or take turns.
"""
import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))

# pylint: disable=wrong-import-position
import escpos_stream  # noqa: E402
import harness  # noqa: E402
import pictures  # noqa: E402
import ppd_text  # noqa: E402
import private_spool  # noqa: E402

DRAV = FILTER = PPD = VERSION = ""
TIMEOUT = 300
HALFTONES = ppd_text.HALFTONES
PAGE_FEED = bytes.fromhex("1b4aa0")


def find_program(name: str) -> str:
    return shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin") or ""


def pages_of(stream: bytes) -> list[list[bytes]]:
    """The packed rows of each page of a job, cut at the page feeds."""
    pages: list[list[bytes]] = []
    rows: list[bytes] = []
    for item in escpos_stream.decode(stream).items:
        if item.name == "band":
            width = item.data[4] | item.data[5] << 8
            rows += [item.data[at:at + width] for at in range(8, len(item.data), width)]
        elif item.data == PAGE_FEED:
            pages.append(rows)
            rows = []
    assert not rows, "rows behind the last page feed"
    return pages


def filter_pages(raster: bytes, options: str = "", ppd: str = "") -> list[list[bytes]]:
    """What the filter itself sends for a raster stream."""
    if not private_spool.is_ready():
        raise RuntimeError("the filter must not run outside the scratch spool")
    environment = {**os.environ, "PPD": ppd or PPD}
    done = subprocess.run(["queue", "1", "me", "title", "1", options], executable=FILTER,
                          input=raster, capture_output=True, env=environment, timeout=TIMEOUT,
                          check=False)
    assert done.returncode == 0, done.stderr
    return pages_of(done.stdout)


def convert(path: pathlib.Path, *options: str, ppd: str = "", kind: str = "") -> bytes:
    """The raster that CUPS's own converters make of a document."""
    command = [find_program("cupsfilter"), "-p", ppd or PPD, "-m", "application/vnd.cups-raster"]
    if kind:
        command += ["-i", kind]
    for option in options:
        command += ["-o", option]
    done = subprocess.run([*command, str(path)], capture_output=True, timeout=TIMEOUT, check=False)
    assert done.returncode == 0, done.stderr[-2000:]
    return done.stdout


def proof_pages(drav: str, document: pathlib.Path, folder: pathlib.Path,
                *arguments: str) -> list[list[bytes]]:
    """The packed rows of each page as `drav proof` draws them into `folder`.

    For comparison with what a queue has sent: pages_of() gives that of a job.
    """
    out = folder / "proof.png"
    done = subprocess.run([drav, "proof", str(document), *arguments, "-O", str(out)],
                          capture_output=True, timeout=TIMEOUT, check=False)
    assert done.returncode == 0, done.stderr
    files = [out] if out.exists() else sorted(
        folder.glob("proof-*.png"), key=lambda path: int(path.stem.rpartition("-")[2]))
    return [pictures.read_png(path.read_bytes()).page() for path in files]


class DravCase(unittest.TestCase):
    """A test with a folder of its own, and one for temporary files."""

    maxDiff = 2000

    def setUp(self) -> None:
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="drav-tools-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()
        self.out = self.folder / "out"
        self.out.mkdir()

    def write(self, name: str, content: bytes) -> pathlib.Path:
        path = self.folder / name
        path.write_bytes(content)
        return path

    def environment(self, **more: str) -> dict[str, str]:
        return {**os.environ, "TMPDIR": str(self.scratch), **more}

    def run_drav(self, *arguments, stdin: bytes = b"", env: dict[str, str] | None = None,
                 **more) -> subprocess.CompletedProcess:
        done = subprocess.run([DRAV, *map(str, arguments)], input=stdin, capture_output=True,
                              timeout=TIMEOUT, check=False, env=self.environment(**(env or {})),
                              **more)
        self.assertEqual(list(self.scratch.iterdir()), [], "temporary files were left")
        return done

    def run_well(self, *arguments, **more) -> subprocess.CompletedProcess:
        done = self.run_drav(*arguments, **more)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done

    def assert_failed(self, done: subprocess.CompletedProcess, *words: str) -> None:
        """Status 2, one line that holds `words`, and nothing written."""
        text = done.stderr.decode("utf-8", "backslashreplace")
        self.assertEqual(done.returncode, 2, text)
        self.assertEqual(done.stdout, b"")
        self.assertRegex(text, r"\Adrav: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, text)
        self.assertEqual([path.name for path in self.out.iterdir()], [])

    def proof(self, document, *arguments: str) -> list[list[bytes]]:
        with contextlib.ExitStack() as stack:
            folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
            return proof_pages(DRAV, document, folder, *arguments)

    def assert_same_dots(self, one: list[list[bytes]], other: list[list[bytes]]) -> None:
        self.assertEqual([(len(rows), len(rows[0])) for rows in one],
                         [(len(rows), len(rows[0])) for rows in other])
        for number, (left, right) in enumerate(zip(one, other), 1):
            differing = [y for y, (a, b) in enumerate(zip(left, right)) if a != b]
            self.assertEqual(differing, [], f"rows of page {number} that differ")


def main() -> None:
    global DRAV, FILTER, PPD, VERSION  # pylint: disable=global-statement
    private_spool.enter()
    DRAV, FILTER, PPD = (os.path.abspath(path) for path in sys.argv[1:4])
    VERSION = sys.argv[4]
    harness.run_tests(sys.argv[:1] + sys.argv[5:])
