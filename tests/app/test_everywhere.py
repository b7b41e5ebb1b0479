#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A queue of today's CUPS to the server, without a driver file: the dots of our filters."""
import os
import pathlib
import sys
import unittest

import ipp
import private_cups
from app_case import AppCase, PICTURE_FILTER, filtered
from escpos_stream import decode
from picture_files import image, ramp, saved
from test_documents import pdf

SYSTEM = pathlib.Path("/usr/lib/cups")


def black(job: bytes) -> int:
    return sum(byte.bit_count() for row in decode(job).rows for byte in row)


class EverywhereTest(AppCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.printer = cls.shared_sink()
        cls.client = cls.server.add("stencil", cls.printer.uri)
        cls.cups = private_cups.PrivateCups(pathlib.Path(os.environ["DRAV_FILTER"]),
                                            pathlib.Path(os.environ["DRAV_DRIVER"]))
        cls.addClassCleanup(cls.cups.stop)
        (cls.cups.root / "lib/backend/ipp").symlink_to(SYSTEM / "backend/ipp")
        cls.cups.start()
        cls.cups.run("lpadmin", "-p", "ev", "-E", "-v", cls.client.uri, "-m", "everywhere")

    def through_cups(self, name: str, document: bytes, *options: str) -> bytes:
        file = self.folder / name
        file.write_bytes(document)
        state = self.cups.wait_job(self.cups.submit("ev", file, options))
        self.assertEqual(state, ipp.COMPLETED, self.cups.log()[-3000:])
        return self.printer.job()

    def test_a_png_prints_as_the_picture_filter_prints(self) -> None:
        document = saved(image(ramp(150, 90)), "PNG", dpi=(300, 300))
        self.assertSameBytes(self.through_cups("drawing.png", document), filtered(
            document, "KeepPictures=False", program=PICTURE_FILTER))

    def test_a_pdf_prints_as_it_does_without_cups(self) -> None:
        document = pdf((200, 100, "0.5 g 10 10 150 60 re f"), (150, 90, "20 20 80 30 re f"))
        got = self.through_cups("drawing.pdf", document)
        self.assertCompleted(self.printed(self.client, "application/pdf", document))
        self.assertSameBytes(got, self.printer.job())

    def test_a_range_of_pages_is_taken_once(self) -> None:
        pages = ((150, 90, "20 20 80 30 re f"), (150, 90, "20 20 20 15 re f"))
        whole = black(self.through_cups("drawing.pdf", pdf(*pages)))
        second = black(self.through_cups("drawing.pdf", pdf(*pages), "page-ranges=2-2"))
        self.assertAlmostEqual(second / whole, 1 / 9, delta=0.01)  # of 2400 + 300


if __name__ == "__main__":
    if missing := private_cups.missing_part():
        print("SKIP:", missing)
        sys.exit(77)
    unittest.main()
