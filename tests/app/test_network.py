#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A shared server as other machines see it, in a network of the test's own."""
import socket
import sys
import unittest

import private_network
from app_case import RASTER, AppCase, ink_page, pwg
from ipp_client import (CREATE_PRINTER, DELETE_PRINTER, INTEGER, KEYWORD, NAME, PAUSE_PRINTER,
                        PRINTER, SHUTDOWN_ALL_PRINTERS, TEXT, URI, Attribute, Client)

HOST = "192.0.2.7"  # not of the loopback network, so its connections come from elsewhere
FORBIDDEN = -403


class RemoteTest(AppCase):
    options = ("share=yes", "tls=no")

    def test_other_machines_print_and_change_nothing(self) -> None:
        printer = self.sink()
        near = self.server.add("shared", printer.uri)
        far = Client(self.server.port, "/ipp/print/shared", HOST)
        system = Client(self.server.port, "/ipp/system", HOST)
        new = [Attribute(KEYWORD, "printer-service-type", "print"),
               Attribute(KEYWORD, "smi55357-driver", "dravsa43"),
               Attribute(URI, "smi55357-device-uri", "socket://192.0.2.9")]
        named = [Attribute(NAME, "printer-name", "another")]
        by_system = {"target": "system-uri"}
        for name, status in (
                ("a default", far.set_defaults(Attribute(KEYWORD, "halftone-type-default",
                                                         "stucki"))),
                ("a place", far.set_defaults(Attribute(TEXT, "printer-location", "here"))),
                ("a pause", far.request(PAUSE_PRINTER)[0]),
                ("a new queue", system.request(CREATE_PRINTER, new, named, group=PRINTER,
                                               **by_system)[0]),
                ("a queue less", system.request(DELETE_PRINTER,
                                                [Attribute(INTEGER, "printer-id", 1)],
                                                **by_system)[0]),
                ("the end", system.request(SHUTDOWN_ALL_PRINTERS, **by_system)[0])):
            with self.subTest(name):
                self.assertEqual(status, FORBIDDEN)
        self.assertEqual(self.server.run("printers").split(), ["shared"])
        self.assertEqual(near.printer()["halftone-type-default"], ["tattoo"])
        self.assertCompleted(self.printed(far, RASTER, pwg([ink_page(64, 24)])))
        printer.job()

    def test_a_server_that_is_not_shared_is_not_there_for_other_machines(self) -> None:
        folder = self.folder / "alone"
        folder.mkdir()
        alone = type(self.server)(folder)
        self.addCleanup(alone.stop)
        with socket.socket() as one:
            self.assertNotEqual(one.connect_ex((HOST, alone.port)), 0)


if __name__ == "__main__":
    private_network.enter(small_buffers=False)
    if not private_network.add_address(HOST):
        print("SKIP: this machine allows no network of the test's own")
        sys.exit(77)
    unittest.main()
