# SPDX-License-Identifier: Apache-2.0
"""Pictures for drav prepare, and what it makes of them.

The receipt model has 203 dots per inch and rolls that are as long as the picture, which
keeps pages small.
"""
import pathlib
import random
import re
import struct
import zlib

from pictures import make_png
from tool_case import ToolCase

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
