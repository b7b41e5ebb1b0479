#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The picture filter against the raster filter and against drav proof: the same page gives the
same bytes."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import cups_raster
import escpos_stream
import harness
from picture_files import Levels, exif, image, metres, png, ramp, saved
from placing_model import Paper, place

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e_tools"))
import drav_case  # noqa: E402  pylint: disable=wrong-import-position

PICTURES, RASTER = os.environ["DRAV_PICTURE_FILTER"], os.environ["DRAV_FILTER"]
DRAV = os.environ["DRAV_TOOL"]
PPDS = pathlib.Path(os.environ["DRAV_PPDS"])
LONGEST = 3000  # mm, of a custom page


def dots(millimetres: float, dpi: int) -> int:
    return int(millimetres / 25.4 * dpi + 0.5)


def paper_of(dpi: int, size: tuple[float, float], head: float, roll: bool) -> Paper:
    """`head` is the printable width in points, as the driver file states it."""
    width = dots(size[0], dpi)
    beyond = max(0, width - int(head * dpi / 72))
    return Paper((dpi, dpi), width, dots(LONGEST if roll else size[1], dpi),
                 (0, 0, beyond, 0), roll)


# Driver file, size, paper.
SIZES = (
    ("dravr582", "X48MMY200MM", paper_of(203, (48, 200), 135.3103, True)),
    ("dravr582", "X58MMY100MM", paper_of(203, (58, 100), 135.3103, True)),
    ("dravr802", "X72MMY100MM", paper_of(203, (72, 100), 203.4089, True)),
    ("dravr803", "X80MMY200MM", paper_of(300, (80, 200), 202.92, True)),
    ("dravsa43", "A4", paper_of(300, (210, 297), 575.4, False)),
    ("dravsa43", "X203MMY600MM", paper_of(300, (203, 600), 575.4, True)))


