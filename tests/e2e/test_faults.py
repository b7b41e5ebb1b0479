# SPDX-License-Identifier: Apache-2.0
"""Standard output that fails, and standard descriptors that the caller has closed."""
import os
import subprocess
import threading

import cups_raster
import escpos_stream
import filter_case
import ppd_text
import private_spool
from filter_case import (DOTS_BAND, DOTS_PAGE, FilterCase, Outcome, RunningFilter,
                         close_descriptor, dots_job)

RASTER = cups_raster.stream([DOTS_PAGE] * 3)
BIG_PAGE = cups_raster.grey([b"\xff" * 2000] * 480)  # five bands of 24,000 bytes
RECORD_PPD = ppd_text.ppd_text({"RecordPrinterCommands": "1"}, {"dravFilterOutputFile": "cmds"})


class FailingOutputTest(FilterCase):
    def assert_given_up(self, outcome: Outcome, pages: int = 1) -> None:
        """One error line, no further page, and no death by SIGPIPE."""
        self.assertEqual(outcome.status, 1)
        self.assertEqual(len(outcome.errors), 1, outcome.stderr)
        self.assertEqual(len(outcome.having("DEBUG:PAGE:")), pages)
        self.assertNotIn("Ready to print.", outcome.stderr)

    def test_full_device(self) -> None:
        for name, raster in (("small", RASTER), ("big", cups_raster.stream([BIG_PAGE] * 2))):
            with self.subTest(name):
                with open("/dev/full", "wb") as full:
                    self.assert_given_up(self.run_filter(raster, stdout=full.fileno()))

    @private_spool.needs_mounts
    def test_disk_that_fills_up_in_a_later_page(self) -> None:
        disk = self.folder / "disk"
        disk.mkdir()
        with private_spool.scratch_memory(disk, "size=16k"):
            with (disk / "job").open("wb") as job:
                page = cups_raster.grey([b"\xff" * 800] * 96)
                outcome = self.run_filter(cups_raster.stream([page] * 4), stdout=job.fileno())
        self.assert_given_up(outcome, pages=2)

    def test_no_reader_at_all(self) -> None:
        reader, writer = os.pipe()
        os.close(reader)
        try:
            self.assert_given_up(self.run_filter(RASTER, stdout=writer))
        finally:
            os.close(writer)

    def test_reader_that_goes_away_within_a_page(self) -> None:
        job = RunningFilter(self, ppd_text.ppd_text())
        job.feed(cups_raster.stream([BIG_PAGE, DOTS_PAGE]))
        self.assertGreater(len(job.read_some(100)), 0)
        job.until_blocked()
        assert job.process.stdout is not None
        job.process.stdout.close()
        status = job.process.wait(filter_case.TIMEOUT)
        self.assert_given_up(Outcome(status, b"", job.log()))

    def test_reader_that_goes_away_between_pages(self) -> None:
        job = RunningFilter(self, ppd_text.ppd_text())
        job.feed(cups_raster.stream([DOTS_PAGE]))
        job.until_logged("printImage: Image processing completed")
        job.until_hungry()
        assert job.process.stdout is not None
        job.process.stdout.close()
        job.feed(cups_raster.page_bytes(DOTS_PAGE) * 2)
        job.close_input()
        status = job.process.wait(filter_case.TIMEOUT)
        self.assert_given_up(Outcome(status, b"", job.log()), pages=2)

    def test_reader_that_goes_away_before_the_end(self) -> None:
        job = RunningFilter(self, ppd_text.ppd_text())
        job.feed(cups_raster.stream([DOTS_PAGE]))
        job.until_logged("printImage: Image processing completed")
        job.until_hungry()
        assert job.process.stdout is not None
        job.process.stdout.close()
        job.close_input()
        status = job.process.wait(filter_case.TIMEOUT)
        self.assert_given_up(Outcome(status, b"", job.log()))

    def test_slow_reader_gets_every_byte(self) -> None:
        want = self.run_pages(BIG_PAGE, BIG_PAGE).stdout
        job = RunningFilter(self, ppd_text.ppd_text())
        feeder = threading.Thread(
            target=lambda: (job.feed(cups_raster.stream([BIG_PAGE, BIG_PAGE])), job.close_input()))
        feeder.start()
        got = b""
        while chunk := job.read_some(1999):
            got += chunk
        feeder.join()
        self.assertEqual(job.finish().status, 0)
        self.assertEqual(got, want)
        self.assertEqual(len(escpos_stream.decode(got).rows), 960)

    def test_record_gets_no_page_more(self) -> None:
        with open("/dev/full", "wb") as full:
            outcome = self.run_filter(RASTER, ppd=RECORD_PPD, stdout=full.fileno())
        self.assert_given_up(outcome)
        [record] = self.folder.glob("cmds-*.bin")
        self.assertEqual(record.read_bytes(), DOTS_BAND)


