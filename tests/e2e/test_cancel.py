# SPDX-License-Identifier: Apache-2.0
"""SIGTERM: the job was cancelled. The stream must end on a whole band and a short tail."""
import cups_raster
import escpos_stream
import filter_case
import ppd_text
from filter_case import (DOTS_BAND, DOTS_PAGE, FULL_CUT, JOB_SETUP, PAGE_END, PARTIAL_CUT, ZEROS,
                         FilterCase, Outcome, RunningFilter)

START = ZEROS + JOB_SETUP
HEADER_OF_DOTS = cups_raster.page_bytes(DOTS_PAGE)
TALL_PAGE = cups_raster.grey([bytes(range(1, 251)) * 8] * 960)  # ten bands of 24,000 bytes
CUTS = {"0": b"", "1": PARTIAL_CUT, "2": FULL_CUT, "3": b""}


def cut_ppd(page: str, job: str, **more: ppd_text.Choices) -> str:
    return ppd_text.ppd_text({"pageCutType": page, "docCutType": job, **more})


class CancelCase(FilterCase):
    def assert_cancelled(self, outcome: Outcome, stdout: bytes) -> None:
        self.assertEqual(outcome.stdout.hex(" "), stdout.hex(" "))
        self.assertEqual(outcome.status, 1)
        self.assertEqual(outcome.errors, [])
        self.assertNotIn("Ready to print.", outcome.stderr)

    def start(self, ppd: str) -> RunningFilter:
        return RunningFilter(self, ppd)


