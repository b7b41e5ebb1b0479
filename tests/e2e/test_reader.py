# SPDX-License-Identifier: Apache-2.0
"""A reader of standard output that dies, stalls and resumes, or runs out of room."""
import fcntl
import os
import pathlib
import random
import resource
import signal
import subprocess
import time
from collections.abc import Sequence

import cups_raster
import filter_case
import ppd_text
import private_spool
from cancel_points import CancelPoints
from filter_case import FilterCase, Outcome

CASES = int(os.environ.get("DRAV_READER_CASES", "40"))
PIPE_BYTES = 4096
SECONDS_TO_END = 1.0
# Other work of the machine may hold up a filter or two.
SLOW_CASES = 0.1
HARD_LIMIT = 20.0


def random_page(rng: random.Random, width: int, height: int) -> cups_raster.Page:
    return cups_raster.grey([rng.randbytes(width)] * height)


class ReaderCase(FilterCase):
    def setUp(self) -> None:
        super().setUp()
        self.rng = random.Random(33)
        self.ppd = ppd_text.ppd_text(
            {"pageCutType": "1", "docCutType": "2", "PageBuzzerSetting": "1",
             "BuzzerOnTime": "1", "BuzzerRepeat": "2", "HalftoneType": "Burkes",
             "RecordPrinterCommands": "1"}, {"dravFilterOutputFile": "cmds"})
        pages = [random_page(self.rng, width, height)
                 for width, height in ((1000, 500), (333, 97), (1600, 300))]
        self.raster = self.write("job.ras", cups_raster.stream(pages))
        outcome = self.run_filter(self.raster.read_bytes(), ppd=self.ppd)
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        self.whole = outcome.stdout
        self.record = self.take_record()

    def take_record(self) -> bytes:
        [path] = self.folder.glob("cmds-*.bin")
        content = path.read_bytes()
        path.unlink()
        self.pictures()  # fails on any other file
        self.clear_spool()
        return content

    def start(self, stdout: int, prepare: object = None) -> subprocess.Popen[bytes]:
        with self.raster.open("rb") as raster, (self.folder / "log").open("wb") as log:
            job = subprocess.Popen(
                self.arguments(), executable=filter_case.filter_path(), stdin=raster,
                stdout=stdout, stderr=log, cwd=self.folder, env=self.environment(self.ppd),
                preexec_fn=prepare)  # type: ignore[arg-type]
        self.addCleanup(self.stop, job)
        return job

    @staticmethod
    def stop(job: subprocess.Popen[bytes]) -> None:
        if job.poll() is None:
            job.kill()
            job.wait()

    def outcome(self, job: subprocess.Popen[bytes], stdout: bytes) -> Outcome:
        status = job.wait(HARD_LIMIT)
        return Outcome(status, stdout, (self.folder / "log").read_text("utf-8"))

    def small_pipe(self) -> tuple[int, int]:
        reader, writer = os.pipe()
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, PIPE_BYTES)
        return reader, writer

    def read(self, reader: int, count: int) -> bytes:
        got = b""
        while len(got) < count and (chunk := os.read(reader, count - len(got))):
            got += chunk
        return got

    def assert_given_up(self, outcome: Outcome) -> None:
        self.assertEqual(outcome.status, 1)
        self.assertEqual(outcome.errors, ["ERROR:Unable to write to standard output!"])
        self.assertEqual(outcome.having("DEBUG:Ready to print."), [])
        self.assertTrue(self.record.startswith(self.take_record()))

    def assert_quick(self, seconds: Sequence[float]) -> None:
        slow = [second for second in seconds if second > SECONDS_TO_END]
        self.assertLessEqual(len(slow), SLOW_CASES * len(seconds), slow)


class DyingReaderTest(ReaderCase):
    def test_reader_that_dies_at_a_random_byte(self) -> None:
        seconds = []
        for number in range(CASES):
            # Dead before the first byte, and with all but the pipe's capacity to go.
            last = len(self.whole) - 2 * PIPE_BYTES
            count = (0, last, 1, 64)[number] if number < 4 else self.rng.randrange(last)
            with self.subTest(count=count):
                reader, writer = self.small_pipe()
                job = self.start(writer)
                os.close(writer)
                got = self.read(reader, count)
                os.close(reader)
                start = time.monotonic()
                outcome = self.outcome(job, got)
                seconds.append(time.monotonic() - start)
                self.assertEqual(got, self.whole[:count])
                self.assert_given_up(outcome)
        self.assert_quick(seconds)

    def test_reader_that_dies_with_nothing_left_to_write(self) -> None:
        reader, writer = self.small_pipe()
        job = self.start(writer)
        os.close(writer)
        got = self.read(reader, len(self.whole) - 10)
        self.assertEqual(job.wait(HARD_LIMIT), 0)
        self.assertEqual(got + self.read(reader, 11), self.whole)
        os.close(reader)


