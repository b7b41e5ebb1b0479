#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""PWG and Apple raster through the server: the bytes of the filter, or no bytes."""
import struct
import threading
import unittest

from app_case import (SGRAY, AppCase, as_filter_raster, filtered, ink_page, pwg, urf, white_page)
from cups_raster import Page, page as page_of
from ipp_client import (BOOLEAN, COLLECTION, INTEGER, KEYWORD, RANGE, SERVER_BUSY, Attribute)

RGB_24 = {"cupsBitsPerPixel": 24, "cupsColorSpace": 19, "cupsNumColors": 3}


def media_size(width: int, length: int) -> Attribute:
    size = [Attribute(INTEGER, "x-dimension", width), Attribute(INTEGER, "y-dimension", length)]
    return Attribute(COLLECTION, "media-col", [Attribute(COLLECTION, "media-size", size)])


class RasterTest(AppCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.printer = cls.shared_sink()
        cls.client = cls.server.add("stencil", cls.printer.uri)
        cls.receipt_printer = cls.shared_sink()
        cls.receipts = cls.server.add("receipts", cls.receipt_printer.uri, "dravr802")

    def setUp(self) -> None:
        self.printer.forget()

    def test_pwg_of_both_colour_spaces_prints_as_the_filter_prints(self) -> None:
        page = ink_page(640, 210)
        want = filtered(as_filter_raster([page], "A4"))
        for name, document in (("black_8", pwg([page])),
                               ("sgray_8", pwg([white_page(page, cupsColorSpace=SGRAY)]))):
            with self.subTest(name):
                self.assertCompleted(self.printed(self.client, "image/pwg-raster", document))
                self.assertSameBytes(self.printer.job(), want)

    def test_apple_raster_of_three_pages(self) -> None:
        pages = [ink_page(width, 97) for width in (2480, 1, 333)]
        document = urf([white_page(one) for one in pages])
        self.assertCompleted(self.printed(self.client, "image/urf", document))
        self.assertSameBytes(self.printer.job(), filtered(as_filter_raster(pages, "A4")))

    def test_a_receipt_has_its_own_resolution(self) -> None:
        page = ink_page(575, 120, HWResolution=(203, 203))
        self.assertCompleted(self.printed(self.receipts, "image/pwg-raster", pwg([page])))
        self.assertSameBytes(self.receipt_printer.job(),
                             filtered(as_filter_raster([page], "X72MMY200MM"), model="dravr802"))

    def test_copies_are_printed_page_by_page(self) -> None:
        pages = [ink_page(64, 20), ink_page(80, 30)]
        job = self.printed(self.client, "image/pwg-raster", pwg(pages),
                           Attribute(INTEGER, "copies", 2))
        self.assertCompleted(job)
        twice = [pages[0], pages[0], pages[1], pages[1]]
        self.assertSameBytes(self.printer.job(), filtered(as_filter_raster(twice, "A4")))

    def test_a_range_of_pages(self) -> None:
        pages = [ink_page(40 + 8 * one, 10 + one) for one in range(4)]
        document = pwg(pages)
        job = self.printed(self.client, "image/pwg-raster", document,
                           Attribute(RANGE, "page-ranges", (2, 3)))
        self.assertCompleted(job)
        self.assertEqual(job["job-impressions-completed"], [2])
        self.assertSameBytes(self.printer.job(), filtered(as_filter_raster(pages[1:3], "A4")))
        self.assertAborted(self.printed(self.client, "image/pwg-raster", document,
                                        Attribute(RANGE, "page-ranges", (5, 9))))
        self.assertEqual(self.printer.jobs(), [])

    def test_a_second_raster_is_told_that_the_queue_is_busy_and_prints_later(self) -> None:
        printer = self.sink(stall_at=2_000)
        client = self.server.add("busy", printer.uri)
        first, second = ink_page(1200, 400), ink_page(64, 24)
        jobs: list[tuple[int, dict]] = []
        thread = threading.Thread(
            target=lambda: jobs.append(client.print_job("image/pwg-raster", pwg([first]))))
        thread.start()
        printer.wait_bytes(2_000)
        self.assertEqual(client.print_job("image/pwg-raster", pwg([second]))[0], SERVER_BUSY)
        printer.resume()
        thread.join()
        self.assertCompleted(self.ended(client, jobs[0][1]["job-id"][0]))
        self.assertSameBytes(printer.job(), filtered(as_filter_raster([first], "A4")))
        self.assertCompleted(self.printed(client, "image/pwg-raster", pwg([second])))
        self.assertSameBytes(printer.job(), filtered(as_filter_raster([second], "A4")))

    def test_the_frame_knows_the_paper_of_a_page_that_comes_without_a_name(self) -> None:
        page = page_of(1240, 1748, bytes(1240 * 1748))
        job = self.printed(self.client, "image/pwg-raster", pwg([page]),
                           Attribute(KEYWORD, "media", "iso_a6_105x148mm"),
                           Attribute(INTEGER, "frame", 2))
        self.assertCompleted(job)
        want = filtered(as_filter_raster([page], "Tattoo_A6"), "PaperFrame=2")
        self.assertSameBytes(self.printer.job(), want)
        self.assertTrue(want != filtered(as_filter_raster([page], ""), "PaperFrame=2"))

    def test_any_length_from_20_to_3000_mm_is_taken_and_no_other(self) -> None:
        page = pwg([ink_page(40, 8)])
        for length in (2_000, 12_345, 300_000):
            with self.subTest(length):
                status, answer = self.client.print_job("image/pwg-raster", page,
                                                       media_size(20_300, length))
                self.assertEqual(status, 0, answer)
                self.assertCompleted(self.ended(self.client, answer["job-id"][0]))
                self.printer.job()
        for length in (1_999, 300_001):
            with self.subTest(length):
                status, answer = self.client.print_job("image/pwg-raster", page,
                                                       media_size(20_300, length),)
                self.assertEqual(status, 1, answer)  # printed, with media-col left out
                self.ended(self.client, answer["job-id"][0])
                self.printer.job()

    def test_options_of_the_job(self) -> None:
        page = ink_page(200, 60)
        job = self.printed(self.client, "image/pwg-raster", pwg([page]),
                           Attribute(KEYWORD, "halftone-type", "jarvis-judice-ninke"),
                           Attribute(INTEGER, "print-darkness", 100),
                           Attribute(BOOLEAN, "mirror", True))
        self.assertCompleted(job)
        self.assertSameBytes(self.printer.job(), filtered(
            as_filter_raster([page], "A4"),
            "HalftoneType=Stucki PrintDensity=15 StencilMirror=True"))

    # ---- Pages that must not print -----------------------------------------

    def refused(self, document: bytes, format_: str = "image/pwg-raster") -> None:
        """Aborted, nothing on paper, and the next job prints."""
        self.assertAborted(self.printed(self.client, format_, document))
        page = ink_page(64, 20)
        self.assertCompleted(self.printed(self.client, "image/pwg-raster", pwg([page])))
        self.assertSameBytes(self.printer.job(), filtered(as_filter_raster([page], "A4")))

    def test_a_page_of_1_bit_is_not_printed_as_if_it_had_8(self) -> None:
        self.assertNotIn("black_1", self.client.printer()["pwg-raster-document-type-supported"])
        self.refused(pwg([Page(bytes(80 * 16), {
            **ink_page(640, 16).header, "cupsBitsPerColor": 1, "cupsBitsPerPixel": 1,
            "cupsBytesPerLine": 80})]))
        # As large as PAPPL's own header would be.
        self.refused(pwg([Page(bytes(310 * 8), {
            **ink_page(2480, 8).header, "cupsBitsPerColor": 1, "cupsBitsPerPixel": 1,
            "cupsBytesPerLine": 310, "cupsColorSpace": 3})]))

    def test_a_cut_page_does_not_print(self) -> None:
        whole = pwg([ink_page(640, 200)])
        self.refused(whole[:len(whole) // 2])
        apple = urf([ink_page(640, 200)])
        self.refused(apple[:len(apple) // 2], "image/urf")

    def test_pages_before_a_cut_one_are_ended_like_a_job(self) -> None:
        first = ink_page(100, 30)
        whole = pwg([first, ink_page(640, 200)])
        self.assertAborted(self.printed(self.client, "image/pwg-raster", whole[:-2000]))
        self.assertSameBytes(self.printer.job(), filtered(as_filter_raster([first], "A4")))

    def test_pages_longer_than_any_paper_are_refused(self) -> None:
        for rows in (35_434, 1_000_000, 4_000_000_000):
            with self.subTest(rows):
                self.refused(pwg([Page(b"", {**ink_page(8, 1).header, "cupsHeight": rows})])
                             + bytes(400))
        self.refused(pwg([ink_page(8, 35_434)]))  # whole, one row beyond 3 m

    def test_pages_of_other_kinds_are_refused(self) -> None:
        page = ink_page(30, 10)
        for name, fields in (("a resolution that is not ours", {"HWResolution": (150, 150)}),
                             ("colours", {**RGB_24, "cupsWidth": 10}),
                             ("too wide", {"cupsWidth": 30_000, "cupsBytesPerLine": 30_000})):
            with self.subTest(name):
                self.refused(pwg([Page(page.pixels, {**page.header, **fields})]))

    def test_what_is_no_raster_is_refused(self) -> None:
        for document in (b"", b"RaS2", b"nothing of the kind" * 9, struct.pack(">4sI", b"UNIR", 1)):
            with self.subTest(document[:8]):
                status, answer = self.client.print_job("image/pwg-raster", document)
                if status == 0:
                    self.assertAborted(self.ended(self.client, answer["job-id"][0]))
        self.assertTrue(self.server.lives)


if __name__ == "__main__":
    unittest.main()
