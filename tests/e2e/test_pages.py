# SPDX-License-Identifier: Apache-2.0
"""Small pages whose dots are computed by hand, odd sizes, and pages that are refused."""
import cups_raster
import filter_case
import ppd_text
from filter_case import (DOTS_BAND, DOTS_PAGE, JOB_END, JOB_SETUP, PAGE_END, ZEROS, FilterCase,
                         Outcome, band, dots_job)

START = ZEROS + JOB_SETUP
BUZZER = bytes.fromhex("1B420101")
BUZZER_PPD = ppd_text.ppd_text({"PageBuzzerSetting": "1", "BuzzerOnTime": "1",
                                "BuzzerRepeat": "1", "docCutType": "2"})


def one_page_job(*bands: bytes) -> bytes:
    return START + b"".join(bands) + PAGE_END + JOB_END


def halftone_ppd(name: str, **more: ppd_text.Choices) -> str:
    return ppd_text.ppd_text({"HalftoneType": name, **more})


class PackingTest(FilterCase):
    def test_leftmost_pixel_is_the_top_bit(self) -> None:
        rows = [b"\xff\0\0\0\0\0\0\xff", b"\0\xff\0\0\0\0\0\0", b"\0\0\0\0\xff\xff\xff\xff"]
        self.assert_job(self.run_pages(cups_raster.grey(rows)),
                        one_page_job(band(1, bytes.fromhex("81 40 0F"))))

    def test_rows_are_padded_to_four_pixels_without_dots(self) -> None:
        # 945 pixels are 948 with the padding, 119 bytes a row; 5 are 8, one byte.
        for width, row in ((1, "80"), (5, "F8"), (9, "FF80"), (10, "FFC0"), (12, "FFF0"),
                           (13, "FFF8"), (945, "FF" * 118 + "80")):
            with self.subTest(width=width):
                data = bytes.fromhex(row)
                outcome = self.run_pages(cups_raster.grey([b"\xff" * width] * 2))
                self.assert_job(outcome, one_page_job(band(len(data), data * 2)))

    def test_bands_of_96_rows(self) -> None:
        for height, heights in ((1, [1]), (95, [95]), (96, [96]), (97, [96, 1]),
                                (200, [96, 96, 8])):
            with self.subTest(height=height):
                outcome = self.run_pages(cups_raster.grey([b"\xff" * 8] * height))
                self.assert_job(outcome, one_page_job(*(band(1, b"\xff" * h) for h in heights)))

    def test_wide_rows_use_both_length_bytes(self) -> None:
        outcome = self.run_pages(cups_raster.grey([b"\xff" * 2364] * 97))
        self.assertEqual(outcome.status, 0)
        bands = [item for item in self.decode(outcome).items if item.name == "band"]
        self.assertEqual([item.data[:8].hex(" ") for item in bands],
                         ["1d 76 30 00 28 01 60 00", "1d 76 30 00 28 01 01 00"])
        self.assertEqual(set(self.decode(outcome).rows), {b"\xff" * 295 + b"\xf0"})

    def test_blank_edges_are_printed(self) -> None:
        rows = [bytes(8), bytes(8), b"\xff" * 8, bytes(8)]
        self.assert_job(self.run_pages(cups_raster.grey(rows)),
                        one_page_job(band(1, bytes.fromhex("0000FF00"))))
        self.assert_job(self.run_pages(cups_raster.grey([bytes(8)] * 100)),
                        one_page_job(band(1, bytes(96)), band(1, bytes(4))))


