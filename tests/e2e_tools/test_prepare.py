#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs drav prepare on small pictures and compares with what they must become.

The receipt model has 203 dots per inch and rolls that are as long as the picture, which
keeps pages small.
"""
import base64
import json
import math
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import unittest
import zlib

from pictures import make_pdf, make_pgm, make_png, read_png
from tool_case import ToolCase, main

ROLL = ("--model", "dravr582", "--paper", "X48MMY100MM")
DPI = 203
WIDTH = 384  # dots of that paper
REACH = 381  # of them the head reaches, from the left
METRE = struct.pack(">IIB", 7992, 7992, 1)  # 203 dots per inch


def noise(width: int, height: int, seed: int = 1) -> list[bytes]:
    rng = random.Random(seed)
    return [rng.randbytes(width) for _ in range(height)]


def picture(rows: list[bytes]) -> bytes:
    """A grey PNG with the resolution of the head."""
    return make_png(len(rows[0]), len(rows), 8, 0, rows, pHYs=METRE)


def turned(rows: list[bytes]) -> list[bytes]:
    """A quarter clockwise: the first column, read from below, becomes the first row."""
    return [bytes(column) for column in zip(*reversed(rows))]


def mirrored(rows: list[bytes]) -> list[bytes]:
    return [row[::-1] for row in rows]


def pdf_pages(data: bytes) -> list[tuple[tuple[float, float], int, int, list[bytes]]]:
    """Size in points, pixels and rows of each page, found through the table of objects."""
    assert data.startswith(b"%PDF-1.4") and data.endswith(b"%%EOF\n")
    table = int(re.search(rb"startxref\n(\d+)\n", data)[1])
    assert data[table:table + 5] == b"xref\n"
    places = [int(entry) for entry in re.findall(rb"(\d{10}) 00000 n", data[table:])]

    def body(number: bytes) -> bytes:
        at = places[int(number) - 1]
        start = b"%s 0 obj\n" % number
        assert data[at:at + len(start)] == start, (number, data[at:at + 20])
        return data[at + len(start):]

    root = body(re.search(rb"/Root (\d+) 0 R", data[table:])[1])
    tree = body(re.search(rb"/Pages (\d+) 0 R", root)[1])
    pages = []
    for kid in re.findall(rb"(\d+) 0 R", re.search(rb"/Kids \[([^]]*)\]", tree)[1]):
        page = body(kid)
        size = tuple(map(float, re.search(rb"/MediaBox \[0 0 (\S+) (\S+)\]", page).groups()))
        image = body(re.search(rb"/P (\d+) 0 R", page)[1])
        width, height = (int(re.search(rb"/%s (\d+)" % name, image)[1])
                         for name in (b"Width", b"Height"))
        length = int(body(re.search(rb"/Length (\d+) 0 R", image)[1]).split()[0])
        start = image.index(b"stream\n") + 7
        assert image[start + length:].startswith(b"\nendstream")
        levels = zlib.decompress(image[start:start + length])
        assert len(levels) == width * height
        drawing = body(re.search(rb"/Contents (\d+) 0 R", page)[1])
        assert re.search(rb"q (\S+) 0 0 (\S+) 0 0 cm /P Do Q", drawing).groups() == \
            re.search(rb"/MediaBox \[0 0 (\S+) (\S+)\]", page).groups()
        pages.append((size, width, height,
                      [levels[y * width:(y + 1) * width] for y in range(height)]))
    assert int(re.search(rb"/Count (\d+)", tree)[1]) == len(pages)
    return pages


class PrepareCase(ToolCase):
    def write(self, name: str, data: bytes) -> pathlib.Path:
        path = self.folder / name
        path.write_bytes(data)
        return path

    def prepare(self, source: pathlib.Path, *arguments: object, status: int = 0, name="out.pdf"):
        out = self.folder / name
        result = self.run_drav("prepare", source, "-O", out, *arguments)
        self.assertEqual(result.returncode, status, result.stderr)
        return result

    def rows(self, source: pathlib.Path, *arguments: object) -> list[bytes]:
        """Of the only page, as PDF."""
        self.prepare(source, *ROLL, *arguments)
        (page,) = pdf_pages((self.folder / "out.pdf").read_bytes())
        return page[3]

    def assert_rows(self, rows: list[bytes], want: list[bytes]) -> None:
        """As assertEqual, which takes minutes to describe a difference."""
        self.assertEqual((len(rows), {len(row) for row in rows}),
                         (len(want), {len(row) for row in want}))
        differing = [y for y, pair in enumerate(zip(rows, want)) if pair[0] != pair[1]]
        self.assertEqual(differing, [], "rows that differ")

    def on_roll(self, rows: list[bytes], left: int | None = None) -> list[bytes]:
        """The page with this picture on it: white, and in the middle unless `left` is told."""
        if left is None:
            left = (REACH - len(rows[0])) // 2
        return [b"\xff" * left + row + b"\xff" * (WIDTH - left - len(row)) for row in rows]


class PlacingTest(PrepareCase):
    def test_a_picture_of_the_heads_resolution_arrives_pixel_by_pixel(self) -> None:
        rows = noise(101, 40)
        source = self.write("a.png", picture(rows))
        self.assert_rows(self.rows(source), self.on_roll(rows))
        self.assert_rows(self.rows(source, "--turn", 90), self.on_roll(turned(rows)))
        self.assert_rows(self.rows(source, "--turn", 180), self.on_roll(turned(turned(rows))))
        self.assert_rows(self.rows(source, "--turn", 270),
                         self.on_roll(turned(turned(turned(rows)))))
        self.assert_rows(self.rows(source, "--turn", 90, "--mirror"),
                         self.on_roll(mirrored(turned(rows))))
        self.assert_rows(self.rows(source, "--position", "left"), self.on_roll(rows, 0))
        self.assert_rows(self.rows(source, "--position", "bottom-right", "--mirror"),
                         self.on_roll(mirrored(rows), REACH - 101))
        self.assert_rows(self.rows(source, "--dpi", DPI), self.on_roll(rows))
        # 2 mm are 16 dots, 5 mm are 40, 7.5 mm are 60.
        self.assert_rows(self.rows(source, "--mirror", "--crop", "2,2,5.5,50"),
                         self.on_roll([row[16:60] for row in mirrored(rows)[16:]]))

    def test_position_on_a_sheet(self) -> None:
        """A6 on the stencil model: 1240 x 1748 dots, all within the head."""
        rows = noise(60, 30)
        source = self.write("a.png", make_png(60, 30, 8, 0, rows))
        self.prepare(source, "--paper", "Tattoo_A6", "--position", "bottom-left", name="p.png")
        page = read_png((self.folder / "p.png").read_bytes())
        self.assert_rows([row[:60] for row in page.rows[-30:]], rows)
        self.assertEqual({bytes(row[60:]) for row in page.rows[-30:]}, {b"\xff" * (page.width - 60)})
        self.assertEqual(set(b"".join(page.rows[:-30])), {255})
        self.assertEqual(page.chunk(b"pHYs"), [struct.pack(">IIB", 11811, 11811, 1)])
        self.assertLessEqual(abs(page.width - 105 / 25.4 * 300), 1)
        self.assertLessEqual(abs(page.height - 148 / 25.4 * 300), 1)

    def test_width_height_and_both(self) -> None:
        """A black picture of 80 x 40 pixels; sizes in dots by arithmetic."""
        source = self.write("a.pgm", make_pgm(80, 40, bytes(3200)))
        for arguments, size in ((("--width", 20), (160, 80)), (("--height", 5), (80, 40)),
                                (("--width", 30, "--height", 2.5), (40, 20)),
                                (("--width", 5, "--turn", 90), (40, 80)),
                                (("--dpi", 101.5), (160, 80))):
            with self.subTest(arguments):
                rows = self.rows(source, *arguments)
                inked = [row.strip(b"\xff") for row in rows]
                self.assertEqual(({len(row) for row in inked}, len(inked)), ({size[0]}, size[1]))

    def test_the_page_says_what_was_done(self) -> None:
        source = self.write("large.pgm", make_pgm(800, 400, bytes(320_000)))
        result = self.prepare(source, *ROLL)
        self.assertRegex(result.stdout.decode(), r"\A\S+out.pdf: page 1: 47.7 x 23.9 mm on "
                                                 r"X48MMY100MM, 99.2 % ink\n\Z")
        self.assertEqual(result.stderr.decode(),
                         "drav: note: page 1: it is 100 x 50 mm large and was reduced to 47.6 % "
                         "to fit the page\n")
        self.assertEqual(self.prepare(source, *ROLL, "--strict").returncode, 0)
        quiet = self.prepare(source, *ROLL, "--quiet")
        self.assertEqual((quiet.stdout, quiet.stderr), (b"", b""))

    def test_lost_ink(self) -> None:
        """Black columns at both ends of a picture that is 9 dots too wide at the left and 10
        at the right."""
        row = b"\0" * 4 + b"\xff" * 392 + b"\0" * 4
        source = self.write("wide.png", picture([row] * 10))
        arguments = (*ROLL, "--width", 400 * 25.4 / DPI)
        lines = ("drav: page 1: ink lost at the left: 1.1 mm, 50.0 % of the ink; "
                 "at the right: 1.3 mm, 50.0 % of the ink\n")
        self.assertEqual(self.prepare(source, *arguments).stderr.decode(), lines)
        self.assertEqual(self.prepare(source, *arguments, "--strict", status=1).stderr.decode(),
                         lines)
        quiet = self.prepare(source, *arguments, "--strict", "--quiet", status=1)
        self.assertEqual((quiet.stdout, quiet.stderr), (b"", b""))
        self.assertEqual(self.prepare(source, *ROLL, "--strict").returncode, 0)


class LevelsTest(PrepareCase):
    def test_black_white_and_gamma(self) -> None:
        source = self.write("ramp.png", picture([bytes(range(256))] * 3))

        def model(black: int, white: int, gamma: float) -> bytes:
            return bytes(math.floor(255 * min(1, max(0, (v - black) / (white - black)))
                                    ** (1 / gamma) + 0.5) for v in range(256))

        for black, white, gamma in ((0, 255, 1.0), (30, 200, 1.0), (10, 250, 2.2), (0, 255, 0.5)):
            rows = self.rows(source, "--black", black, "--white", white, "--gamma", gamma)
            self.assert_rows(rows, self.on_roll([model(black, white, gamma)] * 3))

    def test_clean_makes_paper_white_and_keeps_ink(self) -> None:
        """A photo of a black bar on paper in a light that falls to a half."""
        rng = random.Random(4)
        width, height = 300, 240
        rows = []
        for y in range(height):
            light = [200 - 100 * x / width + rng.gauss(0, 4) for x in range(width)]
            ink = 0.15 if 100 <= y < 108 else 1
            rows.append(bytes(max(0, min(255, round(value * ink))) for value in light))
        out = self.rows(self.write("photo.png", picture(rows)), "--clean")
        self.assertGreater(sum(level < 60 for level in out[104]), 0.95 * width)
        paper = b"".join(out[:95] + out[113:])
        self.assertGreater(sum(level == 255 for level in paper), 0.98 * len(paper))

    def test_lines_are_drawn_between_colours_of_one_grey(self) -> None:
        """Red and a green of the same luminance, which grey could not tell apart."""
        row = b"\xfe\x00\x00" * 60 + b"\x00\x94\x00" * 60
        source = self.write("colours.png", make_png(120, 100, 8, 2, [row] * 100, pHYs=METRE))
        grey = {level for line in self.rows(source) for level in line} - {255}
        self.assertLessEqual(max(grey) - min(grey), 2)
        out = self.rows(source, "--lines")
        middle = out[50]
        dark = [x for x, level in enumerate(middle) if level < 128]
        edge = (REACH - 120) // 2 + 60
        self.assertTrue(dark and all(abs(x - edge) <= 5 for x in dark), dark)


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


class ShownTest(PrepareCase):
    """proof and sheet with the options show what prepare makes, dot for dot."""

    def shown(self, source: pathlib.Path, *arguments: object, status: int = 0) -> list[list[bytes]]:
        """The rows of each page that proof draws."""
        for old in self.folder.glob("shown*.png"):
            old.unlink()
        result = self.run_drav("proof", source, *arguments, "-O", self.folder / "shown.png")
        self.assertEqual(result.returncode, status, result.stderr)
        self.told = result.stderr.decode()
        return [read_png(path.read_bytes()).page() for path in sorted(self.folder.glob("shown*.png"))]

    def art(self) -> bytes:
        """Bars on paper in a light that falls, and a patch of noise."""
        grain = noise(40, 200, 3)
        rows = [bytearray(220 - x // 3 for x in range(300)) for _ in range(200)]
        for y in range(20, 180):
            if y % 40 < 6:
                rows[y][20:180] = b"\x20" * 160
            rows[y][220:260] = grain[y]
        return picture([bytes(row) for row in rows])

    def test_dots_are_those_of_the_prepared_file(self) -> None:
        source = self.write("art.png", self.art())
        seen = []
        for art in (("--clean",), ("--clean", "--lines"), ("--width", 90, "--tile"),
                    ("--turn", 90, "--mirror", "--crop", "3,2,20,15", "--position", "right"),
                    ("--dpi", 400, "--black", 40, "--white", 200, "--gamma", 1.5)):
            name = "made.pdf" if "--tile" in art else "made.png"
            if name == "made.pdf" and not shutil.which("gs"):
                continue
            with self.subTest(art):
                self.prepare(source, *ROLL, *art, name=name)
                shown = self.shown(source, *ROLL, *art, "-o", "HalftoneType=Burkes")
                self.assertEqual(len(shown), 3 if name == "made.pdf" else 1)
                self.assertEqual(shown, self.shown(self.folder / name, *ROLL, "-o",
                                                   "HalftoneType=Burkes"))
                seen.append(b"".join(shown[0]))
        self.assertEqual(len(seen), len(set(seen)), "two ways to prepare made the same page")

    def test_on_a_sheet(self) -> None:
        source = self.write("art.png", self.art())
        art = ("--paper", "Tattoo_A6", "--clean", "--width", 60, "--position", "bottom-left")
        self.prepare(source, *art, name="made.png")
        options = ("-o", "StencilMirror=True", "-o", "Brightness=-10")
        self.assertEqual(self.shown(source, *art, *options),
                         self.shown(self.folder / "made.png", "--paper", "Tattoo_A6", *options))
        self.assertEqual(self.told, "")

    def test_lost_ink_is_told_once(self) -> None:
        """The stencil's head ends 83 dots before A4 does; a mirrored page has these at its left.
        Each end of the picture is black for a fifth of its width."""
        row = b"\0" * 20 + b"\xff" * 60 + b"\0" * 20
        source = self.write("wide.pgm", make_pgm(100, 2, row * 2))
        mirror = ("-o", "StencilMirror=True")
        for width, position, options, side, dots in (
                (230, "left", (), "right", 2717 - 2397), (200, "left", (), "", 0),
                (200, "left", mirror, "left", 83), (200, "right", mirror, "left", 83 - 35)):
            with self.subTest(width=width, position=position, options=options):
                art = ("--width", width, "--position", position)
                self.shown(source, *art, *options, "--strict", status=1 if side else 0)
                if not options:
                    self.assertEqual(self.prepare(source, *art).stderr.decode(), self.told)
                if not side:
                    self.assertEqual(self.told, "")
                    continue
                told = re.fullmatch(r"drav: page 1: ink lost at the (\w+): (\S+) mm, (\S+) % of "
                                    r"the ink\n", self.told)
                self.assertEqual(told[1], side)
                self.assertAlmostEqual(float(told[2]), dots * 25.4 / 300, delta=0.051)
                share = dots / (0.4 * width / 25.4 * 300)
                self.assertAlmostEqual(float(told[3]), 100 * share, delta=0.3)

    def data(self, *arguments: object) -> dict:
        page = self.folder / "page.html"
        self.assertEqual(self.run_drav("proof", *arguments, "--html", page).stderr, b"")
        return json.loads(re.search(r'id="data">(.*?)</script>', page.read_text(), re.S)[1])

    def test_html_switches_clean_and_lines(self) -> None:
        source = self.write("it's.png", self.art())
        options = (*ROLL, "--width", 30, "-o", "HalftoneType=Ordered")
        data = self.data(source, *options, "--clean")
        self.assertEqual(data["prepare"], ["--width", "30", "--model", "dravr582", "--paper",
                                           "X48MMY100MM"])
        self.assertEqual((data["jobsWay"]["clean"], data["jobsWay"]["lines"]), (True, False))
        self.assertEqual((data["switches"]["clean"], data["switches"]["lines"]), (True, True))
        befores = {(other["clean"], other["lines"]): other["original"]["png"]
                   for other in [{"clean": True, "lines": False, **data}, *data["others"]]}
        self.assertEqual(len(set(befores.values())), 4)
        for clean, lines in befores:
            arguments = ["--clean"] * clean + ["--lines"] * lines
            for proof in data["proofs"]:
                name = data["halftones"][proof["halftone"]]["name"]
                if (proof["clean"], proof["lines"]) != (clean, lines) or proof["mirrored"] or \
                        proof["halfTurn"] or data["brightnesses"][proof["brightness"]]["name"] != "0" \
                        or name not in ("Ordered", "Tattoo"):
                    continue
                png = read_png(base64.b64decode(proof["png"].partition(",")[2]))
                self.assertEqual([png.dots()], self.shown(source, *options[:-1],
                                                          f"HalftoneType={name}", *arguments))
                befores[clean, lines] = ""
        self.assertEqual(set(befores.values()), {""})
        plain = self.data(source, *ROLL)
        self.assertEqual([key for key in ("prepare", "others") if key in plain], [])
        self.assertNotIn("clean", plain["switches"])

    def test_sheet(self) -> None:
        source = self.write("art.png", self.art())
        common = (*ROLL, "--over", "halftone", "--detail", "0", "0")
        self.prepare(source, *ROLL, "--clean", "--crop", "0,0,20,20", name="made.png")
        sheets = []
        for arguments in ((source, "--clean", "--crop", "0,0,20,20"), (self.folder / "made.png",),
                          (source,)):
            out = self.folder / "sheet.png"
            self.assertEqual(self.run_drav("sheet", *arguments, *common, "-O", out).returncode, 0)
            rows = read_png(out.read_bytes()).rows
            sheets.append(rows[len(rows) // 4:])  # below the titles, which name the file
        self.assertTrue(sheets[0] == sheets[1])
        self.assertFalse(sheets[0] == sheets[2])

    def test_what_cannot_be_prepared(self) -> None:
        source = self.write("art.png", self.art())
        out = self.folder / "no.png"
        for arguments, words in (
                (("--clean", "-o", "mirror=true"), "with -o mirror, which places"),
                (("--width", 30, "-o", "fit-to-page"), "with -o fit-to-page, which places"),
                (("--clean", "-o", "number-up=2"), "cannot be printed with number-up"),
                (("--paper", "A44"), "the nearest is A4"), (("--crop", "1"), "X,Y,W,H"),
                (("--width", 900, "--height", 1, "--crop", "700,0,5,5"),
                 "has nothing where --crop looks")):
            self.assert_failed(self.run_drav("proof", source, *arguments, "-O", out), words)
            self.assertFalse(out.exists())


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


class BadInputTest(PrepareCase):
    def refused(self, source: pathlib.Path, *arguments: object, words: str) -> None:
        out = self.folder / "refused.pdf"
        before = set(self.folder.iterdir())
        result = self.run_drav("prepare", source, "-O", out, *arguments)
        self.assert_failed(result, words)
        self.assertEqual(set(self.folder.iterdir()), before)

    def test_files(self) -> None:
        good = picture(noise(60, 40))
        for name, data, words in (
                ("cut.png", good[:-200], "cut.png: "), ("empty.png", b"", "is empty"),
                ("page.png", b"<html>words</html>\n", "is text that describes a page"), ("noise.png", b"\x01\x02\xff" * 9, "kind"),
                ("claim.pgm", b"P5 65535 65535 255\n" + bytes(99), "claim.pgm"),
                ("none.pdf", b"%PDF-1.4\nnothing", "none.pdf")):
            with self.subTest(name):
                self.refused(self.write(name, data), words=words)
        self.refused(self.folder / "missing.png", words="No such file")
        self.refused(self.folder, words="is a folder")
        dot = self.write("dot.pgm", make_pgm(1, 1, b"\0"))
        self.assertIn(b"it is a single pixel", self.prepare(dot, *ROLL).stderr)

    def test_sizes_that_nobody_prints(self) -> None:
        tall = self.write("tall.pgm", make_pgm(1, 4000, bytes(4000)))
        self.refused(tall, "--width", 900, words="would be too large at this width")
        self.refused(tall, "--height", 4000, "--turn", 90, words="would be too large at this height")
        self.refused(tall, "--width", 60, "--height", 5000, "--crop", "100,0,5,5",
                     words="has nothing where --crop looks")
        wide = self.write("wide.pgm", make_pgm(100, 100, bytes(10_000)))
        self.refused(wide, "--width", 1000, "--lines", words="can be outlined")

    def test_arguments(self) -> None:
        source = self.write("a.png", picture(noise(60, 40)))
        for arguments, words in (
                (("--crop", "1,2,3"), "X,Y,W,H"), (("--crop", "1,2,0,4"), "X,Y,W,H"),
                (("--crop", "1,2,3,4,5"), "X,Y,W,H"), (("--crop", "-1,2,3,4"), "X,Y,W,H"),
                (("--crop", "nan,2,3,4"), "X,Y,W,H"), (("--turn", "45"), "--turn"),
                (("--black", "200", "--white", "200"), "--black"), (("--white", "256"), "--white"),
                (("--gamma", "0.1"), "--gamma"), (("--gamma", "nan"), "--gamma"),
                (("--width", "0"), "--width"), (("--width", "inf"), "--width"),
                (("--overlap", "5"), "--tile"),
                (("--tile", "--position", "top"), "--position"),
                (("--dpi", "100", "--width", "9"), "--dpi"),
                (("--position", "middle"), "--position"), (("--page", "0"), "--page"),
                (("--paper", "A44"), "the nearest is A4"),
                (("--paper", "none-such-at-all"), "X203MMY297MM"),
                (("--model", "dravx"), "no model"), (("--ppd", "/none.ppd"), "/none.ppd")):
            with self.subTest(arguments):
                self.refused(source, *arguments, words=words)
        for name, words in (("out.jpg", "a PDF or a PNG"), ("out", "a PDF or a PNG"),
                            ("none/out.pdf", "No such file")):
            result = self.run_drav("prepare", source, "-O", self.folder / name)
            self.assert_failed(result, words)
        own = self.write("own.pdf", make_pdf([b""]))
        self.assert_failed(self.run_drav("prepare", own, "-O", own), "is the input")

    def test_without_its_helpers(self) -> None:
        source = self.write("a.png", picture(noise(60, 40)))
        out = self.folder / "no.pdf"
        result = self.run_drav("prepare", source, "-O", out,
                               env={**os.environ, "DRAV_PICTURE_READER": ""})
        self.assert_failed(result, "drav-picture-reader")


if __name__ == "__main__":
    main()
