#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""PWG and Apple raster through the server: the bytes of the filter."""
import unittest

from app_case import (SGRAY, AppCase, as_filter_raster, filtered, ink_page, pwg, urf, white_page)
from cups_raster import K


class RasterTest(AppCase):
    def setUp(self) -> None:
        self.printer = self.sink()
        self.client = self.server.add(self.id().split(".")[-1], self.printer.uri)

    def test_pwg_of_both_colour_spaces_prints_as_the_filter_prints(self) -> None:
        page = ink_page(640, 210)
        want = filtered(as_filter_raster([page], "A4"))
        for name, document in (("black_8", pwg([page])),
                               ("sgray_8", pwg([white_page(page, cupsColorSpace=SGRAY)]))):
            with self.subTest(name):
                self.assertCompleted(self.printed(self.client, "image/pwg-raster", document))
                self.assertEqual(self.printer.job(), want)


if __name__ == "__main__":
    unittest.main()