class HalftoneTest(FilterCase):
    def rows_of(self, outcome: Outcome) -> str:
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        return b"".join(self.decode(outcome).rows).hex(" ").upper()

    def test_threshold(self) -> None:
        page = cups_raster.grey([bytes([0, 127, 128, 129, 130, 254, 255, 1])])
        for ppd in (halftone_ppd("None"), ppd_text.ppd_text(), halftone_ppd("Nonesuch"),
                    halftone_ppd("tattoo"), halftone_ppd("floydsteinberg")):
            self.assertEqual(self.rows_of(self.run_pages(page, ppd=ppd)), "1E")

    def test_ordered_matrices(self) -> None:
        page = cups_raster.grey([b"\x64" * 8] * 4)
        for name, rows in (("FloydSteinberg", "AA 44 AA 11"), ("StevensonArce", "AA 44 AA 55")):
            with self.subTest(name):
                self.assertEqual(self.rows_of(self.run_pages(page, ppd=halftone_ppd(name))), rows)

    def test_error_diffusion(self) -> None:
        # 128 prints nothing and lifts its neighbours to 160 and 144; 160 prints and
        # takes 23 and 11 away; 121 prints nothing and lifts the last from 117 to 147.
        page = cups_raster.grey([b"\x80" * 4])
        self.assertEqual(self.rows_of(self.run_pages(page, ppd=halftone_ppd("Ordered"))), "50")

    def test_tattoo_stencils(self) -> None:
        page = cups_raster.grey([bytes([0, 36, 72, 109, 145, 182, 218, 255])] * 8)
        for name, rows in (("Tattoo", "1F 0F 1F 1F 1F 0F 1F 1F"),
                           ("Tattoo_X8", "2B 37 2F 33 2F 37 2B 37")):
            with self.subTest(name):
                self.assertEqual(self.rows_of(self.run_pages(page, ppd=halftone_ppd(name))), rows)

    def test_tattoo_pages_of_one_level_finish(self) -> None:
        for name in ("Tattoo", "Tattoo_X8"):
            for level, brightness, byte in ((0, "0", "00"), (255, "0", "FF"), (0, "51", "FF"),
                                            (7, "60", "FF"), (255, "-51", "00")):
                with self.subTest(name, level=level, brightness=brightness):
                    page = cups_raster.grey([bytes([level]) * 16] * 3)
                    ppd = halftone_ppd(name, Brightness=brightness)
                    rows = self.rows_of(self.run_pages(page, ppd=ppd))
                    self.assertEqual(rows, " ".join([byte] * 6))

    def test_the_job_chooses_the_halftone(self) -> None:
        page = cups_raster.grey([b"\x64" * 8] * 4)
        ppd = halftone_ppd("None", HalftoneType=ppd_text.HALFTONES)
        outcome = self.run_pages(page, ppd=ppd, options="HalftoneType=FloydSteinberg")
        self.assertEqual(self.rows_of(outcome), "AA 44 AA 11")

    def test_brightness_moves_the_threshold(self) -> None:
        page = cups_raster.grey([bytes(range(256))])
        for brightness, first in (("0", 129), ("1", 124), ("-1", 134), ("20", 29), ("-20", 229),
                                  ("25", 4), ("26", 0), ("-25", 254), ("-26", 256), ("100", 0),
                                  ("101", 0), ("-100", 256), ("-500", 256), ("dark", 129)):
            with self.subTest(brightness):
                outcome = self.run_pages(page, ppd=ppd_text.ppd_text({"Brightness": brightness}))
                dots = "".join("1" if level >= first else "0" for level in range(256))
                self.assert_job(outcome, one_page_job(band(32, int(dots, 2).to_bytes(32, "big"))))


class WidthLimitTest(FilterCase):
    """MaxMediaWidth, in points, cuts the right end of each row."""

    def row_bytes(self, width: int, points: str, resolution: int = 300) -> list[int]:
        page = cups_raster.grey([b"\xff" * width], HWResolution=(resolution, resolution))
        outcome = self.run_pages(page, ppd=ppd_text.ppd_text({}, {"MaxMediaWidth": points}))
        self.assertEqual((outcome.status, outcome.errors), (0, []))
        return [len(row) for row in self.decode(outcome).rows]

    def test_rows_above_the_limit_are_cut(self) -> None:
        # 1624 dots at 203 dots per inch; the padding of a cut row is printed too.
        for width, want in ((1700, 203), (1625, 204), (1624, 203), (1623, 203), (1616, 202),
                            (1701, 204)):
            with self.subTest(width=width):
                self.assertEqual(self.row_bytes(width, "576", 203), [want])

    def test_a4_on_a_2400_dot_head(self) -> None:
        self.assertEqual(self.row_bytes(2479, "576"), [301])
        self.assertEqual(self.row_bytes(2479, "575.4"), [300])

    def test_the_left_part_remains(self) -> None:
        row = b"\xff\0\0\0\0\xff\0\0" + b"\xff" * 8
        outcome = self.run_pages(cups_raster.grey([row, row[::-1]]),
                                 ppd=ppd_text.ppd_text({}, {"MaxMediaWidth": "1.93"}))
        self.assert_job(outcome, one_page_job(band(1, bytes.fromhex("84FF"))))
        self.assertIn("DEBUG:Calc skip pixels : maxMediaLinePixels(8), cupsBytesPerLine(16)",
                      outcome.lines)
        self.assertIn("DEBUG:GrayToMono, bpl(16), h(2), skipPixels(8), wb(8)", outcome.lines)

    def test_no_limit(self) -> None:
        for points in ("0", "-1", "-576", "inf", "-inf", "nan", "infinity", "wide", "", "0.1"):
            with self.subTest(points):
                self.assertEqual(self.row_bytes(160, points), [20])
                self.clear_spool()
        for points in ("inf", "nan", "-1"):
            with self.subTest(points):
                outcome = self.run_pages(DOTS_PAGE,
                                         ppd=ppd_text.ppd_text({}, {"MaxMediaWidth": points}))
                self.assertIn("DEBUG:Calc skip pixels : maxMediaLinePixels(0), "
                              "cupsBytesPerLine(8)", outcome.lines)

    def test_limits_beyond_any_page(self) -> None:
        for points in ("1e9", "1e30", "1e300"):
            with self.subTest(points):
                self.assertEqual(self.row_bytes(160, points), [20])

    def test_resolution_of_each_page(self) -> None:
        pages = [cups_raster.grey([b"\xff" * 32], HWResolution=(dpi, 300)) for dpi in (72, 144, 0)]
        outcome = self.run_pages(*pages, ppd=ppd_text.ppd_text({}, {"MaxMediaWidth": "8"}))
        self.assertEqual(outcome.status, 0)
        self.assertEqual([len(row) for row in self.decode(outcome).rows], [1, 2, 4])


