#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures the page of `drav test-page` on the raster that the filter would get."""
import pathlib
import re
import struct
import unittest

import drav_case
from drav_case import DravCase, HALFTONES, convert, filter_pages, find_program

import cups_raster

PRINTABLE = 2397  # columns of the A4 model: 575.4 points at 300 dpi
LEFT = round(9 * 300 / 25.4)  # where the wedges begin


def read_raster(data):
    """Header fields and rows of the one page of a version 3 stream."""
    assert data[:4] == b"3SaR"
    width, height = struct.unpack_from("<2I", data, 4 + 372)
    resolution = struct.unpack_from("<2I", data, 4 + 276)
    line, = struct.unpack_from("<I", data, 4 + 392)
    name = data[4 + 1732:4 + 1796].rstrip(b"\0").decode()
    pixels = data[4 + 1796:]
    assert len(pixels) == line * height and line == width
    rows = [pixels[at:at + width] for at in range(0, len(pixels), width)]
    return width, height, resolution, name, rows


class TestPageTest(DravCase):
    def make(self, *arguments, name="page.ras"):
        done = self.run_well("test-page", self.out / name, *arguments)
        self.assertRegex(done.stdout.decode(), r"lp -d QUEUE -o PageSize=\w+ -o HalftoneType=None")
        return (self.out / name).read_bytes()

    def smaller_driver(self, **paper):
        """The A4 driver as one of 203 dpi and 381 columns with papers of these lengths."""
        text = pathlib.Path(drav_case.PPD).read_text("latin-1")
        text = text.replace("300dpi", "203dpi").replace("HWResolution[300 300]", "HWResolution[203 203]")
        text = re.sub(r'\*MaxMediaWidth: "[^"]*"', '*MaxMediaWidth: "135.3"', text)
        sizes = []
        for name, length in paper.items():
            points = f"164.41 {length * 72 / 25.4:.2f}"
            sizes.append(f'*PageSize {name}/{name}: "<</PageSize[{points}]>>setpagedevice"\n')
            sizes.append(f'*PaperDimension {name}: "{points}"\n')
            sizes.append(f'*ImageableArea {name}: "0 0 {points}"\n')
        text = "".join(line for line in text.splitlines(True) if not re.match(
            r"\*(PageSize|PageRegion|ImageableArea|PaperDimension) ", line))
        text = text.replace("*CloseUI: *PageSize", "".join(sizes) + "*CloseUI: *PageSize")
        text = text.replace("PageSize: A4", f"PageSize: {next(iter(paper))}")
        return self.write("small.ppd", text.encode("latin-1"))

    def test_size_and_header(self):
        width, height, resolution, name, _ = read_raster(self.make())
        self.assertEqual((width, height), (2480, 3508))
        self.assertEqual((resolution, name), ((300, 300), "A4"))

    def test_threshold_prints_it_dot_for_dot(self):
        raster = self.make()
        _, _, _, _, rows = read_raster(raster)
        printed = filter_pages(raster, "HalftoneType=None Brightness=0")[0]
        for y, row in enumerate(rows):
            levels = row[:PRINTABLE]
            bits = "".join(f"{value:08b}" for value in printed[y])[:PRINTABLE]
            dots = bytes(255 if bit == "1" else 0 for bit in bits)
            if levels != dots:  # real grey alone may differ from its dots
                self.assertTrue(all(level == dot or 0 < level < 255
                                    for level, dot in zip(levels, dots)), f"row {y}")

    def test_rulers(self):
        _, _, _, _, rows = read_raster(self.make())
        full = [y for y, row in enumerate(rows) if row[:PRINTABLE] == b"\xff" * PRINTABLE]
        base = full[0]  # the line below the ruler in dots
        self.assertEqual(rows[base][PRINTABLE:], bytes(2480 - PRINTABLE))
        for dot in range(0, PRINTABLE):
            self.assertEqual(rows[base - 5][dot] == 255, dot % 10 == 0, f"dot {dot}")
        short, long = 1.5 * 300 / 25.4, 3.7 * 300 / 25.4
        self.assertEqual({rows[base - int(long)][dot] for dot in range(0, PRINTABLE, 100)}, {255})
        self.assertEqual({rows[base - int(long)][dot] for dot in range(10, PRINTABLE, 100)}, {0})
        # The millimetres stand above it: the first row with a tick a millimetre.
        ticks = {round(mm * 300 / 25.4) for mm in range(202)}
        top = next(y for y in range(base) if all(rows[y][x] == 255 for x in ticks))
        middle = rows[top + int(short)]
        inked = {x for x in range(60, 2380) if middle[x] == 255}
        self.assertEqual(inked, {x for x in ticks if 60 <= x < 2380})
        # Down the side, a tick a millimetre, the last one on the last millimetre.
        for mm in (*range(40, 290, 7), 296):
            y = round(mm * 300 / 25.4)
            self.assertEqual(rows[y][:10], b"\xff" * 10, f"{mm} mm")
            self.assertNotEqual(rows[y + 3][:10], b"\xff" * 10, f"{mm} mm")

    def test_right_edge(self):
        _, _, _, _, rows = read_raster(self.make())
        lines = b"".join(bytes((row[x],)) for row in rows for x in (PRINTABLE - 1,))
        self.assertIn(b"\xff" * 20, lines)  # a bar ends with the last column that prints
        # Behind it two bars more, which the driver cuts.
        columns = [x for x in range(PRINTABLE, 2480) if any(row[x] for row in rows)]
        self.assertEqual(columns, [2403, 2404, 2411, 2412])

    def test_wedges_are_the_filters_own_dots(self):
        raster = self.make()
        _, _, _, _, rows = read_raster(raster)
        width, height = PRINTABLE - LEFT, round(4.5 * 300 / 25.4)
        slope = bytes(x * 255 // (width - 1) for x in range(width))
        wedge = cups_raster.stream([cups_raster.grey([slope] * height)])
        for halftone in HALFTONES:
            printed = filter_pages(wedge, f"HalftoneType={halftone}")[0]
            bits = ["".join(f"{value:08b}" for value in row)[:width] for row in printed]
            lines = [bytes(255 if bit == "1" else 0 for bit in row) for row in bits]
            tops = [y for y in range(len(rows) - height)
                    if rows[y][LEFT:PRINTABLE] == lines[0] and
                    all(rows[y + i][LEFT:PRINTABLE] == line for i, line in enumerate(lines))]
            self.assertEqual(len(tops), 1, halftone)
        self.assertEqual(sum(row[LEFT:PRINTABLE] == slope for row in rows), height, "real grey")

    def test_wedges_do_not_depend_on_the_options_of_the_page(self):
        plain = self.make()
        self.assertEqual(self.make("-o", "StencilMirror=True", "-o", "InvertPage=True", "-o",
                                   "Contrast=50", "-o", "TrimPaper=Both", "-o", "HalfTurn=True",
                                   name="other.ras"), plain)

    @unittest.skipUnless(find_program("cupsfilter"), "CUPS's cupsfilter is not installed")
    def test_pdf_prints_as_the_raster(self):
        raster = self.make()
        pdf = self.out / "page.pdf"
        self.run_well("test-page", pdf)
        converted = convert(pdf, "PageSize=A4")
        options = "PageSize=A4 HalftoneType=None"
        self.assert_same_dots(filter_pages(converted, options), filter_pages(raster, options))

    def test_narrow_paper(self):
        ppd = self.smaller_driver(W58L200=200, W58L400=400)
        width, height, resolution, name, rows = read_raster(self.make("--ppd", ppd))
        self.assertEqual((width, height, resolution, name), (464, 1598, (203, 203), "W58L200"))
        self.assertTrue(any(row[380] for row in rows))
        # Everything that must not be cut is within the columns that print.
        columns = {x for x in range(381, width) if any(row[x] for row in rows)}
        self.assertEqual(columns, {387, 388, 395, 396})

    def test_short_paper(self):
        ppd = self.smaller_driver(W58L80=80, W58L500=500, W58L300=300)
        self.assertEqual(read_raster(self.make("--ppd", ppd))[3], "W58L300")
        done = self.run_drav("test-page", self.folder / "a.pdf", "--ppd", ppd, "-o", "PageSize=W58L80")
        self.assertEqual(done.returncode, 2)
        self.assertRegex(done.stderr.decode(), r"\Adrav: the test page is [0-9.]+ mm long; choose")
        self.assertFalse((self.folder / "a.pdf").exists())

    def test_names_and_bad_input(self):
        for out, word in ((self.out / "a.png", "the name of a test page ends in .pdf"),
                          (self.out / "a", "the name of a test page ends"),
                          (self.out / "no" / "a.pdf", "No such file")):
            self.assert_failed(self.run_drav("test-page", out), word)
        self.assert_failed(self.run_drav("test-page", self.out / "a.pdf", "--model", "x"), "no model x")
        quiet = self.run_well("test-page", "-q", cwd=self.out)
        self.assertEqual((quiet.stdout, quiet.stderr), (b"", b""))
        self.assertEqual([path.name for path in self.out.iterdir()], ["drav-test-page.pdf"])


if __name__ == "__main__":
    drav_case.main()
