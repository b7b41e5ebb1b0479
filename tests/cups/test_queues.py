# SPDX-License-Identifier: Apache-2.0
"""Many jobs, classes, held jobs, stopped queues, and printers that misbehave."""
import concurrent.futures
import pathlib
import time

import cups_case
import documents
import driver_file
import escpos_stream
import expected
import ipp
import private_network
from cups_case import CupsCase, Options, Queue

SMALL_PAGE = {"PageSize": driver_file.SMALL}
RECEIPT = {"PageSize": "X80MMY200MM", "docCutType": "1", "HalftoneType": "None"}
JOBS = 20


class QueuesTest(CupsCase):
    def setUp(self) -> None:
        super().setUp()
        self.driver = self.driver.with_small_page()

    def marked(self, count: int) -> list[pathlib.Path]:
        return [documents.marked_pdf(self.folder / f"{number}.pdf", 40, 20, number)
                for number in range(count)]

    def submit_at_once(self, destination: str, paths: list[pathlib.Path]) -> list[int]:
        """All from commands of their own that run at the same time; the job numbers by path."""
        words = [f"{key}={value}" for key, value in SMALL_PAGE.items()]
        with concurrent.futures.ThreadPoolExecutor(len(paths)) as pool:
            return list(pool.map(lambda path: self.cups.submit(destination, path, words), paths))

    def test_twenty_jobs_at_once(self) -> None:
        queue = self.queue()
        paths = self.marked(JOBS)
        jobs = self.submit_at_once(queue.name, paths)
        received = [bytes(one.data) for one in queue.printer.wait_jobs(JOBS)]
        for job in jobs:
            self.assertEqual(self.cups.wait_job(job), ipp.COMPLETED, self.lines(job))
        # Of jobs that come at once the one whose document is there first prints first.
        settings = expected.settings(self.driver, SMALL_PAGE)
        wanted = [expected.stream(settings, self.raster(queue.name, job)) for job in jobs]
        self.assertEqual(len(set(wanted)), JOBS)
        self.assertEqual(sorted(received), sorted(wanted))

    def test_class_of_two_queues(self) -> None:
        members = [self.queue(), self.queue()]
        for member in members:
            self.cups.run("lpadmin", "-p", member.name, "-c", "counter")
        self.cups.run("cupsenable", "counter")
        self.cups.run("cupsaccept", "counter")
        jobs = self.submit_at_once("counter", self.marked(JOBS))
        for job in jobs:
            self.assertEqual(self.cups.wait_job(job), ipp.COMPLETED, self.lines(job))
        printed = [[bytes(one.data) for one in member.printer.connections] for member in members]
        self.assertTrue(all(printed), [len(one) for one in printed])
        # The scheduler calls the filter by the name of the member that prints.
        wanted: list[list[bytes]] = [[], []]
        for job in jobs:
            [path] = self.cups.tap.glob(f"*-{job}.ras")
            member = [queue.name for queue in members].index(path.name.rpartition("-")[0])
            wanted[member].append(expected.stream(expected.settings(self.driver, SMALL_PAGE),
                                                  self.raster(members[member].name, job)))
        self.assertEqual([sorted(streams) for streams in printed],
                         [sorted(streams) for streams in wanted])
        self.assertEqual(len({stream for streams in printed for stream in streams}), JOBS)

    # ---- Held jobs and stopped queues -------------------------------------------

    def test_hold_and_release(self) -> None:
        queue = self.queue()
        first, second = self.marked(2)
        held = self.submit(queue, first, SMALL_PAGE, "-H", "hold")
        self.assertEqual(self.cups.job_state(held), ipp.HELD)
        self.print_and_check(queue, second, SMALL_PAGE)  # overtakes it
        self.assertEqual(self.cups.job_state(held), ipp.HELD)
        self.cups.run("lp", "-i", str(held), "-H", "resume")
        received = queue.printer.wait_jobs(2)
        self.check(queue, held, received[1].data, SMALL_PAGE)

    def paused_job(self) -> tuple[Queue, int, Options]:
        """A job of two pages at a printer that has stopped reading within the first."""
        queue = self.queue(printer=self.printer(pause_at=60000))
        document = documents.marked_pdf(self.folder / "mark.pdf", 80, 200, 9, pages=2)
        options = {**RECEIPT, "CashDrawer1Setting": "2", "DocBottomLogoID": "1"}
        job = self.submit(queue, document, options)
        queue.printer.wait_paused(cups_case.private_cups.TIMEOUT)
        return queue, job, options

    def assert_stopped_then_whole(self, queue: Queue, job: int, options: Options) -> None:
        """The stream that was broken off is a cancelled one; the job then printed from page 1."""
        first, second = queue.printer.wait_jobs(2)
        checked = self.check(queue, job, second.data, options)
        whole = bytes(second.data)
        self.assertNotEqual(first.data, whole)
        self.assertIn(bytes(first.data), expected.cancelled(whole, checked.settings))
        self.assertEqual(escpos_stream.decode(bytes(first.data)).names()[-2:],
                         ["page feed", "partial cut"])

    @private_network.needs_small_buffers
    def test_hold_while_printing(self) -> None:
        queue, job, options = self.paused_job()
        self.cups.run("lp", "-i", str(job), "-H", "hold")
        queue.printer.resume()
        self.cups.wait(lambda: self.cups.job_state(job) == ipp.HELD, "the job to be held")
        queue.printer.wait_jobs(1)
        self.cups.wait(lambda: self.cups.printer_state(queue.name) == ipp.PRINTER_IDLE, "idle")
        self.cups.run("lp", "-i", str(job), "-H", "resume")
        self.assert_stopped_then_whole(queue, job, options)

    @private_network.needs_small_buffers
    def test_queue_stopped_while_printing(self) -> None:
        queue, job, options = self.paused_job()
        self.cups.run("cupsdisable", queue.name)
        queue.printer.resume()
        self.cups.wait(lambda: self.cups.printer_state(queue.name) == ipp.PRINTER_STOPPED, "stop")
        queue.printer.wait_jobs(1)
        time.sleep(0.3)
        self.assertEqual(len(queue.printer.connections), 1)
        self.cups.run("cupsenable", queue.name)
        self.assert_stopped_then_whole(queue, job, options)

    def test_stopped_queue_keeps_its_jobs(self) -> None:
        queue = self.queue()
        self.cups.run("cupsdisable", queue.name)
        jobs = [self.submit(queue, path, SMALL_PAGE) for path in self.marked(3)]
        time.sleep(0.3)
        self.assertEqual(queue.printer.connections, [])
        self.assertEqual([self.cups.job_state(job) for job in jobs], [ipp.PENDING] * 3)
        self.cups.run("cupsenable", queue.name)
        for job, received in zip(jobs, queue.printer.wait_jobs(3), strict=True):
            self.check(queue, job, received.data, SMALL_PAGE)

    # ---- Printers that misbehave ------------------------------------------------

    def assert_write_error(self, job: int) -> None:
        """The backend says why, and the filter once that it could not go on."""
        lines = self.lines(job, "E")
        self.assertEqual(len(lines), 2, lines)
        self.assertRegex("\n".join(sorted(lines)), r"^E Unable to write print data: .*\n"
                                                   r"E Unable to write to standard output!$")

    def test_printer_hangs_up(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 80, 200, 10, pages=2)
        queue = self.queue(None, self.printer(drop_at=100000), "-o",
                           "printer-error-policy=retry-current-job")
        job = self.submit(queue, document, RECEIPT)
        first, second = queue.printer.wait_jobs(2)
        self.assertTrue(first.dropped)
        self.check(queue, job, second.data, RECEIPT)
        self.assertEqual(bytes(second.data[:len(first.data)]), first.data)
        self.assert_write_error(job)

    def test_printer_hangs_up_and_the_queue_stops(self) -> None:
        document = documents.marked_pdf(self.folder / "mark.pdf", 80, 200, 11, pages=2)
        queue = self.queue(None, self.printer(drop_at=100000), "-o",
                           "printer-error-policy=stop-printer")
        job = self.submit(queue, document, RECEIPT)
        queue.printer.wait_jobs(1)
        self.cups.wait(lambda: self.cups.printer_state(queue.name) == ipp.PRINTER_STOPPED, "stop")
        self.cups.run("cupsenable", queue.name)
        self.check(queue, job, queue.printer.wait_jobs(2)[1].data, RECEIPT)
        self.assert_write_error(job)

    def test_printer_refuses_for_a_while(self) -> None:
        queue = self.queue(printer=self.printer(answers=False))
        [path] = self.marked(1)
        job = self.submit(queue, path, SMALL_PAGE)
        self.cups.wait(lambda: any("unavailable at this time" in line for line in self.cups.job_log(job)), "refusal")
        self.assertEqual(self.cups.job_state(job), ipp.PROCESSING)
        queue.printer.answer()
        self.check(queue, job, queue.printer.wait_jobs(1)[0].data, SMALL_PAGE)


if __name__ == "__main__":
    cups_case.main()
