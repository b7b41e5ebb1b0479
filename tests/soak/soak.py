#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Long and large jobs: what the filter holds must not grow, and every row must come out.

    soak.py [--quick]

Prints a table of what was run and measured; exit status 1 at the first thing that
is not as it should be. DRAV_FILTER names the filter, DRAV_MODEL_STREAM the program
of the plain model, DRAV_FILTER_TEST the in-process tests.
"""
import argparse
import collections
import contextlib
import datetime
import functools
import os
import pathlib
import platform
import random
import re
import subprocess
import sys
import tempfile
import threading
import time
from collections.abc import Callable, Iterable, Iterator
from typing import NamedTuple

import cups_raster
import escpos_stream
import harness
import ppd_text
import private_spool

SPOOL = private_spool.SPOOL
A4 = (2480, 3508)
ROLL = (2480, 118110)  # ten metres at 300 dpi
KIB_A_PAGE = 4
PAGE_SECONDS = 600.0
# The C library keeps freed blocks and hands them out again; within the first
# rounds of the page sizes it has as many as it ever needs.
SETTLING_ROUNDS = 4


class Wrong(Exception):
    """Something is not as it should be."""


def expect(good: bool, what: str) -> None:
    if not good:
        raise Wrong(what)


class Run(NamedTuple):
    """A finished job."""

    status: int
    stdout: bytes
    log: str
    peak_kib: int
    seconds: float


class Row(NamedTuple):
    """A line of the table."""

    what: str
    count: str
    seconds: float
    memory: str
    result: str


def memory_of(pid: int, what: str = "VmRSS") -> int:
    """Resident KiB, or the most there have been ("VmHWM").

    The maximum that wait4 tells is no use: it counts the process that this program
    was before it became the filter.
    """
    text = pathlib.Path(f"/proc/{pid}/status").read_text("ascii")
    found = re.search(rf"^{what}:\s+(\d+) kB$", text, re.MULTILINE)
    assert found is not None
    return int(found[1])


def descriptors_of(pid: int) -> int:
    return len(os.listdir(f"/proc/{pid}/fd"))


def clear_spool() -> None:
    private_spool.clear()


def mib(kib: int) -> str:
    return f"{kib / 1024:.1f} MiB"


class Filter:
    """Runs the filter with an option record, its input being fed piece by piece."""

    def __init__(self, folder: pathlib.Path, **options: str) -> None:
        ppd = folder / "printer.ppd"
        ppd.write_text(ppd_text.ppd_text(options), "utf-8")
        self.log = folder / "log"
        self.start = time.monotonic()
        with self.log.open("wb") as log:
            self.process = subprocess.Popen(
                ["soak", "1", "user", "title", "1", ""], executable=os.environ["DRAV_FILTER"],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=log, cwd=folder,
                env={"PATH": "/usr/bin:/bin", "PPD": str(ppd), "HOME": str(folder)}, bufsize=0)
        self.pieces: list[bytes] = []
        self.reader = threading.Thread(target=self._drain, daemon=True)
        self.reader.start()

    def _drain(self) -> None:
        assert self.process.stdout is not None
        while piece := self.process.stdout.read(1 << 20):
            self.pieces.append(piece)

    def feed(self, pieces: Iterable[bytes]) -> None:
        assert self.process.stdin is not None
        for piece in pieces:
            view = memoryview(piece)
            while view:
                view = view[self.process.stdin.write(view):]

    def until_page(self, number: int) -> None:
        """Until it has printed that many pages and waits for more."""
        waited = f"/proc/{self.process.pid}/stat"
        end = time.monotonic() + PAGE_SECONDS
        while True:
            expect(time.monotonic() < end, f"page {number} never came out")
            expect(self.process.poll() is None, f"the filter ended in page {number}")
            printed = self.log.read_bytes().count(b"printImage: Image processing completed")
            state = pathlib.Path(waited).read_text("ascii").rpartition(")")[2].split()[0]
            if printed == number and state == "S":
                return
            time.sleep(0.001)

    def finish(self, pages: int) -> Run:
        assert self.process.stdin is not None and self.process.stdout is not None
        self.until_page(pages)
        peak = memory_of(self.process.pid, "VmHWM")
        self.process.stdin.close()
        self.reader.join()
        status = self.process.wait()
        self.process.stdout.close()
        return Run(status, b"".join(self.pieces), self.log.read_text("utf-8"), peak,
                   time.monotonic() - self.start)


def check(run: Run, pages: list[tuple[int, int]]) -> None:
    """A job that ended well, every row of every page being there."""
    errors = [line for line in run.log.splitlines()
              if line.startswith(("ERROR:", "CRIT:", "DravPrinter::"))]
    expect(not errors, "; ".join(errors[:3]))
    expect(run.status == 0, f"status {run.status}")
    expect(run.log.endswith("DEBUG:Ready to print.\n"), "no last line")
    job = escpos_stream.decode(run.stdout)
    got = [(len(rows[0]), len(rows)) for rows in escpos_stream.page_rows(job)]
    want = [((width + 3) // 4 * 4 // 8 + bool((width + 3) // 4 * 4 % 8), height)
            for width, height in pages]
    expect(got == want, f"pages of {got[:3]} instead of {want[:3]}")
    sizes = {len(rows) for rows in job.rows}
    expect(sizes == {width for width, _ in want}, f"rows of {sizes}")


class Soak:
    """The jobs, small counts of them when quick."""

    def __init__(self, folder: pathlib.Path, quick: bool) -> None:
        self.folder = folder
        self.quick = quick
        self.rng = random.Random(2026)

    def run(self, pages: list[cups_raster.Page], **options: str) -> Run:
        job = Filter(self.folder, **options)
        job.feed([cups_raster.stream(pages)])
        run = job.finish(len(pages))
        clear_spool()
        return run

    def page_options(self) -> dict[str, str]:
        """Options that leave every row there."""
        return {"StencilMirror": self.rng.choice(("False", "True")),
                "HalfTurn": self.rng.choice(("False", "True")),
                "InvertPage": self.rng.choice(("False", "True")),
                "Contrast": self.rng.choice(("0", "10", "50")),
                "KeepPictures": self.rng.choice(("True", "False"))}

    def small_jobs(self) -> Row:
        count = 100 if self.quick else 2000
        start = time.monotonic()
        peaks = []
        for _ in range(count):
            sizes = [(self.rng.randint(1, 200), self.rng.randint(1, 200))
                     for _ in range(self.rng.randint(1, 3))]
            pages = [cups_raster.grey([self.rng.randbytes(width)] * height)
                     for width, height in sizes]
            run = self.run(pages, HalftoneType=self.rng.choice(ppd_text.HALFTONES),
                           docCutType=self.rng.choice("012"), **self.page_options())
            check(run, sizes)
            peaks.append(run.peak_kib)
        spread = max(peaks) - min(peaks)
        expect(spread < 2048, f"peaks from {min(peaks)} to {max(peaks)} KiB")
        return Row("jobs of at most 200 x 200 dots, a process each", f"{count} jobs",
                   time.monotonic() - start, f"{mib(min(peaks))} to {mib(max(peaks))} at most",
                   "every row there")

    def jobs_of_one_process(self) -> Row:
        count = 60 if self.quick else 2000
        start = time.monotonic()
        done = subprocess.run(
            [os.environ["DRAV_FILTER_TEST"], "--gtest_filter=*ManyJobsOfOneProcess*"],
            env={**os.environ, "DRAV_SOAK_JOBS": str(count)}, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True, check=False)
        found = re.search(r"^jobs (\d+), resident (\d+) KiB after (\d+) of them, (-?\d+) KiB more",
                          done.stdout, re.MULTILINE)
        expect(done.returncode == 0 and found is not None, done.stdout[-400:])
        assert found is not None
        grown = int(found[4])
        # A page of heap may stay behind as the sizes vary; a byte a job may not.
        expect(grown < 256 + count // 4, f"{grown} KiB more after {count} jobs")
        return Row("jobs of at most 200 x 200 dots, all in one process", f"{count} jobs",
                   time.monotonic() - start,
                   f"{mib(int(found[2]))} after {found[3]} jobs, {grown} KiB more at the end",
                   "bytes of the model; no block, no descriptor left by any job")

    def a4_jobs(self) -> Row:
        count = 3 if self.quick else 50
        width, height = A4
        start = time.monotonic()
        strip = [self.rng.randbytes(width) for _ in range(501)]
        page = cups_raster.grey([strip[y % 501] for y in range(height)])
        seen: dict[str, set[bytes]] = collections.defaultdict(set)
        peaks = []
        for number in range(count):
            halftone = ppd_text.HALFTONES[(number * 7 + 8) % 10]
            run = self.run([page], HalftoneType=halftone)
            check(run, [A4])
            seen[halftone].add(run.stdout)
            expect(len(seen[halftone]) == 1, f"{halftone}: another stream than before")
            peaks.append(run.peak_kib)
        return Row("jobs of one A4 page", f"{count} jobs", time.monotonic() - start,
                   f"{mib(min(peaks))} to {mib(max(peaks))} at most",
                   f"every row there, same bytes each time, {len(seen)} halftones")

    def many_pages(self) -> Row:
        count = 40 if self.quick else 500
        sizes = [(2480, 600), (640, 1000), (945, 400), (1181, 900), (201, 33)]
        pages = [cups_raster.grey([self.rng.randbytes(width)] * height)
                 for width, height in sizes]
        job = Filter(self.folder, HalftoneType="Tattoo", pageCutType="1")
        job.feed([cups_raster.sync_bytes()])
        memory, descriptors = [], set()
        for number in range(count):
            job.feed([cups_raster.page_bytes(pages[number % len(pages)])])
            job.until_page(number + 1)
            memory.append(memory_of(job.process.pid))
            descriptors.add(descriptors_of(job.process.pid))
            clear_spool()
        run = job.finish(count)
        check(run, [sizes[number % len(sizes)] for number in range(count)])
        settled = SETTLING_ROUNDS * len(sizes)
        first = max(memory[:settled])
        grown = max(memory[settled:]) - first
        expect(grown <= 16 * KIB_A_PAGE, f"{grown} KiB more after the first {settled} pages")
        expect(descriptors == {3}, f"descriptors {descriptors}")
        return Row(f"one job of {len(sizes)} page sizes in turn", f"{count} pages", run.seconds,
                   f"{mib(first)} in the first {settled} pages, {max(grown, 0)} KiB more in the "
                   f"{count - settled} behind them",
                   "every row there, 3 descriptors between all pages")

    def large(self, what: str, size: tuple[int, int], halftone: str) -> Row:
        """A page that repeats a strip; threshold pages are compared row by row."""
        width, height = size
        strip = [self.rng.randbytes(width) for _ in range(min(height, 499))]
        header = cups_raster.page(width, height, b"").header

        def pieces() -> Iterator[bytes]:
            yield cups_raster.sync_bytes() + cups_raster.header_bytes(header, 3, "<")
            whole = b"".join(strip)
            for _ in range(height // len(strip)):
                yield whole
            yield whole[:height % len(strip) * width]

        job = Filter(self.folder, HalftoneType=halftone)
        job.feed(pieces())
        run = job.finish(1)
        check(run, [size])
        result = "every row there"
        if halftone == "None":
            packed = [packed_row(row) for row in strip]
            rows = escpos_stream.decode(run.stdout).rows
            expect(all(row == packed[y % len(strip)] for y, row in enumerate(rows)), "other rows")
            result = "every row there and as packed by hand"
        clear_spool()
        return Row(f"{what}, {halftone}", f"{width} x {height}", run.seconds,
                   f"{mib(run.peak_kib)} at most, {run.peak_kib * 1024 / (width * height):.2f} "
                   "bytes a dot", result)

    def as_modelled(self, what: str, size: tuple[int, int]) -> Row:
        """A page in every halftone, against the plain model."""
        width, height = size
        start = time.monotonic()
        pixels = b"".join(self.rng.randbytes(width) for _ in range(height))
        halftones = ppd_text.HALFTONES[7:] if self.quick else ppd_text.HALFTONES
        peaks = []
        for halftone in halftones:
            run = self.run([cups_raster.page(width, height, pixels)], HalftoneType=halftone)
            check(run, [size])
            (self.folder / "pixels").write_bytes(pixels)
            (self.folder / "job.txt").write_text(
                f"halftoneName {halftone}\npage {width} {width} {height} 300 300 8 1 3 - pixels\n",
                "ascii")
            subprocess.run([os.environ["DRAV_MODEL_STREAM"], str(self.folder)], check=True)
            expect((self.folder / "expected.stdout").read_bytes() == run.stdout,
                   f"{halftone} of {what} differs from the model")
            peaks.append(run.peak_kib)
        return Row(f"{what}, {len(halftones)} halftones", f"{width} x {height}",
                   time.monotonic() - start, f"{mib(max(peaks))} at most", "bytes of the model")

    def jobs(self) -> Iterator[Callable[[], Row]]:
        yield self.small_jobs
        yield self.jobs_of_one_process
        yield self.a4_jobs
        yield self.many_pages
        yield lambda: self.as_modelled("page of 65,535 rows", (8, 65535))
        yield lambda: self.as_modelled("page of 30,000 pixels a row",
                                       (30000, 20 if self.quick else 97))
        if self.quick:
            return
        for halftone in ("None", "JarvisJudiceNinke", "Tattoo"):
            yield functools.partial(self.large, "page of 65,535 rows", (A4[0], 65535), halftone)
            yield functools.partial(self.large, "page of 30,000 pixels a row", (30000, 5000),
                                    halftone)
            yield functools.partial(self.large, "roll of 10 m", ROLL, halftone)


def packed_row(row: bytes) -> bytes:
    """A row by threshold: 129 and above is a dot; four pixels of padding are none."""
    dots = "".join("1" if level >= 129 else "0" for level in row)
    dots += "0" * (-len(dots) % 4)
    dots += "0" * (-len(dots) % 8)
    return int(dots, 2).to_bytes(len(dots) // 8, "big")


def machine() -> str:
    for line in pathlib.Path("/proc/cpuinfo").read_text("utf-8").splitlines():
        if line.startswith(("model name", "Model")):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def report(soak: Soak) -> int:
    for job in soak.jobs():
        try:
            row = job()
        except (Wrong, escpos_stream.StreamError) as error:
            print(f"soak: {error}", file=sys.stderr)
            return 1
        print(f"| {row.what} | {row.count} | {row.seconds:.1f} | {row.memory} "
              f"| {row.result} |", flush=True)
    return 0


def main() -> int:
    parser = argparse.ArgumentParser(description="Long and large jobs")
    parser.add_argument("--quick", action="store_true", help="small counts, for every day")
    quick = parser.parse_args().quick
    private_spool.enter()
    print(f"{datetime.date.today().isoformat()}, {machine()}, {os.cpu_count()} processors, "
          f"{platform.system()} {platform.release()}\n")
    print("| Job | How much | Seconds | Resident memory | Result |")
    print("|---|---|---:|---|---|", flush=True)
    # Both pictures of the largest page, 293 MB each, and some more.
    memory = (private_spool.scratch_memory(SPOOL, "mode=1777,size=1g")
              if private_spool.may_mount() else contextlib.nullcontext())
    with harness.no_process_left(), memory:
        with tempfile.TemporaryDirectory(prefix="drav-soak-") as folder:
            return report(Soak(pathlib.Path(folder), quick))


if __name__ == "__main__":
    sys.exit(main())