class PolarityTest(FilterCase):
    def test_other_colour_spaces_get_one_warning_a_job(self) -> None:
        for space in (0, 6, 18):
            with self.subTest(cupsColorSpace=space):
                pages = [cups_raster.grey([b"\xff" * 8], cupsColorSpace=space)] * 3
                outcome = self.run_pages(DOTS_PAGE, *pages)
                self.assert_job(outcome, dots_job(4))
                self.assertEqual(len(outcome.having("WARN:")), 1)
                self.assertIn("inverted", outcome.having("WARN:")[0])

    def test_k_pages_get_none(self) -> None:
        outcome = self.run_pages(DOTS_PAGE, DOTS_PAGE)
        self.assert_job(outcome, dots_job(2))
        self.assertEqual(outcome.having("WARN:"), [])


class OddHeaderTest(FilterCase):
    """Headers that the raster library lets through."""

    def assert_refused(self, page: cups_raster.Page, **named: int) -> None:
        """Refused before its page start, after the pages before it; named fields are logged."""
        for good in (0, 1):
            with self.subTest(named, good=good):
                outcome = self.run_pages(*[DOTS_PAGE] * good, page, DOTS_PAGE, ppd=BUZZER_PPD)
                texts = [text for name, value in named.items() for text in (name, str(value))]
                self.assert_failed(outcome, START + (BUZZER + DOTS_BAND + PAGE_END) * good, *texts)
                self.clear_spool()

    def test_picture_wider_than_its_rows(self) -> None:
        for width, row in ((9, 8), (0xFFFFFFFF, 8), (65536, 65535)):
            page = cups_raster.page(width, 1, bytes(row), cupsBytesPerLine=row, PageSize=(1, 1))
            self.assert_refused(page, cupsWidth=width, cupsBytesPerLine=row)

    def test_size_that_does_not_fit_32_bits(self) -> None:
        for row, height in ((65537, 65536), (8, 0xFFFFFFFF), (0x7FFFFFFF, 3), (0x10001, 0xFFFF1)):
            page = cups_raster.page(8, height, bytes(64), cupsBytesPerLine=row, PageSize=(1, 1))
            self.assert_refused(page, cupsHeight=height, cupsBytesPerLine=row)

    def test_size_that_wraps_to_nothing_ends_the_input(self) -> None:
        page = cups_raster.page(8, 65536, bytes(64), cupsBytesPerLine=65536)
        for good in (0, 1):
            with self.subTest(good=good):
                outcome = self.run_pages(*[DOTS_PAGE] * good, page, ppd=BUZZER_PPD)
                self.assert_job(outcome, START + (BUZZER + DOTS_BAND + PAGE_END) * good + BUZZER
                                + filter_case.FULL_CUT + JOB_END)
                self.assertEqual(len(outcome.having("DEBUG:PAGE:")), good + 1)

    def test_picture_of_no_width(self) -> None:
        for name in ("None", "Tattoo"):
            with self.subTest(name):
                page = cups_raster.page(0, 2, b"\xff" * 16, cupsBytesPerLine=8)
                outcome = self.run_pages(DOTS_PAGE, page, DOTS_PAGE, ppd=halftone_ppd(name))
                self.assertEqual(outcome.stdout, START + DOTS_BAND + PAGE_END * 2 + DOTS_BAND
                                 + PAGE_END + JOB_END)
                self.assertEqual(outcome.status, 0)
                self.assertEqual(outcome.having("CRIT:"),
                                 ["CRIT:paletteImage.CreateFromArray with grey failed!"])
                self.assertEqual(outcome.errors, [
                    "ERROR:printImage: pimage is NULL, unable to print the image"])

    def test_picture_narrower_than_its_rows(self) -> None:
        # The picture is 8 wide, or 5 and 3 of padding, whatever the rows hold behind.
        rows = b"\xff\0\0\0\0\xff\0\xff" + b"\xff" * 8
        for width, want in ((8, "85 85"), (5, "80 80"), (16, "85FF 85FF")):
            with self.subTest(width=width):
                page = cups_raster.page(width, 2, rows * 2, cupsBytesPerLine=16)
                data = bytes.fromhex(want)
                self.assert_job(self.run_pages(page), one_page_job(band(len(data) // 2, data)))


if __name__ == "__main__":
    filter_case.main()
