#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs drav prepare on small pictures and compares with what they must become."""
import math
import os
import pathlib
import random
import struct

from pictures import make_pdf, make_pgm, make_png, read_png
from prepare_case import DPI, METRE, REACH, ROLL, PrepareCase, mirrored, noise, picture, turned
from tool_case import main


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
