#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""PDF and PostScript through Ghostscript: size, place and levels of known pages."""
import pathlib
import shutil
import subprocess
import unittest

import harness
from document_case import DocumentCase
from placing_model import Paper, place

NOTE_TURNED, NOTE_REDUCED, NOTE_CUT = 0, 1, 2
PAPER = Paper((300, 300), 600, 900)


def page(points: tuple[int, int], marks: str) -> str:
    return f"<< /PageSize [{points[0]} {points[1]}] >> setpagedevice {marks} showpage\n"


# The top left quarter black, the bottom right one half grey.
def quarters(points: tuple[int, int]) -> str:
    width, height = points[0] / 2, points[1] / 2
    return page(points, f"0 setgray 0 {height} {width} {height} rectfill "
                        f"0.5 setgray {width} 0 {width} {height} rectfill")


@unittest.skipIf(shutil.which("gs") is None, "Ghostscript is not installed")
class GhostscriptTest(DocumentCase):
    def postscript(self, *pages: str) -> pathlib.Path:
        path = self.folder / "page.ps"
        path.write_text("%!PS\n" + "".join(pages))
        return path

    def pdf(self, *pages: str, options: tuple[str, ...] = ()) -> pathlib.Path:
        path = self.folder / "page.pdf"
        subprocess.run(["gs", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pdfwrite", *options,
                        f"-sOutputFile={path}", str(self.postscript(*pages))], check=True,
                       timeout=60)
        return path

    def script(self, name: str, commands: str) -> str:
        path = self.folder / name
        path.write_text(f"#!/bin/sh\n{commands}\n")
        path.chmod(0o755)
        return str(path)

    def assertQuarters(self, got, size: tuple[int, int], at: tuple[int, int] = (0, 0),
                       quarters_left: int = 0, mirrored: bool = False) -> None:
        """One dot at each edge is left open where the page was scaled."""
        shades = [[255, 0], [0, 128]]  # of ink, as Ghostscript rounds half grey
        for _ in range(quarters_left):
            shades = [[row[i] for row in shades] for i in (1, 0)]
        if mirrored:
            shades = [row[::-1] for row in shades]
            at = (got.width - at[0] - size[0], at[1])
        for row in (0, 1):
            for column in (0, 1):
                left = at[0] + column * size[0] // 2
                top = at[1] + row * size[1] // 2
                part = {value for y in range(top + 1, top + size[1] // 2 - 1)
                        for value in got.rows[y][left + 1:left + size[0] // 2 - 1]}
                want = shades[row][column]
                self.assertTrue(part and all(abs(value - want) <= 1 for value in part),
                                (row, column, want, sorted(part)[:9]))
        outside = {value for y, line in enumerate(got.rows) for x, value in enumerate(line)
                   if not (at[0] <= x < at[0] + size[0] and at[1] <= y < at[1] + size[1])}
        self.assertLessEqual(outside, {0})

    def test_true_size(self) -> None:
        for make in (self.pdf, self.postscript):
            got = self.one_page(make(quarters((72, 144))), PAPER)
            self.assertEqual((got.width, got.height, got.notes), (600, 900, {}))
            self.assertQuarters(got, (300, 600), (150, 150))
        got = self.one_page(self.pdf(quarters((72, 144))), Paper((203, 203), 203, 406))
        self.assertQuarters(got, (203, 406))

    def test_pages_of_several_sizes(self) -> None:
        """Those that must be scaled are, and the next one is at its true size again."""
        sizes = ((72, 72), (288, 72), (288, 72), (144, 216), (72, 144), (288, 288))
        for make in (self.pdf, self.postscript):
            outcome = self.run_rows(make(*map(quarters, sizes)), PAPER)
            self.assertEqual((outcome.status, outcome.error, len(outcome.pages)), (0, "", 6))
            for got, points in zip(outcome.pages, sizes):
                want = place((points[0] * 300 // 72, points[1] * 300 // 72), (300, 300), PAPER, {})
                self.assertEqual(got.numbers[2:7], [want.quarters, *want.size, *want.at])
                self.assertEqual(NOTE_REDUCED in got.notes, want.reduced)
                self.assertQuarters(got, want.size, want.at, want.quarters)

    def test_options(self) -> None:
        path = self.pdf(quarters((72, 144)))
        for options in ({"orientation-requested": "4"}, {"orientation-requested": "5"},
                        {"orientation-requested": "6"}, {"fit-to-page": "true"},
                        {"scaling": "50", "position": "bottom-right"},
                        {"position": "top-left", "mirror": "true"}):
            with self.subTest(**options):
                got = self.one_page(path, PAPER, *(f"{k}={v}" for k, v in options.items()))
                want = place((300, 600), (300, 300), PAPER, options)
                self.assertEqual(got.numbers[2:7], [want.quarters, *want.size, *want.at])
                self.assertQuarters(got, want.size, want.at, want.quarters, "mirror" in options)

    def test_a_part_of_the_page(self) -> None:
        paper = Paper((300, 300), 150, 300)
        path = self.pdf(quarters((72, 144)))
        black = self.one_page(path, paper, "print-scaling=none", "position=top-left")
        self.assertEqual(set(b"".join(black.rows)), {255})
        self.assertIn(NOTE_CUT, black.notes)
        grey = self.one_page(path, paper, "print-scaling=none", "position=bottom-right")
        self.assertLessEqual(set(b"".join(grey.rows)), {127, 128})

    def test_ink_beyond_the_page(self) -> None:
        document = self.pdf(page((144, 144), ""), quarters((144, 144)))
        outcome = self.run_rows(document, Paper((300, 300), 450, 900), "print-scaling=none",
                                "orientation-requested=3", "position=top-left")
        self.assertEqual([one.lost.keys() for one in outcome.pages], [set(), {2}])
        *place_of, share = outcome.pages[1].lost[2]
        for found, wanted in zip(place_of, (150, 300, 600)):
            self.assertLessEqual(abs(found - wanted), 1)
        self.assertAlmostEqual(share, 128 * 150 / (300 * (255 + 128)), delta=0.002)

    def test_rolls(self) -> None:
        outcome = self.run_rows(self.pdf(quarters((72, 144)), quarters((72, 36))),
                                Paper((300, 300), 400, 9000, roll=True))
        self.assertEqual([(got.width, got.height) for got in outcome.pages],
                         [(400, 600), (400, 150)])
        self.assertQuarters(outcome.pages[1], (300, 150), (50, 0))

    def test_what_is_said_of_the_size_changes_no_dot(self) -> None:
        """pdfinfo may know, lie, fail or be missing; what it knows saves drawings alone."""
        log = self.folder / "log"
        log.mkdir()
        # It may write no byte to a file, but make a folder.
        ghostscript = self.script("gs", f'mkdir {log}/$$; exec {shutil.which("gs")} "$@"')
        words = {
            "": "",
            "lies": self.script("lies", "echo 'Page size: 100.5 x 40 pts'; echo 'Page rot: 90'"),
            "fails": self.script("fails", "echo 'Page size: 72 x 72 pts'; exit 1"),
            "babbles": self.script("babbles", "exec yes 'Page size:'"),
            "knows": shutil.which("pdfinfo"),
        }
        for document, options, drawings in (
                ((quarters((144, 432)),), (), 1),  # reduced
                ((quarters((216, 72)),), (), 1),  # on its side
                ((quarters((288, 72)), quarters((72, 72))), ("orientation-requested=3",), 2),
                ((quarters((72, 72)),), ("scaling=50",), 1)):
            path = self.pdf(*document)
            pages = {}
            for name, program in words.items():
                before = len(list(log.iterdir()))
                outcome = self.run_rows(path, PAPER, *options,
                                        environment={"DRAV_GHOSTSCRIPT": ghostscript,
                                                     "DRAV_PDFINFO": program})
                self.assertEqual((outcome.status, outcome.error), (0, ""), name)
                pages[name] = outcome.pages
                if name == "knows":
                    self.assertEqual(len(list(log.iterdir())) - before, drawings)
            for name, got in pages.items():
                self.assertEqual(got, pages[""], (name, options))

    def test_refusals(self) -> None:
        secret = self.pdf(quarters((72, 72)), options=("-sOwnerPassword=a", "-sUserPassword=b"))
        self.assertEqual(self.refusal(secret, PAPER), "is an encrypted PDF and needs a password")
        whole = self.pdf(quarters((72, 72))).read_bytes()
        path = self.folder / "bad"
        for data, want in ((b"%PDF-1.4\nnothing", "PDF"), (whole[:200], "PDF"),
                           (b"%!PS\n1 0 div showpage\n", "PostScript"),
                           (b"%!PS\n(%stderr) (w) file (text) writestring\n", "has no page")):
            path.write_bytes(data)
            self.assertRegex(self.refusal(path, PAPER), want)
        self.assertRegex(self.refusal(secret, PAPER, environment={"DRAV_GHOSTSCRIPT": ""}),
                         r"Ghostscript \(gs\), which draws PDF, is not installed")

    def test_no_file_and_no_program_is_reached(self) -> None:
        made = self.folder / "made"
        for code in (f"({made}) (w) file closefile", f"(%pipe%touch {made}) (w) file closefile",
                     "(/etc/passwd) (r) file closefile"):
            line = self.refusal(self.postscript(code + " showpage"), PAPER)
            self.assertRegex(line, "invalidfileaccess|undefinedfilename")
        self.assertFalse(made.exists())

    def test_what_a_page_prints_is_not_in_its_rows(self) -> None:
        got = self.one_page(self.postscript("(P5 9 9 255) print flush ", quarters((72, 144))),
                            PAPER)
        self.assertQuarters(got, (300, 600), (150, 150))


if __name__ == "__main__":
    harness.run_tests()
