# SPDX-License-Identifier: Apache-2.0
"""Runs files through the library of grey pages and takes what comes out apart."""
import dataclasses
import os
import pathlib
import subprocess
import tempfile
import unittest

from placing_model import Paper

ROWS = os.environ["DRAV_DOCUMENT_ROWS"]
SANITIZED = "DRAV_SANITIZED" in os.environ


@dataclasses.dataclass
class Page:
    numbers: list[int]
    notes: dict[int, str]
    lost: dict[int, tuple[int, int, int, float]]  # by side: dots beyond, from, to; share
    width: int
    height: int
    rows: list[bytes]  # 0 is no ink


@dataclasses.dataclass
class Outcome:
    status: int
    pages: list[Page]
    error: str


def split_pages(data: bytes) -> list[Page]:
    """All pages that came, also one whose rows are not complete."""
    pages, at = [], 0

    def line() -> list[str]:
        nonlocal at
        end = data.index(b"\n", at)
        text, at = data[at:end].decode(), end + 1
        return text.split(" ", 2)

    while at < len(data):
        name, *rest = line()
        assert name == "page", name
        page = Page([int(word) for word in " ".join(rest).split()], {}, {}, 0, 0, [])
        name, *rest = line()
        while name == "note":
            page.notes[int(rest[0])] = rest[1]
            name, *rest = line()
        while name == "lost":
            side, *numbers = (int(word) for word in " ".join(rest).split())
            page.lost[side] = (*numbers[:3], numbers[3] / numbers[4])
            name, *rest = line()
        page.width, page.height = int(rest[0]), int(rest[1])
        pixels = data[at:at + page.width * page.height]
        at += len(pixels)
        page.rows = [pixels[y * page.width:(y + 1) * page.width] for y in range(page.height)]
        pages.append(page)
    return pages


class DocumentCase(unittest.TestCase):
    maxDiff = 1000

    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)

    def run_rows(self, file: str | pathlib.Path, paper: Paper, *options: str,
                 environment: dict[str, str] | None = None, data: bytes | None = None) -> Outcome:
        result = subprocess.run([ROWS, paper.text(), str(file), *options], capture_output=True,
                                check=False, timeout=100, input=data,
                                env=os.environ | (environment or {}))
        return Outcome(result.returncode, split_pages(result.stdout),
                       result.stderr.decode("utf-8", "replace").strip())

    def one_page(self, file: str | pathlib.Path, paper: Paper, *options: str) -> Page:
        outcome = self.run_rows(file, paper, *options)
        self.assertEqual((outcome.status, outcome.error), (0, ""), str(file))
        self.assertEqual(len(outcome.pages), 1)
        return outcome.pages[0]

    def refusal(self, file: str | pathlib.Path, paper: Paper, *options: str,
                **more) -> str:
        """The one line for which it is refused."""
        outcome = self.run_rows(file, paper, *options, **more)
        self.assertEqual(outcome.status, 1, str(file))
        self.assertEqual(len(outcome.error.splitlines()), 1, outcome.error)
        return outcome.error

    def assertLevels(self, page: Page, grey: list[list[int]], at: tuple[int, int] = (0, 0),
                     tolerance: int = 0) -> None:
        """The page is blank but for these levels, 255 white, from `at` on."""
        left, top = at
        worst = 0
        for y, row in enumerate(page.rows):
            want = bytearray(page.width)
            if 0 <= y - top < len(grey):
                line = grey[y - top]
                want[left:left + len(line)] = bytes(255 - level for level in line)
            if bytes(want) != row:
                worst = max(worst, max(abs(a - b) for a, b in zip(want, row)))
        self.assertLessEqual(worst, tolerance)
