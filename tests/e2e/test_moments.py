# SPDX-License-Identifier: Apache-2.0
"""SIGTERM at random moments, by the clock and by the bytes that have come out."""
import os
import pathlib
import random
import signal
import subprocess
import threading
import time

import cups_raster
import escpos_stream
import filter_case
import ppd_text
from cancel_points import CancelPoints
from filter_case import FilterCase, Outcome

MOMENTS = int(os.environ.get("DRAV_MOMENTS", "200"))
CUTS = (("0", "0"), ("1", "2"), ("0", "1"), ("2", "0"))


def random_pages(rng: random.Random) -> list[cups_raster.Page]:
    return [cups_raster.grey([rng.randbytes(width)] * height)
            for width, height in ((500, 500), (333, 97), (800, 300))]


class MomentsTest(FilterCase):
    """Each test gives half of the signals."""

    def setUp(self) -> None:
        super().setUp()
        self.rng = random.Random(200)
        self.write("job.ras", cups_raster.stream(random_pages(self.rng)))
        self.seen = {"before the handler": 0, "cancelled": 0, "too late": 0}

    def ppd(self, page_cut: str, job_cut: str, halftone: str) -> str:
        return ppd_text.ppd_text(
            {"pageCutType": page_cut, "docCutType": job_cut, "PageBuzzerSetting": "1",
             "BuzzerOnTime": "1", "BuzzerRepeat": "2", "HalftoneType": halftone,
             "RecordPrinterCommands": "1"}, {"dravFilterOutputFile": "cmds"})

    def start(self, ppd: str) -> subprocess.Popen[bytes]:
        with (self.folder / "job.ras").open("rb") as raster:
            with (self.folder / "log").open("wb") as log:
                job = subprocess.Popen(
                    self.arguments(), executable=filter_case.filter_path(), stdin=raster,
                    stdout=subprocess.PIPE, stderr=log, cwd=self.folder,
                    env=self.environment(ppd), bufsize=0)
        # A filter that hangs must not hang the test.
        guard = threading.Timer(filter_case.TIMEOUT, job.kill)
        guard.start()
        self.addCleanup(guard.cancel)
        return job

    def finish(self, job: subprocess.Popen[bytes], got: bytes = b"") -> Outcome:
        assert job.stdout is not None
        got += job.stdout.read()
        job.stdout.close()
        log = (self.folder / "log").read_text("utf-8") if job.wait() is not None else ""
        return Outcome(job.returncode, got, log)

    def whole(self, ppd: str) -> tuple[bytes, float]:
        """What the job sends undisturbed, and how long it takes."""
        start = time.monotonic()
        outcome = self.finish(self.start(ppd))
        seconds = time.monotonic() - start
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        self.take_record()
        return outcome.stdout, seconds

    def take_record(self) -> bytes | None:
        paths: list[pathlib.Path] = sorted(self.folder.glob("cmds-*.bin"))
        self.assertLessEqual(len(paths), 1)
        contents = [path.read_bytes() for path in paths]
        for path in paths:
            path.unlink()
        self.pictures()  # fails on any other file
        self.clear_spool()
        return contents[0] if contents else None

    def check(self, outcome: Outcome, points: CancelPoints) -> None:
        record = self.take_record()
        if outcome.status == -signal.SIGTERM:
            # Before main has begun; the libraries are still being loaded.
            self.assertEqual((outcome.stdout, outcome.stderr, record), (b"", "", None))
            self.seen["before the handler"] += 1
            return
        self.assertEqual(outcome.errors, [])
        ready = outcome.having("DEBUG:Ready to print.")
        if outcome.status == 0:
            self.assertEqual(outcome.stdout, points.whole)
            self.assertEqual(len(ready), 1)
            self.seen["too late"] += 1
        else:
            self.assertEqual(outcome.status, 1)
            self.assertIsNotNone(points.find(outcome.stdout), f"{len(outcome.stdout)} bytes")
            self.assertEqual(ready, [])
            self.seen["cancelled"] += 1
        bands = b"".join(item.data for item in escpos_stream.decode(outcome.stdout).items
                         if item.name == "band")
        self.assertEqual(record, bands)

    def settings(self, number: int) -> tuple[str, str, str]:
        return *CUTS[number % len(CUTS)], self.rng.choice(ppd_text.HALFTONES)

    def test_by_the_clock(self) -> None:
        for number in range(MOMENTS // 2 // 10):
            page_cut, job_cut, halftone = self.settings(number)
            ppd = self.ppd(page_cut, job_cut, halftone)
            whole, seconds = self.whole(ppd)
            points = CancelPoints(whole, page_cut, job_cut)
            for _ in range(10):
                delay = self.rng.random() * seconds
                with self.subTest(halftone, page_cut=page_cut, job_cut=job_cut, delay=delay):
                    job = self.start(ppd)
                    timer = threading.Timer(delay, job.send_signal, (signal.SIGTERM,))
                    timer.start()
                    outcome = self.finish(job)
                    timer.cancel()
                    timer.join()
                    self.check(outcome, points)
        self.assertGreater(self.seen["cancelled"], MOMENTS // 20, self.seen)

    def test_by_the_bytes_that_have_come_out(self) -> None:
        for number in range(MOMENTS // 2 // 10):
            page_cut, job_cut, halftone = self.settings(number)
            ppd = self.ppd(page_cut, job_cut, halftone)
            whole, _ = self.whole(ppd)
            points = CancelPoints(whole, page_cut, job_cut)
            for _ in range(10):
                count = self.rng.randrange(1, len(whole))
                with self.subTest(halftone, page_cut=page_cut, job_cut=job_cut, count=count):
                    job = self.start(ppd)
                    assert job.stdout is not None
                    got = b""
                    while len(got) < count and (chunk := job.stdout.read(count - len(got))):
                        got += chunk
                    job.send_signal(signal.SIGTERM)
                    outcome = self.finish(job, got)
                    self.check(outcome, points)
        self.assertEqual(self.seen["before the handler"], 0)
        self.assertGreater(self.seen["cancelled"], MOMENTS // 20, self.seen)


if __name__ == "__main__":
    filter_case.main()
