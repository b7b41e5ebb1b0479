#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the pictures of `drav proof` with what the filter and the converters of a
print queue make of the same input, and gives it input of every bad kind.
"""
import os
import pathlib
import pty
import random
import re
import select
import signal
import stat
import struct
import subprocess
import time
import unittest

import drav_case
from drav_case import DravCase, HALFTONES, convert, filter_pages, find_program
from pictures import make_encrypted_pdf, make_pdf, make_pgm, make_png, read_png

import cups_raster
import harness
import private_spool

SMALL = "PageSize=X80MMY200MM"
APPROXIMATE = {"DRAV_CUPSFILTER": ""}

DRAWING = b"0.4 g 20 80 120 300 re f 0 G 3 w 10 10 m 200 500 l S 0.8 g 100 60 100 90 re f"
OTHER = b"0.7 g 0 0 226.77 566.93 re f 0 g 60 300 40 40 re f"


def grey_rows(width, height, seed=5):
    """Slopes, noise, a black and a blank part."""
    source = random.Random(seed)
    rows = []
    for y in range(height):
        row = bytearray((x * 255 // width + y) % 256 for x in range(width))
        if y % 40 < 10:
            row = bytearray(source.randbytes(width))
        if 100 <= y < 120:
            row = bytearray(b"\xff" * width)
        if 120 <= y < 150:
            row = bytearray(width)
        rows.append(bytes(row))
    return rows


def slope(width, height):
    return [bytes((x * 3 + y * 2) % 256 for x in range(width)) for y in range(height)]


def inked_part(rows):
    """Left, top, right and bottom of the dots of packed rows."""
    inked = [y for y, row in enumerate(rows) if any(row)]
    columns = [x for x in range(len(rows[0]) * 8)
               if any(row[x // 8] & 0x80 >> x % 8 for row in rows)]
    return columns[0], inked[0], columns[-1], inked[-1]


def without_leak_check() -> dict[str, str]:
    """libcups loses a list when a job has "media". The leak check could know the place by the
    name of a function, but sees it with the slow unwinder only, which takes seconds a run."""
    return {"ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}


class RasterTest(DravCase):
    """CUPS raster is what the filter gets: every dot must be its dot."""

    def test_all_halftones_give_the_dots_of_the_filter(self):
        raster = cups_raster.stream([cups_raster.grey(grey_rows(945, 420))])
        path = self.write("page.ras", raster)
        seen = set()
        for halftone in HALFTONES:
            with self.subTest(halftone=halftone):
                options = f"HalftoneType={halftone}"
                expected = filter_pages(raster, options)
                self.assert_same_dots(self.proof(path, "-o", options), expected)
                seen.add(b"".join(expected[0]))
        self.assertEqual(len(seen), len(HALFTONES), "two halftones made the same picture")

    def test_options_and_widths(self):
        for width, options in ((2479, ["Brightness=-20"]), (8, ["Brightness=15"]), (1, []),
                               (2402, ["HalftoneType=Burkes", "Brightness=5"])):
            raster = cups_raster.stream([cups_raster.grey(grey_rows(width, 97))])
            path = self.write("page.ras", raster)
            given = [part for option in options for part in ("-o", option)]
            self.assert_same_dots(self.proof(path, *given),
                                  filter_pages(raster, " ".join(options)))

    def test_options_of_the_page(self):
        rows = [bytes(2479)] * 30 + grey_rows(2479, 150) + [bytes(2479)] * 70
        sheet = cups_raster.grey(rows, HWResolution=(300, 300), cupsPageSizeName="A4")
        framed = cups_raster.grey([row[:1240] for row in rows] * 7, HWResolution=(300, 300),
                                  cupsPageSizeName="Tattoo_A6")
        seen = set()
        for page, options in ((sheet, "StencilMirror=True"), (sheet, "HalfTurn=True"),
                              (sheet, "StencilMirror=True HalfTurn=True"),
                              (sheet, "InvertPage=True"), (sheet, "Contrast=30"),
                              (sheet, "TrimPaper=End"), (sheet, "TrimPaper=Both"),
                              (framed, "PaperFrame=0"), (framed, "PaperFrame=2"), (sheet, ""),
                              (sheet, "HalfTurn=True InvertPage=True TrimPaper=End Contrast=10")):
            raster = cups_raster.stream([page])
            path = self.write("page.ras", raster)
            expected = filter_pages(raster, options)
            given = [part for option in options.split() for part in ("-o", option)]
            with self.subTest(options):
                self.assert_same_dots(self.proof(path, *given), expected)
            seen.add(b"".join(expected[0]))
        self.assertEqual(len(seen), 11, "two options made the same picture")

    def note_of(self, page, option):
        path = self.write("page.ras", cups_raster.stream([page, page]))
        done = self.run_well("proof", path, "-o", option, "-O", self.out / "a.png")
        note = done.stderr.decode()
        self.assertRegex(note, r"\Adrav: note: [^\n]+\n\Z")
        return note

    def test_notes_of_the_page(self):
        """Each once, for both pages."""
        self.assertIn("InvertPage prints large black areas", self.note_of(
            cups_raster.grey([b"\xff" * 70] * 9), "InvertPage=True"))
        self.assertIn("the page prints without it", self.note_of(
            cups_raster.grey([bytes(1240)] * 9, cupsPageSizeName="Tattoo_A6"), "PaperFrame=3"))

    def test_ink_that_is_lost_is_told_and_hatched(self):
        """As the filter's log tells it."""
        wide = {"HWResolution": (300, 300)}
        left = cups_raster.grey([b"\xff" * 70 + bytes(2409)] * 40, **wide)
        right = cups_raster.grey([bytes(2479)] * 20 + [bytes(2379) + b"\xff" * 100] * 20, **wide)
        for page, options, told, column in (
                (left, "", "", 0), (right, "StencilMirror=True", "", 0),
                (right, "", "at the right: 6.9 mm, 81.0 %", 2400),
                (left, "StencilMirror=True", "at the left: 6.9 mm, 100.0 %", 2400),
                (left, "HalfTurn=True", "at the left: 6.9 mm, 100.0 %", 2400),
                (right, "StencilMirror=True HalfTurn=True", "at the right: 6.9 mm, 81.0 %", 2400),
                (left, "StencilMirror=True HalfTurn=True", "", 0)):
            raster = cups_raster.stream([page])
            path = self.write("page.ras", raster)
            given = [part for option in options.split() for part in ("-o", option)]
            done = self.run_drav("proof", path, *given, "--strict", "-O", self.out / "a.png")
            line = f"drav: page 1: ink lost {told} of the ink"
            self.assertEqual(done.returncode, 1 if told else 0)
            self.assertEqual(done.stderr.decode(), f"{line}\n" if told else "", options)
            log = subprocess.run([drav_case.FILTER, "1", "me", "", "1", options], input=raster,
                                 capture_output=True, env={**os.environ, "PPD": drav_case.PPD},
                                 check=True, timeout=60).stderr.decode().splitlines()
            self.assertEqual([text for text in log if text.startswith("WARN:")],
                             [f"WARN:{line}"] if told else [], options)
            png = read_png((self.out / "a.png").read_bytes())
            accuracy = f"exact; ink lost {told} of the ink" if told else "exact"
            self.assertEqual(png.texts()["Drav-Accuracy"], accuracy)
            self.assertTrue(done.stdout.decode().endswith(f", {accuracy}\n"))
            self.assertEqual((png.width, "Drav-Margins" in png.texts()),
                             (2440 if told else 2400, bool(told)))
            if told:
                halves = [any(row[column // 8:]) for row in png.dots()]
                first = 0 if "HalfTurn" in options or page is left else 20
                self.assertEqual(halves, [first <= y < first + (40 if page is left else 24)
                                          for y in range(40)], options)
            self.assert_same_dots([png.page()], filter_pages(raster, options))
        quiet = self.run_drav("proof", path, "--strict", "--quiet", "-o", "HalfTurn=True", "-O",
                              self.out / "a.png")
        self.assertEqual((quiet.returncode, quiet.stdout, quiet.stderr), (1, b"", b""))
        self.run_well("proof", path, "-o", "HalfTurn=True", "-O", self.out / "a.png")

    def test_the_queues_own_choices_are_named(self):
        text = pathlib.Path(drav_case.PPD).read_text("utf-8")
        for option, choice in (("StencilMirror", "True"), ("Contrast", "20"), ("TrimPaper", "End")):
            text, count = re.subn(rf"(?m)^\*Default{option}: .*$", f"*Default{option}: {choice}", text)
            self.assertEqual(count, 1)
        ppd = self.write("queue.ppd", text.encode())
        page = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(300, 60))]))
        self.run_well("proof", page, "--ppd", ppd, "-O", self.out / "a.png")
        self.assertEqual(read_png((self.out / "a.png").read_bytes()).texts()["Drav-Options"],
                         "PageSize=A4 HalftoneType=Tattoo Brightness=0 StencilMirror=True "
                         "Contrast=20 TrimPaper=End")

    def test_trimmed_pages(self):
        rows = [bytes(80)] * 100 + [b"\xff" * 80] * 150 + [bytes(80)] * 50
        blank = [bytes(80)] * 300
        pages = [cups_raster.grey(one, HWResolution=(300, 300)) for one in (rows, blank, rows)]
        raster = cups_raster.stream(pages)
        path = self.write("job.ras", raster)
        done = self.run_well("proof", path, "-o", "TrimPaper=Both", "-O", self.out / "a.png")
        self.assertEqual(done.stdout.decode().splitlines(), [
            f"{self.out}/a-{number}.png: 80 x 150 dots, 6.8 x 12.7 mm, 12.7 mm of paper saved, "
            "100.0 % black, exact" for number in (1, 3)])
        self.assertEqual(done.stderr.decode(), "drav: note: page 2 has no ink, so TrimPaper leaves "
                         "nothing of it to print, and there is no picture of it\n")
        drawn = [read_png((self.out / f"a-{number}.png").read_bytes()).dots() for number in (1, 3)]
        self.assert_same_dots(drawn, [page for page in filter_pages(raster, "TrimPaper=Both") if page])
        for name in list(self.out.iterdir()):
            name.unlink()
        done = self.run_drav("proof", self.write("blank.ras", cups_raster.stream(pages[1:2])),
                             "-o", "TrimPaper=End", "-O", self.out / "b.png")
        self.assert_failed(done, "blank.ras: has no ink, so TrimPaper leaves nothing to print")

    def test_every_version_and_byte_order(self):
        page = cups_raster.grey(grey_rows(300, 60))
        expected = filter_pages(cups_raster.stream([page]))
        for version in cups_raster.VERSIONS:
            for order in cups_raster.BYTE_ORDERS:
                raster = cups_raster.stream([page], version=version, order=order)
                path = self.write("page.ras", raster)
                self.assert_same_dots(self.proof(path), expected)
                self.assert_same_dots(filter_pages(raster), expected)

    def test_pages_become_numbered_pictures(self):
        pages = [cups_raster.grey(grey_rows(width, height, width))
                 for width, height in ((200, 30), (320, 120), (64, 7))]
        raster = cups_raster.stream(pages)
        path = self.write("job.ras", raster)
        done = self.run_well("proof", path, "-O", self.out / "a.b.png")
        self.assertEqual(sorted(file.name for file in self.out.iterdir()),
                         ["a.b-1.png", "a.b-2.png", "a.b-3.png"])
        expected = filter_pages(raster)
        drawn = [read_png((self.out / f"a.b-{i}.png").read_bytes()).dots() for i in (1, 2, 3)]
        self.assert_same_dots(drawn, expected)
        self.assertEqual(len(done.stdout.splitlines()), 3)
        self.assert_same_dots(self.proof(path, "--page", "2"), expected[1:2])

    def test_names_of_ten_pages_sort_like_the_pages(self):
        raster = cups_raster.stream([cups_raster.grey(grey_rows(64, 7))] * 10)
        self.run_well("proof", self.write("job.ras", raster), "-O", self.out / "a.png")
        self.assertEqual(sorted(file.name for file in self.out.iterdir()),
                         [f"a-{i:02}.png" for i in range(1, 11)])

    def test_options_that_nobody_knows_are_noted(self):
        path = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(64, 7))]))
        note = (b"drav: note: there is no option Halftone, neither in the driver file nor in "
                b"CUPS; the nearest is HalftoneType\n")
        for command, names in (("proof", ("a.png",)), ("sheet", ("s.png",)),
                               ("proof", ("--html", "h.html")), ("test-page", ("t.pdf",))):
            out = [*names[:-1], self.out / names[-1]]
            document = [path, *([] if "--html" in names else ["-O"])]
            done = self.run_well(command, *(document if command != "test-page" else []), *out,
                                 "-o", "Halftone=Stucki", "-o", "media=A4", "-o", "fit-to-page",
                                 env=without_leak_check())
            self.assertEqual(done.stderr, note, command)

    def test_a_page_that_is_not_there(self):
        path = self.write("job.ras", cups_raster.stream([cups_raster.grey(grey_rows(8, 8))] * 2))
        done = self.run_drav("proof", path, "--page", "3", "-O", self.out / "a.png")
        self.assert_failed(done, "job.ras: has 2 pages, so there is no page 3")

    def test_what_the_picture_says_of_itself(self):
        page = cups_raster.grey(grey_rows(300, 60), HWResolution=(203, 180))
        path = self.write("pâge.ras", cups_raster.stream([page, page]))
        self.run_well("proof", path, "--page", "2", "-o", "HalftoneType=Sierra", "-o", "media=A4",
                      "-O", self.out / "a.png", env=without_leak_check())
        png = read_png((self.out / "a.png").read_bytes())
        self.assertEqual((png.width, png.height), (304, 60))
        self.assertEqual(png.chunk(b"pHYs"), [struct.pack(">IIB", 7992, 7087, 1)])
        texts = png.texts()
        self.assertEqual(texts["Software"], f"drav {drav_case.VERSION}")
        self.assertEqual(texts["Source"], "pâge.ras, page 2")
        self.assertEqual(texts["Drav-Accuracy"], "exact")
        self.assertEqual(texts["Drav-Options"],
                         "PageSize=A4 HalftoneType=Sierra Brightness=0 media=A4")
        self.assertIn("Drav Stencil A4 300 dpi", texts["Drav-Driver"])
        self.assertNotIn("Drav-Strip-Rows", texts)

    def test_model_and_driver_file_are_one(self):
        path = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(2479, 40))]))
        expected = self.proof(path, "--ppd", drav_case.PPD)
        self.assert_same_dots(self.proof(path), expected)
        model = pathlib.Path(drav_case.PPD).stem
        self.assert_same_dots(self.proof(path, "--model", model.upper() + ".ppd"), expected)

    def test_nothing_is_left_in_the_spool(self):
        path = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(300, 60))]))
        private_spool.clear()
        self.run_well("proof", path, "-o", "RecordPrinterCommands=1", "-O", self.out / "a.png")
        self.assertEqual(private_spool.own_files(), [])

    def test_standard_input_and_pipes(self):
        raster = cups_raster.stream([cups_raster.grey(grey_rows(100, 20))])
        done = self.run_well("proof", "-", "-O", self.out / "a.png", stdin=raster)
        self.assertIn(b"104 x 20 dots", done.stdout)
        self.assertEqual(read_png((self.out / "a.png").read_bytes()).texts()["Source"],
                         "standard input, page 1")

    def test_the_name_of_the_picture_when_none_is_given(self):
        path = self.write("my.page.ras", cups_raster.stream([cups_raster.grey(grey_rows(8, 8))]))
        done = self.run_well("proof", path, cwd=self.out)
        self.assertEqual([file.name for file in self.out.iterdir()], ["my.page-proof.png"])
        self.assertTrue(done.stdout.startswith(b"my.page-proof.png: 8 x 8 dots"))
        quiet = self.run_well("proof", path, "--quiet", cwd=self.out)
        self.assertEqual((quiet.stdout, quiet.stderr), (b"", b""))

    def test_notes(self):
        page = cups_raster.grey(grey_rows(8, 8), cupsColorSpace=0)
        path = self.write("page.ras", cups_raster.stream([page]))
        done = self.run_well("proof", path, "-o", "HalftoneType=Burks", "-O", self.out / "a.png")
        first, second = done.stderr.decode().splitlines()
        self.assertIn('note: HalftoneType has no choice "Burks"; the filter takes Tattoo', first)
        self.assertIn("note: the page's colour space is 0 instead of K", second)


