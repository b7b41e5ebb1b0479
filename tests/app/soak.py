#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The printer application for longer than a test may take; prints what it measured.

See scripts/soak-app. DRAV_JOBS is the number of jobs in a row, 1,000 without it.
"""
import os
import pathlib
import random
import re
import threading
import time
import unittest

from app_case import (PICTURE, PICTURE_FILTER, RASTER, SGRAY, AppCase, as_filter_raster, filtered,
                      ink_page, picture, pwg, urf, white_page)
from cups_raster import Page
from escpos_stream import decode
from ipp_client import CANCELED, COMPLETED, PAUSE_PRINTER, SERVER_BUSY, Client
from picture_files import image, ramp, saved
from test_documents import pdf

JOBS = int(os.environ.get("DRAV_JOBS", "1000"))
SANITIZED = "DRAV_SANITIZED" in os.environ


def say(*words: object) -> None:
    print("-", *words, flush=True)


def memory(pid: int) -> float:
    """MiB that the process has to itself, with its share of what it shares."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text("ascii")
    found = re.search(r"(?m)^Pss: +(\d+) kB", text)
    assert found is not None
    return int(found[1]) / 1024


class SoakCase(AppCase):
    options = ("log-level=info",)

    def tearDown(self) -> None:
        log = self.server.log.read_text(errors="replace")
        self.assertNotIn("ThreadSanitizer", log)
        self.assertNotIn("AddressSanitizer", log)
        self.assertTrue(self.server.lives, log[-3000:])

    def pid(self) -> int:
        assert self.server.process is not None
        return self.server.process.pid


class CancelTest(SoakCase):
    def test_cancel_at_40_random_moments(self) -> None:
        seed = random.randrange(10**6)
        rng = random.Random(seed)
        cancelled = 0
        page = ink_page(640, 200)
        want = filtered(as_filter_raster([page], "X80MMY200MM"), model="dravr803")
        for number in range(40):
            with self.subTest(seed=seed, number=number):
                printer = self.sink(stall_at=rng.randrange(1, 200_000), pace=0.0005)
                client = self.server.add(f"q{number}", printer.uri, "dravr803")
                job = self.submit(client, picture(850, 2500))
                time.sleep(rng.random() * 0.6)
                client.cancel(job)
                printer.resume()
                state = self.ended(client, job)["job-state"][0]
                self.assertIn(state, (CANCELED, COMPLETED))
                cancelled += state == CANCELED
                for one in printer.jobs():
                    decode(one)  # raises where a command or a band is cut
                time.sleep(0.05)
                printer.forget()
                self.assertCompleted(self.printed(client, RASTER, pwg([page])))
                self.assertSameBytes(printer.job(), want)
                printer.close()
        self.assertGreater(cancelled, 20)
        say(f"{cancelled} of 40 jobs cancelled before their end: whole bands, the next prints")


