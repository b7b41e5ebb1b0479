#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reads the files of drav prepare: PDF and PNG, and sheets of what is larger than the paper."""
import re
import shutil
import struct
import subprocess

from pictures import make_pdf, make_png, read_png
from prepare_case import DPI, REACH, ROLL, WIDTH, PrepareCase, noise, pdf_pages, picture
from tool_case import main


class OutputTest(PrepareCase):
    def test_ghostscript_gives_the_pixels_back(self) -> None:
        if not shutil.which("gs"):
            self.skipTest("no Ghostscript")
        rows = noise(200, 50)
        source = self.write("a.png", picture(rows))
        self.prepare(source, *ROLL)
        drawn = subprocess.run(
            ["gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=ppmraw", f"-r{DPI}",
             "-sOutputFile=-", self.folder / "out.pdf"], capture_output=True, check=True).stdout
        header = re.match(rb"P6\n(?:#[^\n]*\n)?(\d+) (\d+)\n255\n", drawn)
        self.assertEqual(header.groups(), (b"%d" % WIDTH, b"50"))
        self.assertTrue(drawn[header.end()::3] == b"".join(self.on_roll(rows)))
        # And the driver's own way of reading a PDF, at 300 dots per inch.
        stencil = ("--paper", "Tattoo_A6")
        self.prepare(source, *stencil, "--width", 40, "--position", "top", name="one.pdf")
        self.prepare(self.folder / "one.pdf", *stencil, name="two.pdf")
        one, two = ((self.folder / name).read_bytes() for name in ("one.pdf", "two.pdf"))
        self.assertGreater(len(set(b"".join(pdf_pages(one)[0][3]))), 200)
        self.assertTrue(pdf_pages(one) == pdf_pages(two))

    def test_page_size(self) -> None:
        source = self.write("a.png", picture(noise(100, 50)))
        self.prepare(source, *ROLL)
        ((width, height), *_), = pdf_pages((self.folder / "out.pdf").read_bytes())
        self.assertAlmostEqual(width, WIDTH * 72 / DPI, delta=1e-5)
        self.assertAlmostEqual(height, 50 * 72 / DPI, delta=1e-5)

    def test_standard_output_and_the_name_without_one(self) -> None:
        source = self.write("art.png", picture(noise(100, 50)))
        piped = self.run_drav("prepare", "-", *ROLL, "-O", "-", stdin=source.read_bytes())
        self.assertEqual((piped.returncode, piped.stderr), (0, b""))
        named = self.run_drav("prepare", source, *ROLL, cwd=self.folder)
        self.assertEqual(named.returncode, 0, named.stderr)
        self.assertTrue((self.folder / "art-prepared.pdf").read_bytes() == piped.stdout)
        self.assertEqual(named.stdout.split(b":")[0], b"art-prepared.pdf")

    def test_pages_of_a_document(self) -> None:
        if not shutil.which("gs"):
            self.skipTest("no Ghostscript")
        marks = [b"0 g %d 0 20 20 re f" % (30 * i) for i in range(3)]
        source = self.write("three.pdf", make_pdf(marks, 100, 50))
        self.prepare(source, *ROLL)
        pages = pdf_pages((self.folder / "out.pdf").read_bytes())
        self.assertEqual(len({b"".join(page[3]) for page in pages}), 3)
        self.prepare(source, *ROLL, "--page", 2)
        second, = pdf_pages((self.folder / "out.pdf").read_bytes())
        self.assertTrue(second == pages[1])
        self.prepare(source, *ROLL, name="p.png")
        for number, page in enumerate(pages, 1):
            png = read_png((self.folder / f"p-{number}.png").read_bytes())
            self.assert_rows(png.rows, [row[:REACH] for row in page[3]])
        self.assert_failed(self.run_drav("prepare", source, "--page", 4, "-O",
                                         self.folder / "no.pdf"), "three.pdf", "3 pages")
        self.assertFalse((self.folder / "no.pdf").exists())

    def test_proof_prints_its_pages(self) -> None:
        """A prepared PNG goes onto its paper as it is."""
        rows = [bytes(255 * ((x // 4 + y // 4) % 2) for x in range(200)) for y in range(80)]
        source = self.write("a.png", picture(rows))
        self.prepare(source, *ROLL, name="p.png")
        self.prepare(self.folder / "p.png", *ROLL, name="again.png")
        self.assert_rows(read_png((self.folder / "again.png").read_bytes()).rows,
                         [row[:REACH] for row in self.on_roll(rows)])


class TileTest(PrepareCase):
    def check_sheets(self, rows: list[bytes], dpi: int, reach: tuple[int, int], *paper: object,
                     counts: tuple[int, int]) -> None:
        """Each sheet shows its part of the art, with marks around it and a caption below."""
        self.prepare(self.write("flash.png", make_png(
            len(rows[0]), len(rows), 8, 0, rows,
            pHYs=struct.pack(">IIB", *[round(dpi / 0.0254)] * 2, 1))), *paper, "--tile",
            "--overlap", 5)
        sheets = pdf_pages((self.folder / "out.pdf").read_bytes())
        columns, down = counts
        self.assertEqual(len(sheets), columns * down)
        band, caption, overlap = (round(mm * dpi / 25.4) for mm in (5, 8, 5))
        window = (reach[0] - 2 * band, reach[1] - 2 * band - caption)
        self.assertLess((columns - 1) * (window[0] - overlap) + overlap, len(rows[0]))
        self.assertGreaterEqual(columns * (window[0] - overlap) + overlap, len(rows[0]))
        for number, (_, _, _, page) in enumerate(sheets):
            left = number % columns * (window[0] - overlap)
            top = number // columns * (window[1] - overlap)
            part = [row[left:left + window[0]] for row in rows[top:top + window[1]]]
            self.assert_rows([row[band:band + len(part[0])] for row in page[band:band + len(part)]],
                             part)
            below = page[band + len(part) + band:][:caption]
            self.assertLess(min(b"".join(row[band:] for row in below)), 60)  # plan and words
            # A mark stands beside each end of an overlap, and nowhere else.
            def has_mark(x: int, y: int) -> bool:
                return any(min(page[y + dy][x - 3:x + 4]) < 128 for dy in range(-3, 4))

            middle = band // 2
            for at, wanted in ((overlap // 2, number % columns > 0),
                               (window[0] - overlap + overlap // 2, number % columns < columns - 1),
                               (window[0] // 3, False)):
                if at < len(part[0]):
                    self.assertEqual(has_mark(band + at, middle), wanted, (number, at))
            for at, wanted in ((overlap // 2, number // columns > 0),
                               (window[1] - overlap + overlap // 2, number // columns < down - 1),
                               (window[1] // 3, False)):
                if at < len(part):
                    self.assertEqual(has_mark(middle, band + at), wanted, (number, at))

    def test_sheets(self) -> None:
        """A6, all of which the head reaches."""
        self.check_sheets(noise(1500, 1900, 7), 300, (1240, 1748), "--paper", "Tattoo_A6",
                          counts=(2, 2))

    def test_rolls_are_as_long_as_the_art(self) -> None:
        self.check_sheets(noise(500, 300, 8), DPI, (REACH, 20_000), *ROLL, counts=(2, 1))
        text = self.prepare(self.folder / "flash.png", *ROLL, "--tile").stdout.decode()
        self.assertRegex(text.splitlines()[1],
                         r"page 1: 62.6 x 37.5 mm, sheet 2 of 2 \(2 x 1\), X48MMY100MM, ")

    def test_art_that_fits_is_one_plain_page(self) -> None:
        rows = noise(100, 50)
        source = self.write("a.png", picture(rows))
        self.assert_rows(self.rows(source, "--tile"), self.on_roll(rows))

    def test_more_overlap_than_paper(self) -> None:
        source = self.write("a.png", picture(noise(500, 50)))
        self.assert_failed(self.run_drav("prepare", source, *ROLL, "--tile", "--overlap", 40, "-O",
                                         self.folder / "no.pdf"), "a lower --overlap")


if __name__ == "__main__":
    main()