@unittest.skipUnless(find_program("cupsfilter"), "CUPS's cupsfilter is not installed")
class DocumentTest(DravCase):
    """Documents must give the dots of converters and filter in a row."""

    def check(self, name, content, kind="", options=(SMALL,)):
        path = self.write(name, content)
        raster = convert(path, *options, kind=kind)
        given = [part for option in options for part in ("-o", option)]
        expected = filter_pages(raster, " ".join(options))
        self.assertTrue(any(any(row) for row in expected[0]), "the page is blank")
        self.assert_same_dots(self.proof(path, *given), expected)
        return expected

    def test_pdf_of_two_pages(self):
        pages = self.check("drawing.pdf", make_pdf([DRAWING, OTHER]))
        self.assertEqual(len(pages), 2)
        self.assertNotEqual(*pages)

    def test_text(self):
        self.check("receipt.txt", "Tea 2,50 €\nCake 3,00 €\n".encode() * 9, "text/plain")

    def test_two_mirrors_cancel(self):
        """That of CUPS's converters and our own: the drawing is as it was, and a note says so."""
        content = make_pdf([b"0 g 10 10 50 50 re f 20 100 5 400 re f"])
        plain = inked_part(self.check("plain.pdf", content)[0])
        for options, mirrored in (((SMALL, "mirror=true"), True), ((SMALL, "StencilMirror=True"), True),
                                  ((SMALL, "mirror=true", "StencilMirror=True"), False)):
            left, top, right, bottom = inked_part(self.check("a.pdf", content, options=options)[0])
            if mirrored:
                left, right = 944 - right, 944 - left
            for found, wanted in zip((left, top, right, bottom), plain, strict=True):
                self.assertLessEqual(abs(found - wanted), 1, options)
            given = [part for option in options for part in ("-o", option)]
            done = self.run_well("proof", self.folder / "a.pdf", *given, "-O", self.out / "a.png",
                                 env=without_leak_check())
            self.assertEqual(b"mirror and StencilMirror cancel each other" in done.stderr, not mirrored)

    def test_sheets_without_the_converters(self):
        """Ghostscript alone lays a page on a sheet as the converters do, and as much is lost."""
        millimetre = 72 / 25.4
        for width, height in ((210, 297), (297, 210), (100, 100), (216, 279)):
            with self.subTest(width=width, height=height):
                across, along = width * millimetre, height * millimetre
                path = self.write("a.pdf", make_pdf([b"0 g %f %f %f %f re f" % (
                    0.1 * across, 0.1 * along, 0.88 * across, 0.2 * along)], across, along))
                parts, losses = [], []
                for more in ((), ("--approximate",)):
                    done = self.run_well("proof", path, "-o", "HalftoneType=None", *more, "-O",
                                         self.out / "a.png")
                    png = read_png((self.out / "a.png").read_bytes())
                    parts.append(inked_part(png.page()[int(png.texts().get("Drav-Strip-Rows", 0)):]))
                    losses.append([line for line in done.stderr.decode().splitlines()
                                   if "ink lost" in line])
                for one, other in zip(*parts, strict=True):
                    self.assertLessEqual(abs(one - other), 1, parts)
                self.assertEqual(*losses)
                self.assertEqual(bool(losses[0]), width in (210, 216))

    def test_encryption_without_a_password(self):
        self.check("open.pdf", make_encrypted_pdf(b""))

    def test_odd_names(self):
        for name in ("-o.pdf", "a b;'$(x).pdf", "ü.pdf"):
            self.write(name, make_pdf([DRAWING]))
            done = self.run_well("proof", name if name[0] != "-" else "./" + name, "-o", SMALL,
                                 "-O", self.out / "a.png", cwd=self.folder)
            self.assertRegex(done.stdout, b"952 x 2362 dots.* exact, drawn by CUPS's converters\n")


