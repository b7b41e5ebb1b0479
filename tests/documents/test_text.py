#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Plain text: what is in a line and in a page, compared with text that was broken by hand."""
import json
import os
import pathlib
import random
import subprocess
import unittest

import harness
from document_case import DocumentCase, Page
from placing_model import Paper

NOT_UTF8 = 7  # the note's number
# Printable dots of the heads, and the columns of their printers' own fonts.
ROLLS = {32: Paper((203, 203), 384, 23976, roll=True),
         48: Paper((203, 203), 576, 23976, roll=True)}
FINE_ROLL = Paper((300, 300), 848, 35433, roll=True)
MARGINS = Paper((203, 203), 639, 23976, (0, 0, 66, 0), True)  # 80 mm paper, a head of 72 mm
A4 = Paper((300, 300), 2480, 3508, (0, 0, 83, 0))
ROLL = ROLLS[48]
RECEIPT = "".join(f"{count} x {name:<36}{price:>8}\n" for count, name, price in (
    (1, "Espresso", "2.40"), (2, "Cappuccino", "6.80"), (1, "Cheese cake", "4.20"),
    (3, "Water, still", "7.50"), (1, "Toast", "5.90"), (2, "Apple juice", "5.00"),
    (1, "Tea", "2.80"), (4, "Bread", "3.20"), (1, "Soup of the day", "6.50"),
    (1, "Coffee", "2.60"), (2, "Ice cream", "7.00"), (1, "Total", "53.90")))


