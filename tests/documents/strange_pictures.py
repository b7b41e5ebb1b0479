#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Puts pictures of strangers onto a page of A4: strange_pictures.py FOLDER COUNT.

Size and place are those of the model of the placing, the levels those that Pillow and the
formula of the luminance make of the pixels. Run by scripts/strange-pictures.
"""
import pathlib
import sys
import unittest

from PIL import Image

from document_case import DocumentCase
from placing_model import Paper, place

A4 = Paper((300, 300), 2480, 3508, (0, 0, 83, 0))
FOLDER, COUNT = pathlib.Path(), 0


def encoded(light: float) -> float:
    return 255 * (12.92 * light if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055)


LINEAR = [level / 255 / 12.92 if level <= 10 else ((level / 255 + 0.055) / 1.055) ** 2.4
          for level in range(256)]


def levels_of(picture: Image.Image) -> list[list[int]]:
    """On white, as grey of the same luminance."""
    rgba = picture.convert("RGBA")
    white = Image.new("RGBA", rgba.size, "white")
    rgb = list(Image.alpha_composite(white, rgba).convert("RGB").getdata())
    known: dict[tuple[int, int, int], int] = {}
    for red, green, blue in set(rgb):
        known[red, green, blue] = round(encoded(
            0.2126 * LINEAR[red] + 0.7152 * LINEAR[green] + 0.0722 * LINEAR[blue]))
    flat = [known[pixel] for pixel in rgb]
    return [flat[y * rgba.width:(y + 1) * rgba.width] for y in range(rgba.height)]


class StrangePicturesTest(DocumentCase):
    def test_size_place_and_levels(self) -> None:
        found = sorted(FOLDER.rglob("*.png"))
        self.assertGreater(len(found), 100)
        chosen = found[::max(1, len(found) // COUNT)][:COUNT]
        exact, modes = 0, set()
        for path in chosen:
            with self.subTest(path.relative_to(FOLDER)):
                with Image.open(path) as picture:
                    picture.load()
                modes.add(picture.mode)
                page = self.one_page(path, A4)
                want = place(picture.size, picture.info.get("dpi", (0, 0)), A4, {})
                # What is nearly the same number is told apart by a dot at most.
                for got, number in zip(page.numbers[3:7], (*want.size, *want.at)):
                    self.assertLessEqual(abs(got - number), 0 if want.size == picture.size else 1)
                self.assertTrue(any(any(row) for row in page.rows), "the page is blank")
                if want.size != picture.size or want.quarters or picture.info.keys() & {
                        "icc_profile", "gamma"}:
                    continue
                # Pillow rounds what it lays on white, and so may the luminance.
                self.assertLevels(page, levels_of(picture), want.at, tolerance=2)
                exact += 1
        print(f"{len(chosen)} pictures ({', '.join(sorted(modes))}), {exact} of them pixel by pixel")
        self.assertGreater(exact, len(chosen) // 4)


if __name__ == "__main__":
    FOLDER, COUNT = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    unittest.main(argv=sys.argv[:1])