class ApproximateTest(DravCase):
    """Without CUPS's converters."""

    def approximate(self, name, content, *arguments, env=None):
        path = self.write(name, content)
        done = self.run_well("proof", path, "-o", SMALL, "-O", self.out / "a.png", *arguments,
                             env=env if env is not None else APPROXIMATE)
        self.assertIn(b", approximate: ", done.stdout)
        png = read_png((self.out / "a.png").read_bytes())
        texts = png.texts()
        self.assertTrue(texts["Drav-Accuracy"].startswith("approximate: "), texts)
        rows = int(texts["Drav-Strip-Rows"])
        dots = png.dots()
        strip, page = dots[:rows], dots[rows:]
        black = sum(bin(int.from_bytes(row, "big")).count("1") for row in strip)
        self.assertTrue(0.5 < black / (png.width * rows) < 0.98, "no white letters on black")
        return page

    def test_ghostscript(self):
        black = b"0 g 0 0 226.77 566.93 re f"
        page = self.approximate("a.pdf", make_pdf([black]))
        self.assertEqual((len(page), len(page[0])), (2362, 119))
        self.assertEqual(page[1000][:118].hex(), "ff" * 118)
        path = self.write("two.pdf", make_pdf([DRAWING, black]))
        self.run_well("proof", path, "-o", SMALL, "--approximate", "-O", self.out / "p.png")
        self.assertTrue((self.out / "p-2.png").exists())

    def test_postscript_follows_the_rules_of_pictures(self):
        script = (b"%!PS\n<< /PageSize [72 72] >> setpagedevice\n"
                  b"0 0 72 36 rectfill showpage\n")
        options = ("-o", "PageSize=A4", "-o", "HalftoneType=None", "-o", "position=top-left")
        self.assertEqual(inked_part(self.approximate("a.ps", script, *options)), (0, 150, 299, 299))
        page = self.approximate("a.ps", script, *options, "-o", "orientation-requested=4")
        self.assertEqual(inked_part(page), (150, 0, 299, 299))

    def test_pages_that_the_job_prints(self):
        """What picturetodrav would print of them, or refuse."""
        marks = [b"0 g %d 100 20 20 re f" % (30 * i) for i in range(4)]
        path = self.write("four.pdf", make_pdf(marks))
        roll = ("--model", "dravr802")
        pages = self.proof(path, *roll)
        self.assertEqual(len(pages), 4)
        for option, wanted in (("page-ranges=2-3", (1, 2)), ("page-ranges=4", (3,)),
                               ("page-set=even", (1, 3)), ("number-up=1", (0, 1, 2, 3))):
            self.assert_same_dots(self.proof(path, *roll, "-o", option), [pages[i] for i in wanted])
        for option, words in (("page-ranges=5", "four.pdf: has no page of those"),
                              ("number-up=2", "four.pdf: cannot be printed with number-up on a "
                               "roll: leave it out, and one page follows the other"),
                              ("outputorder=reverse", "cannot be printed with outputorder=reverse")):
            self.assert_failed(self.run_drav("proof", path, *roll, "-o", option, "-O",
                                             self.out / "a.png"), words)
        self.assert_failed(self.run_drav("proof", self.write("a.png", make_png(
            9, 9, 8, 0, [bytes(9)] * 9)), "-o", "number-up=4", "-O", self.out / "a.png"),
            "a.png: cannot be printed with number-up: print the picture as a PDF")
        self.assert_failed(self.run_drav("proof", path, "--approximate", "-o", "number-up=2", "-O",
                                         self.out / "a.png"),
                           "four.pdf: cannot be printed with number-up without CUPS's converters: "
                           "leave it out (CUPS's converters were not used)")

    def test_a_cups_without_the_converter(self):
        fake = self.write("cupsfilter", b"#!/bin/sh\necho 'cupsfilter: No filter to convert from "
                          b"application/pdf to application/vnd.cups-raster.' >&2\nexit 1\n")
        fake.chmod(0o755)
        self.approximate("a.pdf", make_pdf([DRAWING]), env={"DRAV_CUPSFILTER": str(fake)})

    def test_nothing_serves(self):
        nothing = {**APPROXIMATE, "DRAV_GHOSTSCRIPT": "", "DRAV_PICTURE_READER": "",
                   "DRAV_TEXT_READER": ""}
        without = "(CUPS's cupsfilter is not installed)"
        for name, content, words in (
                ("a.pdf", make_pdf([DRAWING]), ("a.pdf: cannot be drawn: Ghostscript", without)),
                ("a.txt", b"words\n", ("a.txt: is text", without)),
                ("a.png", make_png(1, 1, 8, 0, [b"a"]), ("a.png: cannot be read: drav-picture-reader",
                                                         "is not installed"))):
            done = self.run_drav("proof", self.write(name, content), "-O", self.out / "a.png",
                                 env=nothing)
            self.assert_failed(done, *words)


