#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Pictures of which the page holds a part: it has the dots of the whole, and soon."""
import random
import resource
import unittest

import harness
from document_case import DocumentCase, Page
from picture_files import image, png, saved
from placing_model import Paper

A4 = Paper((300, 300), 2480, 3508)
WHOLE = Paper((300, 300), 1400, 1400)


def noise(width: int, height: int) -> list[list[int]]:
    rng = random.Random(width * 1000 + height)
    return [[rng.randrange(256) for _ in range(width)] for _ in range(height)]


def computing() -> float:
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


class PartTest(DocumentCase):
    def write(self, name: str, data: bytes):
        path = self.folder / name
        path.write_bytes(data)
        return path

    def part_of(self, whole: Page, part: Page) -> list[bytes]:
        """What the page of `part` would hold of the other page's picture."""
        self.assertEqual(whole.numbers[2:5], part.numbers[2:5])
        width, height, left, top = whole.numbers[3:7]
        x, y = part.numbers[5:7]
        blank, rows = bytes(part.width), []
        for row in range(part.height):
            if not 0 <= row - y < height:
                rows.append(blank)
                continue
            dots = whole.rows[top + row - y][left:left + width]
            line = bytes(max(0, x)) + dots[max(0, -x):] + blank
            rows.append(line[:part.width])
        return rows

    def test_a_part_has_the_dots_of_the_whole(self) -> None:
        grey = saved(image(noise(23, 31)), "PNG")
        colour = saved(image(noise(31, 17)).convert("RGB").rotate(90, expand=True), "JPEG")
        rows = [bytes(value for level in row for value in (level, 255 - level))
                for row in noise(19, 14)]
        cases = (("grey.png", grey, "ppi=7"), ("grey.png", grey, "ppi=600x20"),
                 ("colour.jpg", colour, "ppi=8x11"), ("soft.png", png(19, 14, 8, 4, rows), "ppi=5"))
        for number, (name, data, ppi) in enumerate(cases):
            path = self.write(name, data)
            turn = f"orientation-requested={3 + number % 4}"
            whole = self.one_page(path, WHOLE, ppi, turn, "print-scaling=none")
            width, height = whole.numbers[3:5]
            self.assertGreater(max(width, height), 100)
            for position, paper in (("center", (width // 3 + 1, height // 5 + 1)),
                                    ("bottom-right", (width + 9, height // 2))):
                with self.subTest(name, ppi=ppi, turn=turn, position=position):
                    part = self.one_page(path, Paper((300, 300), *paper), ppi, turn,
                                         "print-scaling=none", f"position={position}")
                    self.assertTrue(part.rows == self.part_of(whole, part), "dots differ")

    def test_rows_that_are_not_seen_take_little_time(self) -> None:
        """Of many that are passed over, a page holds the middle or the end."""
        path = self.write("long.pbm", b"P4 1 99999\n" + bytes(i % 3 << 7 & 255 for i in range(99_999)))
        for options, size in ((("print-scaling=fill",), (40, 4_000_000)),
                              (("print-scaling=none", "position=bottom"), (1, 99_999)),
                              (("ppi=310", "print-scaling=none"), (1, 96_773))):
            with self.subTest(options):
                before = computing()
                page = self.one_page(path, A4, *options)
                self.assertLess(computing() - before, 3)
                self.assertEqual(tuple(page.numbers[3:5]), size)
                self.assertGreater(len(set(b"".join(page.rows))), 1)


if __name__ == "__main__":
    harness.run_tests()
