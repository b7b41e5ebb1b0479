#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Size and place of pictures against a model of its own."""
import random
import subprocess
import unittest

import harness
from document_case import ROWS
from placing_model import Paper, place

NOTE_TURNED, NOTE_REDUCED, NOTE_CUT = 0, 1, 2
POSITIONS = ("center", "top", "left", "right", "bottom", "top-left", "top-right", "bottom-left",
             "bottom-right")


def random_case(rng: random.Random):
    dpi = rng.choice(((300, 300), (203, 203), (203, 180), (600, 300)))
    wide = rng.choice((1, 20, 385, 576, 2400, 2481))
    paper = Paper(dpi, wide, rng.choice((1, 20, 799, 3508, 35433)), roll=rng.random() < 0.4)
    if wide > 20 and paper.height > 20 and rng.random() < 0.4:
        paper.margins = tuple(rng.randrange(10) for _ in range(4))
    # Small sides and multiples make the ties and the exact fits that rounding is about.
    sides = (1, 2, 3, 7, rng.randrange(1, 100), rng.randrange(1, 5000), paper.width,
             paper.height, paper.width // 2 + 1, 2 * paper.width, paper.width + 1, 299_999)
    pixels = (rng.choice(sides), rng.choice(sides))
    stated = rng.choice(((0.0, 0.0), (72.0, 72.0), (300.0, 300.0), (299.72, 299.72),
                         (299.69, 299.69), (59.99, 59.99), (60.0, 2400.0), (2400.1, 300.0),
                         (float(dpi[0]), float(dpi[1])), (rng.uniform(60, 2400),) * 2))
    options = {}
    for name, values in (("print-scaling", ("none", "auto", "auto-fit", "fit", "fill")),
                         ("fit-to-page", ("true", "false")),
                         ("scaling", ("1", "50", "100", "101", "1000")),
                         ("natural-scaling", ("1", "50", "100", "120", "300")),
                         ("ppi", ("72", "300", "100x200", "9600")),
                         ("position", POSITIONS),
                         ("orientation-requested", "34567"),
                         ("landscape", ("true", "false"))):
        if rng.random() < (0.6 if name == "print-scaling" else 0.2):
            options[name] = rng.choice(values)
    return paper, pixels, stated, options


class PlacingTest(unittest.TestCase):
    def test_random_pictures(self) -> None:
        rng = random.Random(6_000)
        cases = [random_case(rng) for _ in range(6_000)]
        lines = [" ".join([paper.text(), *map(str, pixels), *map(repr, stated),
                           *(f"{name}={value}" for name, value in options.items())])
                 for paper, pixels, stated, options in cases]
        result = subprocess.run([ROWS, "place"], input="\n".join(lines) + "\n", text=True,
                                capture_output=True, check=True, timeout=100)
        answers = result.stdout.splitlines()
        self.assertEqual(len(answers), len(cases))
        turned = reduced = cut = 0
        for (paper, pixels, stated, options), line, answer in zip(cases, lines, answers):
            want = place(pixels, stated, paper, options)
            quarter = want.size if want.quarters % 2 == 0 else want.size[::-1]
            numbers = [int(word) for word in answer.split()]
            self.assertEqual(numbers[:14], [
                *want.page, want.quarters, *want.size, *want.at, int(quarter == pixels),
                int(want.unasked), int(want.reduced), *want.visible()], line)
            is_cut = want.visible()[2:] != want.size
            for note, is_there in ((NOTE_TURNED, want.unasked), (NOTE_REDUCED, want.reduced),
                                   (NOTE_CUT, is_cut)):
                self.assertEqual(note in numbers[14:], is_there, line)
            turned, reduced, cut = (turned + want.unasked, reduced + want.reduced, cut + is_cut)
        self.assertGreater(min(turned, reduced, cut), 150, "too few of a kind")


if __name__ == "__main__":
    harness.run_tests()