class BadInputTest(DravCase):
    """One line, status 2, and nothing written or left behind."""

    def check(self, name, content, *words, env=None, arguments=()):
        path = self.write(name, content) if content is not None else self.folder / name
        done = self.run_drav("proof", path, "-o", SMALL, "-O", self.out / "a.png", *arguments,
                             env=env)
        self.assert_failed(done, *words)

    def test_pdf(self):
        whole = make_pdf([DRAWING * 40, OTHER])
        stream = whole.index(b"stream\n") + 20
        broken = whole[:stream] + bytes(value ^ 0x55 for value in whole[stream:stream + 40])
        broken += whole[stream + 40:]
        scrambled = bytearray(whole)
        for at in range(100, len(whole), 61):
            scrambled[at] ^= 0x55
        modes = [APPROXIMATE] + [{}] * bool(find_program("cupsfilter"))
        for env in modes:
            damaged = "is damaged or no PDF" if env else "is a damaged PDF"
            for name, content in (("half", whole[:len(whole) // 2]), ("flipped", broken),
                                  ("junk", b"%PDF-1.7\n" + random.Random(3).randbytes(3000)),
                                  ("scrambled", bytes(scrambled))):
                self.check(f"{name}.pdf", content, f"{name}.pdf: {damaged}", env=env)
            self.check("secret.pdf", make_encrypted_pdf(b"secret"),
                       "secret.pdf: is an encrypted PDF and needs a password", env=env)

    def test_pictures(self):
        """tests/documents has more of them."""
        whole = make_png(120, 80, 8, 0, slope(120, 80))
        self.check("half.png", whole[:len(whole) // 2], "half.png: is damaged or cut, or no PNG")
        self.check("large.png", make_png(60000, 60000, 1, 0, []),
                   "large.png: has 60000 x 60000 pixels")
        self.check("half.pgm", make_pgm(30, 20, bytes(600))[:-1], "half.pgm: is damaged or cut")
        self.check("packed.svgz", b"\x1f\x8b" + bytes(40), "is packed (gzip)")

    def test_raster(self):
        whole = cups_raster.stream([cups_raster.grey(grey_rows(60, 40))] * 2)
        self.check("cut.ras", whole[:-1], "cut.ras: page 2 is cut short")
        self.check("cut.ras", whole[:1804 + 2400 + 7], "cut.ras: page 2 has a damaged header")
        self.check("sync.ras", whole[:4], "sync.ras: holds no page")
        large = cups_raster.page(60000, 60000, b"", cupsBytesPerLine=60000)
        self.check("large.ras", cups_raster.stream([large]), "page 1 is 60000 x 60000 pixels")
        mono = cups_raster.page(64, 2, bytes(16), cupsBitsPerPixel=1, cupsBitsPerColor=1,
                                cupsBytesPerLine=8)
        self.check("mono.ras", cups_raster.stream([mono]),
                   "mono.ras: page 1: Unsupported bits per pixel : 1")
        wide = cups_raster.page(9, 4, bytes(32), cupsWidth=9, cupsBytesPerLine=8)
        self.check("wide.ras", cups_raster.stream([wide]), "Unprintable page")

    def test_files_of_no_kind(self):
        self.check("empty", b"", "empty: is empty")
        self.check("noise", random.Random(1).randbytes(5000), "is of a kind that is not known here")
        self.check("program", b"\x7fELF\2\1\1" + bytes(60), "is of a kind that is not known here")
        self.check("nothing", None, "nothing: No such file or directory")
        self.check(".", None, ": is a folder")
        self.check("a\nb", None, "a?b: No such file")
        self.assert_failed(self.run_drav("proof", "-", "-O", self.out / "a.png"),
                           "standard input: is empty")

    @unittest.skipIf("DRAV_COUNTED" in os.environ, "the counts fail to be written, too, and say so")
    def test_rights(self):
        locked = self.write("locked.pdf", make_pdf([DRAWING]))
        locked.chmod(0)
        done = self.run_drav("proof", locked, "-O", self.out / "a.png",
                             preexec_fn=harness.without_privileges)
        self.assert_failed(done, "locked.pdf: Permission denied")
        self.out.chmod(0o555)
        page = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(8, 8))]))
        done = self.run_drav("proof", page, "-O", self.out / "a.png",
                             preexec_fn=harness.without_privileges)
        self.assert_failed(done, "a.png: Permission denied")
        self.out.chmod(0o700)

    def test_driver_files(self):
        page = cups_raster.stream([cups_raster.grey(grey_rows(8, 8))])
        for ppd, word in ((self.write("a.ppd", b"hello\n"), "a.ppd: is not a driver file (PPD)"),
                          (self.folder / "none.ppd", "none.ppd: No such file"),
                          (self.out, "Is a directory")):
            self.check("page.ras", page, word, arguments=("--ppd", ppd))
        self.check("page.ras", page, "there is no model nonsense; there are dravr582 (",
                   arguments=("--model", "nonsense"))

    def test_outputs(self):
        page = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(8, 8))] * 2))
        before = page.read_bytes()
        for out, word in ((self.out / "a.pdf", "a proof is a PNG, not a pdf"),
                          (page, "a proof is a PNG, not a ras"),
                          (self.out / "no" / "a.png", "No such file"), ("/dev/null", "not a regular")):
            self.assert_failed(self.run_drav("proof", page, "--page", "1", "-O", out), word)
        link = self.folder / "link.png"
        link.symlink_to(page)
        self.assert_failed(self.run_drav("proof", page, "--page", "1", "-O", link),
                           "is the input, which would be lost")
        self.assertEqual(page.read_bytes(), before)
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/null").st_mode))

    def test_a_later_page_that_fails_takes_the_first_ones_with_it(self):
        good = cups_raster.grey(grey_rows(64, 8))
        raster = cups_raster.stream([good, good])[:-3]
        older = self.out / "a-1.png"
        older.write_bytes(b"older")
        done = self.run_drav("proof", self.write("cut.ras", raster), "-O", self.out / "a.png")
        self.assertEqual(done.returncode, 2)
        self.assertEqual([path.name for path in self.out.iterdir()], ["a-1.png"])
        self.assertEqual(older.read_bytes(), b"older")
        (self.out / "a-2.png").mkdir()
        done = self.run_drav("proof", self.write("two.ras", cups_raster.stream([good, good])), "-O",
                             self.out / "a.png")
        self.assertEqual(done.returncode, 2)
        self.assertEqual(older.read_bytes(), b"older")

    def test_usage(self):
        for arguments in (("proof",), ("proof", "a", "b"), ("proof", "a", "--page", "0"),
                          ("proof", "a", "--ppd", "x", "--model", "y"), ("proof", "a", "--bad")):
            self.assert_failed(self.run_drav(*arguments))
        text = self.run_well("proof", "--help").stdout
        self.assertIn(b"drav proof drawing.pdf", text)


