#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What printers say of themselves, and printers that say nothing."""
import time
import unittest

from app_case import (PICTURE, RASTER, AppCase, as_filter_raster, filtered, ink_page, picture,
                      pwg)
from ipp_client import IDENTIFY_PRINTER
from sink import WELL


class StatusTest(AppCase):
    def setUp(self) -> None:
        self.name = f"q{time.monotonic_ns()}"
        self.page = ink_page(64, 24)

    def test_what_the_printer_says_is_told(self) -> None:
        printer = self.sink(answers=WELL)
        client = self.server.add(self.name, printer.uri, "dravr802")
        for answers, want in (
                ({2: b"\x16", 4: b"\x1e"}, {"cover-open", "media-low"}),
                ({4: b"\x72", 3: b"\x1a"}, {"media-empty", "other"}),
                ({}, {"none"})):
            with self.subTest(str(want)):
                printer.answers = {**WELL, **answers}
                end = time.monotonic() + 8
                while (said := {one.removesuffix("-error").removesuffix("-warning")
                                .removesuffix("-report")
                                for one in self.reasons(client)}) != want:
                    self.assertLess(time.monotonic(), end, said)
                    time.sleep(0.1)
        self.assertRegex(self.server.log.read_text(),
                         rf"E \[[^\n]*{self.name}[^\n]*its cutter does not move")

    def test_a_silent_printer_costs_one_slow_answer(self) -> None:
        printers = {"silent": self.sink(),
                    "garbage": self.sink(answers=dict.fromkeys((2, 3, 4), b"\xff\xff")),
                    "late": self.sink(answers=WELL, late=3.0)}
        clients = {name: self.server.add(self.name + name, one.uri)
                   for name, one in printers.items()}
        for client in clients.values():
            start = time.monotonic()
            client.printer()
            self.assertLess(time.monotonic() - start, 2)
        asked = {name: one.questions for name, one in printers.items()}
        time.sleep(2.1)  # until PAPPL would ask again
        for name, client in clients.items():
            with self.subTest(name):
                times = []
                for _ in range(5):  # another program may have the processor
                    start = time.monotonic()
                    self.assertEqual(self.reasons(client), {"none"})
                    times.append(time.monotonic() - start)
                self.assertLess(min(times), 0.05)
                self.assertCompleted(self.printed(client, RASTER, pwg([self.page])))
                self.assertEqual(printers[name].questions, asked[name])

    def test_the_status_can_be_switched_off(self) -> None:
        printer = self.sink(answers={2: b"\x16"})
        client = self.server.add(self.name, printer.uri + "/?status=no")
        self.assertEqual(self.reasons(client), {"none"})
        self.assertCompleted(self.printed(client, RASTER, pwg([self.page])))
        self.assertEqual(printer.questions, 0)

    def test_a_printer_rings_when_it_shall_tell_which_it_is(self) -> None:
        printer = self.sink(stall_at=20_000)
        client = self.server.add(self.name, printer.uri, "dravr803")
        self.assertEqual(client.printer()["identify-actions-supported"], ["sound"])
        self.assertEqual(client.request(IDENTIFY_PRINTER)[0], 0)
        self.assertEqual(printer.job(), b"\x1bB\x03\x02")
        number = self.submit(client, picture(850, 3000))
        printer.wait_bytes(20_000)
        self.assertEqual(client.request(IDENTIFY_PRINTER)[0], 0)  # and not within a job
        printer.resume()
        self.assertCompleted(self.ended(client, number))
        self.assertNotIn(b"\x1bB\x03\x02", printer.job())

    def test_a_printer_is_not_asked_within_a_job(self) -> None:
        printer = self.sink(answers=WELL, stall_at=20_000)
        client = self.server.add(self.name, printer.uri, "dravr803")
        number = self.submit(client, picture(850, 3000))
        printer.wait_bytes(20_000)
        asked = printer.questions
        time.sleep(1.1)
        client.printer()
        self.assertEqual(printer.questions, asked)
        printer.resume()
        self.assertCompleted(self.ended(client, number))


if __name__ == "__main__":
    unittest.main()