class PictureFilterTest(unittest.TestCase):
    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_filter(self, program: str, model: str, options: str, data: bytes, copies: str = "1",
                   as_file: bool = True) -> subprocess.CompletedProcess:
        path = self.folder / "input"
        path.write_bytes(data)
        arguments = [program, "7", "me", "title", copies, f"KeepPictures=False {options}"]
        return subprocess.run(arguments + [str(path)] * as_file, capture_output=True, check=False,
                              timeout=100, input=None if as_file else data,
                              env=os.environ | {"PPD": str(PPDS / f"{model}.ppd")})

    def raster_of(self, levels: Levels, paper: Paper, size: str,
                  options: dict[str, str]) -> cups_raster.Page:
        """The page as the model places these levels, which must not be scaled."""
        placed = place((len(levels[0]), len(levels)), (0, 0), paper, options)
        if placed.quarters == 1:
            levels = [list(column) for column in zip(*levels)][::-1]
        self.assertEqual((len(levels[0]), len(levels)), placed.size)
        rows = [bytearray(placed.page[0]) for _ in range(placed.page[1])]
        for y, row in enumerate(levels):
            for x, level in enumerate(row):
                at = (placed.at[0] + x, placed.at[1] + y)
                if all(0 <= one < limit for one, limit in zip(at, placed.page)):
                    rows[at[1]][at[0]] = 255 - level
        return cups_raster.grey(map(bytes, rows), HWResolution=paper.dpi, cupsPageSizeName=size)

    def assertSamePrint(self, model: str, size: str, paper: Paper, levels: Levels, data: bytes,
                        copies: int = 1, **options: str) -> None:
        text = " ".join([f"PageSize={size}", *(f"{name}={value}"
                                               for name, value in options.items())])
        got = self.run_filter(PICTURES, model, text, data, str(copies))
        raster = cups_raster.stream([self.raster_of(levels, paper, size, options)] * copies)
        want = self.run_filter(RASTER, model, text, raster)
        self.assertEqual((got.returncode, want.returncode), (0, 0), got.stderr.decode())
        self.assertEqual(got.stdout, want.stdout, (model, size, options))
        self.assertGreater(len(got.stdout), 100)

    def test_all_models(self) -> None:
        levels = ramp(123, 77)
        data = saved(image(levels), "PNG")
        for model, size, paper in SIZES:
            with self.subTest(model, size=size):
                self.assertSamePrint(model, size, paper, levels, data)
                self.assertSamePrint(model, size, paper, levels, data, copies=3,
                                     HalftoneType="Burkes", position="right")

    def test_turned_cut_and_told(self) -> None:
        model, size, paper = SIZES[0]
        levels = ramp(900, 100)  # wider than the head of 384 dots
        data = saved(image(levels), "PNG")
        self.assertSamePrint(model, size, paper, levels, data)
        result = self.run_filter(PICTURES, model, f"PageSize={size}", data)
        self.assertIn("DEBUG:The picture: it was turned a quarter to the left to fit the page.",
                      result.stderr.decode().splitlines())
        options = {"print-scaling": "none", "orientation-requested": "3"}
        self.assertSamePrint(model, size, paper, levels, data, **options)
        result = self.run_filter(PICTURES, model, f"PageSize={size} print-scaling=none "
                                                  "orientation-requested=3", data)
        self.assertRegex(result.stderr.decode(),
                         r"WARN:Of the picture: 6\d\.\d mm of its width and 0\.0 mm of its height "
                         "lie beyond the page\\.\n")

    def test_brightness_is_the_filters_own(self) -> None:
        model, size, paper = SIZES[4]
        levels = [[180] * 200 for _ in range(100)]
        self.assertSamePrint(model, size, paper, levels, saved(image(levels), "PNG"),
                             Brightness="-10", HalftoneType="FloydSteinberg")

    def test_options_that_only_the_converters_of_cups_know(self) -> None:
        """They change no byte, and one line each says what to use."""
        data = saved(image(ramp(60, 40)), "PNG")
        options = "gamma=1700 page-border=double hue=0 brightness=120"
        plain, told = (self.run_filter(PICTURES, "dravsa43", text, data) for text in ("", options))
        self.assertEqual((told.returncode, told.stdout), (0, plain.stdout))
        lines = [line for line in told.stderr.decode().splitlines() if line.startswith("WARN:")]
        notes = ["the option brightness=120 does nothing here; use Brightness",
                 "the option gamma=1700 does nothing here; use drav prepare --gamma",
                 "the option page-border=double does nothing here; draw it into the document"]
        self.assertEqual(sorted(lines), [f"WARN:Of the picture: {note}." for note in notes])
        path = self.folder / "input"
        done = subprocess.run([DRAV, "proof", str(path), "-O", str(self.folder / "a.png"), *(
            part for option in options.split() for part in ("-o", option))], check=True,
            capture_output=True, timeout=100)
        told = done.stderr.decode().splitlines()
        self.assertEqual(sorted(line for line in told if "nothing here" in line),
                         [f"drav: note: the picture: {note}" for note in notes])

    def test_from_standard_input(self) -> None:
        data = saved(image(ramp(50, 50)), "PNG")
        by_name = self.run_filter(PICTURES, "dravsa43", "", data)
        by_pipe = self.run_filter(PICTURES, "dravsa43", "", data, as_file=False)
        self.assertEqual((by_pipe.returncode, by_pipe.stdout), (0, by_name.stdout))

    def test_proof_draws_what_the_queue_sends(self) -> None:
        levels = ramp(300, 190)
        colour = image(levels).convert("RGB")
        clear = colour.convert("RGBA")
        clear.putalpha(image(ramp(300, 190)[::-1]))
        svg = b'<svg xmlns="http://www.w3.org/2000/svg" width="30mm" height="9mm"><circle r="80"/></svg>'
        for name, data, model, *options in (
                ("grey.png", saved(image(levels), "PNG"), "dravr582", "HalftoneType=Ordered"),
                ("soft.png", saved(clear, "PNG"), "dravsa43", "Brightness=-10", "position=right"),
                ("fine.png", png(300, 190, 8, 0, [bytes(row) for row in levels], metres(23622)),
                 "dravr802", "mirror", "landscape", "natural-scaling=70"),
                ("photo.jpg", saved(colour, "JPEG", exif=exif(6)), "dravr803", "scaling=40"),
                ("inks.jpg", saved(colour.convert("CMYK"), "JPEG"), "dravsa43", "ppi=200x150",
                 "StencilMirror=True"),
                ("map.pgm", b"P5 300 190 255 " + bytes(sum(levels, [])), "dravr582",
                 "print-scaling=none", "orientation-requested=3", "ppi=100"),
                ("sheet.tiff", saved(colour, "TIFF"), "dravr803", "fit-to-page", "TrimPaper=Both",
                 "orientation-requested=5"),
                ("flat.webp", saved(colour, "WEBP"), "dravr582", "PageSize=Custom.48x90mm"),
                ("left.png", saved(image(levels), "PNG"), "dravsa43", "position=left",
                 "HalfTurn=True"),
                ("receipt.txt", b"Tea\t2,50\nCake\t3,00\n" * 4, "dravr802", "TrimPaper=End"),
                ("roll.pdf", drav_case.pictures.make_pdf([b"0 g 20 100 5 400 re f"]), "dravr803"),
                ("drawn.svg", svg, "dravsa43", "PageSize=Tattoo_A6", "print-scaling=fill",
                 "PaperFrame=2")):
            with self.subTest(name):
                sent = self.run_filter(PICTURES, model, " ".join(options), data)
                self.assertEqual(sent.returncode, 0, sent.stderr.decode())
                path = self.folder / name
                path.write_bytes(data)
                given = [part for option in options for part in ("-o", option)]
                with tempfile.TemporaryDirectory(dir=self.folder) as folder:
                    out = pathlib.Path(folder, "proof.png")
                    done = subprocess.run([DRAV, "proof", str(path), "-O", str(out), "--ppd",
                                           str(PPDS / f"{model}.ppd"), *given], check=True,
                                          capture_output=True, timeout=100)
                    drawn = [drav_case.pictures.read_png(out.read_bytes()).page()]
                told = [line.partition("ink lost ")[2] for line in sent.stderr.decode().splitlines()
                        if line.startswith("WARN:drav: page 1: ")]
                self.assertEqual(bool(told), name in ("map.pgm", "left.png", "drawn.svg"))
                if name == "left.png":  # which the half turn lays beside the head
                    self.assertRegex(told[0], r"\Aat the left: [67]\.\d mm, ")
                self.assertIn("; ".join(told), done.stderr.decode())
                self.assertTrue(any(any(row) for row in drawn[0]), "the page is blank")
                self.assertEqual(drawn, drav_case.pages_of(sent.stdout))

    def test_what_is_refused_sends_nothing(self) -> None:
        good = saved(image(ramp(90, 90)), "PNG")
        for data, options, line in (
                (good[:2000], "", "The document is damaged or cut, or no PNG"),
                (b"", "", "The document is empty!"),
                (b"<html>text</html>\n", "", "The document is text that describes a page"),
                (b"%PDF-1.4\n", "", "The document is PDF, which is printed on rolls alone!"),
                (png(65_000, 65_000, 8, 0, [b""]), "", "The document has 65000 x 65000 pixels"),
                (good, "number-up=2", "The document cannot be printed with number-up: print the "
                 "picture as a PDF!"),
                (good, "page-ranges=2-3", "The document has no page of those"),
                (good, "page-set=even", "The document has no page of those"),
                (good, "outputorder=reverse", "The document cannot be printed with outputorder=reverse!")):
            result = self.run_filter(PICTURES, "dravsa43", options, data)
            errors = [text for text in result.stderr.decode().splitlines()
                      if text.startswith("ERROR:")]
            self.assertEqual((result.returncode, result.stdout, len(errors)), (1, b"", 1), errors)
            self.assertIn(f"ERROR:{line}", errors[0])
        leave = "The document cannot be printed with number-up on a roll: leave it out, and one page " \
                "follows the other!"
        for data in (good, drav_case.pictures.make_pdf([b"0 g 9 9 9 9 re f"]), b"Tea 2,50\n"):
            result = self.run_filter(PICTURES, "dravr582", "number-up=2", data)
            self.assertEqual((result.returncode, result.stdout), (1, b""))
            self.assertIn(f"ERROR:{leave}", result.stderr.decode().splitlines())
        for options in ("number-up=1", "page-ranges=1", "page-ranges=1-4", "page-ranges=-2"):
            self.assertEqual(self.run_filter(PICTURES, "dravsa43", options, good).returncode, 0)

    def test_pages_of_a_document_on_a_roll(self) -> None:
        """Which, in what order, how often; each page is as long as it is."""
        lengths = (30, 40, 50)
        data = b"%!PS\n" + b"".join(
            b"<< /PageSize [%f %f] >> setpagedevice 9 9 20 20 rectfill showpage\n"
            % (60 * 72 / 25.4, length * 72 / 25.4) for length in lengths)
        for options, copies, want in (
                ("", 1, (30, 40, 50)), ("page-ranges=2-3", 1, (40, 50)),
                ("page-ranges=1,3", 1, (30, 50)), ("page-ranges=-2", 1, (30, 40)),
                ("page-ranges=2-", 1, (40, 50)), ("page-set=even", 1, (40,)),
                ("page-set=odd page-ranges=2-3", 1, (50,)), ("", 2, (30, 30, 40, 40, 50, 50)),
                ("collate=true", 2, (30, 40, 50, 30, 40, 50)),
                ("collate=true page-ranges=3", 2, (50, 50))):
            with self.subTest(options, copies=copies):
                result = self.run_filter(PICTURES, "dravr802", options, data, str(copies))
                self.assertEqual(result.returncode, 0, result.stderr.decode())
                rows = [len(page) for page in
                        escpos_stream.page_rows(escpos_stream.decode(result.stdout))]
                self.assertEqual(len(rows), len(want))
                for got, length in zip(rows, want):
                    self.assertLessEqual(abs(got - length / 25.4 * 203), 1)
        for options in ("page-ranges=4", "page-set=even page-ranges=1"):
            result = self.run_filter(PICTURES, "dravr802", options, data)
            self.assertEqual((result.returncode, result.stdout), (1, b""))
            self.assertIn(b"ERROR:The document has no page of those", result.stderr)

    def test_arguments(self) -> None:
        result = subprocess.run([PICTURES, "1"], capture_output=True, check=False, timeout=60)
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertIn(b"picturetodrav job_id user title", result.stderr)
        result = self.run_filter(PICTURES, "missing", "", b"")
        self.assertEqual((result.returncode, result.stdout), (1, b""))


if __name__ == "__main__":
    harness.run_tests()
