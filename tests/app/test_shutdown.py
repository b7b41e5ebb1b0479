#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""SIGTERM ends the server in time, whatever its printers do."""
import signal
import threading
import time
import unittest

from app_case import PICTURE, AppCase, Server, free_port, picture
from escpos_stream import decode
from ipp_client import Client


class ShutdownTest(AppCase):
    def started(self, uri: str) -> tuple[Server, Client]:
        folder = self.folder / f"s{time.monotonic_ns()}"
        folder.mkdir()
        server = Server(folder)
        self.addCleanup(server.stop, signal.SIGKILL)
        return server, server.add("queue", uri, "dravr803")

    def test_an_idle_server_ends_at_once(self) -> None:
        server, _ = self.started(self.sink().uri)
        self.assertLess(server.stop(), 2)
        self.assertEqual(server.process.returncode, 0)

    def test_a_server_whose_printer_is_away_ends_in_time(self) -> None:
        server, client = self.started(f"socket://127.0.0.1:{free_port()}")
        client.print_job(PICTURE, picture(60, 40))
        time.sleep(0.5)
        self.assertLess(server.stop(), 10)

    def test_a_server_that_prints_ends_on_a_whole_band(self) -> None:
        printer = self.sink(stall_at=20_000)
        server, client = self.started(printer.uri)
        client.print_job(PICTURE, picture(850, 3000))
        printer.wait_bytes(20_000)
        threading.Timer(0.5, printer.resume).start()
        self.assertLess(server.stop(), 10)
        decode(printer.job())

    def test_a_server_whose_printer_takes_nothing_ends_in_time(self) -> None:
        printer = self.sink(stall_at=20_000)
        server, client = self.started(printer.uri)
        client.print_job(PICTURE, picture(850, 3000))
        printer.wait_bytes(20_000)
        self.assertLess(server.stop(), 10)


if __name__ == "__main__":
    unittest.main()
