# SPDX-License-Identifier: Apache-2.0
"""Base class of the tests that print through a scheduler of their own."""
import dataclasses
import os
import pathlib
import shutil
import sys
import tempfile
import unittest
from collections.abc import Mapping, Sequence
from typing import ClassVar

import documents
import driver_file
import escpos_stream
import expected
import fake_printer
import harness
import private_cups
import private_network
import private_spool
import raster_file
from driver_file import DriverFile

HEAD_BYTES = 300  # a row of the head of 2400 dots
DPI = 300
VARIABLES = ("DRAV_FILTER", "DRAV_MODEL_STREAM", "DRAV_DRIVER", "DRAV_PPD")
Options = Mapping[str, str]


@dataclasses.dataclass(frozen=True)
class Queue:
    """A queue, what its driver file says, and the printer at its end."""

    name: str
    driver: DriverFile
    ppd: pathlib.Path
    printer: fake_printer.FakePrinter


@dataclasses.dataclass(frozen=True)
class Checked:
    """A job that came out as the model has it."""

    stream: escpos_stream.Job
    raster: list[raster_file.RasterPage]
    settings: dict[str, str]


def variable(name: str) -> pathlib.Path:
    return pathlib.Path(os.environ[name])


class CupsCase(unittest.TestCase):
    """Tests that share one scheduler; each makes queues of its own."""

    maxDiff = 4000
    cups: ClassVar[private_cups.PrivateCups]
    _queues: ClassVar[int] = 0

    @classmethod
    def setUpClass(cls) -> None:
        if not private_spool.is_ready():
            raise RuntimeError("the test program must be run as a program")
        cls.cups = private_cups.PrivateCups(variable("DRAV_FILTER"), variable("DRAV_DRIVER"))
        cls.addClassCleanup(cls.cups.stop)
        cls.prepare()
        cls.cups.start()

    @classmethod
    def prepare(cls) -> None:
        """For what must be there when the scheduler starts."""

    def setUp(self) -> None:
        folder = tempfile.mkdtemp(prefix="drav-documents-")
        self.addCleanup(shutil.rmtree, folder)
        self.folder = pathlib.Path(folder)
        self.driver = DriverFile.load(variable("DRAV_PPD")).with_filter(driver_file.TAPPED)
        self.addCleanup(clear_pictures)

    # ---- Queues ---------------------------------------------------------------

    def printer(self, **behaviour: object) -> fake_printer.FakePrinter:
        printer = fake_printer.FakePrinter(**behaviour)  # type: ignore[arg-type]
        self.addCleanup(printer.close)
        return printer

    def queue(self, driver: DriverFile | None = None,
              printer: fake_printer.FakePrinter | None = None, *more: str) -> Queue:
        """A new queue; the driver file with the pass-through by default."""
        CupsCase._queues += 1
        name = f"queue{CupsCase._queues}"
        driver = driver or self.driver
        printer = printer or self.printer()
        ppd = driver.save(self.folder / f"{name}.ppd")
        self.cups.add_queue(name, printer, ppd, *more)
        return Queue(name, driver, self.cups.ppds / f"{name}.ppd", printer)

    def submit(self, queue: Queue, path: pathlib.Path, options: Options | None = None,
               *more: str) -> int:
        words = [f"{key}={value}" for key, value in (options or {}).items()]
        return self.cups.submit(queue.name, path, words, *more)

    # ---- Checks ---------------------------------------------------------------

    def raster(self, queue: str, job: int) -> list[raster_file.RasterPage]:
        """What the chain delivered to the filter."""
        path = self.cups.tap / f"{queue}-{job}.ras"
        self.cups.wait(path.exists, f"the raster of job {job}")
        pages = raster_file.read(path)
        path.unlink()
        return pages

    def assert_same(self, got: bytes, want: bytes) -> None:
        """The whole stream, with words about the first difference."""
        got = bytes(got)
        if got == want:
            return
        decoded, model = escpos_stream.decode(got), escpos_stream.decode(want)
        self.assertEqual(decoded.names(), model.names())
        for number, (row, wanted) in enumerate(zip(decoded.rows, model.rows, strict=True)):
            self.assertEqual(row.hex(), wanted.hex(), f"row {number}")
        at = next(i for i, (a, b) in enumerate(zip(got, want)) if a != b)
        self.fail(f"streams differ at byte {at}: {got[at:at + 8].hex()}, {want[at:at + 8].hex()}")

    def check(self, queue: Queue, job: int, received: bytes | bytearray,
              options: Options | None = None) -> Checked:
        """A job that ended well: each byte against the model and the raster of its chain."""
        self.assertEqual(self.cups.wait_job(job), private_cups.ipp.COMPLETED, self.lines(job))
        pages = self.raster(queue.name, job)
        chosen = expected.settings(queue.driver, options or {})
        self.assert_same(bytes(received), expected.stream(chosen, pages))
        stream = escpos_stream.decode(bytes(received))
        self.assertEqual(len(escpos_stream.page_rows(stream)), len(pages))
        for item in stream.items:
            if item.name == "band":
                self.assertLessEqual(item.data[4] | item.data[5] << 8, HEAD_BYTES)
        return Checked(stream, pages, chosen)

    def print_and_check(self, queue: Queue, path: pathlib.Path, options: Options | None = None,
                        *more: str) -> Checked:
        """One job on a queue whose printer has nothing else under way."""
        before = len(queue.printer.connections)
        job = self.submit(queue, path, options, *more)
        self.cups.wait_job(job)
        received = queue.printer.wait_jobs(before + 1)
        self.assertEqual(len(received), before + 1)
        return self.check(queue, job, received[-1].data, options)

    def assert_square(self, rows: Sequence[bytes], page: raster_file.RasterPage) -> None:
        """The black square of the test documents is printed where they have it, and solid."""
        dots = round(documents.SQUARE_MM / 25.4 * DPI)
        self.assertEqual(page.header["HWResolution"], (DPI, DPI))
        inside = range(dots + 3, 2 * dots - 3)
        for y in inside:
            bits = int.from_bytes(rows[y], "big")
            width = 8 * len(rows[y])
            mask = ((1 << len(inside)) - 1) << (width - inside.stop)
            self.assertEqual(bits & mask, mask, f"row {y} of the square")

    def lines(self, job: int, level: str = "EWC") -> list[str]:
        """The error log's lines about a job at these levels."""
        return [line for line in self.cups.job_log(job) if line[0] in level]


def clear_pictures() -> None:
    """The filter leaves two pictures a page in the scratch spool."""
    if private_spool.SPOOL.is_dir():
        for path in private_spool.own_files():
            path.unlink(missing_ok=True)


def main() -> None:
    """Runs the tests of the calling program, or says in one line why it cannot."""
    missing = private_cups.missing_part()
    if missing:
        print(f"SKIPPED: no private scheduler on this machine: {missing}", flush=True)
        sys.exit(harness.SKIPPED)
    for name in VARIABLES:
        if not os.environ.get(name):
            sys.exit(f"{name} is not set")
    private_spool.enter()
    private_network.enter()
    harness.run_tests()