class HostileTest(SoakCase):
    def test_what_is_damaged_is_never_completed(self) -> None:
        rng = random.Random(5)
        printer = self.sink()
        client = self.server.add("hostile", printer.uri)
        png, jpeg = saved(image(ramp(500, 400)), "PNG"), saved(image(ramp(400, 300)), "JPEG")
        paper = pdf((200, 100, "0.5 g 10 10 150 60 re f"), (150, 90, "20 20 80 30 re f"))
        grey = pwg([ink_page(640, 200), white_page(ink_page(640, 200), cupsColorSpace=SGRAY)])
        apple = urf([ink_page(640, 200), ink_page(64, 100)])
        kinds = (("image/png", png), ("image/jpeg", jpeg), ("application/pdf", paper),
                 (RASTER, grey), ("image/urf", apple))
        documents = [(kind, whole[:rng.randrange(len(whole) * 9 // 10)])
                     for kind, whole in kinds for _ in range(12)]
        documents += [(kind, rng.randbytes(rng.randrange(1, 5000)))
                      for kind, _ in kinds for _ in range(6)]
        header = ink_page(8, 1).header
        documents += [(RASTER, pwg([Page(b"", {**header, "cupsHeight": rows})]) + bytes(400))
                      for rows in (1_000_000, 4_000_000_000)]
        documents += [(RASTER, pwg([Page(bytes(80 * 16), {
            **ink_page(640, 16).header, "cupsBitsPerColor": 1, "cupsBitsPerPixel": 1,
            "cupsBytesPerLine": 80})]))]
        start = self.server.log.stat().st_size
        for number, (kind, document) in enumerate(documents):
            with self.subTest(f"{number}: {kind}, {len(document)} bytes"):
                status, answer = client.print_job(kind, document)
                if "job-id" in answer:
                    self.assertAborted(self.ended(client, answer["job-id"][0]))
                else:
                    self.assertGreaterEqual(status, 0x400)
        grown = self.server.log.stat().st_size - start
        self.assertLess(grown, 1_000_000)
        printer.forget()
        page = ink_page(64, 20)
        self.assertCompleted(self.printed(client, RASTER, pwg([page])))
        self.assertSameBytes(printer.job(), filtered(as_filter_raster([page], "A4")))
        say(f"{len(documents)} cut and random documents: none completed, {grown // 1000} kB of log")

    def test_what_is_changed_never_ends_the_server(self) -> None:
        """Single bytes: most of these print, since a byte of a picture is a picture."""
        rng = random.Random(7)
        client = self.server.add("changed", self.sink().uri)
        documents = (("image/png", saved(image(ramp(90, 60)), "PNG")),
                     (RASTER, pwg([ink_page(64, 30)])), ("image/urf", urf([ink_page(64, 30)])))
        start = self.server.log.stat().st_size
        for kind, whole in documents:
            for _ in range(60):
                changed = bytearray(whole)
                for _ in range(rng.randrange(1, 5)):
                    changed[rng.randrange(min(len(changed), 1800))] = rng.randrange(256)
                _, answer = client.print_job(kind, bytes(changed))
                if "job-id" in answer:
                    self.ended(client, answer["job-id"][0])
                self.assertTrue(self.server.lives)
        self.assertLess(self.server.log.stat().st_size - start, 1_000_000)
        say("180 documents with changed bytes: the server lives")


class LimitTest(SoakCase):
    def test_a_queue_takes_a_hundred_jobs_that_wait_and_no_more(self) -> None:
        client = self.server.add("full", "socket://127.0.0.1:9", "dravr802")
        client.request(PAUSE_PRINTER)
        small = picture(8, 8)
        for _ in range(100):
            self.assertEqual(client.print_job(PICTURE, small)[0], 0)
        self.assertEqual(client.print_job(PICTURE, small)[0], SERVER_BUSY)
        self.assertEqual(client.cancel(1), 0)
        self.assertEqual(client.print_job(PICTURE, small)[0], 0)
        say("100 jobs wait in a queue, the next is told that it is busy")


class ManyJobsTest(SoakCase):
    options = ("log-level=warn",)

    def test_memory_is_flat(self) -> None:
        if SANITIZED:
            self.skipTest("a sanitizer keeps memory of its own")
        idle = memory(self.pid())
        self.assertLessEqual(idle, 40)
        printer = self.sink()
        client = self.server.add("many", printer.uri, "dravr803")
        documents = ((RASTER, pwg([ink_page(400, 100)])), (PICTURE, picture(200, 100)),
                     ("image/png", saved(image(ramp(90, 60)), "PNG")))
        warm = 0.0
        for number in range(JOBS):
            if number == JOBS // 4:
                warm = memory(self.pid())
            kind, document = documents[number % len(documents)]
            self.assertCompleted(self.printed(client, kind, document))
            printer.job()
        after = memory(self.pid())
        self.assertLess(after, warm * 1.1 + 1)
        say(f"memory (PSS): {idle:.1f} MiB idle, {warm:.1f} after {JOBS // 4} jobs, "
            f"{after:.1f} after {JOBS}")


class TwoPrintersTest(SoakCase):
    def test_eight_jobs_each_at_once(self) -> None:
        printers = [self.sink(pace=0.001), self.sink()]
        clients = [self.server.add(f"p{number}", one.uri) for number, one in enumerate(printers)]
        drawing = saved(image(ramp(150, 90)), "PNG", dpi=(300, 300))
        page = ink_page(640, 120)
        wanted = sorted(4 * [filtered(drawing, "KeepPictures=False", program=PICTURE_FILTER)] +
                        4 * [filtered(as_filter_raster([page], "A4"))])
        refused = []

        def print_one(client: Client, number: int) -> None:
            kind, document = (("image/png", drawing), (RASTER, pwg([page])))[number % 2]
            for _ in range(200):
                status, answer = client.print_job(kind, document)
                if status == 0:
                    self.ended(client, answer["job-id"][0], 120)
                    return
                time.sleep(0.1)  # raster is printed as it comes: busy, and tried again
            refused.append(number)
        threads = [threading.Thread(target=print_one, args=(client, number))
                   for client in clients for number in range(8)]
        for one in threads:
            one.start()
        for one in threads:
            one.join()
        self.assertEqual(refused, [])
        for one in printers:
            self.assertEqual([a == b for a, b in zip(sorted(one.jobs(8)), wanted)], [True] * 8)
            self.assertEqual(one.overlaps, 0)
        self.server.stop()  # a sanitizer speaks at the end as well
        log = self.server.log.read_text(errors="replace")
        self.assertNotIn("Sanitizer", log)
        self.server.start()
        say("two printers, 8 jobs each at once: the filters' bytes, none between the others"
            + (" (thread sanitizer: nothing found)" if SANITIZED else ""))


if __name__ == "__main__":
    unittest.main()
