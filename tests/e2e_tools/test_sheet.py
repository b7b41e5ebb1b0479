#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Looks for the dots of `drav proof` in the contact sheets of `drav sheet`."""
import pathlib
import random
import subprocess
import unittest

import drav_case
from drav_case import DravCase, HALFTONES, find_program
from pictures import Png, make_pdf, make_png, read_png

import cups_raster

WIDTH, HEIGHT = 900, 700
CROP_WIDTH, CROP_HEIGHT = 520, 390

# What the driver's labels say that each choice runs.
RUNS = {"None": "Threshold", "FloydSteinberg": "Ordered 4x4", "Ordered": "Burkes",
        "Burkes": "Stucki", "Stucki": "Jarvis, Judice and Ninke", "JarvisJudiceNinke": "Sierra",
        "Sierra": "Stevenson and Arce", "StevensonArce": "Bayer", "Tattoo": "Tattoo stencil",
        "Tattoo_X8": "Tattoo stencil X8"}
BRIGHTNESS = {"-40": "Lighter 40", "-5": "Lighter 5", "0": "Normal",
              "2": "Darker 2 (tints the paper)", "15": "Darker 15 (tints the paper)"}


def page_rows():
    """Slopes, with a noisy part at the bottom right."""
    source = random.Random(8)
    rows = []
    for y in range(HEIGHT):
        row = bytearray((x // 4 + y // 3) % 250 for x in range(WIDTH))
        if y >= 300:
            row[380:] = source.randbytes(WIDTH - 380)
        rows.append(bytes(row))
    return rows


def unpack(rows: list[bytes], x: int, y: int, width: int, height: int) -> list[bytes]:
    """A part of packed rows as levels, 0 for a dot and 255 for none."""
    out = []
    for row in rows[y:y + height]:
        bits = "".join(f"{value:08b}" for value in row)[x:x + width]
        out.append(bytes(0 if bit == "1" else 255 for bit in bits))
    return out


def find_part(sheet: Png, part: list[bytes]) -> tuple[int, int] | None:
    """Where a part with these levels stands in an RGB picture."""
    rows = [b"".join(bytes((value,)) * 3 for value in row) for row in part]
    # A row with much in it is found in few places.
    mark = max(range(len(rows)), key=lambda i: rows[i].count(b"\0\0\0\xff"))
    for top in range(sheet.height - len(rows) + 1):
        at = sheet.rows[top + mark].find(rows[mark])
        while at >= 0:
            if at % 3 == 0 and all(sheet.rows[top + i].startswith(row, at)
                                   for i, row in enumerate(rows)):
                return at // 3, top
            at = sheet.rows[top + mark].find(rows[mark], at + 1)
    return None


class SheetTest(DravCase):
    def setUp(self):
        super().setUp()
        raster = cups_raster.stream([cups_raster.grey(page_rows())])
        self.page = self.write("page.ras", raster)

    def read(self, name):
        """By netpbm, which takes a tenth of a second where Python takes ten."""
        done = subprocess.run([find_program("pngtopnm"), self.out / name], capture_output=True,
                              check=True, timeout=60)
        kind, width, height, most = done.stdout.split(maxsplit=4)[:4]
        self.assertEqual((kind, most), (b"P6", b"255"))
        pixels = done.stdout[-3 * int(width) * int(height):]
        rows = [pixels[at:at + 3 * int(width)] for at in range(0, len(pixels), 3 * int(width))]
        return Png(int(width), int(height), 8, 2, rows, [])

    def dots(self, option):
        return self.proof(self.page, "-o", option)[0]

    def mean_level(self, sheet, x, y, width, height):
        total = sum(sum(row[3 * x:3 * (x + width):3]) for row in sheet.rows[y:y + height])
        return total / (width * height)

    def test_halftones_dot_by_dot(self):
        done = self.run_well("sheet", self.page, "--detail", "10", "5", "-O", self.out / "s.png")
        self.assertEqual(done.stdout.decode().split(),
                         [str(self.out / "s.png"), str(self.out / "s-brightness.png")])
        sheet = self.read("s.png")
        places = {}
        x, y = int(10 * 300 / 25.4), int(5 * 300 / 25.4)
        for halftone in HALFTONES:
            rows = self.dots(f"HalftoneType={halftone}")
            part = unpack(rows, x, y, CROP_WIDTH, CROP_HEIGHT)
            place = find_part(sheet, part)
            self.assertIsNotNone(place, f"no {halftone} on the sheet")
            places[halftone] = place
            # The reduced page at its left keeps the mean grey.
            page_width = 300
            page_height = round(len(rows) * 300 / (len(rows[0]) * 8))
            left = place[0] - 14 - page_width
            black = sum(bin(int.from_bytes(row, "big")).count("1") for row in rows)
            expected = 255 * (1 - black / (len(rows) * len(rows[0]) * 8))
            found = self.mean_level(sheet, left, place[1], page_width, page_height)
            self.assertAlmostEqual(found, expected, delta=3.5)  # the red frame is in it
        self.assertEqual(len(set(places.values())), 10)
        self.assertEqual(len({place[0] for place in places.values()}), 2, "two columns")

    def test_brightness_dot_by_dot(self):
        self.run_well("sheet", self.page, "--detail", "0", "0", "--over", "brightness", "-o",
                      "HalftoneType=Ordered", "-O", self.out / "s.png")
        self.assertEqual([path.name for path in self.out.iterdir()], ["s.png"])
        sheet = self.read("s.png")
        places = []
        for value in BRIGHTNESS:
            rows = self.proof(self.page, "-o", f"Brightness={value}", "-o",
                              "HalftoneType=Ordered")[0]
            places.append(find_part(sheet, unpack(rows, 0, 0, CROP_WIDTH, CROP_HEIGHT)))
            self.assertIsNotNone(places[-1], f"no brightness {value} on the sheet")
        tops = [place[1] for place in places]
        self.assertEqual(tops, sorted(tops), "not in the driver's order")

    def test_the_part_with_the_most_going_on_is_chosen(self):
        self.run_well("sheet", self.page, "--over", "halftone", "-O", self.out / "s.png")
        part = unpack(self.dots("HalftoneType=None"), WIDTH - CROP_WIDTH, 304, CROP_WIDTH,
                      CROP_HEIGHT)
        self.assertIsNotNone(find_part(self.read("s.png"), part))

    def test_narrow_and_small_pages(self):
        for width, height in ((8, 3), (384, 30), (40, 900)):
            rows = [bytes((x * 5 + y) % 256 for x in range(width)) for y in range(height)]
            self.page = self.write("p.ras", cups_raster.stream([cups_raster.grey(rows)]))
            last = f"{(height - 1) * 25.4 / 300:.2f}"  # too low for a whole part
            self.run_well("sheet", self.page, "--over", "halftone", "--detail", "0", last, "-O",
                          self.out / "s.png")
            dots = self.dots("HalftoneType=Burkes")
            part = unpack(dots, 0, max(0, height - CROP_HEIGHT), width, CROP_HEIGHT)
            self.assertIsNotNone(find_part(self.read("s.png"), part), f"{width} x {height}")

    @unittest.skipUnless(find_program("pdftotext"), "poppler's programs are not installed")
    def test_pdf(self):
        self.run_well("sheet", self.page, "--detail", "0", "0", "-O", self.out / "s.pdf")
        self.assertEqual([path.name for path in self.out.iterdir()], ["s.pdf"])
        text = subprocess.run([find_program("pdftotext"), "-layout", self.out / "s.pdf", "-"],
                              capture_output=True, check=True, timeout=60).stdout.decode()
        first, second = text.rstrip("\f").split("\f")
        for halftone, label in RUNS.items():
            rows = self.dots(f"HalftoneType={halftone}")
            black = sum(bin(int.from_bytes(row, "big")).count("1") for row in rows)
            share = 100 * black / (len(rows) * len(rows[0]) * 8)
            self.assertRegex(first, rf"{label} \(")
            self.assertRegex(first, rf"-o HalftoneType={halftone}, {share:.1f} % black")
        self.assertIn("-o HalftoneType=Tattoo, ", first)
        self.assertEqual(first.count("this job's choice"), 1)
        for value, label in BRIGHTNESS.items():
            self.assertIn(label, second)
            self.assertIn(f"-o Brightness={value}, ", second)
        self.assertIn("page.ras, page 1, in every halftone", first)
        self.check_pdf_pictures()

    def check_pdf_pictures(self):
        folder = self.folder / "images"
        folder.mkdir()
        subprocess.run([find_program("pdfimages"), "-png", "-l", "1", self.out / "s.pdf",
                        folder / "i"], check=True, timeout=60)
        crops = [png for png in (read_png(path.read_bytes()) for path in sorted(folder.iterdir()))
                 if png.depth == 1]
        self.assertEqual([(png.width, png.height) for png in crops],
                         [(CROP_WIDTH, CROP_HEIGHT)] * 10)
        wanted = unpack(self.dots("HalftoneType=Tattoo"), 0, 0, CROP_WIDTH, CROP_HEIGHT)
        self.assertEqual(unpack(crops[0].dots(), 0, 0, CROP_WIDTH, CROP_HEIGHT), wanted)

    @unittest.skipUnless(find_program("cupsfilter"), "CUPS's cupsfilter is not installed")
    def test_pages_of_documents(self):
        contents = [b"0.5 g 0 0 226.77 566.93 re f", b"0.2 g 0 0 226.77 283 re f"]
        self.page = self.write("two.pdf", make_pdf(contents))
        self.run_well("sheet", self.page, "--page", "2", "-o", "PageSize=X80MMY200MM", "--over",
                      "halftone", "--detail", "0", "95", "-O", self.out / "s.png")
        dots = self.proof(self.page, "--page", "2", "-o", "PageSize=X80MMY200MM", "-o",
                          "HalftoneType=Stucki")[0]
        part = unpack(dots, 0, int(95 * 300 / 25.4), CROP_WIDTH, CROP_HEIGHT)
        self.assertTrue(any(any(row) for row in part) and not all(all(row) for row in part))
        self.assertIsNotNone(find_part(self.read("s.png"), part))

    def test_names(self):
        self.run_well("sheet", self.page, cwd=self.out)
        self.assertEqual(sorted(path.name for path in self.out.iterdir()),
                         ["page-sheet-brightness.png", "page-sheet.png"])

    def test_bad_input(self):
        out = self.out / "s.png"
        self.assert_failed(self.run_drav("sheet", self.page, "-O", self.out / "s.jpg"),
                           "the name of a sheet ends in .png or .pdf")
        self.assert_failed(self.run_drav("sheet", self.page, "--page", "2", "-O", out),
                           "has 1 page, so there is no page 2")
        self.assert_failed(self.run_drav("sheet", self.folder, "-O", out), "is a folder")
        self.assert_failed(self.run_drav("sheet", self.write("n", b"\0\1\2" * 99), "-O", out),
                           "is of a kind that is not known here")
        self.assert_failed(self.run_drav("sheet", self.page, "--detail", "x", "2", "-O", out))
        for x, y in (("500", "0"), ("0", "500"), ("nan", "0"), ("0", "inf")):
            self.assert_failed(self.run_drav("sheet", self.page, "--detail", x, y, "-O", out),
                               "--detail begins outside of the page, which is ",
                               " mm; for a part of full size")
        self.assert_failed(self.run_drav("sheet", self.page, "--crop", "80", "120", "-O", out),
                           "what is shown dot by dot is --detail X Y")
        self.assert_failed(self.run_drav("sheet", self.page, "--crop", "1,2,3,4", "-O", out),
                           "page.ras: is a page already")
        self.assert_failed(self.run_drav("sheet", self.page, "--over", "density", "-O", out))
        text = pathlib.Path(drav_case.PPD).read_bytes().splitlines(True)
        ppd = self.write("plain.ppd", b"".join(
            line for line in text if b"HalftoneType" not in line))
        self.assert_failed(self.run_drav("sheet", self.page, "--ppd", ppd, "-O", out),
                           "the driver has no option HalftoneType")
        self.assert_failed(self.run_drav("sheet", self.page, "-O", self.out / "no" / "s.pdf"),
                           "No such file")

    def test_what_no_queue_prints(self):
        """As proof refuses it."""
        picture = self.write("a.png", make_png(9, 9, 8, 0, [bytes(9)] * 9))
        for option, words in (("number-up=2", "a.png: cannot be printed with number-up"),
                              ("outputorder=reverse",
                               "a.png: cannot be printed with outputorder=reverse")):
            for command, *out in (("sheet", "-O", self.out / "s.png"),
                                  ("proof", "--html", self.out / "a.html")):
                self.assert_failed(self.run_drav(command, picture, "-o", option, *out), words)

    def test_mirrored_turned_inverted_and_trimmed_dot_by_dot(self):
        """The marked part is the busiest of the page as it lies on the paper."""
        rows = [bytes(WIDTH)] * 200 + page_rows() + [bytes(WIDTH)] * 100
        page = self.write("page.ras", cups_raster.stream([cups_raster.grey(rows)]))
        options = ("-o", "StencilMirror=True", "-o", "HalfTurn=True", "-o", "InvertPage=True",
                   "-o", "TrimPaper=Both", "-o", "HalftoneType=Burkes")
        self.run_well("sheet", page, "--over", "halftone", *options, "-O", self.out / "s.png")
        sheet = self.read("s.png")
        (dots,) = self.proof(page, *options)
        self.assertEqual(len(dots), HEIGHT)
        # The noise is at the top right now, and the sheet has the blank rows too.
        whole = [bytes(len(dots[0]))] * 100 + dots + [bytes(len(dots[0]))] * 200
        part = unpack(whole, 900 - CROP_WIDTH, 112, CROP_WIDTH, CROP_HEIGHT)
        self.assertIsNotNone(find_part(sheet, part), "the busiest part is not on the sheet")

    def test_ink_that_is_lost_is_hatched_beside_the_page(self):
        """In red, at the right of the overviews, which are 300 pixels wide."""
        red = {}
        for left, right in ((0, 0), (0, 200), (200, 0)):
            rows = [b"\xff" * left + bytes(2479 - left - right) + b"\xff" * right] * 300
            page = self.write("page.ras", cups_raster.stream([cups_raster.grey(
                rows, HWResolution=(300, 300))]))
            status = self.run_drav("sheet", page, "--over", "halftone", "--strict", "--detail", "0", "0",
                                   "-O", self.out / "s.png")
            self.assertEqual((status.returncode, status.stderr.decode()), (
                1, "drav: page 1: ink lost at the right: 6.9 mm, 40.5 % of the ink\n")
                if right else (0, ""))
            sheet = self.read("s.png").rows
            beside = [row[3 * 342:3 * 349] for row in sheet[len(sheet) // 2:]]
            red[left, right] = sum(sum(row[::3]) - sum(row[1::3]) for row in beside)
        self.assertEqual((red[0, 0], red[200, 0]), (0, 0))
        self.assertGreater(red[0, 200], 10_000)

    def test_second_picture_that_fails_takes_the_first_with_it(self):
        blocked = self.out / "s-brightness.png"
        blocked.mkdir()
        done = self.run_drav("sheet", self.page, "-O", self.out / "s.png")
        self.assertEqual(done.returncode, 2)
        self.assertEqual([path.name for path in self.out.iterdir()], [blocked.name])

    def test_approximate_pages_say_so(self):
        document = self.write("a.pdf", make_pdf([b"0.5 g 0 0 90 90 re f"]))
        self.run_well("sheet", document, "--approximate", "--over", "halftone", "-o",
                      "PageSize=X80MMY200MM", "-O", self.out / "s.pdf")
        if find_program("pdftotext"):
            text = subprocess.run([find_program("pdftotext"), self.out / "s.pdf", "-"],
                                  capture_output=True, check=True, timeout=60).stdout.decode()
            self.assertIn("Approximate: CUPS's converters were not used", text)


if __name__ == "__main__":
    drav_case.main()