class WaitingForInputTest(CancelCase):
    """While the filter waits for a header or for pixels, the input ends or goes on."""

    def test_before_the_first_header(self) -> None:
        job = self.start(cut_ppd("1", "2"))
        job.feed(cups_raster.sync_bytes())
        job.until_hungry()
        job.terminate()
        job.close_input()
        self.assert_cancelled(job.finish(), START)

    def test_before_the_sync_word(self) -> None:
        job = self.start(cut_ppd("1", "2"))
        job.until_logged("DEBUG:getOptionChoiceIndex: docCutType = 2")
        job.until_hungry()
        job.terminate()
        job.close_input()
        self.assert_cancelled(job.finish(), START)

    def test_page_that_arrives_after_the_signal_is_not_printed(self) -> None:
        job = self.start(cut_ppd("1", "2", PageBuzzerSetting="1"))
        job.feed(cups_raster.sync_bytes())
        job.until_hungry()
        job.terminate()
        job.feed(HEADER_OF_DOTS)
        job.close_input()
        self.assert_cancelled(job.finish(), START)

    def after_one_page(self, ppd: str, more: bytes = b"", signals: int = 1) -> Outcome:
        job = self.start(ppd)
        job.feed(cups_raster.stream([DOTS_PAGE]) + more)
        job.until_logged("DEBUG:printImage: Image processing completed")
        if more:
            job.until_logged("DEBUG:PAGE: 2 1")
        job.until_hungry()
        for _ in range(signals):
            job.terminate()
        job.close_input()
        return job.finish()

    def test_between_pages_only_an_outstanding_job_cut_follows(self) -> None:
        for page_cut in CUTS:
            for job_cut in CUTS:
                with self.subTest(pageCutType=page_cut, docCutType=job_cut):
                    tail = b"" if CUTS[page_cut] else CUTS[job_cut]
                    self.assert_cancelled(
                        self.after_one_page(cut_ppd(page_cut, job_cut)),
                        START + DOTS_BAND + PAGE_END + CUTS[page_cut] + tail)

    def test_in_mid_pixel_data_after_a_page(self) -> None:
        half = cups_raster.page_bytes(cups_raster.page(8, 2, b"\xff" * 8))
        for page_cut, job_cut, tail in (("0", "1", PARTIAL_CUT), ("0", "0", b""), ("2", "1", b"")):
            with self.subTest(pageCutType=page_cut, docCutType=job_cut):
                self.assert_cancelled(
                    self.after_one_page(cut_ppd(page_cut, job_cut), half),
                    START + DOTS_BAND + PAGE_END + CUTS[page_cut] + tail)

    def test_in_mid_pixel_data_of_the_first_page(self) -> None:
        for rest in (b"", b"\xff" * 8):
            with self.subTest(rest=rest):
                job = self.start(cut_ppd("1", "2"))
                job.feed(cups_raster.stream([cups_raster.page(8, 2, b"\xff" * 8)]))
                job.until_logged("DEBUG:PAGE: 1 1")
                job.until_hungry()
                job.terminate()
                job.feed(rest)
                job.close_input()
                self.assert_cancelled(job.finish(), START)

    def test_a_second_signal_changes_nothing(self) -> None:
        self.assert_cancelled(self.after_one_page(cut_ppd("0", "2"), signals=2),
                              START + DOTS_BAND + PAGE_END + FULL_CUT)

    def test_no_logo_buzzer_drawer_feed_or_status_request(self) -> None:
        everything = ppd_text.ppd_text({
            "docCutType": "1", "FeedCutAfterJobEnd": "3", "CashDrawer1Setting": "2",
            "CashDrawer2Setting": "2", "DocumentBuzzerSetting": "2", "PageBuzzerSetting": "2",
            "BuzzerOnTime": "1", "BuzzerRepeat": "1", "DocBottomLogoID": "1",
            "DocBottomLogoMode": "0", "DocBottomLogoPosition": "0"})
        page_end = PAGE_END + bytes.fromhex("1B6100 1C700100 1B6100 1B420101")
        self.assert_cancelled(self.after_one_page(everything),
                              START + DOTS_BAND + page_end + PARTIAL_CUT)

    def test_top_logo_is_fed_out(self) -> None:
        for page_cut, job_cut, cut in (("1", "2", FULL_CUT), ("1", "0", PARTIAL_CUT),
                                       ("0", "0", b"")):
            with self.subTest(pageCutType=page_cut, docCutType=job_cut):
                job = self.start(cut_ppd(page_cut, job_cut, DocTopLogoID="1",
                                         DocTopLogoMode="0", DocTopLogoPosition="1"))
                job.feed(cups_raster.sync_bytes())
                job.until_hungry()
                job.terminate()
                job.close_input()
                setup = bytes.fromhex("1B40 1F1B1F131400 1B6101 1C700100 1B6100 1B240100")
                self.assert_cancelled(job.finish(), ZEROS + setup + PAGE_END + cut)

    def test_top_logo_that_was_fed_with_a_page_is_not_fed_again(self) -> None:
        outcome = self.after_one_page(cut_ppd("0", "0", DocTopLogoID="1", DocTopLogoMode="0",
                                              DocTopLogoPosition="1"))
        setup = bytes.fromhex("1B40 1F1B1F131400 1B6101 1C700100 1B6100 1B240100")
        self.assert_cancelled(outcome, ZEROS + setup + DOTS_BAND + PAGE_END)

    def test_end_of_input_without_a_signal_is_no_cancel(self) -> None:
        outcome = self.after_one_page(cut_ppd("0", "2"), signals=0)
        self.assert_job(outcome, START + DOTS_BAND + PAGE_END + FULL_CUT + filter_case.JOB_END)