class FullOutputTest(ReaderCase):
    """Whatever fits is a beginning of the undisturbed stream."""

    def test_file_that_may_not_grow(self) -> None:
        seconds = []
        path = self.folder / "job"
        for number in range(CASES):
            limit = number if number < 2 else self.rng.randrange(len(self.whole))
            with self.subTest(limit=limit), path.open("wb") as out:
                start = time.monotonic()
                job = self.start(out.fileno(), lambda limit=limit: resource.setrlimit(
                    resource.RLIMIT_FSIZE, (limit, limit)))
                # The log, the record and the pictures are cut off by the limit too.
                status = job.wait(HARD_LIMIT)
                seconds.append(time.monotonic() - start)
                self.assertEqual(status, 1)
                self.assertEqual(path.read_bytes(), self.whole[:limit])
                self.assertTrue(self.record.startswith(self.take_record()))
        self.assert_quick(seconds)

    @private_spool.needs_mounts
    def test_disk_that_fills_up(self) -> None:
        disk = self.folder / "disk"
        disk.mkdir()
        for kib in (4, 8, 12, 20, 36, 60, 84):
            with self.subTest(kib=kib), private_spool.scratch_memory(disk, f"size={kib}k"):
                with (disk / "job").open("wb") as out:
                    outcome = self.outcome(self.start(out.fileno()), b"")
                written = (disk / "job").read_bytes()
                self.assertLess(len(written), len(self.whole))
                self.assertEqual(written, self.whole[:len(written)])
                self.assertGreaterEqual(len(written), kib * 1024)
                self.assert_given_up(outcome)

    def test_device_that_is_always_full(self) -> None:
        seconds = []
        for _ in range(5):
            with open("/dev/full", "wb") as full:
                start = time.monotonic()
                outcome = self.outcome(self.start(full.fileno()), b"")
                seconds.append(time.monotonic() - start)
            self.assert_given_up(outcome)
        # The start of the program is in it, and other work of the machine.
        self.assertLess(min(seconds), SECONDS_TO_END)


class StalledReaderTest(ReaderCase):
    def cpu_ticks(self, job: subprocess.Popen[bytes]) -> int:
        stat = pathlib.Path(f"/proc/{job.pid}/stat").read_text("ascii")
        fields = stat.rpartition(")")[2].split()
        return int(fields[11]) + int(fields[12])

    def until_blocked(self, job: subprocess.Popen[bytes], reader: int) -> int:
        """Waits until the filter sleeps on a full pipe; returns the bytes in it."""
        end = time.monotonic() + HARD_LIMIT
        seen: list[tuple[int, str]] = []
        while len(seen) < 15 or len(set(seen[-15:])) > 1 or seen[-1][1] != "S":
            self.assertLess(time.monotonic(), end, "the filter never waited for its reader")
            stat = pathlib.Path(f"/proc/{job.pid}/stat").read_text("ascii")
            queued = filter_case.RunningFilter._queued(reader)
            seen.append((queued, stat.rpartition(")")[2].split()[0]))
            time.sleep(0.002)
        return seen[-1][0]

    def test_filter_waits_and_goes_on_where_it_was(self) -> None:
        reader, writer = self.small_pipe()
        job = self.start(writer)
        os.close(writer)
        got = b""
        for _ in range(6):
            got += self.read(reader, self.rng.randrange(1, len(self.whole) // 7))
            self.until_blocked(job, reader)
            ticks = self.cpu_ticks(job)
            time.sleep(0.15)
            self.assertLessEqual(self.cpu_ticks(job) - ticks, 1, "it spins instead of waiting")
        got += self.read(reader, len(self.whole) + 1)
        os.close(reader)
        outcome = self.outcome(job, got)
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        self.assertEqual(outcome.lines[-1], "DEBUG:Ready to print.")
        self.assertEqual(got, self.whole)
        self.assertEqual(self.take_record(), self.record)

    def test_cancel_sends_the_rest_of_the_band_and_the_tail(self) -> None:
        points = CancelPoints(self.whole, "1", "2")
        for _ in range(CASES // 2):
            count = self.rng.randrange(len(self.whole) - 2 * PIPE_BYTES)
            with self.subTest(count=count):
                reader, writer = self.small_pipe()
                buffered = os.fstat(writer).st_blksize
                job = self.start(writer)
                os.close(writer)
                got = self.read(reader, count)
                taken = count + self.until_blocked(job, reader)
                job.send_signal(signal.SIGTERM)
                got += self.read(reader, len(self.whole))
                os.close(reader)
                outcome = self.outcome(job, got)
                self.assertEqual((outcome.status, outcome.errors), (1, []))
                point = points.find(got)
                assert point is not None, f"{len(got)} bytes after {taken}"
                # The byte that waits belongs to the band in work, or lies a
                # buffer in front of it.
                self.assertGreaterEqual(point.offset, taken)
                self.assertLessEqual(point.offset, points.band_end(taken + buffered))
                self.assertTrue(self.record.startswith(self.take_record()))


if __name__ == "__main__":
    filter_case.main()