class ConverterTest(DravCase):
    """Converters that misbehave, played by scripts."""

    def fake(self, script):
        path = self.write("converter", b"#!/bin/sh\n" + script.encode())
        path.chmod(0o755)
        self.document = self.write("a.pdf", make_pdf([DRAWING]))
        return {"DRAV_CUPSFILTER": str(path)}

    def check(self, script, *words):
        done = self.run_drav("proof", self.document if hasattr(self, "document") else "",
                             "-O", self.out / "a.png", env=self.fake(script))
        self.assert_failed(done, *words)

    def setUp(self):
        super().setUp()
        self.document = self.write("a.pdf", make_pdf([DRAWING]))

    def test_failures(self):
        self.check("exit 3", "a.pdf: cannot be converted: converter ended with status 3")
        self.check("kill -SEGV $$", "a.pdf: cannot be converted: converter was ended by signal 11")
        self.check("echo 'ERROR: out of toner' >&2; exit 1", "cannot be converted: out of toner")
        self.check("echo 'ERROR: gstoraster (PID 12) crashed on signal 9' >&2; exit 1",
                   "cannot be converted: gstoraster crashed on signal 9")
        self.check("exit 0", "a.pdf: cannot be converted: holds no page")
        self.check("head -c 5000 /dev/urandom", "a.pdf: cannot be converted: is no CUPS raster")
        self.check("printf 3SaR; head -c 1000 /dev/zero",
                   "a.pdf: cannot be converted: page 1 has a damaged header")
        done = self.run_drav("proof", self.document, "-O", self.out / "a.png",
                             env={"DRAV_CUPSFILTER": str(self.folder / "absent")})
        self.assert_failed(done, "a.pdf: absent cannot be run: No such file")

    def test_a_failure_behind_the_last_page(self):
        raster = self.write("page.ras", cups_raster.stream([cups_raster.grey(grey_rows(8, 8))]))
        self.check(f"cat {raster}; echo 'ERROR: late' >&2; exit 1", "cannot be converted: late")
        # The page that is asked for was good by then.
        self.run_well("proof", self.document, "--page", "1", "-O", self.out / "a.png",
                      env=self.fake(f"cat {raster}; exit 1"))

    def test_what_a_converter_gets(self):
        seen = self.folder / "seen"
        env = self.fake(f"ls /proc/self/fd > {seen}; ulimit -v >> {seen}; ulimit -f >> {seen}; "
                        f"ulimit -t >> {seen}; echo $TMPDIR >> {seen}; cat >> {seen}; exit 1")
        reader, writer = os.pipe()
        os.set_inheritable(writer, True)
        self.assert_failed(self.run_drav("proof", self.document, "-O", self.out / "a.png", env=env,
                                         pass_fds=(writer,), stdin=b"not for it"))
        os.close(reader)
        os.close(writer)
        *descriptors, memory, files, seconds, folder = seen.read_text().split()
        self.assertEqual(descriptors, ["0", "1", "2", "3"])  # 3 is ls's own
        self.assertEqual((memory, seconds), (str(4 << 20), "300"))
        self.assertNotEqual(files, "unlimited")
        self.assertTrue(folder.startswith(str(self.scratch) + "/"), folder)

    def test_an_interrupted_run_leaves_no_process_and_no_file(self):
        note = self.folder / "note"
        env = self.fake(f"echo x > $TMPDIR/left; sleep 1000 & echo $$ $! > {note}; wait")
        for number in (signal.SIGINT, signal.SIGTERM):
            command = [drav_case.DRAV, "proof", str(self.document), "-O", str(self.out / "a.png")]
            with subprocess.Popen(command, env=self.environment(**env),
                                  stderr=subprocess.PIPE) as child:
                end = time.monotonic() + 60
                while not note.exists() or len(note.read_text().split()) < 2:
                    self.assertLess(time.monotonic(), end)
                    time.sleep(0.01)
                child.send_signal(number)
                self.assertEqual(child.wait(timeout=60), -number)
            end = time.monotonic() + 10  # a killed process may not have run since
            for process in note.read_text().split():
                while self.is_running(process):
                    self.assertLess(time.monotonic(), end, "a process is left")
                    time.sleep(0.01)
            self.assertEqual(list(self.scratch.iterdir()), [])
            self.assertEqual(list(self.out.iterdir()), [])
            note.unlink()

    @staticmethod
    def is_running(process):
        """Not so for one that is dead and has nobody to tell."""
        try:
            state = pathlib.Path(f"/proc/{process}/stat").read_text("ascii")
        except FileNotFoundError:
            return False
        return state.rpartition(")")[2].split()[0] != "Z"

    def on_terminal(self, *arguments):
        """What the command writes to a terminal as its standard error."""
        ours, theirs = pty.openpty()
        command = [drav_case.DRAV, *map(str, arguments)]
        slow = self.fake("sleep 0.4; exit 1")
        with subprocess.Popen(command, env=self.environment(TERM="xterm", **slow), stderr=theirs,
                              stdout=subprocess.DEVNULL) as child:
            os.close(theirs)
            text = b""
            while select.select([ours], [], [], 60)[0]:
                try:
                    part = os.read(ours, 4096)
                except OSError:
                    break
                if not part:
                    break
                text += part
        os.close(ours)
        return child.returncode, text.decode()

    def test_progress_on_a_terminal(self):
        page = cups_raster.grey(grey_rows(64, 8))
        path = self.write("page.ras", cups_raster.stream([page] * 3))
        status, text = self.on_terminal("proof", path, "-O", self.out / "a.png")
        self.assertEqual(status, 0)
        self.assertRegex(text, r"\[#+\.*\] +[0-9]+ % [-|/\\] page 3")
        self.assertTrue(text.endswith("\r\x1b[K"), repr(text[-40:]))
        # A converter that takes its time: a mark moves.
        status, text = self.on_terminal("proof", self.document, "-O", self.out / "b.png")
        self.assertEqual(status, 2)
        self.assertGreaterEqual(len(re.findall(r"\r\x1b\[K[-|/\\] reading ", text)), 3)
        self.assertRegex(text, r"\r\x1b\[Kdrav: [^\n]*ended with status 1\r?\n\Z")
        status, text = self.on_terminal("proof", path, "--quiet", "-O", self.out / "a.png")
        self.assertEqual((status, text), (0, ""))


if __name__ == "__main__":
    drav_case.main()
