# SPDX-License-Identifier: Apache-2.0
"""Jobs cancelled by the scheduler: what has been sent is whole, and the next job is clean."""
import dataclasses

import cups_case
import documents
import driver_file
import escpos_stream
import expected
import ipp
import private_cups
import private_network
from cups_case import CupsCase, Queue

# Whatever could fire at a job's or a page's end is switched on.
PERIPHERALS = {
    "CashDrawer1Setting": "2", "CashDrawer2Setting": "2", "DocumentBuzzerSetting": "2",
    "PageBuzzerSetting": "2", "DocBottomLogoID": "1", "FeedCutAfterJobEnd": "3",
}
RECEIPT = {"PageSize": "X80MMY200MM", "HalftoneType": "FloydSteinberg"}
BAND = bytes.fromhex("1D763000")
PAGE_FEED = bytes.fromhex("1B4AA0")
CUTS = {"0": b"", "1": bytes.fromhex("0A0A0A0A1D5601"), "2": bytes.fromhex("0A0A0A0A1D5600")}
NEVER = ("drawer 1", "drawer 2", "job feed", "feed lines", "status request")
PAGES = 2
AT_ONCE = -1
RUN_AHEAD = 110000  # bytes in the pipe, the backend and the connection, and a band


@dataclasses.dataclass
class Cancelled:
    """A job that is to be cancelled once its printer has read up to `moment`."""

    moment: int
    options: dict[str, str]
    queue: Queue
    job: int