class TextTest(DocumentCase):
    def pages(self, text: str | bytes, paper: Paper = ROLL, *options: str) -> list[Page]:
        path = self.folder / "text.pdf"  # no name tells what it is
        path.write_bytes(text.encode() if isinstance(text, str) else text)
        outcome = self.run_rows(path, paper, *options)
        self.assertEqual((outcome.status, outcome.error), (0, ""), text[:80])
        return outcome.pages

    def page(self, text: str | bytes, paper: Paper = ROLL, *options: str) -> Page:
        (page,) = self.pages(text, paper, *options)
        return page

    def assertSame(self, text: str | bytes, same: str, paper: Paper = ROLL) -> None:
        got, want = self.pages(text, paper), self.pages(same, paper)
        self.assertEqual([page.height for page in got], [page.height for page in want], text[:80])
        self.assertEqual([page.rows for page in got], [page.rows for page in want], text[:80])

    def test_columns(self) -> None:
        for columns, paper in (*ROLLS.items(), (48, FINE_ROLL), (48, MARGINS)):
            one = self.page("W" * columns, paper)
            printable = paper.width - paper.margins[2]
            ink = [x for x in range(paper.width) if any(row[x] for row in one.rows)]
            # All letters are there: the last one is as wide as the first.
            self.assertLess(ink[-1], printable)
            self.assertGreater(ink[-1], printable - printable / columns)
            pitch = printable / columns
            for number in range(columns):
                self.assertTrue(any(abs(x - (number + 0.5) * pitch) < pitch / 2 for x in ink))
            self.assertEqual(self.page("W" * (columns + 1), paper).height, 2 * one.height)
            self.assertEqual(self.page("W" * columns + "\n", paper).rows, one.rows)
            self.assertEqual({level for row in one.rows for level in row}, {0, 255})
            # A line is 2.5 to 3.5 mm high.
            self.assertTrue(2.5 < one.height / paper.dpi[0] * 25.4 < 3.5, one.height)

    def test_lines_are_broken_between_words(self) -> None:
        words = "The quick brown fox jumps over the lazy dog and the cat that sleeps. "
        self.assertSame(words * 2, "The quick brown fox jumps over the lazy dog and\n"
                                   "the cat that sleeps. The quick brown fox jumps\n"
                                   "over the lazy dog and the cat that sleeps.\n")
        self.assertSame("x" * 48 + " y", "x" * 48 + "\ny")
        self.assertSame("x" * 47 + " yy", "x" * 47 + "\nyy")
        self.assertSame("a " + "x" * 50, "a\n" + "x" * 48 + "\nxx")
        self.assertSame("x" * 100, "x" * 48 + "\n" + "x" * 48 + "\nxxxx")
        self.assertSame("   " + "y" * 46, "   " + "y" * 45 + "\ny")
        self.assertSame("z" * 48 + " " * 100 + "\nq", "z" * 48 + "\nq")

    def test_tabs_ends_of_lines_and_form_feeds(self) -> None:
        self.assertSame("a\tb\t\tc", "a       b               c")
        self.assertSame("12345678\tb", "12345678        b")
        self.assertSame("a\r\nb\rc\n\nd", "a\nb\nc\n\nd")
        self.assertSame("\ufeffa\x1b\bb", "ab")
        self.assertEqual(len(self.pages("one\ftwo\nlines\n\f")), 2)
        first, second = self.pages("one\ftwo\nlines\n\f")
        self.assertEqual((first.rows, second.rows),
                         (self.page("one").rows, self.page("two\nlines").rows))
        self.assertEqual(len(self.pages("\f\fone")), 1)  # of no length on a roll
        self.assertEqual(self.refusal_of("\f"), "has no line of text")
        self.assertEqual(self.page("\n\na").height, 3 * self.page("a").height)

    def refusal_of(self, text: bytes | str, **more) -> str:
        path = self.folder / "refused"
        path.write_bytes(text.encode() if isinstance(text, str) else text)
        return self.refusal(path, ROLL, **more)

    def test_letters_of_other_encodings_and_alphabets(self) -> None:
        text = "Grüße: 2 × Käse für 3,50 € – „danke“"
        page = self.page(text.encode("cp1252"))
        self.assertEqual(list(page.notes), [NOT_UTF8])
        self.assertEqual(page.rows, self.page(text).rows)
        self.assertEqual(self.page(text).notes, {})
        alphabets = ["Grüße", "Привет", "Αθήνα", "Łódź", "a─┼─b", "10 €"]
        pages = [self.page(one).rows for one in alphabets]
        self.assertEqual(len({b"".join(rows) for rows in pages}), len(alphabets))
        # Letters of two columns: what follows them stands where it belongs.
        wide, spaces = self.page("日本 |"), self.page("     |")
        at = 9 * 4
        self.assertEqual([row[at:] for row in wide.rows][:1], [row[at:] for row in spaces.rows][:1])
        bar = [max(x for x in range(page.width) if any(row[x] for row in page.rows))
               for page in (wide, spaces)]
        self.assertEqual(bar[0], bar[1])
        self.assertSame("日" * 25, "日" * 24 + "\n日")
        self.assertEqual(self.page("e\u0301" * 48).height, self.page("e").height)

    def test_sheets(self) -> None:
        lines = "".join(f"{number:03} " + "x" * 76 + "\n" for number in range(200))
        pages = self.pages(lines, A4)
        self.assertEqual({(page.width, page.height) for page in pages}, {(2480, 3508)})
        self.assertTrue(2 <= len(pages) <= 4, len(pages))
        margin = 118  # 10 mm
        for page in pages:
            self.assertFalse(any(any(row) for row in page.rows[:margin]))
            self.assertFalse(any(any(row) for row in page.rows[-margin:]))
            self.assertFalse(any(any(row[:margin]) for row in page.rows))
            self.assertFalse(any(any(row[2480 - 83 - margin:]) for row in page.rows))
        self.assertEqual(len(self.pages("\fa", A4)), 2)

    def test_mirror_and_what_does_nothing(self) -> None:
        text = "Lamp"
        self.assertEqual(self.page(text, ROLL, "mirror=true").rows,
                         [row[::-1] for row in self.page(text).rows])
        self.assertEqual(list(self.page(text, ROLL, "landscape=true").notes.values()),
                         ["text is not turned"])

    def test_without_the_program(self) -> None:
        self.assertIn("drav-text-reader", self.refusal_of(
            "text", environment={"DRAV_TEXT_READER": ""}))

    def test_hostile(self) -> None:
        self.assertEqual(self.refusal_of(b"a" * (4 * 2**20 + 1)), "is text of more than 4 MiB")
        self.pages("a" + "\u0301" * 200_000)  # more marks than a letter can have
        self.pages("\u202e\u2066" * 5000 + "x")
        self.assertEqual(len(self.pages(b"caf\xe9 " * 5000)), 1)
        rng = random.Random(12)
        for _ in range(10):
            letters = "".join(chr(rng.choice((rng.randrange(32, 0xD800), rng.randrange(32, 127),
                                              rng.randrange(0x300, 0x370), 10, 9, 12)))
                              for _ in range(300))
            self.assertTrue(self.pages("start " + letters))

    def test_a_receipt_is_short(self) -> None:
        """12 lines on 80 mm: 60 mm of rows at most, 97 mm of paper with all feeds."""
        path = self.folder / "receipt.txt"
        path.write_text(RECEIPT)
        for options in ("TrimPaper=End", ""):
            done = subprocess.run(
                [os.environ["DRAV_PICTURE_FILTER"], "1", "me", "receipt", "1",
                 f"KeepPictures=False {options}", str(path)], capture_output=True, check=True,
                timeout=60, env=os.environ | {"PPD": os.environ["DRAV_PPDS"] + "/dravr802.ppd"})
            job = self.folder / "job.bin"
            job.write_bytes(done.stdout)
            report = json.loads(subprocess.run(
                [os.environ["DRAV_TOOL"], "inspect", "--json", "--ppd",
                 os.environ["DRAV_PPDS"] + "/dravr802.ppd", str(job)],
                capture_output=True, check=False, timeout=60).stdout)
            self.assertEqual(report["totals"]["pages"], 1)
            self.assertLessEqual(report["totals"]["pictureMm"], 60, options)
            self.assertLessEqual(report["totals"]["paperMm"], 97, options)
            self.assertGreater(report["totals"]["pictureMm"], 12 * 2.5 - 3)


if __name__ == "__main__":
    harness.run_tests()
