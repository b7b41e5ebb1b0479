# SPDX-License-Identifier: Apache-2.0
"""Arguments, the raster stream, and what becomes of a job that cannot be printed."""
import random
import time

import cups_raster
import filter_case
import ppd_text
from filter_case import (DOTS_BAND, DOTS_PAGE, JOB_END, JOB_SETUP, PAGE_END, ZEROS, FilterCase,
                         Outcome, band, close_descriptor, dots_job)

START = ZEROS + JOB_SETUP
ONE_BIT_PAGE = cups_raster.page(8, 1, b"\xff", cupsBitsPerColor=1, cupsBitsPerPixel=1,
                                cupsBytesPerLine=1)
RGB_PAGE = cups_raster.page(8, 1, b"\xff" * 24, cupsBitsPerPixel=24, cupsBytesPerLine=24,
                            cupsColorSpace=1, cupsNumColors=3)


class ArgumentsTest(FilterCase):
    def usage(self, name: str) -> str:
        return (f"{name} v3.13.34\n\nUsage:\n\n"
                f"    {name} job_id user title copyies options [file]\n\n")

    def test_too_few_or_too_many_arguments(self) -> None:
        raster = cups_raster.stream([DOTS_PAGE])
        full = ["name", "1", "user", "title", "1", "", "file", "more"]
        for count in (1, 2, 5, 8):
            with self.subTest(count):
                outcome = self.run_filter(raster, arguments=full[:count])
                self.assertEqual(outcome, Outcome(1, b"", self.usage("name")))

    def test_usage_names_the_program_without_its_folders(self) -> None:
        for path, name in (("/usr/lib/cups/filter/rastertodrav", "rastertodrav"),
                           ("a\\b", "b"), ("a/b\\c", "c"), ("a\\b/c", "c"), ("a/", "")):
            with self.subTest(path):
                outcome = self.run_filter(b"", arguments=[path])
                self.assertEqual(outcome, Outcome(1, b"", self.usage(name)))

    def test_standard_input(self) -> None:
        self.assert_job(self.run_filter(cups_raster.stream([DOTS_PAGE])), dots_job())

    def test_file_argument(self) -> None:
        path = self.write("page.ras", cups_raster.stream([DOTS_PAGE]))
        for name in (str(path), "page.ras"):
            with self.subTest(name):
                outcome = self.run_filter(b"no raster", arguments=self.arguments("", "1", name))
                self.assert_job(outcome, dots_job())

    def test_file_that_cannot_be_opened(self) -> None:
        start = time.monotonic()
        outcome = self.run_filter(cups_raster.stream([DOTS_PAGE]),
                                  arguments=self.arguments("", "1", "/nonexistent/page.ras"))
        seconds = time.monotonic() - start
        self.assertEqual(outcome, Outcome(1, b"", "ERROR:Unable to open raster file!\n"))
        self.assertGreaterEqual(seconds, 0.9)
        self.assertLess(seconds, 10.0)

    def test_copies_are_the_spoolers_business(self) -> None:
        raster = cups_raster.stream([cups_raster.grey([b"\xff" * 8], NumCopies=4)])
        for copies in ("0", "1", "7", "many"):
            with self.subTest(copies):
                outcome = self.run_filter(raster, arguments=self.arguments("", copies))
                self.assert_job(outcome, dots_job())
                self.assertEqual(outcome.having("DEBUG:PAGE:"), ["DEBUG:PAGE: 1 4"])

    def test_closed_standard_input_with_a_file_argument(self) -> None:
        self.write("page.ras", cups_raster.stream([DOTS_PAGE]))
        outcome = self.run_filter(b"", arguments=self.arguments("", "1", "page.ras"),
                                  prepare=close_descriptor(0))
        self.assert_job(outcome, dots_job())

    def test_closed_standard_input(self) -> None:
        outcome = self.run_filter(b"", prepare=close_descriptor(0))
        self.assert_failed(outcome, START, "No pages found!")