class CancelTest(CupsCase):
    def setUp(self) -> None:
        super().setUp()
        self.document = documents.marked_pdf(self.folder / "job.pdf", 80, 200, 20, pages=PAGES)
        self.next_document = documents.marked_pdf(self.folder / "next.pdf", 80, 200, 21)

    def assert_clean_next_job(self, queue: Queue, options: dict[str, str]) -> None:
        """The same queue and printer, straight after the cancel."""
        self.print_and_check(queue, self.next_document, options)

    def whole_stream(self, options: dict[str, str]) -> tuple[bytes, dict[str, str]]:
        """What the job sends when nobody cancels it."""
        queue = self.queue()
        checked = self.print_and_check(queue, self.document, options)
        return bytes(queue.printer.connections[0].data), checked.settings

    def cancel(self, job: int) -> None:
        self.cups.run("cancel", str(job))
        self.assertEqual(self.cups.job_state(job), ipp.CANCELED)

    def wait_idle(self, queue: Queue) -> None:
        self.cups.wait(lambda: self.cups.printer_state(queue.name) == ipp.PRINTER_IDLE,
                       "the cancelled job to leave the printer")

    def assert_cancelled(self, sent: bytes, whole: bytes, settings: dict[str, str]) -> None:
        self.assertIn(sent, expected.cancelled(whole, settings))
        names = escpos_stream.decode(sent).names() if sent else []
        if sent != whole:
            self.assertEqual([name for name in names if name in NEVER], [])
        if whole.startswith(sent):
            return  # stopped behind a page, or ended before the cancel came
        # In a page: its own logo and buzzer do not follow.
        last_band = max((i for i, name in enumerate(names) if name == "band"), default=0)
        self.assertLessEqual(set(names[last_band + 1:]), {"page feed", "partial cut", "full cut"})

    def cancel_at(self, one: Cancelled) -> bytes:
        """Cancels it when its moment has come; what its printer has got of it."""
        if one.moment != AT_ONCE:
            one.queue.printer.wait_paused(private_cups.TIMEOUT)
        self.cancel(one.job)
        one.queue.printer.resume()
        self.wait_idle(one.queue)
        connections = one.queue.printer.connections
        if one.moment != AT_ONCE or connections:
            [received] = one.queue.printer.wait_jobs(1)
            return bytes(received.data)
        return b""

    @private_network.needs_small_buffers
    def test_at_ten_moments(self) -> None:
        options = {**RECEIPT, **PERIPHERALS, "pageCutType": "1", "docCutType": "2"}
        whole, settings = self.whole_stream(options)
        page = len(whole) // PAGES
        moments = (AT_ONCE, 0, 30000, 70000, 125000, page - 1000, page + 1000, page + 77000,
                   len(whole) - RUN_AHEAD, len(whole) - 20000)
        jobs = []
        for moment in moments:
            queue = self.queue(printer=self.printer(pause_at=max(moment, 0)))
            jobs.append(Cancelled(moment, options, queue,
                                  self.submit(queue, self.document, options)))
        for one in jobs:
            with self.subTest(moment=one.moment):
                sent = self.cancel_at(one)
                self.assert_cancelled(sent, whole, settings)
                # What pipes and buffers hold is still printed, and no more.
                self.assertLessEqual(len(sent), one.moment + RUN_AHEAD)
                if one.moment + RUN_AHEAD <= len(whole):
                    self.assertNotEqual(sent, whole)
        for one in jobs:
            with self.subTest(moment=one.moment, job="next"):
                self.assert_clean_next_job(one.queue, options)

    # ---- While the filter waits for the converters -------------------------------

    def held_job(self, hold: str, options: dict[str, str]) -> tuple[Queue, int]:
        """A job whose converters deliver no more than `hold` says."""
        queue = self.queue(self.driver.with_filter(driver_file.HELD))
        return queue, self.submit(queue, self.document, {**options, "drav-hold": hold})

    def cancel_held(self, queue: Queue, job: int, sent_before: int) -> bytes:
        """Cancels it behind so many bytes; all that its printer has got."""
        mark = self.cups.tap / f"{queue.name}-{job}.holding"
        self.cups.wait(lambda: mark.exists() or self.cups.job_state(job) in ipp.ENDED,
                       "the converter to stop")
        self.assertTrue(mark.exists(), self.cups.job_log(job))
        self.cups.wait(lambda: any("DocBottomLogoPosition" in line
                                   for line in self.cups.job_log(job)), "the filter's settings")
        self.cups.wait(lambda: sum(len(one.data) for one in queue.printer.connections)
                       >= sent_before, "the page")
        self.cancel(job)
        self.wait_idle(queue)
        received = queue.printer.wait_jobs(len(queue.printer.connections))
        return b"".join(bytes(one.data) for one in received)

    def test_waiting_for_page_2(self) -> None:
        jobs = []
        for hold in ("between", "within"):
            for page_cut, job_cut in (("0", "0"), ("0", "2"), ("1", "0"), ("1", "2"), ("2", "1")):
                options = {**RECEIPT, **PERIPHERALS, "pageCutType": page_cut,
                           "docCutType": job_cut}
                jobs.append((hold, options, *self.held_job(hold, options)))
        for hold, options, queue, job in jobs:
            page_cut, job_cut = options["pageCutType"], options["docCutType"]
            with self.subTest(hold=hold, pageCutType=page_cut, docCutType=job_cut):
                whole, _ = self.whole_stream(options)
                feed = next(item for item in escpos_stream.decode(whole).items
                            if item.name == "page feed")
                after = whole.index(BAND, feed.offset)
                tail = CUTS[job_cut] if page_cut == "0" else b""
                # The page's own end, then nothing but the cut that is still due.
                self.assertEqual(self.cancel_held(queue, job, after), whole[:after] + tail)
                names = escpos_stream.decode(whole[:after] + tail).names()
                cuts = sum(name.endswith("cut") for name in names)
                self.assertEqual(cuts, 0 if page_cut == job_cut == "0" else 1)

    def test_before_the_first_page(self) -> None:
        options = {**RECEIPT, **PERIPHERALS, "DocTopLogoID": "3", "docCutType": "2"}
        whole, _ = self.whole_stream(options)
        first_band = whole.index(BAND)
        queue, job = self.held_job("before", options)
        # The job's start waits for the first band, and a backend that has had no byte
        # yet does not connect any more; else the logo is fed out and cut off.
        self.assertIn(self.cancel_held(queue, job, 0),
                      (b"", whole[:first_band] + PAGE_FEED + CUTS["2"]))


if __name__ == "__main__":
    cups_case.main()