class ClosedDescriptorTest(FilterCase):
    """No file of the filter's own may take the place of a closed standard descriptor."""

    def setUp(self) -> None:
        super().setUp()
        self.assertEqual(self.run_filter(RASTER, ppd=RECORD_PPD).stdout, dots_job(3))
        self.expected = self.files()
        self.assertEqual(len(self.expected), 7)

    def files(self) -> list[bytes]:
        """Contents of the pictures and the record, which are then removed."""
        paths = [*self.pictures().values(), *sorted(self.folder.glob("cmds-*.bin"))]
        contents = [path.read_bytes() for path in paths]
        for path in paths:
            path.unlink()
        return contents

    def test_standard_output(self) -> None:
        outcome = self.run_filter(RASTER, ppd=RECORD_PPD, prepare=close_descriptor(1))
        self.assertEqual(outcome.status, 1)
        self.assertEqual(len(outcome.errors), 1, outcome.stderr)
        self.assertNotIn("PAGE: 2", outcome.stderr)
        self.assertEqual(self.files(), [*self.expected[:2], DOTS_BAND])

    def test_standard_error(self) -> None:
        outcome = self.run_filter(RASTER, ppd=RECORD_PPD, prepare=close_descriptor(2))
        self.assertEqual(outcome, Outcome(0, dots_job(3), ""))
        self.assertEqual(self.files(), self.expected)

    def test_standard_input_and_output(self) -> None:
        self.write("page.ras", RASTER)

        def close_both() -> None:
            os.close(0)
            os.close(1)

        outcome = self.run_filter(b"", ppd=RECORD_PPD, prepare=close_both,
                                  arguments=self.arguments("", "1", "page.ras"))
        self.assertEqual(outcome.status, 1)
        self.assertEqual(len(outcome.errors), 1, outcome.stderr)
        self.assertEqual(self.files(), [*self.expected[:2], DOTS_BAND])

    def test_all_but_standard_output(self) -> None:
        self.write("page.ras", RASTER)

        def close_others() -> None:
            os.close(0)
            os.close(2)

        outcome = self.run_filter(b"", ppd=RECORD_PPD, prepare=close_others,
                                  arguments=self.arguments("", "1", "page.ras"))
        self.assertEqual(outcome, Outcome(0, dots_job(3), ""))
        self.assertEqual(self.files(), self.expected)

    def test_all(self) -> None:
        self.write("page.ras", RASTER)

        def close_all() -> None:
            for number in range(3):
                os.close(number)

        outcome = self.run_filter(b"", ppd=RECORD_PPD, prepare=close_all,
                                  arguments=self.arguments("", "1", "page.ras"))
        self.assertEqual(outcome, Outcome(1, b"", ""))
        self.assertEqual(self.files(), [*self.expected[:2], DOTS_BAND])

    def test_standard_error_without_a_reader(self) -> None:
        reader, writer = os.pipe()
        os.close(reader)
        for target in (writer, os.open("/dev/full", os.O_WRONLY)):
            done = subprocess.run(
                self.arguments(), executable=filter_case.filter_path(), input=RASTER,
                stdout=subprocess.PIPE, stderr=target, cwd=self.folder,
                env=self.environment(RECORD_PPD), timeout=filter_case.TIMEOUT, check=False)
            os.close(target)
            self.assertEqual((done.returncode, done.stdout), (0, dots_job(3)))
            self.assertEqual(self.files(), self.expected)


if __name__ == "__main__":
    filter_case.main()