class RasterTest(FilterCase):
    def test_versions_and_byte_orders_print_alike(self) -> None:
        rng = random.Random(20)
        pages = []
        for width, height in ((945, 120), (8, 3), (679, 40)):
            rows = [rng.randbytes(width) for _ in range(height // 2)]
            rows += [bytes(width)] * (height - len(rows))  # runs for version 2
            pages.append(cups_raster.grey(rows))
        want = self.run_filter(cups_raster.stream(pages))
        self.assertEqual(want.status, 0)
        self.assertEqual(len(self.decode(want).rows), 163)
        for version in cups_raster.VERSIONS:
            for order in cups_raster.BYTE_ORDERS:
                with self.subTest(version=version, order=order):
                    got = self.run_filter(cups_raster.stream(pages, version, order))
                    self.assertEqual(got.status, 0)
                    self.assertEqual(got.stdout, want.stdout)

    def test_pages_that_grow_and_shrink(self) -> None:
        sizes = ((8, 2), (32, 200), (16, 3), (32, 200), (64, 97), (8, 1), (104, 300), (8, 96))
        want = START
        pages = []
        for number, (width, height) in enumerate(sizes):
            ink = bytes([1 << number % 8])
            row = b"".join(b"\xff" if ink[0] & 0x80 >> x % 8 else b"\0" for x in range(width))
            pages.append(cups_raster.grey([row] * height))
            for top in range(0, height, 96):
                want += band(width // 8, ink * (width // 8) * min(96, height - top))
            want += PAGE_END
        outcome = self.run_pages(*pages)
        self.assert_job(outcome, want + JOB_END)
        self.assertEqual(outcome.having("DEBUG:PAGE:"),
                         [f"DEBUG:PAGE: {n} 1" for n in range(1, len(sizes) + 1)])

    def test_no_pages(self) -> None:
        for name, raster in (("nothing", b""), ("sync word alone", cups_raster.sync_bytes()),
                             ("no raster", b"%PDF-1.4 is no raster stream"),
                             ("half a header", cups_raster.stream([DOTS_PAGE])[:500])):
            with self.subTest(name):
                self.assert_failed(self.run_filter(raster), START, "ERROR:No pages found!")

    def test_headers_without_rows_or_columns_end_the_input(self) -> None:
        for fields in ({"cupsHeight": 0}, {"cupsBytesPerLine": 0}):
            with self.subTest(fields):
                empty = cups_raster.page(8, 1, b"", **fields)
                self.assert_failed(self.run_pages(empty), START, "ERROR:No pages found!")
                self.assert_job(self.run_pages(DOTS_PAGE, empty), dots_job())

    def test_pages_of_other_depths(self) -> None:
        for bits, bad in ((1, ONE_BIT_PAGE), (24, RGB_PAGE)):
            text = f"ERROR:Unsupported bits per pixel : {bits} ! Requires 8 bits per pixel!"
            for good in (0, 1, 2):
                with self.subTest(bits=bits, good=good):
                    outcome = self.run_pages(*[DOTS_PAGE] * good, bad, DOTS_PAGE)
                    self.assert_failed(outcome, START + (DOTS_BAND + PAGE_END) * good)
                    self.assertEqual(outcome.errors, [text])
                    self.assertEqual(len(outcome.having("DEBUG:PAGE:")), good)

    def test_page_of_another_depth_gets_no_page_start(self) -> None:
        ppd = ppd_text.ppd_text({"PageBuzzerSetting": "1", "BuzzerOnTime": "1",
                                 "BuzzerRepeat": "1", "docCutType": "2"})
        self.assert_failed(self.run_pages(ONE_BIT_PAGE, ppd=ppd), START, "per pixel : 1 !")

    def test_pixel_data_cut_short(self) -> None:
        ppd = ppd_text.ppd_text({"PageBuzzerSetting": "1", "BuzzerOnTime": "3",
                                 "BuzzerRepeat": "2", "docCutType": "1"})
        buzzer = bytes.fromhex("1B420203")
        end = filter_case.PARTIAL_CUT + JOB_END
        cut = cups_raster.page(8, 3, b"\xff" * 16)
        for good in (0, 1):
            with self.subTest(good=good):
                outcome = self.run_pages(*[DOTS_PAGE] * good, cut, ppd=ppd)
                self.assert_job(outcome, START + (buzzer + DOTS_BAND + PAGE_END) * good
                                + buzzer + end)
                self.assertEqual(len(outcome.having("DEBUG:PAGE:")), good + 1)
                self.assertEqual(len(self.pictures()), 2 * good)
                self.clear_spool()

    def test_header_cut_short_after_a_page(self) -> None:
        raster = cups_raster.stream([DOTS_PAGE, DOTS_PAGE])
        for missing in (8, 9, 1000, 1804):
            with self.subTest(missing=missing):
                outcome = self.run_filter(raster[:len(raster) - missing])
                self.assert_job(outcome, dots_job())
                self.assertEqual(len(outcome.having("DEBUG:PAGE:")), 2 if missing == 8 else 1)


if __name__ == "__main__":
    filter_case.main()