class SlowReaderTest(CancelCase):
    """While the filter waits for the printer in the middle of a page."""

    def cancel_in_page(self, ppd: str, signals: int = 1) -> Outcome:
        job = self.start(ppd)
        job.feed(cups_raster.stream([TALL_PAGE, DOTS_PAGE]))
        job.until_logged("DEBUG:printImage: Starting to print the processed image")
        job.until_blocked()
        for _ in range(signals):
            job.terminate()
        return job.finish()

    def assert_whole_bands(self, outcome: Outcome, tail: list[str]) -> escpos_stream.Job:
        self.assertEqual(outcome.status, 1)
        self.assertEqual(outcome.errors, [])
        self.assertNotIn("Ready to print.", outcome.stderr)
        self.assertNotIn("PAGE: 2", outcome.stderr)
        job = self.decode(outcome)
        bands = job.names().count("band")
        self.assertTrue(1 <= bands < 10, f"{bands} bands")
        self.assertEqual(job.names(), ["zeros", "initialise", "density", "position",
                                       *["band"] * bands, *tail])
        self.assertEqual(len(job.rows), 96 * bands)
        return job

    def test_the_band_is_finished_and_the_paper_comes_out(self) -> None:
        for page_cut, job_cut, tail in (("0", "0", ["page feed"]),
                                        ("1", "0", ["page feed", "partial cut"]),
                                        ("1", "2", ["page feed", "full cut"]),
                                        ("3", "3", ["page feed"])):
            with self.subTest(pageCutType=page_cut, docCutType=job_cut):
                self.assert_whole_bands(self.cancel_in_page(cut_ppd(page_cut, job_cut)), tail)

    def test_two_signals(self) -> None:
        outcome = self.cancel_in_page(cut_ppd("1", "2"), signals=2)
        self.assert_whole_bands(outcome, ["page feed", "full cut"])

    def test_no_byte_is_lost(self) -> None:
        whole = self.run_pages(TALL_PAGE)
        cancelled = self.cancel_in_page(cut_ppd("0", "0"))
        bands = cancelled.stdout[:-len(PAGE_END)]
        self.assertEqual(whole.stdout[:len(bands)], bands)

    def test_in_the_last_band_no_further_page_is_waited_for(self) -> None:
        # One band above the capacity of a pipe; the input stays open.
        job = self.start(cut_ppd("0", "2"))
        page = cups_raster.grey([b"\xff" * 16000] * 96)
        job.feed(cups_raster.stream([page]))
        job.until_logged("DEBUG:printImage: Starting to print the processed image")
        job.until_blocked()
        job.terminate()
        band = filter_case.band(2000, b"\xff" * 192000)
        self.assert_cancelled(job.finish(), START + band + PAGE_END + FULL_CUT)

    def test_the_record_has_the_same_bands(self) -> None:
        ppd = ppd_text.ppd_text({"RecordPrinterCommands": "1"}, {"dravFilterOutputFile": "rec"})
        job = self.assert_whole_bands(self.cancel_in_page(ppd), ["page feed"])
        records = list(self.folder.glob("rec-*.bin"))
        self.assertEqual(len(records), 1)
        self.assertEqual(escpos_stream.decode_bands(records[0].read_bytes()).rows, job.rows)

    def test_after_a_page_with_its_own_cut(self) -> None:
        job = self.start(cut_ppd("1", "2"))
        job.feed(cups_raster.stream([DOTS_PAGE, TALL_PAGE]))
        job.until_logged("DEBUG:PAGE: 2 1")
        job.until_blocked()
        job.terminate()
        names = self.decode(job.finish()).names()
        self.assertEqual(names[:7], ["zeros", "initialise", "density", "position", "band",
                                     "page feed", "partial cut"])
        self.assertEqual(names[-2:], ["page feed", "full cut"])
        self.assertEqual(set(names[7:-2]), {"band"})

    def test_reader_that_goes_away_after_the_signal(self) -> None:
        job = self.start(cut_ppd("1", "2"))
        job.feed(cups_raster.stream([TALL_PAGE, DOTS_PAGE]))
        job.until_logged("DEBUG:printImage: Starting to print the processed image")
        job.until_blocked()
        job.terminate()
        assert job.process.stdout is not None
        job.process.stdout.close()
        self.assertEqual(job.process.wait(filter_case.TIMEOUT), 1)
        self.assertNotIn("Ready to print.", job.log())


if __name__ == "__main__":
    filter_case.main()
