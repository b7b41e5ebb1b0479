#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Printers that are away, hang up, wait, or are shared."""
import threading
import time
import unittest

from app_case import (PICTURE_FILTER, RASTER, AppCase, as_filter_raster, filtered, free_port,
                      ink_page, picture, pwg)
from escpos_stream import decode
from ipp_client import CANCELED, PROCESSING, Client


class DeviceTest(AppCase):
    def setUp(self) -> None:
        self.name = f"q{time.monotonic_ns()}"
        self.page = ink_page(64, 24)

    # ---- Away ---------------------------------------------------------------

    def test_a_printer_that_is_away_is_offline_and_waited_for_and_others_go_on(self) -> None:
        port = free_port()
        away = self.server.add(self.name, f"socket://127.0.0.1:{port}", "dravr802")
        number = self.submit(away, picture())
        other_printer = self.sink()
        other = self.server.add(self.name + "o", other_printer.uri)
        self.assertCompleted(self.printed(other, RASTER, pwg([self.page])))
        self.assertEqual(away.job(number)["job-state"], [PROCESSING])
        self.assertTrue(any(one.startswith("offline") for one in self.reasons(away)))
        back = self.sink(port=port)
        self.assertCompleted(self.ended(away, number))
        back.job()
        self.assertFalse(any(one.startswith("offline") for one in self.reasons(away)))

    def test_a_job_for_a_printer_that_is_away_can_be_cancelled(self) -> None:
        away = self.server.add(self.name, f"socket://127.0.0.1:{free_port()}", "dravr802")
        number = self.submit(away, picture())
        time.sleep(0.3)
        start = time.monotonic()
        self.assertEqual(away.cancel(number), 0)
        self.assertEqual(self.ended(away, number)["job-state"], [CANCELED])
        self.assertLess(time.monotonic() - start, 2)

    def test_a_printer_that_hangs_up_aborts_the_job_and_gets_the_next(self) -> None:
        printer = self.sink(drop_at=3000)
        client = self.server.add(self.name, printer.uri)
        self.assertAborted(self.printed(client, RASTER, pwg([ink_page(1200, 400)])))
        printer.drop_at = None
        printer.jobs(1)
        printer.forget()
        self.assertCompleted(self.printed(client, RASTER, pwg([self.page])))
        self.assertSameBytes(printer.job(), filtered(as_filter_raster([self.page], "A4")))

    # ---- Cancelling ---------------------------------------------------------

    def test_cancelling_leaves_whole_bands(self) -> None:
        printer = self.sink(stall_at=20_000)
        client = self.server.add(self.name, printer.uri, "dravr803")
        document = picture(850, 3000)
        number = self.submit(client, document)
        printer.wait_bytes(20_000)
        self.assertEqual(client.cancel(number), 0)
        printer.resume()
        self.assertEqual(self.ended(client, number)["job-state"], [CANCELED])
        data = printer.job()
        whole = len(data)
        commands = decode(data).items  # raises where a command or a band is cut
        self.assertGreater(len(commands), 3)
        self.assertCompleted(self.printed(client, RASTER, pwg([ink_page(64, 24)])))
        printer.job()
        self.assertCompleted(self.ended(client, self.submit(client, document)))
        self.assertLess(whole, len(printer.job()))

    # ---- Two queues, one printer --------------------------------------------

    def test_two_queues_on_one_printer_never_interleave(self) -> None:
        printer = self.sink(pace=0.02)
        document = pwg([ink_page(1200, 60)])
        clients = [self.server.add(self.name + one, printer.uri) for one in "ab"]

        def print_some(client: Client) -> None:
            for _ in range(2):
                client.print_job(RASTER, document)
        threads = [threading.Thread(target=print_some, args=(one,)) for one in clients]
        for one in threads:
            one.start()
        for one in threads:
            one.join()
        want = filtered(as_filter_raster([ink_page(1200, 60)], "A4"))
        self.assertEqual([one == want for one in printer.jobs(4)], [True] * 4)
        self.assertEqual(printer.overlaps, 0)

    def test_a_queue_with_waiting_jobs_lets_go_of_its_printer_between_them(self) -> None:
        printer = self.sink(stall_at=1)
        clients = [self.server.add(self.name + one, printer.uri, "dravr803") for one in "ab"]
        numbers = [self.submit(client, picture(300, 200)) for client in (clients[0],) * 3]
        printer.wait_bytes(1)
        numbers.append(self.submit(clients[1], picture(300, 200)))
        printer.resume()
        for client, number in zip((clients[0],) * 3 + (clients[1],), numbers):
            self.assertCompleted(self.ended(client, number))
        want = filtered(picture(300, 200), "KeepPictures=False", "dravr803",
                        program=PICTURE_FILTER)
        self.assertEqual([one == want for one in printer.jobs(4)], [True] * 4)
        self.assertEqual(printer.overlaps, 0)

    # ---- Files --------------------------------------------------------------

    def test_a_file_gets_the_jobs_one_behind_the_other(self) -> None:
        file = self.folder / "device"
        file.touch()
        client = self.server.add(self.name, f"file://{file}")
        for _ in range(2):
            self.assertCompleted(self.printed(client, RASTER, pwg([self.page])))
        self.assertSameBytes(file.read_bytes(),
                             2 * filtered(as_filter_raster([self.page], "A4")))
        printer_file = self.server.add(self.name + "lp", f"lp:{file}?status=no")
        self.assertCompleted(self.printed(printer_file, RASTER, pwg([self.page])))


if __name__ == "__main__":
    unittest.main()
